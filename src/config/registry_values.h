// Typed reads and writes of the values of one registry key.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "platform/registry/registry.h"

namespace kelvarion {

class JournalFile;

// Failures throw Win32Exception. A missing key counts as one whose values are all missing when
// reading, and is a failure when writing. The registry must outlive the object.
class RegistryValues {
 public:
  RegistryValues(platform::Registry& registry, platform::KeyPath key)
      : registry_(registry), key_(std::move(key)) {}

  // Accepts REG_SZ and REG_EXPAND_SZ, not expanded.
  std::u16string ReadString(const std::u16string& name,
                            const std::optional<std::u16string>& default_value) const;
  std::uint32_t ReadDword(const std::u16string& name, std::uint32_t default_value) const;
  // The non-empty strings in order; empty when the value is missing.
  std::vector<std::u16string> ReadMultiString(const std::u16string& name) const;

  void WriteString(const std::u16string& name, const std::u16string& text);
  void WriteDword(const std::u16string& name, std::uint32_t number);
  void WriteMultiString(const std::u16string& name, const std::vector<std::u16string>& list);

  void Save(const std::u16string& name, JournalFile& journal) const;
  void Restore(const std::u16string& name, JournalFile& journal);

 private:
  bool KeyExists() const;
  // As the registry's; ERROR_PATH_NOT_FOUND when it is the key that is missing. Throws when the key
  // cannot be opened.
  Win32Error Query(const std::u16string& name, platform::RegistryValue& out) const;
  void OpenForWriting() const;
  void SetRaw(const std::u16string& name, const platform::RegistryValue& value);
  [[noreturn]] void ThrowCannotOpen(Win32Error error) const;

  platform::Registry& registry_;
  platform::KeyPath key_;
};

// The symbolic name of a predefined key, "UNKNOWN" for another.
const char16_t* RootKeyName(platform::RootKey root);

}  // namespace kelvarion
