// Coverage: examples/mpeg2dec/decoder.cpp
//
// The example MPEG-1/MPEG-2 decoder on the whole input as a video elementary
// stream.  A sequence asking for more than 396 macroblocks per frame (CIF) is
// rejected as too large, so that a fuzzed header cannot make one input
// allocate and decode pictures of up to 65536 macroblocks; every committed
// test stream fits.
//
// A corrupt stream must end with a DecodeError (or decode to the end), never
// anything else.  Every output picture must have the shape the decoder
// promises: at most the 396-macroblock frame, chroma planes of half the
// width (rounded up) and half or all of the height, steps at least as wide as
// the rows; every row of every plane is read (AddressSanitizer sees a plane
// shorter than its shape).
#include <cstdint>

#include "common/md5.h"
#include "fuzz.h"
#include "mpeg2dec.h"

namespace {

constexpr int kMaxFrameMbs = 396;

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    zubex::Md5 md5;
    mpeg2dec::Decoder dec([&](const mpeg2dec::OutputPicture& pic) {
        FUZZ_CHECK(pic.width[0] >= 1 && pic.height[0] >= 1 &&
                       static_cast<long>(pic.width[0]) * pic.height[0] <= kMaxFrameMbs * 256L,
                   "picture of %dx%d", pic.width[0], pic.height[0]);
        FUZZ_CHECK(pic.chromaFormat == 1 || pic.chromaFormat == 2, "chroma format %d", pic.chromaFormat);
        for (int p = 0; p < 3; ++p) {
            const int w = p ? (pic.width[0] + 1) / 2 : pic.width[0];
            const int h = p && pic.chromaFormat == 1 ? (pic.height[0] + 1) / 2 : pic.height[0];
            FUZZ_CHECK(pic.width[p] == w && pic.height[p] == h && pic.stride[p] >= w,
                       "plane %d: %dx%d, step %d, for a %dx%d picture", p, pic.width[p], pic.height[p],
                       pic.stride[p], pic.width[0], pic.height[0]);
            for (int y = 0; y < h; ++y)
                md5.update(pic.plane[p] + static_cast<size_t>(y) * pic.stride[p], static_cast<size_t>(w));
        }
    });
    dec.setMaxMacroblocks(kMaxFrameMbs);
    try {
        dec.decode(data, size);
    } catch (const mpeg2dec::DecodeError&) {
    }
    return 0;
}
