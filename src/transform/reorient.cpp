// Re-orienting stored pixels. The change is a flip followed by a clockwise
// turn; a turn builds a new record anyway, so the flip is applied to that
// record after the turn (as the matching flip or mirror of the turned
// frame), which keeps the caller's bitmap whole until everything worked.
#include "transform/reorient.h"

#include "core/checks.h"
#include "core/duplicate.h"
#include "core/orientation.h"
#include "core/pixel_copy.h"
#include "core/progress.h"
#include "transform/flip.h"
#include "transform/rotate.h"
#include "vxkrn/copy.h"

namespace vxkrn::transform {
namespace {

// A flip before a quarter turn is a mirror after it; before a half turn,
// still a flip.
ResultCode flip_after_turn(BitmapHandle &bitmap, std::int32_t angle) {
  return angle == 90 || angle == 270 ? reverse_rows(bitmap) : flip_rows(bitmap);
}

}  // namespace

ResultCode change_view(BitmapHandle *destination, BitmapHandle &source, std::int32_t view,
                       std::uint32_t options) noexcept {
  core::ViewChange change{0, 0};
  const bool same = view == source.ViewPerspective && core::is_view(view);
  if (!same && !core::view_change(source.ViewPerspective, view, &change))
    return RC_INVALID_PARAMETER;
  const core::QuietCallbacks quiet;
  const bool in_place = !destination || destination == &source;
  options |= DUP_ALLOCATE;
  BitmapHandle made;
  if (change.angle != 0) {
    VXKRN_TRY(turn_bitmap(made, source, change.angle / 90, 0, 100,
                          in_place ? std::uint32_t{DUP_ALLOCATE} : options));
  } else if (!in_place) {
    VXKRN_TRY(
        core::duplicate(made, source, source.Width, source.Height, source.BitsPerPixel, options));
    const ResultCode rc = core::copy_pixels(made, source);
    if (rc != RC_SUCCESS) {
      core::free_duplicate(made, options);
      return rc;
    }
  } else {
    // A flip alone works in place, row pair by row pair.
    if (change.flip) VXKRN_TRY(flip_rows(source));
    source.ViewPerspective = view;
    return RC_SUCCESS;
  }
  if (change.flip) {
    const ResultCode rc = flip_after_turn(made, change.angle);
    if (rc != RC_SUCCESS) {
      core::free_duplicate(made, in_place ? std::uint32_t{DUP_ALLOCATE} : options);
      return rc;
    }
  }
  made.ViewPerspective = view;
  if (in_place) {
    replace_with(source, made);
  } else {
    made.StructSize = BITMAPHANDLE_SIZE;
    *destination = made;
  }
  return RC_SUCCESS;
}

}  // namespace vxkrn::transform
