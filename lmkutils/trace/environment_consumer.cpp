#include "lmkutils/trace/internal/environment_consumer.h"

#include <iostream>
#include <string_view>

#include "lmkutils/files/file_spec.h"
#include "lmkutils/os/console.h"
#include "lmkutils/platform/environment.h"
#include "lmkutils/platform/process.h"
#include "lmkutils/trace/file_consumer.h"
#include "lmkutils/trace/stream_consumer.h"

namespace dp::internal {
namespace {

constexpr std::string_view kOutput = "stdout";
constexpr std::string_view kError = "stderr";

// What "LUMORA_TRACE" would say: a stream or a path; empty for neither.
std::string ReadTarget() {
  std::string target = Environment::Get("LUMORA_PROC_TRACE");
  if (target.empty()) return Environment::Get("LUMORA_TRACE");
  if (target == kOutput || target == kError) return target;
  return PathOfProcess(target, Process::GetCurrentProcId());
}

}  // namespace

std::unique_ptr<TraceConsumer> MakeConsumerFromEnvironment() {
  const std::string target = ReadTarget();
  if (target.empty()) return nullptr;
  if (target == kOutput) {
    os::EnsureConsole(os::StandardStream::kOutput);
    return std::make_unique<StreamConsumer>(std::cout);
  }
  if (target == kError) {
    os::EnsureConsole(os::StandardStream::kError);
    return std::make_unique<StreamConsumer>(std::cerr);
  }
  return std::make_unique<FileConsumer>(target);
}

std::string PathOfProcess(const std::string& path, unsigned processId) {
  const du::FileSpec spec(path);
  std::string baseName;
  std::string drive;
  spec.GetFileBaseName(&baseName);
  spec.GetDrive(&drive);
  // The text is changed in place, since building it anew would change its separators.
  const std::size_t separator = path.find_last_of("\\/");
  std::size_t file = separator == path.npos ? 0 : separator + 1;
  if (file == 0 && drive.size() == 1) file = 2;  // "C:trace.log"
  std::string result = path;
  return result.insert(file + baseName.size(), "_" + std::to_string(processId));
}

}  // namespace dp::internal
