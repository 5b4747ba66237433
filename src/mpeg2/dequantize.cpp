// MPEG-2 inverse quantisation of a coefficient block in place (ISO/IEC
// 13818-2 clause 7.4), with saturation and mismatch control.
#include "mpeg2arith.h"
#include "zubvc.h"

using zub::mulWrap;
using zub::signOf;

namespace {

// 2047 and above become 2047, below -2047 -2048.
constexpr int32_t saturate(int32_t v) { return v >= 2047 ? 2047 : (v < -2047 ? -2048 : v); }

}  // namespace

ZubStatus zubiQuantInvIntra_MPEG2_16s_C1I(Zub16s* pSrcDst, Zub32s QP, const Zub16s* pQPMatrix) {
    if (!pSrcDst || !pQPMatrix) return ZubStatusNullPointer;
    int32_t sum = pSrcDst[0];
    for (int p = 1; p < 64; ++p) {
        const int32_t v = saturate(mulWrap(mulWrap(mulWrap(pSrcDst[p], QP), pQPMatrix[p]), 2) / 32);
        pSrcDst[p] = static_cast<Zub16s>(v);
        sum += v;
    }
    zub::mismatchControl(pSrcDst, sum);
    return ZubStatusOk;
}

ZubStatus zubiQuantInv_MPEG2_16s_C1I(Zub16s* pSrcDst, Zub32s QP, const Zub16s* pQPMatrix) {
    if (!pSrcDst) return ZubStatusNullPointer;
    int32_t sum = 0;
    for (int p = 0; p < 64; ++p) {
        const int32_t a = pSrcDst[p];
        if (a == 0) continue;
        const int32_t twice = 2 * a + signOf(a);
        const int32_t v = saturate(pQPMatrix ? mulWrap(mulWrap(pQPMatrix[p], QP), twice) / 32 : mulWrap(QP, twice) / 2);
        pSrcDst[p] = static_cast<Zub16s>(v);
        sum += v;
    }
    zub::mismatchControl(pSrcDst, sum);
    return ZubStatusOk;
}
