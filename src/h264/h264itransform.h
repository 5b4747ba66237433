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
// coef null the AC part is zero.  ls: LevelScale4x4 of the block's qP % 6 in
// raster order (null: the flat matrix).
template <class Coef>
inline void dequant4x4(const Coef* coef, const Coef* dc, int qp, uint32_t d[16], const int32_t* ls = nullptr) {
    using Prod = std::conditional_t<sizeof(Coef) == 2, int32_t, int64_t>;
    if (!ls) ls = kLevelScale4x4[qp % 6].data();
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

// An n x n residual (raster order) added to the prediction.
template <class Pixel>
inline void addResidual(const int32_t* r, int n, Pixel* dst, int step, int maxVal) {
    for (int y = 0; y < n; ++y, dst += step)
        for (int x = 0; x < n; ++x) dst[x] = addSaturated<Pixel>(dst[x] + r[n * y + x], maxVal);
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

// The whole path for one block.  coef may be null when dc is not; ls as for
// dequant4x4.
template <class Coef, class Pixel>
inline void reconstruct4x4(const Coef* coef, const Coef* dc, int qp, Pixel* dst, int step, int maxVal,
                           const int32_t* ls = nullptr) {
    if (!coef) {
        addDcOnly4x4(static_cast<int32_t>(*dc), dst, step, maxVal);
        return;
    }
    // With no AC level every transform output equals the scaled DC.
    uint32_t ac = 0;
    for (int i = 1; i < 16; ++i) ac |= static_cast<uint32_t>(coef[i]);
    if (ac == 0) {
        const uint32_t d0 = dc ? static_cast<uint32_t>(static_cast<int32_t>(*dc))
                               : dequant(coef[0], ls ? ls[0] : kLevelScale4x4[qp % 6][0], qp / 6);
        addDcOnly4x4(static_cast<int32_t>(d0), dst, step, maxVal);
        return;
    }
    uint32_t d[16];
    int32_t r[16];
    dequant4x4(coef, dc, qp, d, ls);
    inverse4x4(d, r);
    addResidual(r, 4, dst, step, maxVal);
}

// ---------------------------------------------------------------------------
// 8x8 residual blocks (High profiles): scaling of clause 8.5.13.1 and the
// inverse transform of clause 8.5.13.2.

// v of clause 8.5.9 (equation 8-318): normAdjust8x8 per qP % 6 for the six
// position classes of the 8x8 block.
inline constexpr int kNormAdjust8x8V[6][6] = {{20, 18, 32, 19, 25, 24}, {22, 19, 35, 21, 28, 26},
                                              {26, 23, 42, 24, 33, 31}, {28, 25, 45, 26, 35, 33},
                                              {32, 28, 51, 30, 40, 38}, {36, 32, 58, 34, 46, 43}};

constexpr int32_t normAdjust8x8(int m, int pos) {
    const int i = pos >> 3, j = pos & 7;
    int k = 5;
    if (i % 4 == 0 && j % 4 == 0) k = 0;
    else if (i % 2 == 1 && j % 2 == 1) k = 1;
    else if (i % 4 == 2 && j % 4 == 2) k = 2;
    else if ((i % 4 == 0 && j % 2 == 1) || (i % 2 == 1 && j % 4 == 0)) k = 3;
    else if ((i % 4 == 0 && j % 4 == 2) || (i % 4 == 2 && j % 4 == 0)) k = 4;
    return kNormAdjust8x8V[m][k];
}

// LevelScale8x8 of the flat matrix (weightScale8x8 = 16), raster order.
inline constexpr auto kLevelScale8x8 = [] {
    std::array<std::array<int32_t, 64>, 6> t{};
    for (int m = 0; m < 6; ++m)
        for (int p = 0; p < 64; ++p) t[m][p] = 16 * normAdjust8x8(m, p);
    return t;
}();

// Scaled levels of an 8x8 block: qP >= 36: (c LS) << (qP / 6 - 6), else
// (c LS + 2^(5 - qP / 6)) >> (6 - qP / 6).  ls null: the flat matrix.
template <class Coef>
inline void dequant8x8(const Coef* coef, int qp, uint32_t d[64], const int32_t* ls) {
    using Prod = std::conditional_t<sizeof(Coef) == 2, int32_t, int64_t>;
    if (!ls) ls = kLevelScale8x8[qp % 6].data();
    const int e = qp / 6;
    if (e >= 6) {
        const int sh = e - 6;
        for (int i = 0; i < 64; ++i) d[i] = static_cast<uint32_t>(static_cast<Prod>(coef[i]) * ls[i]) << sh;
    } else {
        const int sh = 6 - e;
        const Prod round = Prod{1} << (5 - e);
        for (int i = 0; i < 64; ++i) d[i] = static_cast<uint32_t>((static_cast<Prod>(coef[i]) * ls[i] + round) >> sh);
    }
}

// One-dimensional 8-point inverse transform (equations 8-355 to 8-378) on
// s[0], s[stride], ..., s[7 * stride], modulo 2^32.
inline void inverse8(const uint32_t* s, int stride, uint32_t* o, int ostride) {
    const uint32_t d0 = s[0], d1 = s[stride], d2 = s[2 * stride], d3 = s[3 * stride];
    const uint32_t d4 = s[4 * stride], d5 = s[5 * stride], d6 = s[6 * stride], d7 = s[7 * stride];
    const uint32_t e0 = d0 + d4, e2 = d0 - d4;
    const uint32_t e4 = sra(d2, 1) - d6, e6 = d2 + sra(d6, 1);
    const uint32_t e1 = d5 - d3 - d7 - sra(d7, 1);
    const uint32_t e3 = d1 + d7 - d3 - sra(d3, 1);
    const uint32_t e5 = d7 - d1 + d5 + sra(d5, 1);
    const uint32_t e7 = d3 + d5 + d1 + sra(d1, 1);
    const uint32_t f0 = e0 + e6, f6 = e0 - e6, f2 = e2 + e4, f4 = e2 - e4;
    const uint32_t f1 = e1 + sra(e7, 2), f7 = e7 - sra(e1, 2);
    const uint32_t f3 = e3 + sra(e5, 2), f5 = sra(e3, 2) - e5;
    o[0] = f0 + f7;
    o[ostride] = f2 + f5;
    o[2 * ostride] = f4 + f3;
    o[3 * ostride] = f6 + f1;
    o[4 * ostride] = f6 - f1;
    o[5 * ostride] = f4 - f3;
    o[6 * ostride] = f2 - f5;
    o[7 * ostride] = f0 - f7;
}

// Rows, then columns; r receives (h + 32) >> 6.
inline void inverse8x8(const uint32_t d[64], int32_t r[64]) {
    uint32_t t[64], h[64];
    for (int i = 0; i < 8; ++i) inverse8(d + 8 * i, 1, t + 8 * i, 1);
    for (int j = 0; j < 8; ++j) inverse8(t + j, 8, h + j, 8);
    for (int i = 0; i < 64; ++i) r[i] = static_cast<int32_t>(sra(h[i] + 32u, 6));
}

template <class Coef, class Pixel>
inline void reconstruct8x8(const Coef* coef, int qp, Pixel* dst, int step, int maxVal, const int32_t* ls) {
    uint32_t d[64];
    int32_t r[64];
    dequant8x8(coef, qp, d, ls);
    inverse8x8(d, r);
    addResidual(r, 8, dst, step, maxVal);
}

// Position of luma4x4BlkIdx n inside the macroblock (clause 6.4.3).
constexpr int lumaBlockX(int n) { return ((n >> 2) & 1) * 8 + (n & 1) * 4; }
constexpr int lumaBlockY(int n) { return (n >> 3) * 8 + ((n >> 1) & 1) * 4; }

}  // namespace zub::h264

#endif
