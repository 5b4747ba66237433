// Coverage: src/h264/h264huffman.cpp:ExpGolomb|readUe
//
// zubiDecodeExpGolombOne_H264_1u16s over a whole stream, one code after the
// other.  Input: byte 0 = the signed flag (bit 0) and the number of bits
// skipped before the first code (bits 1..5, 0..31); byte 1 = a bit offset
// tried first (values above 31 must give ZubStatusBadArgument); the rest =
// the stream.
//
// The stream is followed by as many words of one bits as it has words, plus
// one, so that every prefix ends there and every suffix inside it (the
// decoder reads as far as the code leads), then by the one readable word.
// Checked on each code, against a bit-by-bit reading of the stream:
//  - the status is ZubStatusOk and the cursor stands exactly 2k + 1 bits
//    further for a prefix of k zeros;
//  - the value is 2^k - 1 + suffix (signed mapping when asked), truncated to
//    16 bits, for k up to 31 (longer suffixes are outside the range);
//  - decoded again from a copy of the stream that ends one word after the
//    code, with every bit after the code inverted, the result is the same
//    (reads reach at most the readable word; AddressSanitizer sees any
//    further one);
//  - a bit offset above 31 returns ZubStatusBadArgument and writes nothing.
#include <cstdint>

#include "fuzz.h"
#include "zubvc.h"

namespace {

struct Result {
    ZubStatus status;
    Zub16s value;
    const Zub32u* word;
    Zub32u offset;
};

Result decodeOne(const Zub32u* word, Zub32u offset, Zub8u signedFlag) {
    Result r{0, static_cast<Zub16s>(0x5A5A), word, offset};
    r.status = zubiDecodeExpGolombOne_H264_1u16s(&r.word, &r.offset, &r.value, signedFlag);
    return r;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size < 2) return 0;
    const Zub8u signedFlag = data[0] & 1u;
    const Zub32u startOffset = 31u - ((data[0] >> 1) & 31u);
    const Zub32u badOffset = data[1];
    data += 2;
    size -= 2;
    const fuzz::WordStream s(data, size, (size + 3) / 4 + 1);

    if (badOffset > 31) {
        const Result r = decodeOne(s.words(), badOffset, signedFlag);
        FUZZ_CHECK(r.status == ZubStatusBadArgument, "offset %u gave status %d", badOffset, r.status);
        FUZZ_CHECK(r.value == 0x5A5A && r.word == s.words() && r.offset == badOffset, "written on an error");
    }

    const Zub32u* word = s.words();
    Zub32u offset = startOffset;
    size_t pos = s.bitPos(word, offset);
    while (pos < s.dataBits()) {
        // The reference reading.
        size_t k = 0;
        while (s.bit(pos + k) == 0) ++k;
        uint64_t code = 1;
        for (size_t i = 0; i < k; ++i) code = code << 1 | static_cast<uint64_t>(s.bit(pos + k + 1 + i));
        --code;
        const size_t end = pos + 2 * k + 1;
        FUZZ_CHECK(end <= s.readableBits(), "the padding is too short");

        const Result r = decodeOne(word, offset, signedFlag);
        FUZZ_CHECK(r.status == ZubStatusOk, "status %d at bit %zu", r.status, pos);
        FUZZ_CHECK(s.inside(r.word) && s.bitPos(r.word, r.offset) == end && r.offset <= 31,
                   "cursor at bit %zu (offset %u), the code ends at bit %zu", s.bitPos(r.word, r.offset), r.offset,
                   end);
        if (k <= 31) {
            uint64_t v = code;
            if (signedFlag) v = (code & 1) ? (code + 1) / 2 : 0 - code / 2;
            FUZZ_CHECK(r.value == static_cast<Zub16s>(static_cast<uint16_t>(v)), "value %d for code number %llu",
                       r.value, static_cast<unsigned long long>(code));
        }

        const fuzz::WordStream t = fuzz::tightCopy(s, pos, end);
        const Result u = decodeOne(t.words(), offset, signedFlag);
        FUZZ_CHECK(u.status == r.status && u.value == r.value && u.offset == r.offset &&
                       u.word - t.words() == r.word - (s.words() + pos / 32),
                   "the bits after the code changed the result");

        word = r.word;
        offset = r.offset;
        pos = end;
    }
    return 0;
}
