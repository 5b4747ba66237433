// H.264 entropy decoding on the word cursor: Exp-Golomb codes (clause 9.1).
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
