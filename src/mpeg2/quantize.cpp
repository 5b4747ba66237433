// MPEG-2 forward quantisation of a coefficient block in place, with the
// reciprocals of the weights, in extended precision.
#include "zubvc.h"

namespace {

// Reciprocals of the default intra quantiser matrix of ISO/IEC 13818-2
// (clause 6.3.11), raster order.
constexpr Zub8u kDefaultIntraWeights[64] = {
    8,  16, 19, 22, 26, 27, 29, 34, 16, 16, 22, 24, 27, 29, 34, 37, 19, 22, 26, 27, 29, 34,
    34, 38, 22, 22, 26, 27, 29, 34, 37, 40, 22, 26, 27, 29, 32, 35, 40, 48, 26, 27, 29, 32,
    35, 40, 48, 58, 26, 27, 29, 34, 38, 46, 56, 69, 27, 29, 35, 38, 46, 56, 69, 83,
};
constexpr float reciprocal(int i) { return 1.0f / static_cast<float>(kDefaultIntraWeights[i]); }
#define ZUB_R(i) reciprocal(i), reciprocal(i + 1), reciprocal(i + 2), reciprocal(i + 3),
const float DefaultIntraQuantMatrix[64] = {
    ZUB_R(0) ZUB_R(4) ZUB_R(8) ZUB_R(12) ZUB_R(16) ZUB_R(20) ZUB_R(24) ZUB_R(28)
    ZUB_R(32) ZUB_R(36) ZUB_R(40) ZUB_R(44) ZUB_R(48) ZUB_R(52) ZUB_R(56) ZUB_R(60)
};
#undef ZUB_R

// Truncates q toward zero, limits a nonzero result to -2047..2047 and counts
// it.
inline Zub16s store(long double q, Zub32s& count) {
    if (q >= 2047.0L) q = 2047.0L;
    if (q <= -2047.0L) q = -2047.0L;
    const int v = static_cast<int>(q);
    count += v != 0;
    return static_cast<Zub16s>(v);
}

ZubStatus quantise(Zub16s* pSrcDst, Zub32s QP, const float* m, Zub32s* pCount, int first) {
    if (!pSrcDst || !pCount) return ZubStatusNullPointer;
    if (QP == 0) return ZubStatusDivideByZero;
    const long double r = 1.0L / static_cast<long double>(QP);
    Zub32s count = 0;
    for (int p = first; p < 64; ++p) {
        const long double q = m ? (static_cast<long double>(pSrcDst[p] * 16) * r) * static_cast<long double>(m[p])
                                : static_cast<long double>(pSrcDst[p]) * r;
        pSrcDst[p] = store(q, count);
    }
    *pCount = count;
    return ZubStatusOk;
}

}  // namespace

ZubStatus zubiQuantIntra_MPEG2_16s_C1I(Zub16s* pSrcDst, Zub32s QP, const float* pQPMatrix, Zub32s* pCount) {
    return quantise(pSrcDst, QP, pQPMatrix ? pQPMatrix : DefaultIntraQuantMatrix, pCount, 1);
}

ZubStatus zubiQuant_MPEG2_16s_C1I(Zub16s* pSrcDst, Zub32s QP, const float* pQPMatrix, Zub32s* pCount) {
    return quantise(pSrcDst, QP, pQPMatrix, pCount, 0);
}
