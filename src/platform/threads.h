// Locks, the one thread-local key, and thread start on the host system.
// The core never calls the system's thread API directly.
#pragma once

#include <cstdint>

namespace vxkrn::platform {

// The library lock: one process-wide mutex. It guards the slot table and
// the temporary-file registry and nothing else.
void library_lock() noexcept;
void library_unlock() noexcept;

class LibraryLockGuard {
 public:
  LibraryLockGuard() { library_lock(); }
  ~LibraryLockGuard() { library_unlock(); }
  LibraryLockGuard(const LibraryLockGuard &) = delete;
  LibraryLockGuard &operator=(const LibraryLockGuard &) = delete;
};

// One thread-local key whose destructor runs at thread exit for threads that
// hold a non-null value. Creation and deletion happen under the library lock.
bool tls_key_create(void (*destructor)(void *)) noexcept;
void tls_key_delete() noexcept;
bool tls_key_exists() noexcept;
void *tls_get() noexcept;
bool tls_set(void *value) noexcept;

// Start a joinable thread running routine(argument); its handle goes to
// *handle. Join waits and releases it, giving the routine's result.
bool thread_start(std::uint32_t (*routine)(void *), void *argument,
                  std::uintptr_t *handle) noexcept;
bool thread_join(std::uintptr_t handle, std::uint32_t *result) noexcept;

}  // namespace vxkrn::platform
