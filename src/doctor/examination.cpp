#include "doctor/examination.h"

#include "errors/exception.h"
#include "platform/text/encoding.h"
#include "services/server_service.h"

namespace kelvarion::doctor {

Examination::Examination(const ServerContext& context, Repairs repairs, const Visitor& visitor)
    : context_(context), repairs_(repairs), visitor_(visitor) {
  platform::ServiceConfig config;
  if (context.machine().services->QueryConfig(services::kServerServiceName, config) !=
      ERROR_SUCCESS)
    return;
  web_account_name_ = config.start_name;
  web_account_ = platform::AccountAccess::Of(web_account_name_);
}

bool Examination::Run(const char16_t* check, const std::u16string& where,
                      const std::function<void()>& body) {
  visitor_.cancellation.Check();
  check_ = check;
  found_ = false;
  try {
    body();
  } catch (const Exception& exception) {
    visitor_.cancellation.Check();
    Report(Severity::kError, where, Format(u"This cannot be checked: %s", exception.Message()),
           u"Correct what the message says, then check again.");
  } catch (const std::exception& exception) {
    Report(Severity::kError, where, Format(u"This cannot be checked: %s", Shown(exception.what())),
           u"Correct what the message says, then check again.");
  }
  return !found_;
}

void Examination::Report(Severity severity, const std::u16string& where, const std::u16string& text,
                         const std::u16string& remedy, const Repair& repair) {
  Finding finding;
  finding.severity = severity;
  finding.where = where;
  finding.text = text;
  finding.remedy = remedy;
  Report(std::move(finding), repair);
}

void Examination::Report(Finding finding, const Repair& repair) {
  found_ = true;
  finding.check = check_;
  finding.repairable = repair != nullptr;
  if (repair && repairs_ == Repairs::kYes) {
    try {
      finding.outcome = repair();
      finding.repaired = true;
    } catch (const Exception& exception) {
      finding.outcome = Format(u"The repair failed: %s", exception.Message());
    }
  }
  visitor_.found(finding);
}

std::u16string Shown(const std::string& text) { return platform::Utf16ForDisplay(text); }

}  // namespace kelvarion::doctor
