// The files of rules and settings that a repository begins with, beside what the libraries make.
#pragma once

#include <string>

#include "svn/pool.h"

namespace kelvarion::repos {

enum class Rules {
  kBoth,            // For either way in which the server knows its users.
  kSubversionOnly,  // Of slaves: the others are their master's.
};

// Whichever rules file of the repository in `folder` is missing is written, without any rules.
// Every file is tried. Throws SvnException with what failed.
void WriteMissingRules(const std::string& folder, Rules rules, const svn::Pool& scratch);
// Allows replication, for nobody in particular: for the partners of the server alone.
void WriteFirstReplicationSettings(const std::string& folder, const svn::Pool& scratch);

}  // namespace kelvarion::repos
