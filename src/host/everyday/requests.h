// What the everyday commands have in common: how they name instances, take results out of their
// wrapping, show lists and ask before they destroy something.
#pragma once

#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include "host/outcome.h"
#include "host/session.h"

namespace kelvarion::host {

using Keys = std::vector<std::pair<const char*, std::string>>;

// Class.Key="value",Key="value"
std::string ObjectPath(const std::string& class_name, const Keys& keys);

// "true" or "false", for a parameter of a method.
std::string Switch(const char* parameter, bool on);

// The objects become what the method returned in this out-parameter, one or a list.
void TakeResult(Outcome& outcome, const char* parameter = "CmdletOutput");

// The provider has only a status for some that are not there; people are told in words.
Outcome OrMissing(Outcome outcome, const std::string& words);

// A column of a list: its heading and the property below it.
using Columns = std::vector<std::pair<const char*, const char*>>;
// People get a table of the objects, or `nothing` when there are none.
void ShowTable(Outcome& outcome, const Columns& columns, const char* nothing);

// All instances of a class; people get to see their names, a line each.
Outcome ListNames(Session& session, const std::string& class_name);

// Asks on a terminal; without one only `yes` lets the command go on. Throws UsageError otherwise.
void Confirm(const std::string& question, bool yes);

// The next line of standard input; on a terminal it is asked for. Passwords are no words of the
// command line: those can be seen by everybody on the machine. Throws UsageError without one.
enum class Typed { kOnce, kTwice };
std::string ReadPassword(const std::string& prompt, Typed typed);

// The provider may run elsewhere: it gets a path that means the same there.
std::filesystem::path Absolute(const std::string& path);
// The place of `name` in a folder, which has to exist: for copies that are put into it. Throws
// UsageError.
std::filesystem::path PlaceIn(const std::string& folder, const std::string& name);

// All of a file, or of standard input for "-". Throws UsageError when it cannot be read.
std::string ReadInput(const std::string& file);

}  // namespace kelvarion::host
