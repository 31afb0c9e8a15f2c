// APR memory that ends with the C++ scope that owns it.
#pragma once

#include <utility>

struct apr_pool_t;

namespace kelvarion::svn {

// Whether the process uses the libraries from one thread only, which spares them locks.
enum class Threads { kMany, kOne };

// Starts APR and the Subversion libraries. The first call of a process does the work; it must not
// run beside other uses of these libraries. Throws SvnException.
void Initialize(Threads threads = Threads::kMany);

// Owns a pool. Move-only; a pool belongs to one thread, though pools below the root pool may be
// made and destroyed by several threads at once.
class Pool {
 public:
  // The pool that all others of a provider are made from: its allocator keeps at most 4194304 bytes
  // of free memory and is guarded by a mutex. Calls Initialize. Throws SimpleException
  // "Cannot create APR allocator.".
  static Pool Root();
  explicit Pool(const Pool& parent);  // NOLINT: a pool below it, no copy
  explicit Pool(apr_pool_t* parent);
  Pool(Pool&& other) noexcept : pool_(std::exchange(other.pool_, nullptr)) {}
  Pool& operator=(Pool&& other) noexcept {
    std::swap(pool_, other.pool_);
    return *this;
  }
  ~Pool();

  apr_pool_t* get() const { return pool_; }
  operator apr_pool_t*() const { return pool_; }  // NOLINT: passed to C functions at every step
  // Frees what was allocated in it; for loops over many items.
  void Clear();

 private:
  Pool() = default;
  apr_pool_t* pool_ = nullptr;
};

}  // namespace kelvarion::svn
