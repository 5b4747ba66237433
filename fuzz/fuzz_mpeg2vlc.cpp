// Coverage: src/mpeg2/huffman.cpp:Huffman|lookupCode
//
// zubiDecodeHuffmanOne_1u32s and zubiDecodeHuffmanPair_1u16s over a whole
// stream, code after code, with the tables of ISO/IEC 13818-2 Annex B that
// the helper library builds through the library.  Input: byte 0 = the table
// (value % 12; the DCT tables go to the pair decoder, the others to the
// single-value one); byte 1 = the bits skipped before the first code (low
// 5 bits); the rest = the stream.
//
// The stream is followed by two words of zero bits (no code of these tables
// is all zeros beyond 17 bits, so a decode stops there) and one readable word.
// Checked on each code:
//  - ZubStatusOk: the cursor moved by the length of a code of the table whose
//    value it gave, and decoding it again from a copy of the stream that ends
//    one word after the code, every later bit inverted, gives the same
//    (AddressSanitizer sees any read beyond that word);
//  - ZubStatusVlcError from the pair decoder: cursor and outputs untouched;
//    from the single-value decoder: the value 0xF0F1 and the cursor moved
//    by the bits its table levels looked up;
//  - no other status occurs, and the cursor never passes the readable word.
#include <cstdint>
#include <map>
#include <set>
#include <utility>

#include "fuzz.h"
#include "zubvc.h"
#include "zubvc_tools/mpeg2vlc.h"

using zubtools::Mpeg2Vlc;

namespace {

struct Decoded {
    ZubStatus status;
    int run;
    int value;
    const Zub32u* word;
    Zub32u offset;
};

Decoded decode(Mpeg2Vlc t, const Zub32u* word, Zub32u offset) {
    Decoded d{0, 0xEE, 0x5A5A, word, offset};
    const Zub32s* table = zubtools::mpeg2VlcTable(t);
    if (zubtools::mpeg2VlcIsRunLevel(t)) {
        Zub8u run = 0xEE;
        Zub16s level = 0x5A5A;
        d.status = zubiDecodeHuffmanPair_1u16s(&d.word, &d.offset, table, &run, &level);
        d.run = run;
        d.value = level;
    } else {
        Zub32s v = 0x5A5A;
        d.status = zubiDecodeHuffmanOne_1u32s(&d.word, &d.offset, &v, table);
        d.value = v;
    }
    return d;
}

// (run, value) -> code lengths of a table; the bits its levels look up.
const std::map<std::pair<int, int>, std::set<int>>& lengths(Mpeg2Vlc t) {
    static std::map<std::pair<int, int>, std::set<int>> all[zubtools::kMpeg2VlcCount];
    auto& m = all[static_cast<int>(t)];
    if (m.empty())
        for (const auto& c : zubtools::mpeg2VlcCodes(t)) m[{c.run, c.value}].insert(c.length);
    return m;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size < 2) return 0;
    const Mpeg2Vlc t = static_cast<Mpeg2Vlc>(data[0] % zubtools::kMpeg2VlcCount);
    const size_t skip = data[1] & 31u;
    data += 2;
    size -= 2;
    const fuzz::WordStream s(data, size, 2, 0, 0xFFFFFFFFu);
    const bool rl = zubtools::mpeg2VlcIsRunLevel(t);
    const auto& src = zubtools::mpeg2VlcSource(t);
    int lookedUp = 0;  // the most bits the table's levels look up
    for (int k = 0; k < src[1]; ++k) lookedUp += src[2 + k];

    const Zub32u* word = s.words();
    Zub32u offset = 31u - static_cast<Zub32u>(skip);
    while (s.bitPos(word, offset) < s.dataBits()) {
        const size_t at = s.bitPos(word, offset);
        const Decoded d = decode(t, word, offset);
        FUZZ_CHECK(s.inside(d.word), "cursor outside the stream");
        const size_t after = s.bitPos(d.word, d.offset);
        FUZZ_CHECK(after <= s.readableBits(), "cursor past the readable word");
        if (d.status == ZubStatusOk) {
            const auto it = lengths(t).find({rl ? d.run : 0, d.value});
            FUZZ_CHECK(it != lengths(t).end(), "value %d (run %d) is no code's", d.value, d.run);
            FUZZ_CHECK(it->second.count(static_cast<int>(after - at)), "consumed %zu bits", after - at);
            const fuzz::WordStream c = fuzz::tightCopy(s, at, after);
            const Decoded again = decode(t, c.words(), 31u - static_cast<Zub32u>(at % 32));
            FUZZ_CHECK(again.status == ZubStatusOk && again.value == d.value && again.run == d.run &&
                           c.bitPos(again.word, again.offset) == after - at + at % 32,
                       "a copy ending after the code decodes differently");
        } else {
            FUZZ_CHECK(d.status == ZubStatusVlcError, "status %d", d.status);
            if (rl) {
                FUZZ_CHECK(d.word == word && d.offset == offset && d.run == 0xEE && d.value == 0x5A5A,
                           "the pair decoder wrote on an invalid code");
            } else {
                FUZZ_CHECK(d.value == 0xF0F1, "invalid code gave %d", d.value);
                FUZZ_CHECK(after > at && after - at <= static_cast<size_t>(lookedUp), "invalid code moved %zu bits",
                           after - at);
            }
            // Go on one bit further.
            if (offset == 0) ++word;
            offset = (offset + 31) & 31u;
            continue;
        }
        word = d.word;
        offset = d.offset;
    }
    return 0;
}
