#include "tests/load/vitals.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iomanip>
#include <ostream>
#include <string>

namespace kelvarion::load {

namespace fs = std::filesystem;

void Vitals::Sample() {
  const fs::path process = "/proc/" + std::to_string(pid_);
  Moment now{};
  std::ifstream status(process / "status");
  for (std::string word; status >> word;) {
    if (word == "VmRSS:") status >> now.memory;
    if (word == "Threads:") status >> now.threads;
  }
  now.memory *= 1024;
  now.descriptors = std::distance(fs::directory_iterator(process / "fd"), {});
  moments_.push_back(now);
}

long Vitals::Memory(double moment) const {
  if (moments_.empty()) return 0;
  const std::size_t window = moments_.size() / 10 + 1;
  const auto first =
      moments_.begin() + static_cast<std::ptrdiff_t>(moment * double(moments_.size() - window));
  std::vector<Moment> around(first, first + static_cast<std::ptrdiff_t>(window));
  std::ranges::nth_element(around, around.begin() + around.size() / 2, {}, &Moment::memory);
  return around[around.size() / 2].memory;
}

void Vitals::Print(std::ostream& out) const {
  out << std::fixed << std::setprecision(1) << "  memory in MB, from begin to end:";
  for (int i = 0; i <= 10; ++i) out << ' ' << double(Memory(i / 10.0)) / (1 << 20);
  out << "\n  at most " << std::ranges::max(moments_, {}, &Moment::threads).threads << " threads, "
      << std::ranges::max(moments_, {}, &Moment::descriptors).descriptors << " descriptors\n";
}

}  // namespace kelvarion::load
