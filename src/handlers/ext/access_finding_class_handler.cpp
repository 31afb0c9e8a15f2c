// Keys: Kind, File, Line and Subject, all compared exactly.

#include "handlers/ext/access_finding_class_handler.h"

#include "errors/exception.h"

namespace kelvarion {
namespace {

using Text = Property<std::u16string>;
using Number = Property<std::uint32_t>;

constexpr Text kKind{u"Kind"};
constexpr Text kFile{u"File"};
constexpr Number kLine{u"Line"};
constexpr Text kSubject{u"Subject"};
constexpr Number kSeverity{u"Severity"};
constexpr Text kRepositoryName{u"RepositoryName"};
constexpr Text kSection{u"Section"};
constexpr Text kMessage{u"Message"};
constexpr Text kRemedy{u"Remedy"};

const std::u16string kCancelled = u"The check of access rules was cancelled.";

}  // namespace

WMIObject AccessFindingClassHandler::Describe(const access::AccessFinding& finding) const {
  WMIObject object = SpawnInstance();
  object.Set(kKind, finding.kind);
  object.Set(kFile, finding.file);
  object.Set(kLine, static_cast<std::uint32_t>(finding.line));
  object.Set(kSubject, finding.subject);
  object.Set(kSeverity, static_cast<std::uint32_t>(finding.severity));
  if (!finding.repository.empty()) object.Set(kRepositoryName, finding.repository);
  object.Set(kSection, finding.section);
  object.Set(kMessage, finding.text);
  object.Set(kRemedy, finding.remedy);
  return object;
}

HRESULT AccessFindingClassHandler::GetObject(ParsedObjectPath& path, CallContext*, WMIObject& out) {
  const auto keys = path.Keys(kKind, kFile, kLine, kSubject);
  const auto is_meant = [&](const access::AccessFinding& finding) {
    return decltype(keys){finding.kind, finding.file, Format(u"%d", finding.line),
                          finding.subject} == keys;
  };
  access::CheckAccess(context(), {[] { return false; }, kCancelled},
                      [&](const access::AccessFinding& finding) {
                        if (!out && is_meant(finding)) out = Describe(finding);
                      });
  if (!out) throw WMIException(WBEM_E_NOT_FOUND);
  return S_OK;
}

HRESULT AccessFindingClassHandler::EnumerateInstances(CallContext*, ResponseSink& sink) {
  access::CheckAccess(
      context(), {[&] { return sink.cancelled(); }, kCancelled},
      [&](const access::AccessFinding& finding) { sink.Indicate(Describe(finding)); });
  return S_OK;
}

}  // namespace kelvarion
