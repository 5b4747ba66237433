// H.264 chroma sample interpolation kernels (clause 8.4.2.2.2, equation
// 8-270): bilinear eighth-sample weights of the four neighbouring integer
// samples A (at the position), B (right), C (below), D (below right).  One
// kernel per kind of fraction, so the zero-weight neighbours of the 00, 0x and
// y0 kinds are never read; 8-bit and 16-bit samples share one template.  No
// clamp is needed: the weights sum to 64.
#include <cstdint>
#include <type_traits>

#include "../common/sample.h"
#include "h264interpolate.h"
#include "h264interpolatekernel.h"
#include "zubvc.h"

namespace {

enum Kind { K00, K0x, Ky0, Kyx };

// Sums of weighted samples: below 2^14 for 8-bit samples, so 16-bit lanes
// hold them exactly (which gives the vectorised 8-bit kernels twice the
// lanes); scalar targets keep them in full registers.
template <class T>
using ChromaSum = std::conditional_t<sizeof(T) == 1 && zub::kVectorUnit, uint16_t, uint32_t>;

template <class T, int Kd, int FixedW>
void chromaRows(const T* __restrict s, std::ptrdiff_t ss, T* __restrict d, std::ptrdiff_t ds, int width, int height,
                int fx, int fy) {
    using A = ChromaSum<T>;
    const int w = FixedW ? FixedW : width;
    const A ax = static_cast<A>(8 - fx), bx = static_cast<A>(fx), ay = static_cast<A>(8 - fy), by = static_cast<A>(fy);
    const A wa = static_cast<A>(ax * ay), wb = static_cast<A>(bx * ay), wc = static_cast<A>(ax * by),
            wd = static_cast<A>(bx * by);
    for (int y = 0; y < height; ++y, s += ss, d += ds) {
        const T* __restrict t = s + ss;
        if constexpr (Kd == K00) {
            zub::copySamples(d, s, w);
        } else if constexpr (Kd == K0x) {
            ZUB_VECTOR_LOOP
            for (int x = 0; x < w; ++x) d[x] = static_cast<T>(static_cast<A>(s[x] * ax + s[x + 1] * bx + 4) >> 3);
        } else if constexpr (Kd == Ky0) {
            ZUB_VECTOR_LOOP
            for (int x = 0; x < w; ++x) d[x] = static_cast<T>(static_cast<A>(s[x] * ay + t[x] * by + 4) >> 3);
        } else {
            ZUB_VECTOR_LOOP
            for (int x = 0; x < w; ++x)
                d[x] = static_cast<T>(static_cast<A>(s[x] * wa + s[x + 1] * wb + t[x] * wc + t[x + 1] * wd + 32) >> 6);
        }
    }
}

template <class T, int Kd>
void chromaBlock(const T* s, std::ptrdiff_t ss, T* d, std::ptrdiff_t ds, int w, int h, int fx, int fy) {
    switch (w) {
        case 8: chromaRows<T, Kd, 8>(s, ss, d, ds, 8, h, fx, fy); return;
        case 4: chromaRows<T, Kd, 4>(s, ss, d, ds, 4, h, fx, fy); return;
        case 2: chromaRows<T, Kd, 2>(s, ss, d, ds, 2, h, fx, fy); return;
        case 16: chromaRows<T, Kd, 16>(s, ss, d, ds, 16, h, fx, fy); return;
        default: chromaRows<T, Kd, 0>(s, ss, d, ds, w, h, fx, fy);
    }
}

template <class T, int Kd>
void chromaKernel(const InterpolationKernelRecord* r) {
    chromaBlock<T, Kd>(static_cast<const T*>(r->src), r->srcStep, static_cast<T*>(r->dst), r->dstStep, r->width,
                       r->height, r->fracX, r->fracY);
}

}  // namespace

#define ZUB_CHROMA_KERNEL(L, K)                                                                        \
    void h264_interpolate_chroma_type_##L##_8u_px(const InterpolationKernelRecord* r) {              \
        chromaKernel<Zub8u, K>(r);                                                                     \
    }                                                                                                  \
    void h264_interpolate_chroma_type_##L##_16u_px(const InterpolationKernelRecord* r) {             \
        chromaKernel<Zub16u, K>(r);                                                                    \
    }
ZUB_CHROMA_KERNEL(00, K00)
ZUB_CHROMA_KERNEL(0x, K0x)
ZUB_CHROMA_KERNEL(y0, Ky0)
ZUB_CHROMA_KERNEL(yx, Kyx)
#undef ZUB_CHROMA_KERNEL

const H264InterpolationKernel h264_interpolate_chroma_type_table_8u_pxmx[4] = {
    h264_interpolate_chroma_type_00_8u_px, h264_interpolate_chroma_type_0x_8u_px,
    h264_interpolate_chroma_type_y0_8u_px, h264_interpolate_chroma_type_yx_8u_px};
const H264InterpolationKernel h264_interpolate_chroma_type_table_16u_pxmx[4] = {
    h264_interpolate_chroma_type_00_16u_px, h264_interpolate_chroma_type_0x_16u_px,
    h264_interpolate_chroma_type_y0_16u_px, h264_interpolate_chroma_type_yx_16u_px};

void zub::h264::interpolateChromaAllWeights16u(const Zub16u* src, std::ptrdiff_t srcStep, Zub16u* dst,
                                               std::ptrdiff_t dstStep, int dx, int dy, int width, int height) {
    chromaBlock<Zub16u, Kyx>(src, srcStep, dst, dstStep, width, height, dx, dy);
}
