// The files that the web server reads: its whole configuration, the location for replication and
// the two start pages, generated from the settings.
#pragma once

#include <string>
#include <vector>

#include "config/configuration.h"
#include "platform/files/files.h"

namespace kelvarion::apache {

// Keeps the generated configuration as it is while the object lives, in other processes too: the
// configuration that a server reads must be the one that was tested for it. Whoever holds it must
// not generate. Where the lock cannot be made, generating fails as well.
class ConfigurationLock {
 public:
  explicit ConfigurationLock(const IcRegistryAccessor& store);
  ~ConfigurationLock();
  ConfigurationLock(const ConfigurationLock&) = delete;
  ConfigurationLock& operator=(const ConfigurationLock&) = delete;

 private:
  const std::u16string file_;
  const platform::FileLock lock_;
};

// Writes conf\httpd.conf below the installation folder from the settings as they are now. The web
// server sees the previous or the complete new file; it reads the file when it restarts.
//
// Generations of one server wait for each other, in other processes too, so the file that stands
// last holds the settings that the last one read. Any failure leaves the file as it was: a setting
// that cannot be read or would break the file's format, and Win32Exception
// "Couldn't write Apache configuration file" or "Cannot rename file '%s' to '%s'".
//
// conf\replication.conf is made anew with it.
void RegenerateApacheConfig(const IcRegistryAccessor& store);

// Writes conf\replication.conf, the location that masters are replicated from, which is there only
// while the repositories root holds a master. To be called when a repository has become one or is
// none any more. Whether the file changed, which a running server sees when it restarts. Failures
// as above.
bool RegenerateReplicationConfig(const IcRegistryAccessor& store);

// Writes WebUI\index.html and htdocs\index.html below the installation folder. Needed only after
// the URL prefix of the repositories changed.
void RegenerateStartPages(const IcRegistryAccessor& store);

// A file as generating it now would make it.
struct GeneratedFile {
  std::u16string path;
  std::string text;
};
// All that the two functions above write; nothing is written. Fails as they do.
std::vector<GeneratedFile> PreviewGeneratedFiles(const IcRegistryAccessor& store);

}  // namespace kelvarion::apache
