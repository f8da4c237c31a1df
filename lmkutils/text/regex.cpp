#include "lmkutils/text/regex.h"

#include <array>
#include <cstdint>
#include <cstring>
#include <new>
#include <stdexcept>

#define PCRE2_CODE_UNIT_WIDTH 8
#include <pcre2.h>

#include "lmkutils/text/encoding.h"

namespace du {
namespace {

// What the generated code may use at first; it asks for more up to the limit.
constexpr std::size_t kFirstStack = 32 * 1024;

template <class T, void (*Free)(T*)>
struct Freeing {
  void operator()(T* object) const noexcept { Free(object); }
};
template <class T, void (*Free)(T*)>
using Owned = std::unique_ptr<T, Freeing<T, Free>>;

using OwnedCode = Owned<pcre2_code, pcre2_code_free>;
using CompileContext = Owned<pcre2_compile_context, pcre2_compile_context_free>;
using MatchContext = Owned<pcre2_match_context, pcre2_match_context_free>;
using MatchData = Owned<pcre2_match_data, pcre2_match_data_free>;
using JitStack = Owned<pcre2_jit_stack, pcre2_jit_stack_free>;

// The allocating functions of PCRE2 return null when there is no memory.
template <class Handle>
Handle Require(Handle handle) {
  if (!handle) throw std::bad_alloc();
  return handle;
}

PCRE2_SPTR Units(std::string_view text) noexcept {
  return reinterpret_cast<PCRE2_SPTR>(text.data() != nullptr ? text.data() : "");
}

struct Compiled {
  OwnedCode code;
  int error = 0;
  std::size_t position = 0;
};

Compiled Compile(std::string_view pattern) {
  const CompileContext context = Require(CompileContext(pcre2_compile_context_create(nullptr)));
  pcre2_set_max_pattern_length(context.get(), Regex::kPatternLimit);
  pcre2_set_newline(context.get(), PCRE2_NEWLINE_LF);
  Compiled compiled;
  compiled.code.reset(pcre2_compile(Units(pattern), pattern.size(),
                                    PCRE2_UTF | PCRE2_ANCHORED | PCRE2_ENDANCHORED | PCRE2_NEVER_BACKSLASH_C,
                                    &compiled.error, &compiled.position, context.get()));
  if (!compiled.code && compiled.error == PCRE2_ERROR_HEAP_FAILED) throw std::bad_alloc();
  return compiled;
}

// Generated code that did not come about (no memory to execute, another processor) is not missed: the
// interpreter does the same, more slowly. It alone is right where (*ACCEPT) ends a match too early: generated
// code goes on to search further behind, though the match is anchored.
bool Translate(pcre2_code* code, std::string_view pattern) noexcept {
  std::size_t size = 0;
  return pattern.find("(*ACCEPT") == std::string_view::npos &&
         pcre2_jit_compile(code, PCRE2_JIT_COMPLETE) == 0 &&
         pcre2_pattern_info(code, PCRE2_INFO_JITSIZE, &size) == 0 && size != 0;
}

// Most texts are ASCII; the full check is asked for the others only.
bool IsWellFormed(std::string_view text) noexcept {
  constexpr std::uint64_t kHighBits = 0x8080808080808080U;
  std::size_t i = 0;
  for (std::uint64_t word = 0; i + sizeof(word) <= text.size(); i += sizeof(word)) {
    std::memcpy(&word, text.data() + i, sizeof(word));
    if ((word & kHighBits) != 0) return CheckUtf8(text).valid;
  }
  for (; i < text.size(); ++i) {
    if (static_cast<unsigned char>(text[i]) >= 0x80) return CheckUtf8(text).valid;
  }
  return true;
}

std::string Message(int error) {
  std::array<PCRE2_UCHAR, 256> text{};
  pcre2_get_error_message(error, text.data(), text.size());
  return reinterpret_cast<const char*>(text.data());
}

[[noreturn]] void ThrowMatchError(int error) {
  switch (error) {
    case PCRE2_ERROR_NOMEMORY:
      throw std::bad_alloc();
    case PCRE2_ERROR_MATCHLIMIT:
    case PCRE2_ERROR_DEPTHLIMIT:
      throw std::runtime_error("Regex exceeds the match limit.");
    case PCRE2_ERROR_HEAPLIMIT:
    case PCRE2_ERROR_JIT_STACKLIMIT:
      throw std::runtime_error("Regex exceeds the memory limit.");
    default:
      throw std::runtime_error("Regex cannot be matched: " + Message(error) + ".");
  }
}

}  // namespace

class Regex::Code {
 public:
  Code(OwnedCode code, std::string_view pattern) noexcept
      : code_(std::move(code)), isTranslated_(Translate(code_.get(), pattern)) {}

  const pcre2_code* Get() const noexcept { return code_.get(); }
  bool IsTranslated() const noexcept { return isTranslated_; }

 private:
  OwnedCode code_;
  bool isTranslated_;
};

class Regex::Matcher::Impl {
 public:
  explicit Impl(const Code& code)
      : code_(code),
        context_(Require(MatchContext(pcre2_match_context_create(nullptr)))),
        data_(Require(MatchData(pcre2_match_data_create(1, nullptr)))) {
    pcre2_set_match_limit(context_.get(), kMatchLimit);
    pcre2_set_depth_limit(context_.get(), kMatchLimit);
    pcre2_set_heap_limit(context_.get(), kMemoryLimit / 1024);
  }

  bool Matches(std::string_view text) {
    if (!IsWellFormed(text)) return false;
    int result = Run(text);
    if (result == PCRE2_ERROR_JIT_STACKLIMIT && !stack_) {
      UseLargerStack();
      result = Run(text);
    }
    if (result >= 0) return true;
    if (result != PCRE2_ERROR_NOMATCH) ThrowMatchError(result);
    return false;
  }

 private:
  // The direct call of generated code knows nothing of (*NOTEMPTY), the other one does and calls it too.
  int Run(std::string_view text) noexcept {
    if (code_.IsTranslated() && !text.empty()) {
      return pcre2_jit_match(code_.Get(), Units(text), text.size(), 0, 0, data_.get(), context_.get());
    }
    return pcre2_match(code_.Get(), Units(text), text.size(), 0, PCRE2_NO_UTF_CHECK, data_.get(),
                       context_.get());
  }
  // Instead of a piece of the thread's own stack, which is all that the generated code takes otherwise.
  void UseLargerStack() {
    stack_ = Require(JitStack(pcre2_jit_stack_create(kFirstStack, kMemoryLimit, nullptr)));
    pcre2_jit_stack_assign(context_.get(), nullptr, stack_.get());
  }

  const Code& code_;
  MatchContext context_;
  MatchData data_;
  JitStack stack_;
};

Regex::Regex(std::string_view pattern) {
  Compiled compiled = Compile(pattern);
  if (!compiled.code) throw std::runtime_error("Invalid regex.");
  code_ = std::make_unique<const Code>(std::move(compiled.code), pattern);
}

Regex::~Regex() = default;

bool Regex::Matches(std::string_view text) const {
  return Matcher(*this).Matches(text);
}

std::optional<Regex::Fault> Regex::FindFault(std::string_view pattern) {
  const Compiled compiled = Compile(pattern);
  if (compiled.code) return std::nullopt;
  return Fault{compiled.position, Message(compiled.error)};
}

Regex::Matcher::Matcher(const Regex& regex) : impl_(std::make_unique<Impl>(*regex.code_)) {}

Regex::Matcher::~Matcher() = default;

bool Regex::Matcher::Matches(std::string_view text) {
  return impl_->Matches(text);
}

}  // namespace du
