// MPEG-2 inverse and forward quantisers and the scan reordering functions,
// against models of their formulas on random blocks, and their edge cases.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <random>
#include <vector>

#include "zubvc.h"

namespace {

using Block = std::vector<Zub16s>;

Block randomBlock(std::mt19937& rng, int maxMag, int zeroPercent) {
    Block b(64);
    for (Zub16s& v : b)
        v = static_cast<Zub16s>(static_cast<int>(rng() % 100) < zeroPercent
                                    ? 0
                                    : static_cast<int>(rng() % (2 * maxMag + 1)) - maxMag);
    return b;
}

int32_t sat2047(int64_t v) { return v >= 2047 ? 2047 : (v < -2047 ? -2048 : static_cast<int32_t>(v)); }
int sign(int v) { return (v > 0) - (v < 0); }

// ISO/IEC 13818-2 clause 7.4.2 to 7.4.4, with the library's saturation.
Block modelQuantInv(const Block& in, int qp, const Zub16s* w, bool intra) {
    Block out = in;
    int64_t sum = intra ? in[0] : 0;
    for (int p = intra ? 1 : 0; p < 64; ++p) {
        const int64_t a = in[p];
        if (!intra && a == 0) continue;
        int64_t v;
        if (intra)
            v = static_cast<int32_t>(a * qp * w[p] * 2) / 32;
        else
            v = w ? static_cast<int32_t>(w[p] * qp * (2 * a + sign(static_cast<int>(a)))) / 32
                  : static_cast<int32_t>(qp * (2 * a + sign(static_cast<int>(a)))) / 2;
        out[p] = static_cast<Zub16s>(sat2047(v));
        sum += out[p];
    }
    if (sum % 2 == 0) out[63] = static_cast<Zub16s>(out[63] ^ 1);
    return out;
}

TEST(Mpeg2Quant, InverseQuantisersMatchTheModel) {
    std::mt19937 rng(11);
    for (int trial = 0; trial < 3000; ++trial) {
        const bool intra = trial & 1;
        const bool flat = !intra && trial % 4 == 0;
        const int qp = 1 + static_cast<int>(rng() % 112);
        std::vector<Zub16s> w(64);
        for (Zub16s& v : w) v = static_cast<Zub16s>(1 + rng() % 255);
        const Block in = randomBlock(rng, trial % 3 == 0 ? 2048 : 20, static_cast<int>(rng() % 100));
        Block out = in;
        const Zub16s* wp = flat ? nullptr : w.data();
        ASSERT_EQ(intra ? zubiQuantInvIntra_MPEG2_16s_C1I(out.data(), qp, wp) : zubiQuantInv_MPEG2_16s_C1I(out.data(), qp, wp),
                  ZubStatusOk);
        ASSERT_EQ(out, modelQuantInv(in, qp, wp, intra)) << "trial " << trial;
    }
}

// The asymmetric saturation (-2047 stays, -2048 from anything below) and the
// mismatch toggle on position 63 both ways.
TEST(Mpeg2Quant, InverseSaturationAndMismatch) {
    std::vector<Zub16s> w(64, 16);
    Block b(64, 0);
    b[1] = -2047;  // (a x 1 x 16 x 2) / 32 = a
    b[2] = -2048;
    b[3] = 2047;
    b[4] = 2046;
    b[63] = 3;
    Block intra = b;
    ASSERT_EQ(zubiQuantInvIntra_MPEG2_16s_C1I(intra.data(), 1, w.data()), ZubStatusOk);
    EXPECT_EQ(intra[1], -2047);
    EXPECT_EQ(intra[2], -2048);
    EXPECT_EQ(intra[3], 2047);
    EXPECT_EQ(intra[4], 2046);
    EXPECT_EQ(intra[63], 3);  // sum -2047 - 2048 + 2047 + 2046 + 3 = 1: odd
    b[0] = 1;                 // the DC counts in the intra sum: even, 3 -> 2
    ASSERT_EQ(zubiQuantInvIntra_MPEG2_16s_C1I(b.data(), 1, w.data()), ZubStatusOk);
    EXPECT_EQ(b[0], 1);
    EXPECT_EQ(b[63], 2);

    Block z(64, 0);
    ASSERT_EQ(zubiQuantInv_MPEG2_16s_C1I(z.data(), 5, nullptr), ZubStatusOk);
    EXPECT_EQ(z[63], 1);  // all zero: sum 0 is even
    EXPECT_EQ(std::count(z.begin(), z.end(), 0), 63);
    Block one(64, 0);
    one[10] = -1;  // (5 x -3) / 2 = -7: odd sum, no toggle
    ASSERT_EQ(zubiQuantInv_MPEG2_16s_C1I(one.data(), 5, nullptr), ZubStatusOk);
    EXPECT_EQ(one[10], -7);
    EXPECT_EQ(one[63], 0);
    EXPECT_EQ(zubiQuantInv_MPEG2_16s_C1I(nullptr, 5, nullptr), ZubStatusNullPointer);
    EXPECT_EQ(zubiQuantInvIntra_MPEG2_16s_C1I(b.data(), 5, nullptr), ZubStatusNullPointer);
    EXPECT_EQ(zubiQuantInvIntra_MPEG2_16s_C1I(nullptr, 5, w.data()), ZubStatusNullPointer);
}

const int kDefaultIntra[64] = {
    8,  16, 19, 22, 26, 27, 29, 34, 16, 16, 22, 24, 27, 29, 34, 37, 19, 22, 26, 27, 29, 34,
    34, 38, 22, 22, 26, 27, 29, 34, 37, 40, 22, 26, 27, 29, 32, 35, 40, 48, 26, 27, 29, 32,
    35, 40, 48, 58, 26, 27, 29, 34, 38, 46, 56, 69, 27, 29, 35, 38, 46, 56, 69, 83,
};

// q = (16 a) (1/QP) M[p] in extended precision, truncated, limited to
// -2047..2047.  Away from integers the result is the exact quotient
// 16 a / (QP W) truncated.
TEST(Mpeg2Quant, ForwardQuantisersMatchTheModel) {
    std::mt19937 rng(12);
    for (int trial = 0; trial < 3000; ++trial) {
        const bool intra = trial & 1;
        const bool defaults = trial % 4 < 2;
        const int qp = (1 + static_cast<int>(rng() % 112)) * (trial % 7 == 0 ? -1 : 1);
        std::vector<float> m(64);
        std::vector<int> wi(64);
        for (int p = 0; p < 64; ++p) {
            wi[p] = defaults && intra ? kDefaultIntra[p] : 1 + static_cast<int>(rng() % 255);
            m[p] = 1.0f / static_cast<float>(wi[p]);
        }
        const Block in = randomBlock(rng, trial % 3 == 0 ? 32767 : 2047, static_cast<int>(rng() % 80));
        Block out = in;
        Zub32s count = -1;
        const float* mp = defaults ? nullptr : m.data();
        ASSERT_EQ(intra ? zubiQuantIntra_MPEG2_16s_C1I(out.data(), qp, mp, &count)
                        : zubiQuant_MPEG2_16s_C1I(out.data(), qp, mp, &count),
                  ZubStatusOk);
        int expectCount = 0;
        for (int p = 0; p < 64; ++p) {
            if (intra && p == 0) {
                ASSERT_EQ(out[0], in[0]);
                continue;
            }
            const bool weighted = intra || !defaults;
            const long double r = 1.0L / qp;
            const long double q = weighted ? (static_cast<long double>(in[p] * 16) * r) * static_cast<long double>(m[p])
                                           : static_cast<long double>(in[p]) * r;
            const long double t = std::trunc(q);
            const int v = static_cast<int>(std::clamp(t, -2047.0L, 2047.0L));
            ASSERT_EQ(out[p], v) << "trial " << trial << " position " << p;
            expectCount += v != 0;
            const double exact = weighted ? 16.0 * in[p] / (static_cast<double>(qp) * wi[p]) : 1.0 * in[p] / qp;
            if (std::fabs(exact - std::round(exact)) > 1e-6 && std::fabs(exact) < 2047) {
                ASSERT_EQ(v, static_cast<int>(exact)) << "trial " << trial << " position " << p;
            }
        }
        ASSERT_EQ(count, expectCount);
    }
}

TEST(Mpeg2Quant, ForwardChecks) {
    Block b(64, 100);
    Zub32s count = 5;
    EXPECT_EQ(zubiQuant_MPEG2_16s_C1I(nullptr, 1, nullptr, &count), ZubStatusNullPointer);
    EXPECT_EQ(zubiQuant_MPEG2_16s_C1I(b.data(), 1, nullptr, nullptr), ZubStatusNullPointer);
    EXPECT_EQ(zubiQuantIntra_MPEG2_16s_C1I(b.data(), 0, nullptr, &count), ZubStatusDivideByZero);
    EXPECT_EQ(zubiQuant_MPEG2_16s_C1I(nullptr, 0, nullptr, &count), ZubStatusNullPointer);
    EXPECT_EQ(count, 5);
    EXPECT_EQ(b, Block(64, 100));
    // 100 x 16 / (3 x 16) = 33.3: 33 everywhere but the intra DC.
    ASSERT_EQ(zubiQuantIntra_MPEG2_16s_C1I(b.data(), 3, std::vector<float>(64, 1.0f / 16).data(), &count),
              ZubStatusOk);
    EXPECT_EQ(b[0], 100);
    EXPECT_EQ(b[1], 33);
    EXPECT_EQ(count, 63);
}

std::vector<int> scanOf(int scan) {
    const Zub8u* s = scan == 1 ? ownvc_AltScanV : (scan == 2 ? ownvc_AltScanH : ownvc_Zigzag);
    return std::vector<int>(s, s + 64);
}

// The scan tables are permutations; the zig-zag walks anti-diagonals and the
// alternate scans start down the first column (V) or along the first row (H).
TEST(Mpeg2Quant, ScanTables) {
    for (int scan = 0; scan < 3; ++scan) {
        std::vector<int> s = scanOf(scan);
        std::sort(s.begin(), s.end());
        for (int k = 0; k < 64; ++k) EXPECT_EQ(s[k], k);
    }
    const auto z = scanOf(0);
    for (int k = 1; k < 64; ++k) {
        const int d0 = z[k - 1] / 8 + z[k - 1] % 8, d1 = z[k] / 8 + z[k] % 8;
        EXPECT_TRUE(d1 == d0 || d1 == d0 + 1) << k;
    }
    EXPECT_EQ(scanOf(1)[3], 24);
    EXPECT_EQ(scanOf(2)[3], 3);
    EXPECT_EQ(scanOf(1)[63], 63);
}

TEST(Mpeg2Quant, ScansMatchTheModel) {
    std::mt19937 rng(13);
    for (int trial = 0; trial < 2000; ++trial) {
        const int scanType = static_cast<int>(rng() % 5) - 1;  // -1 and 3: zig-zag
        const auto s = scanOf(scanType == 1 || scanType == 2 ? scanType : 0);
        const Block raster = randomBlock(rng, 100, static_cast<int>(rng() % 100));
        const int nonzero = static_cast<int>(64 - std::count(raster.begin(), raster.end(), 0));
        const int count = 1 + static_cast<int>(rng() % 64);
        Block fwd(64, 0x7777);
        ASSERT_EQ(zubiScanFwd_16s_C1(raster.data(), fwd.data(), count, scanType), ZubStatusOk);
        int copied = 0;
        for (int k = 0; k < 64; ++k) {
            const Zub16s v = raster[s[k]];
            const bool take = count >= 20 || (v != 0 && copied < count);
            copied += take && v != 0;
            ASSERT_EQ(fwd[k], take ? v : 0) << trial << " " << k;
        }
        (void)nonzero;
        const int last = static_cast<int>(rng() % 64);
        Block inv(64, 0x7777);
        ASSERT_EQ(zubiScanInv_16s_C1(fwd.data(), inv.data(), last, scanType), ZubStatusOk);
        for (int k = 0; k < 64; ++k) {
            const auto pos = std::find(s.begin(), s.end(), k) - s.begin();
            ASSERT_EQ(inv[k], pos <= last ? fwd[pos] : 0) << trial << " " << k;
        }
    }
}

TEST(Mpeg2Quant, ScanEdges) {
    Block raster(64, 0);
    raster[1] = 4;  // zig-zag position 1
    raster[8] = 5;  // zig-zag position 2
    Block out(64, 9);
    ASSERT_EQ(zubiScanFwd_16s_C1(raster.data(), out.data(), 1, 0), ZubStatusOk);
    EXPECT_EQ(out[1], 4);
    EXPECT_EQ(out[2], 0);
    EXPECT_EQ(zubiScanFwd_16s_C1(raster.data(), out.data(), 0, 0), ZubStatusOutOfRange);
    EXPECT_EQ(zubiScanFwd_16s_C1(raster.data(), out.data(), 65, 0), ZubStatusOutOfRange);
    EXPECT_EQ(zubiScanFwd_16s_C1(nullptr, out.data(), 0, 0), ZubStatusNullPointer);
    EXPECT_EQ(zubiScanFwd_16s_C1(raster.data(), nullptr, 1, 0), ZubStatusNullPointer);
    Block scanOrder(64, 3);
    Block dst(64, 9);
    ASSERT_EQ(zubiScanInv_16s_C1(scanOrder.data(), dst.data(), 0, 2), ZubStatusOk);
    EXPECT_EQ(dst[0], 3);
    EXPECT_EQ(std::count(dst.begin(), dst.end(), 0), 63);
    EXPECT_EQ(zubiScanInv_16s_C1(scanOrder.data(), dst.data(), -1, 0), ZubStatusOutOfRange);
    EXPECT_EQ(zubiScanInv_16s_C1(scanOrder.data(), dst.data(), 64, 0), ZubStatusOutOfRange);
    EXPECT_EQ(zubiScanInv_16s_C1(scanOrder.data(), nullptr, 64, 0), ZubStatusNullPointer);
}

}  // namespace
