// The H.264 CAVLC code tables that callers of the library's CAVLC decoders
// supply (coeff_token, total_zeros, run_before; H.264 clause 9.2), built into
// the library's multi-level table format, and the code words themselves for
// encoders.
#ifndef ZUBVC_TOOLS_H264CAVLC_H
#define ZUBVC_TOOLS_H264CAVLC_H

#include "zubvc.h"
#include "zubvc_tools/vlc.h"

namespace zubtools {

// coeff_token entries carry TrailingOnes in bits 8..15 and TotalCoeff in bits
// 16..23; total_zeros and run_before entries their value in bits 8..31.
struct H264CavlcTables {
    const Zub32s* coeffToken[3];             // 0<=nC<2, 2<=nC<4, 4<=nC<8
    const Zub32s* coeffTokenChromaDc;        // nC == -1 (4:2:0 chroma DC)
    const Zub32s* coeffTokenChromaDc422;     // nC == -2 (4:2:2 chroma DC)
    const Zub32s* totalZeros[16];            // index TotalCoeff 1..15 (4x4); [0] null
    const Zub32s* totalZerosChromaDc[4];     // index 1..3
    const Zub32s* totalZerosChromaDc422[8];  // index 1..7
    const Zub32s* runBefore[16];             // index zerosLeft 1..15 (7 and above: the >6 code); [0] null
};

// Built once (thread-safe static), never freed.
const H264CavlcTables& h264CavlcTables();

// Code words of the standard's tables (code, length; fields as in the built
// tables).  A combination the table does not code has length 0.
// Table 9-5, coeff_token, chosen by nC: 0..7 (the three variable-length
// columns), -1 and -2 (chroma DC); nC >= 8 is the 6-bit fixed-length code.
VlcCode h264CoeffTokenCode(int nC, int trailingOnes, int totalCoeff);
// Tables 9-7, 9-8 (maxNumCoeff 15 or 16), 9-9(a) (4) and 9-9(b) (8).
VlcCode h264TotalZerosCode(int maxNumCoeff, int totalCoeff, int totalZeros);
// Table 9-10 (zerosLeft 1..6, and above 6).
VlcCode h264RunBeforeCode(int zerosLeft, int runBefore);

}  // namespace zubtools

#endif
