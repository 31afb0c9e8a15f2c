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
  using ObjectList = Property<std::vector<WMIObject>>;

  // ComException "Cannot get WMI class '%s'".
  AccountClassSet(const WMINamespace& name_space, IWbemContext* context);

  WMIObject ToObject(const access::Account& account) const;
  // The class of the object decides, or one that it derives from: ComException E_INVALIDARG for an
  // object that is no account, WMIException WBEM_E_INVALID_METHOD_PARAMETERS for one without name.
  access::Account ToAccount(const WMIObject& object) const;

  // Lists of the machine's accounts, by SID.
  std::vector<WMIObject> ToWindowsAccounts(const std::vector<std::u16string>& sids) const;
  // Reads such a list. ComException WBEM_E_TYPE_MISMATCH when it is null or has null in it,
  // WMIException WBEM_E_INVALID_METHOD_PARAMETERS for an account of Subversion's.
  std::vector<std::u16string> ToSids(const WMIObject& in_params, const ObjectList& list) const;

  std::vector<WMIObject> ToObjects(const access::PermissionList& entries) const;
  // Reads a list of entries, which fails as a list of accounts does. Any access level is taken as
  // it comes, as long as it is a number.
  access::PermissionList ToEntries(const WMIObject& in_params, const ObjectList& list) const;

 private:
  WMIClass user_;
  WMIClass group_;
  WMIClass everyone_;
  WMIClass windows_account_;
  WMIClass permission_entry_;
};

}  // namespace kelvarion
