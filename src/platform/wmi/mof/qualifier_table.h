// The qualifiers that a schema may use, and what their use says.
#pragma once

#include "platform/wmi/definition.h"
#include "platform/wmi/mof/declarations.h"

namespace kelvarion::platform::wmi::mof {

struct QualifierRule {
  std::u16string name;
  CIMTYPE type = CIM_BOOLEAN;
  Scopes scopes = kAnywhere;
  bool to_subclass = true;
  bool overridable = true;
  // Of a qualifier that is used without a value.
  Variant default_value = Variant::MakeNull();
};

class QualifierTable {
 public:
  // The built-in qualifiers, replaced and joined by the declared ones. Throws CompileError for one
  // that is declared twice.
  explicit QualifierTable(const std::vector<QualifierDeclaration>& declarations);

  // `inherited` with the used ones over them. Throws CompileError for an unknown qualifier, one out
  // of place, one used twice, a value of the wrong type, and a value other than an inherited one
  // that may not be overridden.
  Qualifiers Resolve(const std::vector<QualifierUse>& uses, Scopes scope,
                     Qualifiers inherited) const;

 private:
  const QualifierRule& Find(const QualifierUse& use, Scopes scope) const;

  std::vector<QualifierRule> rules_;
};

}  // namespace kelvarion::platform::wmi::mof
