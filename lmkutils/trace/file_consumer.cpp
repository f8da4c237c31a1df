#include "lmkutils/trace/file_consumer.h"

#include <cstdio>
#include <string_view>

#include "lmkutils/files/file_spec.h"
#include "lmkutils/os/file.h"
#include "lmkutils/platform/lm_info.h"
#include "lmkutils/trace/internal/record_text.h"
#include "lmkutils/trace/internal/record_writer.h"

namespace dp {
namespace {

constexpr std::string_view kNoStyleSheet =
    "Error: Lmtrace XSL file not available. Trace will be plain text.\n";

// The path of the installed style sheet; empty when there is none.
std::string FindStyleSheet() {
  std::string path = LmInfo::Instance().GetTraceStyleSheet();
  if (path.empty() || !os::IsRegularFile(path.c_str())) path.clear();
  return path;
}

std::string Prologue(const std::string& styleSheet) {
  std::string text = "<?xml version=\"1.0\"?>\n<?xml-stylesheet type=\"text/xsl\" href=\"";
  std::string storage;
  text += internal::XmlEscaped(styleSheet, storage);
  text += "\"?>\n<lmtrace:log xmlns:lmtrace=\"urn::uuid::a4a83aae-be5c-4b2b-9f60-5e937dee9534\">\n";
  return text;
}

}  // namespace

class FileConsumer::Impl {
 public:
  explicit Impl(const std::string& path) : path_(path) {
    writer_.SetXml(path.empty() ? writer_.IsFormat("xml") : path.ends_with(".xml"));
    if (path.find('\0') == path.npos) os::OpenForAppending(path.c_str(), &file_);
  }
  ~Impl() { os::CloseFile(file_); }

  bool Consume(const TraceFormatter& record) { return IsGood() && Write(writer_.Write(record)); }

  void WritePrologue() {
    if (!writer_.IsXml() || !IsGood()) return;
    const std::string styleSheet = FindStyleSheet();
    if (styleSheet.empty()) {
      writer_.SetXml(false);
      Write(kNoStyleSheet);
    } else {
      Write(Prologue(styleSheet));
    }
  }

  void Close() {
    if (writer_.IsXml() && IsGood()) Write("</lmtrace:log>");
    os::CloseFile(file_);
    file_ = os::File::kNone;
  }

  const std::string& Path() const { return path_; }

 private:
  bool IsGood() const { return file_ != os::File::kNone && !failed_; }

  // One call, and more only for the rest of one that was cut short: a record must not stay torn.
  bool Write(std::string_view text) {
    while (!text.empty() && !failed_) {
      std::size_t written = 0;
      failed_ = os::WriteOnce(file_, text.data(), text.size(), &written) != os::kSuccess || written == 0;
      text.remove_prefix(written);
    }
    return !failed_;
  }

  const std::string path_;
  internal::RecordWriter writer_;
  os::File file_ = os::File::kNone;
  bool failed_ = false;
};

FileConsumer::FileConsumer(const std::string& path) : impl_(std::make_unique<Impl>(path)) {}

FileConsumer::~FileConsumer() = default;

// In one piece, down to the system call, as are the two functions that lead here
// (dp::internal::TraceFormatted and TraceFormatter::Finish): a kernel that guards against speculation leaves
// the processor without its notes of where functions return to, so that each return behind the call costs as
// much as formatting a number.
[[gnu::flatten]] bool FileConsumer::ConsumeMessage(const TraceFormatter* formatter) {
  return formatter != nullptr && impl_->Consume(*formatter);
}

void FileConsumer::Install() {
  impl_->WritePrologue();
}

void FileConsumer::Release() {
  impl_->Close();
}

void FileConsumer::PrintFileName() {
  std::string name;
  du::FileSpec(impl_->Path()).GetFile(&name);
  std::printf("Trace file: %s\n", name.c_str());
  std::fflush(stdout);
}

}  // namespace dp
