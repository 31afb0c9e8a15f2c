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

// Whether the file is what it should be; without a text there should be none.
bool Says(const std::u16string& target, const std::string& text) {
  std::string present;
  if (platform::ReadWholeFile(target, present) == ERROR_SUCCESS) return present == text;
  // One that cannot be read may say anything.
  return text.empty() && util::GetFileAttributesOrMissing(target) == util::kMissingFile;
}

std::u16string TargetPath(const std::u16string& install_dir) {
  return util::JoinPath(install_dir, u"conf/httpd.conf");
}

std::u16string ReplicationPath(const std::u16string& install_dir) {
  return util::JoinPath(install_dir, u"conf/replication.conf");
}

std::u16string TemporaryPath(const std::u16string& target) { return Format(u"%s.tmp", target); }

// The temporary file is the lock, held from the first setting read to the rename: without it an
// older reading could replace a younger one. What a killed generation left is taken over by the
// next.
template <class Generate>
void WithTemporary(const std::u16string& target, const Generate& generate) {
  const std::u16string temporary = TemporaryPath(target);
  const platform::FileLock lock(temporary);
  if (lock.Error() != ERROR_SUCCESS) {
    throw Win32Exception(lock.Error(), u"Couldn't write Apache configuration file");
  }
  try {
    generate(temporary);
  } catch (const Exception&) {
    platform::DeleteFile(temporary);
    throw;
  }
}

void PutReplication(const std::string& text, const std::u16string& target) {
  if (Says(target, text)) return;
  WithTemporary(target, [&](const std::u16string& temporary) {
    if (!text.empty()) return Replace(text, temporary, target);
    if (const Win32Error error = platform::DeleteFile(target); error != ERROR_SUCCESS)
      throw Win32Exception(error, u"Couldn't write Apache configuration file");
    platform::DeleteFile(temporary);
  });
}

}  // namespace

ConfigurationLock::ConfigurationLock(const IcRegistryAccessor& store)
    : file_(TemporaryPath(TargetPath(store.GetInstallDir()))), lock_(file_) {}

ConfigurationLock::~ConfigurationLock() {
  if (lock_.Error() == ERROR_SUCCESS) platform::DeleteFile(file_);
}

// Mostly there is nothing to do, and then nothing is touched.
bool RegenerateReplicationConfig(const IcRegistryAccessor& store) {
  const std::u16string install_dir = store.GetInstallDir();
  const auto generate = [&] { return ReplicationText(ReadServerValues(store, install_dir)); };
  if (Says(ReplicationPath(install_dir), generate())) return false;
  // Under the lock of the other file: together they are what a server reads.
  WithTemporary(TargetPath(install_dir), [&](const std::u16string& temporary) {
    PutReplication(generate(), ReplicationPath(install_dir));
    platform::DeleteFile(temporary);
  });
  return true;
}

// Both texts are known before either file is touched. The rename that ends the lock comes last.
void RegenerateApacheConfig(const IcRegistryAccessor& store) {
  const std::u16string install_dir = store.GetInstallDir();
  const std::u16string target = TargetPath(install_dir);
  WithTemporary(target, [&](const std::u16string& temporary) {
    const ServerValues values = ReadServerValues(store, install_dir);
    const std::string text = ConfigurationText(values);
    PutReplication(ReplicationText(values), ReplicationPath(install_dir));
    Replace(text, temporary, target);
  });
}

}  // namespace kelvarion::apache
