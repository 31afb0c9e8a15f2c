#include "repos/master_name.h"

#include "ormu/trust.h"
#include "repos/names.h"
#include "svn/text.h"

namespace kelvarion::repos {

MasterName::MasterName(const MasterAddress& master)
    : server_(ormu::CanonicalServer(svn::Utf8(master.server))),
      repository_(svn::Utf8((ValidateRepositoryName(master.repository), master.repository))) {}

}  // namespace kelvarion::repos
