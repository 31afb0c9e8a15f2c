#include "wmi/date_time.h"

#include <gtest/gtest.h>
#include <stdlib.h>

#include <ctime>
#include <limits>

#include "errors/exception.h"
#include "tests/support/failure.h"
#include "tests/support/schema_folder.h"
#include "wmi/namespace.h"

namespace kelvarion {
namespace {

using testing::MessageOf;

// Puts the process into a time zone for one test.
class TimeZone {
 public:
  explicit TimeZone(const char* name) {
    if (const char* zone = getenv("TZ")) before_ = zone;
    setenv("TZ", name, 1);
    tzset();
  }
  ~TimeZone() {
    if (before_.empty())
      unsetenv("TZ");
    else
      setenv("TZ", before_.c_str(), 1);
    tzset();
  }

 private:
  std::string before_;
};

class DateTimeTextTest : public ::testing::Test {
 protected:
  void SetUp() override { RegisterWbemClasses(); }
};

TEST_F(DateTimeTextTest, LocalTimeBecomesUniversalTime) {
  // Summer time from the last Sunday of March to the last Sunday of October.
  const char* const kCentral = "CET-1CEST,M3.5.0,M10.5.0/3";
  const struct {
    const char* what;
    const char* zone;
    double local_time;
    const char16_t* text;
  } rows[] = {
      {"summer", kCentral, 45458.5, u"20240615100000.000000+000"},
      {"winter", kCentral, 45306.5, u"20240115110000.000000+000"},
      {"over midnight", kCentral, 45458.0, u"20240614220000.000000+000"},
      {"west", "EST5", 45306.75, u"20240115230000.000000+000"},
      {"milliseconds", "UTC0", 45306 + 0.123 / 86400, u"20240115000000.123000+000"},
      {"rounded up to the next day", "UTC0", 45306.99999999999, u"20240116000000.000000+000"},
      {"leap day", "UTC0", 45351, u"20240229000000.000000+000"},
      {"before the count, the fraction counts forward", "UTC0", -1.25,
       u"18991229060000.000000+000"},
      {"last second before 1970", "UTC0", 25569 - 1.0 / 86400, u"19691231235959.000000+000"},
      {"last day", "UTC0", 2958465, u"99991231000000.000000+000"},
      {"first day of the file system's calendar", "UTC0", -109205, u"16010101000000.000000+000"},
  };
  for (const auto& row : rows) {
    const TimeZone zone(row.zone);
    EXPECT_EQ(DateTimeText(row.local_time), row.text) << row.what;
  }
}

TEST_F(DateTimeTextTest, TimesOutsideTheCalendarAreRefused) {
  const TimeZone zone("UTC0");
  for (const double date : {2958466.0, -657435.0, 1e300, std::numeric_limits<double>::quiet_NaN()})
    EXPECT_EQ(MessageOf([&] { DateTimeText(date); }), u"Cannot convert datetime.") << date;
  EXPECT_EQ(MessageOf([] { DateTimeText(-109206); }),
            u"Cannot convert datetime: The parameter is incorrect. (0x80070057)");
}

TEST_F(DateTimeTextTest, IsWhatDateTimePropertiesTake) {
  const TimeZone zone("UTC0");
  constexpr Property<DateTime> kChanged{u"Changed"};
  const ComPtr<IWbemServices> space = CompileText("class C { datetime Changed; };");
  WMIObject object = WMINamespace(space.Get()).LoadClass(u"C", nullptr).SpawnInstance();
  object.SetDateTime(kChanged, 45306.5);
  EXPECT_EQ(object.Get(Property<std::u16string>{u"Changed"}), u"20240115120000.000000+000");
  EXPECT_THROW(object.SetDateTime({u"Missing"}, 45306.5), ComException);
  object.SetNull(kChanged);
  EXPECT_TRUE(object.IsNull(kChanged));
}

TEST_F(DateTimeTextTest, AMomentGoesThroughLocalTimeAndBack) {
  using std::chrono::sys_seconds;
  const std::pair<long, const char16_t*> rows[] = {
      {1783080000, u"20260703120000.000000+000"},  // Summer.
      {1795433935, u"20261123113855.000000+000"},  // Winter.
      {4102444799, u"20991231235959.000000+000"},
      {-2209161601, u"18991229235959.000000+000"},  // Negative as an automation date.
  };
  for (const char* zone : {"UTC", "Europe/Berlin", "America/New_York"}) {
    const TimeZone here(zone);
    for (const auto& [seconds, text] : rows)
      EXPECT_EQ(DateTimeText(ToAutomation(sys_seconds(std::chrono::seconds(seconds)))), text)
          << zone;
  }
}

}  // namespace
}  // namespace kelvarion
