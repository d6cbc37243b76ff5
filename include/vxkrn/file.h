/* vxkrn: the file layer. Primitive file operations, the per-thread table of
 * redirectable I/O callbacks, redirection into a memory block, the temporary
 * files that are deleted when closed, and file copy. */
#ifndef VXKRN_FILE_H
#define VXKRN_FILE_H

#include <vxkrn/types.h>

/* A file handle is an int32_t; -1 means no file. */
#define FILE_NO_HANDLE (-1)

/* Open flags: the low two bits choose the access, the others the creation. */
#define OPEN_READ 0x0
#define OPEN_WRITE 0x1
#define OPEN_READ_WRITE 0x2
#define OPEN_CREATE 0x100   /* always create anew: existing contents are discarded */
#define OPEN_TRUNCATE 0x200 /* truncate an existing file */

/* Share argument. Accepted for compatibility; it has no effect on POSIX. */
#define SHARE_READ 0x100
#define SHARE_WRITE 0x80 /* only together with SHARE_READ */

/* Seek origins; any other value counts from the end for the primitives. */
#define SEEK_FROM_START 0
#define SEEK_FROM_CURRENT 1
#define SEEK_FROM_END 2

/* Attribute bits of V_OsCreat. */
#define CREAT_READ_ONLY 0x1       /* open for reading only, file mode without write bits */
#define CREAT_HIDDEN 0x2          /* no meaning on POSIX */
#define CREAT_SYSTEM 0x4          /* no meaning on POSIX */
#define CREAT_DELETE_ON_CLOSE 0x8 /* the name is removed at once; the file lives until closed */

/* Longest path, in wide characters with the terminator, V_OsGetTempName writes. */
#define VXKRN_MAX_PATH 260

/* Flags of the memory redirection. */
#define MEMFILE_GROW 0x1  /* writes past the capacity grow the block */
#define MEMFILE_TRIM 0x2  /* with MEMFILE_GROW: closing shrinks the block to the data */
#define MEMFILE_FULL 0x4  /* the block already holds `size` bytes of data; no trim */
#define MEMFILE_WRITE 0x8 /* writes are allowed */
/* The one handle the memory redirection hands out. */
#define MEMFILE_HANDLE 5

/* The five I/O callbacks. Each receives the user value registered for its own
 * slot as the last argument.
 * open: file handle or -1. read/write: bytes moved or -1; a write of 0 bytes
 * cuts the file at the current position. seek: the new position (its low 32
 * bits); failure values differ by implementation. close: 0, or -1. */
typedef int32_t (*IoOpenFunc)(const wchar_t *name, int32_t flags, int32_t share, void *user_data);
typedef int32_t (*IoReadFunc)(int32_t file, void *buffer, uint32_t count, void *user_data);
typedef int32_t (*IoWriteFunc)(int32_t file, const void *buffer, uint32_t count, void *user_data);
typedef uint32_t (*IoSeekFunc)(int32_t file, int32_t offset, int32_t origin, void *user_data);
typedef int32_t (*IoCloseFunc)(int32_t file, void *user_data);

VXKRN_BEGIN_DECLS

/* ---- Primitives ----------------------------------------------------------
 * They have the callback shapes above and are what an empty slot of the
 * table stands for; the user_data argument is ignored. File names are converted to UTF-8; a name
 * that is not valid Unicode fails like a missing file. On failure errno says
 * why (see V_OsGetLastError). */

/* Open a file: flags as OPEN_..., share as SHARE_... (no effect).
 * Read-only opens of a missing file fail. Returns the handle or -1. */
VXKRN_API int32_t V_OsOpen(const wchar_t *name, int32_t flags, int32_t share, void *user_data);
/* Create a file anew (replacing one that exists) for reading and writing, or
 * reading only with CREAT_READ_ONLY. Returns the handle or -1. */
VXKRN_API int32_t V_OsCreat(const wchar_t *name, int32_t attributes);
/* Read up to count bytes (at most INT32_MAX). Returns bytes read (0 at the
 * end of the file), -1 for a null buffer or a failure. */
VXKRN_API int32_t V_OsRead(int32_t file, void *buffer, uint32_t count, void *user_data);
/* Write count bytes. A count of 0 cuts the file at the current position and
 * returns 0 (the buffer may then be null). Returns bytes written or -1. */
VXKRN_API int32_t V_OsWrite(int32_t file, const void *buffer, uint32_t count, void *user_data);
/* Transfer count bytes in chunks, going on after short transfers until a
 * transfer moves nothing (the end of the file, or a file that takes no
 * more). Returns the bytes moved (count, or fewer at such an end; 0 for 0),
 * or -1 when a chunk fails. */
VXKRN_API int64_t V_OsReadBig(int32_t file, void *buffer, uint32_t count, void *user_data);
VXKRN_API int64_t V_OsWriteBig(int32_t file, const void *buffer, uint32_t count, void *user_data);
/* Move the file position (origin SEEK_FROM_...). Returns the low 32 bits of
 * the new position; 0 on failure, like a seek to the start. */
VXKRN_API uint32_t V_OsSeek(int32_t file, int32_t offset, int32_t origin, void *user_data);
/* 64-bit seek to ((int64_t)offset_high << 32) | (uint32_t)offset_low.
 * Returns the new position, 0 on failure. */
VXKRN_API uint64_t V_OsSeekBig(int32_t file, int32_t offset_low, int32_t offset_high,
                               int32_t origin);
/* Set the file's size, leaving the position there. Returns 0 or -1. */
VXKRN_API int32_t V_OsSetFileSize(int32_t file, uint32_t size);
/* Close a handle; a registered temporary file is deleted. Returns 0 or -1. */
VXKRN_API int32_t V_OsClose(int32_t file, void *user_data);
/* Delete a file. Returns 0, or -1 for a null name or a failure. */
VXKRN_API int32_t V_OsDelete(const wchar_t *name);
/* RC_DISK_FULL when the last failure was a full disk (ENOSPC, EDQUOT),
 * otherwise fallback. */
VXKRN_API ResultCode V_OsGetLastError(ResultCode fallback);
/* Create a new empty file "VK<unique>.tmp" in the thread's temporary
 * directory, exclusively, and write its path into out (VXKRN_MAX_PATH wide
 * characters). The file is not registered for deletion.
 * Returns RC_SUCCESS; RC_INVALID_PARAMETER null out; RC_NO_MEMORY the file could not be made. */
VXKRN_API ResultCode V_OsGetTempName(wchar_t *out);

/* ---- Redirection -----------------------------------------------------------
 * Every thread has its own table of the five callbacks and five user values;
 * it starts with the primitives above and null values. */

/* Install callbacks (null: the primitive for that slot) and store user_data
 * into all five user values. */
VXKRN_API void V_RedirectIO(IoOpenFunc open, IoReadFunc read, IoWriteFunc write, IoSeekFunc seek,
                            IoCloseFunc close, void *user_data);
/* Exchange with the table, for chaining a filter in front of what is current
 * and restoring it later. For each non-null callback pointer: the current
 * callback is written back through it, and the value it pointed to becomes
 * current unless that value is null. For each non-null user-value pointer:
 * the pointed-to value and the slot are exchanged unconditionally. */
VXKRN_API void V_FilterIO(IoOpenFunc *open, IoReadFunc *read, IoWriteFunc *write, IoSeekFunc *seek,
                          IoCloseFunc *close, void **open_data, void **read_data, void **write_data,
                          void **seek_data, void **close_data);
/* Read the five user values; any pointer may be null. */
VXKRN_API void V_GetFilterIOData(void **open_data, void **read_data, void **write_data,
                                 void **seek_data, void **close_data);

/* Call the thread's current callback with its user value and return its
 * result unchanged. */
VXKRN_API int32_t V_RedirectedOpen(const wchar_t *name, int32_t flags, int32_t share);
VXKRN_API int32_t V_RedirectedRead(int32_t file, void *buffer, uint32_t count);
VXKRN_API int32_t V_RedirectedWrite(int32_t file, const void *buffer, uint32_t count);
VXKRN_API uint32_t V_RedirectedSeek(int32_t file, int32_t offset, int32_t origin);
VXKRN_API int32_t V_RedirectedClose(int32_t file);
/* Chunked, as V_OsReadBig and V_OsWriteBig, through the current callbacks. */
VXKRN_API int64_t V_RedirectedReadBig(int32_t file, void *buffer, uint32_t count);
VXKRN_API int64_t V_RedirectedWriteBig(int32_t file, const void *buffer, uint32_t count);

/* Redirect this thread's file traffic into a memory block until
 * V_StopRedirectToBuffer. The block stands for one file, handle
 * MEMFILE_HANDLE. flags: MEMFILE_...; buffer/size: an initial block (may be
 * null/0). A block the library may grow must come from the system heap
 * (V_GlobalAlloc). Redirections nest; stop them in reverse order.
 * The file behaves as one on disk would, within the block: opening it with
 * OPEN_CREATE or OPEN_TRUNCATE empties it; a write of 0 bytes cuts it at the
 * position when that lies inside it and changes nothing otherwise; bytes
 * between its end and a write further on read as zeros; it never grows
 * past the block, nor the block past what MEMFILE_GROW allows.
 * context receives an opaque record (owned by the library until stopped);
 * handle (may be null) receives MEMFILE_HANDLE.
 * Returns RC_SUCCESS; RC_INVALID_PARAMETER null context pointer; RC_NO_MEMORY no memory. */
VXKRN_API ResultCode V_StartRedirectToBuffer(void **context, int32_t *handle, uint32_t flags,
                                             void *buffer, uint32_t size);
/* Restore the callbacks that were current before the redirection and free
 * the context. buffer and size (either may be null) receive the block and
 * the size of the data in it; the block now belongs to the caller (a block
 * the library allocated or grew is freed with V_GlobalFree).
 * Returns RC_SUCCESS; RC_INVALID_PARAMETER null context, or a redirection
 * that is not the thread's current one (another started after it and is
 * still running, or a filter was chained in front of it): nothing changes
 * and the context stays valid, to be stopped in its turn. */
VXKRN_API ResultCode V_StopRedirectToBuffer(void *context, void **buffer, uint32_t *size);

/* Copy a file. The source is read from the file system directly; the
 * destination is written through the thread's redirection (so it may land in
 * a memory block). With fail_if_exists, an existing destination fails.
 * A copy onto the source itself is refused before anything is opened, and
 * a copy that fails deletes a destination file it created.
 * Returns 1, or 0 with errno set: EEXIST (destination exists), EIO (read or
 * write fault; a directory as the source), EINVAL (the source itself as the
 * destination), or the system's reason for a failed open. */
VXKRN_API int32_t V_CopyFile(const wchar_t *source, const wchar_t *destination,
                             int32_t fail_if_exists);

/* Close a handle as V_OsClose does (deleting a registered temporary file).
 * line and source_file only label the call site. Returns non-zero on
 * success, 0 on failure. */
VXKRN_API int32_t V_WinCloseHandle(intptr_t handle, int32_t line, const wchar_t *source_file);

VXKRN_END_DECLS

#endif /* VXKRN_FILE_H */
