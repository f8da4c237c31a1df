#include "lmkutils/files/internal/valid_path_list.h"

#include <algorithm>
#include <cstddef>
#include <exception>
#include <new>

#include "lmkutils/files/file_spec.h"
#include "lmkutils/os/capabilities.h"
#include "lmkutils/os/thread.h"
#include "lmkutils/platform/internal/singleton.h"

namespace du::internal {
namespace {

constexpr char kSeparator = FileSpec::DIR_SEP_CHAR;

// Where the name of the path's file begins: behind the last separator, if there is a '.' after it.
std::size_t FileNameStart(const std::string& text) noexcept {
  const std::size_t separator = text.rfind(kSeparator);
  const std::size_t start = separator == std::string::npos ? 0 : separator + 1;
  return text.find(FileSpec::EXT_SEP_CHAR, start) == std::string::npos ? text.size() : start;
}

bool IsBlank(const std::string& name) noexcept {
  return name.find_first_not_of(' ') == std::string::npos;
}

}  // namespace

ValidPath::ValidPath(const std::string& path) : text(path) {
  std::replace(text.begin(), text.end(), FileSpec::ALT_DIR_SEP_CHAR, kSeparator);
  text.resize(FileNameStart(text));
  if (!text.ends_with(kSeparator)) text += kSeparator;
  isUnc = text.size() >= 3 && text.starts_with(R"(\\)") &&
          text.find(FileSpec::DRIVE_SEP_CHAR) == std::string::npos;

  const FileSpec parsed(text);
  std::string drive;
  hasRoot = parsed.GetDrive(&drive) || isUnc;
  const bool blank = std::any_of(parsed.DirBegin(), parsed.DirEnd(), IsBlank);
  depth = blank ? 0 : parsed.DirCount();
}

// The text ends in a separator, so that it never has an extension.
bool ValidPath::IsValid() const {
  const bool rooted =
      hasRoot || (!os::GetCapabilities().absolutePathsHaveDrive && text.starts_with(kSeparator));
  return depth > 0 && rooted && text.find_first_of("*?\"<>|") == std::string::npos;
}

struct ValidPathList::Traits {
  using Object = ValidPathList;
  static void Prepare() {}  // plain containers: no other process-wide object is needed
  static ValidPathList* Create() {
    alignas(ValidPathList) static std::byte storage[sizeof(ValidPathList)];
    return ::new (static_cast<void*>(storage)) ValidPathList;
  }
  static void Destroy(ValidPathList* list) noexcept { list->Close(); }
  static unsigned Longevity() noexcept { return 0xFFFFFFFC; }
};

ValidPathList* ValidPathList::Instance() noexcept {
  return dp::internal::Singleton<Traits>::InstanceOrNull();
}

// Threads that were killed may have died with the lock: what is left then is the system's.
void ValidPathList::Close() noexcept {
  if (os::OtherThreadsKilled()) return;
  try {
    const WriteGuard guard(*this);
    entries_.clear();
  } catch (const std::exception&) {  // no memory to note this thread with the lock
  }
}

bool ValidPathList::Add(const ValidPath& path) {
  if (!path.IsValid()) return false;
  const WriteGuard guard(*this);
  entries_.insert(path);
  return true;
}

bool ValidPathList::Remove(const ValidPath& path) {
  const WriteGuard guard(*this);
  return entries_.erase(path) != 0;
}

// An entry with a drive or a server may stand anywhere in the text, which lets the long forms through. One
// without begins with a plain separator, and would be found in the middle of other people's paths.
bool ValidPathList::Permits(const ValidPath& candidate) const {
  const ReadGuard guard(*this);
  return std::any_of(entries_.begin(), entries_.end(), [&candidate](const ValidPath& entry) {
    if (entry.depth > candidate.depth) return false;
    return entry.hasRoot ? candidate.text.find(entry.text) != std::string::npos
                         : candidate.text.starts_with(entry.text);
  });
}

}  // namespace du::internal
