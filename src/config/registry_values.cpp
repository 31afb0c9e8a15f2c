#include "config/registry_values.h"

#include "config/journal.h"
#include "errors/exception.h"

namespace kelvarion {
namespace {

using platform::RegistryType;
using platform::RegistryValue;
using platform::RootKey;

bool IsMissing(Win32Error error) {
  return error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND;
}

std::u16string Characters(const RegistryValue& value) {
  std::u16string text;
  for (std::size_t i = 0; i + 1 < value.data.size(); i += 2)
    text.push_back(static_cast<char16_t>(value.data[i] | value.data[i + 1] << 8));
  return text;
}

[[noreturn]] void CannotRead(Win32Error error, const std::u16string& name) {
  throw Win32Exception(error, u"Cannot read configuration parameter '%s' from registry", name);
}

}  // namespace

const char16_t* RootKeyName(RootKey root) {
  switch (root) {
    case RootKey::kClassesRoot:
      return u"HKEY_CLASSES_ROOT";
    case RootKey::kCurrentUser:
      return u"HKEY_CURRENT_USER";
    case RootKey::kLocalMachine:
      return u"HKEY_LOCAL_MACHINE";
    case RootKey::kUsers:
      return u"HKEY_USERS";
    case RootKey::kPerformanceData:
      return u"HKEY_PERFORMANCE_DATA";
    case RootKey::kPerformanceText:
      return u"HKEY_PERFORMANCE_TEXT";
    case RootKey::kPerformanceNlsText:
      return u"HKEY_PERFORMANCE_NLSTEXT";
    case RootKey::kCurrentConfig:
      return u"HKEY_CURRENT_CONFIG";
    case RootKey::kDynData:
      return u"HKEY_DYN_DATA";
  }
  return u"UNKNOWN";
}

void RegistryValues::ThrowCannotOpen(Win32Error error) const {
  throw Win32Exception(error, u"Cannot open registry key %s\\%s", RootKeyName(key_.root),
                       key_.path);
}

bool RegistryValues::KeyExists() const {
  const Win32Error error = registry_.OpenKey(key_);
  if (error != ERROR_SUCCESS && !IsMissing(error)) ThrowCannotOpen(error);
  return error == ERROR_SUCCESS;
}

void RegistryValues::OpenForWriting() const {
  if (const Win32Error error = registry_.OpenKey(key_)) ThrowCannotOpen(error);
}

// Nearly always the value is there, and then so is its key.
Win32Error RegistryValues::Query(const std::u16string& name, RegistryValue& out) const {
  const Win32Error error = registry_.Query(key_, name, out);
  return error == ERROR_SUCCESS || KeyExists() ? error : ERROR_PATH_NOT_FOUND;
}

std::u16string RegistryValues::ReadString(
    const std::u16string& name, const std::optional<std::u16string>& default_value) const {
  RegistryValue value;
  const Win32Error error = Query(name, value);
  if (IsMissing(error) && default_value) return *default_value;
  if (error == ERROR_PATH_NOT_FOUND) ThrowCannotOpen(ERROR_FILE_NOT_FOUND);
  if (error != ERROR_SUCCESS) CannotRead(error, name);
  if (value.type != RegistryType::kString && value.type != RegistryType::kExpandString)
    CannotRead(ERROR_INVALID_DATA, name);
  const std::u16string text = Characters(value);
  return text.substr(0, text.find(u'\0'));
}

std::uint32_t RegistryValues::ReadDword(const std::u16string& name,
                                        std::uint32_t default_value) const {
  RegistryValue value;
  const Win32Error error = Query(name, value);
  if (IsMissing(error)) return default_value;
  if (error != ERROR_SUCCESS) CannotRead(error, name);
  if (value.type != RegistryType::kDword || value.data.size() != sizeof(std::uint32_t))
    CannotRead(ERROR_INVALID_DATA, name);
  std::uint32_t number = 0;
  for (std::size_t i = value.data.size(); i-- > 0;) number = number << 8 | value.data[i];
  return number;
}

std::vector<std::u16string> RegistryValues::ReadMultiString(const std::u16string& name) const {
  std::vector<std::u16string> list;
  RegistryValue value;
  const Win32Error error = Query(name, value);
  if (IsMissing(error)) return list;
  if (error != ERROR_SUCCESS) throw Win32Exception(error, u"Cannot query the '%s' value", name);
  if (value.type != RegistryType::kMultiString)
    throw Win32Exception(ERROR_INVALID_DATA, u"Data type of '%s' value is unexpected", name);
  const std::u16string text = Characters(value);
  for (std::size_t start = 0; start < text.size();) {
    const std::size_t end = std::min(text.find(u'\0', start), text.size());
    if (end > start) list.push_back(text.substr(start, end - start));
    start = end + 1;
  }
  return list;
}

void RegistryValues::WriteString(const std::u16string& name, const std::u16string& text) {
  OpenForWriting();
  if (const Win32Error error = registry_.Set(key_, name, RegistryValue::String(text)))
    throw Win32Exception(error, u"Cannot write registry value");
}

void RegistryValues::WriteDword(const std::u16string& name, std::uint32_t number) {
  OpenForWriting();
  if (const Win32Error error = registry_.Set(key_, name, RegistryValue::Dword(number)))
    throw Win32Exception(error, u"Cannot write registry value");
}

void RegistryValues::WriteMultiString(const std::u16string& name,
                                      const std::vector<std::u16string>& list) {
  OpenForWriting();
  SetRaw(name, RegistryValue::MultiString(list));
}

void RegistryValues::SetRaw(const std::u16string& name, const RegistryValue& value) {
  if (const Win32Error error = registry_.Set(key_, name, value))
    throw Win32Exception(error, u"Cannot set registry '%s' value", name);
}

void RegistryValues::Save(const std::u16string& name, JournalFile& journal) const {
  RegistryValue value;
  const Win32Error error = Query(name, value);
  if (error != ERROR_SUCCESS && !IsMissing(error)) CannotRead(error, name);
  journal.WriteInteger(error == ERROR_SUCCESS ? 1 : 0);
  if (error == ERROR_SUCCESS) {
    journal.WriteInteger(static_cast<std::uint32_t>(value.type));
    journal.WriteBlock(value.data);
  }
  journal.Flush();
}

void RegistryValues::Restore(const std::u16string& name, JournalFile& journal) {
  if (journal.ReadInteger() != 0) {
    const auto type = static_cast<RegistryType>(journal.ReadInteger());
    const std::vector<std::uint8_t> data = journal.ReadBlock();
    OpenForWriting();
    SetRaw(name, {type, data});
    return;
  }
  const Win32Error error = registry_.DeleteValue(key_, name);
  if (error != ERROR_SUCCESS && !IsMissing(error))
    throw Win32Exception(error, u"Can't delete registry value '%s'", name);
}

}  // namespace kelvarion
