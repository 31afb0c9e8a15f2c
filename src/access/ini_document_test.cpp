#include "access/ini_document.h"

#include <gtest/gtest.h>
#include <svn_error_codes.h>

#include "errors/exception.h"
#include "svn/error.h"
#include "tests/support/test_home.h"

namespace kelvarion::access {
namespace {

class IniDocumentTest : public ::testing::Test {
 protected:
  IniDocument Read(std::string_view text) {
    testing::WriteFile(folder_.native() + "/file", text);
    IniDocument document;
    ReadIniFile(path_, document, pool_);
    return document;
  }
  std::string Write(const IniDocument& document, std::optional<std::string_view> header = {}) {
    WriteIniFile(path_, document, header, pool_);
    return testing::ReadFile(folder_.native() + "/file");
  }

  testing::TemporaryFolder folder_;
  const std::u16string path_ = folder_.path() + u"/file";
  const svn::Pool pool_ = svn::Pool::Root();
};

TEST_F(IniDocumentTest, ReadsEveryFormOfSubversionsReader) {
  const struct {
    const char* what;
    std::string_view text;
    IniDocument document;
  } rows[] = {
      {"letter case",
       "[/a]\nAlice = r\nalice = rw\n[/A]\nx = y\n",
       {{u"/a", {{u"Alice", u"r"}, {u"alice", u"rw"}}}, {u"/A", {{u"x", u"y"}}}}},
      {"references to other values",
       "[s]\nbase = /srv\nk = %(base)s/x %(none)s\n",
       {{u"s", {{u"base", u"/srv"}, {u"k", u"/srv/x %(none)s"}}}}},
      {"beyond ASCII",
       "[/Ünï \xF0\x9F\x90\x8C]\nжук = rw\n",
       {{u"/Ünï \U0001F40C", {{u"жук", u"rw"}}}}},
  };
  for (const auto& row : rows) EXPECT_EQ(Read(row.text), row.document) << row.what;
}

TEST_F(IniDocumentTest, AMissingFileIsEmptyAndABrokenOneAnError) {
  IniDocument document;
  ReadIniFile(folder_.path() + u"/none", document, pool_);
  EXPECT_TRUE(document.empty());
  const std::string broken[] = {
      "[s]\nno separator\n", "[s]\n=x\n", "[s]\r\n: x\r\n", {"[s]\nk = r\0w\n", 12}};
  for (const std::string& text : broken) {
    try {
      Read(text);
      ADD_FAILURE() << text;
    } catch (const SvnException& exception) {
      EXPECT_TRUE(exception.Has(SVN_ERR_MALFORMED_FILE));
      EXPECT_NE(exception.FullText().find(u"line "), std::u16string::npos) << text;
    }
  }
  EXPECT_THROW(Read("[s]\nk = \xFF\n"), Win32Exception);
}

TEST_F(IniDocumentTest, WritesSectionsWithKeysInTheOrderOfCodeUnits) {
  const IniDocument document{
      {u"/b", {{u"alice", u""}, {u"@devs", u"r"}, {u"*", u"rw"}, {u"Zoë", u"r"}}},
      {u"/Z", {{u"k", u"v"}}},
      {u"/emptied", {}},
      {u"/\uFFE0", {{u"k", u"v"}}},
      {u"/\U0001F40C", {{u"k", u"v"}}},  // Above U+FFE0, though its first code unit is below.
  };
  EXPECT_EQ(Write(document, "# header\r\n\r\n"),
            "# header\r\n\r\n"
            "[/Z]\r\nk=v\r\n\r\n"
            "[/b]\r\n*=rw\r\n@devs=r\r\nZoë=r\r\nalice=\r\n\r\n"
            "[/\xF0\x9F\x90\x8C]\r\nk=v\r\n\r\n"
            "[/\xEF\xBF\xA0]\r\nk=v\r\n\r\n");
  EXPECT_EQ(Write({{u"s", {}}}, "# only\r\n"), "# only\r\n");
  EXPECT_EQ(Write({{u"s", {{u"a", u"b"}}}}), "[s]\r\na=b\r\n\r\n");
}

TEST_F(IniDocumentTest, TextThatCannotBeEncodedLeavesTheFileAlone) {
  const std::string before = Write({{u"s", {{u"a", u"b"}}}});
  EXPECT_THROW(Write({{u"s", {{u"a", u"\xDC00"}}}}), Win32Exception);
  EXPECT_EQ(testing::ReadFile(folder_.native() + "/file"), before);
}

}  // namespace
}  // namespace kelvarion::access
