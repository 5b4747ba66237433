// 8x8 inverse DCT of MPEG-1/MPEG-2 blocks in transposed layout, with a
// DC-only shortcut and a reduced transform for coefficients in the top-left
// 4x4 corner, to 16-bit residuals or 8-bit samples, one block or two
// interleaved.
#include <cstdint>

#include "zubvc.h"

namespace {

// 65536 cos(k pi / 16), truncated; g0 = 65536.
constexpr int32_t g1 = 64276, g2 = 60547, g3 = 54491, g4 = 46340, g5 = 36409, g6 = 25079, g7 = 12785;

// 32-bit arithmetic that wraps like the machine's: every operation of the
// transform is done on this type.
struct W32 {
    uint32_t v;
    constexpr W32(int32_t x) : v(static_cast<uint32_t>(x)) {}
    constexpr W32(uint32_t x, int) : v(x) {}
    friend constexpr W32 operator+(W32 a, W32 b) { return W32(a.v + b.v, 0); }
    friend constexpr W32 operator-(W32 a, W32 b) { return W32(a.v - b.v, 0); }
    friend constexpr W32 operator*(W32 a, int32_t g) { return W32(a.v * static_cast<uint32_t>(g), 0); }
    // (this + bias) >> shift, arithmetic.
    constexpr int32_t round(uint32_t bias, int shift) const { return static_cast<int32_t>(v + bias) >> shift; }
};

// One-dimensional transform of x0..x7 (x4..x7 taken as zero when `reduced`),
// before rounding.
template <bool reduced>
inline void idct1d(const W32 x[8], W32 y[8]) {
    const W32 zero(0);
    const W32 x4 = reduced ? zero : x[4], x5 = reduced ? zero : x[5], x6 = reduced ? zero : x[6],
              x7 = reduced ? zero : x[7];
    const W32 a = x[2] * g2 + x6 * g6, b = x[2] * g6 - x6 * g2;
    const W32 s = (x[0] + x4) * g4, d = (x[0] - x4) * g4;
    const W32 e0 = a + s, e1 = b + d, e2 = d - b, e3 = s - a;
    const W32 o0 = x[1] * g1 + x[3] * g3 + (x5 * g5 + x7 * g7);
    const W32 o1 = x[1] * g3 - x[3] * g7 - (x5 * g1 + x7 * g5);
    const W32 o2 = x[1] * g5 - x[3] * g1 + (x5 * g7 + x7 * g3);
    const W32 o3 = x[1] * g7 - x[3] * g5 - (x7 * g1 - x5 * g3);
    y[0] = e0 + o0;
    y[1] = e1 + o1;
    y[2] = e2 + o2;
    y[3] = e3 + o3;
    y[4] = e3 - o3;
    y[5] = e2 - o2;
    y[6] = e1 - o1;
    y[7] = e0 - o0;
}

template <class T>
constexpr T limit(int32_t v) {
    if constexpr (sizeof(T) == 1)
        return static_cast<T>(v < 0 ? 0 : (v > 255 ? 255 : v));
    else
        return static_cast<T>(v < -256 ? -256 : (v > 255 ? 255 : v));
}

template <class T>
inline T* row(T* dst, int step, int j) {
    return reinterpret_cast<T*>(reinterpret_cast<uint8_t*>(dst) + static_cast<intptr_t>(step) * j);
}

// The full (reduced = false) or 4x4-corner transform of one block; `dist` is
// the distance between horizontally adjacent output samples.
template <class T, bool reduced>
void idctBlock(const Zub16s* src, T* dst, int step, int dist) {
    constexpr int cols = reduced ? 4 : 8;
    int32_t t[8][8];  // t[c][k]: first-pass output of source column c
    for (int c = 0; c < cols; ++c) {
        W32 x[8] = {0, 0, 0, 0, 0, 0, 0, 0}, y[8] = {0, 0, 0, 0, 0, 0, 0, 0};
        for (int r = 0; r < (reduced ? 4 : 8); ++r) x[r] = W32(static_cast<int32_t>(src[8 * r + c]));
        idct1d<reduced>(x, y);
        for (int k = 0; k < 8; ++k) t[c][k] = y[k].round(0x8000u, 16);
    }
    for (int k = 0; k < 8; ++k) {
        W32 x[8] = {0, 0, 0, 0, 0, 0, 0, 0}, y[8] = {0, 0, 0, 0, 0, 0, 0, 0};
        for (int c = 0; c < cols; ++c) x[c] = W32(t[c][k]);
        idct1d<reduced>(x, y);
        // Half a unit (0x20000) and a further 0x8000: the bias is deliberate.
        for (int j = 0; j < 8; ++j) row(dst, step, j)[k * dist] = limit<T>(y[j].round(0x28000u, 18));
    }
}

template <class T>
void fillBlock(T* dst, int step, int dist, T v) {
    for (int j = 0; j < 8; ++j) {
        T* d = row(dst, step, j);
        for (int k = 0; k < 8; ++k) d[k * dist] = v;
    }
}

// DC only: source[0] / 8 truncated, limited, everywhere.
template <class T>
void dcBlock(const Zub16s* src, T* dst, int step, int dist) {
    fillBlock(dst, step, dist, limit<T>(src[0] / 8));
}

// The kernels.
void idct8x8_block(const Zub16s* s, Zub16s* d, int step, int dist) { idctBlock<Zub16s, false>(s, d, step, dist); }
void idct4x4_block(const Zub16s* s, Zub16s* d, int step, int dist) { idctBlock<Zub16s, true>(s, d, step, dist); }
void idct8x8_block_8u(const Zub16s* s, Zub8u* d, int step, int dist) { idctBlock<Zub8u, false>(s, d, step, dist); }
void idct4x4_block_8u(const Zub16s* s, Zub8u* d, int step, int dist) { idctBlock<Zub8u, true>(s, d, step, dist); }

// Path selection by the last index: above 9 full, 1..9 the 4x4 corner, 0 DC
// only; a negative index clears a 16-bit block and takes the DC path for
// 8-bit output.
void transform(const Zub16s* src, Zub16s* dst, int step, int dist, int last) {
    if (last > 9)
        idct8x8_block(src, dst, step, dist);
    else if (last > 0)
        idct4x4_block(src, dst, step, dist);
    else if (last == 0)
        dcBlock(src, dst, step, dist);
    else
        fillBlock<Zub16s>(dst, step, dist, 0);
}

void transform(const Zub16s* src, Zub8u* dst, int step, int dist, int last) {
    if (last > 9)
        idct8x8_block_8u(src, dst, step, dist);
    else if (last > 0)
        idct4x4_block_8u(src, dst, step, dist);
    else
        dcBlock(src, dst, step, dist);
}

}  // namespace

ZubStatus zubiDCT8x8Inv_AANTransposed_16s_C1R(const Zub16s* pSrc, Zub16s* pDst, Zub32s dstStep, Zub32s count) {
    if (!pSrc || !pDst) return ZubStatusNullPointer;
    if (dstStep < 1) return ZubStatusBadStep;
    transform(pSrc, pDst, dstStep, 1, count);
    return ZubStatusOk;
}

ZubStatus zubiDCT8x8Inv_AANTransposed_16s8u_C1R(const Zub16s* pSrc, Zub8u* pDst, Zub32s dstStep, Zub32s count) {
    if (!pSrc || !pDst) return ZubStatusNullPointer;
    if (dstStep < 1) return ZubStatusBadStep;
    transform(pSrc, pDst, dstStep, 1, count);
    return ZubStatusOk;
}

ZubStatus zubiDCT8x8Inv_AANTransposed_16s_P2C2R(const Zub16s* pSrcU, const Zub16s* pSrcV, Zub16s* pDstUV,
                                                Zub32s dstStep, Zub32s countU, Zub32s countV) {
    if (!pSrcU || !pSrcV || !pDstUV) return ZubStatusNullPointer;
    if (dstStep < 1) return ZubStatusBadStep;
    transform(pSrcU, pDstUV, dstStep, 2, countU);
    transform(pSrcV, pDstUV + 1, dstStep, 2, countV);
    return ZubStatusOk;
}

ZubStatus zubiDCT8x8Inv_AANTransposed_16s8u_P2C2R(const Zub16s* pSrcU, const Zub16s* pSrcV, Zub8u* pDstUV,
                                                  Zub32s dstStep, Zub32s countU, Zub32s countV) {
    if (!pSrcU || !pSrcV || !pDstUV) return ZubStatusNullPointer;
    if (dstStep < 1) return ZubStatusBadStep;
    transform(pSrcU, pDstUV, dstStep, 2, countU);
    transform(pSrcV, pDstUV + 1, dstStep, 2, countV);
    return ZubStatusOk;
}
