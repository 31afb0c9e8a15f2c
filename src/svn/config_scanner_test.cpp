#include "svn/config_scanner.h"

#include <gtest/gtest.h>

#include <map>

#include "svn/config_file.h"
#include "svn/error.h"
#include "svn/text.h"
#include "tests/support/temporary_folder.h"
#include "tests/support/test_home.h"

namespace kelvarion::svn {
namespace {

using Kind = ConfigToken::Kind;

// "3 /a", "4 key=value", "5 !"; one a token.
std::vector<std::string> Scan(std::string_view text) {
  std::vector<std::string> tokens;
  ConfigScanner scanner(text);
  for (ConfigToken token = scanner.Next(); token.kind != Kind::kEnd; token = scanner.Next()) {
    std::string shown = std::to_string(token.line) + " ";
    if (token.kind == Kind::kError) shown += "!";
    shown += token.name;
    if (token.kind == Kind::kOption) shown += "=" + std::string(token.value);
    tokens.push_back(std::move(shown));
  }
  return tokens;
}

TEST(ConfigScannerTest, TellsTheLineOfEachThing) {
  const struct {
    const char* what;
    std::string_view text;
    std::vector<std::string> tokens;
  } rows[] = {
      {"nothing", "", {}},
      {"comments, blank lines, line ends",
       "# c\r\n\r\n[/a] rest\r\na = r \r\n\nb:c=d\n[]",
       {"3 /a", "4 a=r", "6 b=c=d", "7 "}},
      {"several lines", "[s]\na = 1\n 2\n\t# 3\nb=\n\n c", {"1 s", "2 a=1 2 # 3", "5 b=", "7 !"}},
      {"no end of the section", "[s]\n[t\n[u]", {"1 s", "2 !"}},
      {"no section", "a=b", {"1 !"}},
      {"no separator", "[s]\n\na", {"1 s", "3 !"}},
      {"indented", "[s]\n [t]", {"1 s", "2 !"}},
      {"a byte order mark", "\xEF\xBB\xBF[s]\na=b", {"1 s", "2 a=b"}},
  };
  for (const auto& row : rows) EXPECT_EQ(Scan(row.text), row.tokens) << row.what;
}

// Whatever the libraries' reader takes or refuses.
TEST(ConfigScannerTest, SeesWhatTheLibrarysReaderSees) {
  const testing::TemporaryFolder folder;
  const Pool pool = Pool::Root();
  constexpr std::string_view kPieces[] = {"[s]", "[t",    "]",  "a",   "b",   "=",   ":",
                                          " ",   "\t",    "\n", "\n",  "\r",  "\n",  "#",
                                          "\n",  "[u]\n", "c=", "d:e", "\n ", "\r\n"};
  unsigned random = 1;
  for (int round = 0; round < 600; ++round) {
    std::string text = "[s]\n";
    for (int i = 0; i < 14; ++i) {
      random = random * 1103515245 + 12345;
      text += kPieces[(random >> 16) % std::size(kPieces)];
    }
    SCOPED_TRACE(text);
    testing::WriteFile(folder.native() + "/file", text);
    std::map<std::string, std::string> theirs;
    bool refused = false;
    try {
      const ConfigFile file(folder.path() + u"/file", MustExist::kYes, pool);
      file.ForEachSection([&](std::string_view section) {
        file.ForEachOption(section.data(), [&](std::string_view name, std::string_view value) {
          theirs[std::string(section) + "/" + std::string(name)] = value;
        });
      });
    } catch (const SvnException&) {
      refused = true;
    }
    std::map<std::string, std::string> ours;
    std::string section;
    ConfigScanner scanner(text);
    ConfigToken token = scanner.Next();
    for (; token.kind == Kind::kSection || token.kind == Kind::kOption; token = scanner.Next()) {
      if (token.kind == Kind::kSection)
        section = token.name;
      else
        ours[section + "/" + std::string(token.name)] = token.value;
    }
    ASSERT_EQ(token.kind == Kind::kError, refused);
    if (refused) continue;
    ASSERT_EQ(ours, theirs);
  }
}

}  // namespace
}  // namespace kelvarion::svn
