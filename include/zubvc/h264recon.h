/* libzubvcpx - H.264 inverse 4x4 transforms with prediction add and macroblock reconstruction.  Included through <zubvc.h>.
 *
 * Coefficient blocks are 16 values in raster order of the 4x4 block (index =
 * 4 x row + column), as the CAVLC decoders leave them.  The macroblock
 * functions take the address of the caller's coefficient pointer: the
 * non-empty blocks lie packed one after another (16 coefficients each) in
 * decoding order, a bit mask says which blocks are present, and on success the
 * pointer is advanced past every block consumed.  Nothing is written and the
 * pointer is left unchanged when an error is returned.
 *
 * Dequantisation follows H.264 clause 8.5.12.1 with the flat scaling matrix
 * (LevelScale4x4 = 16 x normAdjust4x4): for qP >= 24 the scaled level is
 * (c x LevelScale4x4) << (qP / 6 - 4), otherwise
 * (c x LevelScale4x4 + 2^(3 - qP / 6)) >> (4 - qP / 6).  The inverse transform
 * is that of clause 8.5.12.2 with the final (x + 32) >> 6, and the residual is
 * added to the prediction with saturation to 0..255 (0..(1 << bitDepth) - 1
 * for 16-bit samples).  The DC of Intra16x16 luma blocks and of chroma blocks
 * is supplied already scaled by the DC transforms and enters the inverse
 * transform unchanged.  The arithmetic wraps modulo 2^32 instead of
 * overflowing for coefficients no conforming stream contains.
 *
 * Luma 4x4 blocks are numbered as luma4x4BlkIdx of H.264 clause 6.4.3 (the
 * 8x8 quadrants in raster order, the four 4x4 blocks of each in raster order);
 * chroma 4x4 blocks in raster order of the 8x8 block.
 *
 * Neighbour availability of the intra macroblock functions uses the bits of
 * the intra prediction functions, applied to whole macroblocks: 1 the
 * macroblock above, 2 the macroblock to the left, 32 the macroblock above-left,
 * 64 the macroblock above-right.  Other bits are ignored.
 */
#ifndef ZUBVC_H264RECON_H
#define ZUBVC_H264RECON_H

#include "core.h"

/* One 4x4 block: dequantises pCoeffs at qp, inverse transforms and adds the
 * residual to the 4x4 prediction at pSrcDst (row step in bytes), in place.
 * pDC, when not null, supplies the already scaled DC (Intra16x16 luma, chroma
 * AC blocks): *pDC replaces the dequantised pCoeffs[0].  pCoeffs may be null
 * when pDC is not: the block then has no AC coefficients and only the DC is
 * added.  The coefficients are only read.
 * Checks: pSrcDst null, or pCoeffs and pDC both null (-8); srcDstStep < 4
 * (-14); qp outside 0..51 (-11). */
ZUBVC_API ZubStatus zubiTransformQuantInvAddPred4x4_H264_16s_C1IR(const Zub16s* pCoeffs, const Zub16s* pDC,
                                                                  Zub8u* pSrcDst, int srcDstStep, int qp);

/* The high-bit-depth form: 32-bit coefficients and DC, 16-bit samples with
 * the row step counted in samples, qp the extended QP (QP + 6 x
 * (bitDepth - 8)), saturation to 0..(1 << bitDepth) - 1.
 * Checks: pSrcDst null, or pCoeffs and pDC both null (-8); srcDstStep < 4
 * (-14); qp outside 0..87, then bitDepth outside 8..14 (-11). */
ZUBVC_API ZubStatus zubiTransformQuantInvAddPred4x4_H264_32s_C1IR(const Zub32s* pCoeffs, const Zub32s* pDC,
                                                                  Zub16u* pSrcDst, int srcDstStep, int qp,
                                                                  int bitDepth);

/* Dequantises and inverse transforms one 4x4 block in place: the 16
 * coefficients are replaced by the residual (clause 8.5.12, including the
 * (x + 32) >> 6), stored as its low 16 bits.  pDC as above (null: the DC is
 * dequantised from pSrcDst[0]).
 * Checks: pSrcDst null (-8); qp outside 0..51 (-11). */
ZUBVC_API ZubStatus zubiDequantTransformResidual_H264_16s_C1I(Zub16s* pSrcDst, const Zub16s* pDC, int qp);

/* Inter luma macroblock: adds the residual of the present 4x4 blocks to the
 * 16x16 prediction at pSrcDst (row step in bytes).  Bit n of cbp4x4 set means
 * block luma4x4BlkIdx n is present in the packed coefficients.
 * Checks: ppSrcCoeff, pSrcDst, then *ppSrcCoeff null (-8); srcDstStep < 16
 * (-14); qp outside 0..51 (-11). */
ZUBVC_API ZubStatus zubiReconstructLumaInter4x4MB_H264_16s8u_C1R(Zub16s** ppSrcCoeff, Zub8u* pSrcDst,
                                                                int srcDstStep, Zub32u cbp4x4, int qp);

/* Inter chroma macroblock (4:2:0): adds the residual of both 8x8 chroma blocks
 * to their predictions at pSrcDstU and pSrcDstV (one row step in bytes).
 * pDC holds the eight scaled DC values of the 2x2 DC transforms, four of U
 * then four of V, each in raster order of the 4x4 blocks.  Bits 0..3 of
 * cbp4x4 say which AC blocks of U are present, bits 4..7 those of V; the
 * packed blocks are the U ones, then the V ones, 16 coefficients each, their
 * coefficient 0 ignored.  qpU and qpV are the chroma QPs QPc of Table 8-15.
 * Checks: ppSrcCoeff, pSrcDstU, pSrcDstV, pDC, then *ppSrcCoeff null (-8);
 * srcDstStep < 8 (-14); qpU, then qpV outside 0..39 (-11). */
ZUBVC_API ZubStatus zubiReconstructChromaInterMB_H264_16s8u_P2R(Zub16s** ppSrcCoeff, Zub8u* pSrcDstU,
                                                               Zub8u* pSrcDstV, int srcDstStep,
                                                               const Zub16s* pDC, Zub32u cbp4x4, int qpU,
                                                               int qpV);

/* Intra 4x4 luma macroblock: for each 4x4 block in decoding order, predicts it
 * with zubiPredictIntra_4x4_H264_8u_C1IR from the samples already
 * reconstructed around it (pModes: the 16 Intra4x4PredMode values by
 * luma4x4BlkIdx), then adds its residual when bit n of cbp4x4 is set.  The
 * neighbour flags of each block follow from the macroblock availability: the
 * row above and the above-left sample inside the macroblock always exist,
 * above-right samples of blocks 3, 7, 11, 13 and 15 never, those of block 5
 * come from the macroblock above-right (clause 6.4.11.4).  Returns
 * ZubStatusNeighbourSubstitutedWarning when a block's mode needed samples the
 * flags mark missing (they were taken as 128), else ZubStatusOk.
 * Checks: ppSrcCoeff, pSrcDst, pModes, then *ppSrcCoeff null (-8);
 * srcDstStep < 16 (-14); a mode above 8, then qp outside 0..51 (-11). */
ZUBVC_API ZubStatus zubiReconstructLumaIntraMB_H264_16s8u_C1R(Zub16s** ppSrcCoeff, Zub8u* pSrcDst,
                                                             int srcDstStep, const Zub8u* pModes,
                                                             Zub32u cbp4x4, int qp, int availability);

/* Intra 16x16 luma macroblock: predicts the macroblock with
 * zubiPredictIntra_16x16_H264_8u_C1IR (predMode 0 vertical, 1 horizontal,
 * 2 DC, 3 plane), then adds to each 4x4 block its DC from pDC (16 values
 * scaled by the luma DC transform, raster order of the 4x4 grid of blocks)
 * and, when bit n of cbp4x4 is set, its AC coefficients (coefficient 0 of a
 * packed block is ignored).
 * Checks: ppSrcCoeff, pSrcDst, pDC, then *ppSrcCoeff null (-8); srcDstStep
 * < 16 (-14); predMode outside 0..3, then qp outside 0..51 (-11); a mode whose
 * neighbours are missing (-117), nothing written. */
ZUBVC_API ZubStatus zubiReconstructLumaIntra16x16MB_H264_16s8u_C1R(Zub16s** ppSrcCoeff, Zub8u* pSrcDst,
                                                                  int srcDstStep, int predMode,
                                                                  const Zub16s* pDC, Zub32u cbp4x4, int qp,
                                                                  int availability);

/* Intra chroma macroblock (4:2:0): predicts both 8x8 blocks with
 * zubiPredictIntraChroma8x8_H264_8u_C1IR (predMode 0 DC, 1 horizontal,
 * 2 vertical, 3 plane), then adds the residual as
 * zubiReconstructChromaInterMB_H264_16s8u_P2R does.
 * Checks: ppSrcCoeff, pSrcDstU, pSrcDstV, pDC, then *ppSrcCoeff null (-8);
 * srcDstStep < 8 (-14); predMode outside 0..3, then qpU, then qpV outside
 * 0..39 (-11); a mode whose neighbours are missing (-117), nothing written. */
ZUBVC_API ZubStatus zubiReconstructChromaIntraMB_H264_16s8u_P2R(Zub16s** ppSrcCoeff, Zub8u* pSrcDstU,
                                                               Zub8u* pSrcDstV, int srcDstStep, int predMode,
                                                               const Zub16s* pDC, Zub32u cbp4x4, int qpU,
                                                               int qpV, int availability);

/* ---------------------------------------------------------------------------
 * High profiles: 8x8 transform, scaling matrices, transform bypass.
 *
 * Level scales (pLevelScale): the caller's LevelScale4x4 (16 values) or
 * LevelScale8x8 (64 values) of clause 8.5.9 for the qP % 6 of the call, in
 * raster order: weightScale x normAdjust, i.e. 16 x normAdjust for the flat
 * matrices, which a null pointer selects.  8x8 blocks are 64 coefficients in
 * raster order (index = 8 x row + column); their scaling follows clause
 * 8.5.13.1: for qP >= 36 the scaled level is (c x LevelScale8x8) <<
 * (qP / 6 - 6), otherwise (c x LevelScale8x8 + 2^(5 - qP / 6)) >>
 * (6 - qP / 6); the inverse transform is that of clause 8.5.13.2 with the
 * final (x + 32) >> 6.  As for 4x4 blocks the arithmetic wraps modulo 2^32.
 * ------------------------------------------------------------------------- */

/* One 8x8 block: dequantises pCoeffs at qp, inverse transforms and adds the
 * residual to the prediction at pSrcDst (row step in bytes), in place.
 * Checks: pCoeffs, pSrcDst null (-8); srcDstStep < 8 (-14); qp outside 0..51
 * (-11). */
ZUBVC_API ZubStatus zubiTransformQuantInvAddPred8x8_H264_16s_C1IR(const Zub16s* pCoeffs, Zub8u* pSrcDst,
                                                                  int srcDstStep, int qp,
                                                                  const Zub16s* pLevelScale);
/* High bit depth: 32-bit coefficients, 16-bit samples (step in samples), qp
 * the extended QP, saturation to 0..(1 << bitDepth) - 1.
 * Checks: pCoeffs, pSrcDst null (-8); srcDstStep < 8 (-14); qp outside
 * 0..87, then bitDepth outside 8..14 (-11). */
ZUBVC_API ZubStatus zubiTransformQuantInvAddPred8x8_H264_32s_C1IR(const Zub32s* pCoeffs, Zub16u* pSrcDst,
                                                                  int srcDstStep, int qp,
                                                                  const Zub16s* pLevelScale, int bitDepth);

/* Transform bypass (qpprime_y_zero_transform_bypass_flag with qP' = 0,
 * clause 8.5.15): the residual is the coefficients themselves.  pResidual
 * holds roiSize.width x roiSize.height values in raster order (row step
 * roiSize.width), assembled by the caller from its blocks; predDir says how
 * they accumulate: ZubBypassNone adds each value to its sample,
 * ZubBypassVertical (after vertical intra prediction) adds to each sample the
 * sum of the values above it in its column and its own, ZubBypassHorizontal
 * (after horizontal prediction) the sum along its row.  The sums saturate to
 * 0..255 (0..(1 << bitDepth) - 1) when added, not on the way.
 * Checks: pResidual, pSrcDst null (-8); width or height not 4, 8 or 16 (-6);
 * srcDstStep < width (-14); predDir outside 0..2 (-11); for 32s16u bitDepth
 * outside 8..14 (-11). */
enum { ZubBypassNone = 0, ZubBypassVertical = 1, ZubBypassHorizontal = 2 };
ZUBVC_API ZubStatus zubiTransformBypassAddPred_H264_16s8u_C1IR(const Zub16s* pResidual, Zub8u* pSrcDst,
                                                               int srcDstStep, ZubSize roiSize, int predDir);
ZUBVC_API ZubStatus zubiTransformBypassAddPred_H264_32s16u_C1IR(const Zub32s* pResidual, Zub16u* pSrcDst,
                                                                int srcDstStep, ZubSize roiSize, int predDir,
                                                                int bitDepth);

/* Inter luma macroblock with a scaling matrix and either transform size.
 * transform8x8 = 0: as zubiReconstructLumaInter4x4MB_H264_16s8u_C1R, bits
 * 0..15 of cbp select the 4x4 blocks, pLevelScale 16 values or null;
 * transform8x8 != 0: bits 0..3 select the 8x8 blocks in raster order, each
 * packed as 64 coefficients, pLevelScale 64 values or null.
 * Checks: ppSrcCoeff, pSrcDst, then *ppSrcCoeff null (-8); srcDstStep < 16
 * (-14); qp outside 0..51 (-11). */
ZUBVC_API ZubStatus zubiReconstructLumaInterMB_H264High_16s8u_C1R(Zub16s** ppSrcCoeff, Zub8u* pSrcDst,
                                                                 int srcDstStep, Zub32u cbp, int qp,
                                                                 const Zub16s* pLevelScale, int transform8x8);
/* The same on 32-bit coefficients and 16-bit samples (step in samples), qp
 * the extended QP; checks as above with qp outside 0..87, then bitDepth
 * outside 8..14 (-11). */
ZUBVC_API ZubStatus zubiReconstructLumaInterMB_H264High_32s16u_C1R(Zub32s** ppSrcCoeff, Zub16u* pSrcDst,
                                                                  int srcDstStep, Zub32u cbp, int qp,
                                                                  const Zub16s* pLevelScale, int transform8x8,
                                                                  int bitDepth);

/* Intra 8x8 luma macroblock: for each 8x8 block b in raster order, predicts it
 * with zubiPredictIntra_8x8_H264_8u_C1IR (pModes: the four Intra8x8PredMode
 * values) from the samples reconstructed around it, then adds its residual
 * when bit b of cbp8x8 is set (64 packed coefficients, pLevelScale 64 values
 * or null).  Inside the macroblock the neighbour flags of each block follow
 * clause 6.4.11.2: block 1 takes its above-right samples from the macroblock
 * above-right, block 2 from block 1, block 3 has none.
 * Checks: ppSrcCoeff, pSrcDst, pModes, then *ppSrcCoeff null (-8); srcDstStep
 * < 16 (-14); a mode above 8, then qp outside 0..51 (-11); a block whose mode
 * needs a missing neighbour (-117), tested for all four blocks before anything
 * is written. */
ZUBVC_API ZubStatus zubiReconstructLumaIntra8x8MB_H264High_16s8u_C1R(Zub16s** ppSrcCoeff, Zub8u* pSrcDst,
                                                                    int srcDstStep, const Zub8u* pModes,
                                                                    Zub32u cbp8x8, int qp,
                                                                    const Zub16s* pLevelScale, int availability);
/* The same on 32-bit coefficients and 16-bit samples with
 * zubiPredictIntra_8x8_H264_16u_C1IR; qp outside 0..87, then bitDepth outside
 * 8..14 (-11). */
ZUBVC_API ZubStatus zubiReconstructLumaIntra8x8MB_H264High_32s16u_C1R(Zub32s** ppSrcCoeff, Zub16u* pSrcDst,
                                                                     int srcDstStep, const Zub8u* pModes,
                                                                     Zub32u cbp8x8, int qp,
                                                                     const Zub16s* pLevelScale, int availability,
                                                                     int bitDepth);

/* zubiReconstructLumaIntraMB_H264_16s8u_C1R with a LevelScale4x4 (null:
 * flat); same checks and result. */
ZUBVC_API ZubStatus zubiReconstructLumaIntra4x4MB_H264High_16s8u_C1R(Zub16s** ppSrcCoeff, Zub8u* pSrcDst,
                                                                    int srcDstStep, const Zub8u* pModes,
                                                                    Zub32u cbp4x4, int qp,
                                                                    const Zub16s* pLevelScale, int availability);
/* zubiReconstructLumaIntra16x16MB_H264_16s8u_C1R with a LevelScale4x4 for
 * the AC levels (the DC arrives scaled); same checks. */
ZUBVC_API ZubStatus zubiReconstructLumaIntra16x16MB_H264High_16s8u_C1R(Zub16s** ppSrcCoeff, Zub8u* pSrcDst,
                                                                      int srcDstStep, int predMode,
                                                                      const Zub16s* pDC, Zub32u cbp4x4, int qp,
                                                                      const Zub16s* pLevelScale,
                                                                      int availability);
/* The 4:2:0 chroma macroblock functions with one LevelScale4x4 per plane (Cb
 * and Cr have their own matrices; null: flat); same checks. */
ZUBVC_API ZubStatus zubiReconstructChromaInterMB_H264High_16s8u_P2R(Zub16s** ppSrcCoeff, Zub8u* pSrcDstU,
                                                                   Zub8u* pSrcDstV, int srcDstStep,
                                                                   const Zub16s* pDC, Zub32u cbp4x4, int qpU,
                                                                   int qpV, const Zub16s* pLevelScaleU,
                                                                   const Zub16s* pLevelScaleV);
ZUBVC_API ZubStatus zubiReconstructChromaIntraMB_H264High_16s8u_P2R(Zub16s** ppSrcCoeff, Zub8u* pSrcDstU,
                                                                   Zub8u* pSrcDstV, int srcDstStep, int predMode,
                                                                   const Zub16s* pDC, Zub32u cbp4x4, int qpU,
                                                                   int qpV, const Zub16s* pLevelScaleU,
                                                                   const Zub16s* pLevelScaleV, int availability);

/* High bit depth forms of the 4x4 intra luma and the chroma macroblock
 * functions: 32-bit coefficients and DC, 16-bit samples (step in samples), the
 * 16u intra prediction functions, saturation to 0..(1 << bitDepth) - 1.  qp
 * is the extended QP (0..87 luma, 0..75 chroma); checks as the 8-bit forms,
 * bitDepth outside 8..14 giving -11 after the QPs. */
ZUBVC_API ZubStatus zubiReconstructLumaIntra4x4MB_H264High_32s16u_C1R(Zub32s** ppSrcCoeff, Zub16u* pSrcDst,
                                                                     int srcDstStep, const Zub8u* pModes,
                                                                     Zub32u cbp4x4, int qp,
                                                                     const Zub16s* pLevelScale, int availability,
                                                                     int bitDepth);
ZUBVC_API ZubStatus zubiReconstructLumaIntra16x16MB_H264High_32s16u_C1R(Zub32s** ppSrcCoeff, Zub16u* pSrcDst,
                                                                       int srcDstStep, int predMode,
                                                                       const Zub32s* pDC, Zub32u cbp4x4, int qp,
                                                                       const Zub16s* pLevelScale,
                                                                       int availability, int bitDepth);
ZUBVC_API ZubStatus zubiReconstructChromaInterMB_H264High_32s16u_P2R(Zub32s** ppSrcCoeff, Zub16u* pSrcDstU,
                                                                    Zub16u* pSrcDstV, int srcDstStep,
                                                                    const Zub32s* pDC, Zub32u cbp4x4, int qpU,
                                                                    int qpV, const Zub16s* pLevelScaleU,
                                                                    const Zub16s* pLevelScaleV, int bitDepth);
ZUBVC_API ZubStatus zubiReconstructChromaIntraMB_H264High_32s16u_P2R(Zub32s** ppSrcCoeff, Zub16u* pSrcDstU,
                                                                    Zub16u* pSrcDstV, int srcDstStep, int predMode,
                                                                    const Zub32s* pDC, Zub32u cbp4x4, int qpU,
                                                                    int qpV, const Zub16s* pLevelScaleU,
                                                                    const Zub16s* pLevelScaleV, int availability,
                                                                    int bitDepth);

/* 4:2:2 chroma macroblocks (8 x 16 per plane): eight 4x4 blocks per plane in
 * raster order (two columns, four rows), their DC values in pDC (eight of U,
 * then eight of V, as zubiTransformQuantInvChromaDC2x4_H264_16s_C1I leaves
 * them), bits 0..7 of cbp4x4 for the AC blocks of U, bits 8..15 for V; intra
 * prediction with zubiPredictIntraChroma8x16_H264_8u_C1IR (16u).  Otherwise as
 * the 4:2:0 functions, with the same checks. */
ZUBVC_API ZubStatus zubiReconstructChroma422InterMB_H264High_16s8u_P2R(Zub16s** ppSrcCoeff, Zub8u* pSrcDstU,
                                                                      Zub8u* pSrcDstV, int srcDstStep,
                                                                      const Zub16s* pDC, Zub32u cbp4x4, int qpU,
                                                                      int qpV, const Zub16s* pLevelScaleU,
                                                                      const Zub16s* pLevelScaleV);
ZUBVC_API ZubStatus zubiReconstructChroma422IntraMB_H264High_16s8u_P2R(Zub16s** ppSrcCoeff, Zub8u* pSrcDstU,
                                                                      Zub8u* pSrcDstV, int srcDstStep,
                                                                      int predMode, const Zub16s* pDC,
                                                                      Zub32u cbp4x4, int qpU, int qpV,
                                                                      const Zub16s* pLevelScaleU,
                                                                      const Zub16s* pLevelScaleV, int availability);
ZUBVC_API ZubStatus zubiReconstructChroma422InterMB_H264High_32s16u_P2R(Zub32s** ppSrcCoeff, Zub16u* pSrcDstU,
                                                                       Zub16u* pSrcDstV, int srcDstStep,
                                                                       const Zub32s* pDC, Zub32u cbp4x4, int qpU,
                                                                       int qpV, const Zub16s* pLevelScaleU,
                                                                       const Zub16s* pLevelScaleV, int bitDepth);
ZUBVC_API ZubStatus zubiReconstructChroma422IntraMB_H264High_32s16u_P2R(Zub32s** ppSrcCoeff, Zub16u* pSrcDstU,
                                                                       Zub16u* pSrcDstV, int srcDstStep,
                                                                       int predMode, const Zub32s* pDC,
                                                                       Zub32u cbp4x4, int qpU, int qpV,
                                                                       const Zub16s* pLevelScaleU,
                                                                       const Zub16s* pLevelScaleV, int availability,
                                                                       int bitDepth);

#endif
