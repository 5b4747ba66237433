// H.264 intra prediction of 8-bit samples, in place inside the picture:
// Intra_4x4 luma (clause 8.3.1.2), Intra_16x16 luma (clause 8.3.3) and 4:2:0
// chroma (clause 8.3.4).  The row above is read at minus one step, the left
// column at minus one byte; a neighbour whose availability flag is clear is
// never read.
#include <bit>
#include <cstdint>
#include <cstring>

#include "zubvc.h"

namespace {

constexpr int kTop = ZubIntraAvailTop;
constexpr int kLeft = ZubIntraAvailLeft;
constexpr int kTopLeft = ZubIntraAvailTopLeft;
constexpr int kTopRight = ZubIntraAvailTopRight;
constexpr int kMissing = 128;  // value of a substituted 4x4 neighbour, and DC without neighbours

inline uint32_t load4(const Zub8u* p) {
    uint32_t w;
    std::memcpy(&w, p, 4);
    return w;
}
inline void store4(Zub8u* p, uint32_t w) { std::memcpy(p, &w, 4); }
constexpr uint32_t splat4(unsigned v) { return v * 0x01010101u; }
constexpr uint64_t splat8(unsigned v) { return v * 0x0101010101010101ull; }
inline void store8(Zub8u* p, uint64_t w) { std::memcpy(p, &w, 8); }

// ---------------------------------------------------------------------------
// Intra_4x4.  Each mode writes its four rows as 32-bit words.  The
// directional modes filter the whole edge at once, eight samples to a 64-bit
// word ("lanes": lane i is bits 8i..8i+7), with the byte-average identities
//     (a + b) >> 1     = (a & b) + (((a ^ b) & 0xFE) >> 1)
//     (a + b + 1) >> 1 = (a | b) - (((a ^ b) & 0xFE) >> 1)
//     (a + 2b + c + 2) >> 2 = (b + ((a + c) >> 1) + 1) >> 1
// which carry nothing between lanes; every row is then four lanes of one or
// two filtered words.

constexpr uint64_t kLaneHigh7 = 0xFEFEFEFEFEFEFEFEull;
constexpr uint64_t avgDown(uint64_t a, uint64_t b) { return (a & b) + (((a ^ b) & kLaneHigh7) >> 1); }
constexpr uint64_t avgUp(uint64_t a, uint64_t b) { return (a | b) - (((a ^ b) & kLaneHigh7) >> 1); }
constexpr uint64_t tap3(uint64_t a, uint64_t b, uint64_t c) { return avgUp(b, avgDown(a, c)); }

// Lanes in memory order: lane 0 is the sample at the lowest address.
inline uint32_t loadLanes(const Zub8u* p) {
    uint32_t w = load4(p);
    if constexpr (std::endian::native == std::endian::big) w = __builtin_bswap32(w);
    return w;
}
inline void storeLanes(Zub8u* p, uint64_t lanes) {
    uint32_t w = static_cast<uint32_t>(lanes);
    if constexpr (std::endian::native == std::endian::big) w = __builtin_bswap32(w);
    store4(p, w);
}
constexpr uint32_t lane(uint64_t v, int i) { return static_cast<uint32_t>(v >> (8 * i)) & 0xFF; }

// Lanes 0..3 of a and b interleaved: a0 b0 a1 b1 a2 b2 a3 b3.
constexpr uint64_t interleave(uint64_t a, uint64_t b) {
    auto spread = [](uint64_t x) {
        x &= 0xFFFFFFFFull;
        x = (x | x << 16) & 0x0000FFFF0000FFFFull;
        return (x | x << 8) & 0x00FF00FF00FF00FFull;
    };
    return spread(a) | spread(b) << 8;
}

// The word moved down by one lane, the top lane repeating `fill`.
constexpr uint64_t next(uint64_t v, uint32_t fill) { return (v >> 8) | uint64_t{fill} << 56; }

// p[x,-1] for x = 0..7.  A missing row above is 128; missing above-right
// samples repeat p[3,-1] (clause 8.3.1.2, "substituted").
inline uint64_t topLanes(const Zub8u* d, int s, int avail) {
    const uint32_t lo = (avail & kTop) ? loadLanes(d - s) : splat4(kMissing);
    const uint32_t hi = (avail & kTopRight) ? loadLanes(d - s + 4) : splat4(lo >> 24);
    return lo | uint64_t{hi} << 32;
}

// p[-1,y] for y = 0..3 in lanes 0..3.
inline uint32_t leftLanes(const Zub8u* d, int s, int avail) {
    if (!(avail & kLeft)) return splat4(kMissing);
    return d[-1] | d[s - 1] << 8 | d[2 * s - 1] << 16 | static_cast<uint32_t>(d[3 * s - 1]) << 24;
}

inline uint32_t corner(const Zub8u* d, int s, int avail) { return (avail & kTopLeft) ? d[-s - 1] : kMissing; }

inline ZubStatus warnUnless(int avail, int needed) {
    return (avail & needed) == needed ? ZubStatusOk : ZubStatusNeighbourSubstitutedWarning;
}

inline void rows(Zub8u* d, int s, uint64_t r0, uint64_t r1, uint64_t r2, uint64_t r3) {
    storeLanes(d, r0);
    storeLanes(d + s, r1);
    storeLanes(d + 2 * s, r2);
    storeLanes(d + 3 * s, r3);
}

inline void rowsSame(Zub8u* d, int s, uint32_t w) {
    store4(d, w);
    store4(d + s, w);
    store4(d + 2 * s, w);
    store4(d + 3 * s, w);
}

// Clause 8.3.1.2.1: pred[x,y] = p[x,-1].
ZubStatus pred4Vertical(Zub8u* d, int s, int avail) {
    rowsSame(d, s, (avail & kTop) ? load4(d - s) : splat4(kMissing));
    return warnUnless(avail, kTop);
}

// Clause 8.3.1.2.2: pred[x,y] = p[-1,y].
ZubStatus pred4Horizontal(Zub8u* d, int s, int avail) {
    if (!(avail & kLeft)) {
        rowsSame(d, s, splat4(kMissing));
        return ZubStatusNeighbourSubstitutedWarning;
    }
    store4(d, splat4(d[-1]));
    store4(d + s, splat4(d[s - 1]));
    store4(d + 2 * s, splat4(d[2 * s - 1]));
    store4(d + 3 * s, splat4(d[3 * s - 1]));
    return ZubStatusOk;
}

// Clause 8.3.1.2.3: mean of the available neighbours, 128 without any.
ZubStatus pred4DC(Zub8u* d, int s, int avail) {
    int sum = 0, groups = 0;
    if (avail & kTop) {
        const Zub8u* a = d - s;
        sum += a[0] + a[1] + a[2] + a[3];
        ++groups;
    }
    if (avail & kLeft) {
        sum += d[-1] + d[s - 1] + d[2 * s - 1] + d[3 * s - 1];
        ++groups;
    }
    const int shift = groups + 1;  // mean of 4 or 8 samples
    const int dc = groups ? (sum + (1 << (shift - 1))) >> shift : kMissing;
    rowsSame(d, s, splat4(static_cast<unsigned>(dc)));
    return ZubStatusOk;
}

// Clause 8.3.1.2.4: lane i of f is (p[i] + 2 p[i+1] + p[i+2] + 2) >> 2 along
// the row above, the last one (p[6] + 3 p[7] + 2) >> 2; row y starts at
// lane y.
ZubStatus pred4DiagDownLeft(Zub8u* d, int s, int avail) {
    const uint64_t t = topLanes(d, s, avail);
    const uint32_t t7 = lane(t, 7);
    const uint64_t t1 = next(t, t7);
    const uint64_t f = tap3(t, t1, next(t1, t7));
    rows(d, s, f, f >> 8, f >> 16, f >> 24);
    return warnUnless(avail, kTop);
}

// Clause 8.3.1.2.8: rows 0 and 2 two-tap averages, rows 1 and 3 three-tap
// filters of the row above, the lower pair one sample further along.
ZubStatus pred4VerticalLeft(Zub8u* d, int s, int avail) {
    const uint64_t t = topLanes(d, s, avail);
    const uint32_t t7 = lane(t, 7);
    const uint64_t t1 = next(t, t7);
    const uint64_t g = avgUp(t, t1);
    const uint64_t f = tap3(t, t1, next(t1, t7));
    rows(d, s, g, f, g >> 8, f >> 8);
    return warnUnless(avail, kTop);
}

// The edge from the bottom of the left column over the corner to the row
// above, e = p[-1,3] p[-1,2] p[-1,1] p[-1,0] p[-1,-1] p[0,-1] p[1,-1] p[2,-1]
// (then p[3,-1]), and its filtered runs: f lane i is the three-tap filter
// centred on e[i+1], g lane i the two-tap average of e[i] and e[i+1].
struct EdgeRuns {
    uint64_t f, g;
};
inline EdgeRuns edgeRuns(const Zub8u* d, int s, int avail) {
    const uint32_t l = leftLanes(d, s, avail);
    const uint32_t t = (avail & kTop) ? loadLanes(d - s) : splat4(kMissing);
    const uint32_t t3 = t >> 24;
    const uint64_t e = __builtin_bswap32(l) | uint64_t{corner(d, s, avail)} << 32 | uint64_t{t & 0xFFFFFF} << 40;
    const uint64_t e1 = next(e, t3);
    return {tap3(e, e1, next(e1, t3)), avgUp(e, e1)};
}

// Clause 8.3.1.2.5: pred[x,y] depends on x - y only; row y is f from lane 3 - y.
ZubStatus pred4DiagDownRight(Zub8u* d, int s, int avail) {
    const uint64_t f = edgeRuns(d, s, avail).f;
    rows(d, s, f >> 24, f >> 16, f >> 8, f);
    return warnUnless(avail, kTop | kLeft | kTopLeft);
}

// Clause 8.3.1.2.6: even rows are two-tap averages along the row above, odd
// rows three-tap filters; rows 2 and 3 move right by one with a filtered
// left-edge sample in front (zVR = -2, -3).
ZubStatus pred4VerticalRight(Zub8u* d, int s, int avail) {
    const EdgeRuns r = edgeRuns(d, s, avail);
    rows(d, s, r.g >> 32, r.f >> 24, lane(r.f, 2) | (r.g >> 32) << 8, lane(r.f, 1) | (r.f >> 24) << 8);
    return warnUnless(avail, kTop | kLeft | kTopLeft);
}

// Clause 8.3.1.2.7: down the left edge the rows alternate two-tap and
// three-tap values (g and f interleaved); each row is the one below it moved
// left by two, the top row ending with the filtered row above.
ZubStatus pred4HorizontalDown(Zub8u* d, int s, int avail) {
    const EdgeRuns r = edgeRuns(d, s, avail);
    const uint64_t gf = interleave(r.g, r.f);  // g0 f0 g1 f1 g2 f2 g3 f3
    rows(d, s, (gf >> 48) | (r.f >> 32) << 16, gf >> 32, gf >> 16, gf);
    return warnUnless(avail, kTop | kLeft | kTopLeft);
}

// Clause 8.3.1.2.9: zHU = x + 2y walks the left column, alternating two-tap
// and three-tap values; past its end (zHU > 5) the samples repeat p[-1,3].
ZubStatus pred4HorizontalUp(Zub8u* d, int s, int avail) {
    const uint32_t l = leftLanes(d, s, avail);
    const uint32_t l3 = l >> 24;
    const uint64_t e = l | uint64_t{splat4(l3)} << 32;
    const uint64_t e1 = next(e, l3);
    const uint64_t gf = interleave(avgUp(e, e1), tap3(e, e1, next(e1, l3)));
    rows(d, s, gf, gf >> 16, gf >> 32, splat4(l3));
    return warnUnless(avail, kLeft);
}

using Pred4Fn = ZubStatus (*)(Zub8u*, int, int);
constexpr Pred4Fn kPred4x4[9] = {pred4Vertical,     pred4Horizontal,     pred4DC,
                                 pred4DiagDownLeft, pred4DiagDownRight,  pred4VerticalRight,
                                 pred4HorizontalDown, pred4VerticalLeft, pred4HorizontalUp};

// ---------------------------------------------------------------------------
// Intra_16x16 and chroma: N x N blocks, N = 16 or 8.

template <int N>
void fillRows(Zub8u* d, int s, const Zub8u* row) {
    for (int y = 0; y < N; ++y) std::memcpy(d + y * s, row, N);
}

// Vertical (clauses 8.3.3.1, 8.3.4.3): every row copies the row above.
template <int N>
void predVertical(Zub8u* d, int s) {
    Zub8u row[N];
    std::memcpy(row, d - s, N);
    fillRows<N>(d, s, row);
}

// Horizontal (clauses 8.3.3.2, 8.3.4.2): every row repeats its left neighbour.
template <int N>
void predHorizontal(Zub8u* d, int s) {
    for (int y = 0; y < N; ++y) {
        Zub8u* r = d + y * s;
        const uint64_t w = splat8(r[-1]);
        store8(r, w);
        if constexpr (N == 16) store8(r + 8, w);
    }
}

template <int N>
int sumTop(const Zub8u* d, int s) {
    const Zub8u* a = d - s;
    int sum = 0;
    for (int x = 0; x < N; ++x) sum += a[x];
    return sum;
}

template <int N>
int sumLeft(const Zub8u* d, int s) {
    int sum = 0;
    for (int y = 0; y < N; ++y) sum += d[y * s - 1];
    return sum;
}

// Clause 8.3.3.3: mean of the available 16 or 32 neighbours, else 128.
void pred16DC(Zub8u* d, int s, int avail) {
    int dc = kMissing;
    const bool top = avail & kTop, left = avail & kLeft;
    if (top && left) {
        dc = (sumTop<16>(d, s) + sumLeft<16>(d, s) + 16) >> 5;
    } else if (top) {
        dc = (sumTop<16>(d, s) + 8) >> 4;
    } else if (left) {
        dc = (sumLeft<16>(d, s) + 8) >> 4;
    }
    Zub8u row[16];
    std::memset(row, dc, 16);
    fillRows<16>(d, s, row);
}

// Clauses 8.3.4.1-8.3.4.3: the DC of each 4x4 chroma quadrant.  The
// top-left and bottom-right quadrants average both edges; the top-right one
// prefers the row above, the bottom-left one the left column.
void predChromaDC(Zub8u* d, int s, int avail) {
    const bool top = avail & kTop, left = avail & kLeft;
    int q00 = kMissing, q01 = kMissing, q10 = kMissing, q11 = kMissing;
    if (top || left) {
        // The row above is addressed only when it exists: with the left column
        // alone the block may be the first row of the caller's buffer.
        const Zub8u* a = top ? d - s : d;
        const int t0 = top ? a[0] + a[1] + a[2] + a[3] : 0;
        const int t1 = top ? a[4] + a[5] + a[6] + a[7] : 0;
        const int l0 = left ? d[-1] + d[s - 1] + d[2 * s - 1] + d[3 * s - 1] : 0;
        const int l1 = left ? d[4 * s - 1] + d[5 * s - 1] + d[6 * s - 1] + d[7 * s - 1] : 0;
        if (top && left) {
            q00 = (t0 + l0 + 4) >> 3;
            q01 = (t1 + 2) >> 2;
            q10 = (l1 + 2) >> 2;
            q11 = (t1 + l1 + 4) >> 3;
        } else if (top) {
            q00 = q10 = (t0 + 2) >> 2;
            q01 = q11 = (t1 + 2) >> 2;
        } else {
            q00 = q01 = (l0 + 2) >> 2;
            q10 = q11 = (l1 + 2) >> 2;
        }
    }
    Zub8u upper[8], lower[8];
    store4(upper, splat4(static_cast<unsigned>(q00)));
    store4(upper + 4, splat4(static_cast<unsigned>(q01)));
    store4(lower, splat4(static_cast<unsigned>(q10)));
    store4(lower + 4, splat4(static_cast<unsigned>(q11)));
    for (int y = 0; y < 4; ++y) std::memcpy(d + y * s, upper, 8);
    for (int y = 4; y < 8; ++y) std::memcpy(d + y * s, lower, 8);
}

// Plane prediction, clause 8.3.3.4 (N = 16) and clause 8.3.4.4 (N = 8, 4:2:0
// chroma: xCF = yCF = 0).  H and V weigh the differences of the edge samples
// mirrored about the block's centre; p(-1,-1) enters as the last term.
template <int N>
void predPlane(Zub8u* d, int s) {
    constexpr int half = N / 2;
    const Zub8u* a = d - s;
    const Zub8u* c = d - s - 1;  // p(-1,-1); p(-1, y) = c[(y + 1) * s]
    int h = 0, v = 0;
    for (int i = 0; i < half; ++i) {
        h += (i + 1) * (a[half + i] - a[half - 2 - i]);
        v += (i + 1) * (c[(half + 1 + i) * s] - c[(half - 1 - i) * s]);
    }
    const int b = N == 16 ? (5 * h + 32) >> 6 : (17 * h + 16) >> 5;
    const int cv = N == 16 ? (5 * v + 32) >> 6 : (17 * v + 16) >> 5;
    const int base = 16 * (c[N * s] + a[N - 1]) + 16 - (half - 1) * (b + cv);
    // Sample (x, y) is (base + b x + c y) >> 5.  With 8-bit edges |b|, |c| are
    // at most 717 (N = 16) or 1355 (N = 8), so every unshifted value lies
    // within -11472..19648 and the sums are formed in int16_t lanes, which
    // vectorise.  (The row ramp is read-only: GCC 12 -O3 miscompiles the
    // variant that adds c to the ramp in place, row after row.)
    int16_t ramp[N];
    for (int x = 0; x < N; ++x) ramp[x] = static_cast<int16_t>(base + b * x);
    for (int y = 0; y < N; ++y) {
        Zub8u* r = d + y * s;
        const int16_t down = static_cast<int16_t>(cv * y);
        for (int x = 0; x < N; ++x) {
            const int16_t p = static_cast<int16_t>(static_cast<int16_t>(ramp[x] + down) >> 5);
            r[x] = static_cast<Zub8u>(p < 0 ? 0 : (p > 255 ? 255 : p));
        }
    }
}

constexpr int kPlaneNeeds = kTop | kLeft | kTopLeft;

}  // namespace

ZubStatus zubiPredictIntra_4x4_H264_8u_C1IR(Zub8u* pSrcDst, int srcDstStep, int predMode, int availability) {
    if (!pSrcDst) return ZubStatusNullPointer;
    if (srcDstStep < 4) return ZubStatusBadStep;
    if (static_cast<unsigned>(predMode) > 8u) return ZubStatusOutOfRange;
    return kPred4x4[predMode](pSrcDst, srcDstStep, availability);
}

ZubStatus zubiPredictIntra_16x16_H264_8u_C1IR(Zub8u* pSrcDst, int srcDstStep, int predMode, int availability) {
    if (!pSrcDst) return ZubStatusNullPointer;
    if (srcDstStep < 16) return ZubStatusBadStep;
    switch (predMode) {
        case ZubIntra16x16Vertical:
            if (!(availability & kTop)) return ZubStatusNeighbourUnavailable;
            predVertical<16>(pSrcDst, srcDstStep);
            return ZubStatusOk;
        case ZubIntra16x16Horizontal:
            if (!(availability & kLeft)) return ZubStatusNeighbourUnavailable;
            predHorizontal<16>(pSrcDst, srcDstStep);
            return ZubStatusOk;
        case ZubIntra16x16DC:
            pred16DC(pSrcDst, srcDstStep, availability);
            return ZubStatusOk;
        case ZubIntra16x16Plane:
            if ((availability & kPlaneNeeds) != kPlaneNeeds) return ZubStatusNeighbourUnavailable;
            predPlane<16>(pSrcDst, srcDstStep);
            return ZubStatusOk;
        default:
            return ZubStatusOutOfRange;
    }
}

ZubStatus zubiPredictIntraChroma8x8_H264_8u_C1IR(Zub8u* pSrcDst, int srcDstStep, int predMode, int availability) {
    if (!pSrcDst) return ZubStatusNullPointer;
    if (srcDstStep < 8) return ZubStatusBadStep;
    switch (predMode) {
        case ZubIntraChromaDC:
            predChromaDC(pSrcDst, srcDstStep, availability);
            return ZubStatusOk;
        case ZubIntraChromaHorizontal:
            if (!(availability & kLeft)) return ZubStatusNeighbourUnavailable;
            predHorizontal<8>(pSrcDst, srcDstStep);
            return ZubStatusOk;
        case ZubIntraChromaVertical:
            if (!(availability & kTop)) return ZubStatusNeighbourUnavailable;
            predVertical<8>(pSrcDst, srcDstStep);
            return ZubStatusOk;
        case ZubIntraChromaPlane:
            if ((availability & kPlaneNeeds) != kPlaneNeeds) return ZubStatusNeighbourUnavailable;
            predPlane<8>(pSrcDst, srcDstStep);
            return ZubStatusOk;
        default:
            return ZubStatusOutOfRange;
    }
}
