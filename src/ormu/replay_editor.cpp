#include "ormu/replay_editor.h"

#include <apr_strings.h>
#include <svn_checksum.h>
#include <svn_error_codes.h>
#include <svn_props.h>

#include "svn/pool.h"

namespace kelvarion::ormu {
namespace {

// A file or folder that is being changed.
struct Node {
  Replay* replay;
  const char* path;
  bool has_new_text;
};

Node* MakeNode(Replay& replay, const char* path, apr_pool_t* pool) {
  auto* const node = static_cast<Node*>(apr_pcalloc(pool, sizeof(Node)));
  node->replay = &replay;
  node->path = apr_pstrdup(pool, path);
  return node;
}

Node& NodeOf(void* baton) { return *static_cast<Node*>(baton); }

template <class Body>
svn_error_t* Change(Replay& replay, Body&& body) {
  return replay.callback->Run([&] {
    replay.cancellation->Check();
    if (replay.on_node) replay.on_node();
    body();
  });
}

svn_error_t* OpenRoot(void* baton, svn_revnum_t, apr_pool_t* pool, void** root) {
  *root = MakeNode(*static_cast<Replay*>(baton), "", pool);
  return nullptr;
}

svn_error_t* Delete(const char* path, svn_revnum_t, void* parent, apr_pool_t* pool) {
  Replay& replay = *NodeOf(parent).replay;
  return Change(replay, [&] { svn::Check(svn_fs_delete(replay.root, path, pool)); });
}

using MakeFunction = svn_error_t* (*)(svn_fs_root_t*, const char*, apr_pool_t*);

svn_error_t* Add(MakeFunction make, const char* path, void* parent, const char* source,
                 svn_revnum_t source_revision, apr_pool_t* pool, void** made) {
  Replay& replay = *NodeOf(parent).replay;
  *made = MakeNode(replay, path, pool);
  return Change(replay, [&] {
    if (!source) return svn::Check(make(replay.root, path, pool));
    svn_fs_root_t* from = nullptr;
    svn::Check(svn_fs_revision_root(&from, svn_fs_root_fs(replay.root), source_revision, pool));
    svn::Check(svn_fs_copy(from, source, replay.root, path, pool));
  });
}

svn_error_t* AddFolder(const char* path, void* parent, const char* source,
                       svn_revnum_t source_revision, apr_pool_t* pool, void** made) {
  return Add(svn_fs_make_dir, path, parent, source, source_revision, pool, made);
}

svn_error_t* AddFile(const char* path, void* parent, const char* source,
                     svn_revnum_t source_revision, apr_pool_t* pool, void** made) {
  return Add(svn_fs_make_file, path, parent, source, source_revision, pool, made);
}

svn_error_t* Open(const char* path, void* parent, svn_revnum_t, apr_pool_t* pool, void** opened) {
  *opened = MakeNode(*NodeOf(parent).replay, path, pool);
  return nullptr;
}

svn_error_t* SetProperty(void* baton, const char* name, const svn_string_t* value,
                         apr_pool_t* pool) {
  const Node& node = NodeOf(baton);
  // Others are what clients note for themselves.
  if (svn_property_kind2(name) != svn_prop_regular_kind) return nullptr;
  return Change(*node.replay, [&] {
    svn::Check(svn_fs_change_node_prop(node.replay->root, node.path, name, value, pool));
  });
}

// Takes the windows of a file's new text; its failures are the slave's.
struct TextWriter {
  Replay* replay;
  svn_txdelta_window_handler_t write;
  void* baton;
};

svn_error_t* WriteWindow(svn_txdelta_window_t* window, void* baton) {
  const TextWriter& writer = *static_cast<TextWriter*>(baton);
  return writer.replay->callback->Run([&] {
    writer.replay->cancellation->Check();
    svn::Check(writer.write(window, writer.baton));
  });
}

svn_error_t* WriteText(void* baton, const char* base_checksum, apr_pool_t* pool,
                       svn_txdelta_window_handler_t* handler, void** handler_baton) {
  Node& node = NodeOf(baton);
  node.has_new_text = true;
  auto* const writer = static_cast<TextWriter*>(apr_pcalloc(pool, sizeof(TextWriter)));
  writer->replay = node.replay;
  *handler = WriteWindow;
  *handler_baton = writer;
  return Change(*node.replay, [&] {
    svn::Check(svn_fs_apply_textdelta(&writer->write, &writer->baton, node.replay->root, node.path,
                                      base_checksum, nullptr, pool));
  });
}

void RequireChecksum(const Node& node, const char* expected_digits, apr_pool_t* pool) {
  svn_checksum_t* expected = nullptr;
  svn_checksum_t* actual = nullptr;
  svn::Check(svn_checksum_parse_hex(&expected, svn_checksum_md5, expected_digits, pool));
  svn::Check(
      svn_fs_file_checksum(&actual, svn_checksum_md5, node.replay->root, node.path, TRUE, pool));
  if (!svn_checksum_match(expected, actual))
    svn::Check(
        svn_checksum_mismatch_err(expected, actual, pool, "Checksum mismatch for '%s'", node.path));
}

svn_error_t* CloseFile(void* baton, const char* checksum, apr_pool_t* pool) {
  const Node& node = NodeOf(baton);
  if (!node.has_new_text || !checksum) return nullptr;
  return node.replay->callback->Run([&] { RequireChecksum(node, checksum, pool); });
}

// The master does not show everything; what it shows is not what a slave is to have.
svn_error_t* RefuseAbsent(const char* path, void* parent, apr_pool_t*) {
  return NodeOf(parent).replay->callback->Run([&] {
    svn::Check(svn_error_createf(SVN_ERR_RA_NOT_AUTHORIZED, nullptr,
                                 "The master does not let the account read '%s'", path));
  });
}

}  // namespace

const svn_delta_editor_t* ReplayEditor() {
  static const svn_delta_editor_t* const made = [] {
    static const svn::Pool& pool = *new svn::Pool(svn::Pool::Root());
    svn_delta_editor_t* const editor = svn_delta_default_editor(pool);
    editor->open_root = OpenRoot;
    editor->delete_entry = Delete;
    editor->add_directory = AddFolder;
    editor->open_directory = Open;
    editor->change_dir_prop = SetProperty;
    editor->absent_directory = RefuseAbsent;
    editor->add_file = AddFile;
    editor->open_file = Open;
    editor->apply_textdelta = WriteText;
    editor->change_file_prop = SetProperty;
    editor->close_file = CloseFile;
    editor->absent_file = RefuseAbsent;
    return editor;
  }();
  return made;
}

}  // namespace kelvarion::ormu
