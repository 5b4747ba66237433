// The H.264 4x4 residual path shared by the reconstruction functions:
// dequantisation with the flat scaling matrix (clause 8.5.12.1), the inverse
// transform of clause 8.5.12.2 and the saturating add to the prediction.
// One template serves 16-bit coefficients with 8-bit samples and 32-bit
// coefficients with 16-bit samples.
//
// The arithmetic runs on unsigned 32-bit values so that coefficients outside
// anything a conforming stream carries wrap instead of overflowing; every
// right shift is taken on the signed reinterpretation, so for conforming input
// the results are those of signed arithmetic.
#ifndef ZUBVC_H264_ITRANSFORM_H
#define ZUBVC_H264_ITRANSFORM_H

#include <array>
#include <cstdint>
#include <type_traits>

#include "../common/sample.h"

namespace zub::h264 {

// v of clause 8.5.9 (equation 8-315): normAdjust4x4 per qP % 6 for the
// positions (even, even), (odd, odd) and the mixed ones.
inline constexpr int kNormAdjustV[6][3] = {
    {10, 16, 13}, {11, 18, 14}, {13, 20, 16}, {14, 23, 18}, {16, 25, 20}, {18, 29, 23}};

constexpr int32_t levelScale4x4(int m, int pos) {
    const int i = pos >> 2, j = pos & 3;
    const int k = ((i & 1) == 0 && (j & 1) == 0) ? 0 : ((i & 1) && (j & 1)) ? 1 : 2;
    return 16 * kNormAdjustV[m][k];
}

// LevelScale4x4 of the flat matrix (weightScale4x4 = 16), raster order.
inline constexpr auto kLevelScale4x4 = [] {
    std::array<std::array<int32_t, 16>, 6> t{};
    for (int m = 0; m < 6; ++m)
        for (int p = 0; p < 16; ++p) t[m][p] = levelScale4x4(m, p);
    return t;
}();

constexpr uint32_t sra(uint32_t x, int s) { return static_cast<uint32_t>(static_cast<int32_t>(x) >> s); }

// Scaled level d of one coefficient (clause 8.5.12.1), modulo 2^32.
template <class Coef>
inline uint32_t dequant(Coef c, int32_t scale, int qpDiv6) {
    using Prod = std::conditional_t<sizeof(Coef) == 2, int32_t, int64_t>;
    const Prod p = static_cast<Prod>(c) * scale;
    if (qpDiv6 >= 4) return static_cast<uint32_t>(p) << (qpDiv6 - 4);
    return static_cast<uint32_t>((p + (Prod{1} << (3 - qpDiv6))) >> (4 - qpDiv6));
}

// Dequantises a block into d.  With dc non-null, d[0] = *dc unscaled; with
// coef null the AC part is zero.
template <class Coef>
inline void dequant4x4(const Coef* coef, const Coef* dc, int qp, uint32_t d[16]) {
    using Prod = std::conditional_t<sizeof(Coef) == 2, int32_t, int64_t>;
    const auto& ls = kLevelScale4x4[qp % 6];
    const int e = qp / 6;
    if (coef && e >= 4) {
        const int sh = e - 4;
        for (int i = 0; i < 16; ++i) d[i] = static_cast<uint32_t>(static_cast<Prod>(coef[i]) * ls[i]) << sh;
    } else if (coef) {
        const int sh = 4 - e;
        const Prod round = Prod{1} << (3 - e);
        for (int i = 0; i < 16; ++i) d[i] = static_cast<uint32_t>((static_cast<Prod>(coef[i]) * ls[i] + round) >> sh);
    } else {
        for (int i = 0; i < 16; ++i) d[i] = 0;
    }
    if (dc) d[0] = static_cast<uint32_t>(static_cast<int32_t>(*dc));
}

// Inverse transform of clause 8.5.12.2 on d (raster order); r receives the
// residual (h + 32) >> 6.
inline void inverse4x4(const uint32_t d[16], int32_t r[16]) {
    uint32_t t[16];
    for (int i = 0; i < 4; ++i) {
        const uint32_t* s = d + 4 * i;
        const uint32_t e0 = s[0] + s[2], e1 = s[0] - s[2];
        const uint32_t e2 = sra(s[1], 1) - s[3], e3 = s[1] + sra(s[3], 1);
        t[4 * i + 0] = e0 + e3;
        t[4 * i + 1] = e1 + e2;
        t[4 * i + 2] = e1 - e2;
        t[4 * i + 3] = e0 - e3;
    }
    for (int j = 0; j < 4; ++j) {
        const uint32_t g0 = t[j] + t[8 + j], g1 = t[j] - t[8 + j];
        const uint32_t g2 = sra(t[4 + j], 1) - t[12 + j], g3 = t[4 + j] + sra(t[12 + j], 1);
        r[j] = static_cast<int32_t>(sra(g0 + g3 + 32u, 6));
        r[4 + j] = static_cast<int32_t>(sra(g1 + g2 + 32u, 6));
        r[8 + j] = static_cast<int32_t>(sra(g1 - g2 + 32u, 6));
        r[12 + j] = static_cast<int32_t>(sra(g0 - g3 + 32u, 6));
    }
}

// Prediction + residual saturated to 0..maxVal.  Bytes take one test that
// is almost never true (any bit above the low eight set) instead of two
// clamps: rows of four samples are too short for the vectoriser anyway.
template <class Pixel>
inline Pixel addSaturated(int v, int maxVal) {
    if constexpr (sizeof(Pixel) == 1) {
        (void)maxVal;
        return static_cast<Pixel>((v & ~255) ? ~v >> 31 : v);
    } else {
        return static_cast<Pixel>(clip(v, maxVal));
    }
}

template <class Pixel>
inline void addResidual4x4(const int32_t r[16], Pixel* dst, int step, int maxVal) {
    for (int y = 0; y < 4; ++y, dst += step)
        for (int x = 0; x < 4; ++x) dst[x] = addSaturated<Pixel>(dst[x] + r[4 * y + x], maxVal);
}

// A block whose only non-zero input is the (scaled) DC: every residual sample
// is (dc + 32) >> 6.
template <class Pixel>
inline void addDcOnly4x4(int32_t dc, Pixel* dst, int step, int maxVal) {
    const int32_t r = static_cast<int32_t>(sra(static_cast<uint32_t>(dc) + 32u, 6));
    if (r == 0) return;
    for (int y = 0; y < 4; ++y, dst += step)
        for (int x = 0; x < 4; ++x) dst[x] = addSaturated<Pixel>(dst[x] + r, maxVal);
}

// The whole path for one block.  coef may be null when dc is not.
template <class Coef, class Pixel>
inline void reconstruct4x4(const Coef* coef, const Coef* dc, int qp, Pixel* dst, int step, int maxVal) {
    if (!coef) {
        addDcOnly4x4(static_cast<int32_t>(*dc), dst, step, maxVal);
        return;
    }
    // With no AC level every transform output equals the scaled DC.
    uint32_t ac = 0;
    for (int i = 1; i < 16; ++i) ac |= static_cast<uint32_t>(coef[i]);
    if (ac == 0) {
        const uint32_t d0 = dc ? static_cast<uint32_t>(static_cast<int32_t>(*dc))
                               : dequant(coef[0], kLevelScale4x4[qp % 6][0], qp / 6);
        addDcOnly4x4(static_cast<int32_t>(d0), dst, step, maxVal);
        return;
    }
    uint32_t d[16];
    int32_t r[16];
    dequant4x4(coef, dc, qp, d);
    inverse4x4(d, r);
    addResidual4x4(r, dst, step, maxVal);
}

// Position of luma4x4BlkIdx n inside the macroblock (clause 6.4.3).
constexpr int lumaBlockX(int n) { return ((n >> 2) & 1) * 8 + (n & 1) * 4; }
constexpr int lumaBlockY(int n) { return (n >> 3) * 8 + ((n >> 1) & 1) * 4; }

}  // namespace zub::h264

#endif
