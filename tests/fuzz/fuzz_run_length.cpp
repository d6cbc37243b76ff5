// Records from a careless caller: whatever bytes arrive as records, the
// decoders and the record puts touch no memory they were not given, and
// records a put accepts read back as the same pixels.
#include <cstdlib>
#include <cstring>
#include <vector>

#include "fuzz/fuzz_input.h"
#include "vxkrn/vxkrn.h"

namespace {

constexpr uint8_t kGuard = 0xA7;

void expect(bool condition) {
  if (!condition) std::abort();
}

bool guard_intact(const std::vector<uint8_t> &buffer, size_t from) {
  for (size_t i = from; i < buffer.size(); ++i)
    if (buffer[i] != kGuard) return false;
  return true;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  FuzzInput in(data, size);
  const uint32_t width = 1 + in.u16() % 2048, rows = 1 + in.byte() % 3;
  const uint32_t column = in.byte() % (width + 2);
  // The records as given, each count cut to the words the input holds: a
  // record longer than its buffer breaks the contract, not the library.
  std::vector<uint8_t> records = in.rest();
  uint32_t whole = 0;
  for (size_t at = 0; whole < rows && at + 4 <= records.size(); ++whole) {
    uint32_t n = records[at] | records[at + 1] << 8 | records[at + 2] << 16 |
                 uint32_t(records[at + 3]) << 24;
    const size_t room = (records.size() - at - 4) / 2;
    if (n > room) n = static_cast<uint32_t>(room);
    for (int k = 0; k < 4; ++k)
      records[at + k] = static_cast<uint8_t>(n >> (8 * k));
    at += 4 + 2 * size_t{n};
  }
  if (whole == 0) return 0;
  const size_t stride = ((width + 31) >> 3) & ~size_t{3}, used = (width + 7) / 8;

  std::vector<uint8_t> plain(stride * whole + 32, kGuard);
  const ResultCode expanded = V_ExpandRows(records.data(), plain.data(), width, whole);
  expect(guard_intact(plain, stride * whole));
  const uint32_t count = width - (column < width ? column : width);
  std::vector<uint8_t> part((count + 7) / 8 + 32, kGuard);
  V_ExpandRow(records.data(), part.data(), column, count);
  expect(guard_intact(part, (count + 7) / 8));

  for (const int32_t type : {MEM_COMPRESSED, MEM_NO_DISK}) {
    BitmapHandle bm;
    expect(V_InitBitmap(&bm, BITMAPHANDLE_SIZE, int32_t(width), int32_t(whole), 1) == 1);
    expect(V_AllocateBitmap(&bm, type) == 1);
    V_AccessBitmap(&bm);
    const ResultCode put = V_PutBitmapRowCompressed(&bm, nullptr, records.data(), 0, whole);
    expect(put == RC_SUCCESS || put == RC_INVALID_PARAMETER);
    expect((put == RC_SUCCESS) == (expanded == RC_SUCCESS));
    V_AccessBitmap(&bm);  // a store that grew past plain rows switched storage
    // Exactly the documented room: a larger record would overrun it.
    std::vector<uint8_t> back(whole * COMPRESSED_RECORD_MAX_BYTES(width));
    expect(V_GetBitmapRowCompressed(&bm, nullptr, back.data(), 0, whole) == RC_SUCCESS);
    if (put == RC_SUCCESS) {
      std::vector<uint8_t> again(stride * whole, kGuard);
      expect(V_ExpandRows(back.data(), again.data(), width, whole) == RC_SUCCESS);
      for (uint32_t y = 0; y < whole; ++y)
        expect(std::memcmp(again.data() + y * stride, plain.data() + y * stride, used) == 0);
    }
    V_FreeBitmap(&bm);
  }
  return 0;
}
