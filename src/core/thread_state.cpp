// Creation and teardown of per-thread state, and the library's load and
// unload hooks (shared-object constructor/destructor, lazy for static links).
#include "core/thread_state.h"

#include <atomic>
#include <cstring>

#include "platform/files.h"
#include "platform/heap.h"
#include "platform/threads.h"
#include "platform/wide_path.h"

namespace vxkrn::core {
namespace {

ThreadState g_fallback{};
std::atomic<int> g_attach_count{0};

void destroy_state(void *p) noexcept {
  auto *state = static_cast<ThreadState *>(p);
  if (!state || state == &g_fallback) return;
  platform::rt_free(state->user_slots);
  platform::rt_free(state);
}

void set_initial_temp_directory(ThreadState &state) noexcept {
  char utf8[VXKRN_TEMP_PATH_CHARS * 4];
  if (platform::system_temp_directory(utf8, sizeof utf8) &&
      platform::utf8_to_wide(utf8, state.temp_directory, VXKRN_TEMP_PATH_CHARS))
    return;
  platform::utf8_to_wide("/tmp/", state.temp_directory, VXKRN_TEMP_PATH_CHARS);
}

ThreadState *create_state() noexcept {
  if (!platform::tls_key_exists()) {
    platform::LibraryLockGuard guard;
    if (!platform::tls_key_create(destroy_state)) return nullptr;
  }
  auto *state = static_cast<ThreadState *>(platform::rt_alloc(sizeof(ThreadState), true));
  if (!state) return nullptr;
  // The redirection table starts empty: a null slot is the system's files.
  state->default_dithering = 7;
  state->default_x_resolution = 150;
  state->default_y_resolution = 150;
  state->default_memory_type = 1;
  state->threshold2 = 0x7FFFFFFF;
  state->threshold1 = 0;
  state->threshold3 = 0;
  state->threshold4 = -100;
  state->threshold5 = 1;
  set_initial_temp_directory(*state);
  state->user_slots =
      static_cast<void **>(platform::rt_alloc(sizeof(void *) * VXKRN_TLS_SLOTS, true));
  if (!state->user_slots || !platform::tls_set(state)) {
    destroy_state(state);
    return nullptr;
  }
  return state;
}

}  // namespace

ThreadState &thread_state() noexcept {
  if (auto *state = static_cast<ThreadState *>(platform::tls_get())) return *state;
  if (auto *state = create_state()) return *state;
  return g_fallback;
}

bool is_fallback(const ThreadState &state) noexcept {
  return &state == &g_fallback;
}

void library_attach() noexcept {
  thread_state();
  g_attach_count.fetch_add(1);
}

void library_detach() noexcept {
  g_attach_count.fetch_sub(1);
  void *state = platform::tls_get();
  platform::tls_set(nullptr);
  destroy_state(state);
  platform::LibraryLockGuard guard;
  platform::tls_key_delete();
}

int library_attach_count() noexcept {
  return g_attach_count.load();
}

namespace {
// Load and unload of the shared object (and start and end of a program that
// links the static library).
[[gnu::constructor]] void on_load() {
  library_attach();
}
[[gnu::destructor]] void on_unload() {
  library_detach();
}
}  // namespace

}  // namespace vxkrn::core
