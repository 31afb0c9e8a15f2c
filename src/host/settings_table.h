// Every setting of the server by name: how it is stored, what it may be, what it means.
#pragma once

#include <string>

#include "config/registry_values.h"
#include "host/argument.h"

namespace kelvarion::host {

enum class SettingKind {
  kText,
  kFlag,       // "1" or "0" as a text.
  kPort,       // A decimal number as a text.
  kFolder,     // An absolute path.
  kHostName,   // May be empty.
  kUrlPrefix,  // "/svn", or nothing.
  kDigest,     // "sha256" or "sha1".
  kAddresses,  // A list of texts.
  kNumber,
  kNumberFlag,  // 1 or 0 as a number.
};

struct Setting {
  const char16_t* name;
  SettingKind kind;
  const char16_t* default_text;  // Null: the server cannot do without it.
  const char* description;
};

extern const Setting kSettings[];
extern const std::size_t kSettingCount;

// Throws WMIException for a name that is no setting's; names compare ignoring case.
const Setting& FindSetting(const std::u16string& name);

// "REG_SZ", "REG_DWORD" or "REG_MULTI_SZ".
const char* StoredType(const Setting& setting);

// As stored: a text, a number or a list of texts; null when the setting is not set.
Json ReadSetting(const RegistryValues& values, const Setting& setting);

// Lists are written with commas. Throws WMIException for a value that the setting cannot have;
// nothing is then written.
void WriteSetting(RegistryValues& values, const Setting& setting, const std::u16string& text);

}  // namespace kelvarion::host
