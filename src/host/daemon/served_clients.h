// Whom the daemon works for.
#pragma once

#include <string>

#include "platform/com/class_object.h"
#include "platform/security/security.h"

namespace kelvarion::host {

// Root, the owner of the home and the members of the group of server administrators. Looked up anew
// for every question, so that a change of the group counts at once. Safe from any thread.
class ServedClients {
 public:
  // The authority outlives the object. `home` is UTF-8 and exists.
  ServedClients(const std::string& home, const platform::SecurityAuthority& accounts);

  bool Includes(const ClientToken& client) const;

 private:
  const std::u16string owner_;
  const platform::SecurityAuthority& accounts_;
};

}  // namespace kelvarion::host
