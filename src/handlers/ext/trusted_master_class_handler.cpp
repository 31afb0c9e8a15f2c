// Key: Server, compared ignoring case.

#include "handlers/ext/trusted_master_class_handler.h"

#include "ormu/trust.h"
#include "repos/trusted_masters.h"
#include "svn/text.h"

namespace kelvarion {
namespace {

using Text = Property<std::u16string>;

constexpr Text kServer{u"Server"};
constexpr Text kUrl{u"Url"};
constexpr Text kAccount{u"Account"};
constexpr Property<bool> kHasPassword{u"HasPassword"};
constexpr Text kCertificateSha256{u"CertificateSha256"};

}  // namespace

WMIObject TrustedMasterClassHandler::Describe(const std::string& server) const {
  const auto access = ormu::FindMaster(context().machine().home, server);
  if (!access) return {};
  WMIObject object = SpawnInstance();
  object.Set(kServer, svn::Utf16(ormu::CanonicalServer(server)));
  object.Set(kUrl, svn::Utf16(access->url));
  if (!access->account.empty()) object.Set(kAccount, svn::Utf16(access->account));
  object.Set(kHasPassword, !access->password.empty());
  if (!access->certificate_sha256.empty())
    object.Set(kCertificateSha256, svn::Utf16(access->certificate_sha256));
  return object;
}

HRESULT TrustedMasterClassHandler::GetObject(ParsedObjectPath& path, CallContext*, WMIObject& out) {
  out = Describe(svn::Utf8(path.Key(kServer)));
  if (!out) throw WMIException(WBEM_E_NOT_FOUND);
  return S_OK;
}

HRESULT TrustedMasterClassHandler::EnumerateInstances(CallContext*, ResponseSink& sink) {
  for (const std::string& server : ormu::ListTrustedMasters(context().machine().home))
    if (const WMIObject object = Describe(server)) sink.IndicateNext(object);
  return S_OK;
}

void TrustedMasterClassHandler::Trust(MethodCall& call) {
  repos::TrustMaster(
      context(),
      {call.in(kServer), call.optional_in(Text{u"Scheme"}), call.optional_in(kUrl),
       call.optional_in(kAccount).value_or(u""), call.optional_in(Text{u"Password"}).value_or(u""),
       call.optional_in(kCertificateSha256).value_or(u"")},
      call.warn());
}

void TrustedMasterClassHandler::GetCertificate(MethodCall& call) {
  const ormu::ServerCertificate shown = repos::FetchCertificate(call.in(kServer));
  call.out().Set(kCertificateSha256, svn::Utf16(shown.sha256));
  call.out().Set(Text{u"Subject"}, svn::Utf16(shown.subject));
  call.out().Set(Text{u"Issuer"}, svn::Utf16(shown.issuer));
  call.out().Set(Text{u"ValidUntil"}, svn::Utf16(shown.valid_until));
  call.out().Set(Property<bool>{u"VouchedFor"}, shown.vouched_for);
}

void TrustedMasterClassHandler::Forget(MethodCall& call) {
  if (!ormu::ForgetMaster(context().machine().home, svn::Utf8(call.key(kServer))))
    throw WMIException(WBEM_E_NOT_FOUND);
}

const MethodTable<TrustedMasterClassHandler>& TrustedMasterClassHandler::Methods() {
  static const MethodTable<TrustedMasterClassHandler> table{
      {u"Trust", &TrustedMasterClassHandler::Trust},
      {u"GetCertificate", &TrustedMasterClassHandler::GetCertificate},
      {u"Forget", &TrustedMasterClassHandler::Forget},
  };
  return table;
}

}  // namespace kelvarion
