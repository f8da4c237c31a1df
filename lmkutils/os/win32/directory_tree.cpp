#include "lmkutils/os/directory_tree.h"

#include <exception>
#include <memory>
#include <new>
#include <utility>

#include <windows.h>

#include "lmkutils/os/win32/entry_kind.h"
#include "lmkutils/os/win32/handle.h"
#include "lmkutils/os/win32/long_form.h"
#include "lmkutils/os/win32/remove_file.h"
#include "lmkutils/os/win32/wide.h"

namespace os {

// The system has no calls relative to a directory. Instead each one on the way stays open without being
// shared for deletion: nobody can rename it, or put a link in its place, while paths lead through it.
struct Tree {
  std::wstring path;  // of the current directory, in the form without a limit, ending in a separator
  std::vector<std::pair<std::size_t, HANDLE>> levels;  // the length of each one's path, and its handle
  FileIdentity identity;

  Tree() = default;
  Tree(const Tree&) = delete;
  Tree& operator=(const Tree&) = delete;
  ~Tree() {
    for (const auto& level : levels) CloseHandle(level.second);
  }
};

struct Listing {
  std::wstring directory;  // ending in a separator
  HANDLE search = INVALID_HANDLE_VALUE;
  WIN32_FIND_DATAW found{};
  bool unread = false;  // `found` was not given to the caller yet

  Listing() = default;
  Listing(const Listing&) = delete;
  Listing& operator=(const Listing&) = delete;
  ~Listing() {
    if (search != INVALID_HANDLE_VALUE) FindClose(search);
  }
};

namespace {

bool IsStep(const wchar_t* name) noexcept {
  return name[0] == L'.' && (name[1] == L'\0' || (name[1] == L'.' && name[2] == L'\0'));
}

SystemError StartSearch(Listing& listing) {
  const std::wstring pattern = listing.directory + L'*';
  listing.search = FindFirstFileExW(pattern.c_str(), FindExInfoBasic, &listing.found, FindExSearchNameMatch,
                                    nullptr, FIND_FIRST_EX_LARGE_FETCH);
  listing.unread = listing.search != INVALID_HANDLE_VALUE;
  return listing.unread ? kSuccess : GetLastError();
}

// The next entry; false at the end, and on failure (the last error tells).
bool ReadEntry(Listing& listing, DirectoryEntry& entry) {
  for (;;) {
    if (!std::exchange(listing.unread, false) && FindNextFileW(listing.search, &listing.found) == 0)
      return false;
    if (IsStep(listing.found.cFileName)) continue;
    if (win32::Narrow(listing.found.cFileName, entry.name) != kSuccess) throw std::bad_alloc();
    entry.kind = win32::KindOf(listing.found.dwFileAttributes, listing.found.dwReserved0);
    return true;
  }
}

// Opens a directory so that it stays where it is. Links are opened themselves.
SystemError Pin(const std::wstring& path, HANDLE& handle, FileStatus& status) noexcept {
  handle = CreateFileW(path.c_str(), FILE_LIST_DIRECTORY | FILE_READ_ATTRIBUTES,
                       FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING,
                       FILE_FLAG_BACKUP_SEMANTICS | FILE_FLAG_OPEN_REPARSE_POINT, nullptr);
  if (handle == INVALID_HANDLE_VALUE) return GetLastError();
  SystemError error = QueryFileStatus(win32::FileOf(handle), &status);
  if (error == kSuccess && status.kind != EntryKind::kDirectory) error = kErrorDirectory;
  if (error != kSuccess) CloseHandle(handle);
  return error;
}

// Where a link to a directory leads.
SystemError Resolve(std::wstring& path) {
  const win32::OwnedHandle handle(CreateFileW(path.c_str(), FILE_READ_ATTRIBUTES, win32::kShareAll, nullptr,
                                              OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr));
  if (!handle.IsOpen()) return GetLastError();
  const DWORD size = GetFinalPathNameByHandleW(handle.Get(), nullptr, 0, FILE_NAME_NORMALIZED);
  std::wstring final(size, L'\0');
  const DWORD length = GetFinalPathNameByHandleW(handle.Get(), final.data(), size, FILE_NAME_NORMALIZED);
  if (length == 0 || length >= size) return size == 0 || length == 0 ? GetLastError() : kErrorPathNotFound;
  final.resize(length);
  path = std::move(final);
  return kSuccess;
}

// Adds a level for the directory at tree.path + name. The tree is unchanged on failure.
SystemError Descend(Tree& tree, const std::wstring& name) {
  std::wstring path = tree.path + name;
  path.reserve(path.size() + 1);  // nothing below throws, with a handle that nobody owns yet
  tree.levels.reserve(tree.levels.size() + 1);
  HANDLE handle;
  FileStatus status;
  if (const SystemError error = Pin(path, handle, status)) return error;
  if (!path.ends_with(L'\\')) path += L'\\';
  tree.path = std::move(path);
  tree.levels.emplace_back(tree.path.size(), handle);
  tree.identity = status.identity;
  return kSuccess;
}

// The path of an entry of the current directory.
SystemError PathOf(const Tree* tree, const std::string& name, std::wstring& path) {
  std::wstring wide;
  if (const SystemError error = win32::Widen(name, wide)) return error;
  path = tree->path + wide;
  return kSuccess;
}

// Calls `operation`, which returns false on failure, with the path of an entry.
template <class Operation>
SystemError WithPath(const Tree* tree, const std::string& name, Operation operation) noexcept {
  try {
    std::wstring path;
    if (const SystemError error = PathOf(tree, name, path)) return error;
    return operation(path.c_str()) ? kSuccess : GetLastError();
  } catch (const std::exception&) {
    return kErrorNotEnoughMemory;
  }
}

}  // namespace

SystemError TreeOpen(const char* path, Links links, Tree** tree) noexcept {
  *tree = nullptr;
  try {
    std::wstring wide;
    if (const SystemError error = win32::Widen(path, wide)) return error;
    wide = win32::LongForm(wide);
    if (wide.empty()) return kErrorPathNotFound;
    if (links == Links::kFollow) {
      if (const SystemError error = Resolve(wide)) return error;
    }
    // A separator at the end would have the system follow a link, except that of "X:\".
    while (wide.ends_with(L'\\') && !wide.ends_with(L":\\")) wide.pop_back();
    auto opened = std::make_unique<Tree>();
    if (const SystemError error = Descend(*opened, wide)) return error;
    *tree = opened.release();
    return kSuccess;
  } catch (const std::exception&) {
    return kErrorNotEnoughMemory;
  }
}

void TreeClose(Tree* tree) noexcept {
  delete tree;
}

FileIdentity TreeIdentity(const Tree* tree) noexcept {
  return tree->identity;
}

SystemError TreeList(Tree* tree, std::vector<DirectoryEntry>* entries) noexcept {
  entries->clear();
  try {
    Listing listing;
    listing.directory = tree->path;
    if (const SystemError error = StartSearch(listing)) return error;
    DirectoryEntry entry;
    while (ReadEntry(listing, entry)) entries->push_back(std::move(entry));
    const SystemError error = GetLastError();
    return error == ERROR_NO_MORE_FILES ? kSuccess : error;
  } catch (const std::exception&) {
    return kErrorNotEnoughMemory;
  }
}

// Mounted volumes are reparse points here, which are never entered.
SystemError TreeEnter(Tree* tree, const std::string& name) noexcept {
  try {
    std::wstring wide;
    if (const SystemError error = win32::Widen(name, wide)) return error;
    return Descend(*tree, wide);
  } catch (const std::exception&) {
    return kErrorNotEnoughMemory;
  }
}

SystemError TreeLeave(Tree* tree) noexcept {
  if (tree->levels.size() < 2) return kErrorInvalidParameter;
  CloseHandle(tree->levels.back().second);
  tree->levels.pop_back();
  tree->path.resize(tree->levels.back().first);
  FileStatus status;
  const SystemError error = QueryFileStatus(win32::FileOf(tree->levels.back().second), &status);
  tree->identity = status.identity;
  return error;
}

SystemError TreeOpenForReading(Tree* tree, const std::string& name, File* file) noexcept {
  *file = File::kNone;
  return WithPath(tree, name, [file](const wchar_t* path) {
    *file = win32::FileOf(CreateFileW(path, GENERIC_READ, win32::kShareAll, nullptr, OPEN_EXISTING,
                                      FILE_FLAG_SEQUENTIAL_SCAN, nullptr));
    return *file != File::kNone;
  });
}

// Access is inherited from the directory in any case.
SystemError TreeCreateFile(Tree* tree, const std::string& name, File* file) noexcept {
  return TreeCreatePrivateFile(tree, name, file);
}

SystemError TreeCreatePrivateFile(Tree* tree, const std::string& name, File* file) noexcept {
  *file = File::kNone;
  return WithPath(tree, name, [file](const wchar_t* path) {
    *file = win32::FileOf(CreateFileW(path, GENERIC_READ | GENERIC_WRITE, 0, nullptr, CREATE_NEW,
                                      FILE_ATTRIBUTE_NORMAL, nullptr));
    return *file != File::kNone;
  });
}

SystemError TreeMakeDirectory(Tree* tree, const std::string& name) noexcept {
  return WithPath(tree, name, [](const wchar_t* path) { return CreateDirectoryW(path, nullptr) != 0; });
}

SystemError TreeRemoveFile(Tree* tree, const std::string& name) noexcept {
  return WithPath(tree, name, [](const wchar_t* path) { return win32::RemoveFileOrLink(path); });
}

SystemError TreeRemoveDirectory(Tree* tree, const std::string& name) noexcept {
  return WithPath(tree, name, [](const wchar_t* path) { return RemoveDirectoryW(path) != 0; });
}

SystemError TreeReplace(Tree* tree, const std::string& from, const std::string& to) noexcept {
  return WithPath(tree, from, [tree, &to](const wchar_t* source) {
    std::wstring target;
    if (const SystemError error = PathOf(tree, to, target)) {
      SetLastError(error);
      return false;
    }
    if (MoveFileExW(source, target.c_str(), MOVEFILE_REPLACE_EXISTING) != 0) return true;
    const DWORD error = GetLastError();
    SetFileAttributesW(source, FILE_ATTRIBUTE_NORMAL);  // a read-only one could not be removed
    SetLastError(error);
    return false;
  });
}

SystemError ListingOpen(const char* path, Listing** listing) noexcept {
  *listing = nullptr;
  try {
    auto opened = std::make_unique<Listing>();
    if (const SystemError error = win32::Widen(path, opened->directory)) return error;
    if (!opened->directory.ends_with(L'\\') && !opened->directory.ends_with(L'/')) opened->directory += L'\\';
    if (const SystemError error = StartSearch(*opened)) return error;
    *listing = opened.release();
    return kSuccess;
  } catch (const std::exception&) {
    return kErrorNotEnoughMemory;
  }
}

bool ListingNext(Listing* listing, DirectoryEntry* entry) noexcept {
  try {
    return ReadEntry(*listing, *entry);
  } catch (const std::exception&) {
    return false;
  }
}

// A link carries the attribute of what it was made for.
bool ListingLeadsToDirectory(const Listing* listing, const std::string& name) noexcept {
  try {
    std::wstring wide;
    if (win32::Widen(name, wide) != kSuccess) return false;
    const DWORD attributes = GetFileAttributesW((listing->directory + wide).c_str());
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
  } catch (const std::exception&) {
    return false;
  }
}

void ListingClose(Listing* listing) noexcept {
  delete listing;
}

}  // namespace os
