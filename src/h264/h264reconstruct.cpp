// H.264 residual reconstruction: 4x4 dequantisation, inverse transform and
// prediction add for single blocks and whole macroblocks (clauses 8.5.10 to
// 8.5.14).
#include <cstdint>

#include "../common/sample.h"
#include "h264itransform.h"
#include "zubvc.h"

using namespace zub::h264;

namespace {

constexpr int kMaxQp8 = 51;
constexpr int kMaxQpHigh = 87;
constexpr int kMaxChromaQp = 39;

bool qpOk(int qp, int maxQp) { return qp >= 0 && qp <= maxQp; }

// The luma blocks of cbp4x4 at dst, coefficients taken from *coef in order;
// dc (raster of the 4x4 grid, Intra16x16) may be null.
void lumaResidual(const Zub16s*& coef, const Zub16s* dc, Zub8u* dst, int step, Zub32u cbp4x4, int qp) {
    for (int n = 0; n < 16; ++n) {
        const int x = lumaBlockX(n), y = lumaBlockY(n);
        const Zub16s* blockDc = dc ? dc + (y & 12) + (x >> 2) : nullptr;
        Zub8u* d = dst + y * step + x;
        if (cbp4x4 & (1u << n)) {
            reconstruct4x4<Zub16s, Zub8u>(coef, blockDc, qp, d, step, 255);
            coef += 16;
        } else if (blockDc) {
            addDcOnly4x4<Zub8u>(*blockDc, d, step, 255);
        }
    }
}

// One 8x8 chroma block of 4:2:0: DC from dc[0..3], AC blocks by bits 0..3.
void chromaResidual(const Zub16s*& coef, const Zub16s* dc, Zub8u* dst, int step, Zub32u bits, int qp) {
    for (int n = 0; n < 4; ++n) {
        Zub8u* d = dst + (n >> 1) * 4 * step + (n & 1) * 4;
        if (bits & (1u << n)) {
            reconstruct4x4<Zub16s, Zub8u>(coef, dc + n, qp, d, step, 255);
            coef += 16;
        } else {
            addDcOnly4x4<Zub8u>(dc[n], d, step, 255);
        }
    }
}

}  // namespace

ZubStatus zubiTransformQuantInvAddPred4x4_H264_16s_C1IR(const Zub16s* pCoeffs, const Zub16s* pDC, Zub8u* pSrcDst,
                                                        int srcDstStep, int qp) {
    if (!pSrcDst || (!pCoeffs && !pDC)) return ZubStatusNullPointer;
    if (srcDstStep < 4) return ZubStatusBadStep;
    if (!qpOk(qp, kMaxQp8)) return ZubStatusOutOfRange;
    reconstruct4x4<Zub16s, Zub8u>(pCoeffs, pDC, qp, pSrcDst, srcDstStep, 255);
    return ZubStatusOk;
}

ZubStatus zubiTransformQuantInvAddPred4x4_H264_32s_C1IR(const Zub32s* pCoeffs, const Zub32s* pDC, Zub16u* pSrcDst,
                                                        int srcDstStep, int qp, int bitDepth) {
    if (!pSrcDst || (!pCoeffs && !pDC)) return ZubStatusNullPointer;
    if (srcDstStep < 4) return ZubStatusBadStep;
    if (!qpOk(qp, kMaxQpHigh) || bitDepth < 8 || bitDepth > 14) return ZubStatusOutOfRange;
    reconstruct4x4<Zub32s, Zub16u>(pCoeffs, pDC, qp, pSrcDst, srcDstStep, (1 << bitDepth) - 1);
    return ZubStatusOk;
}

ZubStatus zubiDequantTransformResidual_H264_16s_C1I(Zub16s* pSrcDst, const Zub16s* pDC, int qp) {
    if (!pSrcDst) return ZubStatusNullPointer;
    if (!qpOk(qp, kMaxQp8)) return ZubStatusOutOfRange;
    uint32_t d[16];
    int32_t r[16];
    dequant4x4<Zub16s>(pSrcDst, pDC, qp, d);
    inverse4x4(d, r);
    for (int i = 0; i < 16; ++i) pSrcDst[i] = static_cast<Zub16s>(r[i]);
    return ZubStatusOk;
}

ZubStatus zubiReconstructLumaInter4x4MB_H264_16s8u_C1R(Zub16s** ppSrcCoeff, Zub8u* pSrcDst, int srcDstStep,
                                                      Zub32u cbp4x4, int qp) {
    if (!ppSrcCoeff || !pSrcDst || !*ppSrcCoeff) return ZubStatusNullPointer;
    if (srcDstStep < 16) return ZubStatusBadStep;
    if (!qpOk(qp, kMaxQp8)) return ZubStatusOutOfRange;
    const Zub16s* coef = *ppSrcCoeff;
    lumaResidual(coef, nullptr, pSrcDst, srcDstStep, cbp4x4 & 0xFFFFu, qp);
    *ppSrcCoeff = const_cast<Zub16s*>(coef);
    return ZubStatusOk;
}

ZubStatus zubiReconstructChromaInterMB_H264_16s8u_P2R(Zub16s** ppSrcCoeff, Zub8u* pSrcDstU, Zub8u* pSrcDstV,
                                                     int srcDstStep, const Zub16s* pDC, Zub32u cbp4x4, int qpU,
                                                     int qpV) {
    if (!ppSrcCoeff || !pSrcDstU || !pSrcDstV || !pDC || !*ppSrcCoeff) return ZubStatusNullPointer;
    if (srcDstStep < 8) return ZubStatusBadStep;
    if (!qpOk(qpU, kMaxChromaQp) || !qpOk(qpV, kMaxChromaQp)) return ZubStatusOutOfRange;
    const Zub16s* coef = *ppSrcCoeff;
    chromaResidual(coef, pDC, pSrcDstU, srcDstStep, cbp4x4 & 15u, qpU);
    chromaResidual(coef, pDC + 4, pSrcDstV, srcDstStep, (cbp4x4 >> 4) & 15u, qpV);
    *ppSrcCoeff = const_cast<Zub16s*>(coef);
    return ZubStatusOk;
}

namespace {

// Neighbour flags of the intra prediction functions for luma4x4BlkIdx n,
// from the macroblock-level availability: inside the macroblock a neighbour
// exists when it was reconstructed before block n (clause 6.4.11.4).
constexpr int kAbove = 1, kLeft = 2, kAboveLeft = 32, kAboveRight = 64;

constexpr int blockIndexAt(int bx, int by) { return (by >> 1) * 8 + (bx >> 1) * 4 + (by & 1) * 2 + (bx & 1); }

int intra4x4Flags(int n, int mbAvail) {
    const int bx = lumaBlockX(n) >> 2, by = lumaBlockY(n) >> 2;
    int f = 0;
    if (by > 0 || (mbAvail & kAbove)) f |= kAbove;
    if (bx > 0 || (mbAvail & kLeft)) f |= kLeft;
    if (bx > 0 && by > 0) f |= kAboveLeft;
    else if (by == 0 && bx > 0) f |= (mbAvail & kAbove) ? kAboveLeft : 0;
    else if (bx == 0 && by > 0) f |= (mbAvail & kLeft) ? kAboveLeft : 0;
    else f |= mbAvail & kAboveLeft;
    if (by == 0) f |= (bx < 3 ? (mbAvail & kAbove) : (mbAvail & kAboveRight)) ? kAboveRight : 0;
    else if (bx < 3 && blockIndexAt(bx + 1, by - 1) < n) f |= kAboveRight;
    return f;
}

}  // namespace

ZubStatus zubiReconstructLumaIntraMB_H264_16s8u_C1R(Zub16s** ppSrcCoeff, Zub8u* pSrcDst, int srcDstStep,
                                                   const Zub8u* pModes, Zub32u cbp4x4, int qp, int availability) {
    if (!ppSrcCoeff || !pSrcDst || !pModes || !*ppSrcCoeff) return ZubStatusNullPointer;
    if (srcDstStep < 16) return ZubStatusBadStep;
    for (int n = 0; n < 16; ++n)
        if (pModes[n] > 8) return ZubStatusOutOfRange;
    if (!qpOk(qp, kMaxQp8)) return ZubStatusOutOfRange;
    const Zub16s* coef = *ppSrcCoeff;
    ZubStatus result = ZubStatusOk;
    for (int n = 0; n < 16; ++n) {
        Zub8u* d = pSrcDst + lumaBlockY(n) * srcDstStep + lumaBlockX(n);
        const ZubStatus st = zubiPredictIntra_4x4_H264_8u_C1IR(d, srcDstStep, pModes[n], intra4x4Flags(n, availability));
        if (st > 0) result = st;
        if (cbp4x4 & (1u << n)) {
            reconstruct4x4<Zub16s, Zub8u>(coef, nullptr, qp, d, srcDstStep, 255);
            coef += 16;
        }
    }
    *ppSrcCoeff = const_cast<Zub16s*>(coef);
    return result;
}

ZubStatus zubiReconstructLumaIntra16x16MB_H264_16s8u_C1R(Zub16s** ppSrcCoeff, Zub8u* pSrcDst, int srcDstStep,
                                                        int predMode, const Zub16s* pDC, Zub32u cbp4x4, int qp,
                                                        int availability) {
    if (!ppSrcCoeff || !pSrcDst || !pDC || !*ppSrcCoeff) return ZubStatusNullPointer;
    if (srcDstStep < 16) return ZubStatusBadStep;
    if (predMode < 0 || predMode > 3 || !qpOk(qp, kMaxQp8)) return ZubStatusOutOfRange;
    const ZubStatus st = zubiPredictIntra_16x16_H264_8u_C1IR(pSrcDst, srcDstStep, predMode, availability);
    if (st < 0) return st;
    const Zub16s* coef = *ppSrcCoeff;
    lumaResidual(coef, pDC, pSrcDst, srcDstStep, cbp4x4 & 0xFFFFu, qp);
    *ppSrcCoeff = const_cast<Zub16s*>(coef);
    return ZubStatusOk;
}

ZubStatus zubiReconstructChromaIntraMB_H264_16s8u_P2R(Zub16s** ppSrcCoeff, Zub8u* pSrcDstU, Zub8u* pSrcDstV,
                                                     int srcDstStep, int predMode, const Zub16s* pDC, Zub32u cbp4x4,
                                                     int qpU, int qpV, int availability) {
    if (!ppSrcCoeff || !pSrcDstU || !pSrcDstV || !pDC || !*ppSrcCoeff) return ZubStatusNullPointer;
    if (srcDstStep < 8) return ZubStatusBadStep;
    if (predMode < 0 || predMode > 3 || !qpOk(qpU, kMaxChromaQp) || !qpOk(qpV, kMaxChromaQp))
        return ZubStatusOutOfRange;
    // Both planes need the same neighbours: when U is refused, nothing is written.
    ZubStatus st = zubiPredictIntraChroma8x8_H264_8u_C1IR(pSrcDstU, srcDstStep, predMode, availability);
    if (st < 0) return st;
    zubiPredictIntraChroma8x8_H264_8u_C1IR(pSrcDstV, srcDstStep, predMode, availability);
    const Zub16s* coef = *ppSrcCoeff;
    chromaResidual(coef, pDC, pSrcDstU, srcDstStep, cbp4x4 & 15u, qpU);
    chromaResidual(coef, pDC + 4, pSrcDstV, srcDstStep, (cbp4x4 >> 4) & 15u, qpV);
    *ppSrcCoeff = const_cast<Zub16s*>(coef);
    return ZubStatusOk;
}
