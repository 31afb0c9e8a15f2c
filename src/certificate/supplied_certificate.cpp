#include "certificate/supplied_certificate.h"

#include <exception>

#include "certificate/supplied_text.h"

namespace kelvarion::certificate {
namespace {

// The installed key unless the supplied text brings the certificate's own.
struct Choice {
  KeyMatch match = KeyMatch::kNone;
  platform::PrivateKey key;
};

Choice ChooseKey(const SuppliedText& supplied, const CertificatePaths& paths) {
  std::exception_ptr unreadable;
  try {
    platform::PrivateKey installed = ReadInstalled(paths).key();
    if (platform::BelongTogether(supplied.certificate(), installed))
      return {KeyMatch::kInstalledKey, std::move(installed)};
  } catch (const Exception&) {
    unreadable = std::current_exception();
  }
  platform::PrivateKey key = supplied.Key();
  if (key && platform::BelongTogether(supplied.certificate(), key))
    return {KeyMatch::kSuppliedKey, std::move(key)};
  // What replaces a broken file as a whole is not kept out by it; all else needs the key in it.
  if (unreadable) std::rethrow_exception(unreadable);
  return {KeyMatch::kNone, std::move(key)};
}

}  // namespace

KeyMatch ValidateCertificate(const ServerContext& context, const std::u16string& text) {
  const SuppliedText supplied(text);
  return ChooseKey(supplied, PathsOf(context.configuration())).match;
}

ChainReport ImportCertificate(const ServerContext& context, const std::u16string& text) {
  const SuppliedText supplied(text);
  const CertificatePaths paths = PathsOf(context.configuration());
  const CertificateLock lock(paths);
  const Choice choice = ChooseKey(supplied, paths);
  switch (choice.match) {
    case KeyMatch::kInstalledKey:
    case KeyMatch::kSuppliedKey:
      return Install(paths, supplied.certificate(), choice.key, supplied.further());
    case KeyMatch::kNone:
      throw SimpleException(
          u"Provided certificate and private key do not match to each other.%s",
          choice.key ? u""
                     : u" The certificate was not issued for the installed private key, and "
                       u"no other private key was provided with it.");
  }
  throw SimpleException(u"Unknown error.");
}

}  // namespace kelvarion::certificate
