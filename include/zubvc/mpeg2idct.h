/* libzubvcpx - 8x8 inverse DCT of MPEG-1/MPEG-2 blocks.  Included through
 * <zubvc.h>.
 *
 * The source block is transposed: element 8 a + b holds the coefficient of
 * horizontal frequency a and vertical frequency b (reconstruct with a
 * transposed scan to get it).  The transform is integer: 65536 cos(k pi / 16)
 * truncated for k = 1..7, a first pass over the source columns rounding with
 * (y + 32768) >> 16 and a second pass rounding with (y + 0x28000) >> 18, in
 * 32-bit arithmetic that wraps.  The path is chosen by the last index
 * (count) that the block reconstruction returned:
 *   above 9   full transform;
 *   1 .. 9    the same transform on the top-left 4x4 corner only (the first
 *             ten zig-zag positions lie there; other coefficients are not
 *             read);
 *   0         DC only: source[0] / 8 truncated, everywhere (this differs
 *             from the full transform for some DC values, e.g. 12 gives 1
 *             where the transform gives 2);
 *   negative  16-bit output: all zero; 8-bit output: DC only.
 * Output is limited to -256..255 (16-bit) or 0..255 (8-bit).  dstStep is in
 * bytes.  The P2C2R forms write two blocks interleaved (the first at even,
 * the second at odd elements of each row), each with its own path.
 * Checks: pointers (-8), then dstStep below 1 (ZubStatusBadStep, -14).
 */
#ifndef ZUBVC_MPEG2IDCT_H
#define ZUBVC_MPEG2IDCT_H

#include "core.h"

ZUBVC_API ZubStatus zubiDCT8x8Inv_AANTransposed_16s_C1R(const Zub16s* pSrc, Zub16s* pDst, Zub32s dstStep,
                                                        Zub32s count);
ZUBVC_API ZubStatus zubiDCT8x8Inv_AANTransposed_16s8u_C1R(const Zub16s* pSrc, Zub8u* pDst, Zub32s dstStep,
                                                          Zub32s count);
ZUBVC_API ZubStatus zubiDCT8x8Inv_AANTransposed_16s_P2C2R(const Zub16s* pSrcU, const Zub16s* pSrcV,
                                                          Zub16s* pDstUV, Zub32s dstStep, Zub32s countU,
                                                          Zub32s countV);
ZUBVC_API ZubStatus zubiDCT8x8Inv_AANTransposed_16s8u_P2C2R(const Zub16s* pSrcU, const Zub16s* pSrcV,
                                                            Zub8u* pDstUV, Zub32s dstStep, Zub32s countU,
                                                            Zub32s countV);

#endif
