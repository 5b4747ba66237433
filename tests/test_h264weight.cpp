// H.264 weighted and bi-directional prediction against the formulas of
// clause 8.4.2.3.2 evaluated in 64-bit arithmetic, the size and step rules of
// each member, and plane expansion against a model of edge repetition.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <functional>
#include <random>
#include <vector>

#include "zubvc.h"

namespace {

// Weighting parameters; the implicit and averaging members ignore some.
struct Wp {
    int logWD, w1, o1, w2, o2;
};

// Unclipped results, written from the standard's equations.
int64_t average(int64_t a, int64_t b, const Wp&) { return (a + b + 1) >> 1; }
int64_t uniWeighted(int64_t s, const Wp& p) {
    if (p.logWD >= 1) return ((s * p.w1 + (int64_t{1} << (p.logWD - 1))) >> p.logWD) + p.o1;
    return s * p.w1 + p.o1;
}
int64_t biWeighted(int64_t a, int64_t b, const Wp& p) {
    return ((a * p.w1 + b * p.w2 + (int64_t{1} << p.logWD)) >> (p.logWD + 1)) + ((p.o1 + p.o2 + 1) >> 1);
}
int64_t implicitWeighted(int64_t a, int64_t b, const Wp& p) { return (a * p.w1 + b * p.w2 + 32) >> 6; }
// zubiWeightedAverage: one offset after the shift, rounding as uni-directional.
int64_t tableAverage(int64_t a, int64_t b, const Wp& p) {
    const int64_t r = p.logWD >= 1 ? int64_t{1} << (p.logWD - 1) : 0;
    return ((a * p.w1 + r + b * p.w2) >> p.logWD) + p.o1;
}

struct Steps {
    int s1, s2, d;
};

enum class Sizes { From2To16, S16, Unchecked };

bool sizeOk(Sizes rule, ZubSize s) {
    auto s16 = [](int v) { return v == 2 || v == 4 || v == 8 || v == 16; };
    switch (rule) {
        case Sizes::From2To16: return s.width >= 2 && s.width <= 16 && s.height >= 2 && s.height <= 16;
        case Sizes::S16: return s16(s.width) && s16(s.height);
        default: return true;
    }
}

// One member of the family, wrapped to a common shape.  Samples are carried
// as T; `shared` says which steps the member ties together.
enum class Shared { None, Sources, All, InPlace };
template <class T>
struct Member {
    const char* name;
    std::function<ZubStatus(const T*, const T*, T*, Steps, ZubSize, const Wp&, int bitDepth)> call;
    int64_t (*model)(int64_t, int64_t, const Wp&);  // null: one source, in place (uni-directional)
    Sizes sizes;
    bool checksSteps;
    Shared shared;
};

Steps tie(Shared sh, Steps st) {
    if (sh == Shared::Sources) st.s2 = st.s1;
    if (sh == Shared::All) st.s2 = st.d = st.s1;
    if (sh == Shared::InPlace) st.d = st.s2 = st.s1;
    return st;
}

// Three sample planes with margins; the member must change exactly the block
// of the destination.
constexpr int kMargin = 24;
template <class T>
struct Planes {
    std::vector<T> a, b, d;
    Planes(ZubSize sz, Steps st, int maxVal, std::mt19937& rng) {
        auto make = [&](int step) {
            std::vector<T> v(static_cast<size_t>(std::max(step, 1) * std::max(sz.height, 1) + 2 * kMargin));
            for (auto& x : v) x = static_cast<T>(rng() % (static_cast<unsigned>(maxVal) + 1));
            return v;
        };
        a = make(st.s1), b = make(st.s2), d = make(st.d);
    }
};

// Runs one call; returns the expected status and checks memory.  `satLo` and
// `satHi` count samples whose unclipped value lay beyond each end.
template <class T>
void runOne(const Member<T>& m, ZubSize sz, Steps st, const Wp& wp, int bitDepth, std::mt19937& rng, ZubStatus want,
            int* satLo = nullptr, int* satHi = nullptr) {
    st = tie(m.shared, st);
    const int maxVal = (1 << bitDepth) - 1;
    Planes<T> pl(sz, st, maxVal, rng);
    const bool one = m.model == nullptr;
    if (m.shared == Shared::InPlace || one) pl.d = one ? pl.a : pl.b;
    std::vector<T> expect = pl.d;
    if (want == ZubStatusOk) {
        for (int y = 0; y < sz.height; ++y)
            for (int x = 0; x < sz.width; ++x) {
                const int s1 = pl.a[kMargin + y * st.s1 + x], s2 = pl.b[kMargin + y * st.s2 + x];
                const int64_t raw = one ? uniWeighted(s1, wp) : m.model(s1, s2, wp);
                if (satLo && raw < 0) ++*satLo;
                if (satHi && raw > maxVal) ++*satHi;
                expect[kMargin + y * st.d + x] = static_cast<T>(std::clamp<int64_t>(raw, 0, maxVal));
            }
    }
    T* dst = pl.d.data() + kMargin;
    ASSERT_EQ(m.call(pl.a.data() + kMargin, pl.b.data() + kMargin, dst, st, sz, wp, bitDepth), want)
        << m.name << " " << sz.width << "x" << sz.height << " steps " << st.s1 << "," << st.s2 << "," << st.d;
    ASSERT_TRUE(pl.d == expect) << m.name << " " << sz.width << "x" << sz.height << " logWD " << wp.logWD << " w "
                                << wp.w1 << "," << wp.w2 << " o " << wp.o1 << "," << wp.o2;
}

const std::vector<Member<Zub8u>>& members8u() {
    using S = Sizes;
    static const std::vector<Member<Zub8u>> list = {
        {"InterpolateBlock_P2P1R",
         [](const Zub8u* a, const Zub8u* b, Zub8u* d, Steps s, ZubSize z, const Wp&, int) {
             return zubiInterpolateBlock_H264_8u_P2P1R(a, b, d, z, s.s1);
         },
         average, S::From2To16, false, Shared::All},
        {"InterpolateBlock_P3P1R",
         [](const Zub8u* a, const Zub8u* b, Zub8u* d, Steps s, ZubSize z, const Wp&, int) {
             return zubiInterpolateBlock_H264_8u_P3P1R(a, b, d, z, s.s1, s.s2, s.d);
         },
         average, S::From2To16, false, Shared::None},
        {"WeightedAverage_C1IR",
         [](const Zub8u* a, const Zub8u*, Zub8u* d, Steps s, ZubSize z, const Wp& p, int) {
             return zubiWeightedAverage_H264_8u_C1IR(a, d, s.s1, p.w1, p.w2, p.logWD, p.o1, z);
         },
         tableAverage, S::S16, true, Shared::InPlace},
        {"UniDirWeightBlock_C1R",
         [](const Zub8u*, const Zub8u*, Zub8u* d, Steps s, ZubSize z, const Wp& p, int) {
             return zubiUniDirWeightBlock_H264_8u_C1R(d, s.s1, p.logWD, p.w1, p.o1, z);
         },
         nullptr, S::S16, true, Shared::All},
        {"UniDirWeightBlock_C1IR",
         [](const Zub8u*, const Zub8u*, Zub8u* d, Steps s, ZubSize z, const Wp& p, int) {
             return zubiUniDirWeightBlock_H264_8u_C1IR(d, s.s1, p.logWD, p.w1, p.o1, z);
         },
         nullptr, S::S16, true, Shared::All},
        {"BiDirWeightBlock_P2P1R",
         [](const Zub8u* a, const Zub8u* b, Zub8u* d, Steps s, ZubSize z, const Wp& p, int) {
             return zubiBiDirWeightBlock_H264_8u_P2P1R(a, b, d, s.s1, s.d, p.logWD, p.w1, p.o1, p.w2, p.o2, z);
         },
         biWeighted, S::S16, true, Shared::Sources},
        {"BiDirWeightBlock_P3P1R",
         [](const Zub8u* a, const Zub8u* b, Zub8u* d, Steps s, ZubSize z, const Wp& p, int) {
             return zubiBiDirWeightBlock_H264_8u_P3P1R(a, b, d, s.s1, s.s2, s.d, p.logWD, p.w1, p.o1, p.w2, p.o2,
                                                       z);
         },
         biWeighted, S::S16, true, Shared::None},
        {"BiDirWeightBlockImplicit_P2P1R",
         [](const Zub8u* a, const Zub8u* b, Zub8u* d, Steps s, ZubSize z, const Wp& p, int) {
             return zubiBiDirWeightBlockImplicit_H264_8u_P2P1R(a, b, d, s.s1, s.d, p.w1, p.w2, z);
         },
         implicitWeighted, S::S16, true, Shared::Sources},
        {"BiDirWeightBlockImplicit_P3P1R",
         [](const Zub8u* a, const Zub8u* b, Zub8u* d, Steps s, ZubSize z, const Wp& p, int) {
             return zubiBiDirWeightBlockImplicit_H264_8u_P3P1R(a, b, d, s.s1, s.s2, s.d, p.w1, p.w2, z);
         },
         implicitWeighted, S::Unchecked, false, Shared::None},
    };
    return list;
}

H264BidirParams_16u record(const Zub16u* a, const Zub16u* b, Zub16u* d, Steps s, ZubSize z, int bitDepth) {
    return {a, s.s1, b, s.s2, d, s.d, z.width, z.height, bitDepth};
}

const std::vector<Member<Zub16u>>& members16u() {
    using S = Sizes;
    static const std::vector<Member<Zub16u>> list = {
        {"Bidir_16u",
         [](const Zub16u* a, const Zub16u* b, Zub16u* d, Steps s, ZubSize z, const Wp&, int bd) {
             const H264BidirParams_16u r = record(a, b, d, s, z, bd);
             return zubiBidir_H264_16u_P2P1R(&r);
         },
         average, S::From2To16, false, Shared::None},
        {"BidirWeight_16u",
         [](const Zub16u* a, const Zub16u* b, Zub16u* d, Steps s, ZubSize z, const Wp& p, int bd) {
             const H264BidirParams_16u r = record(a, b, d, s, z, bd);
             return zubiBidirWeight_H264_16u_P2P1R(&r, p.logWD, p.w1, p.o1, p.w2, p.o2);
         },
         biWeighted, S::S16, true, Shared::None},
        {"BidirWeightImplicit_16u",
         [](const Zub16u* a, const Zub16u* b, Zub16u* d, Steps s, ZubSize z, const Wp& p, int bd) {
             const H264BidirParams_16u r = record(a, b, d, s, z, bd);
             return zubiBidirWeightImplicit_H264_16u_P2P1R(&r, p.w1, p.w2);
         },
         implicitWeighted, S::S16, true, Shared::None},
        {"UnidirWeight_16u",
         [](const Zub16u*, const Zub16u*, Zub16u* d, Steps s, ZubSize z, const Wp& p, int bd) {
             return zubiUnidirWeight_H264_16u_IP2P1R(d, s.s1, p.logWD, p.w1, p.o1, z, bd);
         },
         nullptr, S::S16, true, Shared::All},
    };
    return list;
}

// Mostly H.264's ranges (logWD 0..7, weights -128..127, offsets -128..127
// scaled by the bit depth), with their corners and with values beyond them:
// the 8-bit members work in 16-bit lanes inside those ranges only.
Wp randomWp(std::mt19937& rng, int bitDepth, int rep) {
    auto in = [&](int lo, int hi) { return lo + static_cast<int>(rng() % static_cast<unsigned>(hi - lo + 1)); };
    auto pick = [&](std::initializer_list<int> v) { return *(v.begin() + rng() % v.size()); };
    const int sc = 1 << (bitDepth - 8);
    switch (rep % 6) {
        case 0:  // beyond H.264's ranges
            return {in(0, 14), in(-2000, 2000), in(-600, 600) * sc, in(-2000, 2000), in(-600, 600) * sc};
        case 1: {  // the corners of the 16-bit lanes
            const int o1 = pick({-128, 127}), o2 = pick({-128, 127, 128, -129});
            return {pick({0, 1, 7, 8}), pick({-128, -127, 127, 128, 129}), o1 * sc, pick({-128, 127, 128, -129}),
                    o2 * sc};
        }
        default: return {in(0, 7), in(-128, 127), in(-128, 127) * sc, in(-128, 127), in(-128, 127) * sc};
    }
}

template <class T>
void randomAgainstModel(const std::vector<Member<T>>& list, const std::vector<int>& depths, unsigned seed) {
    std::mt19937 rng(seed);
    const int dims[] = {2, 4, 8, 16};
    for (const Member<T>& m : list) {
        int lo = 0, hi = 0;
        for (int rep = 0; rep < 400; ++rep) {
            ZubSize sz{dims[rng() % 4], dims[rng() % 4]};
            if (m.sizes != Sizes::S16 && rep % 3 == 0) {  // the other sizes they accept
                sz = {2 + static_cast<int>(rng() % 15), 2 + static_cast<int>(rng() % 15)};
                if (m.sizes == Sizes::Unchecked) sz.width += static_cast<int>(rng() % 20);
            }
            const Steps st{sz.width + static_cast<int>(rng() % 9), sz.width + static_cast<int>(rng() % 9),
                           sz.width + static_cast<int>(rng() % 9)};
            const int bd = depths[rng() % depths.size()];
            runOne(m, sz, st, randomWp(rng, bd, rep), bd, rng, ZubStatusOk, &lo, &hi);
            if (::testing::Test::HasFatalFailure()) return;
        }
        if (m.model != average) {  // the random weights must reach both ends of the clamp
            EXPECT_GT(lo, 0) << m.name;
            EXPECT_GT(hi, 0) << m.name;
        }
    }
}

TEST(Weight8u, EveryMemberMatchesModel) { randomAgainstModel(members8u(), {8}, 11); }
TEST(Weight16u, EveryMemberMatchesModel) { randomAgainstModel(members16u(), {8, 9, 10, 12, 14, 16}, 12); }

// The pre-saturation value of zubiWeightedAverage indexes ClampTbl; values
// beyond the table's -256..511 saturate as well.
TEST(Weight8u, WeightedAverageSaturatesBeyondTable) {
    std::mt19937 rng(2);
    const Member<Zub8u>& m = members8u()[2];
    for (const Wp& wp : {Wp{0, 127, 100, 127, 0}, Wp{0, -128, -100, -128, 0}, Wp{1, 2, 0, 0, 0}, Wp{0, 1, -256, 0, 0},
                         Wp{0, 1, 256, 0, 0}, Wp{0, 1000000, 0, 1000000, 0}})
        runOne(m, {16, 16}, {16, 16, 16}, wp, 8, rng, ZubStatusOk);
}

TEST(Weight8u, KnownValues) {
    Zub8u s1[4] = {10, 200, 0, 255}, s2[4] = {11, 100, 1, 255}, d[4];
    // Uni-directional, logWD 0, w 1, o 0: no rounding term, the input back.
    Zub8u u[4] = {0, 1, 128, 255};
    ASSERT_EQ(zubiUniDirWeightBlock_H264_8u_C1R(u, 2, 0, 1, 0, {2, 2}), 0);
    EXPECT_EQ(std::vector<int>(u, u + 4), (std::vector<int>{0, 1, 128, 255}));
    // Explicit, logWD 0, weights 1, offsets 0 is the average; o1 = 1 adds 1,
    // o1 = -1 adds (-1 + 0 + 1) >> 1 = 0; implicit 32, 32 is the average too.
    for (int o1 : {0, 1, -1}) {
        ASSERT_EQ(zubiBiDirWeightBlock_H264_8u_P2P1R(s1, s2, d, 2, 2, 0, 1, o1, 1, 0, {2, 2}), 0);
        const int add = o1 == 1 ? 1 : 0;
        EXPECT_EQ(std::vector<int>(d, d + 4), (std::vector<int>{11 + add, 150 + add, 1 + add, 255})) << o1;
    }
    ASSERT_EQ(zubiBiDirWeightBlockImplicit_H264_8u_P2P1R(s1, s2, d, 2, 2, 32, 32, {2, 2}), 0);
    EXPECT_EQ(std::vector<int>(d, d + 4), (std::vector<int>{11, 150, 1, 255}));
    // 16u saturation at bitDepth 10.
    Zub16u h[4] = {1023, 1000, 5, 0};
    ASSERT_EQ(zubiUnidirWeight_H264_16u_IP2P1R(h, 2, 1, 4, -20, {2, 2}, 10), 0);
    EXPECT_EQ(std::vector<int>(h, h + 4), (std::vector<int>{1023, 1023, 0, 0}));
}

// The extremes of the 8-bit samples at and just beyond the parameter corners
// where the 8u members change from 16-bit to 32-bit lanes.
TEST(Weight8u, LaneCorners) {
    const Zub8u s1[4] = {0, 1, 254, 255}, s2[4] = {255, 254, 1, 0}, same[4] = {255, 255, 255, 255};
    for (int logWD : {0, 1, 7, 8})
        for (int w1 : {-129, -128, 127, 128, 129})
            for (int w2 : {-129, -128, 128, 129})
                for (int o1 : {-129, -128, 127, 128})
                    for (int o2 : {-129, 128}) {
                        const Wp wp{logWD, w1, o1, w2, o2};
                        Zub8u u[4] = {0, 1, 254, 255}, d[4], e[4];
                        ASSERT_EQ(zubiUniDirWeightBlock_H264_8u_C1R(u, 2, logWD, w1, o1, {2, 2}), 0);
                        ASSERT_EQ(zubiBiDirWeightBlock_H264_8u_P2P1R(s1, s2, d, 2, 2, logWD, w1, o1, w2, o2, {2, 2}), 0);
                        ASSERT_EQ(zubiBiDirWeightBlock_H264_8u_P2P1R(same, same, e, 2, 2, logWD, w1, o1, w2, o2, {2, 2}),
                                  0);
                        for (int i = 0; i < 4; ++i) {
                            ASSERT_EQ(u[i], std::clamp<int64_t>(uniWeighted(s1[i], wp), 0, 255)) << i;
                            ASSERT_EQ(d[i], std::clamp<int64_t>(biWeighted(s1[i], s2[i], wp), 0, 255)) << i;
                            ASSERT_EQ(e[i], std::clamp<int64_t>(biWeighted(255, 255, wp), 0, 255)) << i;
                        }
                    }
}

// Size and step rules, and check order: null, then steps, then sizes.
template <class T>
void sizeAndStepRules(const std::vector<Member<T>>& list, int bitDepth) {
    std::mt19937 rng(5);
    const int dims[] = {-2, -1, 0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 12, 15, 16, 17, 18, 32};
    const Wp wp{3, 20, 4, -7, 1};
    for (const Member<T>& m : list) {
        for (int w : dims)
            for (int h : dims) {
                const ZubSize sz{w, h};
                ZubStatus want = sizeOk(m.sizes, sz) ? ZubStatusOk : ZubStatusBadSize;
                if (m.sizes == Sizes::Unchecked) want = ZubStatusOk;  // empty blocks write nothing
                runOne(m, sz, {40, 40, 40}, wp, bitDepth, rng, want);
                if (::testing::Test::HasFatalFailure()) return;
            }
        // Each step below the width is refused by the members that check
        // steps, before the size (width 6 is a bad size for all of those).
        for (int which = 0; which < 3; ++which) {
            Steps st{16, 16, 16};
            (which == 0 ? st.s1 : which == 1 ? st.s2 : st.d) = 5;
            const Steps tied = tie(m.shared, st);
            const bool narrowed = tied.s1 == 5 || tied.s2 == 5 || tied.d == 5;
            if (!narrowed) continue;  // this member has no such step
            if (m.checksSteps) {
                runOne(m, {6, 4}, st, wp, bitDepth, rng, ZubStatusBadStep);
                runOne(m, {8, 4}, st, wp, bitDepth, rng, ZubStatusBadStep);
            } else {
                runOne(m, {6, 4}, st, wp, bitDepth, rng, ZubStatusOk);  // steps are not looked at
            }
        }
        // Null pointers beat bad steps and sizes.
        T buf[64] = {};
        for (int which = 0; which < 3; ++which) {
            if (m.model == nullptr && which < 2) continue;  // one-buffer member
            if (m.shared == Shared::InPlace && which == 1) continue;
            const T* a = which == 0 ? nullptr : buf;
            const T* b = which == 1 ? nullptr : buf;
            T* d = which == 2 ? nullptr : buf;
            EXPECT_EQ(m.call(a, b, d, {1, 1, 1}, {0, 99}, wp, bitDepth), ZubStatusNullPointer) << m.name << which;
        }
    }
}

TEST(Weight8u, SizeAndStepRules) { sizeAndStepRules(members8u(), 8); }
TEST(Weight16u, SizeAndStepRules) { sizeAndStepRules(members16u(), 10); }

TEST(Weight16u, NullRecord) {
    EXPECT_EQ(zubiBidir_H264_16u_P2P1R(nullptr), ZubStatusNullPointer);
    EXPECT_EQ(zubiBidirWeight_H264_16u_P2P1R(nullptr, 0, 1, 0, 1, 0), ZubStatusNullPointer);
    EXPECT_EQ(zubiBidirWeightImplicit_H264_16u_P2P1R(nullptr, 32, 32), ZubStatusNullPointer);
}

// ---------------------------------------------------------------------------
// Plane expansion.  Model: every sample of the border rows and columns of the
// frame (or of the rows of one field parity) takes the value of the nearest
// picture sample of the same frame or field; everything else is untouched.
struct PlaneBuf {
    int w, h, e, step, pad;
    std::vector<Zub8u> mem;
    PlaneBuf(int w_, int h_, int e_, std::mt19937& rng)
        : w(w_), h(h_), e(e_), step(w_ + 2 * e_ + 5), pad(e_ + 3), mem(static_cast<size_t>(step) * (h_ + 2 * pad)) {
        for (auto& v : mem) v = static_cast<Zub8u>(rng());
    }
    size_t idx(int x, int y) const { return static_cast<size_t>((y + pad) * step + pad + x); }
    Zub8u* origin() { return mem.data() + idx(0, 0); }
};

std::vector<Zub8u> expandModel(const PlaneBuf& p, int frameType) {
    std::vector<Zub8u> out = p.mem;
    for (int y = -p.e; y < p.h + p.e; ++y) {
        int sy;
        if (frameType == 0) {
            sy = std::clamp(y, 0, p.h - 1);
        } else {
            const int parity = frameType == 1 ? 0 : 1;
            if (((y % 2) + 2) % 2 != parity) continue;
            sy = std::clamp(y, parity, p.h - 2 + parity);
        }
        for (int x = -p.e; x < p.w + p.e; ++x) out[p.idx(x, y)] = p.mem[p.idx(std::clamp(x, 0, p.w - 1), sy)];
    }
    return out;
}

TEST(ExpandPlane, FramesAndFieldsMatchModel) {
    std::mt19937 rng(77);
    for (int e : {1, 2, 3, 4, 7, 16, 32}) {
        for (int frameType = 0; frameType < 3; ++frameType) {
            for (int rep = 0; rep < 6; ++rep) {
                const int w = 1 + static_cast<int>(rng() % 40), h = 2 * (1 + static_cast<int>(rng() % 20));
                PlaneBuf p(w, h, e, rng);
                const std::vector<Zub8u> want = expandModel(p, frameType);
                ASSERT_EQ(zubiExpandPlane_H264_8u_C1R(p.origin(), {w, h}, p.step, e, frameType), 0);
                ASSERT_TRUE(p.mem == want) << w << "x" << h << " E " << e << " type " << frameType;
            }
        }
    }
}

TEST(ExpandPlane, ChecksInOrder) {
    std::mt19937 rng(78);
    PlaneBuf p(8, 8, 16, rng);
    const std::vector<Zub8u> before = p.mem;
    auto call = [&](ZubSize s, int e, int type) { return zubiExpandPlane_H264_8u_C1R(p.origin(), s, p.step, e, type); };
    EXPECT_EQ(zubiExpandPlane_H264_8u_C1R(nullptr, {0, 3}, p.step, 16, 7), ZubStatusNullPointer);
    for (ZubSize s : {ZubSize{8, 7}, ZubSize{8, 0}, ZubSize{8, -2}, ZubSize{0, 8}, ZubSize{-1, 8}})
        EXPECT_EQ(call(s, 16, 7), ZubStatusBadSize) << s.width << "x" << s.height;
    EXPECT_EQ(call({8, 8}, -1, 0), ZubStatusBadSize);
    EXPECT_EQ(call({8, 8}, 0, 7), ZubStatusOk);  // nothing to do: the type is not looked at
    EXPECT_EQ(call({8, 8}, 16, 7), ZubStatusBadArgument);
    EXPECT_EQ(call({8, 8}, 16, -1), ZubStatusBadArgument);
    EXPECT_TRUE(p.mem == before);
}

}  // namespace
