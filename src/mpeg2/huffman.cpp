// MPEG-1/MPEG-2 variable-length codes (ISO/IEC 11172-2 and 13818-2 Annex B):
// multi-level look-up tables built from a caller's code list, and decoding of
// single values and run-level pairs with them.
#include <cstdint>

#include "../common/bitstream.h"
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
