// The settings kept as values of one registry key.
#pragma once

#include "config/configuration.h"
#include "config/registry_values.h"

namespace kelvarion {

// Where the settings of an installed server lie.
inline constexpr const char16_t* kServerKeyPath = u"SOFTWARE\\Kelvarion\\Kelvarion Server";

enum class ProductType { kWorkstation, kServer };

// The registry must outlive the accessor. The key is never created here: set-up does that.
class RegistryAccessor final : public IcRegistryAccessor {
 public:
  explicit RegistryAccessor(platform::Registry& registry,
                            platform::KeyPath key = {platform::RootKey::kLocalMachine,
                                                     kServerKeyPath},
                            ProductType product = ProductType::kServer)
      : values_(registry, std::move(key)), product_(product) {}

  std::u16string GetServerName() const override;
  int GetServerPort(bool secure) const override;
  std::u16string GetRepositoriesRoot(
      const std::optional<std::u16string>& default_root) const override;
  std::u16string GetRepositoriesURLPrefix() const override;
  std::u16string GetInstallDir() const override;
  bool GetUseSSL() const override;
  bool GetUseWindowsAuth() const override;
  bool GetUseUPNFormat() const override;
  bool IsWindowsBasicEnabled() const override;
  bool GetEnableWindowsIntegrated() const override;
  bool GetUseServerBindings() const override;
  std::vector<std::u16string> GetServerBindings() const override;
  bool GetEnableAccessLogging() const override;
  bool GetEnableOperationalLogging() const override;
  bool GetAdjustRepositoriesRootPermissions() const override;
  bool GetCreateGnuTLSCompatibleCertificate() const override;
  std::u16string GetSelfSignedCertificateSignatureAlgorithm() const override;
  std::u16string GetCertificateRequestSignatureAlgorithm() const override;
  bool GetRedirectFromLegacyWebInterface() const override;
  std::uint32_t GetHttpSvnCacheSize() const override;
  std::uint32_t GetWmiProviderLogLevel() const override;
  std::u16string GetOrmuReplicationPartnersSID() const override;
  void SaveOrmuAdminSD(JournalFile& journal) const override;
  void RestoreOrmuAdminSD(JournalFile& journal) override;
  void SaveOrmuReplicationPartnersSID(JournalFile& journal) const override;
  void RestoreOrmuReplicationPartnersSID(JournalFile& journal) override;
  void SetServerName(const std::u16string& name) override;
  void SetRepositoriesRoot(const std::u16string& root) override;
  void SetRepositoriesURLPrefix(const std::u16string& prefix) override;
  void SetServerPort(bool secure, int port) override;
  void SetUseSSL(bool use) override;
  void SetUseWindowsAuth(bool use) override;
  void SetUseUPNFormat(bool use) override;
  void SetWindowsBasicEnabled(bool enabled) override;
  void SetEnableWindowsIntegrated(bool enable) override;
  void SetUseServerBindings(bool use) override;
  void SetServerBindings(const std::vector<std::u16string>& addresses) override;
  void SetEnableAccessLogging(bool enable) override;
  void SetEnableOperationalLogging(bool enable) override;
  void SetAdjustRepositoriesRootPermissions(bool adjust) override;
  void SetOrmuAdminSD(const std::u16string& descriptor) override;
  void SetOrmuReplicationPartnersSID(const std::u16string& sid) override;
  void SetRedirectFromLegacyWebInterface(bool redirect) override;

 private:
  RegistryValues values_;
  ProductType product_;
};

}  // namespace kelvarion
