#ifndef LMKUTILS_BENCH_QUERIES_PCRE2_H
#define LMKUTILS_BENCH_QUERIES_PCRE2_H

#include <string_view>
#include <utility>

#define PCRE2_CODE_UNIT_WIDTH 8
#include <pcre2.h>

namespace bench {

// A compiled expression, translated into machine code, for whole texts.
class Pcre2Regex {
 public:
  explicit Pcre2Regex(std::string_view pattern) {
    int error = 0;
    PCRE2_SIZE position = 0;
    code_ = pcre2_compile(reinterpret_cast<PCRE2_SPTR>(pattern.data()), pattern.size(),
                          PCRE2_UTF | PCRE2_ANCHORED | PCRE2_ENDANCHORED, &error, &position, nullptr);
    pcre2_jit_compile(code_, PCRE2_JIT_COMPLETE);
    data_ = pcre2_match_data_create(1, nullptr);
  }
  Pcre2Regex(Pcre2Regex&& other) noexcept
      : code_(std::exchange(other.code_, nullptr)), data_(std::exchange(other.data_, nullptr)) {}
  Pcre2Regex& operator=(Pcre2Regex&&) = delete;
  ~Pcre2Regex() {
    pcre2_match_data_free(data_);
    pcre2_code_free(code_);
  }

  bool Matches(std::string_view text) const {
    return pcre2_match(code_, reinterpret_cast<PCRE2_SPTR>(text.data()), text.size(), 0, 0, data_, nullptr) >=
           0;
  }

 private:
  pcre2_code* code_ = nullptr;
  pcre2_match_data* data_ = nullptr;
};

}  // namespace bench

#endif
