#include "ormu/revision_record.h"

#include <apr_strings.h>
#include <svn_checksum.h>
#include <svn_props.h>
#include <svn_repos.h>

#include "errors/exception.h"
#include "platform/text/encoding.h"
#include "svn/error.h"
#include "svn/pool.h"

namespace kelvarion::ormu {
namespace {

struct Node {
  RevisionRecord* record;
  const char* path;
};

const Node& NodeOf(void* baton) { return *static_cast<Node*>(baton); }

void* MakeNode(RevisionRecord* record, const char* path, apr_pool_t* pool) {
  auto* const node = static_cast<Node*>(apr_pcalloc(pool, sizeof(Node)));
  node->record = record;
  node->path = apr_pstrdup(pool, path);
  return node;
}

NodeChange& ChangeOf(void* baton) {
  const Node& node = NodeOf(baton);
  return (*node.record)[node.path];
}

svn_error_t* OpenRoot(void* baton, svn_revnum_t, apr_pool_t* pool, void** root) {
  *root = MakeNode(static_cast<RevisionRecord*>(baton), "", pool);
  return nullptr;
}

svn_error_t* Delete(const char* path, svn_revnum_t, void* parent, apr_pool_t*) {
  (*NodeOf(parent).record)[path].deleted = true;
  return nullptr;
}

svn_error_t* Add(const char* what, const char* path, void* parent, const char* source,
                 svn_revnum_t source_revision, apr_pool_t* pool, void** made) {
  *made = MakeNode(NodeOf(parent).record, path, pool);
  ChangeOf(*made).made =
      source ? std::string("copy of ") + source + "@" + std::to_string(source_revision) : what;
  return nullptr;
}

svn_error_t* AddFolder(const char* path, void* parent, const char* source, svn_revnum_t revision,
                       apr_pool_t* pool, void** made) {
  return Add("folder", path, parent, source, revision, pool, made);
}

svn_error_t* AddFile(const char* path, void* parent, const char* source, svn_revnum_t revision,
                     apr_pool_t* pool, void** made) {
  return Add("file", path, parent, source, revision, pool, made);
}

svn_error_t* Open(const char* path, void* parent, svn_revnum_t, apr_pool_t* pool, void** opened) {
  *opened = MakeNode(NodeOf(parent).record, path, pool);
  return nullptr;
}

svn_error_t* SetProperty(void* baton, const char* name, const svn_string_t* value,
                         apr_pool_t* pool) {
  // Without a name it only says that something was changed.
  if (svn_property_kind2(name) != svn_prop_regular_kind || !*name) return nullptr;
  std::string& kept = ChangeOf(baton).properties[name];
  if (!value) return nullptr;
  svn_checksum_t* checksum = nullptr;
  if (svn_error_t* const error =
          svn_checksum(&checksum, svn_checksum_sha1, value->data, value->len, pool))
    return error;
  kept = svn_checksum_to_cstring_display(checksum, pool);
  return nullptr;
}

svn_error_t* CloseFile(void* baton, const char* checksum, apr_pool_t*) {
  ChangeOf(baton).checksum = checksum ? checksum : "";
  return nullptr;
}

std::u16string Path(const std::string& path) { return u"/" + platform::Utf16ForDisplay(path); }

std::u16string DescribeNode(const std::string& path, const NodeChange& master,
                            const NodeChange& slave) {
  if (master.made != slave.made || master.deleted != slave.deleted)
    return Format(u"'%s' was changed in another way", Path(path));
  if (master.checksum != slave.checksum) return Format(u"the contents of '%s' differ", Path(path));
  for (const auto& properties : {master.properties, slave.properties})
    for (const auto& [name, value] : properties) {
      const auto here = slave.properties.find(name);
      const auto there = master.properties.find(name);
      if (here == slave.properties.end() || there == master.properties.end() ||
          here->second != there->second)
        return Format(u"the property '%s' of '%s' differs", platform::Utf16ForDisplay(name),
                      Path(path));
    }
  return {};
}

}  // namespace

const svn_delta_editor_t* RecordingEditor() {
  static const svn_delta_editor_t* const made = [] {
    static const svn::Pool& pool = *new svn::Pool(svn::Pool::Root());
    svn_delta_editor_t* const editor = svn_delta_default_editor(pool);
    editor->open_root = OpenRoot;
    editor->delete_entry = Delete;
    editor->add_directory = AddFolder;
    editor->open_directory = Open;
    editor->change_dir_prop = SetProperty;
    editor->add_file = AddFile;
    editor->open_file = Open;
    editor->change_file_prop = SetProperty;
    editor->close_file = CloseFile;
    return editor;
  }();
  return made;
}

RevisionRecord RecordRevision(svn_fs_t* fs, svn_revnum_t revision, Detail detail,
                              apr_pool_t* scratch) {
  const svn::Pool pool(scratch);
  RevisionRecord record;
  svn_fs_root_t* root = nullptr;
  svn::Check(svn_fs_revision_root(&root, fs, revision, pool));
  svn::Check(svn_repos_replay2(root, "", 0, detail == Detail::kProperties, RecordingEditor(),
                               &record, nullptr, nullptr, pool));
  return record;
}

std::u16string DescribeDifference(const RevisionRecord& master, const RevisionRecord& slave) {
  for (const auto& [path, change] : master) {
    const auto here = slave.find(path);
    if (here == slave.end()) return Format(u"'%s' was not changed", Path(path));
    if (!(change == here->second)) return DescribeNode(path, change, here->second);
  }
  for (const auto& [path, change] : slave)
    if (!master.contains(path)) return Format(u"'%s' was changed on the slave only", Path(path));
  return {};
}

}  // namespace kelvarion::ormu
