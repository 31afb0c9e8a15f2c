// What keeps clients from changing a slave, whichever way they come.
//
// Hooks name the master and refuse; without them, since administrators delete hooks, the lock that
// every change needs cannot be taken: a folder stands in its place while nobody replicates.
// Repositories are named by their folders, in the libraries' form; failures throw SvnException.
#pragma once

#include <memory>
#include <string>

#include "platform/files/files.h"
#include "svn/cancellation.h"
#include "svn/pool.h"

namespace kelvarion::ormu {

// Puts the guard of any repository in the state that its role asks for, and removes what work that
// was killed left. Cheap when all is well. Leaves a slave alone that is being written to just now.
void MendGuard(const std::string& folder, const svn::Pool& scratch);

// Does so for all repositories of the root, as far as it can. Throws when the root cannot be read.
void MendGuards(const std::u16string& root, const svn::Pool& scratch);

// Whether somebody has the right to change the slave just now.
bool HasWriter(const std::string& folder);

// The right to change a slave, or what role a repository has, while it lives: one at a time in all
// processes, waiting for others. Nobody gets it who is cancelled by then. What a killed one left is
// mended first. A repository that is a slave afterwards is guarded again, as far as the process
// lives to see to it.
class SlaveWriteAccess {
 public:
  SlaveWriteAccess(const std::string& folder, const svn::Cancellation& cancellation,
                   const svn::Pool& parent);
  ~SlaveWriteAccess();
  SlaveWriteAccess(const SlaveWriteAccess&) = delete;
  SlaveWriteAccess& operator=(const SlaveWriteAccess&) = delete;

  // Puts the guard in the state that the role asks for now.
  void Mend();

 private:
  std::string folder_;
  svn::Pool pool_;
  std::unique_ptr<platform::FileLock> lock_;
};

// The two halves of the guard, for whoever changes the role as well. Hook programs of the
// administrator's own are put aside and brought back.
void InstallGuardHooks(const std::string& folder, const svn::Pool& scratch);
void RemoveGuardHooks(const std::string& folder, const svn::Pool& scratch);
void CloseStore(const std::string& folder);
void OpenStore(const std::string& folder);

}  // namespace kelvarion::ormu
