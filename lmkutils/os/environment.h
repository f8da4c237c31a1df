// The environment of the process, in the form in which the system holds it: wide text where
// Capabilities::environmentIsWide says so, bytes (by convention UTF-8) elsewhere. Callable from any thread.
#ifndef LMKUTILS_OS_ENVIRONMENT_H
#define LMKUTILS_OS_ENVIRONMENT_H

#include <cstddef>

namespace os {

// The size of the variable's value in characters, terminator included; 0 when it is not set (an empty value
// has size 1). The value is written to `buffer` when its `size` suffices; with a size of 0 the buffer may be
// null. `name` is neither null nor empty. Where the environment is not wide, the wide form finds nothing.
std::size_t ReadVariable(const wchar_t* name, wchar_t* buffer, std::size_t size) noexcept;
std::size_t ReadVariable(const char* name, char* buffer, std::size_t size) noexcept;

// Sets the variable; an empty value removes it. False when the system refuses (an empty name, '=' in the
// name, no memory). Where the environment is not wide, the wide form refuses.
bool WriteVariable(const wchar_t* name, const wchar_t* value) noexcept;
bool WriteVariable(const char* name, const char* value) noexcept;

}  // namespace os

#endif
