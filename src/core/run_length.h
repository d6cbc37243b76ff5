// Run-length records of 1-bit rows: the encoder, the decoder and the record
// header, shared by the buffer functions and the compressed bitmap storage.
#pragma once

#include <cstdint>

#include "vxkrn/types.h"

namespace vxkrn::core {

// Longest run one word holds.
constexpr std::uint32_t kMaxRunWord = 65535;

// Bytes a record of `pixels` pixels may need at most: 4 + 2 * (pixels + 1).
// Every pixel can open a run of its own, and the first run may be empty.
constexpr std::uint64_t max_record_bytes(std::uint64_t pixels) {
  return 4 + 2 * (pixels + 1);
}

// Encode `count` pixels of a plain row, starting at bit `first_bit` (0..7,
// from the most significant bit) of source[0], into `record` (count word +
// run words). Returns N, the number of run words. source is only read.
// record must have max_record_bytes(count) bytes of room; nothing past the
// record is written. count stays below 2^32 - 1 so that N fits its 32 bits.
std::uint32_t encode_row(const std::uint8_t *source, std::uint32_t first_bit, std::uint64_t count,
                         std::uint8_t *record) noexcept;

// Decode `count` pixels starting at pixel `column` of the run words (`words`,
// `n` of them, 2-byte aligned at best) into dest, from the most significant
// bit of dest[0]; (count + 7) / 8 bytes are written, bits past `count`
// cleared. Pixels past the last of the n runs read as 0. Null words: a
// cleared destination.
void decode_runs(const std::uint8_t *words, std::uint32_t n, std::uint64_t column,
                 std::uint64_t count, std::uint8_t *dest) noexcept;

// Bytes of a record of n run words: the count word and the runs.
constexpr std::uint64_t words_to_record_bytes(std::uint32_t n) {
  return (std::uint64_t{n} + 2) * 2;
}

// Whether a record from a caller is exactly one row of `pixels` pixels: at
// most pixels + 1 words (the encoder's worst case), runs adding up to
// `pixels`, and zero-length runs only first or where they split a run too
// long for one word (the two words around them add up to more than
// kMaxRunWord). Reads no word past N, and none at all when N is too large.
bool is_row_record(const std::uint8_t *record, std::uint64_t pixels) noexcept;

// Whether the runs of a record reach pixel `end` (exclusive); zero-length
// runs anywhere are fine. Reads only the words up to the one that does.
bool record_reaches(const std::uint8_t *record, std::uint64_t end) noexcept;

// N of a record; and the record's size in bytes.
std::uint32_t record_words(const std::uint8_t *record) noexcept;
std::uint64_t record_bytes(const std::uint8_t *record) noexcept;

// The buffer coders: `rows` plain rows of `width` pixels at the padded
// stride to records back to back, and back (RC_INVALID_PARAMETER, nothing
// written, when a record is not one row of `width` pixels); every record
// reversed left to right (a record may grow by one word); the records in
// reverse order. Buffers must not overlap.
void compress_rows(std::uint8_t *out, const std::uint8_t *in, std::uint32_t width,
                   std::uint32_t rows) noexcept;
ResultCode expand_rows(const std::uint8_t *in, std::uint8_t *out, std::uint32_t width,
                       std::uint32_t rows) noexcept;
void mirror_records(const std::uint8_t *in, std::uint8_t *out, std::uint32_t rows) noexcept;
void flip_records(const std::uint8_t *in, std::uint8_t *out, std::uint32_t rows) noexcept;

}  // namespace vxkrn::core
