/* vxkrn: per-thread settings and callbacks, the library's own thread-local
 * slots, memory routines, and small shared helpers. */
#ifndef VXKRN_SYSTEM_H
#define VXKRN_SYSTEM_H

#include <vxkrn/types.h>

/* Length, in wide characters including the terminator, of the buffer that
 * V_GetTempDirectory fills. */
#define VXKRN_TEMP_PATH_CHARS 264

/* Number of slots V_TlsAlloc can hand out. */
#define VXKRN_TLS_SLOTS 1024

/* The record V_VeltThreadCreateAndRun starts a thread with. Callers may embed
 * it as the first member of a larger structure of their own. */
typedef uint32_t (*VeltThreadRoutine)(void *record);
typedef struct VeltThread {
  VeltThreadRoutine Routine; /* runs in the new thread, gets the record */
  uintptr_t Thread;          /* receives the thread handle */
} VeltThread;

VXKRN_BEGIN_DECLS

/* A short English text for a result code, for messages: "success", "out
 * of memory", "invalid parameter", ... (docs/guide.md lists them). Any other
 * value gives "unknown result code". The text is static: never null, never
 * to be freed. */
VXKRN_API const char *V_ResultText(ResultCode code);

/* ---- Per-thread settings -------------------------------------------------
 * Each thread has its own settings, created on its first call. A thread that
 * never changes one sees the initial value: dithering 7, resolutions 150,
 * memory type 1, thresholds (0, 0x7FFFFFFF, 0, -100, 1), the system
 * temporary directory, no callbacks. */

/* Set the dithering method new bitmaps get. Returns RC_SUCCESS; RC_INVALID_PARAMETER if method > 8.
 */
VXKRN_API ResultCode V_DefaultDithering(uint32_t method);
/* The dithering method new bitmaps get. */
VXKRN_API int32_t V_GetDefaultDithering(void);

/* Set the resolution new bitmaps get (values below 1 give them 150).
 * Returns the previous value. */
VXKRN_API int32_t V_SetDefaultXResolution(int32_t dots_per_inch);
VXKRN_API int32_t V_SetDefaultYResolution(int32_t dots_per_inch);
VXKRN_API int32_t V_GetDefaultXResolution(void);
VXKRN_API int32_t V_GetDefaultYResolution(void);

/* The default memory type, kept for callers (allocation does not read it).
 * Set accepts MEM_CONVENTIONAL (1) and MEM_TEMP_FILE (128).
 * Return RC_SUCCESS; RC_INVALID_PARAMETER for another value or a null pointer. */
VXKRN_API ResultCode V_SetDefaultMemoryType(int32_t memory_type);
VXKRN_API ResultCode V_GetDefaultMemoryType(int32_t *memory_type);

/* Five memory thresholds, kept for callers. mask bit 1 sets the first value,
 * 2 the second, 4 the third, 8 the fourth, 16 the fifth, in that order.
 * Each value set must be at least -100, the third at least 0.
 * Returns RC_SUCCESS; RC_INVALID_PARAMETER for a value out of range (values set before it stay
 * set). */
VXKRN_API ResultCode V_SetMemoryThresholds(int32_t threshold1, int32_t threshold2,
                                           int32_t threshold3, int32_t threshold4,
                                           int32_t threshold5, uint32_t mask);
/* Read the five thresholds; any pointer may be null. Returns RC_SUCCESS. */
VXKRN_API ResultCode V_GetMemoryThresholds(int32_t *threshold1, int32_t *threshold2,
                                           int32_t *threshold3, int32_t *threshold4,
                                           int32_t *threshold5);

/* Set the directory for new temporary files (path borrowed, copied). It must
 * exist and be a directory, and be shorter than VXKRN_TEMP_PATH_CHARS
 * characters. Returns RC_SUCCESS; RC_INVALID_PARAMETER null, unknown, not a directory, too long, or
 * not valid Unicode. */
VXKRN_API ResultCode V_SetTempDirectory(const wchar_t *path);
/* Copy the temporary directory into a buffer of VXKRN_TEMP_PATH_CHARS wide
 * characters (terminated). Returns RC_SUCCESS; RC_INVALID_PARAMETER null buffer. */
VXKRN_API ResultCode V_GetTempDirectory(wchar_t *buffer);

/* Status callback of long operations. The old pair is returned through the
 * out pointers, which may be null. */
VXKRN_API void V_SetStatusCallBack(StatusCallbackFunc callback, void *user_data,
                                   StatusCallbackFunc *old_callback, void **old_user_data);
/* The current status callback; its value through user_data (may be null). */
VXKRN_API StatusCallbackFunc V_GetStatusCallBack(void **user_data);
/* The same pair for copy operations. */
VXKRN_API void V_SetCopyStatusCallBack(StatusCallbackFunc callback, void *user_data,
                                       StatusCallbackFunc *old_callback, void **old_user_data);
VXKRN_API StatusCallbackFunc V_GetCopyStatusCallBack(void **user_data);

/* The caller's colour-match table (32768 entries, borrowed) used by
 * dithering. Returns the previous one. */
VXKRN_API uint32_t *V_SetUserMatchTable(uint32_t *table);

/* ---- Thread-local slots --------------------------------------------------
 * Slot indices are process-wide, values per thread (0 until set). */

/* A free slot index, or -1 when all VXKRN_TLS_SLOTS are in use. */
VXKRN_API int32_t V_TlsAlloc(void);
/* 1 if the slot was in use and is now free; 0 otherwise. */
VXKRN_API int32_t V_TlsFree(int32_t index);
/* The calling thread's value of a slot; null for an index never handed out. */
VXKRN_API void *V_TlsGetValue(int32_t index);
/* Set the calling thread's value. Returns 1; 0 for an index never handed out
 * or when the thread has no slot storage. */
VXKRN_API int32_t V_TlsSetValue(int32_t index, void *value);

/* ---- Memory routines -----------------------------------------------------
 * Two heaps that must not be mixed. The run-time heap (V_Local...) serves
 * scratch memory; the system heap (V_Global..., V_Os...Handle) serves what a
 * bitmap owns: storage, Palette, LUT, MapTable. count x size is computed
 * without overflow; a product that cannot be allocated gives null. */

/* Run-time heap block of count x size bytes, not cleared; null on failure. */
VXKRN_API void *V_LocalAlloc(uint32_t count, uint32_t size);
/* The same, cleared. */
VXKRN_API void *V_LocalAllocInit(uint32_t count, uint32_t size);
/* Resize a run-time heap block (null allocates). Null on failure, the old
 * block then stays valid. */
VXKRN_API void *V_LocalRealloc(void *block, uint32_t size);
/* Resize, then clear the whole block, old contents included. */
VXKRN_API void *V_LocalReallocInit(void *block, uint32_t size);
/* Free a run-time heap block (null is ignored). */
VXKRN_API void V_LocalFree(void *block);

/* System heap block of count x size bytes, cleared. */
VXKRN_API void *V_GlobalAlloc(uint32_t count, uint32_t size);
VXKRN_API void *V_GlobalAllocInit(uint32_t count, uint32_t size);
/* Resize a system heap block (null allocates); new bytes are not cleared. */
VXKRN_API void *V_GlobalRealloc(void *block, uint32_t size);
/* Free a system heap block. Returns RC_SUCCESS. */
VXKRN_API int32_t V_GlobalFree(void *block);
/* System heap block with allocation flags: 0x40 clears it, other bits have
 * no meaning here. */
VXKRN_API void *V_OsAllocHandle(uint32_t flags, uint32_t size);
/* Cleared system heap block; flags are ignored. */
VXKRN_API void *V_OsAllocHandleInit(uint32_t flags, uint32_t size);
/* Resize a system heap block to `size` bytes, keeping its contents up to
 * the smaller size (a null block allocates a cleared one). Returns the
 * block, which may have moved, or null when it cannot be had; the old block
 * then stays valid and unchanged. */
VXKRN_API void *V_OsReallocHandle(void *block, uint32_t size);
/* Free a system heap block. Returns 0. */
VXKRN_API int32_t V_OsFreeHandle(void *block);

/* The standard byte routines. V_MemoryCompareI compares ASCII letters
 * without regard to case. */
VXKRN_API void *V_MemoryCopy(void *destination, const void *source, size_t count);
VXKRN_API void *V_MemoryMove(void *destination, const void *source, size_t count);
VXKRN_API void *V_MemorySet(void *destination, int value, size_t count);
VXKRN_API int V_MemoryCompare(const void *first, const void *second, size_t count);
VXKRN_API int V_MemoryCompareI(const void *first, const void *second, size_t count);
VXKRN_API void *V_MemoryChr(const void *block, int value, size_t count);

/* ---- Helpers ---------------------------------------------------------------*/

/* sin and cos x 16384 (rounded) of an angle in hundredths of a degree,
 * 0 to 36000. Angles are not folded: outside that range the result is 0. */
VXKRN_API int32_t V_SinValue(int32_t angle);
VXKRN_API int32_t V_CosValue(int32_t angle);
/* Integer square root: the largest r with r * r <= n. */
VXKRN_API uint32_t V_SQRT(uint32_t n);
/* 256 bytes: entry b is the number of set bits in b. Library-owned. */
VXKRN_API const uint8_t *V_Get1BitOnTable(void);
/* The file-name part of a path: what follows the last ':', '\\' or '/'.
 * Points into path; null for null. */
VXKRN_API wchar_t *V_SkipPath(const wchar_t *path);

/* Start a thread running record->Routine(record); its handle goes into
 * record->Thread. The thread must be joined with V_VeltThreadJoin.
 * Returns RC_SUCCESS; RC_NO_MEMORY the thread could not be started (or null record/routine). */
VXKRN_API ResultCode V_VeltThreadCreateAndRun(VeltThread *record);
/* Wait for a thread started by V_VeltThreadCreateAndRun and release it; the
 * routine's result goes to exit_code (may be null). Each handle is joined
 * exactly once; any other value than such a handle is undefined.
 * Returns RC_SUCCESS; RC_INVALID_PARAMETER a zero handle or the system refused the join. */
VXKRN_API ResultCode V_VeltThreadJoin(uintptr_t thread, uint32_t *exit_code);

VXKRN_END_DECLS

#endif /* VXKRN_SYSTEM_H */
