#include "bench/harness.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <stdexcept>

namespace kelvarion::bench {
namespace {

double MedianOf(std::vector<double> times) {
  std::ranges::sort(times);
  return times[times.size() / 2];
}

std::string Time(double seconds) {
  const struct {
    double unit;
    const char* name;
  } units[] = {{1, "s"}, {1e-3, "ms"}, {1e-6, "us"}};
  for (const auto& [unit, name] : units) {
    if (seconds < unit && unit > 1e-6) continue;
    char text[32];
    std::snprintf(text, sizeof text, "%.3g %s", seconds / unit, name);
    return text;
  }
  return {};
}

std::string Amount(const Row& row, double amount) {
  return row.bytes ? std::to_string(static_cast<long>(amount)) + " B" : Time(amount);
}

const char* Verdict(const Row& row, double measured) {
  if (!row.judged) return "skipped";
  return measured <= row.aim ? "meets" : "MISSES";
}

}  // namespace

double Seconds(const std::function<void()>& call) {
  const auto start = std::chrono::steady_clock::now();
  call();
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

double Median(int rounds, const std::function<void()>& call) {
  call();
  std::vector<double> times;
  for (int i = 0; i < rounds; ++i) times.push_back(Seconds(call));
  return MedianOf(std::move(times));
}

Pair MedianPair(int rounds, const std::function<void()>& ours,
                const std::function<void()>& theirs) {
  std::vector<double> our_times{Seconds(ours)};
  std::vector<double> their_times{Seconds(theirs)};
  if (rounds > 0) {
    our_times.clear();
    their_times.clear();
  }
  for (int i = 0; i < rounds; ++i) {
    our_times.push_back(Seconds(ours));
    their_times.push_back(Seconds(theirs));
  }
  return {MedianOf(std::move(our_times)), MedianOf(std::move(their_times))};
}

void Print(const std::vector<Row>& rows) {
  std::printf("%-58s %10s %10s %8s %8s  %s\n", "measure", "ours", "theirs", "ratio", "aim",
              "verdict");
  for (const Row& row : rows) {
    const double measured = row.theirs ? row.ours / *row.theirs : row.ours;
    char ratio[16] = "-";
    char aim[16];
    if (row.theirs) std::snprintf(ratio, sizeof ratio, "%.3f", measured);
    std::snprintf(aim, sizeof aim, "%.3g", row.aim);
    std::printf("%-58s %10s %10s %8s %8s  %s\n", row.name.c_str(), Amount(row, row.ours).c_str(),
                row.theirs ? Amount(row, *row.theirs).c_str() : "-", ratio,
                row.theirs ? aim : Amount(row, row.aim).c_str(), Verdict(row, measured));
  }
}

bool Quick() {
  const char* quick = std::getenv("BENCH_QUICK");
  return quick && *quick && std::string(quick) != "0";
}

void Run(const std::vector<std::string>& command) {
  std::vector<char*> arguments;
  for (const std::string& word : command) arguments.push_back(const_cast<char*>(word.c_str()));
  arguments.push_back(nullptr);
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
  posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
  pid_t pid = 0;
  int status = posix_spawnp(&pid, arguments[0], &actions, nullptr, arguments.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  if (status == 0) waitpid(pid, &status, 0);
  if (status != 0) throw std::runtime_error("failed: " + command.front());
}

}  // namespace kelvarion::bench
