// Key: Name, compared exactly. Passwords go in, never out.

#include "handlers/user_class_handler.h"

#include <algorithm>

#include "access/users.h"

namespace kelvarion {
namespace {

constexpr Property<std::u16string> kName{u"Name"};
constexpr Property<std::u16string> kPassword{u"Password"};

}  // namespace

WMIObject UserClassHandler::Describe(const std::u16string& name) const {
  WMIObject user = SpawnInstance();
  user.Set(kName, name);
  return user;
}

HRESULT UserClassHandler::GetObject(ParsedObjectPath& path, CallContext*, WMIObject& out) {
  const std::u16string name = path.Key(kName);
  if (!std::ranges::count(access::ListUsers(context()), name)) throw WMIException(WBEM_E_NOT_FOUND);
  out = Describe(name);
  return S_OK;
}

HRESULT UserClassHandler::EnumerateInstances(CallContext*, ResponseSink& sink) {
  for (const std::u16string& name : access::ListUsers(context())) sink.IndicateNext(Describe(name));
  return S_OK;
}

void UserClassHandler::Create(MethodCall& call) {
  const std::u16string name = call.in(kName);
  if (!access::CreateUser(context(), name, call.in(kPassword)))
    throw WMIException(HresultFromWin32(ERROR_ALREADY_EXISTS), u"The user '%s' exists", name);
}

void UserClassHandler::Delete(MethodCall& call) {
  const std::u16string name = call.in(kName);
  if (!access::DeleteUser(context(), name))
    throw WMIException(WBEM_E_NOT_FOUND, u"There is no user '%s'", name);
}

// A user that does not exist is left alone: setting a password is no way to find out who exists.
void UserClassHandler::SetPassword(MethodCall& call) {
  access::SetPassword(context(), call.key(kName), call.in(kPassword));
}

const MethodTable<UserClassHandler>& UserClassHandler::Methods() {
  static const MethodTable<UserClassHandler> table{
      {u"Create", &UserClassHandler::Create},
      {u"Delete", &UserClassHandler::Delete},
      {u"SetPassword", &UserClassHandler::SetPassword},
  };
  return table;
}

}  // namespace kelvarion
