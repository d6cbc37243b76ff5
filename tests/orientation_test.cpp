// Flips, mirrors and right-angle turns against a reference that moves one
// pixel at a time, at every depth and storage kind; view perspectives.
#include <algorithm>
#include <random>

#include "platform/cpu.h"
#include "support/test_support.h"
#include "transform/rotate.h"

namespace {

using namespace vxkrn_test;
using Bytes = std::vector<uint8_t>;
const int kDepths[] = {1, 2, 3, 4, 5, 6, 7, 8, 12, 16, 24, 32, 48, 64};
const uint32_t kWidths[] = {1, 7, 9, 31, 33, 65};

// Where the reference puts pixel (x, y) of a w x h picture.
enum Op { kFlip, kMirror, kClockwise, kAgainst, kHalf };
struct At {
  uint64_t x, y;
};
At moved(Op op, uint64_t x, uint64_t y, uint64_t w, uint64_t h) {
  switch (op) {
    case kFlip:
      return {x, h - 1 - y};
    case kMirror:
      return {w - 1 - x, y};
    case kClockwise:
      return {h - 1 - y, x};
    case kAgainst:
      return {y, w - 1 - x};
    default:
      return {w - 1 - x, h - 1 - y};
  }
}

// `in` holds h rows of w pixels `in_stride` apart; `out` (prefilled) gets
// the moved pixels, the bytes under its pixels cleared first.
void reference(Op op, const Bytes &in, size_t in_stride, Bytes &out, size_t out_stride, uint32_t w,
               uint32_t h, int bits) {
  const bool turned = op == kClockwise || op == kAgainst;
  const uint64_t ow = turned ? h : w, oh = turned ? w : h;
  for (uint64_t y = 0; y < oh; ++y)
    std::fill_n(&out[y * out_stride], (ow * bits + 7) / 8, 0);
  for (uint64_t y = 0; y < h; ++y)
    for (uint64_t x = 0; x < w; ++x) {
      const At to = moved(op, x, y, w, h);
      set_pixel(&out[to.y * out_stride], bits, to.x, get_pixel(&in[y * in_stride], bits, x));
    }
}

size_t word_stride(uint32_t pixels, int bits) {
  return (uint64_t{pixels} * bits + 31) / 32 * 4;
}

// Random pixels set one by one into zeroed rows: the pad bits stay clear.
Bytes random_picture(std::mt19937 &random, uint32_t w, uint32_t h, int bits, size_t stride) {
  Bytes data(stride * h);
  for (uint32_t y = 0; y < h; ++y)
    for (uint32_t x = 0; x < w; ++x)
      set_pixel(&data[y * stride], bits, x, uint64_t{random()} << 32 | random());
  return data;
}

// The buffer functions against the reference at every vector level: turns
// into a buffer full of a marker (bytes past each row's pixels must keep
// it), the half turn, and the mirror in place.
TEST(Orientation, BufferTurnsAndMirrorsMatchTheReference) {
  using vxkrn::platform::SimdLevel;
  std::mt19937 random(90);
  for (SimdLevel level : {SimdLevel::None, SimdLevel::Ssse3, SimdLevel::Avx2})
    for (int bits : kDepths)
      for (uint32_t w : {1u, 7u, 9u, 31u, 33u, 65u, 300u})  // 300: vector blocks at 1 bit
        for (uint32_t h : {1u, 8u, 13u, 65u}) {
          if (vxkrn::platform::supported_simd_level() < level) continue;
          vxkrn::platform::set_simd_cap(level);
          SCOPED_TRACE(::testing::Message()
                       << bits << " bits, " << w << " x " << h << ", vector level " << int(level));
          const size_t in_stride = word_stride(w, bits), turned_stride = word_stride(h, bits);
          const Bytes in = random_picture(random, w, h, bits, in_stride);
          for (Op op : {kClockwise, kAgainst, kHalf}) {
            const size_t out_stride = op == kHalf ? in_stride : turned_stride;
            Bytes got(out_stride * (op == kHalf ? h : w) + kGuardBytes, kGuardByte), want = got;
            reference(op, in, in_stride, want, out_stride, w, h, bits);
            EXPECT_EQ(op == kHalf
                          ? V_RotateBuffer180(in.data(), got.data(), w, h, bits)
                          : V_RotateBuffer90(in.data(), got.data(), op == kClockwise, w, h, bits),
                      RC_SUCCESS);
            ASSERT_EQ(got, want) << "op " << op;
          }
          Bytes row(in.begin(), in.begin() + in_stride), want(row);
          row.insert(row.end(), kGuardBytes, kGuardByte);
          want.insert(want.end(), kGuardBytes, kGuardByte);
          reference(kMirror, Bytes(row), in_stride, want, in_stride, w, 1, bits);
          EXPECT_EQ(V_MirrorLine(row.data(), w, bits), RC_SUCCESS);
          ASSERT_EQ(row, want) << "mirror";
        }
  vxkrn::platform::set_simd_cap(SimdLevel::Avx2);
  uint8_t byte = 0x5A;
  EXPECT_EQ(V_MirrorLine(&byte, 3, 9) + V_MirrorLine(&byte, 0, 1), 2 * RC_SUCCESS);
  EXPECT_EQ(byte, 0x5A) << "no depth 9, no pixels";
  for (ResultCode rc :
       {V_MirrorLine(nullptr, 1, 1), V_RotateBuffer90(nullptr, &byte, 1, 1, 1, 8),
        V_RotateBuffer90(&byte, &byte, 1, 1, 1, 9), V_RotateBuffer180(&byte, &byte, 1, 1, 8),
        V_RotateBuffer180(&byte, nullptr, 1, 1, 8)})
    EXPECT_EQ(rc, RC_INVALID_PARAMETER);
}

// Storage kinds a bitmap of `bits` can have; the caller's memory comes from
// `user`.
struct Kind {
  const char *name;
  int32_t type;
};
const Kind kKinds[] = {{"memory", MEM_CONVENTIONAL},
                       {"caller memory", MEM_USER},
                       {"disk", MEM_DISK},
                       {"compressed", MEM_CONVENTIONAL | MEM_MOD_COMPRESS}};

void make(BitmapHandle &bm, uint32_t w, uint32_t h, int bits, int32_t type, Bytes &user) {
  make_bitmap(bm, int32_t(w), int32_t(h), bits, type);
  if (type != MEM_USER) return;
  user.assign(size_t(bm.BytesPerLine) * h, 0);
  ASSERT_EQ(V_SetBitmapDataPointer(&bm, user.data(), uint32_t(user.size())), RC_SUCCESS);
}

class OrientationBitmaps : public TempDirTest {};

// Every depth, width and storage kind, every perspective's effect on the
// direction: flips and mirrors of the picture (stored rows exchange roles
// for transposed perspectives), visible quarter turns (stored the other
// way for mirror images), half turns; resolutions follow the turns.
TEST_F(OrientationBitmaps, EveryOperationMatchesTheReferenceInEveryStorage) {
  uint32_t seed = 0;
  for (const Kind &kind : kKinds)
    for (int bits : kDepths) {
      if (kind.type & MEM_MOD_COMPRESS && bits != 1) continue;
      for (uint32_t w : kWidths) {
        const uint32_t h = 3 + w % 17;
        const int32_t view = 1 + int32_t(seed % 8);
        for (int op = kFlip; op <= kHalf; ++op) {
          SCOPED_TRACE(::testing::Message() << kind.name << ", " << bits << " bits, " << w << " x "
                                            << h << ", view " << view << ", op " << op);
          OwnedBitmap bm;
          Bytes user;
          make(bm.bm, w, h, bits, kind.type, user);
          bm->ViewPerspective = view;
          bm->XResolution = 300;
          const Bytes rows = random_rows(bm.bm, ++seed);
          write_rows(bm.bm, rows);
          const bool accessed = seed % 2 && kind.type == MEM_CONVENTIONAL;
          if (accessed) V_AccessBitmap(bm.get());
          const bool transposed = view >= 5,
                     mirror_image = view == 2 || view == 4 || view == 5 || view == 7;
          Op stored = Op(op);
          ResultCode rc;
          if (op == kFlip || op == kMirror) {
            rc = op == kFlip ? V_FlipBitmap(bm.get()) : V_ReverseBitmap(bm.get());
            if (transposed) stored = op == kFlip ? kMirror : kFlip;
          } else if (op == kHalf) {
            rc = V_RotateBitmap(bm.get(), -18000, 0, 0);
          } else {
            rc = op == kClockwise ? V_RotateBitmap90(bm.get(), 1, 0, 100)
                                  : V_RotateBitmap(bm.get(), 27000, ROTATE_RESIZE, 0);
            if (mirror_image) stored = op == kClockwise ? kAgainst : kClockwise;
          }
          ASSERT_EQ(rc, RC_SUCCESS);
          const bool turned = stored == kClockwise || stored == kAgainst;
          const uint32_t ow = turned ? h : w, oh = turned ? w : h;
          ASSERT_TRUE(bm->Width == int32_t(ow) && bm->Height == int32_t(oh));
          EXPECT_EQ(bm->XResolution, turned ? 150 : 300) << "resolutions exchanged";
          EXPECT_EQ(bm->ViewPerspective, view);
          EXPECT_EQ(bool(bm->Flags & FLAG_ACCESSED), accessed) << "access kept";
          EXPECT_EQ(bool(bm->Flags & FLAG_COMPRESSED), bool(kind.type & MEM_MOD_COMPRESS));
          EXPECT_EQ(bool(bm->Flags & FLAG_DISK), kind.type == MEM_DISK);
          Bytes want(size_t(bm->BytesPerLine) * oh, 0);
          reference(stored, rows, rows.size() / h, want, size_t(bm->BytesPerLine), w, h, bits);
          ASSERT_EQ(read_rows(bm.bm), want);
        }
      }
    }
}

// The picture a perspective shows: viewed pixel (x, y) of a stored w x h
// bitmap, rows top-down.
uint64_t viewed(const Bytes &rows, size_t stride, int bits, int32_t view, uint32_t w, uint32_t h,
                uint64_t x, uint64_t y) {
  // Transposed perspectives exchange the axes; then the stored columns or
  // rows run against the picture's where the perspective says so.
  const bool transposed = view >= 5;
  uint64_t sx = transposed ? y : x, sy = transposed ? x : y;
  if (view == 2 || view == 3 || view == 7 || view == 8) sx = w - 1 - sx;
  if (view == 3 || view == 4 || view == 6 || view == 7) sy = h - 1 - sy;
  return get_pixel(&rows[sy * stride], bits, sx);
}

// The picture as rows of pixels, and its width.
std::vector<uint64_t> picture(BitmapHandle &bm, uint32_t *width = nullptr) {
  const Bytes rows = read_rows(bm);
  const uint32_t w = uint32_t(bm.Width), h = uint32_t(bm.Height);
  const bool transposed = bm.ViewPerspective >= 5;
  if (width) *width = transposed ? h : w;
  std::vector<uint64_t> out;
  for (uint64_t y = 0; y < (transposed ? w : h); ++y)
    for (uint64_t x = 0; x < (transposed ? h : w); ++x)
      out.push_back(
          viewed(rows, size_t(bm.BytesPerLine), bm.BitsPerPixel, bm.ViewPerspective, w, h, x, y));
  return out;
}

// Each stored pixel of `source` lies in `moved` (its copy in another
// perspective) where PointFromBitmap and RectFromBitmap (a one-pixel
// rectangle) send it; PointToBitmap brings it back, except towards
// perspectives 5 and 7, whose frame rule differs.
void expect_pixels_followed(BitmapHandle &source, BitmapHandle &moved) {
  const Bytes rows = read_rows(source), moved_rows = read_rows(moved);
  const int bits = source.BitsPerPixel;
  const int32_t to = moved.ViewPerspective, from = source.ViewPerspective;
  for (int32_t y = 0; y < source.Height; ++y)
    for (int32_t x = 0; x < source.Width; ++x) {
      int32_t px = x, py = y;
      ViewRect rect{x, y, x + 1, y + 1};
      ASSERT_TRUE(V_PointFromBitmap(&source, to, &px, &py) == 1 &&
                  V_RectFromBitmap(&source, to, &rect) == 1);
      ASSERT_TRUE(rect.Left == px && rect.Top == py && rect.Right == px + 1 &&
                  rect.Bottom == py + 1 && px >= 0 && py >= 0 && px < moved.Width &&
                  py < moved.Height)
          << x << ", " << y << " went to " << px << ", " << py;
      ASSERT_EQ(get_pixel(&moved_rows[size_t(py) * size_t(moved.BytesPerLine)], bits, uint64_t(px)),
                get_pixel(&rows[size_t(y) * size_t(source.BytesPerLine)], bits, uint64_t(x)))
          << x << ", " << y << " went to " << px << ", " << py;
      ASSERT_EQ(V_PointToBitmap(&source, to, &px, &py), RC_SUCCESS);
      EXPECT_TRUE((to != from && (to == 5 || to == 7)) || (px == x && py == y))
          << x << ", " << y << " came back as " << px << ", " << py;
    }
}

// The view functions turn the picture as they say: flipped, mirrored, a
// quarter clockwise (resolutions exchanged), or left as it is for a whole
// turn; what is not a right angle is refused.
void view_functions_turn_the_picture(int32_t from) {
  OwnedBitmap bm;
  make_bitmap(bm.bm, 4, 3, 8, MEM_CONVENTIONAL);
  write_rows(bm.bm, random_rows(bm.bm, uint32_t(from)));
  bm->ViewPerspective = from;
  bm->XResolution = 300;
  for (int op = kFlip; op <= kHalf; ++op) {
    SCOPED_TRACE(::testing::Message() << "view " << from << ", op " << op);
    uint32_t w;
    const std::vector<uint64_t> before = picture(bm.bm, &w);
    const uint32_t h = uint32_t(before.size()) / w;
    const ResultCode rc = op == kFlip      ? V_FlipBitmapViewPerspective(bm.get())
                          : op == kMirror  ? V_ReverseBitmapViewPerspective(bm.get())
                          : op == kHalf    ? V_RotateBitmapViewPerspective(bm.get(), -540)
                          : op == kAgainst ? V_IntRotateBitmapViewPerspective(bm.get(), 270 + 720)
                                           : V_RotateBitmapViewPerspective(bm.get(), 90);
    ASSERT_EQ(rc, RC_SUCCESS);
    std::vector<uint64_t> want(before.size());
    const bool turned = op == kClockwise || op == kAgainst;
    for (uint64_t i = 0; i < before.size(); ++i) {
      const At to = moved(Op(op), i % w, i / w, w, h);
      want[to.y * (turned ? h : w) + to.x] = before[i];
    }
    EXPECT_EQ(picture(bm.bm), want);
  }
  EXPECT_EQ(bm->XResolution, 300) << "two quarter turns, one half turn";
  EXPECT_EQ(V_RotateBitmapViewPerspective(bm.get(), 45), RC_INVALID_PARAMETER);
  EXPECT_EQ(V_RotateBitmapViewPerspective(bm.get(), 720), RC_SUCCESS);
  EXPECT_EQ(bm->ViewPerspective, from);
}

// Re-orienting keeps the picture for all 64 pairs, in place and into a new
// record (which checks each pair's flip and angle against what the
// perspectives mean), and points follow their pixels.
TEST_F(OrientationBitmaps, ReorientingKeepsThePictureForEveryPair) {
  uint32_t seed = 7;
  for (int32_t from = 1; from <= 8; ++from) {
    view_functions_turn_the_picture(from);
    for (int32_t to = 1; to <= 8; ++to) {
      SCOPED_TRACE(::testing::Message() << from << " to " << to);
      int32_t flip = -1, angle = -1;
      ASSERT_EQ(V_GetChangeViewPerspectiveParams(from, to, &flip, &angle), RC_SUCCESS);
      ASSERT_TRUE((flip == 0 || flip == 1) && angle % 90 == 0 && angle >= 0 && angle < 360);
      for (bool in_place : {true, false}) {
        OwnedBitmap bm, copy;
        make_bitmap(bm.bm, 5 + from, 3 + to, seed % 3 ? 8 : 1,
                    seed % 2 ? MEM_CONVENTIONAL : MEM_DISK);
        bm->ViewPerspective = from;
        write_rows(bm.bm, random_rows(bm.bm, ++seed));
        const std::vector<uint64_t> before = picture(bm.bm);
        ASSERT_EQ(V_ChangeBitmapViewPerspective(in_place ? nullptr : copy.get(), bm.get(),
                                                BITMAPHANDLE_SIZE, to),
                  RC_SUCCESS);
        BitmapHandle &changed = in_place ? bm.bm : copy.bm;
        EXPECT_EQ(changed.ViewPerspective, to);
        EXPECT_EQ(picture(changed), before);
        if (!in_place) expect_pixels_followed(bm.bm, copy.bm);
      }
    }
  }
  int32_t flip, angle;
  for (auto [from, to] : {std::pair{0, 1}, {1, 9}, {-13, 4}})
    EXPECT_EQ(V_GetChangeViewPerspectiveParams(from, to, &flip, &angle), RC_INVALID_PARAMETER);
  EXPECT_EQ(V_GetChangeViewPerspectiveParams(1, 2, &flip, nullptr), RC_INVALID_PARAMETER);
  EXPECT_TRUE(V_GetChangeViewPerspectiveParams(2, 8, &flip, &angle) == 1 && angle == 270);
}

// Worked by hand: a 10 x 20 frame from the top down to the bottom up; the
// outputs and records the mappings refuse.
TEST(Orientation, PointsAndRectanglesWorkedByHand) {
  ViewRect rect{0, 0, 10, 5};
  EXPECT_EQ(V_ChangeRectViewPerspective(1, 10, 20, 4, &rect), RC_SUCCESS);
  EXPECT_TRUE(rect.Left == 0 && rect.Top == 15 && rect.Right == 10 && rect.Bottom == 20);
  EXPECT_EQ(V_ChangeRectViewPerspective(1, 10, 20, 9, &rect), RC_SUCCESS);
  EXPECT_EQ(rect.Top, 15) << "an unknown perspective changes nothing";
  BitmapHandle record{};
  int32_t x = 0, y = 0;
  EXPECT_EQ(V_PointFromBitmap(&record, 4, &x, &y), RC_INVALID_STRUCT_SIZE);
  record.StructSize = BITMAPHANDLE_SIZE;
  record.ViewPerspective = 1;
  record.Width = 10;
  record.Height = 20;
  EXPECT_TRUE(V_PointFromBitmap(&record, 4, &x, &y) == 1 && x == 0 && y == 19);
  for (ResultCode rc :
       {V_PointToBitmap(&record, 4, &x, nullptr), V_PointFromBitmap(nullptr, 4, &x, &y),
        V_RectToBitmap(&record, 4, nullptr), V_ChangeRectViewPerspective(1, 1, 1, 2, nullptr)})
    EXPECT_EQ(rc, RC_INVALID_PARAMETER);
}

struct Calls {
  std::vector<int32_t> percents;
  size_t stop_at = SIZE_MAX;  // the call that answers -42
};
ResultCode record_call(int32_t percent, void *user) {
  auto *calls = static_cast<Calls *>(user);
  calls->percents.push_back(percent);
  return calls->percents.size() - 1 == calls->stop_at ? -42 : RC_SUCCESS;
}

// The operations with their progress range; each undoes itself when run
// again with `back` set.
enum Step { kFlipRows, kMirrorRows, kTurn, kHalfTurn, kReorient };
ResultCode run(Step step, BitmapHandle &bm, bool back = false) {
  switch (step) {
    case kFlipRows:
      return V_FlipBitmap(&bm);
    case kMirrorRows:
      return V_IntReverseBitmap(&bm);
    case kTurn:
      return V_RotateBitmap90(&bm, !back, 10, 60);
    case kHalfTurn:
      return V_RotateBitmap(&bm, 18000, 0, 0);
    default:
      return V_ChangeBitmapViewPerspective(nullptr, &bm, 0, back ? 1 : 6);
  }
}

// A callback that stops at the first, a middle or the last call ends the
// operation with its result: turns leave the bitmap as it was, flips and
// mirrors keep the rows done so far. With every allocation failing in
// turn: RC_NO_MEMORY and the bitmap as it was, in every storage kind.
TEST_F(OrientationBitmaps, StopsAndFailuresLeaveTheBitmapWhole) {
  for (const Kind &kind : kKinds)
    for (Step step : {kFlipRows, kMirrorRows, kTurn, kHalfTurn, kReorient}) {
      SCOPED_TRACE(::testing::Message() << kind.name << ", step " << step);
      OwnedBitmap bm;
      Bytes user;
      make(bm.bm, 13, 9, 1, kind.type, user);
      bm->ViewPerspective = 1;
      const Bytes rows = random_rows(bm.bm, 5);
      write_rows(bm.bm, rows);
      Calls calls;
      V_SetStatusCallBack(record_call, &calls, nullptr, nullptr);
      ASSERT_EQ(run(step, bm.bm), RC_SUCCESS);
      const size_t n = calls.percents.size();
      ASSERT_EQ(run(step, bm.bm, true), RC_SUCCESS);
      ASSERT_EQ(read_rows(bm.bm), rows) << "undone";
      BitmapHandle record = bm.bm;  // caller memory has become the library's
      if (step == kReorient) {
        EXPECT_EQ(n, 0u) << "re-orienting reports nothing";
      } else {
        const bool turn = step == kTurn;
        EXPECT_TRUE(std::is_sorted(calls.percents.begin(), calls.percents.begin() + long(n)));
        EXPECT_EQ(calls.percents.front(), turn ? 10 : 0);
        EXPECT_EQ(calls.percents[n - 1], turn ? 60 : 100);
        for (size_t stop : {size_t{0}, n / 2, n - 1}) {
          calls = Calls{{}, stop};
          ASSERT_EQ(run(step, bm.bm), -42) << stop;
          const size_t stride = rows.size() / 9;
          Bytes want = rows;
          for (size_t i = 0; i < std::min<size_t>(stop, 4) && step == kFlipRows; ++i)
            std::swap_ranges(&want[i * stride], &want[(i + 1) * stride], &want[(8 - i) * stride]);
          if (step == kMirrorRows) reference(kMirror, rows, stride, want, stride, 13, stop, 1);
          EXPECT_EQ(read_rows(bm.bm), want) << stop;
          EXPECT_TRUE(step != kTurn || same_bytes(bm.bm, record));
          write_rows(bm.bm, rows);
        }
      }
      V_SetStatusCallBack(nullptr, nullptr, nullptr, nullptr);
      sweep_allocation_failures(kBothHeaps, [&](unsigned nth) {
        const ResultCode rc = run(step, bm.bm);
        stop_failing();
        if (rc == RC_SUCCESS) {
          ASSERT_EQ(run(step, bm.bm, true), RC_SUCCESS);
          record = bm.bm;
        } else {
          EXPECT_TRUE(nth > 0 && rc == RC_NO_MEMORY) << rc;
          EXPECT_TRUE(same_bytes(bm.bm, record));
        }
        EXPECT_EQ(read_rows(bm.bm), rows);
      });
    }
}

// A compressed page taller than one row group (32768 rows) whose turned
// rows fill four bands (of 1 MiB here), against its twin in memory: flips,
// mirrors and turns give the same rows, turns stay compressed; a quarter
// turn each way, a half turn with a flip and a mirror, and four quarter
// turns are nothing.
TEST_F(OrientationBitmaps, LargeCompressedPagesTurnInBandsLikeMemory) {
  OwnedBitmap page, twin;
  make_bitmap(page.bm, 900, 33000, 1, MEM_CONVENTIONAL | MEM_MOD_COMPRESS);
  make_bitmap(twin.bm, 900, 33000, 1, MEM_CONVENTIONAL);
  const Bytes rows = random_rows(page.bm, 3);
  write_rows(page.bm, rows);
  write_rows(twin.bm, rows);
  vxkrn::testing::set_turn_band_bytes(1 << 20);
  ASSERT_EQ(V_IntFlipBitmap(page.get()) + V_IntFlipBitmap(twin.get()), 2);
  ASSERT_EQ(V_IntReverseBitmap(page.get()) + V_IntReverseBitmap(twin.get()), 2);
  ASSERT_EQ(V_RotateBitmap90(page.get(), 1, 0, 100) + V_RotateBitmap90(twin.get(), 1, 0, 100), 2);
  EXPECT_TRUE(page->Flags & FLAG_COMPRESSED);
  ASSERT_EQ(read_rows(page.bm), read_rows(twin.bm));
  ASSERT_EQ(V_RotateBitmap(page.get(), -9000, ROTATE_RESIZE, 0), RC_SUCCESS);
  ASSERT_EQ(V_IntFlipBitmap(page.get()) + V_IntReverseBitmap(page.get()), 2);
  vxkrn::testing::set_turn_band_bytes(0);
  EXPECT_EQ(read_rows(page.bm), rows);
  ASSERT_EQ(V_RotateBitmap(page.get(), 18000, 0, 0) + V_IntFlipBitmap(page.get()) +
                V_IntReverseBitmap(page.get()),
            3);
  EXPECT_EQ(read_rows(page.bm), rows) << "a half turn is a flip and a mirror";
  for (int quarter = 0; quarter < 4; ++quarter)
    ASSERT_EQ(V_RotateBitmap90(page.get(), 1, 0, 100), RC_SUCCESS);
  EXPECT_EQ(read_rows(page.bm), rows) << "four quarter turns are nothing";
  EXPECT_EQ(V_RotateBitmap(page.get(), 4500, ROTATE_RESIZE, 0), RC_NOT_SUPPORTED);
  EXPECT_EQ(V_RotateBitmap(page.get(), 9000, 0, 0), RC_NOT_SUPPORTED) << "not square";
  EXPECT_EQ(V_RotateBitmap(page.get(), 9000, 2, 0), RC_INVALID_PARAMETER);
}

// Codes for a null record, an unallocated one and one with a wrong size:
// the public functions check in that order, the Int variants answer
// RC_INVALID_BITMAP and skip the size (0: not called).
TEST_F(OrientationBitmaps, BadRecordsGetTheirCodes) {
  using Call = ResultCode (*)(BitmapHandle *);
  const struct {
    Call call;
    ResultCode null, unallocated, wrong_size;
  } cases[] = {
      {V_FlipBitmap, -13, -13, -789},
      {V_IntFlipBitmap, -2, -2, 0},
      {V_ReverseBitmap, -13, -2, -789},
      {V_IntReverseBitmap, -2, -2, 0},
      {V_FlipBitmapViewPerspective, -13, 1, -789},
      {V_IntFlipBitmapViewPerspective, -2, 1, 1},
      {V_ReverseBitmapViewPerspective, -13, 1, -789},
      {V_IntReverseBitmapViewPerspective, -2, 1, 1},
      {[](BitmapHandle *b) { return V_RotateBitmapViewPerspective(b, 90); }, -13, 1, -789},
      {[](BitmapHandle *b) { return V_IntRotateBitmapViewPerspective(b, 90); }, -13, 1, 1},
      {[](BitmapHandle *b) { return V_RotateBitmap90(b, 0, 0, 100); }, -13, -2, -789},
      {[](BitmapHandle *b) { return V_RotateBitmap(b, 9000, ROTATE_RESIZE, 0); }, -13, -2, -789},
      {[](BitmapHandle *b) { return V_ChangeBitmapViewPerspective(nullptr, b, 0, 1); }, -13, -13,
       -789},
  };
  OwnedBitmap bm;
  make_bitmap(bm.bm, 4, 3, 8, MEM_CONVENTIONAL);
  for (const auto &c : cases) {
    SCOPED_TRACE(::testing::Message() << "case " << &c - cases);
    BitmapHandle unallocated{};
    unallocated.StructSize = BITMAPHANDLE_SIZE;
    EXPECT_EQ(c.call(nullptr), c.null);
    EXPECT_EQ(c.call(&unallocated), c.unallocated);
    if (!c.wrong_size) continue;
    bm->StructSize = 100;
    EXPECT_EQ(c.call(bm.get()), c.wrong_size);
    bm->StructSize = BITMAPHANDLE_SIZE;
  }
  OwnedBitmap copy;
  EXPECT_EQ(V_ChangeBitmapViewPerspective(copy.get(), bm.get(), 100, 1), -789);
  EXPECT_EQ(V_ChangeBitmapViewPerspective(copy.get(), bm.get(), BITMAPHANDLE_SIZE, 9), -13);
  EXPECT_EQ(copy->Flags, 0u) << "nothing made";
}

}  // namespace
