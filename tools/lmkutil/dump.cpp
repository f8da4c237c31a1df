#include "tools/lmkutil/dump.h"

#include <cstdio>

#include "tools/lmkutil/hex_view.h"
#include "tools/lmkutil/progress.h"
#include "tools/lmkutil/replacement.h"
#include "tools/lmkutil/section_scan.h"
#include "tools/lmkutil/text_file.h"

#include "lmkutils/files/file_writer.h"
#include "lmkutils/platform/command_line.h"

namespace lmkutil {
namespace {

using dp::CommandLine;

template <class Number>
std::string Shown(Number number) {
  return std::to_string(number);
}

// What is to be said of the section's data.
std::string Verdict(const Section& section, const Resources& resources) {
  if (section.state == Section::State::kCut) return resources.Text("SECTION_CUT", {Shown(section.plain)});
  if (section.state == Section::State::kDamaged)
    return resources.Text("SECTION_DAMAGED", {Shown(section.plain)});
  if (section.IsGood()) return resources.Text("SECTION_GOOD", {});
  std::string text;
  if (!section.IsChecksumRight()) {
    text = resources.Text("WRONG_CHECKSUM",
                          {Hexadecimal(section.trailerChecksum, 8), Hexadecimal(section.checksum, 8)});
  }
  if (!section.IsLengthRight()) {
    if (!text.empty()) text += "; ";
    text += resources.Text("WRONG_LENGTH", {Shown(section.trailerLength), Shown(section.plain & 0xFFFFFFFF)});
  }
  return text;
}

std::string SectionLine(unsigned number, const Section& section, const Resources& resources) {
  const std::string verdict = Verdict(section, resources);
  if (section.state != Section::State::kWhole) {
    return resources.Text("SECTION_PART", {Shown(section.start), Shown(number), verdict}) + "\n";
  }
  return resources.Text("SECTION", {Shown(section.start), Shown(number), Shown(section.packed),
                                    Shown(section.plain), verdict}) +
         "\n";
}

// Shows how far the scan has come through the file.
void Watch(SectionScan& scan, Progress& progress, const Resources& resources) {
  scan.SetWatcher([&](std::int64_t bytes) {
    if (!progress.IsDue()) return;
    progress.Show(resources.Text("DUMP_PROGRESS", {Shown(bytes), Shown(scan.FileSize())}),
                  static_cast<std::uint64_t>(bytes), static_cast<std::uint64_t>(scan.FileSize()));
  });
}

// Goes through a file and shows each part of it.
class Listing {
 public:
  Listing(SectionScan& scan, bool hex, Progress& progress, const Resources& resources)
      : scan_(scan), hex_(hex), progress_(progress), resources_(resources) {}

  void Show() {
    Section section;
    while (written_ && scan_.Next(&section)) {
      ShowPlain(section.start);
      ShowSection(section);
    }
    ShowPlain(scan_.FileSize());
    Put(resources_.Text("DUMP_SUMMARY", {Shown(scan_.FileSize()), Shown(sections_), Shown(bad_)}) + "\n");
  }

  bool IsGood() const { return bad_ == 0; }
  bool IsWritten() const { return written_; }

 private:
  void Put(const std::string& text) {
    progress_.Clear();
    written_ = written_ && Write(stdout, text);
  }

  void ShowPlain(std::int64_t end) {
    if (end <= shown_) return;
    Put(resources_.Text("PLAIN_DATA", {Shown(shown_), Shown(end - shown_)}) + "\n");
    if (hex_) {
      HexView view(static_cast<std::uint64_t>(shown_));
      scan_.Read(shown_, end, [&](std::string_view bytes) { return PutBytes(view, bytes); });
      Put(view.LastLine());
    }
    shown_ = end;
  }

  // What is left of a section that is not whole is not plain data either, as far as one can tell.
  void ShowSection(const Section& section) {
    ++sections_;
    if (!section.IsGood()) ++bad_;
    Put(SectionLine(sections_, section, resources_));
    if (hex_) {
      HexView view(0);
      scan_.Unpack(section, [&](std::string_view bytes) { return PutBytes(view, bytes); });
      Put(view.LastLine());
    }
    shown_ = section.state == Section::State::kWhole ? section.start + section.packed : scan_.FileSize();
  }

  bool PutBytes(HexView& view, std::string_view bytes) {
    Put(view.Lines(bytes));
    return written_;
  }

  SectionScan& scan_;
  const bool hex_;
  Progress& progress_;
  const Resources& resources_;
  std::int64_t shown_ = 0;
  unsigned sections_ = 0;
  unsigned bad_ = 0;
  bool written_ = true;
};

ExitStatus Unreadable(const std::string& path, const Resources& resources) {
  PrintError(resources.Text("FILE_UNREADABLE", {path}));
  return kFoundWrong;
}

// All that can be unpacked.
bool WritePlain(SectionScan& scan, const Section& section, const std::string& path) {
  Replacement file(path);
  const du::SmartPtr<du::FileWriter> writer = du::FileWriter::Construct();
  if (!file.IsPossible() || !writer->Open(file.File())) return false;
  bool isWritten = true;
  scan.Unpack(section, [&](std::string_view bytes) {
    const auto count = static_cast<unsigned>(bytes.size());
    isWritten = !CommandLine::IsInterrupted() && writer->Write(bytes.data(), count) == count;
    return isWritten;
  });
  return writer->Close() && isWritten && file.Finish();
}

}  // namespace

ExitStatus Dump(const Options& options, const Resources& resources) {
  SectionScan scan;
  if (!scan.Open(options.file)) return Unreadable(options.file, resources);
  Progress progress;
  Watch(scan, progress, resources);
  Listing listing(scan, options.hex, progress, resources);
  listing.Show();
  progress.Clear();
  if (!listing.IsWritten()) {
    PrintError(resources.Text("OUTPUT_FAILED"));
    return kFoundWrong;
  }
  if (!scan.IsReadable()) return Unreadable(options.file, resources);
  return listing.IsGood() ? kDone : kFoundWrong;
}

ExitStatus Extract(const Options& options, const Resources& resources) {
  SectionScan scan;
  if (!scan.Open(options.file)) return Unreadable(options.file, resources);
  Progress progress;
  Watch(scan, progress, resources);
  Section section;
  unsigned number = 0;
  while (number < options.section && scan.Next(&section)) ++number;
  progress.Clear();
  if (!scan.IsReadable()) return Unreadable(options.file, resources);
  if (number < options.section) {
    PrintError(resources.Text("SECTION_UNKNOWN", {options.file, Shown(options.section), Shown(number)}));
    return kFoundWrong;
  }
  CommandLine::CatchInterrupt();
  const bool isWritten = !AreOneFile(options.file, options.out) && WritePlain(scan, section, options.out);
  progress.Clear();
  if (CommandLine::IsInterrupted()) {
    PrintError(resources.Text("INTERRUPTED", {options.out}));
    return kInterrupted;
  }
  if (!isWritten) {
    PrintError(resources.Text("FILE_UNWRITABLE", {options.out}));
    return kFoundWrong;
  }
  if (section.IsGood()) return kDone;
  PrintError(resources.Text("SECTION_BAD", {Shown(number), options.file, Verdict(section, resources)}));
  return kFoundWrong;
}

}  // namespace lmkutil
