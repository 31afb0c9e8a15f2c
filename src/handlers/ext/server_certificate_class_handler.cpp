// A singleton without keys, read from the installed files for every request.

#include "handlers/ext/server_certificate_class_handler.h"

#include "handlers/convert/times.h"

namespace kelvarion {
namespace {

using Text = Property<std::u16string>;
using Number = Property<std::uint32_t>;
using TextList = Property<std::vector<std::u16string>>;

constexpr Text kIssuedTo{u"IssuedTo"};
constexpr Text kIssuedBy{u"IssuedBy"};
constexpr TextList kAlternativeNames{u"AlternativeNames"};
constexpr Property<DateTime> kValidFrom{u"ValidFrom"};
constexpr Property<DateTime> kValidTo{u"ValidTo"};
constexpr Number kDaysLeft{u"DaysLeft"};
constexpr Text kFingerprint{u"Fingerprint"};
constexpr Text kKeyType{u"KeyType"};
constexpr Number kKeyMatch{u"KeyMatch"};
constexpr Number kChainState{u"ChainState"};
constexpr Text kChainProblem{u"ChainProblem"};
constexpr TextList kChain{u"Chain"};
constexpr Property<bool> kRootTrusted{u"RootTrusted"};
constexpr Property<bool> kValidNow{u"ValidNow"};
constexpr Text kBase64Certificate{u"Base64Certificate"};
constexpr Property<WMIObject> kReturnValue{u"ReturnValue"};

}  // namespace

WMIObject ServerCertificateClassHandler::Describe() const {
  return Describe(certificate::GetInstalledState(context()));
}

WMIObject ServerCertificateClassHandler::Describe(
    const certificate::CertificateState& state) const {
  WMIObject object = SpawnInstance();
  object.Set(kIssuedTo, state.info.issued_to);
  object.Set(kIssuedBy, state.info.issued_by);
  object.Set(kAlternativeNames, state.alternative_names);
  SetTime(object, kValidFrom, state.info.valid_from);
  SetTime(object, kValidTo, state.info.valid_to);
  // Negative numbers have the same 32 bits.
  if (state.days_left) object.Set(kDaysLeft, static_cast<std::uint32_t>(*state.days_left));
  object.Set(kFingerprint, state.fingerprint);
  object.Set(kKeyType, state.key);
  object.Set(kKeyMatch, static_cast<std::uint32_t>(state.match));
  object.Set(kChainState, static_cast<std::uint32_t>(state.chain.state));
  object.Set(kChainProblem, state.chain.problem);
  object.Set(kChain, certificate::ElementNames(state.chain));
  object.Set(kRootTrusted, state.chain.root_trusted);
  object.Set(kValidNow, state.chain.valid_now);
  return object;
}

void ServerCertificateClassHandler::Check(MethodCall& call) {
  call.out().Set(kReturnValue,
                 Describe(certificate::GetSuppliedState(context(), call.in(kBase64Certificate))));
}

const MethodTable<ServerCertificateClassHandler>& ServerCertificateClassHandler::Methods() {
  static const MethodTable<ServerCertificateClassHandler> table{
      {u"Check", &ServerCertificateClassHandler::Check},
  };
  return table;
}

}  // namespace kelvarion
