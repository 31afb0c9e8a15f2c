// The requests that the daemon works on at a moment.
#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <optional>
#include <set>

#include "host/daemon/request_body.h"
#include "host/daemon/stream_sink.h"
#include "host/provider_host.h"

namespace kelvarion::host {

// Safe from any thread.
class RunningRequests {
 public:
  RunningRequests(const ProviderHost& host, std::size_t limit) : host_(host), limit_(limit) {}

  // The right to run one request, held while it runs.
  class Place {
   public:
    explicit Place(RunningRequests& requests) : requests_(&requests) {}
    Place(Place&& other) noexcept : requests_(std::exchange(other.requests_, nullptr)) {}
    Place& operator=(Place&&) = delete;
    ~Place() {
      if (requests_) requests_->Leave();
    }

   private:
    RunningRequests* requests_;
  };
  // Nothing when as many run as may.
  std::optional<Place> Enter();

  // Works on the request for the client, on the calling thread, until the answer's last line is
  // written.
  void Run(const ClientRequest& request, const ClientToken& client, AnswerLines& lines);

  // From now on nobody may enter.
  void Close();
  // Asks everything that runs, or is about to, to stop.
  void CancelAll();
  // Whether nothing runs any more, which is waited for that long.
  bool WaitForNone(std::chrono::milliseconds time);

 private:
  // Known to CancelAll while it lives.
  class Listed;
  void Leave();

  const ProviderHost& host_;
  const std::size_t limit_;
  std::mutex mutex_;
  std::condition_variable left_;
  std::size_t places_ = 0;
  bool closed_ = false;
  bool all_cancelled_ = false;
  std::set<StreamSink*> running_;
};

}  // namespace kelvarion::host
