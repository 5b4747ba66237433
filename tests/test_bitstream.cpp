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

// Every read length at every bit offset, within a word and across words:
// peek, read and read1 take the right bits and leave the cursor after them;
// giving the bits back restores the starting cursor.
TEST(WordCursor, ReadsOfEveryLengthAtEveryOffset) {
    std::mt19937 rng(1);
    std::vector<uint8_t> bytes(64);
    for (auto& b : bytes) b = static_cast<uint8_t>(rng());
    const auto words = zubtools::bytesToWords(bytes.data(), bytes.size());
    auto at = [&](const zub::WordCursor& c, size_t bitPos) {
        const auto pos = zubtools::wordPosAfter(bitPos);
        return c.w == words.data() + pos.word && c.off == static_cast<int32_t>(pos.offset);
    };
    for (int start = 0; start < 64; ++start) {
        zub::WordCursor c(words.data() + start / 32, 31 - start % 32);
        EXPECT_EQ(c.read1(), refBits(bytes, start, 1)) << start;
        EXPECT_TRUE(at(c, start + 1)) << start;
        for (int n = 1; n <= 32; ++n) {
            c = zub::WordCursor(words.data() + start / 32, 31 - start % 32);
            EXPECT_EQ(c.peek(n), refBits(bytes, start, n)) << start << " " << n;
            EXPECT_EQ(c.read(n), refBits(bytes, start, n)) << start << " " << n;
            EXPECT_TRUE(at(c, start + n)) << start << " " << n;
            c.giveBack(n);
            EXPECT_TRUE(at(c, start)) << start << " " << n;
        }
    }
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
    bw.put(0b1'01'0001'0000, 11);
    const auto words = bw.words();
    zub::WordCursor c(words.data(), 31);
    uint32_t v = 0;
    for (auto [want, off] : {std::pair{10u, 30}, {20u, 28}, {30u, 24}}) {
        ASSERT_TRUE(zub::walkCodeTable(c, kTable, v));
        EXPECT_EQ(v, want);
        EXPECT_EQ(c.off, off);
    }
    EXPECT_FALSE(zub::walkCodeTable(c, kTable, v));
    EXPECT_EQ(c.off, 24);
    EXPECT_EQ(c.w, words.data());
}

TEST(ByteCursor, ReadsAndPeek8) {
    const std::vector<uint8_t> b = {0xA5, 0x3C, 0xFF, 0x01, 0x80, 0, 0, 0};
    for (uint32_t off = 0; off < 8; ++off) {
        zub::ByteCursor c(b.data(), off);
        EXPECT_EQ(c.peek8(), refBits(b, off, 8));
        EXPECT_EQ(c.read(11), refBits(b, off, 11));
        EXPECT_EQ(c.p, b.data() + (off + 11) / 8);
        EXPECT_EQ(c.off, (off + 11) % 8);
        EXPECT_EQ(c.read(13), refBits(b, off + 11, 13));
    }
}

// Writes of random lengths starting at every offset of a byte of ones: the
// bits before the offset are kept, the written ones follow, the rest of the
// last byte touched is cleared, and no byte past it is touched.
TEST(ByteWriter, WritesStartingMidByte) {
    std::mt19937 rng(3);
    for (uint32_t start = 0; start < 8; ++start) {
        std::vector<uint8_t> out(64, 0xFF), ref(64, 0);
        ref[0] = static_cast<uint8_t>(~(0xFFu >> start));
        size_t pos = start;
        zub::ByteWriter bw(out.data(), start);
        for (int i = 0; i < 20; ++i) {
            const int n = static_cast<int>(rng() % 25);
            const uint32_t v = rng() & zub::bitMask(n);
            bw.put(v, n);
            for (int k = n - 1; k >= 0; --k, ++pos)
                if ((v >> k) & 1u) ref[pos / 8] |= static_cast<uint8_t>(0x80u >> (pos % 8));
            ASSERT_EQ(static_cast<size_t>(bw.p - out.data()) * 8 + bw.off, pos);
            ASSERT_EQ(out[(pos + 7) / 8], 0xFF) << "written past the cursor's byte";
            for (size_t j = 0; j < (pos + 7) / 8; ++j) ASSERT_EQ(out[j], ref[j]) << start << " " << i << " " << j;
        }
    }
}

// ue(v) of every prefix length 0..31 (suffixes up to 31 bits) starting at every
// bit offset, so that codes straddle one or two word boundaries; the bits after
// the code are random.  The value is kept to 16 bits.
TEST(ExpGolomb, EveryPrefixLengthAtEveryOffset) {
    std::mt19937 rng(5);
    for (int lz = 0; lz <= 31; ++lz)
        for (int start = 0; start < 32; ++start) {
            uint32_t code = static_cast<uint32_t>((uint64_t{1} << lz) - 1 + rng() % (uint64_t{1} << lz));
            if (lz == 31 && start == 0) code = 0xFFFFFFFEu;  // the largest 63-bit code
            BitWriter bw;
            bw.put(rng(), start);
            bw.ue(code);
            bw.put(rng(), 32);
            const auto words = bw.words();
            const Zub32u* cur = words.data();
            Zub32u off = 31 - start;
            Zub16s v = 0;
            ASSERT_EQ(zubiDecodeExpGolombOne_H264_1u16s(&cur, &off, &v, 0), ZubStatusOk);
            EXPECT_EQ(static_cast<uint16_t>(v), static_cast<uint16_t>(code)) << lz << " " << start;
            const auto end = zubtools::wordPosAfter(start + 2 * lz + 1);
            EXPECT_EQ(cur, words.data() + end.word) << lz << " " << start;
            EXPECT_EQ(off, end.offset) << lz << " " << start;
        }
}

// se(v) with any non-zero flag: code k maps to (k + 1) / 2 for odd k, -k / 2
// for even k (H.264 clause 9.1.1).
TEST(ExpGolomb, SignedMapping) {
    const int values[] = {0, 1, -1, 2, -2, 3, -3, 1000, -1000, 32767, -32768};
    BitWriter bw;
    for (int v : values) bw.se(v);
    const auto words = bw.words();
    const Zub32u* cur = words.data();
    Zub32u off = 31;
    for (int i = 0; i < 11; ++i) {
        Zub16s v = 0;
        ASSERT_EQ(zubiDecodeExpGolombOne_H264_1u16s(&cur, &off, &v, static_cast<Zub8u>(1 + i % 2 * 6)), ZubStatusOk);
        EXPECT_EQ(v, values[i]);
    }
}

// Null pointers first (a null current word too, before the bad offset), then
// offsets beyond 31: nothing is written on an error.
TEST(ExpGolomb, ChecksInOrderAndLeaveEverythingUntouched) {
    const uint32_t w[2] = {0x80000000u, 0};
    const Zub32u* cur = w;
    const Zub32u* nul = nullptr;
    Zub32u off = 31;
    Zub16s v = 77;
    EXPECT_EQ(zubiDecodeExpGolombOne_H264_1u16s(nullptr, &off, &v, 0), ZubStatusNullPointer);
    EXPECT_EQ(zubiDecodeExpGolombOne_H264_1u16s(&cur, nullptr, &v, 0), ZubStatusNullPointer);
    EXPECT_EQ(zubiDecodeExpGolombOne_H264_1u16s(&cur, &off, nullptr, 0), ZubStatusNullPointer);
    off = 40;
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
