#include "wmi/date_time.h"

#include <chrono>
#include <cmath>
#include <ctime>

#include "errors/exception.h"
#include "platform/com/class_object.h"
#include "platform/wmi/interfaces.h"

namespace kelvarion {
namespace {

using std::chrono::days;
using std::chrono::milliseconds;
using std::chrono::sys_days;
using LocalTime = std::chrono::local_time<milliseconds>;
using UniversalTime = std::chrono::sys_time<milliseconds>;

constexpr std::chrono::local_days kAutomationEpoch{std::chrono::year{1899} / 12 / 30};
// The first day of year 100 and the day after the last of year 9999.
constexpr double kFirstDate = -657434.0;
constexpr double kEndOfDates = 2958466.0;

LocalTime FromAutomation(double date) {
  if (!(date >= kFirstDate && date < kEndOfDates))
    throw SimpleException(u"Cannot convert datetime.");
  const double day = std::trunc(date);
  const double fraction = std::abs(date - day);
  return kAutomationEpoch + days(static_cast<int>(day)) +
         milliseconds(std::llround(fraction * 86400e3));
}

// The offset is the one that was in force at that time.
UniversalTime ToUniversal(LocalTime local) {
  const auto day = std::chrono::floor<days>(local);
  const std::chrono::year_month_day date(day);
  if (date.year() < std::chrono::year{1601})
    throw Win32Exception(ERROR_INVALID_PARAMETER, u"Cannot convert datetime");
  const std::chrono::hh_mm_ss time(local - day);
  std::tm parts{};
  parts.tm_year = int{date.year()} - 1900;
  parts.tm_mon = static_cast<int>(unsigned{date.month()}) - 1;
  parts.tm_mday = static_cast<int>(unsigned{date.day()});
  parts.tm_hour = static_cast<int>(time.hours().count());
  parts.tm_min = static_cast<int>(time.minutes().count());
  parts.tm_sec = static_cast<int>(time.seconds().count());
  parts.tm_isdst = -1;
  parts.tm_wday = -1;  // stays so only when the conversion fails
  const std::time_t seconds = std::mktime(&parts);
  if (parts.tm_wday == -1)
    throw Win32Exception(ERROR_INVALID_PARAMETER, u"Cannot convert datetime");
  return UniversalTime(std::chrono::seconds(seconds)) + time.subseconds();
}

}  // namespace

std::u16string DateTimeText(double local_time) {
  return DateTimeText(ToUniversal(FromAutomation(local_time)));
}

std::u16string DateTimeText(UniversalTime universal) {
  const sys_days day = std::chrono::floor<days>(universal);
  const std::chrono::year_month_day date(day);
  const std::chrono::hh_mm_ss time(universal - day);
  ComPtr<ISWbemDateTime> text;
  const HRESULT hr = CoCreateInstance(CLSID_SWbemDateTime, ISWbemDateTime::kIid, text.PutVoid());
  if (Failed(hr)) throw ComException(hr, u"Cannot create WMI datetime object");
  ThrowIfFailed(text->SetYear(int{date.year()}));
  ThrowIfFailed(text->SetMonth(static_cast<std::int32_t>(unsigned{date.month()})));
  ThrowIfFailed(text->SetDay(static_cast<std::int32_t>(unsigned{date.day()})));
  ThrowIfFailed(text->SetHours(static_cast<std::int32_t>(time.hours().count())));
  ThrowIfFailed(text->SetMinutes(static_cast<std::int32_t>(time.minutes().count())));
  ThrowIfFailed(text->SetSeconds(static_cast<std::int32_t>(time.seconds().count())));
  ThrowIfFailed(text->SetMicroseconds(static_cast<std::int32_t>(time.subseconds().count() * 1000)));
  ThrowIfFailed(text->SetUtcOffset(0));
  std::u16string value;
  ThrowIfFailed(text->GetValue(&value));
  return value;
}

double ToAutomation(std::chrono::sys_seconds time) {
  const std::time_t seconds = time.time_since_epoch().count();
  std::tm parts{};
  if (!localtime_r(&seconds, &parts))
    throw Win32Exception(ERROR_INVALID_PARAMETER, u"Cannot convert datetime");
  const std::chrono::local_seconds local(
      (time + std::chrono::seconds(parts.tm_gmtoff)).time_since_epoch());
  const auto day = std::chrono::floor<days>(local);
  const double whole = (day - kAutomationEpoch).count();
  const double fraction = static_cast<double>((local - day).count()) / 86400;
  return whole < 0 ? whole - fraction : whole + fraction;
}

}  // namespace kelvarion
