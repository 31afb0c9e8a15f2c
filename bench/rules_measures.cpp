// Rules files of the size that large servers have. One parse of the rules file by the libraries'
// own reader is what each measure is compared to, also where we read the files of users and groups
// too.
#include <svn_config.h>

#include "access/authz_files.h"
#include "access/effective/effective_access.h"
#include "access/permission_model.h"
#include "bench/access_files.h"
#include "bench/measures.h"
#include "platform/text/encoding.h"
#include "repos/create.h"
#include "svn/error.h"
#include "tests/support/test_home.h"

namespace kelvarion::bench {
namespace {

std::string Native(const std::u16string& path) { return platform::Utf8ForDisplay(path); }

}  // namespace

void MeasureRules(std::vector<Row>& rows) {
  const testing::TestHome home;
  const ServerContext& context = home.context();
  repos::CreateRepository(context, u"rules");
  const std::string file = Native(access::SubversionRulesFile(context, u"rules"));
  WriteUsers(Native(access::UsersFile(context)));
  WriteGroups(Native(access::GroupsFile(context)));
  WriteRules(file);
  const access::RepositoryPath where{u"rules", u"/trunk/folder77"};
  const auto theirs = [&] {
    const svn::Pool pool(context.root_pool());
    svn_config_t* config = nullptr;
    svn::Check(svn_config_read3(&config, file.c_str(), TRUE, TRUE, TRUE, pool));
  };
  const auto measure = [&](const char* name, const std::function<void()>& ours) {
    rows.push_back({name, "svn_config_read3 of 10,000 rules", MedianPair(25, ours, theirs), 2});
  };
  const auto explain = [&](const std::optional<std::u16string>& account) {
    access::ExplainAccess(context, where, account);
  };
  bool write = false;
  measure("getting a path's rules", [&] { access::GetPathPermissions(context, where); });
  measure("setting a path's rules", [&] {
    write = !write;
    access::AddPermission(context, where, access::Account::User(u"user7"),
                          write ? access::AccessLevel::ReadWrite : access::AccessLevel::ReadOnly,
                          access::Overwrite::kYes);
  });
  measure("explain, one user", [&] { explain(u"user4711"); });
  measure("explain, 5,000 users", [&] { explain(std::nullopt); });
}

}  // namespace kelvarion::bench
