// Internal templates of the block motion compensation family: one kernel
// template over block width, horizontal tap distance (1 for one-channel
// planes, 2 for interleaved chroma pairs), the half-sample position of each
// reference and the way the prediction meets the residual or destination.
// Every exported kernel and every table entry is an instance of `block`.
#ifndef ZUBVC_MC_MCOWN_H
#define ZUBVC_MC_MCOWN_H

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "../common/sample.h"
#include "zubvc.h"

namespace zub::mc {

// Half-sample positions m: 0 full, 1 half vertically, 2 half horizontally,
// 3 both; the kernel names spell them xfyf / xiyi ... xhyh.
namespace pos {
inline constexpr int xfyf = 0, xfyh = 1, xhyf = 2, xhyh = 3;
inline constexpr int xiyi = 0, xiyh = 1, xhyi = 2;
}  // namespace pos

// m of a zubiMC* position argument (bits 2 and 3) and of an accuracy
// argument (bit 0 horizontal, bit 1 vertical).
constexpr int positionIndex(int mcType) { return (mcType >> 2) & 3; }
constexpr int accuracyIndex(int acc) { return ((acc & 1) << 1) | ((acc >> 1) & 1); }

// What a kernel does with its prediction p (p1, p2 for two references).
enum class Combine {
    Add,     // sat(p + res)
    BiAdd,   // sat((p1 + p2 + 2 res + 1) >> 1)
    Copy,    // p
    Bi,      // (p1 + p2 + 1) >> 1
    AvgDst,  // (p + dst + 1) >> 1
    AddDst,  // sat(dst + res), no reference
};

// Prediction at column x of the row at r (step rs), horizontal neighbour XS
// bytes away; rounding (a + b + 1 - rc) >> 1 and (a + b + c + d + 2 - rc) >> 2.
template <int M, int XS>
inline int predict(const uint8_t* r, std::ptrdiff_t rs, int x, int rc) {
    if constexpr (M == 0) return r[x];
    else if constexpr (M == 1) return (r[x] + r[x + rs] + 1 - rc) >> 1;
    else if constexpr (M == 2) return (r[x] + r[x + XS] + 1 - rc) >> 1;
    else return (r[x] + r[x + XS] + r[x + rs] + r[x + rs + XS] + 2 - rc) >> 2;
}

inline const int16_t* advance(const int16_t* p, std::ptrdiff_t stepBytes) {
    return reinterpret_cast<const int16_t*>(reinterpret_cast<const uint8_t*>(p) + stepBytes);
}

// W bytes by h rows.  r1/s1 are read except for AddDst, r2/s2 for BiAdd
// and Bi, res/rs for Add, BiAdd and AddDst; steps in bytes.  The destination
// never overlaps the references or the residual (in-place forms read it
// through d only), which lets the compiler vectorise the rows.
template <int W, int XS, int M1, int M2, Combine C>
inline void block(int h, const uint8_t* __restrict r1, std::ptrdiff_t s1, const uint8_t* __restrict r2,
                  std::ptrdiff_t s2, const int16_t* __restrict res, std::ptrdiff_t rs, uint8_t* __restrict d,
                  std::ptrdiff_t ds, int rc) {
    if constexpr (C == Combine::Copy && M1 == 0) {  // whole samples: row copies
        for (int y = 0; y < h; ++y, r1 += s1, d += ds) std::memcpy(d, r1, W);
        return;
    }
    for (int y = 0; y < h; ++y) {
        for (int x = 0; x < W; ++x) {
            const int p1 = C == Combine::AddDst ? d[x] : predict<M1, XS>(r1, s1, x, rc);
            if constexpr (C == Combine::Add || C == Combine::AddDst) {
                d[x] = clip8(p1 + res[x]);
            } else if constexpr (C == Combine::BiAdd) {
                d[x] = clip8((p1 + predict<M2, XS>(r2, s2, x, rc) + 2 * res[x] + 1) >> 1);
            } else if constexpr (C == Combine::Copy) {
                d[x] = static_cast<uint8_t>(p1);
            } else if constexpr (C == Combine::Bi) {
                d[x] = static_cast<uint8_t>((p1 + predict<M2, XS>(r2, s2, x, rc) + 1) >> 1);
            } else {
                d[x] = static_cast<uint8_t>((p1 + d[x] + 1) >> 1);
            }
        }
        if constexpr (C != Combine::AddDst) r1 += s1;
        if constexpr (C == Combine::BiAdd || C == Combine::Bi) r2 += s2;
        if constexpr (C == Combine::Add || C == Combine::BiAdd || C == Combine::AddDst) res = advance(res, rs);
        d += ds;
    }
}

// Half-sample copy of a W x H block with the rounding control fixed: the
// members of the ownvc_Copy*HP tables.
template <int W, int H, int M, int RC>
void copyHP(const Zub8u* pSrc, Zub32s srcStep, Zub8u* pDst, Zub32s dstStep) {
    block<W, 1, M, 0, Combine::Copy>(H, pSrc, srcStep, nullptr, 0, nullptr, 0, pDst, dstStep, RC);
}

}  // namespace zub::mc

#endif
