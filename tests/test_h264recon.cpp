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
void modelResidual(const int64_t c[16], const int64_t* dc, int qp, int64_t r[16]) {
    // normAdjust4x4 of clause 8.5.9 (equation 8-315).
    static const int v[6][3] = {{10, 16, 13}, {11, 18, 14}, {13, 20, 16}, {14, 23, 18}, {16, 25, 20}, {18, 29, 23}};
    int64_t d[4][4], f[4][4], h[4][4];
    for (int i = 0; i < 4; ++i)
        for (int j = 0; j < 4; ++j) {
            const int64_t ls = 16 * v[qp % 6][i % 2 == 0 && j % 2 == 0 ? 0 : i % 2 == 1 && j % 2 == 1 ? 1 : 2];
            const int64_t prod = c[4 * i + j] * ls;
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
void addModelResidual(const Coef* coef, const int64_t* dc, int qp, Pixel* dst, int step, int maxVal = 255) {
    int64_t c[16], r[16];
    for (int i = 0; i < 16; ++i) c[i] = coef ? coef[i] : 0;
    modelResidual(c, dc, qp, r);
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

}  // namespace
