// H.264 residual reconstruction against a plain model of clauses 8.5.12.1
// (scaling with the flat matrix) and 8.5.12.2 (inverse transform), at every
// QP, for single blocks and for macroblocks in decoding order.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <random>
#include <string>
#include <vector>

#include "zubvc.h"

namespace {

// Residual r of one block, c in raster order; dc, when given, replaces the
// scaled c[0][0] (the Intra16x16 / chroma DC comes already scaled).
// ls, when given, is LevelScale4x4 of a scaling matrix (raster order).
void modelResidual(const int64_t c[16], const int64_t* dc, int qp, int64_t r[16], const int64_t* ls = nullptr) {
    // normAdjust4x4 of clause 8.5.9 (equation 8-315).
    static const int v[6][3] = {{10, 16, 13}, {11, 18, 14}, {13, 20, 16}, {14, 23, 18}, {16, 25, 20}, {18, 29, 23}};
    int64_t d[4][4], f[4][4], h[4][4];
    for (int i = 0; i < 4; ++i)
        for (int j = 0; j < 4; ++j) {
            const int64_t flat = 16 * v[qp % 6][i % 2 == 0 && j % 2 == 0 ? 0 : i % 2 == 1 && j % 2 == 1 ? 1 : 2];
            const int64_t prod = c[4 * i + j] * (ls ? ls[4 * i + j] : flat);
            d[i][j] = qp >= 24 ? prod * (int64_t{1} << (qp / 6 - 4))
                               : (prod + (int64_t{1} << (3 - qp / 6))) >> (4 - qp / 6);
        }
    if (dc) d[0][0] = *dc;
    // Equations 8-338 to 8-353: rows, then columns.
    for (int i = 0; i < 4; ++i) {
        const int64_t e0 = d[i][0] + d[i][2], e1 = d[i][0] - d[i][2];
        const int64_t e2 = (d[i][1] >> 1) - d[i][3], e3 = d[i][1] + (d[i][3] >> 1);
        f[i][0] = e0 + e3, f[i][1] = e1 + e2, f[i][2] = e1 - e2, f[i][3] = e0 - e3;
    }
    for (int j = 0; j < 4; ++j) {
        const int64_t g0 = f[0][j] + f[2][j], g1 = f[0][j] - f[2][j];
        const int64_t g2 = (f[1][j] >> 1) - f[3][j], g3 = f[1][j] + (f[3][j] >> 1);
        h[0][j] = g0 + g3, h[1][j] = g1 + g2, h[2][j] = g1 - g2, h[3][j] = g0 - g3;
    }
    for (int i = 0; i < 16; ++i) r[i] = (h[i / 4][i % 4] + 32) >> 6;
}

// Adds the model residual of coef (null: no AC block) to the 4x4 block at dst.
template <class Coef, class Pixel>
void addModelResidual(const Coef* coef, const int64_t* dc, int qp, Pixel* dst, int step, int maxVal = 255,
                      const int64_t* ls = nullptr) {
    int64_t c[16], r[16];
    for (int i = 0; i < 16; ++i) c[i] = coef ? coef[i] : 0;
    modelResidual(c, dc, qp, r, ls);
    for (int i = 0; i < 16; ++i) {
        Pixel& e = dst[(i / 4) * step + i % 4];
        e = static_cast<Pixel>(std::clamp<int64_t>(e + r[i], 0, maxVal));
    }
}

// Random levels of the size a conforming stream carries at this QP.
int16_t randomLevel(std::mt19937& rng, int qp) {
    const int range = qp < 12 ? 2000 : (qp < 30 ? 300 : 40);
    const int v = static_cast<int>(rng() % (2 * range + 1)) - range;
    return static_cast<int16_t>((rng() & 3) ? v / 8 : v);
}

// One block of random prediction inside a picture of step 7 (to catch
// stride errors): call(pic) against the model.
template <class Coef, class Pixel, class Call>
void checkBlock(std::mt19937& rng, const Coef* coef, const Coef* dc, int qp, int maxVal, Call call) {
    Pixel pic[4 * 7], expect[4 * 7];
    for (auto& p : pic) p = static_cast<Pixel>(rng() & maxVal);
    std::memcpy(expect, pic, sizeof pic);
    const int64_t dc64 = dc ? *dc : 0;
    addModelResidual(coef, dc ? &dc64 : nullptr, qp, expect, 7, maxVal);
    ASSERT_EQ(call(pic), ZubStatusOk);
    ASSERT_EQ(0, std::memcmp(pic, expect, sizeof pic));
}

// Single blocks, 32s/16u at every QP of bit depths 8 to 14, 16s/8u and the
// residual-only form at 8 bits; now and then without AC levels (the DC-only
// path) or without pCoeffs at all.
TEST(TransformQuantInvAddPred4x4, MatchesModelAtEveryQpAndBitDepth) {
    std::mt19937 rng(7);
    for (int bitDepth : {8, 9, 10, 14})
        for (int qp = 0; qp <= 51 + 6 * (bitDepth - 8); ++qp)
            for (int trial = 0; trial < (bitDepth == 8 ? 200 : 40); ++trial) {
                SCOPED_TRACE("bit depth " + std::to_string(bitDepth) + " qp " + std::to_string(qp));
                // Scaled levels up to 2^(bitDepth + 8), the range conforming streams keep to.
                const int range = ((1 << (bitDepth + 8)) >> (qp / 6 > 4 ? qp / 6 - 4 : 0)) / 464 + 1;
                Zub32s c32[16];
                for (int i = 0; i < 16; ++i) {
                    const int level =
                        bitDepth == 8 ? randomLevel(rng, qp) : static_cast<int>(rng() % (2 * range + 1)) - range;
                    c32[i] = (rng() % 3) || (trial % 5 == 0 && i > 0) ? 0 : level;
                }
                const Zub32s dc = static_cast<Zub32s>(rng() % 20001) - 10000, *pDc = trial & 1 ? &dc : nullptr;
                const Zub32s* pCoef = pDc && trial % 10 == 1 ? nullptr : c32;
                checkBlock<Zub32s, Zub16u>(rng, pCoef, pDc, qp, (1 << bitDepth) - 1, [&](Zub16u* pic) {
                    return zubiTransformQuantInvAddPred4x4_H264_32s_C1IR(pCoef, pDc, pic, 7, qp, bitDepth);
                });
                if (bitDepth > 8 || HasFailure()) continue;
                Zub16s coef[16], dc16 = static_cast<Zub16s>(dc / 5);
                for (int i = 0; i < 16; ++i) coef[i] = static_cast<Zub16s>(c32[i]);
                const Zub16s *pCoef16 = pCoef ? coef : nullptr, *pDc16 = pDc ? &dc16 : nullptr;
                checkBlock<Zub16s, Zub8u>(rng, pCoef16, pDc16, qp, 255, [&](Zub8u* pic) {
                    return zubiTransformQuantInvAddPred4x4_H264_16s_C1IR(pCoef16, pDc16, pic, 7, qp);
                });
                int64_t c64[16], r[16], dc64 = dc16;
                for (int i = 0; i < 16; ++i) c64[i] = coef[i];
                modelResidual(c64, pDc ? &dc64 : nullptr, qp, r);
                ASSERT_EQ(zubiDequantTransformResidual_H264_16s_C1I(coef, pDc16, qp), ZubStatusOk);
                for (int i = 0; i < 16; ++i) ASSERT_EQ(coef[i], r[i]) << "residual at " << i;
            }
}

// Position of luma4x4BlkIdx n: Figure 6-10 read plainly.
const int kBlockX[16] = {0, 4, 0, 4, 8, 12, 8, 12, 0, 4, 0, 4, 8, 12, 8, 12};
const int kBlockY[16] = {0, 0, 4, 4, 0, 0, 4, 4, 8, 8, 12, 12, 8, 8, 12, 12};

// Neighbour flags of luma4x4BlkIdx n from the macroblock's (clause 6.4.11.4):
// above-right never for blocks 3, 7, 11, 13, 15, from the macroblock
// above-right for block 5 and from the one above for blocks 0, 1 and 4.
int modelIntra4x4Flags(int n, int mb) {
    const int x = kBlockX[n], y = kBlockY[n];
    const bool aboveLeft = (x > 0 && y > 0) || (x > 0 && (mb & 1)) || (y > 0 && (mb & 2)) || (x + y == 0 && (mb & 32));
    const bool aboveRight = n == 0 || n == 1 || n == 4 ? (mb & 1) : n == 5 ? (mb & 64) : n % 2 == 0 || n == 9;
    return (y > 0 || (mb & 1) ? 1 : 0) | (x > 0 || (mb & 2) ? 2 : 0) | (aboveLeft ? 32 : 0) | (aboveRight ? 64 : 0);
}

std::vector<Zub8u> randomBytes(std::mt19937& rng, size_t n) {
    std::vector<Zub8u> v(n);
    for (auto& b : v) b = static_cast<Zub8u>(rng());
    return v;
}

// Packed coefficients of the blocks set in the low `blocks` bits of cbp, plus
// a spare block; coefficient 0 is random where the DC comes from elsewhere.
std::vector<Zub16s> packedCoefs(std::mt19937& rng, Zub32u cbp, int blocks, int qp, bool separateDc) {
    std::vector<Zub16s> coefs;
    for (int n = 0; n < blocks; ++n)
        if (cbp & (1u << n))
            for (int i = 0; i < 16; ++i)
                coefs.push_back(i == 0 && separateDc ? static_cast<Zub16s>(rng())
                                                     : (rng() % 4) ? 0 : randomLevel(rng, qp));
    coefs.resize(coefs.size() + 16, 0);
    return coefs;
}

// Inter, Intra4x4 and Intra16x16 luma macroblocks at (16, 16) of a 48 x 48
// area of random neighbours: prediction, then each present block in order.
TEST(ReconstructLumaMB, InterIntra4x4AndIntra16x16MatchModel) {
    std::mt19937 rng(3);
    const int step = 48;
    for (int trial = 0; trial < 450; ++trial) {
        const int kind = trial % 3;  // 0 inter, 1 Intra4x4, 2 Intra16x16
        const int qp = static_cast<int>(rng() % 52), mode16 = trial % 4 == 2 ? 2 : static_cast<int>(rng() % 4);
        int avail = static_cast<int>(rng() & (1 | 2 | 32 | 64));
        if (kind == 2 && mode16 != 2) avail |= 35;  // DC alone needs no neighbours
        const Zub32u cbp = kind == 2 && trial % 2 ? 0 : rng() & 0xFFFFu;
        Zub8u modes[16];
        for (auto& m : modes) m = static_cast<Zub8u>(rng() % 9);
        Zub16s dc[16];
        for (auto& d : dc) d = static_cast<Zub16s>((rng() % 2) ? 0 : static_cast<int>(rng() % 4001) - 2000);
        std::vector<Zub16s> coefs = packedCoefs(rng, cbp, 16, qp, kind == 2);
        std::vector<Zub8u> pic = randomBytes(rng, 48 * step), expect = pic;
        Zub8u* mb = &expect[16 * step + 16];
        ASSERT_EQ(kind == 2 ? zubiPredictIntra_16x16_H264_8u_C1IR(mb, step, mode16, avail) : ZubStatusOk, ZubStatusOk);
        size_t k = 0;
        for (int n = 0; n < 16; ++n) {
            const int x = kBlockX[n], y = kBlockY[n];
            Zub8u* d = mb + y * step + x;
            const int flags = modelIntra4x4Flags(n, avail);
            ASSERT_GE(kind == 1 ? zubiPredictIntra_4x4_H264_8u_C1IR(d, step, modes[n], flags) : ZubStatusOk, 0);
            const bool present = cbp & (1u << n);
            const int64_t blockDc = dc[(y / 4) * 4 + x / 4];
            if (present || kind == 2)
                addModelResidual(present ? &coefs[k] : nullptr, kind == 2 ? &blockDc : nullptr, qp, d, step);
            k += present ? 16 : 0;
        }
        Zub16s* p = coefs.data();
        Zub8u* dst = &pic[16 * step + 16];
        const ZubStatus st =
            kind == 0 ? zubiReconstructLumaInter4x4MB_H264_16s8u_C1R(&p, dst, step, cbp, qp)
            : kind == 1 ? zubiReconstructLumaIntraMB_H264_16s8u_C1R(&p, dst, step, modes, cbp, qp, avail)
                        : zubiReconstructLumaIntra16x16MB_H264_16s8u_C1R(&p, dst, step, mode16, dc, cbp, qp, avail);
        ASSERT_TRUE(st == ZubStatusOk || (kind == 1 && st >= 0)) << st;
        EXPECT_EQ(p, coefs.data() + k);
        ASSERT_EQ(pic, expect) << "trial " << trial;
    }
}

// Inter and intra chroma macroblocks: both planes predicted (intra), then DC
// and the present AC blocks, U then V.
TEST(ReconstructChromaMB, InterAndIntraMatchModel) {
    std::mt19937 rng(5);
    const int step = 24;
    for (int trial = 0; trial < 200; ++trial) {
        const bool intra = trial & 1;
        const int mode = static_cast<int>(rng() % 4), avail = mode == 0 ? static_cast<int>(rng() & 35) : 35;
        const int qpU = static_cast<int>(rng() % 40), qpV = static_cast<int>(rng() % 40);
        const Zub32u cbp = rng() & 0xFFu;
        Zub16s dc[8];
        for (auto& d : dc) d = static_cast<Zub16s>((rng() % 2) ? 0 : static_cast<int>(rng() % 3001) - 1500);
        std::vector<Zub16s> coefs = packedCoefs(rng, cbp, 8, qpU, true);
        std::vector<Zub8u> u = randomBytes(rng, 24 * step), v = randomBytes(rng, 24 * step), eu = u, ev = v;
        const size_t at = 8 * step + 8;
        if (intra) {
            ASSERT_EQ(zubiPredictIntraChroma8x8_H264_8u_C1IR(&eu[at], step, mode, avail), ZubStatusOk);
            ASSERT_EQ(zubiPredictIntraChroma8x8_H264_8u_C1IR(&ev[at], step, mode, avail), ZubStatusOk);
        }
        size_t k = 0;
        for (int n = 0; n < 8; ++n) {
            const int64_t d = dc[n];
            const bool present = cbp & (1u << n);
            Zub8u* blk = (n < 4 ? &eu[at] : &ev[at]) + ((n >> 1) & 1) * 4 * step + (n & 1) * 4;
            addModelResidual(present ? &coefs[k] : nullptr, &d, n < 4 ? qpU : qpV, blk, step);
            k += present ? 16 : 0;
        }
        Zub16s* p = coefs.data();
        ASSERT_EQ(intra ? zubiReconstructChromaIntraMB_H264_16s8u_P2R(&p, &u[at], &v[at], step, mode, dc, cbp, qpU, qpV,
                                                                      avail)
                        : zubiReconstructChromaInterMB_H264_16s8u_P2R(&p, &u[at], &v[at], step, dc, cbp, qpU, qpV),
                  ZubStatusOk);
        EXPECT_EQ(p, coefs.data() + k);
        ASSERT_EQ(u, eu) << trial;
        ASSERT_EQ(v, ev) << trial;
    }
}

// Every error in check order, with the picture, the coefficients and the
// caller's coefficient pointer left alone.
TEST(Reconstruct, ChecksInOrderWriteNothing) {
    Zub16s coef[32] = {5, 2, 3};
    Zub16s *p = coef, *nullCoef = nullptr;
    Zub8u pic[40 * 40] = {}, modes[16] = {}, badModes[16] = {2, 2, 2, 2, 2, 2, 2, 2, 2, 2, 2, 2, 2, 2, 2, 9};
    Zub8u* mb = pic + 20 * 40 + 20;
    Zub16u pic16[16] = {};
    Zub32s c32[16] = {5};
    const Zub16s dc[16] = {100, 100, 100, 100, 100, 100, 100, 100};
    const ZubStatus Null = ZubStatusNullPointer, Step = ZubStatusBadStep, Range = ZubStatusOutOfRange;
    const struct {
        ZubStatus got, want;
    } cases[] = {
        {zubiTransformQuantInvAddPred4x4_H264_16s_C1IR(coef, nullptr, nullptr, 0, 99), Null},
        {zubiTransformQuantInvAddPred4x4_H264_16s_C1IR(nullptr, nullptr, mb, 4, 0), Null},
        {zubiTransformQuantInvAddPred4x4_H264_16s_C1IR(coef, nullptr, mb, 3, 99), Step},
        {zubiTransformQuantInvAddPred4x4_H264_16s_C1IR(coef, nullptr, mb, 4, 52), Range},
        {zubiTransformQuantInvAddPred4x4_H264_16s_C1IR(coef, nullptr, mb, 4, -1), Range},
        {zubiTransformQuantInvAddPred4x4_H264_32s_C1IR(nullptr, nullptr, pic16, 3, 88, 15), Null},
        {zubiTransformQuantInvAddPred4x4_H264_32s_C1IR(c32, nullptr, pic16, 3, 88, 15), Step},
        {zubiTransformQuantInvAddPred4x4_H264_32s_C1IR(c32, nullptr, pic16, 4, 88, 14), Range},
        {zubiTransformQuantInvAddPred4x4_H264_32s_C1IR(c32, nullptr, pic16, 4, 87, 15), Range},
        {zubiTransformQuantInvAddPred4x4_H264_32s_C1IR(c32, nullptr, pic16, 4, 0, 7), Range},
        {zubiDequantTransformResidual_H264_16s_C1I(nullptr, nullptr, 0), Null},
        {zubiDequantTransformResidual_H264_16s_C1I(coef, nullptr, 52), Range},
        {zubiReconstructLumaInter4x4MB_H264_16s8u_C1R(nullptr, mb, 40, 1, 20), Null},
        {zubiReconstructLumaInter4x4MB_H264_16s8u_C1R(&nullCoef, mb, 15, 1, 60), Null},
        {zubiReconstructLumaInter4x4MB_H264_16s8u_C1R(&p, mb, 15, 1, 60), Step},
        {zubiReconstructLumaInter4x4MB_H264_16s8u_C1R(&p, mb, 40, 1, 52), Range},
        {zubiReconstructChromaInterMB_H264_16s8u_P2R(&p, mb, mb, 8, nullptr, 1, 0, 0), Null},
        {zubiReconstructChromaInterMB_H264_16s8u_P2R(&p, mb, mb, 7, dc, 1, 40, 0), Step},
        {zubiReconstructChromaInterMB_H264_16s8u_P2R(&p, mb, mb, 8, dc, 1, 40, 0), Range},
        {zubiReconstructChromaInterMB_H264_16s8u_P2R(&p, mb, mb, 8, dc, 1, 0, 40), Range},
        {zubiReconstructLumaIntraMB_H264_16s8u_C1R(&p, mb, 40, nullptr, 1, 20, 0), Null},
        {zubiReconstructLumaIntraMB_H264_16s8u_C1R(&p, mb, 15, badModes, 1, 60, 0), Step},
        {zubiReconstructLumaIntraMB_H264_16s8u_C1R(&p, mb, 40, badModes, 0xFFFF, 20, 0), Range},
        {zubiReconstructLumaIntraMB_H264_16s8u_C1R(&p, mb, 40, modes, 1, 52, 0), Range},
        {zubiReconstructLumaIntra16x16MB_H264_16s8u_C1R(&p, mb, 40, 0, nullptr, 0, 20, 35), Null},
        {zubiReconstructLumaIntra16x16MB_H264_16s8u_C1R(&p, mb, 15, 4, dc, 0, 20, 35), Step},
        {zubiReconstructLumaIntra16x16MB_H264_16s8u_C1R(&p, mb, 40, 4, dc, 0, 20, 35), Range},
        {zubiReconstructLumaIntra16x16MB_H264_16s8u_C1R(&p, mb, 40, 0, dc, 0, 52, 35), Range},
        {zubiReconstructLumaIntra16x16MB_H264_16s8u_C1R(&p, mb, 40, 3, dc, 0, 20, 3), ZubStatusNeighbourUnavailable},
        {zubiReconstructChromaIntraMB_H264_16s8u_P2R(&p, mb, nullptr, 8, 0, dc, 0, 0, 0, 35), Null},
        {zubiReconstructChromaIntraMB_H264_16s8u_P2R(&p, mb, mb, 7, 4, dc, 0, 0, 0, 35), Step},
        {zubiReconstructChromaIntraMB_H264_16s8u_P2R(&p, mb, mb, 8, 4, dc, 0, 0, 0, 35), Range},
        {zubiReconstructChromaIntraMB_H264_16s8u_P2R(&p, mb, mb, 8, 0, dc, 0, 0, 40, 35), Range},
        {zubiReconstructChromaIntraMB_H264_16s8u_P2R(&p, mb, mb, 8, 3, dc, 0, 0, 0, 3), ZubStatusNeighbourUnavailable},
    };
    for (size_t i = 0; i < std::size(cases); ++i) EXPECT_EQ(cases[i].got, cases[i].want) << "case " << i;
    EXPECT_EQ(p, coef);
    EXPECT_EQ(coef[0], 5);
    for (Zub8u v : pic) ASSERT_EQ(v, 0);
    for (Zub16u v : pic16) ASSERT_EQ(v, 0);
}

// ---------------------------------------------------------------------------
// High profiles: the 8x8 residual path of clause 8.5.13 with scaling
// matrices, the macroblock functions with level scales, transform bypass.

// normAdjust8x8 of clause 8.5.9 (equation 8-318) and LevelScale8x8 = w x it.
int normAdjust8x8(int m, int i, int j) {
    static const int v[6][6] = {{20, 18, 32, 19, 25, 24}, {22, 19, 35, 21, 28, 26}, {26, 23, 42, 24, 33, 31},
                                {28, 25, 45, 26, 35, 33}, {32, 28, 51, 30, 40, 38}, {36, 32, 58, 34, 46, 43}};
    if (i % 4 == 0 && j % 4 == 0) return v[m][0];
    if (i % 2 == 1 && j % 2 == 1) return v[m][1];
    if (i % 4 == 2 && j % 4 == 2) return v[m][2];
    if ((i % 4 == 0 && j % 2 == 1) || (i % 2 == 1 && j % 4 == 0)) return v[m][3];
    if ((i % 4 == 0 && j % 4 == 2) || (i % 4 == 2 && j % 4 == 0)) return v[m][4];
    return v[m][5];
}

// Equations 8-355 to 8-378, one row or column.
void model8(const int64_t in[8], int64_t out[8]) {
    const int64_t* d = in;
    const int64_t e0 = d[0] + d[4], e1 = -d[3] + d[5] - d[7] - (d[7] >> 1), e2 = d[0] - d[4];
    const int64_t e3 = d[1] + d[7] - d[3] - (d[3] >> 1), e4 = (d[2] >> 1) - d[6];
    const int64_t e5 = -d[1] + d[7] + d[5] + (d[5] >> 1), e6 = d[2] + (d[6] >> 1);
    const int64_t e7 = d[3] + d[5] + d[1] + (d[1] >> 1);
    const int64_t f0 = e0 + e6, f1 = e1 + (e7 >> 2), f2 = e2 + e4, f3 = e3 + (e5 >> 2);
    const int64_t f4 = e2 - e4, f5 = (e3 >> 2) - e5, f6 = e0 - e6, f7 = e7 - (e1 >> 2);
    out[0] = f0 + f7, out[1] = f2 + f5, out[2] = f4 + f3, out[3] = f6 + f1;
    out[4] = f6 - f1, out[5] = f4 - f3, out[6] = f2 - f5, out[7] = f0 - f7;
}

// Residual of one 8x8 block with LevelScale8x8 ls (raster order).
void modelResidual8x8(const int64_t c[64], const int64_t ls[64], int qp, int64_t r[64]) {
    int64_t d[8][8], g[8][8];
    for (int i = 0; i < 64; ++i) {
        const int64_t prod = c[i] * ls[i];
        d[i / 8][i % 8] = qp >= 36 ? prod * (int64_t{1} << (qp / 6 - 6)) : (prod + (int64_t{1} << (5 - qp / 6))) >> (6 - qp / 6);
    }
    for (int i = 0; i < 8; ++i) model8(d[i], g[i]);
    for (int j = 0; j < 8; ++j) {
        int64_t col[8], out[8];
        for (int i = 0; i < 8; ++i) col[i] = g[i][j];
        model8(col, out);
        for (int i = 0; i < 8; ++i) r[8 * i + j] = (out[i] + 32) >> 6;
    }
}

// A random scaling matrix (entries 1..255, as scaling lists carry) or the
// flat one, with the level scales of the block size for qP % 6 = m.
struct Matrix {
    int weight[64];
    bool flat;
    Matrix(std::mt19937& rng, bool isFlat) : flat(isFlat) {
        for (auto& w : weight) w = isFlat ? 16 : 1 + static_cast<int>(rng() % 255);
    }
    std::vector<Zub16s> scales8x8(int m) const {
        std::vector<Zub16s> s(64);
        for (int i = 0; i < 64; ++i) s[i] = static_cast<Zub16s>(weight[i] * normAdjust8x8(m, i / 8, i % 8));
        return s;
    }
    std::vector<Zub16s> scales4x4(int m) const {
        static const int v[6][3] = {{10, 16, 13}, {11, 18, 14}, {13, 20, 16}, {14, 23, 18}, {16, 25, 20}, {18, 29, 23}};
        std::vector<Zub16s> s(16);
        for (int i = 0; i < 16; ++i) {
            const int r = i / 4, c = i % 4, k = r % 2 == 0 && c % 2 == 0 ? 0 : r % 2 == 1 && c % 2 == 1 ? 1 : 2;
            s[i] = static_cast<Zub16s>(weight[i] * v[m][k]);
        }
        return s;
    }
    const Zub16s* arg(const std::vector<Zub16s>& s) const { return flat ? nullptr : s.data(); }
};

// Levels whose scaled values stay within what a conforming stream of this bit
// depth produces (about 2^(bitDepth + 7)).
std::vector<int32_t> randomLevels8x8(std::mt19937& rng, int qp, int bitDepth, int maxScale) {
    const int64_t shift = qp / 6 > 6 ? int64_t{1} << (qp / 6 - 6) : 1;
    const int range = static_cast<int>(std::max<int64_t>(1, (int64_t{1} << (bitDepth + 13)) / (maxScale * shift)));
    std::vector<int32_t> c(64, 0);
    for (int i = 0; i < 64; ++i)
        if (rng() % 3 == 0) c[i] = static_cast<int32_t>(rng() % (2 * range + 1)) - range;
    return c;
}

template <class Coef, class Pixel>
void addModelResidual8x8(const Coef* coef, const std::vector<Zub16s>& ls, int qp, Pixel* dst, int step, int maxVal) {
    int64_t c[64], l[64], r[64];
    for (int i = 0; i < 64; ++i) c[i] = coef[i], l[i] = ls[i];
    modelResidual8x8(c, l, qp, r);
    for (int i = 0; i < 64; ++i) {
        Pixel& e = dst[(i / 8) * step + i % 8];
        e = static_cast<Pixel>(std::clamp<int64_t>(e + r[i], 0, maxVal));
    }
}

TEST(TransformQuantInvAddPred8x8, MatchesModelAtEveryQpWithFlatAndCustomMatrices) {
    std::mt19937 rng(88);
    const int step = 11;
    for (int bitDepth : {8, 9, 10, 14})
        for (int qp = 0; qp <= 51 + 6 * (bitDepth - 8); ++qp)
            for (int trial = 0; trial < (bitDepth == 8 ? 24 : 8); ++trial) {
                SCOPED_TRACE("bit depth " + std::to_string(bitDepth) + " qp " + std::to_string(qp));
                const Matrix mat(rng, trial % 3 == 0);
                const auto ls = mat.scales8x8(qp % 6);
                const int maxScale = *std::max_element(ls.begin(), ls.end());
                const auto levels = randomLevels8x8(rng, qp, bitDepth, maxScale);
                const int maxVal = (1 << bitDepth) - 1;
                std::vector<Zub16u> pic(8 * step), expect;
                for (auto& p : pic) p = static_cast<Zub16u>(rng() & maxVal);
                expect = pic;
                addModelResidual8x8(levels.data(), ls, qp, expect.data(), step, maxVal);
                ASSERT_EQ(zubiTransformQuantInvAddPred8x8_H264_32s_C1IR(levels.data(), pic.data(), step, qp, mat.arg(ls),
                                                                        bitDepth),
                          ZubStatusOk);
                ASSERT_EQ(pic, expect);
                if (bitDepth > 8) continue;
                std::vector<Zub16s> c16(levels.begin(), levels.end());
                std::vector<Zub8u> pic8(8 * step), expect8;
                for (auto& p : pic8) p = static_cast<Zub8u>(rng());
                expect8 = pic8;
                addModelResidual8x8(c16.data(), ls, qp, expect8.data(), step, 255);
                ASSERT_EQ(zubiTransformQuantInvAddPred8x8_H264_16s_C1IR(c16.data(), pic8.data(), step, qp, mat.arg(ls)),
                          ZubStatusOk);
                ASSERT_EQ(pic8, expect8);
            }
}

// Position of 8x8 block b and its neighbour flags (clause 6.4.11.2) read
// from the figure: block 0 sees what the macroblock sees above, block 1 gets
// its above-right from the macroblock above-right, block 2 from block 1.
int modelIntra8x8Flags(int b, int mb) {
    const bool above = b >= 2 || (mb & 1), left = b % 2 == 1 || (mb & 2);
    const bool corner = b == 0 ? (mb & 32) : b == 1 ? (mb & 1) : b == 2 ? (mb & 2) : true;
    const bool right = b == 0 ? (mb & 1) : b == 1 ? (mb & 64) : b == 2;
    return (above ? 1 : 0) | (left ? 2 : 0) | (corner ? 32 : 0) | (right ? 64 : 0);
}

// Intra 8x8 and inter luma macroblocks of both transform sizes, 8-bit and
// 16-bit, with flat and custom matrices: prediction and residual block by block.
TEST(ReconstructLumaMBHigh, Intra8x8AndInterMatchModel) {
    std::mt19937 rng(12);
    const int step = 48;
    for (int trial = 0; trial < 600; ++trial) {
        const int kind = trial % 3;  // 0 inter 4x4, 1 inter 8x8, 2 intra 8x8
        const bool wide = trial % 2;  // 32s16u
        const int bitDepth = wide ? 8 + static_cast<int>(rng() % 7) : 8, maxVal = (1 << bitDepth) - 1;
        const int qp = static_cast<int>(rng() % (52 + 6 * (bitDepth - 8)));
        const Matrix mat(rng, trial % 4 == 0);
        const auto ls8 = mat.scales8x8(qp % 6), ls4 = mat.scales4x4(qp % 6);
        const Zub32u cbp = rng() & (kind == 0 ? 0xFFFFu : 15u);
        int avail = static_cast<int>(rng() & (1 | 2 | 32 | 64));
        Zub8u modes[4];
        for (int b = 0; b < 4; ++b) {
            // A mode the block's neighbours allow (clause 8.3.2.2 lists what each reads).
            const int f = modelIntra8x8Flags(b, avail);
            do modes[b] = static_cast<Zub8u>(rng() % 9);
            while (!((modes[b] == 2) || ((modes[b] == 0 || modes[b] == 3 || modes[b] == 7) && (f & 1)) ||
                     ((modes[b] == 1 || modes[b] == 8) && (f & 2)) || ((f & 35) == 35)));
        }
        std::vector<Zub32s> coefs;
        for (int n = 0; n < (kind == 0 ? 16 : 4); ++n)
            if (cbp & (1u << n)) {
                auto l = randomLevels8x8(rng, qp, bitDepth, 14790);
                coefs.insert(coefs.end(), l.begin(), l.begin() + (kind == 0 ? 16 : 64));
            }
        coefs.resize(coefs.size() + 64, 0);
        std::vector<Zub16u> pic(48 * step), expect;
        for (auto& p : pic) p = static_cast<Zub16u>(rng() & maxVal);
        expect = pic;
        Zub16u* mb = &expect[16 * step + 16];
        size_t k = 0;
        for (int n = 0; n < (kind == 0 ? 16 : 4); ++n) {
            const bool present = cbp & (1u << n);
            if (kind == 0) {
                int64_t l[16];
                for (int q = 0; q < 16; ++q) l[q] = ls4[q];
                if (present)
                    addModelResidual(&coefs[k], nullptr, qp, mb + kBlockY[n] * step + kBlockX[n], step, maxVal, l);
            } else {
                Zub16u* d = mb + (n / 2) * 8 * step + (n % 2) * 8;
                if (kind == 2) {
                    ASSERT_EQ(zubiPredictIntra_8x8_H264_16u_C1IR(d, step, modes[n], modelIntra8x8Flags(n, avail), bitDepth),
                              ZubStatusOk);
                }
                if (present) addModelResidual8x8(&coefs[k], ls8, qp, d, step, maxVal);
            }
            k += present ? (kind == 0 ? 16 : 64) : 0;
        }
        const auto& ls = kind == 0 ? ls4 : ls8;
        ZubStatus st;
        size_t used;
        if (wide) {
            Zub32s* p = coefs.data();
            Zub16u* dst = &pic[16 * step + 16];
            st = kind == 2 ? zubiReconstructLumaIntra8x8MB_H264High_32s16u_C1R(&p, dst, step, modes, cbp, qp, mat.arg(ls),
                                                                             avail, bitDepth)
                           : zubiReconstructLumaInterMB_H264High_32s16u_C1R(&p, dst, step, cbp, qp, mat.arg(ls), kind,
                                                                          bitDepth);
            used = static_cast<size_t>(p - coefs.data());
        } else {
            std::vector<Zub16s> c16(coefs.begin(), coefs.end());
            std::vector<Zub8u> pic8(pic.begin(), pic.end());
            Zub16s* p = c16.data();
            Zub8u* dst = &pic8[16 * step + 16];
            st = kind == 2 ? zubiReconstructLumaIntra8x8MB_H264High_16s8u_C1R(&p, dst, step, modes, cbp, qp, mat.arg(ls),
                                                                            avail)
                           : zubiReconstructLumaInterMB_H264High_16s8u_C1R(&p, dst, step, cbp, qp, mat.arg(ls), kind);
            used = static_cast<size_t>(p - c16.data());
            pic.assign(pic8.begin(), pic8.end());
        }
        ASSERT_EQ(st, ZubStatusOk) << "trial " << trial;
        EXPECT_EQ(used, k);
        ASSERT_EQ(pic, expect) << "trial " << trial << " kind " << kind;
    }
}

// The 4x4 High forms with custom matrices: Intra4x4 and Intra16x16 luma and
// both chroma forms, against the model with the matrices' level scales.
TEST(ReconstructMBHigh, CustomMatricesFor4x4Blocks) {
    std::mt19937 rng(31);
    const int step = 48;
    for (int trial = 0; trial < 200; ++trial) {
        const int kind = trial % 4;  // 0 Intra4x4, 1 Intra16x16 (DC), 2 chroma inter, 3 chroma intra (DC)
        const int qp = static_cast<int>(rng() % (kind >= 2 ? 40 : 52));
        const Matrix mat(rng, false), matV(rng, false);
        const auto ls = mat.scales4x4(qp % 6), lsV = matV.scales4x4(qp % 6);
        int64_t l[16], lV[16];
        for (int i = 0; i < 16; ++i) l[i] = ls[i], lV[i] = lsV[i];
        const int avail = static_cast<int>(rng() & 99);
        const Zub32u cbp = rng() & (kind >= 2 ? 0xFFu : 0xFFFFu);
        Zub8u modes[16];
        for (auto& m : modes) m = static_cast<Zub8u>(rng() % 9);
        Zub16s dc[16];
        for (auto& d : dc) d = static_cast<Zub16s>(static_cast<int>(rng() % 2001) - 1000);
        std::vector<Zub16s> coefs = packedCoefs(rng, cbp, kind >= 2 ? 8 : 16, qp, kind != 0);
        std::vector<Zub8u> pic = randomBytes(rng, 48 * step), expect = pic;
        Zub8u *mb = &expect[16 * step + 16], *mbV = &expect[16 * step + 32];
        if (kind == 1) {
            ASSERT_EQ(zubiPredictIntra_16x16_H264_8u_C1IR(mb, step, 2, avail), ZubStatusOk);
        }
        if (kind == 3) {
            ASSERT_EQ(zubiPredictIntraChroma8x8_H264_8u_C1IR(mb, step, 0, avail), ZubStatusOk);
            ASSERT_EQ(zubiPredictIntraChroma8x8_H264_8u_C1IR(mbV, step, 0, avail), ZubStatusOk);
        }
        size_t k = 0;
        for (int n = 0; n < (kind >= 2 ? 8 : 16); ++n) {
            const bool present = cbp & (1u << n);
            const int64_t d = dc[kind >= 2 ? n : (kBlockY[n] / 4) * 4 + kBlockX[n] / 4];
            Zub8u* blk = kind >= 2 ? (n < 4 ? mb : mbV) + ((n >> 1) & 1) * 4 * step + (n & 1) * 4
                                   : mb + kBlockY[n] * step + kBlockX[n];
            if (kind == 0) {
                ASSERT_GE(zubiPredictIntra_4x4_H264_8u_C1IR(blk, step, modes[n], modelIntra4x4Flags(n, avail)), 0);
            }
            if (present || kind != 0)
                addModelResidual(present ? &coefs[k] : nullptr, kind != 0 ? &d : nullptr, qp, blk, step, 255,
                                 kind >= 2 && n >= 4 ? lV : l);
            k += present ? 16 : 0;
        }
        Zub16s* p = coefs.data();
        Zub8u *dst = &pic[16 * step + 16], *dstV = &pic[16 * step + 32];
        const ZubStatus st =
            kind == 0   ? zubiReconstructLumaIntra4x4MB_H264High_16s8u_C1R(&p, dst, step, modes, cbp, qp, ls.data(), avail)
            : kind == 1 ? zubiReconstructLumaIntra16x16MB_H264High_16s8u_C1R(&p, dst, step, 2, dc, cbp, qp, ls.data(), avail)
            : kind == 2 ? zubiReconstructChromaInterMB_H264High_16s8u_P2R(&p, dst, dstV, step, dc, cbp, qp, qp, ls.data(),
                                                                          lsV.data())
                        : zubiReconstructChromaIntraMB_H264High_16s8u_P2R(&p, dst, dstV, step, 0, dc, cbp, qp, qp,
                                                                          ls.data(), lsV.data(), avail);
        ASSERT_GE(st, 0);
        EXPECT_EQ(p, coefs.data() + k);
        ASSERT_EQ(pic, expect) << "trial " << trial << " kind " << kind;
    }
}

// Transform bypass: every size and direction, 8-bit and 16-bit, against the
// sums of clause 8.5.15 written out, with saturation at both ends.
TEST(TransformBypass, SumsAlongTheDirectionAndSaturates) {
    std::mt19937 rng(15);
    for (int bitDepth : {8, 10, 14})
        for (int w : {4, 8, 16})
            for (int h : {4, 8, 16})
                for (int dir = 0; dir < 3; ++dir) {
                    const int maxVal = (1 << bitDepth) - 1, step = w + 3;
                    std::vector<Zub32s> r(static_cast<size_t>(w * h));
                    for (auto& v : r) v = static_cast<Zub32s>(rng() % (2 * maxVal + 1)) - maxVal;
                    std::vector<Zub16u> pic(static_cast<size_t>(h * step));
                    for (auto& v : pic) v = static_cast<Zub16u>(rng() & maxVal);
                    std::vector<Zub16u> expect = pic;
                    for (int i = 0; i < h; ++i)
                        for (int j = 0; j < w; ++j) {
                            int64_t sum = 0;
                            if (dir == ZubBypassVertical) for (int k = 0; k <= i; ++k) sum += r[k * w + j];
                            else if (dir == ZubBypassHorizontal) for (int k = 0; k <= j; ++k) sum += r[i * w + k];
                            else sum = r[i * w + j];
                            expect[i * step + j] = static_cast<Zub16u>(std::clamp<int64_t>(pic[i * step + j] + sum, 0, maxVal));
                        }
                    ASSERT_EQ(zubiTransformBypassAddPred_H264_32s16u_C1IR(r.data(), pic.data(), step, {w, h}, dir, bitDepth),
                              ZubStatusOk);
                    ASSERT_EQ(pic, expect) << w << "x" << h << " dir " << dir << " bit depth " << bitDepth;
                    if (bitDepth != 8) continue;
                    std::vector<Zub16s> r16(r.begin(), r.end());
                    std::vector<Zub8u> pic8(static_cast<size_t>(h * step));
                    for (auto& v : pic8) v = static_cast<Zub8u>(rng());
                    std::vector<Zub16u> before(pic8.begin(), pic8.end());
                    pic.assign(pic8.begin(), pic8.end());
                    ASSERT_EQ(zubiTransformBypassAddPred_H264_32s16u_C1IR(r.data(), pic.data(), step, {w, h}, dir, 8),
                              ZubStatusOk);
                    ASSERT_EQ(zubiTransformBypassAddPred_H264_16s8u_C1IR(r16.data(), pic8.data(), step, {w, h}, dir),
                              ZubStatusOk);
                    ASSERT_EQ(std::vector<Zub16u>(pic8.begin(), pic8.end()), pic);
                }
}

// The new functions' errors in check order, nothing written, the coefficient
// pointer left alone.
TEST(ReconstructHigh, ChecksInOrderWriteNothing) {
    Zub16s coef[64] = {5, 2, 3};
    Zub32s c32[64] = {5};
    Zub16s *p = coef, *nullCoef = nullptr;
    Zub32s* p32 = c32;
    Zub8u pic[40 * 40] = {}, modes[4] = {}, badModes[4] = {2, 2, 2, 9}, laterModes[4] = {2, 0, 2, 2};
    Zub16u pic16[40 * 40] = {};
    Zub8u* mb = pic + 20 * 40 + 20;
    Zub16u* mb16 = pic16 + 20 * 40 + 20;
    const Zub16s dc[16] = {100, 100};
    const ZubStatus Null = ZubStatusNullPointer, Step = ZubStatusBadStep, Range = ZubStatusOutOfRange;
    const ZubStatus Size = ZubStatusBadSize, Unavail = ZubStatusNeighbourUnavailable;
    const struct {
        ZubStatus got, want;
    } cases[] = {
        {zubiTransformQuantInvAddPred8x8_H264_16s_C1IR(nullptr, mb, 7, 99, nullptr), Null},
        {zubiTransformQuantInvAddPred8x8_H264_16s_C1IR(coef, nullptr, 7, 99, nullptr), Null},
        {zubiTransformQuantInvAddPred8x8_H264_16s_C1IR(coef, mb, 7, 99, nullptr), Step},
        {zubiTransformQuantInvAddPred8x8_H264_16s_C1IR(coef, mb, 8, 52, nullptr), Range},
        {zubiTransformQuantInvAddPred8x8_H264_32s_C1IR(c32, nullptr, 7, 99, nullptr, 0), Null},
        {zubiTransformQuantInvAddPred8x8_H264_32s_C1IR(c32, mb16, 7, 99, nullptr, 0), Step},
        {zubiTransformQuantInvAddPred8x8_H264_32s_C1IR(c32, mb16, 8, 88, nullptr, 14), Range},
        {zubiTransformQuantInvAddPred8x8_H264_32s_C1IR(c32, mb16, 8, 87, nullptr, 15), Range},
        {zubiTransformBypassAddPred_H264_16s8u_C1IR(coef, nullptr, 1, {2, 4}, 5), Null},
        {zubiTransformBypassAddPred_H264_16s8u_C1IR(coef, mb, 1, {2, 4}, 5), Size},
        {zubiTransformBypassAddPred_H264_16s8u_C1IR(coef, mb, 1, {8, 32}, 5), Size},
        {zubiTransformBypassAddPred_H264_16s8u_C1IR(coef, mb, 7, {8, 4}, 5), Step},
        {zubiTransformBypassAddPred_H264_16s8u_C1IR(coef, mb, 8, {8, 4}, 3), Range},
        {zubiTransformBypassAddPred_H264_32s16u_C1IR(nullptr, mb16, 1, {2, 4}, 5, 0), Null},
        {zubiTransformBypassAddPred_H264_32s16u_C1IR(c32, mb16, 3, {4, 4}, 5, 0), Step},
        {zubiTransformBypassAddPred_H264_32s16u_C1IR(c32, mb16, 4, {4, 4}, -1, 10), Range},
        {zubiTransformBypassAddPred_H264_32s16u_C1IR(c32, mb16, 4, {4, 4}, 1, 7), Range},
        {zubiReconstructLumaInterMB_H264High_16s8u_C1R(&nullCoef, mb, 15, 1, 60, nullptr, 1), Null},
        {zubiReconstructLumaInterMB_H264High_16s8u_C1R(&p, mb, 15, 1, 60, nullptr, 1), Step},
        {zubiReconstructLumaInterMB_H264High_16s8u_C1R(&p, mb, 40, 1, 52, nullptr, 1), Range},
        {zubiReconstructLumaInterMB_H264High_32s16u_C1R(nullptr, mb16, 15, 1, 99, nullptr, 1, 0), Null},
        {zubiReconstructLumaInterMB_H264High_32s16u_C1R(&p32, mb16, 15, 1, 99, nullptr, 1, 0), Step},
        {zubiReconstructLumaInterMB_H264High_32s16u_C1R(&p32, mb16, 40, 1, 88, nullptr, 1, 10), Range},
        {zubiReconstructLumaInterMB_H264High_32s16u_C1R(&p32, mb16, 40, 1, 87, nullptr, 1, 15), Range},
        {zubiReconstructLumaIntra8x8MB_H264High_16s8u_C1R(&p, mb, 40, nullptr, 1, 99, nullptr, 35), Null},
        {zubiReconstructLumaIntra8x8MB_H264High_16s8u_C1R(&p, mb, 15, badModes, 1, 99, nullptr, 35), Step},
        {zubiReconstructLumaIntra8x8MB_H264High_16s8u_C1R(&p, mb, 40, badModes, 1, 0, nullptr, 35), Range},
        {zubiReconstructLumaIntra8x8MB_H264High_16s8u_C1R(&p, mb, 40, modes, 1, 52, nullptr, 35), Range},
        // Block 0 (DC) could be predicted; block 1's vertical needs the macroblock above.
        {zubiReconstructLumaIntra8x8MB_H264High_16s8u_C1R(&p, mb, 40, laterModes, 15, 20, nullptr, 2), Unavail},
        {zubiReconstructLumaIntra8x8MB_H264High_16s8u_C1R(&p, mb, 40, modes, 15, 20, nullptr, 0), Unavail},
        {zubiReconstructLumaIntra8x8MB_H264High_32s16u_C1R(&p32, mb16, 40, modes, 1, 20, nullptr, 1, 15), Range},
        {zubiReconstructLumaIntra8x8MB_H264High_32s16u_C1R(&p32, mb16, 40, modes, 1, 20, nullptr, 2, 10), Unavail},
        {zubiReconstructLumaIntra4x4MB_H264High_16s8u_C1R(&p, mb, 15, nullptr, 1, 20, nullptr, 0), Null},
        {zubiReconstructLumaIntra16x16MB_H264High_16s8u_C1R(&p, mb, 40, 4, dc, 0, 20, nullptr, 35), Range},
        {zubiReconstructChromaInterMB_H264High_16s8u_P2R(&p, mb, mb, 7, dc, 1, 40, 0, nullptr, nullptr), Step},
        {zubiReconstructChromaIntraMB_H264High_16s8u_P2R(&p, mb, mb, 8, 3, dc, 0, 0, 0, nullptr, nullptr, 3), Unavail},
    };
    for (size_t i = 0; i < std::size(cases); ++i) EXPECT_EQ(cases[i].got, cases[i].want) << "case " << i;
    EXPECT_EQ(p, coef);
    EXPECT_EQ(p32, c32);
    for (Zub8u v : pic) ASSERT_EQ(v, 0);
    for (Zub16u v : pic16) ASSERT_EQ(v, 0);
}

// 4:2:2 chroma macroblocks, 8-bit and 10-bit: 8 x 16 prediction (intra), then
// per plane the eight 4x4 blocks in raster order with their DC and present AC
// levels, against the model with custom matrices.
TEST(ReconstructChroma422MB, InterAndIntraMatchModel) {
    std::mt19937 rng(42);
    const int step = 24;
    for (int trial = 0; trial < 160; ++trial) {
        const bool intra = trial & 1, wide = trial & 2;
        const int bitDepth = wide ? 10 : 8, maxVal = (1 << bitDepth) - 1;
        const int mode = static_cast<int>(rng() % 4), avail = mode == 0 ? static_cast<int>(rng() & 35) : 35;
        const int qpU = static_cast<int>(rng() % 40), qpV = static_cast<int>(rng() % 40);
        const Matrix matU(rng, trial % 3 == 0), matV(rng, trial % 5 == 0);
        const auto lsU = matU.scales4x4(qpU % 6), lsV = matV.scales4x4(qpV % 6);
        int64_t lU[16], lV[16];
        for (int i = 0; i < 16; ++i) lU[i] = lsU[i], lV[i] = lsV[i];
        const Zub32u cbp = rng() & 0xFFFFu;
        Zub32s dc[16];
        for (auto& d : dc) d = (rng() % 2) ? 0 : static_cast<int>(rng() % 3001) - 1500;
        std::vector<Zub16s> c16 = packedCoefs(rng, cbp, 16, qpU, true);
        std::vector<Zub32s> c32(c16.begin(), c16.end());
        std::vector<Zub16u> u(32 * step), v(32 * step);
        for (auto& x : u) x = static_cast<Zub16u>(rng() & maxVal);
        for (auto& x : v) x = static_cast<Zub16u>(rng() & maxVal);
        std::vector<Zub16u> eu = u, ev = v;
        const size_t at = 8 * step + 8;
        if (intra) {
            ASSERT_EQ(zubiPredictIntraChroma8x16_H264_16u_C1IR(&eu[at], step, mode, avail, bitDepth), ZubStatusOk);
            ASSERT_EQ(zubiPredictIntraChroma8x16_H264_16u_C1IR(&ev[at], step, mode, avail, bitDepth), ZubStatusOk);
        }
        size_t k = 0;
        for (int n = 0; n < 16; ++n) {
            const int64_t d = dc[n];
            const bool present = cbp & (1u << n);
            Zub16u* blk = (n < 8 ? &eu[at] : &ev[at]) + ((n & 7) >> 1) * 4 * step + (n & 1) * 4;
            addModelResidual(present ? &c16[k] : nullptr, &d, n < 8 ? qpU : qpV, blk, step, maxVal, n < 8 ? lU : lV);
            k += present ? 16 : 0;
        }
        const Zub16s* pu = matU.arg(lsU);
        const Zub16s* pv = matV.arg(lsV);
        if (wide) {
            Zub32s* p = c32.data();
            ASSERT_EQ(intra ? zubiReconstructChroma422IntraMB_H264High_32s16u_P2R(&p, &u[at], &v[at], step, mode, dc, cbp,
                                                                                 qpU, qpV, pu, pv, avail, bitDepth)
                            : zubiReconstructChroma422InterMB_H264High_32s16u_P2R(&p, &u[at], &v[at], step, dc, cbp, qpU,
                                                                                 qpV, pu, pv, bitDepth),
                      ZubStatusOk);
            EXPECT_EQ(p, c32.data() + k);
        } else {
            std::vector<Zub8u> u8(u.begin(), u.end()), v8(v.begin(), v.end());
            Zub16s dc16[16];
            for (int i = 0; i < 16; ++i) dc16[i] = static_cast<Zub16s>(dc[i]);
            Zub16s* p = c16.data();
            ASSERT_EQ(intra ? zubiReconstructChroma422IntraMB_H264High_16s8u_P2R(&p, &u8[at], &v8[at], step, mode, dc16,
                                                                                cbp, qpU, qpV, pu, pv, avail)
                            : zubiReconstructChroma422InterMB_H264High_16s8u_P2R(&p, &u8[at], &v8[at], step, dc16, cbp,
                                                                                qpU, qpV, pu, pv),
                      ZubStatusOk);
            EXPECT_EQ(p, c16.data() + k);
            u.assign(u8.begin(), u8.end());
            v.assign(v8.begin(), v8.end());
        }
        ASSERT_EQ(u, eu) << trial;
        ASSERT_EQ(v, ev) << trial;
    }
}

// The 32s16u Intra4x4, Intra16x16 and 4:2:0 chroma forms equal the 16s8u
// ones (tested against the model) at bit depth 8, with a custom matrix; at
// bit depth 10 Intra16x16 DC prediction and DC-only residuals saturate at 1023.
TEST(ReconstructMBHigh, WideFormsEqualEightBitForms) {
    std::mt19937 rng(77);
    const int step = 48;
    for (int trial = 0; trial < 120; ++trial) {
        const int kind = trial % 3;  // 0 Intra4x4, 1 Intra16x16, 2 chroma intra
        const int qp = static_cast<int>(rng() % (kind == 2 ? 40 : 52)), avail = static_cast<int>(rng() & 99) | 35;
        const Matrix mat(rng, trial % 4 == 0);
        const auto ls = mat.scales4x4(qp % 6);
        const Zub32u cbp = rng() & (kind == 2 ? 0xFFu : 0xFFFFu);
        Zub8u modes[16];
        for (auto& m : modes) m = static_cast<Zub8u>(rng() % 9);
        const int mode = static_cast<int>(rng() % 4);
        Zub16s dc[16];
        for (auto& d : dc) d = static_cast<Zub16s>(static_cast<int>(rng() % 2001) - 1000);
        Zub32s dc32[16];
        std::copy(dc, dc + 16, dc32);
        std::vector<Zub16s> c16 = packedCoefs(rng, cbp, kind == 2 ? 8 : 16, qp, kind != 0);
        std::vector<Zub32s> c32(c16.begin(), c16.end());
        std::vector<Zub8u> pic = randomBytes(rng, 48 * step);
        std::vector<Zub16u> wide(pic.begin(), pic.end());
        const size_t at = 16 * step + 16, atV = 16 * step + 32;
        Zub16s* p = c16.data();
        Zub32s* p32 = c32.data();
        ZubStatus st8, st16;
        if (kind == 0) {
            st8 = zubiReconstructLumaIntra4x4MB_H264High_16s8u_C1R(&p, &pic[at], step, modes, cbp, qp, mat.arg(ls), avail);
            st16 = zubiReconstructLumaIntra4x4MB_H264High_32s16u_C1R(&p32, &wide[at], step, modes, cbp, qp, mat.arg(ls),
                                                                     avail, 8);
        } else if (kind == 1) {
            st8 = zubiReconstructLumaIntra16x16MB_H264High_16s8u_C1R(&p, &pic[at], step, mode, dc, cbp, qp, mat.arg(ls),
                                                                     avail);
            st16 = zubiReconstructLumaIntra16x16MB_H264High_32s16u_C1R(&p32, &wide[at], step, mode, dc32, cbp, qp,
                                                                       mat.arg(ls), avail, 8);
        } else {
            st8 = zubiReconstructChromaIntraMB_H264High_16s8u_P2R(&p, &pic[at], &pic[atV], step, mode, dc, cbp, qp, qp,
                                                                  mat.arg(ls), mat.arg(ls), avail);
            st16 = zubiReconstructChromaIntraMB_H264High_32s16u_P2R(&p32, &wide[at], &wide[atV], step, mode, dc32, cbp,
                                                                    qp, qp, mat.arg(ls), mat.arg(ls), avail, 8);
        }
        ASSERT_EQ(st8, st16) << trial;
        ASSERT_EQ(p - c16.data(), p32 - c32.data()) << trial;
        ASSERT_EQ(std::vector<Zub16u>(pic.begin(), pic.end()), wide) << "trial " << trial << " kind " << kind;
    }
    std::vector<Zub16u> pic(32 * 32, 1000);
    Zub32s dc[16], none[16] = {};
    std::fill_n(dc, 16, 64 * 40);  // +40 to every sample
    Zub32s* p = none;
    ASSERT_EQ(zubiReconstructLumaIntra16x16MB_H264High_32s16u_C1R(&p, &pic[8 * 32 + 8], 32, 2, dc, 0, 30, nullptr, 3, 10),
              ZubStatusOk);
    EXPECT_EQ(pic[8 * 32 + 8], 1023);
    EXPECT_EQ(pic[23 * 32 + 23], 1023);
    Zub32s* pc = none;
    EXPECT_EQ(zubiReconstructChromaInterMB_H264High_32s16u_P2R(&pc, pic.data(), pic.data(), 8, dc, 0, 76, 0, nullptr,
                                                               nullptr, 10),
              ZubStatusOutOfRange);
    EXPECT_EQ(zubiReconstructChromaInterMB_H264High_32s16u_P2R(&pc, pic.data(), pic.data(), 8, dc, 0, 75, 0, nullptr,
                                                               nullptr, 15),
              ZubStatusOutOfRange);
    EXPECT_EQ(zubiReconstructChroma422IntraMB_H264High_16s8u_P2R(nullptr, nullptr, nullptr, 8, 0, nullptr, 0, 0, 0,
                                                                 nullptr, nullptr, 0),
              ZubStatusNullPointer);
}

}  // namespace
