#include "host/event_filter.h"

#include <algorithm>
#include <charconv>
#include <ctime>

#include "host/argument.h"
#include "platform/text/compare.h"
#include "platform/text/encoding.h"

namespace kelvarion::host {
namespace {

using platform::EventType;

constexpr std::int64_t kSecond = 1'000'000;

// Reads a date and time from left to right.
class Reader {
 public:
  explicit Reader(std::string_view rest) : rest_(rest) {}

  bool AtEnd() const { return rest_.empty(); }
  bool Take(char c) {
    if (rest_.empty() || rest_.front() != c) return false;
    rest_.remove_prefix(1);
    return true;
  }
  // Exactly so many digits, with a value in the range.
  bool Number(std::size_t digits, int least, int most, int& out) {
    if (rest_.size() < digits) return false;
    const char* const end = rest_.data() + digits;
    const auto result = std::from_chars(rest_.data(), end, out);
    if (result.ec != std::errc() || result.ptr != end || out < least || out > most) return false;
    rest_.remove_prefix(digits);
    return true;
  }

 private:
  std::string_view rest_;
};

struct Zone {
  bool local = true;
  int east_minutes = 0;
};

bool ReadTime(Reader& reader, std::tm& time) {
  if (!reader.Take('T') && !reader.Take(' ')) return false;
  if (!reader.Number(2, 0, 23, time.tm_hour)) return false;
  if (!reader.Take(':') || !reader.Number(2, 0, 59, time.tm_min)) return false;
  return !reader.Take(':') || reader.Number(2, 0, 60, time.tm_sec);
}

bool ReadZone(Reader& reader, Zone& zone) {
  zone.local = false;
  if (reader.Take('Z')) return true;
  const bool east = reader.Take('+');
  if (!east && !reader.Take('-')) return false;
  int hours = 0;
  int minutes = 0;
  if (!reader.Number(2, 0, 23, hours) || !reader.Take(':') || !reader.Number(2, 0, 59, minutes))
    return false;
  zone.east_minutes = (hours * 60 + minutes) * (east ? 1 : -1);
  return true;
}

bool ReadDate(Reader& reader, std::tm& time) {
  if (!reader.Number(4, 1970, 9999, time.tm_year) || !reader.Take('-')) return false;
  if (!reader.Number(2, 1, 12, time.tm_mon) || !reader.Take('-')) return false;
  if (!reader.Number(2, 1, 31, time.tm_mday)) return false;
  time.tm_year -= 1900;
  time.tm_mon -= 1;
  return true;
}

std::optional<std::int64_t> ParseMoment(std::string_view text) {
  Reader reader(text);
  std::tm time{};
  Zone zone;
  if (!ReadDate(reader, time)) return std::nullopt;
  if (!reader.AtEnd() && !ReadTime(reader, time)) return std::nullopt;
  if (!reader.AtEnd() && (!ReadZone(reader, zone) || !reader.AtEnd())) return std::nullopt;
  time.tm_isdst = -1;
  const int day = time.tm_mday;
  const std::time_t seconds = zone.local ? std::mktime(&time) : timegm(&time);
  // A day that the month does not have became one of the next.
  if (time.tm_mday != day) return std::nullopt;
  return (static_cast<std::int64_t>(seconds) - zone.east_minutes * 60) * kSecond;
}

std::optional<std::int64_t> ParseSpan(std::string_view text) {
  constexpr struct {
    char letter;
    std::int64_t seconds;
  } kUnits[] = {{'s', 1}, {'m', 60}, {'h', 3600}, {'d', 86400}, {'w', 604800}};
  std::uint32_t count = 0;
  const auto result = std::from_chars(text.data(), text.data() + text.size(), count);
  if (result.ec != std::errc() || result.ptr + 1 != text.data() + text.size()) return std::nullopt;
  for (const auto& unit : kUnits)
    if (unit.letter == text.back()) return count * unit.seconds * kSecond;
  return std::nullopt;
}

bool Holds(const std::u16string& source, const std::u16string& part) {
  return platform::FoldCase(source).find(platform::FoldCase(part)) != std::u16string::npos;
}

}  // namespace

bool EventFilter::Accepts(const platform::EventRecord& record) const {
  if (since_us && record.time_us < *since_us) return false;
  if (!types.empty() && !std::ranges::count(types, record.type)) return false;
  return sources.empty() || std::ranges::any_of(sources, [&](const std::u16string& part) {
           return Holds(record.source, part);
         });
}

platform::EventType ParseEventType(const std::string& text) {
  constexpr struct {
    const char16_t* name;
    EventType type;
  } kTypes[] = {{u"error", EventType::kError},
                {u"warning", EventType::kWarning},
                {u"information", EventType::kInformation}};
  for (const auto& each : kTypes)
    if (platform::EqualIgnoreCase(platform::Utf16ForDisplay(text), each.name)) return each.type;
  throw UsageError("There is no type '" + text + "' of events: error, warning or information.");
}

std::int64_t ParseSince(std::string_view text, std::int64_t now_us) {
  if (const auto span = ParseSpan(text)) return now_us - *span;
  if (const auto moment = ParseMoment(text)) return *moment;
  throw UsageError("'" + std::string(text) +
                   "' is neither a span (90s, 10m, 2h, 3d, 1w) nor a date with or without a time "
                   "(2026-01-31, 2026-01-31T12:00).");
}

}  // namespace kelvarion::host
