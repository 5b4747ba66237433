// H.264 weighted sample prediction (clause 8.4.2.3): plain averaging of two
// predictions, explicit weighting of one or two predictions and implicit
// bi-directional weighting, for 8-bit and 16-bit samples.
//
// Each formula is one per-sample operation shared by the 8u and 16u entry
// points; a block walker applies it to a block, with the usual widths 2, 4,
// 8 and 16 instantiated as fixed-size loops.  Arithmetic follows the 32-bit
// signed sums of the standard: products and sums are formed in unsigned
// 32-bit arithmetic (so weights far outside H.264's range wrap instead of
// overflowing) and shifted arithmetically, shift counts modulo 32.  For
// 8-bit samples with parameters inside H.264's ranges the same values are
// formed exactly in 16-bit lanes.
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "../common/sample.h"
#include "zubvc.h"

namespace {

constexpr uint32_t u32(int v) { return static_cast<uint32_t>(v); }
constexpr int32_t s32(uint32_t v) { return static_cast<int32_t>(v); }

// 2^(logWD - 1) for logWD >= 1, else 0: the rounding of the one-prediction
// formula (clause 8.4.2.3.2, equation for logWD >= 1).
constexpr uint32_t halfRound(int logWD) { return logWD >= 1 ? 1u << ((logWD - 1) & 31) : 0u; }

// (1 << bitDepth) - 1 without overflow for any bitDepth.
constexpr int sampleMax(int bitDepth) { return static_cast<int>((1u << (bitDepth & 31)) - 1u); }

// (s1 + s2 + 1) >> 1.
struct Average {
    int operator()(int a, int b) const { return (a + b + 1) >> 1; }
};

// Clip1(((s w + 2^(logWD-1)) >> logWD) + o); no rounding term at logWD 0.
struct UniWeight {
    uint32_t w, o, round;
    int shift, maxVal;
    UniWeight(int logWD, int w_, int o_, int maxVal_)
        : w(u32(w_)), o(u32(o_)), round(halfRound(logWD)), shift(logWD & 31), maxVal(maxVal_) {}
    int operator()(int s) const {
        const int32_t v = s32(u32(s) * w + round) >> shift;
        return zub::clip(s32(u32(v) + o), maxVal);
    }
};

// Clip1(((s1 w1 + s2 w2 + 2^logWD) >> (logWD + 1)) + ((o1 + o2 + 1) >> 1)).
// The implicit weights are the case logWD = 5, o1 = o2 = 0.
struct BiWeight {
    uint32_t w1, w2, round, o;
    int shift, maxVal;
    BiWeight(int logWD, int w1_, int o1, int w2_, int o2, int maxVal_)
        : w1(u32(w1_)),
          w2(u32(w2_)),
          round(1u << (logWD & 31)),
          o(u32(s32(u32(o1) + u32(o2) + 1u) >> 1)),
          shift((logWD + 1) & 31),
          maxVal(maxVal_) {}
    int operator()(int a, int b) const {
        const int32_t v = s32(u32(a) * w1 + u32(b) * w2 + round) >> shift;
        return zub::clip(s32(u32(v) + o), maxVal);
    }
};
constexpr int kImplicitLogWD = 5;

// The same formula for 16-bit samples and weights of -65536..65535.  s w
// mod 2^32 is formed as s (w mod 2^16) - (w < 0 ? s 2^16 : 0): an unsigned
// 16 x 16-bit product, which the compiler builds from 16-bit lane multiplies.
// Worth it only where the vector unit has those but no 32-bit lane multiply
// (SSE2, the x86-64 baseline: 1.5x faster there); scalar code (the x86-32
// baseline) is faster with the plain 32-bit product.
struct BiWeight16 {
    uint16_t w1, w2;
    uint32_t m1, m2, round, o;
    int shift, maxVal;
    explicit BiWeight16(const BiWeight& b)
        : w1(static_cast<uint16_t>(b.w1)),
          w2(static_cast<uint16_t>(b.w2)),
          m1(s32(b.w1) < 0 ? 0xFFFF0000u : 0u),
          m2(s32(b.w2) < 0 ? 0xFFFF0000u : 0u),
          round(b.round),
          o(b.o),
          shift(b.shift),
          maxVal(b.maxVal) {}
    int operator()(int a, int b) const {
        const uint32_t ua = static_cast<uint16_t>(a), ub = static_cast<uint16_t>(b);
        const uint32_t pa = ua * uint32_t{w1} - ((ua << 16) & m1), pb = ub * uint32_t{w2} - ((ub << 16) & m2);
        const int32_t v = s32(pa + pb + round) >> shift;
        return zub::clip(s32(u32(v) + o), maxVal);
    }
};
constexpr bool weight17(int w) { return w >= -65536 && w <= 65535; }
#if defined(__SSE2__)
constexpr bool kSplitProducts = true;
#else
constexpr bool kSplitProducts = false;
#endif

// 8-bit samples with H.264's parameter ranges (weights -128..128, logWD 0..7,
// offsets -128..127): every product and sum of the two formulas above then
// fits 16 bits, so the same results are formed in int16_t lanes, twice as
// many per vector register and without 32-bit multiplies.
constexpr bool narrowWeight(int w) { return w >= -128 && w <= 128; }
constexpr bool narrowParams(int logWD, int o) { return logWD >= 0 && logWD <= 7 && o >= -128 && o <= 127; }

constexpr int clip8(int16_t v) { return v < 0 ? 0 : (v > 255 ? 255 : v); }

// |s w| <= 32640 and the rounding term is at most 64.
struct UniWeight8 {
    int16_t w, o, round;
    int shift;
    UniWeight8(int logWD, int w_, int o_)
        : w(static_cast<int16_t>(w_)),
          o(static_cast<int16_t>(o_)),
          round(static_cast<int16_t>(halfRound(logWD))),
          shift(logWD) {}
    int operator()(int s) const {
        const int16_t p = static_cast<int16_t>(s * w + round);
        return clip8(static_cast<int16_t>((p >> shift) + o));
    }
};

// A = s1 w1 and B = s2 w2 fit 16 bits but A + B does not, so the sum is
// halved first: floor((A + B) / 2) = (A >> 1) + (B >> 1) + (A & B & 1).
// For logWD = k >= 1, (A + B + 2^k) >> (k + 1) = (floor((A + B) / 2) +
// 2^(k-1)) >> k; for k = 0 it is floor((A + B + 1) / 2), whose carry bit
// is (A | B) & 1 (oddMask selects it).
struct BiWeight8 {
    int16_t w1, w2, round, o, oddMask;
    int shift;
    BiWeight8(int logWD, int w1_, int w2_, int o_)
        : w1(static_cast<int16_t>(w1_)),
          w2(static_cast<int16_t>(w2_)),
          round(static_cast<int16_t>(halfRound(logWD))),
          o(static_cast<int16_t>(o_)),
          oddMask(static_cast<int16_t>(logWD == 0)),
          shift(logWD) {}
    int operator()(int a, int b) const {
        const int16_t pa = static_cast<int16_t>(a * w1), pb = static_cast<int16_t>(b * w2);
        const int16_t carry = static_cast<int16_t>(((pa & pb) | ((pa ^ pb) & oddMask)) & 1);
        const int16_t half = static_cast<int16_t>((pa >> 1) + (pb >> 1) + carry);
        return clip8(static_cast<int16_t>(((half + round) >> shift) + o));
    }
};

// ClampTbl[((s1 w1 + r + s2 w2) >> logWD) + offset + 256], r as UniWeight.
// Values beyond the table's -256..511 take its end entries, so the lookup is
// saturation to 0..255 for every input; it is computed as such, which the
// compiler vectorises where a table lookup per sample would not.
struct TableAverage {
    uint32_t w1, w2, o, round;
    int shift;
    TableAverage(int logWD, int w1_, int w2_, int offset)
        : w1(u32(w1_)), w2(u32(w2_)), o(u32(offset)), round(halfRound(logWD)), shift(logWD & 31) {}
    int operator()(int a, int b) const {
        return zub::clip(s32(u32(s32(u32(a) * w1 + round + u32(b) * w2) >> shift) + o), 255);
    }
};

// Row walkers.  W > 0 is a fixed width whose rows are read whole into local
// arrays before the row is written (so the compiler need not guard against
// overlap and vectorises the row); W = 0 is the run-time width.  Rows are
// addressed by index so that no pointer is formed past the last row.
template <int W, class T, class Op>
void blendRows(const T* s1, int st1, const T* s2, int st2, T* d, int sd, int width, int height, const Op op) {
    for (int y = 0; y < height; ++y) {
        const T* a = s1 + static_cast<ptrdiff_t>(y) * st1;
        const T* b = s2 + static_cast<ptrdiff_t>(y) * st2;
        T* r = d + static_cast<ptrdiff_t>(y) * sd;
        if constexpr (W > 0) {
            T ra[W], rb[W], out[W];
            std::memcpy(ra, a, sizeof ra);
            std::memcpy(rb, b, sizeof rb);
#pragma GCC unroll 1  // keep the loop for the vectoriser
            for (int x = 0; x < W; ++x) out[x] = static_cast<T>(op(ra[x], rb[x]));
            std::memcpy(r, out, sizeof out);
        } else {
            for (int x = 0; x < width; ++x) r[x] = static_cast<T>(op(a[x], b[x]));
        }
    }
}

template <class T, class Op>
void blend(const T* s1, int st1, const T* s2, int st2, T* d, int sd, int width, int height, const Op op) {
    switch (width) {
        case 16: return blendRows<16>(s1, st1, s2, st2, d, sd, width, height, op);
        case 8: return blendRows<8>(s1, st1, s2, st2, d, sd, width, height, op);
        case 4: return blendRows<4>(s1, st1, s2, st2, d, sd, width, height, op);
        case 2: return blendRows<2>(s1, st1, s2, st2, d, sd, width, height, op);
        default: return blendRows<0>(s1, st1, s2, st2, d, sd, width, height, op);
    }
}

// In place, one prediction; only the S16 widths reach it.
template <int W, class T, class Op>
void mapRows(T* d, int sd, int height, const Op op) {
    for (int y = 0; y < height; ++y) {
        T* r = d + static_cast<ptrdiff_t>(y) * sd;
        T row[W];
        std::memcpy(row, r, sizeof row);
#pragma GCC unroll 1  // keep the loop for the vectoriser
        for (int x = 0; x < W; ++x) row[x] = static_cast<T>(op(row[x]));
        std::memcpy(r, row, sizeof row);
    }
}

template <class T, class Op>
void map(T* d, int sd, int width, int height, const Op op) {
    switch (width) {
        case 16: return mapRows<16>(d, sd, height, op);
        case 8: return mapRows<8>(d, sd, height, op);
        case 4: return mapRows<4>(d, sd, height, op);
        default: return mapRows<2>(d, sd, height, op);
    }
}

constexpr bool isS16(int v) { return v == 2 || v == 4 || v == 8 || v == 16; }
constexpr bool sizeS16(ZubSize s) { return isS16(s.height) && isS16(s.width); }
constexpr bool in2to16(int v) { return static_cast<unsigned>(v) - 2u <= 14u; }

// Shared bodies of the 8u and 16u members; the 8u instances take the 16-bit
// lanes when the parameters allow.
template <class T>
void uniWeightBlock(T* p, int step, int logWD, int w, int o, ZubSize roi, int maxVal) {
    if constexpr (sizeof(T) == 1) {
        if (narrowWeight(w) && narrowParams(logWD, o)) return map(p, step, roi.width, roi.height, UniWeight8(logWD, w, o));
    }
    map(p, step, roi.width, roi.height, UniWeight(logWD, w, o, maxVal));
}

template <class T>
ZubStatus uniDir(T* p, int step, int logWD, int w, int o, ZubSize roi, int maxVal) {
    if (!p) return ZubStatusNullPointer;
    if (step < roi.width) return ZubStatusBadStep;
    if (!sizeS16(roi)) return ZubStatusBadSize;
    uniWeightBlock(p, step, logWD, w, o, roi, maxVal);
    return ZubStatusOk;
}

struct BiParams {
    int logWD, w1, o1, w2, o2;
};

template <class T>
void biWeightBlock(const T* s1, int st1, const T* s2, int st2, T* d, int sd, ZubSize roi, const BiParams& p,
                   int maxVal) {
    const BiWeight op(p.logWD, p.w1, p.o1, p.w2, p.o2, maxVal);
    if constexpr (sizeof(T) == 1) {
        const int o = s32(op.o);
        if (narrowWeight(p.w1) && narrowWeight(p.w2) && narrowParams(p.logWD, o))
            return blend(s1, st1, s2, st2, d, sd, roi.width, roi.height, BiWeight8(p.logWD, p.w1, p.w2, o));
    } else if constexpr (kSplitProducts) {
        if (weight17(p.w1) && weight17(p.w2))
            return blend(s1, st1, s2, st2, d, sd, roi.width, roi.height, BiWeight16(op));
    }
    blend(s1, st1, s2, st2, d, sd, roi.width, roi.height, op);
}

template <class T>
ZubStatus biDirChecked(const T* s1, int st1, const T* s2, int st2, T* d, int sd, ZubSize roi, const BiParams& p,
                       int maxVal) {
    if (!s1 || !s2 || !d) return ZubStatusNullPointer;
    if (st1 < roi.width || st2 < roi.width || sd < roi.width) return ZubStatusBadStep;
    if (!sizeS16(roi)) return ZubStatusBadSize;
    biWeightBlock(s1, st1, s2, st2, d, sd, roi, p, maxVal);
    return ZubStatusOk;
}

ZubStatus average8u(const Zub8u* s1, int st1, const Zub8u* s2, int st2, Zub8u* d, int sd, ZubSize roi) {
    if (!s1 || !s2 || !d) return ZubStatusNullPointer;
    if (!in2to16(roi.width) || !in2to16(roi.height)) return ZubStatusBadSize;
    blend(s1, st1, s2, st2, d, sd, roi.width, roi.height, Average());
    return ZubStatusOk;
}

// The record of the 16u functions; the steps of the weighting members are
// checked in the order src1, src2, dst.
ZubStatus recordPointers(const H264BidirParams_16u* p) {
    if (!p || !p->src1 || !p->src2 || !p->dst) return ZubStatusNullPointer;
    return ZubStatusOk;
}

ZubStatus biDir16u(const H264BidirParams_16u* p, const BiParams& w) {
    const ZubStatus st = recordPointers(p);
    if (st != ZubStatusOk) return st;
    return biDirChecked(p->src1, p->src1Step, p->src2, p->src2Step, p->dst, p->dstStep, {p->width, p->height}, w,
                        sampleMax(p->bitDepth));
}

constexpr int kMax8 = 255;

}  // namespace

ZubStatus zubiInterpolateBlock_H264_8u_P2P1R(const Zub8u* pSrc1, const Zub8u* pSrc2, Zub8u* pDst, int width,
                                             int height, int step) {
    return average8u(pSrc1, step, pSrc2, step, pDst, step, {width, height});
}

ZubStatus zubiInterpolateBlock_H264_8u_P3P1R(const Zub8u* pSrc1, const Zub8u* pSrc2, Zub8u* pDst, int width,
                                             int height, int src1Step, int src2Step, int dstStep) {
    return average8u(pSrc1, src1Step, pSrc2, src2Step, pDst, dstStep, {width, height});
}

ZubStatus zubiWeightedAverage_H264_8u_C1IR(const Zub8u* pSrc1, Zub8u* pSrc2Dst, int step, int w1, int w2,
                                           int logWD, int offset, ZubSize roiSize) {
    if (!pSrc1 || !pSrc2Dst) return ZubStatusNullPointer;
    if (step < roiSize.width) return ZubStatusBadStep;
    if (!sizeS16(roiSize)) return ZubStatusBadSize;
    const Zub8u* s2 = pSrc2Dst;
    // (A + B + 2^(logWD-1)) >> logWD is BiWeight8's sum at logWD - 1, which
    // forms it in 16-bit lanes for weights and offsets inside H.264's ranges.
    if (narrowWeight(w1) && narrowWeight(w2) && narrowParams(logWD - 1, offset))
        blend(pSrc1, step, s2, step, pSrc2Dst, step, roiSize.width, roiSize.height,
              BiWeight8(logWD - 1, w1, w2, offset));
    else
        blend(pSrc1, step, s2, step, pSrc2Dst, step, roiSize.width, roiSize.height,
              TableAverage(logWD, w1, w2, offset));
    return ZubStatusOk;
}

ZubStatus zubiUniDirWeightBlock_H264_8u_C1R(Zub8u* pSrcDst, int step, int logWD, int w, int o, ZubSize roiSize) {
    return uniDir(pSrcDst, step, logWD, w, o, roiSize, kMax8);
}

ZubStatus zubiUniDirWeightBlock_H264_8u_C1IR(Zub8u* pSrcDst, int step, int logWD, int w, int o, ZubSize roiSize) {
    return zubiUniDirWeightBlock_H264_8u_C1R(pSrcDst, step, logWD, w, o, roiSize);
}

ZubStatus zubiBiDirWeightBlock_H264_8u_P2P1R(const Zub8u* pSrc1, const Zub8u* pSrc2, Zub8u* pDst, int srcStep,
                                             int dstStep, int logWD, int w1, int o1, int w2, int o2,
                                             ZubSize roiSize) {
    return biDirChecked(pSrc1, srcStep, pSrc2, srcStep, pDst, dstStep, roiSize, {logWD, w1, o1, w2, o2}, kMax8);
}

ZubStatus zubiBiDirWeightBlock_H264_8u_P3P1R(const Zub8u* pSrc1, const Zub8u* pSrc2, Zub8u* pDst, int src1Step,
                                             int src2Step, int dstStep, int logWD, int w1, int o1, int w2, int o2,
                                             ZubSize roiSize) {
    return biDirChecked(pSrc1, src1Step, pSrc2, src2Step, pDst, dstStep, roiSize, {logWD, w1, o1, w2, o2},
                        kMax8);
}

ZubStatus zubiBiDirWeightBlockImplicit_H264_8u_P2P1R(const Zub8u* pSrc1, const Zub8u* pSrc2, Zub8u* pDst,
                                                     int srcStep, int dstStep, int w1, int w2, ZubSize roiSize) {
    return biDirChecked(pSrc1, srcStep, pSrc2, srcStep, pDst, dstStep, roiSize, {kImplicitLogWD, w1, 0, w2, 0},
                        kMax8);
}

ZubStatus zubiBiDirWeightBlockImplicit_H264_8u_P3P1R(const Zub8u* pSrc1, const Zub8u* pSrc2, Zub8u* pDst,
                                                     int src1Step, int src2Step, int dstStep, int w1, int w2,
                                                     ZubSize roiSize) {
    if (!pSrc1 || !pSrc2 || !pDst) return ZubStatusNullPointer;
    // No size or step test: an empty block writes nothing.
    if (roiSize.width < 1 || roiSize.height < 1) return ZubStatusOk;
    biWeightBlock(pSrc1, src1Step, pSrc2, src2Step, pDst, dstStep, roiSize, {kImplicitLogWD, w1, 0, w2, 0}, kMax8);
    return ZubStatusOk;
}

ZubStatus zubiBidir_H264_16u_P2P1R(const H264BidirParams_16u* pParams) {
    const ZubStatus st = recordPointers(pParams);
    if (st != ZubStatusOk) return st;
    const H264BidirParams_16u& p = *pParams;
    if (!in2to16(p.width) || !in2to16(p.height)) return ZubStatusBadSize;
    blend(p.src1, p.src1Step, p.src2, p.src2Step, p.dst, p.dstStep, p.width, p.height, Average());
    return ZubStatusOk;
}

ZubStatus zubiBidirWeight_H264_16u_P2P1R(const H264BidirParams_16u* pParams, int logWD, int w1, int o1, int w2,
                                         int o2) {
    return biDir16u(pParams, {logWD, w1, o1, w2, o2});
}

ZubStatus zubiBidirWeightImplicit_H264_16u_P2P1R(const H264BidirParams_16u* pParams, int w1, int w2) {
    return biDir16u(pParams, {kImplicitLogWD, w1, 0, w2, 0});
}

ZubStatus zubiUnidirWeight_H264_16u_IP2P1R(Zub16u* pSrcDst, int step, int logWD, int w, int o, ZubSize roiSize,
                                           int bitDepth) {
    return uniDir(pSrcDst, step, logWD, w, o, roiSize, sampleMax(bitDepth));
}
