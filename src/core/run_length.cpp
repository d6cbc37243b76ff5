// Run-length coding of 1-bit rows: the per-byte run table, the encoder, the
// decoder, and the exported compress, expand, mirror and flip of buffers.
#include "core/run_length.h"

#include <bit>
#include <cstddef>
#include <cstring>

#include "core/pixel_layout.h"
#include "core/byte_order.h"

namespace vxkrn::core {
namespace {

// The runs of one byte value, most significant bit first, already in their
// output form so that appending them is one fixed-size copy.
struct ByteRuns {
  std::uint8_t words[18];  // run lengths as little-endian words, zero past the last
  std::uint8_t count;      // runs in the byte, 1..8
  std::uint8_t first;      // length of the first run
  std::uint8_t last;       // length of the last run
  std::uint8_t unused[11];
};
static_assert(sizeof(ByteRuns) == 32);

struct RunTable {
  ByteRuns byte[256];
};

constexpr RunTable make_run_table() {
  RunTable table{};
  for (unsigned value = 0; value < 256; ++value) {
    ByteRuns &e = table.byte[value];
    unsigned runs = 0, length = 0;
    for (int bit = 7; bit >= 0; --bit) {
      ++length;
      if (bit == 0 || ((value >> bit) & 1) != ((value >> (bit - 1)) & 1)) {
        e.words[2 * runs] = static_cast<std::uint8_t>(length);
        ++runs;
        length = 0;
      }
    }
    e.count = static_cast<std::uint8_t>(runs);
    e.first = e.words[0];
    e.last = e.words[2 * (runs - 1)];
  }
  return table;
}

alignas(64) constexpr RunTable kRuns = make_run_table();

// The encoder's state: the open run word (its place in the record and its
// value, which starts at minus the bit offset of the first pixel so that the
// cleared bits before it are not counted) and the colour of the last pixel.
//
// Whole bytes append exactly the words of their runs (two overlapping fixed
// copies, so that no byte past the record is ever written: callers size
// buffers to the records they expect).
inline void copy_words(std::uint8_t *to, const std::uint8_t *from, std::uint32_t bytes) {
  if (bytes >= 8) {
    std::memcpy(to, from, 8);
    std::memcpy(to + bytes - 8, from + bytes - 8, 8);
  } else if (bytes >= 4) {
    std::memcpy(to, from, 4);
    std::memcpy(to + bytes - 4, from + bytes - 4, 4);
  } else if (bytes) {
    std::memcpy(to, from, 2);
  }
}

class RowEncoder {
 public:
  RowEncoder(std::uint8_t *record, std::uint32_t first_bit)
      : words_(record + 4), open_(record + 4), value_(-static_cast<std::int32_t>(first_bit)) {}

  // The byte value whose runs only add to the open word.
  std::uint32_t fill() const { return colour_ ? 0xFF : 0x00; }

  // `bytes` whole bytes of fill(): 8 pixels each to the open word, opening
  // a new word behind a zero-length separator before an addition that
  // would exceed the word, as byte-by-byte addition would.
  void add_fill_bytes(std::uint64_t bytes) {
    for (;;) {
      const std::int32_t room = static_cast<std::int32_t>(kMaxRunWord) - value_;
      const std::uint64_t fit = static_cast<std::uint64_t>(room) >> 3;
      if (bytes <= fit) {
        value_ += static_cast<std::int32_t>(8 * bytes);
        return;
      }
      value_ += static_cast<std::int32_t>(8 * fit);
      bytes -= fit;
      split();
    }
  }

  // One whole byte through the table. Its first run joins the open word when
  // the colours agree; the other runs are appended, the last one stays open.
  void add_byte(std::uint32_t byte) {
    const ByteRuns &runs = kRuns.byte[byte];
    const std::uint32_t same = ((byte >> 7) ^ colour_) ^ 1;
    const std::int32_t joined = static_cast<std::int32_t>(runs.first & (0u - same));
    if (value_ + joined > static_cast<std::int32_t>(kMaxRunWord)) [[unlikely]]
      split();
    value_ += joined;
    store16(open_, static_cast<std::uint32_t>(value_));
    const std::uint32_t appended = runs.count - same;
    if (appended == 1)
      std::memcpy(open_ + 2, runs.words + 2 * same, 2);
    else
      copy_words(open_ + 2, runs.words + 2 * same, 2 * appended);
    open_ += 2 * appended;
    if (appended) value_ = runs.last;
    colour_ = byte & 1;
  }

  // The top `bits` bits (1..8) of `byte`, run by run, with the same rule;
  // writes only the words it means.
  void add_bits(std::uint32_t byte, unsigned bits) {
    for (unsigned at = 0; at < bits;) {
      const std::uint32_t colour = (byte >> (7 - at)) & 1;
      unsigned length = 0;
      while (at < bits && ((byte >> (7 - at)) & 1) == colour) {
        ++length;
        ++at;
      }
      if (colour == colour_ && length == at) {  // the first run, joining the open word
        if (value_ + static_cast<std::int32_t>(length) > static_cast<std::int32_t>(kMaxRunWord))
          split();
        value_ += static_cast<std::int32_t>(length);
      } else {
        store16(open_, static_cast<std::uint32_t>(value_));
        open_ += 2;
        value_ = static_cast<std::int32_t>(length);
        colour_ = colour;
      }
    }
  }

  // Closes the open word and writes N. Returns N.
  std::uint32_t finish(std::uint8_t *record) {
    store16(open_, static_cast<std::uint32_t>(value_));
    const std::uint32_t n = static_cast<std::uint32_t>((open_ - words_) / 2 + 1);
    store32(record, n);
    return n;
  }

 private:
  void split() {
    store16(open_, static_cast<std::uint32_t>(value_));
    store16(open_ + 2, 0);
    open_ += 4;
    value_ = 0;
  }

  std::uint8_t *words_;
  std::uint8_t *open_;
  std::int32_t value_;
  std::uint32_t colour_ = 0;
};

// Bytes from `at` on (up to `end`) equal to `fill`, eight at a time.
inline std::size_t fill_length(const std::uint8_t *source, std::size_t at, std::size_t end,
                               std::uint32_t fill) {
  const std::uint64_t pattern = fill ? ~std::uint64_t{0} : 0;
  std::size_t i = at;
  while (end - i >= 8) {
    std::uint64_t chunk;
    std::memcpy(&chunk, source + i, 8);
    const std::uint64_t differ = chunk ^ pattern;
    if (differ) {
      // The first differing byte in memory order.
      const int bit = std::endian::native == std::endian::little ? std::countr_zero(differ)
                                                                 : std::countl_zero(differ);
      return i + static_cast<std::size_t>(bit >> 3) - at;
    }
    i += 8;
  }
  while (i < end && source[i] == fill)
    ++i;
  return i - at;
}

// Sets `length` bits from bit `at` on; the destination's bits from `at` on
// are still clear.
inline void set_ones(std::uint8_t *dest, std::uint64_t at, std::uint64_t length) {
  const std::uint64_t last = at + length - 1;
  std::uint8_t *first_byte = dest + (at >> 3);
  std::uint8_t *last_byte = dest + (last >> 3);
  const std::uint8_t head = static_cast<std::uint8_t>(0xFFu >> (at & 7));
  const std::uint8_t tail = static_cast<std::uint8_t>(0xFFu << (7 - (last & 7)));
  if (first_byte == last_byte) {
    *first_byte |= head & tail;
    return;
  }
  *first_byte |= head;
  if (last_byte - first_byte > 1)
    std::memset(first_byte + 1, 0xFF, static_cast<std::size_t>(last_byte - first_byte - 1));
  *last_byte = tail;
}

}  // namespace

std::uint32_t encode_row(const std::uint8_t *source, std::uint32_t first_bit, std::uint64_t count,
                         std::uint8_t *record) noexcept {
  first_bit &= 7;
  const std::uint64_t bits = first_bit + count;
  const std::size_t whole = static_cast<std::size_t>(bits >> 3);
  const unsigned tail = static_cast<unsigned>(bits & 7);
  const std::uint32_t first_mask = 0xFFu >> first_bit;
  RowEncoder encoder(record, first_bit);
  std::size_t i = 0;
  if (first_bit && whole) {
    encoder.add_bits(source[0] & first_mask, 8);
    i = 1;
  }
  while (i < whole) {
    const std::uint32_t byte = source[i];
    if (byte != encoder.fill()) {
      encoder.add_byte(byte);
      ++i;
      continue;
    }
    const std::size_t run = 1 + fill_length(source, i + 1, whole, byte);
    encoder.add_fill_bytes(run);
    i += run;
  }
  if (tail) encoder.add_bits(whole ? source[whole] : source[0] & first_mask, tail);
  return encoder.finish(record);
}

void decode_runs(const std::uint8_t *words, std::uint32_t n, std::uint64_t column,
                 std::uint64_t count, std::uint8_t *dest) noexcept {
  std::memset(dest, 0, static_cast<std::size_t>((count + 7) >> 3));
  if (!words || count == 0) return;
  // The run that holds the first column; a column equal to a run's length
  // starts the next run.
  std::uint32_t i = 0;
  std::uint64_t run = 0;
  for (; i < n; ++i) {
    run = load16(words + 2 * std::size_t{i});
    if (column < run) break;
    column -= run;
  }
  if (i == n) return;
  run -= column;
  std::uint64_t at = 0;
  for (;;) {
    const std::uint64_t length = run < count - at ? run : count - at;
    if ((i & 1) && length) set_ones(dest, at, length);
    at += length;
    if (at == count || ++i == n) return;
    run = load16(words + 2 * std::size_t{i});
  }
}

// Zero-length runs inside a record: each must sit between two words of one
// colour that together exceed a word. Only called for records that have one.
bool zero_runs_split_long_runs(const std::uint8_t *words, std::uint32_t n) {
  for (std::uint32_t i = 1; i < n; ++i) {
    if (load16(words + 2 * std::size_t{i}) != 0) continue;
    if (i + 1 == n) return false;
    const std::uint32_t around =
        load16(words + 2 * std::size_t{i - 1}) + load16(words + 2 * std::size_t{i + 1});
    if (around <= kMaxRunWord) return false;
  }
  return true;
}

bool is_row_record(const std::uint8_t *record, std::uint64_t pixels) noexcept {
  const std::uint32_t n = record_words(record);
  if (n > pixels + 1) return false;
  if (n == 0) return pixels == 0;
  const std::uint8_t *words = record + 4;
  // The first word may be zero; after it, four words at a time: their sum,
  // and whether one of them is zero.
  std::uint64_t sum = load16(words), zero = 0;
  std::uint32_t i = 1;
  if constexpr (std::endian::native == std::endian::little) {
    constexpr std::uint64_t kLow = 0x0001000100010001, kHigh = 0x8000800080008000;
    for (; i + 4 <= n; i += 4) {
      std::uint64_t v;
      std::memcpy(&v, words + 2 * std::size_t{i}, 8);
      zero |= (v - kLow) & ~v & kHigh;
      sum += (v & 0xFFFF) + ((v >> 16) & 0xFFFF) + ((v >> 32) & 0xFFFF) + (v >> 48);
    }
  }
  for (; i < n; ++i) {
    const std::uint32_t word = load16(words + 2 * std::size_t{i});
    zero |= word == 0;
    sum += word;
  }
  return sum == pixels && (!zero || zero_runs_split_long_runs(words, n));
}

bool record_reaches(const std::uint8_t *record, std::uint64_t end) noexcept {
  const std::uint32_t n = record_words(record);
  std::uint64_t sum = 0;
  for (std::uint32_t i = 0; i < n && sum < end; ++i)
    sum += load16(record + 4 + 2 * std::size_t{i});
  return sum >= end;
}

std::uint32_t record_words(const std::uint8_t *record) noexcept {
  return load32(record);
}

std::uint64_t record_bytes(const std::uint8_t *record) noexcept {
  return words_to_record_bytes(record_words(record));
}

void compress_rows(std::uint8_t *out, const std::uint8_t *in, std::uint32_t width,
                   std::uint32_t rows) noexcept {
  const auto stride = static_cast<std::size_t>(bytes_per_line(width, 1));
  for (std::uint32_t row = 0; row < rows; ++row, in += stride)
    out += static_cast<std::size_t>(words_to_record_bytes(encode_row(in, 0, width, out)));
}

ResultCode expand_rows(const std::uint8_t *in, std::uint8_t *out, std::uint32_t width,
                       std::uint32_t rows) noexcept {
  const auto stride = static_cast<std::size_t>(bytes_per_line(width, 1));
  // Every record is checked before the first row is written.
  const std::uint8_t *check = in;
  for (std::uint32_t row = 0; row < rows; ++row, check += record_bytes(check))
    if (!is_row_record(check, width)) return RC_INVALID_PARAMETER;
  for (std::uint32_t row = 0; row < rows; ++row, out += stride) {
    const std::uint32_t n = record_words(in);
    decode_runs(in + 4, n, 0, width, out);
    in += static_cast<std::size_t>(words_to_record_bytes(n));
  }
  return RC_SUCCESS;
}

// Reversing the words reverses the row. A leading zero-length 0 run would
// end up last, where it means nothing, so it is dropped; a row that ended in
// a 1 run begins with one after the reversal, so it gains a zero-length 0 run.
void mirror_records(const std::uint8_t *in, std::uint8_t *out, std::uint32_t rows) noexcept {
  for (std::uint32_t row = 0; row < rows; ++row) {
    const std::uint32_t n = record_words(in);
    const std::uint8_t *words = in + 4;
    const std::uint32_t dropped = n != 0 && load16(words) == 0 ? 1 : 0;
    const std::uint32_t leading = (n & 1) ? 0 : 1;
    store32(out, n - dropped + leading);
    out += 4;
    if (leading) {
      store16(out, 0);
      out += 2;
    }
    for (std::uint32_t i = n; i > dropped; --i) {
      std::memcpy(out, words + 2 * std::size_t{i - 1}, 2);
      out += 2;
    }
    in += static_cast<std::size_t>(words_to_record_bytes(n));
  }
}

void flip_records(const std::uint8_t *in, std::uint8_t *out, std::uint32_t rows) noexcept {
  std::size_t total = 0;
  for (std::uint32_t row = 0; row < rows; ++row)
    total += static_cast<std::size_t>(record_bytes(in + total));
  std::size_t offset = 0;
  for (std::uint32_t row = 0; row < rows; ++row) {
    const auto size = static_cast<std::size_t>(record_bytes(in + offset));
    std::memcpy(out + total - offset - size, in + offset, size);
    offset += size;
  }
}

}  // namespace vxkrn::core
