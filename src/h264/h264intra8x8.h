// Neighbours that each Intra_8x8 (and Intra_4x4) mode reads, shared by the
// 8x8 predictor and the macroblock reconstruction that checks every block's
// mode before it writes anything.
#ifndef ZUBVC_H264_INTRA8X8_H
#define ZUBVC_H264_INTRA8X8_H

#include "zubvc.h"

namespace zub::h264 {

// Table 8-3 order; the above-right samples are substituted when missing and
// are never required.
inline constexpr int kIntraNxNNeeds[9] = {
    ZubIntraAvailTop,
    ZubIntraAvailLeft,
    0,
    ZubIntraAvailTop,
    ZubIntraAvailTop | ZubIntraAvailLeft | ZubIntraAvailTopLeft,
    ZubIntraAvailTop | ZubIntraAvailLeft | ZubIntraAvailTopLeft,
    ZubIntraAvailTop | ZubIntraAvailLeft | ZubIntraAvailTopLeft,
    ZubIntraAvailTop,
    ZubIntraAvailLeft};

}  // namespace zub::h264

#endif
