// MPEG-1/MPEG-2 variable-length codes (ISO/IEC 11172-2 and 13818-2 Annex B):
// multi-level look-up tables built from a caller's code list, and decoding of
// single values and run-level pairs with them.
#include <cstdint>

#include "../common/bitstream.h"
#include "../common/table.h"
#include "mpeg2arith.h"
#include "zubvc.h"

using zub::WordCursor;

namespace {

constexpr uint32_t kFiller = 0x00F0F101u;  // value fields 0xF0F1, gives back 1 bit
constexpr uint32_t kLink = 0x80u;
// The largest table built, in words: a link holds a word index in 24 bits.
constexpr uint64_t kMaxTableWords = uint64_t{1} << 24;

enum class Kind { SingleValue = 0, RunLevel = 1 };

// The caller's source list: levels, widths and code groups.
struct SourceList {
    const Zub32s* src;
    int levels;
    int stride;  // words per record: 2 or 3

    SourceList(const Zub32s* s, Kind kind) : src(s), levels(s[1]), stride(kind == Kind::RunLevel ? 3 : 2) {}
    int width(int k) const { return src[2 + k]; }
    // c_k, the code length that ends at level k.
    int boundary(int k) const {
        int c = 0;
        for (int j = 0; j <= k; ++j) c += width(j);
        return c;
    }
    const Zub32s* groups() const { return src + 2 + levels; }

    // Calls f(code, length, record) for every record, in source order.
    template <class F>
    void forEachCode(F&& f) const {
        const Zub32s* p = groups();
        for (int length = 1; p[0] >= 0; ++length) {
            const int count = p[0];
            ++p;
            for (int n = 0; n < count; ++n, p += stride) f(p[0], length, p);
        }
    }
};

// A code is placed only if it ends within the last level (and within 32 bits,
// so that every shift of its code word stays defined).
bool placed(const SourceList& s, int length) { return length <= s.boundary(s.levels - 1) && length <= 32; }

// Arithmetic shift of a code word by 0..31 places.
constexpr Zub32s prefixOf(Zub32s code, int shift) { return code >> shift; }

// Words of the built table: the root and one sub-table per distinct prefix
// at each level boundary that a longer code passes.  Returns 0 when the
// scratch list cannot be allocated or the table would be too large.
uint64_t huffmanTableSize(const SourceList& s) {
    int records = 0;
    s.forEachCode([&](Zub32s, int, const Zub32s*) { ++records; });
    struct Seen {
        Zub32s code;
        int length;
    };
    Seen* seen = nullptr;
    if (records > 0) {
        seen = reinterpret_cast<Seen*>(zubsMalloc_8u(records * static_cast<int>(sizeof(Seen))));
        if (!seen) return 0;
    }
    uint64_t total = (uint64_t{1} << s.width(0)) + 1;
    int count = 0;
    s.forEachCode([&](Zub32s code, int length, const Zub32s*) {
        if (!placed(s, length)) return;
        int c = 0;
        for (int j = 0; j + 1 < s.levels; ++j) {
            c += s.width(j);
            if (c >= length) break;
            const Zub32s prefix = prefixOf(code, length - c);
            bool known = false;
            for (int n = 0; n < count && !known; ++n)
                known = seen[n].length > c && prefixOf(seen[n].code, seen[n].length - c) == prefix;
            if (!known) total += (uint64_t{1} << s.width(j + 1)) + 1;
        }
        seen[count++] = Seen{code, length};
    });
    zubsFree(seen);
    return total;
}

ZubStatus huffmanInitAlloc(const Zub32s* pSrcTable, Zub32s** ppDstTable, Kind kind) {
    if (!pSrcTable || !ppDstTable) return ZubStatusNullPointer;
    const SourceList s(pSrcTable, kind);
    *ppDstTable = nullptr;
    if (s.levels < 1) return ZubStatusNoMemory;
    for (int k = 0; k < s.levels; ++k)
        if (s.width(k) < 1 || s.width(k) > 30) return ZubStatusNoMemory;

    const uint64_t size = huffmanTableSize(s);
    if (size == 0 || size > kMaxTableWords) return ZubStatusNoMemory;
    uint32_t* t = reinterpret_cast<uint32_t*>(zubsMalloc_8u(static_cast<int>(size * 4)));
    if (!t) return ZubStatusNoMemory;
    for (uint64_t n = 0; n < size; ++n) t[n] = kFiller;
    t[0] = static_cast<uint32_t>(s.width(0));

    uint64_t nextFree = (uint64_t{1} << s.width(0)) + 1;
    s.forEachCode([&](Zub32s code, int length, const Zub32s* rec) {
        if (!placed(s, length)) return;
        uint32_t leaf;
        if (kind == Kind::SingleValue)
            leaf = static_cast<uint32_t>(rec[1]) << 8;
        else
            leaf = (static_cast<uint32_t>(rec[2]) << 16) | ((static_cast<uint32_t>(rec[1]) & 0xFFu) << 8);
        uint64_t base = 0;  // word index of the current sub-table's entry 0
        int prev = 0;       // c_(k-1)
        for (int k = 0; k < s.levels; ++k) {
            const int c = prev + s.width(k);
            if (length <= c) {
                // The code ends here: every extension by the g bits that follow.
                const int r = length - prev;
                const int g = c - length;
                const uint64_t first = base + 1 + ((uint64_t{static_cast<uint32_t>(code)} & zub::bitMask(r)) << g);
                const uint64_t n = uint64_t{1} << g;
                if (first + n <= size)
                    for (uint64_t j = 0; j < n; ++j) t[first + j] = leaf | static_cast<uint32_t>(g);
                return;
            }
            const uint64_t at =
                base + 1 + (static_cast<uint32_t>(prefixOf(code, length - c)) & zub::bitMask(s.width(k)));
            if (at >= size) return;
            const uint32_t e = t[at];
            if (e == kFiller) {
                const uint64_t sub = uint64_t{1} << s.width(k + 1);
                if (nextFree + sub + 1 > size) return;
                t[at] = static_cast<uint32_t>(nextFree << 8) | kLink;
                t[nextFree] = static_cast<uint32_t>(s.width(k + 1));
                base = nextFree;
                nextFree += sub + 1;
            } else if ((e & 0xFFu) == kLink) {
                // Deliberate: a single-value table does not follow a link whose
                // bits 8..15 are zero; the code goes on in this sub-table.
                if (kind == Kind::RunLevel || ((e >> 8) & 0xFFu) != 0) base = e >> 8;
            }
            // Any other entry is a leaf of an earlier code: passed over.
            prev = c;
        }
    });
    *ppDstTable = reinterpret_cast<Zub32s*>(t);
    return ZubStatusOk;
}

}  // namespace

ZubStatus zubiHuffmanTableInitAlloc_32s(const Zub32s* pSrcTable, Zub32s** ppDstTable) {
    return huffmanInitAlloc(pSrcTable, ppDstTable, Kind::SingleValue);
}

ZubStatus zubiHuffmanRunLevelTableInitAlloc_32s(const Zub32s* pSrcTable, Zub32s** ppDstTable) {
    return huffmanInitAlloc(pSrcTable, ppDstTable, Kind::RunLevel);
}

ZubStatus zubiHuffmanTableFree_32s(Zub32s* pDecodeTable) {
    if (!pDecodeTable) return ZubStatusNullPointer;
    zubsFree(pDecodeTable);
    return ZubStatusOk;
}

ZubStatus zubiDecodeHuffmanOne_1u32s(const Zub32u** ppBitStream, Zub32u* pBitOffset, Zub32s* pDst,
                                     const Zub32s* pDecodeTable) {
    if (!ppBitStream || !pBitOffset || !pDecodeTable || !*ppBitStream || !pDst) return ZubStatusNullPointer;
    WordCursor c(*ppBitStream, *pBitOffset & 31u);
    const uint32_t e = zub::lookupCodeEntry(c, pDecodeTable);
    const Zub32s v = static_cast<Zub32s>(e) >> 8;
    if (v == static_cast<Zub32s>(zub::kInvalidCode)) {
        // The cursor stays after every bit looked up.
        c.store(ppBitStream, pBitOffset);
        *pDst = v;
        return ZubStatusVlcError;
    }
    c.giveBack(static_cast<int>(e & 0xFFu));
    c.store(ppBitStream, pBitOffset);
    *pDst = v;
    return ZubStatusOk;
}

ZubStatus zubiDecodeHuffmanPair_1u16s(const Zub32u** ppBitStream, Zub32u* pBitOffset, const Zub32s* pDecodeTable,
                                      Zub8u* pRun, Zub16s* pLevel) {
    if (!ppBitStream || !pBitOffset || !pDecodeTable || !pRun || !pLevel || !*ppBitStream)
        return ZubStatusNullPointer;
    WordCursor c(*ppBitStream, *pBitOffset & 31u);
    uint32_t fields;
    if (!zub::walkCodeTable(c, pDecodeTable, fields)) return ZubStatusVlcError;
    c.store(ppBitStream, pBitOffset);
    *pRun = static_cast<Zub8u>(fields & 0xFFu);
    *pLevel = static_cast<Zub16s>(static_cast<uint16_t>(fields >> 8));
    return ZubStatusOk;
}

// ---------------------------------------------------------------------------
// DCT block reconstruction: run-level decoding with dequantisation in one pass
// (ISO/IEC 11172-2 clause 2.4.4, ISO/IEC 13818-2 clauses 7.2 and 7.4).

namespace {

enum class Codec { Mpeg1, Mpeg2 };

constexpr int kEndOfBlock = 254;
constexpr int kEscape = 255;

// Weights of a non-intra MPEG-2 block given no matrix.
constexpr Zub16s flatWeight(int) { return 16; }
constexpr Zub16s Qmatrix[64] = {ZUB_GEN64(flatWeight, 0)};

using zub::mulWrap;
using zub::signOf;

template <Codec codec, bool intra>
struct Block {
    // One decoded code: run and level, or end of block.
    struct Code {
        int run;
        int32_t level;
        bool end;
    };

    static Code readCode(WordCursor& c, const Zub32s* table) {
        const uint32_t e = zub::lookupCodeEntry(c, table);
        c.giveBack(static_cast<int>(e & 0xFFu));
        const int run = static_cast<int>((e >> 8) & 0xFFu);
        if (run == kEndOfBlock) return {0, 0, true};
        if (run == kEscape) {
            if constexpr (codec == Codec::Mpeg1) {
                const int r = static_cast<int>(c.read(6));
                const uint32_t l = c.read(8);
                if (l & 0x7Fu) return {r, static_cast<int8_t>(l), false};
                const int32_t m = static_cast<int32_t>(c.read(8));
                return {r, l == 0 ? m : m - 256, false};
            } else {
                const uint32_t v = c.read(18);
                return {static_cast<int>(v >> 12), static_cast<int32_t>(v << 20) >> 20, false};
            }
        }
        if constexpr (codec == Codec::Mpeg2 && !intra)
            return {run, static_cast<int16_t>(e >> 16), false};
        else
            return {run, static_cast<int8_t>(e >> 16), false};
    }

    static int32_t dequantise(int32_t level, int32_t w, int32_t qp) {
        const int32_t twice = intra ? 2 * level : 2 * level + signOf(level);
        const int32_t p = mulWrap(mulWrap(twice, w), qp);
        if constexpr (codec == Codec::Mpeg2) {
            return p / 32;
        } else {
            int32_t v = p / 16;
            if ((v & 1) == 0) v -= signOf(v);
            return v > 2047 ? 2047 : (v < -2048 ? -2048 : v);
        }
    }

    // Decodes one block; dcPred is null for non-intra blocks.
    static ZubStatus run(const Zub32u** ppBitStream, Zub32u* pBitOffset, const Zub32s* pFirstTable,
                         const Zub32s* pTable, const Zub32s* pScan, int32_t qp, const Zub16s* w, Zub16s* dcPred,
                         int32_t dcShift, Zub16s* dst, Zub32s* pLast) {
        for (int k = 0; k < 64; ++k) dst[k] = 0;
        WordCursor c(*ppBitStream, *pBitOffset & 31u);
        int i;
        int32_t sum = 0;  // mismatch parity (MPEG-2)
        auto fail = [&] {
            c.store(ppBitStream, pBitOffset);
            return ZubStatusVlcError;
        };
        if constexpr (intra) {
            const uint32_t e = zub::lookupCodeEntry(c, pFirstTable);
            c.giveBack(static_cast<int>(e & 0xFFu));
            const int s = static_cast<int16_t>(e & 0xFFFFu) >> 8;
            if (s < 0 || s > 16) return fail();
            int32_t d = 0;
            if (s > 0) {
                const uint32_t b = c.read(s);
                d = (b >> (s - 1)) & 1u ? static_cast<int32_t>(b)
                                         : static_cast<int16_t>((0xFFFFFFFFu << s) | (b + 1u));
            }
            int32_t dc;
            if constexpr (codec == Codec::Mpeg1) {
                *dcPred = static_cast<Zub16s>(*dcPred + 8 * d);
                dc = *dcPred;
            } else {
                *dcPred = static_cast<Zub16s>(*dcPred + d);
                dc = static_cast<int16_t>(static_cast<uint32_t>(*dcPred) << (static_cast<uint32_t>(dcShift) & 31u));
            }
            dst[0] = static_cast<Zub16s>(dc);
            sum = dc;
            i = 0;
        } else {
            Code first;
            if (c.peek(1)) {
                first = {0, c.read(2) & 1u ? -1 : 1, false};
            } else {
                first = readCode(c, pFirstTable);
            }
            i = first.end ? 64 : first.run;
            if (i > 63) return fail();
            const int p = pScan[i] & 63;
            const int32_t v = dequantise(first.level, w[p], qp);
            dst[p] = static_cast<Zub16s>(v);
            sum = static_cast<Zub16s>(v);
        }
        for (;;) {
            const Code code = readCode(c, pTable);
            if (code.end) break;
            i += code.run + 1;
            if (i > 63) return fail();
            const int p = pScan[i] & 63;
            const int32_t v = dequantise(code.level, w[p], qp);
            dst[p] = static_cast<Zub16s>(v);
            sum += static_cast<Zub16s>(v);
        }
        if constexpr (codec == Codec::Mpeg2) {
            zub::mismatchControl(dst, sum);
            *pLast = (!intra && i == 0) ? 1 : i;
        } else {
            *pLast = i;
        }
        c.store(ppBitStream, pBitOffset);
        return ZubStatusOk;
    }
};

}  // namespace

ZubStatus zubiReconstructDCTBlock_MPEG1_32s(const Zub32u** ppBitStream, Zub32u* pBitOffset,
                                            const Zub32s* pDCTFirstTable, const Zub32s* pDCTTable,
                                            const Zub32s* pScan, Zub32s QP, const Zub16s* pQPMatrix,
                                            Zub16s* pDstBlock, Zub32s* pDstSize) {
    if (!ppBitStream || !pBitOffset || !pDCTFirstTable || !pDCTTable || !pScan || !pQPMatrix || !pDstBlock ||
        !pDstSize || !*ppBitStream)
        return ZubStatusNullPointer;
    return Block<Codec::Mpeg1, false>::run(ppBitStream, pBitOffset, pDCTFirstTable, pDCTTable, pScan, QP, pQPMatrix,
                                           nullptr, 0, pDstBlock, pDstSize);
}

ZubStatus zubiReconstructDCTBlockIntra_MPEG1_32s(const Zub32u** ppBitStream, Zub32u* pBitOffset,
                                                 const Zub32s* pDCSizeTable, const Zub32s* pDCTTable,
                                                 const Zub32s* pScan, Zub32s QP, const Zub16s* pQPMatrix,
                                                 Zub16s* pDCPred, Zub16s* pDstBlock, Zub32s* pDstSize) {
    if (!ppBitStream || !pBitOffset || !pDCSizeTable || !pDCTTable || !pScan || !pQPMatrix || !pDCPred ||
        !pDstBlock || !pDstSize || !*ppBitStream)
        return ZubStatusNullPointer;
    return Block<Codec::Mpeg1, true>::run(ppBitStream, pBitOffset, pDCSizeTable, pDCTTable, pScan, QP, pQPMatrix,
                                          pDCPred, 0, pDstBlock, pDstSize);
}

ZubStatus zubiReconstructDCTBlock_MPEG2_32s(const Zub32u** ppBitStream, Zub32u* pBitOffset,
                                            const Zub32s* pDCTFirstTable, const Zub32s* pDCTTable,
                                            const Zub32s* pScan, Zub32s QP, const Zub16s* pQPMatrix,
                                            Zub16s* pDstBlock, Zub32s* pDstSize) {
    if (!ppBitStream || !pBitOffset || !pDCTFirstTable || !pDCTTable || !pScan || !pDstBlock || !pDstSize ||
        !*ppBitStream)
        return ZubStatusNullPointer;
    return Block<Codec::Mpeg2, false>::run(ppBitStream, pBitOffset, pDCTFirstTable, pDCTTable, pScan, QP,
                                           pQPMatrix ? pQPMatrix : Qmatrix, nullptr, 0, pDstBlock, pDstSize);
}

ZubStatus zubiReconstructDCTBlockIntra_MPEG2_32s(const Zub32u** ppBitStream, Zub32u* pBitOffset,
                                                 const Zub32s* pDCSizeTable, const Zub32s* pDCTTable,
                                                 const Zub32s* pScan, Zub32s QP, const Zub16s* pQPMatrix,
                                                 Zub16s* pDCPred, Zub32s shiftDCVal, Zub16s* pDstBlock,
                                                 Zub32s* pDstSize) {
    if (!ppBitStream || !pBitOffset || !pDCSizeTable || !pDCTTable || !pScan || !pQPMatrix || !pDCPred ||
        !pDstBlock || !pDstSize || !*ppBitStream)
        return ZubStatusNullPointer;
    return Block<Codec::Mpeg2, true>::run(ppBitStream, pBitOffset, pDCSizeTable, pDCTTable, pScan, QP, pQPMatrix,
                                          pDCPred, shiftDCVal, pDstBlock, pDstSize);
}
