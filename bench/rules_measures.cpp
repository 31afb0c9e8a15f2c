// Rules files of the size that large servers have. One parse of the rules file by the libraries'
// own reader is what each measure is compared to, also where we read the files of users and groups
// too.
#include <svn_config.h>

#include <fstream>

#include "access/authz_files.h"
#include "access/effective/effective_access.h"
#include "access/permission_model.h"
#include "bench/measures.h"
#include "platform/text/encoding.h"
#include "repos/create.h"
#include "svn/error.h"
#include "tests/support/test_home.h"

namespace kelvarion::bench {
namespace {

constexpr int kSections = 500;
constexpr int kRulesEach = 20;
constexpr int kUsers = 5000;
constexpr int kGroups = 100;

std::string Native(const std::u16string& path) { return platform::Utf8ForDisplay(path); }

std::string User(int number) { return "user" + std::to_string(number % kUsers); }

void WriteAccounts(const ServerContext& context) {
  std::ofstream users(Native(access::UsersFile(context)), std::ios::binary);
  for (int i = 0; i < kUsers; ++i) users << User(i) << ":$apr1$saltsalt$0123456789012345678901\r\n";
  std::ofstream groups(Native(access::GroupsFile(context)), std::ios::binary);
  groups << "[groups]\r\n";
  // Every tenth one holds the nine after it as well.
  for (int i = 0; i < kGroups; ++i) {
    groups << "group" << i << "=";
    for (int member = 0; member < kUsers / kGroups; ++member)
      groups << User(i * (kUsers / kGroups) + member) << ",";
    for (int next = i + 1; i % 10 == 0 && next < i + 10; ++next) groups << "@group" << next << ",";
    groups << "\r\n";
  }
}

void WriteRules(const std::string& file) {
  std::ofstream rules(file, std::ios::binary);
  for (int i = 0; i < kSections; ++i) {
    rules << (i == 0   ? "[/]"
              : i == 1 ? "[/trunk]"
                       : "[/trunk/folder" + std::to_string(i) + "]")
          << "\r\n";
    for (int rule = 0; rule < kRulesEach; ++rule) {
      if (rule < 5)
        rules << "@group" << (i * 7 + rule * 10) % kGroups << "=rw\r\n";
      else
        rules << User(i * 31 + rule * 17) << (rule % 2 ? "=r" : "=rw") << "\r\n";
    }
    rules << "\r\n";
  }
}

}  // namespace

void MeasureRules(std::vector<Row>& rows) {
  const testing::TestHome home;
  const ServerContext& context = home.context();
  repos::CreateRepository(context, u"rules");
  const std::string file = Native(access::SubversionRulesFile(context, u"rules"));
  WriteAccounts(context);
  WriteRules(file);
  const access::RepositoryPath where{u"rules", u"/trunk/folder77"};
  const auto theirs = [&] {
    const svn::Pool pool(context.root_pool());
    svn_config_t* config = nullptr;
    svn::Check(svn_config_read3(&config, file.c_str(), TRUE, TRUE, TRUE, pool));
  };
  const auto measure = [&](const char* name, const std::function<void()>& ours) {
    const Pair pair = MedianPair(25, ours, theirs);
    rows.push_back(
        {std::string(name) + " / svn_config_read3 of 10,000 rules", pair.ours, pair.theirs, 2});
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
