// The debug masks of "LMTRACE_DEBUG".
#ifndef LMKUTILS_TRACE_INTERNAL_DEBUG_MASKS_H
#define LMKUTILS_TRACE_INTERNAL_DEBUG_MASKS_H

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <string_view>

namespace dp::internal {

using DebugMasks = std::map<std::string, std::uint32_t, std::less<>>;

// Parses entries "name=mask" separated by commas:
//
//   list  ::= entry { "," entry }
//   entry ::= ws name ( blank | tab | "=" ) { ws | "=" } number ws
//
// with ws any white space, the name all up to the first blank, tab or "=", and the number as strtoul with
// base 0 and 32 bits reads it: decimal, "0x" hexadecimal, leading 0 octal, a sign allowed, too large ones
// 0xFFFFFFFF. The last of equal names counts. A text that does not parse as a whole, the empty one among
// them, gives no masks. Throws std::bad_alloc.
DebugMasks ParseDebugMasks(std::string_view text);

}  // namespace dp::internal

#endif
