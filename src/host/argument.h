// One NAME=TEXT or NAME:=JSON of the command line.
#pragma once

#include <nlohmann/json.hpp>
#include <stdexcept>
#include <string>
#include <variant>
#include <vector>

namespace kelvarion::host {

using Json = nlohmann::ordered_json;

// The command line itself is wrong: nothing was asked of anybody.
class UsageError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

struct Argument {
  std::u16string name;
  std::variant<std::u16string, Json> value;
};

// Both throw UsageError for a text without "=", without a name or that is not UTF-8, the second
// also for a name that comes twice (names compare ignoring case). A value that should be JSON and
// is not throws WMIException WBEM_E_INVALID_METHOD_PARAMETERS.
Argument ParseArgument(const std::string& text);
std::vector<Argument> ParseArguments(const std::vector<std::string>& texts);

// A word of the command line. Throws UsageError when it is not UTF-8.
std::u16string ParseWord(const std::string& text);

}  // namespace kelvarion::host
