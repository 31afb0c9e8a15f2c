// Repositories that others delete while a request works on them.
#pragma once

#include "context/server_context.h"
#include "errors/exception.h"
#include "handlers/convert/trimmed.h"
#include "repos/repository_store.h"
#include "wmi/object_path.h"

namespace kelvarion {

// Runs a method of the repository that the path names. What failed since the repository went
// meanwhile is not found, as if it had gone before.
template <class Run>
HRESULT NotFoundWhenGone(const ServerContext& context, const ParsedObjectPath& path, Run&& run) {
  try {
    return run();
  } catch (const WMIException&) {
    throw;
  } catch (const Exception&) {
    if (path.IsInstance())
      repos::RequireRepository(context, Trimmed(path.Key(Property<std::u16string>{u"Name"})));
    throw;
  }
}

}  // namespace kelvarion
