// The keys of one section of an INI-style text, with their values.
#pragma once

#include <initializer_list>
#include <map>
#include <string>
#include <string_view>

namespace kelvarion::access {

// A map in the order of code units. One that was read may stay as the lines it has in the file
// until somebody looks at its keys: changing one section of a large file costs nothing for the
// others. One thread at a time, also for reading.
class IniSection {
 public:
  using Keys = std::map<std::u16string, std::u16string>;

  IniSection() = default;
  IniSection(std::initializer_list<Keys::value_type> keys) : keys_(keys) {}
  // From what AppendLines makes.
  static IniSection OfLines(std::string_view lines);

  auto begin() { return keys().begin(); }
  auto begin() const { return keys().begin(); }
  auto end() { return keys().end(); }
  auto end() const { return keys().end(); }
  auto find(const std::u16string& key) const { return keys().find(key); }
  bool empty() const { return lines_.empty() && keys_.empty(); }
  std::u16string& operator[](const std::u16string& key) { return keys()[key]; }
  std::size_t erase(const std::u16string& key) { return keys().erase(key); }
  bool operator==(const IniSection& other) const { return keys() == other.keys(); }

  // "key=value", in UTF-8 with CR LF. Throws Win32Exception for text that cannot be encoded.
  void AppendLines(std::string& text) const;

 private:
  Keys& keys() const;

  mutable std::string lines_;  // Those of all keys while nobody has looked; then empty.
  mutable Keys keys_;
};

}  // namespace kelvarion::access
