// The settings of the server.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace kelvarion {

class JournalFile;

// Each operation reads or writes one setting and is complete in itself: nothing is cached, so a
// value that another program changed is seen by the next call. Safe from any thread; changes made
// of several writes are not atomic. Writing a setting does not generate the configuration anew.
//
// A setting that cannot be read or written throws Win32Exception; so does a missing one that has no
// default.
class IcRegistryAccessor {
 public:
  virtual std::u16string GetServerName() const = 0;
  virtual int GetServerPort(bool secure) const = 0;
  // Without a default the setting is required.
  virtual std::u16string GetRepositoriesRoot(
      const std::optional<std::u16string>& default_root) const = 0;
  virtual std::u16string GetRepositoriesURLPrefix() const = 0;
  virtual std::u16string GetInstallDir() const = 0;
  virtual bool GetUseSSL() const = 0;
  virtual bool GetUseWindowsAuth() const = 0;
  virtual bool GetUseUPNFormat() const = 0;
  virtual bool IsWindowsBasicEnabled() const = 0;
  virtual bool GetEnableWindowsIntegrated() const = 0;
  virtual bool GetUseServerBindings() const = 0;
  virtual std::vector<std::u16string> GetServerBindings() const = 0;
  virtual bool GetEnableAccessLogging() const = 0;
  virtual bool GetEnableOperationalLogging() const = 0;
  virtual bool GetAdjustRepositoriesRootPermissions() const = 0;
  virtual bool GetCreateGnuTLSCompatibleCertificate() const = 0;
  virtual std::u16string GetSelfSignedCertificateSignatureAlgorithm() const = 0;
  virtual std::u16string GetCertificateRequestSignatureAlgorithm() const = 0;
  virtual bool GetRedirectFromLegacyWebInterface() const = 0;
  // Megabytes.
  virtual std::uint32_t GetHttpSvnCacheSize() const = 0;
  virtual std::uint32_t GetWmiProviderLogLevel() const = 0;
  // Empty where nobody has said it.
  virtual std::u16string GetOrmuReplicationPartnersSID() const = 0;

  // Save appends the setting's present state to the journal, also that it is absent; Restore reads
  // that state from the journal and makes it so again.
  virtual void SaveOrmuAdminSD(JournalFile& journal) const = 0;
  virtual void RestoreOrmuAdminSD(JournalFile& journal) = 0;
  virtual void SaveOrmuReplicationPartnersSID(JournalFile& journal) const = 0;
  virtual void RestoreOrmuReplicationPartnersSID(JournalFile& journal) = 0;

  virtual void SetServerName(const std::u16string& name) = 0;
  virtual void SetRepositoriesRoot(const std::u16string& root) = 0;
  virtual void SetRepositoriesURLPrefix(const std::u16string& prefix) = 0;
  virtual void SetServerPort(bool secure, int port) = 0;
  virtual void SetUseSSL(bool use) = 0;
  virtual void SetUseWindowsAuth(bool use) = 0;
  virtual void SetUseUPNFormat(bool use) = 0;
  virtual void SetWindowsBasicEnabled(bool enabled) = 0;
  virtual void SetEnableWindowsIntegrated(bool enable) = 0;
  virtual void SetUseServerBindings(bool use) = 0;
  virtual void SetServerBindings(const std::vector<std::u16string>& addresses) = 0;
  virtual void SetEnableAccessLogging(bool enable) = 0;
  virtual void SetEnableOperationalLogging(bool enable) = 0;
  virtual void SetAdjustRepositoriesRootPermissions(bool adjust) = 0;
  virtual void SetOrmuAdminSD(const std::u16string& descriptor) = 0;
  virtual void SetOrmuReplicationPartnersSID(const std::u16string& sid) = 0;
  virtual void SetRedirectFromLegacyWebInterface(bool redirect) = 0;

 protected:
  ~IcRegistryAccessor() = default;
};

}  // namespace kelvarion
