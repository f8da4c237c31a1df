#include "tools/lmkutil/catalog.h"

#include <filesystem>
#include <string>

#include "tools/lmkutil/catalogue.h"
#include "tools/lmkutil/folder_walk.h"
#include "tools/lmkutil/progress.h"

#include "lmkutils/data/dbase.h"
#include "lmkutils/files/file_system.h"
#include "lmkutils/platform/command_line.h"
#include "lmkutils/platform/environment.h"
#include "lmkutils/trace/lm_tracer.h"

namespace lmkutil {
namespace {

constexpr char kDefaultFile[] = "catalog.lmkcat";

// Data that every machine has: the Windows folder, or what programs share.
std::string DefaultFolder() {
  const std::string windows = dp::Environment::Get("SystemRoot");
  return windows.empty() ? "/usr/share" : windows;
}

// Absolute, without "." and "..", and without a separator at the end of what is no root. Links stay.
std::string CleanFolder(const std::string& path) {
  const std::filesystem::path given(std::u8string(path.begin(), path.end()));
  std::filesystem::path clean = std::filesystem::absolute(given).lexically_normal();
  if (!clean.has_filename() && clean != clean.root_path()) clean = clean.parent_path();
  const std::u8string text = clean.make_preferred().u8string();
  return {text.begin(), text.end()};
}

// Text is UTF-8 when it has a value.
void AddText(du::Dbase& records, unsigned id, const du::Symbol& name, const du::Symbol& value) {
  if (!value.empty()) records.AddAttribute(id, name, value);
}

// Hands the files over, and gives up what is kept of each.
void Fill(du::Dbase& records, FolderWalk& walk) {
  const du::Symbol path(attribute::kPath), directory(attribute::kDirectory), name(attribute::kName);
  const du::Symbol extension(attribute::kExtension), version(attribute::kVersion), size(attribute::kSize);
  const du::Symbol time(attribute::kTime), kind(attribute::kKind), crc32(attribute::kCrc32);
  unsigned id = 0;
  for (Folder& folder : walk.Folders()) {
    const du::Symbol folderPath(folder.path);
    for (const FileNote& file : folder.files) {
      if (file.state == FileNote::State::kListed || file.state == FileNote::State::kVanished) continue;
      AddText(records, id, path, file.path);
      AddText(records, id, directory, folderPath);
      AddText(records, id, name, file.name);
      AddText(records, id, extension, file.extension);
      AddText(records, id, version, file.version);
      AddText(records, id, size, file.size);
      AddText(records, id, time, file.time);
      if (file.kind != nullptr) AddText(records, id, kind, file.kind);
      AddText(records, id, crc32, file.crc32);
      ++id;
    }
    folder.files = {};
  }
}

void Look(FolderWalk& walk, Progress& progress, const Resources& resources) {
  walk.Run([&](FolderWalk::Phase phase, const WalkCounts& counts) {
    if (!progress.IsDue()) return;
    const std::uint64_t found = counts.filesFound;
    const std::uint64_t done = counts.filesDone;
    if (phase == FolderWalk::Phase::kListing) {
      progress.Show(resources.Text("CATALOG_LISTING", {std::to_string(found)}));
    } else {
      progress.Show(resources.Text("CATALOG_READING", {std::to_string(done), std::to_string(found)}), done,
                    found);
    }
  });
}

std::string Summary(const WalkCounts& counts, const std::string& file, const Resources& resources) {
  const auto text = [](const std::atomic<std::uint64_t>& count) { return std::to_string(count.load()); };
  du::FileStat stat{};
  du::FileSystem::Stat(file.c_str(), &stat);
  return resources.Text("CATALOG_SUMMARY",
                        {text(counts.filesFound), text(counts.bytes), text(counts.folders)}) +
         "\n" + resources.Text("CATALOG_LEFT_OUT", {text(counts.links), text(counts.others)}) + "\n" +
         resources.Text("CATALOG_UNREADABLE", {text(counts.unreadableFolders), text(counts.unreadableFiles),
                                               text(counts.vanishedFiles)}) +
         "\n" + resources.Text("CATALOG_SAVED", {file, std::to_string(stat.size)}) + "\n";
}

ExitStatus Interrupted(const std::string& file, const Resources& resources) {
  PrintError(resources.Text("INTERRUPTED", {file}));
  return kInterrupted;
}

}  // namespace

ExitStatus Catalog(const Options& options, const Resources& resources) {
  static const dp::LMTracer tracer("lmkutil", "catalog");
  const std::string file = options.out.empty() ? kDefaultFile : options.out;
  const std::string given = options.file.empty() ? DefaultFolder() : options.file;
  if (!du::FileSystem::DirExists(given.c_str())) {
    PrintError(resources.Text("FOLDER_MISSING", {given}));
    return kFoundWrong;
  }
  dp::CommandLine::CatchInterrupt();
  Progress progress;
  FolderWalk walk(CleanFolder(given));
  Look(walk, progress, resources);
  if (dp::CommandLine::IsInterrupted()) {
    progress.Clear();
    return Interrupted(file, resources);
  }
  if (walk.Counts().folders == 0) {  // not even the first could be listed
    progress.Clear();
    PrintError(resources.Text("FOLDER_MISSING", {given}));
    return kFoundWrong;
  }
  progress.Show(resources.Text("CATALOG_SAVING"));
  du::Dbase records;
  Fill(records, walk);
  const Saving saving = SaveCatalogue(file, records);
  progress.Clear();
  tracer(dp::TraceType::Info) << "noted " << walk.Counts().filesDone << " files of " << given << " in "
                              << file;
  switch (saving) {
    case Saving::kDone:
      return Print(Summary(walk.Counts(), file, resources), resources);
    case Saving::kInterrupted:
      return Interrupted(file, resources);
    case Saving::kFailed:
      break;
  }
  PrintError(resources.Text("FILE_UNWRITABLE", {file}));
  return kFoundWrong;
}

}  // namespace lmkutil
