// zlib's own files, and as the floor its streams between calls of the system, with the same buffers.
#include <algorithm>
#include <vector>

#include "bench/sections/rows.h"
#include <fcntl.h>
#include <unistd.h>
#include <zlib.h>

namespace bench {
namespace {

struct GzFile {
  static bool Pack(const std::string& plain, const std::string& path, bool best) {
    const gzFile file = gzopen(path.c_str(), best ? "wb9" : "wb");
    gzbuffer(file, kBufferSize);
    const auto size = static_cast<unsigned>(plain.size());
    const bool good = gzwrite(file, plain.data(), size) == static_cast<int>(size);
    return gzclose(file) == Z_OK && good;
  }
  // Verifies the checksum, which ours leaves alone.
  static bool Unpack(const std::string& path, std::string& plain) {
    const gzFile file = gzopen(path.c_str(), "rb");
    gzbuffer(file, kBufferSize);
    const auto size = static_cast<unsigned>(plain.size());
    const bool good = gzread(file, plain.data(), size) == static_cast<int>(size);
    return gzclose(file) == Z_OK && good;
  }
};

// The parameters that ours uses: raw deflate data, memory level 9; a checksum when packing, none when
// unpacking.
struct Streams {
  static bool Pack(const std::string& plain, const std::string& path, bool best) {
    const int file = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0666);
    static std::vector<unsigned char> packed(kBufferSize);
    z_stream stream{};
    deflateInit2(&stream, best ? 9 : Z_DEFAULT_COMPRESSION, Z_DEFLATED, -15, 9, Z_DEFAULT_STRATEGY);
    uLong checksum = 0;
    for (std::size_t at = 0; at < plain.size();) {
      const std::size_t part = std::min(kBufferSize, plain.size() - at);
      auto* const from = reinterpret_cast<Bytef*>(const_cast<char*>(plain.data() + at));
      checksum = crc32(checksum, from, static_cast<uInt>(part));
      at += part;
      stream.next_in = from;
      stream.avail_in = static_cast<uInt>(part);
      const int flush = at == plain.size() ? Z_FINISH : Z_NO_FLUSH;
      do {
        stream.next_out = packed.data();
        stream.avail_out = kBufferSize;
        deflate(&stream, flush);
        if (write(file, packed.data(), kBufferSize - stream.avail_out) < 0) return false;
      } while (stream.avail_out == 0);
    }
    benchmark::DoNotOptimize(checksum);
    close(file);
    return deflateEnd(&stream) == Z_OK;
  }
  static bool Unpack(const std::string& path, std::string& plain) {
    constexpr int kHeader = 10;
    const int file = open(path.c_str(), O_RDONLY);
    static std::vector<unsigned char> packed(2 * kBufferSize);
    z_stream stream{};
    inflateInit2(&stream, -15);
    if (read(file, packed.data(), kHeader) != kHeader) return false;
    stream.next_out = reinterpret_cast<Bytef*>(plain.data());
    stream.avail_out = static_cast<uInt>(plain.size());
    int result = Z_OK;
    while (result == Z_OK) {
      const ssize_t size = read(file, packed.data(), packed.size());
      if (size <= 0) break;
      stream.next_in = packed.data();
      stream.avail_in = static_cast<uInt>(size);
      result = inflate(&stream, Z_SYNC_FLUSH);
    }
    close(file);
    return inflateEnd(&stream) == Z_OK && result == Z_STREAM_END;
  }
};

const bool registered =
    (AddRows<GzFile>("gzread and gzwrite"), AddRows<Streams>(std::string(kFloor) + "zlib alone"), true);

}  // namespace
}  // namespace bench
