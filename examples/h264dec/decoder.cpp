// Parameter sets, slice headers, picture order counts, reference marking,
// reference lists and the output of pictures (H.264 clauses 7.3, 8.2, C.4).
#include "decoder.h"

#include <algorithm>
#include <climits>
#include <cstring>

#include "state.h"

namespace h264dec {

namespace {

// MaxDpbMbs of Table A-1 by level_idc.
int maxDpbMbs(int level) {
    switch (level) {
        case 9: case 10: return 396;
        case 11: return 900;
        case 12: case 13: case 20: return 2376;
        case 21: return 4752;
        case 22: case 30: return 8100;
        case 31: return 18000;
        case 32: return 20480;
        case 40: case 41: return 32768;
        case 42: return 34816;
        case 50: return 110400;
        case 51: case 52: return 184320;
        default: return 696320;
    }
}

// Raster positions of the zig-zag scans of 4x4 and 8x8 frame blocks
// (Tables 8-13 and 8-14): scaling lists are coded in this order.
const uint8_t kZigzag4x4[16] = {0, 1, 4, 8, 5, 2, 3, 6, 9, 12, 13, 10, 7, 11, 14, 15};
const uint8_t kZigzag8x8[64] = {0,  1,  8,  16, 9,  2,  3,  10, 17, 24, 32, 25, 18, 11, 4,  5,
                                12, 19, 26, 33, 40, 48, 41, 34, 27, 20, 13, 6,  7,  14, 21, 28,
                                35, 42, 49, 56, 57, 50, 43, 36, 29, 22, 15, 23, 30, 37, 44, 51,
                                58, 59, 52, 45, 38, 31, 39, 46, 53, 60, 61, 54, 47, 55, 62, 63};

// scaling_list() of clause 7.3.2.1.1.1, stored in raster order.
ScalingLists::State readScalingList(BitReader& br, uint8_t* list, int size) {
    const uint8_t* scan = size == 16 ? kZigzag4x4 : kZigzag8x8;
    int last = 8, next = 8;
    for (int j = 0; j < size; ++j) {
        if (next != 0) {
            const int delta = br.seRange(-128, 127, "delta_scale");
            next = (last + delta + 256) % 256;
            if (j == 0 && next == 0) return ScalingLists::UseDefault;
        }
        list[scan[j]] = static_cast<uint8_t>(next == 0 ? last : next);
        last = list[scan[j]];
    }
    return ScalingLists::Present;
}

void readScalingLists(BitReader& br, ScalingLists& s, int count8x8) {
    s.present = true;
    for (int i = 0; i < 6; ++i)
        s.state4[i] = br.flag() ? readScalingList(br, s.list4[i], 16) : ScalingLists::Absent;
    for (int i = 0; i < count8x8; ++i)
        s.state8[i] = br.flag() ? readScalingList(br, s.list8[i], 64) : ScalingLists::Absent;
}

void parseHrd(BitReader& br) {
    const uint32_t cpbCnt = br.ueMax(31, "cpb_cnt_minus1") + 1;
    br.u(4);
    br.u(4);
    for (uint32_t i = 0; i < cpbCnt; ++i) {
        br.ue();
        br.ue();
        br.flag();
    }
    br.u(5);
    br.u(5);
    br.u(5);
    br.u(5);
}

void parseVui(BitReader& br, Sps& s) {
    if (br.flag()) {  // aspect_ratio_info_present_flag
        if (br.u(8) == 255) {
            br.u(16);
            br.u(16);
        }
    }
    if (br.flag()) br.flag();  // overscan
    if (br.flag()) {           // video_signal_type_present_flag
        br.u(3);
        br.flag();
        if (br.flag()) br.u(24);
    }
    if (br.flag()) {  // chroma_loc_info_present_flag
        br.ue();
        br.ue();
    }
    if (br.flag()) {  // timing_info_present_flag
        const uint32_t units = br.u(32), scale = br.u(32);
        br.flag();
        if (units && scale && scale / 2 / units > 0 && units < INT_MAX && scale < UINT32_MAX) {
            s.fpsNum = static_cast<int>(scale / 2 > INT_MAX ? INT_MAX : scale / 2);
            s.fpsDen = static_cast<int>(units);
        }
    }
    const bool nal = br.flag();
    if (nal) parseHrd(br);
    const bool vcl = br.flag();
    if (vcl) parseHrd(br);
    if (nal || vcl) br.flag();
    br.flag();        // pic_struct_present_flag
    if (br.flag()) {  // bitstream_restriction_flag
        br.flag();
        br.ue();
        br.ue();
        br.ue();
        br.ue();
        br.ue();  // max_num_reorder_frames
        s.maxDecFrameBuffering = static_cast<int>(br.ueMax(16, "max_dec_frame_buffering"));
    }
}

}  // namespace


Decoder::Decoder(Sink sink) : sink_(std::move(sink)), st_(std::make_unique<SliceState>()) {}
Decoder::~Decoder() = default;

void Decoder::parseSps(BitReader& br) {
    Sps s;
    s.profileIdc = static_cast<int>(br.u(8));
    br.u(8);  // constraint flags
    s.levelIdc = static_cast<int>(br.u(8));
    const uint32_t id = br.ueMax(31, "seq_parameter_set_id");
    if (s.profileIdc == 100 || s.profileIdc == 110 || s.profileIdc == 122 || s.profileIdc == 244 ||
        s.profileIdc == 44 || s.profileIdc == 83 || s.profileIdc == 86 || s.profileIdc == 118 ||
        s.profileIdc == 128 || s.profileIdc == 138 || s.profileIdc == 139 || s.profileIdc == 134 ||
        s.profileIdc == 135) {
        s.chromaFormat = static_cast<int>(br.ueMax(3, "chroma_format_idc"));
        if (s.chromaFormat > 1) throw DecodeError("only 4:2:0 and 4:0:0 are supported");
        if (br.ue() != 0 || br.ue() != 0) throw DecodeError("only 8-bit samples are supported");
        s.transformBypass = br.flag();
        if (br.flag()) readScalingLists(br, s.scaling, 2);
    }
    s.log2MaxFrameNum = static_cast<int>(br.ueMax(12, "log2_max_frame_num_minus4")) + 4;
    s.pocType = static_cast<int>(br.ueMax(2, "pic_order_cnt_type"));
    if (s.pocType == 0) {
        s.log2MaxPocLsb = static_cast<int>(br.ueMax(12, "log2_max_pic_order_cnt_lsb_minus4")) + 4;
    } else if (s.pocType == 1) {
        s.deltaPicOrderAlwaysZero = br.flag();
        s.offsetForNonRefPic = br.seRange(-(1 << 30), 1 << 30, "offset_for_non_ref_pic");
        s.offsetForTopToBottomField = br.seRange(-(1 << 30), 1 << 30, "offset_for_top_to_bottom_field");
        s.numRefFramesInPocCycle = static_cast<int>(br.ueMax(255, "num_ref_frames_in_pic_order_cnt_cycle"));
        for (int i = 0; i < s.numRefFramesInPocCycle; ++i)
            s.offsetForRefFrame[i] = br.seRange(-(1 << 16), 1 << 16, "offset_for_ref_frame");
    }
    s.maxNumRefFrames = static_cast<int>(br.ueMax(16, "max_num_ref_frames"));
    s.gapsAllowed = br.flag();
    s.widthMbs = static_cast<int>(br.ueMax(511, "pic_width_in_mbs_minus1")) + 1;
    s.heightMbs = static_cast<int>(br.ueMax(511, "pic_height_in_map_units_minus1")) + 1;
    s.frameMbsOnly = br.flag();
    if (!s.frameMbsOnly) {
        // Streams that may code fields: only frame pictures without
        // macroblock-adaptive frame/field coding are decoded.
        if (br.flag()) throw DecodeError("MBAFF coding is not supported");
        s.heightMbs *= 2;
    }
    if (s.widthMbs * s.heightMbs > maxFrameMbs_) throw DecodeError("picture too large");
    s.direct8x8Inference = br.flag();
    if (br.flag()) {  // frame_cropping_flag: CropUnitX = 2, CropUnitY = 2 x (2 - frame_mbs_only_flag) for 4:2:0
        // CropUnitX = 1 and CropUnitY = 2 - frame_mbs_only_flag for 4:0:0.
        const int unitX = s.chromaFormat ? 2 : 1, unitY = (s.chromaFormat ? 2 : 1) * (s.frameMbsOnly ? 1 : 2);
        s.cropLeft = unitX * static_cast<int>(br.ueMax(8192, "frame_crop_left_offset"));
        s.cropRight = unitX * static_cast<int>(br.ueMax(8192, "frame_crop_right_offset"));
        s.cropTop = unitY * static_cast<int>(br.ueMax(8192, "frame_crop_top_offset"));
        s.cropBottom = unitY * static_cast<int>(br.ueMax(8192, "frame_crop_bottom_offset"));
        if (s.cropLeft + s.cropRight >= 16 * s.widthMbs || s.cropTop + s.cropBottom >= 16 * s.heightMbs)
            throw DecodeError("bad frame cropping");
    }
    if (br.flag()) parseVui(br, s);
    s.valid = true;
    spsList_[id] = s;
}

void Decoder::parsePps(BitReader& br) {
    Pps p;
    const uint32_t id = br.ueMax(255, "pic_parameter_set_id");
    p.spsId = static_cast<int>(br.ueMax(31, "seq_parameter_set_id"));
    if (br.flag()) throw DecodeError("CABAC streams are not supported");
    p.bottomFieldPicOrderInFramePresent = br.flag();
    if (br.ue() != 0) throw DecodeError("slice groups are not supported");
    p.numRefIdxActive = static_cast<int>(br.ueMax(31, "num_ref_idx_l0_default_active_minus1")) + 1;
    p.numRefIdxActiveL1 = static_cast<int>(br.ueMax(31, "num_ref_idx_l1_default_active_minus1")) + 1;
    p.weightedPred = br.flag();
    p.weightedBipredIdc = static_cast<int>(br.u(2));
    if (p.weightedBipredIdc == 3) throw DecodeError("invalid weighted_bipred_idc");
    p.picInitQp = 26 + br.seRange(-26, 25, "pic_init_qp_minus26");
    br.seRange(-26, 25, "pic_init_qs_minus26");
    p.chromaQpIndexOffset = br.seRange(-12, 12, "chroma_qp_index_offset");
    p.secondChromaQpIndexOffset = p.chromaQpIndexOffset;
    p.deblockingFilterControlPresent = br.flag();
    p.constrainedIntraPred = br.flag();
    p.redundantPicCntPresent = br.flag();
    if (br.moreRbspData()) {
        p.transform8x8Mode = br.flag();
        if (br.flag()) readScalingLists(br, p.scaling, p.transform8x8Mode ? 2 : 0);
        p.secondChromaQpIndexOffset = br.seRange(-12, 12, "second_chroma_qp_index_offset");
    }
    p.valid = true;
    ppsList_[id] = p;
}

void Decoder::parseSliceHeader(BitReader& br, SliceHeader& sh, int nalType, int nalRefIdc) {
    sh.nalRefIdc = nalRefIdc;
    sh.idr = nalType == 5;
    sh.firstMb = static_cast<int>(br.ueMax(36863, "first_mb_in_slice"));
    const uint32_t type = br.ueMax(9, "slice_type") % 5;
    if (type > 2) throw DecodeError("SP and SI slices are not supported");
    sh.sliceType = static_cast<int>(type);
    if (sh.idr && type != 2) throw DecodeError("IDR picture with a P or B slice");
    sh.ppsId = static_cast<int>(br.ueMax(255, "pic_parameter_set_id"));
    const Pps& pps = ppsList_[sh.ppsId];
    if (!pps.valid || !spsList_[pps.spsId].valid) throw DecodeError("slice refers to a missing parameter set");
    const Sps& sps = spsList_[pps.spsId];
    sh.frameNum = static_cast<int>(br.u(sps.log2MaxFrameNum));
    if (!sps.frameMbsOnly && br.flag()) throw DecodeError("field pictures are not supported");
    if (sh.idr) sh.idrPicId = static_cast<int>(br.ueMax(65535, "idr_pic_id"));
    sh.deltaPocBottom = sh.deltaPoc[0] = sh.deltaPoc[1] = 0;
    if (sps.pocType == 0) {
        sh.pocLsb = static_cast<int>(br.u(sps.log2MaxPocLsb));
        if (pps.bottomFieldPicOrderInFramePresent) sh.deltaPocBottom = br.seRange(-(1 << 30), 1 << 30, "delta_pic_order_cnt_bottom");
    } else if (sps.pocType == 1 && !sps.deltaPicOrderAlwaysZero) {
        sh.deltaPoc[0] = br.seRange(-(1 << 30), 1 << 30, "delta_pic_order_cnt");
        if (pps.bottomFieldPicOrderInFramePresent) sh.deltaPoc[1] = br.seRange(-(1 << 30), 1 << 30, "delta_pic_order_cnt");
    }
    if (pps.redundantPicCntPresent && br.ueMax(127, "redundant_pic_cnt") != 0)
        throw DecodeError("redundant pictures are not supported");
    const bool b = type == 1;
    if (b) sh.directSpatial = br.flag();
    sh.numRefIdxActive = pps.numRefIdxActive;
    sh.numRefIdxActiveL1 = pps.numRefIdxActiveL1;
    sh.refMods.clear();
    sh.refModsL1.clear();
    if (type != 2) {
        if (br.flag()) {  // num_ref_idx_active_override_flag
            sh.numRefIdxActive = static_cast<int>(br.ueMax(31, "num_ref_idx_l0_active_minus1")) + 1;
            if (b) sh.numRefIdxActiveL1 = static_cast<int>(br.ueMax(31, "num_ref_idx_l1_active_minus1")) + 1;
        }
        if (sh.numRefIdxActive > 16 || (b && sh.numRefIdxActiveL1 > 16))
            throw DecodeError("too many reference indices");
        // ref_pic_list_modification (clause 7.3.3.1), list 0 and for B list 1.
        for (int list = 0; list < (b ? 2 : 1); ++list) {
            if (!br.flag()) continue;
            auto& mods = list ? sh.refModsL1 : sh.refMods;
            for (;;) {
                const uint32_t idc = br.ueMax(3, "modification_of_pic_nums_idc");
                if (idc == 3) break;
                if (mods.size() > 32) throw DecodeError("too many list modifications");
                const uint32_t v = br.ueMax(idc == 2 ? 31u : 131071u, "abs_diff_pic_num_minus1");
                mods.push_back({static_cast<int>(idc), static_cast<int>(v)});
            }
        }
    }
    sh.weighted = (type == 0 && pps.weightedPred) || (b && pps.weightedBipredIdc == 1);
    if (sh.weighted) {  // pred_weight_table (clause 7.3.3.2)
        const int lumaDenom = static_cast<int>(br.ueMax(7, "luma_log2_weight_denom"));
        const bool chroma = sps.chromaFormat != 0;
        const int chromaDenom = chroma ? static_cast<int>(br.ueMax(7, "chroma_log2_weight_denom")) : 0;
        for (int list = 0; list < (b ? 2 : 1); ++list) {
            PredWeights& w = list ? sh.weightsL1 : sh.weights;
            w = PredWeights{};
            w.lumaLog2Denom = lumaDenom;
            w.chromaLog2Denom = chromaDenom;
            for (int i = 0; i < (list ? sh.numRefIdxActiveL1 : sh.numRefIdxActive); ++i) {
                if ((w.lumaFlag[i] = br.flag())) {
                    w.lumaWeight[i] = br.seRange(-128, 127, "luma_weight");
                    w.lumaOffset[i] = br.seRange(-128, 127, "luma_offset");
                }
                if (chroma && (w.chromaFlag[i] = br.flag())) {
                    for (int j = 0; j < 2; ++j) {
                        w.chromaWeight[i][j] = br.seRange(-128, 127, "chroma_weight");
                        w.chromaOffset[i][j] = br.seRange(-128, 127, "chroma_offset");
                    }
                }
            }
        }
    }
    sh.mmcos.clear();
    sh.noOutputOfPriorPics = sh.longTermReference = sh.adaptiveMarking = false;
    if (nalRefIdc) {
        if (sh.idr) {
            sh.noOutputOfPriorPics = br.flag();
            sh.longTermReference = br.flag();
        } else if ((sh.adaptiveMarking = br.flag())) {
            for (;;) {
                Mmco m{};
                m.op = static_cast<int>(br.ueMax(6, "memory_management_control_operation"));
                if (m.op == 0) break;
                if (sh.mmcos.size() > 64) throw DecodeError("too many marking operations");
                if (m.op == 1 || m.op == 3) m.diffPicNumsMinus1 = static_cast<int>(br.ueMax(131071, "difference_of_pic_nums_minus1"));
                if (m.op == 2) m.longTermPicNum = static_cast<int>(br.ueMax(31, "long_term_pic_num"));
                if (m.op == 3 || m.op == 6) m.longTermFrameIdx = static_cast<int>(br.ueMax(15, "long_term_frame_idx"));
                if (m.op == 4) m.maxLongTermFrameIdxPlus1 = static_cast<int>(br.ueMax(16, "max_long_term_frame_idx_plus1"));
                sh.mmcos.push_back(m);
            }
        }
    }
    sh.qp = pps.picInitQp + br.seRange(-51, 51, "slice_qp_delta");
    if (sh.qp < 0 || sh.qp > 51) throw DecodeError("slice QP out of range");
    sh.disableDeblocking = 0;
    sh.alphaOffset = sh.betaOffset = 0;
    if (pps.deblockingFilterControlPresent) {
        sh.disableDeblocking = static_cast<int>(br.ueMax(2, "disable_deblocking_filter_idc"));
        if (sh.disableDeblocking != 1) {
            sh.alphaOffset = 2 * br.seRange(-6, 6, "slice_alpha_c0_offset_div2");
            sh.betaOffset = 2 * br.seRange(-6, 6, "slice_beta_offset_div2");
        }
    }
}

void Decoder::decodeNal(const uint8_t* data, size_t size) {
    if (size < 1) return;
    const int nalRefIdc = (data[0] >> 5) & 3;
    const int nalType = data[0] & 31;
    if (data[0] & 0x80) throw DecodeError("forbidden_zero_bit set");
    switch (nalType) {
        case 1:
        case 5: {
            rbsp_.assign(data, size);
            BitReader br(rbsp_);
            SliceHeader sh;
            parseSliceHeader(br, sh, nalType, nalRefIdc);
            const Pps& pps = ppsList_[sh.ppsId];
            const Sps& sps = spsList_[pps.spsId];
            // First slice of a new picture (clause 7.4.1.2.4, frames only).
            const SliceHeader& c = curHeader_;
            const bool newPic = !picOpen_ || sh.firstMb == 0 || sh.frameNum != c.frameNum ||
                                sh.ppsId != c.ppsId || (sh.nalRefIdc == 0) != (c.nalRefIdc == 0) ||
                                sh.idr != c.idr || (sh.idr && sh.idrPicId != c.idrPicId) ||
                                (sps.pocType == 0 && (sh.pocLsb != c.pocLsb || sh.deltaPocBottom != c.deltaPocBottom)) ||
                                (sps.pocType == 1 && (sh.deltaPoc[0] != c.deltaPoc[0] || sh.deltaPoc[1] != c.deltaPoc[1]));
            if (newPic) {
                if (picOpen_) finishPicture();
                sps_ = &sps;
                pps_ = &pps;
                startPicture(sh);
            } else if (&spsList_[pps.spsId] != sps_) {
                throw DecodeError("parameter sets change inside a picture");
            }
            buildRefList(sh);
            decodeSliceData(br, sh);
            break;
        }
        case 7: {
            rbsp_.assign(data, size);
            BitReader br(rbsp_);
            parseSps(br);
            break;
        }
        case 8: {
            rbsp_.assign(data, size);
            BitReader br(rbsp_);
            parsePps(br);
            break;
        }
        case 2: case 3: case 4:
            throw DecodeError("data partitioning is not supported");
        case 11:  // end of stream
            if (picOpen_) finishPicture();
            break;
        default:
            break;  // SEI, AUD, end of sequence, filler and others carry nothing we need
    }
}

int Decoder::dpbCapacity() const {
    const int mbs = sps_->widthMbs * sps_->heightMbs;
    int n = std::min(maxDpbMbs(sps_->levelIdc) / mbs, 16);
    if (sps_->maxDecFrameBuffering >= 0) n = sps_->maxDecFrameBuffering;
    return std::max({n, sps_->maxNumRefFrames, 1});
}

Frame* Decoder::freeFrame() {
    for (auto& f : frames_)
        if (!f->inUse() && f->width == 16 * sps_->widthMbs && f->height == 16 * sps_->heightMbs) return f.get();
    // A new frame buffer; a few rows and columns of slack after each plane
    // keep reads through the frame edge inside the allocation.
    auto f = std::make_unique<Frame>();
    f->width = 16 * sps_->widthMbs;
    f->height = 16 * sps_->heightMbs;
    const int cw = f->width / 2, ch = f->height / 2;
    const size_t ySize = static_cast<size_t>(f->width) * (f->height + 24) + 64;
    const size_t cSize = static_cast<size_t>(cw) * (ch + 24) + 64;
    f->mem.assign(ySize + 2 * cSize, 0);
    f->plane[0] = f->mem.data();
    f->plane[1] = f->plane[0] + ySize;
    f->plane[2] = f->plane[1] + cSize;
    f->stride[0] = f->width;
    f->stride[1] = f->stride[2] = cw;
    frames_.push_back(std::move(f));
    return frames_.back().get();
}

void Decoder::startPicture(const SliceHeader& sh) {
    // Frames of another size are no longer usable.
    const int w = 16 * sps_->widthMbs, h = 16 * sps_->heightMbs;
    for (auto& f : frames_)
        if (f->inUse() && (f->width != w || f->height != h)) {
            if (f->neededForOutput) outputFrame(f.get());
            f->ref = Frame::Unused;
        }
    if (sh.idr) {
        // All reference pictures become unused; prior pictures are output
        // unless no_output_of_prior_pics_flag says otherwise (clause C.4.4).
        for (auto& f : frames_) f->ref = Frame::Unused;
        if (sh.noOutputOfPriorPics) {
            for (auto& f : frames_) f->neededForOutput = false;
        } else {
            while (std::any_of(frames_.begin(), frames_.end(), [](auto& f) { return f->neededForOutput; })) bump();
        }
    } else if (sh.frameNum != prevFrameNum_ && sh.frameNum != (prevFrameNum_ + 1) % (1 << sps_->log2MaxFrameNum) &&
               !sps_->gapsAllowed) {
        // A gap in frame_num: a lost picture.  Decoding goes on with what the
        // reference lists hold.
    }
    cur_ = freeFrame();
    if (sps_->chromaFormat == 0)  // 4:0:0: the chroma planes hold the mid value, as ffmpeg writes them
        for (int p = 1; p < 3; ++p)
            std::memset(cur_->plane[p], 128, static_cast<size_t>(cur_->stride[p]) * (cur_->height / 2));
    cur_->ref = Frame::Unused;
    cur_->neededForOutput = false;
    cur_->hadMmco5 = false;
    cur_->frameNum = sh.frameNum;
    cur_->serial = ++serial_;
    curHeader_ = sh;
    computePoc(sh);
    st_->reset(sps_->widthMbs, sps_->heightMbs);
    picOpen_ = true;
}

void Decoder::computePoc(const SliceHeader& sh) {
    const Sps& s = *sps_;
    const int maxFrameNum = 1 << s.log2MaxFrameNum;
    int top = 0, bottom = 0;
    if (s.pocType == 0) {
        if (sh.idr) prevPocMsb_ = prevPocLsb_ = 0;
        const int maxLsb = 1 << s.log2MaxPocLsb;
        int msb;
        if (sh.pocLsb < prevPocLsb_ && prevPocLsb_ - sh.pocLsb >= maxLsb / 2)
            msb = prevPocMsb_ + maxLsb;
        else if (sh.pocLsb > prevPocLsb_ && sh.pocLsb - prevPocLsb_ > maxLsb / 2)
            msb = prevPocMsb_ - maxLsb;
        else
            msb = prevPocMsb_;
        top = msb + sh.pocLsb;
        bottom = top + sh.deltaPocBottom;
        if (sh.nalRefIdc) {  // remembered until a later MMCO 5 adjusts it
            prevPocMsb_ = msb;
            prevPocLsb_ = sh.pocLsb;
        }
    } else {
        if (sh.idr)
            frameNumOffset_ = 0;
        else if (prevFrameNum_ > sh.frameNum)
            frameNumOffset_ = prevFrameNumOffset_ + maxFrameNum;
        else
            frameNumOffset_ = prevFrameNumOffset_;
        if (s.pocType == 1) {
            int absFrameNum = s.numRefFramesInPocCycle ? frameNumOffset_ + sh.frameNum : 0;
            if (sh.nalRefIdc == 0 && absFrameNum > 0) --absFrameNum;
            int64_t expected = 0;
            if (absFrameNum > 0) {
                int64_t deltaPerCycle = 0;
                for (int i = 0; i < s.numRefFramesInPocCycle; ++i) deltaPerCycle += s.offsetForRefFrame[i];
                const int cycleCnt = (absFrameNum - 1) / s.numRefFramesInPocCycle;
                const int inCycle = (absFrameNum - 1) % s.numRefFramesInPocCycle;
                expected = cycleCnt * deltaPerCycle;
                for (int i = 0; i <= inCycle; ++i) expected += s.offsetForRefFrame[i];
            }
            if (sh.nalRefIdc == 0) expected += s.offsetForNonRefPic;
            const int64_t t = expected + sh.deltaPoc[0];
            const int64_t b = t + s.offsetForTopToBottomField + sh.deltaPoc[1];
            if (t < INT_MIN / 2 || t > INT_MAX / 2 || b < INT_MIN / 2 || b > INT_MAX / 2)
                throw DecodeError("picture order count out of range");
            top = static_cast<int>(t);
            bottom = static_cast<int>(b);
        } else {
            const int64_t t = sh.idr ? 0 : 2 * (int64_t{frameNumOffset_} + sh.frameNum) - (sh.nalRefIdc == 0 ? 1 : 0);
            if (t > INT_MAX / 2) throw DecodeError("picture order count out of range");
            top = bottom = static_cast<int>(t);
        }
    }
    cur_->poc = std::min(top, bottom);
    topPoc_ = top;
}

void Decoder::buildRefList(const SliceHeader& sh) {
    refList_.clear();
    refList1_.clear();
    if (sh.sliceType == 2) return;
    const int maxFrameNum = 1 << sps_->log2MaxFrameNum;
    std::vector<Frame*> shortRefs, longRefs;
    for (auto& f : frames_) {
        Frame* p = f.get();
        if (p == cur_) continue;
        if (p->ref == Frame::ShortTerm) {
            p->frameNumWrap = p->frameNum > sh.frameNum ? p->frameNum - maxFrameNum : p->frameNum;
            shortRefs.push_back(p);
        } else if (p->ref == Frame::LongTerm) {
            longRefs.push_back(p);
        }
    }
    std::sort(longRefs.begin(), longRefs.end(),
              [](Frame* a, Frame* b) { return a->longTermFrameIdx < b->longTermFrameIdx; });
    if (sh.sliceType == 0) {
        // Clause 8.2.4.2.1: short-term by descending PicNum, then long-term by
        // ascending LongTermPicNum.
        std::vector<Frame*> list = shortRefs;
        std::sort(list.begin(), list.end(), [](Frame* a, Frame* b) { return a->frameNumWrap > b->frameNumWrap; });
        list.insert(list.end(), longRefs.begin(), longRefs.end());
        refList_ = modifyList(list, sh.refMods, sh.numRefIdxActive, sh, shortRefs, longRefs);
        return;
    }
    // Clause 8.2.4.2.3: list 0 starts with the short-term pictures before the
    // current one by descending POC, then those after it by ascending POC;
    // list 1 the other way round; both end with the long-term pictures.
    const int poc = cur_->poc;
    std::vector<Frame*> before, after;
    for (Frame* f : shortRefs) (f->poc < poc ? before : after).push_back(f);
    std::sort(before.begin(), before.end(), [](Frame* a, Frame* b) { return a->poc > b->poc; });
    std::sort(after.begin(), after.end(), [](Frame* a, Frame* b) { return a->poc < b->poc; });
    std::vector<Frame*> l0 = before, l1 = after;
    l0.insert(l0.end(), after.begin(), after.end());
    l0.insert(l0.end(), longRefs.begin(), longRefs.end());
    l1.insert(l1.end(), before.begin(), before.end());
    l1.insert(l1.end(), longRefs.begin(), longRefs.end());
    if (l1.size() > 1 && l1 == l0) std::swap(l1[0], l1[1]);
    refList_ = modifyList(l0, sh.refMods, sh.numRefIdxActive, sh, shortRefs, longRefs);
    refList1_ = modifyList(l1, sh.refModsL1, sh.numRefIdxActiveL1, sh, shortRefs, longRefs);
}

// Clause 8.2.4.3: the initial list cut or padded to n entries, then modified.
std::vector<Frame*> Decoder::modifyList(std::vector<Frame*> list, const std::vector<SliceHeader::Mod>& mods, int count,
                                        const SliceHeader& sh, const std::vector<Frame*>& shortRefs,
                                        const std::vector<Frame*>& longRefs) {
    const int maxFrameNum = 1 << sps_->log2MaxFrameNum;
    const size_t n = static_cast<size_t>(count);
    list.resize(n, nullptr);
    int picNumPred = sh.frameNum;
    int refIdx = 0;
    for (const auto& m : mods) {
        if (refIdx >= static_cast<int>(n)) throw DecodeError("too many reference list modifications");
        Frame* pic = nullptr;
        if (m.idc < 2) {
            const int abs = m.value + 1;
            int noWrap = m.idc == 0 ? picNumPred - abs : picNumPred + abs;
            if (m.idc == 0 && noWrap < 0) noWrap += maxFrameNum;
            if (m.idc == 1 && noWrap >= maxFrameNum) noWrap -= maxFrameNum;
            picNumPred = noWrap;
            const int picNum = noWrap > sh.frameNum ? noWrap - maxFrameNum : noWrap;
            for (Frame* f : shortRefs)
                if (f->frameNumWrap == picNum) pic = f;
            if (!pic) throw DecodeError("list modification names a missing picture");
        } else {
            for (Frame* f : longRefs)
                if (f->longTermFrameIdx == m.value) pic = f;
            if (!pic) throw DecodeError("list modification names a missing long-term picture");
        }
        list.insert(list.begin() + refIdx, pic);
        ++refIdx;
        for (size_t k = static_cast<size_t>(refIdx); k < list.size();)
            if (list[k] == pic) list.erase(list.begin() + static_cast<long>(k)); else ++k;
        list.resize(n, nullptr);
    }
    return list;
}

void Decoder::markReferences() {
    const SliceHeader& sh = curHeader_;
    if (sh.nalRefIdc == 0) return;
    const int maxFrameNum = 1 << sps_->log2MaxFrameNum;
    bool currentLong = false;
    if (sh.idr) {
        for (auto& f : frames_)
            if (f.get() != cur_) f->ref = Frame::Unused;
        if (sh.longTermReference) {
            currentLong = true;
            cur_->longTermFrameIdx = 0;
            maxLongTermFrameIdx_ = 0;
        } else {
            maxLongTermFrameIdx_ = -1;
        }
    } else if (sh.adaptiveMarking) {
        for (auto& f : frames_)
            if (f->ref == Frame::ShortTerm && f.get() != cur_)
                f->frameNumWrap = f->frameNum > sh.frameNum ? f->frameNum - maxFrameNum : f->frameNum;
        auto shortByPicNum = [&](int picNum) -> Frame* {
            for (auto& f : frames_)
                if (f.get() != cur_ && f->ref == Frame::ShortTerm && f->frameNumWrap == picNum) return f.get();
            return nullptr;
        };
        auto dropLongIdx = [&](int idx, Frame* keep) {
            for (auto& f : frames_)
                if (f.get() != keep && f->ref == Frame::LongTerm && f->longTermFrameIdx == idx) f->ref = Frame::Unused;
        };
        for (const Mmco& m : sh.mmcos) {
            switch (m.op) {
                case 1:
                    if (Frame* f = shortByPicNum(sh.frameNum - (m.diffPicNumsMinus1 + 1))) f->ref = Frame::Unused;
                    break;
                case 2:
                    for (auto& f : frames_)
                        if (f->ref == Frame::LongTerm && f->longTermFrameIdx == m.longTermPicNum) f->ref = Frame::Unused;
                    break;
                case 3:
                    if (Frame* f = shortByPicNum(sh.frameNum - (m.diffPicNumsMinus1 + 1))) {
                        dropLongIdx(m.longTermFrameIdx, f);
                        f->ref = Frame::LongTerm;
                        f->longTermFrameIdx = m.longTermFrameIdx;
                    }
                    break;
                case 4:
                    maxLongTermFrameIdx_ = m.maxLongTermFrameIdxPlus1 - 1;
                    for (auto& f : frames_)
                        if (f->ref == Frame::LongTerm && f->longTermFrameIdx > maxLongTermFrameIdx_) f->ref = Frame::Unused;
                    break;
                case 5:
                    for (auto& f : frames_)
                        if (f.get() != cur_) f->ref = Frame::Unused;
                    maxLongTermFrameIdx_ = -1;
                    cur_->hadMmco5 = true;
                    break;
                case 6:
                    dropLongIdx(m.longTermFrameIdx, cur_);
                    currentLong = true;
                    cur_->longTermFrameIdx = m.longTermFrameIdx;
                    break;
            }
        }
    } else {
        // Sliding window (clause 8.2.5.3).
        int numShort = 0, numLong = 0;
        Frame* oldest = nullptr;
        for (auto& f : frames_) {
            if (f.get() == cur_) continue;
            if (f->ref == Frame::ShortTerm) {
                ++numShort;
                const int wrap = f->frameNum > sh.frameNum ? f->frameNum - maxFrameNum : f->frameNum;
                f->frameNumWrap = wrap;
                if (!oldest || wrap < oldest->frameNumWrap) oldest = f.get();
            } else if (f->ref == Frame::LongTerm) {
                ++numLong;
            }
        }
        if (numShort + numLong >= std::max(sps_->maxNumRefFrames, 1) && oldest) oldest->ref = Frame::Unused;
    }
    cur_->ref = currentLong ? Frame::LongTerm : Frame::ShortTerm;
    // Never more reference frames than the stream allows.
    int refs = 0;
    for (auto& f : frames_) refs += f->ref != Frame::Unused;
    if (refs > std::max(sps_->maxNumRefFrames, 1) + 1) throw DecodeError("too many reference frames");
}

void Decoder::outputFrame(Frame* f) {
    f->neededForOutput = false;
    const Sps& s = *sps_;
    OutputPicture o;
    const int cx[3] = {s.cropLeft, s.cropLeft / 2, s.cropLeft / 2};
    const int cy[3] = {s.cropTop, s.cropTop / 2, s.cropTop / 2};
    for (int p = 0; p < 3; ++p) {
        // Chroma planes of half the size, rounded up (odd sizes occur in 4:0:0,
        // whose chroma planes only carry the mid value).
        const int sub = p ? 1 : 0;
        o.width[p] = (f->width - s.cropLeft - s.cropRight + sub) >> sub;
        o.height[p] = (f->height - s.cropTop - s.cropBottom + sub) >> sub;
        o.stride[p] = f->stride[p];
        o.plane[p] = f->plane[p] + cy[p] * f->stride[p] + cx[p];
    }
    sink_(o);
}

// Outputs the waiting frame with the smallest POC (clause C.4.5.3).
void Decoder::bump() {
    Frame* best = nullptr;
    for (auto& f : frames_)
        if (f->neededForOutput && (!best || f->poc < best->poc)) best = f.get();
    if (best) outputFrame(best);
}

void Decoder::finishPicture() {
    picOpen_ = false;
    if (std::any_of(st_->sliceNum.begin(), st_->sliceNum.end(), [](int n) { return n < 0; }))
        throw DecodeError("picture has missing macroblocks");
    deblockPicture();
    // The motion later B pictures read as co-located (clause 8.4.1.2.1).
    {
        const SliceState& st = *st_;
        Frame& f = *cur_;
        const size_t n = st.refIdx.size();
        f.colMv.resize(2 * n);
        f.colRefIdx.resize(n);
        f.colRefSerial.resize(n);
        for (size_t i = 0; i < n; ++i) {
            const bool l0 = st.refIdx[i] >= 0;
            const auto& mv = l0 ? st.mv : st.mv1;
            f.colRefIdx[i] = l0 ? st.refIdx[i] : st.refIdx1[i];
            f.colRefSerial[i] = l0 ? st.refSerial[i] : st.refSerial1[i];
            f.colMv[2 * i] = mv[2 * i];
            f.colMv[2 * i + 1] = mv[2 * i + 1];
        }
    }
    markReferences();
    const SliceHeader& sh = curHeader_;
    prevFrameNum_ = sh.frameNum;
    prevFrameNumOffset_ = frameNumOffset_;
    if (cur_->hadMmco5) {
        // Clause 8.2.1: after MMCO 5 the picture counts as POC 0 and frame_num 0:
        // tempPicOrderCnt = PicOrderCnt(CurrPic) is taken from both field
        // counts.  The next picture's prevPicOrderCntLsb is this picture's
        // TopFieldOrderCnt after that step (clause 8.2.1.1), which is not 0
        // when delta_pic_order_cnt_bottom is negative.
        const int tempPoc = cur_->poc;
        cur_->poc -= tempPoc;
        prevPocMsb_ = 0;
        prevPocLsb_ = topPoc_ - tempPoc;
        prevFrameNum_ = 0;
        prevFrameNumOffset_ = 0;
        cur_->frameNum = 0;
        // Pictures before it are output first.
        while (std::any_of(frames_.begin(), frames_.end(),
                           [&](auto& f) { return f.get() != cur_ && f->neededForOutput; }))
            bump();
    }
    // Store the picture; bump while the DPB is full.
    const int capacity = dpbCapacity();
    for (;;) {
        int used = 0;
        for (auto& f : frames_)
            if (f.get() != cur_ && f->inUse()) ++used;
        if (used < capacity) break;
        // Clause C.4.5.2: with no empty frame buffer, a non-reference picture
        // that precedes every picture waiting for output is output at once
        // and not stored; otherwise pictures are bumped until one is empty.
        if (cur_->ref == Frame::Unused &&
            std::none_of(frames_.begin(), frames_.end(), [&](auto& f) {
                return f.get() != cur_ && f->neededForOutput && f->poc <= cur_->poc;
            })) {
            outputFrame(cur_);
            cur_ = nullptr;
            return;
        }
        if (!std::any_of(frames_.begin(), frames_.end(), [&](auto& f) { return f.get() != cur_ && f->neededForOutput; }))
            break;
        bump();
    }
    cur_->neededForOutput = true;
    cur_ = nullptr;
}

void Decoder::flush() {
    if (picOpen_) finishPicture();
    while (std::any_of(frames_.begin(), frames_.end(), [](auto& f) { return f->neededForOutput; })) bump();
}

}  // namespace h264dec
