// What a repository may be called.
#pragma once

#include <string>

namespace kelvarion::repos {

// Throws WMIException WBEM_E_INVALID_METHOD_PARAMETERS, with a text that says what is wrong, unless
// a repository of that name stays inside the repositories root, can be reached by URL, can be kept
// by Windows as well and does not collide with the server's own files. Touches nothing.
void ValidateRepositoryName(const std::u16string& name);

}  // namespace kelvarion::repos
