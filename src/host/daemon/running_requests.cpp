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

void RunningRequests::Add(StreamSink& sink) {
  const std::lock_guard lock(mutex_);
  running_.insert(&sink);
  if (all_cancelled_) sink.Cancel();
}

void RunningRequests::Remove(StreamSink& sink) {
  const std::lock_guard lock(mutex_);
  running_.erase(&sink);
}

void RunningRequests::Run(const ClientRequest& request, const ClientToken& client,
                          AnswerLines& lines) {
  const auto sink = MakeCom<StreamSink>(lines);
  Add(*sink);
  HRESULT returned = WBEM_E_CALL_CANCELLED;
  if (!sink->IsCancelled()) {
    const ScopedClient scope(client);
    returned = request(host_.services(), sink.Get());
  }
  sink->Finish(returned);
  Remove(*sink);
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
