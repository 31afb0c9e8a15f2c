// The name of a property together with the type that our code reads and writes it as.
#pragma once

#include <concepts>
#include <cstdint>
#include <string>
#include <vector>

namespace kelvarion {

class WMIObject;

// Spelled once per property as a constant: `constexpr Property<bool> kEnabled{u"Enabled"};`.
template <class T>
struct Property {
  const char16_t* name;
};

// The type of a date-time property: Property<DateTime>.
struct DateTime {};

// An unsigned 64-bit property can be written, but not read.
template <class T>
concept ReadableProperty = std::same_as<T, std::u16string> || std::same_as<T, bool> ||
    std::same_as<T, std::uint32_t> || std::same_as<T, WMIObject> ||
    std::same_as<T, std::vector<WMIObject>> || std::same_as<T, std::vector<std::u16string>>;

template <class T>
concept WritableProperty = ReadableProperty<T> || std::same_as<T, std::uint64_t>;

}  // namespace kelvarion
