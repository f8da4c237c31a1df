#include "lmkutils/files/byte_order.h"

#include <algorithm>
#include <string>

#include <gmock/gmock.h>

namespace du::internal {
namespace {

// Every count up to some vectors and every alignment of both places: the compiler's code differs for them.
template <class Word>
void CheckCopies() {
  std::string source(600, '\0');
  for (std::size_t i = 0; i < source.size(); ++i) source[i] = static_cast<char>(i * 7 + i / 256);
  for (std::size_t count = 0; count < 40; ++count) {
    for (std::size_t shift = 0; shift < 16; ++shift) {
      const std::size_t size = count * sizeof(Word);
      std::string expected(size + 32, '.');
      std::string target = expected;
      std::string inPlace = source;
      for (std::size_t at = 0; at < size; at += sizeof(Word)) {
        std::reverse_copy(source.data() + 3 + at, source.data() + 3 + at + sizeof(Word),
                          expected.data() + shift + at);
      }
      CopyByteSwapped<Word>(target.data() + shift, source.data() + 3, count);
      ASSERT_EQ(expected, target) << count << " words, shift " << shift;
      CopyByteSwapped<Word>(inPlace.data() + 3, inPlace.data() + 3, count);
      ASSERT_EQ(expected.substr(shift, size), inPlace.substr(3, size)) << count << " words";
    }
  }
}

TEST(ByteOrder, CopiesWithTheBytesOfEachNumberReversed) {
  CheckCopies<std::uint16_t>();
  CheckCopies<std::uint32_t>();
  CheckCopies<std::uint64_t>();
}

}  // namespace
}  // namespace du::internal
