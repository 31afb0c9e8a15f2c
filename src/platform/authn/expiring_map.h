// Values by key that are forgotten after a time, or earlier when there are too many: then the one
// goes that was put longest ago.
#pragma once

#include <chrono>
#include <list>
#include <string>
#include <unordered_map>
#include <utility>

namespace kelvarion::platform {

using Clock = std::chrono::steady_clock;

template <class Value>
class ExpiringMap {
 public:
  explicit ExpiringMap(std::size_t capacity) : capacity_(capacity) {}

  void Put(const std::string& key, Value value, Clock::time_point end) {
    Erase(key);
    if (entries_.size() == capacity_) Erase(std::string(entries_.front().key));
    entries_.push_back({key, std::move(value), end});
    by_key_[key] = std::prev(entries_.end());
  }

  // Null when there is none; the value stays where it is until the next change.
  const Value* Find(const std::string& key, Clock::time_point now) const {
    const auto found = by_key_.find(key);
    return found != by_key_.end() && now < found->second->end ? &found->second->value : nullptr;
  }

  void Erase(const std::string& key) {
    const auto found = by_key_.find(key);
    if (found == by_key_.end()) return;
    entries_.erase(found->second);
    by_key_.erase(found);
  }

 private:
  struct Entry {
    std::string key;
    Value value;
    Clock::time_point end;
  };

  std::size_t capacity_;
  std::list<Entry> entries_;
  std::unordered_map<std::string, typename std::list<Entry>::iterator> by_key_;
};

}  // namespace kelvarion::platform
