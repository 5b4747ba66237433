// MPEG-1/MPEG-2 VLC tables: the library's builders and decoders, on the
// standard's tables of the helper library and on random codes.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <map>
#include <random>
#include <set>
#include <vector>

#include "zubvc.h"
#include "zubvc_tools/bitwriter.h"
#include "zubvc_tools/mpeg2vlc.h"

using zubtools::Mpeg2Code;
using zubtools::Mpeg2Vlc;

namespace {

constexpr Zub32s kFiller = 0x00F0F101;

// A built table freed at scope exit.
struct Table {
    Zub32s* p = nullptr;
    ZubStatus st;
    Table(const std::vector<Zub32s>& src, bool runLevel)
        : st(runLevel ? zubiHuffmanRunLevelTableInitAlloc_32s(src.data(), &p)
                      : zubiHuffmanTableInitAlloc_32s(src.data(), &p)) {}
    ~Table() {
        if (p) zubiHuffmanTableFree_32s(p);
    }
};

// Decodes with the decoder of the table's kind; value = level for pairs.
struct Decoded {
    ZubStatus st;
    int run;
    int value;
};
Decoded decode(const Zub32u*& w, Zub32u& off, const Zub32s* table, bool runLevel) {
    if (runLevel) {
        Zub8u run = 0xEE;
        Zub16s level = 0x5A5A;
        const ZubStatus st = zubiDecodeHuffmanPair_1u16s(&w, &off, table, &run, &level);
        return {st, run, level};
    }
    Zub32s v = 0x5A5A;
    const ZubStatus st = zubiDecodeHuffmanOne_1u32s(&w, &off, &v, table);
    return {st, 0, v};
}

long bitPos(const Zub32u* w, Zub32u off, const std::vector<uint32_t>& words) {
    return static_cast<long>(w - words.data()) * 32 + 31 - static_cast<long>(off);
}

// Writes the codes after `pad` bits, then decodes them all: each gives its
// value and leaves the cursor right after it.
void expectStreamDecodes(const std::vector<Mpeg2Code>& codes, const std::vector<size_t>& order, const Zub32s* table,
                         bool runLevel, int pad) {
    zubtools::BitWriter bw;
    bw.put(0, pad / 2);
    bw.put(0, pad - pad / 2);
    std::vector<size_t> ends;
    for (size_t k : order) {
        bw.put(codes[k].code, codes[k].length);
        ends.push_back(bw.bitCount());
    }
    const auto words = bw.words();
    const Zub32u* w = words.data();
    Zub32u off = static_cast<Zub32u>(31 - pad % 32);
    w += pad / 32;
    for (size_t i = 0; i < order.size(); ++i) {
        const Mpeg2Code& c = codes[order[i]];
        const Decoded d = decode(w, off, table, runLevel);
        ASSERT_EQ(d.st, ZubStatusOk) << "code " << i;
        ASSERT_EQ(d.value, runLevel ? static_cast<Zub16s>(c.value) : c.value) << "code " << i;
        if (runLevel) {
            ASSERT_EQ(d.run, c.run & 0xFF);
        }
        ASSERT_EQ(bitPos(w, off, words), static_cast<long>(ends[i]));
    }
}

// Sum over the codes of 2^-length, in units of 2^-20.
long kraft(const std::vector<Mpeg2Code>& codes) {
    long s = 0;
    for (const Mpeg2Code& c : codes) s += 1L << (20 - c.length);
    return s;
}

bool prefixFree(const std::vector<Mpeg2Code>& codes) {
    for (const Mpeg2Code& a : codes)
        for (const Mpeg2Code& b : codes)
            if (&a != &b && a.length <= b.length && (b.code >> (b.length - a.length)) == a.code) return false;
    return true;
}

// Every standard table: prefix-free, as complete as the standard makes it,
// one code per value, and every code decodes through the library's table at
// every start offset in a word.
TEST(Mpeg2Vlc, StandardTablesDecodeEveryCode) {
    struct Expect {
        Mpeg2Vlc t;
        size_t codes;
        long unusedKraft;  // code space no code uses, in units of 2^-20
    };
    const long u = 1L << 20;
    const Expect expect[] = {
        // 0000 000 and 0000 0001 less escape and stuffing
        {Mpeg2Vlc::MbAddressIncrement, 35, u / 128 + u / 256 - 2 * (u / 2048)},
        {Mpeg2Vlc::MbTypeI, 2, u / 4},
        {Mpeg2Vlc::MbTypeP, 7, u / 64},
        {Mpeg2Vlc::MbTypeB, 11, u / 64},
        {Mpeg2Vlc::MbTypeD, 1, u / 2},
        {Mpeg2Vlc::CodedBlockPattern, 64, u / 512},
        {Mpeg2Vlc::MotionCode, 33, u / 128 + u / 256},
        {Mpeg2Vlc::DmVector, 3, 0},
        {Mpeg2Vlc::DcSizeLuma, 12, 0},
        {Mpeg2Vlc::DcSizeChroma, 12, 0},
        // 111 pairs with sign, end of block, escape; 0000 0000 0000 and the
        // first-coefficient "1" form are not in the table.
        {Mpeg2Vlc::DctTableZero, 224, u / 4096},
        // Also the ten 12- and 13-bit codes of table zero whose pairs table
        // one codes shorter.
        {Mpeg2Vlc::DctTableOne, 224, u / 4096 + 6 * (u / 4096) + 4 * (u / 8192)},
    };
    std::mt19937 rng(5);
    for (const Expect& e : expect) {
        SCOPED_TRACE(static_cast<int>(e.t));
        const auto& codes = zubtools::mpeg2VlcCodes(e.t);
        const bool rl = zubtools::mpeg2VlcIsRunLevel(e.t);
        EXPECT_EQ(codes.size(), e.codes);
        EXPECT_TRUE(prefixFree(codes));
        EXPECT_EQ(u - kraft(codes), e.unusedKraft);
        std::set<std::pair<int, int>> values;
        for (const Mpeg2Code& c : codes) values.insert({c.run, c.value});
        EXPECT_EQ(values.size(), codes.size());

        const Table t(zubtools::mpeg2VlcSource(e.t), rl);
        ASSERT_EQ(t.st, ZubStatusOk);
        std::vector<size_t> order(codes.size());
        for (size_t i = 0; i < order.size(); ++i) order[i] = i;
        for (int pad = 0; pad < 32; ++pad) {
            std::shuffle(order.begin(), order.end(), rng);
            expectStreamDecodes(codes, order, t.p, rl, pad);
        }
        EXPECT_EQ(zubtools::mpeg2VlcTable(e.t)[0], t.p[0]);
    }
}

// Table one differs from table zero exactly where ISO/IEC 13818-2 Table B.15
// says: the pairs coded in fewer than 10 bits there, and (0,8)..(0,15),
// (1,5), (2,4), which move to shorter codes.
TEST(Mpeg2Vlc, TableOneSharesTheLongCodesOfTableZero) {
    std::map<std::pair<int, int>, std::pair<uint32_t, int>> zero;
    for (const Mpeg2Code& c : zubtools::mpeg2VlcCodes(Mpeg2Vlc::DctTableZero))
        zero[{c.run, c.value}] = {c.code, c.length};
    int same = 0;
    for (const Mpeg2Code& c : zubtools::mpeg2VlcCodes(Mpeg2Vlc::DctTableOne)) {
        const auto z = zero.at({c.run, c.value});
        if (z.first == c.code && z.second == c.length) ++same;
        if (c.length >= 13) {
            EXPECT_EQ(z, std::make_pair(c.code, c.length));
        }
    }
    // Shared: 12-bit rows less six (10 pairs), 13-bit less four (12), 14- to
    // 16-bit (48), (3,1) and (5,1), each with two signs, and the escape.
    EXPECT_EQ(same, 2 * (10 + 12 + 48 + 2) + 1);
}

// A random complete code of `leaves` words of at most maxLen bits.
std::vector<Mpeg2Code> randomCode(std::mt19937& rng, int leaves, int maxLen) {
    std::vector<Mpeg2Code> codes{{0, 1, 0, 0}, {1, 1, 0, 0}};
    while (static_cast<int>(codes.size()) < leaves) {
        size_t k = rng() % codes.size();
        while (codes[k].length >= maxLen) k = (k + 1) % codes.size();
        const Mpeg2Code c = codes[k];
        codes[k] = Mpeg2Code{c.code << 1, c.length + 1, 0, 0};
        codes.push_back(Mpeg2Code{(c.code << 1) | 1u, c.length + 1, 0, 0});
    }
    for (size_t i = 0; i < codes.size(); ++i) {
        codes[i].run = static_cast<int>(rng() % 256);
        codes[i].value = static_cast<int>(rng() % 60000) - 30000;
        if (codes[i].run == 0xF1) codes[i].run = 0;  // 241 with level 240 is the filler
    }
    return codes;
}

// Table words by the sizing rule: the root, and per level boundary c_j one
// sub-table of 2^w_(j+1) + 1 words per distinct c_j-bit prefix of a longer
// code.
size_t modelSize(const std::vector<Mpeg2Code>& codes, const std::vector<int>& levels) {
    size_t words = (size_t{1} << levels[0]) + 1;
    int c = 0;
    for (size_t j = 0; j + 1 < levels.size(); ++j) {
        c += levels[j];
        std::set<uint32_t> prefixes;
        for (const Mpeg2Code& k : codes) {
            int last = 0;
            for (int w : levels) last += w;
            if (k.length > c && k.length <= last) prefixes.insert(k.code >> (k.length - c));
        }
        words += prefixes.size() * ((size_t{1} << levels[j + 1]) + 1);
    }
    return words;
}

// True if some link of the table names a sub-table at a multiple of 256 (the
// single-value builder does not follow those).
bool hasLinkAtMultipleOf256(const Zub32s* t, size_t words) {
    for (size_t i = 1; i < words; ++i)
        if ((t[i] & 0xFF) == 0x80 && ((t[i] >> 8) & 0xFF) == 0) return true;
    return false;
}

struct AllocLog {
    static std::vector<size_t> sizes;
    static bool fail;
    static void* alloc(size_t n) {
        sizes.push_back(n);
        return fail ? nullptr : std::malloc(n);
    }
};
std::vector<size_t> AllocLog::sizes;
bool AllocLog::fail = false;

class Mpeg2VlcAlloc : public ::testing::Test {
protected:
    void SetUp() override {
        AllocLog::sizes.clear();
        AllocLog::fail = false;
        i_malloc = AllocLog::alloc;
    }
    void TearDown() override { i_malloc = std::malloc; }
    // Bytes that zubsMalloc_8u asks the hook for a table of n words.
    static size_t requestFor(size_t words) { return words * 4 + 32 + sizeof(void*); }
};

// Random codes at random level layouts, less a few words: the table has the
// size of the sizing rule, every code decodes with both decoders, and a
// left-out word is invalid: the pair decoder leaves the cursor, the single
// decoder moves it past the bits it looked up and stores 0xF0F1.
TEST_F(Mpeg2VlcAlloc, RandomCodesBuildToSizeAndDecode) {
    std::mt19937 rng(77);
    int singleChecked = 0;
    for (int trial = 0; trial < 60; ++trial) {
        std::vector<int> levels;
        const int n = 1 + static_cast<int>(rng() % 4);
        for (int k = 0; k < n; ++k) levels.push_back(1 + static_cast<int>(rng() % 9));
        int last = 0;
        for (int w : levels) last += w;
        const int maxLen = std::min(last, 24);
        const int leaves = std::min(3 + static_cast<int>(rng() % 120), 1 << std::min(maxLen, 10));
        if (leaves < 3) continue;
        std::vector<Mpeg2Code> codes = randomCode(rng, leaves, maxLen);
        std::shuffle(codes.begin(), codes.end(), rng);
        const std::vector<Mpeg2Code> unused(codes.end() - 2, codes.end());
        codes.resize(codes.size() - 2);
        const size_t words = modelSize(codes, levels);
        for (const bool rl : {false, true}) {
            SCOPED_TRACE(testing::Message() << "trial " << trial << (rl ? " run-level" : " single"));
            AllocLog::sizes.clear();
            const Table t(zubtools::mpeg2SourceList(codes, levels, rl), rl);
            ASSERT_EQ(t.st, ZubStatusOk);
            // The scratch list, then the table.
            ASSERT_EQ(AllocLog::sizes.size(), 2u);
            EXPECT_EQ(AllocLog::sizes[1], requestFor(words));
            EXPECT_EQ(t.p[0], levels[0]);
            if (!rl && hasLinkAtMultipleOf256(t.p, words)) continue;
            singleChecked += !rl;
            std::vector<size_t> order(300);
            for (size_t& k : order) k = rng() % codes.size();
            expectStreamDecodes(codes, order, t.p, rl, static_cast<int>(rng() % 64));
            for (const Mpeg2Code& bad : unused) {
                const uint32_t w[3] = {bad.code << (32 - bad.length) | static_cast<uint32_t>(rng()) >> bad.length,
                                       static_cast<uint32_t>(rng()), 0};
                const Zub32u* p = w;
                Zub32u off = 31;
                const Decoded d = decode(p, off, t.p, rl);
                EXPECT_EQ(d.st, ZubStatusVlcError);
                if (rl) {
                    EXPECT_TRUE(p == w && off == 31);
                    EXPECT_EQ(d.run, 0xEE);
                    EXPECT_EQ(d.value, 0x5A5A);
                } else {
                    EXPECT_EQ(d.value, 0xF0F1);
                    // Every level's bits were read: at least as many as the code.
                    EXPECT_GE(bitPos(p, off, std::vector<uint32_t>(w, w + 3)), bad.length);
                }
            }
        }
    }
    EXPECT_GT(singleChecked, 40);
}

// Codes 1 (A), 01 (B) and 001 (C) at a root of 2 bits and a sub-table of 3:
// every word of the table, with the filler left where no code lies.
TEST(Mpeg2Vlc, SmallTableLayout) {
    const std::vector<Mpeg2Code> codes = {{1, 1, 0, 7}, {1, 2, 0, -3}, {1, 3, 0, 0xFFFFFF}, {1, 5, 0, 9}};
    const Table t(zubtools::mpeg2SourceList(codes, {2, 3}, false), false);
    ASSERT_EQ(t.st, ZubStatusOk);
    const Zub32s link = (5 << 8) | 0x80;
    const Zub32s expect[] = {
        2,
        // root: 00 -> link, 01 -> B (gives back 0), 10 and 11 -> A (gives back 1)
        link, static_cast<Zub32s>((-3u << 8) | 0), (7 << 8) | 1, (7 << 8) | 1,
        // sub-table of 3 bits after 00: 1xx -> C (gives back 2), 001 -> 00001
        3, kFiller, (9 << 8) | 0, kFiller, kFiller,
        static_cast<Zub32s>(0xFFFFFF02u), static_cast<Zub32s>(0xFFFFFF02u), static_cast<Zub32s>(0xFFFFFF02u),
        static_cast<Zub32s>(0xFFFFFF02u),
    };
    for (size_t i = 0; i < std::size(expect); ++i) EXPECT_EQ(t.p[i], expect[i]) << "word " << i;

    // 0xFFFFFF reads back as -1 (a signed 24-bit value); 0000 0 is invalid.
    const uint32_t w[2] = {0x20000000u, 0};
    const Zub32u* p = w;
    Zub32u off = 31;
    Zub32s v = 0;
    EXPECT_EQ(zubiDecodeHuffmanOne_1u32s(&p, &off, &v, t.p), ZubStatusOk);
    EXPECT_EQ(v, -1);
    EXPECT_EQ(off, 28u);
    EXPECT_EQ(zubiDecodeHuffmanOne_1u32s(&p, &off, &v, t.p), ZubStatusVlcError);
    EXPECT_EQ(v, 0xF0F1);
    EXPECT_EQ(off, 23u);  // 2 + 3 bits read, the filler's give-back ignored
}

// A list whose first count is negative builds a root of filler only; codes
// beyond the last level are dropped.
TEST(Mpeg2Vlc, EmptyListAndOverlongCodes) {
    const Table empty(std::vector<Zub32s>{0, 1, 4, -1}, true);
    ASSERT_EQ(empty.st, ZubStatusOk);
    EXPECT_EQ(empty.p[0], 4);
    for (int i = 1; i <= 16; ++i) EXPECT_EQ(empty.p[i], kFiller);

    const std::vector<Mpeg2Code> codes = {{1, 1, 0, 5}, {1, 3, 0, 6}, {1, 4, 0, 8}};
    const Table t(zubtools::mpeg2SourceList(codes, {3}, false), false);
    ASSERT_EQ(t.st, ZubStatusOk);
    const Zub32s expect[] = {3, kFiller, 6 << 8, kFiller, kFiller, (5 << 8) | 2, (5 << 8) | 2, (5 << 8) | 2,
                             (5 << 8) | 2};
    for (size_t i = 0; i < std::size(expect); ++i) EXPECT_EQ(t.p[i], expect[i]) << "word " << i;

    // Filler: the pair decoder reports it (run 241, level 240 is reserved).
    const uint32_t w[2] = {0, 0};
    const Zub32u* p = w;
    Zub32u off = 3;
    Zub8u run = 1;
    Zub16s level = 1;
    EXPECT_EQ(zubiDecodeHuffmanPair_1u16s(&p, &off, empty.p, &run, &level), ZubStatusVlcError);
    EXPECT_TRUE(p == w && off == 3 && run == 1 && level == 1);
}

// The single-value builder's link exception: with a root of 8 bits and
// sub-tables of 4, the 16th sub-table starts at word 257 + 15 x 17 = 512.  A
// second code under that link is not walked into it but placed in the root
// by its last 4 bits; the run-level builder follows the link.
TEST(Mpeg2Vlc, SingleValueBuilderSkipsLinksAtMultiplesOf256) {
    std::vector<Mpeg2Code> codes;
    for (uint32_t prefix = 0; prefix < 16; ++prefix) codes.push_back({(0xA0 | prefix) << 4, 12, 0, 100 + int(prefix)});
    codes.push_back({(0xAF << 4) | 9, 12, 0, 555});
    for (const bool rl : {false, true}) {
        const Table t(zubtools::mpeg2SourceList(codes, {8, 4}, rl), rl);
        ASSERT_EQ(t.st, ZubStatusOk);
        EXPECT_EQ(t.p[1 + 0xAF], (512 << 8) | 0x80);
        EXPECT_EQ(t.p[512], 4);
        const Zub32s leaf = rl ? (555 << 16) : (555 << 8);
        if (rl) {
            EXPECT_EQ(t.p[512 + 1 + 9], leaf);
            EXPECT_EQ(t.p[1 + 9], kFiller);
        } else {
            EXPECT_EQ(t.p[512 + 1 + 9], kFiller);
            EXPECT_EQ(t.p[1 + 9], leaf);
        }
        EXPECT_EQ(t.p[512 + 1], rl ? (115 << 16) : (115 << 8));
    }
}

// Give-back across a word boundary moves the word pointer back; a read across
// it moves it on.
TEST(Mpeg2Vlc, CursorAcrossWordBoundaries) {
    const Table t(zubtools::mpeg2VlcSource(Mpeg2Vlc::DctTableZero), true);
    // At offset 5: "11" (run 0, level 1) and sign 0; the root read takes 3
    // bits of the next word and the give-back of 5 returns to the first.
    const uint32_t w[3] = {0x00000030u, 0x00000000u, 0};
    const Zub32u* p = w;
    Zub32u off = 5;
    Zub8u run = 9;
    Zub16s level = 0;
    ASSERT_EQ(zubiDecodeHuffmanPair_1u16s(&p, &off, t.p, &run, &level), ZubStatusOk);
    EXPECT_EQ(run, 0);
    EXPECT_EQ(level, 1);
    EXPECT_TRUE(p == w && off == 2u);
    // At offset 0 the root read takes 7 bits of the next word; "10" (end of
    // block) gives back 6 of them.
    const uint32_t e[3] = {0x00000001u, 0x00000000u, 0};
    p = e;
    off = 0;
    ASSERT_EQ(zubiDecodeHuffmanPair_1u16s(&p, &off, t.p, &run, &level), ZubStatusOk);
    EXPECT_EQ(run, 254);
    EXPECT_TRUE(p == e + 1 && off == 30u);
    // An offset above 31 is taken modulo 32.
    p = e;
    off = 32;
    run = 0;
    ASSERT_EQ(zubiDecodeHuffmanPair_1u16s(&p, &off, t.p, &run, &level), ZubStatusOk);
    EXPECT_EQ(run, 254);
    EXPECT_TRUE(p == e + 1 && off == 30u);
}

TEST_F(Mpeg2VlcAlloc, NullPointersAndFailedAllocation) {
    const auto& src = zubtools::mpeg2VlcSource(Mpeg2Vlc::DcSizeLuma);
    Zub32s* t = reinterpret_cast<Zub32s*>(1);
    EXPECT_EQ(zubiHuffmanTableInitAlloc_32s(nullptr, &t), ZubStatusNullPointer);
    EXPECT_EQ(zubiHuffmanRunLevelTableInitAlloc_32s(src.data(), nullptr), ZubStatusNullPointer);
    EXPECT_EQ(zubiHuffmanTableFree_32s(nullptr), ZubStatusNullPointer);
    EXPECT_TRUE(AllocLog::sizes.empty());
    EXPECT_EQ(t, reinterpret_cast<Zub32s*>(1));
    AllocLog::fail = true;
    EXPECT_EQ(zubiHuffmanTableInitAlloc_32s(src.data(), &t), ZubStatusNoMemory);
    EXPECT_EQ(t, nullptr);
    AllocLog::fail = false;
    // A level width beyond 30 bits cannot be allocated either.
    const std::vector<Zub32s> wide = {0, 2, 8, 31, -1};
    EXPECT_EQ(zubiHuffmanTableInitAlloc_32s(wide.data(), &t), ZubStatusNoMemory);

    const Table dc(src, false);
    const uint32_t w[2] = {0, 0};
    const Zub32u* p = w;
    const Zub32u* none = nullptr;
    Zub32u off = 31;
    Zub32s v = 3;
    Zub8u run = 0;
    Zub16s level = 0;
    EXPECT_EQ(zubiDecodeHuffmanOne_1u32s(nullptr, &off, &v, dc.p), ZubStatusNullPointer);
    EXPECT_EQ(zubiDecodeHuffmanOne_1u32s(&p, nullptr, &v, dc.p), ZubStatusNullPointer);
    EXPECT_EQ(zubiDecodeHuffmanOne_1u32s(&p, &off, nullptr, dc.p), ZubStatusNullPointer);
    EXPECT_EQ(zubiDecodeHuffmanOne_1u32s(&p, &off, &v, nullptr), ZubStatusNullPointer);
    EXPECT_EQ(zubiDecodeHuffmanOne_1u32s(&none, &off, &v, dc.p), ZubStatusNullPointer);
    EXPECT_EQ(zubiDecodeHuffmanPair_1u16s(nullptr, &off, dc.p, &run, &level), ZubStatusNullPointer);
    EXPECT_EQ(zubiDecodeHuffmanPair_1u16s(&p, nullptr, dc.p, &run, &level), ZubStatusNullPointer);
    EXPECT_EQ(zubiDecodeHuffmanPair_1u16s(&p, &off, nullptr, &run, &level), ZubStatusNullPointer);
    EXPECT_EQ(zubiDecodeHuffmanPair_1u16s(&p, &off, dc.p, nullptr, &level), ZubStatusNullPointer);
    EXPECT_EQ(zubiDecodeHuffmanPair_1u16s(&p, &off, dc.p, &run, nullptr), ZubStatusNullPointer);
    EXPECT_EQ(zubiDecodeHuffmanPair_1u16s(&none, &off, dc.p, &run, &level), ZubStatusNullPointer);
    EXPECT_TRUE(p == w && off == 31 && v == 3);
}

}  // namespace
