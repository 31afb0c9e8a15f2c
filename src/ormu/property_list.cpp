#include "ormu/property_list.h"

#include <svn_string.h>

namespace kelvarion::ormu {

RevisionProperties ReplicatedProperties(apr_hash_t* properties) {
  RevisionProperties result;
  for (apr_hash_index_t* i = apr_hash_first(nullptr, properties); i; i = apr_hash_next(i)) {
    const void* name = nullptr;
    void* value = nullptr;
    apr_hash_this(i, &name, nullptr, &value);
    const std::string key = static_cast<const char*>(name);
    const auto& text = *static_cast<const svn_string_t*>(value);
    if (!key.starts_with("svn:sync-")) result.emplace(key, std::string(text.data, text.len));
  }
  return result;
}

}  // namespace kelvarion::ormu
