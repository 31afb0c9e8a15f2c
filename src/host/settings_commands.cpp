#include "apache/configuration_generator.h"
#include "config/registry_accessor.h"
#include "host/commands.h"
#include "host/settings_table.h"
#include "host/table.h"
#include "host/text.h"

namespace kelvarion::host {
namespace {

RegistryValues Values(Session& session) {
  return {*session.machine()->registry, {platform::RootKey::kLocalMachine, kServerKeyPath}};
}

std::string Shown(const Json& value) {
  if (value.is_string()) return value.get<std::string>();
  if (!value.is_array()) return value.is_null() ? "" : value.dump();
  std::string text;
  for (const Json& item : value) text += (text.empty() ? "" : ",") + item.get<std::string>();
  return text;
}

Json ToJson(const Setting& setting, const Json& value) {
  return {{"Name", Utf8(setting.name)},
          {"Type", StoredType(setting)},
          {"Value", value},
          {"Default", setting.default_text ? Json(Utf8(setting.default_text)) : Json(nullptr)},
          {"Description", setting.description}};
}

// In brackets when the value is the default one of a setting that is not set.
std::string ShownOrDefault(const Setting& setting, const Json& value) {
  if (!value.is_null()) return Shown(value);
  return setting.default_text ? "(" + Utf8(setting.default_text) + ")" : "not set";
}

}  // namespace

Outcome ListSettings(Session& session) {
  const RegistryValues values = Values(session);
  Outcome outcome;
  Table table{{"SETTING", "VALUE", "MEANING"}, {}};
  for (std::size_t i = 0; i < kSettingCount; ++i) {
    const Setting& setting = kSettings[i];
    const Json value = ReadSetting(values, setting);
    outcome.objects.push_back(ToJson(setting, value));
    table.rows.push_back({Utf8(setting.name), ShownOrDefault(setting, value), setting.description});
  }
  outcome.text = table.Render(table.headings.size());
  return outcome;
}

Outcome GetSetting(Session& session, const std::string& name) {
  const Setting& setting = FindSetting(ParseWord(name));
  const Json value = ReadSetting(Values(session), setting);
  Outcome outcome;
  outcome.objects.push_back(ToJson(setting, value));
  outcome.text =
      (value.is_null() && setting.default_text ? Utf8(setting.default_text) : Shown(value)) + "\n";
  return outcome;
}

Outcome SetSetting(Session& session, const std::string& name, const std::string& value) {
  const Setting& setting = FindSetting(ParseWord(name));
  const std::u16string text = ParseWord(value);
  RegistryValues values = Values(session);
  WriteSetting(values, setting, text);
  const RegistryAccessor store(*session.machine()->registry);
  apache::RegenerateApacheConfig(store);
  if (setting.kind == SettingKind::kUrlPrefix) apache::RegenerateStartPages(store);
  Outcome outcome;
  outcome.objects.push_back(ToJson(setting, ReadSetting(values, setting)));
  return outcome;
}

}  // namespace kelvarion::host
