// The users file: whoever could sign in before it was written anew can do so afterwards.
#include "access/users_file.h"
#include "errors/exception.h"
#include "fuzz/fuzz.h"

using namespace kelvarion;

void kelvarion::fuzz::Target(std::string_view bytes) {
  static const svn::Pool& root = *new svn::Pool(svn::Pool::Root());
  const svn::Pool pool(root);
  const std::u16string& path = fuzz::FileHolding(bytes);
  access::UserRecords users;
  try {
    users = access::ReadUsersFile(path, pool);
    access::WriteUsersFile(path, users, pool);
  } catch (const Exception&) {
    return;
  }
  fuzz::Expect(access::ReadUsersFile(path, pool) == users, "users survive being written");
}
