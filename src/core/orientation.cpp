// View-perspective tables, the flip and turn between two perspectives, and
// the mapping of points and rectangles through them.
#include "core/orientation.h"

#include <utility>

namespace vxkrn::core {
namespace {

// Indexed by perspective 1..8 (entry 0 unused).
constexpr std::int32_t kFlipped[9] = {0, 4, 3, 2, 1, 8, 7, 6, 5};
constexpr std::int32_t kReversed[9] = {0, 2, 1, 4, 3, 6, 5, 8, 7};
constexpr std::int32_t kTurned[9] = {0, 6, 7, 8, 5, 2, 3, 4, 1};

// How each perspective is reached from the first: a flip, an angle and
// whether it is the mirror image; and the angle each one takes away.
struct Start {
  std::int32_t flip, angle;
  bool mirror;
};
constexpr Start kStarts[9] = {{0, 0, false},   {0, 0, false},   {0, 0, true},
                              {0, 180, false}, {1, 0, false},   {1, 90, false},
                              {0, 90, false},  {1, 270, false}, {0, 270, false}};
constexpr std::int32_t kTargetAngles[9] = {0, 0, 180, 180, 0, 90, 90, 270, 270};

std::int32_t in_circle(std::int32_t angle) {
  angle %= 360;
  return angle < 0 ? angle + 360 : angle;
}

}  // namespace

std::int32_t flipped_view(std::int32_t view) noexcept {
  return is_view(view) ? kFlipped[view] : view;
}

std::int32_t reversed_view(std::int32_t view) noexcept {
  return is_view(view) ? kReversed[view] : view;
}

std::int32_t turned_view(std::int32_t view) noexcept {
  return is_view(view) ? kTurned[view] : RC_INVALID_PARAMETER;
}

// The steps are taken in this order, with the early answer for a plain
// flip, because other orders give other (equally valid) pairs for some
// perspectives and callers rely on these.
bool view_change(std::int32_t from, std::int32_t to, ViewChange *change) noexcept {
  if (!is_view(from) || !is_view(to)) return false;
  std::int32_t flip = kStarts[from].flip, angle = kStarts[from].angle - kTargetAngles[to];
  bool mirror = kStarts[from].mirror;
  if (to != VIEW_TOP_LEFT && to != VIEW_BOTTOM_RIGHT && to != VIEW_RIGHT_TOP &&
      to != VIEW_LEFT_BOTTOM) {
    flip = 1 - flip;
    angle = -angle;
  }
  if (flip && !mirror) {
    *change = ViewChange{1, in_circle(angle)};
    return true;
  }
  if (flip && mirror) {
    mirror = false;
    flip = 0;
    angle += 180;
  }
  if (mirror) {
    flip = 1;
    angle -= 180;
  }
  *change = ViewChange{flip, in_circle(angle)};
  return true;
}

void map_point(std::int32_t from, std::int32_t to, std::int32_t width, std::int32_t height,
               std::int32_t *x, std::int32_t *y) noexcept {
  ViewChange change;
  if (!view_change(from, to, &change)) return;
  if (change.flip) *y = height - *y - 1;
  const std::int32_t px = *x, py = *y;
  switch (change.angle) {
    case 90:
      *x = height - py - 1;
      *y = px;
      break;
    case 180:
      *x = width - px - 1;
      *y = height - py - 1;
      break;
    case 270:
      *x = py;
      *y = width - px - 1;
      break;
    default:
      break;
  }
}

void map_rect(std::int32_t from, std::int32_t to, std::int32_t width, std::int32_t height,
              ViewRect *rect) noexcept {
  ViewChange change;
  if (!view_change(from, to, &change)) return;
  ViewRect r = *rect;
  if (change.flip) r = ViewRect{r.Left, height - r.Bottom, r.Right, height - r.Top};
  switch (change.angle) {
    case 90:
      r = ViewRect{height - r.Bottom, r.Left, height - r.Top, r.Right};
      break;
    case 180:
      r = ViewRect{width - r.Right, height - r.Bottom, width - r.Left, height - r.Top};
      break;
    case 270:
      r = ViewRect{r.Top, width - r.Right, r.Bottom, width - r.Left};
      break;
    default:
      break;
  }
  *rect = r;
}

namespace {

// The frame of a mapping towards the bitmap's perspective.
struct Frame {
  std::int32_t width, height;
};
Frame frame_towards(const BitmapHandle &bitmap, std::int32_t view) {
  Frame f{bitmap.Width, bitmap.Height};
  if (is_transposed_view(bitmap.ViewPerspective)) std::swap(f.width, f.height);
  // Only these two of the transposed perspectives turn the frame again.
  if (view == VIEW_RIGHT_TOP || view == VIEW_LEFT_BOTTOM) std::swap(f.width, f.height);
  return f;
}

}  // namespace

void point_from_bitmap(const BitmapHandle &bitmap, std::int32_t view, std::int32_t *x,
                       std::int32_t *y) noexcept {
  if (view == bitmap.ViewPerspective) return;
  map_point(bitmap.ViewPerspective, view, bitmap.Width, bitmap.Height, x, y);
}

void point_to_bitmap(const BitmapHandle &bitmap, std::int32_t view, std::int32_t *x,
                     std::int32_t *y) noexcept {
  if (view == bitmap.ViewPerspective) return;
  const Frame f = frame_towards(bitmap, view);
  map_point(view, bitmap.ViewPerspective, f.width, f.height, x, y);
}

void rect_from_bitmap(const BitmapHandle &bitmap, std::int32_t view, ViewRect *rect) noexcept {
  if (view == bitmap.ViewPerspective) return;
  map_rect(bitmap.ViewPerspective, view, bitmap.Width, bitmap.Height, rect);
}

void rect_to_bitmap(const BitmapHandle &bitmap, std::int32_t view, ViewRect *rect) noexcept {
  if (view == bitmap.ViewPerspective) return;
  const Frame f = frame_towards(bitmap, view);
  map_rect(view, bitmap.ViewPerspective, f.width, f.height, rect);
}

}  // namespace vxkrn::core
