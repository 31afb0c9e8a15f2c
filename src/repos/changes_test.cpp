// Creating, deleting and renaming repositories.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <filesystem>
#include <thread>

#include "access/authz_files.h"
#include "errors/exception.h"
#include "platform/text/encoding.h"
#include "repos/create.h"
#include "repos/delete.h"
#include "repos/rename.h"
#include "repos/repositories_for_test.h"
#include "repos/repository_store.h"
#include "svn/error.h"

namespace kelvarion::repos {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using testing::ReadFile;
using testing::RunProcess;
using ::testing::UnorderedElementsAre;
using testing::WriteFile;
namespace fs = std::filesystem;

using RepositoryChangesTest = RepositoriesTest;

constexpr const char16_t* kUnfit[] = {u"", u"..", u"../out", u"a/b", u"a\\b", u"a\nb", u"nul"};

TEST_F(RepositoryChangesTest, ANewRepositoryIsCompleteAndAdmitsNobody) {
  CreateRepository(context(), u"demo");
  EXPECT_THAT(Root(), ElementsAre("demo"));
  EXPECT_EQ(RunProcess({"svnadmin", "verify", "-q", path("demo")}).exit_code, 0);
  for (const char* rules : {"/conf/Kelvarion-WinAuthz.ini", "/conf/Kelvarion-SvnAuthz.ini"})
    EXPECT_EQ(ReadFile(path("demo") + rules), access::kAuthorizationHeader);
  EXPECT_EQ(access::kAuthorizationHeader.size(), 421u);
  EXPECT_EQ(ReadRepository(context(), u"demo").log_addressing, 0u);
}

TEST_F(RepositoryChangesTest, CreationRefusesNamesThatAreUnfitOrTaken) {
  fs::create_directories(path("Full"));
  WriteFile(path("Full/kept"), "x");
  fs::create_directories(path("Prepared"));
  WriteFile(path("a file"), "x");
  const auto before = Root();
  for (const char16_t* name : kUnfit) EXPECT_THROW(CreateRepository(context(), name), WMIException);
  const struct {
    std::u16string name;
    std::string failure;
  } rows[] = {{u"full", "Repository with the name 'Full' already exists."},
              {u"PREPARED", "Repository with the name 'Prepared' already exists."},
              {u"a file", "Repository with the name 'a file' already exists."},
              {u"Full", "exists and is non-empty"}};
  for (const auto& row : rows) {
    EXPECT_THAT(Failure([&] { CreateRepository(context(), row.name); }), HasSubstr(row.failure));
  }
  EXPECT_EQ(Root(), before);
  EXPECT_EQ(ReadFile(path("Full/kept")), "x");
  CreateRepository(context(), u"Prepared");
  EXPECT_TRUE(ReadRepository(context(), u"Prepared").type.has_value());
}

TEST_F(RepositoryChangesTest, DeletionRemovesTheOneRepositoryOrFolderThatIsMeant) {
  CreateRepository(context(), u"Demo");
  fs::create_directories(path("demo/some/thing"));
  DeleteRepository(context(), u"demo");
  EXPECT_THAT(Root(), ElementsAre("Demo"));
  DeleteRepository(context(), u"DEMO");
  EXPECT_THAT(Root(), IsEmpty());
}

TEST_F(RepositoryChangesTest, DeletionTouchesNothingOutsideTheRoot) {
  CreateRepository(context(), u"demo");
  const std::string outside = home_.folder() + "/outside";
  fs::create_directories(outside);
  fs::create_directory_symlink(outside, path("link"));
  fs::create_directory_symlink(outside, path("demo/link"));
  for (const char16_t* name : kUnfit) EXPECT_THROW(DeleteRepository(context(), name), WMIException);
  for (const char16_t* name : {u"absent", u"link"}) {
    try {
      DeleteRepository(context(), name);
      ADD_FAILURE();
    } catch (const WMIException& exception) {
      EXPECT_EQ(exception.status(), WBEM_E_NOT_FOUND);
    }
  }
  EXPECT_THAT(Root(), UnorderedElementsAre("demo", "link"));
  DeleteRepository(context(), u"demo");
  EXPECT_TRUE(fs::exists(outside));
}

// The web server's account may write into the root, and must not choose what the server removes.
TEST_F(RepositoryChangesTest, WhatOthersPutInTheWayIsNeverRemoved) {
  const std::string precious = home_.folder() + "/precious";
  fs::create_directories(precious + "/folder");
  fs::create_directory_symlink(precious, path(".kelvarion"));
  EXPECT_THAT(Failure([&] { CreateRepository(context(), u"demo"); }), HasSubstr("Move it away"));
  fs::remove(path(".kelvarion"));
  CreateRepository(context(), u"demo");
  fs::create_directory(path(".kelvarion"));
  fs::create_directory_symlink(precious, path(".kelvarion/x"));
  DeleteRepository(context(), u"demo");
  EXPECT_TRUE(fs::exists(precious + "/folder"));
}

TEST_F(RepositoryChangesTest, RenamingMovesOrRefusesAndNeverReplaces) {
  const struct {
    std::u16string from, to;
    std::string failure;
    std::vector<std::string> after;
  } rows[] = {
      {u"a", u"a", "", {"a", "b"}},
      {u"../x", u"../x", "", {"a", "b"}},
      {u"a", u"", "Repository name cannot be empty.", {"a", "b"}},
      {u"", u"c", "Repository name cannot be empty.", {"a", "b"}},
      {u"a", u"b", "Repository with the name 'b' already exists.", {"a", "b"}},
      {u"a", u"B", "Repository with the name 'B' already exists.", {"a", "b"}},
      {u"a", u"../a", "separator", {"a", "b"}},
      {u"a/../b", u"c", "separator", {"a", "b"}},
      {u"c", u"d", "no repository with the name 'c'", {"a", "b"}},
      {u"A", u"c", "", {"b", "c"}},
      {u"c", u"C", "", {"C", "b"}},
      {u"c", u"C", "", {"C", "b"}},
  };
  CreateRepository(context(), u"a");
  fs::create_directories(path("b"));
  for (const auto& row : rows) {
    const std::string failure = Failure([&] { RenameRepository(context(), row.from, row.to); });
    EXPECT_THAT(failure, HasSubstr(row.failure));
    EXPECT_EQ(failure.empty(), row.failure.empty());
    EXPECT_THAT(Root(), ::testing::UnorderedElementsAreArray(row.after));
  }
  fs::create_directories(path("c"));  // A case-sensitive disk can hold both.
  EXPECT_NE(Failure([&] { RenameRepository(context(), u"C", u"c"); }), "");
  EXPECT_TRUE(fs::is_empty(path("c")));
}

// All that ask for the name at once are told that one has it; that one is whole.
TEST_F(RepositoryChangesTest, OfSimultaneousCreationsOfOneNameOneWins) {
  std::atomic<int> made{0};
  std::vector<std::thread> threads;
  for (const char16_t* name : {u"Demo", u"demo", u"DEMO", u"demo"}) {
    threads.emplace_back([&, name] {
      try {
        CreateRepository(context(), name);
        ++made;
      } catch (const Exception&) {
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(made, 1);
  ASSERT_EQ(Root().size(), 1u);
  EXPECT_TRUE(ListRepositories(context())[0].type.has_value());
}

}  // namespace
}  // namespace kelvarion::repos
