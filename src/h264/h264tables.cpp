// Constant tables shared by several H.264 families.
#include "../common/sample.h"
#include "../common/table.h"
#include "zubvc.h"

namespace {
constexpr Zub8u clampEntry(int i) { return zub::clip8(i - 256); }

// --- CAVLC level decoding (clause 9.2.2.1) ---------------------------------
// Index i of the 7 x 16 tables: suffixLength = i / 16, level_prefix = i % 16.

// suffixLength grows once a level's magnitude exceeds 3 << (suffixLength - 1);
// from 0 it always grows.
constexpr Zub32s vlcIncEntry(int n) { return n == 0 ? 0 : 3 << (n - 1); }

// levelSuffixSize: 4 for prefix 14 at suffixLength 0, 12 for prefix 15,
// otherwise suffixLength.
constexpr Zub32s bitsToGetEntry(int i) {
    const int sl = i / 16, prefix = i % 16;
    if (prefix == 15) return 12;
    if (sl == 0) return prefix == 14 ? 4 : 0;
    return sl;
}

// The magnitude is (levelCode >> 1) + 1 where levelCode = (prefix << sl) +
// suffix (+ 15 for prefix 15 at suffixLength 0); this is the part that does
// not depend on the suffix, the decoder adding suffix >> 1.  At suffixLength 0
// below prefix 14 the prefix itself is the suffix, so the base is 1.
constexpr Zub32s addOffsetEntry(int i) {
    const int sl = i / 16, prefix = i % 16;
    if (sl == 0) return prefix < 14 ? 1 : (prefix == 14 ? 8 : 16);
    return (prefix << (sl - 1)) + 1;
}

constexpr Zub32s saddEntry(int sl) { return sl == 0 ? 15 : 0; }

// Table 9-9(a), total_zeros for TotalCoeff 1 of 2x2 chroma DC: 1, 01, 001,
// 000.  For the three bits after coeff_token "1" and the sign: (total_zeros,
// bits consumed counting the coeff_token and sign bits).
constexpr Zub8s chromaDcRunEntry(int i) {
    const int v = i / 2;
    const int tz = v >= 4 ? 0 : v >= 2 ? 1 : v == 1 ? 2 : 3;
    const int codeLen = tz == 3 ? 3 : tz + 1;
    return static_cast<Zub8s>(i % 2 == 0 ? tz : 2 + codeLen);
}

// --- DC dequantisation ------------------------------------------------------
constexpr Zub8u qp6Entry(int qp) { return static_cast<Zub8u>(qp / 6); }
constexpr Zub8u qpRemEntry(int qp) { return static_cast<Zub8u>(qp % 6); }

// Clause 8.5.9: the matrix v of normAdjust4x4, rows m = QP % 6.
constexpr int kNormAdjustV[6][3] = {
    {10, 16, 13}, {11, 18, 14}, {13, 20, 16}, {14, 23, 18}, {16, 25, 20}, {18, 29, 23},
};
// Flat weights (16): 16 x normAdjust4x4(m, i, j) in raster order, v[m][0] at
// even (i, j), v[m][1] at odd (i, j), v[m][2] elsewhere.
constexpr Zub16s levelScaleEntry(int k) {
    const int m = k / 16, i = (k % 16) / 4, j = k % 4;
    const int col = (i % 2 == 0 && j % 2 == 0) ? 0 : (i % 2 == 1 && j % 2 == 1) ? 1 : 2;
    return static_cast<Zub16s>(16 * kNormAdjustV[m][col]);
}
}  // namespace

const Zub8u ClampTbl[768] = {ZUB_GEN256(clampEntry, 0) ZUB_GEN256(clampEntry, 256) ZUB_GEN256(clampEntry, 512)};

const Zub32s vlc_inc[6] = {ZUB_GEN4(vlcIncEntry, 0) ZUB_GEN2(vlcIncEntry, 4)};
const Zub32s bitsToGetTbl16s[7][16] = {ZUB_GEN64(bitsToGetEntry, 0) ZUB_GEN32(bitsToGetEntry, 64)
                                           ZUB_GEN16(bitsToGetEntry, 96)};
const Zub32s addOffsetTbl16s[7][16] = {ZUB_GEN64(addOffsetEntry, 0) ZUB_GEN32(addOffsetEntry, 64)
                                           ZUB_GEN16(addOffsetEntry, 96)};
const Zub32s sadd[7] = {ZUB_GEN4(saddEntry, 0) ZUB_GEN2(saddEntry, 4) ZUB_GEN1(saddEntry, 6)};
const Zub8s ChromaDCRunTable[16] = {ZUB_GEN16(chromaDcRunEntry, 0)};

// Clause 8.5.11.1: the 4:2:2 chroma DC values c0..c7 in the 4x2 matrix
// c = [c0 c2; c1 c5; c3 c6; c4 c7]; entry k is the raster index (2 columns)
// of ck.
const Zub32u ChromaDC422RasterScan[8] = {0, 2, 1, 4, 6, 3, 5, 7};

const Zub8u h264_qp6[90] = {ZUB_GEN64(qp6Entry, 0) ZUB_GEN16(qp6Entry, 64) ZUB_GEN8(qp6Entry, 80)
                                ZUB_GEN2(qp6Entry, 88)};
const Zub8u h264_qp_rem[90] = {ZUB_GEN64(qpRemEntry, 0) ZUB_GEN16(qpRemEntry, 64) ZUB_GEN8(qpRemEntry, 80)
                                   ZUB_GEN2(qpRemEntry, 88)};
const Zub16s InvLevelScale_4x4_default[6][16] = {ZUB_GEN64(levelScaleEntry, 0) ZUB_GEN32(levelScaleEntry, 64)};
