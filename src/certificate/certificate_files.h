// The two files that the web server has its identity from.
//
// server.pem holds the private key and the certificate and is replaced as a whole, so that a key
// never meets another key's certificate. certchain.pem holds the intermediate certificates. While
// the two change, the chain file has the intermediates of both certificates, the old and the new
// one: a server that is started at any moment, also after whoever changed them was killed, has all
// that the clients of its certificate need.
#pragma once

#include <string>
#include <vector>

#include "config/configuration.h"
#include "platform/crypto/certificate.h"
#include "platform/files/files.h"

namespace kelvarion::certificate {

struct CertificatePaths {
  std::u16string server;
  std::u16string chain;
  std::u16string lock;
};
CertificatePaths PathsOf(const IcRegistryAccessor& configuration);

// The content of server.pem, read once. The key and the certificate are parsed when asked for.
class InstalledCertificate {
 public:
  InstalledCertificate(std::u16string path, std::string pem)
      : path_(std::move(path)), pem_(std::move(pem)) {}

  // Throws SSLException when there is none that can be used as it stands.
  platform::PrivateKey key() const;
  platform::Certificate certificate() const;

 private:
  std::u16string path_;
  std::string pem_;
};

// Throws Win32Exception when the file cannot be read.
InstalledCertificate ReadInstalled(const CertificatePaths& paths);

// The certificates of certchain.pem; none when there are none or they cannot be read.
std::vector<platform::Certificate> ReadInstalledChain(const CertificatePaths& paths);

// Held by whoever replaces the key or the certificate, from before it reads what is installed.
// Others wait, in other processes too. Throws Win32Exception when it is not to be had.
class CertificateLock {
 public:
  explicit CertificateLock(const CertificatePaths& paths);
  ~CertificateLock();
  CertificateLock(const CertificateLock&) = delete;
  CertificateLock& operator=(const CertificateLock&) = delete;

 private:
  std::u16string path_;
  platform::FileLock lock_;
};

// Replaces both. Mode and owner of files that exist stay; new ones are private. Throws as
// WriteFileAtomically does; until server.pem is replaced what was installed before still is, from
// then on all that a failure leaves is a chain file that holds more than it needs to.
void ReplaceFiles(const CertificatePaths& paths, const std::string& server,
                  const std::string& chain);

}  // namespace kelvarion::certificate
