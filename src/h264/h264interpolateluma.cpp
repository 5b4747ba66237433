// H.264 luma sample interpolation kernels (clause 8.4.2.2.1), one per
// quarter-sample position, for 8-bit and 16-bit samples from one template.
//
// Half samples: b (horizontal) and h (vertical) are the six-tap sums
// (1, -5, 20, 20, -5, 1) rounded with +16 >> 5 and clamped (equations
// 8-241..8-244); j is the six-tap filter applied to the unrounded six-tap
// sums of the other direction, rounded with +512 >> 10 (8-245..8-247); both
// passes are exact integer sums, so either may come first.  Quarter samples are (p + q + 1) >> 1
// of two of those or of an integer sample (8-250..8-261).  m is h one sample
// to the right, s is b one row below.
//
// Every kernel makes one pass per row: the operands of the average are
// computed next to each other, so no position needs a block-sized scratch
// buffer, except j, which keeps the unrounded horizontal sums of a strip of
// rows (16-bit for 8-bit samples, 32-bit for 16-bit ones; for 8 bits they lie
// in -2550..10710).  Widths 4, 8 and 16 run loops of fixed length;
// other widths go in strips of at most 16 columns.
#include <cstring>

#include "../common/sample.h"
#include "h264interpolate.h"
#include "h264interpolatekernel.h"
#include "zubvc.h"

namespace {

using zub::SampleTraits;
using zub::h264::kStripHeight;
using zub::h264::kStripWidth;

enum Pos { P0, Pa, Pb, Pc, Pd, Pe, Pf, Pg, Ph, Pi, Pj, Pk, Pn, Pp, Pq, Pr };

// Six-tap sum around p[0], p[step]: taps at -2..3 steps.  For 8-bit samples
// every sum and rounding below fits 16 bits (-2550..10726), so the values are
// held in the sample type's Wide type, which lets the compiler use 16-bit
// vector lanes; the j sums of sums need 32 bits.
template <class T>
inline typename SampleTraits<T>::Wide tap6(const T* p, std::ptrdiff_t step) {
    using Wide = typename SampleTraits<T>::Wide;
    return static_cast<Wide>((p[-2 * step] + p[3 * step]) - 5 * (p[-step] + p[2 * step]) + 20 * (p[0] + p[step]));
}
template <class W>
inline int tap6Wide(const W* v) {
    return (v[0] + v[5]) - 5 * (v[1] + v[4]) + 20 * (v[2] + v[3]);
}
// (sum + 16) >> 5 clamped to 0..maxv.
template <class W>
inline W half(W sum, int maxv) {
    const W r = static_cast<W>(static_cast<W>(sum + 16) >> 5);
    return static_cast<W>(r < 0 ? 0 : (r > maxv ? maxv : r));
}
template <class W>
inline W avg2(W p, W q) {
    return static_cast<W>(static_cast<W>(p + q + 1) >> 1);
}

template <class T, int Position, int FixedW>
void lumaRows(const T* __restrict s, std::ptrdiff_t ss, T* __restrict d, std::ptrdiff_t ds, int width, int height,
              int maxv) {
    const int w = FixedW ? FixedW : width;
    using W = typename SampleTraits<T>::Wide;

    for (int y = 0; y < height; ++y, s += ss, d += ds) {
        if constexpr (Position == P0) {
            zub::copySamples(d, s, w);
        } else {
            ZUB_VECTOR_LOOP
            for (int x = 0; x < w; ++x) {
                W r;
                const W g = static_cast<W>(s[x]);
                if constexpr (Position == Pb) r = half(tap6(s + x, 1), maxv);
                else if constexpr (Position == Ph) r = half(tap6(s + x, ss), maxv);
                else if constexpr (Position == Pa) r = avg2(g, half(tap6(s + x, 1), maxv));
                else if constexpr (Position == Pc) r = avg2(static_cast<W>(s[x + 1]), half(tap6(s + x, 1), maxv));
                else if constexpr (Position == Pd) r = avg2(g, half(tap6(s + x, ss), maxv));
                else if constexpr (Position == Pn) r = avg2(static_cast<W>(s[x + ss]), half(tap6(s + x, ss), maxv));
                else if constexpr (Position == Pe) r = avg2(half(tap6(s + x, 1), maxv), half(tap6(s + x, ss), maxv));
                else if constexpr (Position == Pg)
                    r = avg2(half(tap6(s + x, 1), maxv), half(tap6(s + x + 1, ss), maxv));
                else if constexpr (Position == Pp)
                    r = avg2(half(tap6(s + x, ss), maxv), half(tap6(s + ss + x, 1), maxv));
                else  // r: m and s
                    r = avg2(half(tap6(s + x + 1, ss), maxv), half(tap6(s + ss + x, 1), maxv));
                d[x] = static_cast<T>(r);
            }
        }
    }
}

// The positions that use j (f, i, j, k, q), a strip of at most 16 rows at a
// time.  j is taken horizontal pass first: the unrounded horizontal sums b1 of
// the strip's rows -2 .. n + 2 are stored one row after another (row step =
// block width), so the vertical six-tap of every output sample is the same
// expression at fixed offsets of one linear array, one long loop for the whole
// strip whatever the block width (the same exact integer sum as vertical
// first).  b and s are the rounded b1 of rows y and y + 1; h and m come from
// the source.
template <class T, int Position, int FixedW>
void lumaRowsJ(const T* __restrict s, std::ptrdiff_t ss, T* __restrict d, std::ptrdiff_t ds, int width, int height,
               int maxv) {
    const int w = FixedW ? FixedW : width;
    using W = typename SampleTraits<T>::Wide;
    constexpr int kCap = FixedW ? FixedW : kStripWidth;
    constexpr bool kUsesH = Position == Pi || Position == Pk;
    alignas(16) W b1[(kStripHeight + 5) * kCap];
    alignas(16) W hv[kUsesH ? kStripHeight * kCap : 1];
    alignas(16) T out[kStripHeight * kCap];
    for (int y0 = 0; y0 < height; y0 += kStripHeight, s += kStripHeight * ss) {
        const int n = height - y0 < kStripHeight ? height - y0 : kStripHeight;
        for (int r = 0; r < n + 5; ++r) {
            W* __restrict row = b1 + r * w;
            const T* src = s + (r - 2) * ss;
            ZUB_VECTOR_LOOP
            for (int x = 0; x < w; ++x) row[x] = tap6(src + x, 1);
        }
        if constexpr (kUsesH) {
            for (int r = 0; r < n; ++r) {
                W* __restrict row = hv + r * w;
                const T* src = s + r * ss + (Position == Pk ? 1 : 0);  // k averages with m
                ZUB_VECTOR_LOOP
                for (int x = 0; x < w; ++x) row[x] = half(tap6(src + x, ss), maxv);
            }
        }
        const int total = n * w;
        const W* __restrict B = b1;
        for (int i = 0; i < total; ++i) {
            const int j1 = (B[i] + B[i + 5 * w]) - 5 * (B[i + w] + B[i + 4 * w]) + 20 * (B[i + 2 * w] + B[i + 3 * w]);
            const W j = static_cast<W>(zub::clip((j1 + 512) >> 10, maxv));
            W o;
            if constexpr (Position == Pj) o = j;
            else if constexpr (Position == Pf) o = avg2(half(B[i + 2 * w], maxv), j);
            else if constexpr (Position == Pq) o = avg2(j, half(B[i + 3 * w], maxv));
            else o = avg2(hv[i], j);  // i: h and j; k: j and m
            out[i] = static_cast<T>(o);
        }
        for (int r = 0; r < n; ++r) zub::copySamples(d + (y0 + r) * ds, out + r * w, w);
    }
}

template <class T, int Position, int FixedW>
void lumaAnyRows(const T* s, std::ptrdiff_t ss, T* d, std::ptrdiff_t ds, int width, int height, int maxv) {
    if constexpr (Position == Pf || Position == Pi || Position == Pj || Position == Pk || Position == Pq)
        lumaRowsJ<T, Position, FixedW>(s, ss, d, ds, width, height, maxv);
    else
        lumaRows<T, Position, FixedW>(s, ss, d, ds, width, height, maxv);
}

template <class T, int Position>
void lumaBlock(const T* s, std::ptrdiff_t ss, T* d, std::ptrdiff_t ds, int w, int h, int bitDepth) {
    const int maxv = SampleTraits<T>::maxVal(bitDepth);
    switch (w) {
        case 16: lumaAnyRows<T, Position, 16>(s, ss, d, ds, 16, h, maxv); return;
        case 8: lumaAnyRows<T, Position, 8>(s, ss, d, ds, 8, h, maxv); return;
        case 4: lumaAnyRows<T, Position, 4>(s, ss, d, ds, 4, h, maxv); return;
        default:
            for (int x0 = 0; x0 < w; x0 += kStripWidth) {
                const int n = w - x0 < kStripWidth ? w - x0 : kStripWidth;
                lumaAnyRows<T, Position, 0>(s + x0, ss, d + x0, ds, n, h, maxv);
            }
    }
}

template <class T, int Position>
void lumaKernel(const InterpolationKernelRecord* r) {
    lumaBlock<T, Position>(static_cast<const T*>(r->src), r->srcStep, static_cast<T*>(r->dst), r->dstStep,
                           r->width, r->height, r->bitDepth);
}

// dst = (dst + src + 1) >> 1.
template <class T>
void averageInPlace(T* __restrict d, std::ptrdiff_t ds, const T* __restrict s, std::ptrdiff_t ss, int w, int h) {
    using W = typename SampleTraits<T>::Wide;
    for (int y = 0; y < h; ++y, d += ds, s += ss) {
        ZUB_VECTOR_LOOP
        for (int x = 0; x < w; ++x) d[x] = static_cast<T>(avg2(static_cast<W>(d[x]), static_cast<W>(s[x])));
    }
}

}  // namespace

#define ZUB_LUMA_KERNEL(L, P)                                                                          \
    void h264_interpolate_luma_type_##L##_8u_px(const InterpolationKernelRecord* r) {                \
        lumaKernel<Zub8u, P>(r);                                                                       \
    }                                                                                                  \
    void h264_interpolate_luma_type_##L##_16u_px(const InterpolationKernelRecord* r) {               \
        lumaKernel<Zub16u, P>(r);                                                                      \
    }
ZUB_LUMA_KERNEL(0, P0)
ZUB_LUMA_KERNEL(a, Pa)
ZUB_LUMA_KERNEL(b, Pb)
ZUB_LUMA_KERNEL(c, Pc)
ZUB_LUMA_KERNEL(d, Pd)
ZUB_LUMA_KERNEL(e, Pe)
ZUB_LUMA_KERNEL(f, Pf)
ZUB_LUMA_KERNEL(g, Pg)
ZUB_LUMA_KERNEL(h, Ph)
ZUB_LUMA_KERNEL(i, Pi)
ZUB_LUMA_KERNEL(j, Pj)
ZUB_LUMA_KERNEL(k, Pk)
ZUB_LUMA_KERNEL(n, Pn)
ZUB_LUMA_KERNEL(p, Pp)
ZUB_LUMA_KERNEL(q, Pq)
ZUB_LUMA_KERNEL(r, Pr)
#undef ZUB_LUMA_KERNEL

#define ZUB_LUMA_TABLE(S)                                                                                      \
    const H264InterpolationKernel h264_interpolate_luma_type_table_##S##_pxmx[16] = {                        \
        h264_interpolate_luma_type_0_##S##_px, h264_interpolate_luma_type_a_##S##_px,                         \
        h264_interpolate_luma_type_b_##S##_px, h264_interpolate_luma_type_c_##S##_px,                         \
        h264_interpolate_luma_type_d_##S##_px, h264_interpolate_luma_type_e_##S##_px,                         \
        h264_interpolate_luma_type_f_##S##_px, h264_interpolate_luma_type_g_##S##_px,                         \
        h264_interpolate_luma_type_h_##S##_px, h264_interpolate_luma_type_i_##S##_px,                         \
        h264_interpolate_luma_type_j_##S##_px, h264_interpolate_luma_type_k_##S##_px,                         \
        h264_interpolate_luma_type_n_##S##_px, h264_interpolate_luma_type_p_##S##_px,                         \
        h264_interpolate_luma_type_q_##S##_px, h264_interpolate_luma_type_r_##S##_px};
ZUB_LUMA_TABLE(8u)
ZUB_LUMA_TABLE(16u)
#undef ZUB_LUMA_TABLE

void h264_interpolate_luma_get_average_8u_px(Zub8u* pDst, int dstStep, const Zub8u* pSrc, int srcStep, int width,
                                             int height) {
    averageInPlace(pDst, dstStep, pSrc, srcStep, width, height);
}
void h264_interpolate_luma_get_average_16u_px(Zub16u* pDst, int dstStep, const Zub16u* pSrc, int srcStep,
                                              int width, int height) {
    averageInPlace(pDst, dstStep, pSrc, srcStep, width, height);
}

// The 16-bit C1R members, index dx * 4 + dy.  Each is the kernel of its
// position: H2 is b, V2 is h, and the quarter positions average half samples
// exactly as the kernels of the luma tables do.
#define ZUB_16U_MEMBER(DX, DY)                                                                               \
    void _zubInterpolate_H0##DX##V0##DY##_16u(const Zub16u* pSrc, Zub16u* pDst, int srcStep, int dstStep,    \
                                              int width, int height, int bitDepth) {                         \
        lumaBlock<Zub16u, (DY) * 4 + (DX)>(pSrc, srcStep, pDst, dstStep, width, height, bitDepth);          \
    }
ZUB_16U_MEMBER(0, 0) ZUB_16U_MEMBER(0, 1) ZUB_16U_MEMBER(0, 2) ZUB_16U_MEMBER(0, 3)
ZUB_16U_MEMBER(1, 0) ZUB_16U_MEMBER(1, 1) ZUB_16U_MEMBER(1, 2) ZUB_16U_MEMBER(1, 3)
ZUB_16U_MEMBER(2, 0) ZUB_16U_MEMBER(2, 1) ZUB_16U_MEMBER(2, 2) ZUB_16U_MEMBER(2, 3)
ZUB_16U_MEMBER(3, 0) ZUB_16U_MEMBER(3, 1) ZUB_16U_MEMBER(3, 2) ZUB_16U_MEMBER(3, 3)
#undef ZUB_16U_MEMBER

const H264Interpolate16uFn InterpolFnTbl_16u[16] = {
    _zubInterpolate_H00V00_16u, _zubInterpolate_H00V01_16u, _zubInterpolate_H00V02_16u, _zubInterpolate_H00V03_16u,
    _zubInterpolate_H01V00_16u, _zubInterpolate_H01V01_16u, _zubInterpolate_H01V02_16u, _zubInterpolate_H01V03_16u,
    _zubInterpolate_H02V00_16u, _zubInterpolate_H02V01_16u, _zubInterpolate_H02V02_16u, _zubInterpolate_H02V03_16u,
    _zubInterpolate_H03V00_16u, _zubInterpolate_H03V01_16u, _zubInterpolate_H03V02_16u, _zubInterpolate_H03V03_16u};

void _zubInterpolate_H2_16u(const Zub16u* pSrc, Zub16u* pDst, int srcStep, int dstStep, int width, int height,
                            int bitDepth) {
    lumaBlock<Zub16u, Pb>(pSrc, srcStep, pDst, dstStep, width, height, bitDepth);
}
void _zubInterpolate_V2_16u(const Zub16u* pSrc, Zub16u* pDst, int srcStep, int dstStep, int width, int height,
                            int bitDepth) {
    lumaBlock<Zub16u, Ph>(pSrc, srcStep, pDst, dstStep, width, height, bitDepth);
}
void _zubInterpolate_Avg_16u(const Zub16u* pSrc, Zub16u* pDst, int srcStep, int dstStep, int width, int height) {
    averageInPlace(pDst, dstStep, pSrc, srcStep, width, height);
}
