// MPEG-1/MPEG-2 inverse DCT: every path against a matrix model of the
// integer transform, and the edge cases of the DC-only path.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <random>
#include <vector>

#include "zubvc.h"

namespace {

// 65536 cos(m pi / 16) for any m, from the truncated constants of the
// transform (the same seven numbers; the model multiplies out the sums that
// the butterflies factor).
int32_t cosine(int m) {
    static const int32_t g[9] = {65536, 64276, 60547, 54491, 46340, 36409, 25079, 12785, 0};
    m %= 32;
    if (m <= 8) return g[m];
    if (m <= 16) return -g[16 - m];
    if (m <= 24) return -g[m - 16];
    return g[32 - m];
}

// y_j = x_0 g4 + sum over n >= 1 of x_n 65536 cos((2j + 1) n pi / 16), in
// 32-bit arithmetic that wraps, rounded by (y + bias) >> shift.
int32_t idct1(const int32_t x[8], int j, uint32_t bias, int shift) {
    int64_t y = int64_t{x[0]} * cosine(4);
    for (int n = 1; n < 8; ++n) y += int64_t{x[n]} * cosine((2 * j + 1) * n);
    return static_cast<int32_t>(static_cast<uint32_t>(y) + bias) >> shift;
}

// The transform of a transposed block: rows of the output are vertical
// positions, columns horizontal ones.  Unlimited.
std::vector<int32_t> modelIdct(const Zub16s* src) {
    int32_t t[8][8];
    for (int c = 0; c < 8; ++c) {
        int32_t x[8];
        for (int r = 0; r < 8; ++r) x[r] = src[8 * r + c];
        for (int k = 0; k < 8; ++k) t[c][k] = idct1(x, k, 0x8000u, 16);
    }
    std::vector<int32_t> out(64);
    for (int k = 0; k < 8; ++k) {
        int32_t x[8];
        for (int c = 0; c < 8; ++c) x[c] = t[c][k];
        for (int j = 0; j < 8; ++j) out[8 * j + k] = idct1(x, j, 0x28000u, 18);
    }
    return out;
}

int32_t limit16(int32_t v) { return v < -256 ? -256 : (v > 255 ? 255 : v); }
int32_t limit8(int32_t v) { return v < 0 ? 0 : (v > 255 ? 255 : v); }

// What a block of `last` gives: the model for last > 0 (the 4x4 path reads
// only the corner), the DC shortcut for 0, zero (16-bit) or DC (8-bit) for a
// negative index.
std::vector<int32_t> expected(const Zub16s* src, int last, bool out8) {
    std::vector<int32_t> e(64);
    if (last > 0) {
        std::vector<Zub16s> s(src, src + 64);
        if (last <= 9)
            for (int i = 0; i < 64; ++i)
                if (i / 8 >= 4 || i % 8 >= 4) s[i] = 0;
        e = modelIdct(s.data());
    } else if (last == 0 || out8) {
        e.assign(64, src[0] / 8);
    } else {
        e.assign(64, 0);
    }
    for (int32_t& v : e) v = out8 ? limit8(v) : limit16(v);
    return e;
}

// A random transposed block with its last index: coefficients at the first
// `n` zig-zag positions (transposed), DC up to the full range.
std::vector<Zub16s> randomBlock(std::mt19937& rng, int n, int maxMag) {
    std::vector<Zub16s> b(64, 0);
    for (int k = 0; k < n; ++k) {
        const int raster = ownvc_Zigzag[k];
        const int transposed = 8 * (raster % 8) + raster / 8;
        if (rng() % 3 != 0 || k == 0)
            b[transposed] = static_cast<Zub16s>(static_cast<int>(rng() % (2 * maxMag + 1)) - maxMag);
    }
    return b;
}

TEST(Mpeg2Idct, EveryPathMatchesTheModel) {
    std::mt19937 rng(99);
    for (int trial = 0; trial < 6000; ++trial) {
        const int n = 1 + static_cast<int>(rng() % 64);
        const int maxMag = trial % 5 == 0 ? 2047 : 300;
        const auto src = randomBlock(rng, n, maxMag);
        // The last index: n - 1 mostly; sometimes smaller or negative (the
        // caller's claim decides the path, whatever the block holds).
        int last = n - 1;
        if (trial % 7 == 0) last = static_cast<int>(rng() % 12) - 2;
        const int step16 = 16 + 2 * static_cast<int>(rng() % 4), step8 = 8 + static_cast<int>(rng() % 5);
        std::vector<Zub16s> d16(8 * step16 / 2, 0x5555);
        std::vector<Zub8u> d8(8 * step8, 0x55);
        ASSERT_EQ(zubiDCT8x8Inv_AANTransposed_16s_C1R(src.data(), d16.data(), step16, last), ZubStatusOk);
        ASSERT_EQ(zubiDCT8x8Inv_AANTransposed_16s8u_C1R(src.data(), d8.data(), step8, last), ZubStatusOk);
        // The 4x4 path reads only the corner: compare with the corner's model.
        const auto e16 = expected(src.data(), last, false), e8 = expected(src.data(), last, true);
        for (int j = 0; j < 8; ++j) {
            for (int k = 0; k < 8; ++k) {
                ASSERT_EQ(d16[j * step16 / 2 + k], e16[8 * j + k]) << trial << " " << j << " " << k << " last " << last;
                ASSERT_EQ(d8[j * step8 + k], e8[8 * j + k]) << trial << " " << j << " " << k << " last " << last;
            }
            for (int k = 8; k < step16 / 2; ++k) ASSERT_EQ(d16[j * step16 / 2 + k], 0x5555);
            for (int k = 8; k < step8; ++k) ASSERT_EQ(d8[j * step8 + k], 0x55);
        }
    }
}

// For a block whose coefficients all lie in the corner, the 4x4 path equals
// the full transform.
TEST(Mpeg2Idct, ReducedPathEqualsFullOnCornerBlocks) {
    std::mt19937 rng(7);
    for (int trial = 0; trial < 2000; ++trial) {
        const auto src = randomBlock(rng, 10, trial % 2 ? 2047 : 200);
        Zub16s a[64], b[64];
        Zub8u c[64], d[64];
        ASSERT_EQ(zubiDCT8x8Inv_AANTransposed_16s_C1R(src.data(), a, 16, 9), ZubStatusOk);
        ASSERT_EQ(zubiDCT8x8Inv_AANTransposed_16s_C1R(src.data(), b, 16, 63), ZubStatusOk);
        ASSERT_EQ(zubiDCT8x8Inv_AANTransposed_16s8u_C1R(src.data(), c, 8, 1), ZubStatusOk);
        ASSERT_EQ(zubiDCT8x8Inv_AANTransposed_16s8u_C1R(src.data(), d, 8, 10), ZubStatusOk);
        for (int i = 0; i < 64; ++i) {
            ASSERT_EQ(a[i], b[i]);
            ASSERT_EQ(c[i], d[i]);
        }
    }
}

// The model against the real-valued inverse DCT of ISO/IEC 13818-2 Annex A
// (scaled as the integer transform is): within the roundings of the two passes.
TEST(Mpeg2Idct, ModelIsAnInverseDct) {
    std::mt19937 rng(3);
    for (int trial = 0; trial < 200; ++trial) {
        const auto src = randomBlock(rng, 64, 200);
        const auto m = modelIdct(src.data());
        for (int y = 0; y < 8; ++y)
            for (int x = 0; x < 8; ++x) {
                double s = 0;
                for (int u = 0; u < 8; ++u)
                    for (int v = 0; v < 8; ++v) {
                        const double cu = u ? 1 : std::sqrt(0.5), cv = v ? 1 : std::sqrt(0.5);
                        s += cu * cv * src[8 * u + v] * std::cos((2 * x + 1) * u * M_PI / 16) *
                             std::cos((2 * y + 1) * v * M_PI / 16);
                    }
                ASSERT_NEAR(m[8 * y + x], s / 4, 2.0);
            }
    }
}

TEST(Mpeg2Idct, DcEdges) {
    Zub16s src[64] = {};
    Zub16s d16[64];
    Zub8u d8[64];
    src[0] = 1024;
    for (const int last : {0, 20}) {
        ASSERT_EQ(zubiDCT8x8Inv_AANTransposed_16s_C1R(src, d16, 16, last), ZubStatusOk);
        for (Zub16s v : d16) EXPECT_EQ(v, 128);
    }
    src[0] = 12;  // full transform 2, shortcut 1
    zubiDCT8x8Inv_AANTransposed_16s_C1R(src, d16, 16, 20);
    EXPECT_EQ(d16[27], 2);
    zubiDCT8x8Inv_AANTransposed_16s_C1R(src, d16, 16, 0);
    EXPECT_EQ(d16[27], 1);
    src[0] = -12;
    zubiDCT8x8Inv_AANTransposed_16s_C1R(src, d16, 16, 0);
    for (Zub16s v : d16) EXPECT_EQ(v, -1);
    zubiDCT8x8Inv_AANTransposed_16s_C1R(src, d16, 16, -1);
    for (Zub16s v : d16) EXPECT_EQ(v, 0);
    src[0] = 4000;
    zubiDCT8x8Inv_AANTransposed_16s8u_C1R(src, d8, 8, -1);
    for (Zub8u v : d8) EXPECT_EQ(v, 255);
    zubiDCT8x8Inv_AANTransposed_16s_C1R(src, d16, 16, 0);
    EXPECT_EQ(d16[5], 255);
    src[0] = -4000;
    zubiDCT8x8Inv_AANTransposed_16s8u_C1R(src, d8, 8, 0);
    for (Zub8u v : d8) EXPECT_EQ(v, 0);
    zubiDCT8x8Inv_AANTransposed_16s_C1R(src, d16, 16, 0);
    EXPECT_EQ(d16[5], -256);
}

// Two blocks interleaved, each with its own path: DC only for the first,
// the full transform for the second.
TEST(Mpeg2Idct, InterleavedPairs) {
    std::mt19937 rng(5);
    for (int trial = 0; trial < 500; ++trial) {
        const auto u = randomBlock(rng, 64, 300), v = randomBlock(rng, 64, 300);
        const int lastU = static_cast<int>(rng() % 66) - 2, lastV = static_cast<int>(rng() % 66) - 2;
        const int step = 40;  // bytes: 16 samples of 16 bits and 4 spare
        std::vector<Zub16s> d16(8 * step / 2, 0x5555);
        std::vector<Zub8u> d8(8 * step, 0x55);
        ASSERT_EQ(zubiDCT8x8Inv_AANTransposed_16s_P2C2R(u.data(), v.data(), d16.data(), step, lastU, lastV),
                  ZubStatusOk);
        ASSERT_EQ(zubiDCT8x8Inv_AANTransposed_16s8u_P2C2R(u.data(), v.data(), d8.data(), step, lastU, lastV),
                  ZubStatusOk);
        const auto eu16 = expected(u.data(), lastU, false), ev16 = expected(v.data(), lastV, false);
        const auto eu8 = expected(u.data(), lastU, true), ev8 = expected(v.data(), lastV, true);
        for (int j = 0; j < 8; ++j) {
            for (int k = 0; k < 8; ++k) {
                ASSERT_EQ(d16[j * step / 2 + 2 * k], eu16[8 * j + k]);
                ASSERT_EQ(d16[j * step / 2 + 2 * k + 1], ev16[8 * j + k]);
                ASSERT_EQ(d8[j * step + 2 * k], eu8[8 * j + k]);
                ASSERT_EQ(d8[j * step + 2 * k + 1], ev8[8 * j + k]);
            }
            ASSERT_EQ(d16[j * step / 2 + 16], 0x5555);
            ASSERT_EQ(d8[j * step + 16], 0x55);
        }
    }
}

TEST(Mpeg2Idct, Checks) {
    Zub16s src[64] = {100};
    Zub16s d16[128] = {};
    Zub8u d8[128] = {};
    EXPECT_EQ(zubiDCT8x8Inv_AANTransposed_16s_C1R(nullptr, d16, 0, 0), ZubStatusNullPointer);
    EXPECT_EQ(zubiDCT8x8Inv_AANTransposed_16s_C1R(src, nullptr, 16, 0), ZubStatusNullPointer);
    EXPECT_EQ(zubiDCT8x8Inv_AANTransposed_16s_C1R(src, d16, 0, 0), ZubStatusBadStep);
    EXPECT_EQ(zubiDCT8x8Inv_AANTransposed_16s8u_C1R(nullptr, d8, 8, 0), ZubStatusNullPointer);
    EXPECT_EQ(zubiDCT8x8Inv_AANTransposed_16s8u_C1R(src, d8, -8, 0), ZubStatusBadStep);
    EXPECT_EQ(zubiDCT8x8Inv_AANTransposed_16s_P2C2R(src, nullptr, d16, 32, 0, 0), ZubStatusNullPointer);
    EXPECT_EQ(zubiDCT8x8Inv_AANTransposed_16s_P2C2R(nullptr, src, d16, 32, 0, 0), ZubStatusNullPointer);
    EXPECT_EQ(zubiDCT8x8Inv_AANTransposed_16s_P2C2R(src, src, d16, 0, 0, 0), ZubStatusBadStep);
    EXPECT_EQ(zubiDCT8x8Inv_AANTransposed_16s8u_P2C2R(src, src, nullptr, 16, 0, 0), ZubStatusNullPointer);
    EXPECT_EQ(zubiDCT8x8Inv_AANTransposed_16s8u_P2C2R(src, src, d8, 0, 0, 0), ZubStatusBadStep);
    for (Zub16s v : d16) EXPECT_EQ(v, 0);
    for (Zub8u v : d8) EXPECT_EQ(v, 0);
}

}  // namespace
