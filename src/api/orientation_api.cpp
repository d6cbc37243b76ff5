// The boundary of orientation.h: flips, mirroring, right-angle rotation,
// view perspectives and the mapping of points and rectangles.
#include <algorithm>
#include <cstdint>

#include "core/checks.h"
#include "core/duplicate.h"
#include "core/orientation.h"
#include "core/pixel_layout.h"
#include "transform/flip.h"
#include "transform/mirror.h"
#include "transform/reorient.h"
#include "transform/rotate.h"
#include "transform/transpose.h"
#include "vxkrn/orientation.h"

using namespace vxkrn::core;
namespace transform = vxkrn::transform;

namespace {

// Rows of a bare buffer are whole 32-bit words.
std::uint64_t buffer_stride(std::uint32_t width, std::int32_t bits) {
  return (std::uint64_t{width} * static_cast<std::uint64_t>(bits) + 31) / 32 * 4;
}

// Transposed perspectives store the picture's columns as rows, so a flip
// of the picture reverses the stored rows and a mirror flips them.
ResultCode flip_picture(BitmapHandle &bitmap, bool vertical) {
  const bool rows_flip = vertical != is_transposed_view(bitmap.ViewPerspective);
  return rows_flip ? transform::flip_rows(bitmap) : transform::reverse_rows(bitmap);
}

ResultCode rotate_view(BitmapHandle *bitmap, std::int32_t angle) {
  if (!bitmap) return RC_INVALID_PARAMETER;
  const std::int32_t within = angle % 360, turned = within < 0 ? within + 360 : within;
  if (turned % 90 != 0) return RC_INVALID_PARAMETER;
  for (std::int32_t step = 0; step < turned / 90; ++step)
    bitmap->ViewPerspective = turned_view(bitmap->ViewPerspective);
  if (turned == 90 || turned == 270) std::swap(bitmap->XResolution, bitmap->YResolution);
  return RC_SUCCESS;
}

// Record, then its size, then the outputs.
ResultCode check_mapping(const BitmapHandle *bitmap, const void *out, const void *out2) {
  VXKRN_TRY(check_handle(bitmap, RC_INVALID_PARAMETER));
  return out && out2 ? RC_SUCCESS : RC_INVALID_PARAMETER;
}

}  // namespace

extern "C" {

ResultCode V_FlipBitmap(BitmapHandle *bitmap) {
  VXKRN_TRY(check_allocated_handle(bitmap, RC_INVALID_PARAMETER, RC_INVALID_PARAMETER));
  return flip_picture(*bitmap, true);
}

ResultCode V_IntFlipBitmap(BitmapHandle *bitmap) {
  VXKRN_TRY(check_record(bitmap, RC_INVALID_BITMAP));
  VXKRN_TRY(check_allocated(bitmap, RC_INVALID_BITMAP));
  return transform::flip_rows(*bitmap);
}

ResultCode V_ReverseBitmap(BitmapHandle *bitmap) {
  VXKRN_TRY(check_allocated_handle(bitmap, RC_INVALID_PARAMETER, RC_INVALID_BITMAP));
  return flip_picture(*bitmap, false);
}

ResultCode V_IntReverseBitmap(BitmapHandle *bitmap) {
  VXKRN_TRY(check_record(bitmap, RC_INVALID_BITMAP));
  VXKRN_TRY(check_allocated(bitmap, RC_INVALID_BITMAP));
  return transform::reverse_rows(*bitmap);
}

ResultCode V_FlipBitmapViewPerspective(BitmapHandle *bitmap) {
  VXKRN_TRY(check_handle(bitmap, RC_INVALID_PARAMETER));
  bitmap->ViewPerspective = flipped_view(bitmap->ViewPerspective);
  return RC_SUCCESS;
}

ResultCode V_IntFlipBitmapViewPerspective(BitmapHandle *bitmap) {
  VXKRN_TRY(check_record(bitmap, RC_INVALID_BITMAP));
  bitmap->ViewPerspective = flipped_view(bitmap->ViewPerspective);
  return RC_SUCCESS;
}

ResultCode V_ReverseBitmapViewPerspective(BitmapHandle *bitmap) {
  VXKRN_TRY(check_handle(bitmap, RC_INVALID_PARAMETER));
  bitmap->ViewPerspective = reversed_view(bitmap->ViewPerspective);
  return RC_SUCCESS;
}

ResultCode V_IntReverseBitmapViewPerspective(BitmapHandle *bitmap) {
  VXKRN_TRY(check_record(bitmap, RC_INVALID_BITMAP));
  bitmap->ViewPerspective = reversed_view(bitmap->ViewPerspective);
  return RC_SUCCESS;
}

ResultCode V_RotateBitmapViewPerspective(BitmapHandle *bitmap, int32_t angle) {
  VXKRN_TRY(check_handle(bitmap, RC_INVALID_PARAMETER));
  return rotate_view(bitmap, angle);
}

ResultCode V_IntRotateBitmapViewPerspective(BitmapHandle *bitmap, int32_t angle) {
  return rotate_view(bitmap, angle);
}

ResultCode V_RotateBitmap90(BitmapHandle *bitmap, int32_t clockwise, int32_t first_percent,
                            int32_t last_percent) {
  VXKRN_TRY(check_allocated_handle(bitmap, RC_INVALID_PARAMETER, RC_INVALID_BITMAP));
  return transform::rotate_quarter(*bitmap, clockwise != 0, first_percent, last_percent);
}

ResultCode V_RotateBitmap(BitmapHandle *bitmap, int32_t angle, uint32_t flags, uint32_t fill) {
  (void)fill;  // right-angle turns leave no canvas uncovered
  VXKRN_TRY(check_allocated_handle(bitmap, RC_INVALID_PARAMETER, RC_INVALID_BITMAP));
  return transform::rotate_bitmap(*bitmap, angle, flags);
}

ResultCode V_RotateBuffer90(const uint8_t *source, uint8_t *destination, int32_t clockwise,
                            uint32_t width, uint32_t height, int32_t bits_per_pixel) {
  if (!source || !destination || !is_bitmap_depth(bits_per_pixel)) return RC_INVALID_PARAMETER;
  const auto stride = [bits_per_pixel](uint32_t pixels) {
    return static_cast<std::size_t>(buffer_stride(pixels, bits_per_pixel));
  };
  const transform::PixelRect from{const_cast<uint8_t *>(source), stride(width), height, width};
  const transform::PixelRect to{destination, stride(height), width, height};
  transform::turn_quarter(from, to, bits_per_pixel, clockwise != 0);
  return RC_SUCCESS;
}

ResultCode V_RotateBuffer180(const uint8_t *source, uint8_t *destination, uint32_t width,
                             uint32_t height, int32_t bits_per_pixel) {
  if (!source || !destination || source == destination || !is_bitmap_depth(bits_per_pixel))
    return RC_INVALID_PARAMETER;
  const std::uint64_t stride = buffer_stride(width, bits_per_pixel);
  for (uint32_t y = 0; y < height; ++y)
    transform::mirror_row_into(source + y * stride, destination + (height - 1 - y) * stride, width,
                               bits_per_pixel);
  return RC_SUCCESS;
}

ResultCode V_MirrorLine(uint8_t *row, uint32_t width, int32_t bits_per_pixel) {
  if (!row) return RC_INVALID_PARAMETER;
  transform::mirror_row(row, width, bits_per_pixel);
  return RC_SUCCESS;
}

ResultCode V_GetChangeViewPerspectiveParams(int32_t from, int32_t to, int32_t *flip,
                                            int32_t *angle) {
  ViewChange change;
  if (!flip || !angle || !view_change(from, to, &change)) return RC_INVALID_PARAMETER;
  *flip = change.flip;
  *angle = change.angle;
  return RC_SUCCESS;
}

ResultCode V_ChangeRectViewPerspective(int32_t from, int32_t width, int32_t height, int32_t to,
                                       ViewRect *rect) {
  if (!rect) return RC_INVALID_PARAMETER;
  map_rect(from, to, width, height, rect);
  return RC_SUCCESS;
}

ResultCode V_PointFromBitmap(const BitmapHandle *bitmap, int32_t view, int32_t *x, int32_t *y) {
  VXKRN_TRY(check_mapping(bitmap, x, y));
  point_from_bitmap(*bitmap, view, x, y);
  return RC_SUCCESS;
}

ResultCode V_PointToBitmap(const BitmapHandle *bitmap, int32_t view, int32_t *x, int32_t *y) {
  VXKRN_TRY(check_mapping(bitmap, x, y));
  point_to_bitmap(*bitmap, view, x, y);
  return RC_SUCCESS;
}

ResultCode V_RectFromBitmap(const BitmapHandle *bitmap, int32_t view, ViewRect *rect) {
  VXKRN_TRY(check_mapping(bitmap, rect, rect));
  rect_from_bitmap(*bitmap, view, rect);
  return RC_SUCCESS;
}

ResultCode V_RectToBitmap(const BitmapHandle *bitmap, int32_t view, ViewRect *rect) {
  VXKRN_TRY(check_mapping(bitmap, rect, rect));
  rect_to_bitmap(*bitmap, view, rect);
  return RC_SUCCESS;
}

ResultCode V_ChangeBitmapViewPerspective(BitmapHandle *destination, BitmapHandle *source,
                                         uint32_t struct_size, int32_t view) {
  VXKRN_TRY(check_record(source, RC_INVALID_PARAMETER));
  VXKRN_TRY(check_allocated(source, RC_INVALID_PARAMETER));
  VXKRN_TRY(check_struct_size(source->StructSize));
  if (destination && destination != source) VXKRN_TRY(check_struct_size(struct_size));
  return transform::change_view(destination, *source, view, kDupOwnCopy);
}

ResultCode V_IntChangeBitmapViewPerspective(BitmapHandle *destination, BitmapHandle *source,
                                            uint32_t struct_size, int32_t view,
                                            uint32_t duplicate_options) {
  (void)struct_size;  // the internal variant trusts its caller
  if (!source) return RC_INVALID_PARAMETER;
  return transform::change_view(destination, *source, view, duplicate_options);
}

}  // extern "C"
