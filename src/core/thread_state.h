// The per-thread state record: defaults, callbacks and user slots of the
// calling thread, created on first use and freed when the thread exits.
#pragma once

#include <cstdint>

#include "vxkrn/file.h"
#include "vxkrn/system.h"

namespace vxkrn::core {

// A registered callback and the value passed back to it.
struct CallbackSlot {
  StatusCallbackFunc function;
  void *user_data;
};

// The thread's file routines and the value each one is called with; a null
// routine stands for the file layer's primitive.
struct RedirectTable {
  IoOpenFunc open;
  IoReadFunc read;
  IoWriteFunc write;
  IoSeekFunc seek;
  IoCloseFunc close;
  void *open_data;
  void *read_data;
  void *write_data;
  void *seek_data;
  void *close_data;
};

struct ThreadState {
  std::uint32_t *user_match_table;
  RedirectTable redirect;
  std::int32_t default_dithering;
  std::int32_t default_x_resolution;
  std::int32_t default_y_resolution;
  std::int32_t default_memory_type;
  // Held in the order the record has always had them; the setter's first
  // argument is threshold1.
  std::int32_t threshold2;
  std::int32_t threshold1;
  std::int32_t threshold3;
  std::int32_t threshold4;
  std::int32_t threshold5;
  wchar_t temp_directory[VXKRN_TEMP_PATH_CHARS];
  CallbackSlot status;
  CallbackSlot copy_status;
  void **user_slots;  // VXKRN_TLS_SLOTS values, null in the fallback record
};

// The calling thread's record, created on first use. When it cannot be
// created, a process-wide all-zero fallback record stands in (shared by every
// thread in that situation; the next call tries to create the record again).
ThreadState &thread_state() noexcept;

// Whether a record is the process-wide fallback.
bool is_fallback(const ThreadState &state) noexcept;

// Library load and unload. Load creates the thread key and the loading
// thread's record; unload frees the calling thread's record and the key.
void library_attach() noexcept;
void library_detach() noexcept;
// How many times the library is attached (0 or 1 in practice).
int library_attach_count() noexcept;

}  // namespace vxkrn::core
