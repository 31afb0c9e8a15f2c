#include "platform/security/acl_entries.h"

#include <acl/libacl.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <memory>
#include <type_traits>

#include "platform/files/files.h"

namespace kelvarion::platform {
namespace {

struct FreeAcl {
  void operator()(void* acl) const { acl_free(acl); }
};
using Acl = std::unique_ptr<std::remove_pointer_t<acl_t>, FreeAcl>;

constexpr acl_perm_t kBits[] = {ACL_READ, ACL_WRITE, ACL_EXECUTE};  // 4, 2 and 1, as in a mode.

AclEntry Read(acl_entry_t source) {
  AclEntry entry;
  acl_get_tag_type(source, &entry.tag);
  if (entry.tag == ACL_USER || entry.tag == ACL_GROUP) {
    const std::unique_ptr<void, FreeAcl> id(acl_get_qualifier(source));
    if (id) entry.id = *static_cast<const id_t*>(id.get());
  }
  acl_permset_t set{};
  acl_get_permset(source, &set);
  for (const acl_perm_t bit : kBits)
    if (acl_get_perm(set, bit) == 1) entry.permissions |= static_cast<std::uint8_t>(bit);
  return entry;
}

bool Append(Acl& acl, const AclEntry& entry) {
  acl_t list = acl.release();
  acl_entry_t target{};
  const bool created = acl_create_entry(&list, &target) == 0;
  acl.reset(list);
  if (!created || acl_set_tag_type(target, entry.tag) != 0) return false;
  const id_t id = entry.id;
  const bool named = entry.tag == ACL_USER || entry.tag == ACL_GROUP;
  if (named && acl_set_qualifier(target, &id) != 0) return false;
  acl_permset_t set{};
  if (acl_get_permset(target, &set) != 0 || acl_clear_perms(set) != 0) return false;
  return std::all_of(std::begin(kBits), std::end(kBits), [&](acl_perm_t bit) {
    return (entry.permissions & bit) == 0 || acl_add_perm(set, bit) == 0;
  });
}

// A list of nothing but the three entries of a mode needs no mask; any other has one.
AclEntries WithMask(AclEntries entries) {
  std::erase_if(entries, [](const AclEntry& entry) { return entry.tag == ACL_MASK; });
  std::uint8_t mask = 0;
  bool named = false;
  for (const AclEntry& entry : entries) {
    if (entry.tag == ACL_USER_OBJ || entry.tag == ACL_OTHER) continue;
    named |= entry.tag != ACL_GROUP_OBJ;
    mask |= entry.permissions;
  }
  if (named) entries.push_back({ACL_MASK, 0, mask});
  return entries;
}

Win32Error ReadMode(const std::string& path, AclEntries& out) {
  struct stat status {};
  if (stat(path.c_str(), &status) != 0) return FromErrno(errno);
  const auto bits = [&](int shift) {
    return static_cast<std::uint8_t>(status.st_mode >> shift & 7);
  };
  out = {{ACL_USER_OBJ, 0, bits(6)}, {ACL_GROUP_OBJ, 0, bits(3)}, {ACL_OTHER, 0, bits(0)}};
  return ERROR_SUCCESS;
}

}  // namespace

Win32Error ReadAcl(const std::string& path, acl_type_t type, AclEntries& out) {
  const Acl acl(acl_get_file(path.c_str(), type));
  if (!acl && errno == EOPNOTSUPP)
    return type == ACL_TYPE_ACCESS ? ReadMode(path, out) : ERROR_SUCCESS;
  if (!acl) return FromErrno(errno);
  acl_entry_t entry{};
  for (int which = ACL_FIRST_ENTRY; acl_get_entry(acl.get(), which, &entry) == 1;
       which = ACL_NEXT_ENTRY)
    out.push_back(Read(entry));
  return ERROR_SUCCESS;
}

Win32Error WriteAcl(const std::string& path, acl_type_t type, const AclEntries& before,
                    const AclEntries& entries) {
  const AclEntries list = WithMask(entries);
  if (std::is_permutation(list.begin(), list.end(), before.begin(), before.end()))
    return ERROR_SUCCESS;
  Acl acl(acl_init(static_cast<int>(list.size())));
  if (!acl) return ERROR_NOT_ENOUGH_MEMORY;
  for (const AclEntry& entry : list)
    if (!Append(acl, entry)) return ERROR_NOT_ENOUGH_MEMORY;
  if (acl_set_file(path.c_str(), type, acl.get()) == 0) return ERROR_SUCCESS;
  const int error = errno;
  mode_t mode = 0;
  // Where there are no access lists, a list that is no more than a mode can still be had.
  if (error != EOPNOTSUPP || acl_equiv_mode(acl.get(), &mode) != 0) return FromErrno(error);
  if (type == ACL_TYPE_DEFAULT) return ERROR_SUCCESS;
  return chmod(path.c_str(), mode) == 0 ? ERROR_SUCCESS : FromErrno(errno);
}

}  // namespace kelvarion::platform
