// What counts as the state of a server: what lasts and is not made anew by itself.
#pragma once

#include <map>
#include <string>

namespace kelvarion::testing {

// Relative paths of files and what they hold, with who may use them; folders end with "/". What
// differs in each run counts by what it means: users by their passwords, certificates by the name
// they are for. Settings and groups have an entry each.
using State = std::map<std::string, std::string>;

// Of everything in the folder. Logs, processes' files and locks that stay are left out, and
// contents of revisions as far as the names of their files do not tell them.
State TakeState(const std::string& folder);

// Without what a program that was hit may leave for the next one to remove.
State WithoutLeftovers(State state);

// Whether everything is as in one of the two.
bool LiesBetween(const State& before, const State& state, const State& after);

// For people: a line each; empty for equal ones.
std::string Differences(const State& left, const State& right);

}  // namespace kelvarion::testing
