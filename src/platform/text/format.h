// Messages in the printf style that the system's texts are written in.
//
// Formats are checked when they are compiled: the number of placeholders and the kind of each
// argument. %s takes UTF-16 text, %c a char16_t, %d, %ld and %i signed, %u, %lu and %X unsigned
// integers; a width, precision and the flag 0 are understood for numbers. %% is a percent sign.
#pragma once

#include <array>
#include <concepts>
#include <cstdint>
#include <string>
#include <string_view>
#include <type_traits>

namespace kelvarion {

namespace format_internal {

enum class Kind { kText, kCharacter, kSigned, kUnsigned };

struct Argument {
  Argument(std::u16string_view v) : kind(Kind::kText), text(v) {}    // NOLINT: arguments convert
  Argument(const std::u16string& v) : kind(Kind::kText), text(v) {}  // NOLINT: arguments convert
  Argument(const char16_t* v) : kind(Kind::kText), text(v) {}        // NOLINT: arguments convert
  Argument(char16_t v) : kind(Kind::kCharacter), number(v) {}        // NOLINT: arguments convert
  template <std::integral T>
  Argument(T v)  // NOLINT: arguments convert
      : kind(std::is_signed_v<T> ? Kind::kSigned : Kind::kUnsigned),
        number(static_cast<std::uint64_t>(static_cast<std::int64_t>(v))) {
    if constexpr (std::is_unsigned_v<T>) number = v;
  }

  Kind kind;
  std::u16string_view text;
  std::uint64_t number = 0;
};

template <class T>
constexpr Kind KindOf() {
  using V = std::remove_cvref_t<T>;
  if constexpr (std::is_same_v<V, char16_t>)
    return Kind::kCharacter;
  else if constexpr (std::is_convertible_v<V, std::u16string_view>)
    return Kind::kText;
  else if constexpr (std::is_integral_v<V>)
    return std::is_signed_v<V> ? Kind::kSigned : Kind::kUnsigned;
  else
    static_assert(std::is_integral_v<V>, "messages take text, characters and integers");
}

constexpr bool Accepts(char16_t conversion, Kind kind) {
  switch (conversion) {
    case u's':
      return kind == Kind::kText;
    case u'c':
      return kind == Kind::kCharacter;
    case u'd':
    case u'i':
      return kind == Kind::kSigned;
    case u'u':
      return kind == Kind::kUnsigned;
    case u'x':
    case u'X':
      return kind == Kind::kSigned || kind == Kind::kUnsigned;
    default:
      return false;
  }
}

constexpr bool IsModifier(char16_t c) {
  return (c >= u'0' && c <= u'9') || c == u'.' || c == u'-' || c == u'l';
}

// Reached only while a format is checked at compile time; the name is what the compiler shows.
inline void format_and_arguments_do_not_match() {}

std::u16string FormatArguments(std::u16string_view format, const Argument* arguments,
                               std::size_t count);

}  // namespace format_internal

template <class... Args>
class FormatString {
 public:
  template <std::size_t N>
  consteval FormatString(const char16_t (&text)[N])  // NOLINT: literals convert
      : text_(text, N - 1) {
    constexpr std::array<format_internal::Kind, sizeof...(Args) + 1> kKinds{
        format_internal::KindOf<Args>()..., format_internal::Kind::kText};
    std::size_t used = 0;
    for (std::size_t i = 0; i + 1 < N; ++i) {
      if (text[i] != u'%') continue;
      ++i;
      if (text[i] == u'%') continue;
      while (format_internal::IsModifier(text[i])) ++i;
      if (used >= sizeof...(Args) || !format_internal::Accepts(text[i], kKinds[used]))
        format_internal::format_and_arguments_do_not_match();
      ++used;
    }
    if (used != sizeof...(Args)) format_internal::format_and_arguments_do_not_match();
  }

  std::u16string_view text() const { return text_; }

 private:
  std::u16string_view text_;
};

template <class... Args>
std::u16string Format(FormatString<std::type_identity_t<Args>...> format, const Args&... args) {
  const std::array<format_internal::Argument, sizeof...(Args) + 1> arguments{
      format_internal::Argument(args)..., format_internal::Argument(u"")};
  return format_internal::FormatArguments(format.text(), arguments.data(), sizeof...(Args));
}

}  // namespace kelvarion
