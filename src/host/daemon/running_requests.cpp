#include "host/daemon/running_requests.h"

namespace kelvarion::host {

std::optional<RunningRequests::Place> RunningRequests::Enter() {
  const std::lock_guard lock(mutex_);
  if (closed_ || places_ >= limit_) return std::nullopt;
  ++places_;
  return std::optional<Place>(std::in_place, *this);
}

void RunningRequests::Leave() {
  const std::lock_guard lock(mutex_);
  --places_;
  left_.notify_all();
}

class RunningRequests::Listed {
 public:
  Listed(RunningRequests& requests, StreamSink& sink) : requests_(requests), sink_(sink) {
    const std::lock_guard lock(requests_.mutex_);
    requests_.running_.insert(&sink_);
    if (requests_.all_cancelled_) sink_.Cancel();
  }
  ~Listed() {
    const std::lock_guard lock(requests_.mutex_);
    requests_.running_.erase(&sink_);
  }
  Listed(const Listed&) = delete;
  Listed& operator=(const Listed&) = delete;

 private:
  RunningRequests& requests_;
  StreamSink& sink_;
};

void RunningRequests::Run(const ClientRequest& request, const ClientToken& client,
                          AnswerLines& lines) {
  const auto sink = MakeCom<StreamSink>(lines);
  const Listed listed(*this, *sink);
  HRESULT returned = WBEM_E_CALL_CANCELLED;
  if (!sink->IsCancelled()) {
    const ScopedClient scope(client);
    returned = request(host_.services(), sink.Get());
  }
  sink->Finish(returned);
}

void RunningRequests::Close() {
  const std::lock_guard lock(mutex_);
  closed_ = true;
}

void RunningRequests::CancelAll() {
  const std::lock_guard lock(mutex_);
  all_cancelled_ = true;
  for (StreamSink* const sink : running_) sink->Cancel();
}

bool RunningRequests::WaitForNone(std::chrono::milliseconds time) {
  std::unique_lock lock(mutex_);
  return left_.wait_for(lock, time, [this] { return places_ == 0; });
}

}  // namespace kelvarion::host
