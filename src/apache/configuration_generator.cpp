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

namespace {

// Puts the text together under its temporary name, then in place.
void Replace(const std::string& text, const std::u16string& temporary,
             const std::u16string& target) {
  bool created = false;
  if (const Win32Error error =
          platform::CreateAndWriteFile(temporary, text, platform::NewFile::kPrivate, created)) {
    throw Win32Exception(error, u"Couldn't write Apache configuration file");
  }
  if (const Win32Error error =
          platform::MoveFileReplacing(temporary, target, platform::NewFile::kPrivate)) {
    throw Win32Exception(error, u"Cannot rename file '%s' to '%s'", temporary, target);
  }
}

// Without a text the file goes. Whether anything changed.
bool ReplaceChanged(const std::string& text, const std::u16string& temporary,
                    const std::u16string& target) {
  std::string present;
  const bool exists = platform::ReadWholeFile(target, present) == ERROR_SUCCESS;
  const bool changes = exists ? present != text : !text.empty();
  if (changes && !text.empty()) {
    Replace(text, temporary, target);
    return true;
  }
  const Win32Error error = changes ? platform::DeleteFile(target) : ERROR_SUCCESS;
  if (error != ERROR_SUCCESS)
    throw Win32Exception(error, u"Couldn't write Apache configuration file");
  platform::DeleteFile(temporary);
  return changes;
}

// The temporary file is the lock, held from the first setting read to the rename: without it an
// older reading could replace a younger one. What a killed generation left is taken over by the
// next.
template <class Generate>
auto WithTemporary(const std::u16string& target, const Generate& generate) {
  const std::u16string temporary = Format(u"%s.tmp", target);
  const platform::FileLock lock(temporary);
  if (lock.Error() != ERROR_SUCCESS) {
    throw Win32Exception(lock.Error(), u"Couldn't write Apache configuration file");
  }
  try {
    return generate(temporary);
  } catch (const Exception&) {
    platform::DeleteFile(temporary);
    throw;
  }
}

}  // namespace

bool RegenerateReplicationConfig(const IcRegistryAccessor& store) {
  const std::u16string install_dir = store.GetInstallDir();
  const std::u16string target = util::JoinPath(install_dir, u"conf/replication.conf");
  return WithTemporary(target, [&](const std::u16string& temporary) {
    return ReplaceChanged(ReplicationText(ReadServerValues(store, install_dir)), temporary, target);
  });
}

void RegenerateApacheConfig(const IcRegistryAccessor& store) {
  const std::u16string install_dir = store.GetInstallDir();
  const std::u16string target = util::JoinPath(install_dir, u"conf/httpd.conf");
  WithTemporary(target, [&](const std::u16string& temporary) {
    Replace(ConfigurationText(ReadServerValues(store, install_dir)), temporary, target);
  });
  RegenerateReplicationConfig(store);
}

}  // namespace kelvarion::apache
