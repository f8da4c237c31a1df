#include "lmkutils/files/internal/unique_name.h"

#include "lmkutils/files/file_system.h"
#include "lmkutils/files/internal/file_trace.h"
#include "lmkutils/os/clock.h"
#include "lmkutils/os/host_name.h"
#include "lmkutils/os/process.h"
#include "lmkutils/os/thread.h"

namespace du::internal {
namespace {

// Only the first 32 occur, so that names which differ in case only are never made.
constexpr char kAlphabet[] = "0123456789abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ_-";
constexpr unsigned kBitsOfCharacter = 5;
constexpr std::uint64_t kCharacterMask = (1U << kBitsOfCharacter) - 1;

// The bytes of a number, the least significant first.
template <class Number>
std::uint64_t MixNumber(std::uint64_t hash, Number number) noexcept {
  for (unsigned bit = 0; bit < 8 * sizeof number; bit += 8) {
    hash = MixByte(hash, static_cast<signed char>(static_cast<std::uint64_t>(number) >> bit));
  }
  return hash;
}

struct Seed {
  Seed() : host(os::HostName()), process(os::ProcessId()) {
    for (const char c : host) hash = MixByte(hash, static_cast<signed char>(c));
    hash = MixNumber(hash, process);
  }

  std::string host;
  std::uint32_t process;
  std::uint64_t hash = 0;
};

// Never destroyed: names are made until the very end.
const Seed& ProcessSeed() {
  static const Seed* const seed = new Seed;
  return *seed;
}

std::string NameOf(std::string_view prefix, std::uint64_t hash) {
  std::string name(prefix);
  for (unsigned i = 0; i < FileSystem::TEMP_DIR_LENGTH; ++i, hash >>= kBitsOfCharacter) {
    name += kAlphabet[hash & kCharacterMask];
  }
  return name;
}

}  // namespace

std::string MakeUniqueName(std::string_view prefix) {
  const Seed& seed = ProcessSeed();
  const std::uint32_t thread = os::CurrentThreadId();
  std::int64_t timer = 0;
  os::ReadCounter(timer);  // without a counter the rest has to do
  std::string name = NameOf(prefix, MixNumber(MixNumber(seed.hash, thread), timer));
  Trace(dp::TraceType::Debug, "GenerateUniqueName(\"%s\") at \"%s-%x-%x-%li\" produces\"%s\".",
        std::string(prefix).c_str(), seed.host.c_str(), seed.process, thread, static_cast<long>(timer),
        name.c_str());
  return name;
}

}  // namespace du::internal
