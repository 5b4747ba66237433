// zubvc-h264dec: an H.264 decoder for progressive 4:2:0 8-bit CAVLC streams
// (I and P slices) built on libzubvcpx.  The decoder parses the stream,
// manages pictures, reference lists and motion vectors itself; every
// block-level job (residual decoding, DC transforms, intra prediction,
// reconstruction, interpolation, deblocking) is a library call.
#ifndef H264DEC_DECODER_H
#define H264DEC_DECODER_H

#include <array>
#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

#include "bits.h"

namespace h264dec {

// Scaling lists of a parameter set as coded (clause 7.3.2.1.1.1): per list
// absent, present, or "use the default"; values in raster order.  The 4x4
// lists are Intra Y, Cb, Cr, Inter Y, Cb, Cr; the 8x8 lists Intra Y, Inter Y
// (then Cb and Cr for 4:4:4).
struct ScalingLists {
    enum State : uint8_t { Absent, Present, UseDefault };
    bool present = false;  // seq_/pic_scaling_matrix_present_flag
    State state4[6] = {}, state8[6] = {};
    uint8_t list4[6][16] = {}, list8[6][64] = {};
};

struct Sps {
    bool valid = false;
    int profileIdc = 0, levelIdc = 0;
    int log2MaxFrameNum = 4;
    int pocType = 0, log2MaxPocLsb = 4;
    bool deltaPicOrderAlwaysZero = false;
    int offsetForNonRefPic = 0, offsetForTopToBottomField = 0;
    int numRefFramesInPocCycle = 0;
    std::array<int, 256> offsetForRefFrame{};
    int maxNumRefFrames = 0;
    bool gapsAllowed = false;
    int widthMbs = 0, heightMbs = 0;  // heightMbs in frame macroblocks
    bool frameMbsOnly = true;
    bool direct8x8Inference = true;
    int chromaFormat = 1;  // chroma_format_idc: 0 monochrome, 1 4:2:0
    bool transformBypass = false;  // qpprime_y_zero_transform_bypass_flag
    int cropLeft = 0, cropRight = 0, cropTop = 0, cropBottom = 0;  // in samples
    int maxDecFrameBuffering = -1;                                   // VUI, -1 absent
    int fpsNum = 25, fpsDen = 1;
    ScalingLists scaling;
};

struct Pps {
    bool valid = false;
    int spsId = 0;
    int numRefIdxActive = 1, numRefIdxActiveL1 = 1;
    int weightedBipredIdc = 0;
    int picInitQp = 26;
    int chromaQpIndexOffset = 0, secondChromaQpIndexOffset = 0;
    bool deblockingFilterControlPresent = false;
    bool constrainedIntraPred = false;
    bool redundantPicCntPresent = false;
    bool bottomFieldPicOrderInFramePresent = false;
    bool weightedPred = false;
    bool transform8x8Mode = false;
    ScalingLists scaling;
};

struct Mmco {
    int op, diffPicNumsMinus1, longTermPicNum, longTermFrameIdx, maxLongTermFrameIdxPlus1;
};

// Explicit weighted prediction of one reference list (clause 7.4.3.2); a
// reference without weights has flag false: weight 1 << denom, offset 0.
struct PredWeights {
    int lumaLog2Denom = 0, chromaLog2Denom = 0;
    bool lumaFlag[32] = {}, chromaFlag[32] = {};
    int lumaWeight[32] = {}, lumaOffset[32] = {};
    int chromaWeight[32][2] = {}, chromaOffset[32][2] = {};
};

struct SliceHeader {
    int nalRefIdc = 0;
    bool idr = false;
    int firstMb = 0, sliceType = 0, ppsId = 0, frameNum = 0, idrPicId = 0;
    int pocLsb = 0, deltaPocBottom = 0, deltaPoc[2] = {0, 0};
    int numRefIdxActive = 1, numRefIdxActiveL1 = 1;
    bool directSpatial = false;
    struct Mod {
        int idc, value;
    };
    std::vector<Mod> refMods, refModsL1;
    bool weighted = false;  // explicit weights (P with weighted_pred_flag, B with weighted_bipred_idc 1)
    PredWeights weights, weightsL1;
    bool noOutputOfPriorPics = false, longTermReference = false, adaptiveMarking = false;
    std::vector<Mmco> mmcos;
    int qp = 26;
    int disableDeblocking = 0, alphaOffset = 0, betaOffset = 0;
};

// A decoded frame with its planes and its reference state.
struct Frame {
    std::vector<uint8_t> mem;
    uint8_t* plane[3] = {nullptr, nullptr, nullptr};
    int stride[3] = {0, 0, 0};
    int width = 0, height = 0;  // luma, whole macroblocks
    int poc = 0, frameNum = 0, frameNumWrap = 0, longTermFrameIdx = 0;
    enum Ref { Unused, ShortTerm, LongTerm } ref = Unused;
    bool neededForOutput = false;
    bool hadMmco5 = false;
    uint32_t serial = 0;  // tells pictures apart for the deblocking filter
    // Motion of each 4x4 block for the direct prediction of later B pictures
    // (clause 8.4.1.2.1): the L0 motion, or the L1 motion where L0 was not
    // used; reference index -1 for intra blocks.
    std::vector<int16_t> colMv;
    std::vector<int8_t> colRefIdx;
    std::vector<uint32_t> colRefSerial;
    bool inUse() const { return ref != Unused || neededForOutput; }
};

// What the caller receives for each output frame (cropped planes; chroma
// planes of half the luma width and height, rounded up).
struct OutputPicture {
    const uint8_t* plane[3];
    int stride[3];
    int width[3], height[3];
};

class Decoder {
public:
    using Sink = std::function<void(const OutputPicture&)>;
    explicit Decoder(Sink sink);
    ~Decoder();
    // Decodes one NAL unit (without start code).
    void decodeNal(const uint8_t* data, size_t size);
    // Ends the stream: finishes the last picture and outputs what remains.
    void flush();
    const Sps* activeSps() const { return sps_; }
    // Sequence parameter sets asking for more macroblocks per frame are
    // rejected as "picture too large" (default: level 5.1 MaxFS, 36864).
    void setMaxFrameMbs(int mbs) { maxFrameMbs_ = mbs; }
    struct SliceState;

private:

    void parseSps(BitReader& br);
    void parsePps(BitReader& br);
    void parseSliceHeader(BitReader& br, SliceHeader& sh, int nalType, int nalRefIdc);
    void startPicture(const SliceHeader& sh);
    void finishPicture();
    void computePoc(const SliceHeader& sh);
    void buildRefList(const SliceHeader& sh);
    std::vector<Frame*> modifyList(std::vector<Frame*> list, const std::vector<SliceHeader::Mod>& mods, int n,
                                   const SliceHeader& sh, const std::vector<Frame*>& shortRefs,
                                   const std::vector<Frame*>& longRefs);
    void markReferences();
    void storeAndBump();
    void outputFrame(Frame* f);
    void bump();
    Frame* freeFrame();
    int dpbCapacity() const;

    void decodeSliceData(BitReader& br, const SliceHeader& sh);
    void decodeMacroblock(BitReader& br, int mbAddr);
    void decodeSkip(int mbAddr);
    void deblockPicture();

    Sink sink_;
    int maxFrameMbs_ = 36864;
    std::array<Sps, 32> spsList_{};
    std::array<Pps, 256> ppsList_{};
    const Sps* sps_ = nullptr;
    const Pps* pps_ = nullptr;
    Rbsp rbsp_;

    std::vector<std::unique_ptr<Frame>> frames_;
    Frame* cur_ = nullptr;
    SliceHeader curHeader_;  // first slice of the current picture
    bool picOpen_ = false;
    uint32_t serial_ = 0;

    // POC state (clause 8.2.1).
    int prevPocMsb_ = 0, prevPocLsb_ = 0, prevFrameNumOffset_ = 0, prevFrameNum_ = 0;
    bool prevHadMmco5_ = false;
    int frameNumOffset_ = 0;
    int topPoc_ = 0;  // TopFieldOrderCnt of the current picture
    int maxLongTermFrameIdx_ = -1;  // -1: no long-term frame indices

    std::vector<Frame*> refList_, refList1_;

    std::unique_ptr<SliceState> st_;
};

}  // namespace h264dec

#endif
