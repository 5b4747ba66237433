// MPEG-1/MPEG-2 run-level encoding of DCT blocks (ISO/IEC 11172-2 clause
// 2.4.3.7, ISO/IEC 13818-2 clause 6.2.6): encode tables built from the same
// code lists as the decode tables, and writers of intra and non-intra blocks
// at a word cursor.
#include <cstdint>

#include "../common/bitstream.h"
#include "zubvc.h"

using zub::WordWriter;

namespace {

// Encode table words:
//   [0] kind: 0 single-value, 1 run-level;
//   single-value: [1] the smallest value v0, [2] the number of values n,
//     [3 ..] the code of v0 .. v0 + n - 1;
//   run-level: [1] the largest level magnitude M, [2] end of block, [3]
//     escape, [4 ..] the code of (run, level) at 4 + run (2M + 1) + level + M
//     for runs 0..63 and levels -M..M.
// A code is (length << 24) | bits, length 1..24; 0 means no code.
constexpr int kRuns = 64;
constexpr int kEndOfBlock = 254;
constexpr int kEscape = 255;
constexpr int64_t kMaxWords = int64_t{1} << 22;

constexpr uint32_t packCode(Zub32s code, int length) {
    return (static_cast<uint32_t>(length) << 24) | (static_cast<uint32_t>(code) & zub::bitMask(length));
}

// Calls f(code, length, record) for every record of a source list.
template <class F>
void forEachRecord(const Zub32s* src, int stride, F&& f) {
    const Zub32s* p = src + 2 + src[1];
    for (int length = 1; p[0] >= 0; ++length) {
        const int count = p[0];
        ++p;
        for (int n = 0; n < count; ++n, p += stride) f(p[0], length, p);
    }
}

uint32_t* allocWords(int64_t words) {
    if (words > kMaxWords) return nullptr;
    uint32_t* t = reinterpret_cast<uint32_t*>(zubsMalloc_8u(static_cast<int>(words * 4)));
    if (t)
        for (int64_t i = 0; i < words; ++i) t[i] = 0;
    return t;
}

// Codes longer than 24 bits have no place in an entry: they are left out
// (a run-level pair then goes by escape).
bool fits(int length) { return length >= 1 && length <= 24; }

ZubStatus createSingle(const Zub32s* src, Zub32s** ppTable) {
    bool any = false;
    Zub32s lo = 0, hi = 0;
    forEachRecord(src, 2, [&](Zub32s, int length, const Zub32s* r) {
        if (!fits(length)) return;
        lo = any && lo < r[1] ? lo : r[1];
        hi = any && hi > r[1] ? hi : r[1];
        any = true;
    });
    const int64_t n = any ? int64_t{hi} - lo + 1 : 0;
    uint32_t* t = allocWords(3 + n);
    if (!t) return ZubStatusNoMemory;
    t[0] = 0;
    t[1] = static_cast<uint32_t>(lo);
    t[2] = static_cast<uint32_t>(n);
    forEachRecord(src, 2, [&](Zub32s code, int length, const Zub32s* r) {
        if (fits(length)) t[3 + (int64_t{r[1]} - lo)] = packCode(code, length);
    });
    *ppTable = reinterpret_cast<Zub32s*>(t);
    return ZubStatusOk;
}

ZubStatus createRunLevel(const Zub32s* src, Zub32s** ppTable) {
    int64_t m = 0;
    forEachRecord(src, 3, [&](Zub32s, int length, const Zub32s* r) {
        const int64_t mag = r[2] < 0 ? -int64_t{r[2]} : r[2];
        if (fits(length) && r[1] >= 0 && r[1] < kRuns && mag > m) m = mag;
    });
    const int64_t row = 2 * m + 1;
    uint32_t* t = allocWords(4 + kRuns * row);
    if (!t) return ZubStatusNoMemory;
    t[0] = 1;
    t[1] = static_cast<uint32_t>(m);
    forEachRecord(src, 3, [&](Zub32s code, int length, const Zub32s* r) {
        if (!fits(length)) return;
        if (r[1] == kEndOfBlock)
            t[2] = packCode(code, length);
        else if (r[1] == kEscape)
            t[3] = packCode(code, length);
        else if (r[1] >= 0 && r[1] < kRuns && r[2] != 0)
            t[4 + r[1] * row + (r[2] + m)] = packCode(code, length);
    });
    *ppTable = reinterpret_cast<Zub32s*>(t);
    return ZubStatusOk;
}

void putCode(WordWriter& out, uint32_t code) { out.put(code & 0xFFFFFFu, static_cast<int>(code >> 24)); }

// The coefficients of a block in scan order from `first` on, as (run, level).
// Checks every level against the escape's range and the table's codes.
struct Coefficients {
    int runs[64];
    int32_t levels[64];
    int count = 0;
};

ZubStatus collect(const Zub16s* block, const Zub32s* scan, int first, int mpegVersion, Coefficients& c) {
    const int32_t lo = mpegVersion == 1 ? -255 : -2047, hi = mpegVersion == 1 ? 255 : 2047;
    int run = 0;
    for (int i = first; i < 64; ++i) {
        const int32_t v = block[scan[i] & 63];
        if (v == 0) {
            ++run;
            continue;
        }
        if (v < lo || v > hi) return ZubStatusOutOfRange;
        c.runs[c.count] = run;
        c.levels[c.count++] = v;
        run = 0;
    }
    return ZubStatusOk;
}

// One (run, level): the table's code, or escape, 6-bit run and the level
// (MPEG-2: 12 bits; MPEG-1: 8 bits, or 0x00 / 0x80 and 8 bits beyond
// -127..127).
void putPair(WordWriter& out, const uint32_t* t, int run, int32_t level, int mpegVersion) {
    const int32_t m = static_cast<int32_t>(t[1]);
    if (level >= -m && level <= m) {
        const uint32_t code = t[4 + run * (2 * m + 1) + (level + m)];
        if (code) {
            putCode(out, code);
            return;
        }
    }
    putCode(out, t[3]);
    out.put(static_cast<uint32_t>(run), 6);
    if (mpegVersion == 2) {
        out.put(static_cast<uint32_t>(level), 12);
    } else if (level >= -127 && level <= 127) {
        out.put(static_cast<uint32_t>(level), 8);
    } else {
        out.put(level > 0 ? 0x00u : 0x80u, 8);
        out.put(static_cast<uint32_t>(level), 8);
    }
}

bool isRunLevelTable(const Zub32s* t) { return t[0] == 1 && t[2] != 0 && t[3] != 0; }

}  // namespace

ZubStatus zubiCreateRLEncodeTable(const Zub32s* pSrcTable, int kind, Zub32s** ppDstTable) {
    if (!pSrcTable || !ppDstTable) return ZubStatusNullPointer;
    if (kind != 0 && kind != 1) return ZubStatusBadArgument;
    return kind == 0 ? createSingle(pSrcTable, ppDstTable) : createRunLevel(pSrcTable, ppDstTable);
}

ZubStatus zubiFreeRLEncodeTable(Zub32s* pTable) {
    if (!pTable) return ZubStatusNullPointer;
    zubsFree(pTable);
    return ZubStatusOk;
}

ZubStatus zubiPutIntraBlock(Zub32u** ppBitStream, Zub32u* pBitOffset, const Zub16s* pSrcBlock, Zub16s* pDCPred,
                            const Zub32s* pDCSizeTable, const Zub32s* pRLTable, const Zub32s* pScan,
                            int mpegVersion) {
    if (!ppBitStream || !pBitOffset || !pSrcBlock || !pDCPred || !pDCSizeTable || !pRLTable || !pScan ||
        !*ppBitStream)
        return ZubStatusNullPointer;
    if (*pBitOffset > 31) return ZubStatusBadArgument;
    if ((mpegVersion != 1 && mpegVersion != 2) || pDCSizeTable[0] != 0 || !isRunLevelTable(pRLTable))
        return ZubStatusBadArgument;
    // dct_dc_size: the bits of |d|; its code must be in the table.
    const int32_t d = int32_t{pSrcBlock[0]} - *pDCPred;
    const uint32_t mag = static_cast<uint32_t>(d < 0 ? -d : d);
    int size = 0;
    while ((mag >> size) != 0) ++size;
    const int64_t at = int64_t{size} - static_cast<Zub32s>(pDCSizeTable[1]);
    if (at < 0 || at >= pDCSizeTable[2] || pDCSizeTable[3 + at] == 0) return ZubStatusOutOfRange;
    Coefficients c;
    if (ZubStatus st = collect(pSrcBlock, pScan, 1, mpegVersion, c)) return st;

    const uint32_t* t = reinterpret_cast<const uint32_t*>(pRLTable);
    WordWriter out(*ppBitStream, *pBitOffset);
    putCode(out, static_cast<uint32_t>(pDCSizeTable[3 + at]));
    if (size > 0) out.put(static_cast<uint32_t>(d < 0 ? d - 1 : d), size);
    for (int n = 0; n < c.count; ++n) putPair(out, t, c.runs[n], c.levels[n], mpegVersion);
    putCode(out, t[2]);
    out.store(ppBitStream, pBitOffset);
    *pDCPred = pSrcBlock[0];
    return ZubStatusOk;
}

ZubStatus zubiPutNonIntraBlock(Zub32u** ppBitStream, Zub32u* pBitOffset, const Zub16s* pSrcBlock,
                               const Zub32s* pRLTable, const Zub32s* pScan, int mpegVersion) {
    if (!ppBitStream || !pBitOffset || !pSrcBlock || !pRLTable || !pScan || !*ppBitStream)
        return ZubStatusNullPointer;
    if (*pBitOffset > 31) return ZubStatusBadArgument;
    if ((mpegVersion != 1 && mpegVersion != 2) || !isRunLevelTable(pRLTable)) return ZubStatusBadArgument;
    Coefficients c;
    if (ZubStatus st = collect(pSrcBlock, pScan, 0, mpegVersion, c)) return st;
    if (c.count == 0) return ZubStatusOutOfRange;

    const uint32_t* t = reinterpret_cast<const uint32_t*>(pRLTable);
    WordWriter out(*ppBitStream, *pBitOffset);
    // The first coefficient: "1s" for run 0, level +-1.
    int n = 0;
    if (c.runs[0] == 0 && (c.levels[0] == 1 || c.levels[0] == -1)) {
        out.put(c.levels[0] < 0 ? 3u : 2u, 2);
        n = 1;
    }
    for (; n < c.count; ++n) putPair(out, t, c.runs[n], c.levels[n], mpegVersion);
    putCode(out, t[2]);
    out.store(ppBitStream, pBitOffset);
    return ZubStatusOk;
}
