/* vxkrn: shared types, result codes and the bitmap record.
 * Every other public header includes this one. C99 and C++ compatible. */
#ifndef VXKRN_TYPES_H
#define VXKRN_TYPES_H

#include <stddef.h>
#include <stdint.h>

/* Export decoration. Shared builds export only the V_ functions; users of the
 * static library on Windows define VXKRN_STATIC (the CMake package does). */
#if defined(_WIN32)
#if defined(VXKRN_STATIC)
#define VXKRN_API
#elif defined(VXKRN_BUILDING)
#define VXKRN_API __declspec(dllexport)
#else
#define VXKRN_API __declspec(dllimport)
#endif
#elif defined(__GNUC__)
#define VXKRN_API __attribute__((visibility("default")))
#else
#define VXKRN_API
#endif

#ifdef __cplusplus
#define VXKRN_BEGIN_DECLS extern "C" {
#define VXKRN_END_DECLS }
#else
#define VXKRN_BEGIN_DECLS
#define VXKRN_END_DECLS
#endif

/* Result of every function that reports success or failure: 1 is success,
 * negative values name the failure. */
typedef int32_t ResultCode;

#define RC_SUCCESS 1
#define RC_NO_MEMORY (-1)               /* a memory allocation failed */
#define RC_INVALID_BITMAP (-2)          /* null record, not allocated, or a kind not handled */
#define RC_IMAGE_TOO_LARGE (-3)         /* image data would exceed the size cap */
#define RC_FILE_SEEK (-4)               /* seeking failed or landed elsewhere */
#define RC_FILE_WRITE (-5)              /* writing failed or wrote fewer bytes */
#define RC_FILE_READ (-7)               /* reading failed or read fewer bytes */
#define RC_EMPTY_AREA (-11)             /* zero-sized image or empty rectangle */
#define RC_INVALID_PARAMETER (-13)      /* null pointer, value out of range, unknown option */
#define RC_INVALID_FORMAT (-16)         /* a device-independent bitmap header not handled */
#define RC_INVALID_BITS_PER_PIXEL (-27) /* bits per pixel not accepted by the operation */
#define RC_DISK_FULL (-295)             /* the operating system reported a full disk */
#define RC_INVALID_STRUCT_SIZE (-789)   /* a record's size field or size argument is wrong */
#define RC_INVALID_HANDLE (-814)        /* null large-block record or list without storage */
#define RC_BITMAP_RESTRICTED (-1360)    /* FLAG_RESTRICTED set without FLAG_USE_LOW_HIGH */
#define RC_INVALID_LUT_LENGTH (-1486)   /* LUTLength does not fit the gray description */
#define RC_NOT_SUPPORTED (-1500)        /* a case this version does not handle yet */

/* Largest number of pixel-data bytes a bitmap may have. */
#define BITMAP_SIZE_CAP 0xFFFF0000u

/* One palette entry: blue, green, red, reserved (in that byte order). */
typedef struct PaletteEntry {
  uint8_t Blue;
  uint8_t Green;
  uint8_t Red;
  uint8_t Reserved;
} PaletteEntry;

/* A colour value: red in bits 0-7, green 8-15, blue 16-23, and in the top
 * byte its kind (COLOR_KIND_...). */
typedef uint32_t ColorValue;

#define COLOR_KIND_RGB 0x00u
#define COLOR_KIND_INDEX 0x01u
#define COLOR_KIND_GRAY 0x04u

/* Colour orders of pixel data (BitmapHandle.Order). */
#define ORDER_RGB 0
#define ORDER_BGR 1
#define ORDER_GRAY 2
#define ORDER_MATRIX 5

/* BitmapHandle.ViewPerspective: where the first stored row and the first
 * stored column lie in the picture as it is meant to be seen (the numbering
 * of the TIFF and Exif orientation tag; docs/guide.md draws all eight). From
 * 5 to 8 stored rows run along the picture's columns. */
#define VIEW_TOP_LEFT 1     /* rows from the top, columns from the left */
#define VIEW_TOP_RIGHT 2    /* rows from the top, columns from the right */
#define VIEW_BOTTOM_RIGHT 3 /* rows from the bottom, columns from the right */
#define VIEW_BOTTOM_LEFT 4  /* rows from the bottom, columns from the left (new records) */
#define VIEW_LEFT_TOP 5     /* rows from the left side, columns from the top */
#define VIEW_RIGHT_TOP 6    /* rows from the right side, columns from the top */
#define VIEW_RIGHT_BOTTOM 7 /* rows from the right side, columns from the bottom */
#define VIEW_LEFT_BOTTOM 8  /* rows from the left side, columns from the bottom */

/* BitmapHandle.Flags bits. Bits not listed are kept as they are. */
#define FLAG_ALLOCATED 0x0001u        /* storage exists */
#define FLAG_CONVENTIONAL 0x0002u     /* pixel data live in memory */
#define FLAG_DISK 0x0004u             /* pixel data live in a temporary file (Storage) */
#define FLAG_ACCESSED 0x0010u         /* Data is valid */
#define FLAG_COMPRESSED 0x0100u       /* 1-bit rows stored run-length compressed */
#define FLAG_RESTRICTED 0x0200u       /* some conversions refuse the bitmap */
#define FLAG_USER_MEMORY 0x0400u      /* pixel memory belongs to the caller */
#define FLAG_USE_LOW_HIGH 0x0800u     /* gray described by LowBit/HighBit, not MinBit/MaxBit */
#define FLAG_USER_BLOCK 0x1000u       /* caller supplied a whole block in Storage */
#define FLAG_MAP_TABLE_SET 0x2000u    /* MapTable holds a mapping of the caller's */
#define FLAG_NO_DIRECT_ACCESS 0x4000u /* storage that cannot be accessed directly */
#define FLAG_SUPER_COMPRESSED 0x8000u /* rows kept as codec-compressed strips */
#define FLAG_CARRIED 0x10000u         /* the caller's mark, carried to duplicates */

/* The storage bits that allocation clears before it allocates. */
#define FLAG_STORAGE_MASK 0xD517u

/* The bitmap record. The caller owns it (stack, heap or inside its own
 * structures); the library owns what it points to once allocated.
 *
 * Layout: 41 fields in this order. On 32-bit targets every field is 4 bytes
 * and the record is exactly 164 bytes, field n at offset 4 * (n - 1). On
 * 64-bit targets the pointer-sized fields (Storage, Data, Palette,
 * DitherState, LUT, MapTable, Extension) are 8 bytes and naturally aligned,
 * so the record is larger: BITMAPHANDLE_SIZE is its valid size on every
 * target, and the StructSize field and every size argument must equal it.
 *
 * Copying a record shares its storage: exactly one copy may be freed. */
typedef struct BitmapHandle {
  uint32_t StructSize;        /*  1: BITMAPHANDLE_SIZE */
  void *Storage;              /*  2: memory block as allocated, temporary-file handle
                                     (stored as intptr_t) or compressed storage root */
  uint8_t *Data;              /*  3: first byte of pixel data while accessed, or the
                                     caller's data pointer */
  int32_t Width;              /*  4: pixels per stored row */
  int32_t Height;             /*  5: stored rows */
  int32_t BitsPerPixel;       /*  6: 1-8, 12, 16, 24, 32, 48 or 64 */
  int32_t BytesPerLine;       /*  7: row stride, a multiple of 4 */
  uint32_t Reserved1[2];      /*  8, 9: zero */
  uint32_t Flags;             /* 10: FLAG_... bits */
  int32_t ColorCount;         /* 11: palette entries (1 << BitsPerPixel up to 8 bits) */
  PaletteEntry *Palette;      /* 12: owned by the record */
  int32_t ViewPerspective;    /* 13: 1 to 8 */
  int32_t Order;              /* 14: ORDER_... */
  uint32_t Size;              /* 15: bytes of pixel data */
  void *DitherState;          /* 16: open dithering pass, or null */
  int32_t DitheringMethod;    /* 17 */
  int32_t XResolution;        /* 18: dots per inch */
  int32_t YResolution;        /* 19: dots per inch */
  int32_t Playback[6];        /* 20-25: animation parameters, carried only */
  int32_t LowBit;             /* 26: lowest significant bit of gray data */
  int32_t HighBit;            /* 27: highest significant bit (-1: BitsPerPixel - 1) */
  PaletteEntry *LUT;          /* 28: gray lookup table, owned by the record */
  uint32_t LUTLength;         /* 29: entries in LUT */
  uint32_t AlignOffset;       /* 30: Storage to 32-byte-aligned data */
  int32_t MinVal;             /* 31: lowest gray value present */
  int32_t MaxVal;             /* 32: highest gray value present */
  int32_t MinBit;             /* 33: low bit of the alternative gray description */
  int32_t MaxBit;             /* 34: its high bit (-1: BitsPerPixel - 1) */
  int32_t PaintScale;         /* 35: a percentage, 100 when initialised */
  int32_t PaintScaleParms[2]; /* 36, 37: carried with PaintScale */
  uint8_t *MapTable;          /* 38: 256-byte map, owned by the record */
  void *Extension;            /* 39: extension pointer, owned by the record */
  uint32_t Reserved2[2];      /* 40, 41: zero */
} BitmapHandle;

#define BITMAPHANDLE_SIZE ((uint32_t)sizeof(BitmapHandle))

/* Progress callback: percent done (0 to 100) and the value registered with it.
 * Any result other than RC_SUCCESS stops the operation with that result. */
typedef ResultCode (*StatusCallbackFunc)(int32_t percent, void *user_data);

#endif /* VXKRN_TYPES_H */
