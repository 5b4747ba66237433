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

// ---------------------------------------------------------------------------
// Intra_8x8 (clause 8.3.2): a model that filters the reference samples as
// clause 8.3.2.2.1 lists its cases and then evaluates each mode's equation for
// every sample, over every availability combination, for 8-bit samples and
// for 16-bit samples of 9 to 14 bits.

template <class Pixel>
struct Area8 {
    static constexpr int kStep = 29, kOrgX = 3, kOrgY = 2;  // room for 16 samples above
    std::vector<Pixel> mem;
    Area8(std::mt19937& rng, int maxVal, bool flat) : mem(kStep * 11) {
        const int base = static_cast<int>(rng() % (maxVal + 1));
        for (auto& v : mem) v = static_cast<Pixel>(flat ? std::clamp(base + static_cast<int>(rng() % 9) - 4, 0, maxVal)
                                                        : static_cast<int>(rng() % (maxVal + 1)));
    }
    Pixel* blk() { return mem.data() + kOrgY * kStep + kOrgX; }
    int at(int x, int y) const { return mem[(kOrgY + y) * kStep + kOrgX + x]; }
};

// p'[x, y] of clause 8.3.2.2.1 for the edge of the block; `ok` false for a
// sample that is not available for Intra_8x8 prediction.
template <class Pixel>
struct Model8 {
    const Area8<Pixel>& a;
    int avail;
    bool has(int x, int y) const {
        if (x == -1 && y == -1) return avail & kTL;
        if (y == -1) return avail & kT;  // above-right samples are substituted when bit 64 is clear
        return avail & kL;
    }
    int raw(int x, int y) const {
        if (y == -1 && x > 7 && !(avail & kTR)) return a.at(7, -1);
        return a.at(x, y);
    }
    int f(int x, int y) const {
        if (y == -1 && x >= 0) {
            if (x == 0)
                return has(-1, -1) ? (raw(-1, -1) + 2 * raw(0, -1) + raw(1, -1) + 2) >> 2
                                   : (3 * raw(0, -1) + raw(1, -1) + 2) >> 2;
            if (x == 15) return (raw(14, -1) + 3 * raw(15, -1) + 2) >> 2;
            return (raw(x - 1, -1) + 2 * raw(x, -1) + raw(x + 1, -1) + 2) >> 2;
        }
        if (x == -1 && y == -1) {
            const bool top = has(0, -1), left = has(-1, 0);
            if (top && left) return (raw(0, -1) + 2 * raw(-1, -1) + raw(-1, 0) + 2) >> 2;
            if (top) return (3 * raw(-1, -1) + raw(0, -1) + 2) >> 2;
            if (left) return (3 * raw(-1, -1) + raw(-1, 0) + 2) >> 2;
            return raw(-1, -1);
        }
        if (y == 0)
            return has(-1, -1) ? (raw(-1, -1) + 2 * raw(-1, 0) + raw(-1, 1) + 2) >> 2
                               : (3 * raw(-1, 0) + raw(-1, 1) + 2) >> 2;
        if (y == 7) return (raw(-1, 6) + 3 * raw(-1, 7) + 2) >> 2;
        return (raw(-1, y - 1) + 2 * raw(-1, y) + raw(-1, y + 1) + 2) >> 2;
    }
    int predict(int mode, int x, int y, int bitDepth) const {
        auto P = [&](int px, int py) { return f(px, py); };
        switch (mode) {
            case 0: return P(x, -1);
            case 1: return P(-1, y);
            case 2: {
                int top = 0, left = 0;
                for (int i = 0; i < 8; ++i) top += (avail & kT) ? P(i, -1) : 0, left += (avail & kL) ? P(-1, i) : 0;
                if ((avail & kT) && (avail & kL)) return (top + left + 8) >> 4;
                if (avail & kT) return (top + 4) >> 3;
                if (avail & kL) return (left + 4) >> 3;
                return 1 << (bitDepth - 1);
            }
            case 3:
                if (x == 7 && y == 7) return (P(14, -1) + 3 * P(15, -1) + 2) >> 2;
                return (P(x + y, -1) + 2 * P(x + y + 1, -1) + P(x + y + 2, -1) + 2) >> 2;
            case 4:
                if (x > y) return (P(x - y - 2, -1) + 2 * P(x - y - 1, -1) + P(x - y, -1) + 2) >> 2;
                if (x < y) return (P(-1, y - x - 2) + 2 * P(-1, y - x - 1) + P(-1, y - x) + 2) >> 2;
                return (P(0, -1) + 2 * P(-1, -1) + P(-1, 0) + 2) >> 2;
            case 5: {
                const int z = 2 * x - y;
                if (z >= 0 && z % 2 == 0) return (P(x - (y >> 1) - 1, -1) + P(x - (y >> 1), -1) + 1) >> 1;
                if (z >= 0) return (P(x - (y >> 1) - 2, -1) + 2 * P(x - (y >> 1) - 1, -1) + P(x - (y >> 1), -1) + 2) >> 2;
                if (z == -1) return (P(-1, 0) + 2 * P(-1, -1) + P(0, -1) + 2) >> 2;
                return (P(-1, y - 2 * x - 1) + 2 * P(-1, y - 2 * x - 2) + P(-1, y - 2 * x - 3) + 2) >> 2;
            }
            case 6: {
                const int z = 2 * y - x;
                if (z >= 0 && z % 2 == 0) return (P(-1, y - (x >> 1) - 1) + P(-1, y - (x >> 1)) + 1) >> 1;
                if (z >= 0) return (P(-1, y - (x >> 1) - 2) + 2 * P(-1, y - (x >> 1) - 1) + P(-1, y - (x >> 1)) + 2) >> 2;
                if (z == -1) return (P(-1, 0) + 2 * P(-1, -1) + P(0, -1) + 2) >> 2;
                return (P(x - 2 * y - 1, -1) + 2 * P(x - 2 * y - 2, -1) + P(x - 2 * y - 3, -1) + 2) >> 2;
            }
            case 7:
                if (y % 2 == 0) return (P(x + (y >> 1), -1) + P(x + (y >> 1) + 1, -1) + 1) >> 1;
                return (P(x + (y >> 1), -1) + 2 * P(x + (y >> 1) + 1, -1) + P(x + (y >> 1) + 2, -1) + 2) >> 2;
            default: {
                const int z = x + 2 * y;
                if (z > 13) return P(-1, 7);
                if (z == 13) return (P(-1, 6) + 3 * P(-1, 7) + 2) >> 2;
                if (z % 2 == 0) return (P(-1, y + (x >> 1)) + P(-1, y + (x >> 1) + 1) + 1) >> 1;
                return (P(-1, y + (x >> 1)) + 2 * P(-1, y + (x >> 1) + 1) + P(-1, y + (x >> 1) + 2) + 2) >> 2;
            }
        }
    }
};

// Neighbours mode m needs, read from the mode names.
bool intra8x8Possible(int m, int avail) {
    const bool t = avail & kT, l = avail & kL, c = avail & kTL;
    switch (m) {
        case 0: case 3: case 7: return t;
        case 1: case 8: return l;
        case 2: return true;
        default: return t && l && c;
    }
}

template <class Pixel, class Call>
void checkIntra8x8(int bitDepth, Call call) {
    std::mt19937 rng(81 + bitDepth);
    const int maxVal = (1 << bitDepth) - 1;
    for (int trial = 0; trial < 6; ++trial)
        for (int avail = 0; avail < 16; ++avail)
            for (int mode = 0; mode < 9; ++mode) {
                const int flags = (avail & 3) | ((avail & 4) ? kTL : 0) | ((avail & 8) ? kTR : 0) | (trial & 1 ? 0x90 : 0);
                Area8<Pixel> a(rng, maxVal, trial >= 4);
                std::vector<Pixel> expect = a.mem;
                const bool ok = intra8x8Possible(mode, flags);
                const Model8<Pixel> m{a, flags};
                for (int y = 0; ok && y < 8; ++y)
                    for (int x = 0; x < 8; ++x)
                        expect[(Area8<Pixel>::kOrgY + y) * Area8<Pixel>::kStep + Area8<Pixel>::kOrgX + x] =
                            static_cast<Pixel>(m.predict(mode, x, y, bitDepth));
                ASSERT_EQ(call(a.blk(), Area8<Pixel>::kStep, mode, flags),
                          ok ? ZubStatusOk : ZubStatusNeighbourUnavailable)
                    << "mode " << mode << " flags " << flags;
                ASSERT_EQ(a.mem, expect) << "bit depth " << bitDepth << " mode " << mode << " flags " << flags;
            }
}

TEST(Intra8x8, EveryModeAndFlagCombinationMatchesModel) {
    checkIntra8x8<Zub8u>(8, [](Zub8u* d, int s, int m, int f) { return zubiPredictIntra_8x8_H264_8u_C1IR(d, s, m, f); });
    for (int bitDepth : {8, 9, 10, 14})
        checkIntra8x8<Zub16u>(bitDepth, [bitDepth](Zub16u* d, int s, int m, int f) {
            return zubiPredictIntra_8x8_H264_16u_C1IR(d, s, m, f, bitDepth);
        });
}

TEST(Intra8x8, ChecksInOrderWriteNothing) {
    Zub8u pic[16 * 16] = {};
    Zub16u pic16[16 * 16] = {};
    Zub8u* b = pic + 17;
    Zub16u* b16 = pic16 + 17;
    EXPECT_EQ(zubiPredictIntra_8x8_H264_8u_C1IR(nullptr, 7, 9, 0), ZubStatusNullPointer);
    EXPECT_EQ(zubiPredictIntra_8x8_H264_8u_C1IR(b, 7, 9, 0), ZubStatusBadStep);
    EXPECT_EQ(zubiPredictIntra_8x8_H264_8u_C1IR(b, 16, 9, 0), ZubStatusOutOfRange);
    EXPECT_EQ(zubiPredictIntra_8x8_H264_8u_C1IR(b, 16, -1, 0), ZubStatusOutOfRange);
    EXPECT_EQ(zubiPredictIntra_8x8_H264_8u_C1IR(b, 16, 4, kT | kL), ZubStatusNeighbourUnavailable);
    EXPECT_EQ(zubiPredictIntra_8x8_H264_16u_C1IR(nullptr, 7, 9, 0, 7), ZubStatusNullPointer);
    EXPECT_EQ(zubiPredictIntra_8x8_H264_16u_C1IR(b16, 7, 9, 0, 7), ZubStatusBadStep);
    EXPECT_EQ(zubiPredictIntra_8x8_H264_16u_C1IR(b16, 16, 9, 0, 10), ZubStatusOutOfRange);
    EXPECT_EQ(zubiPredictIntra_8x8_H264_16u_C1IR(b16, 16, 2, 0, 15), ZubStatusOutOfRange);
    EXPECT_EQ(zubiPredictIntra_8x8_H264_16u_C1IR(b16, 16, 2, 0, 7), ZubStatusOutOfRange);
    EXPECT_EQ(zubiPredictIntra_8x8_H264_16u_C1IR(b16, 16, 8, kT | kTL | kTR, 10), ZubStatusNeighbourUnavailable);
    for (Zub8u v : pic) ASSERT_EQ(v, 0);
    for (Zub16u v : pic16) ASSERT_EQ(v, 0);
}

// ---------------------------------------------------------------------------
// 16-bit samples: at bit depth 8 the 4x4, 16x16 and 4:2:0 chroma functions
// must give what the 8-bit functions (tested above against the models) give,
// sample for sample and status for status; above 8 bits the substitute, the
// DC without neighbours and the plane clamp follow the bit depth.

using Pred16Fn = ZubStatus (*)(Zub16u*, int, int, int, int);

TEST(Intra16u, EqualsEightBitFunctionsAtBitDepth8) {
    std::mt19937 rng(61);
    const struct {
        PredFn fn8;
        Pred16Fn fn16;
        int n, modes;
    } sizes[] = {{zubiPredictIntra_4x4_H264_8u_C1IR, zubiPredictIntra_4x4_H264_16u_C1IR, 4, 9},
                 {zubiPredictIntra_16x16_H264_8u_C1IR, zubiPredictIntra_16x16_H264_16u_C1IR, 16, 4},
                 {zubiPredictIntraChroma8x8_H264_8u_C1IR, zubiPredictIntraChroma8x8_H264_16u_C1IR, 8, 4}};
    for (const auto& z : sizes)
        for (int mode = 0; mode < z.modes; ++mode)
            for (int combo = 0; combo < 16; ++combo)
                for (int rep = 0; rep < 6; ++rep) {
                    Area a(z.n, 0, rng);
                    if (rep == 0) std::fill(a.mem.begin(), a.mem.end(), 255);
                    std::vector<Zub16u> wide(a.mem.begin(), a.mem.end());
                    const int flags = flagsOf(combo, rng);
                    const ZubStatus want = z.fn8(a.blk(), a.step, mode, flags);
                    ASSERT_EQ(z.fn16(wide.data() + (a.blk() - a.mem.data()), a.step, mode, flags, 8), want)
                        << z.n << " mode " << mode << " flags " << flags;
                    ASSERT_EQ(wide, std::vector<Zub16u>(a.mem.begin(), a.mem.end()))
                        << z.n << " mode " << mode << " flags " << flags;
                }
}

TEST(Intra16u, BitDepthSetsSubstituteDcAndClamp) {
    for (int bitDepth : {9, 10, 14}) {
        const Zub16u mid = static_cast<Zub16u>(1 << (bitDepth - 1)), top = static_cast<Zub16u>((1 << bitDepth) - 1);
        std::vector<Zub16u> b(16 * 16, 7);
        EXPECT_EQ(zubiPredictIntra_4x4_H264_16u_C1IR(b.data(), 4, 0, 0, bitDepth), ZubStatusNeighbourSubstitutedWarning);
        EXPECT_EQ(std::vector<Zub16u>(b.begin(), b.begin() + 16), std::vector<Zub16u>(16, mid));
        EXPECT_EQ(zubiPredictIntra_16x16_H264_16u_C1IR(b.data(), 16, 2, 0, bitDepth), ZubStatusOk);
        EXPECT_EQ(b, std::vector<Zub16u>(256, mid));
        std::fill(b.begin(), b.end(), 7);
        EXPECT_EQ(zubiPredictIntraChroma8x8_H264_16u_C1IR(b.data(), 8, 0, 0, bitDepth), ZubStatusOk);
        EXPECT_EQ(std::vector<Zub16u>(b.begin(), b.begin() + 64), std::vector<Zub16u>(64, mid));
        // A plane rising steeply to the right and down overshoots the maximum
        // in the far corner and stays at 0 near the origin.
        const int step = 18;
        std::vector<Zub16u> pic(step * 17, 0);
        Zub16u* blk = pic.data() + step + 1;
        for (int i = 8; i < 16; ++i) blk[i - step] = blk[i * step - 1] = top;
        ASSERT_EQ(zubiPredictIntra_16x16_H264_16u_C1IR(blk, step, 3, 35, bitDepth), ZubStatusOk);
        EXPECT_EQ(blk[15 * step + 15], top);
        EXPECT_EQ(blk[0], 0);
        EXPECT_EQ(zubiPredictIntra_16x16_H264_16u_C1IR(blk, step, 3, 3, bitDepth), ZubStatusNeighbourUnavailable);
        EXPECT_EQ(zubiPredictIntra_16x16_H264_16u_C1IR(blk, step, 0, 35, 15), ZubStatusOutOfRange);
        EXPECT_EQ(zubiPredictIntra_4x4_H264_16u_C1IR(blk, 3, 0, 35, 10), ZubStatusBadStep);
        EXPECT_EQ(zubiPredictIntraChroma8x8_H264_16u_C1IR(nullptr, 3, 9, 35, 15), ZubStatusNullPointer);
    }
}

// 4:2:2 chroma (8 x 16): DC per 4x4 block and the plane with xCF = 0, yCF = 4
// written from clause 8.3.4 for ChromaArrayType 2, every mode and flag
// combination, 8-bit and 10-bit samples.
template <class Pixel>
struct Area422 {
    static constexpr int kStep = 13, kOrg = 2;
    std::vector<Pixel> mem;
    Area422(std::mt19937& rng, int maxVal, int shape) : mem(kStep * 19) {
        for (auto& v : mem) v = static_cast<Pixel>(rng() % (maxVal + 1));
        if (shape)  // steep edges: the plane leaves the range at both ends
            for (int i = -1; i < 16; ++i) {
                if (i < 8) at(i, -1) = static_cast<Pixel>((i < 4) == (shape == 1) ? maxVal : 0);
                at(-1, i) = static_cast<Pixel>((i < 8) == (shape == 1) ? maxVal : 0);
            }
    }
    Pixel& at(int x, int y) { return mem[(kOrg + y) * kStep + kOrg + x]; }
    Pixel* blk() { return &at(0, 0); }
};

template <class Pixel>
int model422(Area422<Pixel>& a, int mode, int avail, int x, int y, int bitDepth) {
    auto p = [&](int px, int py) { return static_cast<int>(a.at(px, py)); };
    const bool t = avail & kT, l = avail & kL;
    switch (mode) {
        case 0: {
            const int xO = x & 4, yO = y & 12;
            int st = 0, sl = 0;
            for (int i = 0; i < 4; ++i) st += t ? p(xO + i, -1) : 0, sl += l ? p(-1, yO + i) : 0;
            if ((xO == 0 && yO == 0) || (xO > 0 && yO > 0)) {
                if (t && l) return (st + sl + 4) >> 3;
                if (t) return (st + 2) >> 2;
                if (l) return (sl + 2) >> 2;
            } else if (xO > 0) {
                if (t) return (st + 2) >> 2;
                if (l) return (sl + 2) >> 2;
            } else {
                if (l) return (sl + 2) >> 2;
                if (t) return (st + 2) >> 2;
            }
            return 1 << (bitDepth - 1);
        }
        case 1: return p(-1, y);
        case 2: return p(x, -1);
        default: {
            int h = 0, v = 0;
            for (int i = 0; i <= 3; ++i) h += (i + 1) * (p(4 + i, -1) - p(2 - i, -1));
            for (int i = 0; i <= 7; ++i) v += (i + 1) * (p(-1, 8 + i) - p(-1, 6 - i));
            const int a0 = 16 * (p(-1, 15) + p(7, -1)), b = (34 * h + 32) >> 6, c = (5 * v + 32) >> 6;
            return std::clamp((a0 + b * (x - 3) + c * (y - 7) + 16) >> 5, 0, (1 << bitDepth) - 1);
        }
    }
}

template <class Pixel, class Call>
void check422(int bitDepth, Call call) {
    std::mt19937 rng(71 + bitDepth);
    const int needs[4] = {0, kL, kT, kT | kL | kTL};
    for (int mode = 0; mode < 4; ++mode)
        for (int combo = 0; combo < 16; ++combo)
            for (int rep = 0; rep < (mode == 3 ? 12 : 3); ++rep) {
                Area422<Pixel> a(rng, (1 << bitDepth) - 1, mode == 3 && rep < 2 ? rep + 1 : 0);
                const int flags = flagsOf(combo, rng);
                const bool ok = (flags & needs[mode]) == needs[mode];
                Area422<Pixel> expect = a;
                for (int y = 0; ok && y < 16; ++y)
                    for (int x = 0; x < 8; ++x) expect.at(x, y) = static_cast<Pixel>(model422(a, mode, flags, x, y, bitDepth));
                ASSERT_EQ(call(a.blk(), Area422<Pixel>::kStep, mode, flags), ok ? ZubStatusOk : ZubStatusNeighbourUnavailable)
                    << "mode " << mode << " flags " << flags;
                ASSERT_EQ(a.mem, expect.mem) << "bit depth " << bitDepth << " mode " << mode << " flags " << flags;
            }
}

TEST(IntraChroma422, EveryModeAndFlagCombinationMatchesModel) {
    check422<Zub8u>(8, [](Zub8u* d, int s, int m, int f) { return zubiPredictIntraChroma8x16_H264_8u_C1IR(d, s, m, f); });
    check422<Zub16u>(10, [](Zub16u* d, int s, int m, int f) {
        return zubiPredictIntraChroma8x16_H264_16u_C1IR(d, s, m, f, 10);
    });
    Zub8u b[8 * 16] = {};
    EXPECT_EQ(zubiPredictIntraChroma8x16_H264_8u_C1IR(b, 7, 0, 0), ZubStatusBadStep);
    EXPECT_EQ(zubiPredictIntraChroma8x16_H264_8u_C1IR(b, 8, 4, 0), ZubStatusOutOfRange);
    EXPECT_EQ(zubiPredictIntraChroma8x16_H264_8u_C1IR(b + 9, 8, 3, kT | kL), ZubStatusNeighbourUnavailable);
    for (Zub8u v : b) ASSERT_EQ(v, 0);
}

}  // namespace
