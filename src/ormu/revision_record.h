// What a revision changed, as far as two repositories can be compared by it.
#pragma once

#include <svn_delta.h>
#include <svn_fs.h>

#include <map>
#include <string>

namespace kelvarion::ormu {

struct NodeChange {
  bool deleted = false;  // What was there before.
  std::string made;      // "file", "folder" or a copy's source; empty for what was there.
  std::string checksum;  // Of a file.
  std::map<std::string, std::string> properties;  // Checksums of values; empty for removed ones.
  friend bool operator==(const NodeChange&, const NodeChange&) = default;
};

// By path.
using RevisionRecord = std::map<std::string, NodeChange>;

// Writes down what it is driven through; its baton is a RevisionRecord. Texts are looked at by
// their checksums only.
const svn_delta_editor_t* RecordingEditor();

enum class Detail {
  kFilesAndPaths,
  kProperties,  // Of files and folders as well, at the cost of having the changes computed.
};

RevisionRecord RecordRevision(svn_fs_t* fs, svn_revnum_t revision, Detail detail,
                              apr_pool_t* scratch);

// What differs first, for people; empty when nothing does.
std::u16string DescribeDifference(const RevisionRecord& master, const RevisionRecord& slave);

}  // namespace kelvarion::ormu
