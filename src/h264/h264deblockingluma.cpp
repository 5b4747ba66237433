// H.264 deblocking of 8-bit luma (clause 8.7.2): the four vertical and four
// horizontal edges of a macroblock, and the MBAFF left edge.
#include "h264deblocking.h"

using namespace zub::deblock;

ZubStatus zubiFilterDeblockingLuma_VerEdge_H264_8u_C1IR(Zub8u* pSrcDst, Zub32s srcDstStep, const Zub8u* pAlpha,
                                                        const Zub8u* pBeta, const Zub8u* pThresholds,
                                                        const Zub8u* pBS) {
    return filterPlain8u<lumaEdges<Zub8u, true>>(pSrcDst, srcDstStep, pAlpha, pBeta, pThresholds, pBS);
}

ZubStatus zubiFilterDeblockingLuma_HorEdge_H264_8u_C1IR(Zub8u* pSrcDst, Zub32s srcDstStep, const Zub8u* pAlpha,
                                                        const Zub8u* pBeta, const Zub8u* pThresholds,
                                                        const Zub8u* pBS) {
    return filterPlain8u<lumaEdges<Zub8u, false>>(pSrcDst, srcDstStep, pAlpha, pBeta, pThresholds, pBS);
}

// Null tests of pSrcDst, pThresholds and pBS, then the early returns for
// alpha = 0 and an all-zero bS word; beta is taken as given.
ZubStatus zubiFilterDeblockingLuma_VerEdge_MBAFF_H264_8u_C1IR(Zub8u* pSrcDst, Zub32s srcDstStep, Zub8u alpha,
                                                              Zub8u beta, const Zub8u* pThresholds,
                                                              const Zub8u* pBS) {
    if (!pSrcDst || !pThresholds || !pBS) return ZubStatusNullPointer;
    return mbaffEdge<Zub8u, true>(pSrcDst, srcDstStep, alpha, beta, pThresholds, pBS, 255);
}
