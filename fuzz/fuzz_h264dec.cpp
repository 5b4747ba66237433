// Coverage: examples/h264dec/bits.cpp examples/h264dec/decoder.cpp examples/h264dec/slice.cpp examples/h264dec/deblock.cpp
//
// The example H.264 decoder on the whole input as an Annex B byte stream:
// NAL units split at the start codes, each decoded, then the stream flushed.
// A sequence parameter set asking for more than 396 macroblocks per frame
// (CIF, 352x288) is rejected as too large, so that a fuzzed header cannot
// make one input allocate and decode pictures of up to 36864 macroblocks;
// every committed test stream fits.
//
// A corrupt stream must end with a DecodeError (or decode to the end), never
// anything else.  Every output picture must have the shape the decoder
// promises: a luma plane no larger than the 396-macroblock frame, chroma
// planes of half its width and height (rounded up: 4:0:0 pictures may have
// odd sizes), steps at least as wide as the
// rows; every row of every plane is read (AddressSanitizer sees a plane
// shorter than its shape).
#include <cstdint>

#include "decoder.h"
#include "fuzz.h"
#include "md5.h"

namespace {

constexpr int kMaxFrameMbs = 396;

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    h264dec::Md5 md5;
    h264dec::Decoder dec([&](const h264dec::OutputPicture& pic) {
        FUZZ_CHECK(pic.width[0] >= 1 && pic.height[0] >= 1 &&
                       static_cast<long>(pic.width[0]) * pic.height[0] <= kMaxFrameMbs * 256L,
                   "picture of %dx%d", pic.width[0], pic.height[0]);
        for (int p = 0; p < 3; ++p) {
            const int w = p ? (pic.width[0] + 1) / 2 : pic.width[0], h = p ? (pic.height[0] + 1) / 2 : pic.height[0];
            FUZZ_CHECK(pic.width[p] == w && pic.height[p] == h && pic.stride[p] >= w,
                       "plane %d: %dx%d, step %d, for a %dx%d picture", p, pic.width[p], pic.height[p],
                       pic.stride[p], pic.width[0], pic.height[0]);
            for (int y = 0; y < h; ++y) md5.update(pic.plane[p] + static_cast<size_t>(y) * pic.stride[p], static_cast<size_t>(w));
        }
    });
    dec.setMaxFrameMbs(kMaxFrameMbs);
    try {
        for (const auto& nal : h264dec::splitAnnexB(data, size)) dec.decodeNal(nal.data, nal.size);
        dec.flush();
    } catch (const h264dec::DecodeError&) {
    }
    return 0;
}
