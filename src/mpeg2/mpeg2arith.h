// Internal arithmetic of the MPEG-1/2 block functions.
#ifndef ZUBVC_MPEG2_MPEG2ARITH_H
#define ZUBVC_MPEG2_MPEG2ARITH_H

#include <cstdint>

namespace zub {

// 32-bit product that wraps like the machine's instead of overflowing.
constexpr int32_t mulWrap(int32_t a, int32_t b) {
    return static_cast<int32_t>(static_cast<uint32_t>(a) * static_cast<uint32_t>(b));
}
constexpr int32_t signOf(int32_t v) { return (v > 0) - (v < 0); }

// MPEG-2 mismatch control (ISO/IEC 13818-2 clause 7.4.4): an even sum of
// the coefficients toggles bit 0 of the last one.
inline void mismatchControl(int16_t* block, int32_t sum) {
    if ((sum & 1) == 0) block[63] = static_cast<int16_t>(block[63] ^ 1);
}

}  // namespace zub

#endif
