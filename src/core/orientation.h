// View perspectives: what a flip, a reverse and a quarter turn do to one,
// the flip and turn that lead from one perspective to another, and points
// and rectangles mapped between them.
#pragma once

#include <cstdint>

#include "vxkrn/orientation.h"

namespace vxkrn::core {

constexpr bool is_view(std::int32_t view) {
  return view >= VIEW_TOP_LEFT && view <= VIEW_LEFT_BOTTOM;
}

// Perspectives whose stored rows run along the picture's columns.
constexpr bool is_transposed_view(std::int32_t view) {
  return view >= VIEW_LEFT_TOP && view <= VIEW_LEFT_BOTTOM;
}

// Perspectives that show the picture mirrored.
constexpr bool is_mirrored_view(std::int32_t view) {
  return view == VIEW_TOP_RIGHT || view == VIEW_BOTTOM_LEFT || view == VIEW_LEFT_TOP ||
         view == VIEW_RIGHT_BOTTOM;
}

// The perspective after the stored rows are flipped top to bottom, after
// each row is reversed, and after one clockwise quarter turn. Flip and
// reverse leave a value outside 1..8 as it is; the turn makes it
// RC_INVALID_PARAMETER, which callers store as it is.
std::int32_t flipped_view(std::int32_t view) noexcept;
std::int32_t reversed_view(std::int32_t view) noexcept;
std::int32_t turned_view(std::int32_t view) noexcept;

// The vertical flip (0 or 1, applied first) and the clockwise angle (0, 90,
// 180 or 270, applied second) that take perspective `from` to `to`. False
// for a perspective outside 1..8.
struct ViewChange {
  std::int32_t flip, angle;
};
bool view_change(std::int32_t from, std::int32_t to, ViewChange *change) noexcept;

// A point (x, y), or a rectangle with exclusive right and bottom edges, of
// a width x height frame in perspective `from`, expressed in perspective
// `to`. Perspectives outside 1..8 leave them unchanged.
void map_point(std::int32_t from, std::int32_t to, std::int32_t width, std::int32_t height,
               std::int32_t *x, std::int32_t *y) noexcept;
void map_rect(std::int32_t from, std::int32_t to, std::int32_t width, std::int32_t height,
              ViewRect *rect) noexcept;

// Between the bitmap's perspective and another: the frame is the stored
// Width x Height from the bitmap, and towards it the viewed frame (Width and
// Height exchanged for transposed perspectives), turned once more when the
// given perspective is VIEW_RIGHT_TOP or VIEW_LEFT_BOTTOM.
void point_from_bitmap(const BitmapHandle &bitmap, std::int32_t view, std::int32_t *x,
                       std::int32_t *y) noexcept;
void point_to_bitmap(const BitmapHandle &bitmap, std::int32_t view, std::int32_t *x,
                     std::int32_t *y) noexcept;
void rect_from_bitmap(const BitmapHandle &bitmap, std::int32_t view, ViewRect *rect) noexcept;
void rect_to_bitmap(const BitmapHandle &bitmap, std::int32_t view, ViewRect *rect) noexcept;

}  // namespace vxkrn::core
