#include "lmkutils/files/output_buffer.h"

#include <algorithm>
#include <cstdint>
#include <numeric>
#include <string>
#include <type_traits>
#include <vector>

#include <gmock/gmock.h>

#include "lmkutils/files/input_buffer.h"
#include "lmkutils/os/fault/fault.h"

namespace du {
namespace {

using os::fault::Arming;
using os::fault::Call;
using testing::ElementsAre;
using testing::ElementsAreArray;
using Bytes = std::vector<unsigned char>;

Bytes Content(const OutputBuffer& buffer) {
  return Bytes(buffer.Get(), buffer.Get() + buffer.GetSize());
}

// How many bytes can be put one by one from here on before a larger block is needed.
unsigned RoomOf(OutputBuffer& buffer) {
  const unsigned char* const block = buffer.Get();
  unsigned room = 0;
  while (buffer.Put('x') && buffer.Get() == block) ++room;
  return room;
}

TEST(OutputBuffer, WritesInItsByteOrder) {
  OutputBuffer little(0, 0);
  EXPECT_TRUE(little.Put(Symbol("abc")));
  EXPECT_TRUE(little.Put(short{0x0102}));
  EXPECT_TRUE(little.Put(true));
  EXPECT_THAT(Content(little), ElementsAre(3, 0, 0, 0, 'a', 'b', 'c', 2, 1, 1));

  OutputBuffer big(1, 0);
  EXPECT_TRUE(big.Put(Symbol("abc")));
  EXPECT_TRUE(big.Put(0x01020304));
  EXPECT_TRUE(big.Put(1.5));
  EXPECT_TRUE(big.Put(Symbol()));
  EXPECT_TRUE(big.Put(false));
  EXPECT_THAT(Content(big), ElementsAre(0, 0, 0, 3, 'a', 'b', 'c', 1, 2, 3, 4, 0x3F, 0xF8, 0, 0, 0, 0, 0, 0,
                                        0, 0, 0, 0, 0));
  EXPECT_TRUE(big.IsBigEndian() && !big.IsLittleEndian());
  EXPECT_TRUE(OutputBuffer(2, 0).IsLittleEndian());
}

// Every type through both orders; `step` is told how each value went.
template <class Step>
void PutAll(OutputBuffer& out, const Step& step) {
  const double doubles[] = {-0.0, 1e300, 3};
  const short shorts[] = {1, -2, 3};
  step(out.Put('c'));
  step(out.Put(static_cast<unsigned char>(200)));
  step(out.Put(static_cast<short>(-2)));
  step(out.Put(static_cast<unsigned short>(65000)));
  step(out.Put(-3));
  step(out.Put(4000000000u));
  step(out.Put(2.5f));
  step(out.Put(-1e-300));
  step(out.Put(std::int64_t{-5} << 40));
  step(out.Put(std::uint64_t{5} << 60));
  step(out.Put(true));
  step(out.Put(Symbol("größer")));
  step(out.Put(doubles, 3));
  step(out.Put(shorts, 3));
  step(out.Put("text", 4));
}

// Reads one value and expects it; at the end of a block that was cut off, expects that nothing changed.
class Reading {
 public:
  Reading(const Bytes& bytes, int endian) : in_(bytes, endian) {}

  template <class T>
  void Expect(const T& expected, const T& other) {
    const unsigned before = in_.GetPosition();
    T value = other;
    if (!ended_ && in_.Get(value)) {
      EXPECT_EQ(value, expected);
      ++read_;
    } else {
      EXPECT_EQ(value, other);
      EXPECT_EQ(in_.GetPosition(), before);
      ended_ = true;
    }
  }
  template <class T>
  void ExpectArray(const std::vector<T>& expected) {
    const unsigned before = in_.GetPosition();
    std::vector<T> values(expected.size());
    if (!ended_ && in_.Get(values.data(), static_cast<unsigned>(values.size()))) {
      EXPECT_EQ(values, expected);
      ++read_;
    } else {
      EXPECT_EQ(values, std::vector<T>(expected.size()));
      EXPECT_EQ(in_.GetPosition(), before);
      ended_ = true;
    }
  }
  void ExpectAll() {
    Expect('c', 'x');
    Expect<unsigned char>(200, 1);
    Expect<short>(-2, 1);
    Expect<unsigned short>(65000, 1);
    Expect(-3, 1);
    Expect(4000000000u, 1u);
    Expect(2.5f, 1.f);
    Expect(-1e-300, 1.);
    Expect(std::int64_t{-5} << 40, std::int64_t{1});
    Expect(std::uint64_t{5} << 60, std::uint64_t{1});
    Expect(true, false);
    Expect(Symbol("größer"), Symbol("x"));
    ExpectArray<double>({-0.0, 1e300, 3});
    ExpectArray<short>({1, -2, 3});
    ExpectArray<char>({'t', 'e', 'x', 't'});
  }
  int Read() const { return read_; }

 private:
  InputBuffer in_;
  bool ended_ = false;
  int read_ = 0;
};

TEST(OutputBuffer, IsReadBackUpToWhereItIsCutOff) {
  for (const int endian : {0, 1}) {
    OutputBuffer out(endian, 0);
    std::vector<unsigned> ends;
    PutAll(out, [&](bool done) {
      EXPECT_TRUE(done);
      ends.push_back(out.GetSize());
    });
    const Bytes whole = Content(out);
    for (std::size_t size = 0; size <= whole.size(); ++size) {
      Reading reading(Bytes(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size)), endian);
      reading.ExpectAll();
      EXPECT_EQ(reading.Read(),
                std::count_if(ends.begin(), ends.end(), [&](auto end) { return end <= size; }))
          << size << " bytes";
    }
  }
}

TEST(OutputBuffer, GrowsAtLeastTwiceInStepsOfOneKilobyte) {
  const struct {
    unsigned initial, filled, put, roomAfterwards;
  } cases[] = {
      {10, 0, 0, 1024},         {1025, 0, 0, 1025}, {10, 0, 3000, 1096},  // 1024 + 3072
      {10, 1024, 1, 1023},                                                // doubled
      {10, 1024, 1023, 1},       // the shortfall is less than the capacity
      {10, 1024, 1024, 1024},    // no longer less
      {1025, 1025, 1, 2047},     // 1025 rounded up to 2048
      {5000, 4000, 9000, 1216},  // a shortfall of 8000: 9024 rounded up to 9216
  };
  for (const auto& c : cases) {
    OutputBuffer buffer(0, c.initial);
    EXPECT_TRUE(buffer.Put(Bytes(c.filled).data(), c.filled));
    EXPECT_TRUE(buffer.Put(Bytes(c.put).data(), c.put));
    EXPECT_EQ(RoomOf(buffer), c.roomAfterwards) << c.initial << ' ' << c.filled << ' ' << c.put;
  }
}

TEST(OutputBuffer, GrowingKeepsWhatLiesBehindThePosition) {
  OutputBuffer buffer(0, 0);
  Bytes expected(1024);
  std::iota(expected.begin(), expected.end(), static_cast<unsigned char>(1));
  EXPECT_TRUE(buffer.Put(expected.data(), 1024));
  EXPECT_TRUE(buffer.SetPosition(24));
  const Bytes more(2000, 0xAB);
  EXPECT_TRUE(buffer.Put(more.data(), 600));
  EXPECT_EQ(buffer.GetPosition(), 624u);
  EXPECT_EQ(buffer.GetSize(), 1024u);
  EXPECT_TRUE(buffer.SetPosition(500));
  EXPECT_TRUE(buffer.Put(more.data(), 525));  // one byte more than there is room for
  std::fill(expected.begin() + 24, expected.end(), static_cast<unsigned char>(0xAB));
  expected.push_back(0xAB);
  EXPECT_THAT(Content(buffer), ElementsAreArray(expected));

  EXPECT_TRUE(buffer.SetPosition(10));
  EXPECT_TRUE(buffer.Put(0));
  EXPECT_EQ(Content(buffer).back(), 0xAB) << "the high-water mark stays";
}

TEST(OutputBuffer, PositionsUpToWhatIsWrittenCanBeSet) {
  OutputBuffer buffer(1, 0);
  EXPECT_FALSE(buffer.SetPosition(1));
  EXPECT_TRUE(buffer.Put(short{1}));
  EXPECT_TRUE(buffer.SetPosition(2));
  EXPECT_FALSE(buffer.SetPosition(3));
  EXPECT_TRUE(buffer.SetPosition(0));
  EXPECT_TRUE(buffer.Put('a'));
  EXPECT_THAT(Content(buffer), ElementsAre('a', 1));

  const unsigned char* const block = buffer.Get();
  buffer.Reset();
  EXPECT_EQ(buffer.GetSize(), 0u);
  EXPECT_EQ(buffer.GetPosition(), 0u);
  EXPECT_EQ(RoomOf(buffer), 1024u);
  EXPECT_NE(buffer.Get(), block);
}

TEST(OutputBuffer, PutsFromItsOwnBlock) {
  for (const int endian : {0, 1}) {
    OutputBuffer buffer(endian, 0);
    std::vector<int> numbers(256);
    std::iota(numbers.begin(), numbers.end(), 1);
    EXPECT_TRUE(buffer.Put(numbers.data(), 256));
    const Bytes once = Content(buffer);
    EXPECT_TRUE(buffer.Put(buffer.Get(), 1024));
    EXPECT_TRUE(std::equal(once.begin(), once.end(), buffer.Get() + 1024));
    EXPECT_TRUE(buffer.Put(reinterpret_cast<const int&>(*buffer.Get())));
    InputBuffer in(Content(buffer), 0);
    EXPECT_TRUE(in.SetPosition(2048));
    int last = 0;
    EXPECT_TRUE(in.Get(last));
    EXPECT_EQ(last, 1);
  }
}

TEST(OutputBuffer, IsAsBeforeWhenItCannotGrow) {
  OutputBuffer buffer(0, 0);
  const Bytes expected(1022, 7);
  EXPECT_TRUE(buffer.Put(expected.data(), 1022));
  {
    const Symbol symbol("abc");
    const Arming noMemory(Call::kHeapAllocate, {.count = os::fault::kForEver});
    EXPECT_FALSE(buffer.Put(1));
    EXPECT_FALSE(buffer.Put(1.0));
    EXPECT_FALSE(buffer.Put("abc", 3));
    EXPECT_FALSE(buffer.Put(symbol));
  }
  // Read from nowhere: it is refused before.
  const double* const values = reinterpret_cast<const double*>(expected.data());
  for (const unsigned count : {0x20000000u, 0x20000001u, 0xFFFFFFFFu})
    EXPECT_FALSE(buffer.Put(values, count));
  EXPECT_FALSE(buffer.Put("", 0xFFFFFFFFu));
  EXPECT_FALSE(buffer.Put(static_cast<const char*>(nullptr), 1));
  EXPECT_THAT(Content(buffer), ElementsAreArray(expected));
  EXPECT_TRUE(buffer.Put(1)) << "once there is memory again";
}

TEST(OutputBuffer, BeginsWithoutABlockWhenThereIsNoMemory) {
  const auto withoutMemory = [] {
    const Arming noMemory(Call::kHeapAllocate);
    return std::make_unique<OutputBuffer>(0, 10);
  };
  const auto buffer = withoutMemory();
  EXPECT_EQ(buffer->Get(), nullptr);
  EXPECT_EQ(buffer->GetSize(), 0u);
  EXPECT_TRUE(buffer->Put(static_cast<const char*>(nullptr), 0));
  EXPECT_TRUE(buffer->Put('a'));
  EXPECT_THAT(Content(*buffer), ElementsAre('a'));
}

// A text would be taken for a truth value.
template <class T>
concept CanPut = requires(OutputBuffer buffer, T value) {
  buffer.Put(value);
};
static_assert(CanPut<Symbol> && CanPut<std::string> && CanPut<char>);
static_assert(!CanPut<const char*> && !CanPut<int*>);

}  // namespace
}  // namespace du
