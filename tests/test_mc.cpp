// Block motion compensation against a model of the half-sample formulas: every
// block size, position pair and rounding control of the predict-and-add
// functions, their kernels called through the tables with other heights, the
// copies, averages and residual adds, and null pointers that leave the
// destination unchanged.
#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <random>
#include <string>
#include <vector>

#include "zubvc.h"

namespace {

// A byte plane with a margin of random samples around the block, so that a
// kernel that reads or writes outside its footprint is caught.
struct Plane {
    int step;
    std::vector<uint8_t> v;
    Plane(int w, int h, std::mt19937& rng, int extra = 7) : step(w + extra), v(static_cast<size_t>(step) * (h + 4)) {
        for (auto& s : v) s = static_cast<uint8_t>(rng());
    }
    uint8_t* at(int x, int y) { return v.data() + (y + 1) * step + x + 2; }
    int get(int x, int y) const { return v[static_cast<size_t>((y + 1) * step + x + 2)]; }
};

// Residual rows with a step in bytes that need not be a multiple of the row.
struct Residual {
    int stepBytes;
    std::vector<int16_t> v;
    Residual(int w, int h, std::mt19937& rng, int range) : stepBytes(2 * (w + 3)), v(static_cast<size_t>(w + 3) * h) {
        for (auto& s : v) s = static_cast<int16_t>(static_cast<int>(rng() % (2 * range + 1)) - range);
    }
    int get(int x, int y) const { return v[static_cast<size_t>(y * stepBytes / 2 + x)]; }
};

int sat(int v) { return v < 0 ? 0 : v > 255 ? 255 : v; }

// Prediction at half-sample flags hx, hy with the horizontal neighbour xs
// samples away (2 for interleaved chroma).
int predictModel(const Plane& r, int x, int y, bool hx, bool hy, int xs, int rc) {
    const int a = r.get(x, y), b = r.get(x + xs, y), c = r.get(x, y + 1), d = r.get(x + xs, y + 1);
    if (hx && hy) return (a + b + c + d + 2 - rc) >> 2;
    if (hx) return (a + b + 1 - rc) >> 1;
    if (hy) return (a + c + 1 - rc) >> 1;
    return a;
}
// Position argument of zubiMC*: bit 3 horizontal, bit 2 vertical.
bool posX(int mcType) { return (mcType & 8) != 0; }
bool posY(int mcType) { return (mcType & 4) != 0; }

// One predict-and-add function in a common shape (single-reference members
// ignore the second reference).
using McCall = std::function<ZubStatus(const uint8_t*, int, int, const uint8_t*, int, int, const int16_t*, int,
                                       uint8_t*, int, int)>;
struct McFn {
    std::string name;
    int w, h, xs;  // w in bytes
    bool bi;
    McCall call;
};

#define MC1(n, W, H, XS)                                                                                   \
    McFn {                                                                                                 \
        #n, W, H, XS, false, [](const uint8_t* r, int s, int t, const uint8_t*, int, int, const int16_t* e, \
                                int es, uint8_t* d, int ds, int rc) {                                      \
            return zubiMC##n##_8u_C1(r, s, e, es, d, ds, t, rc);                                           \
        }                                                                                                  \
    }
#define MCB(n, W, H, XS)                                                                                   \
    McFn {                                                                                                 \
        #n, W, H, XS, true, [](const uint8_t* r, int s, int t, const uint8_t* r2, int s2, int t2,          \
                               const int16_t* e, int es, uint8_t* d, int ds, int rc) {                     \
            return zubiMC##n##_8u_C1(r, s, t, r2, s2, t2, e, es, d, ds, rc);                               \
        }                                                                                                  \
    }

std::vector<McFn> mcFunctions() {
    return {MC1(16x16, 16, 16, 1), MC1(16x8, 16, 8, 1),  MC1(16x4, 16, 4, 1),   MC1(8x16, 8, 16, 1),
            MC1(8x8, 8, 8, 1),     MC1(8x4, 8, 4, 1),    MC1(4x8, 4, 8, 1),     MC1(4x4, 4, 4, 1),
            MC1(4x2, 4, 2, 1),     MC1(2x4, 2, 4, 1),    MC1(2x2, 2, 2, 1),     MC1(16x8UV, 16, 8, 2),
            MCB(16x16B, 16, 16, 1), MCB(16x8B, 16, 8, 1), MCB(16x4B, 16, 4, 1), MCB(8x16B, 8, 16, 1),
            MCB(8x8B, 8, 8, 1),    MCB(8x4B, 8, 4, 1),   MCB(4x8B, 4, 8, 1),    MCB(4x4B, 4, 4, 1),
            MCB(4x2B, 4, 2, 1),    MCB(2x4B, 2, 4, 1),   MCB(2x2B, 2, 2, 1),    MCB(16x8BUV, 16, 8, 2)};
}

// Runs one call and compares the whole destination plane with the model.
void checkMc(const McFn& f, int t1, int t2, int rc, int range, std::mt19937& rng) {
    Plane r1(f.w, f.h, rng), r2(f.w, f.h, rng, 13), dst(f.w, f.h, rng, 5);
    Residual res(f.w, f.h, rng, range);
    std::vector<uint8_t> want = dst.v;
    for (int y = 0; y < f.h; ++y)
        for (int x = 0; x < f.w; ++x) {
            const int p1 = predictModel(r1, x, y, posX(t1), posY(t1), f.xs, rc);
            const int e = res.get(x, y);
            int v;
            if (f.bi) v = (p1 + predictModel(r2, x, y, posX(t2), posY(t2), f.xs, rc) + 2 * e + 1) >> 1;
            else v = p1 + e;
            want[static_cast<size_t>((y + 1) * dst.step + x + 2)] = static_cast<uint8_t>(sat(v));
        }
    ASSERT_EQ(f.call(r1.at(0, 0), r1.step, t1, r2.at(0, 0), r2.step, t2, res.v.data(), res.stepBytes, dst.at(0, 0),
                     dst.step, rc),
              ZubStatusOk);
    ASSERT_EQ(dst.v, want) << f.name << " positions " << t1 << "," << t2 << " rc " << rc << " range " << range;
}

// Every position (with bits other than 2 and 3 set too), both rounding
// controls, small residuals and residuals beyond the saturation limits.
TEST(MotionCompensation, EveryBlockSizePositionAndRoundingMatchesModel) {
    std::mt19937 rng(11);
    const int types[] = {0, 4, 8, 12, 1, 6, 11, 15, 16 + 4, -4};
    for (const McFn& f : mcFunctions())
        for (int t1 : types)
            for (int t2 : f.bi ? std::vector<int>{0, 4, 8, 12, 3, 13} : std::vector<int>{0})
                for (int rc : {0, 1})
                    for (int range : {20, 300}) checkMc(f, t1, t2, rc, range, rng);
}

// The rounding control is subtracted as given: 2 passes through index
// rc & 1 = 0 and rounds down by two.
TEST(MotionCompensation, KernelsSubtractTheWholeRoundingControl) {
    std::mt19937 rng(12);
    for (const McFn& f : mcFunctions())
        for (int t : {4, 8, 12}) checkMc(f, t, t, 2, 20, rng);
}

TEST(MotionCompensation, EdgeCasesOfTheFormulas) {
    // A 2x2 block at a half position reads three rows and three columns.
    uint8_t ref[3 * 17] = {};
    for (int y = 0; y < 3; ++y) ref[17 * y] = 1, ref[17 * y + 1] = 2;
    const int16_t zero[16 * 16] = {};
    uint8_t d[16 * 16];
    // Four samples 1, 2, 1, 2 (sum 6): (6 + 2) >> 2 = 2 at rc 0, 7 >> 2 = 1 at rc 1.
    ASSERT_EQ(zubiMC2x2_8u_C1(ref, 17, zero, 4, d, 2, 12, 0), ZubStatusOk);
    EXPECT_EQ(d[0], 2);
    zubiMC2x2_8u_C1(ref, 17, zero, 4, d, 2, 12, 1);
    EXPECT_EQ(d[0], 1);
    zubiMC2x2_8u_C1(ref, 17, zero, 4, d, 2, 8, 0);
    EXPECT_EQ(d[0], 2);
    zubiMC2x2_8u_C1(ref, 17, zero, 4, d, 2, 8, 1);
    EXPECT_EQ(d[0], 1);
    // Bidirectional 10 and 11 round up to 11; residuals of +-300 saturate.
    std::vector<uint8_t> ten(17 * 17, 10), eleven(17 * 17, 11);
    ASSERT_EQ(zubiMC16x16B_8u_C1(ten.data(), 17, 0, eleven.data(), 17, 0, zero, 32, d, 16, 0), ZubStatusOk);
    EXPECT_EQ(d[255], 11);
    std::vector<int16_t> big(64, 300), small(64, -300);
    zubiMC8x8_8u_C1(ten.data(), 17, big.data(), 16, d, 8, 12, 0);
    EXPECT_EQ(d[63], 255);
    zubiMC8x8_8u_C1(ten.data(), 17, small.data(), 16, d, 8, 12, 0);
    EXPECT_EQ(d[63], 0);
}

// Each kernel in its table: the 16xH, 8xH and UV kernels at heights the public
// functions do not use, the mcl kernels through their own tables.
TEST(MotionCompensation, TableKernelsAtOtherHeights) {
    std::mt19937 rng(13);
    struct Form {
        const ZubMCKernel* one;
        const ZubMCBKernel* bi;
        int w, xs;
    } forms[] = {{MC16xHFunctionTable, MC16xHBFunctionTable, 16, 1},
                 {MC8xHFunctionTable, MC8xHBFunctionTable, 8, 1},
                 {MC16xHUVFunctionTable, MC16xHUVBFunctionTable, 16, 2}};
    for (const Form& fm : forms)
        for (int h : {1, 2, 3, 12}) {
            for (int i = 0; i < 8; ++i) {
                EXPECT_EQ(fm.one[i], fm.one[i & ~1]);
                const ZubMCKernel k = fm.one[i];
                const int t = (i >> 1) << 2, rc = i & 1;
                McFn f{"kernel", fm.w, h, fm.xs, false,
                       [k, h](const uint8_t* r, int s, int tt, const uint8_t*, int, int, const int16_t* e, int es,
                              uint8_t* d, int ds, int c) {
                           k(h, r, s, e, es, d, ds, tt, c);
                           return ZubStatusOk;
                       }};
                checkMc(f, t, 0, rc, 300, rng);
            }
            for (int i = 0; i < 32; ++i) {
                EXPECT_EQ(fm.bi[i], fm.bi[i & ~1]);
                const ZubMCBKernel k = fm.bi[i];
                const int t1 = ((i >> 1) & 3) << 2, t2 = (i >> 3) << 2, rc = i & 1;
                McFn f{"bi kernel", fm.w, h, fm.xs, true,
                       [k, h](const uint8_t* r, int s, int a, const uint8_t* r2, int s2, int b, const int16_t* e,
                              int es, uint8_t* d, int ds, int c) {
                           k(h, r, s, a, r2, s2, b, e, es, d, ds, c);
                           return ZubStatusOk;
                       }};
                checkMc(f, t1, t2, rc, 300, rng);
            }
        }
    // mcl: four equal entries per position, B tables m1 + 4 m2.
    const ZubMCLKernel* lt[] = {MC2x2FnTbl, MC2x4FnTbl, MC4x2FnTbl, MC4x4FnTbl, MC4x8FnTbl};
    const ZubMCLBKernel* lbt[] = {MC2x2BFnTbl, MC2x4BFnTbl, MC4x2BFnTbl, MC4x4BFnTbl, MC4x8BFnTbl};
    const int sizes[5][2] = {{2, 2}, {2, 4}, {4, 2}, {4, 4}, {4, 8}};
    for (int s = 0; s < 5; ++s) {
        const int w = sizes[s][0], h = sizes[s][1];
        for (int i = 0; i < 16; ++i) {
            EXPECT_EQ(lt[s][i], lt[s][i & 12]);
            const ZubMCLKernel k = lt[s][i];
            McFn f{"mcl", w, h, 1, false,
                   [k](const uint8_t* r, int st, int, const uint8_t*, int, int, const int16_t* e, int es, uint8_t* d,
                       int ds, int c) {
                       k(r, st, e, es, d, ds, c);
                       return ZubStatusOk;
                   }};
            checkMc(f, i & 12, 0, 1, 300, rng);
            const ZubMCLBKernel kb = lbt[s][i];
            McFn fb{"mcl B", w, h, 1, true,
                    [kb](const uint8_t* r, int st, int, const uint8_t* r2, int s2, int, const int16_t* e, int es,
                         uint8_t* d, int ds, int c) {
                        kb(r, st, r2, s2, e, es, d, ds, c);
                        return ZubStatusOk;
                    }};
            checkMc(fb, (i & 3) << 2, (i >> 2) << 2, 0, 300, rng);
        }
    }
    // The named kernels are the table entries.
    EXPECT_EQ(MC16xHFunctionTable[2], mc_16xH_xfyh);
    EXPECT_EQ(MC16xHUVBFunctionTable[1 + 2 * 3 + 8 * 2], mcuv_16xH_xhyh_xhyf);
    EXPECT_EQ(MC4x8FnTbl[9], mcl_4x8_xhyi);
    EXPECT_EQ(MC2x4BFnTbl[1 + 4 * 3], mcl_2x4_xiyh_xhyh);
}

// A null pointer, each in turn: -8 and the destination untouched.
TEST(MotionCompensation, NullPointersWriteNothing) {
    std::mt19937 rng(14);
    for (const McFn& f : mcFunctions()) {
        Plane r(f.w, f.h, rng), dst(f.w, f.h, rng);
        Residual res(f.w, f.h, rng, 10);
        const std::vector<uint8_t> before = dst.v;
        for (int which = 0; which < (f.bi ? 4 : 3); ++which) {
            const uint8_t* r1 = which == 0 ? nullptr : r.at(0, 0);
            const uint8_t* r2 = f.bi && which == 1 ? nullptr : r.at(0, 0);
            const int16_t* e = which == (f.bi ? 2 : 1) ? nullptr : res.v.data();
            uint8_t* d = which == (f.bi ? 3 : 2) ? nullptr : dst.at(0, 0);
            EXPECT_EQ(f.call(r1, r.step, 12, r2, r.step, 12, e, res.stepBytes, d, dst.step, 0), ZubStatusNullPointer)
                << f.name << " pointer " << which;
            EXPECT_EQ(dst.v, before) << f.name;
        }
    }
}

// ---- Copies, averages and residual adds -----------------------------------

// Accuracy argument: bit 0 horizontal, bit 1 vertical.
bool accX(int acc) { return (acc & 1) != 0; }
bool accY(int acc) { return (acc & 2) != 0; }

using Fill = std::function<int(int x, int y)>;
// Expected destination: the model's value in the w x h block, the old plane
// elsewhere.
std::vector<uint8_t> expectBlock(const Plane& dst, int w, int h, const Fill& value) {
    std::vector<uint8_t> want = dst.v;
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x) want[static_cast<size_t>((y + 1) * dst.step + x + 2)] = static_cast<uint8_t>(value(x, y));
    return want;
}

TEST(MotionCompensation, CopiesAndInterpolatedAveragesMatchModel) {
    std::mt19937 rng(15);
    using HpFn = ZubStatus (*)(const Zub8u*, Zub32s, Zub8u*, Zub32s, Zub32s, Zub32s);
    struct Hp {
        int w, h;
        HpFn copy, avg;
    } hps[] = {{8, 4, zubiCopy8x4HP_8u_C1R, zubiInterpolateAverage8x4_8u_C1IR},
               {8, 8, zubiCopy8x8HP_8u_C1R, zubiInterpolateAverage8x8_8u_C1IR},
               {16, 8, zubiCopy16x8HP_8u_C1R, zubiInterpolateAverage16x8_8u_C1IR},
               {16, 16, zubiCopy16x16HP_8u_C1R, zubiInterpolateAverage16x16_8u_C1IR}};
    for (const Hp& hp : hps)
        for (int acc = 0; acc < 8; ++acc)
            for (int rc : {0, 1, 3}) {
                Plane src(hp.w, hp.h, rng), dst(hp.w, hp.h, rng);
                // Copies use rc & 1 (the kernels have the rounding built in);
                // the interpolated averages subtract rc as given.
                auto want = expectBlock(dst, hp.w, hp.h, [&](int x, int y) {
                    return predictModel(src, x, y, accX(acc), accY(acc), 1, rc & 1);
                });
                ASSERT_EQ(hp.copy(src.at(0, 0), src.step, dst.at(0, 0), dst.step, acc, rc), ZubStatusOk);
                EXPECT_EQ(dst.v, want) << "copy " << hp.w << "x" << hp.h << " acc " << acc << " rc " << rc;
                Plane d2(hp.w, hp.h, rng);
                want = expectBlock(d2, hp.w, hp.h, [&](int x, int y) {
                    return (predictModel(src, x, y, accX(acc), accY(acc), 1, rc) + d2.get(x, y) + 1) >> 1;
                });
                ASSERT_EQ(hp.avg(src.at(0, 0), src.step, d2.at(0, 0), d2.step, acc, rc), ZubStatusOk);
                EXPECT_EQ(d2.v, want) << "average " << hp.w << "x" << hp.h << " acc " << acc << " rc " << rc;
                EXPECT_EQ(hp.copy(nullptr, src.step, dst.at(0, 0), dst.step, acc, rc), ZubStatusNullPointer);
                EXPECT_EQ(hp.copy(src.at(0, 0), src.step, nullptr, dst.step, acc, rc), ZubStatusNullPointer);
                const auto before = d2.v;
                EXPECT_EQ(hp.avg(nullptr, src.step, d2.at(0, 0), d2.step, acc, rc), ZubStatusNullPointer);
                EXPECT_EQ(hp.avg(src.at(0, 0), src.step, nullptr, d2.step, acc, rc), ZubStatusNullPointer);
                EXPECT_EQ(d2.v, before);
            }
    // The 4x4 copy table lists vertical before horizontal: entry 2 + rc is
    // half vertically, 4 + rc half horizontally.
    for (int i = 0; i < 8; ++i) {
        Plane src(4, 4, rng), dst(4, 4, rng);
        const int acc = i >> 1, rc = i & 1;
        const bool hx = acc == 2 || acc == 3, hy = acc == 1 || acc == 3;
        auto want = expectBlock(dst, 4, 4, [&](int x, int y) { return predictModel(src, x, y, hx, hy, 1, rc); });
        ownvc_Copy4x4HP_8u_C1R[i](src.at(0, 0), src.step, dst.at(0, 0), dst.step);
        EXPECT_EQ(dst.v, want) << "4x4 entry " << i;
    }
}

TEST(MotionCompensation, PlainCopiesAveragesAndAddsMatchModel) {
    std::mt19937 rng(16);
    for (int w : {8, 16}) {
        Plane a(w, w, rng), b(w, w, rng), dst(w, w, rng);
        auto want = expectBlock(dst, w, w, [&](int x, int y) { return a.get(x, y); });
        ASSERT_EQ((w == 8 ? zubiCopy8x8_8u_C1R : zubiCopy16x16_8u_C1R)(a.at(0, 0), a.step, dst.at(0, 0), dst.step),
                  ZubStatusOk);
        EXPECT_EQ(dst.v, want);
        want = expectBlock(dst, w, w, [&](int x, int y) { return (a.get(x, y) + b.get(x, y) + 1) >> 1; });
        ASSERT_EQ((w == 8 ? zubiAverage8x8_8u_C1R : zubiAverage16x16_8u_C1R)(a.at(0, 0), a.step, b.at(0, 0), b.step,
                                                                           dst.at(0, 0), dst.step),
                  ZubStatusOk);
        EXPECT_EQ(dst.v, want);
        want = expectBlock(dst, w, w, [&](int x, int y) { return (a.get(x, y) + dst.get(x, y) + 1) >> 1; });
        ASSERT_EQ((w == 8 ? zubiAverage8x8_8u_C1IR : zubiAverage16x16_8u_C1IR)(a.at(0, 0), a.step, dst.at(0, 0),
                                                                             dst.step),
                  ZubStatusOk);
        EXPECT_EQ(dst.v, want);
        const auto before = dst.v;
        EXPECT_EQ(zubiAverage8x8_8u_C1R(a.at(0, 0), a.step, nullptr, b.step, dst.at(0, 0), dst.step),
                  ZubStatusNullPointer);
        EXPECT_EQ(zubiAverage16x16_8u_C1R(a.at(0, 0), a.step, b.at(0, 0), b.step, nullptr, dst.step),
                  ZubStatusNullPointer);
        EXPECT_EQ(zubiAverage16x16_8u_C1IR(nullptr, a.step, dst.at(0, 0), dst.step), ZubStatusNullPointer);
        EXPECT_EQ(zubiCopy16x16_8u_C1R(a.at(0, 0), a.step, nullptr, dst.step), ZubStatusNullPointer);
        EXPECT_EQ(dst.v, before);
    }
    for (int acc = 0; acc < 4; ++acc)
        for (int rc : {0, 1}) {
            Plane ref(8, 8, rng), dst(8, 8, rng);
            Residual res(8, 8, rng, 300);
            auto want = expectBlock(dst, 8, 8, [&](int x, int y) {
                return sat(predictModel(ref, x, y, accX(acc), accY(acc), 1, rc) + res.get(x, y));
            });
            ASSERT_EQ(zubiAdd8x8HP_16s8u_C1RS(res.v.data(), res.stepBytes, ref.at(0, 0), ref.step, dst.at(0, 0),
                                              dst.step, acc, rc),
                      ZubStatusOk);
            EXPECT_EQ(dst.v, want) << "Add8x8HP acc " << acc << " rc " << rc;
            want = expectBlock(dst, 8, 8, [&](int x, int y) { return sat(dst.get(x, y) + res.get(x, y)); });
            ASSERT_EQ(zubiAdd8x8_16s8u_C1IRS(res.v.data(), res.stepBytes, dst.at(0, 0), dst.step), ZubStatusOk);
            EXPECT_EQ(dst.v, want);
            const auto before = dst.v;
            EXPECT_EQ(zubiAdd8x8_16s8u_C1IRS(nullptr, res.stepBytes, dst.at(0, 0), dst.step), ZubStatusNullPointer);
            EXPECT_EQ(zubiAdd8x8HP_16s8u_C1RS(res.v.data(), res.stepBytes, nullptr, ref.step, dst.at(0, 0), dst.step,
                                              acc, rc),
                      ZubStatusNullPointer);
            EXPECT_EQ(zubiAdd8x8HP_16s8u_C1RS(res.v.data(), res.stepBytes, ref.at(0, 0), ref.step, nullptr, dst.step,
                                              acc, rc),
                      ZubStatusNullPointer);
            EXPECT_EQ(dst.v, before);
        }
}

}  // namespace
