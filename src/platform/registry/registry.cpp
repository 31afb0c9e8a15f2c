#include "platform/registry/registry.h"

namespace kelvarion::platform {
namespace {

void Append(std::vector<std::uint8_t>& data, const std::u16string& text) {
  for (const char16_t c : text) {
    data.push_back(static_cast<std::uint8_t>(c & 0xFF));
    data.push_back(static_cast<std::uint8_t>(c >> 8));
  }
}

void AppendWithNul(std::vector<std::uint8_t>& data, const std::u16string& text) {
  Append(data, text);
  data.insert(data.end(), 2, 0);
}

}  // namespace

RegistryValue RegistryValue::String(const std::u16string& text) {
  RegistryValue value{RegistryType::kString, {}};
  AppendWithNul(value.data, text);
  return value;
}

RegistryValue RegistryValue::Dword(std::uint32_t number) {
  RegistryValue value{RegistryType::kDword, {}};
  for (int shift = 0; shift < 32; shift += 8)
    value.data.push_back(static_cast<std::uint8_t>(number >> shift));
  return value;
}

RegistryValue RegistryValue::MultiString(const std::vector<std::u16string>& list) {
  RegistryValue value{RegistryType::kMultiString, {}};
  for (const std::u16string& text : list) AppendWithNul(value.data, text);
  AppendWithNul(value.data, u"");
  return value;
}

}  // namespace kelvarion::platform
