// What clients may name things.
//
// A problem is told as a text for people without a full stop; empty when there is none. Names that
// a file has already may be odder than this: administrators edit files, and what they made must
// remain removable.
#pragma once

#include <string>

#include "access/account.h"

namespace kelvarion::access {

// Whatever would break the users file, the groups file or a rules file, or mean something else in
// one of them.
std::u16string UserNameProblem(const std::u16string& name);
std::u16string GroupNameProblem(const std::u16string& name);
// By the account's kind; a SID only as far as a rules file needs it.
std::u16string AccountProblem(const Account& account);

std::u16string PasswordProblem(const std::u16string& password);

// The path must be canonical, and a section of a rules file can be named by it.
std::u16string RulePathProblem(const std::u16string& path);

// Throws WMIException WBEM_E_INVALID_METHOD_PARAMETERS when there is a problem.
void RefuseIf(const std::u16string& problem);

}  // namespace kelvarion::access
