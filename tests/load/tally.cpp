#include "tests/load/tally.h"

#include <algorithm>
#include <fstream>
#include <iomanip>
#include <ostream>

namespace kelvarion::load {
namespace {

constexpr double kMegabyte = 1 << 20;

double Percentile(const std::vector<float>& sorted, double part) {
  return sorted.empty() ? 0 : sorted[static_cast<std::size_t>(part * double(sorted.size() - 1))];
}

}  // namespace

void Tally::Add(const Tally& other) {
  milliseconds.insert(milliseconds.end(), other.milliseconds.begin(), other.milliseconds.end());
  busy += other.busy;
  vanished += other.vanished;
  for (const auto& [what, count] : other.unexpected) unexpected[what] += count;
}

long ResidentBytes(int pid) {
  std::ifstream status("/proc/" + std::to_string(pid) + "/status");
  std::string word;
  long kilobytes = 0;
  while (status >> word)
    if (word == "VmRSS:") status >> kilobytes;
  return kilobytes * 1024;
}

long MemoryCurve::At(double part) const {
  if (samples_.empty()) return 0;
  const std::size_t window = samples_.size() / 10 + 1;
  const std::size_t last = samples_.size() - window;
  const auto first = samples_.begin() + static_cast<std::ptrdiff_t>(part * double(last));
  std::vector<long> around(first, first + static_cast<std::ptrdiff_t>(window));
  std::nth_element(around.begin(), around.begin() + around.size() / 2, around.end());
  return around[around.size() / 2];
}

void Print(std::ostream& out, Tally& tally, double seconds, const MemoryCurve& memory) {
  std::sort(tally.milliseconds.begin(), tally.milliseconds.end());
  out << std::fixed << std::setprecision(1) << "requests            " << tally.milliseconds.size()
      << " (" << double(tally.milliseconds.size()) / seconds << "/s)\n"
      << "answered within     50%: " << Percentile(tally.milliseconds, 0.50)
      << " ms, 99%: " << Percentile(tally.milliseconds, 0.99)
      << " ms, all: " << Percentile(tally.milliseconds, 1.0) << " ms\n"
      << "refused as too busy " << tally.busy << "\n"
      << "left by clients     " << tally.vanished << "\n"
      << "memory              " << double(memory.At(kWarm)) / kMegabyte << " MB when warm, "
      << double(memory.At(1.0)) / kMegabyte << " MB at the end\n";
  for (const auto& [what, count] : tally.unexpected)
    out << "UNEXPECTED " << count << "x " << what << "\n";
}

}  // namespace kelvarion::load
