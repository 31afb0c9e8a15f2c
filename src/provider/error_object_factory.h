// The objects in which management tools show a failure to their user.
#pragma once

#include "errors/exception.h"
#include "wmi/class.h"
#include "wmi/namespace.h"

namespace kelvarion {

// Its classes are loaded once and only read from then on; safe from any thread. An error object is
// itself a new class, derived from the error class and named CIM_Error, as tools expect it.
class ErrorObjectFactory {
 public:
  // ComException "Cannot get WMI class '%s'".
  ErrorObjectFactory(const WMINamespace& name_space, IWbemContext* context);

  // Both throw ComException when a property cannot be set.
  WMIObject BuildSimple(HRESULT status, const std::u16string& message) const;
  WMIObject BuildExtended(HRESULT status, const LocalServerAdminException& exception) const;

 private:
  void AddCimPart(WMIObject& error, HRESULT status, const std::u16string& message) const;

  WMIClass error_class_;
  WMIClass extended_error_class_;
  WMIClass wmi_error_class_;
};

}  // namespace kelvarion
