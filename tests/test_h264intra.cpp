// H.264 intra prediction against a model written sample by sample from the
// equations of clauses 8.3.1.2 (Intra_4x4), 8.3.3 (Intra_16x16) and 8.3.4
// (chroma), under every combination of the availability flags.
#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <vector>

#include "zubvc.h"

namespace {

constexpr int kT = 1, kL = 2, kTL = 32, kTR = 64;
using PredFn = ZubStatus (*)(Zub8u*, int, int, int);

// A random picture area with the n x n block at (kOrg, kOrg): a read of a
// neighbour whose flag is clear shows up as a value other than the substitute.
constexpr int kOrg = 2;
struct Area {
    int step;
    std::vector<Zub8u> mem;
    Area(int n, int stepExtra, std::mt19937& rng) : step(n + 2 * kOrg + 8 + stepExtra), mem(step * (n + 2 * kOrg)) {
        for (auto& v : mem) v = static_cast<Zub8u>(rng());
    }
    Zub8u* blk() { return mem.data() + kOrg * step + kOrg; }
    int at(int x, int y) const { return mem[(kOrg + y) * step + kOrg + x]; }
    Zub8u& ref(int x, int y) { return mem[(kOrg + y) * step + kOrg + x]; }
};

// Runs one prediction; the whole area must equal the area with the block
// replaced by model(x, y), or be untouched when `write` is false.
template <class F>
void expectPrediction(PredFn fn, Area& a, int n, int mode, int flags, ZubStatus want, bool write, F model) {
    std::vector<Zub8u> expect = a.mem;
    for (int y = 0; write && y < n; ++y)
        for (int x = 0; x < n; ++x) expect[(kOrg + y) * a.step + kOrg + x] = static_cast<Zub8u>(model(x, y));
    ASSERT_EQ(fn(a.blk(), a.step, mode, flags), want) << n << "x" << n << " mode " << mode << " flags " << flags;
    for (size_t i = 0; i < expect.size(); ++i)
        ASSERT_EQ(a.mem[i], expect[i]) << n << "x" << n << " mode " << mode << " flags " << flags << " at ("
                                       << static_cast<int>(i % a.step) - kOrg << ","
                                       << static_cast<int>(i / a.step) - kOrg << ")";
}

int avg2(int a, int b) { return (a + b + 1) >> 1; }
int avg3(int a, int b, int c) { return (a + 2 * b + c + 2) >> 2; }

// Intra_4x4 model.  p(x, y) gives the neighbours after substitution: groups
// whose flag is clear are 128, above-right samples without bit 64 repeat p(3, -1).
struct Model4 {
    const Area& a;
    int avail;
    int p(int x, int y) const {
        if (y == -1 && x == -1) return (avail & kTL) ? a.at(-1, -1) : 128;
        if (y == -1 && x < 4) return (avail & kT) ? a.at(x, -1) : 128;
        if (y == -1) return (avail & kTR) ? a.at(x, -1) : p(3, -1);
        return (avail & kL) ? a.at(-1, y) : 128;
    }
    int t(int x) const { return p(x, -1); }
    int l(int y) const { return p(-1, y); }  // l(-1) is the corner
    int pred(int mode, int x, int y) const {
        switch (mode) {
            case 0: return t(x);
            case 1: return l(y);
            case 2: {
                const int st = t(0) + t(1) + t(2) + t(3), sl = l(0) + l(1) + l(2) + l(3);
                if ((avail & kT) && (avail & kL)) return (st + sl + 4) >> 3;
                if (avail & (kT | kL)) return (((avail & kT) ? st : sl) + 2) >> 2;
                return 128;
            }
            case 3: return x + y == 6 ? avg3(t(6), t(7), t(7)) : avg3(t(x + y), t(x + y + 1), t(x + y + 2));
            case 4:
                if (x > y) return avg3(t(x - y - 2), t(x - y - 1), t(x - y));
                if (x < y) return avg3(l(y - x - 2), l(y - x - 1), l(y - x));
                return avg3(t(0), l(-1), l(0));
            case 5: {
                const int z = 2 * x - y, u = x - (y >> 1);
                if (z >= 0) return (z & 1) ? avg3(t(u - 2), t(u - 1), t(u)) : avg2(t(u - 1), t(u));
                return z == -1 ? avg3(l(0), l(-1), t(0)) : avg3(l(y - 1), l(y - 2), l(y - 3));
            }
            case 6: {
                const int z = 2 * y - x, v = y - (x >> 1);
                if (z >= 0) return (z & 1) ? avg3(l(v - 2), l(v - 1), l(v)) : avg2(l(v - 1), l(v));
                return z == -1 ? avg3(l(0), l(-1), t(0)) : avg3(t(x - 1), t(x - 2), t(x - 3));
            }
            case 7: {
                const int u = x + (y >> 1);
                return (y & 1) ? avg3(t(u), t(u + 1), t(u + 2)) : avg2(t(u), t(u + 1));
            }
            default: {
                const int z = x + 2 * y, v = y + (x >> 1);
                if (z > 5) return l(3);
                if (z == 5) return avg3(l(2), l(3), l(3));
                return (z & 1) ? avg3(l(v), l(v + 1), l(v + 2)) : avg2(l(v), l(v + 1));
            }
        }
    }
};

// Flags each 4x4 mode needs for a result without warning.
constexpr int kNeeds4[9] = {kT, kL, 0, kT, kT | kL | kTL, kT | kL | kTL, kT | kL | kTL, kT, kL};

// Combination `combo` of the four flag bits, with ignored bits mixed in.
int flagsOf(int combo, std::mt19937& rng) {
    return ((combo & 1) ? kT : 0) | ((combo & 2) ? kL : 0) | ((combo & 4) ? kTL : 0) | ((combo & 8) ? kTR : 0) |
           (static_cast<int>(rng()) & ~(kT | kL | kTL | kTR));
}

// Every mode and flag combination; the first area of each is all 255 (largest sums).
TEST(Intra4x4, EveryModeAndFlagCombinationMatchesModel) {
    std::mt19937 rng(41);
    for (int mode = 0; mode < 9; ++mode)
        for (int combo = 0; combo < 16; ++combo)
            for (int rep = 0; rep < 12; ++rep) {
                Area a(4, static_cast<int>(rng() % 8), rng);
                if (rep == 0) std::fill(a.mem.begin(), a.mem.end(), 255);
                const int flags = flagsOf(combo, rng);
                const Model4 m{a, flags};
                const bool warn = (flags & kNeeds4[mode]) != kNeeds4[mode];
                expectPrediction(zubiPredictIntra_4x4_H264_8u_C1IR, a, 4, mode, flags,
                                 warn ? ZubStatusNeighbourSubstitutedWarning : ZubStatusOk, true,
                                 [&](int x, int y) { return m.pred(mode, x, y); });
                if (::testing::Test::HasFatalFailure()) return;
            }
}

// Intra_16x16 and chroma model, evaluated only where the mode's neighbours exist.
struct ModelN {
    const Area& a;
    int n, avail;
    int p(int x, int y) const { return a.at(x, y); }
    // Unclipped plane value (clauses 8.3.3.4, 8.3.4.4; 34 / 64 is the chroma 17 / 32).
    int planeRaw(int x, int y) const {
        const int h2 = n / 2;
        int hh = 0, vv = 0;
        for (int i = 0; i < h2; ++i) {
            hh += (i + 1) * (p(h2 + i, -1) - p(h2 - 2 - i, -1));
            vv += (i + 1) * (p(-1, h2 + i) - p(-1, h2 - 2 - i));
        }
        const int k = n == 16 ? 5 : 34, b = (k * hh + 32) >> 6, c = (k * vv + 32) >> 6;
        return (16 * (p(-1, n - 1) + p(n - 1, -1)) + b * (x - (h2 - 1)) + c * (y - (h2 - 1)) + 16) >> 5;
    }
    // DC over the `len` samples above from x0 and left from y0; `preferLeft`
    // orders the one-sided fall-backs (clauses 8.3.3.3, 8.3.4.1-8.3.4.3).
    int dc(int x0, int y0, int len, bool both, bool preferLeft) const {
        int st = 0, sl = 0, sh = len == 16 ? 4 : 2;
        for (int i = 0; i < len; ++i) st += p(x0 + i, -1), sl += p(-1, y0 + i);
        const bool t = avail & kT, l = avail & kL;
        if (both && t && l) return (st + sl + len) >> (sh + 1);
        if (preferLeft ? l : t) return ((preferLeft ? sl : st) + len / 2) >> sh;
        if (preferLeft ? t : l) return ((preferLeft ? st : sl) + len / 2) >> sh;
        return 128;
    }
    int pred(int mode, int x, int y) const {
        if (n == 8 && mode < 3) mode = mode == 0 ? 2 : 2 - mode;  // chroma order: DC, horizontal, vertical
        switch (mode) {
            case 0: return p(x, -1);
            case 1: return p(-1, y);
            case 2:
                if (n == 16) return dc(0, 0, 16, true, false);
                return dc(x & 4, y & 4, 4, (x & 4) == (y & 4), (x & 4) == 0 && (y & 4) != 0);
            default: return std::clamp(planeRaw(x, y), 0, 255);
        }
    }
};

struct LargeCase {
    PredFn fn;
    int n;
    int needs[4];  // flags each mode needs, else -117 and nothing written
};
const LargeCase kLarge[] = {
    {zubiPredictIntra_16x16_H264_8u_C1IR, 16, {kT, kL, 0, kT | kL | kTL}},
    {zubiPredictIntraChroma8x8_H264_8u_C1IR, 8, {0, kL, kT, kT | kL | kTL}},
};

// Every mode and flag combination, more areas for the plane mode (its rounding
// ties are rare); the first two plane areas have steep edges (a steep rise in
// the middle of both edges with low ends, then inverted) that drive the
// prediction below 0 and above 255, the third a chroma tie of (17 H + 16) >> 5.
TEST(IntraLarge, EveryModeAndFlagCombinationMatchesModel) {
    std::mt19937 rng(43);
    int below = 0, above = 0;
    for (const LargeCase& c : kLarge)
        for (int mode = 0; mode < 4; ++mode)
            for (int combo = 0; combo < 16; ++combo)
                for (int rep = 0; rep < (mode == 3 ? 48 : 8); ++rep) {
                    Area a(c.n, static_cast<int>(rng() % 8), rng);
                    for (int i = -1; mode == 3 && rep < 2 && i < c.n; ++i)
                        a.ref(i, -1) = a.ref(-1, i) =
                            static_cast<Zub8u>((i < c.n / 2 || i == c.n - 1) == rep ? 255 : 0);
                    for (int i = -1; mode == 3 && rep == 2 && i < c.n; ++i)  // chroma H = V = 16: a rounding tie
                        a.ref(i, -1) = a.ref(-1, i) = static_cast<Zub8u>(i == c.n - 1 ? 104 : 100);
                    const int flags = flagsOf(combo, rng);
                    const ModelN m{a, c.n, flags};
                    const bool ok = (flags & c.needs[mode]) == c.needs[mode];
                    below += ok && mode == 3 && m.planeRaw(0, 0) < 0;
                    above += ok && mode == 3 && m.planeRaw(0, 0) > 255;
                    expectPrediction(c.fn, a, c.n, mode, flags, ok ? ZubStatusOk : ZubStatusNeighbourUnavailable, ok,
                                     [&](int x, int y) { return m.pred(mode, x, y); });
                    if (::testing::Test::HasFatalFailure()) return;
                }
    EXPECT_TRUE(below >= 4 && above >= 4) << below << " " << above;  // both sizes, both ends
}

// Without neighbours nothing outside the block may be read: the block is the
// whole allocation (the sanitizer build catches a stray read).
TEST(IntraLarge, NoNeighboursReadsOnlyTheBlock) {
    for (int mode = 0; mode < 9; ++mode) {
        std::vector<Zub8u> b(16, 9);
        ASSERT_EQ(zubiPredictIntra_4x4_H264_8u_C1IR(b.data(), 4, mode, 0), mode == 2 ? 0 : 11) << mode;
        ASSERT_EQ(b, std::vector<Zub8u>(16, 128)) << mode;
    }
    for (const LargeCase& c : kLarge) {
        std::vector<Zub8u> b(c.n * c.n, 9);
        ASSERT_EQ(c.fn(b.data(), c.n, c.n == 16 ? 2 : 0, 0), 0);
        ASSERT_EQ(b, std::vector<Zub8u>(c.n * c.n, 128));
    }
}

// Check order: pointer, step, then (16x16, chroma) the neighbours of the mode,
// then the mode range.  Nothing is written on any error.
TEST(IntraChecks, OrderAndNoWrites) {
    std::mt19937 rng(8);
    struct Call {
        PredFn fn;
        int n, step, mode, flags;  // step 0: the area's own
        ZubStatus want;
    };
    const PredFn p4 = zubiPredictIntra_4x4_H264_8u_C1IR, p16 = zubiPredictIntra_16x16_H264_8u_C1IR,
                 pc = zubiPredictIntraChroma8x8_H264_8u_C1IR;
    const Call calls[] = {
        {p4, 4, 3, 99, 0, ZubStatusBadStep},       {p4, 4, -4, 0, 0x7F, ZubStatusBadStep},
        {p4, 4, 0, 9, 0x7F, ZubStatusOutOfRange},  {p4, 4, 0, -1, 0x7F, ZubStatusOutOfRange},
        {p16, 16, 15, 99, 0, ZubStatusBadStep},    {p16, 16, 15, 0, 0x7F, ZubStatusBadStep},
        {p16, 16, 0, 4, 0x7F, ZubStatusOutOfRange}, {p16, 16, 0, -1, 0, ZubStatusOutOfRange},
        {p16, 16, 0, 3, kT | kL, ZubStatusNeighbourUnavailable},
        {pc, 8, 7, 99, 0, ZubStatusBadStep},       {pc, 8, -8, 0, 0x7F, ZubStatusBadStep},
        {pc, 8, 0, 4, 0, ZubStatusOutOfRange},     {pc, 8, 0, -1, 0x7F, ZubStatusOutOfRange},
        {pc, 8, 0, 3, kT | kTL, ZubStatusNeighbourUnavailable},
    };
    for (const Call& c : calls) {
        Area a(c.n, 0, rng);
        const std::vector<Zub8u> before = a.mem;
        EXPECT_EQ(c.fn(nullptr, c.n - 1, 99, 0), ZubStatusNullPointer);
        EXPECT_EQ(c.fn(a.blk(), c.step ? c.step : a.step, c.mode, c.flags), c.want) << c.n << " mode " << c.mode;
        EXPECT_EQ(a.mem, before) << c.n << " mode " << c.mode;
    }
    std::vector<Zub8u> b(16 * 17, 9);
    EXPECT_EQ(zubiPredictIntra_16x16_H264_8u_C1IR(b.data() + 16, 16, 2, 0), 0);  // the smallest step is accepted
}

}  // namespace
