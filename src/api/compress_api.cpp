// The boundary of compress.h: the run-length coders of buffers, and the
// switch of a whole bitmap between plain and compressed storage.
#include "core/checks.h"
#include "core/run_length.h"
#include "core/storage_change.h"
#include "vxkrn/compress.h"

using namespace vxkrn::core;

namespace {

ResultCode check_buffers(const void *source, const void *destination) {
  return source && destination ? RC_SUCCESS : RC_INVALID_PARAMETER;
}

}  // namespace

extern "C" {

int32_t V_CompressRow(void *destination, const void *source, uint32_t column, uint32_t count) {
  VXKRN_TRY(check_buffers(source, destination));
  if (count > INT32_MAX) return RC_INVALID_PARAMETER;
  encode_row(static_cast<const uint8_t *>(source), column & 7, count,
             static_cast<uint8_t *>(destination));
  return static_cast<int32_t>(count);
}

ResultCode V_CompressRows(void *destination, const void *source, uint32_t width, uint32_t rows) {
  VXKRN_TRY(check_buffers(source, destination));
  compress_rows(static_cast<uint8_t *>(destination), static_cast<const uint8_t *>(source), width,
                rows);
  return RC_SUCCESS;
}

ResultCode V_ExpandRow(const void *record, void *destination, uint32_t column, uint32_t count) {
  VXKRN_TRY(check_buffers(record, destination));
  const auto *in = static_cast<const uint8_t *>(record);
  if (!record_reaches(in, uint64_t{column} + count)) return RC_INVALID_PARAMETER;
  decode_runs(in + 4, record_words(in), column, count, static_cast<uint8_t *>(destination));
  return RC_SUCCESS;
}

ResultCode V_ExpandRows(const void *records, void *destination, uint32_t width, uint32_t rows) {
  VXKRN_TRY(check_buffers(records, destination));
  return expand_rows(static_cast<const uint8_t *>(records), static_cast<uint8_t *>(destination),
                     width, rows);
}

ResultCode V_MirrorCompressedBuffer(const void *source, void *destination, uint32_t rows) {
  VXKRN_TRY(check_buffers(source, destination));
  mirror_records(static_cast<const uint8_t *>(source), static_cast<uint8_t *>(destination), rows);
  return RC_SUCCESS;
}

ResultCode V_FlipCompressedBuffer(const void *source, void *destination, uint32_t rows) {
  VXKRN_TRY(check_buffers(source, destination));
  flip_records(static_cast<const uint8_t *>(source), static_cast<uint8_t *>(destination), rows);
  return RC_SUCCESS;
}

ResultCode V_ChangeBitmapCompression(BitmapHandle *bitmap, int32_t target) {
  if (!bitmap || !(bitmap->Flags & FLAG_ALLOCATED)) return RC_INVALID_BITMAP;
  VXKRN_TRY(check_struct_size(bitmap->StructSize));
  return change_compression(*bitmap, target);
}

ResultCode V_ToggleBitmapCompression(BitmapHandle *bitmap) {
  if (!bitmap || !(bitmap->Flags & FLAG_ALLOCATED) || bitmap->BitsPerPixel != 1)
    return RC_INVALID_BITMAP;
  VXKRN_TRY(check_struct_size(bitmap->StructSize));
  if (bitmap->Flags & FLAG_RESTRICTED) return RC_BITMAP_RESTRICTED;
  const bool packed = bitmap->Flags & (FLAG_COMPRESSED | FLAG_SUPER_COMPRESSED);
  return change_compression(*bitmap, packed ? COMPRESSION_NONE : COMPRESSION_RUNS);
}

}  // extern "C"
