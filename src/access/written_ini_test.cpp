#include "access/written_ini.h"

#include <gtest/gtest.h>

#include "access/ini_document.h"
#include "svn/text.h"
#include "tests/support/test_home.h"

namespace kelvarion::access {
namespace {

// What it takes, the libraries' reader sees alike; the fuzzer of configuration files compares them.
TEST(WrittenIniTest, TakesWhatTheSystemWritesAndNothingElse) {
  const auto written = [](std::string_view text) {
    IniDocument document;
    const bool taken = ReadWrittenIni(text, [&](std::string_view name, std::string_view lines) {
      document[svn::Utf16(name)] = IniSection::OfLines(lines);
    });
    return taken ? std::optional(std::move(document)) : std::nullopt;
  };
  const testing::TemporaryFolder folder;
  const IniDocument document{
      {u"/b", {{u"Zoë", u"r"}, {u"*", u""}, {u"\uFFE0", u"r"}, {u"\U0001F40C", u"r"}}},
      {u"/\U0001F40C", {{u"k", u"a=1, 2=3:[]#"}}},
      {u"/\uFFE0 [x=%a)s", {{u"k", u"v"}}}};
  WriteIniFile(folder.path() + u"/file", document, "# header = %(a)s\r\n\r\n", svn::Pool::Root());
  EXPECT_EQ(written(testing::ReadFile(folder.native() + "/file")), document);
  EXPECT_EQ(written(""), IniDocument());
  for (const char* other :
       {"[a]\nk=v\n\n", "[b]\r\nk=v\r\n\r\n[a]\r\nk=v\r\n\r\n", "[a]\r\nl=v\r\nk=v\r\n\r\n",
        "[a]\r\nk = v\r\n\r\n", "[a]\r\nk=%(l)s\r\n\r\n", "[a]\r\nk=v\r\n# c\r\n\r\n",
        "[a]\r\nk=v\r\n m\r\n\r\n", "[a]\r\n\r\n", "[a]\r\nk=\xFF\r\n\r\n", "[a]\r\nk=v\r\n"})
    EXPECT_FALSE(written(other)) << other;
}

}  // namespace
}  // namespace kelvarion::access
