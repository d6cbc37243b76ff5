// A deliberately plain model of the buffer converter and the nearest-colour search, following
// docs/color.md rule by rule, out of place: the whole row is decoded, then written to a copy.
#pragma once

#include <cstdint>
#include <vector>

#include "vxkrn/vxkrn.h"

namespace vxkrn_test {

// What V_ConvertBufferExt does to `buffer`: RC_SUCCESS with the row written over it, or
// RC_INVALID_PARAMETER with it untouched. A buffer shorter than the wider row throws
// std::length_error: a fault of the test, not of the library.
ResultCode reference_convert(std::vector<uint8_t> &buffer, uint32_t width, int32_t src_bits,
                             int32_t dst_bits, int32_t src_order, int32_t dst_order,
                             const PaletteEntry *src_palette, const PaletteEntry *dst_palette,
                             int32_t flags, int32_t low_bit, int32_t high_bit);

// The nearest palette entry, scanned linearly: null entries give 0, count 0 gives -1, black
// and white try the ends of the palette first, ties go to a later entry whose component order
// matches the requested colour's, and the first exact match ends the scan.
int32_t reference_find_palette_index(const PaletteEntry *entries, uint32_t count, int32_t red,
                                     int32_t green, int32_t blue);

// Bytes a row of `width` pixels of an accepted depth takes (0 counts as 8).
uint64_t reference_row_bytes(uint32_t width, int32_t bits);

}  // namespace vxkrn_test
