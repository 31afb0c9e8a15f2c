#include "handlers/convert/accounts.h"

#include "errors/exception.h"

namespace kelvarion {
namespace {

using access::Account;
using access::AccountKind;

constexpr const char16_t* kUserClass = u"Kelvarion_User";
constexpr const char16_t* kGroupClass = u"Kelvarion_Group";
constexpr const char16_t* kEveryoneClass = u"Kelvarion_Everyone";
constexpr const char16_t* kWindowsAccountClass = u"Kelvarion_WindowsAccount";

constexpr Property<std::u16string> kName{u"Name"};
constexpr Property<std::u16string> kSid{u"SID"};
constexpr Property<WMIObject> kAccount{u"Account"};
constexpr Property<std::uint32_t> kAccessLevel{u"AccessLevel"};

bool InheritsFrom(const WMIObject& object, const char16_t* class_name) {
  const HRESULT hr = object.object()->InheritsFrom(class_name);
  ThrowIfFailed(hr);
  return hr == S_OK;
}

WMIObject Named(const WMIClass& account_class, const Property<std::u16string>& property,
                const std::u16string& text) {
  WMIObject object = account_class.SpawnInstance();
  object.Set(property, text);
  return object;
}

// The property with its failure in words: the code alone does not tell a client what to mend.
template <class T>
T Need(const WMIObject& object, const Property<T>& property, FormatString<const char16_t*> demand) {
  try {
    return object.Get(property);
  } catch (const ComException& failure) {
    throw ComException(failure.hresult(), demand, property.name);
  }
}

std::u16string NameIn(const WMIObject& object, const Property<std::u16string>& property) {
  if (object.IsNull(property)) {
    throw WMIException(WBEM_E_INVALID_METHOD_PARAMETERS, u"An object of class '%s' has no '%s'",
                       object.ClassName(), property.name);
  }
  return object.Get(property);
}

}  // namespace

AccountClassSet::AccountClassSet(const WMINamespace& name_space, IWbemContext* context)
    : user_(name_space.LoadClass(kUserClass, context)),
      group_(name_space.LoadClass(kGroupClass, context)),
      everyone_(name_space.LoadClass(kEveryoneClass, context)),
      windows_account_(name_space.LoadClass(kWindowsAccountClass, context)),
      permission_entry_(name_space.LoadClass(u"Kelvarion_PermissionEntry", context)) {}

WMIObject AccountClassSet::ToObject(const Account& account) const {
  switch (account.kind) {
    case AccountKind::SubversionUser:
      return Named(user_, kName, account.name);
    case AccountKind::SubversionGroup:
      return Named(group_, kName, account.name);
    case AccountKind::WindowsAccount:
      return Named(windows_account_, kSid, account.name);
    case AccountKind::Everyone:
      return Named(everyone_, kName, u"Everyone");
  }
  throw ComException(E_INVALIDARG);
}

Account AccountClassSet::ToAccount(const WMIObject& object) const {
  if (InheritsFrom(object, kUserClass)) return Account::User(NameIn(object, kName));
  if (InheritsFrom(object, kGroupClass)) return Account::Group(NameIn(object, kName));
  if (InheritsFrom(object, kEveryoneClass)) return Account::Everyone();
  if (InheritsFrom(object, kWindowsAccountClass)) return Account::Windows(NameIn(object, kSid));
  throw ComException(E_INVALIDARG, u"An object of class '%s' is not an account",
                     object.ClassName());
}

std::vector<WMIObject> AccountClassSet::ToWindowsAccounts(
    const std::vector<std::u16string>& sids) const {
  std::vector<WMIObject> objects;
  objects.reserve(sids.size());
  for (const std::u16string& sid : sids) objects.push_back(ToObject(Account::Windows(sid)));
  return objects;
}

std::vector<std::u16string> AccountClassSet::ToSids(const WMIObject& in_params,
                                                    const ObjectList& list) const {
  std::vector<std::u16string> sids;
  for (const WMIObject& object : Need(in_params, list, u"'%s' must be a list of accounts")) {
    Account account = ToAccount(object);
    if (account.kind != AccountKind::WindowsAccount) {
      throw WMIException(WBEM_E_INVALID_METHOD_PARAMETERS,
                         u"An object of class '%s' is not an account of the machine; only objects "
                         u"of class '%s' are",
                         object.ClassName(), kWindowsAccountClass);
    }
    sids.push_back(std::move(account.name));
  }
  return sids;
}

std::vector<WMIObject> AccountClassSet::ToObjects(const access::PermissionList& entries) const {
  std::vector<WMIObject> objects;
  objects.reserve(entries.size());
  for (const access::PermissionEntry& entry : entries) {
    WMIObject object = permission_entry_.SpawnInstance();
    object.Set(kAccount, ToObject(entry.account));
    object.Set(kAccessLevel, static_cast<std::uint32_t>(entry.access));
    objects.push_back(std::move(object));
  }
  return objects;
}

access::PermissionList AccountClassSet::ToEntries(const WMIObject& in_params,
                                                  const ObjectList& list) const {
  access::PermissionList entries;
  for (const WMIObject& object : Need(in_params, list, u"'%s' must be a list of entries")) {
    const Account account =
        ToAccount(Need(object, kAccount, u"'%s' of an entry must be an object"));
    entries.push_back({account, static_cast<access::AccessLevel>(object.Get(kAccessLevel))});
  }
  return entries;
}

}  // namespace kelvarion
