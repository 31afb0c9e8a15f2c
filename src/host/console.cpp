#include "host/console.h"

#include <algorithm>
#include <cmath>
#include <iostream>

#include "host/text.h"
#include "platform/process/process.h"

namespace kelvarion::host {
namespace {

constexpr int kBarColumns = 24;

std::string TimeLeft(int seconds) {
  const std::string rest = std::to_string(seconds % 60);
  return std::to_string(seconds / 60) + ":" + (rest.size() < 2 ? "0" : "") + rest + " left";
}

}  // namespace

std::string ProgressLine(const Progress& progress, int width) {
  std::string tail;
  if (progress.percent_complete >= 0) {
    const int percent = std::min(progress.percent_complete, 100);
    const auto filled = static_cast<std::size_t>(percent * kBarColumns / 100);
    tail += "  [" + std::string(filled, '#') + std::string(kBarColumns - filled, ' ') + "] " +
            std::string(percent < 10    ? 2
                        : percent < 100 ? 1
                                        : 0,
                        ' ') +
            std::to_string(percent) + " %";
  }
  if (progress.seconds_remaining >= 0) tail += "  " + TimeLeft(progress.seconds_remaining);
  std::u16string head = progress.activity;
  for (const std::u16string* more : {&progress.status_description, &progress.current_operation}) {
    if (more->empty()) continue;
    head += head.empty() ? u"" : u": ";
    head += *more;
  }
  const std::size_t room =
      static_cast<std::size_t>(std::max(width - 1 - static_cast<int>(tail.size()), 0));
  return Utf8(head.substr(0, room)) + tail;
}

int RemainingTime::Seconds(int percent, Clock::time_point now) {
  constexpr auto kEnough = std::chrono::seconds(2);
  if (percent < 0 || percent < last_percent_ || first_percent_ < 0) {
    first_percent_ = percent;
    begin_ = now;
  }
  last_percent_ = percent;
  const int done = percent - first_percent_;
  if (percent < 0 || done <= 0 || now - begin_ < kEnough) return -1;
  const std::chrono::duration<double> taken = now - begin_;
  return static_cast<int>(std::lround(taken.count() * (100 - std::min(percent, 100)) / done));
}

Console::Console() : terminal_(platform::ErrorOutputIsTerminal()) {}

Console::~Console() { ClearBar(); }

void Console::ClearBar() {
  if (bar_shown_) std::cerr << "\r\x1B[K" << std::flush;
  bar_shown_ = false;
}

void Console::OnWarning(const std::u16string& text) {
  ClearBar();
  std::cerr << "Warning: " << Utf8(text) << std::endl;
}

void Console::OnProgress(const Progress& progress) {
  if (!terminal_) return;
  Progress shown = progress;
  const int guess = remaining_.Seconds(shown.percent_complete, RemainingTime::Clock::now());
  if (shown.seconds_remaining < 0) shown.seconds_remaining = guess;
  std::cerr << "\r" << ProgressLine(shown, platform::TerminalWidth()) << "\x1B[K" << std::flush;
  bar_shown_ = true;
}

}  // namespace kelvarion::host
