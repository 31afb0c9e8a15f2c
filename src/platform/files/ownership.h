// Owners and modes of single files, links never followed.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "platform/com/types.h"
#include "platform/files/descriptor.h"

namespace kelvarion::platform {

struct Ownership {
  std::uint32_t user = 0;
  std::uint32_t group = 0;
  std::uint32_t mode = 0;  // The nine bits of permissions and the three above them.
  bool link = false;
  bool folder = false;
  bool shared = false;  // A file that other names, anywhere on the volume, lead to as well.
};

// A file or folder that stays the one that was found, whatever its name stands for by then. So
// nobody can lead what is done with it, by links or by renaming, to something else. Gives no access
// to what a file contains. UTF-8 paths; Win32 error codes.
class HeldFile {
 public:
  // The folder at the path, to which links may lead: for a path that the caller trusts.
  static Win32Error OpenFolder(const std::string& path, HeldFile& out);
  // What lies below this folder at "a/b"; a link is found only as the last name, as itself.
  Win32Error Open(const std::string& relative, HeldFile& out) const;
  // The names in this folder; none in what is none.
  Win32Error List(std::vector<std::string>& names) const;

  const Ownership& ownership() const { return ownership_; }
  // ERROR_NOT_SUPPORTED for a link and for a file that is shared: whose else that is nobody knows.
  Win32Error ChangeOwner(std::uint32_t user, std::uint32_t group) const;
  Win32Error ChangeMode(std::uint32_t mode) const;

 private:
  static Win32Error Hold(Descriptor file, HeldFile& out);
  std::string Same() const { return "/proc/self/fd/" + std::to_string(file_.get()); }
  bool MayBeChanged() const { return !ownership_.link && !ownership_.shared; }

  Descriptor file_;
  Ownership ownership_;
};

}  // namespace kelvarion::platform
