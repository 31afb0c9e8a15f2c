#include "util/paths.h"

#include "errors/exception.h"

namespace kelvarion::util {
namespace {

bool IsSeparator(char16_t c) { return c == u'/' || c == u'\\'; }

bool IsDrivePath(std::u16string_view path) {
  return path.size() >= 3 &&
         ((path[0] >= u'A' && path[0] <= u'Z') || (path[0] >= u'a' && path[0] <= u'z')) &&
         path[1] == u':' && IsSeparator(path[2]);
}

// \\server\share: both named, and no device path.
bool IsNetworkPath(std::u16string_view path) {
  if (!path.starts_with(u"\\\\")) return false;
  path.remove_prefix(2);
  const std::size_t end = path.find(u'\\');
  if (end == std::u16string_view::npos) return false;
  const std::u16string_view server = path.substr(0, end);
  return !server.empty() && server != u"?" && server != u"." && path.size() - end >= 2;
}

}  // namespace

std::u16string JoinPath(std::u16string_view first, std::u16string_view second,
                        char16_t separator) {
  if (first.empty()) return std::u16string(second);
  if (second.empty()) return std::u16string(first);
  while (!first.empty() && first.back() == separator) first.remove_suffix(1);
  while (!second.empty() && second.front() == separator) second.remove_prefix(1);
  std::u16string joined(first);
  joined += separator;
  joined += second;
  return joined;
}

bool IsAbsoluteOrNetworkPath(std::u16string_view path) {
  return path.starts_with(u'/') || IsDrivePath(path) || IsNetworkPath(path);
}

std::uint32_t GetFileAttributesOrMissing(const std::u16string& path) {
  std::uint32_t attributes = 0;
  const Win32Error error = platform::GetFileAttributes(path, attributes);
  if (error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND) return kMissingFile;
  if (error != ERROR_SUCCESS)
    throw Win32Exception(error, u"Cannot get attributes of file '%s'", path);
  return attributes;
}

bool IsFolder(const std::u16string& path) {
  const std::uint32_t attributes = GetFileAttributesOrMissing(path);
  return attributes != kMissingFile && (attributes & platform::FILE_ATTRIBUTE_DIRECTORY) != 0;
}

platform::VolumeInfo GetVolumeInfo(const std::u16string& path) {
  platform::VolumeInfo info;
  if (const Win32Error error = platform::GetVolumeInformation(path, info))
    throw Win32Exception(error, u"Can't retrieve volume information for '%s'", path);
  return info;
}

}  // namespace kelvarion::util
