// Bit cursors, the code-table walk and the Exp-Golomb reader.
#include <gtest/gtest.h>

#include <random>
#include <vector>

#include "../src/common/bitstream.h"
#include "zubvc.h"
#include "zubvc_tools/bitwriter.h"

using zubtools::BitWriter;

namespace {

// Reference: bit i of a big-endian byte stream.
uint32_t refBits(const std::vector<uint8_t>& b, size_t pos, int n) {
    uint32_t v = 0;
    for (int i = 0; i < n; ++i, ++pos) v = (v << 1) | ((b[pos / 8] >> (7 - pos % 8)) & 1u);
    return v;
}

TEST(WordCursor, ReadsOfEveryLengthAtEveryOffset) {
    std::mt19937 rng(1);
    std::vector<uint8_t> bytes(64);
    for (auto& b : bytes) b = static_cast<uint8_t>(rng());
    const auto words = zubtools::bytesToWords(bytes.data(), bytes.size());
    for (int start = 0; start < 64; ++start) {
        for (int n = 1; n <= 32; ++n) {
            zub::WordCursor c(words.data() + start / 32, 31 - start % 32);
            EXPECT_EQ(c.peek(n), refBits(bytes, start, n)) << start << " " << n;
            EXPECT_EQ(c.read(n), refBits(bytes, start, n)) << start << " " << n;
            const auto pos = zubtools::wordPosAfter(start + n);
            EXPECT_EQ(c.w, words.data() + pos.word);
            EXPECT_EQ(c.off, static_cast<int32_t>(pos.offset));
            // Giving the bits back restores the starting cursor, across words too.
            c.giveBack(n);
            EXPECT_EQ(c.w, words.data() + start / 32);
            EXPECT_EQ(c.off, 31 - start % 32);
        }
    }
}

TEST(WordCursor, ReadEndingAtBitZeroMovesToNextWord) {
    const uint32_t w[3] = {0x00000003u, 0x80000000u, 0};
    zub::WordCursor c(w, 1);
    EXPECT_EQ(c.read(2), 3u);
    EXPECT_EQ(c.w, w + 1);
    EXPECT_EQ(c.off, 31);
    EXPECT_EQ(c.read1(), 1u);
    EXPECT_EQ(c.off, 30);
}

// A two-level table: 2 bits at the top, prefix 00 links to a 2-bit sub-table.
// Codes: 1 -> 10, 01 -> 20, 0001 -> 30, 0000 and 0010/0011 invalid.
const int32_t kTable[] = {
    2,
    (5 << 8) | 0x80,                 // 00: link to index 5
    (20 << 8) | 0,                   // 01
    (10 << 8) | 1, (10 << 8) | 1,    // 1x: give one bit back
    2,                               // index 5: sub-table, 2 bits
    static_cast<int32_t>(zub::kInvalidCode << 8), (30 << 8) | 0,
    static_cast<int32_t>(zub::kInvalidCode << 8), static_cast<int32_t>(zub::kInvalidCode << 8),
};

TEST(CodeTable, WalkGivesBackAndRestoresOnInvalid) {
    BitWriter bw;
    bw.put(0b1, 1);
    bw.put(0b01, 2);
    bw.put(0b0001, 4);
    bw.put(0b0000, 4);
    const auto words = bw.words();
    zub::WordCursor c(words.data(), 31);
    uint32_t v = 0;
    ASSERT_TRUE(zub::walkCodeTable(c, kTable, v));
    EXPECT_EQ(v, 10u);
    EXPECT_EQ(c.off, 30);
    ASSERT_TRUE(zub::walkCodeTable(c, kTable, v));
    EXPECT_EQ(v, 20u);
    ASSERT_TRUE(zub::walkCodeTable(c, kTable, v));
    EXPECT_EQ(v, 30u);
    EXPECT_EQ(c.off, 24);
    EXPECT_FALSE(zub::walkCodeTable(c, kTable, v));
    EXPECT_EQ(c.off, 24);
    EXPECT_EQ(c.w, words.data());
}

TEST(ByteCursor, ReadsAndPeek8) {
    const uint8_t b[] = {0xA5, 0x3C, 0xFF, 0x01, 0x80, 0, 0, 0};
    std::vector<uint8_t> v(b, b + 8);
    for (uint32_t off = 0; off < 8; ++off) {
        zub::ByteCursor c(b, off);
        EXPECT_EQ(c.peek8(), refBits(v, off, 8));
        EXPECT_EQ(c.read(11), refBits(v, off, 11));
        EXPECT_EQ(c.p, b + (off + 11) / 8);
        EXPECT_EQ(c.off, (off + 11) % 8);
        EXPECT_EQ(c.read(13), refBits(v, off + 11, 13));
    }
}

TEST(ByteWriter, WritesStartingMidByte) {
    // 10 bits at offset 7: the cursor ends two bytes on with offset 1; the
    // first byte keeps its seven used bits, the third has its low seven bits 0.
    uint8_t buf[4] = {0xFF, 0xFF, 0xFF, 0xFF};
    zub::ByteWriter w(buf, 7);
    w.put(0x2AA, 10);  // 10 1010 1010
    EXPECT_EQ(w.p, buf + 2);
    EXPECT_EQ(w.off, 1u);
    EXPECT_EQ(buf[0], 0xFF);  // 1111111 + first bit 1
    EXPECT_EQ(buf[1], 0x55);  // 0101 0101
    EXPECT_EQ(buf[2], 0x00);  // last bit 0, rest cleared
    EXPECT_EQ(buf[3], 0xFF);  // never reached

    // A sequence of writes of random lengths equals the reference bit string.
    std::mt19937 rng(3);
    std::vector<uint8_t> out(256, 0xCC);
    std::vector<uint8_t> ref(256, 0);
    size_t pos = 5;
    out[0] = 0xF8;  // five used bits
    ref[0] = 0xF8;
    zub::ByteWriter bw(out.data(), 5);
    for (int i = 0; i < 60; ++i) {
        int n = static_cast<int>(rng() % 25);
        uint32_t v = rng() & zub::bitMask(n);
        bw.put(v, n);
        for (int k = n - 1; k >= 0; --k, ++pos)
            if ((v >> k) & 1u) ref[pos / 8] |= static_cast<uint8_t>(0x80u >> (pos % 8));
    }
    EXPECT_EQ(static_cast<size_t>(bw.p - out.data()) * 8 + bw.off, pos);
    for (size_t i = 0; i <= pos / 8; ++i) EXPECT_EQ(out[i], ref[i]) << i;
}

struct EgCase {
    uint32_t code;
    size_t start;  // bit position of the code in the stream
};

TEST(ExpGolomb, EveryPrefixLengthAtEveryWordPosition) {
    // Codes with prefixes of 0..31 zeros (suffix up to 31 bits), placed after
    // padding of every length so that prefixes and suffixes straddle words.
    std::mt19937 rng(5);
    BitWriter bw;
    std::vector<EgCase> cases;
    for (int pad = 0; pad < 32; ++pad) {
        for (int lz = 0; lz <= 31; ++lz) {
            bw.put(rng() & zub::bitMask(pad % 7), pad % 7);  // filler read as a fixed field
            uint64_t lo = (uint64_t{1} << lz) - 1, span = uint64_t{1} << lz;
            uint32_t code = static_cast<uint32_t>(lo + (rng() % span));
            if (lz == 31 && pad == 0) code = 0xFFFFFFFEu;  // the largest 63-bit code
            cases.push_back({code, bw.bitCount()});
            bw.ue(code);
        }
    }
    const auto words = bw.words();
    const Zub32u* cur = words.data();
    Zub32u off = 31;
    size_t i = 0;
    for (int pad = 0; pad < 32; ++pad) {
        for (int lz = 0; lz <= 31; ++lz, ++i) {
            const auto at = zubtools::wordPosAfter(cases[i].start - pad % 7);
            ASSERT_EQ(cur, words.data() + at.word);
            ASSERT_EQ(off, at.offset);
            zub::WordCursor skipper(cur, off);
            skipper.skip(pad % 7);
            skipper.store(&cur, &off);
            Zub16s v = 0;
            ASSERT_EQ(zubiDecodeExpGolombOne_H264_1u16s(&cur, &off, &v, 0), ZubStatusOk);
            EXPECT_EQ(static_cast<uint16_t>(v), static_cast<uint16_t>(cases[i].code)) << pad << " " << lz;
            const size_t end = cases[i].start + 2 * lz + 1;
            const auto pos = zubtools::wordPosAfter(end);
            EXPECT_EQ(cur, words.data() + pos.word) << pad << " " << lz;
            EXPECT_EQ(off, pos.offset) << pad << " " << lz;
        }
    }
}

TEST(ExpGolomb, SignedMappingAndShortCodes) {
    // 1 -> 0; 010 -> 1 / +1; 011 -> 2 / -1; 00100 -> 3 / +2; 00101 -> 4 / -2.
    BitWriter bw;
    for (int rep = 0; rep < 2; ++rep) {
        bw.put(0b1, 1);
        bw.put(0b010, 3);
        bw.put(0b011, 3);
        bw.put(0b00100, 5);
        bw.put(0b00101, 5);
    }
    bw.se(-32768);
    bw.se(32767);
    bw.ue(65535);
    bw.ue(65536);  // wider than 16 bits: truncated to 0
    const auto words = bw.words();
    const Zub32u* cur = words.data();
    Zub32u off = 31;
    Zub16s v;
    const int expectUnsigned[] = {0, 1, 2, 3, 4};
    const int expectSigned[] = {0, 1, -1, 2, -2};
    for (int k : expectUnsigned) {
        ASSERT_EQ(zubiDecodeExpGolombOne_H264_1u16s(&cur, &off, &v, 0), ZubStatusOk);
        EXPECT_EQ(v, k);
    }
    EXPECT_EQ(off, 31u - 17u);
    for (int k : expectSigned) {
        ASSERT_EQ(zubiDecodeExpGolombOne_H264_1u16s(&cur, &off, &v, 1), ZubStatusOk);
        EXPECT_EQ(v, k);
    }
    ASSERT_EQ(zubiDecodeExpGolombOne_H264_1u16s(&cur, &off, &v, 1), ZubStatusOk);
    EXPECT_EQ(v, -32768);
    ASSERT_EQ(zubiDecodeExpGolombOne_H264_1u16s(&cur, &off, &v, 7), ZubStatusOk);
    EXPECT_EQ(v, 32767);
    ASSERT_EQ(zubiDecodeExpGolombOne_H264_1u16s(&cur, &off, &v, 0), ZubStatusOk);
    EXPECT_EQ(static_cast<uint16_t>(v), 65535);
    ASSERT_EQ(zubiDecodeExpGolombOne_H264_1u16s(&cur, &off, &v, 0), ZubStatusOk);
    EXPECT_EQ(v, 0);
}

TEST(ExpGolomb, OffsetZeroAdvancesWord) {
    const uint32_t w[3] = {0x00000001u, 0, 0};  // bit 0 of word 0 is 1
    const Zub32u* cur = w;
    Zub32u off = 0;
    Zub16s v = 5;
    ASSERT_EQ(zubiDecodeExpGolombOne_H264_1u16s(&cur, &off, &v, 0), ZubStatusOk);
    EXPECT_EQ(v, 0);
    EXPECT_EQ(cur, w + 1);
    EXPECT_EQ(off, 31u);
}

TEST(ExpGolomb, ChecksInOrderAndLeaveEverythingUntouched) {
    const uint32_t w[2] = {0x80000000u, 0};
    const Zub32u* cur = w;
    const Zub32u* nul = nullptr;
    Zub32u off = 31;
    Zub16s v = 77;
    EXPECT_EQ(zubiDecodeExpGolombOne_H264_1u16s(nullptr, &off, &v, 0), ZubStatusNullPointer);
    EXPECT_EQ(zubiDecodeExpGolombOne_H264_1u16s(&cur, nullptr, &v, 0), ZubStatusNullPointer);
    EXPECT_EQ(zubiDecodeExpGolombOne_H264_1u16s(&cur, &off, nullptr, 0), ZubStatusNullPointer);
    off = 40;  // a null current word is reported before the bad offset
    EXPECT_EQ(zubiDecodeExpGolombOne_H264_1u16s(&nul, &off, &v, 0), ZubStatusNullPointer);
    for (Zub32u bad : {32u, 0xFFFFFFFFu}) {
        off = bad;
        EXPECT_EQ(zubiDecodeExpGolombOne_H264_1u16s(&cur, &off, &v, 0), ZubStatusBadArgument);
        EXPECT_EQ(off, bad);
        EXPECT_EQ(cur, w);
    }
    EXPECT_EQ(v, 77);
}

}  // namespace
