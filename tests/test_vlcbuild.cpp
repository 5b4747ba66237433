// The helper library's multi-level VLC table builder, decoded with the
// library's code-table walk.
#include <gtest/gtest.h>

#include <random>
#include <stdexcept>
#include <vector>

#include "../src/common/bitstream.h"
#include "zubvc_tools/bitwriter.h"
#include "zubvc_tools/vlc.h"

using zubtools::BitWriter;
using zubtools::buildVlcTable;
using zubtools::VlcCode;

namespace {

// A random prefix-free code: leaves of a binary tree grown by splitting
// random leaves (depth at most maxLen); with `dropSome` a few leaves are
// left unused so that some patterns start no code.
std::vector<VlcCode> randomCode(std::mt19937& rng, int leaves, int maxLen, bool dropSome) {
    std::vector<VlcCode> codes{{0, 1, 0}, {1, 1, 0}};
    if (maxLen < 30 && leaves > (1 << maxLen)) leaves = 1 << maxLen;
    while (static_cast<int>(codes.size()) < leaves) {
        size_t k = rng() % codes.size();
        while (codes[k].length >= maxLen) k = (k + 1) % codes.size();  // some leaf is shorter
        const VlcCode c = codes[k];
        codes[k] = VlcCode{c.code << 1, c.length + 1, 0};
        codes.push_back(VlcCode{(c.code << 1) | 1u, c.length + 1, 0});
    }
    if (dropSome)
        for (int i = 0; i < 3 && codes.size() > 2; ++i)
            codes.erase(codes.begin() + static_cast<long>(rng() % codes.size()));
    for (size_t i = 0; i < codes.size(); ++i) codes[i].fields = static_cast<uint32_t>(i * 7919 % 0xF0F0);
    return codes;
}

TEST(VlcBuild, RandomCodesDecodeAtEveryLevelLayout) {
    std::mt19937 rng(31);
    const std::vector<std::vector<int>> layouts = {{1}, {3}, {8}, {4, 2}, {2, 3, 5}, {16}, {6, 1}};
    for (int trial = 0; trial < 40; ++trial) {
        const auto codes = randomCode(rng, 2 + static_cast<int>(rng() % 60), 2 + static_cast<int>(rng() % 22), false);
        for (const auto& layout : layouts) {
            const auto table = buildVlcTable(codes, layout);
            EXPECT_EQ(table[0], layout[0]);
            // A random symbol sequence starting at a random bit.
            BitWriter bw;
            const int pad = static_cast<int>(rng() % 32);
            bw.put(0, pad);
            std::vector<size_t> symbols, ends;
            for (int i = 0; i < 200; ++i) {
                const size_t k = rng() % codes.size();
                bw.put(codes[k].code, codes[k].length);
                symbols.push_back(k);
                ends.push_back(bw.bitCount());
            }
            const auto words = bw.words();
            zub::WordCursor c(words.data(), 31 - pad);
            for (size_t i = 0; i < symbols.size(); ++i) {
                uint32_t v = 0;
                ASSERT_TRUE(zub::walkCodeTable(c, table.data(), v));
                ASSERT_EQ(v, codes[symbols[i]].fields);
                const auto at = zubtools::wordPosAfter(ends[i]);
                ASSERT_EQ(c.w, words.data() + at.word);
                ASSERT_EQ(c.off, static_cast<int32_t>(at.offset));
            }
        }
    }
}

TEST(VlcBuild, UnusedPatternsAreInvalid) {
    std::mt19937 rng(32);
    for (int trial = 0; trial < 30; ++trial) {
        const auto codes = randomCode(rng, 8 + static_cast<int>(rng() % 20), 12, true);
        const auto table = buildVlcTable(codes, {4, 3});
        // Every 12-bit pattern either starts exactly one code, with its value,
        // or is invalid and leaves the cursor where it was.
        for (uint32_t pattern = 0; pattern < 4096; ++pattern) {
            const VlcCode* match = nullptr;
            for (const auto& cd : codes)
                if ((pattern >> (12 - cd.length)) == cd.code) match = &cd;
            const uint32_t words[3] = {pattern << 20, 0, 0};
            zub::WordCursor c(words, 31);
            uint32_t v = 0;
            const bool ok = zub::walkCodeTable(c, table.data(), v);
            ASSERT_EQ(ok, match != nullptr) << pattern;
            if (ok) {
                EXPECT_EQ(v, match->fields);
                EXPECT_EQ(c.off, 31 - match->length);
            } else {
                EXPECT_EQ(c.off, 31);
            }
        }
    }
}

TEST(VlcBuild, LayoutAndEntries) {
    // Codes 1 (A), 01 (B), 0001 (C), 0000 01 (D): root of 2 bits, then
    // sub-tables no wider than their longest code needs.
    const std::vector<VlcCode> codes = {
        zubtools::vlcCodeFromString("1", 10), zubtools::vlcCodeFromString("01", 20),
        zubtools::vlcCodeFromString("00 01", 30), zubtools::vlcCodeFromString("0000 01", 40)};
    const auto t = buildVlcTable(codes, {2, 8});
    // Root: 00 -> link, 01 -> B, 1x -> A giving back one bit.
    ASSERT_EQ(t[0], 2);
    EXPECT_EQ(t[2], (20 << 8) | 0);
    EXPECT_EQ(t[3], (10 << 8) | 1);
    EXPECT_EQ(t[4], (10 << 8) | 1);
    EXPECT_EQ(t[1] & 0xFF, 0x80);
    const size_t sub = static_cast<size_t>(t[1]) >> 8;
    // Below 00 the longest code has 4 more bits: width 4, not 8.
    ASSERT_EQ(t[sub], 4);
    EXPECT_EQ(t.size(), 5u + 17u);
    EXPECT_EQ(t[sub + 1 + 0b0001], (40 << 8) | 0);  // 0000 01
    EXPECT_EQ(t[sub + 1 + 0b0100], (30 << 8) | 2);  // 00 01xx
    EXPECT_EQ(t[sub + 1 + 0b0000], zubtools::kVlcInvalidEntry);
    EXPECT_EQ(t[sub + 1 + 0b1000], zubtools::kVlcInvalidEntry);
}

TEST(VlcBuild, RejectsBadInput) {
    using zubtools::vlcCodeFromString;
    EXPECT_THROW(buildVlcTable({vlcCodeFromString("1", 1), vlcCodeFromString("10", 2)}, {4}), std::invalid_argument);
    EXPECT_THROW(buildVlcTable({vlcCodeFromString("0", 1), vlcCodeFromString("0", 2)}, {4}), std::invalid_argument);
    EXPECT_THROW(buildVlcTable({vlcCodeFromString("0001", 1), vlcCodeFromString("0", 2)}, {2}), std::invalid_argument);
    EXPECT_THROW(buildVlcTable({vlcCodeFromString("1", zubtools::kVlcInvalidFields)}, {1}), std::invalid_argument);
    EXPECT_THROW(buildVlcTable({vlcCodeFromString("1", 1u << 24)}, {1}), std::invalid_argument);
    EXPECT_THROW(buildVlcTable({VlcCode{2, 1, 0}}, {1}), std::invalid_argument);
    EXPECT_THROW(buildVlcTable({VlcCode{0, 0, 0}}, {1}), std::invalid_argument);
    EXPECT_THROW(buildVlcTable({vlcCodeFromString("1", 1)}, {0}), std::invalid_argument);
    EXPECT_THROW(buildVlcTable({vlcCodeFromString("1", 1)}, {}), std::invalid_argument);
    EXPECT_THROW(vlcCodeFromString("01x", 0), std::invalid_argument);
    EXPECT_EQ(vlcCodeFromString("0000 0111", 5).code, 7u);
    EXPECT_EQ(vlcCodeFromString("0000 0111", 5).length, 8);
    // An empty code set gives an all-invalid root.
    const auto t = buildVlcTable({}, {3});
    ASSERT_EQ(t.size(), 9u);
    for (size_t i = 1; i < 9; ++i) EXPECT_EQ(t[i], zubtools::kVlcInvalidEntry);
}

}  // namespace
