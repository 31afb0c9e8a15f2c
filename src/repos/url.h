// The addresses that clients reach repositories by.
#pragma once

#include <string>

#include "config/configuration.h"

namespace kelvarion::repos {

// What addresses depend on.
struct UrlSettings {
  std::u16string host;
  bool secure = false;
  int port = 0;  // The one in use.
  std::u16string prefix;
};

// The host is the configured server name, else this computer's DNS name.
UrlSettings ReadUrlSettings(const IcRegistryAccessor& store);
std::u16string PublicHostName(const IcRegistryAccessor& store);

// scheme://host[:port]prefix/repository/path, where the path begins with "/". Without a repository
// name it is the server's address, ending with a slash. Characters that a URL cannot hold are
// percent-encoded.
std::u16string BuildRepositoryUrl(const std::u16string& repository, const std::u16string& path,
                                  const UrlSettings& settings);

}  // namespace kelvarion::repos
