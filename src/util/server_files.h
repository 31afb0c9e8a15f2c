// What the server's own files in the repositories root and in each repository are called.
#pragma once

#include <string_view>

namespace kelvarion::server_files {

// In the repositories root.
inline constexpr std::string_view kUsers = "htpasswd";
inline constexpr std::string_view kGroups = "groups.conf";
inline constexpr std::string_view kGlobalRules = "Kelvarion-GlobalWinAuthz.ini";
inline constexpr std::string_view kGlobalLock = "Kelvarion-Global.lck";
// Users and groups whose deletion has begun (access/purge.h).
inline constexpr std::string_view kDeletions = "Kelvarion-Deletions.txt";
// A folder that is no repository: those that are not whole lie in it (svn/work_folder.h).
inline constexpr std::string_view kWorkFolder = ".kelvarion";

// In the folder conf of a repository.
inline constexpr std::string_view kSubversionRules = "Kelvarion-SvnAuthz.ini";
inline constexpr std::string_view kWindowsRules = "Kelvarion-WinAuthz.ini";
inline constexpr std::string_view kDelegation = "Kelvarion-Delegation.ini";
inline constexpr std::string_view kReplication = "Kelvarion-Replication.ini";
inline constexpr std::string_view kLock = "Kelvarion.lck";

}  // namespace kelvarion::server_files
