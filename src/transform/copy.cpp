// Whole copies: a new bitmap like the source (or with a chosen storage)
// holding its pixels.
#include "transform/copy.h"

#include "core/checks.h"
#include "core/duplicate.h"
#include "core/pixel_copy.h"
#include "core/storage.h"

namespace vxkrn::transform {

ResultCode copy_bitmap(BitmapHandle &destination, BitmapHandle &source,
                       const std::int32_t *memory_type) noexcept {
  if (&destination == &source) return RC_SUCCESS;
  VXKRN_TRY(
      core::duplicate_for_copy(destination, source, source.Width, source.Height, memory_type));
  const ResultCode rc = core::copy_pixels(destination, source);
  if (rc != RC_SUCCESS) core::free_bitmap(destination);
  return rc;
}

}  // namespace vxkrn::transform
