// H.264 weighted and bi-directional prediction against the formulas of
// clause 8.4.2.3.2 evaluated in 64-bit arithmetic, the size and step rules of
// each member, and plane expansion against a model of edge repetition.
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <functional>
#include <iterator>
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
    if (rule == Sizes::S16) return s16(s.width) && s16(s.height);
    return rule == Sizes::Unchecked || (s.width >= 2 && s.width <= 16 && s.height >= 2 && s.height <= 16);
}

// One member of the family, wrapped to a common shape; `shared` says which
// steps the member ties together.  A null model marks the uni-directional
// members (one buffer, in place).
enum class Shared { None, Sources, All, InPlace };
template <class T>
struct Member {
    const char* name;
    std::function<ZubStatus(const T*, const T*, T*, Steps, ZubSize, const Wp&, int bitDepth)> call;
    int64_t (*model)(int64_t, int64_t, const Wp&);
    Sizes sizes;
    bool checksSteps;
    Shared shared;
};
#define WRAP(T, call)                                                                                      \
    [](const T* a, const T* b, T* d, Steps s, ZubSize z, const Wp& p, int bd) {                            \
        static_cast<void>(a), static_cast<void>(b), static_cast<void>(s), static_cast<void>(p),            \
            static_cast<void>(bd);                                                                         \
        return call;                                                                                       \
    }

Steps tie(Shared sh, Steps st) {
    if (sh == Shared::Sources) st.s2 = st.s1;
    if (sh == Shared::All || sh == Shared::InPlace) st.s2 = st.d = st.s1;
    return st;
}

// Three sample planes with margins, random or (`extremes`) of 0, 1, max - 1
// and max; the call must change exactly the block of the destination.
// `satLo` and `satHi` count samples whose unclipped value lay beyond each end.
constexpr int kMargin = 24;
template <class T>
void runOne(const Member<T>& m, ZubSize sz, Steps st, const Wp& wp, int bitDepth, std::mt19937& rng, ZubStatus want,
            int* satLo = nullptr, int* satHi = nullptr, bool extremes = false) {
    st = tie(m.shared, st);
    const int maxVal = (1 << bitDepth) - 1;
    auto make = [&](int step) {
        std::vector<T> v(static_cast<size_t>(std::max(step, 1) * std::max(sz.height, 1) + 2 * kMargin));
        for (auto& x : v) {
            const unsigned r = rng() % (static_cast<unsigned>(maxVal) + 1);
            x = static_cast<T>(extremes ? (r & 2 ? maxVal - (r & 1) : r & 1) : r);
        }
        return v;
    };
    std::vector<T> a = make(st.s1), b = make(st.s2), d = make(st.d);
    const bool one = m.model == nullptr;
    if (m.shared == Shared::InPlace || one) d = one ? a : b;
    std::vector<T> expect = d;
    for (int y = 0; want == ZubStatusOk && y < sz.height; ++y)
        for (int x = 0; x < sz.width; ++x) {
            const int s1 = a[kMargin + y * st.s1 + x], s2 = b[kMargin + y * st.s2 + x];
            const int64_t raw = one ? uniWeighted(s1, wp) : m.model(s1, s2, wp);
            if (satLo && raw < 0) ++*satLo;
            if (satHi && raw > maxVal) ++*satHi;
            expect[kMargin + y * st.d + x] = static_cast<T>(std::clamp<int64_t>(raw, 0, maxVal));
        }
    ASSERT_EQ(m.call(a.data() + kMargin, b.data() + kMargin, d.data() + kMargin, st, sz, wp, bitDepth), want)
        << m.name << " " << sz.width << "x" << sz.height << " steps " << st.s1 << "," << st.s2 << "," << st.d;
    ASSERT_TRUE(d == expect) << m.name << " " << sz.width << "x" << sz.height << " logWD " << wp.logWD << " w "
                             << wp.w1 << "," << wp.w2 << " o " << wp.o1 << "," << wp.o2;
}

const std::vector<Member<Zub8u>>& members8u() {
    using S = Sizes;
    using Z = Zub8u;
    static const std::vector<Member<Z>> list = {
        {"InterpolateBlock_P2P1R", WRAP(Z, zubiInterpolateBlock_H264_8u_P2P1R(a, b, d, z.width, z.height, s.s1)), average,
         S::From2To16, false, Shared::All},
        {"InterpolateBlock_P3P1R", WRAP(Z, zubiInterpolateBlock_H264_8u_P3P1R(a, b, d, z.width, z.height, s.s1, s.s2, s.d)),
         average, S::From2To16, false, Shared::None},
        {"WeightedAverage_C1IR",
         WRAP(Z, zubiWeightedAverage_H264_8u_C1IR(a, d, s.s1, p.w1, p.w2, p.logWD, p.o1, z)), tableAverage, S::S16,
         true, Shared::InPlace},
        {"UniDirWeightBlock_C1R", WRAP(Z, zubiUniDirWeightBlock_H264_8u_C1R(d, s.s1, p.logWD, p.w1, p.o1, z)),
         nullptr, S::S16, true, Shared::All},
        {"UniDirWeightBlock_C1IR", WRAP(Z, zubiUniDirWeightBlock_H264_8u_C1IR(d, s.s1, p.logWD, p.w1, p.o1, z)),
         nullptr, S::S16, true, Shared::All},
        {"BiDirWeightBlock_P2P1R",
         WRAP(Z, zubiBiDirWeightBlock_H264_8u_P2P1R(a, b, d, s.s1, s.d, p.logWD, p.w1, p.o1, p.w2, p.o2, z)),
         biWeighted, S::S16, true, Shared::Sources},
        {"BiDirWeightBlock_P3P1R",
         WRAP(Z, zubiBiDirWeightBlock_H264_8u_P3P1R(a, b, d, s.s1, s.s2, s.d, p.logWD, p.w1, p.o1, p.w2, p.o2, z)),
         biWeighted, S::S16, true, Shared::None},
        {"BiDirWeightBlockImplicit_P2P1R",
         WRAP(Z, zubiBiDirWeightBlockImplicit_H264_8u_P2P1R(a, b, d, s.s1, s.d, p.w1, p.w2, z)), implicitWeighted,
         S::S16, true, Shared::Sources},
        {"BiDirWeightBlockImplicit_P3P1R",
         WRAP(Z, zubiBiDirWeightBlockImplicit_H264_8u_P3P1R(a, b, d, s.s1, s.s2, s.d, p.w1, p.w2, z)),
         implicitWeighted, S::Unchecked, false, Shared::None},
    };
    return list;
}

H264BidirParams_16u rec(const Zub16u* a, const Zub16u* b, Zub16u* d, Steps s, ZubSize z, int bd) {
    return {a, s.s1, b, s.s2, d, s.d, z.width, z.height, bd};
}

const std::vector<Member<Zub16u>>& members16u() {
    using S = Sizes;
    using Z = Zub16u;
    static const std::vector<Member<Z>> list = {
        {"Bidir_16u", WRAP(Z, zubiBidir_H264_16u_P2P1R(std::data({rec(a, b, d, s, z, bd)}))), average,
         S::From2To16, false, Shared::None},
        {"BidirWeight_16u",
         WRAP(Z, zubiBidirWeight_H264_16u_P2P1R(std::data({rec(a, b, d, s, z, bd)}), p.logWD, p.w1, p.o1, p.w2, p.o2)),
         biWeighted, S::S16, true, Shared::None},
        {"BidirWeightImplicit_16u",
         WRAP(Z, zubiBidirWeightImplicit_H264_16u_P2P1R(std::data({rec(a, b, d, s, z, bd)}), p.w1, p.w2)),
         implicitWeighted, S::S16, true, Shared::None},
        {"UnidirWeight_16u", WRAP(Z, zubiUnidirWeight_H264_16u_IP2P1R(d, s.s1, p.logWD, p.w1, p.o1, z, bd)), nullptr,
         S::S16, true, Shared::All},
    };
    return list;
}

// Mostly H.264's ranges (logWD 0..7, weights and offsets -128..127, offsets
// scaled by the bit depth), with the corners of the 8u members' 16-bit lanes
// and values beyond them.
Wp randomWp(std::mt19937& rng, int bitDepth, int rep) {
    auto in = [&](int lo, int hi) { return lo + static_cast<int>(rng() % static_cast<unsigned>(hi - lo + 1)); };
    auto pick = [&](std::initializer_list<int> v) { return *(v.begin() + rng() % v.size()); };
    const int sc = 1 << (bitDepth - 8);
    if (rep % 6 == 0) return {in(0, 14), in(-2000, 2000), in(-600, 600) * sc, in(-2000, 2000), in(-600, 600) * sc};
    if (rep % 6 == 1)
        return {pick({0, 1, 7, 8}), pick({-128, -127, 127, 128, 129}), pick({-128, 127}) * sc,
                pick({-128, 127, 128, -129}), pick({-128, 127, 128, -129}) * sc};
    return {in(0, 7), in(-128, 127), in(-128, 127) * sc, in(-128, 127), in(-128, 127) * sc};
}

// Random sizes (all those a member accepts), steps, bit depths and weights,
// extreme samples with the corner weights; the results must reach both ends
// of the clamp.
template <class T>
void randomAgainstModel(const std::vector<Member<T>>& list, const std::vector<int>& depths, unsigned seed) {
    std::mt19937 rng(seed);
    const int dims[] = {2, 4, 8, 16};
    for (const Member<T>& m : list) {
        int lo = 0, hi = 0;
        for (int rep = 0; rep < 300; ++rep) {
            ZubSize sz{dims[rng() % 4], dims[rng() % 4]};
            if (m.sizes != Sizes::S16 && rep % 3 == 0) {
                sz = {2 + static_cast<int>(rng() % 15), 2 + static_cast<int>(rng() % 15)};
                if (m.sizes == Sizes::Unchecked) sz.width += static_cast<int>(rng() % 20);
            }
            const Steps st{sz.width + static_cast<int>(rng() % 9), sz.width + static_cast<int>(rng() % 9),
                           sz.width + static_cast<int>(rng() % 9)};
            const int bd = depths[rng() % depths.size()];
            runOne(m, sz, st, randomWp(rng, bd, rep), bd, rng, ZubStatusOk, &lo, &hi, rep % 6 == 1 && rep % 4 != 1);
            if (::testing::Test::HasFatalFailure()) return;
        }
        EXPECT_TRUE(m.model == average || (lo > 0 && hi > 0)) << m.name << " " << lo << " " << hi;
    }
}

TEST(Weight8u, EveryMemberMatchesModel) { randomAgainstModel(members8u(), {8}, 11); }
TEST(Weight16u, EveryMemberMatchesModel) { randomAgainstModel(members16u(), {8, 9, 10, 12, 14, 16}, 12); }

// 16u weights around the bounds of the 16 x 16-bit product form
// (-65536..65535) and beyond them; at 14 bits every sum of the formula stays
// inside 32 bits, so the model holds.
TEST(Weight16u, WeightsAroundSixteenBits) {
    std::mt19937 rng(9);
    for (const Wp& wp : {Wp{14, 32767, 900, -32768, -900}, Wp{14, -32769, 0, 32768, 40},
                         Wp{13, -40000, 16000, 20000, 0}, Wp{15, 65535, 0, -65536, 0}, Wp{15, 65536, 0, 1, 0},
                         Wp{15, -65537, 32766, 1, 0}, Wp{14, 100000, 0, -65536, 0}})
        for (size_t i : {1, 2}) runOne(members16u()[i], {16, 8}, {20, 18, 16}, wp, 14, rng, ZubStatusOk);
}

// zubiWeightedAverage indexes ClampTbl with the pre-saturation value; values
// beyond the table's -256..511 saturate as well.
TEST(Weight8u, WeightedAverageSaturatesBeyondTable) {
    std::mt19937 rng(2);
    for (const Wp& wp : {Wp{0, 127, 100, 127, 0}, Wp{0, -128, -100, -128, 0}, Wp{1, 2, 0, 0, 0}, Wp{0, 1, -256, 0, 0},
                         Wp{0, 1, 256, 0, 0}, Wp{0, 1000000, 0, 1000000, 0}})
        runOne(members8u()[2], {16, 16}, {16, 16, 16}, wp, 8, rng, ZubStatusOk);
}

// Hand-computed values (independent of the models): logWD 0 has no rounding
// term; the offsets average as (o1 + o2 + 1) >> 1; implicit 32, 32 is the
// average; 16u saturates at both ends of its bit depth.
TEST(Weight8u, KnownValues) {
    Zub8u s1[4] = {10, 200, 0, 255}, s2[4] = {11, 100, 1, 255}, d[4], u[4] = {0, 1, 128, 255};
    ASSERT_EQ(zubiUniDirWeightBlock_H264_8u_C1R(u, 2, 0, 1, 0, {2, 2}), 0);
    EXPECT_EQ(std::vector<int>(u, u + 4), (std::vector<int>{0, 1, 128, 255}));
    for (int o1 : {0, 1, -1}) {
        ASSERT_EQ(zubiBiDirWeightBlock_H264_8u_P2P1R(s1, s2, d, 2, 2, 0, 1, o1, 1, 0, {2, 2}), 0);
        const int add = o1 == 1 ? 1 : 0;
        EXPECT_EQ(std::vector<int>(d, d + 4), (std::vector<int>{11 + add, 150 + add, 1 + add, 255})) << o1;
    }
    ASSERT_EQ(zubiBiDirWeightBlockImplicit_H264_8u_P2P1R(s1, s2, d, 2, 2, 32, 32, {2, 2}), 0);
    EXPECT_EQ(std::vector<int>(d, d + 4), (std::vector<int>{11, 150, 1, 255}));
    Zub16u h[4] = {1023, 1000, 5, 0};
    ASSERT_EQ(zubiUnidirWeight_H264_16u_IP2P1R(h, 2, 1, 4, -20, {2, 2}, 10), 0);
    EXPECT_EQ(std::vector<int>(h, h + 4), (std::vector<int>{1023, 1023, 0, 0}));
}

// Size and step rules, and check order: null, then steps, then sizes.
template <class T>
void sizeAndStepRules(const std::vector<Member<T>>& list, int bitDepth) {
    std::mt19937 rng(5);
    const int dims[] = {-2, -1, 0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 12, 15, 16, 17, 18, 32};
    const Wp wp{3, 20, 4, -7, 1};
    for (const Member<T>& m : list) {
        for (int w : dims)
            for (int h : dims) {  // the unchecked member writes nothing for an empty block
                const bool ok = sizeOk(m.sizes, {w, h});
                runOne(m, {w, h}, {40, 40, 40}, wp, bitDepth, rng, ok ? ZubStatusOk : ZubStatusBadSize);
                if (::testing::Test::HasFatalFailure()) return;
            }
        // Each step below the width is refused before the size (width 6 is a
        // bad size for every member that checks steps); the others ignore steps.
        for (int which = 0; which < 3; ++which) {
            Steps st{16, 16, 16};
            (which == 0 ? st.s1 : which == 1 ? st.s2 : st.d) = 5;
            const Steps tied = tie(m.shared, st);
            if (tied.s1 != 5 && tied.s2 != 5 && tied.d != 5) continue;  // this member has no such step
            runOne(m, {6, 4}, st, wp, bitDepth, rng, m.checksSteps ? ZubStatusBadStep : ZubStatusOk);
            if (m.checksSteps) runOne(m, {8, 4}, st, wp, bitDepth, rng, ZubStatusBadStep);
        }
        // Null pointers beat bad steps and sizes.
        T buf[64] = {};
        for (int which = 0; which < 3; ++which) {
            if ((m.model == nullptr && which < 2) || (m.shared == Shared::InPlace && which == 1)) continue;
            EXPECT_EQ(m.call(which == 0 ? nullptr : buf, which == 1 ? nullptr : buf, which == 2 ? nullptr : buf,
                             {1, 1, 1}, {0, 99}, wp, bitDepth),
                      ZubStatusNullPointer)
                << m.name << which;
        }
    }
}

TEST(Weight8u, SizeAndStepRules) { sizeAndStepRules(members8u(), 8); }
TEST(Weight16u, SizeAndStepRules) {
    sizeAndStepRules(members16u(), 10);
    EXPECT_EQ(zubiBidir_H264_16u_P2P1R(nullptr), ZubStatusNullPointer);
    EXPECT_EQ(zubiBidirWeight_H264_16u_P2P1R(nullptr, 0, 1, 0, 1, 0), ZubStatusNullPointer);
    EXPECT_EQ(zubiBidirWeightImplicit_H264_16u_P2P1R(nullptr, 32, 32), ZubStatusNullPointer);
}

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
    ZubStatus expand(ZubSize s, int e_, int type) {
        return zubiExpandPlane_H264_8u_C1R(&mem[idx(0, 0)], s.width, s.height, step, e_, type);
    }
};

// Frames and both fields (the fields' border rows split E unevenly), odd and even widths.
TEST(ExpandPlane, FramesAndFieldsMatchModel) {
    std::mt19937 rng(77);
    for (int e : {1, 2, 3, 4, 7, 16, 32})
        for (int type = 0; type < 3; ++type)
            for (int rep = 0; rep < 6; ++rep) {
                PlaneBuf p(1 + static_cast<int>(rng() % 40), 2 * (1 + static_cast<int>(rng() % 20)), e, rng);
                std::vector<Zub8u> want = p.mem;
                const int parity = type == 2 ? 1 : 0;
                for (int y = -e; y < p.h + e; ++y) {
                    if (type != 0 && ((y % 2) + 2) % 2 != parity) continue;
                    const int sy = type == 0 ? std::clamp(y, 0, p.h - 1) : std::clamp(y, parity, p.h - 2 + parity);
                    for (int x = -e; x < p.w + e; ++x) want[p.idx(x, y)] = p.mem[p.idx(std::clamp(x, 0, p.w - 1), sy)];
                }
                ASSERT_EQ(p.expand({p.w, p.h}, e, type), 0);
                ASSERT_TRUE(p.mem == want) << p.w << "x" << p.h << " E " << e << " type " << type;
            }
}

// Check order (null, size, E = 0 before the type, type) and no write on error.
TEST(ExpandPlane, ChecksInOrder) {
    std::mt19937 rng(78);
    PlaneBuf p(8, 8, 16, rng);
    const std::vector<Zub8u> before = p.mem;
    EXPECT_EQ(zubiExpandPlane_H264_8u_C1R(nullptr, 0, 3, p.step, 16, 7), ZubStatusNullPointer);
    for (ZubSize s : {ZubSize{8, 7}, ZubSize{8, 0}, ZubSize{8, -2}, ZubSize{0, 8}, ZubSize{-1, 8}})
        EXPECT_EQ(p.expand(s, 16, 7), ZubStatusBadSize) << s.width << "x" << s.height;
    EXPECT_EQ(p.expand({8, 8}, -1, 0), ZubStatusBadSize);
    EXPECT_EQ(p.expand({8, 8}, 0, 7), ZubStatusOk);
    EXPECT_EQ(p.expand({8, 8}, 16, 7), ZubStatusBadArgument);
    EXPECT_EQ(p.expand({8, 8}, 16, -1), ZubStatusBadArgument);
    EXPECT_TRUE(p.mem == before);
}

// The calls a user writes from the documented argument lists alone: the
// symbols are looked up in the loaded library, not through the header, and
// called with separate 32-bit integers for width and height.  A ZubSize
// passed by value travels in one register on x86-64, so a mismatch shows
// there as wrong sizes and -6.
template <class Fn>
Fn exported(const char* name) {
    void* sym = dlsym(RTLD_DEFAULT, name);
    EXPECT_NE(sym, nullptr) << name;
    return reinterpret_cast<Fn>(sym);
}

TEST(ArgumentLists, SeparateWidthAndHeight) {
    using P2P1R = Zub32s (*)(const Zub8u*, const Zub8u*, Zub8u*, Zub32s, Zub32s, Zub32s);
    using P3P1R = Zub32s (*)(const Zub8u*, const Zub8u*, Zub8u*, Zub32s, Zub32s, Zub32s, Zub32s, Zub32s);
    using Expand = Zub32s (*)(Zub8u*, Zub32s, Zub32s, Zub32s, Zub32s, Zub32s);
    const auto p2 = exported<P2P1R>("zubiInterpolateBlock_H264_8u_P2P1R");
    const auto p3 = exported<P3P1R>("zubiInterpolateBlock_H264_8u_P3P1R");
    const auto expand = exported<Expand>("zubiExpandPlane_H264_8u_C1R");
    ASSERT_TRUE(p2 && p3 && expand);

    // 6x8 average, one step of 16: rows of width 6 written, the rest kept.
    std::vector<Zub8u> a(16 * 9), b(16 * 9), d(16 * 9, 0xA5);
    for (size_t i = 0; i < a.size(); ++i) a[i] = static_cast<Zub8u>(i * 7), b[i] = static_cast<Zub8u>(i * 13 + 1);
    ASSERT_EQ(p2(a.data(), b.data(), d.data(), 6, 8, 16), ZubStatusOk);
    for (int y = 0; y < 9; ++y)
        for (int x = 0; x < 16; ++x) {
            const size_t i = static_cast<size_t>(y * 16 + x);
            EXPECT_EQ(d[i], y < 8 && x < 6 ? (a[i] + b[i] + 1) >> 1 : 0xA5) << x << "," << y;
        }
    // Three steps: source rows 16 and 12 apart, destination rows 8.
    std::vector<Zub8u> d3(8 * 3, 0xA5);
    ASSERT_EQ(p3(a.data(), b.data(), d3.data(), 5, 3, 16, 12, 8), ZubStatusOk);
    for (int y = 0; y < 3; ++y)
        for (int x = 0; x < 8; ++x)
            EXPECT_EQ(d3[static_cast<size_t>(y * 8 + x)], x < 5 ? (a[static_cast<size_t>(y * 16 + x)] +
                                                                   b[static_cast<size_t>(y * 12 + x)] + 1) >> 1
                                                               : 0xA5);
    // Width 6 is a size for averaging, not for weighting; negative sizes are
    // large when compared as unsigned.
    std::vector<Zub8u> keep = d;
    EXPECT_EQ(zubiBiDirWeightBlock_H264_8u_P2P1R(a.data(), b.data(), d.data(), 16, 16, 0, 1, 0, 1, 0, {6, 8}),
              ZubStatusBadSize);
    for (auto [w, h] : {std::pair{1, 8}, {17, 8}, {8, 1}, {8, 17}, {-2, 8}, {8, -2}}) {
        EXPECT_EQ(p2(a.data(), b.data(), d.data(), w, h, 16), ZubStatusBadSize) << w << "x" << h;
        EXPECT_EQ(p3(a.data(), b.data(), d.data(), w, h, 16, 16, 16), ZubStatusBadSize) << w << "x" << h;
    }
    EXPECT_EQ(p2(a.data(), nullptr, d.data(), 40, 8, 16), ZubStatusNullPointer);
    EXPECT_TRUE(d == keep);

    // Plane expansion of a 4x2 frame by 2 samples: width and height in that order.
    constexpr int step = 8, e = 2;
    std::vector<Zub8u> plane(step * 6, 0);
    Zub8u* p = plane.data() + e * step + e;
    for (int y = 0; y < 2; ++y)
        for (int x = 0; x < 4; ++x) p[y * step + x] = static_cast<Zub8u>(1 + x + 4 * y);
    keep = plane;
    EXPECT_EQ(expand(p, 4, 2, step, 0, 7), ZubStatusOk);   // E = 0 before the frame type
    EXPECT_EQ(expand(p, 4, 3, step, e, 0), ZubStatusBadSize);  // odd height
    EXPECT_EQ(expand(p, 0, 2, step, e, 0), ZubStatusBadSize);
    EXPECT_EQ(expand(p, 4, 2, step, e, 7), ZubStatusBadArgument);
    EXPECT_TRUE(plane == keep);
    ASSERT_EQ(expand(p, 4, 2, step, e, 0), ZubStatusOk);
    for (int y = -e; y < 2 + e; ++y)
        for (int x = -e; x < 4 + e; ++x)
            EXPECT_EQ(p[y * step + x], 1 + std::clamp(x, 0, 3) + 4 * std::clamp(y, 0, 1)) << x << "," << y;
}

}  // namespace
