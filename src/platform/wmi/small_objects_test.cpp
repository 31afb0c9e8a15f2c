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

TEST(DateTimeTest, FormsTheTextFromItsParts) {
  const ComPtr<ISWbemDateTime> time = NewDateTime();
  ASSERT_TRUE(time);
  EXPECT_EQ(time->SetYear(2024), S_OK);
  EXPECT_EQ(time->SetMonth(2), S_OK);
  EXPECT_EQ(time->SetDay(29), S_OK);
  EXPECT_EQ(time->SetHours(23), S_OK);
  EXPECT_EQ(time->SetMinutes(5), S_OK);
  EXPECT_EQ(time->SetSeconds(9), S_OK);
  EXPECT_EQ(time->SetMicroseconds(7000), S_OK);
  EXPECT_EQ(TextOf(time), u"20240229230509.007000+000");
  EXPECT_EQ(time->SetUtcOffset(-90), S_OK);
  EXPECT_EQ(TextOf(time), u"20240229230509.007000-090");
}

TEST(DateTimeTest, PartsOutOfRangeAreRefused) {
  using Setter = HRESULT (ISWbemDateTime::*)(std::int32_t);
  struct Row {
    Setter set;
    std::int32_t below;
    std::int32_t above;
  };
  const Row rows[] = {
      {&ISWbemDateTime::SetYear, -1, 10000},
      {&ISWbemDateTime::SetMonth, 0, 13},
      {&ISWbemDateTime::SetDay, 0, 32},
      {&ISWbemDateTime::SetHours, -1, 24},
      {&ISWbemDateTime::SetMinutes, -1, 60},
      {&ISWbemDateTime::SetSeconds, -1, 60},
      {&ISWbemDateTime::SetMicroseconds, -1, 1000000},
      {&ISWbemDateTime::SetUtcOffset, -721, 841},
  };
  const ComPtr<ISWbemDateTime> time = NewDateTime();
  const std::u16string before = TextOf(time);
  for (const Row& row : rows) {
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
