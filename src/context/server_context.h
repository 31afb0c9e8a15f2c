// What every domain operation is handed: the settings, the event log, the machine and the memory it
// draws from.
#pragma once

#include "config/configuration.h"
#include "context/event_logger.h"
#include "platform/machine/machine.h"
#include "svn/pool.h"

namespace kelvarion {

// One per provider; it outlives every handler and is shared by all threads. It owns only the root
// pool. Nothing read through it is cached.
class ServerContext {
 public:
  ServerContext(IcRegistryAccessor& configuration, IcEventLogger& events,
                platform::Machine& machine)
      : configuration_(configuration),
        events_(events),
        machine_(machine),
        root_pool_(svn::Pool::Root()) {}

  IcRegistryAccessor& configuration() const { return configuration_; }
  IcEventLogger& events() const { return events_; }
  platform::Machine& machine() const { return machine_; }
  // For the subpool that each operation makes for its own allocations.
  const svn::Pool& root_pool() const { return root_pool_; }

 private:
  IcRegistryAccessor& configuration_;
  IcEventLogger& events_;
  platform::Machine& machine_;
  svn::Pool root_pool_;
};

}  // namespace kelvarion
