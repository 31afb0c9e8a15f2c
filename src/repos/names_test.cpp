#include "repos/names.h"

#include <gtest/gtest.h>

#include "errors/exception.h"
#include "platform/text/encoding.h"

namespace kelvarion::repos {
namespace {

// The reason of the refusal, empty when the name is accepted.
std::u16string Refusal(const std::u16string& name) {
  try {
    ValidateRepositoryName(name);
    return u"";
  } catch (const WMIException& exception) {
    EXPECT_EQ(exception.status(), WBEM_E_INVALID_METHOD_PARAMETERS);
    return exception.text();
  }
}

TEST(RepositoryNameTest, EveryUnfitNameIsRefusedForItsOwnReason) {
  const struct {
    std::u16string name;
    std::u16string reason;
  } rows[] = {
      {u"", u"cannot be empty"},
      {u"a/b", u"separator"},
      {u"..\\b", u"separator"},
      {u"/etc", u"separator"},
      {u".", u"folder"},
      {u"..", u"folder"},
      {u"a\nb", u"control"},
      {std::u16string(u"a\0b", 3), u"control"},
      {u"a\u0085", u"control"},
      {u"C:", u"< >"},
      {u"what?", u"< >"},
      {u"a&b", u"'&'"},
      {u"a\uFFFF", u"no character"},
      {u" a", u"blank"},
      {u"a\u3000", u"blank"},
      {u"a.", u"dot"},
      {u"...", u"dot"},
      {u"Con", u"device"},
      {u"lpt9.old", u"device"},
      {u"HTPASSWD", u"reserved"},
      {u"groups.conf.tmp", u"reserved"},
      {u".kelvarion", u"reserved"},
      {u"!", u"reserved"},
      {u"a\xD800", u"Unicode"},
      {std::u16string(128, u'\u00E4'), u"255"},
  };
  for (const auto& row : rows) {
    EXPECT_NE(Refusal(row.name).find(row.reason), std::u16string::npos)
        << platform::Utf8ForDisplay(row.name) << ": "
        << platform::Utf8ForDisplay(Refusal(row.name));
  }
}

TEST(RepositoryNameTest, UnusualButServableNamesAreAccepted) {
  for (const std::u16string name :
       {u"demo", u"a b", u"100% #1, [more]", u".hidden", u"M\u00FCller \u65E5\u672C", u"console",
        u"com10", u"a..b", u"-x", u"\U0001F600", u"!new"}) {
    EXPECT_EQ(Refusal(name), u"");
  }
  EXPECT_EQ(Refusal(std::u16string(127, u'\u00E4')), u"");
}

TEST(RepositoryNameTest, TheMessageDoesNotRepeatControlCharacters) {
  EXPECT_NE(Refusal(u"a\x1B[1m").find(u"'a?[1m'"), std::u16string::npos);
}

}  // namespace
}  // namespace kelvarion::repos
