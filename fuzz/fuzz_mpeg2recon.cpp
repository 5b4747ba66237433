// Coverage: src/mpeg2/huffman.cpp:Reconstruct|Block
//
// The four MPEG-1/MPEG-2 block reconstruction functions over a whole
// stream, block after block, with the tables of ISO/IEC 13818-2 Annex B that
// the helper library builds through the library.  Input: byte 0 = the form
// (bits 0..1: MPEG-1 non-intra, MPEG-1 intra, MPEG-2 non-intra, MPEG-2
// intra), bit 2: table one for intra blocks, bit 3: chrominance DC sizes,
// bit 4: alternate scan, bit 5: null weights (MPEG-2 non-intra), bits 6..7:
// the DC shift; byte 1 = QP (any value, 0 included); byte 2 = the weights'
// seed; byte 3 = the bits skipped before the first block (low 5 bits); the
// rest = the stream.
//
// The stream is followed by 4 words of zero bits (an escape or DC bits begun
// in the data end there, and zeros code nothing in the coefficient tables)
// and the readable word.  Checked on
// every call:
//  - the block is written only inside its 64 coefficients (canaries around);
//  - ZubStatusOk: the last index is 0..63 (MPEG-2 non-intra 1..63), the
//    block's coefficients past that scan index are zero (bar the mismatch
//    bit at raster 63), the cursor moved forward and stays before the
//    readable word; decoding again from a copy of the stream that ends one
//    word after the block, every later bit inverted, gives the same block,
//    last index, predictor and cursor;
//  - ZubStatusVlcError: the last index is not written;
//  - no other status occurs.
#include <cstdint>
#include <cstring>
#include <vector>

#include "fuzz.h"
#include "zubvc.h"
#include "zubvc_tools/mpeg2vlc.h"

using zubtools::Mpeg2Vlc;

namespace {

constexpr Zub16s kCanary = 0x7A5A;

struct Setup {
    int form;  // 0 MPEG-1, 1 MPEG-1 intra, 2 MPEG-2, 3 MPEG-2 intra
    bool tableOne, chroma, altScan, nullWeights;
    Zub32s shift, qp;
    Zub32s scan[64];
    Zub16s weights[64];
};

struct Result {
    ZubStatus status;
    Zub16s guarded[64 + 16];
    Zub32s last;
    Zub16s pred;
    const Zub32u* word;
    Zub32u offset;
    const Zub16s* block() const { return guarded + 8; }
};

Result run(const Setup& u, const Zub32u* word, Zub32u offset, Zub16s pred) {
    Result r;
    for (Zub16s& v : r.guarded) v = kCanary;
    r.last = -77;
    r.pred = pred;
    r.word = word;
    r.offset = offset;
    Zub16s* dst = r.guarded + 8;
    const Zub32s* zero = zubtools::mpeg2VlcTable(Mpeg2Vlc::DctTableZero);
    const Zub32s* coef = u.tableOne && (u.form & 1) ? zubtools::mpeg2VlcTable(Mpeg2Vlc::DctTableOne) : zero;
    const Zub32s* dc = zubtools::mpeg2VlcTable(u.chroma ? Mpeg2Vlc::DcSizeChroma : Mpeg2Vlc::DcSizeLuma);
    switch (u.form) {
        case 0:
            r.status = zubiReconstructDCTBlock_MPEG1_32s(&r.word, &r.offset, zero, coef, u.scan, u.qp, u.weights,
                                                         dst, &r.last);
            break;
        case 1:
            r.status = zubiReconstructDCTBlockIntra_MPEG1_32s(&r.word, &r.offset, dc, coef, u.scan, u.qp, u.weights,
                                                              &r.pred, dst, &r.last);
            break;
        case 2:
            r.status = zubiReconstructDCTBlock_MPEG2_32s(&r.word, &r.offset, zero, coef, u.scan, u.qp,
                                                         u.nullWeights ? nullptr : u.weights, dst, &r.last);
            break;
        default:
            r.status = zubiReconstructDCTBlockIntra_MPEG2_32s(&r.word, &r.offset, dc, coef, u.scan, u.qp, u.weights,
                                                              &r.pred, u.shift, dst, &r.last);
            break;
    }
    return r;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size < 4) return 0;
    Setup u;
    u.form = data[0] & 3;
    u.tableOne = data[0] & 4;
    u.chroma = data[0] & 8;
    u.altScan = data[0] & 16;
    u.nullWeights = data[0] & 32;
    u.shift = data[0] >> 6;
    u.qp = data[1];
    uint32_t seed = data[2] * 2654435761u + 1;
    for (Zub16s& w : u.weights) {
        seed = seed * 1103515245u + 12345u;
        w = static_cast<Zub16s>(seed >> 16);
    }
    const Zub8u* scan = u.altScan ? ownvc_AltScanV : ownvc_Zigzag;
    for (int k = 0; k < 64; ++k) u.scan[k] = scan[k];
    const size_t skip = data[3] & 31u;
    data += 4;
    size -= 4;
    const fuzz::WordStream s(data, size, 4, 0);

    const Zub32u* word = s.words();
    Zub32u offset = 31u - static_cast<Zub32u>(skip);
    Zub16s pred = 0;
    while (s.bitPos(word, offset) < s.dataBits()) {
        const size_t at = s.bitPos(word, offset);
        const Result r = run(u, word, offset, pred);
        for (int k = 0; k < 8; ++k)
            FUZZ_CHECK(r.guarded[k] == kCanary && r.guarded[72 + k] == kCanary, "written outside the block");
        FUZZ_CHECK(s.inside(r.word), "cursor outside the stream");
        const size_t after = s.bitPos(r.word, r.offset);
        FUZZ_CHECK(after <= s.readableBits(), "cursor past the readable word");
        if (r.status != ZubStatusOk) {
            FUZZ_CHECK(r.status == ZubStatusVlcError, "status %d", r.status);
            FUZZ_CHECK(r.last == -77, "last index written on an error");
            // Go on one bit further.
            if (offset == 0) ++word;
            offset = (offset + 31) & 31u;
            continue;
        }
        FUZZ_CHECK(after > at, "no bits consumed");
        FUZZ_CHECK(r.last >= (u.form == 2 ? 1 : 0) && r.last <= 63, "last index %d", r.last);
        for (int k = r.last + 1; k < 64; ++k)
            FUZZ_CHECK(r.block()[u.scan[k]] == 0 || u.scan[k] == 63, "coefficient past the last index");
        const fuzz::WordStream c = fuzz::tightCopy(s, at, after);
        const Result again = run(u, c.words(), 31u - static_cast<Zub32u>(at % 32), pred);
        FUZZ_CHECK(again.status == ZubStatusOk && again.last == r.last && again.pred == r.pred &&
                       std::memcmp(again.guarded, r.guarded, sizeof r.guarded) == 0 &&
                       c.bitPos(again.word, again.offset) == after - at + at % 32,
                   "a copy ending after the block decodes differently");
        word = r.word;
        offset = r.offset;
        pred = r.pred;
    }
    return 0;
}
