#include "certificate/supplied_text.h"

#include "certificate/failure.h"
#include "platform/text/encoding.h"

namespace kelvarion::certificate {

SuppliedText::SuppliedText(const std::u16string& text) : pem_(platform::Utf8ForDisplay(text)) {
  Require(platform::ReadCertificates(pem_, certificates_),
          pem_.find("CERTIFICATE-----") == pem_.npos ? u"There is no certificate in PEM form in "
                                                       u"the text"
                                                     : u"Cannot read the certificate");
}

platform::PrivateKey SuppliedText::Key() const {
  platform::KeyReading reading = platform::ReadPrivateKey(pem_);
  if (reading.text == platform::KeyText::kEncrypted)
    throw SimpleException(
        u"The provided private key is encrypted. Decrypt it first, for example with: "
        u"openssl pkey -in encrypted.pem -out key.pem");
  Require(reading.failure, u"Cannot read the private key");
  if (reading.key && !platform::IsSound(reading.key))
    throw SSLException(u"The provided private key is damaged.");
  return std::move(reading.key);
}

}  // namespace kelvarion::certificate
