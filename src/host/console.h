// The terminal of a person who waits for a request: warnings as they come, progress as a bar.
#pragma once

#include <chrono>

#include "host/reply.h"

namespace kelvarion::host {

// Guesses how long work will still take from how far it has come.
class RemainingTime {
 public:
  using Clock = std::chrono::steady_clock;

  // In seconds; -1 as long as there is nothing to tell from. Percentages that fall, and a
  // percentage that is unknown, begin a new piece of work.
  int Seconds(int percent, Clock::time_point now);

 private:
  int first_percent_ = -1;
  int last_percent_ = -1;
  Clock::time_point begin_{};
};

// Writes to standard error. The bar appears only on a terminal and is gone when the object is.
class Console final : public Observer {
 public:
  Console();
  ~Console();
  Console(const Console&) = delete;
  Console& operator=(const Console&) = delete;

  void OnWarning(const std::u16string& text) override;
  void OnProgress(const Progress& progress) override;

 private:
  void ClearBar();

  const bool terminal_;
  bool bar_shown_ = false;
  RemainingTime remaining_;
};

// One line of at most `width` columns: "Importing demo  [#####     ]  48 %  2:10 left".
std::string ProgressLine(const Progress& progress, int width);

}  // namespace kelvarion::host
