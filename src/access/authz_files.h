// The files that hold access rules, accounts and the settings of repositories: where they lie and
// how they begin.
//
// Each path is built from the repositories root as it is set at the time of the call. A repository
// is named as its folder is; a name that is not a single folder of the root is refused with
// WBEM_E_INVALID_METHOD_PARAMETERS, whatever its source.
#pragma once

#include <string>
#include <string_view>

#include "context/server_context.h"

namespace kelvarion::access {

// First in every rules file and in the groups file; in UTF-8, with CR LF line ends.
extern const std::string_view kAuthorizationHeader;
// First in the settings files of a repository.
extern const std::string_view kSettingsHeader;

std::u16string RepositoriesRoot(const ServerContext& context);

std::u16string SubversionRulesFile(const ServerContext& context, const std::u16string& repository);
std::u16string WindowsRulesFile(const ServerContext& context, const std::u16string& repository);
std::u16string GlobalRulesFile(const ServerContext& context);
std::u16string GroupsFile(const ServerContext& context);
std::u16string UsersFile(const ServerContext& context);
std::u16string DeletionsFile(const ServerContext& context);
std::u16string DelegationFile(const ServerContext& context, const std::u16string& repository);
std::u16string ReplicationFile(const ServerContext& context, const std::u16string& repository);
std::u16string RepositoryLockFile(const ServerContext& context, const std::u16string& repository);
std::u16string GlobalLockFile(const ServerContext& context);

// The folder of a repository, and the one in it that holds its rules and settings.
std::u16string RepositoryFolder(const ServerContext& context, const std::u16string& repository);
std::u16string ConfigurationFolder(const ServerContext& context, const std::u16string& repository);

}  // namespace kelvarion::access
