#include "access/written_ini.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "access/ini_document.h"
#include "errors/exception.h"
#include "svn/text.h"
#include "tests/support/test_home.h"

namespace kelvarion::access {
namespace {

constexpr std::string_view kWritten =
    "# header = %(a)s\r\n\r\n"
    "[/]\r\n*=r\r\n@devs=rw\r\nalice=\r\n\r\n"
    "[/\xD1\x8E [x=%a)s]\r\n@devs=r\r\n\xD0\xB6=rw\r\n\r\n"
    "[DEFAULT]\r\na=1, 2=3:[]#\r\nb=2\r\n\r\n";

// The sections, each as it would be written, or why the text is refused.
std::vector<std::u16string> Outcome(const testing::TemporaryFolder& folder, std::string_view text) {
  // A new file each time: the disk is not waited for when it is closed.
  std::filesystem::remove(folder.native() + "/file");
  testing::WriteFile(folder.native() + "/file", text);
  std::vector<std::u16string> shown;
  IniDocument document;
  try {
    ReadIniFile(folder.path() + u"/file", document, svn::Pool::Root());
  } catch (const Exception& exception) {
    return {exception.Message()};
  }
  for (const auto& [name, section] : document) {
    std::string lines;
    section.AppendLines(lines);
    shown.push_back(name);
    shown.emplace_back(lines.begin(), lines.end());
    for (const auto& [key, value] : section) shown.push_back(key + u" -> " + value);
  }
  return shown;
}

class Random {
 public:
  std::size_t Below(std::size_t limit) {
    state_ = state_ * 1103515245 + 12345;
    return (state_ >> 16) % limit;
  }

 private:
  unsigned state_ = 1;
};

void Damage(std::string& text, Random& random) {
  using namespace std::string_view_literals;
  constexpr std::string_view kPieces[] = {" ",
                                          "\t",
                                          "\v",
                                          "\r",
                                          "\n",
                                          "\r\n",
                                          "\n ",
                                          "=",
                                          ":",
                                          "#",
                                          "%",
                                          "[",
                                          "]",
                                          "[]",
                                          "b",
                                          "\0"sv,
                                          "aa=%(b)s\r\n",
                                          "[/]\r\nx=r\r\n\r\n",
                                          "[/0]\r\n",
                                          "z=r\r\n",
                                          "\xFF",
                                          "\xED\xA0\x80",
                                          "\xF0\x9F\x90\x8C=r\r\n",
                                          "\xEF\xBF\xA0=r\r\n\xF0\x9F\x90\x8C=r\r\n",
                                          "\r\n# c\r\n",
                                          "=\r\n"};
  std::size_t at = random.Below(text.size() + 1);
  // Most faults matter where a line begins.
  if (random.Below(2) == 0) at = std::min(text.find('\n', at), text.size() - 1) + 1;
  if (random.Below(3) == 0)
    text.erase(at, 1 + random.Below(3));
  else
    text.insert(at, kPieces[random.Below(std::size(kPieces))]);
}

std::optional<IniDocument> Written(std::string_view text) {
  IniDocument document;
  const bool written = ReadWrittenIni(text, [&](std::string_view name, std::string_view lines) {
    document[svn::Utf16(name)] = IniSection::OfLines(lines);
  });
  return written ? std::optional(std::move(document)) : std::nullopt;
}

TEST(WrittenIniTest, TakesWhatTheSystemWrites) {
  EXPECT_EQ(Written(""), IniDocument());
  EXPECT_EQ(Written(kWritten)->size(), 3U);
  const testing::TemporaryFolder folder;
  const IniDocument document{
      {u"/b", {{u"Zoë", u"r"}, {u"*", u""}, {u"\uFFE0", u"r"}, {u"\U0001F40C", u"r"}}},
      {u"/\U0001F40C", {{u"k", u"v"}}},
      {u"/\uFFE0", {{u"k", u"v"}}}};
  WriteIniFile(folder.path() + u"/file", document, "# header\r\n\r\n", svn::Pool::Root());
  EXPECT_EQ(Written(testing::ReadFile(folder.native() + "/file")), document);
}

// A byte order mark changes nothing but that the text is left to Subversion's reader.
TEST(WrittenIniTest, SeesAndKeepsWhatSubversionsReaderSees) {
  const testing::TemporaryFolder folder;
  Random random;
  int quick = 0;
  for (int round = 0; round < 2000; ++round) {
    std::string text(kWritten);
    for (std::size_t damages = random.Below(4); damages > 0; --damages) Damage(text, random);
    SCOPED_TRACE(text);
    if (Written(text)) ++quick;
    const std::string general = "\xEF\xBB\xBF" + text;
    ASSERT_FALSE(Written(general));
    ASSERT_EQ(Outcome(folder, text), Outcome(folder, general));
  }
  EXPECT_GT(quick, 500);
  EXPECT_LT(quick, 1500);
}

}  // namespace
}  // namespace kelvarion::access
