// H.264 CAVLC residual decoding and the inverse DC transforms.
//
// The CAVLC decoders are checked by round trips through the helper library's
// writer (the encoder side of clause 9.2, written from the level code
// formulation of clause 9.2.2.1), and by a table of hand-made streams with
// the documented outcome of each: status, count, bits consumed, block and
// coefficient pointer.  The DC transforms are checked against plain matrix
// products of clauses 8.5.10 and 8.5.11 at every QP.
#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
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
constexpr int kSentinel = 0x5555;

enum class Kind { Block4x4, Dc2x2, Dc2x4 };
int blockSize(Kind kind) { return kind == Kind::Block4x4 ? 16 : kind == Kind::Dc2x2 ? 4 : 8; }

// Caller tables other than the standard ones.
const Zub32s* const kNoTables[16] = {};
// Every coeff_token invalid (one bit looked up); run_before for zerosLeft 2
// where "1" is run 0 and "0x" is invalid and gives one bit back.
constexpr Zub32s kInvalid = static_cast<Zub32s>(0xF0F1u << 8);
const Zub32s kAllInvalid[] = {1, kInvalid, kInvalid};
const Zub32s kRunWithGiveBack[] = {2, kInvalid | 1, kInvalid | 1, 1, 1};
const Zub32s* const kRunsWithGiveBack[16] = {nullptr, nullptr, kRunWithGiveBack};
enum Tables { kStd, kNoToken, kBadToken, kPartToken, kNoTotalZeros, kGiveBackRun, kNoRun };

// One decoder call: the stream, every argument (valid by default) and the
// caller's state around it.
template <class T>
struct Call {
    Kind kind;
    std::vector<uint32_t> words;  // the data and exactly one readable word after it
    int pad;
    const Zub32u* word;
    Zub32u off, nC = 0;
    Zub16s count = -1, maxCount = 16;
    T block[16], *coeffs = block;
    const Zub32s *const *ct = h264CavlcTables().coeffToken, *const *tz, *const *rb = h264CavlcTables().runBefore;
    const Zub32s* ctDc;
    const Zub32u* scan = kZigzag;

    Call(Kind k, const BitWriter& bw, int startPad = 0, Tables tables = kStd)
        : kind(k), words(bw.words(1)), pad(startPad), word(words.data()), off(31u - startPad) {
        const auto& t = h264CavlcTables();
        ctDc = k == Kind::Dc2x2 ? t.coeffTokenChromaDc : t.coeffTokenChromaDc422;
        tz = k == Kind::Block4x4 ? t.totalZeros : k == Kind::Dc2x2 ? t.totalZerosChromaDc : t.totalZerosChromaDc422;
        std::fill(block, block + 16, static_cast<T>(kSentinel));
        static const Zub32s* const partial[3] = {t.coeffToken[0], nullptr, t.coeffToken[2]};
        if (tables == kNoToken) ct = kNoTables;
        if (tables == kBadToken) ctDc = kAllInvalid;
        if (tables == kPartToken) ct = partial;
        if (tables == kNoTotalZeros) tz = kNoTables;
        if (tables == kGiveBackRun) rb = kRunsWithGiveBack;
        if (tables == kNoRun) rb = kNoTables;
    }
    // Runs the decoder with the arguments named in `nulls` null: W O N P K Z R
    // S for the arguments in order, w and p for *ppBitStream and *ppCoeffs.
    ZubStatus run(const std::string& nulls = "") {
        auto no = [&](char ch) { return nulls.find(ch) != std::string::npos; };
        const Zub32u* noWord = nullptr;
        T* noCoeffs = nullptr;
        const Zub32u** w = no('W') ? nullptr : no('w') ? &noWord : &word;
        T** p = no('P') ? nullptr : no('p') ? &noCoeffs : &coeffs;
        Zub32u* o = no('O') ? nullptr : &off;
        Zub16s* n = no('N') ? nullptr : &count;
        const Zub32s* const* k = no('K') ? nullptr : ct;
        const Zub32s* kDc = no('K') ? nullptr : ctDc;
        const Zub32s* const* z = no('Z') ? nullptr : tz;
        const Zub32s* const* r = no('R') ? nullptr : rb;
        const Zub32u* s = no('S') ? nullptr : scan;
        if constexpr (sizeof(T) == 2) {
            if (kind == Kind::Block4x4) return zubiDecodeCAVLCCoeffs_H264_1u16s(w, o, n, p, nC, maxCount, k, z, r, s);
            return (kind == Kind::Dc2x2 ? zubiDecodeCAVLCChromaDcCoeffs_H264_1u16s
                                        : zubiDecodeCAVLCChroma422DcCoeffs_H264_1u16s)(w, o, n, p, kDc, z, r);
        } else {
            if (kind == Kind::Block4x4) return zubiDecodeCAVLCCoeffs_H264_1u32s(w, o, n, p, nC, maxCount, k, z, r, s);
            return (kind == Kind::Dc2x2 ? zubiDecodeCAVLCChromaDcCoeffs_H264_1u32s
                                        : zubiDecodeCAVLCChroma422DcCoeffs_H264_1u32s)(w, o, n, p, kDc, z, r);
        }
    }
    // Bits consumed since the start of the call sequence.
    long consumed() const { return static_cast<long>(word - words.data()) * 32 + 31 - static_cast<long>(off) - pad; }
};

// Random levels: mostly small with a tail of large ones reaching the escapes.
int32_t randomLevel(std::mt19937& rng) {
    const unsigned r = rng() % 100;
    const int32_t mag = r < 45   ? 1
                        : r < 70 ? 2 + static_cast<int32_t>(rng() % 3)
                        : r < 85 ? 5 + static_cast<int32_t>(rng() % 60)
                        : r < 95 ? 65 + static_cast<int32_t>(rng() % 4000)
                                 : 4065 + static_cast<int32_t>(rng() % 28703);
    return (rng() & 1) ? -mag : mag;
}

// Empty and sparse blocks, blocks packed into the first positions (any
// total_zeros) and spread blocks, full ones coding no total_zeros.  The
// round trips below meet every coeff_token, total_zeros and run_before code
// of the caller tables this way.
std::vector<int32_t> randomBlock(std::mt19937& rng, int n) {
    std::vector<int32_t> v(n, 0);
    const unsigned shape = rng() % 4;
    int k = shape == 0 ? 0 : shape == 1 ? static_cast<int>(rng() % 4) : static_cast<int>(rng() % (n + 1));
    if (shape == 3 && rng() % 2) k = n;
    for (int i = 0; i < k; ++i) v[i] = randomLevel(rng);
    std::shuffle(v.begin(), v.begin() + (shape == 2 ? k + static_cast<int>(rng() % (n - k + 1)) : n), rng);
    return v;
}

// Writes `blocks` (levels in scan order, written for writeMax coefficients)
// into one stream after `startPad` bits, then decodes them one after the
// other with one cursor into one packed buffer, each at decodeMax.  Decoding
// a 16-coefficient stream at maxNumCoeff 15 (TotalCoeff other than 15) takes
// each position one further along the scan, modulo 16; 16-bit coefficients
// keep the low 16 bits of a level.
template <class T>
void roundTrip(Kind kind, int nC, int writeMax, int decodeMax, const Zub32u* scan,
               const std::vector<std::vector<int32_t>>& blocks, int startPad) {
    BitWriter bw;
    bw.put(0x5A5A5A5Au, startPad);
    std::vector<long> ends;
    std::vector<int> counts;
    for (const auto& b : blocks) {
        counts.push_back(zubtools::writeCavlcBlock(bw, b.data(), writeMax, nC));
        ends.push_back(static_cast<long>(bw.bitCount()) - startPad);
    }
    Call<T> c(kind, bw, startPad);
    c.nC = static_cast<Zub32u>(nC);
    c.maxCount = static_cast<Zub16s>(decodeMax);
    c.scan = scan;
    const int n = blockSize(kind), skip = kind == Kind::Block4x4 ? 16 - decodeMax : 0;
    std::vector<T> buf(n * blocks.size() + 1, static_cast<T>(kSentinel));
    c.coeffs = buf.data();
    for (size_t b = 0; b < blocks.size(); ++b) {
        SCOPED_TRACE(testing::Message() << "block " << b << " nC " << nC << " max " << writeMax << "/" << decodeMax);
        T* const at = c.coeffs;
        c.count = -1;
        ASSERT_EQ(c.run(), ZubStatusOk);
        ASSERT_EQ(c.count, counts[b]);
        ASSERT_EQ(c.consumed(), ends[b]);
        ASSERT_EQ(c.coeffs, at + (counts[b] ? n : 0));
        if (!counts[b]) continue;
        const auto& lv = blocks[b];
        std::vector<int64_t> want(n, 0);
        for (int i = 0; i < static_cast<int>(lv.size()); ++i) {
            if (kind == Kind::Block4x4) want[scan[(i + skip) & 15]] = lv[i];
            if (kind == Kind::Dc2x2) want[i] = lv[i];
            if (kind == Kind::Dc2x4) want[i] = lv[kChroma422Matrix[i / 2][i % 2]];
        }
        for (int i = 0; i < n; ++i) ASSERT_EQ(at[i], static_cast<T>(want[i])) << "coefficient " << i;
    }
    EXPECT_EQ(buf.back(), static_cast<T>(kSentinel));  // nothing written past the packed blocks
}

void roundTripBoth(Kind kind, int nC, int writeMax, int decodeMax, const Zub32u* scan,
                   const std::vector<std::vector<int32_t>>& blocks, int startPad) {
    roundTrip<Zub16s>(kind, nC, writeMax, decodeMax, scan, blocks, startPad);
    roundTrip<Zub32s>(kind, nC, writeMax, decodeMax, scan, blocks, (startPad + 7) % 32);
}

// ---------------------------------------------------------------------------

// Random blocks of every kind and nC class, 16- and 32-bit, from streams
// starting anywhere in a word.
TEST(CavlcDecode, RoundTripEveryBlockKind) {
    std::mt19937 rng(11);
    const std::pair<int, int> maxCounts[] = {{16, 16}, {15, 15}, {16, 15}};
    for (const auto& [writeMax, decodeMax] : maxCounts)
        for (int nC : {0, 1, 2, 3, 4, 7, 8, 16}) {
            std::vector<std::vector<int32_t>> blocks;
            while (blocks.size() < 300) {
                blocks.push_back(randomBlock(rng, writeMax));
                if (writeMax != decodeMax && std::count(blocks.back().begin(), blocks.back().end(), 0) == 1)
                    blocks.pop_back();  // TotalCoeff 15 has total_zeros at 16, none at 15
            }
            blocks.back()[0] = 32768;  // -32768 in 16 bits
            roundTripBoth(Kind::Block4x4, nC, writeMax, decodeMax, (nC & 1) ? kFieldScan : kZigzag, blocks, nC % 32);
        }
    for (Kind kind : {Kind::Dc2x2, Kind::Dc2x4}) {
        const int n = blockSize(kind);
        std::vector<std::vector<int32_t>> blocks(1, std::vector<int32_t>(n, 0));
        for (int i = 0; i < 1500; ++i) blocks.push_back(randomBlock(rng, n));
        for (int p = 0; p < 2 * n; ++p) {  // every single +-1 (the 2x2 fast path)
            blocks.emplace_back(n, 0);
            blocks.back()[p / 2] = p % 2 ? -1 : 1;
        }
        std::shuffle(blocks.begin(), blocks.end(), rng);
        for (int pad : {0, 13, 30}) roundTripBoth(kind, kind == Kind::Dc2x2 ? -1 : -2, n, n, nullptr, blocks, pad);
    }
}

// Level magnitudes at every level_prefix and around the escape boundaries
// (level_prefix 15 and 16 and more) at each suffixLength 0..6; the
// preceding levels 1, 4, 7, 13, 25, 49 (after three trailing ones) raise
// suffixLength by one each.  Then the first level after fewer than three
// trailing ones, which carries the bonus, with suffixLength 1 above ten
// coefficients, and a first magnitude above 3 moving the second level to
// suffixLength 2.
TEST(CavlcDecode, LevelCodes) {
    std::vector<int32_t> mags{32767, 32768};
    for (int m = 1; m <= 1100; m += m < 80 ? 1 : 7) mags.push_back(m);
    for (int sl = 0; sl <= 6; ++sl)
        for (int p = 15; p <= 20; ++p)
            for (int d = -2; d <= 2; ++d) {
                const int m = (sl == 0 ? 15 : (15 << sl) / 2) + (1 << (p - 4)) - 2047 + d;
                if (m > 0 && m <= 32768) mags.push_back(m);
            }
    const int ramp[6] = {1, 4, 7, 13, 25, 49};
    for (int sl = 0; sl <= 6; ++sl) {
        std::vector<std::vector<int32_t>> blocks;
        for (int32_t m : mags)
            for (int sign : {1, -1}) {
                std::vector<int32_t> b(16, 0);
                b[0] = sign * m;
                for (int k = 0; k < sl; ++k) b[sl - k] = ramp[k];
                b[sl + 1] = b[sl + 3] = 1;
                b[sl + 2] = -1;
                blocks.push_back(b);
            }
        roundTripBoth(Kind::Block4x4, sl, 16, 16, kZigzag, blocks, 5);
    }
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
    roundTripBoth(Kind::Block4x4, 0, 16, 16, kZigzag, blocks, 0);
    roundTripBoth(Kind::Block4x4, 12, 16, 16, kZigzag, blocks, 31);
    // A full block whose last level is an escape ending the stream at a word
    // boundary: nothing is read beyond the one word after it (sanitizer builds).
    std::vector<int32_t> last(16, 3);
    last[0] = 30000;
    BitWriter probe;
    zubtools::writeCavlcBlock(probe, last.data(), 16, 8);
    const int pad = static_cast<int>((32 - probe.bitCount() % 32) % 32);
    roundTrip<Zub16s>(Kind::Block4x4, 8, 16, 16, kZigzag, {last}, pad);
    roundTrip<Zub32s>(Kind::Block4x4, 8, 16, 16, kZigzag, {last}, pad);
}

// ---------------------------------------------------------------------------
// Hand-made streams and their documented outcomes.

std::string bin(uint32_t v, int n) {
    std::string s;
    for (int i = n - 1; i >= 0; --i) s += i < 32 && ((v >> i) & 1u) ? '1' : '0';
    return s;
}

struct Outcome {
    Kind kind;
    Zub32u nC;
    int maxCount;
    Tables tables;
    int pad;
    std::string bits;  // '0' and '1'; anything else is skipped
    ZubStatus status;
    int count;                                // -1: not stored
    int consumed;                             // bits
    std::vector<std::pair<int, int>> placed;  // raster index, level; the rest of a stored block is 0
    std::string nulls = "";                   // null arguments, as Call::run takes them
};

std::vector<Outcome> outcomes() {
    const Kind b4 = Kind::Block4x4, dc2 = Kind::Dc2x2, dc4 = Kind::Dc2x4;
    const ZubStatus ok = ZubStatusOk, vlc = ZubStatusVlcError, null = ZubStatusNullPointer;
    const std::string zeros(32, '0');
    std::vector<Outcome> v = {
        // Block 0 3 -1 0 / 0 -1 1 0 / 1 0 0 0 / 0: coeff_token (5, 3), signs,
        // levels 1 and 3, total_zeros 3, runs 1 0 0 1.
        {b4, 1, 16, kStd, 3, "0000100 011 1 0010 111 10 1 1 01", ok, 5, 24, {{1, 3}, {2, -1}, {5, -1}, {6, 1}, {8, 1}}},
        // nC >= 8: fixed-length coeff_token, 000011 the empty block; the
        // coeff_token tables are not needed.
        {b4, 8, 16, kNoToken, 0, "000011", ok, 0, 6, {}},
        // The coeff_token table that nC selects must be there, others need not.
        {b4, 2, 16, kPartToken, 0, "1", null, -1, 0, {}},
        {b4, 3, 16, kPartToken, 0, "1", null, -1, 0, {}},
        {b4, 1, 16, kPartToken, 0, "1", ok, 0, 1, {}},
        // total_zeros 000000000 starts no code of Table 9-7: the cursor stays
        // after the 9-bit look-up, the count is stored, the block cleared.
        {b4, 0, 16, kStd, 0, "01 0 000000000 1111111111111111", vlc, 1, 12, {}},
        {b4, 0, 16, kNoTotalZeros, 9, "01 1 1", null, 1, 3, {}},
        // (3, 3), signs + - +, total_zeros 2: run "1" places the first level,
        // then "00" is invalid and gives one bit back.
        {b4, 0, 16, kGiveBackRun, 0, "00011 010 110 1 00", vlc, 3, 13, {{static_cast<int>(kZigzag[4]), 1}}},
        {b4, 0, 16, kNoRun, 0, "00011 010 110 1 00", null, 3, 11, {}},
        // 4:2:0 chroma DC: "01" is the empty block, neither coefficient
        // pointer nor tables needed; the general path; an invalid coeff_token
        // keeps the cursor.
        {dc2, 0, 0, kStd, 0, "01 111", ok, 0, 2, {}, "PKZRp"},
        {dc2, 0, 0, kStd, 0, "001 00 1", ok, 2, 6, {{0, 1}, {1, 1}}},
        {dc2, 0, 0, kBadToken, 20, zeros, vlc, -1, 0, {}},
        // 4:2:2 chroma DC: (1, 1), sign -, total_zeros 0; 11 zeros start no
        // coeff_token.
        {dc4, 0, 0, kStd, 0, "01 1 1", ok, 1, 4, {{0, -1}}},
        {dc4, 0, 0, kStd, 31, zeros, vlc, -1, 0, {}},
    };
    // Zero bits start no code of the nC 0-1 table (16 zeros) or of the
    // 4 <= nC < 8 table (10 zeros): cursor kept, nothing written.
    for (Zub32u nC : {0u, 1u, 4u, 7u})
        for (int pad : {0, 20, 31}) v.push_back({b4, nC, 16, kStd, pad, zeros, vlc, -1, 0, {}});
    // maxNumCoeff 15 or 16 only; nC negative as a signed value.
    for (int m : {0, 4, 14, 17, -16}) v.push_back({b4, 0, m, kStd, 0, "1", ZubStatusOutOfRange, -1, 0, {}});
    for (Zub32u nC : {0xFFFFFFFFu, 0xFFFFFFFEu, 0x80000000u})
        v.push_back({b4, nC, 16, kStd, 0, "1", ZubStatusOutOfRange, -1, 0, {}});
    // 2x2 "1 s xyz": every sign and total_zeros code of Table 9-9(a), without
    // tables.
    const std::string tzCodes[4] = {"1", "01", "001", "000"};
    for (int tz = 0; tz < 4; ++tz)
        for (int neg = 0; neg < 2; ++neg) {
            const int len = 2 + static_cast<int>(tzCodes[tz].size());
            v.push_back(
                {dc2, 0, 0, kStd, 0, bin(2 + neg, 2) + tzCodes[tz] + "111", ok, 1, len, {{tz, 1 - 2 * neg}}, "KZR"});
        }
    // level_prefix 40 after coeff_token (3, 4) and signs + + +: the 37-bit
    // suffix counts by its low 16 bits, level code (15 + 15 + suffix - 4096)
    // mod 2^16; then total_zeros 0 (00011).
    for (uint32_t low : {0x0000u, 0x0FE2u, 0x1234u, 0xF001u, 0xFFFFu}) {
        const uint32_t code = (30u + low - 4096u) & 0xFFFFu;
        const int level = (code & 1u) ? -static_cast<int>((code + 1) / 2) : static_cast<int>((code + 2) / 2);
        const std::string bits = "000011 000" + bin(0, 40) + "1" + bin(0x1F, 21) + bin(low, 16) + "00011";
        v.push_back({b4, 0, 16, kStd, 17, bits, ok, 4, 92, {{0, level}, {1, 1}, {4, 1}, {8, 1}}});
    }
    // Each pointer argument null in turn where the path taken needs it: -8
    // with nothing changed.  For 4x4 blocks a null pointer wins over a
    // negative nC and a bad maxNumCoeff.
    const std::tuple<Kind, const char*, std::string> paths[] = {{b4, "1", "WONPKZRSwp"},
                                                                {dc4, "01 1 1", "WONPKZRwp"},
                                                                {dc2, "001 00 1", "WONPKZRwp"},
                                                                {dc2, "1 0 1", "WONPwp"},
                                                                {dc2, "01", "WONw"}};
    for (const auto& [kind, bits, needed] : paths)
        for (char arg : needed) v.push_back({kind, ~0u, 14, kStd, 0, bits, null, -1, 0, {}, std::string(1, arg)});
    return v;
}

template <class T>
void checkOutcome(const Outcome& o) {
    SCOPED_TRACE(testing::Message() << "kind " << static_cast<int>(o.kind) << ", tables " << o.tables << ", " << o.bits
                                    << ", nC " << o.nC << ", max " << o.maxCount << ", pad " << o.pad << ", null "
                                    << o.nulls << ", " << sizeof(T) * 8 << "-bit");
    BitWriter bw;
    bw.put(0xFFFFFFFFu, o.pad);
    for (char ch : o.bits)
        if (ch == '0' || ch == '1') bw.putBit(ch - '0');
    Call<T> c(o.kind, bw, o.pad, o.tables);
    c.nC = o.nC;
    c.maxCount = static_cast<Zub16s>(o.maxCount);
    EXPECT_EQ(c.run(o.nulls), o.status);
    EXPECT_EQ(c.count, o.count);
    EXPECT_EQ(c.consumed(), o.consumed);
    // A block is written (cleared, then placed) once a count above 0 is
    // stored, and passed only on success.
    const bool written = o.count > 0;
    EXPECT_EQ(c.coeffs, c.block + (written && o.status == ZubStatusOk ? blockSize(o.kind) : 0));
    for (int i = 0; i < 16; ++i) {
        int want = i < blockSize(o.kind) && written ? 0 : kSentinel;
        for (const auto& [r, level] : o.placed)
            if (r == i) want = level;
        EXPECT_EQ(c.block[i], static_cast<T>(want)) << "coefficient " << i;
    }
}

TEST(CavlcDecode, DocumentedOutcomes) {
    for (const Outcome& o : outcomes()) {
        checkOutcome<Zub16s>(o);
        checkOutcome<Zub32s>(o);
    }
}

// ---------------------------------------------------------------------------
// Inverse DC transforms: plain matrix products with 64-bit sums, reduced to
// 32 bits where the library's 32-bit arithmetic would wrap.

const int kH[4][4] = {{1, 1, 1, 1}, {1, 1, -1, -1}, {1, -1, -1, 1}, {1, -1, 1, -1}};
// Clause 8.5.9: normAdjust4x4 v[QP % 6]; the default (flat) level scale is
// 16 times v0 at even (i, j), v1 at odd (i, j), v2 elsewhere.
const int kNormAdjust[6][3] = {{10, 16, 13}, {11, 18, 14}, {13, 20, 16}, {14, 23, 18}, {16, 25, 20}, {18, 29, 23}};

int32_t wrap32(int64_t v) { return static_cast<int32_t>(static_cast<uint32_t>(static_cast<uint64_t>(v))); }

// f = A c B with A and B the Hadamard matrices of the rows and columns
// (order 2: [1 1; 1 -1]), then clause 8.5.10 / 8.5.11.2 scaling: 4:2:0
// ((f s) << e) >> 5; otherwise (f s + 2^(5-e)) >> (6-e) or (f s) << (e-6),
// with e = QP / 6 (QP + 3 for 4:2:2).  The 16-bit 2x4 variant keeps f to 16
// bits.
std::vector<int32_t> modelDc(Kind kind, const std::vector<int64_t>& c, int qp, int s, bool wrap16) {
    const int rows = kind == Kind::Dc2x2 ? 2 : 4, cols = kind == Kind::Block4x4 ? 4 : 2;
    auto h = [](int n, int i, int j) { return n == 2 ? (i && j ? -1 : 1) : kH[i][j]; };
    std::vector<int32_t> out(rows * cols);
    for (int i = 0; i < rows; ++i)
        for (int j = 0; j < cols; ++j) {
            int64_t f = 0;
            for (int k = 0; k < rows; ++k)
                for (int l = 0; l < cols; ++l) f += int64_t{h(rows, i, k)} * c[cols * k + l] * h(cols, l, j);
            f = wrap32(f);
            if (wrap16 && kind == Kind::Dc2x4) f = static_cast<int16_t>(static_cast<uint16_t>(f));
            const int e = (kind == Kind::Dc2x4 ? qp + 3 : qp) / 6;
            const int32_t p = wrap32(f * s);
            out[cols * i + j] = kind == Kind::Dc2x2 ? wrap32((int64_t{p} << e) >> 5)
                                : e >= 6            ? wrap32(int64_t{p} << (e - 6))
                                                    : wrap32(f * s + (int64_t{1} << (5 - e))) >> (6 - e);
        }
    return out;
}

template <class T>
ZubStatus callDc(Kind kind, T* p, int qp, const Zub16s* scale) {
    auto call = [&](auto luma, auto c2x2, auto c2x4) {
        return (kind == Kind::Block4x4 ? luma : kind == Kind::Dc2x2 ? c2x2 : c2x4)(p, qp, scale);
    };
    if constexpr (sizeof(T) == 2)
        return call(zubiTransformQuantInvLumaDC4x4_H264_16s_C1I, zubiTransformQuantInvChromaDC2x2_H264_16s_C1I,
                    zubiTransformQuantInvChromaDC2x4_H264_16s_C1I);
    else
        return call(zubiTransformQuantInvLumaDC4x4_H264_32s_C1I, zubiTransformQuantInvChromaDC2x2_H264_32s_C1I,
                    zubiTransformQuantInvChromaDC2x4_H264_32s_C1I);
}

// Typical DC levels and the full coefficient range, with the default scale
// and with caller scales of either sign, at every QP; then the QP range
// (-11, nothing written) and the null check before it (-8).
template <class T>
void checkDc(Kind kind, int maxQp) {
    std::mt19937 rng(21);
    const int n = blockSize(kind);
    for (int qp = 0; qp <= maxQp; ++qp)
        for (int trial = 0; trial < 40; ++trial) {
            std::vector<int64_t> c(n);
            for (auto& v : c)
                v = trial % 3 != 2   ? static_cast<int64_t>(rng() % 401) - 200
                    : sizeof(T) == 2 ? static_cast<int16_t>(rng())
                                     : static_cast<int32_t>(rng() >> (rng() % 24));
            const bool caller = trial % 2 == 1;
            const Zub16s userScale = static_cast<Zub16s>(trial % 4 == 3 ? static_cast<int16_t>(rng()) : rng() % 4096);
            const int s = caller ? userScale : 16 * kNormAdjust[(kind == Kind::Dc2x4 ? qp + 3 : qp) % 6][0];
            const auto want = modelDc(kind, c, qp, s, sizeof(T) == 2);
            std::vector<T> buf(c.begin(), c.end());
            ASSERT_EQ(callDc<T>(kind, buf.data(), qp, caller ? &userScale : nullptr), ZubStatusOk);
            for (int i = 0; i < n; ++i) ASSERT_EQ(buf[i], static_cast<T>(want[i])) << "qp " << qp << " i " << i;
        }
    std::vector<T> buf(n, 3);
    for (int qp : {-1, maxQp + 1, 1000}) {
        EXPECT_EQ(callDc<T>(kind, buf.data(), qp, nullptr), ZubStatusOutOfRange);
        EXPECT_EQ(callDc<T>(kind, static_cast<T*>(nullptr), qp, nullptr), ZubStatusNullPointer);
    }
    EXPECT_EQ(buf, std::vector<T>(n, 3));
}

TEST(DcTransform, EveryKindAndQp) {
    const std::tuple<Kind, int, int> kinds[] = {{Kind::Block4x4, 51, 87}, {Kind::Dc2x2, 39, 75}, {Kind::Dc2x4, 39, 75}};
    for (const auto& [kind, max16, max32] : kinds) {
        checkDc<Zub16s>(kind, max16);
        checkDc<Zub32s>(kind, max32);
    }
    // The 16-bit 2x4 transform wraps before scaling: eight values of 5000 sum
    // to 40000, taken as -25536; QP 32 (e 5) then rounds and halves it.
    const Zub16s one = 1;
    Zub16s w[8] = {5000, 5000, 5000, 5000, 5000, 5000, 5000, 5000};
    ASSERT_EQ(zubiTransformQuantInvChromaDC2x4_H264_16s_C1I(w, 32, &one), ZubStatusOk);
    EXPECT_EQ(w[0], -12768);
}

// Exported tables that the decoders and transforms read only in part.
TEST(CavlcTables, ExportedTables) {
    for (int i = 0; i < 96; ++i) {
        const int row = i % 16 / 4 % 2, col = i % 4 % 2;
        EXPECT_EQ(InvLevelScale_4x4_default[i / 16][i % 16], 16 * kNormAdjust[i / 16][row == col ? row : 2]);
    }
    for (int qp = 0; qp < 90; ++qp) EXPECT_EQ(h264_qp6[qp] * 6 + h264_qp_rem[qp], qp);
    for (int i = 0; i < 6; ++i) EXPECT_EQ(vlc_inc[i], i ? 3 << (i - 1) : 0);
}

}  // namespace
