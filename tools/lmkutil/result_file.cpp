#include "tools/lmkutil/result_file.h"

#include <algorithm>

#include "tools/lmkutil/text_file.h"

namespace lmkutil {

ExitStatus WriteResult(const std::string& path, const std::string& bytes,
                       const std::vector<std::string>& sources, const Resources& resources) {
  const bool isSource = std::any_of(sources.begin(), sources.end(),
                                    [&](const std::string& source) { return AreOneFile(source, path); });
  if (!isSource && ReplaceFile(path, bytes)) return kDone;
  PrintError(resources.Text("FILE_UNWRITABLE", {path}));
  return kFoundWrong;
}

bool HasSuffix(const std::string& path, const std::vector<std::string>& suffixes,
               const Resources& resources) {
  std::string list;
  for (const std::string& suffix : suffixes) {
    if (path.ends_with(suffix)) return true;
    list += (list.empty() ? "" : " ") + suffix;
  }
  PrintError(resources.Text("WRONG_SUFFIX", {path, list}));
  return false;
}

}  // namespace lmkutil
