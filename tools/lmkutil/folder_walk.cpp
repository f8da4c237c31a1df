#include "tools/lmkutil/folder_walk.h"

#include <algorithm>
#include <exception>
#include <filesystem>
#include <new>
#include <system_error>
#include <thread>
#include <utility>

#include "tools/lmkutil/file_contents.h"
#include "tools/lmkutil/hex_view.h"

#include "lmkutils/files/file_spec.h"
#include "lmkutils/files/file_system.h"
#include "lmkutils/files/find_file.h"
#include "lmkutils/platform/command_line.h"
#include "lmkutils/time/time.h"
#include "lmkutils/trace/lm_tracer.h"

namespace lmkutil {
namespace {

constexpr std::size_t kFilesInPiece = 64;
constexpr unsigned kObserveMs = 100;

const dp::LMTracer& Tracer() {
  static const dp::LMTracer tracer("lmkutil", "catalog");
  return tracer;
}

std::string Joined(const std::string& folder, const std::string& name) {
  const bool isRoot = !folder.empty() && du::FileSpec::IsDirSeparator(folder.back());
  return folder +
         (isRoot ? "" : std::string(1, static_cast<char>(std::filesystem::path::preferred_separator))) + name;
}

std::filesystem::path NativePath(const std::string& path) {
  return std::filesystem::path(std::u8string(path.begin(), path.end()));
}

// For a folder in which nothing was found.
bool IsReadable(const std::string& folder) {
  std::error_code error;
  return std::filesystem::directory_iterator(NativePath(folder), error) !=
             std::filesystem::directory_iterator() ||
         !error;
}

// What the name tells.
FileNote NoteOf(const du::FileSpec& file) {
  FileNote note;
  std::string text;
  file.GetFile(&text);
  note.name = text;
  file.GetFileExtension(&text);
  const std::size_t dot = text.rfind('.');  // only before a version
  note.extension = text.substr(0, dot);
  if (dot != text.npos) note.version = text.substr(dot + 1);
  return note;
}

// "2026-11-17T09:05:07Z"
std::string TimeText(std::int64_t seconds) {
  std::string text = du::Time(seconds * 1000).ToISO8601();
  const std::size_t separator = text.find('T');
  if (separator < 8 || text.size() < separator + 7) return text;
  text.insert(separator + 5, ":");
  text.insert(separator + 3, ":");
  text.insert(separator - 2, "-");
  text.insert(separator - 4, "-");
  return text + "Z";
}

}  // namespace

bool KeepsFiles(const std::string& folder) {
  std::error_code error;
  return std::filesystem::space(NativePath(folder), error).capacity != 0 || error;
}

// A part of the walk. What goes wrong in it, which can only be for want of memory, ends the whole walk.
class FolderWalk::Piece : public du::Task {
 public:
  explicit Piece(FolderWalk& walk) : walk_(walk) {}
  void Run() override {
    try {
      if (!dp::CommandLine::IsInterrupted() && !walk_.isOutOfMemory_) Work();
    } catch (const std::exception&) {
      walk_.isOutOfMemory_ = true;
    }
    walk_.End();
  }

 protected:
  FolderWalk& walk_;

 private:
  virtual void Work() = 0;
};

class FolderWalk::Listing : public Piece {
 public:
  Listing(FolderWalk& walk, std::string path) : Piece(walk), path_(std::move(path)) {}
  du::Symbol GetName() override { return "list " + path_; }

 private:
  void Work() override { walk_.List(path_); }

  const std::string path_;
};

class FolderWalk::Reading : public Piece {
 public:
  Reading(FolderWalk& walk, Folder& folder, std::size_t first)
      : Piece(walk), folder_(folder), first_(first) {}
  du::Symbol GetName() override { return "read " + folder_.path; }

 private:
  void Work() override {
    FileContents contents;
    const std::size_t end = std::min(first_ + kFilesInPiece, folder_.files.size());
    for (std::size_t i = first_; i < end && !dp::CommandLine::IsInterrupted(); ++i)
      walk_.Note(folder_, folder_.files[i], contents);
  }

  Folder& folder_;
  const std::size_t first_;
};

void FolderWalk::Run(const Observer& observer) {
  du::TaskPool pool(std::max(std::thread::hardware_concurrency(), 1U));
  pool_ = &pool;
  Begin(du::MakeShared<Listing>(*this, root_));
  Wait(Phase::kListing, observer);
  Sort();
  ++pieces_;  // lest it be over between two insertions
  for (Folder& folder : folders_) {
    for (std::size_t first = 0; first < folder.files.size(); first += kFilesInPiece)
      Begin(du::MakeShared<Reading>(*this, folder, first));
  }
  End();
  Wait(Phase::kReading, observer);
}

void FolderWalk::Begin(const du::SmartPtr<du::Task>& task) {
  ++pieces_;
  try {
    pool_->InsertTask(task);
  } catch (const std::bad_alloc&) {
    End();
    throw;
  }
}

void FolderWalk::End() noexcept {
  if (--pieces_ == 0) idle_.Signal();
}

void FolderWalk::Wait(Phase phase, const Observer& observer) {
  while (!idle_.Wait(kObserveMs)) observer(phase, counts_);
  if (isOutOfMemory_) throw std::bad_alloc();
}

void FolderWalk::List(const std::string& path) {
  if (path != root_ && !KeepsFiles(path)) {
    Tracer()(dp::TraceType::Info) << "leave out the folder " << path << ", which keeps no files";
    ++counts_.others;
    return;
  }
  Folder folder{path, {}};
  std::size_t entries = 0;
  du::FindFile find;
  for (const du::FileSpec* entry = &find.FindFirstFileName(Joined(path, "*"), du::FindFile::ANY_TYPE);
       !entry->empty(); entry = &find.GetNextFileName(), ++entries) {
    switch (find.GetEntryType()) {
      case du::FindFile::FILE_ENTRY:
        folder.files.push_back(NoteOf(*entry));
        break;
      case du::FindFile::DIRECTORY_ENTRY: {
        std::string name;
        entry->GetFile(&name);
        Begin(du::MakeShared<Listing>(*this, Joined(path, name)));
        break;
      }
      case du::FindFile::LINK_ENTRY:
        ++counts_.links;
        break;
      default:
        ++counts_.others;
    }
  }
  if (entries == 0 && !IsReadable(path)) {
    Tracer()(dp::TraceType::Warning) << "cannot read the folder " << path;
    ++counts_.unreadableFolders;
    return;
  }
  ++counts_.folders;
  counts_.filesFound += folder.files.size();
  if (folder.files.empty()) return;
  const Guard guard(*this);
  folders_.push_back(std::move(folder));
}

void FolderWalk::Note(const Folder& folder, FileNote& file, FileContents& contents) {
  const std::string path = Joined(folder.path, file.name);
  du::FileStat stat{};
  ++counts_.filesDone;
  if (du::FileSystem::Stat(path.c_str(), &stat) != 0) {
    NoteVanished(file);
    return;
  }
  file.path = path;
  file.time = TimeText(stat.modificationTime);
  if (contents.Read(path, stat.size)) {
    file.state = FileNote::State::kRead;
    file.size = std::to_string(contents.Size());
    file.crc32 = Hexadecimal(contents.Crc32(), 8);
    file.kind = contents.Kind();
    counts_.bytes += contents.Size();
  } else if (!du::FileSystem::FileExists(path.c_str())) {
    NoteVanished(file);
  } else {
    Tracer()(dp::TraceType::Warning) << "cannot read " << path;
    file.state = FileNote::State::kUnreadable;
    file.size = std::to_string(stat.size);
    ++counts_.unreadableFiles;
  }
}

void FolderWalk::NoteVanished(FileNote& file) {
  file.state = FileNote::State::kVanished;
  ++counts_.vanishedFiles;
}

void FolderWalk::Sort() {
  folders_.sort([](const Folder& a, const Folder& b) { return a.path < b.path; });
  for (Folder& folder : folders_) {
    std::sort(folder.files.begin(), folder.files.end(),
              [](const FileNote& a, const FileNote& b) { return std::less<du::Symbol>()(a.name, b.name); });
  }
}

}  // namespace lmkutil
