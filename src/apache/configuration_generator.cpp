#include "apache/configuration_generator.h"

#include "apache/sections.h"
#include "errors/exception.h"
#include "platform/files/files.h"
#include "util/paths.h"

namespace kelvarion::apache {

std::string ConfigurationText(const ServerValues& values) {
  ConfigText out;
  WriteHeader(out);
  WriteServer(out, values);
  WriteListen(out, values);
  WriteModules(out, values);
  WriteLogging(out, values);
  WriteRootDirectory(out, values);
  WriteRewrites(out);
  WriteAuthentication(out, values);
  WriteRepositories(out, values);
  WriteClientQuirks(out, values);
  WriteWebInterface(out, values);
  WriteFiles(out);
  WriteTls(out, values);
  WriteCustomInclude(out);
  return out.text();
}

// The lock is held from the first setting read to the rename: without it an older reading could
// replace a younger one. It also lets the temporary file have one fixed name, so that what a killed
// generation left is overwritten by the next.
void RegenerateApacheConfig(const IcRegistryAccessor& store) {
  const std::u16string install_dir = store.GetInstallDir();
  const std::u16string target = util::JoinPath(install_dir, u"conf/httpd.conf");
  const std::u16string temporary = target + u".tmp";

  const platform::FileLock lock(target + u".lck");
  Win32Error error = lock.Error();
  if (error == ERROR_SUCCESS) {
    const std::string text = ConfigurationText(ReadServerValues(store, install_dir));
    bool created = false;
    error = platform::CreateAndWriteFile(temporary, text, platform::NewFile::kPrivate, created);
  }
  if (error != ERROR_SUCCESS)
    throw Win32Exception(error, u"Couldn't write Apache configuration file");

  error = platform::MoveFileReplacing(temporary, target, platform::NewFile::kPrivate);
  if (error != ERROR_SUCCESS) {
    throw Win32Exception(error, u"Cannot rename file '%s' to '%s'", temporary, target);
  }
}

}  // namespace kelvarion::apache
