// Where in the schema something stands, and what is said about it when it is wrong.
#pragma once

#include <memory>
#include <string>
#include <string_view>

namespace kelvarion::platform::wmi::mof {

struct Location {
  std::shared_ptr<const std::string> file;
  int line = 1;
};

// Travels only inside the compiler.
struct CompileError {
  std::string text;
};

// Throws "file:line: found X, expected Y".
[[noreturn]] void Fail(const Location& where, std::u16string_view found,
                       std::u16string_view expected);

// "file:line".
std::u16string ToText(const Location& where);

}  // namespace kelvarion::platform::wmi::mof
