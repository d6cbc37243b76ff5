// The boundary of system.h: per-thread settings and callbacks, the
// library's thread-local slots, small helpers, thread start and result texts.
#include <cwchar>

#include "core/checks.h"
#include "core/helpers.h"
#include "core/slots.h"
#include "core/thread_state.h"
#include "platform/files.h"
#include "platform/threads.h"
#include "platform/wide_path.h"
#include "vxkrn/bitmap.h"
#include "vxkrn/system.h"

using vxkrn::core::CallbackSlot;
using vxkrn::core::thread_state;
using vxkrn::core::ThreadState;

namespace {

void swap_callback(CallbackSlot &slot, StatusCallbackFunc callback, void *user_data,
                   StatusCallbackFunc *old_callback, void **old_user_data) {
  if (old_callback) *old_callback = slot.function;
  if (old_user_data) *old_user_data = slot.user_data;
  slot = CallbackSlot{callback, user_data};
}

StatusCallbackFunc read_callback(const CallbackSlot &slot, void **user_data) {
  if (user_data) *user_data = slot.user_data;
  return slot.function;
}

}  // namespace

extern "C" {

ResultCode V_DefaultDithering(uint32_t method) {
  ThreadState &state = thread_state();
  if (method > 8) return RC_INVALID_PARAMETER;
  state.default_dithering = static_cast<int32_t>(method);
  return RC_SUCCESS;
}

int32_t V_GetDefaultDithering(void) {
  return thread_state().default_dithering;
}

int32_t V_SetDefaultXResolution(int32_t dots_per_inch) {
  ThreadState &state = thread_state();
  int32_t old = state.default_x_resolution;
  state.default_x_resolution = dots_per_inch;
  return old;
}

int32_t V_SetDefaultYResolution(int32_t dots_per_inch) {
  ThreadState &state = thread_state();
  int32_t old = state.default_y_resolution;
  state.default_y_resolution = dots_per_inch;
  return old;
}

int32_t V_GetDefaultXResolution(void) {
  return thread_state().default_x_resolution;
}
int32_t V_GetDefaultYResolution(void) {
  return thread_state().default_y_resolution;
}

ResultCode V_SetDefaultMemoryType(int32_t memory_type) {
  ThreadState &state = thread_state();
  if (memory_type != MEM_CONVENTIONAL && memory_type != MEM_TEMP_FILE) return RC_INVALID_PARAMETER;
  state.default_memory_type = memory_type;
  return RC_SUCCESS;
}

ResultCode V_GetDefaultMemoryType(int32_t *memory_type) {
  ThreadState &state = thread_state();
  if (!memory_type) return RC_INVALID_PARAMETER;
  *memory_type = state.default_memory_type;
  return RC_SUCCESS;
}

ResultCode V_SetMemoryThresholds(int32_t threshold1, int32_t threshold2, int32_t threshold3,
                                 int32_t threshold4, int32_t threshold5, uint32_t mask) {
  ThreadState &state = thread_state();
  // In argument order; each value is stored as soon as it passes, so a later
  // failure leaves the earlier ones set.
  struct Item {
    uint32_t bit;
    int32_t value;
    int32_t minimum;
    int32_t *field;
  };
  const Item items[] = {{1, threshold1, -100, &state.threshold1},
                        {2, threshold2, -100, &state.threshold2},
                        {4, threshold3, 0, &state.threshold3},
                        {8, threshold4, -100, &state.threshold4},
                        {16, threshold5, -100, &state.threshold5}};
  for (const Item &item : items) {
    if (!(mask & item.bit)) continue;
    if (item.value < item.minimum) return RC_INVALID_PARAMETER;
    *item.field = item.value;
  }
  return RC_SUCCESS;
}

ResultCode V_GetMemoryThresholds(int32_t *threshold1, int32_t *threshold2, int32_t *threshold3,
                                 int32_t *threshold4, int32_t *threshold5) {
  const ThreadState &state = thread_state();
  if (threshold1) *threshold1 = state.threshold1;
  if (threshold2) *threshold2 = state.threshold2;
  if (threshold3) *threshold3 = state.threshold3;
  if (threshold4) *threshold4 = state.threshold4;
  if (threshold5) *threshold5 = state.threshold5;
  return RC_SUCCESS;
}

ResultCode V_SetTempDirectory(const wchar_t *path) {
  ThreadState &state = thread_state();
  if (!path || std::wcslen(path) >= VXKRN_TEMP_PATH_CHARS) return RC_INVALID_PARAMETER;
  vxkrn::platform::Utf8Path host(path);
  if (vxkrn::platform::path_kind(host.c_str()) != vxkrn::platform::PathKind::Directory)
    return RC_INVALID_PARAMETER;
  std::wmemcpy(state.temp_directory, path, std::wcslen(path) + 1);
  return RC_SUCCESS;
}

ResultCode V_GetTempDirectory(wchar_t *buffer) {
  const ThreadState &state = thread_state();
  if (!buffer) return RC_INVALID_PARAMETER;
  std::wmemcpy(buffer, state.temp_directory, VXKRN_TEMP_PATH_CHARS);
  buffer[VXKRN_TEMP_PATH_CHARS - 1] = L'\0';
  return RC_SUCCESS;
}

void V_SetStatusCallBack(StatusCallbackFunc callback, void *user_data,
                         StatusCallbackFunc *old_callback, void **old_user_data) {
  swap_callback(thread_state().status, callback, user_data, old_callback, old_user_data);
}

StatusCallbackFunc V_GetStatusCallBack(void **user_data) {
  return read_callback(thread_state().status, user_data);
}

void V_SetCopyStatusCallBack(StatusCallbackFunc callback, void *user_data,
                             StatusCallbackFunc *old_callback, void **old_user_data) {
  swap_callback(thread_state().copy_status, callback, user_data, old_callback, old_user_data);
}

StatusCallbackFunc V_GetCopyStatusCallBack(void **user_data) {
  return read_callback(thread_state().copy_status, user_data);
}

uint32_t *V_SetUserMatchTable(uint32_t *table) {
  ThreadState &state = thread_state();
  uint32_t *old = state.user_match_table;
  state.user_match_table = table;
  return old;
}

int32_t V_TlsAlloc(void) {
  return vxkrn::core::slot_alloc();
}

int32_t V_TlsFree(int32_t index) {
  return vxkrn::core::slot_free(index) ? 1 : 0;
}

void *V_TlsGetValue(int32_t index) {
  return vxkrn::core::slot_value(index);
}

int32_t V_TlsSetValue(int32_t index, void *value) {
  return vxkrn::core::set_slot_value(index, value) ? 1 : 0;
}

int32_t V_SinValue(int32_t angle) {
  return vxkrn::core::sine(angle);
}

int32_t V_CosValue(int32_t angle) {
  return vxkrn::core::cosine(angle);
}

uint32_t V_SQRT(uint32_t n) {
  return vxkrn::core::isqrt(n);
}

const uint8_t *V_Get1BitOnTable(void) {
  return vxkrn::core::bit_counts();
}

wchar_t *V_SkipPath(const wchar_t *path) {
  if (!path) return nullptr;
  return const_cast<wchar_t *>(vxkrn::core::skip_path(path));
}

ResultCode V_VeltThreadCreateAndRun(VeltThread *record) {
  if (!record || !record->Routine) return RC_NO_MEMORY;
  return vxkrn::platform::thread_start(record->Routine, record, &record->Thread) ? RC_SUCCESS
                                                                                 : RC_NO_MEMORY;
}

ResultCode V_VeltThreadJoin(uintptr_t thread, uint32_t *exit_code) {
  if (thread == 0) return RC_INVALID_PARAMETER;
  return vxkrn::platform::thread_join(thread, exit_code) ? RC_SUCCESS : RC_INVALID_PARAMETER;
}

const char *V_ResultText(ResultCode code) {
  switch (code) {
    case RC_SUCCESS:
      return "success";
    case RC_NO_MEMORY:
      return "out of memory";
    case RC_INVALID_BITMAP:
      return "bitmap missing, not allocated or of a kind not handled";
    case RC_IMAGE_TOO_LARGE:
      return "image too large";
    case RC_FILE_SEEK:
      return "file seek failed";
    case RC_FILE_WRITE:
      return "file write failed";
    case RC_FILE_READ:
      return "file read failed";
    case RC_EMPTY_AREA:
      return "empty image or rectangle";
    case RC_INVALID_PARAMETER:
      return "invalid parameter";
    case RC_INVALID_FORMAT:
      return "unsupported bitmap header";
    case RC_INVALID_BITS_PER_PIXEL:
      return "bits per pixel not supported";
    case RC_DISK_FULL:
      return "disk full";
    case RC_INVALID_STRUCT_SIZE:
      return "wrong record size";
    case RC_INVALID_HANDLE:
      return "invalid handle";
    case RC_BITMAP_RESTRICTED:
      return "bitmap restricted";
    case RC_INVALID_LUT_LENGTH:
      return "lookup table length does not fit";
    case RC_NOT_SUPPORTED:
      return "not supported yet";
    default:
      return "unknown result code";
  }
}

}  // extern "C"
