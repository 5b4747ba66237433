// H.264 residual reconstruction: 4x4 dequantisation, inverse transform and
// prediction add for single blocks and whole macroblocks (clauses 8.5.10 to
// 8.5.14).
#include <cstdint>

#include "../common/sample.h"
#include "h264intra8x8.h"
#include "h264itransform.h"
#include "zubvc.h"

using namespace zub::h264;

namespace {

constexpr int kMaxQp8 = 51;
constexpr int kMaxQpHigh = 87;
constexpr int kMaxChromaQp = 39;

bool qpOk(int qp, int maxQp) { return qp >= 0 && qp <= maxQp; }
bool bitDepthOk(int bitDepth) { return bitDepth >= 8 && bitDepth <= 14; }

// A caller's level scales (LevelScale4x4 or LevelScale8x8 of one qP % 6, raster
// order) widened once per call; get() is null for the flat matrix.
template <int N>
class LevelScale {
public:
    explicit LevelScale(const Zub16s* p) : given_(p != nullptr) {
        if (p)
            for (int i = 0; i < N; ++i) v_[i] = p[i];
    }
    const int32_t* get() const { return given_ ? v_ : nullptr; }

private:
    bool given_;
    int32_t v_[N];
};

// The luma blocks of cbp4x4 at dst, coefficients taken from *coef in order;
// dc (raster of the 4x4 grid, Intra16x16) may be null.
template <class Coef, class Pixel>
void lumaResidual(const Coef*& coef, const Coef* dc, Pixel* dst, int step, Zub32u cbp4x4, int qp, int maxVal,
                  const int32_t* ls = nullptr) {
    for (int n = 0; n < 16; ++n) {
        const int x = lumaBlockX(n), y = lumaBlockY(n);
        const Coef* blockDc = dc ? dc + (y & 12) + (x >> 2) : nullptr;
        Pixel* d = dst + y * step + x;
        if (cbp4x4 & (1u << n)) {
            reconstruct4x4<Coef, Pixel>(coef, blockDc, qp, d, step, maxVal, ls);
            coef += 16;
        } else if (blockDc) {
            addDcOnly4x4<Pixel>(*blockDc, d, step, maxVal);
        }
    }
}

// The 8x8 luma blocks of cbp8x8 (bits 0..3, raster order) at dst.
template <class Coef, class Pixel>
void luma8x8Residual(const Coef*& coef, Pixel* dst, int step, Zub32u cbp8x8, int qp, int maxVal, const int32_t* ls) {
    for (int b = 0; b < 4; ++b)
        if (cbp8x8 & (1u << b)) {
            reconstruct8x8<Coef, Pixel>(coef, qp, dst + (b >> 1) * 8 * step + (b & 1) * 8, step, maxVal, ls);
            coef += 64;
        }
}

// One chroma block of 4:2:0 (8x8, blocks = 4) or 4:2:2 (8x16, blocks = 8):
// DC from dc[0..blocks - 1], AC blocks by the low bits of `bits`, 4x4 blocks
// in raster order.
template <class Coef, class Pixel>
void chromaResidual(const Coef*& coef, const Coef* dc, Pixel* dst, int step, Zub32u bits, int blocks, int qp,
                    int maxVal, const int32_t* ls) {
    for (int n = 0; n < blocks; ++n) {
        Pixel* d = dst + (n >> 1) * 4 * step + (n & 1) * 4;
        if (bits & (1u << n)) {
            reconstruct4x4<Coef, Pixel>(coef, dc + n, qp, d, step, maxVal, ls);
            coef += 16;
        } else {
            addDcOnly4x4<Pixel>(dc[n], d, step, maxVal);
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
    if (!qpOk(qp, kMaxQpHigh) || !bitDepthOk(bitDepth)) return ZubStatusOutOfRange;
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

ZubStatus zubiTransformQuantInvAddPred8x8_H264_16s_C1IR(const Zub16s* pCoeffs, Zub8u* pSrcDst, int srcDstStep, int qp,
                                                        const Zub16s* pLevelScale) {
    if (!pCoeffs || !pSrcDst) return ZubStatusNullPointer;
    if (srcDstStep < 8) return ZubStatusBadStep;
    if (!qpOk(qp, kMaxQp8)) return ZubStatusOutOfRange;
    const LevelScale<64> ls(pLevelScale);
    reconstruct8x8<Zub16s, Zub8u>(pCoeffs, qp, pSrcDst, srcDstStep, 255, ls.get());
    return ZubStatusOk;
}

ZubStatus zubiTransformQuantInvAddPred8x8_H264_32s_C1IR(const Zub32s* pCoeffs, Zub16u* pSrcDst, int srcDstStep, int qp,
                                                        const Zub16s* pLevelScale, int bitDepth) {
    if (!pCoeffs || !pSrcDst) return ZubStatusNullPointer;
    if (srcDstStep < 8) return ZubStatusBadStep;
    if (!qpOk(qp, kMaxQpHigh) || !bitDepthOk(bitDepth)) return ZubStatusOutOfRange;
    const LevelScale<64> ls(pLevelScale);
    reconstruct8x8<Zub32s, Zub16u>(pCoeffs, qp, pSrcDst, srcDstStep, (1 << bitDepth) - 1, ls.get());
    return ZubStatusOk;
}

namespace {

// Transform bypass (clause 8.5.15): the residual is the coefficients
// themselves, accumulated down the columns after vertical intra prediction
// and along the rows after horizontal prediction.  Sums wrap modulo 2^32.
template <class Coef, class Pixel>
ZubStatus bypassAdd(const Coef* r, Pixel* dst, int step, ZubSize size, int predDir, int bitDepth) {
    if (!r || !dst) return ZubStatusNullPointer;
    auto sizeOk = [](int n) { return n == 4 || n == 8 || n == 16; };
    if (!sizeOk(size.width) || !sizeOk(size.height)) return ZubStatusBadSize;
    if (step < size.width) return ZubStatusBadStep;
    if (predDir < 0 || predDir > 2 || !bitDepthOk(bitDepth)) return ZubStatusOutOfRange;
    const int w = size.width, maxVal = (1 << bitDepth) - 1;
    uint32_t column[16] = {};
    for (int y = 0; y < size.height; ++y, dst += step, r += w) {
        uint32_t row = 0;
        for (int x = 0; x < w; ++x) {
            uint32_t v = static_cast<uint32_t>(static_cast<int32_t>(r[x]));
            if (predDir == ZubBypassVertical) v = column[x] += v;
            else if (predDir == ZubBypassHorizontal) v = row += v;
            const int64_t sum = int64_t{dst[x]} + static_cast<int32_t>(v);
            dst[x] = static_cast<Pixel>(sum < 0 ? 0 : (sum > maxVal ? maxVal : sum));
        }
    }
    return ZubStatusOk;
}

}  // namespace

ZubStatus zubiTransformBypassAddPred_H264_16s8u_C1IR(const Zub16s* pResidual, Zub8u* pSrcDst, int srcDstStep,
                                                     ZubSize roiSize, int predDir) {
    return bypassAdd(pResidual, pSrcDst, srcDstStep, roiSize, predDir, 8);
}

ZubStatus zubiTransformBypassAddPred_H264_32s16u_C1IR(const Zub32s* pResidual, Zub16u* pSrcDst, int srcDstStep,
                                                      ZubSize roiSize, int predDir, int bitDepth) {
    return bypassAdd(pResidual, pSrcDst, srcDstStep, roiSize, predDir, bitDepth);
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

// The same for 8x8 block b (raster order) of an Intra_8x8 macroblock
// (clause 6.4.11.2): block 1's above-right samples come from the macroblock
// above-right, block 2's from block 1, block 3 has none.
int intra8x8Flags(int b, int mbAvail) {
    int f = 0;
    if (b >= 2 || (mbAvail & kAbove)) f |= kAbove;
    if ((b & 1) || (mbAvail & kLeft)) f |= kLeft;
    constexpr int kCornerFrom[4] = {kAboveLeft, kAbove, kLeft, 0};
    if (b == 3 || (mbAvail & kCornerFrom[b])) f |= kAboveLeft;
    constexpr int kRightFrom[4] = {kAbove, kAboveRight, 0, -1};
    if (b == 2 || (b < 2 && (mbAvail & kRightFrom[b]))) f |= kAboveRight;
    return f;
}

template <class Coef, class Pixel>
ZubStatus lumaInterMB(Coef** ppSrcCoeff, Pixel* pSrcDst, int srcDstStep, Zub32u cbp, int qp, const Zub16s* pLevelScale,
                      int transform8x8, int maxQp, int bitDepth) {
    if (!ppSrcCoeff || !pSrcDst || !*ppSrcCoeff) return ZubStatusNullPointer;
    if (srcDstStep < 16) return ZubStatusBadStep;
    if (!qpOk(qp, maxQp) || !bitDepthOk(bitDepth)) return ZubStatusOutOfRange;
    const Coef* coef = *ppSrcCoeff;
    const int maxVal = (1 << bitDepth) - 1;
    if (transform8x8) {
        const LevelScale<64> ls(pLevelScale);
        luma8x8Residual(coef, pSrcDst, srcDstStep, cbp & 15u, qp, maxVal, ls.get());
    } else {
        const LevelScale<16> ls(pLevelScale);
        lumaResidual(coef, static_cast<const Coef*>(nullptr), pSrcDst, srcDstStep, cbp & 0xFFFFu, qp, maxVal, ls.get());
    }
    *ppSrcCoeff = const_cast<Coef*>(coef);
    return ZubStatusOk;
}

template <class Coef, class Pixel, class Predict>
ZubStatus lumaIntra8x8MB(Coef** ppSrcCoeff, Pixel* pSrcDst, int srcDstStep, const Zub8u* pModes, Zub32u cbp8x8, int qp,
                         const Zub16s* pLevelScale, int availability, int maxQp, int bitDepth, Predict predict) {
    if (!ppSrcCoeff || !pSrcDst || !pModes || !*ppSrcCoeff) return ZubStatusNullPointer;
    if (srcDstStep < 16) return ZubStatusBadStep;
    for (int b = 0; b < 4; ++b)
        if (pModes[b] > 8) return ZubStatusOutOfRange;
    if (!qpOk(qp, maxQp) || !bitDepthOk(bitDepth)) return ZubStatusOutOfRange;
    // Every block's neighbours are checked before the first one is written.
    for (int b = 0; b < 4; ++b) {
        const int need = kIntraNxNNeeds[pModes[b]];
        if ((intra8x8Flags(b, availability) & need) != need) return ZubStatusNeighbourUnavailable;
    }
    const LevelScale<64> ls(pLevelScale);
    const Coef* coef = *ppSrcCoeff;
    for (int b = 0; b < 4; ++b) {
        Pixel* d = pSrcDst + (b >> 1) * 8 * srcDstStep + (b & 1) * 8;
        predict(d, srcDstStep, pModes[b], intra8x8Flags(b, availability));
        if (cbp8x8 & (1u << b)) {
            reconstruct8x8<Coef, Pixel>(coef, qp, d, srcDstStep, (1 << bitDepth) - 1, ls.get());
            coef += 64;
        }
    }
    *ppSrcCoeff = const_cast<Coef*>(coef);
    return ZubStatusOk;
}

}  // namespace

ZubStatus zubiReconstructLumaInterMB_H264High_16s8u_C1R(Zub16s** ppSrcCoeff, Zub8u* pSrcDst, int srcDstStep,
                                                       Zub32u cbp, int qp, const Zub16s* pLevelScale,
                                                       int transform8x8) {
    return lumaInterMB(ppSrcCoeff, pSrcDst, srcDstStep, cbp, qp, pLevelScale, transform8x8, kMaxQp8, 8);
}

ZubStatus zubiReconstructLumaInterMB_H264High_32s16u_C1R(Zub32s** ppSrcCoeff, Zub16u* pSrcDst, int srcDstStep,
                                                        Zub32u cbp, int qp, const Zub16s* pLevelScale,
                                                        int transform8x8, int bitDepth) {
    return lumaInterMB(ppSrcCoeff, pSrcDst, srcDstStep, cbp, qp, pLevelScale, transform8x8, kMaxQpHigh, bitDepth);
}

ZubStatus zubiReconstructLumaIntra8x8MB_H264High_16s8u_C1R(Zub16s** ppSrcCoeff, Zub8u* pSrcDst, int srcDstStep,
                                                          const Zub8u* pModes, Zub32u cbp8x8, int qp,
                                                          const Zub16s* pLevelScale, int availability) {
    return lumaIntra8x8MB(ppSrcCoeff, pSrcDst, srcDstStep, pModes, cbp8x8, qp, pLevelScale, availability, kMaxQp8, 8,
                          [](Zub8u* d, int s, int m, int a) { zubiPredictIntra_8x8_H264_8u_C1IR(d, s, m, a); });
}

ZubStatus zubiReconstructLumaIntra8x8MB_H264High_32s16u_C1R(Zub32s** ppSrcCoeff, Zub16u* pSrcDst, int srcDstStep,
                                                           const Zub8u* pModes, Zub32u cbp8x8, int qp,
                                                           const Zub16s* pLevelScale, int availability, int bitDepth) {
    return lumaIntra8x8MB(
        ppSrcCoeff, pSrcDst, srcDstStep, pModes, cbp8x8, qp, pLevelScale, availability, kMaxQpHigh, bitDepth,
        [bitDepth](Zub16u* d, int s, int m, int a) { zubiPredictIntra_8x8_H264_16u_C1IR(d, s, m, a, bitDepth); });
}

namespace {

template <class Coef, class Pixel, class Predict>
ZubStatus lumaIntra4x4MB(Coef** ppSrcCoeff, Pixel* pSrcDst, int srcDstStep, const Zub8u* pModes, Zub32u cbp4x4, int qp,
                         const Zub16s* pLevelScale, int availability, int maxQp, int bitDepth, Predict predict) {
    if (!ppSrcCoeff || !pSrcDst || !pModes || !*ppSrcCoeff) return ZubStatusNullPointer;
    if (srcDstStep < 16) return ZubStatusBadStep;
    for (int n = 0; n < 16; ++n)
        if (pModes[n] > 8) return ZubStatusOutOfRange;
    if (!qpOk(qp, maxQp) || !bitDepthOk(bitDepth)) return ZubStatusOutOfRange;
    const LevelScale<16> ls(pLevelScale);
    const Coef* coef = *ppSrcCoeff;
    ZubStatus result = ZubStatusOk;
    for (int n = 0; n < 16; ++n) {
        Pixel* d = pSrcDst + lumaBlockY(n) * srcDstStep + lumaBlockX(n);
        const ZubStatus st = predict(d, srcDstStep, pModes[n], intra4x4Flags(n, availability));
        if (st > 0) result = st;
        if (cbp4x4 & (1u << n)) {
            reconstruct4x4<Coef, Pixel>(coef, nullptr, qp, d, srcDstStep, (1 << bitDepth) - 1, ls.get());
            coef += 16;
        }
    }
    *ppSrcCoeff = const_cast<Coef*>(coef);
    return result;
}

template <class Coef, class Pixel, class Predict>
ZubStatus lumaIntra16x16MB(Coef** ppSrcCoeff, Pixel* pSrcDst, int srcDstStep, int predMode, const Coef* pDC,
                           Zub32u cbp4x4, int qp, const Zub16s* pLevelScale, int availability, int maxQp, int bitDepth,
                           Predict predict) {
    if (!ppSrcCoeff || !pSrcDst || !pDC || !*ppSrcCoeff) return ZubStatusNullPointer;
    if (srcDstStep < 16) return ZubStatusBadStep;
    if (predMode < 0 || predMode > 3 || !qpOk(qp, maxQp) || !bitDepthOk(bitDepth)) return ZubStatusOutOfRange;
    const ZubStatus st = predict(pSrcDst, srcDstStep, predMode, availability);
    if (st < 0) return st;
    const LevelScale<16> ls(pLevelScale);
    const Coef* coef = *ppSrcCoeff;
    lumaResidual(coef, pDC, pSrcDst, srcDstStep, cbp4x4 & 0xFFFFu, qp, (1 << bitDepth) - 1, ls.get());
    *ppSrcCoeff = const_cast<Coef*>(coef);
    return ZubStatusOk;
}

// Chroma macroblocks: blocks = 4 (4:2:0) or 8 (4:2:2) per plane; the AC
// bits of U are the low `blocks` bits of cbp, those of V the next ones.
// Intra macroblocks are first predicted with predict(plane, mode, availability).
template <class Coef, class Pixel, class Predict>
ZubStatus chromaMB(Coef** ppSrcCoeff, Pixel* pSrcDstU, Pixel* pSrcDstV, int srcDstStep, bool intra, int predMode,
                   const Coef* pDC,
                   Zub32u cbp, int qpU, int qpV, const Zub16s* pLevelScaleU, const Zub16s* pLevelScaleV,
                   int availability, int blocks, int maxQp, int bitDepth, Predict predict) {
    if (!ppSrcCoeff || !pSrcDstU || !pSrcDstV || !pDC || !*ppSrcCoeff) return ZubStatusNullPointer;
    if (srcDstStep < 8) return ZubStatusBadStep;
    if ((intra && (predMode < 0 || predMode > 3)) || !qpOk(qpU, maxQp) || !qpOk(qpV, maxQp) || !bitDepthOk(bitDepth))
        return ZubStatusOutOfRange;
    if (intra) {
        // Both planes need the same neighbours: when U is refused, nothing is written.
        const ZubStatus st = predict(pSrcDstU, predMode, availability);
        if (st < 0) return st;
        predict(pSrcDstV, predMode, availability);
    }
    const LevelScale<16> lsU(pLevelScaleU), lsV(pLevelScaleV);
    const Coef* coef = *ppSrcCoeff;
    const Zub32u mask = (1u << blocks) - 1u;
    const int maxVal = (1 << bitDepth) - 1;
    chromaResidual(coef, pDC, pSrcDstU, srcDstStep, cbp & mask, blocks, qpU, maxVal, lsU.get());
    chromaResidual(coef, pDC + blocks, pSrcDstV, srcDstStep, (cbp >> blocks) & mask, blocks, qpV, maxVal, lsV.get());
    *ppSrcCoeff = const_cast<Coef*>(coef);
    return ZubStatusOk;
}

constexpr int kMaxChromaQpHigh = 75;

// The prediction functions as the templates call them.
auto pred4x4_8u(Zub8u* d, int s, int m, int a) { return zubiPredictIntra_4x4_H264_8u_C1IR(d, s, m, a); }
auto pred16x16_8u(Zub8u* d, int s, int m, int a) { return zubiPredictIntra_16x16_H264_8u_C1IR(d, s, m, a); }
auto chroma420_8u(int s) {
    return [s](Zub8u* d, int m, int a) { return zubiPredictIntraChroma8x8_H264_8u_C1IR(d, s, m, a); };
}
auto chroma422_8u(int s) {
    return [s](Zub8u* d, int m, int a) { return zubiPredictIntraChroma8x16_H264_8u_C1IR(d, s, m, a); };
}
auto chroma420_16u(int s, int bitDepth) {
    return [s, bitDepth](Zub16u* d, int m, int a) {
        return zubiPredictIntraChroma8x8_H264_16u_C1IR(d, s, m, a, bitDepth);
    };
}
auto chroma422_16u(int s, int bitDepth) {
    return [s, bitDepth](Zub16u* d, int m, int a) {
        return zubiPredictIntraChroma8x16_H264_16u_C1IR(d, s, m, a, bitDepth);
    };
}

}  // namespace

ZubStatus zubiReconstructLumaIntra4x4MB_H264High_16s8u_C1R(Zub16s** ppSrcCoeff, Zub8u* pSrcDst, int srcDstStep,
                                                          const Zub8u* pModes, Zub32u cbp4x4, int qp,
                                                          const Zub16s* pLevelScale, int availability) {
    return lumaIntra4x4MB(ppSrcCoeff, pSrcDst, srcDstStep, pModes, cbp4x4, qp, pLevelScale, availability, kMaxQp8, 8,
                          pred4x4_8u);
}

ZubStatus zubiReconstructLumaIntra4x4MB_H264High_32s16u_C1R(Zub32s** ppSrcCoeff, Zub16u* pSrcDst, int srcDstStep,
                                                           const Zub8u* pModes, Zub32u cbp4x4, int qp,
                                                           const Zub16s* pLevelScale, int availability, int bitDepth) {
    return lumaIntra4x4MB(ppSrcCoeff, pSrcDst, srcDstStep, pModes, cbp4x4, qp, pLevelScale, availability, kMaxQpHigh,
                          bitDepth, [bitDepth](Zub16u* d, int s, int m, int a) {
                              return zubiPredictIntra_4x4_H264_16u_C1IR(d, s, m, a, bitDepth);
                          });
}

ZubStatus zubiReconstructLumaIntra16x16MB_H264High_16s8u_C1R(Zub16s** ppSrcCoeff, Zub8u* pSrcDst, int srcDstStep,
                                                            int predMode, const Zub16s* pDC, Zub32u cbp4x4, int qp,
                                                            const Zub16s* pLevelScale, int availability) {
    return lumaIntra16x16MB(ppSrcCoeff, pSrcDst, srcDstStep, predMode, pDC, cbp4x4, qp, pLevelScale, availability,
                            kMaxQp8, 8, pred16x16_8u);
}

ZubStatus zubiReconstructLumaIntra16x16MB_H264High_32s16u_C1R(Zub32s** ppSrcCoeff, Zub16u* pSrcDst, int srcDstStep,
                                                             int predMode, const Zub32s* pDC, Zub32u cbp4x4, int qp,
                                                             const Zub16s* pLevelScale, int availability,
                                                             int bitDepth) {
    return lumaIntra16x16MB(ppSrcCoeff, pSrcDst, srcDstStep, predMode, pDC, cbp4x4, qp, pLevelScale, availability,
                            kMaxQpHigh, bitDepth, [bitDepth](Zub16u* d, int s, int m, int a) {
                                return zubiPredictIntra_16x16_H264_16u_C1IR(d, s, m, a, bitDepth);
                            });
}

ZubStatus zubiReconstructChromaInterMB_H264High_16s8u_P2R(Zub16s** ppSrcCoeff, Zub8u* pSrcDstU, Zub8u* pSrcDstV,
                                                         int srcDstStep, const Zub16s* pDC, Zub32u cbp4x4, int qpU,
                                                         int qpV, const Zub16s* pLevelScaleU,
                                                         const Zub16s* pLevelScaleV) {
    return chromaMB(ppSrcCoeff, pSrcDstU, pSrcDstV, srcDstStep, false, 0, pDC, cbp4x4, qpU, qpV, pLevelScaleU, pLevelScaleV,
                    0, 4, kMaxChromaQp, 8, chroma420_8u(srcDstStep));
}

ZubStatus zubiReconstructChromaIntraMB_H264High_16s8u_P2R(Zub16s** ppSrcCoeff, Zub8u* pSrcDstU, Zub8u* pSrcDstV,
                                                         int srcDstStep, int predMode, const Zub16s* pDC,
                                                         Zub32u cbp4x4, int qpU, int qpV, const Zub16s* pLevelScaleU,
                                                         const Zub16s* pLevelScaleV, int availability) {
    return chromaMB(ppSrcCoeff, pSrcDstU, pSrcDstV, srcDstStep, true, predMode, pDC, cbp4x4, qpU, qpV, pLevelScaleU,
                    pLevelScaleV, availability, 4, kMaxChromaQp, 8, chroma420_8u(srcDstStep));
}

ZubStatus zubiReconstructChromaInterMB_H264High_32s16u_P2R(Zub32s** ppSrcCoeff, Zub16u* pSrcDstU, Zub16u* pSrcDstV,
                                                          int srcDstStep, const Zub32s* pDC, Zub32u cbp4x4, int qpU,
                                                          int qpV, const Zub16s* pLevelScaleU,
                                                          const Zub16s* pLevelScaleV, int bitDepth) {
    return chromaMB(ppSrcCoeff, pSrcDstU, pSrcDstV, srcDstStep, false, 0, pDC, cbp4x4, qpU, qpV, pLevelScaleU, pLevelScaleV,
                    0, 4, kMaxChromaQpHigh, bitDepth, chroma420_16u(srcDstStep, bitDepth));
}

ZubStatus zubiReconstructChromaIntraMB_H264High_32s16u_P2R(Zub32s** ppSrcCoeff, Zub16u* pSrcDstU, Zub16u* pSrcDstV,
                                                          int srcDstStep, int predMode, const Zub32s* pDC,
                                                          Zub32u cbp4x4, int qpU, int qpV, const Zub16s* pLevelScaleU,
                                                          const Zub16s* pLevelScaleV, int availability, int bitDepth) {
    return chromaMB(ppSrcCoeff, pSrcDstU, pSrcDstV, srcDstStep, true, predMode, pDC, cbp4x4, qpU, qpV, pLevelScaleU,
                    pLevelScaleV, availability, 4, kMaxChromaQpHigh, bitDepth, chroma420_16u(srcDstStep, bitDepth));
}

ZubStatus zubiReconstructChroma422InterMB_H264High_16s8u_P2R(Zub16s** ppSrcCoeff, Zub8u* pSrcDstU, Zub8u* pSrcDstV,
                                                            int srcDstStep, const Zub16s* pDC, Zub32u cbp4x4,
                                                            int qpU, int qpV, const Zub16s* pLevelScaleU,
                                                            const Zub16s* pLevelScaleV) {
    return chromaMB(ppSrcCoeff, pSrcDstU, pSrcDstV, srcDstStep, false, 0, pDC, cbp4x4, qpU, qpV, pLevelScaleU, pLevelScaleV,
                    0, 8, kMaxChromaQp, 8, chroma422_8u(srcDstStep));
}

ZubStatus zubiReconstructChroma422IntraMB_H264High_16s8u_P2R(Zub16s** ppSrcCoeff, Zub8u* pSrcDstU, Zub8u* pSrcDstV,
                                                            int srcDstStep, int predMode, const Zub16s* pDC,
                                                            Zub32u cbp4x4, int qpU, int qpV,
                                                            const Zub16s* pLevelScaleU, const Zub16s* pLevelScaleV,
                                                            int availability) {
    return chromaMB(ppSrcCoeff, pSrcDstU, pSrcDstV, srcDstStep, true, predMode, pDC, cbp4x4, qpU, qpV, pLevelScaleU,
                    pLevelScaleV, availability, 8, kMaxChromaQp, 8, chroma422_8u(srcDstStep));
}

ZubStatus zubiReconstructChroma422InterMB_H264High_32s16u_P2R(Zub32s** ppSrcCoeff, Zub16u* pSrcDstU,
                                                             Zub16u* pSrcDstV, int srcDstStep, const Zub32s* pDC,
                                                             Zub32u cbp4x4, int qpU, int qpV,
                                                             const Zub16s* pLevelScaleU, const Zub16s* pLevelScaleV,
                                                             int bitDepth) {
    return chromaMB(ppSrcCoeff, pSrcDstU, pSrcDstV, srcDstStep, false, 0, pDC, cbp4x4, qpU, qpV, pLevelScaleU, pLevelScaleV,
                    0, 8, kMaxChromaQpHigh, bitDepth, chroma422_16u(srcDstStep, bitDepth));
}

ZubStatus zubiReconstructChroma422IntraMB_H264High_32s16u_P2R(Zub32s** ppSrcCoeff, Zub16u* pSrcDstU,
                                                             Zub16u* pSrcDstV, int srcDstStep, int predMode,
                                                             const Zub32s* pDC, Zub32u cbp4x4, int qpU, int qpV,
                                                             const Zub16s* pLevelScaleU, const Zub16s* pLevelScaleV,
                                                             int availability, int bitDepth) {
    return chromaMB(ppSrcCoeff, pSrcDstU, pSrcDstV, srcDstStep, true, predMode, pDC, cbp4x4, qpU, qpV, pLevelScaleU,
                    pLevelScaleV, availability, 8, kMaxChromaQpHigh, bitDepth, chroma422_16u(srcDstStep, bitDepth));
}

// The baseline forms are the High ones with the flat matrices.

ZubStatus zubiReconstructLumaInter4x4MB_H264_16s8u_C1R(Zub16s** ppSrcCoeff, Zub8u* pSrcDst, int srcDstStep,
                                                      Zub32u cbp4x4, int qp) {
    return zubiReconstructLumaInterMB_H264High_16s8u_C1R(ppSrcCoeff, pSrcDst, srcDstStep, cbp4x4, qp, nullptr, 0);
}

ZubStatus zubiReconstructChromaInterMB_H264_16s8u_P2R(Zub16s** ppSrcCoeff, Zub8u* pSrcDstU, Zub8u* pSrcDstV,
                                                     int srcDstStep, const Zub16s* pDC, Zub32u cbp4x4, int qpU,
                                                     int qpV) {
    return zubiReconstructChromaInterMB_H264High_16s8u_P2R(ppSrcCoeff, pSrcDstU, pSrcDstV, srcDstStep, pDC, cbp4x4,
                                                          qpU, qpV, nullptr, nullptr);
}

ZubStatus zubiReconstructLumaIntraMB_H264_16s8u_C1R(Zub16s** ppSrcCoeff, Zub8u* pSrcDst, int srcDstStep,
                                                   const Zub8u* pModes, Zub32u cbp4x4, int qp, int availability) {
    return zubiReconstructLumaIntra4x4MB_H264High_16s8u_C1R(ppSrcCoeff, pSrcDst, srcDstStep, pModes, cbp4x4, qp,
                                                           nullptr, availability);
}

ZubStatus zubiReconstructLumaIntra16x16MB_H264_16s8u_C1R(Zub16s** ppSrcCoeff, Zub8u* pSrcDst, int srcDstStep,
                                                        int predMode, const Zub16s* pDC, Zub32u cbp4x4, int qp,
                                                        int availability) {
    return zubiReconstructLumaIntra16x16MB_H264High_16s8u_C1R(ppSrcCoeff, pSrcDst, srcDstStep, predMode, pDC, cbp4x4,
                                                             qp, nullptr, availability);
}

ZubStatus zubiReconstructChromaIntraMB_H264_16s8u_P2R(Zub16s** ppSrcCoeff, Zub8u* pSrcDstU, Zub8u* pSrcDstV,
                                                     int srcDstStep, int predMode, const Zub16s* pDC, Zub32u cbp4x4,
                                                     int qpU, int qpV, int availability) {
    return zubiReconstructChromaIntraMB_H264High_16s8u_P2R(ppSrcCoeff, pSrcDstU, pSrcDstV, srcDstStep, predMode, pDC,
                                                          cbp4x4, qpU, qpV, nullptr, nullptr, availability);
}
