#include "platform/files/open_folder.h"

#include <fcntl.h>

#include <cerrno>
#include <cstring>

#include "platform/files/descriptor.h"

namespace kelvarion::platform {

OpenFolder OpenFolderAt(int at, const std::string& name, Links links) {
  const int flags = O_RDONLY | O_DIRECTORY | O_CLOEXEC | (links == Links::kRefuse ? O_NOFOLLOW : 0);
  Descriptor descriptor(openat(at, name.c_str(), flags));
  if (!descriptor) return nullptr;
  OpenFolder folder(fdopendir(descriptor.get()));
  if (folder) descriptor.Release();
  return folder;
}

const dirent* NextEntry(const OpenFolder& folder) {
  for (;;) {
    errno = 0;
    const dirent* const entry = readdir(folder.get());
    if (!entry) return nullptr;
    if (std::strcmp(entry->d_name, ".") != 0 && std::strcmp(entry->d_name, "..") != 0) return entry;
  }
}

}  // namespace kelvarion::platform
