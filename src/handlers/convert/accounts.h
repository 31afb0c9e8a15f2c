// Accounts and permission entries as management objects, and back.
#pragma once

#include <vector>

#include "access/account.h"
#include "wmi/class.h"
#include "wmi/namespace.h"

namespace kelvarion {

// The classes that stand for accounts and for rules. Loaded once; only read from then on, by any
// thread.
class AccountClassSet {
 public:
  // ComException "Cannot get WMI class '%s'".
  AccountClassSet(const WMINamespace& name_space, IWbemContext* context);

  WMIObject ToObject(const access::Account& account) const;
  // The class of the object decides, or one that it derives from: ComException E_INVALIDARG for an
  // object that is no account.
  access::Account ToAccount(const WMIObject& object) const;

  std::vector<WMIObject> ToObjects(const access::PermissionList& entries) const;
  // Any access level is taken as it comes, as long as it is a number.
  access::PermissionList ToEntries(const std::vector<WMIObject>& objects) const;

 private:
  WMIClass user_;
  WMIClass group_;
  WMIClass everyone_;
  WMIClass windows_account_;
  WMIClass permission_entry_;
};

}  // namespace kelvarion
