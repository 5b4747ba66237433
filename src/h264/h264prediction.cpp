// H.264 intra prediction of 8-bit samples, in place inside the picture:
// Intra_4x4 luma (clause 8.3.1.2), Intra_16x16 luma (clause 8.3.3) and 4:2:0
// chroma (clause 8.3.4).  The row above is read at minus one step, the left
// column at minus one byte; a neighbour whose availability flag is clear is
// never read.
#include <cstdint>
#include <cstring>

#include "../common/sample.h"
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

// The two- and three-tap filters of clause 8.3.1.2.
constexpr int avg2(int a, int b) { return (a + b + 1) >> 1; }
constexpr int tap3(int a, int b, int c) { return (a + 2 * b + c + 2) >> 2; }

// ---------------------------------------------------------------------------
// Intra_4x4.  Each mode writes its four rows as 32-bit words; the directional
// modes first compute the distinct filtered values into a short byte run in
// which every row is a window of four.

// p[x,-1] for x = 0..7.  A missing row above is 128; missing above-right
// samples repeat p[3,-1] (clause 8.3.1.2, "substituted").
inline void top8(const Zub8u* d, int s, int avail, int t[8]) {
    const Zub8u* a = d - s;
    if (avail & kTop) {
        t[0] = a[0], t[1] = a[1], t[2] = a[2], t[3] = a[3];
    } else {
        t[0] = t[1] = t[2] = t[3] = kMissing;
    }
    if (avail & kTopRight) {
        t[4] = a[4], t[5] = a[5], t[6] = a[6], t[7] = a[7];
    } else {
        t[4] = t[5] = t[6] = t[7] = t[3];
    }
}

// p[x,-1] for x = 0..3.
inline void top4(const Zub8u* d, int s, int avail, int t[4]) {
    const Zub8u* a = d - s;
    if (avail & kTop) {
        t[0] = a[0], t[1] = a[1], t[2] = a[2], t[3] = a[3];
    } else {
        t[0] = t[1] = t[2] = t[3] = kMissing;
    }
}

// p[-1,y] for y = 0..3.
inline void left4(const Zub8u* d, int s, int avail, int l[4]) {
    if (avail & kLeft) {
        l[0] = d[-1], l[1] = d[s - 1], l[2] = d[2 * s - 1], l[3] = d[3 * s - 1];
    } else {
        l[0] = l[1] = l[2] = l[3] = kMissing;
    }
}

inline int corner(const Zub8u* d, int s, int avail) { return (avail & kTopLeft) ? d[-s - 1] : kMissing; }

inline ZubStatus warnUnless(int avail, int needed) {
    return (avail & needed) == needed ? ZubStatusOk : ZubStatusNeighbourSubstitutedWarning;
}

// Writes rows 0..3 from the byte run r at offsets o0..o3.
inline void rowsFrom(Zub8u* d, int s, const Zub8u* r, int o0, int o1, int o2, int o3) {
    store4(d, load4(r + o0));
    store4(d + s, load4(r + o1));
    store4(d + 2 * s, load4(r + o2));
    store4(d + 3 * s, load4(r + o3));
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

// Clause 8.3.1.2.4: row y is the filtered top run from x = y.
ZubStatus pred4DiagDownLeft(Zub8u* d, int s, int avail) {
    int t[8];
    top8(d, s, avail, t);
    Zub8u r[8];
    for (int i = 0; i < 6; ++i) r[i] = static_cast<Zub8u>(tap3(t[i], t[i + 1], t[i + 2]));
    r[6] = static_cast<Zub8u>((t[6] + 3 * t[7] + 2) >> 2);
    r[7] = 0;
    rowsFrom(d, s, r, 0, 1, 2, 3);
    return warnUnless(avail, kTop);
}

// Clause 8.3.1.2.5: pred[x,y] depends on x - y only; the run holds the
// filtered edge from p[-1,2] (x - y = -3) to p[2,-1] (x - y = 3).
ZubStatus pred4DiagDownRight(Zub8u* d, int s, int avail) {
    int t[4], l[4];
    top4(d, s, avail, t);
    left4(d, s, avail, l);
    const int q = corner(d, s, avail);
    Zub8u r[8];
    r[0] = static_cast<Zub8u>(tap3(l[3], l[2], l[1]));
    r[1] = static_cast<Zub8u>(tap3(l[2], l[1], l[0]));
    r[2] = static_cast<Zub8u>(tap3(l[1], l[0], q));
    r[3] = static_cast<Zub8u>(tap3(l[0], q, t[0]));
    r[4] = static_cast<Zub8u>(tap3(q, t[0], t[1]));
    r[5] = static_cast<Zub8u>(tap3(t[0], t[1], t[2]));
    r[6] = static_cast<Zub8u>(tap3(t[1], t[2], t[3]));
    r[7] = 0;
    rowsFrom(d, s, r, 3, 2, 1, 0);
    return warnUnless(avail, kTop | kLeft | kTopLeft);
}

// Clause 8.3.1.2.6: even rows are two-tap averages of the top edge, odd rows
// three-tap filters; rows 2 and 3 shift right by one with a left-edge value
// in front (zVR = -2, -3).
ZubStatus pred4VerticalRight(Zub8u* d, int s, int avail) {
    int t[4], l[4];
    top4(d, s, avail, t);
    left4(d, s, avail, l);
    const int q = corner(d, s, avail);
    Zub8u ev[8], od[8];
    ev[0] = static_cast<Zub8u>(tap3(l[1], l[0], q));
    ev[1] = static_cast<Zub8u>(avg2(q, t[0]));
    ev[2] = static_cast<Zub8u>(avg2(t[0], t[1]));
    ev[3] = static_cast<Zub8u>(avg2(t[1], t[2]));
    ev[4] = static_cast<Zub8u>(avg2(t[2], t[3]));
    od[0] = static_cast<Zub8u>(tap3(l[2], l[1], l[0]));
    od[1] = static_cast<Zub8u>(tap3(l[0], q, t[0]));
    od[2] = static_cast<Zub8u>(tap3(q, t[0], t[1]));
    od[3] = static_cast<Zub8u>(tap3(t[0], t[1], t[2]));
    od[4] = static_cast<Zub8u>(tap3(t[1], t[2], t[3]));
    store4(d, load4(ev + 1));
    store4(d + s, load4(od + 1));
    store4(d + 2 * s, load4(ev));
    store4(d + 3 * s, load4(od));
    return warnUnless(avail, kTop | kLeft | kTopLeft);
}

// Clause 8.3.1.2.7: the transpose of vertical-right along the left edge;
// each row is the previous one moved right by two with a new pair in front.
ZubStatus pred4HorizontalDown(Zub8u* d, int s, int avail) {
    int t[4], l[4];
    top4(d, s, avail, t);
    left4(d, s, avail, l);
    const int q = corner(d, s, avail);
    Zub8u r[12];
    r[0] = static_cast<Zub8u>(avg2(l[2], l[3]));
    r[1] = static_cast<Zub8u>(tap3(l[1], l[2], l[3]));
    r[2] = static_cast<Zub8u>(avg2(l[1], l[2]));
    r[3] = static_cast<Zub8u>(tap3(l[0], l[1], l[2]));
    r[4] = static_cast<Zub8u>(avg2(l[0], l[1]));
    r[5] = static_cast<Zub8u>(tap3(q, l[0], l[1]));
    r[6] = static_cast<Zub8u>(avg2(q, l[0]));
    r[7] = static_cast<Zub8u>(tap3(l[0], q, t[0]));
    r[8] = static_cast<Zub8u>(tap3(q, t[0], t[1]));
    r[9] = static_cast<Zub8u>(tap3(t[0], t[1], t[2]));
    r[10] = r[11] = 0;
    rowsFrom(d, s, r, 6, 4, 2, 0);
    return warnUnless(avail, kTop | kLeft | kTopLeft);
}

// Clause 8.3.1.2.8: rows 0 and 2 two-tap, rows 1 and 3 three-tap, the lower
// pair one sample further along the top edge.
ZubStatus pred4VerticalLeft(Zub8u* d, int s, int avail) {
    int t[8];
    top8(d, s, avail, t);
    Zub8u ev[8], od[8];
    for (int i = 0; i < 5; ++i) {
        ev[i] = static_cast<Zub8u>(avg2(t[i], t[i + 1]));
        od[i] = static_cast<Zub8u>(tap3(t[i], t[i + 1], t[i + 2]));
    }
    ev[5] = ev[6] = ev[7] = od[5] = od[6] = od[7] = 0;
    store4(d, load4(ev));
    store4(d + s, load4(od));
    store4(d + 2 * s, load4(ev + 1));
    store4(d + 3 * s, load4(od + 1));
    return warnUnless(avail, kTop);
}

// Clause 8.3.1.2.9: zHU = x + 2y indexes one run; zHU > 5 is p[-1,3].
ZubStatus pred4HorizontalUp(Zub8u* d, int s, int avail) {
    int l[4];
    left4(d, s, avail, l);
    Zub8u r[12];
    r[0] = static_cast<Zub8u>(avg2(l[0], l[1]));
    r[1] = static_cast<Zub8u>(tap3(l[0], l[1], l[2]));
    r[2] = static_cast<Zub8u>(avg2(l[1], l[2]));
    r[3] = static_cast<Zub8u>(tap3(l[1], l[2], l[3]));
    r[4] = static_cast<Zub8u>(avg2(l[2], l[3]));
    r[5] = static_cast<Zub8u>((l[2] + 3 * l[3] + 2) >> 2);
    store4(r + 6, splat4(static_cast<unsigned>(l[3])));
    r[10] = r[11] = 0;
    rowsFrom(d, s, r, 0, 2, 4, 6);
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
        const Zub8u* a = d - s;
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
