// The settings in the form in which the configuration states them.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "config/configuration.h"

namespace kelvarion::apache {

// Texts are UTF-8 and fit to be written as they are.
struct ServerValues {
  std::string install;  // Forward slashes, none at the end; so is the root but for its end.
  std::string root;
  std::string prefix;    // As stored.
  std::string location;  // The prefix with one slash at the end.
  std::string host;
  std::string port;  // The one in use.
  std::vector<std::string> bindings;
  bool listen_on_bindings_only = false;
  bool secure = false;
  std::uint64_t cache_kilobytes = 0;
  bool redirect_from_legacy = false;
  bool operational_logging = false;
  bool access_logging = false;
  bool windows_auth = false;
  bool windows_basic = false;
  bool windows_integrated = false;
  bool upn_format = false;
  std::string partners;  // The SID of the group of replication partners; may be empty.

  // The path of a file in the repositories root.
  std::string InRoot(std::string_view file) const;
};

// Throws SimpleException for a setting that would break the configuration, and what the store
// throws for one that cannot be read.
ServerValues ReadServerValues(const IcRegistryAccessor& store, const std::u16string& install_dir);

// The prefix as UTF-8, refused likewise.
std::string ReadUrlPrefix(const IcRegistryAccessor& store);

}  // namespace kelvarion::apache
