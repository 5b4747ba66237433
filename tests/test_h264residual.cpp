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
#include <functional>
#include <random>
#include <string>
#include <vector>

#include "../src/common/bitstream.h"
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
// Every coeff_token invalid (one bit looked up).
const Zub32s kAllInvalid[] = {1, static_cast<Zub32s>(0xF0F1u << 8), static_cast<Zub32s>(0xF0F1u << 8)};
// run_before for zerosLeft 2: "1" is run 0; "0x" is invalid and gives one bit back.
const Zub32s kRunWithGiveBack[] = {2, static_cast<Zub32s>(0xF0F1u << 8 | 1), static_cast<Zub32s>(0xF0F1u << 8 | 1), 1,
                                   1};
const Zub32s* const kRunsWithGiveBack[16] = {nullptr, nullptr, kRunWithGiveBack};
enum class Tables {
    Standard,
    NoCoeffToken,
    InvalidCoeffToken,
    PartialCoeffToken,
    NoTotalZeros,
    GiveBackRun,
    NoRun,
    None
};

// One decoder call: the stream, every argument (valid by default) and the
// caller's state around it.  The error tests replace arguments one at a time.
template <class T>
struct Call {
    Kind kind;
    std::vector<uint32_t> words;  // the data and exactly one readable word after it
    int pad;
    const Zub32u* word;
    Zub32u off;
    Zub16s count = -1;
    T block[16];
    T* coeffs = block;
    Zub32u nC = 0;
    Zub16s maxCount = 16;
    const Zub32s* const* ct = h264CavlcTables().coeffToken;
    const Zub32s* ctDc;
    const Zub32s* const* tz;
    const Zub32s* const* rb = h264CavlcTables().runBefore;
    const Zub32u* scan = kZigzag;
    const Zub32u* nullWord = nullptr;
    T* nullCoeffs = nullptr;
    const Zub32u** pWord = &word;
    Zub32u* pOff = &off;
    Zub16s* pCount = &count;
    T** pCoeffs = &coeffs;

    Call(Kind k, const BitWriter& bw, int startPad = 0, Tables tables = Tables::Standard)
        : kind(k), words(bw.words(1)), pad(startPad), word(words.data()), off(31u - startPad) {
        const auto& t = h264CavlcTables();
        ctDc = k == Kind::Dc2x2 ? t.coeffTokenChromaDc : t.coeffTokenChromaDc422;
        tz = k == Kind::Block4x4 ? t.totalZeros : k == Kind::Dc2x2 ? t.totalZerosChromaDc : t.totalZerosChromaDc422;
        std::fill(block, block + 16, static_cast<T>(kSentinel));
        static const Zub32s* const partial[3] = {t.coeffToken[0], nullptr, t.coeffToken[2]};
        if (tables == Tables::NoCoeffToken) ct = kNoTables;
        if (tables == Tables::InvalidCoeffToken) ctDc = kAllInvalid;
        if (tables == Tables::PartialCoeffToken) ct = partial;
        if (tables == Tables::NoTotalZeros) tz = kNoTables;
        if (tables == Tables::GiveBackRun) rb = kRunsWithGiveBack;
        if (tables == Tables::NoRun) rb = kNoTables;
        if (tables == Tables::None) ct = tz = rb = nullptr, ctDc = nullptr;
    }
    ZubStatus run() {
        if constexpr (sizeof(T) == 2) {
            if (kind == Kind::Block4x4)
                return zubiDecodeCAVLCCoeffs_H264_1u16s(pWord, pOff, pCount, pCoeffs, nC, maxCount, ct, tz, rb, scan);
            if (kind == Kind::Dc2x2)
                return zubiDecodeCAVLCChromaDcCoeffs_H264_1u16s(pWord, pOff, pCount, pCoeffs, ctDc, tz, rb);
            return zubiDecodeCAVLCChroma422DcCoeffs_H264_1u16s(pWord, pOff, pCount, pCoeffs, ctDc, tz, rb);
        } else {
            if (kind == Kind::Block4x4)
                return zubiDecodeCAVLCCoeffs_H264_1u32s(pWord, pOff, pCount, pCoeffs, nC, maxCount, ct, tz, rb, scan);
            if (kind == Kind::Dc2x2)
                return zubiDecodeCAVLCChromaDcCoeffs_H264_1u32s(pWord, pOff, pCount, pCoeffs, ctDc, tz, rb);
            return zubiDecodeCAVLCChroma422DcCoeffs_H264_1u32s(pWord, pOff, pCount, pCoeffs, ctDc, tz, rb);
        }
    }
    // Bits consumed since the start of the call sequence.
    long consumed() const { return static_cast<long>(word - words.data()) * 32 + 31 - static_cast<long>(off) - pad; }
    bool untouched() const {
        return consumed() == 0 && count == -1 && coeffs == block &&
               std::all_of(block, block + 16, [](T v) { return v == static_cast<T>(kSentinel); });
    }
};

// Random levels: mostly small with a tail of large ones reaching the escapes.
int32_t randomLevel(std::mt19937& rng, int32_t maxMag) {
    const unsigned r = rng() % 100;
    const int32_t mag = r < 45   ? 1
                        : r < 70 ? 2 + static_cast<int32_t>(rng() % 3)
                        : r < 85 ? 5 + static_cast<int32_t>(rng() % 60)
                        : r < 95 ? 65 + static_cast<int32_t>(rng() % 4000)
                                 : 4065 + static_cast<int32_t>(rng() % static_cast<unsigned>(maxMag - 4064));
    return (rng() & 1) ? -mag : mag;
}

// Empty, sparse, random and full blocks (full ones code no total_zeros).
std::vector<int32_t> randomBlock(std::mt19937& rng, int n, int32_t maxMag) {
    std::vector<int32_t> v(n, 0);
    const unsigned shape = rng() % 4;
    int k = shape == 0 ? 0 : shape == 1 ? static_cast<int>(rng() % 4) : static_cast<int>(rng() % (n + 1));
    if (shape == 3 && rng() % 2) k = n;
    std::vector<int> pos(n);
    for (int i = 0; i < n; ++i) pos[i] = i;
    std::shuffle(pos.begin(), pos.end(), rng);
    for (int i = 0; i < k; ++i) v[pos[i]] = randomLevel(rng, maxMag);
    return v;
}

// Writes `blocks` (levels in scan order, written for writeMax coefficients)
// into one stream after `startPad` bits, then decodes them one after the
// other with one cursor into one packed buffer, each at decodeMax.  Decoding
// a 16-coefficient stream at maxNumCoeff 15 (TotalCoeff other than 15) takes
// each position one further along the scan, modulo 16.
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
                   std::vector<std::vector<int32_t>> blocks, int startPad) {
    std::vector<std::vector<int32_t>> narrow;
    for (const auto& b : blocks)
        if (std::find(b.begin(), b.end(), 32768) == b.end()) narrow.push_back(b);  // 32768: 32 bits only
    roundTrip<Zub16s>(kind, nC, writeMax, decodeMax, scan, narrow, startPad);
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
                blocks.push_back(randomBlock(rng, writeMax, 32767));
                if (writeMax != decodeMax && std::count(blocks.back().begin(), blocks.back().end(), 0) == 1)
                    blocks.pop_back();  // TotalCoeff 15 has total_zeros at 16, none at 15
            }
            blocks.back()[0] = 32768;
            roundTripBoth(Kind::Block4x4, nC, writeMax, decodeMax, (nC & 1) ? kFieldScan : kZigzag, blocks, nC % 32);
        }
    for (Kind kind : {Kind::Dc2x2, Kind::Dc2x4}) {
        const int n = blockSize(kind);
        std::vector<std::vector<int32_t>> blocks(1, std::vector<int32_t>(n, 0));
        for (int i = 0; i < 1500; ++i) blocks.push_back(randomBlock(rng, n, 32767));
        for (int p = 0; p < 2 * n; ++p) {  // every single +-1 (the 2x2 fast path)
            blocks.emplace_back(n, 0);
            blocks.back()[p / 2] = p % 2 ? -1 : 1;
        }
        std::shuffle(blocks.begin(), blocks.end(), rng);
        for (int pad : {0, 13, 30}) roundTripBoth(kind, -blockSize(kind) / 4, n, n, nullptr, blocks, pad);
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
    const char* what;
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
};

std::vector<Outcome> outcomes() {
    using K = Kind;
    using TB = Tables;
    const ZubStatus ok = ZubStatusOk, vlc = ZubStatusVlcError, null = ZubStatusNullPointer;
    std::vector<Outcome> v = {
        // Block 0 3 -1 0 / 0 -1 1 0 / 1 0 0 0 / 0: coeff_token (5, 3), signs,
        // levels 1 and 3, total_zeros 3, runs 1 0 0 1.
        {"known",
         K::Block4x4,
         1,
         16,
         TB::Standard,
         3,
         "0000100 011 1 0010 111 10 1 1 01",
         ok,
         5,
         24,
         {{1, 3}, {2, -1}, {5, -1}, {6, 1}, {8, 1}}},
        {"fixed-length empty, no tables needed", K::Block4x4, 8, 16, TB::NoCoeffToken, 0, "000011", ok, 0, 6, {}},
        {"selected coeff_token table missing", K::Block4x4, 2, 16, TB::PartialCoeffToken, 0, "1", null, -1, 0, {}},
        {"selected coeff_token table missing", K::Block4x4, 3, 16, TB::PartialCoeffToken, 0, "1", null, -1, 0, {}},
        {"unselected coeff_token table missing", K::Block4x4, 1, 16, TB::PartialCoeffToken, 0, "1", ok, 0, 1, {}},
        // total_zeros 000000000 starts no code of Table 9-7: the cursor stays
        // after the 9-bit look-up, the block is cleared.
        {"invalid total_zeros", K::Block4x4, 0, 16, TB::Standard, 0, "01 0 000000000 1111111111111111", vlc, 1, 12, {}},
        {"missing total_zeros table", K::Block4x4, 0, 16, TB::NoTotalZeros, 9, "01 1 1", null, 1, 3, {}},
        // (3, 3), signs + - +, total_zeros 2: run "1" places the first level,
        // then "00" is invalid and gives one bit back.
        {"invalid run_before",
         K::Block4x4,
         0,
         16,
         TB::GiveBackRun,
         0,
         "00011 010 110 1 00",
         vlc,
         3,
         13,
         {{static_cast<int>(kZigzag[4]), 1}}},
        {"missing run_before table", K::Block4x4, 0, 16, TB::NoRun, 0, "00011 010 110 1 00", null, 3, 11, {}},
        {"2x2 empty: nothing else needed", K::Dc2x2, 0, 0, TB::None, 0, "01 111", ok, 0, 2, {}},
        {"2x2 general path", K::Dc2x2, 0, 0, TB::Standard, 0, "001 00 1", ok, 2, 6, {{0, 1}, {1, 1}}},
        {"2x2 invalid coeff_token", K::Dc2x2, 0, 0, TB::InvalidCoeffToken, 20, bin(0, 32), vlc, -1, 0, {}},
        {"2x4 general path", K::Dc2x4, 0, 0, TB::Standard, 0, "01 1 1", ok, 1, 4, {{0, -1}}},
        {"2x4 invalid coeff_token", K::Dc2x4, 0, 0, TB::Standard, 31, bin(0, 32), vlc, -1, 0, {}},
    };
    // Zero bits start no code of the nC 0-1 table (16 zeros) or of the
    // 4 <= nC < 8 table (10 zeros): cursor kept, nothing written.
    for (Zub32u nC : {0u, 1u, 4u, 7u})
        for (int pad : {0, 20, 31})
            v.push_back({"invalid coeff_token", K::Block4x4, nC, 16, TB::Standard, pad, bin(0, 32), vlc, -1, 0, {}});
    // maxNumCoeff 15 or 16 only; nC negative as a signed value.
    for (int m : {0, 4, 14, 17, -16})
        v.push_back({"maxNumCoeff", K::Block4x4, 0, m, TB::Standard, 0, "1", ZubStatusOutOfRange, -1, 0, {}});
    for (Zub32u nC : {0xFFFFFFFFu, 0xFFFFFFFEu, 0x80000000u})
        v.push_back({"nC", K::Block4x4, nC, 16, TB::Standard, 0, "1", ZubStatusOutOfRange, -1, 0, {}});
    // 2x2 "1 s xyz": every sign and total_zeros code of Table 9-9(a),
    // without tables.
    const char* tzCodes[4] = {"1", "01", "001", "000"};
    for (int tz = 0; tz < 4; ++tz)
        for (int neg = 0; neg < 2; ++neg)
            v.push_back({"2x2 one trailing one",
                         K::Dc2x2,
                         0,
                         0,
                         TB::None,
                         0,
                         std::string("1") + "01"[neg] + tzCodes[tz] + "111111",
                         ok,
                         1,
                         2 + static_cast<int>(std::string(tzCodes[tz]).size()),
                         {{tz, neg ? -1 : 1}}});
    // level_prefix 40 after coeff_token (3, 4) and signs + + +: the 37-bit
    // suffix counts by its low 16 bits, level code (15 + 15 + suffix - 4096)
    // mod 2^16; then total_zeros 0 (00011).
    for (uint32_t low : {0x0000u, 0x0FE2u, 0x1234u, 0xF001u, 0xFFFFu}) {
        const uint32_t code = (30u + low - 4096u) & 0xFFFFu;
        const int level = (code & 1u) ? -static_cast<int>((code + 1) / 2) : static_cast<int>((code + 2) / 2);
        v.push_back({"level_prefix 40",
                     K::Block4x4,
                     0,
                     16,
                     TB::Standard,
                     17,
                     "000011 000" + bin(0, 40) + "1" + bin(0x1F, 21) + bin(low, 16) + "00011",
                     ok,
                     4,
                     92,
                     {{0, level}, {1, 1}, {4, 1}, {8, 1}}});
    }
    return v;
}

template <class T>
void checkOutcome(const Outcome& o) {
    SCOPED_TRACE(testing::Message() << o.what << ", " << o.bits << ", nC " << o.nC << ", max " << o.maxCount << ", pad "
                                    << o.pad << ", " << sizeof(T) * 8 << "-bit");
    BitWriter bw;
    bw.put(0xFFFFFFFFu, o.pad);
    for (char ch : o.bits)
        if (ch == '0' || ch == '1') bw.putBit(ch - '0');
    Call<T> c(o.kind, bw, o.pad, o.tables);
    c.nC = o.nC;
    c.maxCount = static_cast<Zub16s>(o.maxCount);
    EXPECT_EQ(c.run(), o.status);
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

// Each pointer argument null in turn: -8 with nothing changed where the path
// taken needs it, and no effect where it does not.  For 4x4 blocks a null
// pointer wins over a negative nC and a bad maxNumCoeff.
TEST(CavlcDecode, NullPointers) {
    const std::vector<std::pair<const char*, std::function<void(Call<Zub16s>&)>>> nulls = {
        {"W", [](auto& c) { c.pWord = nullptr; }},
        {"O", [](auto& c) { c.pOff = nullptr; }},
        {"N", [](auto& c) { c.pCount = nullptr; }},
        {"P", [](auto& c) { c.pCoeffs = nullptr; }},
        {"K", [](auto& c) { c.ct = nullptr, c.ctDc = nullptr; }},
        {"Z", [](auto& c) { c.tz = nullptr; }},
        {"R", [](auto& c) { c.rb = nullptr; }},
        {"S", [](auto& c) { c.scan = nullptr; }},
        {"w", [](auto& c) { c.pWord = &c.nullWord; }},
        {"p", [](auto& c) { c.pCoeffs = &c.nullCoeffs; }}};
    // Kind, stream, the arguments (letters above) that its path needs.
    const std::tuple<Kind, const char*, std::string> paths[] = {{Kind::Block4x4, "1", "WONPKZRSwp"},
                                                                {Kind::Dc2x4, "01 1 1", "WONPKZRwp"},
                                                                {Kind::Dc2x2, "001 00 1", "WONPKZRwp"},
                                                                {Kind::Dc2x2, "1 0 1", "WONPwp"},
                                                                {Kind::Dc2x2, "01", "WONw"}};
    for (const auto& [kind, bits, needed] : paths)
        for (const auto& [name, makeNull] : nulls) {
            if (kind != Kind::Block4x4 && *name == 'S') continue;
            SCOPED_TRACE(testing::Message() << bits << " null " << name);
            BitWriter bw;
            for (const char* b = bits; *b; ++b)
                if (*b != ' ') bw.putBit(*b - '0');
            Call<Zub16s> c(kind, bw);
            c.nC = 0xFFFFFFFFu;
            c.maxCount = 14;
            makeNull(c);
            const bool need = needed.find(name) != std::string::npos;
            EXPECT_EQ(c.run(), need ? ZubStatusNullPointer : ZubStatusOk);
            EXPECT_TRUE(!need || c.untouched());
        }
}

// Every code word of every caller-side table decodes to its value and length
// through the built multi-level tables: Table 9-5 3 x 62 + 14 + 30 codes,
// 9-7/9-8 135, 9-9 9 + 35, 9-10 27 + 9 x 15.
TEST(CavlcTables, EveryCodeWordDecodes) {
    const auto& t = h264CavlcTables();
    std::vector<std::pair<const Zub32s*, zubtools::VlcCode>> cases;
    const int cols[5] = {0, 2, 4, -1, -2};
    for (int c = 0; c < 5; ++c)
        for (int tc = 0; tc <= 16; ++tc)
            for (int t1 = 0; t1 <= std::min(3, tc); ++t1)
                cases.push_back({c < 3    ? t.coeffToken[c]
                                 : c == 3 ? t.coeffTokenChromaDc
                                          : t.coeffTokenChromaDc422,
                                 zubtools::h264CoeffTokenCode(cols[c], t1, tc)});
    for (int tc = 1; tc <= 15; ++tc)
        for (int tz = 0; tz <= 16 - tc; ++tz) {
            cases.push_back({t.totalZeros[tc], zubtools::h264TotalZerosCode(16, tc, tz)});
            if (tc < 4 && tz <= 4 - tc)
                cases.push_back({t.totalZerosChromaDc[tc], zubtools::h264TotalZerosCode(4, tc, tz)});
            if (tc < 8 && tz <= 8 - tc)
                cases.push_back({t.totalZerosChromaDc422[tc], zubtools::h264TotalZerosCode(8, tc, tz)});
        }
    for (int zl = 1; zl <= 15; ++zl)
        for (int run = 0; run <= 14; ++run) cases.push_back({t.runBefore[zl], zubtools::h264RunBeforeCode(zl, run)});
    std::erase_if(cases, [](const auto& c) { return c.second.length == 0; });
    EXPECT_EQ(cases.size(), 571u);
    for (const auto& [table, code] : cases) {
        BitWriter bw;
        bw.put(code.code, code.length);
        bw.put(0xA5A5A5A5u, 32);
        const auto words = bw.words();
        zub::WordCursor cur(words.data(), 31);
        uint32_t fields = 0;
        ASSERT_TRUE(zub::walkCodeTable(cur, table, fields));
        EXPECT_EQ(fields, code.fields);
        EXPECT_EQ(cur.off, 31 - code.length);
    }
}

// ---------------------------------------------------------------------------
// Inverse DC transforms: plain matrix products with 64-bit sums, reduced to
// 32 bits where the library's 32-bit arithmetic would wrap.

const int kH[4][4] = {{1, 1, 1, 1}, {1, 1, -1, -1}, {1, -1, -1, 1}, {1, -1, 1, -1}};
const int kDefaultDc[6] = {160, 176, 208, 224, 256, 288};

int32_t wrap32(int64_t v) { return static_cast<int32_t>(static_cast<uint32_t>(static_cast<uint64_t>(v))); }

enum class Dc { Luma, Chroma2x2, Chroma2x4 };

// f = A c B with A and B the Hadamard matrices of the rows and columns
// (order 2: [1 1; 1 -1]), then clause 8.5.10 / 8.5.11.2 scaling: 4:2:0
// ((f s) << e) >> 5; otherwise (f s + 2^(5-e)) >> (6-e) or (f s) << (e-6),
// with e = QP / 6 (QP + 3 for 4:2:2).  The 16-bit 2x4 variant keeps f to 16
// bits.
std::vector<int32_t> modelDc(Dc kind, const std::vector<int64_t>& c, int qp, int s, bool wrap16) {
    const int rows = kind == Dc::Chroma2x2 ? 2 : 4, cols = kind == Dc::Luma ? 4 : 2;
    auto h = [](int n, int i, int j) { return n == 2 ? (i && j ? -1 : 1) : kH[i][j]; };
    std::vector<int32_t> out(rows * cols);
    for (int i = 0; i < rows; ++i)
        for (int j = 0; j < cols; ++j) {
            int64_t f = 0;
            for (int k = 0; k < rows; ++k)
                for (int l = 0; l < cols; ++l) f += int64_t{h(rows, i, k)} * c[cols * k + l] * h(cols, l, j);
            f = wrap32(f);
            if (wrap16 && kind == Dc::Chroma2x4) f = static_cast<int16_t>(static_cast<uint16_t>(f));
            const int e = (kind == Dc::Chroma2x4 ? qp + 3 : qp) / 6;
            const int32_t p = wrap32(f * s);
            out[cols * i + j] = kind == Dc::Chroma2x2 ? wrap32((int64_t{p} << e) >> 5)
                                : e >= 6              ? wrap32(int64_t{p} << (e - 6))
                                                      : wrap32(f * s + (int64_t{1} << (5 - e))) >> (6 - e);
        }
    return out;
}

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

// Typical DC levels and the full coefficient range, with the default scale
// and with caller scales of either sign, at every QP; then the QP range
// (-11, nothing written) and the null check before it (-8).
template <class T>
void checkDc(Dc kind, int maxQp) {
    std::mt19937 rng(21);
    const int n = kind == Dc::Luma ? 16 : kind == Dc::Chroma2x2 ? 4 : 8;
    for (int qp = 0; qp <= maxQp; ++qp)
        for (int trial = 0; trial < 40; ++trial) {
            std::vector<int64_t> c(n);
            for (auto& v : c)
                v = trial % 3 != 2   ? static_cast<int64_t>(rng() % 401) - 200
                    : sizeof(T) == 2 ? static_cast<int16_t>(rng())
                                     : static_cast<int32_t>(rng() >> (rng() % 24));
            const bool caller = trial % 2 == 1;
            const Zub16s userScale = static_cast<Zub16s>(trial % 4 == 3 ? static_cast<int16_t>(rng()) : rng() % 4096);
            const int s = caller ? userScale : kDefaultDc[(kind == Dc::Chroma2x4 ? qp + 3 : qp) % 6];
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
    const std::tuple<Dc, int, int> kinds[] = {{Dc::Luma, 51, 87}, {Dc::Chroma2x2, 39, 75}, {Dc::Chroma2x4, 39, 75}};
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
    const int v[6][3] = {{10, 16, 13}, {11, 18, 14}, {13, 20, 16}, {14, 23, 18}, {16, 25, 20}, {18, 29, 23}};
    for (int m = 0; m < 6; ++m)
        for (int i = 0; i < 16; ++i) {  // 16 x normAdjust4x4 of clause 8.5.9
            const int r = i / 4, col = i % 4;
            EXPECT_EQ(InvLevelScale_4x4_default[m][i], 16 * v[m][r % 2 == 0 && col % 2 == 0 ? 0
                                                                 : r % 2 && col % 2         ? 1
                                                                                            : 2]);
        }
    for (int qp = 0; qp < 90; ++qp) EXPECT_EQ(h264_qp6[qp] * 6 + h264_qp_rem[qp], qp);
    for (int i = 0; i < 6; ++i) EXPECT_EQ(vlc_inc[i], i ? 3 << (i - 1) : 0);
}

}  // namespace
