// A management class: spawning objects of it and reading its qualifiers.
#pragma once

#include "wmi/object.h"

namespace kelvarion {

class WMIClass;

// Lets an object refer to a class that another one owns.
class IcWMIClassRef {
 public:
  virtual WMIClass& GetClass() = 0;
  virtual const WMIClass& GetClass() const = 0;

 protected:
  ~IcWMIClassRef() = default;
};

// Loaded by WMINamespace::LoadClass; only read from then on, by any thread. Failures are
// ComExceptions with the call's code and a message that names the class.
class WMIClass : public WMIObject, public IcWMIClassRef {
 public:
  using WMIObject::WMIObject;

  WMIClass& GetClass() override { return *this; }
  const WMIClass& GetClass() const override { return *this; }

  // "Cannot spawn instance of class '%s'".
  WMIObject SpawnInstance() const;
  // "Cannot spawn derived class of '%s'". Setting __CLASS of the result names it.
  WMIObject SpawnDerivedClass() const;
  // An empty object for the results of a method: "Cannot get signature for WMI method '%s.%s'".
  WMIObject SpawnMethodOutput(const std::u16string& method) const;
  // Whether this class is, or derives from, the class of that name.
  bool InheritsFrom(const std::u16string& ancestor) const;

  // "Cannot get qualifier set for class '%s'".
  ComPtr<IWbemQualifierSet> Qualifiers() const;
  // "Cannot get qualifier '%s'"; WBEM_E_TYPE_MISMATCH when it is no string.
  std::u16string QualifierText(const std::u16string& name) const;
};

}  // namespace kelvarion
