/* libzubvcpx - H.264 deblocking filter.  Included through <zubvc.h>.
 *
 * The in-loop deblocking filter of H.264 clause 8.7, applied in place to the
 * edges of one macroblock.  The caller derives the boundary strengths (bS),
 * alpha, beta and tc0 (clause 8.7.2, Tables 8-16 and 8-17) and orders the
 * calls: all vertical edges of a macroblock, then its horizontal edges,
 * macroblocks in raster order.
 *
 * Argument layouts shared by the macroblock functions:
 *  - alpha[0], beta[0] belong to the external edge (the left edge for the
 *    vertical-edge functions, the top edge for the horizontal ones);
 *    alpha[1], beta[1] to every internal edge.
 *  - bS holds 16 bytes, four per luma edge in edge order (edge 0 external,
 *    then the internal edges 4, 8 and 12 samples in); byte 4 * e + s covers
 *    the s-th run of four samples along edge e, from the top (vertical edges)
 *    or from the left (horizontal edges).
 *  - thresholds holds tc0 in the same layout: thresholds[4 * e + s].
 *  - An edge whose four bS bytes are all zero is passed over; inside an edge
 *    a zero bS byte skips its run.  bS = 4 selects the strong filter of
 *    clause 8.7.2.4 where the function tests it; any other non-zero byte
 *    (including values above 4) selects the filter of clause 8.7.2.3.
 *  - The clipping value tc = tc0 + ap + aq (luma) or tc0 + 1 (chroma) is
 *    kept to the width of the threshold element: 8 bits for 8u, 16 bits for
 *    16u (so a tc0 of 255, resp. 65535, wraps; real tc0 values never do).
 *
 * Row steps of the 8u functions count bytes and are not checked; those of
 * the 16u functions count samples and must be at least 1 (-14).
 */
#ifndef ZUBVC_H264DEBLOCK_H
#define ZUBVC_H264DEBLOCK_H

#include "core.h"

/* Argument record of the 4:2:2 functions and of every 16u function.
 *
 * One record type serves both sample sizes, so the sample and threshold
 * pointers are untyped; their element type is set by the function's suffix:
 *  - 8u functions: srcDst points to Zub8u samples, alpha, beta and thresholds
 *    to Zub8u values; bitDepth is not read.
 *  - 16u functions: srcDst points to Zub16u samples, alpha, beta and
 *    thresholds to Zub16u values, used as given (the caller scales them for
 *    the bit depth); bitDepth only sets the saturation maximum
 *    (1 << bitDepth) - 1.  bitDepth is not checked: values above 16 act as
 *    16 and values below 0 as 0 (only 8..14 occur in H.264).
 * bS always points to 16 bytes.  srcDstStep counts bytes for 8u and samples
 * for 16u.  For the MBAFF functions alpha and beta point to one value each. */
typedef struct H264DeblockingParams {
    void*        srcDst;      /* top-left sample of the macroblock, in place */
    int          srcDstStep;  /* row step: bytes (8u) or samples (16u) */
    const void*  alpha;       /* alpha[0] external edge, alpha[1] internal */
    const void*  beta;        /* beta[0] external edge, beta[1] internal */
    const void*  thresholds;  /* tc0 values */
    const Zub8u* bS;          /* 16 boundary strengths */
    int          bitDepth;    /* 16u only: saturation to (1 << bitDepth) - 1 */
} H264DeblockingParams;

/* ---- 8-bit samples, plain arguments ------------------------------------ */

/* Luma, four vertical edges (columns 0, 4, 8, 12) of 16 rows; the bS = 4
 * strong filter is chosen per run of four rows on every edge.
 * Checks: pSrcDst, pAlpha, pBeta, pThresholds or pBS null (-8), the five
 * pointer arguments; nothing else (the step is not checked). */
ZUBVC_API ZubStatus zubiFilterDeblockingLuma_VerEdge_H264_8u_C1IR(
    Zub8u* pSrcDst, Zub32s srcDstStep, const Zub8u* pAlpha, const Zub8u* pBeta,
    const Zub8u* pThresholds, const Zub8u* pBS);

/* Luma, four horizontal edges (rows 0, 4, 8, 12) of 16 columns; as the
 * vertical-edge function with rows and columns exchanged. */
ZUBVC_API ZubStatus zubiFilterDeblockingLuma_HorEdge_H264_8u_C1IR(
    Zub8u* pSrcDst, Zub32s srcDstStep, const Zub8u* pAlpha, const Zub8u* pBeta,
    const Zub8u* pThresholds, const Zub8u* pBS);

/* Chroma 4:2:0, two vertical edges (columns 0 and 4) of 8 rows.  Edge k uses
 * alpha[k], beta[k] and the bS bytes of luma edge 2k: byte 8k + row / 2
 * (bytes 0..3 and 8..11, one per row pair), tc0 thresholds[4k + row / 2].
 * bS = 4 is tested per row pair.  Checks as the luma functions. */
ZUBVC_API ZubStatus zubiFilterDeblockingChroma_VerEdge_H264_8u_C1IR(
    Zub8u* pSrcDst, Zub32s srcDstStep, const Zub8u* pAlpha, const Zub8u* pBeta,
    const Zub8u* pThresholds, const Zub8u* pBS);

/* Chroma 4:2:0, two horizontal edges (rows 0 and 4) of 8 columns.
 * Deliberately unlike the vertical edges:
 *  - top edge (bS bytes 0..3, tc0 thresholds[0..3], one per column pair):
 *    if byte 0 is 4, all eight columns get the bS = 4 filter and bytes 1..3
 *    are not looked at; otherwise every column pair with a non-zero byte
 *    gets the bS < 4 filter, even where its byte is 4;
 *  - internal edge (bS bytes 8..11, tc0 thresholds[4..7]): the bS < 4
 *    filter on every non-zero column pair, never the bS = 4 filter.
 * Checks as the luma functions. */
ZUBVC_API ZubStatus zubiFilterDeblockingChroma_HorEdge_H264_8u_C1IR(
    Zub8u* pSrcDst, Zub32s srcDstStep, const Zub8u* pAlpha, const Zub8u* pBeta,
    const Zub8u* pThresholds, const Zub8u* pBS);

/* MBAFF left edge of a luma macroblock of a pair: one vertical edge of 8
 * rows, bS[row / 2], tc0 thresholds[row / 2], luma rules.  alpha and beta are
 * single 8-bit values (the element type of the 8u threshold arrays).
 * Checks: pSrcDst, pThresholds, pBS null (-8); then alpha = 0, or bS bytes
 * 0..3 all zero, returns 0 at once. */
ZUBVC_API ZubStatus zubiFilterDeblockingLuma_VerEdge_MBAFF_H264_8u_C1IR(
    Zub8u* pSrcDst, Zub32s srcDstStep, Zub8u alpha, Zub8u beta,
    const Zub8u* pThresholds, const Zub8u* pBS);

/* MBAFF left edge of chroma: one vertical edge of 4 rows, bS[row],
 * tc0 thresholds[row], chroma rules.  Checks as the luma MBAFF function. */
ZUBVC_API ZubStatus zubiFilterDeblockingChroma_VerEdge_MBAFF_H264_8u_C1IR(
    Zub8u* pSrcDst, Zub32s srcDstStep, Zub8u alpha, Zub8u beta,
    const Zub8u* pThresholds, const Zub8u* pBS);

/* ---- 8-bit samples, 4:2:2 chroma (record) ------------------------------ */

/* Chroma 4:2:2, two vertical edges (columns 0 and 4) of 16 rows: edge k uses
 * alpha[k], beta[k], bS bytes 8k..8k + 3 (one per four rows) and
 * thresholds[4k + row / 4]; bS = 4 is tested per run.
 * Checks: the record or any of its five pointers null (-8); nothing else. */
ZUBVC_API ZubStatus zubiFilterDeblockingChroma422VerEdge_H264_8u_C1IR(
    const H264DeblockingParams* pDeblockInfo);

/* Chroma 4:2:2, four horizontal edges (rows 0, 4, 8, 12) of 8 columns: edge
 * e uses alpha[min(e, 1)], beta[min(e, 1)], bS bytes 4e..4e + 3 (one per
 * column pair) and thresholds[4e + column / 2].  If bS byte 4e is 4 the whole
 * edge gets the bS = 4 filter; otherwise every non-zero column pair gets the
 * bS < 4 filter.  Checks as the vertical-edge function. */
ZUBVC_API ZubStatus zubiFilterDeblockingChroma422HorEdge_H264_8u_C1IR(
    const H264DeblockingParams* pDeblockInfo);

/* Entry point only: returns ZubStatusNotImplemented (-2) at once. */
ZUBVC_API ZubStatus zubiFilterDeblockingChroma422VerEdgeMBAFF_H264_8u_C1IR(
    const H264DeblockingParams* pDeblockInfo);

/* ---- 16-bit samples (record; bit depths above 8) ----------------------- */
/* Each is its 8u counterpart on Zub16u samples and thresholds, sums formed
 * in 32 bits and results saturated to 0..(1 << bitDepth) - 1.
 * Checks: the record or any of its five pointers null (-8), then
 * srcDstStep < 1 (-14); the MBAFF functions then return 0 at once when
 * alpha[0] = 0 or bS bytes 0..3 are all zero. */

ZUBVC_API ZubStatus zubiFilterDeblockingLumaVerEdge_H264_16u_C1IR(
    const H264DeblockingParams* pDeblockInfo);
ZUBVC_API ZubStatus zubiFilterDeblockingLumaHorEdge_H264_16u_C1IR(
    const H264DeblockingParams* pDeblockInfo);
ZUBVC_API ZubStatus zubiFilterDeblockingLumaVerEdgeMBAFF_H264_16u_C1IR(
    const H264DeblockingParams* pDeblockInfo);
ZUBVC_API ZubStatus zubiFilterDeblockingChromaVerEdge_H264_16u_C1IR(
    const H264DeblockingParams* pDeblockInfo);
ZUBVC_API ZubStatus zubiFilterDeblockingChromaHorEdge_H264_16u_C1IR(
    const H264DeblockingParams* pDeblockInfo);
/* The one 16u member without the step test (any srcDstStep is accepted); it
 * saturates with bitDepth like the others. */
ZUBVC_API ZubStatus zubiFilterDeblockingChromaVerEdgeMBAFF_H264_16u_C1IR(
    const H264DeblockingParams* pDeblockInfo);
ZUBVC_API ZubStatus zubiFilterDeblockingChroma422VerEdge_H264_16u_C1IR(
    const H264DeblockingParams* pDeblockInfo);
ZUBVC_API ZubStatus zubiFilterDeblockingChroma422HorEdge_H264_16u_C1IR(
    const H264DeblockingParams* pDeblockInfo);
/* Entry point only: returns ZubStatusNotImplemented (-2) at once. */
ZUBVC_API ZubStatus zubiFilterDeblockingChroma422VerEdgeMBAFF_H264_16u_C1IR(
    const H264DeblockingParams* pDeblockInfo);

#endif
