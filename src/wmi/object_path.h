// The parts of an object path.
#pragma once

#include <array>
#include <optional>
#include <string>
#include <vector>

#include "platform/wmi/interfaces.h"
#include "wmi/property.h"

namespace kelvarion {

// One per request, for one thread; copies share the path. Failures are ComExceptions unless said
// otherwise.
class ParsedObjectPath {
 public:
  struct NamedKey {
    std::u16string name;  // empty for a key given without a name
    std::u16string value;
  };

  explicit ParsedObjectPath(ComPtr<IWbemPath> path) : path_(std::move(path)) {}

  std::u16string ClassName() const;
  bool IsSameClass(const std::u16string& name) const;
  // A set of WBEMPATH_INFO_* flags.
  std::uint64_t Info() const;
  bool IsInstance() const { return (Info() & WBEMPATH_INFO_IS_INST_REF) != 0; }

  // 0 for a singleton or a class.
  std::uint32_t KeyCount() const;
  // Whatever its type, a value reads as its text.
  NamedKey KeyAt(std::uint32_t index) const;

  // The value of the path's only key, which must have this name in any letter case: WMIException
  // WBEM_E_INVALID_OBJECT_PATH otherwise.
  template <class T>
  std::u16string Key(const Property<T>& property) const {
    return ReadKeys({property.name}).front();
  }

  // The values of exactly these keys, in this order: `const auto [a, b] = path.Keys(kA, kB);`.
  // WMIException WBEM_E_INVALID_OBJECT_PATH when the path has more, fewer or other keys.
  template <class... T>
  std::array<std::u16string, sizeof...(T)> Keys(const Property<T>&... properties) const {
    std::vector<std::u16string> values = ReadKeys({properties.name...});
    std::array<std::u16string, sizeof...(T)> result;
    for (std::size_t i = 0; i < result.size(); ++i) result[i] = std::move(values[i]);
    return result;
  }

  void SetClassName(const std::u16string& name);
  template <class T>
  void SetKey(const Property<T>& property, const std::u16string& value) {
    SetStringKey(property.name, value);
  }

  std::u16string Text() const;

 private:
  struct KeyList {
    ComPtr<IWbemPathKeyList> keys;
    std::uint32_t count = 0;
  };
  const KeyList& FetchKeys() const;
  std::vector<std::u16string> ReadKeys(const std::vector<std::u16string>& expected) const;
  void SetStringKey(const std::u16string& name, const std::u16string& value);

  ComPtr<IWbemPath> path_;
  mutable std::optional<KeyList> keys_;
};

}  // namespace kelvarion
