#include "tests/load/tally.h"

#include <algorithm>
#include <iomanip>
#include <ostream>

namespace kelvarion::load {
namespace {

void PrintLine(std::ostream& out, const std::string& what, std::vector<float> times) {
  std::sort(times.begin(), times.end());
  const auto within = [&](double part) {
    return times[static_cast<std::size_t>(part * double(times.size() - 1))];
  };
  out << "  " << std::left << std::setw(32) << what << std::right << std::setw(8) << times.size()
      << std::setw(10) << within(0.5) << std::setw(10) << within(0.99) << std::setw(10)
      << times.back() << "\n";
}

}  // namespace

void Tally::Add(const Tally& other) {
  for (const auto& [what, times] : other.milliseconds) {
    std::vector<float>& all = milliseconds[what];
    all.insert(all.end(), times.begin(), times.end());
  }
  busy += other.busy;
  vanished += other.vanished;
  for (const auto& [what, count] : other.unexpected) unexpected[what] += count;
}

std::size_t Tally::Requests() const {
  std::size_t all = 0;
  for (const auto& [what, times] : milliseconds) all += times.size();
  return all;
}

void Print(std::ostream& out, const Tally& tally, double seconds) {
  out << std::fixed << std::setprecision(1) << "  " << tally.Requests() << " requests in "
      << seconds << " s (" << double(tally.Requests()) / seconds << "/s)";
  if (tally.busy > 0) out << ", refused as too busy: " << tally.busy;
  if (tally.vanished > 0) out << ", left by their client: " << tally.vanished;
  out << "\n  " << std::left << std::setw(32) << "milliseconds" << std::right << std::setw(8)
      << "number" << std::setw(10) << "50%" << std::setw(10) << "99%" << std::setw(10) << "all"
      << "\n";
  for (const auto& [what, times] : tally.milliseconds) PrintLine(out, what, times);
  for (const auto& [what, count] : tally.unexpected)
    out << "UNEXPECTED " << count << "x " << what << "\n";
}

}  // namespace kelvarion::load
