#include "wmi/object_path.h"

#include <algorithm>

#include "errors/exception.h"
#include "platform/text/compare.h"

namespace kelvarion {

std::u16string ParsedObjectPath::ClassName() const {
  std::u16string name;
  ThrowIfFailed(path_->GetClassName(&name));
  return name;
}

bool ParsedObjectPath::IsSameClass(const std::u16string& name) const {
  return path_->IsSameClassName(name);
}

std::uint64_t ParsedObjectPath::Info() const {
  std::uint64_t info = 0;
  ThrowIfFailed(path_->GetInfo(0, &info));
  return info;
}

std::uint32_t ParsedObjectPath::KeyCount() const { return FetchKeys().count; }

ParsedObjectPath::NamedKey ParsedObjectPath::KeyAt(std::uint32_t index) const {
  NamedKey key;
  Variant value;
  ThrowIfFailed(FetchKeys().keys->GetKey2(index, 0, &key.name, &value, nullptr));
  Variant text;
  ThrowIfFailed(ChangeType(value, VT_BSTR, text));
  key.value = text.AsString();
  return key;
}

const ParsedObjectPath::KeyList& ParsedObjectPath::FetchKeys() const {
  if (!keys_) {
    KeyList list;
    ThrowIfFailed(path_->GetKeyList(list.keys.Put()));
    ThrowIfFailed(list.keys->GetCount(&list.count));
    keys_ = std::move(list);
  }
  return *keys_;
}

std::vector<std::u16string> ParsedObjectPath::ReadKeys(
    const std::vector<std::u16string>& expected) const {
  if (KeyCount() != expected.size()) throw WMIException(WBEM_E_INVALID_OBJECT_PATH);
  std::vector<std::u16string> values(expected.size());
  for (std::uint32_t i = 0; i < KeyCount(); ++i) {
    NamedKey key = KeyAt(i);
    const auto match = std::find_if(expected.begin(), expected.end(), [&](const auto& name) {
      return platform::EqualIgnoreCase(name, key.name);
    });
    if (match == expected.end()) throw WMIException(WBEM_E_INVALID_OBJECT_PATH);
    values[static_cast<std::size_t>(match - expected.begin())] = std::move(key.value);
  }
  return values;
}

void ParsedObjectPath::SetClassName(const std::u16string& name) {
  ThrowIfFailed(path_->SetClassName(name));
}

void ParsedObjectPath::SetStringKey(const std::u16string& name, const std::u16string& value) {
  const ComPtr<IWbemPathKeyList> keys = FetchKeys().keys;
  ThrowIfFailed(keys->SetKey2(name, 0, CIM_STRING, Variant::FromString(value)));
  keys_.reset();
}

std::u16string ParsedObjectPath::Text() const {
  std::u16string text;
  ThrowIfFailed(path_->GetText(0, &text));
  return text;
}

}  // namespace kelvarion
