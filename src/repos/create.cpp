#include "repos/create.h"

#include "repos/new_repository.h"
#include "svn/repository.h"
#include "svn/text.h"

namespace kelvarion::repos {

void CreateRepository(const ServerContext& context, const std::u16string& name) {
  const NewRepository repository(context, name, Prepared::kMayBeEmptyFolder);
  svn::CreateRepository(svn::PathFromDirent(repository.folder()), repository.pool());
  repository.WriteMissingRules();
  repository.Publish();
}

}  // namespace kelvarion::repos
