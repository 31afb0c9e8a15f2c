// The methods of Kelvarion_Service that are about the server's certificate.
#include "certificate/certificate_info.h"
#include "certificate/new_certificate.h"
#include "certificate/supplied_certificate.h"
#include "handlers/convert/times.h"
#include "handlers/service_class_handler.h"

namespace kelvarion {
namespace {

using Text = Property<std::u16string>;

constexpr Text kIssuedTo{u"IssuedTo"};
constexpr Text kIssuedBy{u"IssuedBy"};
constexpr Text kOrganization{u"Organization"};
constexpr Text kOrganizationUnit{u"OrganizationUnit"};
constexpr Text kCountryCode{u"CountryCode"};
constexpr Text kState{u"State"};
constexpr Text kCity{u"City"};
constexpr Text kBase64Certificate{u"Base64Certificate"};
constexpr Property<DateTime> kValidFrom{u"ValidFrom"};
constexpr Property<DateTime> kValidTo{u"ValidTo"};
constexpr Text kCommonName{u"CommonName"};
constexpr Property<std::vector<std::u16string>> kAdditionalNames{u"AdditionalNames"};
constexpr Property<std::uint32_t> kDays{u"Days"};
constexpr const char16_t* kReturnValue = u"ReturnValue";

certificate::CertificateParameters ReadParameters(const MethodCall& call) {
  const auto text = [&](const Text& name) { return call.optional_in(name).value_or(u""); };
  certificate::CertificateParameters parameters;
  parameters.common_name = call.in(kCommonName);
  if (auto names = call.optional_in(kAdditionalNames)) parameters.additional_names = *names;
  parameters.organization = text(kOrganization);
  parameters.organization_unit = text(kOrganizationUnit);
  parameters.country_code = text(kCountryCode);
  parameters.state = text(kState);
  parameters.city = text(kCity);
  return parameters;
}

}  // namespace

void ServiceClassHandler::GetCertificateInformation(MethodCall& call) {
  const certificate::CertificateInfo info = certificate::GetCertificateInfo(context());
  WMIObject object = certificate_class_.SpawnInstance();
  object.Set(kIssuedTo, info.issued_to);
  object.Set(kIssuedBy, info.issued_by);
  SetTime(object, kValidFrom, info.valid_from);
  SetTime(object, kValidTo, info.valid_to);
  object.Set(kOrganization, info.organization);
  object.Set(kOrganizationUnit, info.organization_unit);
  object.Set(kCountryCode, info.country_code);
  object.Set(kState, info.state);
  object.Set(kCity, info.city);
  object.Set(kBase64Certificate, info.base64_certificate);
  call.out().Set(Property<WMIObject>{kReturnValue}, object);
}

// Whoever installs a certificate should hear at once that clients may not accept it.
void ServiceClassHandler::ImportCertificate(MethodCall& call) {
  const certificate::ChainReport chain =
      certificate::ImportCertificate(context(), call.in(kBase64Certificate));
  if (!chain.valid_now)
    call.sink().WriteWarning(
        u"The certificate is installed, but it or one of its issuers' has expired or is not valid "
        u"yet.");
  if (chain.problem.empty()) return;
  call.sink().WriteWarning(
      Format(u"The certificate is installed without intermediate certificates, so that clients may "
             u"not accept it: %s. Import it once more with all certificates of its authority "
             u"behind it, up to the root's.",
             chain.problem));
}

void ServiceClassHandler::ValidateCertificate(MethodCall& call) {
  const auto match = certificate::ValidateCertificate(context(), call.in(kBase64Certificate));
  call.out().Set(Property<std::uint32_t>{kReturnValue}, static_cast<std::uint32_t>(match));
}

void ServiceClassHandler::CreateSelfSignedCertificate(MethodCall& call) {
  certificate::CreateSelfSignedCertificate(context(), ReadParameters(call), call.in(kDays));
}

void ServiceClassHandler::CreateCertificateRequest(MethodCall& call) {
  call.out().Set(Text{kReturnValue},
                 certificate::CreateCertificateRequest(context(), ReadParameters(call)));
}

}  // namespace kelvarion
