// A repository in the making.
#pragma once

#include <string>

#include "context/server_context.h"
#include "repos/first_files.h"
#include "svn/pool.h"
#include "svn/work_folder.h"

namespace kelvarion::repos {

enum class Prepared {
  kRefuse,
  kMayBeEmptyFolder,  // A folder of exactly the name that is empty becomes the repository.
};

// Throws as ValidateRepositoryName does; SimpleException when a name exists that differs only in
// letter case; SvnException when something has the name.
void RequireFreeName(const ServerContext& context, const std::u16string& name, Prepared prepared);

// Until it is published a new repository lies where neither the listing nor the web server sees it;
// it then appears whole, by one rename. Unless published, nothing of it is left: what a killed
// process leaves is removed by the next operation of its kind.
class NewRepository {
 public:
  // Refuses a name that is taken, as RequireFreeName does, before any work is done for it.
  NewRepository(const ServerContext& context, std::u16string name, Prepared prepared);

  // Where to make it; nothing is there at first. The libraries' form.
  const std::string& folder() const { return work_.repository(); }
  void WriteMissingRules(Rules rules = Rules::kBoth) const {
    repos::WriteMissingRules(folder(), rules, pool_);
  }
  // Gives the repository its name, or throws as the constructor does when it was taken meanwhile.
  void Publish() const;
  // Takes the name away again, for a repository that turns out to be of no use.
  void Withdraw() const;

  const svn::Pool& pool() const { return pool_; }
  svn::WorkFolder& work() { return work_; }

 private:
  const ServerContext& context_;
  std::u16string name_;
  Prepared prepared_;
  svn::Pool pool_;
  svn::WorkFolder work_;
};

}  // namespace kelvarion::repos
