// MPEG-1/MPEG-2 run-level encoding: the writers against a model writer of
// the standard's syntax, bit for bit, and encode -> decode round trips through
// the library's block reconstruction on random blocks.
#include <gtest/gtest.h>

#include <cstdlib>
#include <random>
#include <vector>

#include "mpeg2_test_util.h"
#include "zubvc.h"

using mpeg2test::RunLevel;
using zubtools::Mpeg2Vlc;

namespace {

struct Case {
    bool intra;
    int version;  // 1 or 2
    Mpeg2Vlc table;
    bool luma;
    std::vector<Zub32s> scan;
    std::vector<Zub16s> block;  // levels, raster
    Zub16s dcPred;              // DC-level units
};

Case randomCase(std::mt19937& rng, bool highRate) {
    Case c;
    c.intra = rng() & 1;
    c.version = 1 + static_cast<int>(rng() & 1);
    c.table = c.intra && c.version == 2 && (rng() & 1) ? Mpeg2Vlc::DctTableOne : Mpeg2Vlc::DctTableZero;
    c.luma = rng() & 1;
    const Zub8u* s = rng() & 1 ? ownvc_Zigzag : ownvc_AltScanV;
    c.scan.assign(s, s + 64);
    c.block.assign(64, 0);
    std::vector<RunLevel> coefs;
    do coefs = mpeg2test::randomBlock(rng, c.intra, c.version == 1 ? 255 : 2047, highRate);
    while (!c.intra && coefs.empty());
    int i = c.intra ? 0 : -1;
    for (const RunLevel& rl : coefs) {
        i += rl.run + 1;
        c.block[c.scan[i]] = static_cast<Zub16s>(rl.level);
    }
    const int maxDiff = c.version == 1 ? 255 : 2047;
    c.dcPred = static_cast<Zub16s>(rng() % 2048);
    c.block[0] = c.intra ? static_cast<Zub16s>(c.dcPred + static_cast<int>(rng() % (2 * maxDiff + 1)) - maxDiff)
                         : c.block[0];
    return c;
}

// The model: the syntax written with the test's own writer.
std::vector<uint32_t> modelBits(const Case& c, size_t* bits) {
    zubtools::BitWriter bw;
    if (c.intra) mpeg2test::putDcDifferential(bw, c.luma, c.block[0] - c.dcPred);
    int run = 0;
    bool first = true;
    for (int i = c.intra ? 1 : 0; i < 64; ++i) {
        const int v = c.block[c.scan[i]];
        if (!v) {
            ++run;
            continue;
        }
        mpeg2test::putCoefficient(bw, c.table, {run, v}, c.version == 1, !c.intra && first);
        first = false;
        run = 0;
    }
    mpeg2test::putEndOfBlock(bw, c.table);
    *bits = bw.bitCount();
    return bw.words();
}

ZubStatus put(const Case& c, Zub32u*& w, Zub32u& off, Zub16s& pred) {
    const Zub32s* rl = zubtools::mpeg2VlcEncodeTable(c.table);
    if (c.intra) {
        const Zub32s* dc = zubtools::mpeg2VlcEncodeTable(c.luma ? Mpeg2Vlc::DcSizeLuma : Mpeg2Vlc::DcSizeChroma);
        return zubiPutIntraBlock(&w, &off, c.block.data(), &pred, dc, rl, c.scan.data(), c.version);
    }
    return zubiPutNonIntraBlock(&w, &off, c.block.data(), rl, c.scan.data(), c.version);
}

// Written at any offset after bits that must survive: the words equal the
// model's stream shifted there, the first word keeps its bits above the
// offset, the cursor ends after the block and the predictor becomes the DC.
TEST(Mpeg2RlEncode, WritesTheStandardsSyntax) {
    std::mt19937 rng(41);
    for (int trial = 0; trial < 3000; ++trial) {
        const Case c = randomCase(rng, trial % 3 == 0);
        size_t bits = 0;
        const auto model = modelBits(c, &bits);
        const int pad = static_cast<int>(rng() % 32);
        const uint32_t before = static_cast<uint32_t>(rng());
        std::vector<uint32_t> buf(bits / 32 + 4, 0xA5A5A5A5u);
        buf[0] = before;
        Zub32u* w = buf.data();
        Zub32u off = static_cast<Zub32u>(31 - pad);
        Zub16s pred = c.dcPred;
        ASSERT_EQ(put(c, w, off, pred), ZubStatusOk) << "trial " << trial;
        // The expected words: pad bits of `before`, then the model's bits, zeros.
        zubtools::BitWriter e;
        if (pad) e.put(before >> (32 - pad), pad);
        for (size_t b = 0; b < bits; ++b) e.putBit((model[b / 32] >> (31 - b % 32)) & 1u);
        const auto expect = e.words(0);
        const size_t end = static_cast<size_t>(pad) + bits;
        ASSERT_EQ(static_cast<size_t>(w - buf.data()), end / 32) << "trial " << trial;
        ASSERT_EQ(off, 31 - end % 32) << "trial " << trial;
        for (size_t k = 0; k < expect.size(); ++k) ASSERT_EQ(buf[k], expect[k]) << "trial " << trial << " word " << k;
        // Words past the block's last are not touched.
        for (size_t k = (end + 31) / 32; k < buf.size(); ++k) ASSERT_EQ(buf[k], 0xA5A5A5A5u);
        ASSERT_EQ(pred, c.intra ? c.block[0] : c.dcPred);
    }
}

// Encode, then decode with the reconstruction at settings that keep the
// levels (MPEG-2 intra: weights 1, QP 16; MPEG-2 non-intra: flat, QP 1;
// MPEG-1: weights 16, QP 1, giving 2 level -+ 1): the levels come back.
TEST(Mpeg2RlEncode, RoundTripThroughTheReconstruction) {
    std::mt19937 rng(43);
    for (int trial = 0; trial < 3000; ++trial) {
        const Case c = randomCase(rng, trial % 2 == 0);
        std::vector<uint32_t> buf(80, 0);
        Zub32u* w = buf.data();
        Zub32u off = 31;
        Zub16s pred = c.dcPred;
        ASSERT_EQ(put(c, w, off, pred), ZubStatusOk);
        const size_t bits = static_cast<size_t>(w - buf.data()) * 32 + 31 - off;

        const Zub32u* r = buf.data();
        Zub32u roff = 31;
        Zub16s block[64];
        Zub32s last = -1;
        const std::vector<Zub16s> ones(64, 1), sixteen(64, 16);
        const Zub32s* coef = zubtools::mpeg2VlcTable(c.table);
        const Zub32s* zero = zubtools::mpeg2VlcTable(Mpeg2Vlc::DctTableZero);
        const Zub32s* dc = zubtools::mpeg2VlcTable(c.luma ? Mpeg2Vlc::DcSizeLuma : Mpeg2Vlc::DcSizeChroma);
        Zub16s dpred = c.version == 1 ? static_cast<Zub16s>(8 * c.dcPred) : c.dcPred;
        ZubStatus st;
        if (c.version == 2)
            st = c.intra ? zubiReconstructDCTBlockIntra_MPEG2_32s(&r, &roff, dc, coef, c.scan.data(), 16, ones.data(),
                                                                  &dpred, 0, block, &last)
                         : zubiReconstructDCTBlock_MPEG2_32s(&r, &roff, zero, coef, c.scan.data(), 1, nullptr, block,
                                                             &last);
        else
            st = c.intra ? zubiReconstructDCTBlockIntra_MPEG1_32s(&r, &roff, dc, coef, c.scan.data(), 1,
                                                                  sixteen.data(), &dpred, block, &last)
                         : zubiReconstructDCTBlock_MPEG1_32s(&r, &roff, zero, coef, c.scan.data(), 1, sixteen.data(),
                                                             block, &last);
        ASSERT_EQ(st, ZubStatusOk) << "trial " << trial;
        ASSERT_EQ(static_cast<size_t>(r - buf.data()) * 32 + 31 - roff, bits);
        int32_t sum = 0;
        for (int p = 0; p < 64; ++p) {
            int32_t v = c.block[p];
            if (p == 0 && c.intra)
                v = c.version == 1 ? 8 * v : v;
            else if (c.version == 1 && v != 0)
                v = c.intra ? 2 * v - (v > 0) + (v < 0) : 2 * v + (v > 0) - (v < 0);
            sum += v;
            if (p == 63 && c.version == 2 && sum % 2 == 0) v ^= 1;
            ASSERT_EQ(block[p], v) << "trial " << trial << " position " << p;
        }
    }
}

TEST(Mpeg2RlEncode, ChecksAndErrors) {
    const Zub32s* rl = zubtools::mpeg2VlcEncodeTable(Mpeg2Vlc::DctTableZero);
    const Zub32s* dc = zubtools::mpeg2VlcEncodeTable(Mpeg2Vlc::DcSizeLuma);
    const std::vector<Zub32s> scan(ownvc_Zigzag, ownvc_Zigzag + 64);
    std::vector<Zub16s> block(64, 0);
    uint32_t buf[8] = {1, 2, 3, 4, 5, 6, 7, 8};
    Zub32u* w = buf;
    Zub32u* none = nullptr;
    Zub32u off = 31;
    Zub16s pred = 0;
    const Zub32s* s = scan.data();
    EXPECT_EQ(zubiPutNonIntraBlock(nullptr, &off, block.data(), rl, s, 2), ZubStatusNullPointer);
    EXPECT_EQ(zubiPutNonIntraBlock(&w, nullptr, block.data(), rl, s, 2), ZubStatusNullPointer);
    EXPECT_EQ(zubiPutNonIntraBlock(&w, &off, nullptr, rl, s, 2), ZubStatusNullPointer);
    EXPECT_EQ(zubiPutNonIntraBlock(&w, &off, block.data(), nullptr, s, 2), ZubStatusNullPointer);
    EXPECT_EQ(zubiPutNonIntraBlock(&w, &off, block.data(), rl, nullptr, 2), ZubStatusNullPointer);
    EXPECT_EQ(zubiPutNonIntraBlock(&none, &off, block.data(), rl, s, 2), ZubStatusNullPointer);
    EXPECT_EQ(zubiPutIntraBlock(&w, &off, block.data(), nullptr, dc, rl, s, 2), ZubStatusNullPointer);
    EXPECT_EQ(zubiPutIntraBlock(&w, &off, block.data(), &pred, nullptr, rl, s, 2), ZubStatusNullPointer);
    off = 32;
    EXPECT_EQ(zubiPutNonIntraBlock(&w, &off, block.data(), rl, s, 2), ZubStatusBadArgument);
    off = 31;
    EXPECT_EQ(zubiPutNonIntraBlock(&w, &off, block.data(), rl, s, 3), ZubStatusBadArgument);
    EXPECT_EQ(zubiPutNonIntraBlock(&w, &off, block.data(), dc, s, 2), ZubStatusBadArgument);  // wrong kind
    EXPECT_EQ(zubiPutIntraBlock(&w, &off, block.data(), &pred, rl, rl, s, 2), ZubStatusBadArgument);
    // An empty non-intra block; levels beyond the escapes; a DC difference of
    // 12 bits (2048).
    EXPECT_EQ(zubiPutNonIntraBlock(&w, &off, block.data(), rl, s, 2), ZubStatusOutOfRange);
    block[9] = 256;
    EXPECT_EQ(zubiPutNonIntraBlock(&w, &off, block.data(), rl, s, 1), ZubStatusOutOfRange);
    block[9] = -2048;
    EXPECT_EQ(zubiPutNonIntraBlock(&w, &off, block.data(), rl, s, 2), ZubStatusOutOfRange);
    block[9] = 0;
    block[0] = 2048;
    EXPECT_EQ(zubiPutIntraBlock(&w, &off, block.data(), &pred, dc, rl, s, 2), ZubStatusOutOfRange);
    EXPECT_TRUE(w == buf && off == 31 && pred == 0);
    for (uint32_t k = 0; k < 8; ++k) EXPECT_EQ(buf[k], k + 1);

    // The builders: pointers, kind, a failing allocation.
    Zub32s* t = nullptr;
    const auto& src = zubtools::mpeg2VlcSource(Mpeg2Vlc::DctTableZero);
    EXPECT_EQ(zubiCreateRLEncodeTable(nullptr, 1, &t), ZubStatusNullPointer);
    EXPECT_EQ(zubiCreateRLEncodeTable(src.data(), 1, nullptr), ZubStatusNullPointer);
    EXPECT_EQ(zubiCreateRLEncodeTable(src.data(), 2, &t), ZubStatusBadArgument);
    EXPECT_EQ(zubiFreeRLEncodeTable(nullptr), ZubStatusNullPointer);
    void* (*saved)(size_t) = i_malloc;
    i_malloc = [](size_t) -> void* { return nullptr; };
    EXPECT_EQ(zubiCreateRLEncodeTable(src.data(), 1, &t), ZubStatusNoMemory);
    i_malloc = saved;
    ASSERT_EQ(zubiCreateRLEncodeTable(src.data(), 1, &t), ZubStatusOk);
    EXPECT_EQ(zubiFreeRLEncodeTable(t), ZubStatusOk);
}

// "1s" for a first (0, +-1), the table's "11s" afterwards; MPEG-1 escapes of
// 128 and -128 take the two-byte forms.
TEST(Mpeg2RlEncode, FirstCoefficientAndMpeg1Escapes) {
    const Zub32s* rl = zubtools::mpeg2VlcEncodeTable(Mpeg2Vlc::DctTableZero);
    const std::vector<Zub32s> scan(ownvc_Zigzag, ownvc_Zigzag + 64);
    std::vector<Zub16s> block(64, 0);
    block[0] = -1;
    block[1] = 1;
    uint32_t buf[4] = {};
    Zub32u* w = buf;
    Zub32u off = 31;
    ASSERT_EQ(zubiPutNonIntraBlock(&w, &off, block.data(), rl, scan.data(), 2), ZubStatusOk);
    EXPECT_EQ(buf[0], 0xF4000000u);  // 11 | 110 | 10
    EXPECT_EQ(off, 24u);
    block.assign(64, 0);
    block[0] = 128;
    block[1] = -128;
    w = buf;
    off = 31;
    ASSERT_EQ(zubiPutNonIntraBlock(&w, &off, block.data(), rl, scan.data(), 1), ZubStatusOk);
    // 000001 000000 00000000 10000000, 000001 000000 10000000 10000000, 10
    EXPECT_EQ(buf[0], 0x04000800u);
    EXPECT_EQ(buf[1], 0x40808080u);
    EXPECT_EQ(off, 5u);
}

}  // namespace
