// POSIX threads behind the platform thread interface: a static mutex for the
// library lock, one pthread key for thread state, pthread_create for threads.
#include <pthread.h>

#include <atomic>

#include "platform/heap.h"
#include "platform/threads.h"

namespace vxkrn::platform {
namespace {

pthread_mutex_t g_lock = PTHREAD_MUTEX_INITIALIZER;
pthread_key_t g_key;
std::atomic<bool> g_key_valid{false};

// The creator holds `published` until the handle is stored, so a routine that
// frees its record never races with the handle being written into it.
struct ThreadStart {
  std::uint32_t (*routine)(void *);
  void *argument;
  pthread_mutex_t published;
};

void *thread_trampoline(void *p) {
  auto *start = static_cast<ThreadStart *>(p);
  pthread_mutex_lock(&start->published);
  auto routine = start->routine;
  void *argument = start->argument;
  pthread_mutex_unlock(&start->published);
  pthread_mutex_destroy(&start->published);
  rt_free(start);
  std::uint32_t result = routine(argument);
  return reinterpret_cast<void *>(static_cast<std::uintptr_t>(result));
}

}  // namespace

static_assert(sizeof(pthread_t) <= sizeof(std::uintptr_t), "thread handle must fit a pointer");

void library_lock() noexcept {
  pthread_mutex_lock(&g_lock);
}
void library_unlock() noexcept {
  pthread_mutex_unlock(&g_lock);
}

bool tls_key_create(void (*destructor)(void *)) noexcept {
  if (g_key_valid.load(std::memory_order_acquire)) return true;
  if (pthread_key_create(&g_key, destructor) != 0) return false;
  g_key_valid.store(true, std::memory_order_release);
  return true;
}

void tls_key_delete() noexcept {
  if (!g_key_valid.exchange(false, std::memory_order_acq_rel)) return;
  pthread_key_delete(g_key);
}

bool tls_key_exists() noexcept {
  return g_key_valid.load(std::memory_order_acquire);
}

void *tls_get() noexcept {
  return g_key_valid.load(std::memory_order_acquire) ? pthread_getspecific(g_key) : nullptr;
}

bool tls_set(void *value) noexcept {
  return g_key_valid.load(std::memory_order_acquire) && pthread_setspecific(g_key, value) == 0;
}

bool thread_start(std::uint32_t (*routine)(void *), void *argument,
                  std::uintptr_t *handle) noexcept {
  auto *start = static_cast<ThreadStart *>(rt_alloc(sizeof(ThreadStart)));
  if (!start) return false;
  start->routine = routine;
  start->argument = argument;
  if (pthread_mutex_init(&start->published, nullptr) != 0) {
    rt_free(start);
    return false;
  }
  pthread_mutex_lock(&start->published);
  pthread_t thread;
  if (pthread_create(&thread, nullptr, thread_trampoline, start) != 0) {
    pthread_mutex_unlock(&start->published);
    pthread_mutex_destroy(&start->published);
    rt_free(start);
    return false;
  }
  *handle = static_cast<std::uintptr_t>(thread);
  pthread_mutex_unlock(&start->published);
  return true;
}

bool thread_join(std::uintptr_t handle, std::uint32_t *result) noexcept {
  void *value = nullptr;
  if (pthread_join(static_cast<pthread_t>(handle), &value) != 0) return false;
  if (result) *result = static_cast<std::uint32_t>(reinterpret_cast<std::uintptr_t>(value));
  return true;
}

}  // namespace vxkrn::platform
