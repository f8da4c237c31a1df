// The arguments of one message.
#ifndef LMKUTILS_L10N_ASSEMBLE_ARGS_H
#define LMKUTILS_L10N_ASSEMBLE_ARGS_H

#include <ios>
#include <locale>
#include <optional>
#include <ostream>
#include <sstream>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

#include "lmkutils/export.h"
#include "lmkutils/text/symbol.h"

namespace du {

// Collects values as the texts that take the places of {0}, {1}, ...:
//
//   localizer.LocalizeMessage("SIZE", du::AssembleArgs() << 4096 << fileName, du::Localizer::kReportFailure);
//
// Whatever a std::ostream takes can be inserted. A value whose insertion writes anything is the next
// argument; one that writes nothing, be it a manipulator or an empty text, adds none: AddEmptyArgument does.
// A manipulator holds for the values after it, as in a stream. Numbers are written as the stream's locale has
// them.
//
// One thread at a time. Operations throw std::bad_alloc and what the insertion of a value throws, which adds
// nothing then.
class LMK_API AssembleArgs {
 public:
  // For the locale that is the global one now, and for another one.
  AssembleArgs();
  explicit AssembleArgs(const std::locale& locale);
  // Each conversion of a printf-style format becomes one argument, also an empty one, and "%%" the argument
  // "%"; the text between them is dropped. The conversions are those of dp::PrintfFormatter, which formats
  // without regard to the locale of the object; one that it does not know becomes the argument
  // "<argument formatting error>". A null format gives no arguments. An argument is cut at 4095 bytes.
  explicit AssembleArgs(const char* format, ...);
  AssembleArgs(const AssembleArgs&) = delete;
  AssembleArgs& operator=(const AssembleArgs&) = delete;
  ~AssembleArgs();

  // Inserts a value. A null text, and a value whose insertion leaves the stream in a failed state, count as
  // an argument, with what was written so far; the state is cleared.
  template <class T>
  AssembleArgs& operator<<(const T& value);
  AssembleArgs& operator<<(std::ostream& (*manipulator)(std::ostream&));
  AssembleArgs& operator<<(std::ios& (*manipulator)(std::ios&));
  AssembleArgs& operator<<(std::ios_base& (*manipulator)(std::ios_base&));

  AssembleArgs& AddEmptyArgument();

  // The stream that values are written to. What is written to it directly belongs to the value inserted next,
  // or becomes an argument by PostInputHandler.
  std::ostream& GetStream();
  // Makes an argument of what the stream holds, if its write position has moved, and empties the stream.
  void PostInputHandler();

  const std::vector<std::string>& GetArguments() const noexcept { return arguments_; }

 private:
  template <class T>
  static constexpr bool kIsTextPointer =
      std::is_same_v<std::decay_t<T>, const char*> || std::is_same_v<std::decay_t<T>, char*>;
  template <class T>
  static constexpr bool kIsInteger =
      std::is_same_v<T, short> || std::is_same_v<T, int> || std::is_same_v<T, long> ||
      std::is_same_v<T, long long> || std::is_same_v<T, unsigned short> || std::is_same_v<T, unsigned> ||
      std::is_same_v<T, unsigned long> || std::is_same_v<T, unsigned long long>;

  template <class T>
  void InsertByStream(const T& value);
  bool NeedsStreamForNumbers() const;
  void AddText(const char* text);
  void AddText(std::string_view text);
  void AddInteger(long long value);
  void AddInteger(unsigned long long value);
  void AddArgument(std::string_view text);
  void DropInput() noexcept;

  std::vector<std::string> arguments_;
  std::locale locale_;
  // Made when a value or manipulator first needs it: making one costs more than most messages. From then on
  // everything goes through it, since its state may matter.
  std::optional<std::ostringstream> stream_;
};

template <class T>
AssembleArgs& AssembleArgs::operator<<(const T& value) {
  if constexpr (kIsTextPointer<T>) {
    AddText(static_cast<const char*>(value));
  } else if constexpr (std::is_same_v<T, std::string> || std::is_same_v<T, std::string_view>) {
    AddText(std::string_view(value));
  } else if constexpr (std::is_same_v<T, char>) {
    AddText(std::string_view(&value, 1));
  } else if constexpr (std::is_same_v<T, Symbol>) {
    AddText(std::string_view(value.safe_c_str(), value.length()));
  } else if constexpr (kIsInteger<T>) {
    if (NeedsStreamForNumbers()) {
      InsertByStream(value);
    } else if constexpr (std::is_signed_v<T>) {
      AddInteger(static_cast<long long>(value));
    } else {
      AddInteger(static_cast<unsigned long long>(value));
    }
  } else {
    InsertByStream(value);
  }
  return *this;
}

template <class T>
void AssembleArgs::InsertByStream(const T& value) {
  std::ostream& stream = GetStream();
  try {
    stream << value;
  } catch (...) {
    DropInput();
    throw;
  }
  PostInputHandler();
}

}  // namespace du

#endif
