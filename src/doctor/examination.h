// What the checks work with: one run of the examination.
#pragma once

#include <functional>
#include <optional>
#include <string>

#include "context/server_context.h"
#include "doctor/doctor.h"
#include "platform/security/account_access.h"

namespace kelvarion::doctor {

// Does away with what was found and says what it did; what it throws says why it could not.
using Repair = std::function<std::u16string()>;

class Examination {
 public:
  Examination(const ServerContext& context, Repairs repairs, const Visitor& visitor);

  const ServerContext& context() const { return context_; }
  // UTF-8 paths.
  const std::string& home() const { return context_.machine().home; }
  std::string InHome(const std::string& relative) const { return home() + "/" + relative; }

  // The account that the web server's workers run as; null when the machine does not know it.
  platform::AccountAccess* web_account() { return web_account_ ? &*web_account_ : nullptr; }
  const std::u16string& web_account_name() const { return web_account_name_; }

  // Runs one check; its own failure becomes a finding about `where`. False when there are findings.
  bool Run(const char16_t* check, const std::u16string& where, const std::function<void()>& body);

  // To be called by the check that runs.
  void Report(Severity severity, const std::u16string& where, const std::u16string& text,
              const std::u16string& remedy, const Repair& repair = nullptr);
  // The same for what another part of the program has found.
  void Report(Finding finding, const Repair& repair = nullptr);

  const Visitor& visitor() const { return visitor_; }

 private:
  const ServerContext& context_;
  Repairs repairs_;
  const Visitor& visitor_;
  const char16_t* check_ = u"";
  bool found_ = false;  // Whether the check that runs has reported something.
  std::u16string web_account_name_;
  std::optional<platform::AccountAccess> web_account_;
};

// A path or a text that came from the system as UTF-8, for showing.
std::u16string Shown(const std::string& text);

}  // namespace kelvarion::doctor
