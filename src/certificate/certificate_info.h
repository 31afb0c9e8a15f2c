// What a certificate says about itself.
#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <vector>

#include "context/server_context.h"
#include "platform/crypto/certificate.h"

namespace kelvarion::certificate {

using UniversalTime = std::chrono::sys_seconds;

// Texts that the certificate does not have are empty, and so are empty times.
struct CertificateInfo {
  std::u16string issued_to;
  std::u16string issued_by;
  std::optional<UniversalTime> valid_from;
  std::optional<UniversalTime> valid_to;
  std::u16string organization;
  std::u16string organization_unit;
  std::u16string country_code;
  std::u16string state;
  std::u16string city;
  std::u16string base64_certificate;  // PEM.
};

// Of the installed certificate. Throws Win32Exception when its file cannot be read, SSLException
// when there is no certificate in it, SimpleException for times that are none.
CertificateInfo GetCertificateInfo(const ServerContext& context);

CertificateInfo ToInfo(const platform::Certificate& certificate,
                       const platform::CertificateDescription& description);

}  // namespace kelvarion::certificate
