#include "certificate/certificate_files.h"

#include "certificate/failure.h"
#include "util/atomic_file.h"
#include "util/paths.h"

namespace kelvarion::certificate {
namespace {

// The web server wants the chain file, but not that it holds anything.
constexpr const char* kNoChain = "\n";

std::string ReadIfPresent(const std::u16string& path) {
  if (util::GetFileAttributesOrMissing(path) == util::kMissingFile) return {};
  return util::ReadWholeFile(path);
}

bool IsBlank(const std::string& text) { return text.find_first_not_of("\r\n") == text.npos; }

// The intermediates of both. Those of the first come first, for clients that mind their order.
std::string Both(const std::string& first, const std::string& second) {
  if (IsBlank(first) || first == second) return second;
  if (IsBlank(second)) return first;
  return first + (first.ends_with('\n') ? "" : "\n") + second;
}

void Write(const std::u16string& path, const std::string& content) {
  util::WriteFileAtomically(path, content, util::NewFile::kPrivate);
}

}  // namespace

CertificatePaths PathsOf(const IcRegistryAccessor& configuration) {
  const std::u16string folder = util::JoinPath(configuration.GetInstallDir(), u"certs");
  return {util::JoinPath(folder, u"server.pem"), util::JoinPath(folder, u"certchain.pem"),
          util::JoinPath(folder, u"server.lock")};
}

platform::PrivateKey InstalledCertificate::key() const {
  platform::KeyReading reading = platform::ReadPrivateKey(pem_);
  switch (reading.text) {
    case platform::KeyText::kReadable:
      return std::move(reading.key);
    case platform::KeyText::kMissing:
      throw SSLException(Format(u"There is no private key in '%s'.", path_));
    case platform::KeyText::kEncrypted:
      throw SSLException(
          Format(u"The private key in '%s' is encrypted; the server needs one without passphrase.",
                 path_));
    case platform::KeyText::kDamaged:
      break;
  }
  Require(reading.failure, Format(u"Cannot read the private key in '%s'", path_));
  return nullptr;
}

platform::Certificate InstalledCertificate::certificate() const {
  std::vector<platform::Certificate> certificates;
  Require(platform::ReadCertificates(pem_, certificates),
          Format(u"Cannot read the certificate in '%s'", path_));
  return certificates.front();
}

InstalledCertificate ReadInstalled(const CertificatePaths& paths) {
  return {paths.server, util::ReadWholeFile(paths.server)};
}

std::vector<platform::Certificate> ReadInstalledChain(const CertificatePaths& paths) {
  std::string pem;
  std::vector<platform::Certificate> certificates;
  if (platform::ReadWholeFile(paths.chain, pem) != ERROR_SUCCESS) return {};
  // The file need not hold any.
  if (platform::ReadCertificates(pem, certificates)) return {};
  return certificates;
}

CertificateLock::CertificateLock(const CertificatePaths& paths)
    : path_(paths.lock), lock_(paths.lock) {
  if (lock_.Error() != ERROR_SUCCESS)
    throw Win32Exception(lock_.Error(), u"Cannot lock file '%s'", path_);
}

CertificateLock::~CertificateLock() { platform::DeleteFile(path_); }

void ReplaceFiles(const CertificatePaths& paths, const std::string& server,
                  const std::string& chain) {
  const std::string new_chain = chain.empty() ? kNoChain : chain;
  const std::string old_chain = ReadIfPresent(paths.chain);
  const std::string both = Both(old_chain, new_chain);
  if (both != old_chain) Write(paths.chain, both);
  try {
    Write(paths.server, server);
  } catch (const Exception&) {
    // What stands there now serves the old certificate as well, should this fail.
    try {
      if (both != old_chain && !old_chain.empty()) Write(paths.chain, old_chain);
    } catch (const Exception&) {
    }
    throw;
  }
  if (both != new_chain) Write(paths.chain, new_chain);
}

}  // namespace kelvarion::certificate
