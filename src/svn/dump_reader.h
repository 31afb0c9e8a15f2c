// What the libraries call for each part of a dump file.
#pragma once

struct apr_pool_t;
struct svn_repos_parse_fns3_t;

namespace kelvarion::svn {

struct DumpReader {
  const svn_repos_parse_fns3_t* calls;  // All of them, that for the format's version aside.
  void* baton;
};

// A reader that passes everything on, except what the libraries hand to the wrong place when
// records come where none can be: a node or a property before the first revision, a text that
// belongs to no node. Their own readers do not survive that; here it is
// SVN_ERR_STREAM_MALFORMED_DATA. Lives as long as the pool.
DumpReader Guarded(const DumpReader& reader, apr_pool_t* pool);

}  // namespace kelvarion::svn
