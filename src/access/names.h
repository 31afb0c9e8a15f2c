// What clients may name things. Everything here refuses with WBEM_E_INVALID_METHOD_PARAMETERS and a
// text that says what is wrong with which name.
#pragma once

#include <string>

#include "access/account.h"

namespace kelvarion::access {

// Whatever would break the users file, the groups file or a rules file, or mean something else in
// one of them.
void ValidateUserName(const std::u16string& name);
void ValidateGroupName(const std::u16string& name);
// By the account's kind; a SID is checked for its form only as far as the files need it.
void ValidateAccount(const Account& account);

void ValidatePassword(const std::u16string& password);

// A canonical path that a section of a rules file can be named by.
void ValidateRulePath(const std::u16string& path);

}  // namespace kelvarion::access
