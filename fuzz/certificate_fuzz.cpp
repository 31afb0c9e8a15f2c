// Certificates and keys that an administrator supplies: what can be read can be described and
// judged, and written as PEM it is the same certificate again.
#include "certificate/certificate_info.h"
#include "certificate/install.h"
#include "certificate/supplied_text.h"
#include "errors/exception.h"
#include "fuzz/fuzz.h"

using namespace kelvarion;

void kelvarion::fuzz::Target(std::string_view bytes) {
  // The machine's own authorities play no part, and reading them all takes long.
  static const bool alone =
      setenv("SSL_CERT_FILE", "/dev/null", 1) == 0 && setenv("SSL_CERT_DIR", "/dev/null", 1) == 0;
  fuzz::Expect(alone, "the machine's store is left out");
  const std::u16string text = fuzz::Text(bytes);
  try {
    const certificate::SuppliedText supplied(text);
    const certificate::ChainReport chain =
        certificate::ExamineChain(supplied.certificate(), supplied.further());
    fuzz::Expect(
        !chain.elements.empty() && platform::IsSame(chain.elements.front(), supplied.certificate()),
        "a chain begins with the certificate itself");
    platform::CertificateDescription description;
    fuzz::Expect(!platform::DescribeCertificate(supplied.certificate(), description),
                 "a certificate that was read can be described");
    const certificate::CertificateInfo info =
        certificate::ToInfo(supplied.certificate(), description);
    const certificate::SuppliedText again(info.base64_certificate);
    fuzz::Expect(platform::IsSame(again.certificate(), supplied.certificate()),
                 "a certificate survives being written");
    if (const platform::PrivateKey key = supplied.Key())
      platform::BelongTogether(supplied.certificate(), key);
  } catch (const Exception&) {
  }
}
