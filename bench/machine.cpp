#include <sys/utsname.h>

#include <chrono>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>

#include "bench/report.h"
#include "platform/files/files.h"
#include "platform/text/encoding.h"
#include "tests/support/process.h"

namespace kelvarion::bench {
namespace {

// What follows the name in a file of lines such as "MemTotal:   24 kB".
std::string ValueIn(const std::string& path, const std::string& name) {
  std::ifstream in(path);
  for (std::string line; std::getline(in, line);)
    if (line.starts_with(name)) return line.substr(line.find_first_not_of(": \t", name.size()));
  return "unknown";
}

std::string FileSystemOf(const std::string& folder) {
  platform::VolumeInfo volume;
  platform::GetVolumeInformation(platform::PathFromNative(folder), volume);
  return platform::Utf8ForDisplay(volume.file_system);
}

// Ticks of all processors, with which `idle` were idle.
struct Ticks {
  double all = 0;
  double idle = 0;
};
Ticks TicksSoFar() {
  constexpr int kIdle = 3;
  std::ifstream in("/proc/stat");
  std::string name;
  in >> name;
  Ticks ticks;
  double each = 0;
  for (int column = 0; column < 8 && in >> each; ++column) {
    ticks.all += each;
    if (column == kIdle) ticks.idle = each;
  }
  return ticks;
}

// How much of the processors others use, in percent.
int BusyPercent() {
  const Ticks before = TicksSoFar();
  std::this_thread::sleep_for(std::chrono::seconds(1));
  const Ticks after = TicksSoFar();
  return static_cast<int>(100 - 100 * (after.idle - before.idle) / (after.all - before.all));
}

std::string FirstLine(const std::string& text) { return text.substr(0, text.find('\n')); }

std::string Today() {
  const std::time_t now = std::time(nullptr);
  char text[16];
  std::strftime(text, sizeof text, "%F", std::gmtime(&now));
  return text;
}

}  // namespace

std::string DescribeMachine() {
  utsname system{};
  uname(&system);
  const long gigabytes = std::atol(ValueIn("/proc/meminfo", "MemTotal").c_str()) / 1000 / 1000;
  const int busy = BusyPercent();
  return ValueIn("/proc/cpuinfo", "model name") + ", " +
         std::to_string(std::thread::hardware_concurrency()) + " processors, " +
         std::to_string(gigabytes) + " GB of memory, " +
         FileSystemOf(std::filesystem::temp_directory_path()) + ", Linux " + system.release +
         ", Subversion " + FirstLine(testing::RunProcess({"svnadmin", "--version", "-q"}).out) +
         "; last measured on " + Today() + ", when others had " + std::to_string(busy) +
         " % of the processors" + (busy > 10 ? ": the times are preliminary." : ".");
}

}  // namespace kelvarion::bench
