#include "host/event_text.h"

#include <algorithm>
#include <ctime>

#include "host/text.h"

namespace kelvarion::host {
namespace {

struct EventText {
  std::uint32_t id;
  const char* text;  // %1 … stand for the record's strings.
};
constexpr EventText kEventTexts[] = {
    {0xC00007D0, "A request failed: %1"},
    {0xC00007D1, "A request failed for an unknown reason."},
    {0xC00007D2,
     "A client was refused: it is not served, or does not let the server act on its behalf."},
    {0xC00007D3, "A client was refused because it could not be identified: %1"},
    {0x800007D4, "%1"},
    {0xC00007D5, "A change of permissions could not be recorded: error %1"},
    {2006, "Permissions of %2 in repository %1 changed from [%3] to [%4]"},
    {2007, "Permissions of %2 in repository %1 changed from [%3] to [%4]; all below it were reset"},
    {0xC0000BB8, "The slave %1 does not follow its master: %2"},
    {3001, "The slave %1 follows its master again"},
    {2008, "Permissions of the whole server changed from [%1] to [%2]"},
};

const char* TypeText(platform::EventType type) {
  switch (type) {
    case platform::EventType::kError:
      return "error";
    case platform::EventType::kWarning:
      return "warning";
    case platform::EventType::kInformation:
      return "information";
  }
  return "unknown";
}

std::string TimeText(std::time_t seconds, bool universal) {
  std::tm parts{};
  if (universal) {
    gmtime_r(&seconds, &parts);
  } else {
    localtime_r(&seconds, &parts);
  }
  char text[64];
  const char* const form = universal ? "%Y-%m-%dT%H:%M:%S" : "%Y-%m-%d %H:%M:%S";
  return {text, std::strftime(text, sizeof text, form, &parts)};
}

// The account's name; its SID when nobody knows it.
std::string UserText(const platform::EventRecord& record,
                     const platform::SecurityAuthority& accounts) {
  if (!record.user_sid) return "-";
  platform::AccountName name;
  if (accounts.LookupAccountSid(*record.user_sid, name) != ERROR_SUCCESS)
    return Utf8(*record.user_sid);
  return Utf8(name.name);
}

std::string JoinedStrings(const platform::EventRecord& record) {
  return Utf8(Join(record.strings, u"; "));
}

}  // namespace

std::string EventMessage(const platform::EventRecord& record) {
  const auto* const known = std::find_if(std::begin(kEventTexts), std::end(kEventTexts),
                                         [&](const EventText& row) { return row.id == record.id; });
  if (known == std::end(kEventTexts)) return JoinedStrings(record);
  std::string message;
  for (const char* c = known->text; *c; ++c) {
    if (*c != '%') {
      message += *c;
      continue;
    }
    const std::size_t index = static_cast<std::size_t>(*++c - '1');
    if (index < record.strings.size()) message += Utf8(record.strings[index]);
  }
  return message;
}

std::string EventLine(const platform::EventRecord& record,
                      const platform::SecurityAuthority& accounts) {
  std::string line = TimeText(record.time_us / 1'000'000, false) + "  " + Utf8(record.source) +
                     "  " + TypeText(record.type) + "  " +
                     StatusText(static_cast<HRESULT>(record.id)) + "  " +
                     UserText(record, accounts) + "  " + EventMessage(record);
  for (char& c : line)
    if (static_cast<unsigned char>(c) < ' ') c = ' ';
  return line + "\n";
}

Json EventToJson(const platform::EventRecord& record, const platform::SecurityAuthority& accounts) {
  std::string micros = std::to_string(record.time_us % 1'000'000);
  micros.insert(0, 6 - micros.size(), '0');
  Json strings = Json::array();
  for (const std::u16string& text : record.strings) strings.push_back(Utf8(text));
  return {{"Time", TimeText(record.time_us / 1'000'000, true) + "." + micros + "Z"},
          {"Source", Utf8(record.source)},
          {"Type", TypeText(record.type)},
          {"Id", StatusText(static_cast<HRESULT>(record.id))},
          {"User", record.user_sid ? Json(UserText(record, accounts)) : Json(nullptr)},
          {"UserSid", record.user_sid ? Json(Utf8(*record.user_sid)) : Json(nullptr)},
          {"Strings", strings},
          {"Message", EventMessage(record)}};
}

}  // namespace kelvarion::host
