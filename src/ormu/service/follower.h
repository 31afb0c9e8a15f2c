// One slave on its way to be what its master is.
#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>

#include "ormu/master_session.h"
#include "ormu/service/service_log.h"
#include "ormu/status.h"
#include "svn/replica_role.h"

namespace kelvarion::ormu {

// What the parts of the service share; outlives them.
struct ServiceParts {
  std::string home;
  ServiceLog& log;
  const std::atomic<bool>& stopping;  // Whatever runs is to end.
};

// Follows on a thread of its own: asks the master for its youngest revision once a second and takes
// over what is new, revision properties that were changed later included. Where that fails it tries
// again, after a second at first and at last once a minute. The slave's folder says each time whom
// it follows, and whether it is suspended; for what is no slave any more it does nothing.
class Follower {
 public:
  // `folder` is in the libraries' form.
  Follower(const ServiceParts& parts, std::string name, std::string folder);
  // Waits for the thread to end.
  ~Follower();
  Follower(const Follower&) = delete;
  Follower& operator=(const Follower&) = delete;

  const std::string& folder() const { return folder_; }
  // Both return at once; safe from any thread.
  void Stop();
  void Wake();  // Does at once what would be done later.
  bool Ended() const { return ended_; }
  // Maybe waiting for the master. Once it is stopped it changes nothing any more but with a right
  // to write that it has already.
  bool Following() const { return following_; }
  // Safe from any thread.
  SlaveStatus Status() const;

 private:
  using Clock = std::chrono::steady_clock;

  void Run();
  void Pass();
  void Follow(const svn::ReplicaRole& role);
  void Connect(Master master);
  void Replay(std::int64_t youngest);
  void CompareProperties(std::int64_t youngest);
  void OnSuccess();
  void OnFailure(const std::string& reason, int code);
  void Pause();
  bool Stopped() const { return stop_ || parts_.stopping; }

  const ServiceParts& parts_;
  const std::string name_;
  const std::string folder_;
  // Of the thread alone.
  std::optional<svn::Pool> pool_;
  std::optional<MasterSession> session_;
  Clock::duration wait_;
  Clock::time_point compare_all_{};
  Clock::time_point compare_last_{};
  std::optional<int> reported_;  // The code of the failure that people have been told.

  std::atomic<bool> stop_ = false;
  std::atomic<bool> ended_ = false;
  std::atomic<bool> following_ = false;
  mutable std::mutex mutex_;
  std::condition_variable woken_;
  bool wake_ = false;
  SlaveStatus status_;
  std::optional<std::int64_t> oldest_missing_us_;  // When it was committed.
  std::thread thread_;                             // Last: it uses the others.
};

}  // namespace kelvarion::ormu
