// Whom the daemon works for.
#pragma once

#include <string>

#include "platform/com/class_object.h"
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

// Leaves the record of a refused client in the event log, under the client's account, unless the
// settings silence failures.
void RecordRefusal(const platform::Machine& machine, const ClientToken& client);

}  // namespace kelvarion::host
