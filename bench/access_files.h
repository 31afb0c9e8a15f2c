// Files of access control of the size that large servers have.
#pragma once

#include <string>

namespace kelvarion::bench {

// 5,000 users.
void WriteUsers(const std::string& path);
// 100 groups of 50 of those users; every tenth group holds the nine after it as well.
void WriteGroups(const std::string& path);
// Whose rules a file holds: Subversion's own accounts, or accounts of the machine, by SID.
enum class Accounts { kSubversion, kMachine };
// 10,000 rules in 500 sections, a quarter of them for groups.
void WriteRules(const std::string& path, Accounts accounts = Accounts::kSubversion);

}  // namespace kelvarion::bench
