// The qualifiers of a class, or of one of its properties or methods, as clients see them.
#pragma once

#include "platform/wmi/definition.h"

namespace kelvarion::platform::wmi {

// An object whose definition the qualifiers are part of.
class QualifierOwner : public IWbemClassObject {
 public:
  static constexpr Guid kIid = IWbemClassObject::kIid;

  virtual const ClassDefinition& definition() const = 0;
  // The definition for changing it; null when it cannot be changed.
  virtual ClassDefinition* Writable() = 0;

 protected:
  ~QualifierOwner() = default;
};

// Which qualifiers of the definition are meant.
struct QualifierPlace {
  enum class Kind { kClass, kProperty, kMethod };
  Kind kind = Kind::kClass;
  std::u16string name;
};

// WBEM_E_NOT_FOUND when the owner has no such property or method. What is put into the set shows in
// the owner; the sets of instances cannot be changed: WBEM_E_NOT_SUPPORTED.
HRESULT MakeQualifierSet(QualifierOwner& owner, const QualifierPlace& place,
                         IWbemQualifierSet** out);

}  // namespace kelvarion::platform::wmi
