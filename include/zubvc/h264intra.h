/* libzubvcpx - H.264 intra prediction.  Included through <zubvc.h>.
 *
 * The three functions predict one block of 8-bit samples in place, inside the
 * picture being reconstructed: pSrcDst addresses the block's top-left sample,
 * the row above is read at pSrcDst - srcDstStep and the column to the left at
 * pSrcDst - 1.  The availability flags say which neighbours exist; a
 * neighbour whose flag is clear is never read.  Steps count bytes. */
#ifndef ZUBVC_H264INTRA_H
#define ZUBVC_H264INTRA_H

#include "core.h"

/* Availability flags (bit set; other bits are ignored). */
enum {
    ZubIntraAvailTop      = 1,  /* the row above the block */
    ZubIntraAvailLeft     = 2,  /* the column to the left */
    ZubIntraAvailTopLeft  = 32, /* the sample above-left */
    ZubIntraAvailTopRight = 64  /* the four samples above-right (4x4 only) */
};

/* Intra_4x4 prediction modes (H.264 Table 8-2). */
enum {
    ZubIntra4x4Vertical          = 0,
    ZubIntra4x4Horizontal        = 1,
    ZubIntra4x4DC                = 2,
    ZubIntra4x4DiagonalDownLeft  = 3,
    ZubIntra4x4DiagonalDownRight = 4,
    ZubIntra4x4VerticalRight     = 5,
    ZubIntra4x4HorizontalDown    = 6,
    ZubIntra4x4VerticalLeft      = 7,
    ZubIntra4x4HorizontalUp      = 8
};

/* Intra_16x16 prediction modes (H.264 Table 8-4). */
enum {
    ZubIntra16x16Vertical   = 0,
    ZubIntra16x16Horizontal = 1,
    ZubIntra16x16DC         = 2,
    ZubIntra16x16Plane      = 3
};

/* Chroma prediction modes (H.264 Table 8-5; note the order). */
enum {
    ZubIntraChromaDC         = 0,
    ZubIntraChromaHorizontal = 1,
    ZubIntraChromaVertical   = 2,
    ZubIntraChromaPlane      = 3
};

/* Intra_4x4 luma prediction, H.264 clause 8.3.1.2 (the nine modes above).
 * Checks: pSrcDst null (-8); srcDstStep < 4 (-14); predMode outside 0..8,
 * compared as unsigned (-11).
 * Never refuses a mode for want of neighbours: each neighbour group the mode
 * uses whose flag is clear is taken as samples of 128, the prediction is
 * written and the result is ZubStatusNeighbourSubstitutedWarning (+11).
 * Groups: vertical - row above; horizontal, horizontal-up - left column;
 * diagonal down-left, vertical-left - row above (above-right samples come
 * from memory when bit 64 is set, else they repeat the last sample of the row
 * above, itself 128 when the row is missing; a missing above-right group is
 * not a warning); diagonal down-right, vertical-right, horizontal-down -
 * above-left sample, row above and left column.  The groups are independent:
 * with bit 64 set and bit 1 clear, the above-right samples are still read.
 * DC never warns: mean of the available row and column, or 128. */
ZUBVC_API ZubStatus zubiPredictIntra_4x4_H264_8u_C1IR(Zub8u* pSrcDst, int srcDstStep, int predMode,
                                                      int availability);

/* Intra_16x16 luma prediction, H.264 clause 8.3.3.
 * Checks: pSrcDst null (-8); srcDstStep < 16 (-14); then, mode by mode, the
 * neighbours it needs: vertical the row above, horizontal the left column,
 * plane the row above, the left column and the above-left sample; missing
 * ones give ZubStatusNeighbourUnavailable (-117) with nothing written; then
 * predMode outside 0..3 (-11).  DC never fails (128 without neighbours).
 * Plane samples are clamped to 0..255. */
ZUBVC_API ZubStatus zubiPredictIntra_16x16_H264_8u_C1IR(Zub8u* pSrcDst, int srcDstStep, int predMode,
                                                        int availability);

/* 4:2:0 chroma 8x8 prediction, H.264 clause 8.3.4, modes 0 DC, 1 horizontal,
 * 2 vertical, 3 plane.  Checks as the 16x16 function with a step of at least
 * 8.  DC is formed per 4x4 quadrant (clause 8.3.4.1-3) and never fails. */
ZUBVC_API ZubStatus zubiPredictIntraChroma8x8_H264_8u_C1IR(Zub8u* pSrcDst, int srcDstStep, int predMode,
                                                           int availability);

/* Intra_8x8 luma prediction of the High profiles, H.264 clause 8.3.2, with
 * the nine modes of Intra_4x4 (Table 8-3 uses the same numbering).  The
 * reference samples are low-pass filtered first (clause 8.3.2.2.1): the row
 * above with its eight above-right samples (which repeat p[7, -1] when bit 64
 * is clear), the left column and the corner, each filtered with the
 * neighbours that exist.  Bit 64 here covers the eight above-right samples.
 * Checks: pSrcDst null (-8); srcDstStep < 8 (-14); predMode outside 0..8,
 * compared as unsigned (-11); a mode whose neighbours are missing (-117,
 * nothing written): vertical, diagonal down-left and vertical-left need the
 * row above, horizontal and horizontal-up the left column, the other three
 * directional modes the row, the column and the corner.  DC never fails:
 * 128 without neighbours. */
ZUBVC_API ZubStatus zubiPredictIntra_8x8_H264_8u_C1IR(Zub8u* pSrcDst, int srcDstStep, int predMode,
                                                      int availability);
/* The same on 16-bit samples, step in samples; DC without neighbours is
 * 1 << (bitDepth - 1).  Checks as above, bitDepth outside 8..14 giving -11
 * after the mode test. */
ZUBVC_API ZubStatus zubiPredictIntra_8x8_H264_16u_C1IR(Zub16u* pSrcDst, int srcDstStep, int predMode,
                                                       int availability, int bitDepth);

/* 16-bit samples (bit depths 9 to 14; 8 accepted), step in samples: the same
 * modes, checks and results as the 8-bit functions above, with 128 replaced by
 * 1 << (bitDepth - 1) (the 4x4 substitute and the DC without neighbours) and
 * the plane prediction clamped to 0..(1 << bitDepth) - 1.  bitDepth outside
 * 8..14 gives -11, tested with the mode range. */
ZUBVC_API ZubStatus zubiPredictIntra_4x4_H264_16u_C1IR(Zub16u* pSrcDst, int srcDstStep, int predMode,
                                                       int availability, int bitDepth);
ZUBVC_API ZubStatus zubiPredictIntra_16x16_H264_16u_C1IR(Zub16u* pSrcDst, int srcDstStep, int predMode,
                                                         int availability, int bitDepth);
ZUBVC_API ZubStatus zubiPredictIntraChroma8x8_H264_16u_C1IR(Zub16u* pSrcDst, int srcDstStep, int predMode,
                                                            int availability, int bitDepth);

/* 4:2:2 chroma, 8 wide and 16 tall (clause 8.3.4 with ChromaArrayType 2),
 * modes as zubiPredictIntraChroma8x8_H264_8u_C1IR.  DC is formed per 4x4
 * block: both edges for the blocks at (0, 0) and at x 4 below the first row,
 * the row above first for the block at (4, 0), the left column first for the
 * other blocks of the left column.  Plane: b = (34 x H + 32) >> 6 over the
 * row, c = (5 x V + 32) >> 6 over the 16-sample column, sample (x, y) =
 * (a + b (x - 3) + c (y - 7) + 16) >> 5, a = 16 (p[-1, 15] + p[7, -1]).
 * Checks as the 8x8 chroma function (step at least 8). */
ZUBVC_API ZubStatus zubiPredictIntraChroma8x16_H264_8u_C1IR(Zub8u* pSrcDst, int srcDstStep, int predMode,
                                                            int availability);
ZUBVC_API ZubStatus zubiPredictIntraChroma8x16_H264_16u_C1IR(Zub16u* pSrcDst, int srcDstStep, int predMode,
                                                             int availability, int bitDepth);

#endif
