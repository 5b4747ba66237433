// Dispatch tables of the motion compensation family, filled from the kernel
// lists of <zubvc/mc.h> and, for the half-sample copies, from the copyHP
// template of mcown.h.
#include "mcown.h"

// 16xH, 8xH, UV: index (rc & 1) + 2 m, one kernel for both rounding entries.
#define ZUB_TWICE(a, p) a##_##p, a##_##p,
// B: index (rc & 1) + 2 m1 + 8 m2; the outer list runs over m2.
#define ZUB_B_ROW(a, p2)                                                                                      \
    a##_xfyf_##p2, a##_xfyf_##p2, a##_xfyh_##p2, a##_xfyh_##p2, a##_xhyf_##p2, a##_xhyf_##p2, a##_xhyh_##p2,  \
        a##_xhyh_##p2,
// mcl: index mcType & 12, four entries per position; B: m1 + 4 m2.
#define ZUB_FOUR(a, p) a##_##p, a##_##p, a##_##p, a##_##p,
#define ZUB_L_ROW(a, p2) a##_xiyi_##p2, a##_xiyh_##p2, a##_xhyi_##p2, a##_xhyh_##p2,

const ZubMCKernel MC16xHFunctionTable[8] = {ZUBVC_MC_P4(ZUB_TWICE, mc_16xH)};
const ZubMCKernel MC8xHFunctionTable[8] = {ZUBVC_MC_P4(ZUB_TWICE, mc_8xH)};
const ZubMCKernel MC16xHUVFunctionTable[8] = {ZUBVC_MC_P4(ZUB_TWICE, mcuv_16xH)};
const ZubMCBKernel MC16xHBFunctionTable[32] = {ZUBVC_MC_P4(ZUB_B_ROW, mc_16xH)};
const ZubMCBKernel MC8xHBFunctionTable[32] = {ZUBVC_MC_P4(ZUB_B_ROW, mc_8xH)};
const ZubMCBKernel MC16xHUVBFunctionTable[32] = {ZUBVC_MC_P4(ZUB_B_ROW, mcuv_16xH)};

const ZubMCLKernel MC2x2FnTbl[16] = {ZUBVC_MCL_P4(ZUB_FOUR, mcl_2x2)};
const ZubMCLKernel MC2x4FnTbl[16] = {ZUBVC_MCL_P4(ZUB_FOUR, mcl_2x4)};
const ZubMCLKernel MC4x2FnTbl[16] = {ZUBVC_MCL_P4(ZUB_FOUR, mcl_4x2)};
const ZubMCLKernel MC4x4FnTbl[16] = {ZUBVC_MCL_P4(ZUB_FOUR, mcl_4x4)};
const ZubMCLKernel MC4x8FnTbl[16] = {ZUBVC_MCL_P4(ZUB_FOUR, mcl_4x8)};
const ZubMCLBKernel MC2x2BFnTbl[16] = {ZUBVC_MCL_P4(ZUB_L_ROW, mcl_2x2)};
const ZubMCLBKernel MC2x4BFnTbl[16] = {ZUBVC_MCL_P4(ZUB_L_ROW, mcl_2x4)};
const ZubMCLBKernel MC4x2BFnTbl[16] = {ZUBVC_MCL_P4(ZUB_L_ROW, mcl_4x2)};
const ZubMCLBKernel MC4x4BFnTbl[16] = {ZUBVC_MCL_P4(ZUB_L_ROW, mcl_4x4)};
const ZubMCLBKernel MC4x8BFnTbl[16] = {ZUBVC_MCL_P4(ZUB_L_ROW, mcl_4x8)};

// Copy tables: full, full, HF0, HF1, FH0, FH1, HH0, HH1 (m 2 = HF, 1 = FH);
// the 4x4 table puts FH before HF.
using zub::mc::copyHP;
#define ZUB_COPY_TABLE(W, H, A, B)                                                                            \
    {copyHP<W, H, 0, 0>, copyHP<W, H, 0, 0>, copyHP<W, H, A, 0>, copyHP<W, H, A, 1>,                        \
     copyHP<W, H, B, 0>, copyHP<W, H, B, 1>, copyHP<W, H, 3, 0>, copyHP<W, H, 3, 1>}
const ZubCopyHPKernel ownvc_Copy4x4HP_8u_C1R[8] = ZUB_COPY_TABLE(4, 4, 1, 2);
const ZubCopyHPKernel ownvc_Copy8x4HP_8u_C1R[8] = ZUB_COPY_TABLE(8, 4, 2, 1);
const ZubCopyHPKernel ownvc_Copy8x8HP_8u_C1R[8] = ZUB_COPY_TABLE(8, 8, 2, 1);
const ZubCopyHPKernel ownvc_Copy16x8HP_8u_C1R[8] = ZUB_COPY_TABLE(16, 8, 2, 1);
const ZubCopyHPKernel ownvc_Copy16x16HP_8u_C1R[8] = ZUB_COPY_TABLE(16, 16, 2, 1);
