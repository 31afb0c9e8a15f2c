#include "svn/dump_reader.h"

#include <svn_error_codes.h>
#include <svn_repos.h>

#include <new>

namespace kelvarion::svn {
namespace {

// The libraries' baton of whatever they read; null before the first revision.
struct Guard {
  svn_repos_parse_fns3_t own;
  const svn_repos_parse_fns3_t& inner;
  void* const file;
  void* revision = nullptr;
  void* node = nullptr;  // Of the record that is being read.
};

Guard& Of(void* baton) { return *static_cast<Guard*>(baton); }

svn_error_t* Refuse(const char* what) {
  return svn_error_createf(SVN_ERR_STREAM_MALFORMED_DATA, nullptr, "The dump file has %s", what);
}

svn_error_t* OnUuid(const char* uuid, void* guard, apr_pool_t* pool) {
  return Of(guard).inner.uuid_record(uuid, Of(guard).file, pool);
}

svn_error_t* OnRevision(void** out, apr_hash_t* headers, void* guard, apr_pool_t* pool) {
  *out = guard;
  return Of(guard).inner.new_revision_record(&Of(guard).revision, headers, Of(guard).file, pool);
}

svn_error_t* OnNode(void** out, apr_hash_t* headers, void* guard, apr_pool_t* pool) {
  if (!guard) return Refuse("a node before its first revision");
  *out = guard;
  return Of(guard).inner.new_node_record(&Of(guard).node, headers, Of(guard).revision, pool);
}

svn_error_t* OnRevisionProperty(void* guard, const char* name, const svn_string_t* value) {
  if (!guard) return Refuse("a property before its first revision");
  return Of(guard).inner.set_revision_property(Of(guard).revision, name, value);
}

svn_error_t* OnNodeProperty(void* guard, const char* name, const svn_string_t* value) {
  return Of(guard).inner.set_node_property(Of(guard).node, name, value);
}

svn_error_t* OnPropertyDeleted(void* guard, const char* name) {
  return Of(guard).inner.delete_node_property(Of(guard).node, name);
}

svn_error_t* OnPropertiesRemoved(void* guard) {
  return Of(guard).inner.remove_node_props(Of(guard).node);
}

svn_error_t* OnText(svn_stream_t** stream, void* guard) {
  if (!guard || !Of(guard).node) return Refuse("a text that belongs to no node");
  return Of(guard).inner.set_fulltext(stream, Of(guard).node);
}

svn_error_t* OnDelta(svn_txdelta_window_handler_t* handler, void** baton, void* guard) {
  if (!guard || !Of(guard).node) return Refuse("a text that belongs to no node");
  return Of(guard).inner.apply_textdelta(handler, baton, Of(guard).node);
}

svn_error_t* OnNodeEnd(void* guard) {
  void* const node = Of(guard).node;
  Of(guard).node = nullptr;
  return Of(guard).inner.close_node(node);
}

svn_error_t* OnRevisionEnd(void* guard) {
  return Of(guard).inner.close_revision(Of(guard).revision);
}

}  // namespace

DumpReader Guarded(const DumpReader& reader, apr_pool_t* pool) {
  auto* const guard = new (apr_palloc(pool, sizeof(Guard))) Guard{{}, *reader.calls, reader.baton};
  guard->own.uuid_record = OnUuid;
  guard->own.new_revision_record = OnRevision;
  guard->own.new_node_record = OnNode;
  guard->own.set_revision_property = OnRevisionProperty;
  guard->own.set_node_property = OnNodeProperty;
  guard->own.delete_node_property = OnPropertyDeleted;
  guard->own.remove_node_props = OnPropertiesRemoved;
  guard->own.set_fulltext = OnText;
  guard->own.apply_textdelta = OnDelta;
  guard->own.close_node = OnNodeEnd;
  guard->own.close_revision = OnRevisionEnd;
  return {&guard->own, guard};
}

}  // namespace kelvarion::svn
