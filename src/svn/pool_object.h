// C++ objects that live as long as a pool.
#pragma once

#include <apr_pools.h>

#include <memory>
#include <utility>

namespace kelvarion::svn {

// Made on the heap and destroyed with the pool.
template <class T, class... Args>
T* MakeInPool(apr_pool_t* pool, Args&&... args) {
  auto object = std::make_unique<T>(std::forward<Args>(args)...);
  const auto destroy = [](void* owned) -> apr_status_t {
    delete static_cast<T*>(owned);
    return APR_SUCCESS;
  };
  apr_pool_cleanup_register(pool, object.get(), destroy, apr_pool_cleanup_null);
  return object.release();
}

}  // namespace kelvarion::svn
