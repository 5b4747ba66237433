// Block motion compensation: the public functions.  Each checks its pointers
// in argument order and calls the kernel that its position and rounding
// arguments select in the exported tables (mctables.cpp); the copies,
// averages and residual adds use the same block template directly.
#include "mcown.h"

namespace {

using zub::mc::accuracyIndex;
using zub::mc::block;
using zub::mc::Combine;
using zub::mc::positionIndex;

inline int singleIndex(Zub32s mcType, Zub32s rc) { return (rc & 1) + 2 * positionIndex(mcType); }
inline int biIndex(Zub32s mcTypeF, Zub32s mcTypeB, Zub32s rc) {
    return (rc & 1) + 2 * positionIndex(mcTypeF) + 8 * positionIndex(mcTypeB);
}

// The kernel of position m for the functions that dispatch on an accuracy
// argument without an exported table.
using PositionFn = void (*)(int, const uint8_t*, std::ptrdiff_t, const uint8_t*, std::ptrdiff_t, const int16_t*,
                            std::ptrdiff_t, uint8_t*, std::ptrdiff_t, int);
template <int W, Combine C>
PositionFn byPosition(int m) {
    static constexpr PositionFn fns[4] = {&block<W, 1, 0, 0, C>, &block<W, 1, 1, 0, C>, &block<W, 1, 2, 0, C>,
                                          &block<W, 1, 3, 0, C>};
    return fns[m];
}

}  // namespace

#define ZUB_MC_ONE(n, table, h)                                                                               \
    ZubStatus zubiMC##n##_8u_C1(const Zub8u* pSrcRef, Zub32s srcStep, const Zub16s* pSrcYData,               \
                                Zub32s srcYDataStep, Zub8u* pDst, Zub32s dstStep, Zub32s mcType,             \
                                Zub32s roundControl) {                                                       \
        if (!pSrcRef || !pSrcYData || !pDst) return ZubStatusNullPointer;                                    \
        table[singleIndex(mcType, roundControl)](h, pSrcRef, srcStep, pSrcYData, srcYDataStep, pDst, dstStep, \
                                                 mcType, roundControl);                                      \
        return ZubStatusOk;                                                                                  \
    }
#define ZUB_MC_BI(n, table, h)                                                                                \
    ZubStatus zubiMC##n##_8u_C1(const Zub8u* pSrcRefF, Zub32s srcStepF, Zub32s mcTypeF,                      \
                                const Zub8u* pSrcRefB, Zub32s srcStepB, Zub32s mcTypeB,                      \
                                const Zub16s* pSrcYData, Zub32s srcYDataStep, Zub8u* pDst, Zub32s dstStep,   \
                                Zub32s roundControl) {                                                       \
        if (!pSrcRefF || !pSrcRefB || !pSrcYData || !pDst) return ZubStatusNullPointer;                      \
        table[biIndex(mcTypeF, mcTypeB, roundControl)](h, pSrcRefF, srcStepF, mcTypeF, pSrcRefB, srcStepB,   \
                                                       mcTypeB, pSrcYData, srcYDataStep, pDst, dstStep,      \
                                                       roundControl);                                        \
        return ZubStatusOk;                                                                                  \
    }
#define ZUB_MCL_ONE(n, table)                                                                                 \
    ZubStatus zubiMC##n##_8u_C1(const Zub8u* pSrcRef, Zub32s srcStep, const Zub16s* pSrcYData,               \
                                Zub32s srcYDataStep, Zub8u* pDst, Zub32s dstStep, Zub32s mcType,             \
                                Zub32s roundControl) {                                                       \
        if (!pSrcRef || !pSrcYData || !pDst) return ZubStatusNullPointer;                                    \
        table[mcType & 12](pSrcRef, srcStep, pSrcYData, srcYDataStep, pDst, dstStep, roundControl);          \
        return ZubStatusOk;                                                                                  \
    }
#define ZUB_MCL_BI(n, table)                                                                                  \
    ZubStatus zubiMC##n##_8u_C1(const Zub8u* pSrcRefF, Zub32s srcStepF, Zub32s mcTypeF,                      \
                                const Zub8u* pSrcRefB, Zub32s srcStepB, Zub32s mcTypeB,                      \
                                const Zub16s* pSrcYData, Zub32s srcYDataStep, Zub8u* pDst, Zub32s dstStep,   \
                                Zub32s roundControl) {                                                       \
        if (!pSrcRefF || !pSrcRefB || !pSrcYData || !pDst) return ZubStatusNullPointer;                      \
        table[positionIndex(mcTypeF) + 4 * positionIndex(mcTypeB)](pSrcRefF, srcStepF, pSrcRefB, srcStepB,   \
                                                                   pSrcYData, srcYDataStep, pDst, dstStep,   \
                                                                   roundControl);                            \
        return ZubStatusOk;                                                                                  \
    }

ZUB_MC_ONE(16x16, MC16xHFunctionTable, 16)
ZUB_MC_ONE(16x8, MC16xHFunctionTable, 8)
ZUB_MC_ONE(16x4, MC16xHFunctionTable, 4)
ZUB_MC_ONE(8x16, MC8xHFunctionTable, 16)
ZUB_MC_ONE(8x8, MC8xHFunctionTable, 8)
ZUB_MC_ONE(8x4, MC8xHFunctionTable, 4)
ZUB_MC_ONE(16x8UV, MC16xHUVFunctionTable, 8)
ZUB_MC_BI(16x16B, MC16xHBFunctionTable, 16)
ZUB_MC_BI(16x8B, MC16xHBFunctionTable, 8)
ZUB_MC_BI(16x4B, MC16xHBFunctionTable, 4)
ZUB_MC_BI(8x16B, MC8xHBFunctionTable, 16)
ZUB_MC_BI(8x8B, MC8xHBFunctionTable, 8)
ZUB_MC_BI(8x4B, MC8xHBFunctionTable, 4)
ZUB_MC_BI(16x8BUV, MC16xHUVBFunctionTable, 8)
ZUB_MCL_ONE(2x2, MC2x2FnTbl)
ZUB_MCL_ONE(2x4, MC2x4FnTbl)
ZUB_MCL_ONE(4x2, MC4x2FnTbl)
ZUB_MCL_ONE(4x4, MC4x4FnTbl)
ZUB_MCL_ONE(4x8, MC4x8FnTbl)
ZUB_MCL_BI(2x2B, MC2x2BFnTbl)
ZUB_MCL_BI(2x4B, MC2x4BFnTbl)
ZUB_MCL_BI(4x2B, MC4x2BFnTbl)
ZUB_MCL_BI(4x4B, MC4x4BFnTbl)
ZUB_MCL_BI(4x8B, MC4x8BFnTbl)

// ---- Copies, averages, residual adds ----------------------------------------

#define ZUB_COPY(W)                                                                                           \
    ZubStatus zubiCopy##W##x##W##_8u_C1R(const Zub8u* pSrc, Zub32s srcStep, Zub8u* pDst, Zub32s dstStep) {     \
        if (!pSrc || !pDst) return ZubStatusNullPointer;                                                     \
        block<W, 1, 0, 0, Combine::Copy>(W, pSrc, srcStep, nullptr, 0, nullptr, 0, pDst, dstStep, 0);        \
        return ZubStatusOk;                                                                                  \
    }
ZUB_COPY(8)
ZUB_COPY(16)

#define ZUB_COPY_HP(n, table)                                                                                 \
    ZubStatus zubiCopy##n##HP_8u_C1R(const Zub8u* pSrc, Zub32s srcStep, Zub8u* pDst, Zub32s dstStep,          \
                                     Zub32s acc, Zub32s rounding) {                                          \
        if (!pSrc || !pDst) return ZubStatusNullPointer;                                                     \
        table[(rounding & 1) + 2 * (acc & 3)](pSrc, srcStep, pDst, dstStep);                                 \
        return ZubStatusOk;                                                                                  \
    }
ZUB_COPY_HP(8x4, ownvc_Copy8x4HP_8u_C1R)
ZUB_COPY_HP(8x8, ownvc_Copy8x8HP_8u_C1R)
ZUB_COPY_HP(16x8, ownvc_Copy16x8HP_8u_C1R)
ZUB_COPY_HP(16x16, ownvc_Copy16x16HP_8u_C1R)

#define ZUB_AVERAGE(W)                                                                                        \
    ZubStatus zubiAverage##W##x##W##_8u_C1R(const Zub8u* pSrc1, Zub32s src1Step, const Zub8u* pSrc2,         \
                                            Zub32s src2Step, Zub8u* pDst, Zub32s dstStep) {                  \
        if (!pSrc1 || !pSrc2 || !pDst) return ZubStatusNullPointer;                                          \
        block<W, 1, 0, 0, Combine::Bi>(W, pSrc1, src1Step, pSrc2, src2Step, nullptr, 0, pDst, dstStep, 0);   \
        return ZubStatusOk;                                                                                  \
    }                                                                                                        \
    ZubStatus zubiAverage##W##x##W##_8u_C1IR(const Zub8u* pSrc, Zub32s srcStep, Zub8u* pSrcDst,              \
                                             Zub32s srcDstStep) {                                            \
        if (!pSrc || !pSrcDst) return ZubStatusNullPointer;                                                  \
        block<W, 1, 0, 0, Combine::AvgDst>(W, pSrc, srcStep, nullptr, 0, nullptr, 0, pSrcDst, srcDstStep, 0); \
        return ZubStatusOk;                                                                                  \
    }
ZUB_AVERAGE(8)
ZUB_AVERAGE(16)

#define ZUB_INTERPOLATE_AVERAGE(W, H)                                                                         \
    ZubStatus zubiInterpolateAverage##W##x##H##_8u_C1IR(const Zub8u* pSrc, Zub32s srcStep, Zub8u* pSrcDst,   \
                                                        Zub32s srcDstStep, Zub32s acc, Zub32s rounding) {    \
        if (!pSrc || !pSrcDst) return ZubStatusNullPointer;                                                  \
        byPosition<W, Combine::AvgDst>(accuracyIndex(acc))(H, pSrc, srcStep, nullptr, 0, nullptr, 0,       \
                                                             pSrcDst, srcDstStep, rounding);                 \
        return ZubStatusOk;                                                                                  \
    }
ZUB_INTERPOLATE_AVERAGE(8, 4)
ZUB_INTERPOLATE_AVERAGE(8, 8)
ZUB_INTERPOLATE_AVERAGE(16, 8)
ZUB_INTERPOLATE_AVERAGE(16, 16)

ZubStatus zubiAdd8x8_16s8u_C1IRS(const Zub16s* pSrc, Zub32s srcStep, Zub8u* pSrcDst, Zub32s srcDstStep) {
    if (!pSrc || !pSrcDst) return ZubStatusNullPointer;
    block<8, 1, 0, 0, Combine::AddDst>(8, nullptr, 0, nullptr, 0, pSrc, srcStep, pSrcDst, srcDstStep, 0);
    return ZubStatusOk;
}

ZubStatus zubiAdd8x8HP_16s8u_C1RS(const Zub16s* pSrc1, Zub32s src1Step, const Zub8u* pSrc2, Zub32s src2Step,
                                  Zub8u* pDst, Zub32s dstStep, Zub32s acc, Zub32s rounding) {
    if (!pSrc1 || !pSrc2 || !pDst) return ZubStatusNullPointer;
    byPosition<8, Combine::Add>(accuracyIndex(acc))(8, pSrc2, src2Step, nullptr, 0, pSrc1, src1Step, pDst, dstStep,
                                                     rounding);
    return ZubStatusOk;
}
