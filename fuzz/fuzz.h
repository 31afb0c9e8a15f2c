// What the fuzz targets share.
//
// A target takes any bytes, hands them to one reader of the system and checks what must hold of the
// result. An abort, an exception that the reader does not promise, a sanitizer's report, and time
// or memory above the limits are findings.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>
#include <string_view>

#include "platform/text/encoding.h"
#include "tests/support/temporary_folder.h"

namespace kelvarion::fuzz {

// What each target defines.
void Target(std::string_view input);

inline void Expect(bool holds, const char* what) {
  if (holds) return;
  std::fprintf(stderr, "does not hold: %s\n", what);
  std::abort();
}

inline std::string_view Bytes(const std::uint8_t* data, std::size_t size) {
  return {reinterpret_cast<const char*>(data), size};
}

// UTF-8 as UTF-16. Bytes that are no UTF-8 become halves of surrogate pairs, so that readers also
// meet text that is not valid.
inline std::u16string Text(std::string_view bytes) {
  std::u16string text;
  if (platform::Utf8ToUtf16(bytes, text)) return text;
  for (const char c : bytes) {
    const auto byte = static_cast<unsigned char>(c);
    text.push_back(static_cast<char16_t>(byte < 0x80 ? byte : 0xD800 + byte * 8));
  }
  return text;
}

// The first line of the rest, without its end; takes it from the rest.
inline std::string_view TakeLine(std::string_view& rest) {
  const std::size_t end = rest.find('\n');
  const std::string_view line = rest.substr(0, end);
  rest.remove_prefix(end == rest.npos ? rest.size() : end + 1);
  return line;
}

inline void WriteFile(const std::string& path, std::string_view bytes) {
  std::ofstream(path, std::ios::binary)
      .write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

// The file that holds the bytes until the next call, for readers that take a path.
inline const std::u16string& FileHolding(std::string_view bytes) {
  static const auto& folder = *new testing::TemporaryFolder;
  static const std::u16string path = folder.path() + u"/input";
  WriteFile(folder.native() + "/input", bytes);
  return path;
}

}  // namespace kelvarion::fuzz

extern "C" __attribute__((used)) inline int LLVMFuzzerTestOneInput(const std::uint8_t* data,
                                                                   std::size_t size) {
  kelvarion::fuzz::Target(kelvarion::fuzz::Bytes(data, size));
  return 0;
}
