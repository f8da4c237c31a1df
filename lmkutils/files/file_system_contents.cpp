// FileSystem: what is in files.
#include <algorithm>
#include <array>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

#include "lmkutils/files/file_system.h"
#include "lmkutils/files/internal/opened_file.h"
#include "lmkutils/files/internal/usable_path.h"
#include "lmkutils/text/internal/base64.h"

namespace du {
namespace {

using internal::OpenedFile;
using internal::TextOf;

constexpr std::size_t kBlock = std::size_t{3} * 32 * 1024;  // whole groups of Base64

// Reads a file in blocks.
class BlockReader {
 public:
  explicit BlockReader(const std::string& path) : block_(kBlock) { good_ = file_.OpenForReading(path); }

  // The next bytes; empty at the end and after a failure. Valid until the next call.
  std::string_view Next() {
    std::size_t count = 0;
    if (good_) {
      const os::SystemError error = file_.Read(block_.data(), block_.size(), &count);
      if (error != os::kSuccess) Fail(error, count);
    }
    return {block_.data(), count};
  }
  bool IsGood() const noexcept { return good_; }

 private:
  void Fail(os::SystemError error, std::size_t& count) noexcept {
    good_ = false;
    count = 0;
    os::SetLastSystemError(error);
  }

  OpenedFile file_;
  std::vector<char> block_;
  bool good_ = false;
};

// The same with each CR LF as LF.
class TextReader {
 public:
  explicit TextReader(const std::string& path) : blocks_(path) {}

  bool IsGood() const noexcept { return blocks_.IsGood(); }

  // False at the end and after a failure.
  bool Next(char& c) {
    if (!Take(c)) return false;
    char following = 0;
    if (c == '\r' && Peek(following) && following == '\n') return Take(c);
    return true;
  }

 private:
  bool Peek(char& c) {
    if (rest_.empty()) rest_ = blocks_.Next();
    if (rest_.empty()) return false;
    c = rest_.front();
    return true;
  }
  bool Take(char& c) {
    if (!Peek(c)) return false;
    rest_.remove_prefix(1);
    return true;
  }

  BlockReader blocks_;
  std::string_view rest_;
};

// The first bytes of a file, with zeros for those that it does not have.
template <std::size_t Size>
std::array<char, Size> FirstBytes(const std::string& path) {
  std::array<char, Size> bytes{};
  OpenedFile file;
  std::size_t count = 0;
  if (file.OpenForReading(path) && file.Read(bytes.data(), Size, &count) != os::kSuccess) bytes.fill(0);
  return bytes;
}

bool IsAscii(char c) noexcept {
  return static_cast<unsigned char>(c) < 128;
}

}  // namespace

bool FileSystem::CompareBinaryFiles(const char* left, const char* right) {
  BlockReader one{std::string(TextOf(left))};
  BlockReader other{std::string(TextOf(right))};
  while (one.IsGood() && other.IsGood()) {
    const std::string_view mine = one.Next();
    const std::string_view theirs = other.Next();
    if (mine != theirs) return false;
    if (mine.empty()) return one.IsGood() && other.IsGood();
  }
  return false;
}

bool FileSystem::CompareTextFiles(const char* left, const char* right) {
  TextReader one{std::string(TextOf(left))};
  TextReader other{std::string(TextOf(right))};
  for (char mine = 0, theirs = 0;;) {
    const bool more = one.Next(mine);
    if (other.Next(theirs) != more || (more && mine != theirs)) return false;
    if (!more) return one.IsGood() && other.IsGood();
  }
}

// NOLINTBEGIN(performance-unnecessary-value-param): these signatures are given.

bool FileSystem::IsFileBinary(std::string path) {
  constexpr std::array<char, 3> kPart = {'\x05', '\x06', '\x13'};
  constexpr std::array<char, 3> kCompoundDocument = {'\xD0', '\xCF', '\x11'};
  const auto start = FirstBytes<3>(path);
  return start == kPart || start == kCompoundDocument;
}

bool FileSystem::IsFileLms(std::string path) {
  const auto start = FirstBytes<6>(path);
  return std::string_view(start.data(), start.size()) == "LM-LMS";
}

bool FileSystem::IsFileTypeAscii(std::string path) {
  BlockReader file(path);
  for (;;) {
    const std::string_view block = file.Next();
    if (block.empty()) return file.IsGood();
    if (!std::all_of(block.begin(), block.end(), IsAscii)) return false;
  }
}

// NOLINTEND(performance-unnecessary-value-param)

std::string FileSystem::GetFileAsBase64(const std::string& path) {
  BlockReader file(path);
  std::string text;
  for (;;) {
    const std::string_view block = file.Next();
    if (block.empty()) return file.IsGood() ? text : std::string();
    text += internal::EncodeBase64(block);
  }
}

}  // namespace du
