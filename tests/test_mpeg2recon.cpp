// MPEG-1/MPEG-2 DCT block reconstruction: random blocks written with the
// standard's codes against a model of the dequantisation formulas, and the
// edge cases of each form.
#include <gtest/gtest.h>

#include <cstdint>
#include <random>
#include <vector>

#include "mpeg2_test_util.h"
#include "zubvc.h"

using mpeg2test::RunLevel;
using zubtools::Mpeg2Vlc;

namespace {

enum class Form { Mpeg1, Mpeg1Intra, Mpeg2, Mpeg2Intra };
bool isIntra(Form f) { return f == Form::Mpeg1Intra || f == Form::Mpeg2Intra; }
bool isMpeg1(Form f) { return f == Form::Mpeg1 || f == Form::Mpeg1Intra; }

struct Args {
    Form form;
    Mpeg2Vlc table = Mpeg2Vlc::DctTableZero;
    bool luma = true;
    std::vector<Zub32s> scan;
    Zub32s qp = 8;
    std::vector<Zub16s> weights;  // empty: null (MPEG-2 non-intra)
    Zub16s dcPred = 0;
    Zub32s dcShift = 0;
};

struct Result {
    ZubStatus st;
    Zub16s block[64];
    Zub32s last;
    Zub16s dcPred;
    size_t bitsRead;
};

Result call(const Args& a, const std::vector<uint32_t>& words, Zub32u startOffset = 31) {
    Result r{};
    for (Zub16s& v : r.block) v = 0x7777;
    r.last = -99;
    r.dcPred = a.dcPred;
    const Zub32u* w = words.data();
    Zub32u off = startOffset;
    const Zub32s* coef = zubtools::mpeg2VlcTable(a.table);
    const Zub32s* dcSize = zubtools::mpeg2VlcTable(a.luma ? Mpeg2Vlc::DcSizeLuma : Mpeg2Vlc::DcSizeChroma);
    const Zub32s* first = zubtools::mpeg2VlcTable(Mpeg2Vlc::DctTableZero);
    const Zub16s* wt = a.weights.empty() ? nullptr : a.weights.data();
    switch (a.form) {
        case Form::Mpeg1:
            r.st = zubiReconstructDCTBlock_MPEG1_32s(&w, &off, first, coef, a.scan.data(), a.qp, wt, r.block, &r.last);
            break;
        case Form::Mpeg1Intra:
            r.st = zubiReconstructDCTBlockIntra_MPEG1_32s(&w, &off, dcSize, coef, a.scan.data(), a.qp, wt, &r.dcPred,
                                                          r.block, &r.last);
            break;
        case Form::Mpeg2:
            r.st = zubiReconstructDCTBlock_MPEG2_32s(&w, &off, first, coef, a.scan.data(), a.qp, wt, r.block, &r.last);
            break;
        case Form::Mpeg2Intra:
            r.st = zubiReconstructDCTBlockIntra_MPEG2_32s(&w, &off, dcSize, coef, a.scan.data(), a.qp, wt, &r.dcPred,
                                                          a.dcShift, r.block, &r.last);
            break;
    }
    r.bitsRead = static_cast<size_t>(w - words.data()) * 32 + 31 - off - (31 - startOffset);
    return r;
}

// The model: the formulas of ISO/IEC 11172-2 clause 2.4.4 and ISO/IEC
// 13818-2 clause 7.4 with the library's rules (32-bit wrapping products,
// MPEG-2 values kept to 16 bits without saturation, mismatch control on the
// 16-bit values).
struct Model {
    Zub16s block[64] = {};
    int last;
    Zub16s dcPred;
};

Model model(const Args& a, int dcDiff, const std::vector<RunLevel>& coefs) {
    Model m;
    const bool intra = isIntra(a.form), mpeg1 = isMpeg1(a.form);
    int32_t sum = 0;
    m.dcPred = a.dcPred;
    if (intra) {
        int32_t dc;
        if (mpeg1) {
            m.dcPred = static_cast<Zub16s>(a.dcPred + 8 * dcDiff);
            dc = m.dcPred;
        } else {
            m.dcPred = static_cast<Zub16s>(a.dcPred + dcDiff);
            dc = static_cast<Zub16s>(m.dcPred * (1 << a.dcShift));
        }
        m.block[0] = static_cast<Zub16s>(dc);
        sum += dc;
    }
    int i = intra ? 0 : -1;
    for (const RunLevel& c : coefs) {
        i += c.run + 1;
        const int p = a.scan[i];
        const int64_t w = a.weights.empty() ? 16 : a.weights[p];
        const int64_t k = intra ? 0 : (c.level > 0) - (c.level < 0);
        const int32_t prod = static_cast<int32_t>((2 * c.level + k) * w * a.qp);
        int32_t v = prod / (mpeg1 ? 16 : 32);
        if (mpeg1) {
            if (v % 2 == 0) v -= (v > 0) - (v < 0);
            v = std::min(2047, std::max(-2048, v));
        }
        m.block[p] = static_cast<Zub16s>(v);
        sum += static_cast<Zub16s>(v);
    }
    if (!mpeg1 && sum % 2 == 0) m.block[63] = static_cast<Zub16s>(m.block[63] ^ 1);
    m.last = intra ? i : (i < 0 ? 0 : i);
    if (a.form == Form::Mpeg2 && m.last == 0) m.last = 1;
    return m;
}

std::vector<uint32_t> writeBlock(const Args& a, int dcDiff, const std::vector<RunLevel>& coefs, int pad,
                                 size_t* bits = nullptr) {
    zubtools::BitWriter bw;
    bw.put(0, pad);
    if (isIntra(a.form)) mpeg2test::putDcDifferential(bw, a.luma, dcDiff);
    for (size_t n = 0; n < coefs.size(); ++n)
        mpeg2test::putCoefficient(bw, a.table, coefs[n], isMpeg1(a.form), !isIntra(a.form) && n == 0);
    mpeg2test::putEndOfBlock(bw, a.table);
    if (bits) *bits = bw.bitCount() - static_cast<size_t>(pad);
    bw.put(0x5A5A5A5Au, 32);  // whatever follows the block
    return bw.words();
}

std::vector<Zub32s> scanOf(const Zub8u* s) { return std::vector<Zub32s>(s, s + 64); }

// Random blocks of every form, at typical and high rates, with random
// quantiser scales, weights, scans, tables, DC precisions and predictors.
TEST(Mpeg2Recon, RandomBlocksMatchTheModel) {
    std::mt19937 rng(2024);
    int lastClasses[3] = {};  // last index 0, 1..9, above 9
    for (int trial = 0; trial < 4000; ++trial) {
        Args a;
        a.form = static_cast<Form>(trial % 4);
        const bool mpeg1 = isMpeg1(a.form), intra = isIntra(a.form);
        a.table = (!mpeg1 && intra && (rng() & 1)) ? Mpeg2Vlc::DctTableOne : Mpeg2Vlc::DctTableZero;
        a.luma = rng() & 1;
        a.scan = scanOf(rng() & 1 ? ownvc_Zigzag : ownvc_AltScanV);
        a.qp = mpeg1 ? 1 + static_cast<int>(rng() % 31) : 1 + static_cast<int>(rng() % 112);
        if (!(a.form == Form::Mpeg2 && rng() % 4 == 0)) {
            a.weights.resize(64);
            for (Zub16s& w : a.weights) w = static_cast<Zub16s>(1 + rng() % 255);
        }
        a.dcShift = static_cast<Zub32s>(rng() % 4);
        a.dcPred = static_cast<Zub16s>(rng() % 2048);
        const int dcDiff = static_cast<int>(rng() % 4095) - 2047;
        const auto coefs = mpeg2test::randomBlock(rng, intra, mpeg1 ? 255 : 2047, trial % 3 == 0);
        if (!intra && coefs.empty()) continue;
        const int pad = static_cast<int>(rng() % 32);
        size_t bits = 0;
        const auto words = writeBlock(a, dcDiff, coefs, pad, &bits);
        const Model m = model(a, dcDiff, coefs);
        const Result r = call(a, words, static_cast<Zub32u>(31 - pad));
        ASSERT_EQ(r.st, ZubStatusOk) << "trial " << trial;
        for (int k = 0; k < 64; ++k) ASSERT_EQ(r.block[k], m.block[k]) << "trial " << trial << " position " << k;
        ASSERT_EQ(r.last, m.last) << "trial " << trial;
        ASSERT_EQ(r.dcPred, m.dcPred) << "trial " << trial;
        ASSERT_EQ(r.bitsRead, bits) << "trial " << trial;
        ++lastClasses[m.last == 0 ? 0 : (m.last <= 9 ? 1 : 2)];
    }
    for (int n : lastClasses) EXPECT_GT(n, 100);
}

// "1s" then end of block: one coefficient of magnitude (3 W QP) / 32 at
// scan[0]; last index 1 for MPEG-2, 0 for MPEG-1 (3 W QP / 16 there).
TEST(Mpeg2Recon, SingleFirstCoefficientAndLastIndexOfOne) {
    for (const Form f : {Form::Mpeg2, Form::Mpeg1}) {
        Args a;
        a.form = f;
        a.scan = scanOf(ownvc_AltScanV);
        a.qp = 10;
        a.weights.assign(64, 20);
        const Result r = call(a, writeBlock(a, 0, {{0, -1}}, 0));
        ASSERT_EQ(r.st, ZubStatusOk);
        EXPECT_EQ(r.last, f == Form::Mpeg2 ? 1 : 0);
        EXPECT_EQ(r.block[0], f == Form::Mpeg2 ? -(3 * 20 * 10) / 32 : -(3 * 20 * 10) / 16);  // -18, -37 (odd)
        // MPEG-2: the sum -18 is even, so position 63 becomes 1.
        EXPECT_EQ(r.block[63], f == Form::Mpeg2 ? 1 : 0);
        EXPECT_EQ(r.bitsRead, 4u);
    }
}

// An intra block of DC only: the DC output alone decides the mismatch bit;
// the predictor moves by the differential (MPEG-1: 8 times it).
TEST(Mpeg2Recon, IntraDcOnly) {
    Args a;
    a.form = Form::Mpeg2Intra;
    a.scan = scanOf(ownvc_Zigzag);
    a.weights.assign(64, 16);
    a.dcPred = 128;
    a.dcShift = 1;
    Result r = call(a, writeBlock(a, -5, {}, 7), 24);
    ASSERT_EQ(r.st, ZubStatusOk);
    EXPECT_EQ(r.dcPred, 123);
    EXPECT_EQ(r.block[0], 246);
    EXPECT_EQ(r.block[63], 1);
    EXPECT_EQ(r.last, 0);
    a.dcShift = 0;
    r = call(a, writeBlock(a, -5, {}, 0));
    EXPECT_EQ(r.block[0], 123);
    EXPECT_EQ(r.block[63], 0);

    a.form = Form::Mpeg1Intra;
    a.dcPred = 1024;
    r = call(a, writeBlock(a, 3, {}, 0));
    EXPECT_EQ(r.dcPred, 1048);
    EXPECT_EQ(r.block[0], 1048);
    EXPECT_EQ(r.block[63], 0);
}

// MPEG-1 escapes: 0x00 then 0x80 is +128, 0x80 then 0x01 is -255; even
// products lose one in magnitude; results saturate at -2048 and 2047.
TEST(Mpeg2Recon, Mpeg1EscapesOddificationAndSaturation) {
    Args a;
    a.form = Form::Mpeg1;
    a.scan = scanOf(ownvc_Zigzag);
    a.qp = 1;
    a.weights.assign(64, 8);
    zubtools::BitWriter bw;
    bw.put(0x1, 6);  // escape, run 0: 0x00 0x80 -> +128
    bw.put(0, 6);
    bw.put(0x00, 8);
    bw.put(0x80, 8);
    bw.put(0x1, 6);  // run 0: 0x80 0x01 -> -255
    bw.put(0, 6);
    bw.put(0x80, 8);
    bw.put(0x01, 8);
    bw.put(0x1, 6);  // run 0: 0x81 -> -127
    bw.put(0, 6);
    bw.put(0x81, 8);
    bw.put(0x2, 2);
    const auto words = bw.words();
    Result r = call(a, words);
    ASSERT_EQ(r.st, ZubStatusOk);
    EXPECT_EQ(r.block[0], 127);   // 257 x 8 / 16 = 128, even: 127
    EXPECT_EQ(r.block[1], -255);  // -511 x 8 / 16 = -255
    EXPECT_EQ(r.block[8], -127);  // -255 x 8 / 16 = -127
    EXPECT_EQ(r.last, 2);
    a.qp = 31;
    a.weights.assign(64, 255);
    r = call(a, words);
    EXPECT_EQ(r.block[0], 2047);
    EXPECT_EQ(r.block[1], -2048);
    EXPECT_EQ(r.block[8], -2048);
}

// MPEG-2 results are kept to 16 bits without saturation: 2047 x 2 x 255 x
// 112 / 32 = 3653895 is stored as its low 16 bits.
TEST(Mpeg2Recon, Mpeg2KeepsLow16BitsWithoutSaturation) {
    Args a;
    a.form = Form::Mpeg2Intra;
    a.scan = scanOf(ownvc_Zigzag);
    a.qp = 112;
    a.weights.assign(64, 255);
    const Result r = call(a, writeBlock(a, 0, {{0, 2047}, {0, -2048}}, 0));
    ASSERT_EQ(r.st, ZubStatusOk);
    EXPECT_EQ(r.block[1], static_cast<Zub16s>(2047 * 2 * 255 * 112 / 32));
    EXPECT_EQ(r.block[8], static_cast<Zub16s>(-2048 * 2 * 255 * 112 / 32));
}

// A position past 63 stops the block: ZubStatusVlcError, the coefficients so
// far stored, the cursor after the offending code, the last index unwritten.
// An invalid code reads as run 241 and fails the same way.
TEST(Mpeg2Recon, RunPastTheBlockAndInvalidCodes) {
    for (const Form f : {Form::Mpeg1, Form::Mpeg1Intra, Form::Mpeg2, Form::Mpeg2Intra}) {
        SCOPED_TRACE(static_cast<int>(f));
        Args a;
        a.form = f;
        a.scan = scanOf(ownvc_Zigzag);
        a.weights.assign(64, 16);
        a.qp = 2;
        zubtools::BitWriter bw;
        if (isIntra(f)) mpeg2test::putDcDifferential(bw, true, 0);
        mpeg2test::putCoefficient(bw, a.table, {40, 3}, isMpeg1(f), !isIntra(f));
        mpeg2test::putCoefficient(bw, a.table, {30, 1}, isMpeg1(f), false);
        const size_t failAt = bw.bitCount();
        mpeg2test::putEndOfBlock(bw, a.table);
        Result r = call(a, bw.words());
        EXPECT_EQ(r.st, ZubStatusVlcError);
        EXPECT_EQ(r.last, -99);
        EXPECT_NE(r.block[ownvc_Zigzag[isIntra(f) ? 41 : 40]], 0);
        EXPECT_EQ(r.block[1], 0);
        EXPECT_EQ(r.bitsRead, failAt);

        // 0000 0000 0000 0 starts no code of table zero.
        zubtools::BitWriter bad;
        if (isIntra(f)) mpeg2test::putDcDifferential(bad, true, 0);
        bad.put(0, 12);
        const size_t badAt = bad.bitCount();
        bad.put(0xFFFFFFFFu, 32);
        r = call(a, bad.words());
        EXPECT_EQ(r.st, ZubStatusVlcError);
        EXPECT_EQ(r.last, -99);
        // The root's 8 bits and the 5 of the sub-table whose entry is the
        // filler, less the filler's one bit.
        EXPECT_EQ(r.bitsRead, badAt);
    }
}

// The level field of a table entry: bits 16..31 for MPEG-2 non-intra blocks,
// bits 16..23 as a signed byte for MPEG-1 (300 reads as 44).
TEST(Mpeg2Recon, LevelFieldWidth) {
    // 00 -> (run 0, level 300), 01 -> end of block.
    const std::vector<Zub32s> src = {0, 1, 2, 0, 2, 0, 0, 300, 1, 254, 0, -1};
    Zub32s* table = nullptr;
    ASSERT_EQ(zubiHuffmanRunLevelTableInitAlloc_32s(src.data(), &table), ZubStatusOk);
    const uint32_t words[2] = {0x04000000u, 0};  // 00 00 01
    const auto scan = scanOf(ownvc_Zigzag);
    const std::vector<Zub16s> flat(64, 16);
    Zub16s block[64];
    Zub32s last = 0;
    const Zub32u* w = words;
    Zub32u off = 31;
    ASSERT_EQ(zubiReconstructDCTBlock_MPEG2_32s(&w, &off, table, table, scan.data(), 1, nullptr, block, &last),
              ZubStatusOk);
    EXPECT_EQ(block[0], 300);  // (601 x 16) / 32
    EXPECT_EQ(block[1], 300);
    EXPECT_EQ(block[63], 1);
    EXPECT_EQ(last, 1);
    EXPECT_EQ(off, 25u);
    w = words;
    off = 31;
    ASSERT_EQ(zubiReconstructDCTBlock_MPEG1_32s(&w, &off, table, table, scan.data(), 1, flat.data(), block, &last),
              ZubStatusOk);
    EXPECT_EQ(block[0], 89);  // (89 x 16) / 16
    EXPECT_EQ(block[1], 89);
    EXPECT_EQ(block[63], 0);
    zubiHuffmanTableFree_32s(table);
}

// Null pointers, each in turn: -8 with nothing written and the cursor kept.
TEST(Mpeg2Recon, NullPointers) {
    const Zub32s* t = zubtools::mpeg2VlcTable(Mpeg2Vlc::DctTableZero);
    const Zub32s* dc = zubtools::mpeg2VlcTable(Mpeg2Vlc::DcSizeLuma);
    const auto scan = scanOf(ownvc_Zigzag);
    const std::vector<Zub16s> wt(64, 16);
    const uint32_t words[2] = {0x80000000u, 0};
    const Zub32u* w = words;
    const Zub32u* none = nullptr;
    Zub32u off = 31;
    Zub16s block[64] = {5};
    Zub16s pred = 7;
    Zub32s last = -3;
    const Zub32s* s = scan.data();
    const Zub16s* m = wt.data();
    // MPEG-1 non-intra: nine pointers and the current word.
    EXPECT_EQ(zubiReconstructDCTBlock_MPEG1_32s(nullptr, &off, t, t, s, 1, m, block, &last), ZubStatusNullPointer);
    EXPECT_EQ(zubiReconstructDCTBlock_MPEG1_32s(&w, nullptr, t, t, s, 1, m, block, &last), ZubStatusNullPointer);
    EXPECT_EQ(zubiReconstructDCTBlock_MPEG1_32s(&w, &off, nullptr, t, s, 1, m, block, &last), ZubStatusNullPointer);
    EXPECT_EQ(zubiReconstructDCTBlock_MPEG1_32s(&w, &off, t, nullptr, s, 1, m, block, &last), ZubStatusNullPointer);
    EXPECT_EQ(zubiReconstructDCTBlock_MPEG1_32s(&w, &off, t, t, nullptr, 1, m, block, &last), ZubStatusNullPointer);
    EXPECT_EQ(zubiReconstructDCTBlock_MPEG1_32s(&w, &off, t, t, s, 1, nullptr, block, &last), ZubStatusNullPointer);
    EXPECT_EQ(zubiReconstructDCTBlock_MPEG1_32s(&w, &off, t, t, s, 1, m, nullptr, &last), ZubStatusNullPointer);
    EXPECT_EQ(zubiReconstructDCTBlock_MPEG1_32s(&w, &off, t, t, s, 1, m, block, nullptr), ZubStatusNullPointer);
    EXPECT_EQ(zubiReconstructDCTBlock_MPEG1_32s(&none, &off, t, t, s, 1, m, block, &last), ZubStatusNullPointer);
    // MPEG-2 non-intra: the weights may be null.
    EXPECT_EQ(zubiReconstructDCTBlock_MPEG2_32s(&w, &off, nullptr, t, s, 1, m, block, &last), ZubStatusNullPointer);
    EXPECT_EQ(zubiReconstructDCTBlock_MPEG2_32s(&w, &off, t, t, s, 1, m, block, nullptr), ZubStatusNullPointer);
    EXPECT_EQ(zubiReconstructDCTBlock_MPEG2_32s(&none, &off, t, t, s, 1, m, block, &last), ZubStatusNullPointer);
    // Intra: the predictor and the weights are required too.
    EXPECT_EQ(zubiReconstructDCTBlockIntra_MPEG1_32s(&w, &off, dc, t, s, 1, m, nullptr, block, &last),
              ZubStatusNullPointer);
    EXPECT_EQ(zubiReconstructDCTBlockIntra_MPEG1_32s(&w, &off, nullptr, t, s, 1, m, &pred, block, &last),
              ZubStatusNullPointer);
    EXPECT_EQ(zubiReconstructDCTBlockIntra_MPEG2_32s(&w, &off, dc, t, s, 1, nullptr, &pred, 0, block, &last),
              ZubStatusNullPointer);
    EXPECT_EQ(zubiReconstructDCTBlockIntra_MPEG2_32s(&w, &off, dc, t, s, 1, m, nullptr, 0, block, &last),
              ZubStatusNullPointer);
    EXPECT_EQ(zubiReconstructDCTBlockIntra_MPEG2_32s(&w, &off, dc, t, s, 1, m, &pred, 0, nullptr, &last),
              ZubStatusNullPointer);
    EXPECT_EQ(zubiReconstructDCTBlockIntra_MPEG2_32s(&none, &off, dc, t, s, 1, m, &pred, 0, block, &last),
              ZubStatusNullPointer);
    EXPECT_TRUE(w == words && off == 31 && block[0] == 5 && block[1] == 0 && pred == 7 && last == -3);
}

}  // namespace
