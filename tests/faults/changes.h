// The table of all changes: every way in which something that lasts comes to be different.
#pragma once

#include <string>
#include <vector>

namespace kelvarion::testing {

using Words = std::vector<std::string>;

// All that users of the table have.
inline constexpr const char* kPasswords[] = {"first", "second"};

// Words are those of kelvarionctl, or of any program if they begin with "run"; "{folder}" in them
// is the folder of the server, which holds its home.
enum class Runs { kNothing, kReplicationService, kWebServer };

struct Change {
  std::string name;
  Words command;
  std::vector<Words> before = {};  // What it needs, besides what every home of the tests has.
  std::vector<Words> undo = {};    // After which it can be made again; nothing when it always can.
  bool in_steps = false;           // Several things change, one after the other.
  bool contents = false;           // Revisions are made: what they hold counts.
  Runs runs = Runs::kNothing;      // While the change is made.
  Words programs = {};             // Which have a part in it besides kelvarionctl.
};

// What every home of the tests has.
const std::vector<Words>& FirstChanges();
const std::vector<Change>& Changes();

// A method of the schema that has no row, and why it needs none.
struct Exemption {
  std::string reason;
  std::vector<std::string> methods;  // Class.Method
};
const std::vector<Exemption>& Exemptions();

}  // namespace kelvarion::testing
