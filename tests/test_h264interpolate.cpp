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

// Luma (quarter-sample dx, dy) or chroma (eighth-sample, equation 8-270).
int model(bool luma, const Sampler& S, int x, int y, int dx, int dy, int maxv) {
    if (luma) return lumaModel(S, x, y, dx, dy, maxv);
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
};

template <class T> constexpr int maxOf(int bitDepth) { return sizeof(T) == 1 ? 255 : (1 << bitDepth) - 1; }

// ---- uniform wrappers over the 8u and 16u interfaces -----------------------------

// The C1R (edge -1), Top (0) and Bottom (1) functions of luma or chroma.
template <class T>
ZubStatus interp(bool luma, int edge, const T* s, int ss, T* d, int ds, int dx, int dy, int out, int w, int h,
                 int bd) {
    if constexpr (sizeof(T) == 1) {
        using Edge = ZubStatus (*)(const Zub8u*, int, Zub8u*, int, int, int, int, ZubSize);
        static const Edge kEdge[2][2] = {
            {zubiInterpolateLumaTop_H264_8u_C1R, zubiInterpolateLumaBottom_H264_8u_C1R},
            {zubiInterpolateChromaTop_H264_8u_C1R, zubiInterpolateChromaBottom_H264_8u_C1R}};
        const ZubSize z{w, h};
        if (edge >= 0) return kEdge[!luma][edge](s, ss, d, ds, dx, dy, out, z);
        return (luma ? zubiInterpolateLuma_H264_8u_C1R : zubiInterpolateChroma_H264_8u_C1R)(s, ss, d, ds, dx, dy, z);
    } else {
        using Edge = ZubStatus (*)(const H264InterpolationParams_16u*, int);
        static const Edge kEdge[2][2] = {
            {zubiInterpolateLumaTop_H264_16u_C1R, zubiInterpolateLumaBottom_H264_16u_C1R},
            {zubiInterpolateChromaTop_H264_16u_C1R, zubiInterpolateChromaBottom_H264_16u_C1R}};
        const H264InterpolationParams_16u p{s, ss, d, ds, dx, dy, w, h, bd};
        if (edge >= 0) return kEdge[!luma][edge](&p, out);
        return (luma ? zubiInterpolateLuma_H264_16u_C1R : zubiInterpolateChroma_H264_16u_C1R)(&p);
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

struct Sz { int w, h; };

// A C1R, Top or Bottom call for a w x h block at (x0, y0) of the plane
// against the model over S; nothing may be written right of the first row.
template <class T>
::testing::AssertionResult interpMatches(bool luma, int edge, Plane<T>& pl, int x0, int y0, int dx, int dy, int out,
                                         Sz sz, int bd, const Sampler& S) {
    std::vector<T> dst(40 * 40, T{7});
    if (ZubStatus st = interp<T>(luma, edge, pl.at(x0, y0), pl.stride, dst.data(), 40, dx, dy, out, sz.w, sz.h, bd))
        return ::testing::AssertionFailure() << "status " << st;
    if (dst[sz.w] != T{7}) return ::testing::AssertionFailure() << "written past the row";
    return sameAs(dst.data(), 40, sz.w, sz.h,
                  [&](int x, int y) { return model(luma, S, x0 + x, y0 + y, dx, dy, maxOf<T>(bd)); });
}

template <class T> class Interp : public ::testing::Test {};
using SampleTypes = ::testing::Types<Zub8u, Zub16u>;
TYPED_TEST_SUITE(Interp, SampleTypes);

template <class T>
const std::vector<int> kBitDepths = sizeof(T) == 1 ? std::vector<int>{8} : std::vector<int>{8, 9, 10, 11, 12, 13, 14};
// Every size each member accepts (16u luma: not 4x16 or 16x4).
template <class T> std::vector<Sz> sizes(bool luma) {
    static const std::vector<int> kW[2][2] = {{{2, 4, 6, 8, 10, 12, 14}, {4, 8, 12, 16, 20, 24, 28}},
                                              {{2, 4, 8, 16}, {4, 8, 16}}};
    static const std::vector<int> kH[2][2] = {{{2, 4, 6, 8, 16, 18}, {4, 8, 12, 16, 20, 32}},
                                              {{2, 4, 8, 16}, {4, 8, 16}}};
    std::vector<Sz> v;
    for (int w : kW[sizeof(T) - 1][luma])
        for (int h : kH[sizeof(T) - 1][luma])
            if (!(luma && sizeof(T) == 2 && w + h == 20)) v.push_back({w, h});
    return v;
}

// The 16u integer position copies even values above the bit depth's maximum,
// and the bit depth is not checked: (1 << bitDepth) - 1 holds for 0..30 and
// any other value is taken modulo 32 (31: no saturation, 32: maximum 0).  The
// exported 16u half-sample members, the in-place averages and memset_16u.
TEST(InterpKnown, BitDepthAndExportedHelpers) {
    std::vector<Zub16u> big(32 * 32, 0xFFFF), flat(32 * 32, 1000), out(64);
    for (auto [src, bd, pos, want] : {std::tuple{&big, 10, 0, 0xFFFF}, {&big, 10, 2, 1023}, {&flat, 16, 10, 1000},
                                      {&flat, 30, 15, 1000}, {&flat, 31, 2, 1000}, {&flat, -1, 10, 1000},
                                      {&flat, 32, 15, 0}, {&flat, 40, 2, 255}, {&flat, 40, 10, 255}}) {
        const H264InterpolationParams_16u p{&(*src)[8 * 32 + 8], 32, out.data(), 8, pos & 3, pos >> 2, 8, 8, bd};
        ASSERT_EQ(zubiInterpolateLuma_H264_16u_C1R(&p), ZubStatusOk);
        EXPECT_EQ(out, std::vector<Zub16u>(64, static_cast<Zub16u>(want))) << bd << " " << pos;
    }
    std::mt19937 rng(3);
    Plane<Zub16u> pl(40, 40, 8, rng, 4095);
    std::vector<Zub16u> dst(16 * 16);
    const Sampler S = [&](int x, int y) { return pl.raw(x, y); };
    _zubInterpolate_H2_16u(pl.at(4, 4), dst.data(), pl.stride, 16, 16, 8, 11);  // bit depth 11
    EXPECT_TRUE(sameAs(dst.data(), 16, 16, 8, [&](int x, int y) { return lumaModel(S, 4 + x, 4 + y, 2, 0, 2047); }));
    _zubInterpolate_V2_16u(pl.at(4, 4), dst.data(), pl.stride, 16, 4, 4, 11);
    EXPECT_TRUE(sameAs(dst.data(), 16, 4, 4, [&](int x, int y) { return lumaModel(S, 4 + x, 4 + y, 0, 2, 2047); }));
    for (int k = 0; k < 2; ++k) {  // Avg (source first) and get_average (destination first)
        const std::vector<Zub16u> before = dst;
        if (k) h264_interpolate_luma_get_average_16u_px(dst.data(), 16, pl.at(1, 1), pl.stride, 4, 8);
        else _zubInterpolate_Avg_16u(pl.at(1, 1), dst.data(), pl.stride, 16, 4, 8);
        EXPECT_TRUE(sameAs(dst.data(), 16, 16, 16, [&](int x, int y) {
            return x < 4 && y < 8 ? (before[y * 16 + x] + pl.raw(1 + x, 1 + y) + 1) >> 1 : before[y * 16 + x];
        }));
    }
    Zub8u a[2][4] = {{0, 1, 254, 255}, {1, 1, 255, 0}};
    h264_interpolate_luma_get_average_8u_px(a[0], 4, a[1], 4, 4, 1);
    EXPECT_EQ(std::vector<int>(a[0], a[0] + 4), (std::vector<int>{1, 1, 255, 128}));
    Zub16u m[6] = {1, 1, 1, 1, 1, 1};  // memset_16u fills nothing for a count of zero or below
    memset_16u(m, 0xABCD, 0), memset_16u(m, 0xABCD, -3), memset_16u(m + 1, 0xABCD, 4);
    EXPECT_EQ(std::vector<int>(m, m + 6), (std::vector<int>{1, 0xABCD, 0xABCD, 0xABCD, 0xABCD, 1}));
}

// ---- argument checks ---------------------------------------------------------------

// One check, made on the C1R, Top and Bottom functions alike: `nulls` (1:
// source, 2: destination) and the expected status; an error or an empty block
// writes nothing.
struct Check { bool luma; int nulls, srcStep, dstStep, dx, dy, w, h; ZubStatus want; };
template <class T>
void runCheck(const Check& c) {
    std::vector<T> src(64 * 64), dst(32 * 32);
    for (int edge : {-1, 0, 1}) {
        std::fill(dst.begin(), dst.end(), T{9});
        EXPECT_EQ(interp<T>(c.luma, edge, c.nulls & 1 ? nullptr : &src[64 * 8 + 8], c.srcStep,
                            c.nulls & 2 ? nullptr : dst.data(), c.dstStep, c.dx, c.dy, 1, c.w, c.h, 10), c.want)
            << (sizeof(T) == 2 ? "16u " : "8u ") << (c.luma ? "luma" : "chroma") << " edge " << edge << " " << c.dx
            << "," << c.dy << " " << c.w << "x" << c.h;
        EXPECT_TRUE((c.want == ZubStatusOk && c.w != 0) || std::count(dst.begin(), dst.end(), T{9}) == 32 * 32);
    }
}

// 8u: null, then fraction, then size (luma widths 4..28 in fours with 4x16,
// heights in fours; chroma even widths to 14); steps are not looked at.
// 16u: null, then steps (chroma: at least 8 even for a 2-wide block), then
// fractions, then sizes (luma 4/8/16 without 4x16 and 16x4, chroma 2/4/8/16).
TEST(InterpChecks, C1RTopBottom) {
    constexpr ZubStatus N = ZubStatusNullPointer, A = ZubStatusBadArgument, S = ZubStatusBadSize, K = ZubStatusOk,
                        P = ZubStatusBadStep;
    constexpr bool L = true, C = false;
    const Check k8u[] = {
        {L, 1, 64, 32, 9, 0, 3, 3, N}, {L, 2, 64, 32, 0, 0, 4, 4, N}, {L, 0, 64, 32, 4, 0, 3, 3, A},
        {L, 0, 64, 32, 0, -1, 4, 4, A}, {L, 0, 64, 32, 0, 0, 4, 6, S}, {L, 0, 64, 32, 0, 0, 2, 4, S},
        {L, 0, 64, 32, 0, 0, 32, 4, S}, {L, 0, 64, 32, 0, 0, -4, 4, S}, {L, 0, 0, 0, 3, 3, 12, 12, K},
        {L, 0, 64, 32, 1, 2, 4, 16, K}, {L, 0, 64, 32, 2, 0, 0, 4, K}, {C, 1, 32, 32, 8, 0, 3, 3, N},
        {C, 0, 32, 32, 8, 0, 3, 3, A}, {C, 0, 32, 32, 0, -1, 2, 2, A}, {C, 0, 32, 32, 7, 7, 2, 3, S},
        {C, 0, 32, 32, 0, 0, 16, 2, S}, {C, 0, 32, 32, 0, 0, 1, 2, S}, {C, 0, 1, 1, 0, 0, 6, 10, K}};
    const Check k16u[] = {
        {L, 1, 0, 32, 1, 1, 8, 8, N}, {L, 2, 64, 32, 1, 1, 8, 8, N}, {L, 0, 7, 32, 9, 1, 8, 8, P},
        {L, 0, 64, 4, 1, 1, 8, 8, P}, {L, 0, 64, 32, 4, 1, 8, 3, A}, {L, 0, 64, 32, 1, -1, 8, 8, A},
        {L, 0, 64, 32, 1, 1, 8, 12, S}, {L, 0, 64, 32, 1, 1, 2, 8, S}, {L, 0, 64, 32, 1, 1, 4, 16, S},
        {L, 0, 64, 32, 1, 1, 16, 4, S}, {L, 0, 64, 32, 1, 1, 16, 16, K}, {C, 1, 64, 32, 1, 1, 2, 2, N},
        {C, 0, 7, 32, 8, 1, 2, 2, P}, {C, 0, 64, 7, 1, 1, 2, 2, P}, {C, 0, 64, 32, 8, 1, 3, 2, A},
        {C, 0, 64, 32, 1, -1, 2, 2, A}, {C, 0, 64, 32, 1, 1, 2, 6, S}, {C, 0, 64, 32, 1, 1, 32, 2, S},
        {C, 0, 64, 32, 1, 1, 16, 16, K}};
    for (const Check& c : k8u) runCheck<Zub8u>(c);
    for (const Check& c : k16u) runCheck<Zub16u>(c);
    EXPECT_EQ(zubiInterpolateLuma_H264_16u_C1R(nullptr), ZubStatusNullPointer);
    EXPECT_EQ(zubiInterpolateLumaBottom_H264_16u_C1R(nullptr, 1), ZubStatusNullPointer);
}

// Block: null record and planes (luma: plane 0 only), then sizes (4x16 is
// fine for 16u too); nothing about the frame is checked (a zero vector never
// looks at it).
TYPED_TEST(Interp, BlockChecks) {
    using T = TypeParam;
    std::vector<T> plane(64 * 64, 5), out(64 * 64, 9), out2(64 * 64, 9);
    const H264BlockInterpolationParams ok{{plane.data(), plane.data()}, 64, {out.data(), out2.data()}, 64,
                                          {64, 64}, {8, 8}, {8, 8}, {3, 5}, 10};
    using P = H264BlockInterpolationParams&;
    auto run = [&](bool luma, auto edit) { auto p = ok; edit(p); return block<T>(luma, &p); };
    EXPECT_TRUE(block<T>(true, nullptr) == ZubStatusNullPointer && block<T>(false, nullptr) == ZubStatusNullPointer);
    EXPECT_EQ(run(true, [](P p) { p.srcPlane[0] = nullptr, p.blockSize.height = 3; }), ZubStatusNullPointer);
    EXPECT_EQ(run(true, [](P p) { p.dstPlane[0] = nullptr; }), ZubStatusNullPointer);
    EXPECT_EQ(run(true, [](P p) { p.srcPlane[1] = nullptr, p.dstPlane[1] = nullptr; }), ZubStatusOk);
    EXPECT_EQ(run(false, [](P p) { p.srcPlane[1] = nullptr, p.blockSize.height = 3; }), ZubStatusNullPointer);
    EXPECT_EQ(run(false, [](P p) { p.dstPlane[1] = nullptr; }), ZubStatusNullPointer);
    std::fill(out.begin(), out.end(), 9);
    EXPECT_EQ(run(true, [](P p) { p.blockSize.height = 6; }), ZubStatusBadSize);
    EXPECT_EQ(run(true, [](P p) { p.blockSize.width = 32; }), ZubStatusBadSize);
    EXPECT_EQ(run(false, [](P p) { p.blockSize.height = 3; }), ZubStatusBadSize);
    EXPECT_EQ(run(false, [](P p) { p.blockSize.width = 16; }), ZubStatusBadSize);
    EXPECT_EQ(std::count(out.begin(), out.end(), T{9}), 64 * 64);
    EXPECT_EQ(run(true, [](P p) { p.blockSize = {4, 16}; }), ZubStatusOk);
    EXPECT_EQ(run(true, [](P p) { p.blockSize = {12, 12}, p.frameSize = {-5, 0}, p.motionVector = {0, 0}; }), 0);
    EXPECT_EQ(run(false, [](P p) { p.blockSize = {14, 2}, p.frameSize = {0, 0}, p.motionVector = {0, 0}; }), 0);
}

// ---- reads through the boundary ---------------------------------------------------
// The Block test below meets every edge code through the Block functions.
// Called directly, a code naming both edges of an axis also takes footprints
// that cross one edge or none and clamps the side given by sign (readX = 0 is
// not left of the frame, readY = 0 not above it); a footprint wholly outside
// takes the nearest row or column; code 0 reads nothing.  Nothing is written
// outside the footprint.
TEST(InterpReaders, TwoSidedBySignAndWhollyOutside) {
    std::mt19937 rng(5);
    Plane<Zub8u> pl(20, 20, 40, rng, 255);
    std::vector<Zub8u> buf(32 * 32);
    auto side = [](int v, int start, bool clamp) { return !clamp ? v : start < 0 ? std::max(v, 0) : std::min(v, 19); };
    // Edge code, readX, readY, readWidth, readHeight.
    const int kReads[][5] = {{15, 17, -2, 6, 6}, {3, 0, 4, 26, 4}, {12, 4, 0, 4, 26}, {15, 0, 0, 26, 26},
                             {15, -3, 25, 6, 6}, {4, 2, -6, 4, 6}, {1, -9, 3, 5, 2}, {0, 0, 0, 4, 4}};
    for (auto [code, x, y, w, h] : kReads) {
        std::fill(buf.begin(), buf.end(), Zub8u{3});
        InterpolationKernelRecord r{};
        r.src = pl.origin(), r.srcStep = pl.stride, r.dst = buf.data(), r.dstStep = 32;
        r.readX = x, r.readY = y, r.readWidth = w, r.readHeight = h, r.frameWidth = r.frameHeight = 20;
        EXPECT_EQ(zubiReadDataBlockThroughBoundary_8u(code, &r), ZubStatusOk);
        EXPECT_TRUE(sameAs(buf.data(), 32, 32, 32, [&](int c, int rr) {
            if (!code || c >= w || rr >= h) return 3;
            return pl.raw(side(x + c, x, code & 3), side(y + rr, y, code & 12));
        })) << "code " << code << " read " << x << "," << y << " " << w << "x" << h;
    }
}

// ---- Block functions ----------------------------------------------------------------

const Sz kLumaParts[] = {{16, 16}, {16, 8}, {8, 16}, {8, 8}, {8, 4}, {4, 8}, {4, 4}, {12, 12}, {28, 8}, {16, 32}};
const Sz kChromaParts[] = {{8, 8}, {8, 4}, {4, 8}, {4, 4}, {4, 2}, {2, 4}, {2, 2}, {14, 6}, {8, 32}};

// Random positions and vectors, many pointing far outside on every side and
// corner: the result equals interpolation from the edge-replicated plane,
// except on an axis whose footprint is wider or taller than the frame and so
// crosses both edges: there only the near side is replicated and the far side
// comes from the memory beyond the frame.  Footprints taller than a macroblock
// are read in strips that must keep the whole footprint's choice of side.  A
// zero vector copies the block in place with no boundary test, even outside
// the frame.
TYPED_TEST(Interp, BlockAgainstReplicatedPlane) {
    using T = TypeParam;
    std::mt19937 rng(6);
    auto pick = [&](int lo, int hi) { return lo + static_cast<int>(rng() % static_cast<unsigned>(hi - lo + 1)); };
    for (bool luma : {true, false}) {
        const int sh = luma ? 2 : 3, mask = luma ? 3 : 7;
        const std::vector<int> depths = luma ? kBitDepths<T> : std::vector<int>{14};
        int hits[16] = {}, twoSided = 0;
        for (int bd : depths) {
            Plane<T> u(64, 48, 48, rng, maxOf<T>(bd)), v(64, 48, 48, rng, maxOf<T>(bd));
            std::vector<T> du(40 * 40), dv(40 * 40);
            for (int trial = 0; trial < (luma ? 2800 : 6000) / static_cast<int>(depths.size()); ++trial) {
                // Odd trials: a 10 x 9 frame in the same memory, crossed on both sides by tall blocks.
                const bool small = trial % 2;
                const int fw = small ? 10 : 64, fh = small ? 9 : 48, far = small ? 16 : trial % 3 == 0 ? 2000 : 400;
                const Sz sz = small ? Sz{luma ? 16 : 14, 8 << (trial / 2 % 3)}
                              : luma ? kLumaParts[rng() % std::size(kLumaParts)]
                                     : kChromaParts[rng() % std::size(kChromaParts)];
                if (sizeof(T) == 2 && sz.w > 16) continue;
                H264BlockInterpolationParams p{{u.origin(), v.origin()}, u.stride, {du.data(), dv.data()}, 40,
                                               {fw, fh}, {sz.w, sz.h},
                                               {small ? pick(-4, 4) : pick(-8, fw + 7),
                                                small ? pick(-4, 4) : pick(-8, fh + 7)},
                                               {pick(-far, far), pick(-far, far)}, bd};
                if (small && trial % 32 == 1) p.motionVector = {0, 0};  // the block overlaps the frame's corner
                const bool zero = p.motionVector.x == 0 && p.motionVector.y == 0;
                const int fx = p.motionVector.x & mask, fy = p.motionVector.y & mask;
                const int ix = p.blockPos.x + (p.motionVector.x >> sh), iy = p.blockPos.y + (p.motionVector.y >> sh);
                const int rx = ix - (luma && fx ? 2 : 0), rw = sz.w + (fx ? (luma ? 5 : 1) : 0);
                const int ry = iy - (luma && fy ? 2 : 0), rh = sz.h + (fy ? (luma ? 5 : 1) : 0);
                const int flags = (rx < 0) | (fw < rx + rw) << 1 | (ry < 0) << 2 | (fh < ry + rh) << 3;
                hits[flags] += !zero;
                twoSided += !zero && ((flags & 3) == 3 || (flags & 12) == 12);
                std::fill(du.begin(), du.end(), T{1}), std::fill(dv.begin(), dv.end(), T{1});
                ASSERT_EQ(block<T>(luma, &p), ZubStatusOk);
                for (int k = 0; k < (luma ? 1 : 2); ++k) {
                    Plane<T>& pl = k ? v : u;
                    const T* d = k ? dv.data() : du.data();
                    const Sampler S = [&](int x, int y) {
                        return zero ? pl.raw(x, y) : pl.raw((flags & 3) == 3 ? std::max(x, 0) : clampi(x, 0, fw - 1),
                                                            (flags & 12) == 12 ? std::max(y, 0) : clampi(y, 0, fh - 1));
                    };
                    ASSERT_TRUE(sameAs(d, 40, sz.w, sz.h, [&](int x, int y) {
                        return model(luma, S, ix + x, iy + y, fx, fy, maxOf<T>(bd));
                    })) << (luma ? "luma" : "chroma") << " pos " << p.blockPos.x << "," << p.blockPos.y << " mv "
                        << p.motionVector.x << "," << p.motionVector.y << " size " << sz.w << "x" << sz.h << " frame "
                        << fw << "x" << fh << " bit depth " << bd;
                    ASSERT_TRUE(d[sz.w] == T{1} && d[40 * sz.h] == T{1}) << "written outside the block";
                }
            }
        }
        EXPECT_GT(twoSided, 100) << luma;
        for (int f : {0, 1, 2, 4, 5, 6, 8, 9, 10}) EXPECT_GT(hits[f], 0) << luma << " flags " << f;
    }
}

// A record the Block functions never make (footprint larger than the block
// plus the six-tap margin, or a kernel index or edge code out of range) is
// left alone instead of overrunning the local buffer or the tables.
TEST(InterpBoundary, InconsistentRecordLeftAlone) {
    std::mt19937 rng(12);
    Plane<Zub8u> pl(64, 64, 8, rng, 255);
    std::vector<Zub8u> d(16 * 16);
    using R = InterpolationKernelRecord;
    R ok{};
    ok.src = ok.srcPlane2 = pl.origin(), ok.srcStep = pl.stride, ok.dst = ok.dstPlane2 = d.data(), ok.dstStep = 16;
    ok.width = ok.height = 16, ok.kernelIndex = 10, ok.readX = -3, ok.readY = 4, ok.readWidth = ok.readHeight = 21;
    ok.frameWidth = ok.frameHeight = 64;
    const struct { bool luma; int flags, R::*field, value; bool used; } cases[] = {
        {true, 1, &R::width, 16, true},         {true, 1, &R::readHeight, 48, false},
        {true, 1, &R::readWidth, 100, false},   {true, 1, &R::readWidth, -40, false},
        {true, 1, &R::kernelIndex, 16, false},  {true, 1, &R::kernelIndex, -1, false},
        {true, 16, &R::width, 16, false},       {false, 1, &R::kernelIndex, 4, false},
        {false, 1, &R::kernelIndex, 3, true}};
    for (const auto& c : cases) {
        R r = ok;
        r.*c.field = c.value;
        std::fill(d.begin(), d.end(), Zub8u{9});
        const auto fn = c.luma ? zubiInterpolateBoundaryLumaBlock_H264_8u : zubiInterpolateBoundaryChromaBlock_H264_8u;
        EXPECT_EQ(fn(c.flags, &r), ZubStatusOk);
        EXPECT_EQ(std::count(d.begin(), d.end(), Zub8u{9}) != 256, c.used) << "case " << &c - cases;
    }
}

// ---- C1R, Top and Bottom against the model --------------------------------------------
// C1R: every position at every size and bit depth, the plane read as it is.
// Top / Bottom: blocks around the picture's first and last rows; rows outside
// the picture (random memory) must not be read: the result equals
// interpolation with the row index clamped on that side (Top: outPixels = -y0;
// Bottom: the rows below the last).  8-bit luma also takes widths to 28 and
// blocks taller than 16 rows, in strips.
TYPED_TEST(Interp, C1RTopBottomAgainstModel) {
    using T = TypeParam;
    std::mt19937 rng(1);
    for (int bd : kBitDepths<T>) {
        Plane<T> pl(48, 48, 40, rng, maxOf<T>(bd));
        const Sampler raw = [&](int x, int y) { return pl.raw(x, y); };
        for (bool luma : {true, false}) {
            const int n = luma ? 4 : 8;
            for (Sz sz : sizes<T>(luma))
                for (int pos = 0; pos < n * n; ++pos)
                    ASSERT_TRUE(interpMatches(luma, -1, pl, 3, 5, pos % n, pos / n, 0, sz, bd, raw))
                        << (luma ? "luma" : "chroma") << " bit depth " << bd << " position " << pos % n << ","
                        << pos / n << " size " << sz.w << "x" << sz.h;
            if (bd != (sizeof(T) == 1 ? 8 : 11)) continue;
            std::vector<Sz> szs = luma ? std::vector<Sz>{{16, 16}, {8, 8}, {4, 8}, {16, 8}}
                                       : std::vector<Sz>{{8, 8}, {4, 4}, {2, 2}, {8, 16}};
            if (luma && sizeof(T) == 1) szs.insert(szs.end(), {{28, 8}, {12, 32}});
            for (Sz sz : szs)
                for (int pos = 0; pos < n * n; pos += luma ? 1 : 3)
                    for (int edge : {0, 1})
                        for (int k = luma ? -4 : (edge == 0 ? 0 : -3); k <= sz.h + (luma ? 4 : 3 - (edge == 0)); ++k) {
                            const int y0 = edge == 0 ? -k : pl.h - sz.h + k;
                            const Sampler S = [&](int u, int v) {
                                return pl.raw(u, edge == 0 ? std::max(v, 0) : std::min(v, pl.h - 1));
                            };
                            ASSERT_TRUE(interpMatches(luma, edge, pl, 6, y0, pos % n, pos / n,
                                                      edge == 0 ? k : y0 + sz.h - pl.h, sz, bd, S))
                                << (luma ? "luma" : "chroma") << (edge ? " bottom" : " top") << " position " << pos
                                << " y0 " << y0 << " size " << sz.w << "x" << sz.h;
                        }
        }
    }
    // Chroma Top takes a negative outPixels as given: its first row is src + outPixels rows.
    Plane<T> pl(16, 16, 8, rng, maxOf<T>(10));
    EXPECT_TRUE(
        interpMatches(false, 0, pl, 4, 10, 3, 5, -4, Sz{4, 4}, 10, [&](int u, int v) { return pl.raw(u, v - 4); }));
}

}  // namespace
