// The memory redirection against a model of the file it stands for: every
// open, read, write, cut, seek, close and nested start or stop a fuzzed
// script makes answers as the model does, and the block handed back at the
// end holds the model's bytes.
#include <cstdlib>
#include <cstring>
#include <vector>

#include "fuzz/fuzz_input.h"
#include "vxkrn/vxkrn.h"

namespace {

void expect(bool condition) {
  if (!condition) std::abort();
}

// One redirection as its documented rules describe it.
struct Model {
  uint32_t flags = 0, capacity = 0, size = 0, position = 0;
  bool has_block = false;
  std::vector<uint8_t> bytes;  // the first `size` bytes are the file
  void *context = nullptr;

  int32_t write(const uint8_t *data, uint32_t count) {
    if (!(flags & MEMFILE_WRITE)) return -1;
    if (count == 0) {
      if (position < size) size = position;
      return 0;
    }
    const uint64_t end = uint64_t{position} + count;
    if (end > capacity && (flags & MEMFILE_GROW)) {
      capacity = static_cast<uint32_t>((end + 32767) & ~uint64_t{32767});
      has_block = true;
    }
    if (position > capacity || !has_block) return -1;
    const uint32_t n = count < capacity - position ? count : capacity - position;
    if (n == 0) return 0;
    if (bytes.size() < uint64_t{position} + n) bytes.resize(uint64_t{position} + n);
    std::fill(bytes.begin() + size, bytes.begin() + (position > size ? position : size), 0);
    std::memcpy(bytes.data() + position, data, n);
    position += n;
    if (position > size) size = position;
    return static_cast<int32_t>(n);
  }
  int32_t read(uint8_t *out, uint32_t count) {
    if (position > size || !has_block) return -1;
    const uint32_t n = count < size - position ? count : size - position;
    std::memcpy(out, bytes.data() + position, n);
    position += n;
    return static_cast<int32_t>(n);
  }
  uint32_t seek(int32_t offset, int32_t origin) {
    const uint32_t base = origin == SEEK_FROM_START ? 0 : origin == SEEK_FROM_CURRENT ? position
                                                                                     : size;
    if (origin < 0 || origin > 2) return uint32_t(-1);
    return position = base + static_cast<uint32_t>(offset);
  }
  void close() {
    const uint32_t trim = MEMFILE_GROW | MEMFILE_TRIM;
    if (size < capacity && !(flags & MEMFILE_FULL) && (flags & trim) == trim && has_block)
      capacity = size;
  }
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  FuzzInput in(data, size);
  std::vector<Model> stack;
  uint8_t scratch[300];
  auto start = [&] {
    Model m;
    m.flags = in.byte() & 15;
    const uint32_t given = in.byte() % 3 == 0 ? in.byte() % 64 : 0;
    void *block = given ? V_GlobalAlloc(1, given) : nullptr;
    for (uint32_t i = 0; i < given; ++i)
      static_cast<uint8_t *>(block)[i] = in.byte();
    m.has_block = block != nullptr;
    m.capacity = given;
    m.size = (m.flags & MEMFILE_FULL) ? given : 0;
    m.bytes.assign(static_cast<uint8_t *>(block), static_cast<uint8_t *>(block) + given);
    int32_t handle = 0;
    expect(V_StartRedirectToBuffer(&m.context, &handle, m.flags, block, given) == RC_SUCCESS);
    expect(handle == MEMFILE_HANDLE);
    stack.push_back(m);
  };
  auto stop = [&] {
    void *block = nullptr;
    uint32_t bytes = 0;
    expect(V_StopRedirectToBuffer(stack.back().context, &block, &bytes) == RC_SUCCESS);
    const Model &m = stack.back();
    expect(bytes == m.size && (bytes == 0 || std::memcmp(block, m.bytes.data(), bytes) == 0));
    V_GlobalFree(block);
    stack.pop_back();
  };
  start();
  while (!in.empty()) {
    Model &m = stack.back();
    const uint8_t op = in.byte();
    const uint32_t count = in.byte();
    switch (op % 9) {
      case 0: {
        const int32_t flags[] = {OPEN_READ, OPEN_CREATE | OPEN_READ_WRITE, OPEN_TRUNCATE, 1};
        const int32_t f = flags[count % 4];
        expect(V_RedirectedOpen(L"any", f, 0) == MEMFILE_HANDLE);
        m.position = 0;
        if (f & (OPEN_CREATE | OPEN_TRUNCATE)) m.size = 0;
        break;
      }
      case 1:
      case 2: {
        // Far positions would make the growing block as large as they are.
        if (m.position > (1u << 22)) break;
        for (uint32_t i = 0; i < count; ++i)
          scratch[i] = static_cast<uint8_t>(op + i);
        // A chunked transfer of nothing makes no call at all: no cut.
        const bool big = op % 9 == 2;
        const int64_t got = big ? V_RedirectedWriteBig(MEMFILE_HANDLE, scratch, count)
                                : V_RedirectedWrite(MEMFILE_HANDLE, scratch, count);
        expect(got == (big && count == 0 ? 0 : m.write(scratch, count)));
        break;
      }
      case 3: {
        const int32_t offset = static_cast<int16_t>(in.u16()) * (count % 4 == 0 ? 64 : 1);
        const int32_t origin = static_cast<int32_t>(count % 5);
        expect(V_RedirectedSeek(MEMFILE_HANDLE, offset, origin) == m.seek(offset, origin));
        break;
      }
      case 4:
      case 5: {
        uint8_t got[300], want[300];
        const int64_t n = op % 9 == 4 ? V_RedirectedRead(MEMFILE_HANDLE, got, count)
                                      : V_RedirectedReadBig(MEMFILE_HANDLE, got, count);
        const int32_t expected = op % 9 == 5 && count == 0 ? 0 : m.read(want, count);
        expect(n == expected);
        if (n > 0) expect(std::memcmp(got, want, size_t(n)) == 0);
        break;
      }
      case 6:
        expect(V_RedirectedClose(MEMFILE_HANDLE) == 0);
        m.close();
        break;
      case 7:
        if (stack.size() < 4) start();
        break;
      default:
        // Only the innermost redirection may stop; an outer one is refused.
        if (stack.size() > 1 && count % 2)
          expect(V_StopRedirectToBuffer(stack.front().context, nullptr, nullptr) ==
                 RC_INVALID_PARAMETER);
        else if (stack.size() > 1)
          stop();
    }
  }
  while (!stack.empty())
    stop();
  return 0;
}
