// Date-times and contexts.
#include <gtest/gtest.h>

#include "platform/com/class_object.h"
#include "platform/wmi/interfaces.h"

namespace kelvarion {
namespace {

ComPtr<ISWbemDateTime> NewDateTime() {
  RegisterWbemClasses();
  ComPtr<ISWbemDateTime> time;
  CoCreateInstance(CLSID_SWbemDateTime, ISWbemDateTime::kIid, time.PutVoid());
  return time;
}

std::u16string TextOf(const ComPtr<ISWbemDateTime>& time) {
  std::u16string text;
  time->GetValue(&text);
  return text;
}

TEST(DateTimeTest, PartsOutOfRangeAreRefused) {
  const struct {
    HRESULT (ISWbemDateTime::*set)(std::int32_t);
    std::int32_t below;
    std::int32_t above;
  } rows[] = {
      {&ISWbemDateTime::SetYear, -1, 10000},      {&ISWbemDateTime::SetMonth, 0, 13},
      {&ISWbemDateTime::SetDay, 0, 32},           {&ISWbemDateTime::SetHours, -1, 24},
      {&ISWbemDateTime::SetMinutes, -1, 60},      {&ISWbemDateTime::SetSeconds, -1, 60},
      {&ISWbemDateTime::SetUtcOffset, -721, 841}, {&ISWbemDateTime::SetMicroseconds, -1, 1000000}};
  const ComPtr<ISWbemDateTime> time = NewDateTime();
  EXPECT_EQ(time->SetUtcOffset(-90), S_OK);
  const std::u16string before = TextOf(time);
  EXPECT_TRUE(before.ends_with(u"-090"));
  for (const auto& row : rows) {
    EXPECT_EQ((time.Get()->*row.set)(row.below), WBEM_E_INVALID_PARAMETER) << row.above;
    EXPECT_EQ((time.Get()->*row.set)(row.above), WBEM_E_INVALID_PARAMETER) << row.above;
  }
  EXPECT_EQ(TextOf(time), before);
}

TEST(ContextTest, ValuesAreFoundInAnyLetterCaseAndReplaced) {
  const ComPtr<IWbemContext> context = MakeContext();
  Variant value;
  EXPECT_EQ(context->GetValue(u"ActivityId", 0, &value), WBEM_E_NOT_FOUND);
  EXPECT_EQ(context->SetValue(u"ActivityId", 0, Variant::FromString(u"one")), S_OK);
  EXPECT_EQ(context->SetValue(u"ACTIVITYID", 0, Variant::FromStrings({u"two"})), S_OK);
  EXPECT_EQ(context->SetValue(u"", 0, Variant::FromString(u"x")), WBEM_E_INVALID_PARAMETER);
  EXPECT_EQ(context->GetValue(u"activityid", 0, &value), S_OK);
  EXPECT_TRUE(value == Variant::FromStrings({u"two"}));
  std::vector<std::u16string> names;
  context->GetNames(&names);
  EXPECT_EQ(names, std::vector<std::u16string>{u"ActivityId"});
}

}  // namespace
}  // namespace kelvarion
