// Somebody who uses the server, one thing after another.
#pragma once

#include <random>

#include "tests/load/tally.h"

namespace kelvarion::load {

// For one thread.
class Worker {
 public:
  explicit Worker(unsigned seed) : random_(seed) {}
  virtual ~Worker() = default;
  Worker(const Worker&) = delete;
  Worker& operator=(const Worker&) = delete;

  // One thing, chosen at random.
  virtual void Step() = 0;
  // Removes what it has made.
  virtual void CleanUp() = 0;
  virtual const Tally& tally() = 0;

 protected:
  bool Chance(int one_in) { return Below(one_in) == 0; }
  int Below(int limit) { return std::uniform_int_distribution(0, limit - 1)(random_); }

  // One of a table's rows, each as often as its weight says.
  template <class Row, std::size_t kSize>
  const Row& Choose(const Row (&rows)[kSize]) {
    int total = 0;
    for (const Row& row : rows) total += row.weight;
    int at = Below(total);
    for (const Row& row : rows)
      if ((at -= row.weight) < 0) return row;
    return rows[0];
  }

 private:
  std::mt19937 random_;
};

}  // namespace kelvarion::load
