#include "tools/lmkutil/pseudo.h"

#include <string>

#include "tools/lmkutil/result_file.h"
#include "tools/lmkutil/string_lines.h"
#include "tools/lmkutil/string_table.h"
#include "tools/lmkutil/text_file.h"

#include "lmkutils/text/corrupt_message.h"

namespace lmkutil {

ExitStatus WritePseudo(const Options& options, const Resources& resources) {
  std::string bytes;
  if (!OpenTable(options.file, resources, &bytes)) return kFoundWrong;
  StringLines file = SplitStringFile(bytes);
  for (StringLine& line : file.lines) {
    if (!line.IsMessage()) continue;
    const std::size_t value = line.text.find('=', line.text.find('.')) + 1;
    line.text = line.text.substr(0, value) + du::CorruptMessage(line.value);
  }
  const std::string pseudo = JoinStringFile(file);
  if (options.out.empty()) return Print(WithoutCarriageReturns(pseudo), resources);
  return WriteResult(options.out, pseudo, {options.file}, resources);
}

}  // namespace lmkutil
