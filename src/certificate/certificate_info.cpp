#include "certificate/certificate_info.h"

#include "certificate/certificate_files.h"
#include "certificate/failure.h"
#include "platform/text/encoding.h"

namespace kelvarion::certificate {
namespace {

std::optional<UniversalTime> ToTime(const platform::CertificateTime& time) {
  using Kind = platform::CertificateTime::Kind;
  switch (time.kind) {
    case Kind::kEmpty:
      return std::nullopt;
    case Kind::kGood:
      return UniversalTime(std::chrono::seconds(time.seconds));
    case Kind::kInvalid:
      throw SimpleException(u"Invalid ASN1_TIME format.");
    case Kind::kUnknown:
      break;
  }
  throw SimpleException(u"Unknown ASN1_TIME format");
}

}  // namespace

CertificateInfo ToInfo(const platform::Certificate& certificate,
                       const platform::CertificateDescription& description) {
  CertificateInfo info;
  info.issued_to = description.subject.common_name;
  info.issued_by = description.issuer.common_name;
  info.valid_from = ToTime(description.valid_from);
  info.valid_to = ToTime(description.valid_to);
  info.organization = description.subject.organization;
  info.organization_unit = description.subject.organization_unit;
  info.country_code = description.subject.country;
  info.state = description.subject.state;
  info.city = description.subject.city;
  std::string pem;
  Require(platform::WritePem(certificate, pem), u"Cannot write the certificate");
  info.base64_certificate = platform::Utf16ForDisplay(pem);
  return info;
}

CertificateInfo GetCertificateInfo(const ServerContext& context) {
  const InstalledCertificate installed = ReadInstalled(PathsOf(context.configuration()));
  platform::CertificateDescription description;
  Require(platform::DescribeCertificate(installed.certificate(), description),
          u"Cannot read the certificate");
  return ToInfo(installed.certificate(), description);
}

}  // namespace kelvarion::certificate
