// What came of the requests of a run.
#pragma once

#include <iosfwd>
#include <map>
#include <string>
#include <vector>

namespace kelvarion::load {

// Of one client, for one thread; those of all clients are added up in the end.
struct Tally {
  std::vector<float> milliseconds;  // Of every request that was answered as expected.
  long busy = 0;                    // Refused since too many requests ran: try again later.
  long vanished = 0;                // Left by their client.
  std::map<std::string, long> unexpected;

  void Add(const Tally& other);
};

// Bytes that a process has in memory, 0 when there is no such process.
long ResidentBytes(int pid);

// The part of a run after which a process has what it needs for good.
inline constexpr double kWarm = 0.25;

// Memory of a process at regular moments of a run.
class MemoryCurve {
 public:
  void Sample(int pid) { samples_.push_back(ResidentBytes(pid)); }
  // The middle of the samples around the moment, given as a part of the whole run.
  long At(double part) const;

 private:
  std::vector<long> samples_;
};

void Print(std::ostream& out, Tally& tally, double seconds, const MemoryCurve& memory);

}  // namespace kelvarion::load
