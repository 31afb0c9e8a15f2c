// Paths, and what the file system says about them.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "platform/files/files.h"

namespace kelvarion::util {

// One separator between the two, whatever separators stand at the seam; an empty part adds nothing.
std::u16string JoinPath(std::u16string_view first, std::u16string_view second,
                        char16_t separator = u'/');

// What stands behind the last separator, those at the end not counted: "b" for "/a/b/".
std::u16string LastPart(std::u16string_view path);
// A file's name without what its last dot begins: "a.tar" for "a.tar.gz".
std::u16string WithoutExtension(std::u16string_view name);

// "C:\x", "C:/x", "\\server\share" and the local "/x".
bool IsAbsoluteOrNetworkPath(std::u16string_view path);

inline constexpr std::uint32_t kMissingFile = 0xFFFFFFFF;

// FILE_ATTRIBUTE_* bits; kMissingFile when the file or its folder does not exist. Any other failure
// is Win32Exception "Cannot get attributes of file '%s'".
std::uint32_t GetFileAttributesOrMissing(const std::u16string& path);

// Whether the path names a folder; failures as above.
bool IsFolder(const std::u16string& path);

// Fails with Win32Exception "Cannot get volume information for '%s'" where nothing is, else
// "Can't retrieve volume information for '%s'".
platform::VolumeInfo GetVolumeInfo(const std::u16string& path);

}  // namespace kelvarion::util
