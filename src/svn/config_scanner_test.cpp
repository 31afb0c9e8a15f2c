#include "svn/config_scanner.h"

#include <gtest/gtest.h>

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

}  // namespace
}  // namespace kelvarion::svn
