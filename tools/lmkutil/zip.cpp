#include "tools/lmkutil/zip.h"

#include <algorithm>
#include <filesystem>
#include <functional>
#include <limits>
#include <string>
#include <vector>

#include "tools/lmkutil/printable.h"
#include "tools/lmkutil/query.h"
#include "tools/lmkutil/table.h"
#include "tools/lmkutil/zip_watch.h"

#include "lmkutils/files/file_system.h"
#include "lmkutils/files/zip_reader.h"
#include "lmkutils/files/zip_writer.h"
#include "lmkutils/platform/command_line.h"
#include "lmkutils/time/time.h"
#include "lmkutils/trace/lm_tracer.h"

namespace lmkutil {
namespace {

using dp::CommandLine;
using du::FileSystem;
using du::ZipMember;
using du::ZipReader;
using du::ZipWriter;

constexpr char kAll[] = "*";

const dp::LMTracer& Tracer() {
  static const dp::LMTracer tracer("lmkutil", "zip");
  return tracer;
}

std::string Shown(std::uint64_t number) {
  return std::to_string(number);
}

void TraceEnd(const ZipWatch& watch, const std::string& archive) {
  Tracer()(dp::TraceType::Info) << archive << ": " << watch.Members() << " members, " << watch.Bytes()
                                << " bytes, " << watch.Problems() << " problems";
}

ExitStatus Finish(const std::string& text, bool good, const Resources& resources) {
  const ExitStatus status = Print(text + "\n", resources);
  return status != kDone || good ? status : kFoundWrong;
}

// The member's name for a path: without root, "." and "..", with '/'. Empty for a path that only climbs.
std::string NameInArchive(const std::string& path) {
  const std::filesystem::path given(std::u8string(path.begin(), path.end()));
  std::filesystem::path clean;
  for (const std::filesystem::path& part : given.lexically_normal().relative_path()) {
    if (part != "." && part != ".." && !part.empty()) clean /= part;
  }
  const std::u8string text = clean.generic_u8string();
  return {text.begin(), text.end()};
}

bool Add(ZipWriter::FileAdder& adder, const std::string& path) {
  const std::string name = NameInArchive(path);
  if (!FileSystem::DirExists(path.c_str())) return adder.AddFile(path, name);
  return adder.AddAllFilesFromDir(path, name.empty() ? name : name + ZipReader::ZIP_DIR_CHAR, true);
}

std::uint64_t SizeOf(const std::string& path) {
  du::FileStat stat{};
  FileSystem::Stat(path.c_str(), &stat);
  return stat.size;
}

// "2026-11-21 15:33:08", in UTC.
std::string TimeText(std::int64_t seconds) {
  std::string text = du::Time(std::int64_t{1000} * seconds).ToISO8601();
  const std::size_t date = text.find('T');
  if (date != 8 || text.size() != 15) return text;
  text[date] = ' ';
  for (const std::size_t place : {13U, 11U}) text.insert(place, 1, ':');
  for (const std::size_t place : {6U, 4U}) text.insert(place, 1, '-');
  return text;
}

std::uint64_t BytesOf(const std::vector<ZipMember>& members) {
  std::uint64_t sum = 0;
  for (const ZipMember& member : members) sum += std::min(member.size, std::uint64_t{1} << 50);
  return sum;
}

// Reads the members that are asked for, in one way or another.
class Unpacking {
 public:
  Unpacking(const Options& options, const Resources& resources)
      : options_(options),
        watch_(ZipWatch::Work::kUnpacking, options.file, resources),
        reader_(options.file) {
    reader_.SetObserver(&watch_);
    if (options.noLimits) {
      constexpr std::uint64_t kNone = std::numeric_limits<std::uint64_t>::max();
      reader_.SetLimits({.totalSize = kNone, .freeSize = kNone});
    }
  }

  // False when there was any problem.
  bool Run(const std::function<bool(ZipReader&, const std::string&)>& read) {
    CommandLine::CatchInterrupt();
    Tracer()(dp::TraceType::Info) << "unpacking " << options_.file;
    std::vector<ZipMember> members;
    if (!reader_.ListMembers(&members)) return false;
    if (options_.files.empty()) watch_.SetTotal(BytesOf(members));
    bool good = true;
    for (const std::string& name : options_.files.empty() ? std::vector<std::string>{kAll} : options_.files) {
      if (!CommandLine::IsInterrupted() && !read(reader_, name)) good = false;
    }
    watch_.Clear();
    TraceEnd(watch_, options_.file);
    return good;
  }

  const ZipWatch& Watch() const noexcept { return watch_; }

 private:
  const Options& options_;
  ZipWatch watch_;
  ZipReader reader_;
};

}  // namespace

ExitStatus ZipCreate(const Options& options, const Resources& resources) {
  std::vector<std::string> paths = options.files;
  if (!options.catalogue.empty()) {
    const ExitStatus found = FindPaths(options.catalogue, options.query, resources, paths);
    if (found != kDone) return found;
  }
  CommandLine::CatchInterrupt();
  Tracer()(dp::TraceType::Info) << "packing " << paths.size() << " paths into " << options.file;
  ZipWatch watch(ZipWatch::Work::kPacking, options.file, resources);
  ZipWriter writer(options.file);
  writer.SetObserver(&watch);
  for (const std::string& path : options.excluded) {
    writer.ExcludeFile(path);
    writer.ExcludeDirPath(path);
  }
  ZipWriter::FileAdder adder(writer, ZipWriter::ZIP_APPEND_STATUS_CREATE);
  if (!adder.GetOpenStatus()) return kFoundWrong;
  bool good = true;
  for (const std::string& path : paths) {
    if (!CommandLine::IsInterrupted() && !Add(adder, path)) good = false;
  }
  if (CommandLine::IsInterrupted()) {
    adder.Abandon();
    watch.Clear();
    PrintError(resources.Text("INTERRUPTED", {options.file}));
    return kInterrupted;
  }
  const bool isNothing = !paths.empty() && watch.Members() == 0 && !good;
  if (!adder.Close() || isNothing) return kFoundWrong;
  watch.Clear();
  TraceEnd(watch, options.file);
  return Finish(resources.Text("ZIP_CREATED",
                               {Shown(watch.Members()), Shown(watch.Bytes()), Shown(SizeOf(options.file))}),
                good, resources);
}

ExitStatus ZipList(const Options& options, const Resources& resources) {
  ZipWatch watch(ZipWatch::Work::kUnpacking, options.file, resources);
  ZipReader reader(options.file);
  reader.SetObserver(&watch);
  std::vector<ZipMember> members;
  if (!reader.ListMembers(&members)) return kFoundWrong;
  Table table({{resources.Text("ZIP_SIZE"), Align::kRight},
               {resources.Text("ZIP_PACKED"), Align::kRight},
               {resources.Text("ZIP_TIME"), Align::kLeft},
               {resources.Text("ZIP_MEMBER"), Align::kLeft}});
  std::uint64_t packed = 0;
  for (const ZipMember& member : members) {
    packed += member.packedSize;
    table.AddRow(
        {Shown(member.size), Shown(member.packedSize), TimeText(member.modified), Printable(member.name)});
  }
  const std::string summary =
      resources.Text("ZIP_LISTED", {Shown(members.size()), Shown(BytesOf(members)), Shown(packed)});
  return Finish((members.empty() ? std::string() : table.Text()) + summary, true, resources);
}

ExitStatus ZipExtract(const Options& options, const Resources& resources) {
  const std::string destination = options.out.empty() ? "." : options.out;
  Unpacking unpacking(options, resources);
  const bool good = unpacking.Run([&destination](ZipReader& reader, const std::string& name) {
    return reader.Extract(name, destination);
  });
  if (CommandLine::IsInterrupted()) {
    PrintError(resources.Text("ZIP_INTERRUPTED", {destination}));
    return kInterrupted;
  }
  const ZipWatch& watch = unpacking.Watch();
  if (!good && watch.Members() == 0) return kFoundWrong;
  return Finish(resources.Text("ZIP_EXTRACTED", {Shown(watch.Members()), Shown(watch.Bytes())}), good,
                resources);
}

ExitStatus ZipTest(const Options& options, const Resources& resources) {
  Unpacking unpacking(options, resources);
  const bool good =
      unpacking.Run([](ZipReader& reader, const std::string& name) { return reader.Test(name); });
  if (CommandLine::IsInterrupted()) {
    PrintError(resources.Text("INTERRUPTED", {options.file}));
    return kInterrupted;
  }
  const ZipWatch& watch = unpacking.Watch();
  if (!good && watch.Members() == 0) return kFoundWrong;
  return Finish(
      resources.Text("ZIP_TESTED", {Shown(watch.Members()), Shown(watch.Bytes()), Shown(watch.Problems())}),
      good, resources);
}

}  // namespace lmkutil
