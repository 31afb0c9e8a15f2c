#include "provider/activity_registry.h"

namespace kelvarion {

ActivityRegistry& ActivityRegistry::OfProcess() {
  static ActivityRegistry registry;
  return registry;
}

std::unique_ptr<ActivityRegistry::Activity> ActivityRegistry::Register(const std::u16string& id) {
  // Made before the lock is taken: its destructor takes the lock too.
  auto activity = std::make_unique<Activity>(*this, id);
  {
    const std::lock_guard lock(mutex_);
    if (activities_.emplace(id, activity.get()).second) return activity;
  }
  return nullptr;
}

bool ActivityRegistry::Cancel(const std::u16string& id) {
  const std::lock_guard lock(mutex_);
  const auto found = activities_.find(id);
  if (found == activities_.end()) return false;
  found->second->cancelled_ = true;
  return true;
}

ActivityRegistry::Activity::~Activity() {
  const std::lock_guard lock(registry_.mutex_);
  const auto found = registry_.activities_.find(id_);
  // One that was refused for its id must not free the id of the one that runs.
  if (found != registry_.activities_.end() && found->second == this)
    registry_.activities_.erase(found);
}

}  // namespace kelvarion
