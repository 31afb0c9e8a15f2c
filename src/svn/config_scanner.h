// The syntax of Subversion's configuration files, read where the line of each thing matters.
//
// Sees exactly what the libraries' own reader sees, without its expansion of %(name)s, which the
// reader of access rules does not do either. An option without a name is an error here; the
// libraries read memory that is not theirs for it. Allocates nothing but the values that go over
// several lines.
#pragma once

#include <string>
#include <string_view>

namespace kelvarion::svn {

struct ConfigToken {
  enum class Kind { kSection, kOption, kError, kEnd };
  Kind kind = Kind::kEnd;
  std::string_view name;   // Of the section or the option; part of the scanned text.
  std::string_view value;  // Of the option; of an error, what is wrong. Until the next token.
  int line = 0;            // Where it begins, from 1 on.
};

class ConfigScanner {
 public:
  // The text must outlive the scanner.
  explicit ConfigScanner(std::string_view text);

  // Nothing follows an error, since nobody reads on after one.
  ConfigToken Next();

 private:
  std::size_t SkipBlanks();
  std::string_view RestOfLine();
  ConfigToken Section();
  ConfigToken Option();
  std::string_view Continue(std::string_view value);
  ConfigToken Error(std::string_view what);

  std::string_view text_;
  std::size_t position_ = 0;
  int line_ = 1;
  bool in_section_ = false;
  std::string joined_;  // The value that goes over several lines.
};

}  // namespace kelvarion::svn
