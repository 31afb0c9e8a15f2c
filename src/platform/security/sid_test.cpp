#include "platform/security/sid.h"

#include <gtest/gtest.h>

namespace kelvarion::platform {
namespace {

TEST(SidTest, OnlySidsParseAndTheirTextIsCanonical) {
  const std::u16string fifteen = u"S-1-5-1-2-3-4-5-6-7-8-9-10-11-12-13-14-15";
  const std::pair<std::u16string, std::u16string> rows[] = {
      {u"S-1-1-0", u"S-1-1-0"},
      {u"s-1-5-032-0544", u"S-1-5-32-544"},
      {u"S-1-22-1-4294967295", u"S-1-22-1-4294967295"},
      {u"S-1-0x0000000005-18", u"S-1-5-18"},
      {u"S-1-0x123456789ABC-1", u"S-1-0x123456789ABC-1"},
      {u"S-1-4294967296-1", u"S-1-0x000100000000-1"},
      {fifteen, fifteen}};
  for (const auto& [text, canonical] : rows) {
    const std::optional<Sid> sid = ParseSid(text);
    EXPECT_EQ(sid ? ToText(*sid) : u"", canonical);
  }
  EXPECT_EQ(ParseSid(fifteen + u"-16"), std::nullopt);
  EXPECT_EQ(ParseSid(std::u16string(u"S-1-5-18\0", 9)), std::nullopt);
  for (const char16_t* text :
       {u"", u"S-1-5", u"S-1-5-", u"S-1--18", u"S-2-5-18", u"S-1-5-18 ", u" S-1-5-18", u"S-1-5-+18",
        u"S-1-5-0x12", u"S-1-5-4294967296", u"S-1-0x1000000000000-1", u"S-1-281474976710656-1",
        u"S-1-5-18446744073709551617", u"S-1-5-１８", u"SY"})
    EXPECT_EQ(ParseSid(text), std::nullopt);
}

TEST(SidTest, UnixAccountsAreTheirsAlone) {
  EXPECT_EQ(ToText(UserSid(1000)), u"S-1-22-1-1000");
  EXPECT_EQ(UserOf(GroupSid(5)), std::nullopt);
  EXPECT_EQ(GroupOf(GroupSid(5)), 5u);
  EXPECT_EQ(UserOf(*ParseSid(u"S-1-5-1-1000")), std::nullopt);
}

}  // namespace
}  // namespace kelvarion::platform
