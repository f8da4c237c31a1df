// What both directions share of their use of zlib.
#ifndef LMKUTILS_FILES_INTERNAL_ZLIB_STREAM_H
#define LMKUTILS_FILES_INTERNAL_ZLIB_STREAM_H

#include <algorithm>
#include <cstddef>

#define ZLIB_CONST
#include <zlib.h>

namespace du::internal {

// The magic bytes, and the rest of a header, of a gzip member (RFC 1952).
inline constexpr unsigned char kGzipMagic[2] = {0x1F, 0x8B};
inline constexpr unsigned char kGzipDeflate = 8;
inline constexpr std::size_t kGzipHeaderSize = 10;
inline constexpr std::size_t kGzipTrailerSize = 8;

// Raw deflate data, with the largest window.
inline constexpr int kRawWindowBits = -15;

// The buffers never reach the sizes that a zlib stream counts, 32 bits on every target.
inline constexpr std::size_t kSmallestBuffer = 1024;
inline constexpr std::size_t kLargestBuffer = std::size_t{64} * 1024 * 1024;

// What a caller's wish for the size of a buffer comes to.
constexpr std::size_t BufferSize(std::size_t wish) noexcept {
  return std::clamp(wish, kSmallestBuffer, kLargestBuffer);
}

// A stream whose storage comes from the seam's heap, so that tests can let it run out.
z_stream NewZlibStream() noexcept;

}  // namespace du::internal

#endif
