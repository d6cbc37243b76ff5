/* vxkrn: bitmap kernel library. Include this one header.
 * See docs/guide.md for building, linking and the platform notes. */
#ifndef VXKRN_VXKRN_H
#define VXKRN_VXKRN_H

#include <vxkrn/types.h>
#include <vxkrn/bitmap.h>
#include <vxkrn/system.h>
#include <vxkrn/palette.h>
#include <vxkrn/rows.h>
#include <vxkrn/file.h>
#include <vxkrn/convert.h>
#include <vxkrn/copy.h>
#include <vxkrn/orientation.h>
#include <vxkrn/heap.h>
#include <vxkrn/compress.h>

#endif /* VXKRN_VXKRN_H */
