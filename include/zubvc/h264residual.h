/* libzubvcpx - H.264 CAVLC residual decoding and inverse DC transforms.  Included through <zubvc.h>. */
#ifndef ZUBVC_H264RESIDUAL_H
#define ZUBVC_H264RESIDUAL_H

#include "core.h"

/* ---------------------------------------------------------------------------
 * CAVLC residual decoding (H.264 clause 9.2)
 *
 * Each decoder parses one residual block at the word cursor
 * (*ppBitStream, *pBitOffset), stores TotalCoeff in *pNumCoeff and, when
 * TotalCoeff is not 0, clears the block at *ppCoeffs, stores the levels at
 * their raster positions and advances *ppCoeffs past the block (16, 4 or 8
 * coefficients).  An empty block writes no coefficient and leaves *ppCoeffs
 * alone, so consecutive calls fill a packed sequence of non-empty blocks.
 *
 * Code tables are multi-level tables (entry 0 = bits looked up; final entries
 * hold the bits to give back in their low byte and the value in bits 8..31;
 * 0xF0F1 marks an invalid code):
 *  - coeff_token: TrailingOnes in bits 8..15, TotalCoeff in bits 16..23;
 *    the 4x4 decoders take three tables (nC 0-1, 2-3, 4-7), the chroma DC
 *    decoders the nC = -1 or nC = -2 table;
 *  - total_zeros: an array indexed by TotalCoeff (4x4: 1..15, 2x2: 1..3,
 *    2x4: 1..7);
 *  - run_before: an array indexed by zerosLeft (4x4: 1..14, indexes of 7 and
 *    above pointing at the zerosLeft > 6 code).
 * The tables and the scan are trusted: values must lie in the ranges of the
 * standard's tables (TotalCoeff 0..16, TrailingOnes 0..3) and each final
 * entry must give back no more bits than its level looked up.
 *
 * The bit offset is not range-checked; only its low five bits are used.
 *
 * Parse errors:
 *  - an invalid coeff_token returns ZubStatusVlcError (-74) with the cursor
 *    where it stood on entry and nothing written;
 *  - an invalid total_zeros or run_before code returns -74 with the cursor
 *    after the failing look-up (less the bits its entry gives back), the count
 *    stored, the block cleared (after a run_before failure: with the
 *    coefficients placed so far) and *ppCoeffs not advanced;
 *  - a null total_zeros or run_before table, tested only when reached,
 *    returns -8 in the same state.
 * Positions that a corrupt stream would place outside the block (runs longer
 * than the zeros left, TotalCoeff 16 with maxNumCoeff 15) wrap inside it:
 * the scan index is taken modulo the block size.
 * ------------------------------------------------------------------------- */

/* 4x4 block (luma, chroma AC, Intra16x16 DC and AC).  maxNumCoeff is 16, or
 * 15 for AC blocks whose DC is coded elsewhere: positions are then taken one
 * further along pScan, so pScan[0] is never written.  nC >= 8 reads the
 * 6-bit fixed-length coeff_token.  pScan holds the 16 raster positions of the
 * scan order (zig-zag or field scan).
 * Checks: ppBitStream, pBitOffset, ppCoeffs, pNumCoeff, the three table
 * arrays and pScan, then *ppBitStream and *ppCoeffs (-8); maxNumCoeff other
 * than 15 and 16, or nC negative as a signed value (-11); the coeff_token
 * table that nC selects (-8). */
ZUBVC_API ZubStatus zubiDecodeCAVLCCoeffs_H264_1u16s(const Zub32u** ppBitStream, Zub32u* pBitOffset,
                                                     Zub16s* pNumCoeff, Zub16s** ppCoeffs, Zub32u nC,
                                                     Zub16s maxNumCoeff,
                                                     const Zub32s* const* ppCoeffTokenTables,
                                                     const Zub32s* const* ppTotalZerosTables,
                                                     const Zub32s* const* ppRunBeforeTables,
                                                     const Zub32u* pScan);
/* The same with 32-bit coefficients.  The level arithmetic is the same 16-bit
 * arithmetic: an escape level code is reduced to 16 bits and gives a level of
 * -32768..32768, which the 32-bit variants store as is and the 16-bit ones
 * truncate (32768 becomes -32768). */
ZUBVC_API ZubStatus zubiDecodeCAVLCCoeffs_H264_1u32s(const Zub32u** ppBitStream, Zub32u* pBitOffset,
                                                     Zub16s* pNumCoeff, Zub32s** ppCoeffs, Zub32u nC,
                                                     Zub16s maxNumCoeff,
                                                     const Zub32s* const* ppCoeffTokenTables,
                                                     const Zub32s* const* ppTotalZerosTables,
                                                     const Zub32s* const* ppRunBeforeTables,
                                                     const Zub32u* pScan);

/* 4:2:0 chroma DC (2x2, raster order c0 c1 / c2 c3).  Checks ppBitStream,
 * pBitOffset, pNumCoeff, then *ppBitStream (-8).  Two fast paths look at the
 * next five bits without a table: "1 s xyz" (one trailing one of sign s, its
 * position and length given by ChromaDCRunTable[xyz]; needs ppCoeffs and
 * *ppCoeffs, -8) and "01" (no coefficients: count 0, two bits consumed,
 * ppCoeffs not even tested).  Other codes need ppCoeffs, the three tables
 * and *ppCoeffs (-8) and take the general path. */
ZUBVC_API ZubStatus zubiDecodeCAVLCChromaDcCoeffs_H264_1u16s(const Zub32u** ppBitStream, Zub32u* pBitOffset,
                                                             Zub16s* pNumCoeff, Zub16s** ppCoeffs,
                                                             const Zub32s* pCoeffTokenTable,
                                                             const Zub32s* const* ppTotalZerosTables,
                                                             const Zub32s* const* ppRunBeforeTables);
ZUBVC_API ZubStatus zubiDecodeCAVLCChromaDcCoeffs_H264_1u32s(const Zub32u** ppBitStream, Zub32u* pBitOffset,
                                                             Zub16s* pNumCoeff, Zub32s** ppCoeffs,
                                                             const Zub32s* pCoeffTokenTable,
                                                             const Zub32s* const* ppTotalZerosTables,
                                                             const Zub32s* const* ppRunBeforeTables);

/* 4:2:2 chroma DC (2 columns x 4 rows, raster order; the scan index k goes to
 * ChromaDC422RasterScan[k]).  Checks ppBitStream, pBitOffset, ppCoeffs,
 * pNumCoeff and the three tables, then *ppBitStream and *ppCoeffs (-8). */
ZUBVC_API ZubStatus zubiDecodeCAVLCChroma422DcCoeffs_H264_1u16s(const Zub32u** ppBitStream,
                                                                Zub32u* pBitOffset, Zub16s* pNumCoeff,
                                                                Zub16s** ppCoeffs,
                                                                const Zub32s* pCoeffTokenTable,
                                                                const Zub32s* const* ppTotalZerosTables,
                                                                const Zub32s* const* ppRunBeforeTables);
ZUBVC_API ZubStatus zubiDecodeCAVLCChroma422DcCoeffs_H264_1u32s(const Zub32u** ppBitStream,
                                                                Zub32u* pBitOffset, Zub16s* pNumCoeff,
                                                                Zub32s** ppCoeffs,
                                                                const Zub32s* pCoeffTokenTable,
                                                                const Zub32s* const* ppTotalZerosTables,
                                                                const Zub32s* const* ppRunBeforeTables);

/* Level decoding tables of the CAVLC decoders (clause 9.2.2.1).
 * vlc_inc[n]: suffixLength n grows after a level of larger magnitude
 * (0, 3, 6, 12, 24, 48).
 * bitsToGetTbl16s[suffixLength][level_prefix]: level_suffix bits to read;
 * addOffsetTbl16s[suffixLength][level_prefix]: base magnitude of the level
 * (only the low 16 bits of the entries are meaningful).
 * sadd[suffixLength]: added to the level code of an escape (15, then 0). */
ZUBVC_API const Zub32s vlc_inc[6];
ZUBVC_API const Zub32s bitsToGetTbl16s[7][16];
ZUBVC_API const Zub32s addOffsetTbl16s[7][16];
ZUBVC_API const Zub32s sadd[7];
/* 2x2 chroma DC fast path: for the three bits after "1 s", the pair
 * (position = total_zeros, bits consumed including "1 s"). */
ZUBVC_API const Zub8s ChromaDCRunTable[16];
/* 4:2:2 chroma DC: raster position (2 columns x 4 rows) of scan index k. */
ZUBVC_API const Zub32u ChromaDC422RasterScan[8];

/* ---------------------------------------------------------------------------
 * Inverse DC transforms with DC dequantisation (H.264 clauses 8.5.10,
 * 8.5.11), in place.  pLevelScale may be null (the flat default
 * InvLevelScale_4x4_default[q % 6][0]); otherwise pLevelScale[0] is the DC
 * level scale.  With q the QP (QP + 3 for 2x4) and e = q / 6, all arithmetic
 * is 32-bit and the results are truncated to the coefficient width.
 * Checks: pSrcDst (-8), then QP (-11).
 * ------------------------------------------------------------------------- */

/* Luma Intra16x16 DC, 16 values in raster order of the 4x4 grid of blocks:
 * f = H c H; QP < 36: (f s + 2^(5-e)) >> (6-e), else (f s) << (e-6).
 * QP 0..51 (16-bit), 0..87 (32-bit). */
ZUBVC_API ZubStatus zubiTransformQuantInvLumaDC4x4_H264_16s_C1I(Zub16s* pSrcDst, int QP,
                                                                const Zub16s* pLevelScale);
ZUBVC_API ZubStatus zubiTransformQuantInvLumaDC4x4_H264_32s_C1I(Zub32s* pSrcDst, int QP,
                                                                const Zub16s* pLevelScale);
/* 4:2:0 chroma DC, c0 c1 / c2 c3: e < 5: (f s) >> (5-e) without rounding,
 * else (f s) << (e-5).  QP 0..39 (16-bit), 0..75 (32-bit). */
ZUBVC_API ZubStatus zubiTransformQuantInvChromaDC2x2_H264_16s_C1I(Zub16s* pSrcDst, int QP,
                                                                  const Zub16s* pLevelScale);
ZUBVC_API ZubStatus zubiTransformQuantInvChromaDC2x2_H264_32s_C1I(Zub32s* pSrcDst, int QP,
                                                                  const Zub16s* pLevelScale);
/* 4:2:2 chroma DC, 2 columns x 4 rows in raster order, with q = QP + 3:
 * f = A c B; the 16-bit variant wraps f to 16 bits first; e >= 6:
 * (f s) << (e-6), else (f s + 2^(5-e)) >> (6-e).  QP 0..39 (16-bit), 0..75
 * (32-bit). */
ZUBVC_API ZubStatus zubiTransformQuantInvChromaDC2x4_H264_16s_C1I(Zub16s* pSrcDst, int QP,
                                                                  const Zub16s* pLevelScale);
ZUBVC_API ZubStatus zubiTransformQuantInvChromaDC2x4_H264_32s_C1I(Zub32s* pSrcDst, int QP,
                                                                  const Zub16s* pLevelScale);

/* QP / 6 and QP % 6 for QP 0..89. */
ZUBVC_API const Zub8u h264_qp6[90];
ZUBVC_API const Zub8u h264_qp_rem[90];
/* Flat-matrix level scales: row QP % 6, raster order, 16 x normAdjust4x4
 * (clause 8.5.9); DC entries 160, 176, 208, 224, 256, 288. */
ZUBVC_API const Zub16s InvLevelScale_4x4_default[6][16];

#endif
