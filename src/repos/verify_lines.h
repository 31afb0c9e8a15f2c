// The words in which a verifier program and the one that started it talk.
#pragma once

#include <string>
#include <string_view>

namespace kelvarion::repos {

inline constexpr const char* kMetadata = "metadata";
inline constexpr const char* kContents = "contents";
inline constexpr const char* kStructure = "structure";
inline constexpr const char* kRevision = "revision";
inline constexpr const char* kWarning = "warning";
inline constexpr const char* kSound = "sound";
inline constexpr const char* kFault = "fault";

// Text on one line.
std::string Escaped(std::string_view text);
std::string Unescaped(std::string_view text);

}  // namespace kelvarion::repos
