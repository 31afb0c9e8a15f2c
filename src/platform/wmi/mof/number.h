// The spellings of numbers in a schema file.
#pragma once

#include <cstdint>
#include <string_view>

namespace kelvarion::platform::wmi::mof {

bool IsHexDigit(char16_t c);

// All of the text as digits of the base (2 to 16); false for another character, for no digits and
// for more than 64 bits.
bool ReadDigits(std::u16string_view digits, unsigned base, std::uint64_t& out);

// Decimal, 0x…, 0… for octal, …b for binary, without a sign.
bool ReadInteger(std::u16string_view text, std::uint64_t& out);

// 12.5 or 1.25e1, without a sign; both sides of the point need digits.
bool ReadReal(std::u16string_view text, double& out);

}  // namespace kelvarion::platform::wmi::mof
