// Coefficient reordering between raster and scan order.
#include "zubvc.h"

namespace {

const Zub8u* scanTable(int scan) { return scan == 1 ? ownvc_AltScanV : (scan == 2 ? ownvc_AltScanH : ownvc_Zigzag); }

}  // namespace

ZubStatus zubiScanFwd_16s_C1(const Zub16s* pSrc, Zub16s* pDst, int countNonZero, int scan) {
    if (!pSrc || !pDst) return ZubStatusNullPointer;
    if (countNonZero < 1 || countNonZero > 64) return ZubStatusOutOfRange;
    const Zub8u* s = scanTable(scan);
    if (countNonZero >= 20) {
        for (int k = 0; k < 64; ++k) pDst[k] = pSrc[s[k]];
        return ZubStatusOk;
    }
    for (int k = 0; k < 64; ++k) pDst[k] = 0;
    for (int k = 0, found = 0; k < 64 && found < countNonZero; ++k) {
        const Zub16s v = pSrc[s[k]];
        if (v) {
            pDst[k] = v;
            ++found;
        }
    }
    return ZubStatusOk;
}

ZubStatus zubiScanInv_16s_C1(const Zub16s* pSrc, Zub16s* pDst, int indxLastNonZero, int scan) {
    if (!pSrc || !pDst) return ZubStatusNullPointer;
    if (indxLastNonZero < 0 || indxLastNonZero > 63) return ZubStatusOutOfRange;
    const Zub8u* s = scanTable(scan);
    const Zub16s dc = pSrc[0];
    for (int k = 0; k < 64; ++k) pDst[k] = 0;
    pDst[0] = dc;
    for (int k = 1; k <= indxLastNonZero; ++k) pDst[s[k]] = pSrc[k];
    return ZubStatusOk;
}
