// stdio without its locks, file streams, and as the floor the system's calls with copies written by hand.
#include <algorithm>
#include <cstdio>
#include <cstring>
#include <fstream>

#include "bench/binary/rows.h"
#include "bench/binary/swap.h"
#include <fcntl.h>
#include <unistd.h>

namespace bench {
namespace {

template <class T>
void SwapAll(T* values, std::size_t count) {
  for (std::size_t i = 0; i < count; ++i) values[i] = Swapped(values[i]);
}

template <class T>
std::vector<T> SwappedCopy(const T* values, std::size_t count) {
  std::vector<T> copy(values, values + count);
  SwapAll(copy.data(), count);
  return copy;
}

struct Stdio {
  class Input {
   public:
    Input(const std::string& path, bool swapped) : file_(std::fopen(path.c_str(), "rb")), swapped_(swapped) {
      std::setvbuf(file_, nullptr, _IOFBF, kBufferSize);
    }
    ~Input() { std::fclose(file_); }
    template <class T>
    bool Read(T& value) {
      if (fread_unlocked(&value, sizeof(T), 1, file_) != 1) return false;
      if (swapped_) value = Swapped(value);
      return true;
    }
    template <class T>
    bool Read(T* values, std::size_t count) {
      if (fread_unlocked(values, sizeof(T), count, file_) != count) return false;
      if (swapped_) SwapAll(values, count);
      return true;
    }

   private:
    std::FILE* const file_;
    const bool swapped_;
  };

  class Output {
   public:
    Output(const std::string& path, bool swapped) : file_(std::fopen(path.c_str(), "wb")), swapped_(swapped) {
      std::setvbuf(file_, nullptr, _IOFBF, kBufferSize);
    }
    template <class T>
    bool Write(const T& value) {
      const T stored = swapped_ ? Swapped(value) : value;
      return fwrite_unlocked(&stored, sizeof(T), 1, file_) == 1;
    }
    template <class T>
    bool Write(const T* values, std::size_t count) {
      if (!swapped_) return fwrite_unlocked(values, sizeof(T), count, file_) == count;
      return fwrite_unlocked(SwappedCopy(values, count).data(), sizeof(T), count, file_) == count;
    }
    bool Close() { return std::fclose(file_) == 0; }

   private:
    std::FILE* const file_;
    const bool swapped_;
  };
};

struct Fstream {
  class Input {
   public:
    Input(const std::string& path, bool swapped) : buffer_(kBufferSize), swapped_(swapped) {
      file_.rdbuf()->pubsetbuf(buffer_.data(), static_cast<std::streamsize>(buffer_.size()));
      file_.open(path, std::ios::binary);
    }
    template <class T>
    bool Read(T& value) {
      if (!file_.read(reinterpret_cast<char*>(&value), sizeof(T))) return false;
      if (swapped_) value = Swapped(value);
      return true;
    }
    template <class T>
    bool Read(T* values, std::size_t count) {
      if (!file_.read(reinterpret_cast<char*>(values), static_cast<std::streamsize>(count * sizeof(T))))
        return false;
      if (swapped_) SwapAll(values, count);
      return true;
    }

   private:
    std::vector<char> buffer_;
    std::ifstream file_;
    const bool swapped_;
  };

  class Output {
   public:
    Output(const std::string& path, bool swapped) : buffer_(kBufferSize), swapped_(swapped) {
      file_.rdbuf()->pubsetbuf(buffer_.data(), static_cast<std::streamsize>(buffer_.size()));
      file_.open(path, std::ios::binary);
    }
    template <class T>
    bool Write(const T& value) {
      const T stored = swapped_ ? Swapped(value) : value;
      return static_cast<bool>(file_.write(reinterpret_cast<const char*>(&stored), sizeof(T)));
    }
    template <class T>
    bool Write(const T* values, std::size_t count) {
      const auto size = static_cast<std::streamsize>(count * sizeof(T));
      if (!swapped_) return static_cast<bool>(file_.write(reinterpret_cast<const char*>(values), size));
      const std::vector<T> copy = SwappedCopy(values, count);
      return static_cast<bool>(file_.write(reinterpret_cast<const char*>(copy.data()), size));
    }
    bool Close() {
      file_.close();
      return static_cast<bool>(file_);
    }

   private:
    std::vector<char> buffer_;
    std::ofstream file_;
    const bool swapped_;
  };
};

// One call of the system for each buffer, and its values copied one after the other, with everything in
// registers: what a class cannot have between two calls.
template <class T, bool kSwapped>
T Copy(const char* from) {
  T value;
  std::memcpy(&value, from, sizeof(T));
  return kSwapped ? Swapped(value) : value;
}

template <class T, bool kSwapped>
void ReadByHand(benchmark::State& state, bool toArray) {
  static std::vector<T> values(Values<T>().size());
  static std::vector<char> buffer(kBufferSize);
  for (auto _ : state) {
    const int file = open(FileOf<T>(kSwapped).c_str(), O_RDONLY);
    std::uint64_t sum = 0;
    T* to = values.data();
    for (ssize_t size; (size = read(file, buffer.data(), kBufferSize)) > 0;) {
      const char* const end = buffer.data() + size;
      if (toArray && !kSwapped) {
        std::memcpy(to, buffer.data(), static_cast<std::size_t>(size));
        to += static_cast<std::size_t>(size) / sizeof(T);
      } else if (toArray) {
        for (const char* from = buffer.data(); from != end; from += sizeof(T))
          *to++ = Copy<T, kSwapped>(from);
      } else {
        for (const char* from = buffer.data(); from != end; from += sizeof(T)) {
          const std::uint64_t soFar = sum += Bits(Copy<T, kSwapped>(from));
          benchmark::DoNotOptimize(soFar);
        }
      }
    }
    close(file);
    benchmark::ClobberMemory();
    if (toArray ? to != values.data() + values.size() : sum != ExpectedSum<T>())
      state.SkipWithError("other values");
  }
}

template <class T, bool kSwapped>
void WriteByHand(benchmark::State& state, bool fromArray) {
  static std::vector<char> buffer(kBufferSize);
  const std::vector<T>& values = Values<T>();
  for (auto _ : state) {
    const int file = open(OutputFile().c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0666);
    for (std::size_t at = 0; at < values.size();) {
      const std::size_t count = std::min(kBufferSize / sizeof(T), values.size() - at);
      if (fromArray && !kSwapped) {
        std::memcpy(buffer.data(), values.data() + at, count * sizeof(T));
      } else {
        char* to = buffer.data();
        for (std::size_t i = 0; i < count; ++i, to += sizeof(T)) {
          const T value = kSwapped ? Swapped(values[at + i]) : values[at + i];
          std::memcpy(to, &value, sizeof(T));
          if (!fromArray) benchmark::ClobberMemory();
        }
      }
      if (write(file, buffer.data(), count * sizeof(T)) < 0) state.SkipWithError("cannot write");
      at += count;
    }
    close(file);
  }
}

template <class T, bool kSwapped>
void AddByHand(const char* type) {
  const auto add = [&](const char* work, auto function, bool array) {
    AddSingle(RowName(type, work, kSwapped), std::string(kFloor) + "system calls and copies by hand",
              [=](benchmark::State& s) { function(s, array); })
        ->Unit(benchmark::kMillisecond);
  };
  add("read one by one", ReadByHand<T, kSwapped>, false);
  add("read as an array", ReadByHand<T, kSwapped>, true);
  add("written one by one", WriteByHand<T, kSwapped>, false);
  add("written as an array", WriteByHand<T, kSwapped>, true);
}

bool Register() {
  AddRows<Stdio>("stdio, unlocked");
  AddRows<Fstream>("std::fstream");
  AddByHand<int, false>("ints");
  AddByHand<int, true>("ints");
  AddByHand<double, false>("doubles");
  AddByHand<double, true>("doubles");
  return true;
}

const bool registered = Register();

}  // namespace
}  // namespace bench
