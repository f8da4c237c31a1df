#include "tools/lmkutil/comparison.h"

#include <algorithm>

namespace lmkutil {
namespace {

std::string FileName(const std::string& path) {
  const std::size_t separator = path.find_last_of("/\\");
  return separator == path.npos ? path : path.substr(separator + 1);
}

// A missing message is reported where it belongs: behind the last one before it that the file has.
void FindMissing(const StringFile& reference, StringFile& file) {
  const auto messages = ByTag(file);
  std::size_t line = 1;
  for (const Message& wanted : reference.messages) {
    const auto found = messages.find(wanted.tag);
    if (found != messages.end()) {
      line = found->second->line;
    } else if (!file.lost.contains(wanted.tag)) {
      file.findings.push_back(
          {line, 1, Severity::kError, "MISSING", {wanted.tag, reference.path, std::to_string(wanted.line)}});
    }
  }
}

// With another number of arguments a message is never built; with others of the same number it is wrong.
void CompareArguments(const std::string& referencePath, const Message& wanted, StringFile& file,
                      const Message& message) {
  const long count = ArgumentCount(message.arguments);
  const long wantedCount = ArgumentCount(wanted.arguments);
  const bool isCount = count != wantedCount;
  file.findings.push_back({message.line,
                           message.column,
                           Severity::kError,
                           isCount ? "ARGUMENT_COUNT" : "DIFFERENT",
                           {isCount ? std::to_string(count) : ListPlaceholders(message.arguments),
                            isCount ? std::to_string(wantedCount) : ListPlaceholders(wanted.arguments),
                            referencePath, std::to_string(wanted.line)}});
}

void FindDifferent(const StringFile& reference, StringFile& file) {
  const auto wanted = ByTag(reference);
  for (const Message& message : file.messages) {
    const auto found = wanted.find(message.tag);
    if (found == wanted.end()) {
      if (reference.lost.contains(message.tag)) continue;
      file.findings.push_back(
          {message.line, 1, Severity::kWarning, "SURPLUS", {message.tag, reference.path}});
    } else if (found->second->arguments != message.arguments) {
      CompareArguments(reference.path, *found->second, file, message);
    }
  }
}

}  // namespace

long ArgumentCount(const std::set<long>& arguments) {
  return arguments.empty() ? 0 : *arguments.rbegin() + 1;
}

std::map<std::string, const Message*> ByTag(const StringFile& file) {
  std::map<std::string, const Message*> messages;
  for (const Message& message : file.messages) messages.emplace(message.tag, &message);
  return messages;
}

void CompareWithReference(const StringFile& reference, StringFile& file) {
  FindMissing(reference, file);
  FindDifferent(reference, file);
  std::stable_sort(file.findings.begin(), file.findings.end(), IsBefore);
}

void CompareLanguages(std::vector<StringFile>& files) {
  std::map<std::string, std::size_t> count;
  for (const StringFile& file : files) ++count[FileName(file.path)];
  const bool areOneGroup = count.size() == files.size();
  std::map<std::string, const StringFile*> references;
  for (StringFile& file : files) {
    const auto [reference, isFirst] = references.emplace(areOneGroup ? "" : FileName(file.path), &file);
    if (!isFirst) CompareWithReference(*reference->second, file);
  }
}

}  // namespace lmkutil
