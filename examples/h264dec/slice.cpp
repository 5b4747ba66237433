// Slice data and the macroblock layer of CAVLC I and P slices (H.264 clauses
// 7.3.4, 7.3.5, 8.3, 8.4): parsing, intra mode and motion vector prediction,
// and the library calls that decode residuals and form each macroblock.
#include <algorithm>
#include <cstring>

#include "decoder.h"
#include "state.h"
#include "zubvc.h"
#include "zubvc_tools/h264cavlc.h"

namespace h264dec {

namespace {

// Zig-zag scan of 4x4 frame blocks (Table 8-13 read as raster positions),
// with 16 entries of margin on both sides: the library places coefficients at
// scan positions derived from the coded run lengths, and for corrupt input
// those may lie outside 0..15; the margins keep such writes inside the block
// (the count check then rejects the block).
struct PaddedScan {
    Zub32u v[48];
    constexpr PaddedScan() : v{} {
        const Zub32u zigzag[16] = {0, 1, 4, 8, 5, 2, 3, 6, 9, 12, 13, 10, 7, 11, 14, 15};
        for (int i = 0; i < 16; ++i) v[16 + i] = zigzag[i];
    }
};
constexpr PaddedScan kScan;
const Zub32u* const kZigzag = kScan.v + 16;

// The four 4x4 blocks of an 8x8 block coded with CAVLC interleave: level k
// of block i4x4 is coefficient 4k + i4x4 of the 8x8 zig-zag scan (clause
// 7.3.5.3.2).  The 4x4 blocks are read in scan order (identity positions)
// and scattered through this table of 8x8 raster positions.
struct Identity16 {
    Zub32u v[48];
    constexpr Identity16() : v{} {
        for (int i = 0; i < 16; ++i) v[16 + i] = static_cast<Zub32u>(i);
    }
};
constexpr Identity16 kIdentity;
const uint8_t kZigzag8x8[64] = {0,  1,  8,  16, 9,  2,  3,  10, 17, 24, 32, 25, 18, 11, 4,  5,
                                12, 19, 26, 33, 40, 48, 41, 34, 27, 20, 13, 6,  7,  14, 21, 28,
                                35, 42, 49, 56, 57, 50, 43, 36, 29, 22, 15, 23, 30, 37, 44, 51,
                                58, 59, 52, 45, 38, 31, 39, 46, 53, 60, 61, 54, 47, 55, 62, 63};

// Default scaling lists, Tables 7-3 and 7-4, in zig-zag order.
const uint8_t kDefault4x4[2][16] = {{6, 13, 13, 20, 20, 20, 28, 28, 28, 28, 32, 32, 32, 37, 37, 42},
                                    {10, 14, 14, 20, 20, 20, 24, 24, 24, 24, 27, 27, 27, 30, 30, 34}};
const uint8_t kDefault8x8[2][64] = {
    {6,  10, 10, 13, 11, 13, 16, 16, 16, 16, 18, 18, 18, 18, 18, 23, 23, 23, 23, 23, 23, 25,
     25, 25, 25, 25, 25, 25, 27, 27, 27, 27, 27, 27, 27, 27, 29, 29, 29, 29, 29, 29, 29, 31,
     31, 31, 31, 31, 31, 33, 33, 33, 33, 33, 36, 36, 36, 36, 38, 38, 38, 40, 40, 42},
    {9,  13, 13, 15, 13, 15, 17, 17, 17, 17, 19, 19, 19, 19, 19, 21, 21, 21, 21, 21, 21, 22,
     22, 22, 22, 22, 22, 22, 24, 24, 24, 24, 24, 24, 24, 24, 25, 25, 25, 25, 25, 25, 25, 27,
     27, 27, 27, 27, 27, 28, 28, 28, 28, 28, 30, 30, 30, 30, 32, 32, 32, 33, 33, 35}};

// normAdjust8x8 of clause 8.5.9 (equation 8-318).
int normAdjust8x8(int m, int i, int j) {
    static const int v[6][6] = {{20, 18, 32, 19, 25, 24}, {22, 19, 35, 21, 28, 26}, {26, 23, 42, 24, 33, 31},
                                {28, 25, 45, 26, 35, 33}, {32, 28, 51, 30, 40, 38}, {36, 32, 58, 34, 46, 43}};
    if (i % 4 == 0 && j % 4 == 0) return v[m][0];
    if (i % 2 == 1 && j % 2 == 1) return v[m][1];
    if (i % 4 == 2 && j % 4 == 2) return v[m][2];
    if ((i % 4 == 0 && j % 2 == 1) || (i % 2 == 1 && j % 4 == 0)) return v[m][3];
    if ((i % 4 == 0 && j % 4 == 2) || (i % 4 == 2 && j % 4 == 0)) return v[m][4];
    return v[m][5];
}

// The weight matrices in force (clause 7.4.2.1.1, fall-back rules A and B),
// raster order.
struct Weights {
    uint8_t w4[6][16], w8[2][64];
};

void defaultList4(uint8_t* out, int inter) {
    for (int k = 0; k < 16; ++k) out[kZigzag[k]] = kDefault4x4[inter][k];
}
void defaultList8(uint8_t* out, int inter) {
    for (int k = 0; k < 64; ++k) out[kZigzag8x8[k]] = kDefault8x8[inter][k];
}

// Applies one parameter set's lists over `fallback` (rule A: the defaults;
// rule B: the sequence-level lists) for the first list of each group.
Weights applyLists(const ScalingLists& l, const Weights& fallback) {
    Weights w{};
    for (int i = 0; i < 6; ++i) {
        if (l.state4[i] == ScalingLists::Present) std::memcpy(w.w4[i], l.list4[i], 16);
        else if (l.state4[i] == ScalingLists::UseDefault) defaultList4(w.w4[i], i >= 3);
        else if (i == 0 || i == 3) std::memcpy(w.w4[i], fallback.w4[i], 16);
        else std::memcpy(w.w4[i], w.w4[i - 1], 16);
    }
    for (int i = 0; i < 2; ++i) {
        if (l.state8[i] == ScalingLists::Present) std::memcpy(w.w8[i], l.list8[i], 64);
        else if (l.state8[i] == ScalingLists::UseDefault) defaultList8(w.w8[i], i);
        else std::memcpy(w.w8[i], fallback.w8[i], 64);
    }
    return w;
}

// LevelScale4x4 and LevelScale8x8 of the active parameter sets.
void resolveScaling(const Sps& sps, const Pps& pps, Decoder::SliceState& s) {
    s.flatScaling = !sps.scaling.present && !pps.scaling.present;
    if (s.flatScaling) return;
    Weights flat{}, defaults{};
    std::memset(&flat, 16, sizeof flat);
    for (int i = 0; i < 6; ++i) defaultList4(defaults.w4[i], i >= 3);
    for (int i = 0; i < 2; ++i) defaultList8(defaults.w8[i], i);
    // Lists absent from the picture parameter set fall back to the sequence's
    // (rule B) when the sequence parameter set has a matrix, else to the
    // defaults (rule A).
    const Weights seq = sps.scaling.present ? applyLists(sps.scaling, defaults) : flat;
    const Weights w = pps.scaling.present ? applyLists(pps.scaling, sps.scaling.present ? seq : defaults) : seq;
    for (int m = 0; m < 6; ++m) {
        for (int i = 0; i < 6; ++i)
            for (int k = 0; k < 16; ++k)
                s.levelScale4[i][m][k] = static_cast<int16_t>(w.w4[i][k] * InvLevelScale_4x4_default[m][k] / 16);
        for (int i = 0; i < 2; ++i)
            for (int k = 0; k < 64; ++k)
                s.levelScale8[i][m][k] = static_cast<int16_t>(w.w8[i][k] * normAdjust8x8(m, k / 8, k % 8));
    }
}

// coded_block_pattern for codeNum (Table 9-4, ChromaArrayType 1 and 2):
// {Intra_4x4, Inter}.
// The same for ChromaArrayType 0 (and 3): luma patterns only.
const uint8_t kCbpTableMono[16][2] = {{15, 0}, {0, 1},  {7, 2},  {11, 4}, {13, 8}, {14, 3}, {3, 5},  {5, 10},
                                      {10, 12}, {12, 15}, {1, 7}, {2, 11}, {4, 13}, {8, 14}, {6, 6}, {9, 9}};
const uint8_t kCbpTable[48][2] = {
    {47, 0},  {31, 16}, {15, 1},  {0, 2},   {23, 4},  {27, 8},  {29, 32}, {30, 3},  {7, 5},   {11, 10},
    {13, 12}, {14, 15}, {39, 47}, {43, 7},  {45, 11}, {46, 13}, {16, 14}, {3, 6},   {5, 9},   {10, 31},
    {12, 35}, {19, 37}, {21, 42}, {26, 44}, {28, 33}, {35, 34}, {37, 36}, {42, 40}, {44, 39}, {1, 43},
    {2, 45},  {4, 46},  {8, 17},  {17, 18}, {18, 20}, {20, 24}, {24, 19}, {6, 21},  {9, 26},  {22, 28},
    {25, 23}, {32, 27}, {33, 29}, {34, 30}, {36, 22}, {40, 25}, {38, 38}, {41, 41}};

// luma4x4BlkIdx to 4x4 column and row inside the macroblock (clause 6.4.3).
constexpr int blkX(int n) { return ((n >> 2) & 1) * 2 + (n & 1); }
constexpr int blkY(int n) { return (n >> 3) * 2 + ((n >> 1) & 1); }

constexpr int kMaxMv = 1 << 14;  // far beyond any level's range; keeps positions in int

struct Neighbour {
    bool avail;
    int ref;
    int mvx, mvy;
};

// The motion of one block: per list a reference index (-1: list not used)
// and a vector in quarter samples.
struct Motion {
    int ref[2] = {-1, -1};
    int mv[2][2] = {{0, 0}, {0, 0}};
};

// Inter partitions of B macroblocks 1..21 (Table 7-14): the lists each of the
// two partitions uses (bit 0 list 0, bit 1 list 1); even types are 16x8.
const uint8_t kBPartPred[9][2] = {{1, 1}, {2, 2}, {1, 2}, {2, 1}, {1, 3}, {2, 3}, {3, 1}, {3, 2}, {3, 3}};
// Sub-macroblock types (Tables 7-17, 7-18): lists used (0: direct), width, height.
struct SubType {
    uint8_t pred, w, h;
};
const SubType kPSub[4] = {{1, 8, 8}, {1, 8, 4}, {1, 4, 8}, {1, 4, 4}};
const SubType kBSub[13] = {{0, 8, 8}, {1, 8, 8}, {2, 8, 8}, {3, 8, 8}, {1, 8, 4}, {1, 4, 8}, {2, 8, 4},
                           {2, 4, 8}, {3, 8, 4}, {3, 4, 8}, {1, 4, 4}, {2, 4, 4}, {3, 4, 4}};

int minPositive(int a, int b) { return (a >= 0 && b >= 0) ? std::min(a, b) : std::max(a, b); }

// Implicit bi-predictive weights (clause 8.4.2.3.1): from the POC distances
// of the two references, 32 and 32 where they do not apply.
void implicitWeights(const Frame& cur, const std::vector<Frame*>& l0, const std::vector<Frame*>& l1,
                     Decoder::SliceState& s) {
    for (size_t i = 0; i < l0.size() && i < 32; ++i)
        for (size_t j = 0; j < l1.size() && j < 32; ++j) {
            int w1 = 32;
            const Frame *p0 = l0[i], *p1 = l1[j];
            if (p0 && p1 && p0->ref != Frame::LongTerm && p1->ref != Frame::LongTerm) {
                const int tb = std::clamp(cur.poc - p0->poc, -128, 127), td = std::clamp(p1->poc - p0->poc, -128, 127);
                if (td != 0) {
                    const int tx = (16384 + std::abs(td / 2)) / td;
                    const int scale = std::clamp((tb * tx + 32) >> 6, -1024, 1023);
                    if ((scale >> 2) >= -64 && (scale >> 2) <= 128) w1 = scale >> 2;
                }
            }
            s.implicitW1[i][j] = w1;
        }
}

int median(int a, int b, int c) { return std::max(std::min(a, b), std::min(std::max(a, b), c)); }

}  // namespace

// Everything the macroblock layer needs while one slice is decoded.
class MbDecoder {
public:
    MbDecoder(Decoder::SliceState& s, Frame& cur, const std::vector<Frame*>& refs,
              const std::vector<Frame*>& refs1, BitReader& br)
        : s_(s), cur_(cur), lists_{&refs, &refs1}, br_(br), tables_(zubtools::h264CavlcTables()) {}

    void macroblock(int mbAddr);
    void skip(int mbAddr);

private:
    bool mbAvail(int x, int y) const {
        return x >= 0 && y >= 0 && x < s_.wMbs && s_.sliceNum[static_cast<size_t>(y) * s_.wMbs + x] == s_.curSlice;
    }
    bool mbAvailIntra(int x, int y) const {
        if (!mbAvail(x, y)) return false;
        return !s_.constrainedIntra || s_.kind[static_cast<size_t>(y) * s_.wMbs + x] != MbInter;
    }
    void setMb(int mbAddr) {
        addr_ = mbAddr;
        mbX_ = mbAddr % s_.wMbs;
        mbY_ = mbAddr / s_.wMbs;
        s_.sliceNum[static_cast<size_t>(mbAddr)] = s_.curSlice;
    }
    uint8_t* nnz(int mbAddr) { return &s_.nnz[static_cast<size_t>(mbAddr) * 24]; }
    uint8_t* tc(int mbAddr) { return &s_.tc[static_cast<size_t>(mbAddr) * 24]; }
    void clearCounts(int mbAddr, uint8_t v) {
        std::memset(nnz(mbAddr), v, 24);
        std::memset(tc(mbAddr), v, 24);
        s_.t8x8[static_cast<size_t>(mbAddr)] = 0;
    }
    int lumaNc(int bx, int by);
    int chromaNc(int comp, int bx, int by);
    int residualBlock(Zub16s*& p, int nC, int maxCoeff);
    int chromaDc(Zub16s* dc);
    void intraNxNModes(Zub8u* modes, bool t8x8);
    Neighbour neighbour(int xN, int yN, uint32_t decoded, int list) const;
    void predictMv(int x, int y, int w, int h, int ref, int shape, uint32_t decoded, int list, int& mvx,
                   int& mvy) const;
    void storeMotion(int x, int y, int w, int h, const Motion& m, uint32_t& decoded);
    void motionCompensate(int x, int y, int w, int h, const Motion& m);
    void predictList(int list, const Frame& r, int px, int py, int w, int h, const int mv[2], uint8_t* dst[3],
                     const int dstStep[3]);
    Motion directMotion(int x, int y);
    void direct(int b8, uint32_t& decoded);
    void directMb(uint32_t& decoded);
    void interMb(uint32_t mbType);
    Frame& ref(int list, int idx) const {
        const Frame* f = (*lists_[list])[static_cast<size_t>(idx)];
        if (!f) throw DecodeError("reference index names no picture");
        return *const_cast<Frame*>(f);
    }
    void residual(bool i16, bool t8x8, int cbpLuma, int cbpChroma, int qp, Zub32u& cbpLumaBlocks, Zub32u& cbpC);
    void intraAvailability(int& avail) const;
    bool lossless(int qp) const { return s_.bypass && qp == 0; }
    void losslessLuma(int kind, const Zub8u* modes, int predMode16, Zub32u cbpBlocks, int avail, uint8_t* dst);
    void losslessChroma(int chromaMode, Zub32u cbpC, uint8_t* u, uint8_t* v);

    Decoder::SliceState& s_;
    Frame& cur_;
    const std::vector<Frame*>* lists_[2];
    BitReader& br_;
    const zubtools::H264CavlcTables& tables_;
    int addr_ = 0, mbX_ = 0, mbY_ = 0;

    alignas(16) Zub16s lumaCoef_[17 * 16];
    alignas(16) Zub16s chromaCoef_[9 * 16];
    alignas(16) Zub16s lumaDc_[32];
    // Spatial direct prediction of the current macroblock (clause 8.4.1.2.2),
    // formed once for all its direct blocks.
    bool spatialReady_ = false, spatialMoving_ = false;
    Motion spatial_;
    // The list 1 prediction of a bi-predicted block before it is combined.
    alignas(16) uint8_t predL1_[16 * 16 + 2 * 8 * 8];
    alignas(16) Zub16s chromaDc_[16];
};

int MbDecoder::lumaNc(int bx, int by) {
    const uint8_t* cur = tc(addr_);
    int nA = 0, nB = 0;
    bool a = true, b = true;
    if (bx > 0) nA = cur[by * 4 + bx - 1];
    else if ((a = mbAvail(mbX_ - 1, mbY_))) nA = tc(addr_ - 1)[by * 4 + 3];
    if (by > 0) nB = cur[(by - 1) * 4 + bx];
    else if ((b = mbAvail(mbX_, mbY_ - 1))) nB = tc(addr_ - s_.wMbs)[12 + bx];
    if (a && b) return (nA + nB + 1) >> 1;
    return a ? nA : (b ? nB : 0);
}

int MbDecoder::chromaNc(int comp, int bx, int by) {
    const int base = 16 + 4 * comp;
    const uint8_t* cur = tc(addr_);
    int nA = 0, nB = 0;
    bool a = true, b = true;
    if (bx > 0) nA = cur[base + by * 2];
    else if ((a = mbAvail(mbX_ - 1, mbY_))) nA = tc(addr_ - 1)[base + by * 2 + 1];
    if (by > 0) nB = cur[base + bx];
    else if ((b = mbAvail(mbX_, mbY_ - 1))) nB = tc(addr_ - s_.wMbs)[base + 2 + bx];
    if (a && b) return (nA + nB + 1) >> 1;
    return a ? nA : (b ? nB : 0);
}

int MbDecoder::residualBlock(Zub16s*& p, int nC, int maxCoeff) {
    const Zub32u* w = br_.cursorWord();
    Zub32u off = br_.cursorOffset();
    Zub16s n = 0;
    const ZubStatus st = zubiDecodeCAVLCCoeffs_H264_1u16s(&w, &off, &n, &p, static_cast<Zub32u>(nC),
                                                          static_cast<Zub16s>(maxCoeff), tables_.coeffToken,
                                                          tables_.totalZeros, tables_.runBefore, kZigzag);
    if (st < 0) throw DecodeError("invalid residual block code");
    br_.setCursor(w, off);
    if (n < 0 || n > maxCoeff) throw DecodeError("invalid coefficient count");
    return n;
}

int MbDecoder::chromaDc(Zub16s* dc) {
    const Zub32u* w = br_.cursorWord();
    Zub32u off = br_.cursorOffset();
    Zub16s n = 0;
    Zub16s* p = dc;
    const ZubStatus st = zubiDecodeCAVLCChromaDcCoeffs_H264_1u16s(&w, &off, &n, &p, tables_.coeffTokenChromaDc,
                                                                  tables_.totalZerosChromaDc, tables_.runBefore);
    if (st < 0) throw DecodeError("invalid chroma DC code");
    br_.setCursor(w, off);
    if (n < 0 || n > 4) throw DecodeError("invalid chroma DC count");
    return n;
}

// Residual of one macroblock (clause 7.3.5.3 with CAVLC): fills the packed
// luma and chroma coefficient buffers and the TotalCoeff counts; returns the
// masks of present blocks (luma: 4x4 blocks, or 8x8 blocks with t8x8).
void MbDecoder::residual(bool i16, bool t8x8, int cbpLuma, int cbpChroma, int qp, Zub32u& cbpLumaBlocks,
                         Zub32u& cbpC) {
    uint8_t* counts = tc(addr_);
    std::memset(counts, 0, 24);
    cbpLumaBlocks = 0;
    cbpC = 0;
    if (i16) {
        std::fill_n(lumaDc_, 16, Zub16s{0});
        Zub16s* p = lumaDc_;
        if (residualBlock(p, lumaNc(0, 0), 16) > 0 && !lossless(qp))
            zubiTransformQuantInvLumaDC4x4_H264_16s_C1I(lumaDc_, qp, s_.scale4(0, qp));
    }
    Zub16s* p = lumaCoef_;
    if (t8x8) {
        for (int b8 = 0; b8 < 4; ++b8) {
            if (!(cbpLuma & (1 << b8))) continue;
            Zub16s* block = p;
            std::fill_n(block, 64, Zub16s{0});
            int any = 0;
            for (int i4 = 0; i4 < 4; ++i4) {
                const int n = 4 * b8 + i4, bx = blkX(n), by = blkY(n);
                Zub16s levels[16], *q = levels;
                const Zub32u* w = br_.cursorWord();
                Zub32u off = br_.cursorOffset();
                Zub16s total = 0;
                if (zubiDecodeCAVLCCoeffs_H264_1u16s(&w, &off, &total, &q, static_cast<Zub32u>(lumaNc(bx, by)), 16,
                                                     tables_.coeffToken, tables_.totalZeros, tables_.runBefore,
                                                     kIdentity.v + 16) < 0 ||
                    total < 0 || total > 16)
                    throw DecodeError("invalid residual block code");
                br_.setCursor(w, off);
                counts[by * 4 + bx] = static_cast<uint8_t>(total);
                any |= total;
                for (int k = 0; total && k < 16; ++k) block[kZigzag8x8[4 * k + i4]] = levels[k];
            }
            if (any) {
                cbpLumaBlocks |= 1u << b8;
                p += 64;
            }
        }
    } else {
        for (int n = 0; n < 16; ++n) {
            if (!(cbpLuma & (1 << (n >> 2)))) continue;
            const int bx = blkX(n), by = blkY(n);
            const int total = residualBlock(p, lumaNc(bx, by), i16 ? 15 : 16);
            counts[by * 4 + bx] = static_cast<uint8_t>(total);
            if (total) cbpLumaBlocks |= 1u << n;
        }
    }
    std::fill_n(chromaDc_, 8, Zub16s{0});
    if (cbpChroma) {
        chromaDc(chromaDc_);
        chromaDc(chromaDc_ + 4);
    }
    if (cbpChroma & 2) {
        Zub16s* q = chromaCoef_;
        for (int comp = 0; comp < 2; ++comp)
            for (int n = 0; n < 4; ++n) {
                const int total = residualBlock(q, chromaNc(comp, n & 1, n >> 1), 15);
                counts[16 + 4 * comp + n] = static_cast<uint8_t>(total);
                if (total) cbpC |= 1u << (4 * comp + n);
            }
    }
    // The deblocking filter sees the coefficients of a whole 8x8 block in each
    // of its 4x4 blocks (clause 8.7.2.1).
    uint8_t* nz = nnz(addr_);
    std::memcpy(nz, counts, 24);
    s_.t8x8[static_cast<size_t>(addr_)] = t8x8;
    if (t8x8)
        for (int b8 = 0; b8 < 4; ++b8) {
            const int x = (b8 & 1) * 2, y = (b8 >> 1) * 2;
            const uint8_t v = (cbpLumaBlocks >> b8) & 1 ? 16 : 0;
            nz[y * 4 + x] = nz[y * 4 + x + 1] = nz[y * 4 + x + 4] = nz[y * 4 + x + 5] = v;
        }
}

// Intra4x4PredMode or Intra8x8PredMode (clauses 8.3.1.1, 8.3.2.1).  The modes
// are kept per 4x4 block; an 8x8 block stores its mode in all four, so that a
// neighbouring 8x8 block reads its left neighbour's block 1 and its upper
// neighbour's block 2, as clause 8.3.2.1 asks of 4x4-coded neighbours.
void MbDecoder::intraNxNModes(Zub8u* modes, bool t8x8) {
    int8_t* stored = &s_.ipred[static_cast<size_t>(addr_) * 16];
    const bool leftOk = mbAvailIntra(mbX_ - 1, mbY_), topOk = mbAvailIntra(mbX_, mbY_ - 1);
    const int count = t8x8 ? 4 : 16;
    for (int i = 0; i < count; ++i) {
        const int n = t8x8 ? 4 * i : i;
        const int bx = blkX(n), by = blkY(n);
        int a = -1, b = -1;
        if (bx > 0) a = stored[by * 4 + bx - 1];
        else if (leftOk) a = s_.ipred[static_cast<size_t>(addr_ - 1) * 16 + by * 4 + 3];
        if (by > 0) b = stored[(by - 1) * 4 + bx];
        else if (topOk) b = s_.ipred[static_cast<size_t>(addr_ - s_.wMbs) * 16 + 12 + bx];
        const int pred = (a < 0 || b < 0) ? 2 : std::min(a, b);
        int mode;
        if (br_.flag()) {
            mode = pred;
        } else {
            const int rem = static_cast<int>(br_.u(3));
            mode = rem < pred ? rem : rem + 1;
        }
        stored[by * 4 + bx] = static_cast<int8_t>(mode);
        if (t8x8) stored[by * 4 + bx + 1] = stored[by * 4 + bx + 4] = stored[by * 4 + bx + 5] = static_cast<int8_t>(mode);
        modes[i] = static_cast<Zub8u>(mode);
    }
}

namespace {

// Neighbour flags of 4x4 block n and of 8x8 block b from the macroblock's
// (clauses 6.4.11.4 and 6.4.11.2), for the lossless path, which predicts block
// by block itself.
int flags4x4(int n, int mb) {
    const int bx = blkX(n), by = blkY(n);
    int f = 0;
    if (by > 0 || (mb & 1)) f |= 1;
    if (bx > 0 || (mb & 2)) f |= 2;
    if ((bx > 0 && by > 0) || (by == 0 && bx > 0 && (mb & 1)) || (bx == 0 && by > 0 && (mb & 2)) ||
        (bx == 0 && by == 0 && (mb & 32)))
        f |= 32;
    auto index = [](int x, int y) { return (y >> 1) * 8 + (x >> 1) * 4 + (y & 1) * 2 + (x & 1); };
    if (by == 0 ? ((bx < 3 ? mb & 1 : mb & 64) != 0) : (bx < 3 && index(bx + 1, by - 1) < n)) f |= 64;
    return f;
}

int flags8x8(int b, int mb) {
    int f = 0;
    if (b >= 2 || (mb & 1)) f |= 1;
    if ((b & 1) || (mb & 2)) f |= 2;
    if (b == 3 || (b == 0 && (mb & 32)) || (b == 1 && (mb & 1)) || (b == 2 && (mb & 2))) f |= 32;
    if (b == 2 || (b == 0 && (mb & 1)) || (b == 1 && (mb & 64))) f |= 64;
    return f;
}

int bypassDir(bool vertical, bool horizontal) {
    return vertical ? ZubBypassVertical : horizontal ? ZubBypassHorizontal : ZubBypassNone;
}

}  // namespace

// Lossless luma (transform bypass, clause 8.5.15): the levels are the
// residual.  kind: 0 inter 4x4 blocks, 4 inter 8x8 blocks (both after motion
// compensation), 1 Intra_4x4, 2 Intra_8x8, 3 Intra_16x16; intra blocks are
// predicted here, and vertical or horizontal prediction accumulates the
// residual down the columns or along the rows.
void MbDecoder::losslessLuma(int kind, const Zub8u* modes, int predMode16, Zub32u cbpBlocks, int avail, uint8_t* dst) {
    const int step = cur_.stride[0];
    const Zub16s* coef = lumaCoef_;
    if (kind == 3) {
        if (zubiPredictIntra_16x16_H264_8u_C1IR(dst, step, predMode16, avail) < 0)
            throw DecodeError("intra luma prediction needs missing neighbours");
        Zub16s r[256];
        for (int n = 0; n < 16; ++n) {
            const int x = blkX(n) * 4, y = blkY(n) * 4;
            for (int i = 0; i < 16; ++i) r[(y + i / 4) * 16 + x + i % 4] = (cbpBlocks >> n) & 1 ? coef[i] : 0;
            r[y * 16 + x] = lumaDc_[(y / 4) * 4 + x / 4];
            if ((cbpBlocks >> n) & 1) coef += 16;
        }
        zubiTransformBypassAddPred_H264_16s8u_C1IR(r, dst, step, ZubSize{16, 16}, bypassDir(predMode16 == 0, predMode16 == 1));
        return;
    }
    const bool big = kind == 2 || kind == 4;
    for (int n = 0; n < (big ? 4 : 16); ++n) {
        const int x = big ? (n & 1) * 8 : blkX(n) * 4, y = big ? (n >> 1) * 8 : blkY(n) * 4, size = big ? 8 : 4;
        uint8_t* d = dst + y * step + x;
        int dir = ZubBypassNone;
        if (kind == 1 || kind == 2) {
            const ZubStatus st = big ? zubiPredictIntra_8x8_H264_8u_C1IR(d, step, modes[n], flags8x8(n, avail))
                                     : zubiPredictIntra_4x4_H264_8u_C1IR(d, step, modes[n], flags4x4(n, avail));
            if (st < 0) throw DecodeError("intra luma prediction needs missing neighbours");
            dir = bypassDir(modes[n] == 0, modes[n] == 1);
        }
        if (!((cbpBlocks >> n) & 1)) continue;
        zubiTransformBypassAddPred_H264_16s8u_C1IR(coef, d, step, ZubSize{size, size}, dir);
        coef += size * size;
    }
}

// Lossless chroma: the DC levels and AC levels of each 4x4 block form the
// 8x8 residual of each component; horizontal (1) and vertical (2) intra
// prediction accumulate it (chromaMode -1: inter).
void MbDecoder::losslessChroma(int chromaMode, Zub32u cbpC, uint8_t* u, uint8_t* v) {
    const Zub16s* coef = chromaCoef_;
    for (int c = 0; c < 2; ++c) {
        Zub16s r[64];
        for (int n = 0; n < 4; ++n) {
            const int x = (n & 1) * 4, y = (n >> 1) * 4;
            const bool present = (cbpC >> (4 * c + n)) & 1;
            for (int i = 0; i < 16; ++i) r[(y + i / 4) * 8 + x + i % 4] = present ? coef[i] : 0;
            r[y * 8 + x] = chromaDc_[4 * c + n];
            if (present) coef += 16;
        }
        zubiTransformBypassAddPred_H264_16s8u_C1IR(r, c ? v : u, cur_.stride[1 + c], ZubSize{8, 8},
                                                   bypassDir(chromaMode == 2, chromaMode == 1));
    }
}

void MbDecoder::intraAvailability(int& avail) const {
    avail = 0;
    if (mbAvailIntra(mbX_, mbY_ - 1)) avail |= 1;
    if (mbAvailIntra(mbX_ - 1, mbY_)) avail |= 2;
    if (mbAvailIntra(mbX_ - 1, mbY_ - 1)) avail |= 32;
    if (mbAvailIntra(mbX_ + 1, mbY_ - 1)) avail |= 64;
}

Neighbour MbDecoder::neighbour(int xN, int yN, uint32_t decoded, int list) const {
    int mx = mbX_, my = mbY_;
    if (yN < 0) {
        --my;
        if (xN < 0) --mx;
        else if (xN > 15) ++mx;
        if (!mbAvail(mx, my)) return {false, -1, 0, 0};
    } else if (xN < 0) {
        if (yN > 15 || !mbAvail(mx - 1, my)) return {false, -1, 0, 0};
    } else {
        if (xN > 15 || yN > 15) return {false, -1, 0, 0};
        if (!(decoded >> ((yN >> 2) * 4 + (xN >> 2)) & 1)) return {false, -1, 0, 0};
    }
    const size_t idx = static_cast<size_t>((mbY_ * 16 + yN) >> 2) * s_.stride4() + ((mbX_ * 16 + xN) >> 2);
    const std::vector<int16_t>& mv = list ? s_.mv1 : s_.mv;
    return {true, (list ? s_.refIdx1 : s_.refIdx)[idx], mv[2 * idx], mv[2 * idx + 1]};
}

// Clause 8.4.1.3.  shape: 0 plain, 1 16x8, 2 8x16.
void MbDecoder::predictMv(int x, int y, int w, int h, int ref, int shape, uint32_t decoded, int list, int& mvx,
                          int& mvy) const {
    (void)h;
    const Neighbour a = neighbour(x - 1, y, decoded, list);
    Neighbour b = neighbour(x, y - 1, decoded, list);
    Neighbour c = neighbour(x + w, y - 1, decoded, list);
    if (!c.avail) c = neighbour(x - 1, y - 1, decoded, list);
    if (shape == 1) {
        const Neighbour& n = y == 0 ? b : a;
        if (n.ref == ref) {
            mvx = n.mvx;
            mvy = n.mvy;
            return;
        }
    } else if (shape == 2) {
        const Neighbour& n = x == 0 ? a : c;
        if (n.ref == ref) {
            mvx = n.mvx;
            mvy = n.mvy;
            return;
        }
    }
    if (!b.avail && !c.avail && a.avail) b = c = a;
    const int matches = (a.ref == ref) + (b.ref == ref) + (c.ref == ref);
    if (matches == 1) {
        const Neighbour& n = a.ref == ref ? a : (b.ref == ref ? b : c);
        mvx = n.mvx;
        mvy = n.mvy;
        return;
    }
    mvx = median(a.mvx, b.mvx, c.mvx);
    mvy = median(a.mvy, b.mvy, c.mvy);
}

void MbDecoder::storeMotion(int x, int y, int w, int h, const Motion& m, uint32_t& decoded) {
    uint32_t serial[2] = {0, 0};
    for (int l = 0; l < 2; ++l) {
        if (m.ref[l] < 0) continue;
        if (m.mv[l][0] <= -kMaxMv || m.mv[l][0] >= kMaxMv || m.mv[l][1] <= -kMaxMv || m.mv[l][1] >= kMaxMv)
            throw DecodeError("motion vector out of range");
        serial[l] = ref(l, m.ref[l]).serial;
    }
    const int bx0 = x >> 2, bw = w >> 2;
    for (int by = y >> 2; by < (y + h) >> 2; ++by) {
        const size_t row = static_cast<size_t>(mbY_ * 4 + by) * s_.stride4() + mbX_ * 4 + bx0;
        for (int l = 0; l < 2; ++l) {
            int8_t* r = (l ? s_.refIdx1 : s_.refIdx).data() + row;
            int16_t* mv = (l ? s_.mv1 : s_.mv).data() + 2 * row;
            uint32_t* sr = (l ? s_.refSerial1 : s_.refSerial).data() + row;
            // An unused list reads as vector 0 to its neighbours (clause 8.4.1.3.2).
            const bool used = m.ref[l] >= 0;
            const int16_t mv16[2] = {static_cast<int16_t>(used ? m.mv[l][0] : 0),
                                     static_cast<int16_t>(used ? m.mv[l][1] : 0)};
            for (int i = 0; i < bw; ++i) {
                r[i] = static_cast<int8_t>(m.ref[l]);
                std::memcpy(mv + 2 * i, mv16, sizeof mv16);
                sr[i] = serial[l];
            }
        }
        decoded |= ((1u << bw) - 1u) << (by * 4 + bx0);
    }
}

// The prediction of one list into dst (luma, Cb, Cr).
void MbDecoder::predictList(int list, const Frame& r, int px, int py, int w, int h, const int mv[2], uint8_t* dst[3],
                            const int dstStep[3]) {
    H264BlockInterpolationParams p{};
    p.srcPlane[0] = r.plane[0];
    p.srcPlane[1] = nullptr;
    p.srcStep = r.stride[0];
    p.dstPlane[0] = dst[0];
    p.dstPlane[1] = nullptr;
    p.dstStep = dstStep[0];
    p.frameSize = ZubSize{r.width, r.height};
    p.blockSize = ZubSize{w, h};
    p.blockPos = ZubPoint{px, py};
    p.motionVector = ZubPoint{mv[0], mv[1]};
    if (zubiInterpolateLumaBlock_H264_8u_P1R(&p) < 0) throw DecodeError("luma interpolation failed");
    if (!s_.chroma) return;
    H264BlockInterpolationParams c{};
    c.srcPlane[0] = r.plane[1];
    c.srcPlane[1] = r.plane[2];
    c.srcStep = r.stride[1];
    c.dstPlane[0] = dst[1];
    c.dstPlane[1] = dst[2];
    c.dstStep = dstStep[1];
    c.frameSize = ZubSize{r.width / 2, r.height / 2};
    c.blockSize = ZubSize{w / 2, h / 2};
    c.blockPos = ZubPoint{px / 2, py / 2};
    c.motionVector = ZubPoint{mv[0], mv[1]};
    if (zubiInterpolateChromaBlock_H264_8u_P2R(&c) < 0) throw DecodeError("chroma interpolation failed");
    (void)list;
}

// Inter prediction of one block (clause 8.4.2): one list with optional
// explicit weights, or both lists averaged, explicitly or implicitly weighted.
void MbDecoder::motionCompensate(int x, int y, int w, int h, const Motion& m) {
    const int px = mbX_ * 16 + x, py = mbY_ * 16 + y;
    uint8_t* out[3] = {cur_.plane[0] + py * cur_.stride[0] + px, cur_.plane[1] + (py / 2) * cur_.stride[1] + px / 2,
                       cur_.plane[2] + (py / 2) * cur_.stride[2] + px / 2};
    const int outStep[3] = {cur_.stride[0], cur_.stride[1], cur_.stride[2]};
    const bool bi = m.ref[0] >= 0 && m.ref[1] >= 0;
    const int first = m.ref[0] >= 0 ? 0 : 1;
    predictList(first, ref(first, m.ref[first]), px, py, w, h, m.mv[first], out, outStep);
    const ZubSize lumaSize{w, h}, chromaSize{w / 2, h / 2};
    if (!bi) {
        // Explicit weights of a single list (clause 8.4.2.3); the implicit
        // mode weights only bi-predicted blocks.
        const PredWeights* wt = first ? s_.weights1 : s_.weights;
        const int r = m.ref[first];
        if (wt && wt->lumaFlag[r])
            zubiUniDirWeightBlock_H264_8u_C1R(out[0], outStep[0], wt->lumaLog2Denom, wt->lumaWeight[r],
                                              wt->lumaOffset[r], lumaSize);
        if (wt && wt->chromaFlag[r] && s_.chroma)
            for (int j = 0; j < 2; ++j)
                zubiUniDirWeightBlock_H264_8u_C1R(out[1 + j], outStep[1 + j], wt->chromaLog2Denom,
                                                  wt->chromaWeight[r][j], wt->chromaOffset[r][j], chromaSize);
        return;
    }
    uint8_t* tmp[3] = {predL1_, predL1_ + 256, predL1_ + 256 + 64};
    const int tmpStep[3] = {16, 8, 8};
    predictList(1, ref(1, m.ref[1]), px, py, w, h, m.mv[1], tmp, tmpStep);
    const int r0 = m.ref[0], r1 = m.ref[1];
    for (int c = 0; c < (s_.chroma ? 3 : 1); ++c) {
        const ZubSize size = c ? chromaSize : lumaSize;
        if (s_.bipredIdc == 1) {
            const PredWeights &w0 = *s_.weights, &w1 = *s_.weights1;
            const int denom = c ? w0.chromaLog2Denom : w0.lumaLog2Denom;
            auto weight = [&](const PredWeights& wt, int r) {
                return c ? (wt.chromaFlag[r] ? wt.chromaWeight[r][c - 1] : 1 << denom)
                         : (wt.lumaFlag[r] ? wt.lumaWeight[r] : 1 << denom);
            };
            auto offset = [&](const PredWeights& wt, int r) {
                return c ? (wt.chromaFlag[r] ? wt.chromaOffset[r][c - 1] : 0) : (wt.lumaFlag[r] ? wt.lumaOffset[r] : 0);
            };
            zubiBiDirWeightBlock_H264_8u_P3P1R(out[c], tmp[c], out[c], outStep[c], tmpStep[c], outStep[c], denom,
                                               weight(w0, r0), offset(w0, r0), weight(w1, r1), offset(w1, r1), size);
        } else if (s_.bipredIdc == 2 && s_.implicitW1[r0][r1] != 32) {  // 32, 32 is the plain average
            const int w1 = s_.implicitW1[r0][r1];
            zubiBiDirWeightBlockImplicit_H264_8u_P3P1R(out[c], tmp[c], out[c], outStep[c], tmpStep[c], outStep[c],
                                                       64 - w1, w1, size);
        } else {
            zubiInterpolateBlock_H264_8u_P3P1R(out[c], tmp[c], out[c], size.width, size.height, outStep[c], tmpStep[c],
                                               outStep[c]);
        }
    }
}

// Direct prediction (clauses 8.4.1.2.2 and 8.4.1.2.3) of the 4x4 block at
// (x, y), or with direct_8x8_inference_flag of its 8x8 quadrant from the
// quadrant's corner block: motion from the neighbours of the macroblock
// (spatial) or from the co-located picture, the first entry of list 1
// (temporal).
Motion MbDecoder::directMotion(int x, int y) {
    const Frame& col = ref(1, 0);
    if (col.colMv.empty()) throw DecodeError("co-located picture without motion");
    const bool inference = s_.direct8x8Inference;
    const int x0 = x & 8, y0 = y & 8;
    if (s_.directSpatial && !spatialReady_) {
        Motion& m = spatial_;
        m = Motion{};
        for (int l = 0; l < 2; ++l) {
            const Neighbour a = neighbour(-1, 0, 0, l), b = neighbour(0, -1, 0, l);
            Neighbour c = neighbour(16, -1, 0, l);
            if (!c.avail) c = neighbour(-1, -1, 0, l);
            m.ref[l] = minPositive(a.ref, minPositive(b.ref, c.ref));
        }
        if (m.ref[0] < 0 && m.ref[1] < 0) {
            m.ref[0] = m.ref[1] = 0;
            m.mv[0][0] = m.mv[0][1] = m.mv[1][0] = m.mv[1][1] = 0;
            spatialMoving_ = false;
        } else {
            for (int l = 0; l < 2; ++l)
                if (m.ref[l] >= 0) predictMv(0, 0, 16, 16, m.ref[l], 0, 0, l, m.mv[l][0], m.mv[l][1]);
            spatialMoving_ = true;
        }
        spatialReady_ = true;
    }
    // The co-located 4x4 block: the corner one of the quadrant with inference.
    const int cx = inference ? (x0 ? 3 : 0) : x >> 2, cy = inference ? (y0 ? 3 : 0) : y >> 2;
    const size_t ci = static_cast<size_t>(mbY_ * 4 + cy) * s_.stride4() + mbX_ * 4 + cx;
    const int refCol = col.colRefIdx[ci], mvCol[2] = {col.colMv[2 * ci], col.colMv[2 * ci + 1]};
    Motion m;
    if (s_.directSpatial) {
        m = spatial_;
        const bool colZero = spatialMoving_ && col.ref == Frame::ShortTerm && refCol == 0 &&
                             std::abs(mvCol[0]) <= 1 && std::abs(mvCol[1]) <= 1;
        for (int l = 0; colZero && l < 2; ++l)
            if (m.ref[l] == 0) m.mv[l][0] = m.mv[l][1] = 0;
    } else {
        int r0 = 0;
        if (refCol >= 0) {
            const uint32_t serial = col.colRefSerial[ci];
            const auto& l0 = *lists_[0];
            r0 = -1;
            for (size_t k = 0; k < l0.size() && r0 < 0; ++k)
                if (l0[k] && l0[k]->serial == serial) r0 = static_cast<int>(k);
            if (r0 < 0) throw DecodeError("co-located reference not in list 0");
        }
        m.ref[0] = r0;
        m.ref[1] = 0;
        const int mvc[2] = {refCol >= 0 ? mvCol[0] : 0, refCol >= 0 ? mvCol[1] : 0};
        const Frame& pic0 = ref(0, r0);
        const int tb = std::clamp(cur_.poc - pic0.poc, -128, 127);
        const int td = std::clamp(col.poc - pic0.poc, -128, 127);
        if (pic0.ref == Frame::LongTerm || td == 0) {
            m.mv[0][0] = mvc[0];
            m.mv[0][1] = mvc[1];
        } else {
            const int tx = (16384 + std::abs(td / 2)) / td;
            const int scale = std::clamp((tb * tx + 32) >> 6, -1024, 1023);
            m.mv[0][0] = (scale * mvc[0] + 128) >> 8;
            m.mv[0][1] = (scale * mvc[1] + 128) >> 8;
        }
        m.mv[1][0] = m.mv[0][0] - mvc[0];
        m.mv[1][1] = m.mv[0][1] - mvc[1];
    }
    return m;
}

void MbDecoder::direct(int b8, uint32_t& decoded) {
    const int x0 = (b8 & 1) * 8, y0 = (b8 >> 1) * 8, step = s_.direct8x8Inference ? 8 : 4;
    for (int y = y0; y < y0 + 8; y += step)
        for (int x = x0; x < x0 + 8; x += step) {
            const Motion m = directMotion(x, y);
            storeMotion(x, y, step, step, m, decoded);
            motionCompensate(x, y, step, step, m);
        }
}

// B_Skip and B_Direct_16x16: with direct_8x8_inference_flag, four quadrants
// of one motion are predicted as one 16x16 block.
void MbDecoder::directMb(uint32_t& decoded) {
    if (!s_.direct8x8Inference) {
        for (int b8 = 0; b8 < 4; ++b8) direct(b8, decoded);
        return;
    }
    Motion m[4];
    bool same = true;
    for (int b8 = 0; b8 < 4; ++b8) {
        m[b8] = directMotion((b8 & 1) * 8, (b8 >> 1) * 8);
        for (int l = 0; l < 2; ++l)
            same = same && m[b8].ref[l] == m[0].ref[l] &&
                   (m[b8].ref[l] < 0 || (m[b8].mv[l][0] == m[0].mv[l][0] && m[b8].mv[l][1] == m[0].mv[l][1]));
    }
    for (int b8 = 0; b8 < (same ? 1 : 4); ++b8) {
        const int x = (b8 & 1) * 8, y = (b8 >> 1) * 8, size = same ? 16 : 8;
        storeMotion(x, y, size, size, m[b8], decoded);
        motionCompensate(x, y, size, size, m[b8]);
    }
}

void MbDecoder::skip(int mbAddr) {
    setMb(mbAddr);
    spatialReady_ = false;
    s_.kind[static_cast<size_t>(mbAddr)] = MbInter;
    s_.qp[static_cast<size_t>(mbAddr)] = static_cast<int8_t>(s_.curQp);
    clearCounts(mbAddr, 0);
    std::fill_n(&s_.ipred[static_cast<size_t>(mbAddr) * 16], 16, int8_t{2});
    uint32_t decoded = 0;
    if (s_.sliceType == 1) {  // B_Skip: direct prediction, no residual
        directMb(decoded);
        return;
    }
    if (lists_[0]->empty() || !(*lists_[0])[0]) throw DecodeError("P_Skip without a reference picture");
    // Clause 8.4.1.1.
    const Neighbour a = neighbour(-1, 0, 0, 0), b = neighbour(0, -1, 0, 0);
    Motion m;
    m.ref[0] = 0;
    if (a.avail && b.avail && !(a.ref == 0 && a.mvx == 0 && a.mvy == 0) && !(b.ref == 0 && b.mvx == 0 && b.mvy == 0))
        predictMv(0, 0, 16, 16, 0, 0, 0, 0, m.mv[0][0], m.mv[0][1]);
    storeMotion(0, 0, 16, 16, m, decoded);
    motionCompensate(0, 0, 16, 16, m);
}

void MbDecoder::macroblock(int mbAddr) {
    setMb(mbAddr);
    const size_t a = static_cast<size_t>(mbAddr);
    uint32_t mbType = br_.ue();
    bool intra = true;
    spatialReady_ = false;
    if (s_.sliceType != 2) {  // P: 0..4 inter, B: 0..22 inter, then the I types
        const uint32_t inter = s_.sliceType == 0 ? 5 : 23;
        if (mbType < inter) intra = false;
        else mbType -= inter;
    }
    if (intra && mbType > 25) throw DecodeError("invalid mb_type");
    uint8_t* plane[3] = {cur_.plane[0] + mbY_ * 16 * cur_.stride[0] + mbX_ * 16,
                         cur_.plane[1] + mbY_ * 8 * cur_.stride[1] + mbX_ * 8,
                         cur_.plane[2] + mbY_ * 8 * cur_.stride[2] + mbX_ * 8};
    const size_t s4 = static_cast<size_t>(s_.stride4());
    const size_t firstBlk = static_cast<size_t>(mbY_) * 4 * s4 + static_cast<size_t>(mbX_) * 4;

    if (intra) {
        s_.kind[a] = mbType == 0 ? MbI4x4 : (mbType == 25 ? MbIPCM : MbI16x16);
        for (int r = 0; r < 4; ++r)
            for (int c = 0; c < 4; ++c) {
                const size_t idx = firstBlk + r * s4 + c;
                s_.refIdx[idx] = s_.refIdx1[idx] = -1;
                s_.mv[2 * idx] = s_.mv[2 * idx + 1] = s_.mv1[2 * idx] = s_.mv1[2 * idx + 1] = 0;
                s_.refSerial[idx] = s_.refSerial1[idx] = 0;
            }
        if (mbType == 25) {  // I_PCM: samples in the clear
            br_.alignByte();
            for (int y = 0; y < 16; ++y)
                for (int x = 0; x < 16; ++x) plane[0][y * cur_.stride[0] + x] = static_cast<uint8_t>(br_.u(8));
            for (int p = 1; p < (s_.chroma ? 3 : 1); ++p)
                for (int y = 0; y < 8; ++y)
                    for (int x = 0; x < 8; ++x) plane[p][y * cur_.stride[p] + x] = static_cast<uint8_t>(br_.u(8));
            clearCounts(mbAddr, 16);
            std::fill_n(&s_.ipred[a * 16], 16, int8_t{2});
            s_.qp[a] = static_cast<int8_t>(s_.curQp);
            return;
        }
        Zub8u modes[16];
        int predMode16 = 0, cbpLuma = 0, cbpChroma = 0;
        const bool t8x8 = mbType == 0 && s_.transform8x8Mode && br_.flag();
        if (mbType == 0) {
            intraNxNModes(modes, t8x8);
        } else {
            std::fill_n(&s_.ipred[a * 16], 16, int8_t{2});
            predMode16 = static_cast<int>((mbType - 1) % 4);
            cbpChroma = static_cast<int>(((mbType - 1) / 4) % 3);
            cbpLuma = mbType >= 13 ? 15 : 0;
        }
        const int chromaMode = s_.chroma ? static_cast<int>(br_.ueMax(3, "intra_chroma_pred_mode")) : 0;
        if (!s_.chroma) cbpChroma = 0;
        if (mbType == 0) {
            const int cbp = s_.chroma ? kCbpTable[br_.ueMax(47, "coded_block_pattern")][0]
                                      : kCbpTableMono[br_.ueMax(15, "coded_block_pattern")][0];
            cbpLuma = cbp & 15;
            cbpChroma = cbp >> 4;
        }
        if (cbpLuma || cbpChroma || mbType != 0) s_.curQp = (s_.curQp + br_.seRange(-26, 25, "mb_qp_delta") + 52) % 52;
        s_.qp[a] = static_cast<int8_t>(s_.curQp);
        Zub32u cbpBlocks, cbpC;
        const int qp = s_.curQp;
        residual(mbType != 0, t8x8, cbpLuma, cbpChroma, qp, cbpBlocks, cbpC);
        int avail;
        intraAvailability(avail);
        Zub16s* lp = lumaCoef_;
        ZubStatus st;
        if (lossless(qp)) {
            losslessLuma(t8x8 ? 2 : mbType == 0 ? 1 : 3, modes, predMode16, cbpBlocks, avail, plane[0]);
            if (s_.chroma) {
                if (zubiPredictIntraChroma8x8_H264_8u_C1IR(plane[1], cur_.stride[1], chromaMode, avail) < 0 ||
                    zubiPredictIntraChroma8x8_H264_8u_C1IR(plane[2], cur_.stride[2], chromaMode, avail) < 0)
                    throw DecodeError("intra chroma prediction needs missing neighbours");
                losslessChroma(chromaMode, cbpC, plane[1], plane[2]);
            }
            return;
        }
        if (t8x8)
            st = zubiReconstructLumaIntra8x8MB_H264High_16s8u_C1R(&lp, plane[0], cur_.stride[0], modes, cbpBlocks, qp,
                                                                  s_.scale8(0, qp), avail);
        else if (mbType == 0)
            st = zubiReconstructLumaIntra4x4MB_H264High_16s8u_C1R(&lp, plane[0], cur_.stride[0], modes, cbpBlocks, qp,
                                                                  s_.scale4(0, qp), avail);
        else
            st = zubiReconstructLumaIntra16x16MB_H264High_16s8u_C1R(&lp, plane[0], cur_.stride[0], predMode16, lumaDc_,
                                                                    cbpBlocks, qp, s_.scale4(0, qp), avail);
        if (st < 0) throw DecodeError("intra luma prediction needs missing neighbours");
        if (!s_.chroma) return;
        const int qpc[2] = {chromaQp(std::clamp(qp + s_.chromaOffset[0], 0, 51)),
                            chromaQp(std::clamp(qp + s_.chromaOffset[1], 0, 51))};
        if (cbpChroma) {
            zubiTransformQuantInvChromaDC2x2_H264_16s_C1I(chromaDc_, qpc[0], s_.scale4(1, qpc[0]));
            zubiTransformQuantInvChromaDC2x2_H264_16s_C1I(chromaDc_ + 4, qpc[1], s_.scale4(2, qpc[1]));
        }
        Zub16s* cp = chromaCoef_;
        if (zubiReconstructChromaIntraMB_H264High_16s8u_P2R(&cp, plane[1], plane[2], cur_.stride[1], chromaMode,
                                                            chromaDc_, cbpC, qpc[0], qpc[1], s_.scale4(1, qpc[0]),
                                                            s_.scale4(2, qpc[1]), avail) < 0)
            throw DecodeError("intra chroma prediction needs missing neighbours");
        return;
    }

    // Inter macroblock.  P: P_L0_16x16, P_L0_L0_16x8, P_L0_L0_8x16, P_8x8,
    // P_8x8ref0; B: B_Direct_16x16, the 16x16, 16x8 and 8x16 types, B_8x8.
    s_.kind[a] = MbInter;
    std::fill_n(&s_.ipred[a * 16], 16, int8_t{2});
    const bool bSlice = s_.sliceType == 1;
    const int numRef[2] = {s_.numRefIdxActive, s_.numRefIdxActive1};
    auto readRef = [&](int list) -> int {
        const int n = numRef[list];
        if (n == 1) return 0;
        const int v = n == 2 ? static_cast<int>(!br_.flag()) : static_cast<int>(br_.ueMax(n - 1, "ref_idx"));
        ref(list, v);  // names a picture
        return v;
    };
    auto readMvd = [&](int mvd[2]) {
        mvd[0] = br_.seRange(-kMaxMv, kMaxMv, "mvd");
        mvd[1] = br_.seRange(-kMaxMv, kMaxMv, "mvd");
    };
    uint32_t decoded = 0;
    bool small = false;  // a sub-macroblock partition below 8x8, or direct without inference: no 8x8 transform
    const bool b8x8 = bSlice ? mbType == 22 : mbType >= 3;
    if (bSlice && mbType == 0) {  // B_Direct_16x16
        directMb(decoded);
        small = !s_.direct8x8Inference;
    } else if (!b8x8) {
        const int parts = (bSlice ? mbType <= 3 : mbType == 0) ? 1 : 2;
        const bool wide = bSlice ? (mbType > 3 && mbType % 2 == 0) : mbType == 1;  // 16x8
        const int pw = parts == 1 || wide ? 16 : 8, ph = parts == 1 || !wide ? 16 : 8;
        int pred[2] = {1, 1};
        if (bSlice && parts == 1) pred[0] = static_cast<int>(mbType);
        if (bSlice && parts == 2) {
            pred[0] = kBPartPred[(mbType - 4) / 2][0];
            pred[1] = kBPartPred[(mbType - 4) / 2][1];
        }
        Motion m[2];
        int mvd[2][2][2] = {};
        for (int l = 0; l < 2; ++l)
            for (int i = 0; i < parts; ++i)
                if (pred[i] & (1 << l)) m[i].ref[l] = readRef(l);
        for (int l = 0; l < 2; ++l)
            for (int i = 0; i < parts; ++i)
                if (pred[i] & (1 << l)) readMvd(mvd[i][l]);
        for (int i = 0; i < parts; ++i) {
            const int x = !wide && parts == 2 ? 8 * i : 0, y = wide ? 8 * i : 0;
            const int shape = parts == 1 ? 0 : (wide ? 1 : 2);
            for (int l = 0; l < 2; ++l) {
                if (m[i].ref[l] < 0) continue;
                predictMv(x, y, pw, ph, m[i].ref[l], shape, decoded, l, m[i].mv[l][0], m[i].mv[l][1]);
                m[i].mv[l][0] += mvd[i][l][0];
                m[i].mv[l][1] += mvd[i][l][1];
            }
            storeMotion(x, y, pw, ph, m[i], decoded);
            motionCompensate(x, y, pw, ph, m[i]);
        }
    } else {
        SubType sub[4];
        for (auto& t : sub) {
            t = bSlice ? kBSub[br_.ueMax(12, "sub_mb_type")] : kPSub[br_.ueMax(3, "sub_mb_type")];
            small |= t.w < 8 || t.h < 8 || (t.pred == 0 && !s_.direct8x8Inference);
        }
        Motion m[4];
        for (int l = 0; l < 2; ++l)
            for (int i = 0; i < 4; ++i)
                if (sub[i].pred & (1 << l)) m[i].ref[l] = (!bSlice && mbType == 4) ? 0 : readRef(l);
        if (!bSlice && mbType == 4) ref(0, 0);
        int mvd[4][4][2][2] = {};
        for (int l = 0; l < 2; ++l)
            for (int i = 0; i < 4; ++i)
                if (sub[i].pred & (1 << l))
                    for (int j = 0; j < (8 / sub[i].w) * (8 / sub[i].h); ++j) readMvd(mvd[i][j][l]);
        for (int i = 0; i < 4; ++i) {
            if (sub[i].pred == 0) {
                direct(i, decoded);
                continue;
            }
            const int sw = sub[i].w, sh = sub[i].h, perRow = 8 / sw;
            for (int j = 0; j < (8 / sw) * (8 / sh); ++j) {
                const int x = (i & 1) * 8 + (j % perRow) * sw, y = (i >> 1) * 8 + (j / perRow) * sh;
                Motion p = m[i];
                for (int l = 0; l < 2; ++l) {
                    if (p.ref[l] < 0) continue;
                    predictMv(x, y, sw, sh, p.ref[l], 0, decoded, l, p.mv[l][0], p.mv[l][1]);
                    p.mv[l][0] += mvd[i][j][l][0];
                    p.mv[l][1] += mvd[i][j][l][1];
                }
                storeMotion(x, y, sw, sh, p, decoded);
                motionCompensate(x, y, sw, sh, p);
            }
        }
    }
    const int cbp = s_.chroma ? kCbpTable[br_.ueMax(47, "coded_block_pattern")][1]
                              : kCbpTableMono[br_.ueMax(15, "coded_block_pattern")][1];
    const int cbpLuma = cbp & 15, cbpChroma = cbp >> 4;
    const bool t8x8 = cbpLuma && s_.transform8x8Mode && !small && br_.flag();
    if (cbp) s_.curQp = (s_.curQp + br_.seRange(-26, 25, "mb_qp_delta") + 52) % 52;
    const int qp = s_.curQp;
    s_.qp[a] = static_cast<int8_t>(qp);
    Zub32u cbpBlocks, cbpC;
    residual(false, t8x8, cbpLuma, cbpChroma, qp, cbpBlocks, cbpC);
    if (lossless(qp)) {
        losslessLuma(t8x8 ? 4 : 0, nullptr, 0, cbpBlocks, 0, plane[0]);
        if (s_.chroma) losslessChroma(-1, cbpC, plane[1], plane[2]);
        return;
    }
    if (cbpBlocks) {
        Zub16s* lp = lumaCoef_;
        zubiReconstructLumaInterMB_H264High_16s8u_C1R(&lp, plane[0], cur_.stride[0], cbpBlocks, qp,
                                                      t8x8 ? s_.scale8(1, qp) : s_.scale4(3, qp), t8x8);
    }
    if (cbpChroma) {
        const int qpc[2] = {chromaQp(std::clamp(qp + s_.chromaOffset[0], 0, 51)),
                            chromaQp(std::clamp(qp + s_.chromaOffset[1], 0, 51))};
        zubiTransformQuantInvChromaDC2x2_H264_16s_C1I(chromaDc_, qpc[0], s_.scale4(4, qpc[0]));
        zubiTransformQuantInvChromaDC2x2_H264_16s_C1I(chromaDc_ + 4, qpc[1], s_.scale4(5, qpc[1]));
        Zub16s* cp = chromaCoef_;
        zubiReconstructChromaInterMB_H264High_16s8u_P2R(&cp, plane[1], plane[2], cur_.stride[1], chromaDc_, cbpC,
                                                        qpc[0], qpc[1], s_.scale4(4, qpc[0]), s_.scale4(5, qpc[1]));
    }
}

void Decoder::decodeSliceData(BitReader& br, const SliceHeader& sh) {
    SliceState& s = *st_;
    const int total = s.wMbs * s.hMbs;
    if (sh.firstMb >= total) throw DecodeError("first_mb_in_slice beyond the picture");
    s.slices.push_back({sh.disableDeblocking, sh.alphaOffset, sh.betaOffset});
    s.curSlice = static_cast<int>(s.slices.size()) - 1;
    s.sliceType = sh.sliceType;
    s.curQp = sh.qp;
    s.numRefIdxActive = sh.numRefIdxActive;
    s.numRefIdxActive1 = sh.numRefIdxActiveL1;
    s.directSpatial = sh.directSpatial;
    s.direct8x8Inference = sps_->direct8x8Inference;
    s.bipredIdc = sh.sliceType == 1 ? pps_->weightedBipredIdc : 0;
    if (s.bipredIdc == 2) implicitWeights(*cur_, refList_, refList1_, s);
    s.chromaOffset[0] = pps_->chromaQpIndexOffset;
    s.chromaOffset[1] = pps_->secondChromaQpIndexOffset;
    s.constrainedIntra = pps_->constrainedIntraPred;
    s.chroma = sps_->chromaFormat != 0;
    s.bypass = sps_->transformBypass;
    s.transform8x8Mode = pps_->transform8x8Mode;
    resolveScaling(*sps_, *pps_, s);
    s.weights = sh.weighted ? &sh.weights : nullptr;
    s.weights1 = sh.weighted && sh.sliceType == 1 ? &sh.weightsL1 : nullptr;
    MbDecoder mb(s, *cur_, refList_, refList1_, br);
    int addr = sh.firstMb;
    for (;;) {
        if (s.sliceType != 2) {
            const uint32_t run = br.ue();
            if (run > static_cast<uint32_t>(total - addr)) throw DecodeError("mb_skip_run beyond the picture");
            for (uint32_t i = 0; i < run; ++i) {
                if (s.sliceNum[static_cast<size_t>(addr)] >= 0) throw DecodeError("macroblock decoded twice");
                mb.skip(addr++);
            }
            if (run > 0 && !br.moreRbspData()) break;
            if (addr >= total) throw DecodeError("slice runs past the picture");
        }
        if (s.sliceNum[static_cast<size_t>(addr)] >= 0) throw DecodeError("macroblock decoded twice");
        mb.macroblock(addr++);
        if (!br.moreRbspData()) break;
        if (addr >= total) throw DecodeError("slice runs past the picture");
    }
}

}  // namespace h264dec
