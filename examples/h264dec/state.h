// Per-picture macroblock state shared by the slice decoder and the
// deblocking filter of zubvc-h264dec.
#ifndef H264DEC_STATE_H
#define H264DEC_STATE_H

#include <cstdint>
#include <vector>

#include "decoder.h"
#include "zubvc.h"

namespace h264dec {

enum MbKind : uint8_t { MbNone = 0, MbI4x4, MbI16x16, MbIPCM, MbInter };

struct Decoder::SliceState {
    int wMbs = 0, hMbs = 0;
    // Per macroblock.
    std::vector<int> sliceNum;     // -1: not decoded in this picture
    std::vector<uint8_t> kind;     // MbKind
    std::vector<int8_t> qp;        // QP_Y
    // 24 per macroblock: luma 4x4 raster, Cb 2x2, Cr 2x2.  nnz says which
    // blocks have coefficients for the deblocking filter (the whole 8x8 block
    // with the 8x8 transform); tc holds TotalCoeff of each coded 4x4 block,
    // the nC context of CAVLC.
    std::vector<uint8_t> nnz;
    std::vector<uint8_t> tc;
    std::vector<uint8_t> t8x8;     // transform_size_8x8_flag
    std::vector<int8_t> ipred;     // 16 per macroblock: Intra4x4PredMode in 4x4 raster (2 elsewhere)
    // Per 4x4 luma block of the picture, list 0 and list 1.
    std::vector<int16_t> mv, mv1;          // 2 per block, quarter samples
    std::vector<int8_t> refIdx, refIdx1;   // -1: list not used (intra: both)
    std::vector<uint32_t> refSerial, refSerial1;  // 0: list not used

    struct SliceParams {
        int disableDeblocking, alphaOffset, betaOffset;
    };
    std::vector<SliceParams> slices;

    // The slice being decoded.
    int curSlice = -1;
    int sliceType = 0;  // 0 P, 1 B, 2 I
    int curQp = 26;  // QP_Y of the last macroblock decoded
    int numRefIdxActive = 1, numRefIdxActive1 = 1;
    bool directSpatial = false, direct8x8Inference = true;
    int bipredIdc = 0;  // B: 0 average, 1 explicit weights, 2 implicit weights
    int implicitW1[32][32] = {};  // implicit weight of list 1 by (refIdxL0, refIdxL1); list 0 has 64 - it
    int chromaOffset[2] = {0, 0};
    bool constrainedIntra = false;
    bool chroma = true;  // false for 4:0:0
    bool bypass = false;  // qpprime_y_zero_transform_bypass_flag: macroblocks of QP 0 are lossless
    bool transform8x8Mode = false;
    // LevelScale4x4 (lists Intra Y, Cb, Cr, Inter Y, Cb, Cr) and LevelScale8x8
    // (Intra Y, Inter Y) by qP % 6 in raster order (clause 8.5.9); flat
    // matrices go to the library as null pointers.
    bool flatScaling = true;
    int16_t levelScale4[6][6][16] = {};
    int16_t levelScale8[2][6][64] = {};
    const Zub16s* scale4(int list, int qp) const { return flatScaling ? nullptr : levelScale4[list][qp % 6]; }
    const Zub16s* scale8(int list, int qp) const { return flatScaling ? nullptr : levelScale8[list][qp % 6]; }
    const PredWeights* weights = nullptr;  // null: unweighted prediction
    const PredWeights* weights1 = nullptr;

    void reset(int w, int h) {
        wMbs = w;
        hMbs = h;
        const size_t n = static_cast<size_t>(w) * h;
        sliceNum.assign(n, -1);
        kind.assign(n, MbNone);
        qp.assign(n, 0);
        nnz.assign(n * 24, 0);
        tc.assign(n * 24, 0);
        t8x8.assign(n, 0);
        ipred.assign(n * 16, 2);
        mv.assign(n * 32, 0);
        refIdx.assign(n * 16, -1);
        refSerial.assign(n * 16, 0);
        mv1.assign(n * 32, 0);
        refIdx1.assign(n * 16, -1);
        refSerial1.assign(n * 16, 0);
        slices.clear();
        curSlice = -1;
    }
    int stride4() const { return wMbs * 4; }
};

// Chroma QP of Table 8-15 for qPI in 0..51.
inline int chromaQp(int qpi) {
    static constexpr uint8_t kQpc[22] = {29, 30, 31, 32, 32, 33, 34, 34, 35, 35, 36,
                                         36, 37, 37, 37, 38, 38, 38, 39, 39, 39, 39};
    return qpi < 30 ? qpi : kQpc[qpi - 30];
}

}  // namespace h264dec

#endif
