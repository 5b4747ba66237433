/* libzubvcpx - MPEG-1/MPEG-2 DCT block reconstruction from run-level codes
 * with dequantisation, forward and inverse quantisers, and the coefficient
 * scan orders of the library.  Included through <zubvc.h>. */
#ifndef ZUBVC_MPEG2QUANT_H
#define ZUBVC_MPEG2QUANT_H

#include "core.h"

/* Scan orders: entry k is the raster index (8 x row + column) of the k-th
 * coefficient.  ownvc_Zigzag is the zig-zag scan of ISO/IEC 13818-2,
 * ownvc_AltScanV its alternate scan (the alternate-vertical scan of ISO/IEC
 * 14496-2), ownvc_AltScanH the alternate-horizontal scan of ISO/IEC 14496-2. */
ZUBVC_API const Zub8u ownvc_Zigzag[64];
ZUBVC_API const Zub8u ownvc_AltScanV[64];
ZUBVC_API const Zub8u ownvc_AltScanH[64];

/* ---------------------------------------------------------------------------
 * Block reconstruction: decodes the run-level codes of one 8x8 block at the
 * word cursor (*ppBitStream, *pBitOffset; only the low five bits of the
 * offset are used), dequantises each coefficient and stores it in the
 * cleared 64-coefficient raster block pDstBlock at pScan[i] (the caller's
 * scan, 64 raster indices; only their low six bits are used), and writes the
 * scan index of the last coefficient to *pDstSize.
 *
 * Tables are built by the VLC builders: the coefficient tables as run-level
 * tables in which run 254 is end of block and run 255 escape (ISO/IEC
 * 13818-2 Table B.14 or B.15; the helper library's DctTableZero and
 * DctTableOne), the DC size table as a single-value table (B.12, B.13).  A
 * non-intra block starts with "1s" (run 0, level +1 or -1) when its first
 * bit is 1; otherwise with a code of the first-coefficient table (table zero
 * serves).  Escapes: MPEG-1 a 6-bit run and an 8-bit level, a level byte of
 * 0x00 or 0x80 followed by 8 more bits (ISO/IEC 11172-2); MPEG-2 a 6-bit run
 * and a 12-bit two's complement level.  Otherwise the level is the table's:
 * bits 16..23 as a signed byte, except for MPEG-2 non-intra blocks (bits
 * 16..31 as a signed 16-bit value).
 *
 * Dequantisation with weight W = pQPMatrix[p] and quantiser scale QP (the
 * value, not its code), in 32-bit arithmetic that wraps, "/" truncating:
 *   MPEG-1 non-intra: ((2 level + sign(level)) W QP) / 16
 *   MPEG-1 intra AC:  (2 level W QP) / 16
 *     then an even value moves one step toward zero and the result is
 *     saturated to -2048..2047;
 *   MPEG-2 non-intra: ((2 level + sign(level)) W QP) / 32
 *   MPEG-2 intra AC:  (2 level W QP) / 32
 *     stored as its low 16 bits without saturation.  Mismatch control: if
 *     the sum of the stored coefficients (the intra DC included) is even,
 *     bit 0 of raster position 63 is toggled.
 * Intra DC: the dct_dc_size s (the DC size table's value) and, for s > 0, s
 * bits b give the differential d = b when bit s-1 of b is set, else
 * b + 1 - 2^s (16-bit).  MPEG-1: *pDCPred holds 8 x the DC level, becomes
 * *pDCPred + 8 d and is stored at raster 0.  MPEG-2: *pDCPred holds the DC
 * level, becomes *pDCPred + d, and *pDCPred << shiftDCVal (shiftDCVal =
 * 3 - intra_dc_precision) is stored at raster 0.
 *
 * *pDstSize receives the scan index of the last coefficient (0 for an intra
 * block of DC only); the MPEG-2 non-intra function writes 1 instead of 0.
 *
 * Checks: every pointer argument in order, then *ppBitStream (-8); nothing
 * is written then.  A coefficient placed past scan index 63 (a run too long,
 * or an invalid code, which reads as run 241) gives ZubStatusVlcError (-74)
 * with the block partly filled, the cursor after the offending code and
 * *pDstSize not written; so does a DC size outside 0..16.  An invalid code
 * of the DC size table or of a code list that leaves bit patterns uncoded is
 * otherwise not detected.
 * ------------------------------------------------------------------------- */

ZUBVC_API ZubStatus zubiReconstructDCTBlock_MPEG1_32s(const Zub32u** ppBitStream, Zub32u* pBitOffset,
                                                      const Zub32s* pDCTFirstTable, const Zub32s* pDCTTable,
                                                      const Zub32s* pScan, Zub32s QP, const Zub16s* pQPMatrix,
                                                      Zub16s* pDstBlock, Zub32s* pDstSize);
ZUBVC_API ZubStatus zubiReconstructDCTBlockIntra_MPEG1_32s(const Zub32u** ppBitStream, Zub32u* pBitOffset,
                                                           const Zub32s* pDCSizeTable, const Zub32s* pDCTTable,
                                                           const Zub32s* pScan, Zub32s QP,
                                                           const Zub16s* pQPMatrix, Zub16s* pDCPred,
                                                           Zub16s* pDstBlock, Zub32s* pDstSize);
/* pQPMatrix may be null: all weights 16. */
ZUBVC_API ZubStatus zubiReconstructDCTBlock_MPEG2_32s(const Zub32u** ppBitStream, Zub32u* pBitOffset,
                                                      const Zub32s* pDCTFirstTable, const Zub32s* pDCTTable,
                                                      const Zub32s* pScan, Zub32s QP, const Zub16s* pQPMatrix,
                                                      Zub16s* pDstBlock, Zub32s* pDstSize);
/* shiftDCVal: 3 - intra_dc_precision (0..3; only its low five bits are
 * used). */
ZUBVC_API ZubStatus zubiReconstructDCTBlockIntra_MPEG2_32s(const Zub32u** ppBitStream, Zub32u* pBitOffset,
                                                           const Zub32s* pDCSizeTable, const Zub32s* pDCTTable,
                                                           const Zub32s* pScan, Zub32s QP,
                                                           const Zub16s* pQPMatrix, Zub16s* pDCPred,
                                                           Zub32s shiftDCVal, Zub16s* pDstBlock,
                                                           Zub32s* pDstSize);

/* ---------------------------------------------------------------------------
 * MPEG-2 inverse quantisers, in place on a raster block, 32-bit arithmetic
 * that wraps, "/" truncating; results of 2047 or more become 2047 and results
 * below -2047 become -2048; mismatch control toggles bit 0 of position 63
 * when the sum is even.  Checks: pointers (-8).
 * ------------------------------------------------------------------------- */

/* Position 0 (DC) is kept; positions 1..63 become (a QP W 2) / 32.  The
 * mismatch sum is the DC plus every output.  pQPMatrix is required. */
ZUBVC_API ZubStatus zubiQuantInvIntra_MPEG2_16s_C1I(Zub16s* pSrcDst, Zub32s QP, const Zub16s* pQPMatrix);
/* Each nonzero a becomes (W QP (2a + sign(a))) / 32, or with pQPMatrix null
 * (QP (2a + sign(a))) / 2; zeros stay.  The mismatch sum adds the outputs of
 * the nonzero inputs. */
ZUBVC_API ZubStatus zubiQuantInv_MPEG2_16s_C1I(Zub16s* pSrcDst, Zub32s QP, const Zub16s* pQPMatrix);

/* ---------------------------------------------------------------------------
 * MPEG-2 forward quantisers, in place on a raster block.  pQPMatrix holds
 * the reciprocals 1/W of the weights as floats (raster order).  With r = 1/QP
 * in extended precision, q = (16 a) r M[p] (or, with pQPMatrix null, the
 * default intra matrix of ISO/IEC 13818-2 for the intra function and q = a r
 * for the non-intra one), truncated toward zero; a nonzero q is limited to
 * -2047..2047 and counted in *pCount.  The intra function keeps position 0.
 * Checks: pSrcDst, pCount (-8); QP 0 (ZubStatusDivideByZero, -10).
 * ------------------------------------------------------------------------- */
ZUBVC_API ZubStatus zubiQuantIntra_MPEG2_16s_C1I(Zub16s* pSrcDst, Zub32s QP, const float* pQPMatrix,
                                                 Zub32s* pCount);
ZUBVC_API ZubStatus zubiQuant_MPEG2_16s_C1I(Zub16s* pSrcDst, Zub32s QP, const float* pQPMatrix, Zub32s* pCount);

/* ---------------------------------------------------------------------------
 * Scan reordering.  scan: 1 ownvc_AltScanV, 2 ownvc_AltScanH, any other
 * value ownvc_Zigzag.
 * ------------------------------------------------------------------------- */

/* Raster pSrc to scan order pDst.  countNonZero 20 or more copies all 64;
 * below, pDst is cleared and the first countNonZero nonzero coefficients in
 * scan order are copied.  Checks: pointers (-8); countNonZero outside 1..64
 * (-11). */
ZUBVC_API ZubStatus zubiScanFwd_16s_C1(const Zub16s* pSrc, Zub16s* pDst, int countNonZero, int scan);
/* Scan order pSrc to raster pDst: pDst is cleared, then positions 0 and
 * 1..indxLastNonZero are copied.  Checks: pointers (-8); indxLastNonZero
 * outside 0..63 (-11). */
ZUBVC_API ZubStatus zubiScanInv_16s_C1(const Zub16s* pSrc, Zub16s* pDst, int indxLastNonZero, int scan);

#endif
