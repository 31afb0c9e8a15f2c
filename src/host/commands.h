// The commands, one function each. What they refuse themselves they throw as WMIException or
// UsageError; everything else is in the outcome.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "host/outcome.h"
#include "host/session.h"

namespace kelvarion::host {

// request_commands.cpp: one request to the provider each.
Outcome Enumerate(Session& session, const std::string& class_name);
Outcome Get(Session& session, const std::string& path);
Outcome Put(Session& session, const std::string& class_name,
            const std::vector<std::string>& values);
Outcome Delete(Session& session, const std::string& path);
Outcome Call(Session& session, const std::string& path, const std::string& method,
             const std::vector<std::string>& parameters);

// schema_commands.cpp: need no home.
Outcome Classes(Session& session);
Outcome Describe(Session& session, const std::string& class_name, bool markdown);

// settings_commands.cpp: the settings as the registry keeps them.
Outcome ListSettings(Session& session);
Outcome GetSetting(Session& session, const std::string& name);
// Also generates the web server's configuration anew.
Outcome SetSetting(Session& session, const std::string& name, const std::string& value);

// registration_command.cpp: where hosts find the provider library's classes.
Outcome ShowRegistration(Session& session);
Outcome ChangeRegistration(Session& session, bool install, bool for_user);

// events_command.cpp
struct EventOptions {
  std::vector<std::string> sources;  // Parts of names.
  std::vector<std::string> types;
  std::string since;  // A span or a date; empty: all there are.
};
Outcome Events(Session& session, const EventOptions& options);
// Hands each event's text to `print`, as a line for people or of JSON, until the user interrupts.
void FollowEvents(Session& session, const EventOptions& options, bool json,
                  const std::function<void(const std::string&)>& print);

}  // namespace kelvarion::host
