// The helper library's multi-level VLC table builder, decoded with the
// library's code-table walk.
#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

#include "../src/common/bitstream.h"
#include "zubvc_tools/bitwriter.h"
#include "zubvc_tools/vlc.h"

using zubtools::buildVlcTable;
using zubtools::VlcCode;
using zubtools::vlcCodeFromString;

namespace {

// A complete prefix-free code: the leaves of a binary tree grown by
// splitting random leaves (depth at most maxLen), with distinct values.
std::vector<VlcCode> randomCode(std::mt19937& rng, int leaves, int maxLen) {
    std::vector<VlcCode> codes{{0, 1, 0}, {1, 1, 0}};
    while (static_cast<int>(codes.size()) < leaves) {
        size_t k = rng() % codes.size();
        while (codes[k].length >= maxLen) k = (k + 1) % codes.size();
        const VlcCode c = codes[k];
        codes[k] = VlcCode{c.code << 1, c.length + 1, 0};
        codes.push_back(VlcCode{(c.code << 1) | 1u, c.length + 1, 0});
    }
    for (size_t i = 0; i < codes.size(); ++i) codes[i].fields = static_cast<uint32_t>(i * 7919 % 0xF0F0);
    return codes;
}

// Random codes (words of at most 6 to 23 bits) less three words, at several
// level layouts: a stream of the words, starting anywhere in a word, decodes
// to their values with the cursor after each; a left-out word is invalid
// whatever follows and leaves the cursor where it was.
TEST(VlcBuild, RandomCodesAtEveryLevelLayout) {
    std::mt19937 rng(31);
    const std::vector<std::vector<int>> layouts = {{1}, {3}, {8}, {4, 2}, {2, 3, 5}, {16}, {6, 1}};
    for (int trial = 0; trial < 40; ++trial) {
        std::vector<VlcCode> codes =
            randomCode(rng, 5 + static_cast<int>(rng() % 60), 6 + static_cast<int>(rng() % 18));
        std::shuffle(codes.begin(), codes.end(), rng);
        const std::vector<VlcCode> unused(codes.end() - 3, codes.end());
        codes.resize(codes.size() - 3);
        for (const auto& layout : layouts) {
            const auto table = buildVlcTable(codes, layout);
            zubtools::BitWriter bw;
            const int pad = static_cast<int>(rng() % 32);
            bw.put(0, pad);
            std::vector<size_t> symbols(200), ends;
            for (size_t& k : symbols) {
                k = rng() % codes.size();
                bw.put(codes[k].code, codes[k].length);
                ends.push_back(bw.bitCount());
            }
            const auto words = bw.words();
            zub::WordCursor c(words.data(), 31 - pad);
            uint32_t v = 0;
            for (size_t i = 0; i < symbols.size(); ++i) {
                ASSERT_TRUE(zub::walkCodeTable(c, table.data(), v));
                ASSERT_EQ(v, codes[symbols[i]].fields);
                ASSERT_EQ((c.w - words.data()) * 32 + 31 - c.off, static_cast<long>(ends[i]));
            }
            for (const VlcCode& u : unused) {
                const uint32_t w[2] = {u.code << (32 - u.length) | static_cast<uint32_t>(rng()) >> u.length,
                                       static_cast<uint32_t>(rng())};
                zub::WordCursor bad(w, 31);
                EXPECT_FALSE(zub::walkCodeTable(bad, table.data(), v));
                EXPECT_TRUE(bad.w == w && bad.off == 31);
            }
        }
    }
}

// 1 (A), 01 (B), 00 01 (C) and 00 000 000 01 (D) at levels of 2 bits, then
// 3: a sub-table is as wide as its level or, if shorter, as the longest code
// below its link; levels beyond the list take its last width.
TEST(VlcBuild, LayoutAndEntries) {
    const auto t = buildVlcTable({vlcCodeFromString("1", 10), vlcCodeFromString("01", 20),
                                  vlcCodeFromString("00 01", 30), vlcCodeFromString("00 000 000 01", 40)},
                                 {2, 3});
    // Each level: its width, then its entries (value << 8 | bits given back),
    // L the link to the next level.
    const Zub32s X = zubtools::kVlcInvalidEntry, L = -1;
    const std::vector<std::vector<Zub32s>> levels = {{2, L, 20 << 8, 10 << 8 | 1, 10 << 8 | 1},
                                                     {3, L, X, 30 << 8 | 1, 30 << 8 | 1, X, X, X, X},
                                                     {3, L, X, X, X, X, X, X, X},
                                                     {2, X, 40 << 8, X, X}};
    size_t base = 0;
    for (const auto& level : levels) {
        for (size_t i = 0; i < level.size(); ++i)
            EXPECT_EQ(level[i] == L ? L : t.at(base + i), level[i]) << "table at " << base << ", entry " << i;
        if (level[1] != L) break;
        ASSERT_EQ(t[base + 1] & 0xFF, 0x80);
        base = static_cast<size_t>(t[base + 1]) >> 8;
    }
    EXPECT_EQ(t.size(), base + 5);
    // An empty code set gives an all-invalid root.
    EXPECT_EQ(buildVlcTable({}, {3}), std::vector<Zub32s>({3, X, X, X, X, X, X, X, X}));
}

TEST(VlcBuild, RejectsBadInput) {
    using E = std::invalid_argument;
    const auto code = [](const char* bits, uint32_t fields) { return vlcCodeFromString(bits, fields); };
    // A prefix of a longer code within a level or across levels, a code
    // twice, the invalid marker or 2^24 as a value, a code wider than its
    // length, lengths outside 1..32, level widths outside 1..16 or none.
    EXPECT_THROW(buildVlcTable({code("1", 1), code("10", 2)}, {4}), E);
    EXPECT_THROW(buildVlcTable({code("0001", 1), code("0", 2)}, {2}), E);
    EXPECT_THROW(buildVlcTable({code("0", 1), code("0", 2)}, {4}), E);
    EXPECT_THROW(buildVlcTable({code("1", 0xF0F1)}, {1}), E);
    EXPECT_THROW(buildVlcTable({code("1", 1u << 24)}, {1}), E);
    EXPECT_THROW(buildVlcTable({VlcCode{2, 1, 0}}, {1}), E);
    for (int length : {0, 33}) EXPECT_THROW(buildVlcTable({VlcCode{0, length, 0}}, {1}), E);
    for (const std::vector<int>& levelBits : {std::vector<int>{0}, {17}, {}, {4, 0}})
        EXPECT_THROW(buildVlcTable({code("1", 1)}, levelBits), E);
    EXPECT_THROW(vlcCodeFromString("01x", 0), E);
    EXPECT_THROW(vlcCodeFromString(std::string(33, '1'), 0), E);
    const VlcCode c = vlcCodeFromString("0000 0111", 5);
    EXPECT_TRUE(c.code == 7 && c.length == 8 && c.fields == 5);
}

}  // namespace
