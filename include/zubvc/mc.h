/* libzubvcpx - block motion compensation for 8-bit samples (MPEG-1, MPEG-2,
 * H.263, MPEG-4 half-sample prediction).  Included through <zubvc.h>.
 *
 * Prediction at full or half sample position in each direction from one
 * reference (forward or backward) or two (bidirectional), a signed 16-bit
 * residual added, the result saturated to 0..255.  Steps count bytes, also the
 * residual's.  Every public function checks only its pointers for null (-8,
 * in argument order) and then calls a kernel of the exported tables, which
 * checks nothing.
 *
 * Position argument (mcType) of the zubiMC* functions: only bits 2 and 3
 * count: 0 full in both directions, 4 half vertically, 8 half horizontally,
 * 12 half in both; m = (mcType >> 2) & 3.
 * Accuracy argument (acc) of zubiCopy*HP, zubiInterpolateAverage* and
 * zubiAdd8x8HP: bits 0..1: 0 full, 1 half horizontally, 2 half vertically,
 * 3 both (note the different encoding).
 * Rounding control rc (0 or 1): two-tap (a + b + 1 - rc) >> 1, four-tap
 * (a + b + c + d + 2 - rc) >> 2.  The tables are indexed with rc & 1 but the
 * kernels subtract rc as given.
 * A half position reads one column right of and / or one row below the block.
 * UV forms: two-channel planes whose chroma samples alternate; the horizontal
 * neighbour of a sample is two bytes away; a block row is 16 bytes and the
 * residual row 16 values.
 * Bidirectional: dst = sat((p1 + p2 + 2 res + 1) >> 1), both predictions
 * rounded with the same rc. */
#ifndef ZUBVC_MC_H
#define ZUBVC_MC_H

#include "core.h"

/* ---- Predict and add ------------------------------------------------------
 * Checks: pSrcRef, pSrcYData, pDst (-8); B forms: pSrcRefF, pSrcRefB,
 * pSrcYData, pDst (-8). */
#define ZUBVC_MC_DECL(n)                                                                                      \
    ZUBVC_API ZubStatus zubiMC##n##_8u_C1(const Zub8u* pSrcRef, Zub32s srcStep, const Zub16s* pSrcYData,     \
                                          Zub32s srcYDataStep, Zub8u* pDst, Zub32s dstStep, Zub32s mcType,   \
                                          Zub32s roundControl);
#define ZUBVC_MCB_DECL(n)                                                                                     \
    ZUBVC_API ZubStatus zubiMC##n##_8u_C1(const Zub8u* pSrcRefF, Zub32s srcStepF, Zub32s mcTypeF,            \
                                          const Zub8u* pSrcRefB, Zub32s srcStepB, Zub32s mcTypeB,            \
                                          const Zub16s* pSrcYData, Zub32s srcYDataStep, Zub8u* pDst,         \
                                          Zub32s dstStep, Zub32s roundControl);
ZUBVC_MC_DECL(16x16) ZUBVC_MC_DECL(16x8) ZUBVC_MC_DECL(16x4)
ZUBVC_MC_DECL(8x16) ZUBVC_MC_DECL(8x8) ZUBVC_MC_DECL(8x4)
ZUBVC_MC_DECL(4x8) ZUBVC_MC_DECL(4x4) ZUBVC_MC_DECL(4x2) ZUBVC_MC_DECL(2x4) ZUBVC_MC_DECL(2x2)
ZUBVC_MCB_DECL(16x16B) ZUBVC_MCB_DECL(16x8B) ZUBVC_MCB_DECL(16x4B)
ZUBVC_MCB_DECL(8x16B) ZUBVC_MCB_DECL(8x8B) ZUBVC_MCB_DECL(8x4B)
ZUBVC_MCB_DECL(4x8B) ZUBVC_MCB_DECL(4x4B) ZUBVC_MCB_DECL(4x2B) ZUBVC_MCB_DECL(2x4B) ZUBVC_MCB_DECL(2x2B)
/* 8 sample pairs x 8 rows of a two-channel plane. */
ZUBVC_MC_DECL(16x8UV)
ZUBVC_MCB_DECL(16x8BUV)
#undef ZUBVC_MC_DECL
#undef ZUBVC_MCB_DECL

/* ---- Kernels and their tables ----------------------------------------------
 * 16xH, 8xH and UV kernels take the number of rows and then the arguments of
 * the public function; the mcl kernels (2x2 .. 4x8) the public arguments
 * without the positions.  Position names: xf/xi full and xh half
 * horizontally, yf/yi full and yh half vertically; the B kernels name the
 * first reference's position, then the second's. */
typedef void (*ZubMCKernel)(int height, const Zub8u* pSrcRef, Zub32s srcStep, const Zub16s* pSrcYData,
                            Zub32s srcYDataStep, Zub8u* pDst, Zub32s dstStep, Zub32s mcType,
                            Zub32s roundControl);
typedef void (*ZubMCBKernel)(int height, const Zub8u* pSrcRefF, Zub32s srcStepF, Zub32s mcTypeF,
                             const Zub8u* pSrcRefB, Zub32s srcStepB, Zub32s mcTypeB, const Zub16s* pSrcYData,
                             Zub32s srcYDataStep, Zub8u* pDst, Zub32s dstStep, Zub32s roundControl);
typedef void (*ZubMCLKernel)(const Zub8u* pSrcRef, Zub32s srcStep, const Zub16s* pSrcYData, Zub32s srcYDataStep,
                             Zub8u* pDst, Zub32s dstStep, Zub32s roundControl);
typedef void (*ZubMCLBKernel)(const Zub8u* pSrcRefF, Zub32s srcStepF, const Zub8u* pSrcRefB, Zub32s srcStepB,
                              const Zub16s* pSrcYData, Zub32s srcYDataStep, Zub8u* pDst, Zub32s dstStep,
                              Zub32s roundControl);
/* A half-sample copy kernel: the rounding control is part of the kernel. */
typedef void (*ZubCopyHPKernel)(const Zub8u* pSrc, Zub32s srcStep, Zub8u* pDst, Zub32s dstStep);

/* The four positions in table order (m = 0..3), as lists X(a, position). */
#define ZUBVC_MC_P4(X, a) X(a, xfyf) X(a, xfyh) X(a, xhyf) X(a, xhyh)
#define ZUBVC_MCL_P4(X, a) X(a, xiyi) X(a, xiyh) X(a, xhyi) X(a, xhyh)
#define ZUBVC_MC_K(pre, p)                                                                                    \
    ZUBVC_API void pre##_##p(int height, const Zub8u* pSrcRef, Zub32s srcStep, const Zub16s* pSrcYData,       \
                             Zub32s srcYDataStep, Zub8u* pDst, Zub32s dstStep, Zub32s mcType,                 \
                             Zub32s roundControl);
#define ZUBVC_MCB_K2(pre, p2)                                                                                 \
    ZUBVC_API void pre##_##p2(int height, const Zub8u* pSrcRefF, Zub32s srcStepF, Zub32s mcTypeF,             \
                              const Zub8u* pSrcRefB, Zub32s srcStepB, Zub32s mcTypeB, const Zub16s* pSrcYData, \
                              Zub32s srcYDataStep, Zub8u* pDst, Zub32s dstStep, Zub32s roundControl);
#define ZUBVC_MCB_K(pre, p1) ZUBVC_MC_P4_2(ZUBVC_MCB_K2, pre##_##p1)
#define ZUBVC_MCL_K(pre, p)                                                                                   \
    ZUBVC_API void pre##_##p(const Zub8u* pSrcRef, Zub32s srcStep, const Zub16s* pSrcYData,                   \
                             Zub32s srcYDataStep, Zub8u* pDst, Zub32s dstStep, Zub32s roundControl);
#define ZUBVC_MCLB_K2(pre, p2)                                                                                \
    ZUBVC_API void pre##_##p2(const Zub8u* pSrcRefF, Zub32s srcStepF, const Zub8u* pSrcRefB, Zub32s srcStepB, \
                              const Zub16s* pSrcYData, Zub32s srcYDataStep, Zub8u* pDst, Zub32s dstStep,      \
                              Zub32s roundControl);
#define ZUBVC_MCLB_K(pre, p1) ZUBVC_MCL_P4_2(ZUBVC_MCLB_K2, pre##_##p1)
/* Second copies of the position lists, for the nested B expansions. */
#define ZUBVC_MC_P4_2(X, a) X(a, xfyf) X(a, xfyh) X(a, xhyf) X(a, xhyh)
#define ZUBVC_MCL_P4_2(X, a) X(a, xiyi) X(a, xiyh) X(a, xhyi) X(a, xhyh)

ZUBVC_MC_P4(ZUBVC_MC_K, mc_16xH)
ZUBVC_MC_P4(ZUBVC_MC_K, mc_8xH)
ZUBVC_MC_P4(ZUBVC_MC_K, mcuv_16xH)
ZUBVC_MC_P4(ZUBVC_MCB_K, mc_16xH)
ZUBVC_MC_P4(ZUBVC_MCB_K, mc_8xH)
ZUBVC_MC_P4(ZUBVC_MCB_K, mcuv_16xH)
ZUBVC_MCL_P4(ZUBVC_MCL_K, mcl_2x2)
ZUBVC_MCL_P4(ZUBVC_MCL_K, mcl_2x4)
ZUBVC_MCL_P4(ZUBVC_MCL_K, mcl_4x2)
ZUBVC_MCL_P4(ZUBVC_MCL_K, mcl_4x4)
ZUBVC_MCL_P4(ZUBVC_MCL_K, mcl_4x8)
ZUBVC_MCL_P4(ZUBVC_MCLB_K, mcl_2x2)
ZUBVC_MCL_P4(ZUBVC_MCLB_K, mcl_2x4)
ZUBVC_MCL_P4(ZUBVC_MCLB_K, mcl_4x2)
ZUBVC_MCL_P4(ZUBVC_MCLB_K, mcl_4x4)
ZUBVC_MCL_P4(ZUBVC_MCLB_K, mcl_4x8)
#undef ZUBVC_MC_K
#undef ZUBVC_MCB_K
#undef ZUBVC_MCB_K2
#undef ZUBVC_MCL_K
#undef ZUBVC_MCLB_K
#undef ZUBVC_MCLB_K2

/* 16xH, 8xH and UV tables: index (rc & 1) + 2 m, both rounding entries of a
 * position holding the same kernel; B tables: (rc & 1) + 2 m1 + 8 m2. */
ZUBVC_API const ZubMCKernel MC16xHFunctionTable[8];
ZUBVC_API const ZubMCKernel MC8xHFunctionTable[8];
ZUBVC_API const ZubMCKernel MC16xHUVFunctionTable[8];
ZUBVC_API const ZubMCBKernel MC16xHBFunctionTable[32];
ZUBVC_API const ZubMCBKernel MC8xHBFunctionTable[32];
ZUBVC_API const ZubMCBKernel MC16xHUVBFunctionTable[32];
/* mcl tables: index mcType & 12 (four equal entries per position); B tables:
 * m1 + 4 m2. */
ZUBVC_API const ZubMCLKernel MC2x2FnTbl[16];
ZUBVC_API const ZubMCLKernel MC2x4FnTbl[16];
ZUBVC_API const ZubMCLKernel MC4x2FnTbl[16];
ZUBVC_API const ZubMCLKernel MC4x4FnTbl[16];
ZUBVC_API const ZubMCLKernel MC4x8FnTbl[16];
ZUBVC_API const ZubMCLBKernel MC2x2BFnTbl[16];
ZUBVC_API const ZubMCLBKernel MC2x4BFnTbl[16];
ZUBVC_API const ZubMCLBKernel MC4x2BFnTbl[16];
ZUBVC_API const ZubMCLBKernel MC4x4BFnTbl[16];
ZUBVC_API const ZubMCLBKernel MC4x8BFnTbl[16];

/* ---- Copies, averages and residual adds -----------------------------------
 * Checks: the pointers, in argument order (-8); nothing else. */
ZUBVC_API ZubStatus zubiCopy8x8_8u_C1R(const Zub8u* pSrc, Zub32s srcStep, Zub8u* pDst, Zub32s dstStep);
ZUBVC_API ZubStatus zubiCopy16x16_8u_C1R(const Zub8u* pSrc, Zub32s srcStep, Zub8u* pDst, Zub32s dstStep);
/* dst = the source interpolated at accuracy acc with rounding control rc,
 * through the copy table of the size, index (rc & 1) + 2 (acc & 3). */
#define ZUBVC_COPYHP_DECL(n)                                                                                  \
    ZUBVC_API ZubStatus zubiCopy##n##HP_8u_C1R(const Zub8u* pSrc, Zub32s srcStep, Zub8u* pDst, Zub32s dstStep, \
                                               Zub32s acc, Zub32s rounding);
ZUBVC_COPYHP_DECL(8x4) ZUBVC_COPYHP_DECL(8x8) ZUBVC_COPYHP_DECL(16x8) ZUBVC_COPYHP_DECL(16x16)
#undef ZUBVC_COPYHP_DECL
/* Copy tables, entries full, full, HF0, HF1, FH0, FH1, HH0, HH1 (HF half
 * horizontally, FH half vertically, HH both; the digit is rc).  The 4x4 table,
 * which no public function uses, lists the vertical-half kernels before the
 * horizontal-half ones: its entries 2, 3 are FH0, FH1 and 4, 5 are HF0, HF1. */
ZUBVC_API const ZubCopyHPKernel ownvc_Copy4x4HP_8u_C1R[8];
ZUBVC_API const ZubCopyHPKernel ownvc_Copy8x4HP_8u_C1R[8];
ZUBVC_API const ZubCopyHPKernel ownvc_Copy8x8HP_8u_C1R[8];
ZUBVC_API const ZubCopyHPKernel ownvc_Copy16x8HP_8u_C1R[8];
ZUBVC_API const ZubCopyHPKernel ownvc_Copy16x16HP_8u_C1R[8];

/* dst = (a + b + 1) >> 1. */
ZUBVC_API ZubStatus zubiAverage8x8_8u_C1R(const Zub8u* pSrc1, Zub32s src1Step, const Zub8u* pSrc2,
                                          Zub32s src2Step, Zub8u* pDst, Zub32s dstStep);
ZUBVC_API ZubStatus zubiAverage16x16_8u_C1R(const Zub8u* pSrc1, Zub32s src1Step, const Zub8u* pSrc2,
                                            Zub32s src2Step, Zub8u* pDst, Zub32s dstStep);
ZUBVC_API ZubStatus zubiAverage8x8_8u_C1IR(const Zub8u* pSrc, Zub32s srcStep, Zub8u* pSrcDst, Zub32s srcDstStep);
ZUBVC_API ZubStatus zubiAverage16x16_8u_C1IR(const Zub8u* pSrc, Zub32s srcStep, Zub8u* pSrcDst,
                                             Zub32s srcDstStep);
/* dst = (interpolated source + dst + 1) >> 1. */
#define ZUBVC_INTAVG_DECL(n)                                                                                  \
    ZUBVC_API ZubStatus zubiInterpolateAverage##n##_8u_C1IR(const Zub8u* pSrc, Zub32s srcStep, Zub8u* pSrcDst, \
                                                            Zub32s srcDstStep, Zub32s acc, Zub32s rounding);
ZUBVC_INTAVG_DECL(8x4) ZUBVC_INTAVG_DECL(8x8) ZUBVC_INTAVG_DECL(16x8) ZUBVC_INTAVG_DECL(16x16)
#undef ZUBVC_INTAVG_DECL
/* dst = sat(dst + residual). */
ZUBVC_API ZubStatus zubiAdd8x8_16s8u_C1IRS(const Zub16s* pSrc, Zub32s srcStep, Zub8u* pSrcDst, Zub32s srcDstStep);
/* dst = sat(interpolated reference + residual). */
ZUBVC_API ZubStatus zubiAdd8x8HP_16s8u_C1RS(const Zub16s* pSrc1, Zub32s src1Step, const Zub8u* pSrc2,
                                            Zub32s src2Step, Zub8u* pDst, Zub32s dstStep, Zub32s acc,
                                            Zub32s rounding);

#endif
