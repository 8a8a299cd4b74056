/* SPDX-License-Identifier: Apache-2.0 */
/* The host's pixel library: whole-window operations. For hosts; the library calls it. Begin at kip_pelCopyWindow8. */
#ifndef KIP_HOST_KPEL_H
#define KIP_HOST_KPEL_H

#include "kimg.h"

KSYS_DECLARATIONS_BEGIN

/* KSYS_STATUS_MEMORY_OVERLAP when the windows share a pixel byte (a window overlaps itself), else 0. Exact row by row:
 * windows side by side in one image do not overlap, nor does a window without pixels. Pixel sizes may differ.
 * KSYS_STATUS_BAD_ARGUMENT for windows of a stride below their width, or of no pixel size. */
ksys_status kip_pelfunc_checkMemoryOverlap(const kimg_windowConst* a, const kimg_windowConst* b);
/* Copies the pixels that both windows have at equal coordinates. */
ksys_status kip_pelCopyWindow8(const kimg_window8Const* src, const kimg_window8* dst);
ksys_status kip_pelCopyWindow16(const kimg_window16Const* src, const kimg_window16* dst);
ksys_status kip_pelSetWindow8(const kimg_window8* window, uint8_t value);

KSYS_DECLARATIONS_END

#endif
