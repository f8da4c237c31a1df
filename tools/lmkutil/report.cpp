#include "tools/lmkutil/report.h"

#include "tools/lmkutil/json.h"
#include "tools/lmkutil/message_lint.h"

#include "lmkutils/text/encoding.h"

namespace lmkutil {
namespace {

// Bytes of a file that is not what it should be, harmless for a terminal: control characters as "\x1B".
std::string Printable(const std::string& text) {
  std::string printable;
  for (const char c : du::RepairUtf8(text)) {
    const bool isControl = static_cast<unsigned char>(c) < 0x20 || c == 0x7F;
    printable += isControl ? "\\x" + HexByte(c) : std::string(1, c);
  }
  return printable;
}

std::string Explanation(const Finding& finding, const Resources& resources) {
  std::vector<std::string> args = finding.args;
  const std::string_view tag = finding.tag;
  const bool listsPlaceholders = tag == "DIFFERENT" || tag == "PO_PLACEHOLDERS";
  for (std::string& arg : args) {
    if (arg.empty() && listsPlaceholders) arg = resources.Text("NO_PLACEHOLDERS");
    arg = Printable(arg);
  }
  return resources.Text(finding.tag, args);
}

const char* SeverityName(Severity severity) {
  return severity == Severity::kError ? "error" : "warning";
}

std::string FindingAsJson(const StringFile& file, const Finding& finding, const Resources& resources) {
  return "{\"file\": " + JsonString(file.path) + ", \"line\": " + std::to_string(finding.line) +
         ", \"column\": " + std::to_string(finding.column) + ", \"severity\": \"" +
         SeverityName(finding.severity) + "\", \"id\": \"" + finding.tag +
         "\", \"message\": " + JsonString(Explanation(finding, resources)) + "}";
}

}  // namespace

Totals Count(const std::vector<StringFile>& files) {
  Totals totals;
  for (const StringFile& file : files) {
    totals.files += file.isThere ? 1 : 0;
    totals.messages += file.messages.size();
    for (const Finding& finding : file.findings) {
      ++(finding.severity == Severity::kError ? totals.errors : totals.warnings);
    }
  }
  return totals;
}

std::string FindingLines(const StringFile& file, const Resources& resources) {
  std::string lines;
  for (const Finding& finding : file.findings) {
    const char* const tag = finding.severity == Severity::kError ? "CHECK_ERROR" : "CHECK_WARNING";
    lines += resources.Text(tag, {file.path, std::to_string(finding.line), std::to_string(finding.column),
                                  Explanation(finding, resources)});
    lines += '\n';
  }
  return lines;
}

std::string SummaryLine(const std::vector<StringFile>& files, const Resources& resources) {
  const Totals totals = Count(files);
  return resources.Text("CHECK_SUMMARY", {std::to_string(totals.files), std::to_string(totals.messages),
                                          std::to_string(totals.errors), std::to_string(totals.warnings)}) +
         "\n";
}

std::string ReportLines(const std::vector<StringFile>& files, const Resources& resources) {
  std::string lines;
  for (const StringFile& file : files) lines += FindingLines(file, resources);
  return lines + SummaryLine(files, resources);
}

std::string JsonMembers(const std::vector<StringFile>& files, const Resources& resources) {
  const Totals totals = Count(files);
  std::string findings;
  for (const StringFile& file : files) {
    for (const Finding& finding : file.findings) {
      findings += (findings.empty() ? "\n  " : ",\n  ") + FindingAsJson(file, finding, resources);
    }
  }
  return "\"files\": " + std::to_string(totals.files) + ", \"messages\": " + std::to_string(totals.messages) +
         ", \"errors\": " + std::to_string(totals.errors) +
         ", \"warnings\": " + std::to_string(totals.warnings) + ", \"findings\": [" + findings + "]";
}

std::string ReportJson(const std::vector<StringFile>& files, const Resources& resources) {
  return "{" + JsonMembers(files, resources) + "}\n";
}

}  // namespace lmkutil
