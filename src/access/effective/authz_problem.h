// Why Subversion refuses all access by a rules file or by the groups file.
#pragma once

#include <string>
#include <string_view>

namespace kelvarion::access {

struct AuthzProblem {
  enum class Kind { kSyntax, kSection, kDuplicate, kEntry, kUndefined, kCycle };
  Kind kind = Kind::kSyntax;
  int line = 0;         // 0: the file as a whole.
  std::string section;  // UTF-8, as far as it is known.
  std::string key;      // The same.
  std::u16string text;  // For people, without a full stop.
};

// Names in a rules or groups file that begin so mean something of their own.
inline bool BeginsWithMark(std::string_view name) {
  return name.empty() || std::string_view("@$&*~").find(name.front()) != std::string_view::npos;
}

}  // namespace kelvarion::access
