// H.264 CAVLC residual decoding and the inverse DC transforms.
//
// The CAVLC decoders are checked by round trips through the helper library's
// writer (the encoder side of clause 9.2, written from the standard's level
// code formulation), by known streams, and by the documented state after each
// kind of error.  The DC transforms are checked against plain matrix products
// of clause 8.5.10 / 8.5.11 for every QP.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <random>
#include <vector>

#include "zubvc.h"
#include "zubvc_tools/bitwriter.h"
#include "zubvc_tools/h264cavlc.h"
#include "zubvc_tools/h264cavlcwriter.h"

using zubtools::BitWriter;
using zubtools::h264CavlcTables;

namespace {

// Table 8-13: 4x4 zig-zag and field scans as raster indexes.
const Zub32u kZigzag[16] = {0, 1, 4, 8, 5, 2, 3, 6, 9, 12, 13, 10, 7, 11, 14, 15};
const Zub32u kFieldScan[16] = {0, 4, 1, 8, 12, 5, 9, 13, 2, 6, 10, 14, 3, 7, 11, 15};
// Clause 8.5.11.1: the 4:2:2 chroma DC matrix c = [c0 c2; c1 c5; c3 c6; c4 c7].
const int kChroma422Matrix[4][2] = {{0, 2}, {1, 5}, {3, 6}, {4, 7}};

int chroma422Raster(int k) {
    for (int r = 0; r < 4; ++r)
        for (int c = 0; c < 2; ++c)
            if (kChroma422Matrix[r][c] == k) return 2 * r + c;
    return -1;
}

enum class Kind { Block4x4, Dc2x2, Dc2x4 };

// One decoder call of the given kind and coefficient type.
template <class T>
ZubStatus decode(Kind kind, const Zub32u** cur, Zub32u* off, Zub16s* count, T** coeffs, Zub32u nC, int maxCount,
                 const Zub32u* scan) {
    const auto& t = h264CavlcTables();
    if constexpr (sizeof(T) == 2) {
        if (kind == Kind::Block4x4)
            return zubiDecodeCAVLCCoeffs_H264_1u16s(cur, off, count, coeffs, nC, static_cast<Zub16s>(maxCount),
                                                    t.coeffToken, t.totalZeros, t.runBefore, scan);
        if (kind == Kind::Dc2x2)
            return zubiDecodeCAVLCChromaDcCoeffs_H264_1u16s(cur, off, count, coeffs, t.coeffTokenChromaDc,
                                                            t.totalZerosChromaDc, t.runBefore);
        return zubiDecodeCAVLCChroma422DcCoeffs_H264_1u16s(cur, off, count, coeffs, t.coeffTokenChromaDc422,
                                                           t.totalZerosChromaDc422, t.runBefore);
    } else {
        if (kind == Kind::Block4x4)
            return zubiDecodeCAVLCCoeffs_H264_1u32s(cur, off, count, coeffs, nC, static_cast<Zub16s>(maxCount),
                                                    t.coeffToken, t.totalZeros, t.runBefore, scan);
        if (kind == Kind::Dc2x2)
            return zubiDecodeCAVLCChromaDcCoeffs_H264_1u32s(cur, off, count, coeffs, t.coeffTokenChromaDc,
                                                            t.totalZerosChromaDc, t.runBefore);
        return zubiDecodeCAVLCChroma422DcCoeffs_H264_1u32s(cur, off, count, coeffs, t.coeffTokenChromaDc422,
                                                           t.totalZerosChromaDc422, t.runBefore);
    }
}

// Random levels: mostly small with a tail of large ones reaching the escapes.
int32_t randomLevel(std::mt19937& rng, int32_t maxMag) {
    const unsigned r = rng() % 100;
    int32_t mag;
    if (r < 45)
        mag = 1;
    else if (r < 70)
        mag = 2 + static_cast<int32_t>(rng() % 3);
    else if (r < 85)
        mag = 5 + static_cast<int32_t>(rng() % 60);
    else if (r < 95)
        mag = 65 + static_cast<int32_t>(rng() % 4000);
    else
        mag = 4065 + static_cast<int32_t>(rng() % static_cast<unsigned>(maxMag - 4064));
    return (rng() & 1) ? -mag : mag;
}

std::vector<int32_t> randomBlock(std::mt19937& rng, int n, int32_t maxMag) {
    std::vector<int32_t> v(n, 0);
    const unsigned shape = rng() % 4;
    int k = shape == 0 ? 0 : shape == 1 ? static_cast<int>(rng() % 4) : static_cast<int>(rng() % (n + 1));
    if (shape == 3 && rng() % 2) k = n;  // full blocks: no total_zeros
    std::vector<int> pos(n);
    for (int i = 0; i < n; ++i) pos[i] = i;
    std::shuffle(pos.begin(), pos.end(), rng);
    for (int i = 0; i < k; ++i) v[pos[i]] = randomLevel(rng, maxMag);
    return v;
}

int blockSize(Kind kind) { return kind == Kind::Block4x4 ? 16 : kind == Kind::Dc2x2 ? 4 : 8; }

// Raster block that the decoder must produce for levels in scan order.
std::vector<int64_t> expectedRaster(Kind kind, const std::vector<int32_t>& levels, const Zub32u* scan) {
    std::vector<int64_t> out(blockSize(kind), 0);
    const int skip = (kind == Kind::Block4x4 && levels.size() == 15) ? 1 : 0;
    for (size_t i = 0; i < levels.size(); ++i) {
        const int r = kind == Kind::Block4x4 ? static_cast<int>(scan[i + skip])
                      : kind == Kind::Dc2x2  ? static_cast<int>(i)
                                             : chroma422Raster(static_cast<int>(i));
        out[r] = levels[i];
    }
    return out;
}

// Writes `blocks` into one stream, then decodes them back one after the
// other with one cursor into one packed buffer.
template <class T>
void roundTrip(Kind kind, int nC, int maxCount, const Zub32u* scan, const std::vector<std::vector<int32_t>>& blocks,
               int startPad) {
    BitWriter bw;
    bw.put(0x5A5A5A5Au, startPad);  // start anywhere within a word
    std::vector<size_t> ends;
    std::vector<int> counts;
    for (const auto& b : blocks) {
        counts.push_back(zubtools::writeCavlcBlock(bw, b.data(), maxCount, nC));
        ends.push_back(bw.bitCount());
    }
    // Exactly one readable word after the data (sanitizer builds catch reads
    // beyond it).
    const std::vector<uint32_t> words = bw.words(1);
    const int n = blockSize(kind);
    std::vector<T> buf(n * blocks.size() + 1, static_cast<T>(0x7777));
    const Zub32u* cur = words.data();
    Zub32u off = 31 - startPad;
    T* coeffs = buf.data();
    for (size_t b = 0; b < blocks.size(); ++b) {
        SCOPED_TRACE(testing::Message() << "block " << b << " nC " << nC << " max " << maxCount);
        T* const before = coeffs;
        Zub16s count = -1;
        ASSERT_EQ(decode<T>(kind, &cur, &off, &count, &coeffs, static_cast<Zub32u>(nC), maxCount, scan), ZubStatusOk);
        ASSERT_EQ(count, counts[b]);
        const auto at = zubtools::wordPosAfter(ends[b]);
        ASSERT_EQ(cur, words.data() + at.word);
        ASSERT_EQ(off, at.offset);
        if (counts[b] == 0) {
            ASSERT_EQ(coeffs, before);
            continue;
        }
        ASSERT_EQ(coeffs, before + n);
        const auto want = expectedRaster(kind, blocks[b], scan);
        for (int i = 0; i < n; ++i) ASSERT_EQ(before[i], static_cast<T>(want[i])) << "coefficient " << i;
    }
    EXPECT_EQ(buf.back(), static_cast<T>(0x7777));  // nothing written past the packed blocks
}

// ---------------------------------------------------------------------------

TEST(CavlcDecode, KnownStream) {
    // Block 0 3 -1 0 / 0 -1 1 0 / 1 0 0 0 / 0 0 0 0, nC 0: coeff_token 0000100
    // (5, 3), signs 011, levels 1 and 0010, total_zeros 111, runs 10 1 1 01.
    BitWriter bw;
    bw.put(0b000010001110010111101101u, 24);
    const auto words = bw.words();
    const Zub16s want[16] = {0, 3, -1, 0, 0, -1, 1, 0, 1, 0, 0, 0, 0, 0, 0, 0};
    Zub16s block[16];
    Zub32s block32[16];
    const auto& t = h264CavlcTables();
    for (int wide = 0; wide < 2; ++wide) {
        const Zub32u* cur = words.data();
        Zub32u off = 31;
        Zub16s count = 0;
        Zub16s* p16 = block;
        Zub32s* p32 = block32;
        const ZubStatus st =
            wide ? zubiDecodeCAVLCCoeffs_H264_1u32s(&cur, &off, &count, &p32, 1, 16, t.coeffToken, t.totalZeros,
                                                    t.runBefore, kZigzag)
                 : zubiDecodeCAVLCCoeffs_H264_1u16s(&cur, &off, &count, &p16, 1, 16, t.coeffToken, t.totalZeros,
                                                    t.runBefore, kZigzag);
        ASSERT_EQ(st, ZubStatusOk);
        EXPECT_EQ(count, 5);
        EXPECT_EQ(off, 31u - 24u);
        for (int i = 0; i < 16; ++i) EXPECT_EQ(wide ? block32[i] : block[i], want[i]) << i;
        EXPECT_EQ(wide ? static_cast<void*>(p32) : static_cast<void*>(p16),
                  wide ? static_cast<void*>(block32 + 16) : static_cast<void*>(block + 16));
    }
}

TEST(CavlcDecode, RoundTrip4x4EveryTableClass) {
    std::mt19937 rng(11);
    const int ncs[] = {0, 1, 2, 3, 4, 7, 8, 16};
    for (int maxCount : {16, 15}) {
        for (int nC : ncs) {
            std::vector<std::vector<int32_t>> blocks;
            for (int i = 0; i < 300; ++i) blocks.push_back(randomBlock(rng, maxCount, 32767));
            const Zub32u* scan = (nC & 1) ? kFieldScan : kZigzag;
            roundTrip<Zub16s>(Kind::Block4x4, nC, maxCount, scan, blocks, nC % 32);
            blocks.back()[0] = 32768;  // representable in 32 bits only
            roundTrip<Zub32s>(Kind::Block4x4, nC, maxCount, scan, blocks, (nC * 7 + 3) % 32);
        }
    }
}

TEST(CavlcDecode, RoundTripChromaDc) {
    std::mt19937 rng(12);
    for (Kind kind : {Kind::Dc2x2, Kind::Dc2x4}) {
        const int n = blockSize(kind), nC = kind == Kind::Dc2x2 ? -1 : -2;
        std::vector<std::vector<int32_t>> blocks;
        for (int i = 0; i < 1500; ++i) blocks.push_back(randomBlock(rng, n, 32767));
        // Every single +-1 (the 2x2 fast path) and the empty block.
        for (int p = 0; p < n; ++p)
            for (int s : {1, -1}) {
                blocks.emplace_back(n, 0);
                blocks.back()[p] = s;
            }
        blocks.emplace_back(n, 0);
        std::shuffle(blocks.begin(), blocks.end(), rng);
        for (int pad : {0, 13, 30}) {
            roundTrip<Zub16s>(kind, nC, n, nullptr, blocks, pad);
            roundTrip<Zub32s>(kind, nC, n, nullptr, blocks, pad + 1);
        }
    }
}

// Each level magnitude around the prefix, suffix and escape boundaries at
// each suffixLength 0..6.  The preceding levels 1, 4, 7, 13, 25, 49 (after
// three trailing ones) raise suffixLength by one each.
TEST(CavlcDecode, LevelsAtEverySuffixLength) {
    std::vector<int32_t> mags;
    for (int m = 1; m <= 80; ++m) mags.push_back(m);
    for (int sl = 0; sl <= 6; ++sl) {
        const int base = sl == 0 ? 15 : (15 << sl) / 2;  // first escape magnitude
        for (int p = 15; p <= 20; ++p) {
            const int start = base + (1 << (p - 4)) - 2048 + 1;
            for (int d = -2; d <= 2; ++d)
                if (start + d > 0 && start + d <= 32768) mags.push_back(start + d);
        }
    }
    mags.push_back(32767);
    mags.push_back(32768);
    const int ramp[6] = {1, 4, 7, 13, 25, 49};
    for (int sl = 0; sl <= 6; ++sl) {
        std::vector<std::vector<int32_t>> blocks16, blocks32;
        for (int32_t m : mags)
            for (int sign : {1, -1}) {
                std::vector<int32_t> b(16, 0);
                int pos = 0;
                b[pos++] = sign * m;
                for (int k = sl - 1; k >= 0; --k) b[pos++] = ramp[k];
                b[pos++] = 1;
                b[pos++] = -1;
                b[pos++] = 1;
                blocks32.push_back(b);
                if (sign * m != 32768) blocks16.push_back(b);
            }
        roundTrip<Zub16s>(Kind::Block4x4, 0, 16, kZigzag, blocks16, 5);
        roundTrip<Zub32s>(Kind::Block4x4, 5, 16, kZigzag, blocks32, 9);
    }
    // The first level after fewer than three trailing ones carries the bonus,
    // with suffixLength 1 above ten coefficients; a first magnitude of 4 or
    // more moves the second level to suffixLength 2.
    std::vector<std::vector<int32_t>> blocks;
    for (int32_t m : mags)
        for (int t1 = 0; t1 < 3; ++t1)
            for (int tc : {t1 + 1, t1 + 2, 11, 16}) {
                std::vector<int32_t> b(16, 0);
                for (int i = 0; i < tc; ++i) b[i] = (i % 2 ? -2 : 3) + i;
                b[tc - 1 - t1] = (m == 1 ? 2 : m) * (tc % 2 ? 1 : -1);
                if (tc - t1 >= 2) b[tc - 2 - t1] = 2;
                for (int i = 0; i < t1; ++i) b[tc - 1 - i] = (i % 2) ? -1 : 1;
                blocks.push_back(b);
            }
    roundTrip<Zub32s>(Kind::Block4x4, 0, 16, kZigzag, blocks, 0);
    roundTrip<Zub32s>(Kind::Block4x4, 12, 16, kZigzag, blocks, 31);
}

TEST(CavlcDecode, LevelPrefixBeyond32Bits) {
    // coeff_token (3, 4) at nC 0, signs +++, then a level with level_prefix 40
    // and a suffix of 37 bits of which the level code keeps the low 16:
    // code = (15 + (15 << 0) + suffix - 4096) mod 2^16 at suffixLength 0,
    // and total_zeros 0 for TotalCoeff 4 (00011, Table 9-7).
    const auto& t = h264CavlcTables();
    for (uint32_t low : {0x0000u, 0x0FE2u, 0x1234u, 0xF001u, 0xFFFFu}) {
        BitWriter bw;
        bw.put(0b000011u, 6);
        bw.put(0, 3);
        bw.put(0, 32);
        bw.put(0, 8);
        bw.put(1, 1);
        bw.put(0x1Fu, 21);  // high suffix bits: no effect
        bw.put(low, 16);
        bw.put(0b00011u, 5);
        const uint32_t code = (30u + low - 4096u) & 0xFFFFu;
        const int32_t level =
            (code & 1u) ? -static_cast<int32_t>((code + 1) / 2) : static_cast<int32_t>((code + 2) / 2);
        const auto words = bw.words();
        const Zub32u* cur = words.data();
        Zub32u off = 31;
        Zub16s count = 0;
        Zub32s block[16];
        Zub32s* p = block;
        ASSERT_EQ(zubiDecodeCAVLCCoeffs_H264_1u32s(&cur, &off, &count, &p, 0, 16, t.coeffToken, t.totalZeros,
                                                   t.runBefore, kZigzag),
                  ZubStatusOk);
        EXPECT_EQ(count, 4);
        const auto end = zubtools::wordPosAfter(6 + 3 + 41 + 37 + 5);
        EXPECT_EQ(cur, words.data() + end.word);
        EXPECT_EQ(off, end.offset);
        EXPECT_EQ(block[kZigzag[0]], level) << low;
        for (int i = 1; i < 4; ++i) EXPECT_EQ(block[kZigzag[i]], 1);
    }
}

TEST(CavlcDecode, EscapeEndingTheStreamReadsNoFurtherThanOneWord) {
    // Sixteen coefficients (no total_zeros, no runs), the last decoded one an
    // escape, with the stream ending exactly at a word boundary.
    std::vector<int32_t> levels(16, 3);
    levels[0] = 30000;
    BitWriter probe;
    zubtools::writeCavlcBlock(probe, levels.data(), 16, 8);
    const int pad = static_cast<int>((32 - probe.bitCount() % 32) % 32);
    std::vector<std::vector<int32_t>> blocks{levels};
    roundTrip<Zub16s>(Kind::Block4x4, 8, 16, kZigzag, blocks, pad);
    roundTrip<Zub32s>(Kind::Block4x4, 8, 16, kZigzag, blocks, pad);
}

TEST(CavlcDecode, FixedLengthCoeffToken) {
    const auto& t = h264CavlcTables();
    const Zub32s* const nullTables[3] = {nullptr, nullptr, nullptr};
    // 000011: empty block, six bits, no coefficient written.
    {
        BitWriter bw;
        bw.put(0b000011u, 6);
        const auto words = bw.words();
        const Zub32u* cur = words.data();
        Zub32u off = 31;
        Zub16s count = -1, block[16] = {9};
        Zub16s* p = block;
        ASSERT_EQ(zubiDecodeCAVLCCoeffs_H264_1u16s(&cur, &off, &count, &p, 8, 16, nullTables, t.totalZeros,
                                                   t.runBefore, kZigzag),
                  ZubStatusOk);
        EXPECT_EQ(count, 0);
        EXPECT_EQ(off, 25u);
        EXPECT_EQ(p, block);
        EXPECT_EQ(block[0], 9);
    }
    // TotalCoeff 16 from the fixed-length code (111100) with maximum count
    // 15: no total_zeros is read and the first level, at scan index 16, wraps
    // to scan[0]; the others land one further along the scan.
    {
        std::mt19937 rng(4);
        std::vector<int32_t> levels(16);
        for (auto& v : levels) v = randomLevel(rng, 3000);
        BitWriter bw;
        ASSERT_EQ(zubtools::writeCavlcBlock(bw, levels.data(), 16, 8), 16);
        const auto words = bw.words();
        const Zub32u* cur = words.data();
        Zub32u off = 31;
        Zub16s count = -1, block[16];
        Zub16s* p = block;
        ASSERT_EQ(zubiDecodeCAVLCCoeffs_H264_1u16s(&cur, &off, &count, &p, 9, 15, nullTables, t.totalZeros,
                                                   t.runBefore, kZigzag),
                  ZubStatusOk);
        EXPECT_EQ(count, 16);
        EXPECT_EQ(p, block + 16);
        const auto end = zubtools::wordPosAfter(bw.bitCount());
        EXPECT_EQ(off, end.offset);
        EXPECT_EQ(block[kZigzag[0]], levels[15]);
        for (int k = 0; k < 15; ++k) EXPECT_EQ(block[kZigzag[k + 1]], levels[k]) << k;
    }
}

TEST(CavlcDecode, MaxCount15NeverWritesScanZero) {
    std::vector<std::vector<int32_t>> blocks;
    for (int tc = 1; tc <= 15; ++tc) {
        std::vector<int32_t> b(15, 0);
        for (int i = 0; i < tc; ++i) b[i] = i + 1;  // total_zeros 0
        blocks.push_back(b);
    }
    roundTrip<Zub16s>(Kind::Block4x4, 2, 15, kZigzag, blocks, 0);
    // roundTrip checks raster position scan[0] holds 0 in every block.
}

// ---------------------------------------------------------------------------
// Errors

struct Fixture4x4 {
    std::vector<uint32_t> words;
    const Zub32u* cur;
    Zub32u off = 31;
    Zub16s count = -1;
    Zub16s block[16];
    Zub16s* p = block;
    explicit Fixture4x4(const BitWriter& bw) : words(bw.words()), cur(words.data()) {
        for (auto& v : block) v = 0x5555;
    }
    bool untouched() const {
        for (auto v : block)
            if (v != 0x5555) return false;
        return cur == words.data() && off == 31 && count == -1 && p == block;
    }
};

TEST(CavlcErrors, NullAndRangeChecksInOrder) {
    const auto& t = h264CavlcTables();
    BitWriter bw;
    bw.put(1, 1);
    Fixture4x4 f(bw);
    const Zub32u* nullWord = nullptr;
    Zub16s* nullCoeffs = nullptr;
    // Pointer k null (the eight arguments, then the current word and the
    // coefficient pointer they hold) wins over a negative nC and a bad count.
    for (int k = 0; k < 10; ++k)
        EXPECT_EQ(zubiDecodeCAVLCCoeffs_H264_1u16s(
                      k == 0 ? nullptr : k == 8 ? &nullWord : &f.cur, k == 1 ? nullptr : &f.off,
                      k == 2 ? nullptr : &f.count, k == 3 ? nullptr : k == 9 ? &nullCoeffs : &f.p, 0xFFFFFFFFu, 14,
                      k == 4 ? nullptr : t.coeffToken, k == 5 ? nullptr : t.totalZeros, k == 6 ? nullptr : t.runBefore,
                      k == 7 ? nullptr : kZigzag),
                  ZubStatusNullPointer)
            << k;
    auto call = [&](Zub32u nC, Zub16s maxCount, const Zub32s* const* ct) {
        return zubiDecodeCAVLCCoeffs_H264_1u16s(&f.cur, &f.off, &f.count, &f.p, nC, maxCount, ct, t.totalZeros,
                                                t.runBefore, kZigzag);
    };
    // Ranges: maxNumCoeff 15 or 16 only; nC negative as a signed value.
    for (Zub16s m : {Zub16s{0}, Zub16s{4}, Zub16s{14}, Zub16s{17}, Zub16s{-16}})
        EXPECT_EQ(call(0, m, t.coeffToken), ZubStatusOutOfRange) << m;
    for (Zub32u nC : {0xFFFFFFFFu, 0xFFFFFFFEu, 0x80000000u})
        EXPECT_EQ(call(nC, 16, t.coeffToken), ZubStatusOutOfRange) << nC;
    // The coeff_token table that nC selects must be there; others need not.
    const Zub32s* const partial[3] = {t.coeffToken[0], nullptr, t.coeffToken[2]};
    for (Zub32u nC : {2u, 3u}) EXPECT_EQ(call(nC, 16, partial), ZubStatusNullPointer);
    EXPECT_TRUE(f.untouched());
    // Stream "1": the empty block at nC 0-1.
    EXPECT_EQ(call(1, 16, partial), ZubStatusOk);
    EXPECT_EQ(f.count, 0);
    EXPECT_EQ(f.off, 30u);
}

// A coeff_token table whose every code is invalid (one bit looked up).
const Zub32s kAllInvalid[] = {1, static_cast<Zub32s>(0xF0F1u << 8), static_cast<Zub32s>(0xF0F1u << 8)};

TEST(CavlcErrors, InvalidCoeffTokenRestoresCursor) {
    const auto& t = h264CavlcTables();
    // Zero bits start no code of the nC 0-1 table (16 zeros), of 4 <= nC < 8
    // (10 zeros) and of nC = -2 (11 zeros); the nC = -1 code is complete, so
    // the 2x2 general path is tried with a table of invalid codes.
    for (int startPad : {0, 20, 31}) {
        BitWriter bw;
        bw.put(0, startPad);
        bw.put(0, 32);
        const auto words = bw.words();
        for (Zub32u nC : {0u, 1u, 4u, 7u}) {
            const Zub32u* cur = words.data();
            Zub32u off = 31 - startPad;
            Zub16s count = -1, block[16] = {};
            Zub16s* p = block;
            EXPECT_EQ(zubiDecodeCAVLCCoeffs_H264_1u16s(&cur, &off, &count, &p, nC, 16, t.coeffToken, t.totalZeros,
                                                       t.runBefore, kZigzag),
                      ZubStatusVlcError);
            EXPECT_EQ(cur, words.data());
            EXPECT_EQ(off, 31u - startPad);
            EXPECT_EQ(count, -1);
            EXPECT_EQ(p, block);
        }
        for (int k = 0; k < 2; ++k) {
            const Zub32u* cur = words.data();
            Zub32u off = 31 - startPad;
            Zub16s count = -1, block[8] = {1, 1, 1, 1, 1, 1, 1, 1};
            Zub16s* p = block;
            const ZubStatus st =
                k == 0 ? zubiDecodeCAVLCChromaDcCoeffs_H264_1u16s(&cur, &off, &count, &p, kAllInvalid,
                                                                  t.totalZerosChromaDc, t.runBefore)
                       : zubiDecodeCAVLCChroma422DcCoeffs_H264_1u16s(&cur, &off, &count, &p, t.coeffTokenChromaDc422,
                                                                     t.totalZerosChromaDc422, t.runBefore);
            EXPECT_EQ(st, ZubStatusVlcError);
            EXPECT_EQ(cur, words.data());
            EXPECT_EQ(off, 31u - startPad);
            EXPECT_EQ(count, -1);
            EXPECT_EQ(p, block);
            for (Zub16s v : block) EXPECT_EQ(v, 1);
        }
    }
}

// A hand-made run_before table for zerosLeft 2: "1" is run 0; "0x" is invalid
// and gives one bit back.
const Zub32s kRunTableWithGiveBack[] = {2, static_cast<Zub32s>(0xF0F1u << 8 | 1), static_cast<Zub32s>(0xF0F1u << 8 | 1),
                                        (0 << 8) | 1, (0 << 8) | 1};

TEST(CavlcErrors, InvalidTotalZerosAndRunBeforeLeaveDocumentedState) {
    const auto& t = h264CavlcTables();
    // TotalCoeff 1 (coeff_token 01 at nC 0), sign +, then total_zeros
    // 000000000, which no code of Table 9-7 starts: -74, cursor after the
    // 9-bit look-up, count stored, block cleared, pointer kept.
    {
        BitWriter bw;
        bw.put(0b01u, 2);
        bw.put(0, 1);
        bw.put(0, 9);
        bw.put(0xFFFFu, 16);
        Fixture4x4 f(bw);
        ASSERT_EQ(zubiDecodeCAVLCCoeffs_H264_1u16s(&f.cur, &f.off, &f.count, &f.p, 0, 16, t.coeffToken, t.totalZeros,
                                                   t.runBefore, kZigzag),
                  ZubStatusVlcError);
        EXPECT_EQ(f.count, 1);
        EXPECT_EQ(f.off, 31u - 12u);
        EXPECT_EQ(f.p, f.block);
        for (auto v : f.block) EXPECT_EQ(v, 0);
    }
    // TotalCoeff 3, three trailing ones (00011 at nC 0), signs + - +,
    // total_zeros 2 for TotalCoeff 3 (110 in Table 9-8): the first run reads
    // "1" (run 0) and places the first level; the second look-up meets "00",
    // the invalid entry, and gives one bit back.
    for (int nullTable = 0; nullTable < 2; ++nullTable) {
        BitWriter bw;
        bw.put(0b00011u, 5);
        bw.put(0b010u, 3);
        bw.put(0b110u, 3);
        bw.put(0b1u, 1);
        bw.put(0b00u, 2);
        Fixture4x4 f(bw);
        const Zub32s* runs[16] = {};
        runs[2] = kRunTableWithGiveBack;
        if (nullTable) runs[2] = nullptr;
        ASSERT_EQ(zubiDecodeCAVLCCoeffs_H264_1u16s(&f.cur, &f.off, &f.count, &f.p, 0, 16, t.coeffToken, t.totalZeros,
                                                   runs, kZigzag),
                  nullTable ? ZubStatusNullPointer : ZubStatusVlcError);
        EXPECT_EQ(f.count, 3);
        EXPECT_EQ(f.p, f.block);
        if (nullTable) {
            // Fails before the first run: cursor after total_zeros, block clear.
            EXPECT_EQ(f.off, 31u - 11u);
            for (auto v : f.block) EXPECT_EQ(v, 0);
        } else {
            EXPECT_EQ(f.off, 31u - 13u);  // 11 bits, the run "1", then 2 - 1 bits
            for (int i = 0; i < 16; ++i) EXPECT_EQ(f.block[i], i == static_cast<int>(kZigzag[4]) ? 1 : 0) << i;
        }
    }
    // A missing total_zeros table for TotalCoeff: -8 with the cursor after
    // the levels and the block cleared.
    {
        BitWriter bw;
        bw.put(0b01u, 2);
        bw.put(1, 1);
        bw.put(0b1u, 1);
        Fixture4x4 f(bw);
        const Zub32s* tz[16] = {};
        ASSERT_EQ(zubiDecodeCAVLCCoeffs_H264_1u16s(&f.cur, &f.off, &f.count, &f.p, 0, 16, t.coeffToken, tz,
                                                   t.runBefore, kZigzag),
                  ZubStatusNullPointer);
        EXPECT_EQ(f.count, 1);
        EXPECT_EQ(f.off, 28u);
        for (auto v : f.block) EXPECT_EQ(v, 0);
    }
}

TEST(CavlcErrors, ChromaDc2x2FastPathsAndChecks) {
    const auto& t = h264CavlcTables();
    // "1 s xyz": every sign and total_zeros code of Table 9-9(a).
    const char* tzCodes[4] = {"1", "01", "001", "000"};
    for (int tz = 0; tz < 4; ++tz)
        for (int neg = 0; neg < 2; ++neg) {
            BitWriter bw;
            bw.put(1, 1);
            bw.put(static_cast<uint32_t>(neg), 1);
            const auto c = zubtools::vlcCodeFromString(tzCodes[tz], 0);
            bw.put(c.code, c.length);
            bw.put(0x3Fu, 6);
            const auto words = bw.words();
            const Zub32u* cur = words.data();
            Zub32u off = 31;
            Zub16s count = -1, block[5] = {7, 7, 7, 7, 7};
            Zub16s* p = block;
            // Tables are not needed on this path.
            ASSERT_EQ(zubiDecodeCAVLCChromaDcCoeffs_H264_1u16s(&cur, &off, &count, &p, nullptr, nullptr, nullptr),
                      ZubStatusOk);
            EXPECT_EQ(count, 1);
            EXPECT_EQ(off, 31u - 2u - c.length);
            EXPECT_EQ(p, block + 4);
            for (int i = 0; i < 4; ++i) EXPECT_EQ(block[i], i == tz ? (neg ? -1 : 1) : 0);
            EXPECT_EQ(block[4], 7);
            // The same with a null coefficient pointer: -8, nothing written.
            Zub16s* nullCoeffs = nullptr;
            cur = words.data();
            off = 31;
            count = -1;
            EXPECT_EQ(zubiDecodeCAVLCChromaDcCoeffs_H264_1u16s(&cur, &off, &count, &nullCoeffs, nullptr, nullptr,
                                                               nullptr),
                      ZubStatusNullPointer);
            EXPECT_EQ(zubiDecodeCAVLCChromaDcCoeffs_H264_1u16s(&cur, &off, &count, nullptr, nullptr, nullptr, nullptr),
                      ZubStatusNullPointer);
            EXPECT_EQ(off, 31u);
            EXPECT_EQ(count, -1);
        }
    // "01": count 0, two bits, nothing else tested or written.
    {
        BitWriter bw;
        bw.put(0b01u, 2);
        const auto words = bw.words();
        const Zub32u* cur = words.data();
        Zub32u off = 31;
        Zub16s count = -1;
        EXPECT_EQ(zubiDecodeCAVLCChromaDcCoeffs_H264_1u16s(&cur, &off, &count, nullptr, nullptr, nullptr, nullptr),
                  ZubStatusOk);
        EXPECT_EQ(count, 0);
        EXPECT_EQ(off, 29u);
    }
    // Other codes take the general path, which needs every pointer.
    {
        BitWriter bw;
        bw.put(0b001u, 3);  // (2, 2)
        bw.put(0b00u, 2);
        bw.put(0b1u, 1);
        const auto words = bw.words();
        Zub16s block[4] = {9, 9, 9, 9};
        Zub16s* p = block;
        const Zub32u* cur = words.data();
        const Zub32u* nullWord = nullptr;
        Zub32u off = 31;
        Zub16s count = -1;
        for (int k = 0; k < 5; ++k)
            EXPECT_EQ(zubiDecodeCAVLCChromaDcCoeffs_H264_1u16s(
                          k == 0 ? &nullWord : &cur, &off, k == 1 ? nullptr : &count, &p,
                          k == 2 ? nullptr : t.coeffTokenChromaDc, k == 3 ? nullptr : t.totalZerosChromaDc,
                          k == 4 ? nullptr : t.runBefore),
                      ZubStatusNullPointer)
                << k;
        EXPECT_EQ(count, -1);
        EXPECT_EQ(off, 31u);
        EXPECT_EQ(block[0], 9);
        ASSERT_EQ(zubiDecodeCAVLCChromaDcCoeffs_H264_1u16s(&cur, &off, &count, &p, t.coeffTokenChromaDc,
                                                           t.totalZerosChromaDc, t.runBefore),
                  ZubStatusOk);
        EXPECT_EQ(count, 2);
        EXPECT_EQ(off, 25u);
        const Zub16s want[4] = {1, 1, 0, 0};
        for (int i = 0; i < 4; ++i) EXPECT_EQ(block[i], want[i]);
    }
}

TEST(CavlcErrors, ChromaDc2x4Checks) {
    const auto& t = h264CavlcTables();
    BitWriter bw;
    bw.put(0b01u, 2);  // (1, 1)
    bw.put(1, 1);
    bw.put(0b1u, 1);  // total_zeros 0
    const auto words = bw.words();
    Zub32s block[8];
    std::fill(block, block + 8, 5);
    Zub32s* p = block;
    Zub32s* nullCoeffs = nullptr;
    const Zub32u* cur = words.data();
    const Zub32u* nullWord = nullptr;
    Zub32u off = 31;
    Zub16s count = -1;
    const Zub32s* ct = t.coeffTokenChromaDc422;
    const Zub32s* const* tz = t.totalZerosChromaDc422;
    const Zub32s* const* rb = t.runBefore;
    for (int k = 0; k < 9; ++k)
        EXPECT_EQ(zubiDecodeCAVLCChroma422DcCoeffs_H264_1u32s(
                      k == 0 ? nullptr : k == 7 ? &nullWord : &cur, k == 1 ? nullptr : &off,
                      k == 2 ? nullptr : &count, k == 3 ? nullptr : k == 8 ? &nullCoeffs : &p, k == 4 ? nullptr : ct,
                      k == 5 ? nullptr : tz, k == 6 ? nullptr : rb),
                  ZubStatusNullPointer)
            << k;
    EXPECT_EQ(count, -1);
    EXPECT_EQ(block[0], 5);
    ASSERT_EQ(zubiDecodeCAVLCChroma422DcCoeffs_H264_1u32s(&cur, &off, &count, &p, ct, tz, rb), ZubStatusOk);
    EXPECT_EQ(count, 1);
    EXPECT_EQ(off, 27u);
    EXPECT_EQ(p, block + 8);
    EXPECT_EQ(block[0], -1);
    for (int i = 1; i < 8; ++i) EXPECT_EQ(block[i], 0);
}

// The level tables against the standard's level code: magnitude
// (levelCode >> 1) + 1 with levelCode = (min(prefix, 15) << suffixLength) +
// level_suffix (+ 15 for prefix 15 at suffixLength 0), suffixes of
// levelSuffixSize bits (4 for prefix 14 at suffixLength 0, 12 for prefix 15).
TEST(CavlcTables, LevelTablesMatchLevelCode) {
    for (int sl = 0; sl <= 6; ++sl)
        for (int prefix = 0; prefix <= 15; ++prefix) {
            const int size = prefix == 15 ? 12 : (sl == 0 && prefix == 14) ? 4 : sl;
            EXPECT_EQ(bitsToGetTbl16s[sl][prefix], size) << sl << " " << prefix;
            for (int suffix = 0; suffix < (1 << size); suffix += 1 + (suffix >> 4)) {
                int levelCode = (prefix << sl) + suffix + ((prefix == 15 && sl == 0) ? 15 : 0);
                const int stand = size ? suffix : prefix;  // the prefix stands in for a missing suffix
                EXPECT_EQ(addOffsetTbl16s[sl][prefix] + (stand >> 1), (levelCode >> 1) + 1) << sl << " " << prefix;
                EXPECT_EQ(stand & 1, levelCode & 1);
            }
        }
    const Zub32s inc[6] = {0, 3, 6, 12, 24, 48};
    for (int i = 0; i < 6; ++i) EXPECT_EQ(vlc_inc[i], inc[i]);
    for (int i = 0; i < 7; ++i) EXPECT_EQ(sadd[i], i == 0 ? 15 : 0);
    const Zub8s runs[16] = {3, 5, 2, 5, 1, 4, 1, 4, 0, 3, 0, 3, 0, 3, 0, 3};
    for (int i = 0; i < 16; ++i) EXPECT_EQ(ChromaDCRunTable[i], runs[i]);
    for (int k = 0; k < 8; ++k) EXPECT_EQ(static_cast<int>(ChromaDC422RasterScan[k]), chroma422Raster(k));
}

// Every code word of every caller-side table decodes to its value and length
// through the built multi-level tables.
TEST(CavlcTables, EveryCodeWordDecodes) {
    const auto& t = h264CavlcTables();
    struct Case {
        const Zub32s* table;
        zubtools::VlcCode code;
    };
    std::vector<Case> cases;
    const int cols[5] = {0, 2, 4, -1, -2};
    for (int c = 0; c < 5; ++c) {
        const Zub32s* table = c < 3 ? t.coeffToken[c] : c == 3 ? t.coeffTokenChromaDc : t.coeffTokenChromaDc422;
        for (int tc = 0; tc <= 16; ++tc)
            for (int t1 = 0; t1 <= std::min(3, tc); ++t1) {
                const auto code = zubtools::h264CoeffTokenCode(cols[c], t1, tc);
                if (code.length) cases.push_back({table, code});
            }
    }
    for (int tc = 1; tc <= 15; ++tc)
        for (int tz = 0; tz <= 16 - tc; ++tz)
            cases.push_back({t.totalZeros[tc], zubtools::h264TotalZerosCode(16, tc, tz)});
    for (int tc = 1; tc <= 3; ++tc)
        for (int tz = 0; tz <= 4 - tc; ++tz)
            cases.push_back({t.totalZerosChromaDc[tc], zubtools::h264TotalZerosCode(4, tc, tz)});
    for (int tc = 1; tc <= 7; ++tc)
        for (int tz = 0; tz <= 8 - tc; ++tz)
            cases.push_back({t.totalZerosChromaDc422[tc], zubtools::h264TotalZerosCode(8, tc, tz)});
    for (int zl = 1; zl <= 15; ++zl)
        for (int run = 0; run <= (zl <= 6 ? zl : 14); ++run) {
            const auto code = zubtools::h264RunBeforeCode(zl, run);
            if (code.length) cases.push_back({t.runBefore[zl], code});
        }
    // Table 9-5: 3 x 62 + 14 + 30 codes; 9-7/9-8: 135; 9-9: 9 + 35; 9-10: 27 + 9 x 15.
    EXPECT_EQ(cases.size(), 571u);
    for (const Case& c : cases) {
        ASSERT_GT(c.code.length, 0);
        BitWriter bw;
        bw.put(c.code.code, c.code.length);
        bw.put(0xA5A5A5A5u, 32);
        const auto words = bw.words();
        // A plain bit-by-bit walk of the table format.
        const Zub32s* tab = c.table;
        uint32_t pos = 0, e;
        for (;;) {
            const int n = tab[0];
            uint32_t v = 0;
            for (int i = 0; i < n; ++i) {
                const uint32_t bit = (words[(pos + i) / 32] >> (31 - (pos + i) % 32)) & 1u;
                v = (v << 1) | bit;
            }
            e = static_cast<uint32_t>(tab[v + 1]);
            pos += n;
            if ((e & 0xFFu) <= 127u) break;
            tab = c.table + (e >> 8);
        }
        pos -= e & 0xFFu;
        EXPECT_EQ(e >> 8, c.code.fields);
        EXPECT_EQ(pos, static_cast<uint32_t>(c.code.length));
    }
}

// ---------------------------------------------------------------------------
// Inverse DC transforms: plain matrix products with 64-bit sums, reduced to
// 32 bits where the library's 32-bit arithmetic would wrap.

const int kH[4][4] = {{1, 1, 1, 1}, {1, 1, -1, -1}, {1, -1, -1, 1}, {1, -1, 1, -1}};
const int kDefaultDc[6] = {160, 176, 208, 224, 256, 288};

int32_t wrap32(int64_t v) { return static_cast<int32_t>(static_cast<uint32_t>(static_cast<uint64_t>(v))); }

// (f s + 2^(5-e)) >> (6-e) or (f s) << (e-6), in 32-bit arithmetic.
int32_t modelScale6(int64_t f, int64_t s, int e) {
    if (e >= 6) return wrap32(wrap32(f * s) * (int64_t{1} << (e - 6)));
    return wrap32(f * s + (int64_t{1} << (5 - e))) >> (6 - e);
}

std::vector<int32_t> modelLuma(const std::vector<int64_t>& c, int qp, int s) {
    std::vector<int32_t> out(16);
    for (int i = 0; i < 4; ++i)
        for (int j = 0; j < 4; ++j) {
            int64_t f = 0;
            for (int k = 0; k < 4; ++k)
                for (int l = 0; l < 4; ++l) f += int64_t{kH[i][k]} * c[4 * k + l] * kH[l][j];
            out[4 * i + j] = modelScale6(wrap32(f), s, qp / 6);
        }
    return out;
}

std::vector<int32_t> modelChroma2x2(const std::vector<int64_t>& c, int qp, int s) {
    const int e = qp / 6;
    const int64_t f[4] = {c[0] + c[1] + c[2] + c[3], c[0] - c[1] + c[2] - c[3], c[0] + c[1] - c[2] - c[3],
                          c[0] - c[1] - c[2] + c[3]};
    std::vector<int32_t> out(4);
    for (int i = 0; i < 4; ++i) {
        const int32_t p = wrap32(wrap32(f[i]) * int64_t{s});
        out[i] = e < 5 ? p >> (5 - e) : wrap32(int64_t{p} * (int64_t{1} << (e - 5)));
    }
    return out;
}

std::vector<int32_t> modelChroma2x4(const std::vector<int64_t>& c, int qp, int s, bool wrap16) {
    const int B[2][2] = {{1, 1}, {1, -1}};
    std::vector<int32_t> out(8);
    for (int i = 0; i < 4; ++i)
        for (int j = 0; j < 2; ++j) {
            int64_t f = 0;
            for (int k = 0; k < 4; ++k)
                for (int l = 0; l < 2; ++l) f += int64_t{kH[i][k]} * c[2 * k + l] * B[l][j];
            int64_t fw = wrap32(f);
            if (wrap16) fw = static_cast<int16_t>(static_cast<uint16_t>(fw));
            out[2 * i + j] = modelScale6(fw, s, (qp + 3) / 6);
        }
    return out;
}

template <class T>
std::vector<int64_t> randomCoeffs(std::mt19937& rng, int n, int mode) {
    std::vector<int64_t> c(n);
    for (auto& v : c) {
        if (mode == 0)
            v = static_cast<int64_t>(rng() % 401) - 200;  // typical DC levels
        else if constexpr (sizeof(T) == 2)
            v = static_cast<int16_t>(rng());  // full 16-bit range
        else
            v = static_cast<int32_t>(rng() >> (rng() % 24));  // up to the full 32-bit range
    }
    return c;
}

enum class Dc { Luma, Chroma2x2, Chroma2x4 };

template <class T>
ZubStatus callDc(Dc kind, T* p, int qp, const Zub16s* scale) {
    if constexpr (sizeof(T) == 2) {
        if (kind == Dc::Luma) return zubiTransformQuantInvLumaDC4x4_H264_16s_C1I(p, qp, scale);
        if (kind == Dc::Chroma2x2) return zubiTransformQuantInvChromaDC2x2_H264_16s_C1I(p, qp, scale);
        return zubiTransformQuantInvChromaDC2x4_H264_16s_C1I(p, qp, scale);
    } else {
        if (kind == Dc::Luma) return zubiTransformQuantInvLumaDC4x4_H264_32s_C1I(p, qp, scale);
        if (kind == Dc::Chroma2x2) return zubiTransformQuantInvChromaDC2x2_H264_32s_C1I(p, qp, scale);
        return zubiTransformQuantInvChromaDC2x4_H264_32s_C1I(p, qp, scale);
    }
}

template <class T>
void checkDcAgainstModel(Dc kind, int maxQp) {
    std::mt19937 rng(21);
    const int n = kind == Dc::Luma ? 16 : kind == Dc::Chroma2x2 ? 4 : 8;
    for (int qp = 0; qp <= maxQp; ++qp)
        for (int trial = 0; trial < 40; ++trial) {
            const int mode = trial % 3 == 2 ? 1 : 0;
            const auto c = randomCoeffs<T>(rng, n, mode);
            const bool caller = trial % 2 == 1;
            const Zub16s userScale = static_cast<Zub16s>(trial % 4 == 3 ? static_cast<int16_t>(rng()) : rng() % 4096);
            const int q = kind == Dc::Chroma2x4 ? qp + 3 : qp;
            const int s = caller ? userScale : kDefaultDc[q % 6];
            std::vector<int32_t> want = kind == Dc::Luma        ? modelLuma(c, qp, s)
                                        : kind == Dc::Chroma2x2 ? modelChroma2x2(c, qp, s)
                                                                : modelChroma2x4(c, qp, s, sizeof(T) == 2);
            std::vector<T> buf(n);
            for (int i = 0; i < n; ++i) buf[i] = static_cast<T>(c[i]);
            ASSERT_EQ(callDc<T>(kind, buf.data(), qp, caller ? &userScale : nullptr), ZubStatusOk);
            for (int i = 0; i < n; ++i) ASSERT_EQ(buf[i], static_cast<T>(want[i])) << "qp " << qp << " i " << i;
        }
    // QP out of range: -11 and nothing written; null: -8 first.
    std::vector<T> buf(n, 3);
    for (int qp : {-1, maxQp + 1, 1000}) {
        EXPECT_EQ(callDc<T>(kind, buf.data(), qp, nullptr), ZubStatusOutOfRange);
        EXPECT_EQ(callDc<T>(kind, static_cast<T*>(nullptr), qp, nullptr), ZubStatusNullPointer);
    }
    for (T v : buf) EXPECT_EQ(v, 3);
}

TEST(DcTransform, LumaEveryQp) {
    checkDcAgainstModel<Zub16s>(Dc::Luma, 51);
    checkDcAgainstModel<Zub32s>(Dc::Luma, 87);
}
TEST(DcTransform, Chroma2x2EveryQp) {
    checkDcAgainstModel<Zub16s>(Dc::Chroma2x2, 39);
    checkDcAgainstModel<Zub32s>(Dc::Chroma2x2, 75);
}
TEST(DcTransform, Chroma2x4EveryQp) {
    checkDcAgainstModel<Zub16s>(Dc::Chroma2x4, 39);
    checkDcAgainstModel<Zub32s>(Dc::Chroma2x4, 75);
}

TEST(DcTransform, KnownValues) {
    // Luma: a lone DC of 1 spreads to all 16 values; QP 35 (e 5) adds 1 and
    // shifts by 1: (160 * 1 + 1) >> 1 = 80 with the default row 5 scale 288:
    // (288 + 1) >> 1 = 144.  QP 36 shifts left by 0: 160.
    Zub16s b[16] = {1};
    ASSERT_EQ(zubiTransformQuantInvLumaDC4x4_H264_16s_C1I(b, 35, nullptr), ZubStatusOk);
    for (Zub16s v : b) EXPECT_EQ(v, 144);
    Zub16s z[16] = {1};
    ASSERT_EQ(zubiTransformQuantInvLumaDC4x4_H264_16s_C1I(z, 36, nullptr), ZubStatusOk);
    for (Zub16s v : z) EXPECT_EQ(v, 160);
    Zub16s zero[16] = {};
    ASSERT_EQ(zubiTransformQuantInvLumaDC4x4_H264_16s_C1I(zero, 51, nullptr), ZubStatusOk);
    for (Zub16s v : zero) EXPECT_EQ(v, 0);
    // Chroma 2x2, QP 29 (e 4): a product of -s shifts right by 1 without
    // rounding, so an odd scale 7 gives -4.
    const Zub16s seven = 7;
    Zub16s c[4] = {-1, 0, 0, 0};
    ASSERT_EQ(zubiTransformQuantInvChromaDC2x2_H264_16s_C1I(c, 29, &seven), ZubStatusOk);
    for (Zub16s v : c) EXPECT_EQ(v, -4);
    // Chroma 2x4: QP 33 uses q 36 (e 6, shift left by 0, default scale 160);
    // QP 32 uses q 35 (e 5: add 1, shift right by 1, scale 288).
    Zub16s d[8] = {1};
    ASSERT_EQ(zubiTransformQuantInvChromaDC2x4_H264_16s_C1I(d, 33, nullptr), ZubStatusOk);
    for (Zub16s v : d) EXPECT_EQ(v, 160);
    Zub16s e[8] = {1};
    ASSERT_EQ(zubiTransformQuantInvChromaDC2x4_H264_16s_C1I(e, 32, nullptr), ZubStatusOk);
    for (Zub16s v : e) EXPECT_EQ(v, 144);
    // The 16-bit 2x4 transform wraps before scaling: eight values of 5000 sum
    // to 40000, taken as -25536; with scale 1 at QP 33 that is stored as is.
    const Zub16s one = 1;
    Zub16s w[8] = {5000, 5000, 5000, 5000, 5000, 5000, 5000, 5000};
    ASSERT_EQ(zubiTransformQuantInvChromaDC2x4_H264_16s_C1I(w, 33, &one), ZubStatusOk);
    EXPECT_EQ(w[0], -25536);
    Zub32s w32[8] = {5000, 5000, 5000, 5000, 5000, 5000, 5000, 5000};
    ASSERT_EQ(zubiTransformQuantInvChromaDC2x4_H264_32s_C1I(w32, 33, &one), ZubStatusOk);
    EXPECT_EQ(w32[0], 40000);
    // Default scale rows: DC entries 160 176 208 224 256 288, the flat
    // 16 x normAdjust4x4 of clause 8.5.9 elsewhere.
    for (int m = 0; m < 6; ++m) {
        EXPECT_EQ(InvLevelScale_4x4_default[m][0], kDefaultDc[m]);
        const int v[6][3] = {{10, 16, 13}, {11, 18, 14}, {13, 20, 16}, {14, 23, 18}, {16, 25, 20}, {18, 29, 23}};
        for (int i = 0; i < 16; ++i) {
            const int r = i / 4, col = i % 4;
            const int want = (r % 2 == 0 && col % 2 == 0) ? v[m][0] : (r % 2 && col % 2) ? v[m][1] : v[m][2];
            EXPECT_EQ(InvLevelScale_4x4_default[m][i], 16 * want);
        }
    }
    for (int qp = 0; qp < 90; ++qp) {
        EXPECT_EQ(h264_qp6[qp], qp / 6);
        EXPECT_EQ(h264_qp_rem[qp], qp % 6);
    }
}

}  // namespace
