// The users file: whoever could sign in before it was written anew can do so afterwards.
#include "access/users_file.h"
#include "errors/exception.h"
#include "fuzz/fuzz.h"

using namespace kelvarion;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static fuzz::InputFile& file = *new fuzz::InputFile;
  static const svn::Pool& root = *new svn::Pool(svn::Pool::Root());
  const svn::Pool pool(root);
  const std::u16string& path = file.Holding(fuzz::Bytes(data, size));
  access::UserRecords users;
  try {
    users = access::ReadUsersFile(path, pool);
    access::WriteUsersFile(path, users, pool);
  } catch (const Exception&) {
    return 0;
  }
  fuzz::Expect(access::ReadUsersFile(path, pool) == users, "users survive being written");
  return 0;
}
