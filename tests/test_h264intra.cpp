// H.264 intra prediction against a model written sample by sample from the
// equations of clauses 8.3.1.2 (Intra_4x4), 8.3.3 (Intra_16x16) and 8.3.4
// (chroma), under every combination of the availability flags.
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <random>
#include <vector>

#include "zubvc.h"

namespace {

constexpr int kT = 1, kL = 2, kTL = 32, kTR = 64;

// A picture area with the block at (kOrg, kOrg); everything around it is
// random, so that a read of a neighbour whose flag is clear shows up as a
// value other than the substitute.
constexpr int kOrg = 2;
struct Area {
    int step;
    std::vector<Zub8u> mem;
    Area(int n, int stepExtra, std::mt19937& rng) : step(n + 2 * kOrg + 8 + stepExtra), mem(step * (n + 2 * kOrg)) {
        for (auto& v : mem) v = static_cast<Zub8u>(rng());
    }
    Zub8u* blk() { return mem.data() + kOrg * step + kOrg; }
    int at(int x, int y) const { return mem[(kOrg + y) * step + kOrg + x]; }
};

// Equal memory, else the first differing sample relative to the block.
::testing::AssertionResult same(const Area& a, const std::vector<Zub8u>& want) {
    for (size_t i = 0; i < want.size(); ++i)
        if (a.mem[i] != want[i])
            return ::testing::AssertionFailure()
                   << "sample (" << static_cast<int>(i % a.step) - kOrg << "," << static_cast<int>(i / a.step) - kOrg
                   << ") is " << int{a.mem[i]} << ", expected " << int{want[i]};
    return ::testing::AssertionSuccess();
}

// ---------------------------------------------------------------------------
// Intra_4x4 model.  p(x, y) gives the neighbours after substitution: groups
// whose flag is clear are 128, above-right samples without bit 64 repeat
// p(3, -1).
struct Model4 {
    const Area& a;
    int avail;
    int p(int x, int y) const {
        if (y == -1 && x == -1) return (avail & kTL) ? a.at(-1, -1) : 128;
        if (y == -1 && x < 4) return (avail & kT) ? a.at(x, -1) : 128;
        if (y == -1) return (avail & kTR) ? a.at(x, -1) : p(3, -1);
        return (avail & kL) ? a.at(-1, y) : 128;  // x == -1
    }
    int pred(int mode, int x, int y) const {
        switch (mode) {
            case 0: return p(x, -1);
            case 1: return p(-1, y);
            case 2: {
                const bool t = avail & kT, l = avail & kL;
                int st = 0, sl = 0;
                for (int i = 0; i < 4; ++i) st += p(i, -1), sl += p(-1, i);
                if (t && l) return (st + sl + 4) >> 3;
                if (t) return (st + 2) >> 2;
                if (l) return (sl + 2) >> 2;
                return 128;
            }
            case 3:
                if (x == 3 && y == 3) return (p(6, -1) + 3 * p(7, -1) + 2) >> 2;
                return (p(x + y, -1) + 2 * p(x + y + 1, -1) + p(x + y + 2, -1) + 2) >> 2;
            case 4:
                if (x > y) return (p(x - y - 2, -1) + 2 * p(x - y - 1, -1) + p(x - y, -1) + 2) >> 2;
                if (x < y) return (p(-1, y - x - 2) + 2 * p(-1, y - x - 1) + p(-1, y - x) + 2) >> 2;
                return (p(0, -1) + 2 * p(-1, -1) + p(-1, 0) + 2) >> 2;
            case 5: {
                const int z = 2 * x - y;
                if (z >= 0 && !(z & 1)) return (p(x - (y >> 1) - 1, -1) + p(x - (y >> 1), -1) + 1) >> 1;
                if (z >= 0) return (p(x - (y >> 1) - 2, -1) + 2 * p(x - (y >> 1) - 1, -1) + p(x - (y >> 1), -1) + 2) >> 2;
                if (z == -1) return (p(-1, 0) + 2 * p(-1, -1) + p(0, -1) + 2) >> 2;
                return (p(-1, y - 1) + 2 * p(-1, y - 2) + p(-1, y - 3) + 2) >> 2;
            }
            case 6: {
                const int z = 2 * y - x;
                if (z >= 0 && !(z & 1)) return (p(-1, y - (x >> 1) - 1) + p(-1, y - (x >> 1)) + 1) >> 1;
                if (z >= 0) return (p(-1, y - (x >> 1) - 2) + 2 * p(-1, y - (x >> 1) - 1) + p(-1, y - (x >> 1)) + 2) >> 2;
                if (z == -1) return (p(-1, 0) + 2 * p(-1, -1) + p(0, -1) + 2) >> 2;
                return (p(x - 1, -1) + 2 * p(x - 2, -1) + p(x - 3, -1) + 2) >> 2;
            }
            case 7:
                if (y == 0 || y == 2) return (p(x + (y >> 1), -1) + p(x + (y >> 1) + 1, -1) + 1) >> 1;
                return (p(x + (y >> 1), -1) + 2 * p(x + (y >> 1) + 1, -1) + p(x + (y >> 1) + 2, -1) + 2) >> 2;
            default: {
                const int z = x + 2 * y;
                if (z > 5) return p(-1, 3);
                if (z == 5) return (p(-1, 2) + 3 * p(-1, 3) + 2) >> 2;
                if (z & 1) return (p(-1, y + (x >> 1)) + 2 * p(-1, y + (x >> 1) + 1) + p(-1, y + (x >> 1) + 2) + 2) >> 2;
                return (p(-1, y + (x >> 1)) + p(-1, y + (x >> 1) + 1) + 1) >> 1;
            }
        }
    }
};

// Flags each 4x4 mode needs for a result without warning.
constexpr int kNeeds4[9] = {kT, kL, 0, kT, kT | kL | kTL, kT | kL | kTL, kT | kL | kTL, kT, kL};

// All 16 combinations of the four flag bits, with ignored bits mixed in.
int flagsOf(int combo, std::mt19937& rng) {
    const int ignored = static_cast<int>(rng()) & ~(kT | kL | kTL | kTR);
    return ((combo & 1) ? kT : 0) | ((combo & 2) ? kL : 0) | ((combo & 4) ? kTL : 0) | ((combo & 8) ? kTR : 0) |
           ignored;
}

TEST(Intra4x4, EveryModeAndFlagCombinationMatchesModel) {
    std::mt19937 rng(41);
    for (int mode = 0; mode < 9; ++mode) {
        for (int combo = 0; combo < 16; ++combo) {
            for (int rep = 0; rep < 40; ++rep) {
                Area a(4, static_cast<int>(rng() % 8), rng);
                if (rep == 0) std::fill(a.mem.begin(), a.mem.end(), 255);  // largest sums
                const int flags = flagsOf(combo, rng);
                Model4 m{a, flags};
                std::vector<Zub8u> want = a.mem;
                for (int y = 0; y < 4; ++y)
                    for (int x = 0; x < 4; ++x)
                        want[(kOrg + y) * a.step + kOrg + x] = static_cast<Zub8u>(m.pred(mode, x, y));
                const int needs = kNeeds4[mode];
                const ZubStatus expect = (flags & needs) == needs ? 0 : ZubStatusNeighbourSubstitutedWarning;
                ASSERT_EQ(zubiPredictIntra_4x4_H264_8u_C1IR(a.blk(), a.step, mode, flags), expect)
                    << "mode " << mode << " flags " << flags;
                ASSERT_TRUE(same(a, want)) << "mode " << mode << " flags " << flags;
            }
        }
    }
}

TEST(Intra4x4, KnownValues) {
    std::mt19937 rng(5);
    // Vertical without the row above: sixteen 128s and the warning.
    Area a(4, 0, rng);
    ASSERT_EQ(zubiPredictIntra_4x4_H264_8u_C1IR(a.blk(), a.step, 0, 0), 11);
    for (int y = 0; y < 4; ++y)
        for (int x = 0; x < 4; ++x) EXPECT_EQ(a.at(x, y), 128);
    // Diagonal down-left with a flat row above and no above-right: flat, no
    // warning (the above-right samples are copies of p(3,-1)).
    for (int x = 0; x < 8; ++x) a.mem[(kOrg - 1) * a.step + kOrg + x] = static_cast<Zub8u>(x < 4 ? 77 : 0);
    ASSERT_EQ(zubiPredictIntra_4x4_H264_8u_C1IR(a.blk(), a.step, 3, kT), 0);
    for (int y = 0; y < 4; ++y)
        for (int x = 0; x < 4; ++x) EXPECT_EQ(a.at(x, y), 77);
}

// Without neighbours nothing outside the block may be read: the block is the
// whole allocation (the sanitizer build catches a stray read).
TEST(IntraNoNeighbours, ReadsOnlyTheBlock) {
    std::vector<Zub8u> b4(16, 9), b16(256, 9), b8(64, 9);
    for (int mode = 0; mode < 9; ++mode) {
        const ZubStatus want = (mode == 2) ? 0 : 11;
        ASSERT_EQ(zubiPredictIntra_4x4_H264_8u_C1IR(b4.data(), 4, mode, 0), want) << mode;
        for (Zub8u v : b4) ASSERT_EQ(v, 128) << mode;
    }
    ASSERT_EQ(zubiPredictIntra_16x16_H264_8u_C1IR(b16.data(), 16, 2, 0), 0);
    for (Zub8u v : b16) ASSERT_EQ(v, 128);
    ASSERT_EQ(zubiPredictIntraChroma8x8_H264_8u_C1IR(b8.data(), 8, 0, 0), 0);
    for (Zub8u v : b8) ASSERT_EQ(v, 128);
}

// ---------------------------------------------------------------------------
// Intra_16x16 and chroma model.  p(x, y) reads the picture; only modes whose
// neighbours exist are evaluated.
int clip255(int v) { return std::clamp(v, 0, 255); }

struct ModelN {
    const Area& a;
    int n, avail;
    int p(int x, int y) const { return a.at(x, y); }
    // Unclipped plane value (clauses 8.3.3.4, 8.3.4.4).
    int planeRaw(int x, int y) const {
        const int h2 = n / 2;
        int hh = 0, vv = 0;
        for (int i = 0; i < h2; ++i) {
            hh += (i + 1) * (p(h2 + i, -1) - p(h2 - 2 - i, -1));
            vv += (i + 1) * (p(-1, h2 + i) - p(-1, h2 - 2 - i));
        }
        const int b = n == 16 ? (5 * hh + 32) >> 6 : (34 * hh + 32) >> 6;
        const int c = n == 16 ? (5 * vv + 32) >> 6 : (34 * vv + 32) >> 6;
        const int aa = 16 * (p(-1, n - 1) + p(n - 1, -1));
        return (aa + b * (x - (h2 - 1)) + c * (y - (h2 - 1)) + 16) >> 5;
    }
    // DC of the 4x4 chroma block at (xo, yo), clauses 8.3.4.1-8.3.4.3.
    int chromaDC(int xo, int yo) const {
        const bool t = avail & kT, l = avail & kL;
        int st = 0, sl = 0;
        for (int i = 0; i < 4; ++i) st += p(xo + i, -1), sl += p(-1, yo + i);
        const bool both = (xo == 0 && yo == 0) || (xo > 0 && yo > 0);
        if (both && t && l) return (st + sl + 4) >> 3;
        const bool preferLeft = xo == 0 && yo > 0;
        if (preferLeft ? l : t) return ((preferLeft ? sl : st) + 2) >> 2;
        if (preferLeft ? t : l) return ((preferLeft ? st : sl) + 2) >> 2;
        return 128;
    }
    int luma16(int mode, int x, int y) const {
        switch (mode) {
            case 0: return p(x, -1);
            case 1: return p(-1, y);
            case 2: {
                int st = 0, sl = 0;
                for (int i = 0; i < 16; ++i) st += p(i, -1), sl += p(-1, i);
                if ((avail & kT) && (avail & kL)) return (st + sl + 16) >> 5;
                if (avail & kT) return (st + 8) >> 4;
                if (avail & kL) return (sl + 8) >> 4;
                return 128;
            }
            default: return clip255(planeRaw(x, y));
        }
    }
    int chroma(int mode, int x, int y) const {
        switch (mode) {
            case 0: return chromaDC(x & 4, y & 4);
            case 1: return p(-1, y);
            case 2: return p(x, -1);
            default: return clip255(planeRaw(x, y));
        }
    }
};

using PredFn = ZubStatus (*)(Zub8u*, int, int, int);

struct LargeCase {
    const char* name;
    PredFn fn;
    int n;
    int needs[4];  // flags each mode needs, else -117
};
const LargeCase kLarge[] = {
    {"16x16", zubiPredictIntra_16x16_H264_8u_C1IR, 16, {kT, kL, 0, kT | kL | kTL}},
    {"chroma", zubiPredictIntraChroma8x8_H264_8u_C1IR, 8, {0, kL, kT, kT | kL | kTL}},
};

TEST(IntraLarge, EveryModeAndFlagCombinationMatchesModel) {
    std::mt19937 rng(43);
    for (const LargeCase& c : kLarge) {
        for (int mode = 0; mode < 4; ++mode) {
            for (int combo = 0; combo < 16; ++combo) {
                for (int rep = 0; rep < 25; ++rep) {
                    Area a(c.n, static_cast<int>(rng() % 8), rng);
                    const int flags = flagsOf(combo, rng);
                    ModelN m{a, c.n, flags};
                    std::vector<Zub8u> want = a.mem;
                    const bool ok = (flags & c.needs[mode]) == c.needs[mode];
                    for (int y = 0; ok && y < c.n; ++y)
                        for (int x = 0; x < c.n; ++x)
                            want[(kOrg + y) * a.step + kOrg + x] =
                                static_cast<Zub8u>(c.n == 16 ? m.luma16(mode, x, y) : m.chroma(mode, x, y));
                    ASSERT_EQ(c.fn(a.blk(), a.step, mode, flags), ok ? 0 : ZubStatusNeighbourUnavailable)
                        << c.name << " mode " << mode << " flags " << flags;
                    ASSERT_TRUE(same(a, want)) << c.name << " mode " << mode << " flags " << flags;
                }
            }
        }
    }
}

// Steep edges drive the plane prediction beyond both ends of 0..255.
TEST(IntraLarge, PlaneClampsAtBothEnds) {
    std::mt19937 rng(3);
    for (const LargeCase& c : kLarge) {
        for (int dir = 0; dir < 2; ++dir) {
            Area a(c.n, 0, rng);
            const int lo = dir ? 255 : 0, hi = 255 - lo;
            for (int i = -1; i < c.n; ++i) {
                // Steep rise in the middle of both edges, low ends: with lo = 0
                // a is 0 and b, c are large, so the top-left goes below 0;
                // the inverted edges take it above 255.
                const Zub8u v = static_cast<Zub8u>(i < c.n / 2 || i == c.n - 1 ? lo : hi);
                a.mem[(kOrg - 1) * a.step + kOrg + i] = v;
                a.mem[(kOrg + i) * a.step + kOrg - 1] = v;
            }
            ModelN m{a, c.n, kT | kL | kTL};
            int rawMin = 1 << 20, rawMax = -(1 << 20);
            for (int y = 0; y < c.n; ++y)
                for (int x = 0; x < c.n; ++x) {
                    rawMin = std::min(rawMin, m.planeRaw(x, y));
                    rawMax = std::max(rawMax, m.planeRaw(x, y));
                }
            ASSERT_TRUE(dir == 0 ? rawMin < 0 : rawMax > 255) << c.name << " " << rawMin << ".." << rawMax;
            ASSERT_EQ(c.fn(a.blk(), a.step, 3, kT | kL | kTL), 0);
            for (int y = 0; y < c.n; ++y)
                for (int x = 0; x < c.n; ++x) ASSERT_EQ(a.at(x, y), clip255(m.planeRaw(x, y))) << x << "," << y;
        }
    }
}

// Check order: pointer, step, then (16x16, chroma) the neighbours of the mode,
// then the mode range.  Nothing is written on any error.
TEST(IntraChecks, OrderAndNoWrites) {
    std::mt19937 rng(8);
    struct Fn {
        PredFn fn;
        int n, modes;
    };
    const Fn fns[] = {{zubiPredictIntra_4x4_H264_8u_C1IR, 4, 9},
                      {zubiPredictIntra_16x16_H264_8u_C1IR, 16, 4},
                      {zubiPredictIntraChroma8x8_H264_8u_C1IR, 8, 4}};
    for (const Fn& f : fns) {
        Area a(f.n, 0, rng);
        const std::vector<Zub8u> before = a.mem;
        EXPECT_EQ(f.fn(nullptr, f.n - 1, 99, 0), ZubStatusNullPointer);
        EXPECT_EQ(f.fn(a.blk(), f.n - 1, 99, 0), ZubStatusBadStep);
        EXPECT_EQ(f.fn(a.blk(), -f.n, 0, 0x7F), ZubStatusBadStep);
        EXPECT_EQ(f.fn(a.blk(), a.step, f.modes, 0x7F), ZubStatusOutOfRange);
        EXPECT_EQ(f.fn(a.blk(), a.step, -1, 0x7F), ZubStatusOutOfRange);
        EXPECT_EQ(f.fn(a.blk(), a.step, f.modes, 0), ZubStatusOutOfRange);  // no neighbour test for a bad mode
        EXPECT_TRUE(same(a, before));
    }
    Area a(16, 0, rng);
    const std::vector<Zub8u> before = a.mem;
    EXPECT_EQ(zubiPredictIntra_16x16_H264_8u_C1IR(a.blk(), 15, 0, 0x7F), ZubStatusBadStep);
    EXPECT_EQ(zubiPredictIntra_16x16_H264_8u_C1IR(a.blk(), a.step, 3, kT | kL), ZubStatusNeighbourUnavailable);
    EXPECT_EQ(zubiPredictIntraChroma8x8_H264_8u_C1IR(a.blk(), a.step, 3, kT | kTL), ZubStatusNeighbourUnavailable);
    EXPECT_TRUE(same(a, before));
    // The smallest steps are accepted.
    EXPECT_EQ(zubiPredictIntra_16x16_H264_8u_C1IR(a.blk(), 16, 2, 0), 0);
}

}  // namespace
