// The boundary of copy.h: duplicates, whole and rectangle copies, data
// copies and trimming.
#include "core/checks.h"
#include "core/duplicate.h"
#include "core/pixel_copy.h"
#include "transform/copy.h"
#include "vxkrn/copy.h"

using namespace vxkrn::core;

namespace {

// Destination present, source a valid allocated record, record size valid.
ResultCode check_copy(const BitmapHandle *destination, const BitmapHandle *source,
                      uint32_t struct_size) {
  VXKRN_TRY(check_record(destination, RC_INVALID_PARAMETER));
  VXKRN_TRY(check_handle(source, RC_INVALID_PARAMETER));
  VXKRN_TRY(check_struct_size(struct_size));
  return check_allocated(source, RC_INVALID_PARAMETER);
}

ResultCode check_rect_source(const BitmapHandle *source, uint32_t struct_size) {
  VXKRN_TRY(check_handle(source, RC_INVALID_PARAMETER));
  VXKRN_TRY(check_struct_size(struct_size));
  return check_allocated(source, RC_INVALID_PARAMETER);
}

}  // namespace

extern "C" {

ResultCode V_DupBitmapNewDim(BitmapHandle *bitmap, const BitmapHandle *source, uint32_t struct_size,
                             int32_t width, int32_t height, int32_t bits_per_pixel,
                             uint32_t options) {
  VXKRN_TRY(check_record(bitmap, RC_INVALID_BITMAP));
  VXKRN_TRY(check_handle(source, RC_INVALID_BITMAP));
  VXKRN_TRY(check_struct_size(struct_size));
  VXKRN_TRY(check_allocated(source, RC_INVALID_BITMAP));
  return duplicate(*bitmap, *source, width, height, bits_per_pixel, options);
}

ResultCode V_FreeDuplicateBitmap(BitmapHandle *bitmap, uint32_t options) {
  if (!bitmap) return RC_INVALID_PARAMETER;
  free_duplicate(*bitmap, options);
  return RC_SUCCESS;
}

ResultCode V_CopyBitmap(BitmapHandle *destination, BitmapHandle *source, uint32_t struct_size) {
  VXKRN_TRY(check_copy(destination, source, struct_size));
  return vxkrn::transform::copy_bitmap(*destination, *source, nullptr);
}

ResultCode V_CopyBitmap2(BitmapHandle *destination, BitmapHandle *source, int32_t memory_type,
                         uint32_t struct_size) {
  VXKRN_TRY(check_copy(destination, source, struct_size));
  return vxkrn::transform::copy_bitmap(*destination, *source, &memory_type);
}

ResultCode V_CopyBitmapData(BitmapHandle *destination, BitmapHandle *source) {
  VXKRN_TRY(check_record(destination, RC_INVALID_BITMAP));
  VXKRN_TRY(check_record(source, RC_INVALID_BITMAP));
  VXKRN_TRY(check_struct_size(destination->StructSize));
  VXKRN_TRY(check_struct_size(source->StructSize));
  VXKRN_TRY(check_allocated(destination, RC_INVALID_BITMAP));
  VXKRN_TRY(check_allocated(source, RC_INVALID_BITMAP));
  return copy_pixels(*destination, *source);
}

ResultCode V_CopyBitmapRect(BitmapHandle *destination, BitmapHandle *source, uint32_t struct_size,
                            int32_t left, int32_t top, int32_t width, int32_t height) {
  VXKRN_TRY(check_rect_source(source, struct_size));
  return vxkrn::transform::copy_rect(destination, *source, left, top, width, height, nullptr);
}

ResultCode V_CopyBitmapRect2(BitmapHandle *destination, BitmapHandle *source, uint32_t struct_size,
                             int32_t left, int32_t top, int32_t width, int32_t height,
                             int32_t memory_type) {
  VXKRN_TRY(check_rect_source(source, struct_size));
  return vxkrn::transform::copy_rect(destination, *source, left, top, width, height, &memory_type);
}

ResultCode V_TrimBitmap(BitmapHandle *bitmap, int32_t left, int32_t top, int32_t width,
                        int32_t height) {
  VXKRN_TRY(check_allocated_handle(bitmap, RC_INVALID_PARAMETER, RC_INVALID_PARAMETER));
  return vxkrn::transform::trim(*bitmap, left, top, width, height);
}

}  // extern "C"
