// The machine that this process works on: one implementation of each port, all of whose state lies
// in one home folder.
#pragma once

#include <memory>
#include <string>

#include "platform/event_log/event_log.h"
#include "platform/registry/registry.h"
#include "platform/security/security.h"
#include "platform/services/service_manager.h"

namespace kelvarion::platform {

// Ports can be replaced one by one before the machine is made current. Shared by all threads.
struct Machine {
  std::string home;  // UTF-8 path.
  std::unique_ptr<Registry> registry;
  std::unique_ptr<ServiceManager> services;
  std::unique_ptr<SecurityAuthority> security;
  std::unique_ptr<EventLog> event_log;
};

// Opens the home's stores, which are made when missing. A home of another account than the caller's
// or root's is not opened. Null on failure, with the reason for people.
std::shared_ptr<Machine> OpenMachine(const std::string& home, std::u16string& error);

// The machine that class objects find themselves on. A host sets it before it asks for classes;
// from then on classes are looked up in its registry's InprocServer32 keys. Null before.
void SetCurrentMachine(std::shared_ptr<Machine> machine);
std::shared_ptr<Machine> CurrentMachine();

// The home used when none is named: $KELVARION_HOME, else /var/lib/kelvarion for root, else the
// user's state folder.
std::string DefaultHome();

}  // namespace kelvarion::platform
