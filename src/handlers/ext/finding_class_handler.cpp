// Keys: Check, Location and Message, all compared exactly.

#include "handlers/ext/finding_class_handler.h"

#include "doctor/doctor.h"
#include "handlers/ps/progress_adapters.h"

namespace kelvarion {
namespace {

using Text = Property<std::u16string>;

constexpr Text kCheck{u"Check"};
constexpr Text kLocation{u"Location"};
constexpr Text kMessage{u"Message"};
constexpr Property<std::uint32_t> kSeverity{u"Severity"};
constexpr Text kRemedy{u"Remedy"};
constexpr Property<bool> kRepairable{u"Repairable"};
constexpr Property<bool> kRepaired{u"Repaired"};
constexpr Text kOutcome{u"Outcome"};
constexpr Property<std::vector<WMIObject>> kFindings{u"Findings"};

// Tells now and then which check or repository is being looked at.
class Progress final : ProgressAdapter {
 public:
  explicit Progress(ResponseSink& sink) : ProgressAdapter(sink, u"Examination", RecordTimer::Now) {}
  void operator()(const std::u16string& what, std::size_t done, std::size_t total) {
    if (timer_.IsDue()) Write(what, u"Checking", Percent(done, total));
  }
};

doctor::Visitor Visiting(Progress& progress, const std::function<bool()>& cancelled,
                         const std::function<void(const doctor::Finding&)>& found) {
  return {found, std::ref(progress), {cancelled, u"The examination was cancelled."}};
}

}  // namespace

WMIObject FindingClassHandler::Describe(const doctor::Finding& finding) const {
  WMIObject object = SpawnInstance();
  object.Set(kCheck, finding.check);
  object.Set(kLocation, finding.where);
  object.Set(kMessage, finding.text);
  object.Set(kSeverity, static_cast<std::uint32_t>(finding.severity));
  object.Set(kRemedy, finding.remedy);
  object.Set(kRepairable, finding.repairable);
  object.Set(kRepaired, finding.repaired);
  object.Set(kOutcome, finding.outcome);
  return object;
}

HRESULT FindingClassHandler::GetObject(ParsedObjectPath& path, CallContext*, WMIObject& out) {
  const auto keys = path.Keys(kCheck, kLocation, kMessage);
  const auto found = [&](const doctor::Finding& finding) {
    if (!out && decltype(keys){finding.check, finding.where, finding.text} == keys)
      out = Describe(finding);
  };
  doctor::Examine(context(), doctor::Extent::kAll, doctor::Repairs::kNo,
                  {found, nullptr, {[] { return false; }, u""}});
  if (!out) throw WMIException(WBEM_E_NOT_FOUND);
  return S_OK;
}

HRESULT FindingClassHandler::EnumerateInstances(CallContext*, ResponseSink& sink) {
  Progress progress(sink);
  doctor::Examine(context(), doctor::Extent::kAll, doctor::Repairs::kNo,
                  Visiting(
                      progress, [&] { return sink.cancelled(); },
                      [&](const doctor::Finding& finding) { sink.Indicate(Describe(finding)); }));
  return S_OK;
}

void FindingClassHandler::Repair(MethodCall& call) {
  Progress progress(call.sink());
  std::vector<WMIObject> findings;
  doctor::Examine(
      context(), doctor::Extent::kAll, doctor::Repairs::kYes,
      Visiting(
          progress, [&] { return call.cancel().IsCancelled(); },
          [&](const doctor::Finding& finding) { findings.push_back(Describe(finding)); }));
  call.out().Set(kFindings, findings);
}

const MethodTable<FindingClassHandler>& FindingClassHandler::Methods() {
  static const MethodTable<FindingClassHandler> table{{u"Repair", &FindingClassHandler::Repair}};
  return table;
}

}  // namespace kelvarion
