// The users of Subversion authentication and their passwords.
//
// Names are compared exactly. Changes run one at a time, across threads and processes; reading
// waits for nothing. A name or password that the users file cannot carry, or that would mean
// something else in a rules file, is refused with WBEM_E_INVALID_METHOD_PARAMETERS before anything
// is changed. A users file with a malformed line fails every operation with SvnException.
#pragma once

#include <string>
#include <vector>

#include "context/server_context.h"

namespace kelvarion::access {

// In the order of the file.
std::vector<std::u16string> ListUsers(const ServerContext& context);

// False when there is a user of that name.
bool CreateUser(const ServerContext& context, const std::u16string& name,
                const std::u16string& password);

// False, and nothing is changed, when there is no such user.
bool SetPassword(const ServerContext& context, const std::u16string& name,
                 const std::u16string& password);

// Also takes the user out of all groups and out of the rules of every repository. False when there
// is no such user; what an interrupted deletion of the name left goes then. When the rules of some
// repositories could not be changed, the user is gone all the same and SimpleException says how
// many; the event log says which and why.
bool DeleteUser(const ServerContext& context, const std::u16string& name);

}  // namespace kelvarion::access
