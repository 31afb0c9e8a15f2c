// Repositories that come and go during a run, and what is known of each at a moment.
#pragma once

#include <atomic>
#include <deque>
#include <string>
#include <vector>

namespace kelvarion::load {

// Whoever moves it marks the begin and the end of what it does.
class MovingRepository {
 public:
  explicit MovingRepository(std::string its_name) : name(std::move(its_name)) {}

  // Called before the request that makes it come or go and after its answer.
  void Turn() { ++turns_; }
  bool IsThere() const { return turns_ % 4 == 2; }

  const std::string name;

 private:
  friend class Sighting;
  std::atomic<unsigned> turns_ = 0;  // By fours: gone, coming, there, going.
};

// What a request that begins now may find. For one thread.
class Sighting {
 public:
  explicit Sighting(const MovingRepository& repository)
      : repository_(repository), before_(repository.turns_) {}

  // The statuses that the answer may have now that it is there, if one that does not find the
  // repository has `gone`.
  std::vector<std::uint32_t> Allowed(std::uint32_t gone) const {
    const unsigned after = repository_.turns_;
    if (after == before_ && before_ % 4 == 0) return {gone};
    if (after == before_ && before_ % 4 == 2) return {0};
    return {0, gone};
  }

 private:
  const MovingRepository& repository_;
  const unsigned before_;
};

using MovingRepositories = std::deque<MovingRepository>;

}  // namespace kelvarion::load
