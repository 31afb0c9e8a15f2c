// The commands that are not short for requests (those are in everyday/), and the requests that all
// commands are made of. What commands refuse themselves they throw as WMIException or UsageError;
// everything else is in the outcome.
#pragma once

#include <string>
#include <vector>

#include "host/command_group.h"
#include "host/outcome.h"
#include "host/session.h"

namespace kelvarion::host {

// One request to the provider each. Parameters are NAME=TEXT or NAME:=JSON.
Outcome Enumerate(Session& session, const std::string& class_name);
Outcome Get(Session& session, const std::string& path);
Outcome Call(Session& session, const std::string& path, const std::string& method,
             const std::vector<std::string>& parameters);

// Each in a file of its name. enumerate, get, put, delete and call:
void AddRequestCommands(CLI::App& app, Command& chosen);
// init: makes a home.
void AddInitCommand(CLI::App& app, Command& chosen);
// classes and describe, which need no home.
void AddSchemaCommands(CLI::App& app, Command& chosen);
// settings: as the registry keeps them. A change also generates the web server's configuration.
void AddSettingsCommands(CLI::App& app, Command& chosen);
// registration: where hosts find the provider library's classes.
void AddRegistrationCommands(CLI::App& app, Command& chosen);
// events: the event log, as it is and as it grows.
void AddEventsCommand(CLI::App& app, Command& chosen);

}  // namespace kelvarion::host
