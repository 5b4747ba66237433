// H.264 inverse DC transforms with DC dequantisation (clauses 8.5.10 and
// 8.5.11): the 4x4 Hadamard of Intra16x16 luma DC, the 2x2 transform of 4:2:0
// chroma DC and the 2x4 transform of 4:2:2 chroma DC, in place on 16-bit
// (8-bit video) or 32-bit (high bit depth) coefficients.
//
// Sums and products are formed in 32-bit arithmetic that wraps (unsigned
// internally), shifts right are arithmetic, and each result is truncated to
// the coefficient width.
#include <cstdint>

#include "zubvc.h"

namespace {

inline uint32_t u(int32_t v) { return static_cast<uint32_t>(v); }
inline int32_t s(uint32_t v) { return static_cast<int32_t>(v); }

// DC level scale: the caller's first element, or the flat default of row q % 6.
inline uint32_t dcScale(const Zub16s* pLevelScale, int q) {
    return u(pLevelScale ? pLevelScale[0] : InvLevelScale_4x4_default[h264_qp_rem[q]][0]);
}

// Dequantisation of luma DC and 4:2:2 chroma DC (clauses 8.5.10, 8.5.11.2):
// e >= 6: (f s) << (e - 6); otherwise (f s + 2^(5-e)) >> (6 - e).  The
// shift and rounding term are fixed once per block.
struct Scale6 {
    uint32_t scale, round;
    int left, right;
    Scale6(uint32_t s, int e)
        : scale(s), round(e >= 6 ? 0u : 1u << (5 - e)), left(e >= 6 ? e - 6 : 0), right(e >= 6 ? 0 : 6 - e) {}
    int32_t operator()(uint32_t f) const { return s((f * scale + round) << left) >> right; }
};

// Four-point butterfly of the Hadamard matrix with rows (1 1 1 1),
// (1 1 -1 -1), (1 -1 -1 1), (1 -1 1 -1).
inline void hadamard4(uint32_t a, uint32_t b, uint32_t c, uint32_t d, uint32_t* out) {
    const uint32_t s0 = a + b, d0 = a - b, s1 = c + d, d1 = c - d;
    out[0] = s0 + s1;
    out[1] = s0 - s1;
    out[2] = d0 - d1;
    out[3] = d0 + d1;
}

template <class T>
ZubStatus lumaDc4x4(T* pSrcDst, int qp, const Zub16s* pLevelScale, int maxQp) {
    if (!pSrcDst) return ZubStatusNullPointer;
    if (qp < 0 || qp > maxQp) return ZubStatusOutOfRange;
    const Scale6 dq(dcScale(pLevelScale, qp), h264_qp6[qp]);
    // Widening all values first lets the 16-bit variant share the code
    // shape of the 32-bit one, which compilers turn into vector code.
    uint32_t c[16], tmp[16];
    for (int i = 0; i < 16; ++i) c[i] = u(pSrcDst[i]);
    for (int r = 0; r < 4; ++r) hadamard4(c[4 * r], c[4 * r + 1], c[4 * r + 2], c[4 * r + 3], tmp + 4 * r);
    for (int col = 0; col < 4; ++col) {
        uint32_t f[4];
        hadamard4(tmp[col], tmp[4 + col], tmp[8 + col], tmp[12 + col], f);
        for (int r = 0; r < 4; ++r) pSrcDst[4 * r + col] = static_cast<T>(dq(f[r]));
    }
    return ZubStatusOk;
}

template <class T>
ZubStatus chromaDc2x2(T* pSrcDst, int qp, const Zub16s* pLevelScale, int maxQp) {
    if (!pSrcDst) return ZubStatusNullPointer;
    if (qp < 0 || qp > maxQp) return ZubStatusOutOfRange;
    const uint32_t scale = dcScale(pLevelScale, qp);
    const int e = h264_qp6[qp];
    const uint32_t c0 = u(pSrcDst[0]), c1 = u(pSrcDst[1]), c2 = u(pSrcDst[2]), c3 = u(pSrcDst[3]);
    const uint32_t f[4] = {c0 + c1 + c2 + c3, c0 - c1 + c2 - c3, c0 + c1 - c2 - c3, c0 - c1 - c2 + c3};
    // Clause 8.5.11.2 for 4:2:0: ((f s) << e) >> 5, taken as one shift.
    for (int i = 0; i < 4; ++i) {
        const uint32_t p = f[i] * scale;
        pSrcDst[i] = static_cast<T>(e < 5 ? s(p) >> (5 - e) : s(p << (e - 5)));
    }
    return ZubStatusOk;
}

template <class T>
ZubStatus chromaDc2x4(T* pSrcDst, int qp, const Zub16s* pLevelScale, int maxQp) {
    if (!pSrcDst) return ZubStatusNullPointer;
    if (qp < 0 || qp > maxQp) return ZubStatusOutOfRange;
    const int q = qp + 3;  // QP'c,DC = QP'c + 3 for 4:2:2 (clause 8.5.11.2)
    const Scale6 dq(dcScale(pLevelScale, q), h264_qp6[q]);
    // f = A c B: the four-point butterfly down each of the two columns, then
    // the sum and difference of the two columns of each row.
    uint32_t colL[4], colR[4];
    hadamard4(u(pSrcDst[0]), u(pSrcDst[2]), u(pSrcDst[4]), u(pSrcDst[6]), colL);
    hadamard4(u(pSrcDst[1]), u(pSrcDst[3]), u(pSrcDst[5]), u(pSrcDst[7]), colR);
    for (int r = 0; r < 4; ++r) {
        uint32_t f0 = colL[r] + colR[r], f1 = colL[r] - colR[r];
        if constexpr (sizeof(T) == 2) {
            // The 16-bit variant keeps the transform result to 16 bits before
            // scaling.
            f0 = u(static_cast<int16_t>(f0));
            f1 = u(static_cast<int16_t>(f1));
        }
        pSrcDst[2 * r] = static_cast<T>(dq(f0));
        pSrcDst[2 * r + 1] = static_cast<T>(dq(f1));
    }
    return ZubStatusOk;
}

}  // namespace

ZubStatus zubiTransformQuantInvLumaDC4x4_H264_16s_C1I(Zub16s* pSrcDst, int QP, const Zub16s* pLevelScale) {
    return lumaDc4x4(pSrcDst, QP, pLevelScale, 51);
}
ZubStatus zubiTransformQuantInvLumaDC4x4_H264_32s_C1I(Zub32s* pSrcDst, int QP, const Zub16s* pLevelScale) {
    return lumaDc4x4(pSrcDst, QP, pLevelScale, 87);
}
ZubStatus zubiTransformQuantInvChromaDC2x2_H264_16s_C1I(Zub16s* pSrcDst, int QP, const Zub16s* pLevelScale) {
    return chromaDc2x2(pSrcDst, QP, pLevelScale, 39);
}
ZubStatus zubiTransformQuantInvChromaDC2x2_H264_32s_C1I(Zub32s* pSrcDst, int QP, const Zub16s* pLevelScale) {
    return chromaDc2x2(pSrcDst, QP, pLevelScale, 75);
}
ZubStatus zubiTransformQuantInvChromaDC2x4_H264_16s_C1I(Zub16s* pSrcDst, int QP, const Zub16s* pLevelScale) {
    return chromaDc2x4(pSrcDst, QP, pLevelScale, 39);
}
ZubStatus zubiTransformQuantInvChromaDC2x4_H264_32s_C1I(Zub32s* pSrcDst, int QP, const Zub16s* pLevelScale) {
    return chromaDc2x4(pSrcDst, QP, pLevelScale, 75);
}
