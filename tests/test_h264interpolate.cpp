// H.264 luma/chroma interpolation and reads through the frame boundary.
//
// The model evaluates H.264 clause 8.4.2.2 sample by sample from a sampler
// S(x, y): the six-tap raw sums b1, h1 and j1 (equations 8-241..8-247), the
// quarter-sample averages of Table 8-12 and the chroma equation 8-270.  The
// sampler reads the plane as it is (interior blocks), clamps to the frame
// (edge replication, 8-228/8-229), or clamps one side only (the two-sided
// boundary codes, which read the far side from memory beyond the frame).
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <functional>
#include <random>
#include <vector>

#include "zubvc.h"

namespace {

// ---- model ---------------------------------------------------------------------

using Sampler = std::function<int(int, int)>;

int clampi(int v, int lo, int hi) { return std::min(std::max(v, lo), hi); }

// Luma prediction sample at integer position (x, y) + (dx, dy) / 4.
int lumaModel(const Sampler& S, int x, int y, int dx, int dy, int maxv) {
    auto b1 = [&](int u, int v) {
        return S(u - 2, v) - 5 * S(u - 1, v) + 20 * S(u, v) + 20 * S(u + 1, v) - 5 * S(u + 2, v) + S(u + 3, v);
    };
    auto h1 = [&](int u, int v) {
        return S(u, v - 2) - 5 * S(u, v - 1) + 20 * S(u, v) + 20 * S(u, v + 1) - 5 * S(u, v + 2) + S(u, v + 3);
    };
    auto b = [&](int u, int v) { return clampi((b1(u, v) + 16) >> 5, 0, maxv); };
    auto h = [&](int u, int v) { return clampi((h1(u, v) + 16) >> 5, 0, maxv); };
    auto j = [&](int u, int v) {
        int j1 = h1(u - 2, v) - 5 * h1(u - 1, v) + 20 * h1(u, v) + 20 * h1(u + 1, v) - 5 * h1(u + 2, v) + h1(u + 3, v);
        return clampi((j1 + 512) >> 10, 0, maxv);
    };
    // Table 8-12: each position averages two of G, its right and lower
    // neighbours, b, h, j, m and s (a single value is its own average).
    const int v[8] = {S(x, y), S(x + 1, y), S(x, y + 1), b(x, y), h(x, y), j(x, y), h(x + 1, y), b(x, y + 1)};
    static constexpr int kPair[16][2] = {{0, 0}, {0, 3}, {3, 3}, {1, 3}, {0, 4}, {3, 4}, {3, 5}, {3, 6},
                                         {4, 4}, {4, 5}, {5, 5}, {5, 6}, {2, 4}, {4, 7}, {5, 7}, {6, 7}};
    const int* p = kPair[dy * 4 + dx];
    return (v[p[0]] + v[p[1]] + 1) >> 1;
}

int chromaModel(const Sampler& S, int x, int y, int dx, int dy) {
    return ((8 - dx) * (8 - dy) * S(x, y) + dx * (8 - dy) * S(x + 1, y) + (8 - dx) * dy * S(x, y + 1) +
            dx * dy * S(x + 1, y + 1) + 32) >> 6;
}

// A plane of w x h frame samples inside `pad` samples of readable memory on
// every side, all random.
template <class T>
struct Plane {
    int w, h, pad, stride;
    std::vector<T> mem;
    Plane(int w_, int h_, int pad_, std::mt19937& rng, int maxv)
        : w(w_), h(h_), pad(pad_), stride(w_ + 2 * pad_), mem(static_cast<size_t>(stride) * (h_ + 2 * pad_)) {
        std::uniform_int_distribution<int> d(0, maxv);
        for (auto& v : mem) v = static_cast<T>(d(rng));
    }
    T* origin() { return mem.data() + static_cast<size_t>(pad) * stride + pad; }
    T* at(int x, int y) { return origin() + static_cast<std::ptrdiff_t>(y) * stride + x; }
    int raw(int x, int y) { return *at(x, y); }
    Sampler rawSampler() {
        return [this](int x, int y) { return raw(x, y); };
    }
};

template <class T> constexpr int maxOf(int bitDepth) { return sizeof(T) == 1 ? 255 : (1 << bitDepth) - 1; }

// ---- uniform wrappers over the 8u and 16u interfaces -----------------------------

// The C1R (edge -1), Top (0) and Bottom (1) functions of luma or chroma.
template <class T>
ZubStatus interp(bool luma, int edge, const T* s, int ss, T* d, int ds, int dx, int dy, int out, int w, int h,
                 int bd) {
    if constexpr (sizeof(T) == 1) {
        const ZubSize z{w, h};
        if (luma)
            return edge < 0    ? zubiInterpolateLuma_H264_8u_C1R(s, ss, d, ds, dx, dy, z)
                   : edge == 0 ? zubiInterpolateLumaTop_H264_8u_C1R(s, ss, d, ds, dx, dy, out, z)
                               : zubiInterpolateLumaBottom_H264_8u_C1R(s, ss, d, ds, dx, dy, out, z);
        return edge < 0    ? zubiInterpolateChroma_H264_8u_C1R(s, ss, d, ds, dx, dy, z)
               : edge == 0 ? zubiInterpolateChromaTop_H264_8u_C1R(s, ss, d, ds, dx, dy, out, z)
                           : zubiInterpolateChromaBottom_H264_8u_C1R(s, ss, d, ds, dx, dy, out, z);
    } else {
        const H264InterpolationParams_16u p{s, ss, d, ds, dx, dy, w, h, bd};
        if (luma)
            return edge < 0    ? zubiInterpolateLuma_H264_16u_C1R(&p)
                   : edge == 0 ? zubiInterpolateLumaTop_H264_16u_C1R(&p, out)
                               : zubiInterpolateLumaBottom_H264_16u_C1R(&p, out);
        return edge < 0    ? zubiInterpolateChroma_H264_16u_C1R(&p)
               : edge == 0 ? zubiInterpolateChromaTop_H264_16u_C1R(&p, out)
                           : zubiInterpolateChromaBottom_H264_16u_C1R(&p, out);
    }
}
template <class T>
ZubStatus block(bool luma, const H264BlockInterpolationParams* p) {
    if constexpr (sizeof(T) == 1)
        return luma ? zubiInterpolateLumaBlock_H264_8u_P1R(p) : zubiInterpolateChromaBlock_H264_8u_P2R(p);
    else return luma ? zubiInterpolateLumaBlock_H264_16u_P1R(p) : zubiInterpolateChromaBlock_H264_16u_P2R(p);
}

// Compares a w x h destination with the model; reports the first mismatch.
template <class T, class F>
::testing::AssertionResult sameAs(const T* d, int ds, int w, int h, F model) {
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x)
            if (int e = model(x, y); d[y * ds + x] != e)
                return ::testing::AssertionFailure()
                       << "at (" << x << "," << y << "): got " << int{d[y * ds + x]} << ", expected " << e;
    return ::testing::AssertionSuccess();
}

template <class T> class Interp : public ::testing::Test {};
using SampleTypes = ::testing::Types<Zub8u, Zub16u>;
TYPED_TEST_SUITE(Interp, SampleTypes);

template <class T> std::vector<int> bitDepths() {
    return sizeof(T) == 1 ? std::vector<int>{8} : std::vector<int>{8, 9, 10, 11, 12, 13, 14};
}
struct Sz { int w, h; };
// Every size each member accepts (16u luma: not 4x16 or 16x4).
template <class T> std::vector<Sz> sizes(bool luma) {
    const bool b16 = sizeof(T) == 2;
    std::vector<int> ws, hs;
    if (luma && b16) ws = hs = {4, 8, 16};
    else if (luma) ws = {4, 8, 12, 16, 20, 24, 28}, hs = {4, 8, 12, 16, 20, 32};
    else if (b16) ws = hs = {2, 4, 8, 16};
    else ws = {2, 4, 6, 8, 10, 12, 14}, hs = {2, 4, 6, 8, 16, 18};
    std::vector<Sz> v;
    for (int w : ws)
        for (int h : hs)
            if (!(luma && b16 && w + h == 20)) v.push_back({w, h});
    return v;
}

// ---- C1R: every position and size against the model ---------------------------------

TYPED_TEST(Interp, C1REveryPositionAndSize) {
    using T = TypeParam;
    std::mt19937 rng(1);
    for (int bd : bitDepths<T>()) {
        const int maxv = maxOf<T>(bd);
        Plane<T> pl(48, 48, 8, rng, maxv);
        std::vector<T> dst(48 * 40);
        for (bool luma : {true, false})
            for (Sz sz : sizes<T>(luma))
                for (int pos = 0; pos < (luma ? 16 : 64); ++pos) {
                    const int dx = luma ? pos & 3 : pos & 7, dy = luma ? pos >> 2 : pos >> 3, x0 = 3, y0 = 5;
                    std::fill(dst.begin(), dst.end(), T{7});
                    ASSERT_EQ(interp<T>(luma, -1, pl.at(x0, y0), pl.stride, dst.data(), 40, dx, dy, 0, sz.w, sz.h, bd),
                              ZubStatusOk);
                    ASSERT_TRUE(sameAs(dst.data(), 40, sz.w, sz.h, [&](int x, int y) {
                        return luma ? lumaModel(pl.rawSampler(), x0 + x, y0 + y, dx, dy, maxv)
                                    : chromaModel(pl.rawSampler(), x0 + x, y0 + y, dx, dy);
                    })) << (luma ? "luma" : "chroma") << " bit depth " << bd << " pos " << dx << "," << dy << " size "
                        << sz.w << "x" << sz.h;
                    ASSERT_EQ(dst[sz.w], T{7});  // nothing beyond the block's row
                }
    }
}

// The 16u integer position copies even values above the bit depth's maximum,
// and the bit depth is not checked: (1 << bitDepth) - 1 holds for 0..30 and
// any other value is taken modulo 32 (31: no saturation, 32: maximum 0).
TEST(InterpKnown, CopyAndBitDepthOutsideShiftRange) {
    std::vector<Zub16u> big(32 * 32, 0xFFFF), flat(32 * 32, 1000), out(64);
    for (auto [src, bd, pos, want] : {std::tuple{&big, 10, 0, 0xFFFF}, {&big, 10, 2, 1023}, {&flat, 16, 10, 1000},
                                      {&flat, 30, 15, 1000}, {&flat, 31, 2, 1000}, {&flat, -1, 10, 1000},
                                      {&flat, 32, 15, 0}, {&flat, 40, 2, 255}, {&flat, 40, 10, 255}}) {
        std::fill(out.begin(), out.end(), Zub16u{7});
        const H264InterpolationParams_16u p{&(*src)[8 * 32 + 8], 32, out.data(), 8, pos & 3, pos >> 2, 8, 8, bd};
        ASSERT_EQ(zubiInterpolateLuma_H264_16u_C1R(&p), ZubStatusOk);
        EXPECT_EQ(out, std::vector<Zub16u>(64, static_cast<Zub16u>(want))) << bd << " " << pos;
    }
}

// The 16u function table is indexed dx-major; its building blocks and the
// in-place averages match the model.
TEST(InterpKnown, Table16uMembersAndAverages) {
    std::mt19937 rng(3);
    Plane<Zub16u> pl(40, 40, 8, rng, 4095);
    std::vector<Zub16u> dst(16 * 16);
    auto model = [&](int dx, int dy, int maxv) {
        return [&, dx, dy, maxv](int x, int y) { return lumaModel(pl.rawSampler(), 4 + x, 4 + y, dx, dy, maxv); };
    };
    for (int pos = 0; pos < 16; ++pos) {
        InterpolFnTbl_16u[pos](pl.at(4, 4), dst.data(), pl.stride, 16, 8, 16, 12);
        ASSERT_TRUE(sameAs(dst.data(), 16, 8, 16, model(pos >> 2, pos & 3, 4095))) << pos;
    }
    _zubInterpolate_H2_16u(pl.at(4, 4), dst.data(), pl.stride, 16, 16, 8, 11);
    EXPECT_TRUE(sameAs(dst.data(), 16, 16, 8, model(2, 0, 2047)));  // bit depth 11
    _zubInterpolate_V2_16u(pl.at(4, 4), dst.data(), pl.stride, 16, 4, 4, 11);
    EXPECT_TRUE(sameAs(dst.data(), 16, 4, 4, model(0, 2, 2047)));
    std::vector<Zub16u> before = dst;
    _zubInterpolate_Avg_16u(pl.at(0, 0), dst.data(), pl.stride, 16, 8, 4);
    EXPECT_TRUE(
        sameAs(dst.data(), 16, 8, 4, [&](int x, int y) { return (before[y * 16 + x] + pl.raw(x, y) + 1) >> 1; }));
    EXPECT_EQ(dst[8], before[8]);
    before = dst;
    h264_interpolate_luma_get_average_16u_px(dst.data(), 16, pl.at(1, 1), pl.stride, 4, 8);
    EXPECT_TRUE(sameAs(dst.data(), 16, 4, 8, [&](int x, int y) {
        return (before[y * 16 + x] + pl.raw(1 + x, 1 + y) + 1) >> 1;
    }));
    Zub8u a[2][4] = {{0, 1, 254, 255}, {1, 1, 255, 0}};
    h264_interpolate_luma_get_average_8u_px(a[0], 4, a[1], 4, 4, 1);
    EXPECT_EQ(std::vector<int>(a[0], a[0] + 4), (std::vector<int>{1, 1, 255, 128}));
}

// ---- argument checks ---------------------------------------------------------------

// One call of the C1R, Top or Bottom functions with `nulls` (1: source, 2:
// destination) and its expected status; an error or an empty block writes nothing.
struct Check {
    bool luma;
    int edge, nulls, srcStep, dstStep, dx, dy, w, h;
    ZubStatus want;
};
template <class T>
void runChecks(std::initializer_list<Check> checks) {
    std::vector<T> src(64 * 64), dst(32 * 32, 9);
    for (const Check& c : checks) {
        std::fill(dst.begin(), dst.end(), T{9});
        EXPECT_EQ(interp<T>(c.luma, c.edge, c.nulls & 1 ? nullptr : &src[64 * 8 + 8], c.srcStep,
                            c.nulls & 2 ? nullptr : dst.data(), c.dstStep, c.dx, c.dy, 1, c.w, c.h, 10),
                  c.want)
            << (c.luma ? "luma" : "chroma") << " edge " << c.edge << " " << c.dx << "," << c.dy << " " << c.w << "x"
            << c.h;
        EXPECT_TRUE((c.want == ZubStatusOk && c.w != 0) ||
                    std::all_of(dst.begin(), dst.end(), [](T v) { return v == 9; }))
            << c.w << "x" << c.h;
    }
}

// 8u: null, then fraction, then size (luma widths 4..28 in fours with 4x16,
// heights in fours; chroma even widths to 14); steps are not looked at.
TEST(InterpChecks, C1RTopBottom8u) {
    constexpr ZubStatus N = ZubStatusNullPointer, A = ZubStatusBadArgument, S = ZubStatusBadSize, K = ZubStatusOk;
    runChecks<Zub8u>({{true, -1, 1, 64, 32, 9, 0, 3, 3, N},  {true, -1, 2, 64, 32, 0, 0, 4, 4, N},
                      {true, -1, 0, 64, 32, 4, 0, 3, 3, A},  {true, -1, 0, 64, 32, 0, -1, 4, 4, A},
                      {true, -1, 0, 64, 32, 0, 0, 4, 6, S},  {true, -1, 0, 64, 32, 0, 0, 2, 4, S},
                      {true, -1, 0, 64, 32, 0, 0, 32, 4, S}, {true, -1, 0, 64, 32, 0, 0, -4, 4, S},
                      {true, -1, 0, 0, 0, 3, 3, 12, 12, K},  {true, -1, 0, 64, 32, 1, 2, 4, 16, K},
                      {true, -1, 0, 64, 32, 2, 0, 0, 4, K},  {true, 0, 0, 64, 32, 5, 0, 3, 3, A},
                      {true, 1, 2, 64, 32, 5, 0, 3, 3, N},   {true, 1, 0, 64, 32, 1, 0, 4, 2, S},
                      {false, -1, 1, 32, 32, 8, 0, 3, 3, N}, {false, -1, 0, 32, 32, 8, 0, 3, 3, A},
                      {false, -1, 0, 32, 32, 0, -1, 2, 2, A}, {false, -1, 0, 32, 32, 7, 7, 2, 3, S},
                      {false, -1, 0, 32, 32, 0, 0, 16, 2, S}, {false, -1, 0, 32, 32, 0, 0, 1, 2, S},
                      {false, -1, 0, 1, 1, 0, 0, 6, 10, K},  {false, 0, 0, 32, 32, 0, 8, 2, 2, A},
                      {false, 1, 0, 32, 32, 1, 1, 2, 1, S}});
}

// 16u: null, then steps (chroma: at least 8 even for a 2-wide block), then
// fractions, then sizes (luma 4/8/16 without 4x16 and 16x4, chroma 2/4/8/16).
TEST(InterpChecks, C1RTopBottom16u) {
    constexpr ZubStatus N = ZubStatusNullPointer, A = ZubStatusBadArgument, S = ZubStatusBadSize, K = ZubStatusOk,
                        P = ZubStatusBadStep;
    runChecks<Zub16u>({{true, -1, 1, 0, 32, 1, 1, 8, 8, N},   {true, -1, 2, 64, 32, 1, 1, 8, 8, N},
                       {true, -1, 0, 7, 32, 9, 1, 8, 8, P},   {true, -1, 0, 64, 4, 1, 1, 8, 8, P},
                       {true, -1, 0, 64, 32, 4, 1, 8, 3, A},  {true, -1, 0, 64, 32, 1, -1, 8, 8, A},
                       {true, -1, 0, 64, 32, 1, 1, 8, 12, S}, {true, -1, 0, 64, 32, 1, 1, 2, 8, S},
                       {true, -1, 0, 64, 32, 1, 1, 4, 16, S}, {true, -1, 0, 64, 32, 1, 1, 16, 4, S},
                       {true, -1, 0, 64, 32, 1, 1, 16, 16, K}, {true, 0, 0, 64, 4, 1, 1, 8, 8, P},
                       {false, -1, 1, 64, 32, 1, 1, 2, 2, N}, {false, -1, 0, 7, 32, 8, 1, 2, 2, P},
                       {false, -1, 0, 64, 7, 1, 1, 2, 2, P},  {false, -1, 0, 64, 32, 8, 1, 3, 2, A},
                       {false, -1, 0, 64, 32, 1, -1, 2, 2, A}, {false, -1, 0, 64, 32, 1, 1, 2, 6, S},
                       {false, -1, 0, 64, 32, 1, 1, 32, 2, S}, {false, -1, 0, 64, 32, 1, 1, 16, 16, K},
                       {false, 0, 0, 64, 32, 8, 1, 2, 2, A},  {false, 1, 0, 64, 32, 8, 1, 2, 2, A}});
    EXPECT_EQ(zubiInterpolateLuma_H264_16u_C1R(nullptr), ZubStatusNullPointer);
    EXPECT_EQ(zubiInterpolateLumaBottom_H264_16u_C1R(nullptr, 1), ZubStatusNullPointer);
}

// Block: null record and planes (luma: plane 0 only), then sizes; nothing about
// the frame is checked (a zero vector never looks at it).
TEST(InterpChecks, BlockFunctions) {
    std::vector<Zub8u> plane(64 * 64, 5), out(64 * 64, 9), out2(64 * 64, 9);
    const H264BlockInterpolationParams ok{{plane.data(), plane.data()}, 64, {out.data(), out2.data()}, 64,
                                          {64, 64}, {8, 8}, {8, 8}, {3, 5}, 8};
    using P = H264BlockInterpolationParams&;
    auto run = [&](bool luma, auto edit) {
        H264BlockInterpolationParams p = ok;
        edit(p);
        return block<Zub8u>(luma, &p);
    };
    EXPECT_EQ(zubiInterpolateLumaBlock_H264_8u_P1R(nullptr), ZubStatusNullPointer);
    EXPECT_EQ(zubiInterpolateChromaBlock_H264_16u_P2R(nullptr), ZubStatusNullPointer);
    EXPECT_EQ(run(true, [](P p) { p.srcPlane[0] = nullptr; p.blockSize.height = 3; }), ZubStatusNullPointer);
    EXPECT_EQ(run(true, [](P p) { p.dstPlane[0] = nullptr; }), ZubStatusNullPointer);
    EXPECT_EQ(run(true, [](P p) { p.srcPlane[1] = nullptr; p.dstPlane[1] = nullptr; }), ZubStatusOk);
    EXPECT_EQ(run(false, [](P p) { p.srcPlane[1] = nullptr; p.blockSize.height = 3; }), ZubStatusNullPointer);
    EXPECT_EQ(run(false, [](P p) { p.dstPlane[1] = nullptr; }), ZubStatusNullPointer);
    std::fill(out.begin(), out.end(), 9);
    EXPECT_EQ(run(true, [](P p) { p.blockSize.height = 6; }), ZubStatusBadSize);
    EXPECT_EQ(run(true, [](P p) { p.blockSize.width = 32; }), ZubStatusBadSize);
    EXPECT_EQ(run(false, [](P p) { p.blockSize.height = 3; }), ZubStatusBadSize);
    EXPECT_EQ(run(false, [](P p) { p.blockSize.width = 16; }), ZubStatusBadSize);
    EXPECT_TRUE(std::all_of(out.begin(), out.end(), [](Zub8u v) { return v == 9; }));
    EXPECT_EQ(run(true, [](P p) { p.blockSize = {12, 12}, p.frameSize = {-5, 0}, p.motionVector = {0, 0}; }), 0);
    EXPECT_EQ(run(false, [](P p) { p.blockSize = {14, 2}, p.frameSize = {0, 0}, p.motionVector = {0, 0}; }), 0);
    std::vector<Zub16u> p16(64 * 64), o16(64 * 64);
    const H264BlockInterpolationParams q{{p16.data(), p16.data()}, 64, {o16.data(), nullptr}, 64,
                                         {64, 64}, {4, 16}, {8, 8}, {0, 0}, 10};
    EXPECT_EQ(zubiInterpolateLumaBlock_H264_16u_P1R(&q), ZubStatusOk);  // 4x16 fine for Block
    EXPECT_EQ(zubiInterpolateChromaBlock_H264_16u_P2R(&q), ZubStatusNullPointer);
}

// ---- reads through the boundary ---------------------------------------------------

// Random footprints over frames of random size, until every edge code has been
// met often: the buffer is clamped on each crossed edge; when both edges of an
// axis are named, only on the side that readX (readY) points past.
TYPED_TEST(Interp, ReadersEveryCode) {
    using T = TypeParam;
    std::mt19937 rng(4);
    int hits[16] = {};
    std::vector<T> buf(40 * 40);
    Plane<T> pl(32, 32, 64, rng, maxOf<T>(12));
    auto axis = [](int v, int start, bool lo, bool hi, int size) {
        if (lo && hi) return start < 0 ? std::max(v, 0) : std::min(v, size - 1);
        return lo ? std::max(v, 0) : hi ? std::min(v, size - 1) : v;
    };
    for (int trial = 0; trial < 20000 && *std::min_element(hits, hits + 16) < 40; ++trial) {
        InterpolationKernelRecord r{};
        pl.w = r.frameWidth = 4 + rng() % 28;  // a frame of w x h inside the same memory
        pl.h = r.frameHeight = 4 + rng() % 28;
        r.src = pl.origin(), r.srcStep = pl.stride, r.dst = buf.data(), r.dstStep = 40;
        r.readWidth = 1 + rng() % 33, r.readHeight = 1 + rng() % 33;
        r.readX = static_cast<int>(rng() % 80) - 45, r.readY = static_cast<int>(rng() % 80) - 45;
        const int flags = (r.readX < 0) | (pl.w < r.readX + r.readWidth) << 1 | (r.readY < 0) << 2 |
                          (pl.h < r.readY + r.readHeight) << 3;
        ++hits[flags];
        std::fill(buf.begin(), buf.end(), T{3});
        const InterpolationKernelRecord b = r;
        if constexpr (sizeof(T) == 1) ASSERT_EQ(zubiReadDataBlockThroughBoundary_8u(flags, &r), ZubStatusOk);
        else ASSERT_EQ(zubiReadDataBlockThroughBoundary_16u(flags, &r), ZubStatusOk);
        ASSERT_TRUE(sameAs(buf.data(), 40, flags ? b.readWidth : 40, flags ? b.readHeight : 40, [&](int c, int rr) {
            if (!flags) return 3;  // code 0 reads nothing
            return pl.raw(axis(b.readX + c, b.readX, flags & 1, flags & 2, pl.w),
                          axis(b.readY + rr, b.readY, flags & 4, flags & 8, pl.h));
        })) << "flags " << flags << " read " << b.readX << "," << b.readY << " " << b.readWidth << "x" << b.readHeight
            << " frame " << pl.w << "x" << pl.h;
        ASSERT_TRUE(!flags || buf[b.readWidth] == T{3});  // nothing past the row
    }
    for (int f = 0; f < 16; ++f) EXPECT_GE(hits[f], 40) << f;
}

// Two-sided codes called on footprints that reach one side only take that
// side by sign (readX = 0 is not left of the frame); memset_16u fills nothing
// for a count of zero or below.
TEST(InterpReaders, TwoSidedBySignAndMemset) {
    std::mt19937 rng(5);
    Plane<Zub8u> pl(20, 20, 40, rng, 255);
    Zub8u buf[8 * 32];
    auto read = [&](H264BoundaryReader fn, int x, int y, int w, int h) {
        InterpolationKernelRecord r{};
        r.src = pl.origin(), r.srcStep = pl.stride, r.dst = buf, r.dstStep = 32, r.frameWidth = r.frameHeight = 20;
        r.readX = x, r.readY = y, r.readWidth = w, r.readHeight = h;
        fn(&r);
    };
    read(read_data_through_boundary_table_8u_pxmx[15], 17, -2, 6, 6);  // right only, top only
    EXPECT_TRUE(sameAs(buf, 32, 6, 6, [&](int c, int r) { return pl.raw(std::min(17 + c, 19), std::max(r - 2, 0)); }));
    read(read_data_through_boundary_table_8u_pxmx[3], 0, 4, 26, 4);  // wider than the frame, from column 0
    EXPECT_TRUE(sameAs(buf, 32, 26, 4, [&](int c, int r) { return pl.raw(std::min(c, 19), 4 + r); }));
    Zub16u m[6] = {1, 1, 1, 1, 1, 1};
    memset_16u(m, 0xABCD, 0);
    memset_16u(m, 0xABCD, -3);
    memset_16u(m + 1, 0xABCD, 4);
    EXPECT_EQ(std::vector<int>(m, m + 6), (std::vector<int>{1, 0xABCD, 0xABCD, 0xABCD, 0xABCD, 1}));
}

// ---- Block functions ----------------------------------------------------------------

const Sz kLumaParts[] = {{16, 16}, {16, 8}, {8, 16}, {8, 8}, {8, 4}, {4, 8}, {4, 4}, {12, 12}, {28, 8}, {16, 32}};
const Sz kChromaParts[] = {{8, 8}, {8, 4}, {4, 8}, {4, 4}, {4, 2}, {2, 4}, {2, 2}, {14, 6}, {8, 32}};

// Random positions and vectors, many pointing far outside on every side and
// corner: the result equals interpolation from the edge-replicated plane,
// except on an axis whose footprint is wider or taller than the frame and so
// crosses both edges: there only the near side is replicated and the far side
// comes from the memory beyond the frame.  Footprints taller than a macroblock
// are read in strips that must keep the whole footprint's choice of side.
TYPED_TEST(Interp, BlockAgainstReplicatedPlane) {
    using T = TypeParam;
    std::mt19937 rng(6);
    for (bool luma : {true, false})
        for (bool small : {false, true}) {
            const int fw = small ? 10 : 64, fh = small ? 9 : 48, sh = luma ? 2 : 3, mask = luma ? 3 : 7;
            int hits[16] = {}, twoSided = 0;
            for (int bd : luma ? bitDepths<T>() : std::vector<int>{14}) {
                Plane<T> u(fw, fh, small ? 48 : 24, rng, maxOf<T>(bd)), v(fw, fh, small ? 48 : 24, rng, maxOf<T>(bd));
                std::vector<T> du(40 * 40), dv(40 * 40);
                for (int trial = 0; trial < (luma ? 1400 : 3000) / static_cast<int>(luma ? bitDepths<T>().size() : 1);
                     ++trial) {
                    Sz sz = luma ? kLumaParts[rng() % std::size(kLumaParts)]
                                 : kChromaParts[rng() % std::size(kChromaParts)];
                    if (small) sz = {luma ? 16 : 14, 8 << (trial % 3)};
                    if (sizeof(T) == 2 && sz.w > 16) continue;
                    const int far = small ? 16 : (trial % 3 == 0 ? 2000 : 400);
                    H264BlockInterpolationParams p{{u.origin(), v.origin()}, u.stride, {du.data(), dv.data()}, 40,
                                                   {fw, fh}, {sz.w, sz.h},
                                                   {static_cast<int>(rng() % (small ? 9 : fw + 16)) - (small ? 4 : 8),
                                                    static_cast<int>(rng() % (small ? 9 : fh + 16)) - (small ? 4 : 8)},
                                                   {static_cast<int>(rng() % (2 * far + 1)) - far,
                                                    static_cast<int>(rng() % (2 * far + 1)) - far}, bd};
                    if (p.motionVector.x == 0 && p.motionVector.y == 0) continue;
                    const int fx = p.motionVector.x & mask, fy = p.motionVector.y & mask;
                    const int ix = p.blockPos.x + (p.motionVector.x >> sh),
                              iy = p.blockPos.y + (p.motionVector.y >> sh);
                    const int rx = ix - (luma && fx ? 2 : 0), rw = sz.w + (fx ? (luma ? 5 : 1) : 0);
                    const int ry = iy - (luma && fy ? 2 : 0), rh = sz.h + (fy ? (luma ? 5 : 1) : 0);
                    const int flags = (rx < 0) | (fw < rx + rw) << 1 | (ry < 0) << 2 | (fh < ry + rh) << 3;
                    ++hits[flags];
                    twoSided += (flags & 3) == 3 || (flags & 12) == 12;
                    auto axis = [](int c, int size, bool both) {
                        return both ? std::max(c, 0) : clampi(c, 0, size - 1);
                    };
                    std::fill(du.begin(), du.end(), T{1});
                    std::fill(dv.begin(), dv.end(), T{1});
                    ASSERT_EQ(block<T>(luma, &p), ZubStatusOk);
                    for (int k = 0; k < (luma ? 1 : 2); ++k) {
                        Plane<T>& pl = k ? v : u;
                        const T* d = k ? dv.data() : du.data();
                        const Sampler S = [&](int x, int y) {
                            return pl.raw(axis(x, fw, (flags & 3) == 3), axis(y, fh, (flags & 12) == 12));
                        };
                        ASSERT_TRUE(sameAs(d, 40, sz.w, sz.h, [&](int x, int y) {
                            return luma ? lumaModel(S, ix + x, iy + y, fx, fy, maxOf<T>(bd))
                                        : chromaModel(S, ix + x, iy + y, fx, fy);
                        })) << (luma ? "luma" : "chroma") << " pos " << p.blockPos.x << "," << p.blockPos.y << " mv "
                            << p.motionVector.x << "," << p.motionVector.y << " size " << sz.w << "x" << sz.h
                            << " flags " << flags << " bit depth " << bd;
                        ASSERT_EQ(d[sz.w], T{1});
                        ASSERT_EQ(d[40 * sz.h], T{1});
                    }
                }
            }
            EXPECT_TRUE(!small || twoSided > 100) << luma << " " << twoSided;
            for (int f : {0, 1, 2, 4, 5, 6, 8, 9, 10}) EXPECT_TRUE(small || hits[f] > 0) << luma << " flags " << f;
        }
}

// A zero vector copies in place with no boundary test, even outside the frame.
TYPED_TEST(Interp, BlockZeroVectorCopiesWithoutBoundaryTest) {
    using T = TypeParam;
    std::mt19937 rng(8);
    Plane<T> pl(32, 32, 24, rng, maxOf<T>(10));
    std::vector<T> d(16 * 16), d2(16 * 16);
    H264BlockInterpolationParams p{{pl.origin(), pl.origin()}, pl.stride, {d.data(), d2.data()}, 16,
                                   {pl.w, pl.h}, {8, 8}, {-6, 28}, {0, 0}, 10};
    for (bool luma : {true, false}) {
        ASSERT_EQ(block<T>(luma, &p), ZubStatusOk);
        EXPECT_TRUE(sameAs(luma ? d.data() : d2.data(), 16, 8, 8, [&](int x, int y) { return pl.raw(x - 6, 28 + y); }));
    }
}

// A record the Block functions never make (footprint larger than the block
// plus the six-tap margin, or a kernel index or edge code out of range) is
// left alone instead of overrunning the local buffer or the tables.
TEST(InterpBoundary, InconsistentRecordLeftAlone) {
    std::mt19937 rng(12);
    Plane<Zub8u> pl(64, 64, 8, rng, 255);
    std::vector<Zub8u> d(16 * 16, 9);
    InterpolationKernelRecord ok{};
    ok.src = ok.srcPlane2 = pl.origin(), ok.srcStep = pl.stride, ok.dst = ok.dstPlane2 = d.data(), ok.dstStep = 16;
    ok.width = ok.height = 16, ok.kernelIndex = 10, ok.readX = -3, ok.readY = 4, ok.readWidth = ok.readHeight = 21;
    ok.frameWidth = ok.frameHeight = 64;
    using R = InterpolationKernelRecord&;
    auto untouched = [&](bool luma, int flags, auto edit) {
        InterpolationKernelRecord r = ok;
        edit(r);
        std::fill(d.begin(), d.end(), Zub8u{9});
        EXPECT_EQ(luma ? zubiInterpolateBoundaryLumaBlock_H264_8u(flags, &r)
                       : zubiInterpolateBoundaryChromaBlock_H264_8u(flags, &r), ZubStatusOk);
        return std::all_of(d.begin(), d.end(), [](Zub8u v) { return v == 9; });
    };
    EXPECT_FALSE(untouched(true, 1, [](R) {}));  // the consistent record is interpolated
    EXPECT_TRUE(untouched(true, 1, [](R r) { r.readHeight = 48; }));
    EXPECT_TRUE(untouched(true, 1, [](R r) { r.readHeight = 200, r.height = 40; }));
    EXPECT_TRUE(untouched(true, 1, [](R r) { r.readWidth = 100; }));
    EXPECT_TRUE(untouched(true, 1, [](R r) { r.readWidth = -40; }));
    EXPECT_TRUE(untouched(true, 1, [](R r) { r.kernelIndex = 16; }));
    EXPECT_TRUE(untouched(true, 1, [](R r) { r.kernelIndex = -1; }));
    EXPECT_TRUE(untouched(true, 16, [](R) {}));
    EXPECT_TRUE(untouched(false, 1, [](R r) { r.kernelIndex = 4; }));
    EXPECT_FALSE(untouched(false, 1, [](R r) { r.kernelIndex = 3; }));
}

// ---- Top / Bottom -----------------------------------------------------------------------

// Blocks around the picture's first and last rows; rows outside the picture
// (random memory) must not be read: the result equals interpolation with the
// row index clamped on that side (Top: outPixels = -y0; Bottom: the rows below
// the last).  8-bit luma also takes widths to 28 and blocks taller than 16
// rows, in strips.
TYPED_TEST(Interp, TopBottomReplicateEdgeRow) {
    using T = TypeParam;
    std::mt19937 rng(10);
    const int bd = sizeof(T) == 1 ? 8 : 11, maxv = maxOf<T>(bd);
    Plane<T> pl(40, 40, 40, rng, maxv);
    std::vector<T> dst(32 * 40);
    for (bool luma : {true, false}) {
        std::vector<Sz> szs = luma ? std::vector<Sz>{{16, 16}, {8, 8}, {4, 8}, {16, 8}}
                                   : std::vector<Sz>{{8, 8}, {4, 4}, {2, 2}, {8, 16}};
        if (luma && sizeof(T) == 1) szs.insert(szs.end(), {{28, 8}, {12, 32}});
        for (Sz sz : szs)
            for (int pos = 0; pos < (luma ? 16 : 64); pos += luma ? 1 : 3)
                for (int edge : {0, 1})
                    for (int k = luma ? -4 : (edge == 0 ? 0 : -3); k <= sz.h + (luma ? 4 : 3 - (edge == 0)); ++k) {
                        const int dx = luma ? pos & 3 : pos & 7, dy = luma ? pos >> 2 : pos >> 3, x0 = 6;
                        const int y0 = edge == 0 ? -k : pl.h - sz.h + k, out = edge == 0 ? k : y0 + sz.h - pl.h;
                        ASSERT_EQ(interp<T>(luma, edge, pl.at(x0, y0), pl.stride, dst.data(), 32, dx, dy, out, sz.w,
                                            sz.h, bd),
                                  0);
                        const Sampler S = [&](int u, int v) {
                            return pl.raw(u, edge == 0 ? std::max(v, 0) : std::min(v, pl.h - 1));
                        };
                        ASSERT_TRUE(sameAs(dst.data(), 32, sz.w, sz.h,
                                           [&](int x, int y) {
                                               return luma ? lumaModel(S, x0 + x, y0 + y, dx, dy, maxv)
                                                           : chromaModel(S, x0 + x, y0 + y, dx, dy);
                                           }))
                            << (luma ? "luma" : "chroma") << (edge ? " bottom" : " top") << " pos " << pos << " y0 "
                            << y0 << " size " << sz.w << "x" << sz.h;
                    }
    }
    // Chroma Top takes a negative outPixels as given: its first row is src + outPixels rows.
    ASSERT_EQ(interp<T>(false, 0, pl.at(4, 10), pl.stride, dst.data(), 16, 3, 5, -4, 4, 4, bd), 0);
    EXPECT_TRUE(
        sameAs(dst.data(), 16, 4, 4, [&](int x, int y) { return chromaModel(pl.rawSampler(), 4 + x, 6 + y, 3, 5); }));
}

}  // namespace
