// What a process takes of the machine over time.
#pragma once

#include <iosfwd>
#include <vector>

namespace kelvarion::load {

// Looked at in regular moments of a run; moments are given as parts of the whole run.
class Vitals {
 public:
  explicit Vitals(int pid) : pid_(pid) {}

  void Sample();
  // Bytes in memory, the middle of the samples around the moment; 0 without samples.
  long Memory(double moment) const;
  void Print(std::ostream& out) const;

 private:
  struct Moment {
    long memory;
    long threads;
    long descriptors;
  };

  const int pid_;
  std::vector<Moment> moments_;
};

}  // namespace kelvarion::load
