// H.264 deblocking of 8-bit chroma (clause 8.7.2): 4:2:0 and 4:2:2
// macroblocks and the MBAFF left edge.
#include "h264deblocking.h"

using namespace zub::deblock;

// Edge k at column 4k uses bS bytes 8k..8k + 3, one per row pair.
ZubStatus zubiFilterDeblockingChroma_VerEdge_H264_8u_C1IR(Zub8u* pSrcDst, Zub32s srcDstStep, const Zub8u* pAlpha,
                                                          const Zub8u* pBeta, const Zub8u* pThresholds,
                                                          const Zub8u* pBS) {
    return filterPlain8u<chromaVerEdges<Zub8u, 2>>(pSrcDst, srcDstStep, pAlpha, pBeta, pThresholds, pBS);
}

// The top edge takes the bS = 4 filter as a whole when bS byte 0 is 4 and
// otherwise the bS < 4 filter on every non-zero column pair, even one whose
// byte is 4; the internal edge never takes the bS = 4 filter.  Deliberately
// unlike the vertical edges, which test bS = 4 per row pair.
ZubStatus zubiFilterDeblockingChroma_HorEdge_H264_8u_C1IR(Zub8u* pSrcDst, Zub32s srcDstStep, const Zub8u* pAlpha,
                                                          const Zub8u* pBeta, const Zub8u* pThresholds,
                                                          const Zub8u* pBS) {
    return filterPlain8u<chromaHorEdges<Zub8u>>(pSrcDst, srcDstStep, pAlpha, pBeta, pThresholds, pBS);
}

ZubStatus zubiFilterDeblockingChroma_VerEdge_MBAFF_H264_8u_C1IR(Zub8u* pSrcDst, Zub32s srcDstStep, Zub8u alpha,
                                                                Zub8u beta, const Zub8u* pThresholds,
                                                                const Zub8u* pBS) {
    if (!pSrcDst || !pThresholds || !pBS) return ZubStatusNullPointer;
    return mbaffEdge<Zub8u, false>(pSrcDst, srcDstStep, alpha, beta, pThresholds, pBS, 255);
}

// The record and its five pointers are the six pointers tested; the step is
// not checked.
ZubStatus zubiFilterDeblockingChroma422VerEdge_H264_8u_C1IR(const H264DeblockingParams* pDeblockInfo) {
    return filterRecord<Zub8u, chromaVerEdges<Zub8u, 4>, false>(pDeblockInfo);
}

ZubStatus zubiFilterDeblockingChroma422HorEdge_H264_8u_C1IR(const H264DeblockingParams* pDeblockInfo) {
    return filterRecord<Zub8u, chroma422HorEdges<Zub8u>, false>(pDeblockInfo);
}

ZubStatus zubiFilterDeblockingChroma422VerEdgeMBAFF_H264_8u_C1IR(const H264DeblockingParams*) {
    return ZubStatusNotImplemented;
}
