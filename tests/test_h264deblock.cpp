// H.264 deblocking filter: every member against a plain model of clause
// 8.7.2 and of the member's edge and bS/tc0 indexing, hand-computed lines,
// argument checks, and a picture deblocked macroblock by macroblock.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdlib>
#include <random>
#include <string>
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

// Size of the block a member filters (columns, rows).
std::array<int, 2> blockSize(Kind k) {
    static const int size[8][2] = {{16, 16}, {16, 16}, {16, 8}, {8, 8}, {8, 8}, {8, 4}, {8, 16}, {8, 16}};
    return {size[k][0], size[k][1]};
}

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
            for (int y = 0; y < 8; ++y) line(true, 0, y, true, t.bS[y / 2], 0, t.tc0[y / 2]);
            break;
        case ChromaMbaff:
            for (int y = 0; y < 4; ++y) line(true, 0, y, false, t.bS[y], 0, t.tc0[y]);
            break;
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

using Fn16u = ZubStatus (*)(const H264DeblockingParams*);
struct Member {
    const char* name;
    Kind kind;
    Fn16u fn16;
};

const Member kMembers[] = {  // indexed by Kind
    {"LumaVerEdge", LumaVer, zubiFilterDeblockingLumaVerEdge_H264_16u_C1IR},
    {"LumaHorEdge", LumaHor, zubiFilterDeblockingLumaHorEdge_H264_16u_C1IR},
    {"LumaVerEdgeMBAFF", LumaMbaff, zubiFilterDeblockingLumaVerEdgeMBAFF_H264_16u_C1IR},
    {"ChromaVerEdge", ChromaVer, zubiFilterDeblockingChromaVerEdge_H264_16u_C1IR},
    {"ChromaHorEdge", ChromaHor, zubiFilterDeblockingChromaHorEdge_H264_16u_C1IR},
    {"ChromaVerEdgeMBAFF", ChromaMbaff, zubiFilterDeblockingChromaVerEdgeMBAFF_H264_16u_C1IR},
    {"Chroma422VerEdge", Chroma422Ver, zubiFilterDeblockingChroma422VerEdge_H264_16u_C1IR},
    {"Chroma422HorEdge", Chroma422Hor, zubiFilterDeblockingChroma422HorEdge_H264_16u_C1IR},
};

// The member of kind k, 8u (wide false) or 16u, with the arguments of the
// record r (the plain 8u members take them one by one).
ZubStatus callRecord(Kind k, bool wide, const H264DeblockingParams* r) {
    if (wide) return kMembers[k].fn16(r);
    if (k == Chroma422Ver) return zubiFilterDeblockingChroma422VerEdge_H264_8u_C1IR(r);
    if (k == Chroma422Hor) return zubiFilterDeblockingChroma422HorEdge_H264_8u_C1IR(r);
    Zub8u* src = static_cast<Zub8u*>(r->srcDst);
    const auto *alpha = static_cast<const Zub8u*>(r->alpha), *beta = static_cast<const Zub8u*>(r->beta);
    const auto* tc0 = static_cast<const Zub8u*>(r->thresholds);
    const int step = r->srcDstStep;
    switch (k) {
        case LumaVer: return zubiFilterDeblockingLuma_VerEdge_H264_8u_C1IR(src, step, alpha, beta, tc0, r->bS);
        case LumaHor: return zubiFilterDeblockingLuma_HorEdge_H264_8u_C1IR(src, step, alpha, beta, tc0, r->bS);
        case ChromaVer: return zubiFilterDeblockingChroma_VerEdge_H264_8u_C1IR(src, step, alpha, beta, tc0, r->bS);
        case ChromaHor: return zubiFilterDeblockingChroma_HorEdge_H264_8u_C1IR(src, step, alpha, beta, tc0, r->bS);
        case LumaMbaff:
            return zubiFilterDeblockingLuma_VerEdge_MBAFF_H264_8u_C1IR(src, step, *alpha, *beta, tc0, r->bS);
        default: return zubiFilterDeblockingChroma_VerEdge_MBAFF_H264_8u_C1IR(src, step, *alpha, *beta, tc0, r->bS);
    }
}

template <class T>
ZubStatus callMember(Kind kind, T* src, int step, const Thresholds& t, int bitDepth) {
    T alpha[2], beta[2], tc0[16];
    for (int i = 0; i < 16; ++i) tc0[i] = static_cast<T>(t.tc0[i]);
    for (int i = 0; i < 2; ++i) alpha[i] = static_cast<T>(t.alpha[i]), beta[i] = static_cast<T>(t.beta[i]);
    const H264DeblockingParams rec{src, step, alpha, beta, tc0, t.bS, bitDepth};
    return callRecord(kind, sizeof(T) == 2, &rec);
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
    const auto [bw, bh] = blockSize(kind);
    const int w = bw + 2 * kMargin, h = bh + 2 * kMargin;
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

// ---- hand-computed lines ------------------------------------------------------
// One line p3..q3 placed across the first edge of a member, on every line of
// the first run, filtered, and read back.

using Line = std::array<int, 8>;  // p3 p2 p1 p0 q0 q1 q2 q3

template <class T>
Line filterLine(Kind kind, const Line& in, const Thresholds& t, int bitDepth) {
    constexpr int kW = 32;
    std::vector<T> buf(kW * kW, 0);
    T* block = buf.data() + 8 * kW + 8;  // the member's top-left sample
    auto at = [&](int across, int along) -> T& {
        return block[isVertical(kind) ? along * kW + across : across * kW + along];
    };
    for (int r = 0; r < 4; ++r)
        for (int i = 0; i < 8; ++i) at(i - 4, r) = static_cast<T>(in[i]);
    EXPECT_EQ(callMember(kind, block, kW, t, bitDepth), ZubStatusOk);
    Line out{};
    for (int i = 0; i < 8; ++i) out[i] = at(i - 4, 0);
    for (int r = 1; r < (isLuma(kind) ? 4 : 2); ++r)  // the run's other lines agree
        for (int i = 0; i < 8; ++i) EXPECT_EQ(+at(i - 4, r), out[i]);
    return out;
}

// alpha, beta of the external and the internal edges; the leading bS and tc0 values.
Thresholds makeThresholds(int alpha0, int beta0, int alpha1, int beta1, std::initializer_list<int> bS,
                          std::initializer_list<int> tc0) {
    Thresholds t{{alpha0, alpha1}, {beta0, beta1}, {}, {}};
    std::copy(bS.begin(), bS.end(), t.bS);
    std::copy(tc0.begin(), tc0.end(), t.tc0);
    return t;
}

// Through the vertical and horizontal members, 8u and 16u (10 bits) unless
// the case is for one size only.
TEST(DeblockLine, KnownValuesThroughVerAndHorEdges) {
    const Line ramp = {60, 62, 64, 66, 74, 75, 76, 77}, flat = {70, 70, 70, 70, 90, 90, 90, 90};
    const Line high = {1005, 1005, 1005, 1023, 1021, 1023, 1023, 1023};
    const struct {
        bool luma;
        int size, bS, alpha, beta, tc0;  // size: 8 or 16 for one sample size only, else 0
        Line in, out;
    } cases[] = {
        // delta = (32 - 11 + 4) >> 3 = 3, tc = 2 + ap + aq; p1 += (62 + 70 - 128) >> 1, q1 += (76 + 70 - 150) >> 1.
        {true, 0, 2, 20, 7, 2, ramp, {60, 62, 66, 69, 71, 73, 76, 77}},
        {true, 0, 2, 9, 7, 2, ramp, {60, 62, 66, 69, 71, 73, 76, 77}},
        {true, 0, 2, 8, 7, 2, ramp, ramp},   // |p0 - q0| = alpha: the tests are strict
        {true, 0, 2, 20, 2, 2, ramp, ramp},  // |p1 - p0| = beta
        {true, 0, 0, 20, 7, 2, ramp, ramp},
        {true, 0, 1, 20, 7, 0, ramp, {60, 62, 64, 68, 72, 75, 76, 77}},  // tc = 2; p1, q1 held at tc0 = 0
        {true, 0, 3, 20, 3, 1, ramp, {60, 62, 64, 68, 72, 74, 76, 77}},  // ap false, aq true: tc = 2
        {true, 0, 4, 40, 7, 0, ramp, {60, 64, 67, 68, 71, 73, 75, 77}},  // bS 4, full filter both sides
        {true, 0, 4, 24, 7, 0, ramp, {60, 62, 64, 67, 72, 75, 76, 77}},  // |p0 - q0| = (alpha >> 2) + 2: p0, q0 only
        {true, 0, 4, 40, 3, 0, ramp, {60, 62, 64, 67, 71, 73, 75, 77}},  // ap false: p weak, q full
        {false, 0, 2, 20, 7, 2, ramp, {60, 62, 64, 69, 71, 75, 76, 77}},  // chroma tc = tc0 + 1
        {false, 0, 1, 20, 7, 1, ramp, {60, 62, 64, 68, 72, 75, 76, 77}},
        {false, 0, 4, 40, 7, 0, ramp, {60, 62, 64, 67, 72, 75, 76, 77}},
        {false, 0, 1, 10, 19, 2, {0, 0, 18, 0, 2, 0, 0, 0}, {0, 0, 18, 3, 0, 0, 0, 0}},  // q0 saturated at 0
        // tc kept to the element width: delta = 8, tc = 255 + 2 or 65535 + 2 -> 1 (luma), 255 + 1 -> 0
        // (chroma); p1 += (70 + 80 - 140) >> 1 against tc0 itself.
        {true, 8, 1, 40, 7, 255, flat, {70, 70, 75, 71, 89, 85, 90, 90}},
        {true, 16, 1, 40, 7, 65535, flat, {70, 70, 75, 71, 89, 85, 90, 90}},
        {false, 8, 1, 40, 7, 255, flat, flat},
        {false, 16, 1, 40, 7, 65535, flat, flat},
        // The top of 10-bit samples: delta = -22 >> 3 = -3, q0 = 1024 saturates.
        {true, 16, 1, 10, 19, 2, high, {1005, 1005, 1007, 1020, 1023, 1022, 1023, 1023}},
        {false, 16, 1, 10, 19, 2, high, {1005, 1005, 1005, 1020, 1023, 1023, 1023, 1023}},
    };
    for (const auto& c : cases)
        for (Kind k : c.luma ? std::array{LumaVer, LumaHor} : std::array{ChromaVer, ChromaHor}) {
            SCOPED_TRACE(std::string(kMembers[k].name) + ", case " + std::to_string(&c - cases));
            const Thresholds t = makeThresholds(c.alpha, c.beta, 255, 255, {c.bS}, {c.tc0});  // internal edges off
            EXPECT_EQ(c.size == 16 ? c.out : filterLine<Zub8u>(k, c.in, t, 8), c.out) << "8u";
            EXPECT_EQ(c.size == 8 ? c.out : filterLine<Zub16u>(k, c.in, t, 10), c.out) << "16u";
        }
}

// ---- which lines of a chroma block are filtered, and how ------------------------
// Every line across every chroma edge reads 64 66 | 74 75, so its outcome
// shows the filter it got: '.' none, 'S' bS = 4 (67, 72), 'n' bS < 4 with
// tc = 1 (67, 73), 'N' bS < 4 with tc = 3 (69, 71).  8u and 16u must agree.

template <class T>
std::string chromaOutcome(Kind kind, const Thresholds& t) {
    constexpr int kStep = 24;
    static const int kPattern[4] = {74, 75, 64, 66};  // q0 q1 p1 p0 by position mod 4
    const bool vertical = isVertical(kind);
    const auto [w, h] = blockSize(kind);
    std::vector<T> buf(kStep * 24);
    T* block = buf.data() + 4 * kStep + 4;
    for (int y = -4; y < h + 4; ++y)
        for (int x = -4; x < w + 4; ++x) block[y * kStep + x] = static_cast<T>(kPattern[((vertical ? x : y) + 4) % 4]);
    EXPECT_EQ(callMember(kind, block, kStep, t, 9), ZubStatusOk);
    std::string out;
    for (int e = 0; e < (vertical ? w : h) / 4; ++e) {
        if (e) out += '|';
        for (int i = 0; i < (vertical ? h : w); ++i) {
            const ptrdiff_t q = vertical ? i * kStep + 4 * e : 4 * e * kStep + i;
            const int p0 = block[q - (vertical ? 1 : kStep)], q0 = block[q];
            out += p0 == 66 && q0 == 74 ? '.' : p0 == 67 && q0 == 72 ? 'S' : p0 == 67 && q0 == 73 ? 'n'
                 : p0 == 69 && q0 == 71 ? 'N' : '?';
        }
    }
    if constexpr (sizeof(T) == 1) {
        EXPECT_EQ(out, chromaOutcome<Zub16u>(kind, t)) << "8u and 16u differ";
    }
    return out;
}

Thresholds chromaCase(std::initializer_list<int> bS, std::initializer_list<int> tc0) {
    return makeThresholds(20, 7, 20, 7, bS, tc0);
}

TEST(DeblockChroma, EdgeBsAndTc0Indexing) {
    // 4:2:0 horizontal: bS 4, 0, 0, 0 makes the whole top edge strong.
    EXPECT_EQ(chromaOutcome<Zub8u>(ChromaHor, chromaCase({4, 0, 0, 0}, {})), "SSSSSSSS|........");
    // Byte 0 not 4: a byte of 4 gets the bS < 4 filter; the internal edge reads
    // bytes 8..11 and tc0 4..7 and is never strong.  The vertical edges test
    // bS = 4 per row pair, same bytes.
    const Thresholds t = chromaCase({1, 4, 0, 2, 4, 4, 4, 4, 4, 0, 0, 3}, {0, 2, 0, 2, 0, 0, 0, 2});
    EXPECT_EQ(chromaOutcome<Zub8u>(ChromaHor, t), "nnNN..NN|nn....NN");
    EXPECT_EQ(chromaOutcome<Zub8u>(ChromaVer, t), "nnSS..NN|SS....NN");
    // 4:2:2 horizontal: edge e reads bytes 4e..4e + 3, strong as a whole when byte 4e is 4.
    const Thresholds h = chromaCase({4, 1, 1, 1, 0, 4, 0, 0, 4, 0, 0, 0, 2, 0, 0, 1},
                                    {0, 0, 0, 0, 0, 2, 0, 0, 0, 0, 0, 0, 0, 0, 0, 2});
    EXPECT_EQ(chromaOutcome<Zub8u>(Chroma422Hor, h), "SSSSSSSS|..NN....|SSSSSSSS|nn....NN");
    // 4:2:2 vertical: edge k reads bytes 8k..8k + 3, one per four rows, bS = 4 per run.
    const Thresholds v = chromaCase({1, 4, 0, 2, 4, 4, 4, 4, 0, 4, 3, 0}, {0, 0, 0, 2, 0, 0, 2, 0});
    EXPECT_EQ(chromaOutcome<Zub8u>(Chroma422Ver, v), "nnnnSSSS....NNNN|....SSSSNNNN....");
    // MBAFF: one edge, one bS per row; column 4 is left alone.
    EXPECT_EQ(chromaOutcome<Zub8u>(ChromaMbaff, chromaCase({4, 0, 1, 3, 9, 9, 9, 9}, {0, 0, 0, 2})), "S.nN|....");
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
                EXPECT_EQ(callRecord(m.kind, wide, &r), want);
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
            EXPECT_TRUE(!(wide || m.kind >= Chroma422Ver) || callRecord(m.kind, wide, nullptr) == ZubStatusNullPointer);
            for (int step : {0, -1})
                expect(stepTest ? ZubStatusBadStep : ZubStatusOk, stepTest ? 0 : -1,
                       [&](H264DeblockingParams& r) { r.srcDstStep = step; });
            expect(stepTest ? ZubStatusBadStep : ZubStatusOk, 0, [&](H264DeblockingParams& r) {
                r.alpha = kZero;
                r.srcDstStep = 0;
            });
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
        const struct {
            Kind kind;
            int plane, t;
        } order[6] = {{LumaVer, 0, 0}, {cVer, 1, 2}, {cVer, 2, 2}, {LumaHor, 0, 1}, {cHor, 1, 3}, {cHor, 2, 3}};
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
