#include "platform/event_log/record_line.h"

#include <nlohmann/json.hpp>

#include "platform/text/encoding.h"

namespace kelvarion::platform {
namespace {

using Json = nlohmann::ordered_json;

// Every line begins with it, and no text inside a record can hold it, since quotes are escaped
// there.
constexpr const char* kRecordStart = "{\"time_us\":";

// One UTF-16 unit becomes at most six bytes; the rest is for what stands around the strings.
constexpr std::uint64_t kBytesPerUnit = 8;

struct TypeName {
  EventType type;
  const char* name;
};
constexpr TypeName kTypes[] = {
    {EventType::kError, "error"},
    {EventType::kWarning, "warning"},
    {EventType::kInformation, "information"},
};

// Text that is damaged is shown as far as it goes: a record must not be lost for it.
std::string Line(const EventRecord& record, std::int64_t time_us) {
  Json line;
  line["time_us"] = time_us;
  line["source"] = Utf8ForDisplay(record.source);
  line["type"] = EventTypeName(record.type);
  line["category"] = record.category;
  line["id"] = record.id;
  if (record.user_sid) line["user"] = Utf8ForDisplay(*record.user_sid);
  Json& strings = line["strings"] = Json::array();
  for (const std::u16string& text : record.strings) strings.push_back(Utf8ForDisplay(text));
  return line.dump() + "\n";
}

}  // namespace

const char* EventTypeName(EventType type) {
  for (const TypeName& each : kTypes)
    if (each.type == type) return each.name;
  return "information";
}

std::string ToLine(const EventRecord& record, std::int64_t time_us, std::uint64_t max_size) {
  std::string line = Line(record, time_us);
  if (line.size() <= max_size) return line;
  EventRecord cut = record;
  const std::uint64_t longest = max_size / kBytesPerUnit / (cut.strings.size() + 1);
  for (std::u16string& text : cut.strings)
    if (text.size() > longest) text = text.substr(0, longest) + u"…";
  return Line(cut, time_us);
}

bool FromLine(const std::string& line, EventRecord& out) {
  const std::size_t start = line.rfind(kRecordStart);
  if (start == std::string::npos) return false;
  const Json json = Json::parse(line.substr(start), nullptr, false);
  if (json.is_discarded()) return false;
  try {
    for (const char* const number : {"time_us", "category", "id"})
      if (!json.at(number).is_number_integer()) return false;
    out.time_us = json.at("time_us").get<std::int64_t>();
    out.source = Utf16ForDisplay(json.at("source").get<std::string>());
    const auto type = json.at("type").get<std::string>();
    for (const TypeName& each : kTypes)
      if (type == each.name) out.type = each.type;
    out.category = json.at("category").get<std::uint16_t>();
    out.id = json.at("id").get<std::uint32_t>();
    if (json.contains("user")) out.user_sid = Utf16ForDisplay(json.at("user").get<std::string>());
    for (const auto& text : json.at("strings").get<std::vector<std::string>>())
      out.strings.push_back(Utf16ForDisplay(text));
  } catch (const nlohmann::json::exception&) {
    return false;
  }
  return true;
}

}  // namespace kelvarion::platform
