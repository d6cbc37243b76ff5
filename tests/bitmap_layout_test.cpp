// The record layout callers compile against: field order and, on 32-bit
// targets, the exact 164-byte layout.
#include <cstddef>

#include "support/test_support.h"

namespace {

struct Field {
  const char *name;
  std::size_t offset;
  int number;  // position in the 41-word record
};

// clang-format off
#define FIELD(member, number) Field{#member, offsetof(BitmapHandle, member), number}

const Field kFields[] = {
    FIELD(StructSize, 1), FIELD(Storage, 2), FIELD(Data, 3), FIELD(Width, 4), FIELD(Height, 5),
    FIELD(BitsPerPixel, 6), FIELD(BytesPerLine, 7), FIELD(Reserved1[0], 8), FIELD(Reserved1[1], 9),
    FIELD(Flags, 10), FIELD(ColorCount, 11), FIELD(Palette, 12), FIELD(ViewPerspective, 13),
    FIELD(Order, 14), FIELD(Size, 15), FIELD(DitherState, 16), FIELD(DitheringMethod, 17),
    FIELD(XResolution, 18), FIELD(YResolution, 19), FIELD(Playback[0], 20), FIELD(Playback[1], 21),
    FIELD(Playback[2], 22), FIELD(Playback[3], 23), FIELD(Playback[4], 24), FIELD(Playback[5], 25),
    FIELD(LowBit, 26), FIELD(HighBit, 27), FIELD(LUT, 28), FIELD(LUTLength, 29),
    FIELD(AlignOffset, 30), FIELD(MinVal, 31), FIELD(MaxVal, 32), FIELD(MinBit, 33),
    FIELD(MaxBit, 34), FIELD(PaintScale, 35), FIELD(PaintScaleParms[0], 36),
    FIELD(PaintScaleParms[1], 37), FIELD(MapTable, 38), FIELD(Extension, 39),
    FIELD(Reserved2[0], 40), FIELD(Reserved2[1], 41),
};
// clang-format on

#undef FIELD

TEST(BitmapLayout, HasFortyOneFieldsInOrder) {
  for (std::size_t i = 1; i < std::size(kFields); ++i)
    EXPECT_GT(kFields[i].offset, kFields[i - 1].offset) << kFields[i].name;
  EXPECT_EQ(BITMAPHANDLE_SIZE, sizeof(BitmapHandle));
}

TEST(BitmapLayout, ThirtyTwoBitTargetsMatchTheReferenceLayout) {
  if (sizeof(void *) != 4) GTEST_SKIP() << "64-bit target: natural alignment applies";
  EXPECT_EQ(sizeof(BitmapHandle), 164u);
  EXPECT_EQ(BITMAPHANDLE_SIZE, 164u);
  for (const Field &f : kFields)
    EXPECT_EQ(f.offset, 4u * static_cast<unsigned>(f.number - 1)) << f.name;
}

TEST(BitmapLayout, SixtyFourBitTargetsAlignPointersNaturally) {
  if (sizeof(void *) != 8) GTEST_SKIP() << "32-bit target";
  for (std::size_t offset : {offsetof(BitmapHandle, Storage), offsetof(BitmapHandle, Data),
                             offsetof(BitmapHandle, Palette), offsetof(BitmapHandle, DitherState),
                             offsetof(BitmapHandle, LUT), offsetof(BitmapHandle, MapTable),
                             offsetof(BitmapHandle, Extension)})
    EXPECT_EQ(offset % 8, 0u);
  EXPECT_EQ(sizeof(BitmapHandle), 208u);
}

}  // namespace
