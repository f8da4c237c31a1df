#include "tools/lmkutil/progress.h"

#include <algorithm>
#include <cstdio>

#include "tools/lmkutil/text_file.h"

#include "lmkutils/platform/command_line.h"

namespace lmkutil {
namespace {

using dp::CommandLine;

constexpr int kIntervalMs = 100;
constexpr std::size_t kBarWidth = 30;
constexpr std::size_t kLineWidth = 79;  // of any terminal; a longer line would wrap and stay

}  // namespace

Progress::Progress()
    : isShown_(CommandLine::IsTerminal(CommandLine::STANDARD_ERROR) &&
               CommandLine::IsTerminal(CommandLine::STANDARD_OUTPUT)),
      alarm_(kIntervalMs) {}

bool Progress::IsDue() {
  return isShown_ && alarm_.TimeTillNextAlarm() == 0;
}

void Progress::Show(const std::string& text) {
  Write(text);
}

void Progress::Show(const std::string& text, std::uint64_t done, std::uint64_t total) {
  const double part =
      total == 0 ? 1.0 : std::min(static_cast<double>(done) / static_cast<double>(total), 1.0);
  const auto filled = static_cast<std::size_t>(part * kBarWidth);
  const std::string percent = std::to_string(static_cast<int>(part * 100));
  Write("[" + std::string(filled, '#') + std::string(kBarWidth - filled, '.') + "] " +
        std::string(3 - percent.size(), ' ') + percent + "% " + text);
}

void Progress::Write(const std::string& line) {
  if (!isShown_) return;
  lmkutil::Write(stderr, "\r" + line + std::string(kLineWidth - std::min(kLineWidth, line.size()), ' '));
  isDirty_ = true;
}

void Progress::Clear() {
  if (!isDirty_) return;
  lmkutil::Write(stderr, "\r" + std::string(kLineWidth, ' ') + "\r");
  isDirty_ = false;
}

}  // namespace lmkutil
