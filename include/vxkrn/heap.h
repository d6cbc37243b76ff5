/* vxkrn: large blocks (one heap block, or a mapped section seen through one
 * movable view) and the release of the offset arenas of compressed storage. */
#ifndef VXKRN_HEAP_H
#define VXKRN_HEAP_H

#include <vxkrn/types.h>

/* A large logical block. The library allocates and owns the record; callers
 * read its fields but change them only through the functions below.
 *
 * A plain block (Mapped 0) is one run-time heap block at Address, BlockSize
 * bytes long; the view fields are 0 and BackingFile is -1.
 *
 * A mapped block (Mapped 1) lives in a shared-memory object, or in a
 * temporary file when the system has no shared memory to give (that file is
 * deleted when the block is freed). Only one window of it, the view, is in
 * the address space at a time: Address points at the byte ViewOffset of the
 * block and the view holds ViewSize bytes from there. V_AccessHugeMemory
 * moves the view as needed, so a pointer obtained from it stays valid only
 * until the next access or clear of the same block. */
typedef struct HugeMemory {
  uint32_t Mapped;      /* 0: plain heap block; 1: mapped section */
  void *Address;        /* the heap block, or the current view (null when none) */
  intptr_t Mapping;     /* descriptor of the mapped object (mapped blocks only); the
                           backing file's descriptor when there is one */
  uint32_t BlockSize;   /* bytes of the logical block */
  uint32_t ViewOffset;  /* offset of the view in the block, a multiple of Granularity */
  uint32_t ViewSize;    /* bytes of the view */
  uint32_t Granularity; /* alignment of view offsets: the system page size */
  int32_t BackingFile;  /* temporary file behind the section, -1 for none */
} HugeMemory;

VXKRN_BEGIN_DECLS

/* ---- Large blocks ----------------------------------------------------------*/

/* A new block of `size` bytes (0 allowed). A plain heap block is used when the
 * heap can supply one (its contents are then undefined); otherwise a section
 * of that size is created, zero-filled, and a first view is mapped at offset
 * 0. Returns the record, owned by the caller until V_FreeHugeMemory, or null
 * when neither a heap block nor a section with a view could be made. */
VXKRN_API HugeMemory *V_AllocHugeMemory(uint32_t size);

/* Point *out at byte `offset` of the block, valid for `length` bytes.
 * Plain block: no bounds check. Mapped block: the range must lie inside the
 * block; the current view is reused when it holds the range, otherwise it is
 * replaced by a view from the page holding `offset` to the end of the block.
 * When address space is short the view is halved until it maps, down to
 * `length` bytes from the start of that page; a range that does not start on
 * a Granularity boundary can then reach past the view, so callers that may
 * run short keep their ranges aligned or within one page. The pointer is
 * valid until the next access or clear of the block, or its release.
 * Returns RC_SUCCESS; RC_INVALID_HANDLE null record; RC_INVALID_PARAMETER null out, or offset +
 * length beyond BlockSize (mapped only); RC_NO_MEMORY no view could be mapped (the block then has
 * no view; a later access tries again). */
VXKRN_API ResultCode V_AccessHugeMemory(HugeMemory *memory, void **out, uint32_t offset,
                                        uint32_t length);

/* Mapped block: clear `length` bytes from `offset`, moving the view across
 * the block as needed. Plain block, deliberately different: the first
 * `length` bytes of the block are set to the low byte of `offset`, so an
 * offset of 0 clears the start of the block.
 * Returns RC_SUCCESS (also for length 0); RC_INVALID_HANDLE null record; RC_INVALID_PARAMETER
 * mapped and offset + length beyond BlockSize (nothing is cleared); RC_NO_MEMORY a view could not
 * be mapped (bytes before it are cleared). */
VXKRN_API ResultCode V_ZeroHugeMemory(HugeMemory *memory, uint32_t offset, uint32_t length);

/* Release a block and its record: the view, the section and a backing file
 * (which is deleted). Null is ignored. */
VXKRN_API void V_FreeHugeMemory(HugeMemory *memory);

/* ---- Arenas of compressed storage ------------------------------------------
 * Compressed 1-bit rows live in offset-addressed arenas that the library
 * creates; a row is named by the offset of its chunk in its arena. */

/* Free one chunk of an arena, merging it with free neighbours. A null arena,
 * chunk 0, an offset outside the arena and a chunk that is already free are
 * ignored; any other offset must be one the arena handed out. */
VXKRN_API void V_HeapFree(void *arena, uint32_t chunk_offset);

/* Free a whole arena; its chunk offsets become meaningless. Null is ignored. */
VXKRN_API void V_HeapTerm(void *arena);

/* Make every arena of a compressed bitmap end in free room of at least
 * bytes / (row groups) bytes, rounded up to 256 KiB steps, from the last
 * group to the first. An arena whose free end is larger shrinks to that
 * room: this reserves, it never only adds. Size is recomputed.
 * Returns RC_SUCCESS; 0 at the first arena the heap could not resize (the ones after
 * it in the bitmap are done, the rest unchanged); RC_INVALID_PARAMETER null record, not
 * allocated or not FLAG_COMPRESSED; RC_INVALID_STRUCT_SIZE StructSize. */
VXKRN_API ResultCode V_GrowBitmapHeap(BitmapHandle *bitmap, uint32_t bytes);

/* Give back the free end of every arena of a compressed bitmap beyond 128
 * bytes, from the last group to the first. Size is recomputed.
 * Returns RC_SUCCESS; 0 at the first arena that gave nothing back (its free end was
 * 128 bytes or less, or it ends in a used chunk) or that the heap could not
 * shrink; RC_INVALID_PARAMETER as V_GrowBitmapHeap; RC_INVALID_STRUCT_SIZE StructSize. */
VXKRN_API ResultCode V_TrimBitmapHeap(BitmapHandle *bitmap);

VXKRN_END_DECLS

#endif /* VXKRN_HEAP_H */
