// How far a command has come, for a person who waits.
#ifndef LMKUTIL_PROGRESS_H
#define LMKUTIL_PROGRESS_H

#include <cstdint>
#include <string>

#include "lmkutils/time/interval_alarm.h"

namespace lmkutil {

// A line of the terminal that the error stream leads to, written over again and again and erased at the end.
// Shows nothing where the error or the output stream goes elsewhere. Of one thread:
//
//   if (progress.IsDue()) progress.Show(text, done, total);
class Progress {
 public:
  Progress();
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;
  ~Progress() { Clear(); }

  // Ten times a second, where anything is shown at all.
  [[nodiscard]] bool IsDue();
  // A text alone, or behind a bar that is filled as far as `done` is a part of `total`.
  void Show(const std::string& text);
  void Show(const std::string& text, std::uint64_t done, std::uint64_t total);
  void Clear();

 private:
  void Write(const std::string& line);

  const bool isShown_;
  bool isDirty_ = false;
  du::IntervalAlarm alarm_;
};

}  // namespace lmkutil

#endif
