// H.264 deblocking of high-bit-depth samples held in 16-bit words: the same
// filters as the 8-bit members (one template), with alpha, beta and tc0 as
// 16-bit values already scaled by the caller, sums in 32 bits and results
// saturated to 0..(1 << bitDepth) - 1.  Row steps count samples.
#include "h264deblocking.h"

using namespace zub::deblock;

namespace {

// MBAFF left edges: alpha and beta point to one value each; alpha = 0 or an
// all-zero bS word returns at once, after the argument checks.
template <bool Luma, bool StepTest>
ZubStatus filterMbaff16u(const H264DeblockingParams* p) {
    if (recordHasNull(p)) return ZubStatusNullPointer;
    if (StepTest && p->srcDstStep < 1) return ZubStatusBadStep;
    return mbaffEdge<Zub16u, Luma>(static_cast<Zub16u*>(p->srcDst), p->srcDstStep,
                                   *static_cast<const Zub16u*>(p->alpha), *static_cast<const Zub16u*>(p->beta),
                                   static_cast<const Zub16u*>(p->thresholds), p->bS, recordMaxVal<Zub16u>(p));
}

}  // namespace

ZubStatus zubiFilterDeblockingLumaVerEdge_H264_16u_C1IR(const H264DeblockingParams* pDeblockInfo) {
    return filterRecord<Zub16u, lumaEdges<Zub16u, true>, true>(pDeblockInfo);
}

ZubStatus zubiFilterDeblockingLumaHorEdge_H264_16u_C1IR(const H264DeblockingParams* pDeblockInfo) {
    return filterRecord<Zub16u, lumaEdges<Zub16u, false>, true>(pDeblockInfo);
}

ZubStatus zubiFilterDeblockingLumaVerEdgeMBAFF_H264_16u_C1IR(const H264DeblockingParams* pDeblockInfo) {
    return filterMbaff16u<true, true>(pDeblockInfo);
}

ZubStatus zubiFilterDeblockingChromaVerEdge_H264_16u_C1IR(const H264DeblockingParams* pDeblockInfo) {
    return filterRecord<Zub16u, chromaVerEdges<Zub16u, 2>, true>(pDeblockInfo);
}

// Top edge strong as a whole when bS byte 0 is 4; internal edge never strong.
ZubStatus zubiFilterDeblockingChromaHorEdge_H264_16u_C1IR(const H264DeblockingParams* pDeblockInfo) {
    return filterRecord<Zub16u, chromaHorEdges<Zub16u>, true>(pDeblockInfo);
}

// The one 16u member without the step test: any srcDstStep is taken as
// given.  It saturates with bitDepth like the other members.
ZubStatus zubiFilterDeblockingChromaVerEdgeMBAFF_H264_16u_C1IR(const H264DeblockingParams* pDeblockInfo) {
    return filterMbaff16u<false, false>(pDeblockInfo);
}

// Saturates with bitDepth as the other 16u members do.
ZubStatus zubiFilterDeblockingChroma422VerEdge_H264_16u_C1IR(const H264DeblockingParams* pDeblockInfo) {
    return filterRecord<Zub16u, chromaVerEdges<Zub16u, 4>, true>(pDeblockInfo);
}

ZubStatus zubiFilterDeblockingChroma422HorEdge_H264_16u_C1IR(const H264DeblockingParams* pDeblockInfo) {
    return filterRecord<Zub16u, chroma422HorEdges<Zub16u>, true>(pDeblockInfo);
}

ZubStatus zubiFilterDeblockingChroma422VerEdgeMBAFF_H264_16u_C1IR(const H264DeblockingParams*) {
    return ZubStatusNotImplemented;
}
