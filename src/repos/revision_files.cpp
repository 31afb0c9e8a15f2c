#include "repos/revision_files.h"

#include <algorithm>

#include "errors/exception.h"
#include "platform/files/copy_file.h"
#include "platform/files/files.h"
#include "svn/text.h"

namespace kelvarion::repos {
namespace {

std::u16string Slash(std::int64_t number) { return svn::Utf16("/" + std::to_string(number)); }

class RevisionFiles {
 public:
  RevisionFiles(const std::u16string& source, const std::u16string& target,
                const LongOperation& operation)
      : source_(source + u"/db"), target_(target + u"/db"), operation_(operation) {}

  void MakeFolder(const std::u16string& folder) const {
    const Win32Error error = platform::CreateDirectories(target_ + folder);
    if (error != ERROR_SUCCESS)
      throw Win32Exception(error, u"Can't create directory '%s'", target_ + folder);
  }
  void CopyUnlessMissing(const std::u16string& file) const {
    const Win32Error error =
        platform::CopyFile(source_ + file, target_ + file, [&] { operation_.Check(); });
    if (error == ERROR_SUCCESS || error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND)
      return;
    throw Win32Exception(error, u"Can't copy '%s'", source_ + file);
  }

 private:
  std::u16string source_;
  std::u16string target_;
  const LongOperation& operation_;
};

}  // namespace

void CopyRevisionFiles(const std::u16string& source, const std::u16string& target,
                       const svn::FsfsLayout& layout, std::int64_t youngest,
                       const LongOperation& operation,
                       const std::function<void(std::int64_t)>& copied) {
  const RevisionFiles files(source, target, operation);
  const std::int64_t shard = layout.shard_size;
  for (std::int64_t last = shard - 1; last < layout.min_unpacked_revision; last += shard) {
    const std::u16string folder = u"/revs" + Slash(last / shard) + u".pack";
    files.MakeFolder(folder);
    for (const char16_t* file : {u"/pack", u"/manifest"}) files.CopyUnlessMissing(folder + file);
    copied(last);
  }
  const std::int64_t first = std::max<std::int64_t>(layout.min_unpacked_revision, 1);
  for (std::int64_t revision = first; revision <= youngest; ++revision) {
    for (std::u16string folder : {u"/revs", u"/revprops"}) {
      if (shard > 0) folder += Slash(revision / shard);
      if (revision == first || (shard > 0 && revision % shard == 0)) files.MakeFolder(folder);
      files.CopyUnlessMissing(folder + Slash(revision));
    }
    copied(revision);
  }
}

}  // namespace kelvarion::repos
