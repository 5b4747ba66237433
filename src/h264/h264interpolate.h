// Internal declarations shared by the H.264 interpolation modules: the limits
// of the local buffers and the 16-bit chroma evaluation without dispatch.
#ifndef ZUBVC_H264_H264INTERPOLATE_H
#define ZUBVC_H264_H264INTERPOLATE_H

#include <cstddef>

#include "zubvc.h"

namespace zub::h264 {

// Kernels work on at most this many columns at a time (the H.264 partition
// width); wider blocks accepted by the 8-bit checks are done in column strips.
inline constexpr int kStripWidth = 16;
// Functions that copy a footprint into a local buffer do so for at most this
// many block rows at a time.
inline constexpr int kStripHeight = 16;
// Widest block the Block and Top/Bottom functions accept (width & ~28 == 0).
inline constexpr int kMaxBlockWidth = 28;
// Six-tap footprint margins: two samples before, three after.
inline constexpr int kLumaMarginBefore = 2;
inline constexpr int kLumaMarginExtra = 5;

// (A (8-dx)(8-dy) + B dx (8-dy) + C (8-dx) dy + D dx dy + 32) >> 6 for every
// sample, whatever dx and dy (H.264 equation 8-270); reads the column right of
// the block and the row below it also when a fraction is 0.
void interpolateChromaAllWeights16u(const Zub16u* src, std::ptrdiff_t srcStep, Zub16u* dst,
                                    std::ptrdiff_t dstStep, int dx, int dy, int width, int height);

}  // namespace zub::h264

#endif
