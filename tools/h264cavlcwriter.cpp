#include "zubvc_tools/h264cavlcwriter.h"

#include <stdexcept>

#include "zubvc_tools/h264cavlc.h"

namespace zubtools {

namespace {

void putZeros(BitWriter& bw, int n) {
    for (; n > 32; n -= 32) bw.put(0, 32);
    bw.put(0, n);
}

void putCode(BitWriter& bw, const VlcCode& c) {
    if (c.length == 0) throw std::invalid_argument("no code word for this combination");
    bw.put(c.code, c.length);
}

}  // namespace

void writeCavlcLevel(BitWriter& bw, int32_t level, int suffixLength, bool trailingOnesBonus) {
    if (level == 0 || level < -32768 || level > 32768) throw std::invalid_argument("level outside the codable range");
    // levelCode: 2|level| - 2 for positive levels, 2|level| - 1 for negative.
    int64_t levelCode = level > 0 ? 2 * int64_t{level} - 2 : -2 * int64_t{level} - 1;
    if (trailingOnesBonus) levelCode -= 2;
    if (levelCode < 0) throw std::invalid_argument("level of magnitude 1 after fewer than three trailing ones");

    int prefix;
    int64_t suffix = 0;
    int suffixSize = 0;
    // Codes below level_prefix 15 (14 at suffixLength 0 takes a 4-bit suffix).
    const int64_t escapeBase = suffixLength == 0 ? 30 : (int64_t{15} << suffixLength);
    if (suffixLength == 0 && levelCode < 14) {
        prefix = static_cast<int>(levelCode);
    } else if (suffixLength == 0 && levelCode < 30) {
        prefix = 14;
        suffix = levelCode - 14;
        suffixSize = 4;
    } else if (suffixLength > 0 && levelCode < escapeBase) {
        prefix = static_cast<int>(levelCode >> suffixLength);
        suffix = levelCode & ((int64_t{1} << suffixLength) - 1);
        suffixSize = suffixLength;
    } else {
        // level_prefix p >= 15 has a suffix of p - 3 bits and covers the
        // codes escapeBase + (2^(p-3) - 4096) onwards.
        const int64_t rest = levelCode - escapeBase;
        prefix = 15;
        while (rest >= (int64_t{1} << (prefix - 2)) - 4096) ++prefix;
        suffix = rest - ((int64_t{1} << (prefix - 3)) - 4096);
        suffixSize = prefix - 3;
    }
    putZeros(bw, prefix);
    bw.put(1, 1);
    if (suffixSize) bw.put(static_cast<uint32_t>(suffix), suffixSize);
}

int writeCavlcBlock(BitWriter& bw, const int32_t* levels, int maxNumCoeff, int nC) {
    const bool chromaDc = nC < 0;
    if (chromaDc ? !((nC == -1 && maxNumCoeff == 4) || (nC == -2 && maxNumCoeff == 8))
                 : (maxNumCoeff != 15 && maxNumCoeff != 16))
        throw std::invalid_argument("block kind");

    // Nonzero levels from the highest frequency down, with their positions.
    int32_t value[16];
    int pos[16];
    int totalCoeff = 0;
    for (int i = maxNumCoeff - 1; i >= 0; --i)
        if (levels[i] != 0) {
            value[totalCoeff] = levels[i];
            pos[totalCoeff++] = i;
        }
    int trailingOnes = 0;
    while (trailingOnes < totalCoeff && trailingOnes < 3 && (value[trailingOnes] == 1 || value[trailingOnes] == -1))
        ++trailingOnes;

    putCode(bw, h264CoeffTokenCode(nC, trailingOnes, totalCoeff));
    if (totalCoeff == 0) return 0;

    for (int i = 0; i < trailingOnes; ++i) bw.put(value[i] < 0 ? 1u : 0u, 1);
    int suffixLength = (totalCoeff > 10 && trailingOnes < 3) ? 1 : 0;
    for (int i = trailingOnes; i < totalCoeff; ++i) {
        writeCavlcLevel(bw, value[i], suffixLength, i == trailingOnes && trailingOnes < 3);
        // suffixLength adaptation of clause 9.2.2.1.
        if (suffixLength == 0) suffixLength = 1;
        const int32_t mag = value[i] < 0 ? -value[i] : value[i];
        if (mag > (3 << (suffixLength - 1)) && suffixLength < 6) ++suffixLength;
    }

    const int totalZeros = pos[0] + 1 - totalCoeff;
    if (totalCoeff < maxNumCoeff) putCode(bw, h264TotalZerosCode(maxNumCoeff, totalCoeff, totalZeros));
    int zerosLeft = totalZeros;
    for (int i = 0; i < totalCoeff - 1 && zerosLeft > 0; ++i) {
        const int run = pos[i] - pos[i + 1] - 1;
        putCode(bw, h264RunBeforeCode(zerosLeft, run));
        zerosLeft -= run;
    }
    return totalCoeff;
}

}  // namespace zubtools
