// The running methods that clients gave a name to, so that any client can cancel them.
#pragma once

#include <atomic>
#include <map>
#include <memory>
#include <mutex>
#include <string>

#include "context/cancel_callback.h"

namespace kelvarion {

// One per process. Ids compare exactly and are unique among running activities. Safe from any
// thread.
class ActivityRegistry {
 public:
  // Owned by the request that registered it; its end frees the id.
  class Activity : public IcCancelCallback {
   public:
    Activity(ActivityRegistry& registry, std::u16string id)
        : registry_(registry), id_(std::move(id)) {}
    ~Activity() override;
    Activity(const Activity&) = delete;
    Activity& operator=(const Activity&) = delete;

    bool IsCancelled() const override { return cancelled_.load(std::memory_order_relaxed); }

   private:
    friend class ActivityRegistry;
    ActivityRegistry& registry_;
    std::u16string id_;
    std::atomic<bool> cancelled_{false};
  };

  static ActivityRegistry& OfProcess();

  // Null when an activity of that id is running.
  std::unique_ptr<Activity> Register(const std::u16string& id);
  // False when no activity of that id is running.
  bool Cancel(const std::u16string& id);

 private:
  std::mutex mutex_;
  std::map<std::u16string, Activity*> activities_;
};

}  // namespace kelvarion
