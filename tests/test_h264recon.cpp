// H.264 residual reconstruction against a plain model of clauses 8.5.12.1
// (scaling with the flat matrix) and 8.5.12.2 (inverse transform), at every QP.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <random>
#include <vector>

#include "zubvc.h"

namespace {

// normAdjust4x4(m, i, j) of clause 8.5.9, written out from equation 8-315.
int normAdjust(int m, int i, int j) {
    static const int v[6][3] = {{10, 16, 13}, {11, 18, 14}, {13, 20, 16}, {14, 23, 18}, {16, 25, 20}, {18, 29, 23}};
    if (i % 2 == 0 && j % 2 == 0) return v[m][0];
    if (i % 2 == 1 && j % 2 == 1) return v[m][1];
    return v[m][2];
}

// Residual r[i][j] of one block: c in raster order; dc, when given, replaces
// the scaled c[0][0] (clause 8.5.12.1: the Intra16x16 / chroma DC is already
// scaled).
void modelResidual(const int64_t c[16], const int64_t* dc, int qp, int64_t r[16]) {
    int64_t d[4][4];
    for (int i = 0; i < 4; ++i)
        for (int j = 0; j < 4; ++j) {
            const int64_t ls = 16 * normAdjust(qp % 6, i, j);
            const int64_t prod = c[4 * i + j] * ls;
            if (qp >= 24)
                d[i][j] = prod * (int64_t{1} << (qp / 6 - 4));
            else
                d[i][j] = (prod + (int64_t{1} << (3 - qp / 6))) >> (4 - qp / 6);
        }
    if (dc) d[0][0] = *dc;
    // Equations 8-338 to 8-353.
    int64_t f[4][4], h[4][4];
    for (int i = 0; i < 4; ++i) {
        const int64_t e0 = d[i][0] + d[i][2], e1 = d[i][0] - d[i][2];
        const int64_t e2 = (d[i][1] >> 1) - d[i][3], e3 = d[i][1] + (d[i][3] >> 1);
        f[i][0] = e0 + e3;
        f[i][1] = e1 + e2;
        f[i][2] = e1 - e2;
        f[i][3] = e0 - e3;
    }
    for (int j = 0; j < 4; ++j) {
        const int64_t g0 = f[0][j] + f[2][j], g1 = f[0][j] - f[2][j];
        const int64_t g2 = (f[1][j] >> 1) - f[3][j], g3 = f[1][j] + (f[3][j] >> 1);
        h[0][j] = g0 + g3;
        h[1][j] = g1 + g2;
        h[2][j] = g1 - g2;
        h[3][j] = g0 - g3;
    }
    for (int i = 0; i < 16; ++i) r[i] = (h[i / 4][i % 4] + 32) >> 6;
}

int64_t clipTo(int64_t v, int64_t hi) { return v < 0 ? 0 : (v > hi ? hi : v); }

// Random levels of the size a conforming stream carries at this QP.
int16_t randomLevel(std::mt19937& rng, int qp) {
    const int range = qp < 12 ? 2000 : (qp < 30 ? 300 : 40);
    const int v = static_cast<int>(rng() % (2 * range + 1)) - range;
    return static_cast<int16_t>((rng() & 3) ? v / 8 : v);
}

TEST(TransformQuantInvAddPred4x4, MatchesModelAtEveryQp) {
    std::mt19937 rng(7);
    for (int qp = 0; qp <= 51; ++qp) {
        for (int trial = 0; trial < 200; ++trial) {
            Zub16s coef[16];
            int64_t c64[16];
            for (int i = 0; i < 16; ++i) c64[i] = coef[i] = (rng() % 3) ? 0 : randomLevel(rng, qp);
            if (trial % 5 == 0)  // DC level only: the short path
                for (int i = 1; i < 16; ++i) c64[i] = coef[i] = 0;
            const bool withDc = trial & 1;
            const Zub16s dc = static_cast<Zub16s>(static_cast<int>(rng() % 4001) - 2000);
            const int64_t dc64 = dc;
            // Prediction inside a wider picture (step 7) to catch stride errors.
            Zub8u pic[4 * 7];
            for (auto& p : pic) p = static_cast<Zub8u>(rng());
            Zub8u expect[4 * 7];
            std::memcpy(expect, pic, sizeof pic);
            int64_t r[16];
            modelResidual(c64, withDc ? &dc64 : nullptr, qp, r);
            for (int i = 0; i < 16; ++i) {
                Zub8u& e = expect[(i / 4) * 7 + i % 4];
                e = static_cast<Zub8u>(clipTo(e + r[i], 255));
            }
            ASSERT_EQ(zubiTransformQuantInvAddPred4x4_H264_16s_C1IR(coef, withDc ? &dc : nullptr, pic, 7, qp),
                      ZubStatusOk);
            ASSERT_EQ(0, std::memcmp(pic, expect, sizeof pic)) << "qp " << qp << " trial " << trial;

            // The residual-only form gives the same residual.
            Zub16s res[16];
            std::memcpy(res, coef, sizeof res);
            ASSERT_EQ(zubiDequantTransformResidual_H264_16s_C1I(res, withDc ? &dc : nullptr, qp), ZubStatusOk);
            for (int i = 0; i < 16; ++i) ASSERT_EQ(res[i], r[i]) << "qp " << qp << " pos " << i;
        }
    }
}

TEST(TransformQuantInvAddPred4x4, DcOnlyAndSaturation) {
    // No AC block: only (dc + 32) >> 6 is added, including negative rounding.
    const Zub16s dcs[] = {31, 32, -32, -33, 6400, -6400};
    for (Zub16s dc : dcs) {
        Zub8u blk[16];
        std::memset(blk, 100, sizeof blk);
        ASSERT_EQ(zubiTransformQuantInvAddPred4x4_H264_16s_C1IR(nullptr, &dc, blk, 4, 0), ZubStatusOk);
        const int expect = static_cast<int>(clipTo(100 + ((dc + 32) >> 6), 255));
        for (Zub8u v : blk) ASSERT_EQ(v, expect) << dc;
    }
}

TEST(TransformQuantInvAddPred4x4, ChecksInOrderAndWritesNothing) {
    Zub16s coef[16] = {5};
    Zub8u blk[16] = {};
    EXPECT_EQ(zubiTransformQuantInvAddPred4x4_H264_16s_C1IR(coef, nullptr, nullptr, 0, 99), ZubStatusNullPointer);
    EXPECT_EQ(zubiTransformQuantInvAddPred4x4_H264_16s_C1IR(nullptr, nullptr, blk, 4, 0), ZubStatusNullPointer);
    EXPECT_EQ(zubiTransformQuantInvAddPred4x4_H264_16s_C1IR(coef, nullptr, blk, 3, 99), ZubStatusBadStep);
    EXPECT_EQ(zubiTransformQuantInvAddPred4x4_H264_16s_C1IR(coef, nullptr, blk, 4, 52), ZubStatusOutOfRange);
    EXPECT_EQ(zubiTransformQuantInvAddPred4x4_H264_16s_C1IR(coef, nullptr, blk, 4, -1), ZubStatusOutOfRange);
    for (Zub8u v : blk) EXPECT_EQ(v, 0);
    Zub16u blk16[16] = {};
    Zub32s c32[16] = {5};
    EXPECT_EQ(zubiTransformQuantInvAddPred4x4_H264_32s_C1IR(c32, nullptr, blk16, 4, 88, 14), ZubStatusOutOfRange);
    EXPECT_EQ(zubiTransformQuantInvAddPred4x4_H264_32s_C1IR(c32, nullptr, blk16, 4, 87, 15), ZubStatusOutOfRange);
    EXPECT_EQ(zubiTransformQuantInvAddPred4x4_H264_32s_C1IR(c32, nullptr, blk16, 3, 88, 15), ZubStatusBadStep);
    for (Zub16u v : blk16) EXPECT_EQ(v, 0);
    EXPECT_EQ(zubiDequantTransformResidual_H264_16s_C1I(nullptr, nullptr, 0), ZubStatusNullPointer);
    EXPECT_EQ(zubiDequantTransformResidual_H264_16s_C1I(coef, nullptr, 52), ZubStatusOutOfRange);
    EXPECT_EQ(coef[0], 5);
}

TEST(TransformQuantInvAddPred4x4, HighBitDepthAtEveryQp) {
    std::mt19937 rng(11);
    for (int bitDepth : {9, 10, 14}) {
        const int maxQp = 51 + 6 * (bitDepth - 8);
        const int maxVal = (1 << bitDepth) - 1;
        for (int qp = 0; qp <= maxQp; ++qp) {
            for (int trial = 0; trial < 40; ++trial) {
                Zub32s coef[16];
                int64_t c64[16];
                // Scaled levels up to 2^(bitDepth + 8), the range conforming streams keep to.
                const int range = ((1 << (bitDepth + 8)) >> (qp / 6 > 4 ? qp / 6 - 4 : 0)) / 464 + 1;
                for (int i = 0; i < 16; ++i)
                    c64[i] = coef[i] = (rng() % 3) ? 0 : static_cast<int>(rng() % (2 * range + 1)) - range;
                const Zub32s dc = static_cast<Zub32s>(rng() % 20001) - 10000;
                const int64_t dc64 = dc;
                const bool withDc = trial & 1;
                Zub16u pic[4 * 6];
                for (auto& p : pic) p = static_cast<Zub16u>(rng() & maxVal);
                int64_t r[16];
                modelResidual(c64, withDc ? &dc64 : nullptr, qp, r);
                Zub16u expect[4 * 6];
                std::memcpy(expect, pic, sizeof pic);
                for (int i = 0; i < 16; ++i) {
                    Zub16u& e = expect[(i / 4) * 6 + i % 4];
                    e = static_cast<Zub16u>(clipTo(e + r[i], maxVal));
                }
                ASSERT_EQ(zubiTransformQuantInvAddPred4x4_H264_32s_C1IR(coef, withDc ? &dc : nullptr, pic, 6, qp,
                                                                        bitDepth),
                          ZubStatusOk);
                ASSERT_EQ(0, std::memcmp(pic, expect, sizeof pic)) << bitDepth << " qp " << qp;
            }
        }
    }
}

// Position of luma4x4BlkIdx n: Figure 6-10 read plainly.
void lumaBlockPos(int n, int& x, int& y) {
    static const int px[16] = {0, 4, 0, 4, 8, 12, 8, 12, 0, 4, 0, 4, 8, 12, 8, 12};
    static const int py[16] = {0, 0, 4, 4, 0, 0, 4, 4, 8, 8, 12, 12, 8, 8, 12, 12};
    x = px[n];
    y = py[n];
}

TEST(ReconstructLumaInterMB, PresentBlocksInDecodingOrder) {
    std::mt19937 rng(3);
    for (int trial = 0; trial < 60; ++trial) {
        const int qp = static_cast<int>(rng() % 52);
        const Zub32u cbp = rng() & 0xFFFFu;
        std::vector<Zub16s> coefs;
        for (int n = 0; n < 16; ++n)
            if (cbp & (1u << n))
                for (int i = 0; i < 16; ++i) coefs.push_back((rng() % 4) ? 0 : randomLevel(rng, qp));
        coefs.resize(coefs.size() + 16, 0);
        const int step = 20;
        std::vector<Zub8u> pic(16 * step), expect;
        for (auto& p : pic) p = static_cast<Zub8u>(rng());
        expect = pic;
        size_t k = 0;
        for (int n = 0; n < 16; ++n) {
            if (!(cbp & (1u << n))) continue;
            int64_t c64[16], r[16];
            for (int i = 0; i < 16; ++i) c64[i] = coefs[k + i];
            k += 16;
            modelResidual(c64, nullptr, qp, r);
            int bx, by;
            lumaBlockPos(n, bx, by);
            for (int i = 0; i < 16; ++i) {
                Zub8u& e = expect[(by + i / 4) * step + bx + i % 4];
                e = static_cast<Zub8u>(clipTo(e + r[i], 255));
            }
        }
        Zub16s* p = coefs.data();
        ASSERT_EQ(zubiReconstructLumaInterMB_H264_16s8u_C1R(&p, pic.data(), step, cbp, qp), ZubStatusOk);
        EXPECT_EQ(p, coefs.data() + k);
        ASSERT_EQ(pic, expect) << "trial " << trial;
    }
}

TEST(ReconstructChromaInterMB, DcAndAcOfBothPlanes) {
    std::mt19937 rng(5);
    for (int trial = 0; trial < 60; ++trial) {
        const int qpU = static_cast<int>(rng() % 40), qpV = static_cast<int>(rng() % 40);
        const Zub32u cbp = rng() & 0xFFu;
        Zub16s dc[8];
        for (auto& d : dc) d = static_cast<Zub16s>((rng() % 2) ? 0 : static_cast<int>(rng() % 3001) - 1500);
        std::vector<Zub16s> coefs;
        for (int n = 0; n < 8; ++n)
            if (cbp & (1u << n)) {
                coefs.push_back(static_cast<Zub16s>(rng()));  // position 0 is ignored
                for (int i = 1; i < 16; ++i) coefs.push_back((rng() % 4) ? 0 : randomLevel(rng, qpU));
            }
        coefs.resize(coefs.size() + 16, 0);
        const int step = 11;
        std::vector<Zub8u> u(8 * step), v(8 * step);
        for (auto& s : u) s = static_cast<Zub8u>(rng());
        for (auto& s : v) s = static_cast<Zub8u>(rng());
        std::vector<Zub8u> eu = u, ev = v;
        size_t k = 0;
        for (int n = 0; n < 8; ++n) {
            int64_t c64[16] = {}, r[16];
            if (cbp & (1u << n)) {
                for (int i = 0; i < 16; ++i) c64[i] = coefs[k + i];
                k += 16;
            }
            const int64_t d = dc[n];
            modelResidual(c64, &d, n < 4 ? qpU : qpV, r);
            std::vector<Zub8u>& e = n < 4 ? eu : ev;
            const int bx = (n & 1) * 4, by = ((n >> 1) & 1) * 4;
            for (int i = 0; i < 16; ++i) {
                Zub8u& s = e[(by + i / 4) * step + bx + i % 4];
                s = static_cast<Zub8u>(clipTo(s + r[i], 255));
            }
        }
        Zub16s* p = coefs.data();
        ASSERT_EQ(zubiReconstructChromaInterMB_H264_16s8u_P2R(&p, u.data(), v.data(), step, dc, cbp, qpU, qpV),
                  ZubStatusOk);
        EXPECT_EQ(p, coefs.data() + k);
        ASSERT_EQ(u, eu) << trial;
        ASSERT_EQ(v, ev) << trial;
    }
}

TEST(ReconstructMB, ErrorsLeavePointerAndPictureAlone) {
    Zub16s coefs[32] = {1, 2, 3};
    Zub16s* p = coefs;
    Zub16s* nullCoef = nullptr;
    Zub8u pic[16 * 16] = {};
    Zub16s dc[8] = {100};
    EXPECT_EQ(zubiReconstructLumaInterMB_H264_16s8u_C1R(nullptr, pic, 16, 1, 20), ZubStatusNullPointer);
    EXPECT_EQ(zubiReconstructLumaInterMB_H264_16s8u_C1R(&nullCoef, pic, 15, 1, 60), ZubStatusNullPointer);
    EXPECT_EQ(zubiReconstructLumaInterMB_H264_16s8u_C1R(&p, pic, 15, 1, 60), ZubStatusBadStep);
    EXPECT_EQ(zubiReconstructLumaInterMB_H264_16s8u_C1R(&p, pic, 16, 1, 52), ZubStatusOutOfRange);
    EXPECT_EQ(zubiReconstructChromaInterMB_H264_16s8u_P2R(&p, pic, pic, 8, nullptr, 1, 0, 0), ZubStatusNullPointer);
    EXPECT_EQ(zubiReconstructChromaInterMB_H264_16s8u_P2R(&p, pic, pic, 7, dc, 1, 0, 0), ZubStatusBadStep);
    EXPECT_EQ(zubiReconstructChromaInterMB_H264_16s8u_P2R(&p, pic, pic, 8, dc, 1, 40, 0), ZubStatusOutOfRange);
    EXPECT_EQ(zubiReconstructChromaInterMB_H264_16s8u_P2R(&p, pic, pic, 8, dc, 1, 0, 40), ZubStatusOutOfRange);
    EXPECT_EQ(p, coefs);
    for (Zub8u v : pic) ASSERT_EQ(v, 0);
}


// ---- intra macroblocks: prediction from reconstructed neighbours, then the residual ----

// Above-right availability inside the macroblock (clause 6.4.11.4): blocks
// 3, 7, 11, 13 and 15 never have it, block 5 takes it from the macroblock
// above-right, blocks 0, 1 and 4 from the macroblock above.
int modelIntra4x4Flags(int n, int mb) {
    int x, y;
    lumaBlockPos(n, x, y);
    int f = 0;
    if (y > 0 || (mb & 1)) f |= 1;
    if (x > 0 || (mb & 2)) f |= 2;
    const bool aboveLeft = (x > 0 && y > 0) || (x > 0 && y == 0 && (mb & 1)) || (x == 0 && y > 0 && (mb & 2)) ||
                           (x == 0 && y == 0 && (mb & 32));
    if (aboveLeft) f |= 32;
    bool aboveRight;
    switch (n) {
        case 0: case 1: case 4: aboveRight = mb & 1; break;
        case 5: aboveRight = mb & 64; break;
        case 3: case 7: case 11: case 13: case 15: aboveRight = false; break;
        default: aboveRight = true; break;
    }
    if (aboveRight) f |= 64;
    return f;
}

void addModelResidual(const Zub16s* coef, const int64_t* dc, int qp, Zub8u* dst, int step) {
    int64_t c64[16], r[16];
    for (int i = 0; i < 16; ++i) c64[i] = coef ? coef[i] : 0;
    modelResidual(c64, dc, qp, r);
    for (int i = 0; i < 16; ++i) {
        Zub8u& e = dst[(i / 4) * step + i % 4];
        e = static_cast<Zub8u>(clipTo(e + r[i], 255));
    }
}

TEST(ReconstructLumaIntraMB, EachBlockPredictedFromReconstructedNeighbours) {
    std::mt19937 rng(9);
    const int step = 48;
    for (int trial = 0; trial < 200; ++trial) {
        const int qp = static_cast<int>(rng() % 52);
        const int avail = static_cast<int>(rng() & (1 | 2 | 32 | 64));
        const Zub32u cbp = rng() & 0xFFFFu;
        Zub8u modes[16];
        for (auto& m : modes) m = static_cast<Zub8u>(rng() % 9);
        std::vector<Zub16s> coefs;
        for (int n = 0; n < 16; ++n)
            if (cbp & (1u << n))
                for (int i = 0; i < 16; ++i) coefs.push_back((rng() % 4) ? 0 : randomLevel(rng, qp));
        coefs.resize(coefs.size() + 16, 0);
        // The macroblock at (16, 16) of a 48x48 area with random neighbours.
        std::vector<Zub8u> pic(48 * step);
        for (auto& p : pic) p = static_cast<Zub8u>(rng());
        std::vector<Zub8u> expect = pic;
        size_t k = 0;
        for (int n = 0; n < 16; ++n) {
            int x, y;
            lumaBlockPos(n, x, y);
            Zub8u* d = &expect[static_cast<size_t>((16 + y) * step + 16 + x)];
            ASSERT_GE(zubiPredictIntra_4x4_H264_8u_C1IR(d, step, modes[n], modelIntra4x4Flags(n, avail)), 0);
            if (cbp & (1u << n)) {
                addModelResidual(&coefs[k], nullptr, qp, d, step);
                k += 16;
            }
        }
        Zub16s* p = coefs.data();
        ASSERT_GE(zubiReconstructLumaIntraMB_H264_16s8u_C1R(&p, &pic[16 * step + 16], step, modes, cbp, qp, avail), 0);
        EXPECT_EQ(p, coefs.data() + k);
        ASSERT_EQ(pic, expect) << "trial " << trial;
    }
}

TEST(ReconstructLumaIntra16x16MB, PredictionThenDcAndAc) {
    std::mt19937 rng(13);
    const int step = 40;
    for (int trial = 0; trial < 100; ++trial) {
        const int qp = static_cast<int>(rng() % 52);
        const int mode = trial % 3 == 0 ? 2 : static_cast<int>(rng() % 4);  // DC needs no neighbours
        const int avail = mode == 2 ? static_cast<int>(rng() & 35) : 35;
        const Zub32u cbp = (trial & 1) ? (rng() & 0xFFFFu) : 0;
        Zub16s dc[16];
        for (auto& d : dc) d = static_cast<Zub16s>((rng() % 2) ? 0 : static_cast<int>(rng() % 4001) - 2000);
        std::vector<Zub16s> coefs;
        for (int n = 0; n < 16; ++n)
            if (cbp & (1u << n)) {
                coefs.push_back(0);
                for (int i = 1; i < 16; ++i) coefs.push_back((rng() % 4) ? 0 : randomLevel(rng, qp));
            }
        coefs.resize(coefs.size() + 16, 0);
        std::vector<Zub8u> pic(40 * step);
        for (auto& p : pic) p = static_cast<Zub8u>(rng());
        std::vector<Zub8u> expect = pic;
        Zub8u* mb = &expect[static_cast<size_t>(20 * step + 20)];
        ASSERT_EQ(zubiPredictIntra_16x16_H264_8u_C1IR(mb, step, mode, avail), ZubStatusOk);
        size_t k = 0;
        for (int n = 0; n < 16; ++n) {
            int x, y;
            lumaBlockPos(n, x, y);
            const int64_t d = dc[(y / 4) * 4 + x / 4];
            const bool present = cbp & (1u << n);
            addModelResidual(present ? &coefs[k] : nullptr, &d, qp, mb + y * step + x, step);
            if (present) k += 16;
        }
        Zub16s* p = coefs.data();
        ASSERT_EQ(zubiReconstructLumaIntra16x16MB_H264_16s8u_C1R(&p, &pic[20 * step + 20], step, mode, dc, cbp, qp,
                                                                 avail),
                  ZubStatusOk);
        EXPECT_EQ(p, coefs.data() + k);
        ASSERT_EQ(pic, expect) << "trial " << trial;
    }
    // A plane prediction without its neighbours is refused before any write.
    std::vector<Zub8u> pic(32 * 32, 7);
    Zub16s coef[16] = {}, dc[16] = {100};
    Zub16s* p = coef;
    EXPECT_EQ(zubiReconstructLumaIntra16x16MB_H264_16s8u_C1R(&p, &pic[16 * 32 + 16], 32, 3, dc, 0, 20, 3),
              ZubStatusNeighbourUnavailable);
    EXPECT_EQ(p, coef);
    for (Zub8u v : pic) ASSERT_EQ(v, 7);
}

TEST(ReconstructChromaIntraMB, BothPlanesPredictedThenResidual) {
    std::mt19937 rng(17);
    const int step = 24;
    for (int trial = 0; trial < 100; ++trial) {
        const int mode = static_cast<int>(rng() % 4);
        const int avail = mode == 0 ? static_cast<int>(rng() & 35) : 35;
        const int qpU = static_cast<int>(rng() % 40), qpV = static_cast<int>(rng() % 40);
        const Zub32u cbp = rng() & 0xFFu;
        Zub16s dc[8];
        for (auto& d : dc) d = static_cast<Zub16s>(static_cast<int>(rng() % 2001) - 1000);
        std::vector<Zub16s> coefs;
        for (int n = 0; n < 8; ++n)
            if (cbp & (1u << n)) {
                coefs.push_back(0);
                for (int i = 1; i < 16; ++i) coefs.push_back((rng() % 4) ? 0 : randomLevel(rng, qpU));
            }
        coefs.resize(coefs.size() + 16, 0);
        std::vector<Zub8u> u(24 * step), v(24 * step);
        for (auto& s : u) s = static_cast<Zub8u>(rng());
        for (auto& s : v) s = static_cast<Zub8u>(rng());
        std::vector<Zub8u> eu = u, ev = v;
        const size_t at = 8 * step + 8;
        ASSERT_EQ(zubiPredictIntraChroma8x8_H264_8u_C1IR(&eu[at], step, mode, avail), ZubStatusOk);
        ASSERT_EQ(zubiPredictIntraChroma8x8_H264_8u_C1IR(&ev[at], step, mode, avail), ZubStatusOk);
        size_t k = 0;
        for (int n = 0; n < 8; ++n) {
            const int64_t d = dc[n];
            const bool present = cbp & (1u << n);
            Zub8u* blk = (n < 4 ? &eu[at] : &ev[at]) + ((n >> 1) & 1) * 4 * step + (n & 1) * 4;
            addModelResidual(present ? &coefs[k] : nullptr, &d, n < 4 ? qpU : qpV, blk, step);
            if (present) k += 16;
        }
        Zub16s* p = coefs.data();
        ASSERT_EQ(zubiReconstructChromaIntraMB_H264_16s8u_P2R(&p, &u[at], &v[at], step, mode, dc, cbp, qpU, qpV, avail),
                  ZubStatusOk);
        EXPECT_EQ(p, coefs.data() + k);
        ASSERT_EQ(u, eu) << trial;
        ASSERT_EQ(v, ev) << trial;
    }
}

}  // namespace
