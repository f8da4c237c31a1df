#ifndef LMKUTILS_BENCH_SINK_H
#define LMKUTILS_BENCH_SINK_H

#include <array>
#include <ostream>
#include <streambuf>

namespace bench {

// An open stream into memory that is rewound before each use and costs next to nothing by itself.
class Sink : private std::streambuf {
 public:
  std::ostream& Rewound() {
    setp(bytes_.data(), bytes_.data() + bytes_.size());
    return stream_;
  }
  const char* Data() const { return bytes_.data(); }

 private:
  std::array<char, 4096> bytes_{};
  std::ostream stream_{this};
};

}  // namespace bench

#endif
