// Internal bit cursors shared by every decoder and encoder of the library.
//
// WordCursor: H.264 and MPEG-1/2 decoding; WordWriter, its mirror, MPEG-1/2
// run-level encoding.  The stream is a sequence of native
// 32-bit words, first bit = bit 31 of the first word; the offset names the next
// unread bit (31..0).  Reads may touch the word after the current one.
//
// ByteCursor / ByteWriter: H.261, H.263 and MPEG-4.  The offset counts the bits
// of the current byte already consumed (0..7), from the most significant bit.
//
// walkCodeTable: the multi-level code-table lookup.  Entry 0 of a (sub-)table is
// the number of bits N looked up there, entry v + 1 the entry for value v.  A
// final entry holds in its low byte the bits to give back (0..127) and in bits
// 8..31 the value fields; a link entry has a low byte above 127 and holds the
// array index of the sub-table's entry 0.  Fields 0xF0F1 mark an invalid code.
#ifndef ZUBVC_COMMON_BITSTREAM_H
#define ZUBVC_COMMON_BITSTREAM_H

#include <cstdint>

#include "zubvc.h"

namespace zub {

inline constexpr uint32_t kInvalidCode = 0xF0F1;

constexpr uint32_t bitMask(int n) { return n >= 32 ? 0xFFFFFFFFu : (1u << n) - 1u; }

struct WordCursor {
    const uint32_t* w;
    int32_t off;  // 31..0

    WordCursor(const uint32_t* word, uint32_t offset) : w(word), off(static_cast<int32_t>(offset)) {}

    // The next n bits (1 <= n <= 32) without consuming them.
    uint32_t peek(int n) const {
        int rem = off - n;
        if (rem >= 0) return (w[0] >> (rem + 1)) & bitMask(n);
        return ((w[0] << (n - 1 - off)) | ((w[1] >> (rem + 32)) >> 1)) & bitMask(n);
    }
    // Consume n bits (0 <= n <= 32).
    void skip(int n) {
        off -= n;
        if (off < 0) { off += 32; ++w; }
    }
    uint32_t read(int n) {
        uint32_t v = peek(n);
        skip(n);
        return v;
    }
    uint32_t read1() {
        uint32_t v = (w[0] >> off) & 1u;
        if (--off < 0) { off = 31; ++w; }
        return v;
    }
    // Give back g bits (0 <= g <= 32).
    void giveBack(int g) {
        off += g;
        if (off > 31) { off -= 32; --w; }
    }
    void store(const uint32_t** ppWord, uint32_t* pOffset) const {
        *ppWord = w;
        *pOffset = static_cast<uint32_t>(off);
    }
};

// Walks a multi-level code table at the cursor.  On success returns true and
// sets `fields` to bits 8..31 of the final entry.  On the invalid marker the
// cursor is put back where it stood on entry and false is returned.
// Walks a multi-level code table at the cursor and returns the final entry,
// with the cursor after every bit looked up (nothing given back yet).
inline uint32_t lookupCodeEntry(WordCursor& c, const int32_t* table) {
    const int32_t* t = table;
    uint32_t e = static_cast<uint32_t>(t[c.read(t[0]) + 1]);
    while ((e & 0xFFu) > 127u) {
        t = table + (e >> 8);
        e = static_cast<uint32_t>(t[c.read(t[0]) + 1]);
    }
    return e;
}

inline bool walkCodeTable(WordCursor& c, const int32_t* table, uint32_t& fields) {
    const WordCursor start = c;
    const uint32_t e = lookupCodeEntry(c, table);
    c.giveBack(static_cast<int>(e & 0xFFu));
    fields = e >> 8;
    if (fields == kInvalidCode) {
        c = start;
        return false;
    }
    return true;
}

// Word-cursor writer, the mirror of WordCursor: bits go into native 32-bit
// words from bit `off` (31..0) downwards.  The first word touched keeps its
// bits above the offset (those already written) and receives the new bits
// below them; every further word is stored whole, so the bits after the last
// written bit are zero and nothing beyond the cursor is preserved.
struct WordWriter {
    uint32_t* w;
    int32_t off;  // 31..0

    WordWriter(uint32_t* word, uint32_t offset) : w(word), off(static_cast<int32_t>(offset)) {}

    // Append the low n bits of v (1 <= n <= 32).
    void put(uint32_t v, int n) {
        v &= bitMask(n);
        const uint32_t kept = off == 31 ? 0u : w[0] & ~bitMask(off + 1);
        const int rem = off + 1 - n;  // bits of the current word left after v
        if (rem > 0) {
            w[0] = kept | (v << rem);
            off = rem - 1;
        } else if (rem == 0) {
            w[0] = kept | v;
            ++w;
            off = 31;
        } else {
            w[0] = kept | (v >> -rem);
            w[1] = v << (32 + rem);
            ++w;
            off = 31 + rem;
        }
    }
    void store(uint32_t** ppWord, uint32_t* pOffset) const {
        *ppWord = w;
        *pOffset = static_cast<uint32_t>(off);
    }
};

struct ByteCursor {
    const uint8_t* p;
    uint32_t off;  // 0..7

    ByteCursor(const uint8_t* byte, uint32_t offset) : p(byte), off(offset) {}

    // The next n bits (1 <= n <= 24) without consuming them.
    uint32_t peek(int n) const {
        uint32_t v = (uint32_t{p[0]} << 24) | (uint32_t{p[1]} << 16) | (uint32_t{p[2]} << 8) | p[3];
        return ((v << off) >> (32 - n));
    }
    // The next 8 bits: the current and next byte as a big-endian 16-bit value.
    uint32_t peek8() const { return ((uint32_t{p[0]} << 8 | p[1]) >> (8 - off)) & 0xFFu; }
    void skip(int n) {
        uint32_t t = off + static_cast<uint32_t>(n);
        p += t >> 3;
        off = t & 7u;
    }
    uint32_t read(int n) {
        uint32_t v = peek(n);
        skip(n);
        return v;
    }
    void store(uint8_t** ppByte, uint32_t* pOffset) const {
        *ppByte = const_cast<uint8_t*>(p);
        *pOffset = off;
    }
};

// Byte-cursor writer: the first byte touched keeps the bits before the offset
// (masked with ~(255 >> offset)); every further byte is stored whole, so the
// bits after the last written bit are zero and nothing beyond the cursor is
// preserved.
struct ByteWriter {
    uint8_t* p;
    uint32_t off;  // 0..7

    ByteWriter(uint8_t* byte, uint32_t offset) : p(byte), off(offset) {}

    // Append the low n bits of v (0 <= n <= 24).
    void put(uint32_t v, int n) {
        if (n <= 0) return;
        v &= bitMask(n);
        uint32_t acc = (p[0] & ~(0xFFu >> off) & 0xFFu);  // bits already used
        uint32_t total = off + static_cast<uint32_t>(n);   // bits held in acc after the add
        // Left-align the bits already used and the new ones in a 32-bit window.
        uint32_t win = (acc << 24) | (v << (32 - total));
        uint32_t bytes = (total + 7) >> 3;
        for (uint32_t i = 0; i < bytes; ++i) p[i] = static_cast<uint8_t>(win >> (24 - 8 * i));
        p += total >> 3;
        off = total & 7u;
    }
    void store(uint8_t** ppByte, uint32_t* pOffset) const {
        *ppByte = p;
        *pOffset = off;
    }
};

}  // namespace zub

#endif
