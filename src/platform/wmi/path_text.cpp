#include "platform/wmi/path_text.h"

#include <algorithm>
#include <limits>

#include "platform/wmi/names.h"

namespace kelvarion::platform::wmi {
namespace {

bool IsDigit(char16_t c) { return c >= u'0' && c <= u'9'; }
bool IsLetter(char16_t c) {
  return (c >= u'a' && c <= u'z') || (c >= u'A' && c <= u'Z') || c == u'_';
}

// Reads a path from the class on; every Take and Read skips blanks first.
class PathReader {
 public:
  explicit PathReader(std::u16string_view text) : text_(text) {}

  bool AtEnd() {
    SkipBlanks();
    return at_ == text_.size();
  }
  bool Take(char16_t c) {
    if (AtEnd() || text_[at_] != c) return false;
    ++at_;
    return true;
  }
  std::u16string ReadWord() {
    SkipBlanks();
    const std::size_t start = at_;
    while (at_ < text_.size() && (IsLetter(text_[at_]) || IsDigit(text_[at_]))) ++at_;
    return std::u16string(text_.substr(start, at_ - start));
  }
  bool ReadValue(PathKey& key) {
    if (AtEnd()) return false;
    const char16_t c = text_[at_];
    if (c == u'"' || c == u'\'') return ReadQuoted(c, key);
    if (IsLetter(c)) return ReadTruth(key);
    return ReadInteger(key);
  }

 private:
  void SkipBlanks() {
    while (at_ < text_.size() && (text_[at_] == u' ' || text_[at_] == u'\t')) ++at_;
  }

  bool ReadQuoted(char16_t quote, PathKey& key) {
    std::u16string value;
    for (++at_; at_ < text_.size(); ++at_) {
      char16_t c = text_[at_];
      if (c == quote) {
        ++at_;
        key.type = CIM_STRING;
        key.value = Variant::FromString(std::move(value));
        return true;
      }
      if (c == u'\\') {
        if (++at_ == text_.size()) return false;
        c = text_[at_];
        if (c != u'\\' && c != u'"' && c != u'\'') return false;
      }
      value.push_back(c);
    }
    return false;
  }

  bool ReadTruth(PathKey& key) {
    const std::u16string word = ReadWord();
    const bool truth = EqualNames(word, u"TRUE");
    if (!truth && !EqualNames(word, u"FALSE")) return false;
    key.type = CIM_BOOLEAN;
    key.value = Variant::FromBool(truth);
    return true;
  }

  bool ReadInteger(PathKey& key) {
    const bool negative = Take(u'-');
    const std::u16string digits = ReadWord();
    std::uint64_t magnitude = 0;
    if (!ReadMagnitude(digits, magnitude)) return false;
    if (negative && magnitude > 1ull << 63) return false;
    if (!negative && magnitude > std::numeric_limits<std::int64_t>::max())
      key.type = CIM_UINT64;
    else
      key.type = magnitude <= (negative ? 1u << 31 : (1u << 31) - 1) ? CIM_SINT32 : CIM_SINT64;
    const std::int64_t number = static_cast<std::int64_t>(negative ? 0 - magnitude : magnitude);
    if (key.type == CIM_SINT32) {
      key.value = Variant::FromI4(static_cast<std::int32_t>(number));
      return true;
    }
    const std::string text =
        key.type == CIM_UINT64 ? std::to_string(magnitude) : std::to_string(number);
    key.value = Variant::FromString({text.begin(), text.end()});
    return true;
  }

  static bool ReadMagnitude(std::u16string_view digits, std::uint64_t& out) {
    const bool hex = digits.starts_with(u"0x") || digits.starts_with(u"0X");
    if (hex) digits.remove_prefix(2);
    const std::uint64_t base = hex ? 16 : 10;
    for (const char16_t c : digits) {
      std::uint64_t digit = base;
      if (IsDigit(c))
        digit = c - u'0';
      else if (c >= u'a' && c <= u'f')
        digit = c - u'a' + 10u;
      else if (c >= u'A' && c <= u'F')
        digit = c - u'A' + 10u;
      if (digit >= base || out > (std::numeric_limits<std::uint64_t>::max() - digit) / base)
        return false;
      out = out * base + digit;
    }
    return !digits.empty();
  }

  std::u16string_view text_;
  std::size_t at_ = 0;
};

// Where the class begins. A quotation mark ends the search: a colon in a value separates nothing.
std::size_t ScopeLength(std::u16string_view text) {
  const std::size_t end = text.find_first_of(u"=\"'");
  const std::size_t colon = text.substr(0, end).find(u':');
  return colon == std::u16string_view::npos ? 0 : colon + 1;
}

bool IsScope(std::u16string_view scope) {
  if (scope.empty()) return true;
  scope.remove_suffix(1);
  if (scope.starts_with(u"\\\\") || scope.starts_with(u"//")) {
    scope.remove_prefix(2);
    const std::size_t server = scope.find_first_of(u"\\/");
    if (server == 0 || server == std::u16string_view::npos) return false;
    scope.remove_prefix(server + 1);
  }
  while (!scope.empty()) {
    const std::size_t end = std::min(scope.find_first_of(u"\\/"), scope.size());
    if (!IsClassName(scope.substr(0, end))) return false;
    if (end == scope.size()) return true;
    scope.remove_prefix(end + 1);
  }
  return false;
}

bool ReadKeys(PathReader& reader, std::vector<PathKey>& keys) {
  do {
    PathKey key;
    key.name = reader.ReadWord();
    if (!IsClassName(key.name) || FindNamed(keys, key.name) != keys.end()) return false;
    if (!reader.Take(u'=') || !reader.ReadValue(key)) return false;
    keys.push_back(std::move(key));
  } while (reader.Take(u','));
  return true;
}

void AppendValue(const PathKey& key, std::u16string& text) {
  if (key.value.type() == VT_BOOL) {
    text += key.value.AsBool() ? u"TRUE" : u"FALSE";
    return;
  }
  Variant converted;
  if (key.value.type() != VT_BSTR || key.type == CIM_SINT64 || key.type == CIM_UINT64) {
    // The bits of an unsigned property are stored signed.
    const bool is_unsigned = key.type == CIM_UINT32 && key.value.type() == VT_I4;
    ChangeType(
        is_unsigned ? Variant::FromUint(static_cast<std::uint32_t>(key.value.AsI4())) : key.value,
        VT_BSTR, converted);
    text += converted.type() == VT_BSTR ? converted.AsString() : u"";
    return;
  }
  text += u'"';
  for (const char16_t c : key.value.AsString()) {
    if (c == u'"' || c == u'\\') text += u'\\';
    text += c;
  }
  text += u'"';
}

}  // namespace

bool IsClassName(std::u16string_view name) {
  return !name.empty() && !IsDigit(name.front()) &&
         std::all_of(name.begin(), name.end(),
                     [](char16_t c) { return IsLetter(c) || IsDigit(c); });
}

std::optional<PathParts> ParsePath(std::u16string_view text) {
  PathParts path;
  const std::size_t scope = ScopeLength(text);
  path.scope = text.substr(0, scope);
  if (!IsScope(path.scope)) return std::nullopt;
  PathReader reader(text.substr(scope));
  path.class_name = reader.ReadWord();
  if (!IsClassName(path.class_name)) return std::nullopt;
  if (reader.Take(u'.')) {
    if (!ReadKeys(reader, path.keys)) return std::nullopt;
  } else if (reader.Take(u'=')) {
    path.singleton = reader.Take(u'@');
    PathKey key;
    if (!path.singleton && !reader.ReadValue(key)) return std::nullopt;
    if (!path.singleton) path.keys.push_back(std::move(key));
  }
  if (!reader.AtEnd()) return std::nullopt;
  return path;
}

std::u16string FormatPath(const PathParts& path) {
  std::u16string text = path.scope + path.class_name;
  if (path.singleton) return text + u"=@";
  for (std::size_t i = 0; i < path.keys.size(); ++i) {
    const PathKey& key = path.keys[i];
    if (i > 0)
      text += u',';
    else if (!key.name.empty())
      text += u'.';
    text += key.name + u'=';
    AppendValue(key, text);
  }
  return text;
}

}  // namespace kelvarion::platform::wmi
