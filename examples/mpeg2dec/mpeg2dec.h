// zubvc-mpeg2dec: a decoder of MPEG-1 (ISO/IEC 11172-2) and MPEG-2 Main and
// 4:2:2 profile (ISO/IEC 13818-2) video elementary streams built on
// libzubvcpx.  The decoder parses headers, slices, macroblock modes and
// motion vectors and manages the pictures itself; every block-level job is a
// library call: variable-length codes through tables built from the helper
// library's code lists, block reconstruction with dequantisation, the
// inverse DCT, and motion compensation with averaging and residual addition.
#ifndef MPEG2DEC_DECODER_H
#define MPEG2DEC_DECODER_H

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <stdexcept>
#include <vector>

#include "zubvc.h"

namespace mpeg2dec {

// A corrupt, truncated or unsupported stream.
struct DecodeError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// What the caller receives for each output frame, in display order: the
// three planes cropped to the display size.
struct OutputPicture {
    const uint8_t* plane[3];
    int stride[3];
    int width[3], height[3];
    int chromaFormat;  // 1 = 4:2:0, 2 = 4:2:2
    int fpsNum, fpsDen;
};

// The inverse DCT the decoder calls: the library's transposed-input
// transforms by default; tests may swap in another with the same contract
// (source in transposed layout, last index, step in bytes).
struct IdctFunctions {
    ZubStatus (*intra)(const Zub16s* pSrc, Zub8u* pDst, Zub32s dstStep, Zub32s lastIndex);
    ZubStatus (*inter)(const Zub16s* pSrc, Zub16s* pDst, Zub32s dstStep, Zub32s lastIndex);
};

// One coded block as the decoder met it, for tests that re-encode blocks:
// the stream bits [startBit, endBit) of its coefficients (DC size and
// differential included for intra blocks), counted from the first bit of
// `words` (the stream as 32-bit words, most significant byte first).
struct BlockTrace {
    const uint32_t* words;
    size_t startBit, endBit;
    bool intra, mpeg1;
    bool intraVlcFormat;  // DCT coefficient table one for intra AC
    int component;        // 0 luma, 1 Cb, 2 Cr
    int dcPredictor;      // intra: the DC predictor before the block
};

class Decoder {
public:
    using Sink = std::function<void(const OutputPicture&)>;
    explicit Decoder(Sink sink, IdctFunctions idct = libraryIdct());
    ~Decoder();
    Decoder(const Decoder&) = delete;
    Decoder& operator=(const Decoder&) = delete;

    // Decodes a whole elementary stream and outputs every picture; throws
    // DecodeError on a corrupt or unsupported stream (pictures decoded before
    // the error have been output).
    void decode(const uint8_t* data, size_t size);
    // Rejects sequences of more than n macroblocks per frame (default: up to
    // 4096x4096 samples).
    void setMaxMacroblocks(int n);

    static IdctFunctions libraryIdct();
    // Calls `trace` after every coded block.
    void setBlockTrace(std::function<void(const BlockTrace&)> trace);

private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
};

}  // namespace mpeg2dec

#endif
