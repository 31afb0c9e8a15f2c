#include "svn/remove_tree.h"

#include <svn_io.h>

#include "svn/error.h"

namespace kelvarion::svn {

void RemoveTree(const std::string& path, const Pool& scratch) {
  svn_node_kind_t kind = svn_node_none;
  svn_boolean_t special = FALSE;
  Check(svn_io_check_special_path(path.c_str(), &kind, &special, scratch));
  // The library would follow a link that stands at the top, and leaves files alone.
  if (special || kind == svn_node_file)
    Check(svn_io_remove_file2(path.c_str(), TRUE, scratch));
  else
    Check(svn_io_remove_dir2(path.c_str(), TRUE, nullptr, nullptr, scratch));
}

}  // namespace kelvarion::svn
