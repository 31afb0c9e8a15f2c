// Measurements as ratios: what an operation costs here against what a user would run instead, both
// timed in the same run of the same machine.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace kelvarion::bench {

// Seconds that one call takes, once: for work of minutes, and calls that make their data.
double Seconds(const std::function<void()>& call);

// Seconds that one call takes: the median of `rounds` calls after one that is not counted.
double Median(int rounds, const std::function<void()>& call);

// The same for two things done in turn, so that both see the machine in the same mood.
struct Pair {
  double ours = 0;
  double theirs = 0;
};
// With no rounds, the one call each that is otherwise not counted: for what takes minutes.
Pair MedianPair(int rounds, const std::function<void()>& ours, const std::function<void()>& theirs);

struct Row {
  std::string name;
  double ours = 0;               // Seconds.
  std::optional<double> theirs;  // Seconds; nothing when the aim is a time of our own.
  double aim = 0;                // The greatest ratio, or the greatest number of seconds.
  bool judged = true;            // False when the data is too small to judge by.
  bool bytes = false;            // Memory instead of time.
};

// One line a row: name, ours, theirs, ratio, aim, and meets, MISSES or skipped.
void Print(const std::vector<Row>& rows);

// Scaled-down data for a run of less than a minute.
bool Quick();

// Runs a program to its end with its output thrown away. Throws std::runtime_error when it fails.
void Run(const std::vector<std::string>& command);

}  // namespace kelvarion::bench
