// Certificates and requests made for the installed key.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "context/server_context.h"

namespace kelvarion::certificate {

// Empty texts are left out of the subject.
struct CertificateParameters {
  std::u16string common_name;  // Also the first of the alternative names.
  std::vector<std::u16string> additional_names;
  std::u16string organization;
  std::u16string organization_unit;
  std::u16string country_code;
  std::u16string state;
  std::u16string city;
};

// Makes a certificate that vouches for itself, and installs it. Throws SSLException when it cannot
// be made, SimpleException when the settings name an unknown digest, and as installing does.
void CreateSelfSignedCertificate(const ServerContext& context,
                                 const CertificateParameters& parameters, std::uint32_t days);

// A PKCS #10 request in PEM form. Fails as above; changes nothing.
std::u16string CreateCertificateRequest(const ServerContext& context,
                                        const CertificateParameters& parameters);

}  // namespace kelvarion::certificate
