// One trace record: what a tracer makes, a caller fills and the trace controller delivers.
#ifndef LMKUTILS_TRACE_TRACE_FORMATTER_H
#define LMKUTILS_TRACE_TRACE_FORMATTER_H

#include <array>
#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <ios>
#include <iosfwd>
#include <ostream>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

#include "lmkutils/export.h"

namespace dp {

// Severity of a record. -1 (all bits set) marks an inert record, which is never delivered.
enum class TraceType : std::int32_t { Info = 0, Debug = 1, Warning = 2, Error = 3 };

// Writes "Info", "Debug", "Warning" or "Error"; throws std::runtime_error
// "Unexpected TraceType in operator <<" for any other value.
LMK_API std::ostream& operator<<(std::ostream& stream, TraceType type);

// A record under construction. It is an output stream of characters: whatever a std::ostream takes can be
// inserted, also manipulators, and it converts to std::ostream& for functions that want one. Numbers are
// written in the classic locale. The stream proper is made only when a value or manipulator needs it.
//
// When the record is destroyed it is handed to the trace controller, on the destroying thread, if it has
// text, is not inert and DontBroadCast was not called. Every copy is a record of its own and is delivered
// as well; who keeps copies calls DontBroadCast on them. Assignment overwrites without delivering.
//
// A record belongs to one thread. Nothing here throws: a record for which memory runs out becomes inert.
class LMK_API TraceFormatter {
 public:
  // An inert record: no time, no ids, no keys; insertions do nothing.
  TraceFormatter() noexcept {}
  // `time` in milliseconds since 1970, UTC (du::GetTime()). `key` and `subKey` are not copied: they must
  // outlive the record; null counts as empty.
  TraceFormatter(std::int64_t time, TraceType type, int procId, int threadId, const char* key,
                 const char* subKey) noexcept
      : time_(time), type_(type), procId_(procId), threadId_(threadId), key_(key), subKey_(subKey) {}
  TraceFormatter(const TraceFormatter& other) noexcept;
  TraceFormatter& operator=(const TraceFormatter& other) noexcept;
  ~TraceFormatter() {
    if (!IsInert() || stream_ != nullptr || longText_ != nullptr) Finish();
  }

  // Appends the message, formatted as printf does with the conversions of dp::PrintfFormatter. False, and
  // nothing changed, when `format` is null. `args` must come from va_start or va_copy in the calling
  // function (where va_list is an array, a parameter is not the list itself) and is used up.
  bool Format(const char* format, std::va_list& args) noexcept;

  // Appends a message built from keys and values in turn; a last key without value is ignored. When the
  // environment variable "LUMORA_TRACE_FORMAT" is "json" it is the object {"key": "value", ...}, keys and
  // values as given, else the list key = value, .... False on an inert record.
  bool FormatJson(const std::vector<std::string>& pairs) noexcept;

  // The record will not be delivered.
  void DontBroadCast() noexcept { broadcast_ = false; }

  std::int64_t GetTime() const noexcept { return time_; }
  TraceType GetType() const noexcept { return type_; }
  int GetProcId() const noexcept { return procId_; }
  int GetThreadId() const noexcept { return threadId_; }
  const char* GetKey() const noexcept { return key_; }
  const char* GetSubKey() const noexcept { return subKey_; }
  // A copy of the text; may throw std::bad_alloc.
  std::string GetMesg() const { return std::string(GetText()); }
  // The text itself, valid until the record changes.
  std::string_view GetText() const noexcept {
    return {longText_ != nullptr ? longText_ : shortText_.data(), textSize_};
  }
  // "debug", "warn", "error", and "info" for every other type.
  const char* GetLevel() const noexcept;
  bool IsInert() const noexcept { return type_ == kInert; }

  // Insertion of any value that a std::ostream takes; a null text counts as "(null)". Nothing happens on an
  // inert record: the value is not even looked at. An exception of the value's own insertion ends the text
  // there.
  template <class T>
  TraceFormatter& operator<<(const T& value) noexcept {
    if (IsInert()) return *this;
    if constexpr (kIsTextPointer<T>) {
      AppendText(value);
    } else if constexpr (std::is_same_v<T, std::string> || std::is_same_v<T, std::string_view>) {
      AppendText(std::string_view(value));
    } else if constexpr (std::is_same_v<T, char>) {
      AppendText(std::string_view(&value, 1));
    } else {
      if constexpr (kIsNumber<T>) {
        if (stream_ == nullptr) return AppendNumber(value);
      }
      // With a stream its base, width and sign count, and so does the number's own size: -1 in hexadecimal.
      try {
        Stream() << value;
      } catch (...) {
      }
    }
    return *this;
  }
  TraceFormatter& operator<<(std::ostream& (*manipulator)(std::ostream&)) noexcept;
  TraceFormatter& operator<<(std::ios_base& (*manipulator)(std::ios_base&)) noexcept;

  // The record as a std::ostream; on an inert record what is written is dropped. May throw std::bad_alloc.
  operator std::ostream&() { return Stream(); }

 private:
  class TextStream;

  static constexpr TraceType kInert = static_cast<TraceType>(-1);
  static constexpr std::size_t kShortText = 240;
  template <class T>
  static constexpr bool kIsTextPointer =
      std::is_same_v<std::decay_t<T>, const char*> || std::is_same_v<std::decay_t<T>, char*>;
  template <class T>
  static constexpr bool kIsNumber =
      std::is_same_v<T, short> || std::is_same_v<T, int> || std::is_same_v<T, long> ||
      std::is_same_v<T, long long> || std::is_same_v<T, unsigned short> || std::is_same_v<T, unsigned> ||
      std::is_same_v<T, unsigned long> || std::is_same_v<T, unsigned long long>;

  template <class T>
  TraceFormatter& AppendNumber(T value) noexcept {
    if constexpr (std::is_signed_v<T>) {
      AppendSigned(value);
    } else {
      AppendUnsigned(value);
    }
    return *this;
  }
  const char* FormatPlain(const char* format, std::va_list& args) noexcept;
  void FormatAny(const char* format, std::va_list& args) noexcept;
  std::ostream& Stream();
  void AppendText(const char* text) noexcept;
  void AppendText(std::string_view text) noexcept;
  void AppendSigned(long long value) noexcept;
  void AppendUnsigned(unsigned long long value) noexcept;
  void Append(std::string_view text) noexcept;
  bool MakeRoom(std::size_t size) noexcept;
  void Finish() noexcept;

  bool hasText_ = false;
  bool broadcast_ = true;
  std::int64_t time_ = 0;
  TraceType type_ = kInert;
  int procId_ = 0;
  int threadId_ = 0;
  const char* key_ = nullptr;
  const char* subKey_ = nullptr;
  // The text: in the record itself as long as it fits, so that most records need no memory.
  std::size_t textSize_ = 0;
  std::size_t textCapacity_ = kShortText;
  char* longText_ = nullptr;                // owned; null while the text is in shortText_
  std::array<char, kShortText> shortText_;  // not initialised
  TextStream* stream_ = nullptr;            // owned; writes to the text; made when first needed
};

}  // namespace dp

#endif
