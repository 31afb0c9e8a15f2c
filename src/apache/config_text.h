// The text of the configuration while it is put together.
#pragma once

#include <string>
#include <string_view>

namespace kelvarion::apache {

// Lines end with CR LF, as the web server's configuration has them on every platform.
class ConfigText {
 public:
  // Each line of `lines`, which ends with a line feed unless it is empty.
  void Block(std::string_view lines) {
    for (const char c : lines) {
      if (c == '\n') text_ += '\r';
      text_ += c;
    }
  }
  void Line(std::string_view line = {}) {
    text_ += line;
    text_ += "\r\n";
  }
  // One line from its parts.
  template <class First, class... More>
  requires(sizeof...(More) > 0) void Line(const First& first, const More&... more) {
    text_ += first;
    ((text_ += more), ...);
    text_ += "\r\n";
  }
  const std::string& text() const { return text_; }

 private:
  std::string text_;
};

// Between double quotes; the caller has made sure that it can stand there.
inline std::string Quoted(std::string_view utf8) {
  std::string result = "\"";
  result += utf8;
  result += '"';
  return result;
}

inline const char* OnOff(bool on) { return on ? "on" : "off"; }

}  // namespace kelvarion::apache
