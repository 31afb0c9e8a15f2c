// Copying the files that hold a repository's revisions.
#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "repos/long_operation.h"
#include "svn/repository.h"

namespace kelvarion::repos {

// Copies the files of the revisions up to `youngest` into `target`, where nothing is yet, and tells
// how far it has come. They are most of what a repository consists of, and the libraries take
// several times as long for them; their own copy into the same place, when it is told to spare what
// is there, passes over files of the same size and time. What they make themselves or what may
// change is left to them: revision 0 and packed properties; so is every file that is not where it
// should be. Throws Win32Exception, SvnException when cancelled, and what `copied` throws.
void CopyRevisionFiles(const std::u16string& source, const std::u16string& target,
                       const svn::FsfsLayout& layout, std::int64_t youngest,
                       const LongOperation& operation,
                       const std::function<void(std::int64_t)>& copied);

}  // namespace kelvarion::repos
