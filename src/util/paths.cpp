#include "util/paths.h"

#include "errors/exception.h"

namespace kelvarion::util {
namespace {

bool IsSeparator(char16_t c) { return c == u'\\' || c == u'/'; }

bool IsDrivePath(std::u16string_view path) {
  if (path.size() < 3 || path[1] != u':' || !IsSeparator(path[2])) return false;
  return (path[0] >= u'A' && path[0] <= u'Z') || (path[0] >= u'a' && path[0] <= u'z');
}

bool IsNetworkPath(std::u16string_view path) {
  if (!path.starts_with(u"\\\\")) return false;
  path.remove_prefix(2);
  const std::size_t end = path.find(u'\\');
  if (end == std::u16string_view::npos || path.size() - end < 2) return false;
  const std::u16string_view server = path.substr(0, end);
  return !server.empty() && server != u"?" && server != u".";
}

bool IsMissing(Win32Error error) {
  return error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND;
}

}  // namespace

std::u16string JoinPath(std::u16string_view first, std::u16string_view second, char16_t separator) {
  if (first.empty()) return std::u16string(second);
  if (second.empty()) return std::u16string(first);
  while (first.ends_with(separator)) first.remove_suffix(1);
  while (second.starts_with(separator)) second.remove_prefix(1);
  return Format(u"%s%c%s", first, separator, second);
}

std::u16string LastPart(std::u16string_view path) {
  while (!path.empty() && IsSeparator(path.back())) path.remove_suffix(1);
  return std::u16string(path.substr(path.find_last_of(u"/\\") + 1));
}

std::u16string WithoutExtension(std::u16string_view name) {
  return std::u16string(name.substr(0, name.rfind(u'.')));
}

bool IsAbsoluteOrNetworkPath(std::u16string_view path) {
  return IsDrivePath(path) || IsNetworkPath(path) || path.starts_with(u'/');
}

std::uint32_t GetFileAttributesOrMissing(const std::u16string& path) {
  std::uint32_t attributes = 0;
  const Win32Error error = platform::GetFileAttributes(path, attributes);
  if (IsMissing(error)) return kMissingFile;
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
  const Win32Error error = platform::GetVolumeInformation(path, info);
  if (IsMissing(error))
    throw Win32Exception(error, u"Cannot get volume information for '%s'", path);
  if (error != ERROR_SUCCESS)
    throw Win32Exception(error, u"Can't retrieve volume information for '%s'", path);
  return info;
}

}  // namespace kelvarion::util
