#include "host/daemon/running_requests.h"

#include <vector>

namespace kelvarion::host {

// Kept alive by those who may still want to cancel it.
class RunningRequests::Running {
 public:
  Running(const ProviderHost& host, AnswerLines& lines, std::u16string activity)
      : host_(host),
        activity_(std::move(activity)),
        sink_(MakeCom<StreamSink>(lines, [this] { CancelActivity(); })) {}

  StreamSink& sink() const { return *sink_; }

  void Cancel() {
    const std::lock_guard lock(mutex_);
    if (ended_) return;
    sink_->Cancel();
    CancelActivity();
  }

  // The activity's name may belong to somebody else from now on.
  void End() {
    const std::lock_guard lock(mutex_);
    ended_ = true;
  }

 private:
  void CancelActivity() const {
    if (!activity_.empty()) host_.CancelActivity(activity_);
  }

  const ProviderHost& host_;
  const std::u16string activity_;
  const ComPtr<StreamSink> sink_;
  std::mutex mutex_;
  bool ended_ = false;
};

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

void RunningRequests::Run(const ClientRequest& request, const ClientToken& client, int socket,
                          AnswerLines& lines) {
  const auto running = std::make_shared<Running>(host_, lines, request.activity);
  {
    const std::lock_guard lock(mutex_);
    running_.insert(running);
  }
  hang_ups_.Add(socket, [running] { running->Cancel(); });
  HRESULT returned = WBEM_E_CALL_CANCELLED;
  if (!running->sink().cancelled()) {
    const ScopedClient scope(client);
    returned = request.make(host_.services(), &running->sink());
  }
  running->sink().Finish(returned);
  running->End();
  hang_ups_.Remove(socket);
  const std::lock_guard lock(mutex_);
  running_.erase(running);
}

void RunningRequests::Close() {
  const std::lock_guard lock(mutex_);
  closed_ = true;
}

void RunningRequests::CancelAll() {
  std::vector<std::shared_ptr<Running>> all;
  {
    const std::lock_guard lock(mutex_);
    all.assign(running_.begin(), running_.end());
  }
  for (const auto& running : all) running->Cancel();
}

bool RunningRequests::WaitForNone(std::chrono::milliseconds time) {
  std::unique_lock lock(mutex_);
  return left_.wait_for(lock, time, [this] { return places_ == 0; });
}

}  // namespace kelvarion::host
