// Whom the daemon works for.
#pragma once

#include <mutex>
#include <string>

#include "platform/com/class_object.h"
#include "platform/event_log/report_limit.h"
#include "platform/machine/machine.h"

namespace kelvarion::host {

// Root, the owner of the home and the members of the group of server administrators, also those
// that are members through a Unix group or another local group. Looked up anew for every question,
// so that a change of the groups counts at once. Safe from any thread.
class ServedClients {
 public:
  // The authority outlives the object. `home` is UTF-8 and exists.
  ServedClients(const std::string& home, const platform::SecurityAuthority& accounts);

  bool Includes(const ClientToken& client) const;

 private:
  const std::u16string owner_;
  const platform::SecurityAuthority& accounts_;
};

// Leaves records of refused clients in the event log, each under the client's account, unless the
// settings silence failures. Those beyond a number a minute leave none, since everybody may ask.
// Safe from any thread.
class Refusals {
 public:
  // The machine outlives the object.
  explicit Refusals(const platform::Machine& machine) : machine_(machine) {}

  void Record(const ClientToken& client);

 private:
  static constexpr int kPerMinute = 30;

  const platform::Machine& machine_;
  std::mutex mutex_;
  platform::ReportLimit limit_{kPerMinute};
};

}  // namespace kelvarion::host
