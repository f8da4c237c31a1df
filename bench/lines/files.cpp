#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <random>
#include <stdexcept>

#include "bench/lines/rows.h"

namespace bench {
namespace {

constexpr std::size_t kSize = 100'000'000;

class Files {
 public:
  Files() {
    std::string name = (std::filesystem::temp_directory_path() / "lmk-bench-lines-XXXXXX").string();
    if (mkdtemp(name.data()) == nullptr) throw std::runtime_error("cannot make a temporary folder");
    folder_ = name;
    MakeText();
    MakeUtf16();
  }
  ~Files() {
    std::error_code ignored;
    std::filesystem::remove_all(folder_, ignored);
  }

  std::string folder_, text_, utf16_;
  Sum textSum_, utf16Sum_;

 private:
  std::size_t NextLength() { return random_() % 121; }
  char NextCharacter() { return "etaoin shrdlu 0123456789.,;()_"[random_() % 30]; }

  static void Write(const std::string& path, const std::string& bytes) {
    std::ofstream out(path, std::ios::binary);
    out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    if (!out.flush()) throw std::runtime_error("cannot write " + path);
  }

  void MakeText() {
    std::string bytes;
    bytes.reserve(kSize + 200);
    while (bytes.size() < kSize) {
      const std::size_t length = NextLength();
      for (std::size_t i = 0; i < length; ++i) bytes += NextCharacter();
      bytes += '\n';
      ++textSum_.lines;
      textSum_.bytes += length;
    }
    Write(text_ = folder_ + "/text", bytes);
  }

  void MakeUtf16() {
    static constexpr char16_t kOthers[] = {u'ä', u'é', u'ß', u'Ж', u'大'};
    std::string bytes = "\xFF\xFE";
    bytes.reserve(kSize + 400);
    const auto add = [&bytes](char16_t unit) {
      bytes += {static_cast<char>(unit & 0xFF), static_cast<char>(unit >> 8)};
    };
    while (bytes.size() < kSize) {
      const std::size_t length = NextLength();
      for (std::size_t i = 0; i < length; ++i) {
        const char16_t unit =
            random_() % 50 == 0 ? kOthers[random_() % 5] : static_cast<char16_t>(NextCharacter());
        add(unit);
        utf16Sum_.bytes += unit < 0x80 ? 1 : unit < 0x800 ? 2 : 3;
      }
      add(u'\n');
      ++utf16Sum_.lines;
    }
    Write(utf16_ = folder_ + "/utf16", bytes);
  }

  std::mt19937 random_{1};
};

const Files& TheFiles() {
  static const Files files;
  return files;
}

}  // namespace

const std::string& TextFile() {
  return TheFiles().text_;
}
const std::string& Utf16File() {
  return TheFiles().utf16_;
}
const Sum& ExpectedText() {
  return TheFiles().textSum_;
}
const Sum& ExpectedUtf16() {
  return TheFiles().utf16Sum_;
}

}  // namespace bench
