#include "lmkutils/text/internal/same_bytes.h"

#include <string>

#include <gtest/gtest.h>

namespace {

TEST(SameBytes, SeesADifferenceAtAnyPlaceAndNothingBehindTheEnd) {
  for (std::size_t length = 0; length <= 70; ++length) {
    const std::string a = std::string(length, 'a') + "behind";
    const std::string b = std::string(length, 'a') + "BEHIND";
    EXPECT_TRUE(du::internal::SameBytes(a.data(), b.data(), length)) << length;
    for (std::size_t place = 0; place < length; ++place) {
      std::string other = a;
      other[place] = 'b';
      EXPECT_FALSE(du::internal::SameBytes(a.data(), other.data(), length)) << length << " " << place;
    }
  }
}

}  // namespace
