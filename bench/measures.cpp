#include "bench/measures.h"

#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <thread>

#include "access/authz_files.h"
#include "access/ini_document.h"
#include "access/permission_model.h"
#include "access/users.h"
#include "platform/text/encoding.h"
#include "repos/create.h"
#include "repos/repository_store.h"
#include "svn/config_file.h"
#include "tests/provider_host/provider_host.h"
#include "tests/support/test_home.h"

namespace kelvarion::bench {
namespace {

using testing::ProviderHost;
using testing::TestHome;

std::u16string Numbered(const char16_t* prefix, int number) {
  return prefix + platform::Utf16ForDisplay(std::to_string(number));
}

std::string Native(const std::u16string& path) { return platform::Utf8ForDisplay(path); }

}  // namespace

void MeasureDispatch(std::vector<Row>& rows) {
  const TestHome home;
  const ProviderHost host(home.machine());
  constexpr int kRequests = 20000;
  constexpr double kAim = 20e-6;
  const auto requests = [&](int count) {
    for (int i = 0; i < count; ++i)
      if (host.Get(u"Kelvarion_VersionInfo=@").objects.size() != 1)
        throw std::runtime_error("the provider does not answer");
  };
  rows.push_back({"dispatch of a request, one thread",
                  "",
                  {Median(5, [&] { requests(kRequests); }) / kRequests},
                  kAim});
  const double two = Median(5, [&] {
    std::jthread other([&] { requests(kRequests / 2); });
    requests(kRequests / 2);
  });
  rows.push_back({"dispatch of a request, two threads", "", {two / kRequests}, kAim});
}

void MeasureEnumeration(std::vector<Row>& rows) {
  const TestHome home;
  const ProviderHost host(home.machine());
  const int count = Quick() ? 50 : 1000;
  std::vector<std::string> paths;
  for (int i = 0; i < count; ++i) {
    const std::u16string name = Numbered(u"repository", i);
    repos::CreateRepository(home.context(), name);
    paths.push_back(Native(repos::GetRepositoryPath(home.context(), name)));
  }
  const Pair pair = MedianPair(
      3, [&] { host.Enumerate(u"Kelvarion_Repository"); },
      [&] {
        for (const std::string& path : paths) Run({"svnadmin", "info", path});
      });
  rows.push_back({"enumeration of " + std::to_string(count) + " repositories",
                  "svnadmin info for each", pair, 0.05});
}

void MeasureUserCreation(std::vector<Row>& rows) {
  const TestHome home;
  const int count = Quick() ? 1000 : 10000;
  const std::filesystem::path users = Native(access::UsersFile(home.context()));
  const std::filesystem::path theirs = users.string() + "-theirs";
  {
    std::ofstream out(users, std::ios::binary);
    for (int i = 0; i < count; ++i)
      out << "user" << i << ":$apr1$saltsalt$0123456789012345678901\r\n";
  }
  std::filesystem::copy_file(users, theirs);
  int ours_next = 0;
  int theirs_next = 0;
  const Pair pair = MedianPair(
      15, [&] { access::CreateUser(home.context(), Numbered(u"new", ours_next++), u"secret"); },
      [&] {
        Run({"htpasswd", "-b", theirs, "new" + std::to_string(theirs_next++), "secret"});
      });
  rows.push_back({.name = "creating a user among " + std::to_string(count),
                  .against = "htpasswd",
                  .amounts = pair,
                  .aim = 2,
                  .judged = !Quick()});
}

void MeasureRuleChange(std::vector<Row>& rows) {
  const TestHome home;
  const int sections = Quick() ? 500 : 5000;
  repos::CreateRepository(home.context(), u"rules");
  const std::u16string file = access::SubversionRulesFile(home.context(), u"rules");
  access::IniDocument document;
  for (int i = 0; i < sections; ++i) {
    auto& keys = document[Numbered(u"/trunk/folder", i)];
    keys[u"*"] = u"";
    keys[u"@developers"] = u"rw";
    keys[Numbered(u"user", i)] = u"r";
  }
  access::WriteIniFile(file, document, access::kAuthorizationHeader, home.context().root_pool());
  bool write = false;
  const Pair pair = MedianPair(
      15,
      [&] {
        write = !write;
        access::SetPathPermissions(
            home.context(), {u"rules", u"/trunk/folder7"},
            {{access::Account::User(u"alice"),
              write ? access::AccessLevel::ReadWrite : access::AccessLevel::ReadOnly}},
            access::ResetChildren::kNo);
      },
      [&] { svn::ConfigFile(file, svn::MustExist::kYes, home.context().root_pool()); });
  rows.push_back({.name = "changing a rule among " + std::to_string(sections) + " sections",
                  .against = "reading that file alone",
                  .amounts = pair,
                  .aim = 2,
                  .judged = !Quick()});
}

}  // namespace kelvarion::bench
