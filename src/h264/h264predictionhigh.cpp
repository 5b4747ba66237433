// H.264 Intra_8x8 luma prediction of the High profiles (clause 8.3.2) for
// 8-bit and 16-bit samples from one template: the reference samples are
// gathered, low-pass filtered as clause 8.3.2.2.1 says, and the nine modes of
// clause 8.3.2.2.2 onwards are formed from the filtered edge.
#include <cstdint>

#include "../common/sample.h"
#include "h264intra8x8.h"
#include "zubvc.h"

namespace {

constexpr int kTop = ZubIntraAvailTop;
constexpr int kLeft = ZubIntraAvailLeft;
constexpr int kTopLeft = ZubIntraAvailTopLeft;
constexpr int kTopRight = ZubIntraAvailTopRight;

// Filtered reference samples: top[1 + x] = p'[x, -1] for x = -1..15 (top[0]
// is the corner p'[-1, -1]), left[1 + y] = p'[-1, y] for y = -1..7 (left[0]
// is the corner again).  Only the groups the availability marks are valid.
struct Edge {
    int top[17];
    int left[9];
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
        e.top[1] = hasCorner ? (c + 2 * p[0] + p[1] + 2) >> 2 : (3 * p[0] + p[1] + 2) >> 2;
        for (int x = 1; x < 15; ++x) e.top[1 + x] = (p[x - 1] + 2 * p[x] + p[x + 1] + 2) >> 2;
        e.top[16] = (p[14] + 3 * p[15] + 2) >> 2;
    }
    if (hasCorner) {
        int f;
        if (hasTop && hasLeft) f = (p[0] + 2 * c + l[0] + 2) >> 2;
        else if (hasTop) f = (3 * c + p[0] + 2) >> 2;
        else if (hasLeft) f = (3 * c + l[0] + 2) >> 2;
        else f = c;
        e.top[0] = e.left[0] = f;
    }
    if (hasLeft) {
        e.left[1] = hasCorner ? (c + 2 * l[0] + l[1] + 2) >> 2 : (3 * l[0] + l[1] + 2) >> 2;
        for (int y = 1; y < 7; ++y) e.left[1 + y] = (l[y - 1] + 2 * l[y] + l[y + 1] + 2) >> 2;
        e.left[8] = (l[6] + 3 * l[7] + 2) >> 2;
    }
    return e;
}

constexpr int avg2(int a, int b) { return (a + b + 1) >> 1; }
constexpr int avg3(int a, int b, int c) { return (a + 2 * b + c + 2) >> 2; }

// The modes of clauses 8.3.2.2.2 to 8.3.2.2.10 on the filtered edge.  T(x) is
// p'[x, -1] and L(y) is p'[-1, y], both defined at -1 (the corner).  The mode
// is a template parameter, so each instance is one branch-free loop nest.
template <int mode, class Pixel>
void predictMode(const Edge& e, int dcMissing, Pixel* d, int s, int avail) {
    auto T = [&](int x) { return e.top[1 + x]; };
    auto L = [&](int y) { return e.left[1 + y]; };
    if constexpr (mode == ZubIntra4x4DC) {
        int sum = 0;
        if (avail & kTop)
            for (int i = 0; i < 8; ++i) sum += T(i);
        if (avail & kLeft)
            for (int i = 0; i < 8; ++i) sum += L(i);
        const bool both = (avail & kTop) && (avail & kLeft), one = (avail & kTop) || (avail & kLeft);
        const Pixel v = static_cast<Pixel>(both ? (sum + 8) >> 4 : one ? (sum + 4) >> 3 : dcMissing);
        for (int y = 0; y < 8; ++y)
            for (int x = 0; x < 8; ++x) d[y * s + x] = v;
        return;
    }
    for (int y = 0; y < 8; ++y) {
        Pixel* r = d + y * s;
        for (int x = 0; x < 8; ++x) {
            int v = 0;
            switch (mode) {
                case ZubIntra4x4Vertical: v = T(x); break;
                case ZubIntra4x4Horizontal: v = L(y); break;
                case ZubIntra4x4DiagonalDownLeft:
                    v = (x == 7 && y == 7) ? (T(14) + 3 * T(15) + 2) >> 2 : avg3(T(x + y), T(x + y + 1), T(x + y + 2));
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
                    if (z > 13) v = L(7);
                    else if (z == 13) v = (L(6) + 3 * L(7) + 2) >> 2;
                    else if (z & 1) v = avg3(L(k), L(k + 1), L(k + 2));
                    else v = avg2(L(k), L(k + 1));
                    break;
                }
            }
            r[x] = static_cast<Pixel>(v);
        }
    }
}

template <class Pixel>
using ModeFn = void (*)(const Edge&, int, Pixel*, int, int);
template <class Pixel>
constexpr ModeFn<Pixel> kModes[9] = {predictMode<0, Pixel>, predictMode<1, Pixel>, predictMode<2, Pixel>,
                                     predictMode<3, Pixel>, predictMode<4, Pixel>, predictMode<5, Pixel>,
                                     predictMode<6, Pixel>, predictMode<7, Pixel>, predictMode<8, Pixel>};

template <class Pixel>
ZubStatus predict8x8(Pixel* d, int s, int mode, int avail, int bitDepth) {
    if ((avail & zub::h264::kIntraNxNNeeds[mode]) != zub::h264::kIntraNxNNeeds[mode]) return ZubStatusNeighbourUnavailable;
    kModes<Pixel>[mode](filteredEdge(d, s, avail), 1 << (bitDepth - 1), d, s, avail);
    return ZubStatusOk;
}

}  // namespace

ZubStatus zubiPredictIntra_8x8_H264_8u_C1IR(Zub8u* pSrcDst, int srcDstStep, int predMode, int availability) {
    if (!pSrcDst) return ZubStatusNullPointer;
    if (srcDstStep < 8) return ZubStatusBadStep;
    if (static_cast<unsigned>(predMode) > 8u) return ZubStatusOutOfRange;
    return predict8x8(pSrcDst, srcDstStep, predMode, availability, 8);
}

ZubStatus zubiPredictIntra_8x8_H264_16u_C1IR(Zub16u* pSrcDst, int srcDstStep, int predMode, int availability,
                                             int bitDepth) {
    if (!pSrcDst) return ZubStatusNullPointer;
    if (srcDstStep < 8) return ZubStatusBadStep;
    if (static_cast<unsigned>(predMode) > 8u || bitDepth < 8 || bitDepth > 14) return ZubStatusOutOfRange;
    return predict8x8(pSrcDst, srcDstStep, predMode, availability, bitDepth);
}
