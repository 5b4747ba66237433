// The MPEG-1/MPEG-2 decoder: start codes, headers and extensions
// (ISO/IEC 13818-2 clause 6.2, ISO/IEC 11172-2 clause 2.4.2), macroblock
// modes and motion vectors (13818-2 clauses 6.2.5 and 7.6), pictures in
// display order.  Blocks are reconstructed, transformed and predicted by the
// library.
#include "mpeg2dec.h"

#include <algorithm>
#include <array>
#include <cstring>

#include "zubvc_tools/mpeg2vlc.h"

namespace mpeg2dec {
namespace {

using zubtools::Mpeg2Vlc;

// ISO/IEC 13818-2 clause 7.3.2: the default intra matrix, raster order.
constexpr uint8_t kDefaultIntra[64] = {
    8,  16, 19, 22, 26, 27, 29, 34, 16, 16, 22, 24, 27, 29, 34, 37, 19, 22, 26, 27, 29, 34, 34, 38,
    22, 22, 26, 27, 29, 34, 37, 40, 22, 26, 27, 29, 32, 35, 40, 48, 26, 27, 29, 32, 35, 40, 48, 58,
    26, 27, 29, 34, 38, 46, 56, 69, 27, 29, 35, 38, 46, 56, 69, 83};
// ISO/IEC 13818-2 Table 7-6: quantiser_scale for q_scale_type 1.
constexpr uint8_t kNonLinearScale[32] = {0,  1,  2,  3,  4,  5,  6,  7,  8,  10, 12, 14, 16, 18,  20,  22,
                                         24, 28, 32, 36, 40, 44, 48, 52, 56, 64, 72, 80, 88, 96, 104, 112};
// Table 6-4, frame_rate_code 1..8.
constexpr int kFrameRate[9][2] = {{25, 1},    {24000, 1001}, {24, 1}, {25, 1}, {30000, 1001},
                                  {30, 1},    {50, 1},       {60000, 1001}, {60, 1}};

constexpr int kPictureI = 1, kPictureP = 2, kPictureB = 3, kPictureD = 4;
constexpr int kMaxDimension = 4096;
// Zero words after the stream: the longest block a corrupt stream can make the
// library read (64 escapes) stays inside the buffer.
constexpr size_t kPadWords = 128;

[[noreturn]] void fail(const char* what) { throw DecodeError(what); }

// Raster index of the transposed position: the inverse DCT takes its source
// transposed, so scans and weights are given to the reconstruction
// transposed.
constexpr int transpose(int r) { return ((r & 7) << 3) | (r >> 3); }

// The stream as 32-bit words, most significant byte first, and a cursor over
// it that the library's decoders advance in place.
struct Bits {
    const uint32_t* base = nullptr;
    const uint32_t* w = nullptr;
    Zub32u off = 31;

    size_t pos() const { return static_cast<size_t>(w - base) * 32 + (31 - off); }
    void seek(size_t bit) {
        w = base + bit / 32;
        off = static_cast<Zub32u>(31 - bit % 32);
    }
    uint32_t peek(int n) const {  // 1 <= n <= 32
        const int rem = static_cast<int>(off) - n;
        const uint64_t two = (static_cast<uint64_t>(w[0]) << 32) | w[1];
        return static_cast<uint32_t>((two >> (rem + 33)) & ((uint64_t{1} << n) - 1));
    }
    uint32_t read(int n) {
        if (n == 0) return 0;
        const uint32_t v = peek(n);
        seek(pos() + static_cast<size_t>(n));
        return v;
    }
    bool read1() { return read(1) != 0; }
    int vlc(const Zub32s* table) {
        Zub32s v;
        if (zubiDecodeHuffmanOne_1u32s(&w, &off, &v, table) != ZubStatusOk) fail("invalid variable-length code");
        return v;
    }
};

struct Frame {
    int stride[3] = {};
    int rows[3] = {};
    std::vector<uint8_t> data[3];
    uint8_t* plane(int c) { return data[c].data(); }
};

struct Vector {
    int x = 0, y = 0;
};

// Motion of one macroblock: which references, frame or field prediction,
// the vectors [field r][direction s] and field selects.
struct Motion {
    bool forward = false, backward = false;
    int type = 2;  // frame_motion_type: 1 field, 2 frame, 3 dual prime
    Vector mv[2][2];
    int fieldSelect[2][2] = {};
};

}  // namespace

struct Decoder::Impl {
    Sink sink;
    IdctFunctions idct;
    std::function<void(const BlockTrace&)> trace;

    // Tables built once from the helper library's code lists.
    const Zub32s* mbaTable = zubtools::mpeg2VlcTable(Mpeg2Vlc::MbAddressIncrement);
    const Zub32s* mbTypeTable[5] = {nullptr, zubtools::mpeg2VlcTable(Mpeg2Vlc::MbTypeI),
                                    zubtools::mpeg2VlcTable(Mpeg2Vlc::MbTypeP),
                                    zubtools::mpeg2VlcTable(Mpeg2Vlc::MbTypeB),
                                    zubtools::mpeg2VlcTable(Mpeg2Vlc::MbTypeD)};
    const Zub32s* cbpTable = zubtools::mpeg2VlcTable(Mpeg2Vlc::CodedBlockPattern);
    const Zub32s* motionTable = zubtools::mpeg2VlcTable(Mpeg2Vlc::MotionCode);
    const Zub32s* dcSizeTable[2] = {zubtools::mpeg2VlcTable(Mpeg2Vlc::DcSizeLuma),
                                    zubtools::mpeg2VlcTable(Mpeg2Vlc::DcSizeChroma)};
    const Zub32s* dctTable[2] = {zubtools::mpeg2VlcTable(Mpeg2Vlc::DctTableZero),
                                 zubtools::mpeg2VlcTable(Mpeg2Vlc::DctTableOne)};

    std::vector<uint32_t> words;
    Bits bits;

    // Sequence.
    bool haveSequence = false, mpeg2 = false;
    int width = 0, height = 0, mbWidth = 0, mbHeight = 0;
    int maxMacroblocks = (kMaxDimension / 16) * (kMaxDimension / 16);
    int chromaFormat = 1, progressiveSequence = 1;
    int fpsNum = 25, fpsDen = 1;
    // Weights per [intra, non-intra][luma, chroma], transposed raster order.
    Zub16s weights[2][2][64];

    // Picture.
    int pictureType = 0;
    int fCode[2][2] = {{1, 1}, {1, 1}};
    bool fullPel[2] = {false, false};
    int intraDcPrecision = 0, pictureStructure = 3, topFieldFirst = 0;
    bool framePredFrameDct = true, concealmentVectors = false, qScaleType = false, intraVlcFormat = false;
    bool alternateScan = false;
    Zub32s scan[2][64];  // zig-zag, alternate; transposed
    bool pictureOpen = false;
    int macroblocks = 0;  // coded and skipped in the current picture

    std::shared_ptr<Frame> current, past, future, held;
    std::vector<std::shared_ptr<Frame>> pool;

    // Macroblock state.
    int quantiserScale = 0;
    Zub16s dcPred[3] = {};
    Vector pmv[2][2];
    Motion lastMotion;
    alignas(32) Zub16s coef[64];
    alignas(32) Zub16s residual[3][16 * 16];
    alignas(32) Zub16s zeros[16 * 16] = {};

    Impl(Sink s, IdctFunctions i) : sink(std::move(s)), idct(i) {
        for (const Zub32s* t : {mbaTable, mbTypeTable[1], mbTypeTable[2], mbTypeTable[3], mbTypeTable[4], cbpTable,
                                motionTable, dcSizeTable[0], dcSizeTable[1], dctTable[0], dctTable[1]})
            if (!t) fail("cannot build the code tables");
        for (int k = 0; k < 64; ++k) {
            scan[0][k] = transpose(ownvc_Zigzag[k]);
            scan[1][k] = transpose(ownvc_AltScanV[k]);
        }
    }

    // ---- Pictures ------------------------------------------------------------

    int chromaWidthShift() const { return chromaFormat == 3 ? 0 : 1; }
    int chromaHeightShift() const { return chromaFormat == 1 ? 1 : 0; }

    std::shared_ptr<Frame> newFrame() {
        for (auto& f : pool)
            if (f.use_count() == 1) return f;
        auto f = std::make_shared<Frame>();
        for (int c = 0; c < 3; ++c) {
            const int w = mbWidth * 16 >> (c ? chromaWidthShift() : 0);
            const int h = mbHeight * 16 >> (c ? chromaHeightShift() : 0);
            // One column and two rows more than the coded area: half-sample
            // reads at the clamped edge stay inside.
            f->stride[c] = w + 16;
            f->rows[c] = h;
            f->data[c].assign(static_cast<size_t>(f->stride[c]) * (h + 2), 128);
        }
        pool.push_back(f);
        return f;
    }

    void output(const Frame& f) {
        OutputPicture p{};
        for (int c = 0; c < 3; ++c) {
            p.plane[c] = f.data[c].data();
            p.stride[c] = f.stride[c];
            p.width[c] = c ? (width + (1 << chromaWidthShift()) - 1) >> chromaWidthShift() : width;
            p.height[c] = c ? (height + (1 << chromaHeightShift()) - 1) >> chromaHeightShift() : height;
        }
        p.chromaFormat = chromaFormat;
        p.fpsNum = fpsNum;
        p.fpsDen = fpsDen;
        sink(p);
    }

    // A finished picture: B pictures go out at once, I and P pictures when
    // the next reference picture arrives.
    void finishPicture() {
        if (!pictureOpen) return;
        pictureOpen = false;
        // Slices cover the picture: fewer macroblocks mean a stream cut short
        // or a lost slice.
        if (macroblocks < mbWidth * mbHeight) fail("incomplete picture");
        if (pictureType == kPictureB) {
            output(*current);
        } else {
            if (held) output(*held);
            held = current;
        }
        current.reset();
    }

    void flush() {
        finishPicture();
        if (held) output(*held);
        held.reset();
    }

    // ---- Headers -------------------------------------------------------------

    void loadMatrix(Zub16s* dst) {
        for (int k = 0; k < 64; ++k) {
            const int v = static_cast<int>(bits.read(8));
            if (v == 0) fail("zero quantiser matrix entry");
            dst[transpose(ownvc_Zigzag[k])] = static_cast<Zub16s>(v);
        }
    }

    void sequenceHeader() {
        finishPicture();
        const int w = static_cast<int>(bits.read(12)), h = static_cast<int>(bits.read(12));
        bits.read(4);  // aspect ratio
        const int rate = static_cast<int>(bits.read(4));
        bits.read(18);  // bit rate
        bits.read(1);   // marker
        bits.read(10);  // vbv buffer size
        bits.read(1);   // constrained parameters
        if (w == 0 || h == 0) fail("zero picture size");
        if (haveSequence && (w != width || h != height) && (held || past || future)) {
            flush();
            past.reset();
            future.reset();
            pool.clear();
        }
        if (w != width || h != height) pool.clear();
        width = w;
        height = h;
        if (rate >= 1 && rate <= 8) fpsNum = kFrameRate[rate][0], fpsDen = kFrameRate[rate][1];
        for (int k = 0; k < 64; ++k) {
            weights[0][0][k] = kDefaultIntra[transpose(k)];
            weights[1][0][k] = 16;
        }
        if (bits.read1()) loadMatrix(weights[0][0]);
        if (bits.read1()) loadMatrix(weights[1][0]);
        std::memcpy(weights[0][1], weights[0][0], sizeof weights[0][0]);
        std::memcpy(weights[1][1], weights[1][0], sizeof weights[1][0]);
        haveSequence = true;
        mpeg2 = false;  // until a sequence extension follows
        chromaFormat = 1;
        progressiveSequence = 1;
        setSize();
    }

    void setSize() {
        if (width > kMaxDimension || height > kMaxDimension) fail("picture too large");
        mbWidth = (width + 15) / 16;
        mbHeight = mpeg2 && !progressiveSequence ? 2 * ((height + 31) / 32) : (height + 15) / 16;
        if (mbWidth * mbHeight > maxMacroblocks) fail("picture too large");
    }

    void extension() {
        const int id = static_cast<int>(bits.read(4));
        if (id == 1) {  // sequence extension
            bits.read(8);  // profile and level
            const int progressive = bits.read1();
            const int chroma = static_cast<int>(bits.read(2));
            const int hExt = static_cast<int>(bits.read(2)), vExt = static_cast<int>(bits.read(2));
            bits.read(12);  // bit rate extension
            bits.read(1);
            bits.read(8);   // vbv extension
            bits.read(1);   // low delay
            const int n = static_cast<int>(bits.read(2)), d = static_cast<int>(bits.read(5));
            if (chroma != 1 && chroma != 2) fail("unsupported chroma format");
            if (!haveSequence) fail("sequence extension without sequence header");
            const int w = width | hExt << 12, h = height | vExt << 12;
            if (w != width || h != height || chroma != chromaFormat || progressive != progressiveSequence ||
                !mpeg2)
                pool.clear();
            width = w;
            height = h;
            chromaFormat = chroma;
            progressiveSequence = progressive;
            fpsNum *= n + 1;
            fpsDen *= d + 1;
            mpeg2 = true;
            setSize();
        } else if (id == 3) {  // quant matrix extension
            if (bits.read1()) {
                loadMatrix(weights[0][0]);
                std::memcpy(weights[0][1], weights[0][0], sizeof weights[0][0]);
            }
            if (bits.read1()) {
                loadMatrix(weights[1][0]);
                std::memcpy(weights[1][1], weights[1][0], sizeof weights[1][0]);
            }
            if (bits.read1()) loadMatrix(weights[0][1]);
            if (bits.read1()) loadMatrix(weights[1][1]);
        } else if (id == 8) {  // picture coding extension
            for (auto& s : fCode)
                for (int& t : s) t = static_cast<int>(bits.read(4));
            intraDcPrecision = static_cast<int>(bits.read(2));
            pictureStructure = static_cast<int>(bits.read(2));
            topFieldFirst = bits.read1();
            framePredFrameDct = bits.read1();
            concealmentVectors = bits.read1();
            qScaleType = bits.read1();
            intraVlcFormat = bits.read1();
            alternateScan = bits.read1();
            if (pictureStructure != 3) fail("field pictures are not supported");
        }
        // Sequence display and other extensions carry nothing the decoder uses.
    }

    void pictureHeader() {
        finishPicture();
        if (!haveSequence) fail("picture before sequence header");
        bits.read(10);  // temporal reference
        pictureType = static_cast<int>(bits.read(3));
        bits.read(16);  // vbv delay
        if (pictureType < kPictureI || pictureType > kPictureD) fail("bad picture coding type");
        if (pictureType == kPictureD) fail("D pictures are not supported");
        fullPel[0] = fullPel[1] = false;
        int f[2] = {7, 7};
        for (int s = 0; s < 2; ++s)
            if (pictureType == kPictureP + s || (s == 0 && pictureType == kPictureB)) {
                fullPel[s] = bits.read1();
                f[s] = static_cast<int>(bits.read(3));
                if (f[s] == 0) fail("forbidden f_code");
            }
        // MPEG-1 takes its f codes from here; MPEG-2 from the picture coding
        // extension that follows, with these defaults when it is absent.
        for (int s = 0; s < 2; ++s) fCode[s][0] = fCode[s][1] = f[s];
        intraDcPrecision = 0;
        pictureStructure = 3;
        framePredFrameDct = true;
        concealmentVectors = qScaleType = intraVlcFormat = alternateScan = false;
        if (pictureType != kPictureB) {
            past = future;
            future.reset();
        }
        if ((pictureType == kPictureP && !past) || (pictureType == kPictureB && (!past || !future)))
            fail("missing reference picture");
        current = newFrame();
        macroblocks = 0;
        if (pictureType != kPictureB) future = current;
        pictureOpen = true;
    }

    // ---- Slices and macroblocks ----------------------------------------------

    void slice(int code, size_t endBit) {
        if (!pictureOpen) fail("slice outside a picture");
        int row = code - 1;
        if (mpeg2 && height > 2800) row += static_cast<int>(bits.read(3)) << 7;
        if (row >= mbHeight) fail("slice below the picture");
        sliceEnd = endBit;
        setQuantiser(static_cast<int>(bits.read(5)));
        if (mpeg2 && bits.peek(1)) bits.read(9);
        while (bits.read1()) bits.read(8);
        resetDc();
        resetVectors();
        int address = row * mbWidth - 1;
        bool first = true;
        for (;;) {
            if (bits.pos() > endBit) fail("slice data overrun");
            if (bits.peek(23) == 0) break;
            int inc = 0;
            for (;;) {
                const int v = bits.vlc(mbaTable);
                if (v == zubtools::kMbaEscape) inc += 33;
                else if (v != zubtools::kMbaStuffing) {
                    inc += v;
                    break;
                }
                if (bits.pos() > endBit) fail("slice data overrun");
            }
            if (address + inc >= mbWidth * mbHeight) fail("macroblock address beyond the picture");
            if (!first) {
                for (int a = address + 1; a < address + inc; ++a) skipped(a);
                macroblocks += inc - 1;
                if (inc > 1) resetDc();
            }
            address += inc;
            first = false;
            macroblock(address);
            ++macroblocks;
        }
        if (bits.pos() > endBit) fail("slice data overrun");
    }

    void setQuantiser(int code) {
        if (code == 0) fail("zero quantiser scale");
        quantiserScale = !mpeg2 ? code : qScaleType ? kNonLinearScale[code] : 2 * code;
    }
    void resetDc() {
        const Zub16s v = static_cast<Zub16s>(mpeg2 ? 128 << intraDcPrecision : 1024);
        dcPred[0] = dcPred[1] = dcPred[2] = v;
    }
    void resetVectors() {
        for (auto& r : pmv)
            for (auto& s : r) s = Vector{};
    }

    void skipped(int address) {
        if (pictureType == kPictureI) fail("skipped macroblock in an I picture");
        if (pictureType == kPictureP) {
            resetVectors();
            lastMotion = Motion{};
            lastMotion.forward = true;
        }
        predict(address, lastMotion, false);
    }

    // ISO/IEC 13818-2 clause 7.6.3.1 for one component.
    int vectorComponent(int s, int t, int pred) {
        if (fCode[s][t] < 1 || fCode[s][t] > 9) fail("bad f_code");
        const int code = bits.vlc(motionTable);
        const int rSize = fCode[s][t] - 1;
        int delta = code;
        if (rSize > 0 && code != 0) {
            delta = ((code < 0 ? -code : code) - 1) * (1 << rSize) + static_cast<int>(bits.read(rSize)) + 1;
            if (code < 0) delta = -delta;
        }
        const int f = 1 << rSize;
        int v = pred + delta;
        if (v < -16 * f) v += 32 * f;
        if (v > 16 * f - 1) v -= 32 * f;
        return v;
    }

    void motionVectors(int s, Motion& m) {
        if (m.type == 1) {  // field prediction in a frame picture
            for (int r = 0; r < 2; ++r) {
                m.fieldSelect[r][s] = bits.read1();
                const int x = vectorComponent(s, 0, pmv[r][s].x);
                const int y = vectorComponent(s, 1, pmv[r][s].y >> 1);
                pmv[r][s] = {x, y * 2};
                m.mv[r][s] = {x, y};
            }
        } else {
            const int x = vectorComponent(s, 0, pmv[0][s].x);
            const int y = vectorComponent(s, 1, pmv[0][s].y);
            pmv[0][s] = pmv[1][s] = {x, y};
            m.mv[0][s] = fullPel[s] && !mpeg2 ? Vector{x * 2, y * 2} : Vector{x, y};
        }
    }

    void macroblock(int address) {
        const int type = bits.vlc(mbTypeTable[pictureType]);
        const bool intra = type & zubtools::kMbIntra;
        Motion m;
        m.forward = type & zubtools::kMbMotionForward;
        m.backward = type & zubtools::kMbMotionBackward;
        const bool field = mpeg2 && !framePredFrameDct;
        if (field && (m.forward || m.backward)) {
            m.type = static_cast<int>(bits.read(2));
            if (m.type == 3) fail("dual-prime prediction is not supported");
            if (m.type == 0) fail("reserved frame_motion_type");
        }
        const bool fieldDct = field && (intra || (type & zubtools::kMbPattern)) && bits.read1();
        if (type & zubtools::kMbQuant) setQuantiser(static_cast<int>(bits.read(5)));
        if (m.forward || (intra && concealmentVectors)) motionVectors(0, m);
        if (m.backward) motionVectors(1, m);
        if (intra && concealmentVectors) bits.read(1);
        const int blocks = chromaFormat == 1 ? 6 : 8;
        if (intra) {
            if (!concealmentVectors) resetVectors();
            intraBlocks(address, blocks, fieldDct);
            return;
        }
        resetDc();
        if (pictureType == kPictureP && !m.forward) {
            resetVectors();  // no motion compensation: a zero forward vector
            m.forward = true;
        }
        int cbp = 0;
        if (type & zubtools::kMbPattern) {
            cbp = bits.vlc(cbpTable);
            if (chromaFormat == 2) cbp = cbp << 2 | static_cast<int>(bits.read(2));
            else cbp <<= 2;
            if (!mpeg2 && cbp == 0) fail("zero coded_block_pattern");
        }
        lastMotion = m;
        if (cbp) residualBlocks(cbp, blocks, fieldDct);
        predict(address, m, cbp != 0);
    }

    // Where block b of a macroblock lies: component, offset in samples inside
    // the macroblock's area of that component, and the row multiplier (2 for
    // field DCT).  Blocks 0-3 luma, then Cb, Cr (4:2:2: Cb, Cr, Cb, Cr).
    struct Place {
        int c, x, y, rowStep;
    };
    Place place(int b, bool fieldDct) const {
        if (b < 4) return fieldDct ? Place{0, (b & 1) * 8, b >> 1, 2} : Place{0, (b & 1) * 8, (b >> 1) * 8, 1};
        const int c = 1 + (b & 1), half = (b - 4) >> 1;
        if (chromaFormat == 2 && fieldDct) return {c, 0, half, 2};
        return {c, 0, half * 8, 1};
    }

    void reconstruct(int b, bool intra) {
        // One block reads at most 64 escapes: well inside the padding.
        if (bits.pos() > sliceEnd) fail("slice data overrun");
        Zub32s last = 0;
        const int cc = b < 4 ? 0 : 1 + (b & 1);
        const Zub16s* w = weights[intra ? 0 : 1][cc ? 1 : 0];
        const Zub32s* sc = scan[alternateScan];
        const size_t start = bits.pos();
        const int dcBefore = dcPred[cc];
        ZubStatus st;
        if (intra) {
            const Zub32s* table = dctTable[mpeg2 && intraVlcFormat];
            if (mpeg2)
                st = zubiReconstructDCTBlockIntra_MPEG2_32s(&bits.w, &bits.off, dcSizeTable[cc != 0], table, sc,
                                                            quantiserScale, w, &dcPred[cc], 3 - intraDcPrecision,
                                                            coef, &last);
            else
                st = zubiReconstructDCTBlockIntra_MPEG1_32s(&bits.w, &bits.off, dcSizeTable[cc != 0], table, sc,
                                                            quantiserScale, w, &dcPred[cc], coef, &last);
        } else if (mpeg2) {
            st = zubiReconstructDCTBlock_MPEG2_32s(&bits.w, &bits.off, dctTable[0], dctTable[0], sc, quantiserScale,
                                                   w, coef, &last);
        } else {
            st = zubiReconstructDCTBlock_MPEG1_32s(&bits.w, &bits.off, dctTable[0], dctTable[0], sc, quantiserScale,
                                                   w, coef, &last);
        }
        if (st != ZubStatusOk) fail("bad block data");
        if (trace)
            trace(BlockTrace{words.data(), start, bits.pos(), intra, !mpeg2, mpeg2 && intraVlcFormat, cc, dcBefore});
        lastIndex = last;
    }
    Zub32s lastIndex = 0;
    size_t sliceEnd = 0;

    void intraBlocks(int address, int blocks, bool fieldDct) {
        const int mx = address % mbWidth, my = address / mbWidth;
        for (int b = 0; b < blocks; ++b) {
            reconstruct(b, true);
            const Place p = place(b, fieldDct);
            const int cw = p.c ? 16 >> chromaWidthShift() : 16, ch = p.c ? 16 >> chromaHeightShift() : 16;
            const int stride = current->stride[p.c];
            uint8_t* dst = current->plane(p.c) + static_cast<size_t>(my * ch + p.y) * stride + mx * cw + p.x;
            idct.intra(coef, dst, stride * p.rowStep, lastIndex);
        }
        lastMotion = Motion{};
    }

    void residualBlocks(int cbp, int blocks, bool fieldDct) {
        std::memset(residual, 0, sizeof residual);
        for (int b = 0; b < blocks; ++b) {
            if (!(cbp & (1 << (7 - b)))) continue;
            reconstruct(b, false);
            const Place p = place(b, fieldDct);
            const int rowLen = p.c ? 16 >> chromaWidthShift() : 16;
            idct.inter(coef, residual[p.c] + p.y * rowLen + p.x, static_cast<Zub32s>(2 * rowLen * p.rowStep),
                       lastIndex);
        }
    }

    // Prediction with the residual added (or a zero residual), 13818-2
    // clause 7.6.4 for frame pictures.
    void predict(int address, const Motion& m, bool hasResidual) {
        const int mx = address % mbWidth, my = address / mbWidth;
        for (int c = 0; c < 3; ++c) {
            const int bw = c ? 16 >> chromaWidthShift() : 16, bh = c ? 16 >> chromaHeightShift() : 16;
            const Zub16s* res = hasResidual ? residual[c] : nullptr;
            const int stride = current->stride[c];
            uint8_t* dst = current->plane(c) + static_cast<size_t>(my * bh) * stride + mx * bw;
            const int fields = m.type == 1 ? 2 : 1;
            for (int r = 0; r < fields; ++r) {
                const uint8_t* ref[2] = {};
                int type[2] = {};
                int step = stride * fields;
                for (int s = 0; s < 2; ++s) {
                    if (!(s ? m.backward : m.forward)) continue;
                    const Frame& f = s ? *future : *past;
                    Vector v = m.mv[r][s];
                    if (c) {
                        v.x /= 2;
                        if (chromaFormat == 1) v.y /= 2;
                    }
                    int x = mx * bw + (v.x >> 1);
                    int y = (my * bh) / fields + (v.y >> 1);
                    // A vector out of the picture (corrupt stream) is clamped.
                    x = std::clamp(x, 0, f.stride[c] - 16 - bw);
                    y = std::clamp(y, 0, f.rows[c] / fields - bh / fields);
                    const int fieldRow = fields == 2 ? m.fieldSelect[r][s] : 0;
                    ref[s] = f.data[c].data() + static_cast<size_t>(y * fields + fieldRow) * f.stride[c] + x;
                    type[s] = (v.x & 1) << 3 | (v.y & 1) << 2;
                }
                mc(bw, bh / fields, ref, type, step, res ? res + r * bw : nullptr, 2 * bw * fields, dst + r * stride,
                   step);
            }
        }
    }

    // One library call: a block of bw x bh from one or two references, with
    // the residual res (null: none).
    void mc(int bw, int bh, const uint8_t* const ref[2], const int type[2], int step, const Zub16s* res,
            int resStep, uint8_t* dst, int dstStep) {
        const int size = bw << 8 | bh;
        if (!res && !(ref[0] && ref[1])) {
            // A prediction alone: the half-sample copies (accuracy bit 0
            // horizontal, bit 1 vertical).
            const int s = ref[0] ? 0 : 1;
            ZubStatus (*copy)(const Zub8u*, Zub32s, Zub8u*, Zub32s, Zub32s, Zub32s) = nullptr;
            switch (size) {
            case 16 << 8 | 16: copy = zubiCopy16x16HP_8u_C1R; break;
            case 16 << 8 | 8: copy = zubiCopy16x8HP_8u_C1R; break;
            case 8 << 8 | 8: copy = zubiCopy8x8HP_8u_C1R; break;
            case 8 << 8 | 4: copy = zubiCopy8x4HP_8u_C1R; break;
            default: break;
            }
            if (copy && ref[s]) {
                copy(ref[s], step, dst, dstStep, (type[s] >> 3 & 1) | (type[s] >> 1 & 2), 0);
                return;
            }
        }
        if (!res) res = zeros;  // rows of at most 16 values, at most 16 rows apart
        if (ref[0] && ref[1]) {
            ZubStatus (*f)(const Zub8u*, Zub32s, Zub32s, const Zub8u*, Zub32s, Zub32s, const Zub16s*, Zub32s,
                           Zub8u*, Zub32s, Zub32s) = nullptr;
            switch (size) {
            case 16 << 8 | 16: f = zubiMC16x16B_8u_C1; break;
            case 16 << 8 | 8: f = zubiMC16x8B_8u_C1; break;
            case 8 << 8 | 16: f = zubiMC8x16B_8u_C1; break;
            case 8 << 8 | 8: f = zubiMC8x8B_8u_C1; break;
            case 8 << 8 | 4: f = zubiMC8x4B_8u_C1; break;
            default: fail("unsupported block size");
            }
            f(ref[0], step, type[0], ref[1], step, type[1], res, resStep, dst, dstStep, 0);
            return;
        }
        ZubStatus (*f)(const Zub8u*, Zub32s, const Zub16s*, Zub32s, Zub8u*, Zub32s, Zub32s, Zub32s) = nullptr;
        switch (size) {
        case 16 << 8 | 16: f = zubiMC16x16_8u_C1; break;
        case 16 << 8 | 8: f = zubiMC16x8_8u_C1; break;
        case 8 << 8 | 16: f = zubiMC8x16_8u_C1; break;
        case 8 << 8 | 8: f = zubiMC8x8_8u_C1; break;
        case 8 << 8 | 4: f = zubiMC8x4_8u_C1; break;
        default: fail("unsupported block size");
        }
        const int s = ref[0] ? 0 : 1;
        if (!ref[s]) fail("macroblock without prediction");
        f(ref[s], step, res, resStep, dst, dstStep, type[s], 0);
    }

    // ---- Stream ----------------------------------------------------------------

    void decode(const uint8_t* data, size_t size) {
        words.assign((size + 3) / 4 + kPadWords, 0);
        const size_t whole = size / 4;
        for (size_t k = 0; k < whole; ++k) {
            const uint8_t* b = data + 4 * k;
            words[k] = static_cast<uint32_t>(b[0]) << 24 | static_cast<uint32_t>(b[1]) << 16 |
                       static_cast<uint32_t>(b[2]) << 8 | b[3];
        }
        for (size_t i = 4 * whole; i < size; ++i) words[whole] |= static_cast<uint32_t>(data[i]) << (24 - 8 * (i % 4));
        bits.base = words.data();
        // Start codes 00 00 01 xx; each unit runs to the next one.  A byte
        // above 1 at i + 2 rules out a start code at i, i + 1 and i + 2.
        std::vector<size_t> starts;
        for (size_t i = 0; i + 3 < size;) {
            if (data[i + 2] > 1) i += 3;
            else if (data[i] == 0 && data[i + 1] == 0 && data[i + 2] == 1) {
                starts.push_back(i);
                i += 3;
            } else {
                ++i;
            }
        }
        for (size_t k = 0; k < starts.size(); ++k) {
            const size_t at = starts[k], end = k + 1 < starts.size() ? starts[k + 1] : size;
            const int code = data[at + 3];
            bits.seek((at + 4) * 8);
            const size_t endBit = end * 8;
            if (code == 0xB3) sequenceHeader();
            else if (code == 0xB5) extension();
            else if (code == 0x00) pictureHeader();
            else if (code >= 0x01 && code <= 0xAF) slice(code, endBit);
            else if (code == 0xB7) finishPicture();
            if (bits.pos() > endBit + 32 * kPadWords / 2) fail("header overrun");
        }
        flush();
    }
};

Decoder::Decoder(Sink sink, IdctFunctions idct) : impl_(std::make_unique<Impl>(std::move(sink), idct)) {}
Decoder::~Decoder() = default;

IdctFunctions Decoder::libraryIdct() {
    return {zubiDCT8x8Inv_AANTransposed_16s8u_C1R, zubiDCT8x8Inv_AANTransposed_16s_C1R};
}

void Decoder::setBlockTrace(std::function<void(const BlockTrace&)> trace) { impl_->trace = std::move(trace); }

void Decoder::setMaxMacroblocks(int n) { impl_->maxMacroblocks = n; }

void Decoder::decode(const uint8_t* data, size_t size) { impl_->decode(data, size); }

}  // namespace mpeg2dec
