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
    auto av = [](int p, int q) { return (p + q + 1) >> 1; };
    const int G = S(x, y);
    const int m = h(x + 1, y), s = b(x, y + 1);
    switch (dy * 4 + dx) {
        case 0: return G;
        case 1: return av(G, b(x, y));
        case 2: return b(x, y);
        case 3: return av(S(x + 1, y), b(x, y));
        case 4: return av(G, h(x, y));
        case 5: return av(b(x, y), h(x, y));
        case 6: return av(b(x, y), j(x, y));
        case 7: return av(b(x, y), m);
        case 8: return h(x, y);
        case 9: return av(h(x, y), j(x, y));
        case 10: return j(x, y);
        case 11: return av(j(x, y), m);
        case 12: return av(S(x, y + 1), h(x, y));
        case 13: return av(h(x, y), s);
        case 14: return av(j(x, y), s);
        default: return av(m, s);
    }
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
    Sampler clampSampler() {
        return [this](int x, int y) { return raw(clampi(x, 0, w - 1), clampi(y, 0, h - 1)); };
    }
};

template <class T> constexpr int maxOf(int bitDepth) { return sizeof(T) == 1 ? 255 : (1 << bitDepth) - 1; }

// ---- uniform wrappers over the 8u and 16u interfaces -----------------------------

template <class T>
H264InterpolationParams_16u params16(const T* s, int ss, T* d, int ds, int dx, int dy, int w, int h, int bd) {
    return {reinterpret_cast<const Zub16u*>(s), ss, reinterpret_cast<Zub16u*>(d), ds, dx, dy, w, h, bd};
}

template <class T>
ZubStatus lumaC1R(const T* s, int ss, T* d, int ds, int dx, int dy, int w, int h, int bd) {
    if constexpr (sizeof(T) == 1) {
        return zubiInterpolateLuma_H264_8u_C1R(s, ss, d, ds, dx, dy, ZubSize{w, h});
    } else {
        auto p = params16(s, ss, d, ds, dx, dy, w, h, bd);
        return zubiInterpolateLuma_H264_16u_C1R(&p);
    }
}
template <class T>
ZubStatus chromaC1R(const T* s, int ss, T* d, int ds, int dx, int dy, int w, int h) {
    if constexpr (sizeof(T) == 1) {
        return zubiInterpolateChroma_H264_8u_C1R(s, ss, d, ds, dx, dy, ZubSize{w, h});
    } else {
        auto p = params16(s, ss, d, ds, dx, dy, w, h, 0);
        return zubiInterpolateChroma_H264_16u_C1R(&p);
    }
}
enum Edge { Top, Bottom };
template <class T>
ZubStatus lumaEdge(Edge e, const T* s, int ss, T* d, int ds, int dx, int dy, int out, int w, int h, int bd) {
    if constexpr (sizeof(T) == 1) {
        return e == Top ? zubiInterpolateLumaTop_H264_8u_C1R(s, ss, d, ds, dx, dy, out, ZubSize{w, h})
                        : zubiInterpolateLumaBottom_H264_8u_C1R(s, ss, d, ds, dx, dy, out, ZubSize{w, h});
    } else {
        auto p = params16(s, ss, d, ds, dx, dy, w, h, bd);
        return e == Top ? zubiInterpolateLumaTop_H264_16u_C1R(&p, out) : zubiInterpolateLumaBottom_H264_16u_C1R(&p, out);
    }
}
template <class T>
ZubStatus chromaEdge(Edge e, const T* s, int ss, T* d, int ds, int dx, int dy, int out, int w, int h) {
    if constexpr (sizeof(T) == 1) {
        return e == Top ? zubiInterpolateChromaTop_H264_8u_C1R(s, ss, d, ds, dx, dy, out, ZubSize{w, h})
                        : zubiInterpolateChromaBottom_H264_8u_C1R(s, ss, d, ds, dx, dy, out, ZubSize{w, h});
    } else {
        auto p = params16(s, ss, d, ds, dx, dy, w, h, 0);
        return e == Top ? zubiInterpolateChromaTop_H264_16u_C1R(&p, out)
                        : zubiInterpolateChromaBottom_H264_16u_C1R(&p, out);
    }
}
template <class T>
ZubStatus lumaBlock(const H264BlockInterpolationParams* p) {
    if constexpr (sizeof(T) == 1) return zubiInterpolateLumaBlock_H264_8u_P1R(p);
    else return zubiInterpolateLumaBlock_H264_16u_P1R(p);
}
template <class T>
ZubStatus chromaBlock(const H264BlockInterpolationParams* p) {
    if constexpr (sizeof(T) == 1) return zubiInterpolateChromaBlock_H264_8u_P2R(p);
    else return zubiInterpolateChromaBlock_H264_16u_P2R(p);
}
template <class T>
ZubStatus readThrough(int flags, InterpolationKernelRecord* r) {
    if constexpr (sizeof(T) == 1) return zubiReadDataBlockThroughBoundary_8u(flags, r);
    else return zubiReadDataBlockThroughBoundary_16u(flags, r);
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
template <class T> std::vector<Sz> lumaSizes() {
    if (sizeof(T) == 2) return {{4, 4}, {4, 8}, {8, 4}, {8, 8}, {8, 16}, {16, 8}, {16, 16}};
    std::vector<Sz> v;  // widths 4..28 in fours, heights multiples of 4
    for (int w = 4; w <= 28; w += 4)
        for (int h : {4, 8, 12, 16, 20, 32}) v.push_back({w, h});
    return v;
}
template <class T> std::vector<Sz> chromaSizes() {
    std::vector<Sz> v;
    if (sizeof(T) == 2) {
        for (int w : {2, 4, 8, 16})
            for (int h : {2, 4, 8, 16}) v.push_back({w, h});
    } else {
        for (int w = 2; w <= 14; w += 2)
            for (int h : {2, 4, 6, 8, 16, 18}) v.push_back({w, h});
    }
    return v;
}

// ---- C1R: every position and size against the model ---------------------------------

TYPED_TEST(Interp, LumaEveryPositionAndSize) {
    using T = TypeParam;
    std::mt19937 rng(1);
    for (int bd : bitDepths<T>()) {
        const int maxv = maxOf<T>(bd);
        Plane<T> pl(48, 48, 8, rng, maxv);
        std::vector<T> dst(48 * 40);
        for (Sz sz : lumaSizes<T>())
            for (int pos = 0; pos < 16; ++pos) {
                const int dx = pos & 3, dy = pos >> 2, x0 = 3, y0 = 5;
                std::fill(dst.begin(), dst.end(), T{7});
                ASSERT_EQ(lumaC1R<T>(pl.at(x0, y0), pl.stride, dst.data(), 40, dx, dy, sz.w, sz.h, bd), ZubStatusOk);
                ASSERT_TRUE(sameAs(dst.data(), 40, sz.w, sz.h, [&](int x, int y) {
                    return lumaModel(pl.rawSampler(), x0 + x, y0 + y, dx, dy, maxv);
                })) << "bit depth " << bd << " pos " << pos << " size " << sz.w << "x" << sz.h;
                EXPECT_EQ(dst[sz.w], T{7});  // nothing beyond the block's row
            }
    }
}

TYPED_TEST(Interp, ChromaEveryFractionAndSize) {
    using T = TypeParam;
    std::mt19937 rng(2);
    for (int bd : bitDepths<T>()) {
        Plane<T> pl(40, 40, 4, rng, maxOf<T>(bd));
        std::vector<T> dst(32 * 20);
        for (Sz sz : chromaSizes<T>())
            for (int f = 0; f < 64; ++f) {
                const int dx = f & 7, dy = f >> 3;
                ASSERT_EQ(chromaC1R<T>(pl.at(1, 2), pl.stride, dst.data(), 32, dx, dy, sz.w, sz.h), ZubStatusOk);
                ASSERT_TRUE(sameAs(dst.data(), 32, sz.w, sz.h, [&](int x, int y) {
                    return chromaModel(pl.rawSampler(), 1 + x, 2 + y, dx, dy);
                })) << "bit depth " << bd << " fraction " << dx << "," << dy << " size " << sz.w << "x" << sz.h;
            }
    }
}

// Half samples saturate; j of a flat area is the area's value; the integer
// position copies even values above the bit depth's maximum.
TEST(InterpKnown, SaturationFlatAndCopy) {
    Zub8u row[2][16] = {{0, 0, 0, 255, 255, 0, 0, 0}, {255, 255, 255, 0, 0, 255, 255, 255}};
    Zub8u d = 1;
    // b at column 3 uses columns 1..6: 0, 0, 255, 255, 0, 0 -> (10200 + 16) >> 5 = 319 -> 255
    ASSERT_EQ(zubiInterpolateLuma_H264_8u_C1R(&row[0][3], 16, &d, 4, 2, 0, ZubSize{0, 4}), ZubStatusOk);
    EXPECT_EQ(d, 1);  // width 0: nothing written
    InterpolationKernelRecord r{};
    r.src = &row[0][3];
    r.dst = &d;
    r.width = 1;
    r.height = 1;
    h264_interpolate_luma_type_b_8u_px(&r);
    EXPECT_EQ(d, 255);
    r.src = &row[1][3];  // 255, 255, 0, 0, 255, 255 -> -64 -> 0
    h264_interpolate_luma_type_b_8u_px(&r);
    EXPECT_EQ(d, 0);

    std::vector<Zub8u> flat(32 * 32, 200);
    Zub8u out[16 * 16];
    ASSERT_EQ(zubiInterpolateLuma_H264_8u_C1R(&flat[8 * 32 + 8], 32, out, 16, 2, 2, ZubSize{16, 16}), ZubStatusOk);
    EXPECT_TRUE(std::all_of(out, out + 256, [](Zub8u v) { return v == 200; }));

    std::vector<Zub16u> big(32 * 32, 0xFFFF);
    Zub16u out16[16 * 16];
    H264InterpolationParams_16u p{&big[8 * 32 + 8], 32, out16, 16, 0, 0, 16, 16, 10};
    ASSERT_EQ(zubiInterpolateLuma_H264_16u_C1R(&p), ZubStatusOk);
    EXPECT_TRUE(std::all_of(out16, out16 + 256, [](Zub16u v) { return v == 0xFFFF; }));
    p.dx = 2;  // a half sample clamps to (1 << 10) - 1
    ASSERT_EQ(zubiInterpolateLuma_H264_16u_C1R(&p), ZubStatusOk);
    EXPECT_TRUE(std::all_of(out16, out16 + 256, [](Zub16u v) { return v == 1023; }));
}

// The bit depth is not checked: (1 << bitDepth) - 1 holds for 0..30, and
// any other value is taken modulo 32 (31: no saturation, 32: maximum 0)
// instead of shifting out of range.
TEST(InterpKnown, BitDepthOutsideShiftRange) {
    std::vector<Zub16u> flat(32 * 32, 1000);
    Zub16u out[8 * 8];
    for (int bd : {16, 30, 31, -1, 32, 40}) {
        for (int pos : {2, 10, 15}) {  // b, j, r
            std::fill(out, out + 64, Zub16u{7});
            H264InterpolationParams_16u p{&flat[8 * 32 + 8], 32, out, 8, pos & 3, pos >> 2, 8, 8, bd};
            ASSERT_EQ(zubiInterpolateLuma_H264_16u_C1R(&p), ZubStatusOk);
            const Zub16u want = (bd & 31) == 0 ? 0 : ((bd & 31) == 8 ? 255 : 1000);
            EXPECT_TRUE(std::all_of(out, out + 64, [&](Zub16u v) { return v == want; })) << bd << " " << pos;
        }
    }
}

// The 16u function table is indexed dx-major; its building blocks and the
// in-place averages match the model.
TEST(InterpKnown, Table16uMembersAndAverages) {
    std::mt19937 rng(3);
    Plane<Zub16u> pl(40, 40, 8, rng, 4095);
    std::vector<Zub16u> dst(16 * 16);
    for (int dx = 0; dx < 4; ++dx)
        for (int dy = 0; dy < 4; ++dy) {
            InterpolFnTbl_16u[dx * 4 + dy](pl.at(4, 4), dst.data(), pl.stride, 16, 8, 16, 12);
            ASSERT_TRUE(sameAs(dst.data(), 16, 8, 16, [&](int x, int y) {
                return lumaModel(pl.rawSampler(), 4 + x, 4 + y, dx, dy, 4095);
            })) << dx << "," << dy;
        }
    _zubInterpolate_H2_16u(pl.at(4, 4), dst.data(), pl.stride, 16, 16, 8, 11);
    EXPECT_TRUE(sameAs(dst.data(), 16, 16, 8, [&](int x, int y) {
        return lumaModel(pl.rawSampler(), 4 + x, 4 + y, 2, 0, 2047);
    }));
    _zubInterpolate_V2_16u(pl.at(4, 4), dst.data(), pl.stride, 16, 4, 4, 11);
    EXPECT_TRUE(sameAs(dst.data(), 16, 4, 4, [&](int x, int y) {
        return lumaModel(pl.rawSampler(), 4 + x, 4 + y, 0, 2, 2047);
    }));
    std::vector<Zub16u> before = dst;
    _zubInterpolate_Avg_16u(pl.at(0, 0), dst.data(), pl.stride, 16, 8, 4);
    EXPECT_TRUE(sameAs(dst.data(), 16, 8, 4, [&](int x, int y) { return (before[y * 16 + x] + pl.raw(x, y) + 1) >> 1; }));
    EXPECT_EQ(dst[8], before[8]);
    before = dst;
    h264_interpolate_luma_get_average_16u_px(dst.data(), 16, pl.at(1, 1), pl.stride, 4, 8);
    EXPECT_TRUE(sameAs(dst.data(), 16, 4, 8, [&](int x, int y) {
        return (before[y * 16 + x] + pl.raw(1 + x, 1 + y) + 1) >> 1;
    }));
    Zub8u a[2][4] = {{0, 1, 254, 255}, {1, 1, 255, 0}};
    h264_interpolate_luma_get_average_8u_px(a[0], 4, a[1], 4, 4, 1);
    EXPECT_EQ(a[0][0], 1);
    EXPECT_EQ(a[0][1], 1);
    EXPECT_EQ(a[0][2], 255);
    EXPECT_EQ(a[0][3], 128);
}

// ---- argument checks ---------------------------------------------------------------

TEST(InterpChecks, Luma8uOrderAndSizes) {
    Zub8u src[64 * 64] = {}, dst[32 * 32];
    const Zub8u* s = src + 64 * 8 + 8;
    std::fill(dst, dst + 1024, Zub8u{9});
    auto call = [&](const Zub8u* sp, Zub8u* dp, int dx, int dy, int w, int h) {
        return zubiInterpolateLuma_H264_8u_C1R(sp, 64, dp, 32, dx, dy, ZubSize{w, h});
    };
    EXPECT_EQ(call(nullptr, dst, 9, 0, 3, 3), ZubStatusNullPointer);
    EXPECT_EQ(call(s, nullptr, 0, 0, 4, 4), ZubStatusNullPointer);
    EXPECT_EQ(call(s, dst, 4, 0, 3, 3), ZubStatusBadArgument);  // fraction before size
    EXPECT_EQ(call(s, dst, 0, -1, 4, 4), ZubStatusBadArgument);
    EXPECT_EQ(call(s, dst, 0, 0, 4, 6), ZubStatusBadSize);
    EXPECT_EQ(call(s, dst, 0, 0, 2, 4), ZubStatusBadSize);
    EXPECT_EQ(call(s, dst, 0, 0, 32, 4), ZubStatusBadSize);
    EXPECT_EQ(call(s, dst, 0, 0, -4, 4), ZubStatusBadSize);
    EXPECT_TRUE(std::all_of(dst, dst + 1024, [](Zub8u v) { return v == 9; }));
    EXPECT_EQ(call(s, dst, 3, 3, 12, 12), ZubStatusOk);
    EXPECT_EQ(call(s, dst, 1, 2, 4, 16), ZubStatusOk);  // 4x16 is accepted here, not by 16u
    EXPECT_EQ(zubiInterpolateLumaTop_H264_8u_C1R(s, 64, dst, 32, 5, 0, 1, ZubSize{3, 3}), ZubStatusBadArgument);
    EXPECT_EQ(zubiInterpolateLumaBottom_H264_8u_C1R(s, 64, nullptr, 32, 5, 0, 1, ZubSize{3, 3}),
              ZubStatusNullPointer);
    EXPECT_EQ(zubiInterpolateLumaBottom_H264_8u_C1R(s, 64, dst, 32, 1, 0, 1, ZubSize{4, 2}), ZubStatusBadSize);
}

TEST(InterpChecks, Chroma8uOrderAndSizes) {
    Zub8u src[32 * 32] = {}, dst[32 * 32];
    std::fill(dst, dst + 1024, Zub8u{9});
    auto call = [&](const Zub8u* sp, int dx, int dy, int w, int h) {
        return zubiInterpolateChroma_H264_8u_C1R(sp, 32, dst, 32, dx, dy, ZubSize{w, h});
    };
    EXPECT_EQ(call(nullptr, 8, 0, 3, 3), ZubStatusNullPointer);
    EXPECT_EQ(call(src, 8, 0, 3, 3), ZubStatusBadArgument);
    EXPECT_EQ(call(src, 0, -1, 2, 2), ZubStatusBadArgument);
    EXPECT_EQ(call(src, 7, 7, 2, 3), ZubStatusBadSize);
    EXPECT_EQ(call(src, 0, 0, 16, 2), ZubStatusBadSize);  // 16 & ~14 != 0
    EXPECT_EQ(call(src, 0, 0, 1, 2), ZubStatusBadSize);
    EXPECT_TRUE(std::all_of(dst, dst + 1024, [](Zub8u v) { return v == 9; }));
    EXPECT_EQ(call(src, 0, 0, 6, 10), ZubStatusOk);
    EXPECT_EQ(zubiInterpolateChromaTop_H264_8u_C1R(src, 32, dst, 32, 0, 8, 0, ZubSize{2, 2}), ZubStatusBadArgument);
    EXPECT_EQ(zubiInterpolateChromaBottom_H264_8u_C1R(src, 32, dst, 32, 1, 1, 0, ZubSize{2, 1}), ZubStatusBadSize);
}

TEST(InterpChecks, Luma16uOrderAndSizes) {
    std::vector<Zub16u> src(64 * 64), dst(32 * 32, 9);
    H264InterpolationParams_16u ok{&src[64 * 8 + 8], 64, dst.data(), 32, 1, 1, 8, 8, 10};
    auto with = [&](auto edit) {
        H264InterpolationParams_16u p = ok;
        edit(p);
        return zubiInterpolateLuma_H264_16u_C1R(&p);
    };
    using P = H264InterpolationParams_16u&;
    EXPECT_EQ(zubiInterpolateLuma_H264_16u_C1R(nullptr), ZubStatusNullPointer);
    EXPECT_EQ(with([](P p) { p.src = nullptr; p.srcStep = 0; }), ZubStatusNullPointer);
    EXPECT_EQ(with([](P p) { p.dst = nullptr; }), ZubStatusNullPointer);
    EXPECT_EQ(with([](P p) { p.srcStep = 7; p.dx = 9; }), ZubStatusBadStep);  // steps before fractions
    EXPECT_EQ(with([](P p) { p.dstStep = 4; }), ZubStatusBadStep);
    EXPECT_EQ(with([](P p) { p.dx = 4; p.height = 3; }), ZubStatusBadArgument);  // fractions before sizes
    EXPECT_EQ(with([](P p) { p.dy = -1; }), ZubStatusBadArgument);
    EXPECT_EQ(with([](P p) { p.height = 12; }), ZubStatusBadSize);
    EXPECT_EQ(with([](P p) { p.width = 2; }), ZubStatusBadSize);
    EXPECT_EQ(with([](P p) { p.width = 4; p.height = 16; }), ZubStatusBadSize);
    EXPECT_EQ(with([](P p) { p.width = 16; p.height = 4; }), ZubStatusBadSize);
    EXPECT_TRUE(std::all_of(dst.begin(), dst.end(), [](Zub16u v) { return v == 9; }));
    EXPECT_EQ(with([](P p) { p.width = 16; p.height = 16; }), ZubStatusOk);
    H264InterpolationParams_16u bad = ok;
    bad.dstStep = 4;
    EXPECT_EQ(zubiInterpolateLumaTop_H264_16u_C1R(&bad, 1), ZubStatusBadStep);
    EXPECT_EQ(zubiInterpolateLumaBottom_H264_16u_C1R(nullptr, 1), ZubStatusNullPointer);
}

TEST(InterpChecks, Chroma16uOrderAndSizes) {
    std::vector<Zub16u> src(64 * 64), dst(32 * 32, 9);
    H264InterpolationParams_16u ok{&src[64 * 8 + 8], 64, dst.data(), 32, 1, 1, 2, 2, 10};
    auto with = [&](auto edit) {
        H264InterpolationParams_16u p = ok;
        edit(p);
        return zubiInterpolateChroma_H264_16u_C1R(&p);
    };
    using P = H264InterpolationParams_16u&;
    EXPECT_EQ(with([](P p) { p.src = nullptr; }), ZubStatusNullPointer);
    EXPECT_EQ(with([](P p) { p.srcStep = 7; p.dx = 8; }), ZubStatusBadStep);  // even for a 2-wide block
    EXPECT_EQ(with([](P p) { p.dstStep = 7; }), ZubStatusBadStep);
    EXPECT_EQ(with([](P p) { p.dx = 8; p.width = 3; }), ZubStatusBadArgument);
    EXPECT_EQ(with([](P p) { p.dy = -1; }), ZubStatusBadArgument);
    EXPECT_EQ(with([](P p) { p.height = 6; }), ZubStatusBadSize);
    EXPECT_EQ(with([](P p) { p.width = 32; }), ZubStatusBadSize);
    EXPECT_TRUE(std::all_of(dst.begin(), dst.end(), [](Zub16u v) { return v == 9; }));
    EXPECT_EQ(with([](P p) { p.width = 16; p.height = 16; }), ZubStatusOk);
    H264InterpolationParams_16u bad = ok;
    bad.dx = 8;
    EXPECT_EQ(zubiInterpolateChromaTop_H264_16u_C1R(&bad, 0), ZubStatusBadArgument);
    EXPECT_EQ(zubiInterpolateChromaBottom_H264_16u_C1R(&bad, 0), ZubStatusBadArgument);
}

TEST(InterpChecks, BlockFunctions) {
    std::vector<Zub8u> plane(64 * 64, 5), out(64 * 64, 9), out2(64 * 64, 9);
    H264BlockInterpolationParams ok{{plane.data(), plane.data()}, 64, {out.data(), out2.data()}, 64,
                                    {64, 64}, {8, 8}, {8, 8}, {3, 5}, 8};
    auto luma = [&](auto edit) {
        H264BlockInterpolationParams p = ok;
        edit(p);
        return zubiInterpolateLumaBlock_H264_8u_P1R(&p);
    };
    auto chroma = [&](auto edit) {
        H264BlockInterpolationParams p = ok;
        edit(p);
        return zubiInterpolateChromaBlock_H264_8u_P2R(&p);
    };
    using P = H264BlockInterpolationParams&;
    EXPECT_EQ(zubiInterpolateLumaBlock_H264_8u_P1R(nullptr), ZubStatusNullPointer);
    EXPECT_EQ(zubiInterpolateChromaBlock_H264_16u_P2R(nullptr), ZubStatusNullPointer);
    EXPECT_EQ(luma([](P p) { p.srcPlane[0] = nullptr; p.blockSize.height = 3; }), ZubStatusNullPointer);
    EXPECT_EQ(luma([](P p) { p.dstPlane[0] = nullptr; }), ZubStatusNullPointer);
    EXPECT_EQ(luma([](P p) { p.srcPlane[1] = nullptr; p.dstPlane[1] = nullptr; }), ZubStatusOk);  // luma: plane 0 only
    EXPECT_EQ(chroma([](P p) { p.srcPlane[1] = nullptr; p.blockSize.height = 3; }), ZubStatusNullPointer);
    EXPECT_EQ(chroma([](P p) { p.dstPlane[1] = nullptr; }), ZubStatusNullPointer);
    std::fill(out.begin(), out.end(), 9);
    EXPECT_EQ(luma([](P p) { p.blockSize.height = 6; }), ZubStatusBadSize);
    EXPECT_EQ(luma([](P p) { p.blockSize.width = 32; }), ZubStatusBadSize);
    EXPECT_EQ(chroma([](P p) { p.blockSize.height = 3; }), ZubStatusBadSize);
    EXPECT_EQ(chroma([](P p) { p.blockSize.width = 16; }), ZubStatusBadSize);
    EXPECT_TRUE(std::all_of(out.begin(), out.end(), [](Zub8u v) { return v == 9; }));
    // Nothing about the frame is checked (a zero vector never looks at it).
    EXPECT_EQ(luma([](P p) { p.blockSize = {12, 12}; p.frameSize = {-5, 0}; p.motionVector = {0, 0}; }),
              ZubStatusOk);
    EXPECT_EQ(chroma([](P p) { p.blockSize = {14, 2}; p.frameSize = {0, 0}; p.motionVector = {0, 0}; }),
              ZubStatusOk);
    std::vector<Zub16u> p16(64 * 64), o16(64 * 64);
    H264BlockInterpolationParams q{{p16.data(), p16.data()}, 64, {o16.data(), nullptr}, 64,
                                   {64, 64}, {4, 16}, {8, 8}, {0, 0}, 10};
    EXPECT_EQ(zubiInterpolateLumaBlock_H264_16u_P1R(&q), ZubStatusOk);  // 4x16 fine for Block
    EXPECT_EQ(zubiInterpolateChromaBlock_H264_16u_P2R(&q), ZubStatusNullPointer);
}

// ---- reads through the boundary ---------------------------------------------------

// The buffer of reader `flags`: clamped on each crossed edge; when both edges
// of an axis are named, only the side that readX (readY) points past.
template <class T>
int readerModel(Plane<T>& pl, const InterpolationKernelRecord& r, int flags, int c, int rr) {
    auto axis = [](int v, int start, bool lo, bool hi, int size) {
        if (lo && hi) return start < 0 ? std::max(v, 0) : std::min(v, size - 1);
        if (lo) return std::max(v, 0);
        if (hi) return std::min(v, size - 1);
        return v;
    };
    const int x = axis(r.readX + c, r.readX, flags & 1, flags & 2, pl.w);
    const int y = axis(r.readY + rr, r.readY, flags & 4, flags & 8, pl.h);
    return pl.raw(x, y);
}

TYPED_TEST(Interp, ReadersEveryCode) {
    using T = TypeParam;
    std::mt19937 rng(4);
    int hits[16] = {};
    std::vector<T> buf(40 * 40);
    Plane<T> pl(32, 32, 64, rng, maxOf<T>(12));
    for (int trial = 0; trial < 20000 && *std::min_element(hits, hits + 16) < 40; ++trial) {
        const int fw = 4 + rng() % 28, fh = 4 + rng() % 28;
        pl.w = fw;  // a frame of fw x fh inside the same memory
        pl.h = fh;
        InterpolationKernelRecord r{};
        r.src = pl.origin();
        r.srcStep = pl.stride;
        r.readWidth = 1 + rng() % 33;
        r.readHeight = 1 + rng() % 33;
        r.readX = static_cast<int>(rng() % 80) - 45;
        r.readY = static_cast<int>(rng() % 80) - 45;
        r.frameWidth = fw;
        r.frameHeight = fh;
        r.dst = buf.data();
        r.dstStep = 40;
        const int flags = (r.readX < 0) | (fw < r.readX + r.readWidth) << 1 | (r.readY < 0) << 2 |
                          (fh < r.readY + r.readHeight) << 3;
        ++hits[flags];
        std::fill(buf.begin(), buf.end(), T{3});
        const InterpolationKernelRecord before = r;
        ASSERT_EQ(readThrough<T>(flags, &r), ZubStatusOk);
        if (flags == 0) {
            ASSERT_TRUE(std::all_of(buf.begin(), buf.end(), [](T v) { return v == 3; }));
            continue;
        }
        ASSERT_TRUE(sameAs(buf.data(), 40, before.readWidth, before.readHeight,
                           [&](int c, int rr) { return readerModel(pl, before, flags, c, rr); }))
            << "flags " << flags << " read " << before.readX << "," << before.readY << " " << before.readWidth << "x"
            << before.readHeight << " frame " << fw << "x" << fh;
        ASSERT_EQ(buf[before.readWidth], T{3});  // nothing past the row
    }
    for (int f = 0; f < 16; ++f) EXPECT_GE(hits[f], 40) << f;
}

// Two-sided codes called on footprints that reach one side only take that
// side by sign; the table entries sit at their edge codes.
TEST(InterpReaders, TwoSidedBySignAndTables) {
    std::mt19937 rng(5);
    Plane<Zub8u> pl(20, 20, 40, rng, 255);
    Zub8u buf[16 * 16];
    InterpolationKernelRecord r{};
    r.src = pl.origin();
    r.srcStep = pl.stride;
    r.dst = buf;
    r.dstStep = 16;
    r.frameWidth = 20;
    r.frameHeight = 20;
    r.readWidth = 6;
    r.readHeight = 6;
    r.readX = 17;  // right only, through the left-right code
    r.readY = -2;  // top only, through the top-bottom code
    const InterpolationKernelRecord before = r;
    read_data_through_boundary_table_8u_pxmx[15](&r);
    EXPECT_TRUE(sameAs(buf, 16, 6, 6, [&](int c, int rr) {
        return pl.raw(std::min(17 + c, 19), std::max(rr - 2, 0));
    }));
    // readX = 0 is not left of the frame: the left-right code replicates the
    // right side of a footprint wider than the frame.
    Zub8u wide[4 * 32];
    r = before;
    r.dst = wide;
    r.dstStep = 32;
    r.readX = 0;
    r.readWidth = 26;
    r.readY = 4;
    r.readHeight = 4;
    read_data_through_boundary_table_8u_pxmx[3](&r);
    EXPECT_TRUE(sameAs(wide, 32, 26, 4, [&](int c, int rr) { return pl.raw(std::min(c, 19), 4 + rr); }));
    // A footprint wholly left of the frame: every sample is its row's column 0.
    r = before;
    r.readX = -30;
    r.readWidth = 21;
    r.readY = 3;
    read_data_through_boundary_left_8u_px(&r);
    EXPECT_TRUE(sameAs(buf, 16, 16, 6, [&](int, int rr) { return pl.raw(0, 3 + rr); }));
    // Wholly below: readHeight copies of the last row.
    r = before;
    r.readX = 2;
    r.readY = 25;
    read_data_through_boundary_bottom_8u_px(&r);
    EXPECT_TRUE(sameAs(buf, 16, 6, 6, [&](int c, int) { return pl.raw(2 + c, 19); }));

    using R = H264BoundaryReader;
    const R n8[16] = {read_data_through_boundary_none_8u, read_data_through_boundary_left_8u_px,
                      read_data_through_boundary_right_8u_px, read_data_through_boundary_left_right_8u_px,
                      read_data_through_boundary_top_8u_px, read_data_through_boundary_top_left_8u_px,
                      read_data_through_boundary_top_right_8u_px, read_data_through_boundary_top_left_right_8u_px,
                      read_data_through_boundary_bottom_8u_px, read_data_through_boundary_bottom_left_8u_px,
                      read_data_through_boundary_bottom_right_8u_px,
                      read_data_through_boundary_bottom_left_right_8u_px, read_data_through_boundary_top_bottom_8u_px,
                      read_data_through_boundary_top_bottom_left_8u_px,
                      read_data_through_boundary_top_bottom_right_8u_px,
                      read_data_through_boundary_top_bottom_left_right_8u_px};
    const R n16[16] = {read_data_through_boundary_none_16u, read_data_through_boundary_left_16u_px,
                       read_data_through_boundary_right_16u_px, read_data_through_boundary_left_right_16u_px,
                       read_data_through_boundary_top_16u_px, read_data_through_boundary_top_left_16u_px,
                       read_data_through_boundary_top_right_16u_px, read_data_through_boundary_top_left_right_16u_px,
                       read_data_through_boundary_bottom_16u_px, read_data_through_boundary_bottom_left_16u_px,
                       read_data_through_boundary_bottom_right_16u_px,
                       read_data_through_boundary_bottom_left_right_16u_px,
                       read_data_through_boundary_top_bottom_16u_px, read_data_through_boundary_top_bottom_left_16u_px,
                       read_data_through_boundary_top_bottom_right_16u_px,
                       read_data_through_boundary_top_bottom_left_right_16u_px};
    for (int i = 0; i < 16; ++i) {
        EXPECT_EQ(read_data_through_boundary_table_8u_pxmx[i], n8[i]) << i;
        EXPECT_EQ(read_data_through_boundary_table_16u_pxmx[i], n16[i]) << i;
    }

    Zub16u m[6] = {1, 1, 1, 1, 1, 1};
    memset_16u(m, 0xABCD, 0);
    memset_16u(m, 0xABCD, -3);
    EXPECT_EQ(m[0], 1);
    memset_16u(m + 1, 0xABCD, 4);
    EXPECT_TRUE(m[0] == 1 && m[1] == 0xABCD && m[4] == 0xABCD && m[5] == 1);
}

// ---- Block functions ----------------------------------------------------------------

const Sz kLumaParts[] = {{16, 16}, {16, 8}, {8, 16}, {8, 8}, {8, 4}, {4, 8}, {4, 4}, {12, 12}, {28, 8}, {16, 32}};
const Sz kChromaParts[] = {{8, 8}, {8, 4}, {4, 8}, {4, 4}, {4, 2}, {2, 4}, {2, 2}, {14, 6}, {8, 32}};

// Random positions and vectors, many pointing far outside on every side and
// corner: the result equals interpolation from the edge-replicated plane.
TYPED_TEST(Interp, LumaBlockAgainstPaddedPlane) {
    using T = TypeParam;
    std::mt19937 rng(6);
    int hits[16] = {};
    for (int bd : bitDepths<T>()) {
        const int maxv = maxOf<T>(bd);
        Plane<T> pl(64, 48, 24, rng, maxv);
        std::vector<T> dst(40 * 40);
        for (int trial = 0; trial < 1500; ++trial) {
            const Sz sz = kLumaParts[rng() % std::size(kLumaParts)];
            if (sizeof(T) == 2 && sz.w > 16) continue;
            const int far = trial % 3 == 0 ? 2000 : 400;
            H264BlockInterpolationParams p{{pl.origin(), nullptr}, pl.stride, {dst.data(), nullptr}, 40,
                                           {pl.w, pl.h}, {sz.w, sz.h},
                                           {static_cast<int>(rng() % 80) - 8, static_cast<int>(rng() % 64) - 8},
                                           {static_cast<int>(rng() % (2 * far)) - far,
                                            static_cast<int>(rng() % (2 * far)) - far}, bd};
            if (p.motionVector.x == 0 && p.motionVector.y == 0) continue;
            const int fx = p.motionVector.x & 3, fy = p.motionVector.y & 3;
            const int ix = p.blockPos.x + (p.motionVector.x >> 2), iy = p.blockPos.y + (p.motionVector.y >> 2);
            const int rx = ix - (fx ? 2 : 0), ry = iy - (fy ? 2 : 0);
            const int flags = (rx < 0) | (pl.w < rx + sz.w + (fx ? 5 : 0)) << 1 | (ry < 0) << 2 |
                              (pl.h < ry + sz.h + (fy ? 5 : 0)) << 3;
            ++hits[flags];
            std::fill(dst.begin(), dst.end(), T{1});
            ASSERT_EQ(lumaBlock<T>(&p), ZubStatusOk);
            ASSERT_TRUE(sameAs(dst.data(), 40, sz.w, sz.h, [&](int x, int y) {
                return lumaModel(pl.clampSampler(), ix + x, iy + y, fx, fy, maxv);
            })) << "pos " << p.blockPos.x << "," << p.blockPos.y << " mv " << p.motionVector.x << ","
                << p.motionVector.y << " size " << sz.w << "x" << sz.h << " flags " << flags;
            ASSERT_EQ(dst[sz.w], T{1});
            ASSERT_EQ(dst[40 * sz.h], T{1});
        }
    }
    for (int f : {0, 1, 2, 4, 5, 6, 8, 9, 10}) EXPECT_GT(hits[f], 0) << f;
}

TYPED_TEST(Interp, ChromaBlockAgainstPaddedPlane) {
    using T = TypeParam;
    std::mt19937 rng(7);
    Plane<T> u(32, 24, 24, rng, maxOf<T>(14)), v(32, 24, 24, rng, maxOf<T>(14));
    std::vector<T> du(24 * 40), dv(24 * 40);
    int hits[16] = {};
    for (int trial = 0; trial < 4000; ++trial) {
        const Sz sz = kChromaParts[rng() % std::size(kChromaParts)];
        const int far = trial % 3 == 0 ? 2000 : 300;
        H264BlockInterpolationParams p{{u.origin(), v.origin()}, u.stride, {du.data(), dv.data()}, 24,
                                       {u.w, u.h}, {sz.w, sz.h},
                                       {static_cast<int>(rng() % 40) - 4, static_cast<int>(rng() % 32) - 4},
                                       {static_cast<int>(rng() % (2 * far)) - far,
                                        static_cast<int>(rng() % (2 * far)) - far}, 14};
        if (p.motionVector.x == 0 && p.motionVector.y == 0) continue;
        const int fx = p.motionVector.x & 7, fy = p.motionVector.y & 7;
        const int ix = p.blockPos.x + (p.motionVector.x >> 3), iy = p.blockPos.y + (p.motionVector.y >> 3);
        const int flags = (ix < 0) | (u.w < ix + sz.w + (fx != 0)) << 1 | (iy < 0) << 2 |
                          (u.h < iy + sz.h + (fy != 0)) << 3;
        ++hits[flags];
        std::fill(du.begin(), du.end(), T{1});
        std::fill(dv.begin(), dv.end(), T{1});
        ASSERT_EQ(chromaBlock<T>(&p), ZubStatusOk);
        for (Plane<T>* pl : {&u, &v}) {
            const T* d = pl == &u ? du.data() : dv.data();
            // An 8x32 footprint starting above the frame also ends below it:
            // only the top is replicated (two-sided code).
            const Sampler S = (flags & 12) == 12
                                  ? Sampler([&](int x, int y) { return pl->raw(clampi(x, 0, pl->w - 1), std::max(y, 0)); })
                                  : pl->clampSampler();
            ASSERT_TRUE(sameAs(d, 24, sz.w, sz.h, [&](int x, int y) {
                return chromaModel(S, ix + x, iy + y, fx, fy);
            })) << "pos " << p.blockPos.x << "," << p.blockPos.y << " mv " << p.motionVector.x << ","
                << p.motionVector.y << " size " << sz.w << "x" << sz.h << " flags " << flags;
            ASSERT_EQ(d[sz.w], T{1});
        }
    }
    for (int f : {0, 1, 2, 4, 5, 6, 8, 9, 10}) EXPECT_GT(hits[f], 0) << f;
}

// A zero vector copies in place with no boundary test, even outside the frame;
// a vector of -1 has integer part -1 and fraction 3.
TYPED_TEST(Interp, BlockZeroAndMinusOneVectors) {
    using T = TypeParam;
    std::mt19937 rng(8);
    Plane<T> pl(32, 32, 24, rng, maxOf<T>(10));
    std::vector<T> d(16 * 16), d2(16 * 16);
    H264BlockInterpolationParams p{{pl.origin(), pl.origin()}, pl.stride, {d.data(), d2.data()}, 16,
                                   {pl.w, pl.h}, {8, 8}, {-6, 28}, {0, 0}, 10};
    ASSERT_EQ(lumaBlock<T>(&p), ZubStatusOk);
    EXPECT_TRUE(sameAs(d.data(), 16, 8, 8, [&](int x, int y) { return pl.raw(-6 + x, 28 + y); }));
    ASSERT_EQ(chromaBlock<T>(&p), ZubStatusOk);
    EXPECT_TRUE(sameAs(d2.data(), 16, 8, 8, [&](int x, int y) { return pl.raw(-6 + x, 28 + y); }));
    p.blockPos = {8, 8};
    p.motionVector = {-1, 0};
    ASSERT_EQ(lumaBlock<T>(&p), ZubStatusOk);
    EXPECT_TRUE(sameAs(d.data(), 16, 8, 8, [&](int x, int y) {
        return lumaModel(pl.rawSampler(), 7 + x, 8 + y, 3, 0, maxOf<T>(10));
    }));
}

// Footprints wider or taller than the frame cross both edges of an axis: only
// the near side is replicated and the far side comes from the memory beyond
// the frame.
TYPED_TEST(Interp, BlockTwoSidedReadsBeyondTheFrame) {
    using T = TypeParam;
    std::mt19937 rng(9);
    Plane<T> pl(10, 9, 48, rng, maxOf<T>(12));
    std::vector<T> d(16 * 32), d2(16 * 32);
    int twoSided = 0;
    for (int trial = 0; trial < 900; ++trial) {
        // 32 rows: taller than a macroblock, the footprint is read in strips,
        // which must keep the whole footprint's choice of side.
        const int w = 16, h = trial % 3 == 0 ? 32 : (trial % 3 == 1 ? 16 : 8);
        H264BlockInterpolationParams p{{pl.origin(), pl.origin()}, pl.stride, {d.data(), d2.data()}, 16,
                                       {pl.w, pl.h}, {w, h},
                                       {static_cast<int>(rng() % 9) - 4, static_cast<int>(rng() % 9) - 4},
                                       {static_cast<int>(rng() % 33) - 16, static_cast<int>(rng() % 33) - 16}, 12};
        if (p.motionVector.x == 0 && p.motionVector.y == 0) continue;
        const int fx = p.motionVector.x & 3, fy = p.motionVector.y & 3;
        const int ix = p.blockPos.x + (p.motionVector.x >> 2), iy = p.blockPos.y + (p.motionVector.y >> 2);
        const int rx = ix - (fx ? 2 : 0), ry = iy - (fy ? 2 : 0);
        const bool bothX = rx < 0 && pl.w < rx + w + (fx ? 5 : 0);
        const bool bothY = ry < 0 && pl.h < ry + h + (fy ? 5 : 0);
        twoSided += bothX || bothY;
        auto S = [&](int x, int y) {
            x = bothX ? std::max(x, 0) : clampi(x, 0, pl.w - 1);
            y = bothY ? std::max(y, 0) : clampi(y, 0, pl.h - 1);
            return pl.raw(x, y);
        };
        ASSERT_EQ(lumaBlock<T>(&p), ZubStatusOk);
        ASSERT_TRUE(sameAs(d.data(), 16, w, h, [&](int x, int y) {
            return lumaModel(S, ix + x, iy + y, fx, fy, maxOf<T>(12));
        })) << "mv " << p.motionVector.x << "," << p.motionVector.y << " pos " << p.blockPos.x << ","
            << p.blockPos.y;
        // Chroma: the 16-wide footprint exceeds the 10-sample frame in the same way.
        p.blockSize = {14, h};
        const int cfx = p.motionVector.x & 7, cfy = p.motionVector.y & 7;
        const int cx = p.blockPos.x + (p.motionVector.x >> 3), cy = p.blockPos.y + (p.motionVector.y >> 3);
        const bool cbx = cx < 0 && pl.w < cx + 14 + (cfx != 0), cby = cy < 0 && pl.h < cy + h + (cfy != 0);
        auto C = [&](int x, int y) {
            x = cbx ? std::max(x, 0) : clampi(x, 0, pl.w - 1);
            y = cby ? std::max(y, 0) : clampi(y, 0, pl.h - 1);
            return pl.raw(x, y);
        };
        ASSERT_EQ(chromaBlock<T>(&p), ZubStatusOk);
        for (const T* out : {d.data(), d2.data()})
            ASSERT_TRUE(sameAs(out, 16, 14, h, [&](int x, int y) { return chromaModel(C, cx + x, cy + y, cfx, cfy); }))
                << "chroma mv " << p.motionVector.x << "," << p.motionVector.y;
    }
    EXPECT_GT(twoSided, 100);
}

// A record the Block functions never make (footprint larger than the block
// plus the six-tap margin, or a kernel index or edge code out of range) is
// left alone instead of overrunning the local buffer or the tables.
TEST(InterpBoundary, InconsistentRecordLeftAlone) {
    std::mt19937 rng(12);
    Plane<Zub8u> pl(64, 64, 8, rng, 255);
    std::vector<Zub8u> d(16 * 16, 9);
    InterpolationKernelRecord ok{};
    ok.src = pl.origin();
    ok.srcStep = pl.stride;
    ok.dst = d.data();
    ok.dstStep = 16;
    ok.width = 16;
    ok.height = 16;
    ok.kernelIndex = 10;
    ok.readX = -3;
    ok.readY = 4;
    ok.readWidth = 21;
    ok.readHeight = 21;
    ok.frameWidth = 64;
    ok.frameHeight = 64;
    auto run = [&](auto edit, bool luma, int flags) {
        InterpolationKernelRecord r = ok;
        edit(r);
        std::fill(d.begin(), d.end(), Zub8u{9});
        EXPECT_EQ(luma ? zubiInterpolateBoundaryLumaBlock_H264_8u(flags, &r)
                       : zubiInterpolateBoundaryChromaBlock_H264_8u(flags, &r),
                  ZubStatusOk);
        return std::all_of(d.begin(), d.end(), [](Zub8u v) { return v == 9; });
    };
    using R = InterpolationKernelRecord&;
    EXPECT_FALSE(run([](R) {}, true, 1));  // the consistent record is interpolated
    EXPECT_TRUE(run([](R r) { r.readHeight = 48; }, true, 1));
    EXPECT_TRUE(run([](R r) { r.readHeight = 200; r.height = 40; }, true, 1));
    EXPECT_TRUE(run([](R r) { r.readWidth = 100; }, true, 1));
    EXPECT_TRUE(run([](R r) { r.readWidth = -40; }, true, 1));
    EXPECT_TRUE(run([](R r) { r.kernelIndex = 16; }, true, 1));
    EXPECT_TRUE(run([](R r) { r.kernelIndex = -1; }, true, 1));
    EXPECT_TRUE(run([](R) {}, true, 16));
    EXPECT_TRUE(run([](R r) { r.kernelIndex = 4; r.srcPlane2 = r.src; r.dstPlane2 = r.dst; }, false, 1));
    EXPECT_FALSE(run([](R r) { r.kernelIndex = 3; r.srcPlane2 = r.src; r.dstPlane2 = r.dst; }, false, 1));
}

// ---- Top / Bottom -----------------------------------------------------------------------

// Blocks around the picture's first and last rows; rows outside the picture
// (random memory) must not be read: the result equals interpolation with the
// row index clamped on that side.
TYPED_TEST(Interp, LumaTopBottomReplicateEdgeRow) {
    using T = TypeParam;
    std::mt19937 rng(10);
    const int bd = sizeof(T) == 1 ? 8 : 11, maxv = maxOf<T>(bd);
    Plane<T> pl(40, 40, 40, rng, maxv);
    std::vector<T> dst(32 * 40);
    const Sz sizes[] = {{16, 16}, {8, 8}, {4, 8}, {16, 8}};
    for (Sz sz : sizes)
        for (int pos = 0; pos < 16; ++pos) {
            const int dx = pos & 3, dy = pos >> 2, x0 = 6;
            for (int y0 = -sz.h - 4; y0 <= 4; ++y0) {  // Top: outPixels = -y0
                ASSERT_EQ(lumaEdge<T>(Top, pl.at(x0, y0), pl.stride, dst.data(), 32, dx, dy, -y0, sz.w, sz.h, bd),
                          ZubStatusOk);
                ASSERT_TRUE(sameAs(dst.data(), 32, sz.w, sz.h, [&](int x, int y) {
                    return lumaModel([&](int u, int v) { return pl.raw(u, std::max(v, 0)); }, x0 + x, y0 + y, dx, dy,
                                     maxv);
                })) << "top pos " << pos << " y0 " << y0 << " size " << sz.w << "x" << sz.h;
            }
            for (int y0 = pl.h - sz.h - 4; y0 <= pl.h + 4; ++y0) {  // Bottom: rows below the last
                const int out = y0 + sz.h - pl.h;
                ASSERT_EQ(lumaEdge<T>(Bottom, pl.at(x0, y0), pl.stride, dst.data(), 32, dx, dy, out, sz.w, sz.h, bd),
                          ZubStatusOk);
                ASSERT_TRUE(sameAs(dst.data(), 32, sz.w, sz.h, [&](int x, int y) {
                    return lumaModel([&](int u, int v) { return pl.raw(u, std::min(v, pl.h - 1)); }, x0 + x, y0 + y,
                                     dx, dy, maxv);
                })) << "bottom pos " << pos << " y0 " << y0 << " size " << sz.w << "x" << sz.h;
            }
        }
    if constexpr (sizeof(T) == 1) {  // 8-bit: widths to 28 and taller blocks, in strips
        for (Sz sz : {Sz{28, 8}, Sz{12, 32}}) {
            ASSERT_EQ(lumaEdge<T>(Top, pl.at(3, -3), pl.stride, dst.data(), 32, 1, 2, 3, sz.w, sz.h, 8), 0);
            EXPECT_TRUE(sameAs(dst.data(), 32, sz.w, sz.h, [&](int x, int y) {
                return lumaModel([&](int u, int v) { return pl.raw(u, std::max(v, 0)); }, 3 + x, y - 3, 1, 2, 255);
            }));
        }
    }
}

TYPED_TEST(Interp, ChromaTopBottomReplicateEdgeRow) {
    using T = TypeParam;
    std::mt19937 rng(11);
    Plane<T> pl(32, 32, 40, rng, maxOf<T>(10));
    std::vector<T> dst(16 * 40);
    const Sz sizes[] = {{8, 8}, {4, 4}, {2, 2}, {8, 16}};
    for (Sz sz : sizes)
        for (int f = 0; f < 64; f += 3) {
            const int dx = f & 7, dy = f >> 3, x0 = 5;
            for (int y0 = -sz.h - 2; y0 <= 0; ++y0) {
                ASSERT_EQ(chromaEdge<T>(Top, pl.at(x0, y0), pl.stride, dst.data(), 16, dx, dy, -y0, sz.w, sz.h), 0);
                ASSERT_TRUE(sameAs(dst.data(), 16, sz.w, sz.h, [&](int x, int y) {
                    return chromaModel([&](int u, int v) { return pl.raw(u, std::max(v, 0)); }, x0 + x, y0 + y, dx, dy);
                })) << "top " << dx << "," << dy << " y0 " << y0;
            }
            for (int y0 = pl.h - sz.h - 3; y0 <= pl.h + 3; ++y0) {
                const int out = y0 + sz.h - pl.h;
                ASSERT_EQ(chromaEdge<T>(Bottom, pl.at(x0, y0), pl.stride, dst.data(), 16, dx, dy, out, sz.w, sz.h), 0);
                ASSERT_TRUE(sameAs(dst.data(), 16, sz.w, sz.h, [&](int x, int y) {
                    return chromaModel([&](int u, int v) { return pl.raw(u, std::min(v, pl.h - 1)); }, x0 + x, y0 + y,
                                       dx, dy);
                })) << "bottom " << dx << "," << dy << " y0 " << y0;
            }
        }
    // Chroma Top takes a negative outPixels as given: its first row is
    // src + outPixels rows.
    ASSERT_EQ(chromaEdge<T>(Top, pl.at(4, 10), pl.stride, dst.data(), 16, 3, 5, -4, 4, 4), 0);
    EXPECT_TRUE(sameAs(dst.data(), 16, 4, 4, [&](int x, int y) {
        return chromaModel(pl.rawSampler(), 4 + x, 6 + y, 3, 5);
    }));
}

}  // namespace
