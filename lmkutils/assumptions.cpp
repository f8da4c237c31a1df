// Every assumption about the platform that the library makes, in one place.
#include <bit>
#include <climits>
#include <cstdint>
#include <limits>

static_assert(CHAR_BIT == 8);
static_assert(sizeof(short) == 2 && sizeof(int) == 4 && sizeof(long long) == 8);
static_assert(sizeof(void*) == 4 || sizeof(void*) == 8);
static_assert(sizeof(wchar_t) == 2 || sizeof(wchar_t) == 4, "wide text is UTF-16 or UTF-32");
static_assert(std::endian::native == std::endian::little);
static_assert(std::numeric_limits<float>::is_iec559 && std::numeric_limits<double>::is_iec559);
static_assert(static_cast<int>(static_cast<signed char>(0xFF)) == -1, "two's complement");
