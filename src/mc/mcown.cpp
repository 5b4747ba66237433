// The exported kernels of the motion compensation tables, each an instance of
// the one block template (mcown.h): 16xH, 8xH and interleaved-chroma 16xH
// kernels for one and two references, and the fixed-size mcl kernels
// (2x2 .. 4x8).  Names: <form>_<position>[_<second position>].
#include "mcown.h"

namespace {

// Block width, horizontal tap distance and (mcl) height of each form.
namespace geom {
struct mc_16xH { static constexpr int W = 16, XS = 1; };
struct mc_8xH { static constexpr int W = 8, XS = 1; };
struct mcuv_16xH { static constexpr int W = 16, XS = 2; };
struct mcl_2x2 { static constexpr int W = 2, H = 2; };
struct mcl_2x4 { static constexpr int W = 2, H = 4; };
struct mcl_4x2 { static constexpr int W = 4, H = 2; };
struct mcl_4x4 { static constexpr int W = 4, H = 4; };
struct mcl_4x8 { static constexpr int W = 4, H = 8; };
}  // namespace geom

using zub::mc::Combine;
using zub::mc::block;
namespace pos = zub::mc::pos;

}  // namespace

#define ZUB_DEF_MC(a, p)                                                                                      \
    void a##_##p(int height, const Zub8u* pSrcRef, Zub32s srcStep, const Zub16s* pSrcYData,                   \
                 Zub32s srcYDataStep, Zub8u* pDst, Zub32s dstStep, Zub32s, Zub32s roundControl) {            \
        block<geom::a::W, geom::a::XS, pos::p, 0, Combine::Add>(height, pSrcRef, srcStep, nullptr, 0,        \
                                                               pSrcYData, srcYDataStep, pDst, dstStep,       \
                                                               roundControl);                                \
    }
#define ZUB_DEF_MCB2(a, p1, p2)                                                                               \
    void a##_##p1##_##p2(int height, const Zub8u* pSrcRefF, Zub32s srcStepF, Zub32s, const Zub8u* pSrcRefB,   \
                         Zub32s srcStepB, Zub32s, const Zub16s* pSrcYData, Zub32s srcYDataStep, Zub8u* pDst,  \
                         Zub32s dstStep, Zub32s roundControl) {                                               \
        block<geom::a::W, geom::a::XS, pos::p1, pos::p2, Combine::BiAdd>(height, pSrcRefF, srcStepF,         \
                                                                        pSrcRefB, srcStepB, pSrcYData,       \
                                                                        srcYDataStep, pDst, dstStep,         \
                                                                        roundControl);                       \
    }
#define ZUB_DEF_MCB(a, p1) \
    ZUB_DEF_MCB2(a, p1, xfyf) ZUB_DEF_MCB2(a, p1, xfyh) ZUB_DEF_MCB2(a, p1, xhyf) ZUB_DEF_MCB2(a, p1, xhyh)
#define ZUB_DEF_MCL(a, p)                                                                                     \
    void a##_##p(const Zub8u* pSrcRef, Zub32s srcStep, const Zub16s* pSrcYData, Zub32s srcYDataStep,          \
                 Zub8u* pDst, Zub32s dstStep, Zub32s roundControl) {                                          \
        block<geom::a::W, 1, pos::p, 0, Combine::Add>(geom::a::H, pSrcRef, srcStep, nullptr, 0, pSrcYData,   \
                                                      srcYDataStep, pDst, dstStep, roundControl);            \
    }
#define ZUB_DEF_MCLB2(a, p1, p2)                                                                              \
    void a##_##p1##_##p2(const Zub8u* pSrcRefF, Zub32s srcStepF, const Zub8u* pSrcRefB, Zub32s srcStepB,      \
                         const Zub16s* pSrcYData, Zub32s srcYDataStep, Zub8u* pDst, Zub32s dstStep,           \
                         Zub32s roundControl) {                                                               \
        block<geom::a::W, 1, pos::p1, pos::p2, Combine::BiAdd>(geom::a::H, pSrcRefF, srcStepF, pSrcRefB,     \
                                                              srcStepB, pSrcYData, srcYDataStep, pDst,       \
                                                              dstStep, roundControl);                        \
    }
#define ZUB_DEF_MCLB(a, p1) \
    ZUB_DEF_MCLB2(a, p1, xiyi) ZUB_DEF_MCLB2(a, p1, xiyh) ZUB_DEF_MCLB2(a, p1, xhyi) ZUB_DEF_MCLB2(a, p1, xhyh)

ZUBVC_MC_P4(ZUB_DEF_MC, mc_16xH)
ZUBVC_MC_P4(ZUB_DEF_MC, mc_8xH)
ZUBVC_MC_P4(ZUB_DEF_MC, mcuv_16xH)
ZUBVC_MC_P4(ZUB_DEF_MCB, mc_16xH)
ZUBVC_MC_P4(ZUB_DEF_MCB, mc_8xH)
ZUBVC_MC_P4(ZUB_DEF_MCB, mcuv_16xH)
ZUBVC_MCL_P4(ZUB_DEF_MCL, mcl_2x2)
ZUBVC_MCL_P4(ZUB_DEF_MCL, mcl_2x4)
ZUBVC_MCL_P4(ZUB_DEF_MCL, mcl_4x2)
ZUBVC_MCL_P4(ZUB_DEF_MCL, mcl_4x4)
ZUBVC_MCL_P4(ZUB_DEF_MCL, mcl_4x8)
ZUBVC_MCL_P4(ZUB_DEF_MCLB, mcl_2x2)
ZUBVC_MCL_P4(ZUB_DEF_MCLB, mcl_2x4)
ZUBVC_MCL_P4(ZUB_DEF_MCLB, mcl_4x2)
ZUBVC_MCL_P4(ZUB_DEF_MCLB, mcl_4x4)
ZUBVC_MCL_P4(ZUB_DEF_MCLB, mcl_4x8)
