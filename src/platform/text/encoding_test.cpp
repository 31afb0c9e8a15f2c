#include "platform/text/encoding.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <optional>

namespace kelvarion::platform {
namespace {

class ScopedVariable {
 public:
  ScopedVariable(const char* name, const char* value) : name_(name) {
    if (const char* old = std::getenv(name)) old_ = old;
    setenv(name, value, 1);
  }
  ~ScopedVariable() {
    if (old_)
      setenv(name_, old_->c_str(), 1);
    else
      unsetenv(name_);
  }

 private:
  const char* name_;
  std::optional<std::string> old_;
};

TEST(EncodingTest, ValidTextConvertsBothWays) {
  const std::pair<std::string, std::u16string> rows[] = {
      {"", u""},
      {"plain", u"plain"},
      {"\xC3\xA4\xE2\x82\xAC", u"\u00E4\u20AC"},
      {"\xF0\x9F\x98\x80", u"\U0001F600"},
      {std::string("a\0b", 3), std::u16string(u"a\0b", 3)},
  };
  for (const auto& [utf8, utf16] : rows) {
    std::u16string wide;
    std::string narrow;
    EXPECT_TRUE(Utf8ToUtf16(utf8, wide)) << utf8;
    EXPECT_EQ(wide, utf16) << utf8;
    EXPECT_TRUE(Utf16ToUtf8(utf16, narrow)) << utf8;
    EXPECT_EQ(narrow, utf8);
  }
}

TEST(EncodingTest, DamagedTextIsRefusedButStillShown) {
  const std::pair<std::string, std::u16string> rows[] = {
      {"a\xFFz", u"a\uFFFDz"},
      {"a\xC3", u"a\uFFFD"},
      {"\xC0\xAF", u"\uFFFD\uFFFD"},              // An overlong "/".
      {"\xED\xA0\x80z", u"\uFFFD\uFFFD\uFFFDz"},  // A surrogate.
  };
  for (const auto& [bytes, shown] : rows) {
    std::u16string out = u"untouched";
    EXPECT_FALSE(Utf8ToUtf16(bytes, out));
    EXPECT_EQ(out, u"untouched");
    EXPECT_EQ(Utf16ForDisplay(bytes), shown);
  }
  std::string out = "untouched";
  EXPECT_FALSE(Utf16ToUtf8(u"a\xDC00z", out));
  EXPECT_EQ(out, "untouched");
  EXPECT_EQ(Utf8ForDisplay(u"a\xDC00z"), "a\xEF\xBF\xBDz");
}

TEST(EncodingTest, TheThreadsCodePageIsTheOneOfTheLocale) {
  const struct {
    const char* locale;
    std::string bytes;
    std::u16string text;
  } rows[] = {
      {"C", "\xC3\xA4", u"\u00E4"},
      {"de_DE.UTF-8", "\xC3\xA4", u"\u00E4"},
      {"de_DE.ISO-8859-1", "\xE4", u"\u00E4"},
      {"de_DE.ISO-8859-15@euro", "\xA4", u"\u20AC"},
      {"ja_JP.SJIS", "\x82\xA0", u"\u3042"},
      {"xx_XX.no-such-charset", "\xC3\xA4", u"\u00E4"},
  };
  for (const auto& row : rows) {
    const ScopedVariable locale("LC_ALL", row.locale);
    EXPECT_EQ(FromThreadCodePage(row.bytes), row.text) << row.locale;
    std::string bytes;
    EXPECT_TRUE(ToThreadCodePage(row.text, bytes)) << row.locale;
    EXPECT_EQ(bytes, row.bytes) << row.locale;
  }
  const ScopedVariable locale("LC_ALL", "de_DE.ISO-8859-1");
  std::string bytes = "untouched";
  EXPECT_FALSE(ToThreadCodePage(u"\u20AC", bytes)) << "which it cannot express";
  EXPECT_EQ(bytes, "untouched");
}

}  // namespace
}  // namespace kelvarion::platform
