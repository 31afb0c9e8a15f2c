// What came of the requests of a run.
#pragma once

#include <iosfwd>
#include <map>
#include <string>
#include <vector>

namespace kelvarion::load {

// Of one worker, for one thread; those of all workers are added up in the end.
struct Tally {
  std::map<std::string, std::vector<float>> milliseconds;  // Until the answer, by what was asked.
  long busy = 0;      // Refused since too many requests ran: try again later.
  long vanished = 0;  // Left by their client.
  std::map<std::string, long> unexpected;

  void Add(const Tally& other);
  std::size_t Requests() const;
};

// One line for each kind of request: how many, and how long they took.
void Print(std::ostream& out, const Tally& tally, double seconds);

}  // namespace kelvarion::load
