#include "bench/harness.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <stdexcept>

namespace kelvarion::bench {
namespace {

double MedianOf(std::vector<double> times) {
  std::ranges::sort(times);
  return times[times.size() / 2];
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
  Pair pair{Seconds(ours), Seconds(theirs)};
  if (rounds == 0) return pair;
  std::vector<double> our_times;
  std::vector<double> their_times;
  std::vector<double> ratios;
  for (int i = 0; i < rounds; ++i) {
    our_times.push_back(Seconds(ours));
    their_times.push_back(Seconds(theirs));
    ratios.push_back(our_times.back() / their_times.back());
  }
  const auto [lowest, highest] = std::ranges::minmax(ratios);
  return {MedianOf(std::move(our_times)), MedianOf(std::move(their_times)), lowest, highest};
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
