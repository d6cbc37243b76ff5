// Scoped access to a bitmap's pixels: accesses it if the caller had not, and
// releases it again only in that case.
#pragma once

#include "vxkrn/bitmap.h"

namespace vxkrn::core {

class BitmapLock {
 public:
  explicit BitmapLock(BitmapHandle *bitmap)
      : bitmap_(bitmap), was_accessed_(V_LockBitmap(bitmap)) {}
  ~BitmapLock() { V_UnlockBitmap(bitmap_, was_accessed_); }
  BitmapLock(const BitmapLock &) = delete;
  BitmapLock &operator=(const BitmapLock &) = delete;

 private:
  BitmapHandle *bitmap_;
  int32_t was_accessed_;
};

}  // namespace vxkrn::core
