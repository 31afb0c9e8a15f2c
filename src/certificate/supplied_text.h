// The text that an administrator supplies, taken apart.
#pragma once

#include <string>
#include <vector>

#include "platform/crypto/certificate.h"

namespace kelvarion::certificate {

class SuppliedText {
 public:
  // Throws SSLException when no certificate can be read from it.
  explicit SuppliedText(const std::u16string& text);

  // The first one.
  const platform::Certificate& certificate() const { return certificates_.front(); }
  // Those behind it, as far as they can be read.
  std::vector<platform::Certificate> further() const {
    return {certificates_.begin() + 1, certificates_.end()};
  }
  // Null when the text has none. Throws SSLException for a damaged key and SimpleException for an
  // encrypted one: a server has nobody to ask for the passphrase.
  platform::PrivateKey Key() const;

 private:
  std::string pem_;
  std::vector<platform::Certificate> certificates_;
};

}  // namespace kelvarion::certificate
