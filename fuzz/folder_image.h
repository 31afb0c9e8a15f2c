// A folder as it was at one moment, to which it can be brought back quickly.
#pragma once

#include <sys/stat.h>

#include <functional>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace kelvarion::fuzz {

// Whether the system's record of an entry is still the same one.
bool IsSame(const struct stat& a, const struct stat& b);

// Names, kinds, contents, modes and access lists of everything below the folder are kept in memory;
// owners are not. What is changed is found by the system's record of changes, so nobody may change
// anything while an image works. Failures abort.
class FolderImage {
 public:
  explicit FolderImage(std::string folder);

  // Entries of these names are neither removed nor looked at.
  using Ignored = std::function<bool(const std::string& name)>;
  // Puts back what is missing or different and removes what is new. False when all was as it was.
  bool Restore(const Ignored& ignored = nullptr);

 private:
  struct Entry {
    struct stat status {};
    std::string content;  // A file's bytes, a link's target.
    std::vector<std::pair<std::string, std::string>> access_lists;
    std::map<std::string, Entry> below;
  };
  static Entry Read(const std::string& path);
  static bool RestoreEntry(const std::string& path, Entry& entry, const Ignored& ignored);
  static bool RestoreBelow(const std::string& path, Entry& entry, const Ignored& ignored);
  static void MakeAnew(const std::string& path, const Entry& entry);
  static void RestoreAccess(const std::string& path, const Entry& entry);

  std::string folder_;
  Entry root_;
};

}  // namespace kelvarion::fuzz
