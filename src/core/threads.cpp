// Thread start for callers: a joinable thread running the caller's routine
// with its own record as argument.
#include "platform/threads.h"
#include "vxkrn/system.h"

extern "C" {

ResultCode V_VeltThreadCreateAndRun(VeltThread *record) {
  if (!record || !record->Routine) return RC_NO_MEMORY;
  return vxkrn::platform::thread_start(record->Routine, record, &record->Thread) ? RC_SUCCESS
                                                                                 : RC_NO_MEMORY;
}

ResultCode V_VeltThreadJoin(uintptr_t thread, uint32_t *exit_code) {
  if (thread == 0) return RC_INVALID_PARAMETER;
  return vxkrn::platform::thread_join(thread, exit_code) ? RC_SUCCESS : RC_INVALID_PARAMETER;
}

}  // extern "C"
