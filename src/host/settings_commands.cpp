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

struct SettingWords {
  std::string name;
  std::string value;
};

Outcome List(Session& session) {
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

Outcome Get(Session& session, const SettingWords& words) {
  const Setting& setting = FindSetting(ParseWord(words.name));
  const Json value = ReadSetting(Values(session), setting);
  Outcome outcome;
  outcome.objects.push_back(ToJson(setting, value));
  outcome.text =
      (value.is_null() && setting.default_text ? Utf8(setting.default_text) : Shown(value)) + "\n";
  return outcome;
}

Outcome Set(Session& session, const SettingWords& words) {
  const Setting& setting = FindSetting(ParseWord(words.name));
  const std::u16string text = ParseWord(words.value);
  RegistryValues values = Values(session);
  WriteSetting(values, setting, text);
  const RegistryAccessor store(*session.machine()->registry);
  apache::RegenerateApacheConfig(store);
  if (setting.kind == SettingKind::kUrlPrefix) apache::RegenerateStartPages(store);
  Outcome outcome;
  outcome.objects.push_back(ToJson(setting, ReadSetting(values, setting)));
  return outcome;
}

}  // namespace

void AddSettingsCommands(CLI::App& app, Command& chosen) {
  CLI::App* const settings =
      AddGroup(app, "settings", "Show or change the settings as they are stored", chosen, List);
  settings->footer(
      "Examples:\n  kelvarionctl settings\n  kelvarionctl settings set HttpSvnCacheSize 256\n"
      "The web server takes changes up with: kelvarionctl server restart");
  AddCommand(*settings, "list", "Show all settings", chosen, List);
  const auto add = [&](const char* name, const char* description,
                       Outcome (*run)(Session&, const SettingWords&)) {
    const auto added = AddCommand(*settings, name, description, chosen, run);
    added.first->add_option("NAME", added.second->name, "Name of the setting")->required();
    return added;
  };
  add("get", "Show one setting", Get);
  const auto [set, words] = add("set", "Change one setting", Set);
  set->add_option("VALUE", words->value, "The new value; lists with commas")->required();
}

}  // namespace kelvarion::host
