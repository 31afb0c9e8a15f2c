// The namespace that a provider serves: its classes, and the parser of object paths.
#pragma once

#include "platform/com/unknown.h"
#include "platform/wmi/interfaces.h"
#include "wmi/class.h"
#include "wmi/object_path.h"

namespace kelvarion {

// One per provider; safe from any thread.
class WMINamespace {
 public:
  // ComException "Cannot create WMI object path parser".
  explicit WMINamespace(IWbemServices* services);

  // ComException "Cannot get WMI class '%s'". The context may be null.
  WMIClass LoadClass(const std::u16string& name, IWbemContext* context) const;

  // WMIException WBEM_E_INVALID_OBJECT_PATH "Cannot parse WMI object path '%s'".
  ParsedObjectPath ParsePath(const std::u16string& text) const;

  // For building a path's text: set the class name and the keys.
  ParsedObjectPath NewPath() const;

 private:
  ComPtr<IWbemPath> CreatePath() const;

  ComPtr<IWbemServices> services_;
  ComPtr<IClassFactory> path_factory_;
};

}  // namespace kelvarion
