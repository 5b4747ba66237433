// CAVLC residual block writer: the encoder side of H.264 clause 9.2, for
// tests, benchmarks and example encoders.
#ifndef ZUBVC_TOOLS_H264CAVLCWRITER_H
#define ZUBVC_TOOLS_H264CAVLCWRITER_H

#include <cstdint>

#include "zubvc_tools/bitwriter.h"

namespace zubtools {

// Writes one residual block: coeff_token, trailing-one signs, the remaining
// levels (level_prefix / level_suffix with suffixLength adaptation and
// escapes of level_prefix 15 and more), total_zeros and run_before.
//  - levels: the block's levels in scan order, maxNumCoeff of them: 16, or 15
//    for AC blocks (scan positions 1..15), 4 for 2x2 chroma DC, 8 for 2x4
//    chroma DC (in the chroma DC scan order c0..c7);
//  - nC: 0.. for 4x4 blocks (8 and above: the fixed-length coeff_token), -1
//    for 2x2 and -2 for 2x4 chroma DC.
// Levels are limited to -32768..32768 (level codes of 16 bits).  Returns
// TotalCoeff.  Throws std::invalid_argument on arguments outside these sets.
int writeCavlcBlock(BitWriter& bw, const int32_t* levels, int maxNumCoeff, int nC);

// Writes one level (clause 9.2.2.1) with the given suffixLength;
// `trailingOnesBonus` marks the first level after fewer than three trailing
// ones, whose magnitude is coded less one.
void writeCavlcLevel(BitWriter& bw, int32_t level, int suffixLength, bool trailingOnesBonus);

}  // namespace zubtools

#endif
