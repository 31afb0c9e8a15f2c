#include "doctor/doctor.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>

#include "errors/exception.h"
#include "platform/text/encoding.h"
#include "svn/error.h"
#include "tests/support/test_home.h"

namespace kelvarion::doctor {
namespace {

namespace fs = std::filesystem;

// The settings that a check has something to say about.
std::vector<std::string> Found(const ServerContext& context, const std::u16string& check) {
  std::vector<std::string> where;
  Examine(context, Extent::kGlance, Repairs::kNo,
          {[&](const Finding& finding) {
             if (finding.check == check) where.push_back(platform::Utf8ForDisplay(finding.where));
           },
           nullptr,
           {[] { return false; }, u""}});
  return where;
}

// As another program might have stored them: the commands refuse such values.
TEST(DoctorTest, SettingsThatCannotWorkAreFoundByTheirNames) {
  const struct {
    const char* setting;
    const char16_t* check;
    void (*spoil)(IcRegistryAccessor& store);
  } rows[] = {
      {"ServerPort", u"Settings", [](auto& store) { store.SetServerPort(false, 0); }},
      {"SSLServerPort", u"Settings", [](auto& store) { store.SetServerPort(true, 65536); }},
      {"ServerName", u"Settings", [](auto& store) { store.SetServerName(u"a/b"); }},
      {"RepositoriesURLPrefix", u"Settings",
       [](auto& store) { store.SetRepositoriesURLPrefix(u"/a b"); }},
      {"RepositoriesRoot", u"Settings", [](auto& store) { store.SetRepositoriesRoot(u"/none"); }},
      {"ServerBindings", u"Settings",
       [](auto& store) {
         store.SetServerBindings({u"a b"});
         store.SetUseServerBindings(true);
       }},
      {"UseSSL", u"Logins", [](auto& store) { store.SetUseServerBindings(false); }},
      {"DisableWindowsBasic", u"Logins",
       [](auto& store) {
         store.SetUseWindowsAuth(true);
         store.SetWindowsBasicEnabled(false);
       }},
  };
  for (const auto& row : rows) {
    const testing::TestHome home;
    home.configuration().SetServerBindings({u"127.0.0.1", u"[::1]"});
    home.configuration().SetUseServerBindings(true);
    EXPECT_TRUE(Found(home.context(), row.check).empty()) << row.setting;
    row.spoil(home.configuration());
    EXPECT_EQ(Found(home.context(), row.check), std::vector<std::string>{row.setting});
  }
}

// Whoever may write in the home could otherwise have root give them other people's files.
TEST(DoctorTest, RepairsReachNothingOutsideOfTheHomeAndNoHomeOfOthers) {
  const testing::TestHome home;
  const testing::TemporaryFolder elsewhere;
  const auto perms = [](const std::string& path) { return fs::status(path).permissions(); };
  const auto write_for_all = [](const std::string& path) {
    testing::WriteFile(path, "");
    fs::permissions(path, fs::perms(0666));
  };
  const auto repair = [&] {
    const Visitor visitor{[](const Finding&) {}, nullptr, {[] { return false; }, u""}};
    Examine(home.context(), Extent::kGlance, Repairs::kYes, visitor);
  };
  const std::string by_folder = elsewhere.native() + "/folder/file";
  const std::string by_name = elsewhere.native() + "/file";
  const std::string own = home.folder() + "/server/conf/file";
  fs::create_directories(elsewhere.native() + "/folder");
  fs::create_directories(home.folder() + "/server/conf");
  for (const std::string& file : {by_folder, by_name, own}) write_for_all(file);
  fs::create_directory_symlink(elsewhere.native() + "/folder", home.folder() + "/server/certs");
  fs::create_hard_link(by_name, home.folder() + "/server/conf/other");
  repair();
  EXPECT_EQ(perms(own), fs::perms(0644));
  EXPECT_EQ(perms(by_folder), fs::perms(0666));
  EXPECT_EQ(perms(by_name), fs::perms(0666));
}

TEST(DoctorTest, StopsWhenItIsCancelled) {
  const testing::TestHome home;
  std::size_t steps = 0;
  const Visitor visitor{[](const Finding&) {},
                        [&](const std::u16string&, std::size_t done, std::size_t total) {
                          EXPECT_LT(done, total);
                          ++steps;
                        },
                        {[&] { return steps > 2; }, u"enough"}};
  EXPECT_THROW(Examine(home.context(), Extent::kAll, Repairs::kYes, visitor), SvnException);
  EXPECT_EQ(steps, 3U);
}

}  // namespace
}  // namespace kelvarion::doctor
