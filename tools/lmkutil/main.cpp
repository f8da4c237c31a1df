// lmkutil: shows and checks what the library works with.
#include <exception>

#include "tools/lmkutil/catalog.h"
#include "tools/lmkutil/check.h"
#include "tools/lmkutil/commands.h"
#include "tools/lmkutil/doctor.h"
#include "tools/lmkutil/dump.h"
#include "tools/lmkutil/memory.h"
#include "tools/lmkutil/options.h"
#include "tools/lmkutil/po_export.h"
#include "tools/lmkutil/po_import.h"
#include "tools/lmkutil/pseudo.h"
#include "tools/lmkutil/query.h"
#include "tools/lmkutil/resources.h"
#include "tools/lmkutil/zip.h"

#include "lmkutils/platform/command_line.h"
#include "lmkutils/trace/lm_trace_controller.h"

namespace lmkutil {
namespace {

ExitStatus Run(const std::vector<std::string>& arguments) {
  dp::CommandLine::UseUtf8Console();
  dp::LMTraceController::Instance().Initialize();
  const Resources resources;
  Options options;
  std::string error;
  if (!ParseOptions(arguments, resources, options, error)) {
    PrintError(error);
    return kWrongUsage;
  }
  switch (options.command) {
    case Command::kShow:
      return Show(options, resources);
    case Command::kList:
      return List(options, resources);
    case Command::kCheck:
      return Check(options, resources);
    case Command::kPseudo:
      return WritePseudo(options, resources);
    case Command::kExport:
      return ExportPo(options, resources);
    case Command::kImport:
      return ImportPo(options, resources);
    case Command::kDump:
      return Dump(options, resources);
    case Command::kExtract:
      return Extract(options, resources);
    case Command::kMemory:
      return Memory(options, resources);
    case Command::kDoctor:
      return Doctor(resources);
    case Command::kCatalog:
      return Catalog(options, resources);
    case Command::kQuery:
      return Query(options, resources);
    case Command::kZipCreate:
      return ZipCreate(options, resources);
    case Command::kZipList:
      return ZipList(options, resources);
    case Command::kZipExtract:
      return ZipExtract(options, resources);
    case Command::kZipTest:
      return ZipTest(options, resources);
    case Command::kPrint:
      break;
  }
  return Print(options.text, resources);
}

}  // namespace
}  // namespace lmkutil

int main(int argc, char** argv) {
  try {
    return lmkutil::Run(dp::CommandLine::GetArguments(argc, argv));
  } catch (const std::exception& error) {
    lmkutil::PrintError(error.what());
    return lmkutil::kFoundWrong;
  }
}
