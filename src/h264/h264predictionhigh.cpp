// H.264 intra prediction of the High profiles: Intra_8x8 luma (clause 8.3.2)
// for 8-bit and 16-bit samples, whose reference samples are low-pass filtered
// as clause 8.3.2.2.1 says before the nine modes are formed; Intra_4x4,
// Intra_16x16 and 4:2:0 chroma of 16-bit samples; 4:2:2 chroma (8 x 16) of
// both sample sizes.  The 4x4 and 8x8 directional modes share one template,
// as do the 16x16 and chroma blocks.
#include <cstdint>

#include "../common/sample.h"
#include "h264intra8x8.h"
#include "zubvc.h"

namespace {

constexpr int kTop = ZubIntraAvailTop;
constexpr int kLeft = ZubIntraAvailLeft;
constexpr int kTopLeft = ZubIntraAvailTopLeft;
constexpr int kTopRight = ZubIntraAvailTopRight;

// Reference samples of an N x N block: top[kAt + x] = p[x, -1] for
// x = -1..2N - 1 and left[kAt + y] = p[-1, y] for y = -1..N - 1 (both hold the
// corner at -1); for Intra_8x8 the filtered p'.  Only the groups the
// availability marks are valid.
struct Edge {
    static constexpr int kAt = 3;  // index of p[0, -1] and p[-1, 0]; two spare entries before the corner
    int top[kAt + 16];
    int left[kAt + 8];
};

template <class Pixel>
Edge filteredEdge(const Pixel* d, int s, int avail) {
    const bool hasTop = avail & kTop, hasLeft = avail & kLeft, hasCorner = avail & kTopLeft;
    int p[16], l[8], c = 0;
    if (hasTop) {
        const Pixel* a = d - s;
        for (int x = 0; x < 8; ++x) p[x] = a[x];
        // Missing above-right samples repeat p[7, -1] (clause 8.3.2.2).
        for (int x = 8; x < 16; ++x) p[x] = (avail & kTopRight) ? a[x] : a[7];
    }
    if (hasLeft)
        for (int y = 0; y < 8; ++y) l[y] = d[y * s - 1];
    if (hasCorner) c = d[-s - 1];

    Edge e{};
    if (hasTop) {
        e.top[Edge::kAt] = hasCorner ? (c + 2 * p[0] + p[1] + 2) >> 2 : (3 * p[0] + p[1] + 2) >> 2;
        for (int x = 1; x < 15; ++x) e.top[Edge::kAt + x] = (p[x - 1] + 2 * p[x] + p[x + 1] + 2) >> 2;
        e.top[Edge::kAt + 15] = (p[14] + 3 * p[15] + 2) >> 2;
    }
    if (hasCorner) {
        int f;
        if (hasTop && hasLeft) f = (p[0] + 2 * c + l[0] + 2) >> 2;
        else if (hasTop) f = (3 * c + p[0] + 2) >> 2;
        else if (hasLeft) f = (3 * c + l[0] + 2) >> 2;
        else f = c;
        e.top[Edge::kAt - 1] = e.left[Edge::kAt - 1] = f;
    }
    if (hasLeft) {
        e.left[Edge::kAt] = hasCorner ? (c + 2 * l[0] + l[1] + 2) >> 2 : (3 * l[0] + l[1] + 2) >> 2;
        for (int y = 1; y < 7; ++y) e.left[Edge::kAt + y] = (l[y - 1] + 2 * l[y] + l[y + 1] + 2) >> 2;
        e.left[Edge::kAt + 7] = (l[6] + 3 * l[7] + 2) >> 2;
    }
    return e;
}

constexpr int avg2(int a, int b) { return (a + b + 1) >> 1; }
constexpr int avg3(int a, int b, int c) { return (a + 2 * b + c + 2) >> 2; }

// The directional modes of clauses 8.3.1.2.x (N = 4) and 8.3.2.2.2 onwards
// (N = 8, on the filtered edge).  T(x) is p[x, -1] and L(y) is p[-1, y], both
// defined at -1 (the corner).  The mode is a template parameter, so each
// instance is one branch-free loop nest; DC is formed by the caller.
template <int N, int mode, class Pixel>
void predictMode(const Edge& e, Pixel* d, int s) {
    auto T = [&](int x) { return e.top[Edge::kAt + x]; };
    auto L = [&](int y) { return e.left[Edge::kAt + y]; };
    for (int y = 0; y < N; ++y) {
        Pixel* r = d + y * s;
        for (int x = 0; x < N; ++x) {
            int v = 0;
            switch (mode) {
                case ZubIntra4x4Vertical: v = T(x); break;
                case ZubIntra4x4Horizontal: v = L(y); break;
                case ZubIntra4x4DiagonalDownLeft:
                    v = (x == N - 1 && y == N - 1) ? (T(2 * N - 2) + 3 * T(2 * N - 1) + 2) >> 2
                                                   : avg3(T(x + y), T(x + y + 1), T(x + y + 2));
                    break;
                case ZubIntra4x4DiagonalDownRight:
                    v = x > y   ? avg3(T(x - y - 2), T(x - y - 1), T(x - y))
                        : x < y ? avg3(L(y - x - 2), L(y - x - 1), L(y - x))
                                : avg3(T(0), T(-1), L(0));
                    break;
                case ZubIntra4x4VerticalRight: {
                    const int z = 2 * x - y, k = x - (y >> 1);
                    if (z >= 0 && !(z & 1)) v = avg2(T(k - 1), T(k));
                    else if (z >= 0) v = avg3(T(k - 2), T(k - 1), T(k));
                    else if (z == -1) v = avg3(L(0), L(-1), T(0));
                    else v = avg3(L(y - 2 * x - 1), L(y - 2 * x - 2), L(y - 2 * x - 3));
                    break;
                }
                case ZubIntra4x4HorizontalDown: {
                    const int z = 2 * y - x, k = y - (x >> 1);
                    if (z >= 0 && !(z & 1)) v = avg2(L(k - 1), L(k));
                    else if (z >= 0) v = avg3(L(k - 2), L(k - 1), L(k));
                    else if (z == -1) v = avg3(L(0), L(-1), T(0));
                    else v = avg3(T(x - 2 * y - 1), T(x - 2 * y - 2), T(x - 2 * y - 3));
                    break;
                }
                case ZubIntra4x4VerticalLeft: {
                    const int k = x + (y >> 1);
                    v = (y & 1) ? avg3(T(k), T(k + 1), T(k + 2)) : avg2(T(k), T(k + 1));
                    break;
                }
                default: {  // horizontal-up
                    const int z = x + 2 * y, k = y + (x >> 1);
                    if (z > 2 * N - 3) v = L(N - 1);
                    else if (z == 2 * N - 3) v = (L(N - 2) + 3 * L(N - 1) + 2) >> 2;
                    else if (z & 1) v = avg3(L(k), L(k + 1), L(k + 2));
                    else v = avg2(L(k), L(k + 1));
                    break;
                }
            }
            r[x] = static_cast<Pixel>(v);
        }
    }
}

// DC of an N x N block from the edge groups the flags mark (clauses 8.3.1.2.3
// and 8.3.2.2.4); `missing` without either.
template <int N, class Pixel>
void predictDc(const Edge& e, Pixel* d, int s, int avail, int missing) {
    constexpr int log2N = N == 4 ? 2 : 3;
    int sum = 0;
    if (avail & kTop)
        for (int i = 0; i < N; ++i) sum += e.top[Edge::kAt + i];
    if (avail & kLeft)
        for (int i = 0; i < N; ++i) sum += e.left[Edge::kAt + i];
    const bool both = (avail & kTop) && (avail & kLeft), one = (avail & kTop) || (avail & kLeft);
    const Pixel v = static_cast<Pixel>(both ? (sum + N) >> (log2N + 1) : one ? (sum + N / 2) >> log2N : missing);
    for (int y = 0; y < N; ++y)
        for (int x = 0; x < N; ++x) d[y * s + x] = v;
}

template <int N, int mode, class Pixel>
void predictAny(const Edge& e, Pixel* d, int s, int avail, int missing) {
    if constexpr (mode == ZubIntra4x4DC) predictDc<N>(e, d, s, avail, missing);
    else predictMode<N, mode>(e, d, s);
}

template <int N, class Pixel>
using ModeFn = void (*)(const Edge&, Pixel*, int, int, int);
template <int N, class Pixel>
constexpr ModeFn<N, Pixel> kModes[9] = {predictAny<N, 0, Pixel>, predictAny<N, 1, Pixel>, predictAny<N, 2, Pixel>,
                                        predictAny<N, 3, Pixel>, predictAny<N, 4, Pixel>, predictAny<N, 5, Pixel>,
                                        predictAny<N, 6, Pixel>, predictAny<N, 7, Pixel>, predictAny<N, 8, Pixel>};

template <class Pixel>
ZubStatus predict8x8(Pixel* d, int s, int mode, int avail, int bitDepth) {
    if ((avail & zub::h264::kIntraNxNNeeds[mode]) != zub::h264::kIntraNxNNeeds[mode])
        return ZubStatusNeighbourUnavailable;
    kModes<8, Pixel>[mode](filteredEdge(d, s, avail), d, s, avail, 1 << (bitDepth - 1));
    return ZubStatusOk;
}

// Intra_4x4 of 16-bit samples with the substitution rules of the 8-bit
// function: a missing group is taken as 1 << (bitDepth - 1) and warned of,
// missing above-right samples repeat p[3, -1] without a warning.
template <class Pixel>
ZubStatus predict4x4(Pixel* d, int s, int mode, int avail, int bitDepth) {
    const int missing = 1 << (bitDepth - 1);
    Edge e{};
    for (int x = 0; x < 4; ++x) e.top[Edge::kAt + x] = (avail & kTop) ? d[x - s] : missing;
    for (int x = 4; x < 8; ++x) e.top[Edge::kAt + x] = (avail & kTopRight) ? d[x - s] : e.top[Edge::kAt + 3];
    for (int y = 0; y < 4; ++y) e.left[Edge::kAt + y] = (avail & kLeft) ? d[y * s - 1] : missing;
    e.top[Edge::kAt - 1] = e.left[Edge::kAt - 1] = (avail & kTopLeft) ? d[-s - 1] : missing;
    kModes<4, Pixel>[mode](e, d, s, avail, missing);
    const int need = mode == ZubIntra4x4DC ? 0 : zub::h264::kIntraNxNNeeds[mode];
    return (avail & need) == need ? ZubStatusOk : ZubStatusNeighbourSubstitutedWarning;
}

// ---------------------------------------------------------------------------
// Intra_16x16 (clause 8.3.3) and chroma (clause 8.3.4, 4:2:0 and 4:2:2) on
// W x H blocks.  mode: 0 vertical, 1 horizontal, 2 DC, 3 plane (the chroma
// functions map their numbering onto this one).

constexpr int kPlaneNeeds = kTop | kLeft | kTopLeft;

// Plane parameter of one direction of length n (clauses 8.3.3.4, 8.3.4.4):
// the weighted differences about the centre and the scale 5 (16 samples) or
// 34 (8 samples).
template <class Sample>
int planeSlope(Sample p, int n) {
    const int half = n / 2;
    int sum = 0;
    for (int i = 0; i < half; ++i) sum += (i + 1) * (p(half + i) - p(half - 2 - i));
    return ((n == 16 ? 5 : 34) * sum + 32) >> 6;
}

template <int W, int H, bool chroma, class Pixel>
ZubStatus predictLarge(Pixel* d, int s, int mode, int avail, int bitDepth) {
    const int maxVal = (1 << bitDepth) - 1;
    auto top = [&](int x) { return static_cast<int>(d[x - s]); };
    auto left = [&](int y) { return static_cast<int>(d[y * s - 1]); };
    auto fill = [&](auto value) {
        for (int y = 0; y < H; ++y)
            for (int x = 0; x < W; ++x) d[y * s + x] = static_cast<Pixel>(value(x, y));
    };
    switch (mode) {
        case 0:
            if (!(avail & kTop)) return ZubStatusNeighbourUnavailable;
            fill([&](int x, int) { return top(x); });
            return ZubStatusOk;
        case 1:
            if (!(avail & kLeft)) return ZubStatusNeighbourUnavailable;
            fill([&](int, int y) { return left(y); });
            return ZubStatusOk;
        case 2: {
            const bool t = avail & kTop, l = avail & kLeft;
            const int missing = 1 << (bitDepth - 1);
            if constexpr (!chroma) {
                int sum = 0;
                for (int i = 0; i < 16; ++i) sum += (t ? top(i) : 0) + (l ? left(i) : 0);
                const int v = t && l ? (sum + 16) >> 5 : (t || l) ? (sum + 8) >> 4 : missing;
                fill([&](int, int) { return v; });
            } else {
                // Each 4x4 block: both edges at (0, 0) and where xO, yO > 0;
                // the row above first in the top row, the left column first
                // in the left column (clauses 8.3.4.1 to 8.3.4.3).
                int dc[H / 4][W / 4];
                for (int by = 0; by < H / 4; ++by)
                    for (int bx = 0; bx < W / 4; ++bx) {
                        int st = 0, sl = 0;
                        for (int i = 0; i < 4; ++i) {
                            st += t ? top(4 * bx + i) : 0;
                            sl += l ? left(4 * by + i) : 0;
                        }
                        const bool both = (bx == 0 && by == 0) || (bx > 0 && by > 0);
                        const bool topFirst = bx > 0 && by == 0;
                        int v = missing;
                        if (both && t && l) v = (st + sl + 4) >> 3;
                        else if (both ? t : topFirst ? t : !l && t) v = (st + 2) >> 2;
                        else if (l) v = (sl + 2) >> 2;
                        dc[by][bx] = v;
                    }
                fill([&](int x, int y) { return dc[y / 4][x / 4]; });
            }
            return ZubStatusOk;
        }
        default: {
            if ((avail & kPlaneNeeds) != kPlaneNeeds) return ZubStatusNeighbourUnavailable;
            const int corner = d[-s - 1];
            const int b = planeSlope([&](int i) { return i < 0 ? corner : top(i); }, W);
            const int c = planeSlope([&](int i) { return i < 0 ? corner : left(i); }, H);
            const int a = 16 * (left(H - 1) + top(W - 1));
            fill([&](int x, int y) { return zub::clip((a + b * (x - (W / 2 - 1)) + c * (y - (H / 2 - 1)) + 16) >> 5, maxVal); });
            return ZubStatusOk;
        }
    }
}

// Chroma modes 0 DC, 1 horizontal, 2 vertical, 3 plane onto the order above.
constexpr int kChromaToLarge[4] = {2, 1, 0, 3};

bool bitDepthOk(int bitDepth) { return bitDepth >= 8 && bitDepth <= 14; }

}  // namespace

ZubStatus zubiPredictIntra_8x8_H264_8u_C1IR(Zub8u* pSrcDst, int srcDstStep, int predMode, int availability) {
    if (!pSrcDst) return ZubStatusNullPointer;
    if (srcDstStep < 8) return ZubStatusBadStep;
    if (static_cast<unsigned>(predMode) > 8u) return ZubStatusOutOfRange;
    return predict8x8(pSrcDst, srcDstStep, predMode, availability, 8);
}

ZubStatus zubiPredictIntra_4x4_H264_16u_C1IR(Zub16u* pSrcDst, int srcDstStep, int predMode, int availability,
                                             int bitDepth) {
    if (!pSrcDst) return ZubStatusNullPointer;
    if (srcDstStep < 4) return ZubStatusBadStep;
    if (static_cast<unsigned>(predMode) > 8u || !bitDepthOk(bitDepth)) return ZubStatusOutOfRange;
    return predict4x4(pSrcDst, srcDstStep, predMode, availability, bitDepth);
}

ZubStatus zubiPredictIntra_16x16_H264_16u_C1IR(Zub16u* pSrcDst, int srcDstStep, int predMode, int availability,
                                               int bitDepth) {
    if (!pSrcDst) return ZubStatusNullPointer;
    if (srcDstStep < 16) return ZubStatusBadStep;
    if (static_cast<unsigned>(predMode) > 3u || !bitDepthOk(bitDepth)) return ZubStatusOutOfRange;
    return predictLarge<16, 16, false>(pSrcDst, srcDstStep, predMode, availability, bitDepth);
}

ZubStatus zubiPredictIntraChroma8x8_H264_16u_C1IR(Zub16u* pSrcDst, int srcDstStep, int predMode, int availability,
                                                  int bitDepth) {
    if (!pSrcDst) return ZubStatusNullPointer;
    if (srcDstStep < 8) return ZubStatusBadStep;
    if (static_cast<unsigned>(predMode) > 3u || !bitDepthOk(bitDepth)) return ZubStatusOutOfRange;
    return predictLarge<8, 8, true>(pSrcDst, srcDstStep, kChromaToLarge[predMode], availability, bitDepth);
}

ZubStatus zubiPredictIntraChroma8x16_H264_8u_C1IR(Zub8u* pSrcDst, int srcDstStep, int predMode, int availability) {
    if (!pSrcDst) return ZubStatusNullPointer;
    if (srcDstStep < 8) return ZubStatusBadStep;
    if (static_cast<unsigned>(predMode) > 3u) return ZubStatusOutOfRange;
    return predictLarge<8, 16, true>(pSrcDst, srcDstStep, kChromaToLarge[predMode], availability, 8);
}

ZubStatus zubiPredictIntraChroma8x16_H264_16u_C1IR(Zub16u* pSrcDst, int srcDstStep, int predMode, int availability,
                                                   int bitDepth) {
    if (!pSrcDst) return ZubStatusNullPointer;
    if (srcDstStep < 8) return ZubStatusBadStep;
    if (static_cast<unsigned>(predMode) > 3u || !bitDepthOk(bitDepth)) return ZubStatusOutOfRange;
    return predictLarge<8, 16, true>(pSrcDst, srcDstStep, kChromaToLarge[predMode], availability, bitDepth);
}

ZubStatus zubiPredictIntra_8x8_H264_16u_C1IR(Zub16u* pSrcDst, int srcDstStep, int predMode, int availability,
                                             int bitDepth) {
    if (!pSrcDst) return ZubStatusNullPointer;
    if (srcDstStep < 8) return ZubStatusBadStep;
    if (static_cast<unsigned>(predMode) > 8u || !bitDepthOk(bitDepth)) return ZubStatusOutOfRange;
    return predict8x8(pSrcDst, srcDstStep, predMode, availability, bitDepth);
}
