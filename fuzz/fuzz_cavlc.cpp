// Coverage: src/h264/h264huffman.cpp
//
// The six CAVLC residual decoders over a whole stream, block after block,
// with the standard code tables of the helper library.  Each block is decoded
// by the 16-bit and the 32-bit member from the same cursor; the two must
// agree (the 16-bit levels are the 32-bit ones truncated).
//
// Input: byte 0 = the block kind (0 4x4, 1 chroma DC 2x2, 2 chroma DC 2x4,
// value % 3); byte 1 = nC (low 4 bits: 0..7 the three tables, 8..15 the
// fixed-length code), bit 4: maxNumCoeff 15 instead of 16, bit 5: a negative
// nC, bit 6: a maxNumCoeff other than 15 and 16 (both must give
// ZubStatusOutOfRange and touch nothing); byte 2 = a table removed (bits
// 0..1: none, the coeff_token table, total_zeros[i], run_before[i]; bits
// 2..5: i); byte 3 = the bits skipped before the first block (low 5 bits;
// the high bits go into the bit offset, whose low five bits alone count);
// the rest = the stream.
//
// The stream is followed by one bits (as many words as it has, plus 40:
// enough for the longest escapes the data can start) and one readable word.
// Checked on every call:
//  - coefficients are written only inside the block (guards around it keep
//    their canary);
//  - ZubStatusOk: the count is 0..block size; an empty block writes nothing
//    and leaves the coefficient pointer; otherwise the whole block is
//    cleared, holds at most count non-zero levels and the pointer advances
//    by the block size; the cursor moved forward and stays before the
//    readable word; decoded again from a copy of the stream that ends one
//    word after the block with every later bit inverted, the result is the
//    same (AddressSanitizer sees any read beyond that readable word);
//  - an invalid coeff_token (ZubStatusVlcError with no count stored), a
//    removed coeff_token table (ZubStatusNullPointer) and argument errors
//    leave cursor, count, block and pointer untouched;
//  - an invalid total_zeros or run_before code (ZubStatusVlcError), or a
//    removed total_zeros or run_before table (ZubStatusNullPointer), leaves
//    the count stored, the block cleared (with at most count levels), the
//    pointer where it was and the cursor no further back than on entry;
//  - no other status occurs.
#include <cstdint>
#include <cstring>

#include "fuzz.h"
#include "zubvc.h"
#include "zubvc_tools/h264cavlc.h"

namespace {

// Table 8-13: the 4x4 zig-zag scan as raster indexes.
const Zub32u kZigzag[16] = {0, 1, 4, 8, 5, 2, 3, 6, 9, 12, 13, 10, 7, 11, 14, 15};

constexpr int kGuard = 16;
constexpr Zub16s kCountCanary = 0x5A5A;
template <class T> constexpr T canary();
template <> constexpr Zub16s canary<Zub16s>() { return 0x7E7E; }
template <> constexpr Zub32s canary<Zub32s>() { return 0x7E7E7E7E; }  // no level is that large

struct Args {
    int kind;  // 0 4x4, 1 2x2, 2 2x4
    Zub32u nC;
    Zub16s maxNumCoeff;
    const Zub32s* coeffToken[3];
    const Zub32s* coeffTokenDc;
    const Zub32s* totalZeros[16];
    const Zub32s* runBefore[16];
};

template <class T>
struct Outcome {
    ZubStatus status;
    Zub16s count;
    const Zub32u* word;
    Zub32u offset;
    ptrdiff_t moved;    // cursor word, in words from the one passed
    ptrdiff_t advance;  // coefficient pointer, in coefficients
    T buf[kGuard + 16 + kGuard];
    T* block() { return buf + kGuard; }
};

template <class T> struct Members;
template <> struct Members<Zub16s> {
    static constexpr auto block = zubiDecodeCAVLCCoeffs_H264_1u16s;
    static constexpr auto dc2x2 = zubiDecodeCAVLCChromaDcCoeffs_H264_1u16s;
    static constexpr auto dc2x4 = zubiDecodeCAVLCChroma422DcCoeffs_H264_1u16s;
};
template <> struct Members<Zub32s> {
    static constexpr auto block = zubiDecodeCAVLCCoeffs_H264_1u32s;
    static constexpr auto dc2x2 = zubiDecodeCAVLCChromaDcCoeffs_H264_1u32s;
    static constexpr auto dc2x4 = zubiDecodeCAVLCChroma422DcCoeffs_H264_1u32s;
};

template <class T>
ZubStatus call(const Args& a, const Zub32u** word, Zub32u* offset, Zub16s* count, T** coeffs) {
    if (a.kind == 0)
        return Members<T>::block(word, offset, count, coeffs, a.nC, a.maxNumCoeff, a.coeffToken, a.totalZeros,
                                 a.runBefore, kZigzag);
    return (a.kind == 1 ? Members<T>::dc2x2 : Members<T>::dc2x4)(word, offset, count, coeffs, a.coeffTokenDc,
                                                                 a.totalZeros, a.runBefore);
}

template <class T>
Outcome<T> decode(const Args& a, const Zub32u* word, Zub32u offset) {
    Outcome<T> o;
    for (T& v : o.buf) v = canary<T>();
    o.count = kCountCanary;
    o.word = word;
    o.offset = offset;
    T* p = o.block();
    o.status = call<T>(a, &o.word, &o.offset, &o.count, &p);
    o.advance = p - o.block();
    o.moved = o.word - word;
    return o;
}

int blockSize(int kind) { return kind == 0 ? 16 : kind == 1 ? 4 : 8; }

// The documented state of one outcome; returns true when the caller's state
// is untouched.
template <class T>
bool checkOutcome(Outcome<T>& o, const Args& a, const fuzz::WordStream& s, size_t pos, const Zub32u* word,
                  Zub32u offset) {
    const int size = blockSize(a.kind);
    for (int i = 0; i < kGuard; ++i)
        FUZZ_CHECK(o.buf[i] == canary<T>() && o.buf[kGuard + 16 + i] == canary<T>(), "written outside the block");
    for (int i = size; i < 16; ++i) FUZZ_CHECK(o.block()[i] == canary<T>(), "written outside the block");
    int canaries = 0, nonzero = 0;
    for (int i = 0; i < size; ++i) {
        canaries += o.block()[i] == canary<T>();
        nonzero += o.block()[i] != 0;
    }
    const bool stored = o.count != kCountCanary;
    if (o.status != ZubStatusOk && !stored) {
        FUZZ_CHECK(o.status == ZubStatusVlcError || o.status == ZubStatusNullPointer ||
                       o.status == ZubStatusOutOfRange,
                   "status %d", o.status);
        FUZZ_CHECK(o.word == word && o.offset == offset && canaries == size && o.advance == 0,
                   "status %d before the count, but the caller's state changed", o.status);
        return true;
    }
    FUZZ_CHECK(o.status == ZubStatusOk || o.status == ZubStatusVlcError || o.status == ZubStatusNullPointer,
               "status %d", o.status);
    FUZZ_CHECK(o.count >= 0 && o.count <= size, "count %d", o.count);
    FUZZ_CHECK(s.inside(o.word) && o.offset <= 31, "cursor outside the stream");
    const size_t end = s.bitPos(o.word, o.offset);
    FUZZ_CHECK(end <= s.readableBits(), "cursor at bit %zu, beyond the data and its padding", end);
    if (o.status == ZubStatusOk) {
        FUZZ_CHECK(end > pos, "no bits consumed");
        if (o.count == 0) {
            FUZZ_CHECK(canaries == size && o.advance == 0, "an empty block wrote coefficients or moved the pointer");
        } else {
            FUZZ_CHECK(o.advance == size, "pointer advanced by %td", o.advance);
            if constexpr (sizeof(T) == 4) FUZZ_CHECK(canaries == 0, "block not cleared");
            FUZZ_CHECK(nonzero <= o.count, "%d levels for a count of %d", nonzero, o.count);
        }
    } else {
        FUZZ_CHECK(o.count >= 1, "error after an empty block");
        FUZZ_CHECK(end >= pos, "cursor moved back");
        FUZZ_CHECK(o.advance == 0, "pointer advanced on an error");
        if constexpr (sizeof(T) == 4) FUZZ_CHECK(canaries == 0, "block not cleared before the error");
        FUZZ_CHECK(nonzero <= o.count, "%d levels for a count of %d", nonzero, o.count);
    }
    return false;
}

void checkSame(const Outcome<Zub16s>& a, const Outcome<Zub32s>& b) {
    FUZZ_CHECK(a.status == b.status && a.count == b.count && a.offset == b.offset && a.moved == b.moved &&
                   a.advance == b.advance,
               "16-bit and 32-bit members disagree: status %d/%d count %d/%d", a.status, b.status, a.count, b.count);
    for (int i = 0; i < kGuard + 16 + kGuard; ++i)
        FUZZ_CHECK(a.buf[i] == static_cast<Zub16s>(b.buf[i] == canary<Zub32s>() ? canary<Zub16s>() : b.buf[i]),
                   "coefficient %d: %d against %d", i - kGuard, a.buf[i], b.buf[i]);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size < 4) return 0;
    const zubtools::H264CavlcTables& std = zubtools::h264CavlcTables();
    Args a{};
    a.kind = data[0] % 3;
    a.nC = data[1] & 15u;
    a.maxNumCoeff = (data[1] & 0x10) ? 15 : 16;
    const bool badNc = (data[1] & 0x20) != 0, badMax = (data[1] & 0x40) != 0;
    if (badNc) a.nC = 0x80000000u | (a.nC * 0x01010101u);
    if (badMax) a.maxNumCoeff = static_cast<Zub16s>((data[1] & 0x80) ? 17 : (data[1] & 0x10) ? 14 : -16);
    std::memcpy(a.coeffToken, std.coeffToken, sizeof a.coeffToken);
    a.coeffTokenDc = a.kind == 1 ? std.coeffTokenChromaDc : std.coeffTokenChromaDc422;
    const Zub32s* const* tz = a.kind == 0 ? std.totalZeros : a.kind == 1 ? std.totalZerosChromaDc
                                                                         : std.totalZerosChromaDc422;
    const int tzCount = a.kind == 0 ? 16 : a.kind == 1 ? 4 : 8;
    for (int i = 0; i < tzCount; ++i) a.totalZeros[i] = tz[i];
    std::memcpy(a.runBefore, std.runBefore, sizeof a.runBefore);
    const int removed = data[2] & 3, removedIndex = (data[2] >> 2) & 15;
    if (removed == 1) {
        if (a.kind == 0) a.coeffToken[a.nC < 8 ? (a.nC < 4 ? a.nC / 2 : 2) : 0] = nullptr;
        else a.coeffTokenDc = nullptr;
    }
    if (removed == 2) a.totalZeros[removedIndex] = nullptr;
    if (removed == 3) a.runBefore[removedIndex] = nullptr;
    const Zub32u skip = data[3] & 31u, offsetHigh = data[3] & 0xE0u;
    data += 4;
    size -= 4;
    const fuzz::WordStream s(data, size, (size + 3) / 4 + 40);

    const Zub32u* word = s.words();
    Zub32u offset = 31u - skip;
    const bool argError = a.kind == 0 && (badNc || badMax);
    for (size_t pos = s.bitPos(word, offset); pos < s.dataBits();) {
        Outcome<Zub16s> o16 = decode<Zub16s>(a, word, offset | offsetHigh);
        Outcome<Zub32s> o32 = decode<Zub32s>(a, word, offset | offsetHigh);
        checkSame(o16, o32);
        if (argError) {
            FUZZ_CHECK(o32.status == ZubStatusOutOfRange, "bad nC or maxNumCoeff gave status %d", o32.status);
            checkOutcome(o32, a, s, pos, word, offset | offsetHigh);
            return 0;
        }
        FUZZ_CHECK(o32.status != ZubStatusOutOfRange, "ZubStatusOutOfRange for valid arguments");
        const bool untouched16 = checkOutcome(o16, a, s, pos, word, offset | offsetHigh);
        const bool untouched = checkOutcome(o32, a, s, pos, word, offset | offsetHigh);
        FUZZ_CHECK(untouched16 == untouched, "16-bit and 32-bit members disagree");
        if (untouched) {
            if (o32.status == ZubStatusNullPointer) {
                FUZZ_CHECK(removed == 1, "null pointer without a removed table");
                if (a.kind != 1) return 0;  // the 2x2 fast paths do without the table
            }
            // Step over one bit and go on.
            ++pos;
            word = s.words() + pos / 32;
            offset = 31u - static_cast<Zub32u>(pos % 32);
            continue;
        }
        if (o32.status == ZubStatusNullPointer) FUZZ_CHECK(removed >= 2, "null pointer without a removed table");
        const size_t end = s.bitPos(o32.word, o32.offset);
        if (o32.status == ZubStatusOk) {
            const fuzz::WordStream t = fuzz::tightCopy(s, pos, end);
            Outcome<Zub16s> r16 = decode<Zub16s>(a, t.words(), offset | offsetHigh);
            Outcome<Zub32s> r32 = decode<Zub32s>(a, t.words(), offset | offsetHigh);
            checkSame(r16, o32);
            checkSame(o16, r32);
        }
        word = o32.word;
        offset = o32.offset;
        if (end == pos) {  // an error that consumed nothing: step over one bit
            word = s.words() + (pos + 1) / 32;
            offset = 31u - static_cast<Zub32u>((pos + 1) % 32);
        }
        pos = s.bitPos(word, offset);
    }
    return 0;
}
