// H.264 deblocking filter: every member against a plain model of clause
// 8.7.2 and of the member's edge and bS/tc0 indexing, argument checks, and a
// picture deblocked macroblock by macroblock.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <random>
#include <string>
#include <type_traits>
#include <vector>

#include "zubvc.h"

namespace {

struct Thresholds {
    int alpha[2] = {0, 0}, beta[2] = {0, 0}, tc0[16] = {};
    uint8_t bS[16] = {};
};

// What the model met, so that the random tests can show they reached the
// interesting cases.
struct Coverage {
    long lines = 0, filtered = 0, strongFull = 0, weakBs4 = 0;
    long alphaEq = 0, betaEq = 0, apEq = 0, strongEq = 0, saturated = 0;
} gCov;

// One line p3 p2 p1 p0 | q0 q1 q2 q3 (clauses 8.7.2.3 and 8.7.2.4): q points
// to q0, across is the sample distance from p0 to q0.  The q side mirrors the
// p side, so each formula is written once for side -1 (p) and +1 (q).
template <class T>
void modelLine(T* q, ptrdiff_t across, bool luma, bool bs4, int alpha, int beta, int tc0, int maxVal) {
    int v[8] = {};  // the line as read
    for (int i = luma ? 0 : 2; i < (luma ? 8 : 6); ++i) v[i] = q[(i - 4) * across];
    auto get = [&](int side, int i) { return v[side < 0 ? 3 - i : 4 + i]; };  // p_i or q_i
    auto set = [&](int side, int i, int val) { q[(side < 0 ? -1 - i : i) * across] = static_cast<T>(val); };
    const int p2 = v[1], p1 = v[2], p0 = v[3], q0 = v[4], q1 = v[5], q2 = v[6];
    ++gCov.lines;
    gCov.alphaEq += std::abs(p0 - q0) == alpha;
    gCov.betaEq += std::abs(p1 - p0) == beta || std::abs(q1 - q0) == beta;
    if (!(std::abs(p0 - q0) < alpha && std::abs(p1 - p0) < beta && std::abs(q1 - q0) < beta)) return;
    ++gCov.filtered;
    const bool ap = luma && std::abs(p2 - p0) < beta, aq = luma && std::abs(q2 - q0) < beta;
    const bool small = std::abs(p0 - q0) < (alpha >> 2) + 2;
    gCov.apEq += luma && (std::abs(p2 - p0) == beta || std::abs(q2 - q0) == beta);
    gCov.strongEq += luma && bs4 && std::abs(p0 - q0) == (alpha >> 2) + 2;
    gCov.strongFull += luma && bs4 && ap && small;
    gCov.weakBs4 += luma && bs4 && !(ap && small);
    if (!bs4) {  // tc kept to the width of the threshold element
        const int tc = (luma ? tc0 + ap + aq : tc0 + 1) & (sizeof(T) == 1 ? 0xFF : 0xFFFF);
        const int delta = std::clamp(((q0 - p0) * 4 + (p1 - q1) + 4) >> 3, -tc, tc);
        gCov.saturated += std::min(p0 + delta, q0 - delta) < 0 || std::max(p0 + delta, q0 - delta) > maxVal;
        set(-1, 0, std::clamp(p0 + delta, 0, maxVal));
        set(1, 0, std::clamp(q0 - delta, 0, maxVal));
    }
    for (int side : {-1, 1}) {
        auto x = [&](int i) { return get(side, i); };  // this side
        auto y = [&](int i) { return get(-side, i); };  // the other
        const bool a = side < 0 ? ap : aq;
        if (!bs4) {
            if (a) set(side, 1, x(1) + std::clamp((x(2) + ((x(0) + y(0) + 1) >> 1) - 2 * x(1)) >> 1, -tc0, tc0));
        } else if (a && small) {
            set(side, 0, (x(2) + 2 * x(1) + 2 * x(0) + 2 * y(0) + y(1) + 4) >> 3);
            set(side, 1, (x(2) + x(1) + x(0) + y(0) + 2) >> 2);
            set(side, 2, (2 * x(3) + 3 * x(2) + x(1) + x(0) + y(0) + 4) >> 3);
        } else {
            set(side, 0, (2 * x(1) + x(0) + y(1) + 2) >> 2);
        }
    }
}

enum Kind { LumaVer, LumaHor, LumaMbaff, ChromaVer, ChromaHor, ChromaMbaff, Chroma422Ver, Chroma422Hor };

bool isVertical(Kind k) { return k != LumaHor && k != ChromaHor && k != Chroma422Hor; }
bool isLuma(Kind k) { return k <= LumaMbaff; }

// The model of one member, written edge by edge from its indexing rules.
template <class T>
void modelMember(Kind kind, T* blk, ptrdiff_t step, const Thresholds& t, int maxVal) {
    // ab: index of alpha and beta.
    auto line = [&](bool vertical, int x, int y, bool luma, int bs, int ab, int tc0) {
        if (bs) modelLine(blk + y * step + x, vertical ? 1 : step, luma, bs == 4, t.alpha[ab], t.beta[ab], tc0, maxVal);
    };
    switch (kind) {
        case LumaVer:
        case LumaHor:
            for (int e = 0; e < 4; ++e)
                for (int i = 0; i < 16; ++i) {
                    const bool v = kind == LumaVer;
                    line(v, v ? 4 * e : i, v ? i : 4 * e, true, t.bS[4 * e + i / 4], e > 0, t.tc0[4 * e + i / 4]);
                }
            break;
        case LumaMbaff:
        case ChromaMbaff: {
            const int run = kind == LumaMbaff ? 2 : 1;  // rows per bS byte
            for (int y = 0; y < 4 * run; ++y) line(true, 0, y, run == 2, t.bS[y / run], 0, t.tc0[y / run]);
            break;
        }
        case ChromaVer:
        case Chroma422Ver: {
            const int run = kind == ChromaVer ? 2 : 4;  // rows per bS byte; edge k uses luma edge 2k's bytes
            for (int k = 0; k < 2; ++k)
                for (int y = 0; y < 4 * run; ++y)
                    line(true, 4 * k, y, false, t.bS[8 * k + y / run], k, t.tc0[4 * k + y / run]);
            break;
        }
        case ChromaHor:
        case Chroma422Hor:
            // 4:2:0: edge 1 reads bS 8..11 and is never strong; 4:2:2: edge e reads 4e..4e + 3.
            for (int e = 0; e < (kind == ChromaHor ? 2 : 4); ++e) {
                const int b0 = kind == ChromaHor ? 8 * e : 4 * e;
                const bool strong = t.bS[b0] == 4 && !(kind == ChromaHor && e == 1);
                for (int x = 0; x < 8; ++x)
                    line(false, x, 4 * e, false, strong ? 4 : (t.bS[b0 + x / 2] ? 1 : 0), std::min(e, 1),
                         t.tc0[4 * e + x / 2]);
            }
            break;
    }
}

// ---- calling the library ---------------------------------------------------------

using Fn = ZubStatus (*)(const H264DeblockingParams*);

// An 8u member with plain arguments, called with those of a record (the MBAFF
// members take alpha and beta by value).
template <auto F>
ZubStatus plain8u(const H264DeblockingParams* r) {
    auto* src = static_cast<Zub8u*>(r->srcDst);
    const auto *alpha = static_cast<const Zub8u*>(r->alpha), *beta = static_cast<const Zub8u*>(r->beta);
    const auto* tc0 = static_cast<const Zub8u*>(r->thresholds);
    if constexpr (std::is_invocable_v<decltype(F), Zub8u*, int, Zub8u, Zub8u, const Zub8u*, const Zub8u*>)
        return F(src, r->srcDstStep, *alpha, *beta, tc0, r->bS);
    else
        return F(src, r->srcDstStep, alpha, beta, tc0, r->bS);
}

struct Member {
    const char* name;
    Kind kind;
    Fn fn[2];  // 8u, 16u
};
const Member kMembers[] = {  // indexed by Kind
    {"LumaVerEdge", LumaVer,
     {plain8u<zubiFilterDeblockingLuma_VerEdge_H264_8u_C1IR>, zubiFilterDeblockingLumaVerEdge_H264_16u_C1IR}},
    {"LumaHorEdge", LumaHor,
     {plain8u<zubiFilterDeblockingLuma_HorEdge_H264_8u_C1IR>, zubiFilterDeblockingLumaHorEdge_H264_16u_C1IR}},
    {"LumaVerEdgeMBAFF", LumaMbaff,
     {plain8u<zubiFilterDeblockingLuma_VerEdge_MBAFF_H264_8u_C1IR>,
      zubiFilterDeblockingLumaVerEdgeMBAFF_H264_16u_C1IR}},
    {"ChromaVerEdge", ChromaVer,
     {plain8u<zubiFilterDeblockingChroma_VerEdge_H264_8u_C1IR>, zubiFilterDeblockingChromaVerEdge_H264_16u_C1IR}},
    {"ChromaHorEdge", ChromaHor,
     {plain8u<zubiFilterDeblockingChroma_HorEdge_H264_8u_C1IR>, zubiFilterDeblockingChromaHorEdge_H264_16u_C1IR}},
    {"ChromaVerEdgeMBAFF", ChromaMbaff,
     {plain8u<zubiFilterDeblockingChroma_VerEdge_MBAFF_H264_8u_C1IR>,
      zubiFilterDeblockingChromaVerEdgeMBAFF_H264_16u_C1IR}},
    {"Chroma422VerEdge", Chroma422Ver,
     {zubiFilterDeblockingChroma422VerEdge_H264_8u_C1IR, zubiFilterDeblockingChroma422VerEdge_H264_16u_C1IR}},
    {"Chroma422HorEdge", Chroma422Hor,
     {zubiFilterDeblockingChroma422HorEdge_H264_8u_C1IR, zubiFilterDeblockingChroma422HorEdge_H264_16u_C1IR}},
};

template <class T>
ZubStatus callMember(Kind kind, T* src, int step, const Thresholds& t, int bitDepth) {
    T alpha[2], beta[2], tc0[16];
    for (int i = 0; i < 16; ++i) tc0[i] = static_cast<T>(t.tc0[i]);
    for (int i = 0; i < 2; ++i) alpha[i] = static_cast<T>(t.alpha[i]), beta[i] = static_cast<T>(t.beta[i]);
    const H264DeblockingParams rec{src, step, alpha, beta, tc0, t.bS, bitDepth};
    return kMembers[kind].fn[sizeof(T) == 2](&rec);
}

// ---- random macroblocks ---------------------------------------------------------
// Thresholds of a typical range, now and then extreme ones (maxT: the largest
// the element type holds); sample lines built as walks whose steps often equal
// alpha, beta, (alpha >> 2) + 2 or one less or more, so the strict tests are
// met exactly.

Thresholds randomThresholds(std::mt19937& rng, int bitDepth, int maxT) {
    const int scale = 1 << (bitDepth - 8);
    auto pick = [&](int lo, int hi) { return std::uniform_int_distribution<int>(lo, hi)(rng); };
    Thresholds t;
    for (int i = 0; i < 2; ++i) {
        const int r = pick(0, 19);
        t.alpha[i] = r == 0 ? 0 : r == 1 ? pick(0, maxT) : pick(4, 100) * scale + pick(0, scale - 1);
        t.beta[i] = r == 2 ? pick(0, maxT) : pick(1, 18) * scale + pick(0, scale - 1);
    }
    for (int i = 0; i < 16; ++i) t.tc0[i] = pick(0, 29) == 0 ? maxT - pick(0, 2) : pick(0, 25) * scale;
    static const uint8_t kBs[] = {0, 1, 2, 3, 4, 4, 4, 1, 2, 0, 0, 3};
    for (int e = 0; e < 4; ++e) {
        const int r = pick(0, 9);  // 0: edge off, 1: edge strong, 2: byte 0 strong
        for (int s = 0; s < 4; ++s) {
            uint8_t b = r == 0 ? 0 : r == 1 || (r == 2 && s == 0) ? 4 : kBs[pick(0, 11)];
            if (pick(0, 99) == 0) b = static_cast<uint8_t>(pick(5, 255));  // outside 0..4: filtered as bS < 4
            t.bS[4 * e + s] = b;
        }
    }
    return t;
}

// Fills a w x h area with walks along x (alongX) or y.
template <class T>
void fillWalks(std::mt19937& rng, T* origin, ptrdiff_t step, int w, int h, bool alongX, const Thresholds& t,
               int maxVal) {
    auto pick = [&](int lo, int hi) { return std::uniform_int_distribution<int>(lo, hi)(rng); };
    for (int l = 0; l < (alongX ? h : w); ++l) {
        const int start = pick(0, 5);
        int v = start == 0 ? pick(0, std::min(maxVal, 8)) : start == 1 ? maxVal - pick(0, std::min(maxVal, 8))
                                                                       : pick(0, maxVal);
        for (int i = 0; i < (alongX ? w : h); ++i) {
            const int a = t.alpha[pick(0, 1)], b = t.beta[pick(0, 1)], kind = pick(0, 11);
            int d = kind == 0 ? a + pick(-1, 1) : kind == 1 ? (a >> 2) + 2 + pick(-1, 0)
                  : kind <= 3 ? b + pick(-1, 1) : kind == 4 ? pick(0, 1) : kind == 5 ? pick(0, a + 1)
                  : pick(0, std::max(b, 1));
            v = std::clamp(v + (pick(0, 1) ? -d : d), 0, maxVal);
            origin[(alongX ? l : i) * step + (alongX ? i : l)] = static_cast<T>(v);
        }
    }
}

// The block with a margin of 8 samples on every side, so that stray reads
// stay inside and stray writes show.
template <class T>
void checkAgainstModel(Kind kind, int bitDepth, int iterations, uint32_t seed) {
    constexpr int kMargin = 8;
    std::mt19937 rng(seed);
    const int maxVal = (1 << bitDepth) - 1;
    static const int kSize[8][2] = {{16, 16}, {16, 16}, {16, 8}, {8, 8}, {8, 8}, {8, 4}, {8, 16}, {8, 16}};
    const int w = kSize[kind][0] + 2 * kMargin, h = kSize[kind][1] + 2 * kMargin;  // the member's block and margin
    gCov = Coverage{};
    for (int it = 0; it < iterations; ++it) {
        const int step = w + std::uniform_int_distribution<int>(0, 5)(rng);
        const bool flip = sizeof(T) == 1 && it % 4 == 3;  // 8u steps are unchecked: negative ones work too
        std::vector<T> lib(static_cast<size_t>(step) * h);
        T* base = flip ? lib.data() + static_cast<ptrdiff_t>(h - 1) * step : lib.data();
        const ptrdiff_t s = flip ? -step : step;
        const Thresholds t = randomThresholds(rng, bitDepth, sizeof(T) == 1 ? 255 : 65535);
        fillWalks(rng, base, s, w, h, isVertical(kind), t, maxVal);
        std::vector<T> ref = lib;
        const ptrdiff_t blockOffset = kMargin * s + kMargin;
        modelMember(kind, ref.data() + (base - lib.data()) + blockOffset, s, t, maxVal);
        ASSERT_EQ(callMember(kind, base + blockOffset, static_cast<int>(s), t, bitDepth), ZubStatusOk);
        const auto at = std::mismatch(lib.begin(), lib.end(), ref.begin()).first - lib.begin();
        ASSERT_TRUE(lib == ref) << "bit depth " << bitDepth << ", iteration " << it << ": first difference at row "
                                << at / step << " column " << at % step << ", " << +lib[at] << " vs " << +ref[at];
    }
    EXPECT_GT(gCov.filtered * 4, gCov.lines) << "filtering happens often";
    EXPECT_TRUE(gCov.alphaEq && gCov.betaEq && gCov.saturated) << "strict tests met exactly, samples saturated";
    EXPECT_TRUE(!isLuma(kind) || (gCov.apEq && gCov.strongEq && gCov.strongFull && gCov.weakBs4));
}

// Every member against the model: 8u, and 16u at every bit depth 8..14.
TEST(Deblock, EveryMemberMatchesModelOnRandomMacroblocks) {
    uint32_t seed = 100;
    for (const Member& m : kMembers) {
        SCOPED_TRACE(m.name);
        checkAgainstModel<Zub8u>(m.kind, 8, 2500, seed++);
        for (int bd = 8; bd <= 14; ++bd) checkAgainstModel<Zub16u>(m.kind, bd, 500, seed++);
    }
}

// ---- argument checks -------------------------------------------------------------
// A block whose every line would be filtered, so that any write shows.

struct ArgFixture {
    std::vector<Zub8u> buf8 = std::vector<Zub8u>(40 * 40);
    std::vector<Zub16u> buf16 = std::vector<Zub16u>(40 * 40);
    Zub8u alpha8[2] = {40, 40}, beta8[2] = {9, 9}, tc8[16] = {2, 2, 2, 2, 2, 2, 2, 2, 2, 2, 2, 2, 2, 2, 2, 2};
    Zub8u bS[16] = {2, 2, 2, 2, 2, 2, 2, 2, 2, 2, 2, 2, 2, 2, 2, 2};
    Zub16u alpha16[2] = {40, 40}, beta16[2] = {9, 9}, tc16[16] = {2, 2, 2, 2, 2, 2, 2, 2, 2, 2, 2, 2, 2, 2, 2, 2};
    ArgFixture() {
        for (size_t i = 0; i < buf8.size(); ++i) buf8[i] = buf16[i] = i % 3 == 0 ? 60 : 64;
    }
    H264DeblockingParams rec(bool wide) {
        return wide ? H264DeblockingParams{&buf16[8 * 40 + 8], 40, alpha16, beta16, tc16, bS, 10}
                    : H264DeblockingParams{&buf8[8 * 40 + 8], 40, alpha8, beta8, tc8, bS, 8};
    }
    bool untouched() const { return buf8 == ArgFixture().buf8 && buf16 == ArgFixture().buf16; }
};

// Every member, 8u and 16u: null pointers first (checked with alpha 0 and a
// bad step, which must come later), then the 16u step test (not in chroma
// MBAFF), then the early returns; the 4:2:2 MBAFF entries are stubs.
TEST(DeblockArgs, StatusCheckOrderAndNoWriteOnError) {
    static const Zub16u kZero[2] = {0, 0};
    static const Zub8u kFirstWordZero[16] = {0, 0, 0, 0, 4, 4, 4, 4, 4, 4, 4, 4, 4, 4, 4, 4};
    for (const Member& m : kMembers)
        for (bool wide : {false, true}) {
            SCOPED_TRACE(std::string(m.name) + (wide ? " 16u" : " 8u"));
            const bool mbaff8u = !wide && (m.kind == LumaMbaff || m.kind == ChromaMbaff);
            const bool stepTest = wide && m.kind != ChromaMbaff;
            // edit(r) changes the valid record; writes: 1, 0, or -1 (not checked).
            auto expect = [&](ZubStatus want, int writes, auto edit) {
                ArgFixture f;
                H264DeblockingParams r = f.rec(wide);
                edit(r);
                EXPECT_EQ(m.fn[wide](&r), want);
                EXPECT_TRUE(writes < 0 || f.untouched() == (writes == 0));
            };
            for (int n = 0; n < 5; ++n)
                if (!(mbaff8u && (n == 1 || n == 2)))  // the 8u MBAFF alpha and beta are values
                    expect(ZubStatusNullPointer, 0, [&](H264DeblockingParams& r) {
                        r.srcDstStep = 0;
                        r.alpha = n == 1 ? nullptr : kZero;
                        if (n == 0) r.srcDst = nullptr;
                        if (n == 2) r.beta = nullptr;
                        if (n == 3) r.thresholds = nullptr;
                        if (n == 4) r.bS = nullptr;
                    });
            EXPECT_TRUE(!(wide || m.kind >= Chroma422Ver) || m.fn[wide](nullptr) == ZubStatusNullPointer);
            for (int step : {0, -1})  // step 0 with alpha 0: the step test comes before the early return
                expect(stepTest ? ZubStatusBadStep : ZubStatusOk, stepTest || step == 0 ? 0 : -1,
                       [&](H264DeblockingParams& r) { r.srcDstStep = step, r.alpha = step ? r.alpha : kZero; });
            expect(ZubStatusOk, 0, [&](H264DeblockingParams& r) { r.alpha = kZero; });
            if (m.kind == LumaMbaff || m.kind == ChromaMbaff)
                expect(ZubStatusOk, 0, [&](H264DeblockingParams& r) { r.bS = kFirstWordZero; });
            expect(ZubStatusOk, 1, [&](H264DeblockingParams&) {});
        }
    ArgFixture f;
    const H264DeblockingParams r8 = f.rec(false), r16 = f.rec(true);
    EXPECT_EQ(zubiFilterDeblockingChroma422VerEdgeMBAFF_H264_8u_C1IR(&r8), ZubStatusNotImplemented);
    EXPECT_EQ(zubiFilterDeblockingChroma422VerEdgeMBAFF_H264_8u_C1IR(nullptr), ZubStatusNotImplemented);
    EXPECT_EQ(zubiFilterDeblockingChroma422VerEdgeMBAFF_H264_16u_C1IR(&r16), ZubStatusNotImplemented);
    EXPECT_EQ(zubiFilterDeblockingChroma422VerEdgeMBAFF_H264_16u_C1IR(nullptr), ZubStatusNotImplemented);
    EXPECT_TRUE(f.untouched());
}

// ---- a decoded picture --------------------------------------------------------------
// A 4 x 3 macroblock picture of blocky content (a level per 4 x 4 block plus
// noise), deblocked in the caller's order: per macroblock in raster order,
// the vertical edges of luma and both chroma planes, then their horizontal
// edges.  Edges on the picture border have bS 0 and the planes have no
// margin, so a read beyond them would show under the sanitizers.

template <class T>
void checkPicture(int chromaRows, int bitDepth, uint32_t seed) {
    constexpr int kMbW = 4, kMbH = 3;
    std::mt19937 rng(seed);
    auto pick = [&](int lo, int hi) { return std::uniform_int_distribution<int>(lo, hi)(rng); };
    const int scale = 1 << (bitDepth - 8), maxVal = (1 << bitDepth) - 1;
    std::vector<T> input[3];
    for (int c = 0; c < 3; ++c) {
        const int w = c ? 8 * kMbW : 16 * kMbW, h = c ? chromaRows * kMbH : 16 * kMbH;
        std::vector<int> level((w / 4) * (h / 4));
        for (auto& l : level) l = pick(40, 200) * scale;
        for (int y = 0; y < h; ++y)
            for (int x = 0; x < w; ++x)
                input[c].push_back(static_cast<T>(
                    std::clamp(level[(y / 4) * (w / 4) + x / 4] / 4 + 90 * scale + pick(-3, 3) * scale, 0, maxVal)));
    }
    std::vector<T> lib[3] = {input[0], input[1], input[2]}, model[3] = {input[0], input[1], input[2]};
    const Kind cVer = chromaRows == 8 ? ChromaVer : Chroma422Ver, cHor = chromaRows == 8 ? ChromaHor : Chroma422Hor;
    for (int mb = 0; mb < kMbW * kMbH; ++mb) {
        Thresholds d[4];  // luma ver, luma hor; chroma ver, chroma hor with the luma bS of their direction
        for (int k = 0; k < 4; ++k) {
            for (int i = 0; i < 2; ++i) d[k].alpha[i] = pick(8, 60) * scale, d[k].beta[i] = pick(2, 12) * scale;
            for (int i = 0; i < 16; ++i) {
                d[k].bS[i] = k >= 2 ? d[k - 2].bS[i] : static_cast<uint8_t>(i < 4 ? pick(0, 4) : pick(0, 3));
                d[k].tc0[i] = pick(0, 6) * scale;
            }
            // Edges on the left and top picture border are off.
            if ((k % 2 == 0 && mb % kMbW == 0) || (k % 2 == 1 && mb < kMbW)) std::fill(d[k].bS, d[k].bS + 4, 0);
        }
        const size_t l = (16 * (mb / kMbW)) * 16 * kMbW + 16 * (mb % kMbW);
        const size_t c = static_cast<size_t>(chromaRows * (mb / kMbW)) * 8 * kMbW + 8 * (mb % kMbW);
        const struct { Kind kind; int plane, t; } order[6] = {  // member, plane, thresholds
            {LumaVer, 0, 0}, {cVer, 1, 2}, {cVer, 2, 2}, {LumaHor, 0, 1}, {cHor, 1, 3}, {cHor, 2, 3}};
        for (const auto& o : order) {
            const size_t at = o.plane ? c : l;
            const int step = o.plane ? 8 * kMbW : 16 * kMbW;
            ASSERT_EQ(callMember(o.kind, lib[o.plane].data() + at, step, d[o.t], bitDepth), ZubStatusOk);
            modelMember(o.kind, model[o.plane].data() + at, step, d[o.t], maxVal);
        }
    }
    for (int c = 0; c < 3; ++c) {
        EXPECT_EQ(lib[c], model[c]) << "plane " << c;
        EXPECT_NE(lib[c], input[c]) << "plane " << c << " was filtered";
    }
}

TEST(DeblockPicture, MacroblockByMacroblockEqualsModel) {
    for (uint32_t seed = 1; seed <= 20; ++seed) {
        checkPicture<Zub8u>(8, 8, seed);
        checkPicture<Zub8u>(16, 8, seed);
        checkPicture<Zub16u>(8, 10, seed);
        checkPicture<Zub16u>(16, 12, seed);
    }
}

}  // namespace
