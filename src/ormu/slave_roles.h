// What turns repositories into slaves and back. Folders are in the libraries' form.
//
// A kill between two steps leaves a repository that has its old or its new role and that MendGuard
// puts right. Failures throw SvnException.
#pragma once

#include <string>

#include "ormu/master_session.h"

namespace kelvarion::ormu {

// Makes an empty slave at `folder`, which does not exist, with the identity and the revision 0 of
// the master. A failure leaves nothing; what a kill leaves is the caller's, who has it made where
// nobody sees it and renames it when it is whole.
void MakeEmptySlave(MasterSession& master, const std::string& folder);

// A repository that nobody commits to becomes a slave, whatever its history.
void TurnIntoSlave(const std::string& folder, const std::string& server,
                   const std::string& repository, const svn::Pool& scratch);
// A master becomes a slave of this one. ORMU_ERR_DIVERGED where RequireSameHistory throws it, also
// when somebody commits before all is done.
void TurnIntoSlave(MasterSession& master, const std::string& folder);
// A slave becomes a master, with the revisions that it has; or a repository without a role. Whoever
// writes to it is waited for.
void TurnIntoMaster(const std::string& folder, const svn::Pool& scratch,
                    const svn::Cancellation& cancellation = {[] { return false; }, u""});
void TurnIntoPlain(const std::string& folder, const svn::Pool& scratch);
// A slave follows another master from now on.
void Relocate(const std::string& folder, const std::string& server, const std::string& repository,
              const svn::Pool& scratch);

}  // namespace kelvarion::ormu
