#include "svn/pool.h"

#include <apr_allocator.h>
#include <apr_general.h>
#include <apr_thread_mutex.h>
#include <svn_cache_config.h>
#include <svn_error.h>
#include <svn_fs.h>
#include <svn_pools.h>
#include <svn_utf.h>

#include <mutex>

#include "errors/exception.h"
#include "svn/error.h"

namespace kelvarion::svn {
namespace {

constexpr apr_size_t kMaxFreeBytes = 4194304;
// Shared by every repository that the process opens, and full after some thousands of them. A
// larger one makes no import faster.
constexpr apr_uint64_t kCacheBytes = 16 * 1024 * 1024;

[[noreturn]] void ThrowNoAllocator() { throw SimpleException(u"Cannot create APR allocator."); }

apr_pool_t* CreateRootPool() {
  apr_allocator_t* allocator = nullptr;
  if (apr_allocator_create(&allocator) != APR_SUCCESS) ThrowNoAllocator();
  apr_allocator_max_free_set(allocator, kMaxFreeBytes);
  apr_pool_t* pool = svn_pool_create_ex(nullptr, allocator);
  apr_allocator_owner_set(allocator, pool);
  // The mutex lives in the pool it guards, so it can only come last.
  apr_thread_mutex_t* mutex = nullptr;
  if (apr_thread_mutex_create(&mutex, APR_THREAD_MUTEX_DEFAULT, pool) != APR_SUCCESS) {
    svn_pool_destroy(pool);
    ThrowNoAllocator();
  }
  apr_allocator_mutex_set(allocator, mutex);
  return pool;
}

// The libraries keep what they register here; it lives as long as the process.
void StartLibraries(Threads threads) {
  if (const apr_status_t status = apr_initialize(); status != APR_SUCCESS) {
    throw SimpleException(u"Cannot start APR: error %d.", status);
  }
  apr_pool_t* pool = CreateRootPool();
  // File names are UTF-8 whatever the locale says.
  svn_utf_initialize2(TRUE, pool);
  svn_cache_config_t cache = *svn_cache_config_get();
  cache.cache_size = kCacheBytes;
  cache.single_threaded = threads == Threads::kOne;
  svn_cache_config_set(&cache);
  // An assertion that fails inside the libraries ends the request, not the process.
  svn_error_set_malfunction_handler(svn_error_raise_on_malfunction);
  Check(svn_fs_initialize(pool));
}

}  // namespace

void Initialize(Threads threads) {
  static std::once_flag started;
  std::call_once(started, StartLibraries, threads);
}

Pool Pool::Root() {
  Initialize();
  Pool pool;
  pool.pool_ = CreateRootPool();
  return pool;
}

Pool::Pool(const Pool& parent) : Pool(parent.pool_) {}

Pool::Pool(apr_pool_t* parent) : pool_(svn_pool_create(parent)) {}

Pool::~Pool() {
  if (pool_) svn_pool_destroy(pool_);
}

void Pool::Clear() { svn_pool_clear(pool_); }

}  // namespace kelvarion::svn
