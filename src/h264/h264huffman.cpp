// H.264 entropy decoding on the word cursor: Exp-Golomb codes (clause 9.1) and
// CAVLC residual blocks (clause 9.2).
#include <bit>
#include <cstdint>

#include "../common/bitstream.h"
#include "zubvc.h"

using zub::WordCursor;

namespace {

// ue(v) at the cursor.  Codes with a prefix of up to 15 zeros are taken from one
// 32-bit peek; longer prefixes are scanned eight bits at a time.
uint32_t readUe(WordCursor& c) {
    const uint32_t bits = c.peek(32);
    if (bits & 0x80000000u) {
        c.skip(1);
        return 0;
    }
    const int lz = bits ? std::countl_zero(bits) : 32;
    if (lz <= 15) {
        const int len = 2 * lz + 1;
        c.skip(len);
        return (bits >> (32 - len)) - 1u;
    }
    // Long prefix: the first bit is 0; count zero groups of eight.
    c.skip(1);
    int zeros = 1;
    uint32_t group = c.read(8);
    while (group == 0) {
        zeros += 8;
        group = c.read(8);
    }
    const int lead = std::countl_zero(group) - 24;
    zeros += lead;
    c.giveBack(7 - lead);  // stand just after the terminating 1
    // Suffixes beyond 32 bits are outside the supported range: skip their
    // leading bits and keep the last 32 (shift counts wrap modulo 32).
    int n = zeros;
    while (n > 32) {
        c.skip(32);
        n -= 32;
    }
    const uint32_t suffix = c.read(n);
    return (1u << (zeros & 31)) + suffix - 1u;
}

}  // namespace

ZubStatus zubiDecodeExpGolombOne_H264_1u16s(const Zub32u** ppBitStream, Zub32u* pBitOffset, Zub16s* pDst,
                                            Zub8u signedFlag) {
    if (!ppBitStream || !pBitOffset || !pDst || !*ppBitStream) return ZubStatusNullPointer;
    if (*pBitOffset > 31) return ZubStatusBadArgument;
    WordCursor c(*ppBitStream, *pBitOffset);
    uint32_t k = readUe(c);
    if (signedFlag) k = (k & 1u) ? (k + 1u) / 2u : 0u - k / 2u;
    *pDst = static_cast<Zub16s>(static_cast<uint16_t>(k));
    c.store(ppBitStream, pBitOffset);
    return ZubStatusOk;
}

// ---------------------------------------------------------------------------
// CAVLC residual blocks (clause 9.2).
//
// The decoders work on a local copy of the caller's cursor and store it back
// on success and on the parse errors that are documented to leave it moved;
// an invalid coeff_token returns before anything is stored, which leaves the
// caller's cursor where it stood on entry.

namespace {

enum class BlockKind { Block4x4, ChromaDc2x2, ChromaDc2x4 };

// coeff_token table of nC 0..7: nC / 2 below 4, else 2 (a look-up rather than
// comparisons, which mispredict on mixed nC).
constexpr uint8_t kCoeffTokenTableOfNc[8] = {0, 0, 1, 1, 2, 2, 2, 2};

// Look-ahead over the cursor for the syntax elements of one block: the next
// bits at the cursor, left-aligned in `bits` with `avail` of them valid,
// taken from the top.  The cursor moves only on a refill and when the block's
// state is stored, so most elements cost a shift instead of a cursor update
// with its word-boundary test.  A refill peeks 32 bits, touching at most the
// word after the cursor's current one, and happens only before an element
// is read, so the look-ahead never reaches further than a plain read would.
struct Window {
    WordCursor& c;
    uint32_t bits;
    int avail;  // valid bits in `bits`, 0..32
    int taken;  // bits consumed since the cursor last moved, 0..32

    explicit Window(WordCursor& cur) : c(cur), bits(cur.peek(32)), avail(32), taken(0) {}
    // Moves the cursor past the bits consumed so far.
    void flush() {
        c.skip(taken);
        taken = 0;
    }
    // Continues after the cursor has been moved directly: no bits at hand.
    void clear() {
        bits = 0;
        avail = 0;
    }
    void refill() {
        flush();
        bits = c.peek(32);
        avail = 32;
    }
    // Makes at least n (1..32) valid bits available at the top.
    void need(int n) {
        if (avail < n) refill();
    }
    uint32_t show(int n) const { return bits >> (32 - n); }  // n = 1..32
    void drop(int n) {  // n = 0..avail
        bits = static_cast<uint32_t>(uint64_t{bits} << n);
        avail -= n;
        taken += n;
    }
};

// Looks up one code of a multi-level table and returns the value fields
// (bits 8..31 of the final entry) with the window after the code.  Unlike
// zub::walkCodeTable it does not restore the cursor on the invalid marker:
// total_zeros and run_before errors leave the cursor after the failed
// look-up, and a failed coeff_token simply never stores the local cursor
// back.  Only the bits of the code are consumed, which equals reading each
// level's bits and giving back the final entry's count for any table whose
// entries give back no more bits than their level looked up.
[[gnu::always_inline]] inline uint32_t lookupCode(Window& win, const Zub32s* table) {
    const Zub32s* t = table;
    for (;;) {
        const int n = t[0];
        win.need(n);
        const uint32_t e = static_cast<uint32_t>(t[win.show(n) + 1]);
        const uint32_t low = e & 0xFFu;
        if (low <= 127u) {
            win.drop(n - static_cast<int>(low));
            return e >> 8;
        }
        win.drop(n);
        t = table + (e >> 8);
    }
}

// level_prefix of 16 or more (clause 9.2.2.1): the escape.  The prefix is
// counted in whole 32-bit windows; the level code is formed modulo 2^16 (the
// suffix of level_prefix - 3 bits matters by its low 16 bits only).
[[gnu::noinline, gnu::cold]] int32_t decodeEscapeLevel(WordCursor& c, int suffixLength, int bonus) {
    int prefix = 0;
    uint32_t win;
    while ((win = c.peek(32)) == 0) {
        c.skip(32);
        prefix += 32;
    }
    const int lead = std::countl_zero(win);
    prefix += lead;
    c.skip(lead + 1);
    int n = prefix - 3;
    while (n > 16) {
        const int k = n - 16 < 32 ? n - 16 : 32;
        c.skip(k);
        n -= k;
    }
    const uint32_t suffix = c.read(n);
    const uint32_t pow = prefix - 3 < 16 ? 1u << (prefix - 3) : 0u;
    const uint32_t code = (static_cast<uint32_t>(sadd[suffixLength]) + 2u * static_cast<uint32_t>(bonus) + pow +
                           (15u << suffixLength) + suffix - 4096u) &
                          0xFFFFu;
    return (code & 1u) ? -static_cast<int32_t>((code + 1u) >> 1) : static_cast<int32_t>((code + 2u) >> 1);
}

// One level (clause 9.2.2.1) at the given suffixLength, with `bonus` 1 for
// the first level after fewer than three trailing ones; `mag` receives its
// magnitude.
[[gnu::always_inline]] inline int32_t decodeLevel(Window& win, int suffixLength, int bonus, uint32_t& mag) {
    // A level_prefix of 15 or less, its terminating 1 and the suffix (at
    // most 12 bits) take at most 28 bits.
    win.need(28);
    if (win.bits < 0x10000u) [[unlikely]] {
        win.flush();
        const int32_t v = decodeEscapeLevel(win.c, suffixLength, bonus);
        win.clear();
        mag = static_cast<uint32_t>(v < 0 ? -v : v);
        return v;
    }
    const int prefix = std::countl_zero(win.bits);
    const int nb = static_cast<uint16_t>(bitsToGetTbl16s[suffixLength][prefix]);
    // The nb suffix bits after the prefix and its 1; without suffix bits the
    // prefix stands in for the suffix.
    win.drop(prefix + 1);
    const uint32_t suffix = nb ? win.show(nb) : static_cast<uint32_t>(prefix);
    win.drop(nb);
    mag = (static_cast<uint16_t>(addOffsetTbl16s[suffixLength][prefix]) + static_cast<uint32_t>(bonus) +
           (suffix >> 1)) &
          0xFFFFu;
    return (suffix & 1u) ? -static_cast<int32_t>(mag) : static_cast<int32_t>(mag);
}

// Trailing-one signs and the remaining levels, in decoding order (highest
// frequency first) into level[0 .. max(totalCoeff, trailingOnes) - 1].
[[gnu::always_inline]] inline void decodeLevels(Window& win, int totalCoeff, int trailingOnes, int32_t* level) {
    // Trailing-one signs, most significant first, 1 for -1: the three next
    // bits give three candidates, of which the first trailingOnes (at most
    // 3) are kept; the level loop overwrites the others.
    win.need(3);
    const uint32_t signs = win.show(3);
    win.drop(trailingOnes);
    level[0] = 1 - static_cast<int32_t>((signs >> 1) & 2u);
    level[1] = 1 - static_cast<int32_t>(signs & 2u);
    level[2] = 1 - static_cast<int32_t>((signs << 1) & 2u);
    if (trailingOnes >= totalCoeff) return;

    // suffixLength starts at 1 above ten coefficients with fewer than three
    // trailing ones, else 0; the first level carries the bonus then.
    int suffixLength = (totalCoeff > 10 && trailingOnes < 3) ? 1 : 0;
    uint32_t mag;
    level[trailingOnes] = decodeLevel(win, suffixLength, trailingOnes < 3 ? 1 : 0, mag);
    // Before the second level: suffixLength 2 after a first magnitude of 4 or
    // more; otherwise it grows past vlc_inc[suffixLength], which from 0 or 1
    // and a magnitude of 1..3 (never 0) always gives 1.
    suffixLength = mag >= 4u ? 2 : 1;
    for (int i = trailingOnes + 1; i < totalCoeff; ++i) {
        level[i] = decodeLevel(win, suffixLength, 0, mag);
        if (suffixLength < 6) suffixLength += mag > static_cast<uint32_t>(vlc_inc[suffixLength]) ? 1 : 0;
    }
}

template <BlockKind K> struct Layout;
template <> struct Layout<BlockKind::Block4x4> {
    static constexpr int size = 16;
};
template <> struct Layout<BlockKind::ChromaDc2x2> {
    static constexpr int size = 4;
};
template <> struct Layout<BlockKind::ChromaDc2x4> {
    static constexpr int size = 8;
};

// Steps after coeff_token: count, levels, total_zeros, runs and placement.
// maxCount is the maximum coefficient count (16 or 15 for 4x4 blocks, 4 or 8
// for chroma DC); 4x4 positions go through the scan, shifted by one for
// maxCount 15; chroma DC positions are raster (2x2) or mapped by
// ChromaDC422RasterScan (2x4).
template <class T, BlockKind K>
[[gnu::always_inline]] inline ZubStatus decodeAfterToken(Window& win, const Zub32u** ppBitStream, Zub32u* pBitOffset,
                                                         Zub16s* pNumCoeff, T** ppCoeffs, int totalCoeff,
                                                         int trailingOnes, int maxCount,
                                                         const Zub32s* const* ppTotalZeros,
                                                         const Zub32s* const* ppRunBefore, const Zub32u* pScan) {
    constexpr int kSize = Layout<K>::size;
    *pNumCoeff = static_cast<Zub16s>(totalCoeff);
    if (totalCoeff == 0) {
        win.flush();
        win.c.store(ppBitStream, pBitOffset);
        return ZubStatusOk;
    }
    int32_t level[16];
    decodeLevels(win, totalCoeff, trailingOnes, level);
    T* const dst = *ppCoeffs;
    for (int i = 0; i < kSize; ++i) dst[i] = 0;

    int zerosLeft = 0;
    if (totalCoeff < maxCount) {
        const Zub32s* table = ppTotalZeros[totalCoeff];
        if (!table) {
            win.flush();
            win.c.store(ppBitStream, pBitOffset);
            return ZubStatusNullPointer;
        }
        const uint32_t tz = lookupCode(win, table);
        if (tz == zub::kInvalidCode) {
            win.flush();
            win.c.store(ppBitStream, pBitOffset);
            return ZubStatusVlcError;
        }
        zerosLeft = static_cast<int>(tz);
    }

    // Placement from the highest frequency down: the coefficient with `left`
    // coefficients still to place (itself included) goes to scan index
    // left + zerosLeft - 1 (one further for 4x4 AC blocks), then zerosLeft
    // falls by its run.
    const int skipDc = K == BlockKind::Block4x4 ? 16 - maxCount : 0;
    auto place = [&](int idx, int32_t v) {
        idx &= kSize - 1;
        if constexpr (K == BlockKind::Block4x4)
            dst[pScan[idx]] = static_cast<T>(v);
        else if constexpr (K == BlockKind::ChromaDc2x4)
            dst[ChromaDC422RasterScan[idx]] = static_cast<T>(v);
        else
            dst[idx] = static_cast<T>(v);
    };
    int i = 0, left = totalCoeff;
    // run_before is coded while zeros are left and more than one coefficient
    // remains.
    for (; left > 1 && zerosLeft > 0; ++i, --left) {
        const Zub32s* table = ppRunBefore[zerosLeft];
        if (!table) {
            win.flush();
            win.c.store(ppBitStream, pBitOffset);
            return ZubStatusNullPointer;
        }
        const uint32_t run = lookupCode(win, table);
        if (run == zub::kInvalidCode) {
            win.flush();
            win.c.store(ppBitStream, pBitOffset);
            return ZubStatusVlcError;
        }
        place(left + zerosLeft - 1 + skipDc, level[i]);
        zerosLeft -= static_cast<int>(run);
    }
    // The rest follow without runs (the last takes the zeros left).
    for (; left > 0; ++i, --left) place(left + zerosLeft - 1 + skipDc, level[i]);
    *ppCoeffs = dst + kSize;
    win.flush();
    win.c.store(ppBitStream, pBitOffset);
    return ZubStatusOk;
}

template <class T>
ZubStatus decodeCoeffs4x4(const Zub32u** ppBitStream, Zub32u* pBitOffset, Zub16s* pNumCoeff, T** ppCoeffs, Zub32u nC,
                          Zub16s maxNumCoeff, const Zub32s* const* ppCoeffToken, const Zub32s* const* ppTotalZeros,
                          const Zub32s* const* ppRunBefore, const Zub32u* pScan) {
    if (!ppBitStream || !pBitOffset || !ppCoeffs || !pNumCoeff || !ppCoeffToken || !ppTotalZeros || !ppRunBefore ||
        !pScan || !*ppBitStream || !*ppCoeffs)
        return ZubStatusNullPointer;
    if (static_cast<Zub32s>(nC) < 0 || (maxNumCoeff != 16 && maxNumCoeff != 15)) return ZubStatusOutOfRange;

    WordCursor c(*ppBitStream, *pBitOffset & 31u);
    Window win(c);
    int totalCoeff, trailingOnes;
    if (nC >= 8) {
        // 6-bit fixed-length coeff_token: TotalCoeff - 1 in the high four
        // bits, TrailingOnes in the low two; 000011 codes the empty block.
        const uint32_t v = win.show(6);
        win.drop(6);
        totalCoeff = v == 3u ? 0 : static_cast<int>(v >> 2) + 1;
        trailingOnes = v == 3u ? 0 : static_cast<int>(v & 3u);
    } else {
        const Zub32s* table = ppCoeffToken[kCoeffTokenTableOfNc[nC]];
        if (!table) return ZubStatusNullPointer;
        const uint32_t fields = lookupCode(win, table);
        if (fields == zub::kInvalidCode) return ZubStatusVlcError;  // the caller's cursor is untouched
        trailingOnes = static_cast<int>(fields & 0xFFu);
        totalCoeff = static_cast<int>((fields >> 8) & 0xFFu);
    }
    return decodeAfterToken<T, BlockKind::Block4x4>(win, ppBitStream, pBitOffset, pNumCoeff, ppCoeffs, totalCoeff,
                                                    trailingOnes, maxNumCoeff, ppTotalZeros, ppRunBefore, pScan);
}

// coeff_token of a chroma DC block from its single table, then the rest.
template <class T, BlockKind K>
ZubStatus decodeChromaDcGeneral(WordCursor& c, const Zub32u** ppBitStream, Zub32u* pBitOffset, Zub16s* pNumCoeff,
                                T** ppCoeffs, const Zub32s* pCoeffToken, const Zub32s* const* ppTotalZeros,
                                const Zub32s* const* ppRunBefore) {
    Window win(c);
    const uint32_t fields = lookupCode(win, pCoeffToken);
    if (fields == zub::kInvalidCode) return ZubStatusVlcError;  // the caller's cursor is untouched
    return decodeAfterToken<T, K>(win, ppBitStream, pBitOffset, pNumCoeff, ppCoeffs,
                                  static_cast<int>((fields >> 8) & 0xFFu), static_cast<int>(fields & 0xFFu),
                                  Layout<K>::size, ppTotalZeros, ppRunBefore, nullptr);
}

template <class T>
ZubStatus decodeChromaDc2x2(const Zub32u** ppBitStream, Zub32u* pBitOffset, Zub16s* pNumCoeff, T** ppCoeffs,
                            const Zub32s* pCoeffToken, const Zub32s* const* ppTotalZeros,
                            const Zub32s* const* ppRunBefore) {
    if (!ppBitStream || !pBitOffset || !pNumCoeff || !*ppBitStream) return ZubStatusNullPointer;
    WordCursor c(*ppBitStream, *pBitOffset & 31u);
    const uint32_t head = c.peek(5);
    if (head & 0x10u) {
        // coeff_token "1": one coefficient, a trailing one; then its sign and
        // total_zeros (Table 9-9(a)) decoded by ChromaDCRunTable.
        if (!ppCoeffs || !*ppCoeffs) return ZubStatusNullPointer;
        const Zub8s* run = ChromaDCRunTable + 2 * (head & 7u);
        T* const dst = *ppCoeffs;
        dst[0] = dst[1] = dst[2] = dst[3] = 0;
        dst[run[0] & 3] = static_cast<T>((head & 0x08u) ? -1 : 1);
        *ppCoeffs = dst + 4;
        *pNumCoeff = 1;
        c.skip(run[1]);
        c.store(ppBitStream, pBitOffset);
        return ZubStatusOk;
    }
    if (head & 0x08u) {
        // coeff_token "01": no coefficients.
        *pNumCoeff = 0;
        c.skip(2);
        c.store(ppBitStream, pBitOffset);
        return ZubStatusOk;
    }
    if (!ppCoeffs || !pCoeffToken || !ppTotalZeros || !ppRunBefore || !*ppCoeffs) return ZubStatusNullPointer;
    return decodeChromaDcGeneral<T, BlockKind::ChromaDc2x2>(c, ppBitStream, pBitOffset, pNumCoeff, ppCoeffs,
                                                            pCoeffToken, ppTotalZeros, ppRunBefore);
}

template <class T>
ZubStatus decodeChromaDc2x4(const Zub32u** ppBitStream, Zub32u* pBitOffset, Zub16s* pNumCoeff, T** ppCoeffs,
                            const Zub32s* pCoeffToken, const Zub32s* const* ppTotalZeros,
                            const Zub32s* const* ppRunBefore) {
    if (!ppBitStream || !pBitOffset || !ppCoeffs || !pNumCoeff || !pCoeffToken || !ppTotalZeros || !ppRunBefore ||
        !*ppBitStream || !*ppCoeffs)
        return ZubStatusNullPointer;
    WordCursor c(*ppBitStream, *pBitOffset & 31u);
    return decodeChromaDcGeneral<T, BlockKind::ChromaDc2x4>(c, ppBitStream, pBitOffset, pNumCoeff, ppCoeffs,
                                                            pCoeffToken, ppTotalZeros, ppRunBefore);
}

}  // namespace

ZubStatus zubiDecodeCAVLCCoeffs_H264_1u16s(const Zub32u** ppBitStream, Zub32u* pBitOffset, Zub16s* pNumCoeff,
                                           Zub16s** ppCoeffs, Zub32u nC, Zub16s maxNumCoeff,
                                           const Zub32s* const* ppCoeffTokenTables,
                                           const Zub32s* const* ppTotalZerosTables,
                                           const Zub32s* const* ppRunBeforeTables, const Zub32u* pScan) {
    return decodeCoeffs4x4(ppBitStream, pBitOffset, pNumCoeff, ppCoeffs, nC, maxNumCoeff, ppCoeffTokenTables,
                           ppTotalZerosTables, ppRunBeforeTables, pScan);
}

ZubStatus zubiDecodeCAVLCCoeffs_H264_1u32s(const Zub32u** ppBitStream, Zub32u* pBitOffset, Zub16s* pNumCoeff,
                                           Zub32s** ppCoeffs, Zub32u nC, Zub16s maxNumCoeff,
                                           const Zub32s* const* ppCoeffTokenTables,
                                           const Zub32s* const* ppTotalZerosTables,
                                           const Zub32s* const* ppRunBeforeTables, const Zub32u* pScan) {
    return decodeCoeffs4x4(ppBitStream, pBitOffset, pNumCoeff, ppCoeffs, nC, maxNumCoeff, ppCoeffTokenTables,
                           ppTotalZerosTables, ppRunBeforeTables, pScan);
}

ZubStatus zubiDecodeCAVLCChromaDcCoeffs_H264_1u16s(const Zub32u** ppBitStream, Zub32u* pBitOffset,
                                                   Zub16s* pNumCoeff, Zub16s** ppCoeffs,
                                                   const Zub32s* pCoeffTokenTable,
                                                   const Zub32s* const* ppTotalZerosTables,
                                                   const Zub32s* const* ppRunBeforeTables) {
    return decodeChromaDc2x2(ppBitStream, pBitOffset, pNumCoeff, ppCoeffs, pCoeffTokenTable, ppTotalZerosTables,
                             ppRunBeforeTables);
}

ZubStatus zubiDecodeCAVLCChromaDcCoeffs_H264_1u32s(const Zub32u** ppBitStream, Zub32u* pBitOffset,
                                                   Zub16s* pNumCoeff, Zub32s** ppCoeffs,
                                                   const Zub32s* pCoeffTokenTable,
                                                   const Zub32s* const* ppTotalZerosTables,
                                                   const Zub32s* const* ppRunBeforeTables) {
    return decodeChromaDc2x2(ppBitStream, pBitOffset, pNumCoeff, ppCoeffs, pCoeffTokenTable, ppTotalZerosTables,
                             ppRunBeforeTables);
}

ZubStatus zubiDecodeCAVLCChroma422DcCoeffs_H264_1u16s(const Zub32u** ppBitStream, Zub32u* pBitOffset,
                                                      Zub16s* pNumCoeff, Zub16s** ppCoeffs,
                                                      const Zub32s* pCoeffTokenTable,
                                                      const Zub32s* const* ppTotalZerosTables,
                                                      const Zub32s* const* ppRunBeforeTables) {
    return decodeChromaDc2x4(ppBitStream, pBitOffset, pNumCoeff, ppCoeffs, pCoeffTokenTable, ppTotalZerosTables,
                             ppRunBeforeTables);
}

ZubStatus zubiDecodeCAVLCChroma422DcCoeffs_H264_1u32s(const Zub32u** ppBitStream, Zub32u* pBitOffset,
                                                      Zub16s* pNumCoeff, Zub32s** ppCoeffs,
                                                      const Zub32s* pCoeffTokenTable,
                                                      const Zub32s* const* ppTotalZerosTables,
                                                      const Zub32s* const* ppRunBeforeTables) {
    return decodeChromaDc2x4(ppBitStream, pBitOffset, pNumCoeff, ppCoeffs, pCoeffTokenTable, ppTotalZerosTables,
                             ppRunBeforeTables);
}
