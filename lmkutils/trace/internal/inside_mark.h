// Marks the calling thread as being inside the trace controller.
#ifndef LMKUTILS_TRACE_INTERNAL_INSIDE_MARK_H
#define LMKUTILS_TRACE_INTERNAL_INSIDE_MARK_H

namespace dp::internal {

// For a scope. Only the outermost mark of a thread may go on: an inner one means that a consumer, or what it
// called, came back.
class InsideMark {
 public:
  InsideMark() noexcept;
  InsideMark(const InsideMark&) = delete;
  InsideMark& operator=(const InsideMark&) = delete;
  ~InsideMark();

  bool IsOutermost() const noexcept { return outermost_; }
  static bool IsSet() noexcept;

 private:
  const bool outermost_;
};

}  // namespace dp::internal

#endif
