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

// Two amounts of one kind: what we need, and what a user would need instead.
struct Pair {
  double ours = 0;
  std::optional<double> theirs = {};
  // The ratio in single rounds, at best and at worst; both 0 when there was one round only.
  double lowest = 0;
  double highest = 0;
};

// The medians of two things done in turn, so that both see the machine in the same mood. With no
// rounds, the one call each that is otherwise not counted: for what takes minutes.
Pair MedianPair(int rounds, const std::function<void()>& ours, const std::function<void()>& theirs);

// One thing measured and judged.
struct Row {
  std::string name;
  std::string against =
      {};             // What a user would run instead; empty without anything to compare with.
  Pair amounts = {};  // Seconds.
  double aim = 0;     // The greatest ratio, or the greatest amount of ours.
  bool aims_at_amount = false;  // Always without anything to compare with.
  bool judged = true;           // False when the data is too small to judge by.
  bool bytes = false;           // Memory instead of time.
  std::string group = {};       // Set by who ran the measure.
};

// Scaled-down data for a run of less than a minute.
bool Quick();

// Runs a program to its end with its output thrown away. Throws std::runtime_error when it fails.
void Run(const std::vector<std::string>& command);

}  // namespace kelvarion::bench
