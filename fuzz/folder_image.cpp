#include "fuzz/folder_image.h"

#include <dirent.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <filesystem>
#include <memory>
#include <set>

#include "fuzz/fuzz.h"

namespace kelvarion::fuzz {
namespace {

namespace fs = std::filesystem;

constexpr const char* kAccessLists[] = {"system.posix_acl_access", "system.posix_acl_default"};

std::vector<std::string> NamesIn(const std::string& folder) {
  const std::unique_ptr<DIR, int (*)(DIR*)> open(opendir(folder.c_str()), closedir);
  Expect(open != nullptr, "a folder can be read");
  std::vector<std::string> names;
  while (const dirent* entry = readdir(open.get())) {
    const std::string name = entry->d_name;
    if (name != "." && name != "..") names.push_back(name);
  }
  return names;
}

std::string Contents(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

}  // namespace

bool IsSame(const struct stat& a, const struct stat& b) {
  return a.st_mode == b.st_mode && a.st_ino == b.st_ino && a.st_size == b.st_size &&
         a.st_mtim.tv_sec == b.st_mtim.tv_sec && a.st_mtim.tv_nsec == b.st_mtim.tv_nsec &&
         a.st_ctim.tv_sec == b.st_ctim.tv_sec && a.st_ctim.tv_nsec == b.st_ctim.tv_nsec;
}

FolderImage::FolderImage(std::string folder) : folder_(std::move(folder)), root_(Read(folder_)) {}

bool FolderImage::Restore(const Ignored& ignored) { return RestoreEntry(folder_, root_, ignored); }

FolderImage::Entry FolderImage::Read(const std::string& path) {
  Entry entry;
  Expect(lstat(path.c_str(), &entry.status) == 0, "an entry can be read");
  if (S_ISLNK(entry.status.st_mode)) {
    entry.content = fs::read_symlink(path);
    return entry;
  }
  char value[4096];
  for (const char* name : kAccessLists) {
    const ssize_t size = lgetxattr(path.c_str(), name, value, sizeof value);
    if (size > 0) entry.access_lists.emplace_back(name, std::string(value, std::size_t(size)));
  }
  if (S_ISREG(entry.status.st_mode)) entry.content = Contents(path);
  if (S_ISDIR(entry.status.st_mode))
    for (const std::string& name : NamesIn(path)) entry.below[name] = Read(path + "/" + name);
  return entry;
}

bool FolderImage::RestoreEntry(const std::string& path, Entry& entry, const Ignored& ignored) {
  struct stat now {};
  const bool there = lstat(path.c_str(), &now) == 0;
  const bool same = there && IsSame(now, entry.status);
  if (!same) {
    // A file is written in place, since logs are held open.
    const bool same_kind = there && ((now.st_mode ^ entry.status.st_mode) & S_IFMT) == 0;
    if (!same_kind || S_ISLNK(now.st_mode)) fs::remove_all(path);
    if (!same_kind || !S_ISDIR(now.st_mode)) MakeAnew(path, entry);
    RestoreAccess(path, entry);
  }
  const bool below = RestoreBelow(path, entry, ignored);
  if (!same || below) Expect(lstat(path.c_str(), &entry.status) == 0, "an entry is back");
  return !same || below;
}

bool FolderImage::RestoreBelow(const std::string& path, Entry& entry, const Ignored& ignored) {
  if (!S_ISDIR(entry.status.st_mode)) return false;
  bool changed = false;
  for (const std::string& name : NamesIn(path)) {
    if (entry.below.contains(name) || (ignored && ignored(name))) continue;
    fs::remove_all(path + "/" + name);
    changed = true;
  }
  for (auto& [name, below] : entry.below)
    if (!ignored || !ignored(name))
      changed = RestoreEntry(path + "/" + name, below, ignored) || changed;
  return changed;
}

void FolderImage::MakeAnew(const std::string& path, const Entry& entry) {
  if (S_ISLNK(entry.status.st_mode)) {
    fs::create_symlink(entry.content, path);
  } else if (S_ISDIR(entry.status.st_mode)) {
    fs::create_directory(path);
  } else {
    std::ofstream(path, std::ios::binary) << entry.content;
  }
}

void FolderImage::RestoreAccess(const std::string& path, const Entry& entry) {
  if (S_ISLNK(entry.status.st_mode)) return;
  for (const char* name : kAccessLists) lremovexattr(path.c_str(), name);
  chmod(path.c_str(), entry.status.st_mode & 07777);
  for (const auto& [name, value] : entry.access_lists)
    lsetxattr(path.c_str(), name.c_str(), value.data(), value.size(), 0);
}

}  // namespace kelvarion::fuzz
