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

// ---- the model ---------------------------------------------------------------
// Written from clauses 8.7.2.3 (bS < 4) and 8.7.2.4 (bS = 4) on one line of
// samples p3 p2 p1 p0 | q0 q1 q2 q3, read through explicit coordinates.

struct Thresholds {
    int alpha[2] = {0, 0};
    int beta[2] = {0, 0};
    int tc0[16] = {};
    uint8_t bS[16] = {};
};

// What the model met, so that the random tests can show they reached the
// interesting cases.
struct Coverage {
    long lines = 0, filtered = 0, strongFull = 0, weakBs4 = 0;
    long alphaEq = 0, betaEq = 0, apEq = 0, strongEq = 0, saturated = 0;
};
Coverage gCov;

template <class T>
struct Picture {
    T* origin;       // sample (0, 0) of the block
    ptrdiff_t step;  // in samples
    T& at(int x, int y) const { return origin[static_cast<ptrdiff_t>(y) * step + x]; }
};

// One line across an edge: q0 at (x, y); (dx, dy) points from p to q.
template <class T>
void modelLine(const Picture<T>& pic, int x, int y, int dx, int dy, bool luma, bool bs4, int alpha, int beta,
               int tc0, int maxVal, int tcMask) {
    auto s = [&](int i) -> T& { return pic.at(x + i * dx, y + i * dy); };  // i = -4..3: p3..q3
    const int p0 = s(-1), p1 = s(-2), q0 = s(0), q1 = s(1);
    ++gCov.lines;
    gCov.alphaEq += std::abs(p0 - q0) == alpha;
    gCov.betaEq += std::abs(p1 - p0) == beta || std::abs(q1 - q0) == beta;
    const bool filterSamplesFlag = std::abs(p0 - q0) < alpha && std::abs(p1 - p0) < beta && std::abs(q1 - q0) < beta;
    if (!filterSamplesFlag) return;
    ++gCov.filtered;
    if (!luma) {
        if (bs4) {
            s(-1) = static_cast<T>((2 * p1 + p0 + q1 + 2) >> 2);
            s(0) = static_cast<T>((2 * q1 + q0 + p1 + 2) >> 2);
        } else {
            const int tc = (tc0 + 1) & tcMask;
            const int delta = std::clamp((((q0 - p0) << 2) + (p1 - q1) + 4) >> 3, -tc, tc);
            gCov.saturated += p0 + delta < 0 || p0 + delta > maxVal || q0 - delta < 0 || q0 - delta > maxVal;
            s(-1) = static_cast<T>(std::clamp(p0 + delta, 0, maxVal));
            s(0) = static_cast<T>(std::clamp(q0 - delta, 0, maxVal));
        }
        return;
    }
    const int p2 = s(-3), q2 = s(2), p3 = s(-4), q3 = s(3);
    const bool ap = std::abs(p2 - p0) < beta;
    const bool aq = std::abs(q2 - q0) < beta;
    gCov.apEq += std::abs(p2 - p0) == beta || std::abs(q2 - q0) == beta;
    if (!bs4) {
        const int tc = (tc0 + (ap ? 1 : 0) + (aq ? 1 : 0)) & tcMask;
        const int delta = std::clamp((((q0 - p0) << 2) + (p1 - q1) + 4) >> 3, -tc, tc);
        gCov.saturated += p0 + delta < 0 || p0 + delta > maxVal || q0 - delta < 0 || q0 - delta > maxVal;
        s(-1) = static_cast<T>(std::clamp(p0 + delta, 0, maxVal));
        s(0) = static_cast<T>(std::clamp(q0 - delta, 0, maxVal));
        if (ap) s(-2) = static_cast<T>(p1 + std::clamp((p2 + ((p0 + q0 + 1) >> 1) - (p1 << 1)) >> 1, -tc0, tc0));
        if (aq) s(1) = static_cast<T>(q1 + std::clamp((q2 + ((p0 + q0 + 1) >> 1) - (q1 << 1)) >> 1, -tc0, tc0));
        return;
    }
    const bool small = std::abs(p0 - q0) < (alpha >> 2) + 2;
    gCov.strongEq += std::abs(p0 - q0) == (alpha >> 2) + 2;
    if (ap && small) {
        ++gCov.strongFull;
        s(-1) = static_cast<T>((p2 + 2 * p1 + 2 * p0 + 2 * q0 + q1 + 4) >> 3);
        s(-2) = static_cast<T>((p2 + p1 + p0 + q0 + 2) >> 2);
        s(-3) = static_cast<T>((2 * p3 + 3 * p2 + p1 + p0 + q0 + 4) >> 3);
    } else {
        ++gCov.weakBs4;
        s(-1) = static_cast<T>((2 * p1 + p0 + q1 + 2) >> 2);
    }
    if (aq && small) {
        s(0) = static_cast<T>((p1 + 2 * p0 + 2 * q0 + 2 * q1 + q2 + 4) >> 3);
        s(1) = static_cast<T>((p0 + q0 + q1 + q2 + 2) >> 2);
        s(2) = static_cast<T>((2 * q3 + 3 * q2 + q1 + q0 + p0 + 4) >> 3);
    } else {
        s(0) = static_cast<T>((2 * q1 + q0 + p1 + 2) >> 2);
    }
}

enum class Kind { LumaVer, LumaHor, LumaMbaff, ChromaVer, ChromaHor, ChromaMbaff, Chroma422Ver, Chroma422Hor };

bool isVertical(Kind k) { return k != Kind::LumaHor && k != Kind::ChromaHor && k != Kind::Chroma422Hor; }

// Size of the block a member filters (columns, rows).
std::array<int, 2> blockSize(Kind k) {
    switch (k) {
        case Kind::LumaVer:
        case Kind::LumaHor: return {16, 16};
        case Kind::LumaMbaff: return {16, 8};
        case Kind::ChromaVer:
        case Kind::ChromaHor: return {8, 8};
        case Kind::ChromaMbaff: return {8, 4};
        default: return {8, 16};
    }
}

// The model of one member, written edge by edge from its indexing rules.
template <class T>
void modelMember(Kind kind, const Picture<T>& pic, const Thresholds& t, int maxVal) {
    const int tcMask = sizeof(T) == 1 ? 0xFF : 0xFFFF;
    auto ver = [&](int x, int y, bool luma, bool bs4, int a, int b, int tc0) {
        modelLine(pic, x, y, 1, 0, luma, bs4, a, b, tc0, maxVal, tcMask);
    };
    auto hor = [&](int x, int y, bool luma, bool bs4, int a, int b, int tc0) {
        modelLine(pic, x, y, 0, 1, luma, bs4, a, b, tc0, maxVal, tcMask);
    };
    switch (kind) {
        case Kind::LumaVer:
        case Kind::LumaHor:
            for (int e = 0; e < 4; ++e)
                for (int i = 0; i < 16; ++i) {
                    const int bs = t.bS[4 * e + i / 4];
                    if (bs == 0) continue;
                    const int a = t.alpha[e > 0], b = t.beta[e > 0], tc0 = t.tc0[4 * e + i / 4];
                    if (kind == Kind::LumaVer) ver(4 * e, i, true, bs == 4, a, b, tc0);
                    else hor(i, 4 * e, true, bs == 4, a, b, tc0);
                }
            break;
        case Kind::LumaMbaff:
            for (int y = 0; y < 8; ++y)
                if (t.bS[y / 2]) ver(0, y, true, t.bS[y / 2] == 4, t.alpha[0], t.beta[0], t.tc0[y / 2]);
            break;
        case Kind::ChromaMbaff:
            for (int y = 0; y < 4; ++y)
                if (t.bS[y]) ver(0, y, false, t.bS[y] == 4, t.alpha[0], t.beta[0], t.tc0[y]);
            break;
        case Kind::ChromaVer:
            for (int k = 0; k < 2; ++k)
                for (int y = 0; y < 8; ++y) {
                    const int bs = t.bS[8 * k + y / 2];  // luma edge 2k
                    if (bs) ver(4 * k, y, false, bs == 4, t.alpha[k], t.beta[k], t.tc0[4 * k + y / 2]);
                }
            break;
        case Kind::ChromaHor:
            for (int x = 0; x < 8; ++x) {
                if (t.bS[0] == 4) hor(x, 0, false, true, t.alpha[0], t.beta[0], 0);
                else if (t.bS[x / 2]) hor(x, 0, false, false, t.alpha[0], t.beta[0], t.tc0[x / 2]);
            }
            for (int x = 0; x < 8; ++x)
                if (t.bS[8 + x / 2]) hor(x, 4, false, false, t.alpha[1], t.beta[1], t.tc0[4 + x / 2]);
            break;
        case Kind::Chroma422Ver:
            for (int k = 0; k < 2; ++k)
                for (int y = 0; y < 16; ++y) {
                    const int bs = t.bS[8 * k + y / 4];
                    if (bs) ver(4 * k, y, false, bs == 4, t.alpha[k], t.beta[k], t.tc0[4 * k + y / 4]);
                }
            break;
        case Kind::Chroma422Hor:
            for (int e = 0; e < 4; ++e) {
                const int a = t.alpha[std::min(e, 1)], b = t.beta[std::min(e, 1)];
                for (int x = 0; x < 8; ++x) {
                    if (t.bS[4 * e] == 4) hor(x, 4 * e, false, true, a, b, 0);
                    else if (t.bS[4 * e + x / 2]) hor(x, 4 * e, false, false, a, b, t.tc0[4 * e + x / 2]);
                }
            }
            break;
    }
}

// ---- calling the library ---------------------------------------------------------

struct Member8u {
    const char* name;
    Kind kind;
};

const Member8u kMembers8u[] = {
    {"Luma_VerEdge", Kind::LumaVer},           {"Luma_HorEdge", Kind::LumaHor},
    {"Luma_VerEdge_MBAFF", Kind::LumaMbaff},   {"Chroma_VerEdge", Kind::ChromaVer},
    {"Chroma_HorEdge", Kind::ChromaHor},       {"Chroma_VerEdge_MBAFF", Kind::ChromaMbaff},
    {"Chroma422VerEdge", Kind::Chroma422Ver},  {"Chroma422HorEdge", Kind::Chroma422Hor},
};

// Calls the 8u member of the given kind.
ZubStatus call8u(Kind kind, Zub8u* src, int step, const Thresholds& t) {
    Zub8u alpha[2], beta[2], tc0[16];
    for (int i = 0; i < 2; ++i) {
        alpha[i] = static_cast<Zub8u>(t.alpha[i]);
        beta[i] = static_cast<Zub8u>(t.beta[i]);
    }
    for (int i = 0; i < 16; ++i) tc0[i] = static_cast<Zub8u>(t.tc0[i]);
    H264DeblockingParams rec{src, step, alpha, beta, tc0, t.bS, 8};
    switch (kind) {
        case Kind::LumaVer: return zubiFilterDeblockingLuma_VerEdge_H264_8u_C1IR(src, step, alpha, beta, tc0, t.bS);
        case Kind::LumaHor: return zubiFilterDeblockingLuma_HorEdge_H264_8u_C1IR(src, step, alpha, beta, tc0, t.bS);
        case Kind::LumaMbaff:
            return zubiFilterDeblockingLuma_VerEdge_MBAFF_H264_8u_C1IR(src, step, alpha[0], beta[0], tc0, t.bS);
        case Kind::ChromaVer:
            return zubiFilterDeblockingChroma_VerEdge_H264_8u_C1IR(src, step, alpha, beta, tc0, t.bS);
        case Kind::ChromaHor:
            return zubiFilterDeblockingChroma_HorEdge_H264_8u_C1IR(src, step, alpha, beta, tc0, t.bS);
        case Kind::ChromaMbaff:
            return zubiFilterDeblockingChroma_VerEdge_MBAFF_H264_8u_C1IR(src, step, alpha[0], beta[0], tc0, t.bS);
        case Kind::Chroma422Ver: return zubiFilterDeblockingChroma422VerEdge_H264_8u_C1IR(&rec);
        case Kind::Chroma422Hor: return zubiFilterDeblockingChroma422HorEdge_H264_8u_C1IR(&rec);
    }
    return 1;
}

using Fn16u = ZubStatus (*)(const H264DeblockingParams*);
struct Member16u {
    const char* name;
    Kind kind;
    Fn16u fn;
};

const Member16u kMembers16u[] = {
    {"LumaVerEdge", Kind::LumaVer, zubiFilterDeblockingLumaVerEdge_H264_16u_C1IR},
    {"LumaHorEdge", Kind::LumaHor, zubiFilterDeblockingLumaHorEdge_H264_16u_C1IR},
    {"LumaVerEdgeMBAFF", Kind::LumaMbaff, zubiFilterDeblockingLumaVerEdgeMBAFF_H264_16u_C1IR},
    {"ChromaVerEdge", Kind::ChromaVer, zubiFilterDeblockingChromaVerEdge_H264_16u_C1IR},
    {"ChromaHorEdge", Kind::ChromaHor, zubiFilterDeblockingChromaHorEdge_H264_16u_C1IR},
    {"ChromaVerEdgeMBAFF", Kind::ChromaMbaff, zubiFilterDeblockingChromaVerEdgeMBAFF_H264_16u_C1IR},
    {"Chroma422VerEdge", Kind::Chroma422Ver, zubiFilterDeblockingChroma422VerEdge_H264_16u_C1IR},
    {"Chroma422HorEdge", Kind::Chroma422Hor, zubiFilterDeblockingChroma422HorEdge_H264_16u_C1IR},
};

ZubStatus call16u(Fn16u fn, Zub16u* src, int step, const Thresholds& t, int bitDepth) {
    Zub16u alpha[2], beta[2], tc0[16];
    for (int i = 0; i < 2; ++i) {
        alpha[i] = static_cast<Zub16u>(t.alpha[i]);
        beta[i] = static_cast<Zub16u>(t.beta[i]);
    }
    for (int i = 0; i < 16; ++i) tc0[i] = static_cast<Zub16u>(t.tc0[i]);
    const H264DeblockingParams rec{src, step, alpha, beta, tc0, t.bS, bitDepth};
    return fn(&rec);
}

// ---- random macroblocks ---------------------------------------------------------
// Thresholds of a typical range, with now and then extreme ones; sample lines
// built as walks whose steps often equal alpha, beta, (alpha >> 2) + 2 or
// one less or more, so the strict tests are met exactly.

// maxT: the largest threshold the element type holds.
Thresholds randomThresholds(std::mt19937& rng, int bitDepth, int maxT) {
    const int scale = 1 << (bitDepth - 8);
    auto pick = [&](int lo, int hi) { return std::uniform_int_distribution<int>(lo, hi)(rng); };
    Thresholds t;
    for (int i = 0; i < 2; ++i) {
        const int r = pick(0, 19);
        t.alpha[i] = r == 0 ? 0 : r == 1 ? pick(0, maxT) : pick(4, 100) * scale + pick(0, scale - 1);
        t.beta[i] = r == 2 ? pick(0, maxT) : pick(1, 18) * scale + pick(0, scale - 1);
    }
    for (int i = 0; i < 16; ++i) {
        const int r = pick(0, 29);
        // tc0 near the top of its element exercises tc kept to that width.
        t.tc0[i] = r == 0 ? maxT - pick(0, 2) : pick(0, 25) * scale;
    }
    static const uint8_t kBs[] = {0, 1, 2, 3, 4, 4, 4, 1, 2, 0, 0, 3};
    for (int e = 0; e < 4; ++e) {
        const int r = pick(0, 9);
        for (int s = 0; s < 4; ++s) {
            uint8_t b = kBs[pick(0, 11)];
            if (r == 0) b = 0;                      // whole edge off
            if (r == 1) b = 4;                      // whole edge strong
            if (r == 2 && s == 0) b = 4;            // byte 0 strong only
            if (pick(0, 99) == 0) b = static_cast<uint8_t>(pick(5, 255));  // outside 0..4: filtered as bS < 4
            t.bS[4 * e + s] = b;
        }
    }
    return t;
}

// Fills a w x h area (origin and step given) with lines along (dx, dy).
template <class T>
void fillWalks(std::mt19937& rng, T* origin, ptrdiff_t step, int w, int h, bool alongX, const Thresholds& t,
               int maxVal) {
    auto pick = [&](int lo, int hi) { return std::uniform_int_distribution<int>(lo, hi)(rng); };
    const int lines = alongX ? h : w, len = alongX ? w : h;
    for (int l = 0; l < lines; ++l) {
        int v;
        switch (pick(0, 5)) {
            case 0: v = pick(0, std::min(maxVal, 8)); break;      // near black
            case 1: v = maxVal - pick(0, std::min(maxVal, 8)); break;  // near white
            default: v = pick(0, maxVal);
        }
        for (int i = 0; i < len; ++i) {
            const int a = t.alpha[pick(0, 1)], b = t.beta[pick(0, 1)];
            int d;
            switch (pick(0, 11)) {
                case 0: d = a + pick(-1, 1); break;
                case 1: d = (a >> 2) + 2 + pick(-1, 0); break;
                case 2: case 3: d = b + pick(-1, 1); break;
                case 4: d = pick(0, 1); break;
                case 5: d = pick(0, a + 1); break;
                default: d = pick(0, std::max(b, 1));
            }
            if (pick(0, 1)) d = -d;
            v = std::clamp(v + d, 0, maxVal);
            const ptrdiff_t x = alongX ? i : l, y = alongX ? l : i;
            origin[y * step + x] = static_cast<T>(v);
        }
    }
}

// The area a test fills and compares: the block with a margin of 8 samples on
// every side, so that stray reads stay inside and stray writes show.
constexpr int kMargin = 8;

template <class T, class Call>
void checkAgainstModel(Kind kind, int bitDepth, int iterations, uint32_t seed, Call call) {
    std::mt19937 rng(seed);
    const int maxVal = (1 << bitDepth) - 1;
    const auto [bw, bh] = blockSize(kind);
    const int w = bw + 2 * kMargin, h = bh + 2 * kMargin;
    gCov = Coverage{};
    for (int it = 0; it < iterations; ++it) {
        const int step = w + std::uniform_int_distribution<int>(0, 5)(rng);
        const bool flip = sizeof(T) == 1 && it % 4 == 3;  // 8u steps are unchecked: negative ones work too
        std::vector<T> lib(static_cast<size_t>(step) * h), ref;
        T* base = flip ? lib.data() + static_cast<ptrdiff_t>(h - 1) * step : lib.data();
        const ptrdiff_t s = flip ? -step : step;
        const Thresholds t = randomThresholds(rng, bitDepth, sizeof(T) == 1 ? 255 : 65535);
        fillWalks(rng, base, s, w, h, isVertical(kind), t, maxVal);
        ref = lib;
        const ptrdiff_t blockOffset = kMargin * s + kMargin;
        const Picture<T> pic{ref.data() + (base - lib.data()) + blockOffset, s};
        modelMember(kind, pic, t, maxVal);
        ASSERT_EQ(call(base + blockOffset, static_cast<int>(s), t), ZubStatusOk);
        if (lib != ref) {
            ADD_FAILURE() << "iteration " << it << " differs from the model";
            for (size_t i = 0; i < lib.size(); ++i)
                if (lib[i] != ref[i]) {
                    ADD_FAILURE() << "first difference at row " << i / step << " column " << i % step << ": "
                                  << +lib[i] << " vs model " << +ref[i];
                    break;
                }
            return;
        }
    }
    // The data reached the cases that matter.
    EXPECT_GT(gCov.filtered * 4, gCov.lines) << "filtering happens often";
    EXPECT_GT(gCov.alphaEq, 0);
    EXPECT_GT(gCov.betaEq, 0);
    EXPECT_GT(gCov.saturated, 0);
    if (kind == Kind::LumaVer || kind == Kind::LumaHor || kind == Kind::LumaMbaff) {
        EXPECT_GT(gCov.apEq, 0);
        EXPECT_GT(gCov.strongEq, 0);
        EXPECT_GT(gCov.strongFull, 0);
        EXPECT_GT(gCov.weakBs4, 0);
    }
}

TEST(Deblock8u, EveryMemberMatchesModelOnRandomMacroblocks) {
    uint32_t seed = 100;
    for (const auto& m : kMembers8u) {
        SCOPED_TRACE(m.name);
        checkAgainstModel<Zub8u>(m.kind, 8, 2500, seed++, [&](Zub8u* src, int step, const Thresholds& t) {
            return call8u(m.kind, src, step, t);
        });
    }
}

TEST(Deblock16u, EveryMemberMatchesModelAtBitDepths8To14) {
    uint32_t seed = 200;
    for (const auto& m : kMembers16u)
        for (int bd = 8; bd <= 14; ++bd) {
            SCOPED_TRACE(std::string(m.name) + " bit depth " + std::to_string(bd));
            checkAgainstModel<Zub16u>(m.kind, bd, 500, seed++, [&](Zub16u* src, int step, const Thresholds& t) {
                return call16u(m.fn, src, step, t, bd);
            });
        }
}

// ---- hand-computed lines ------------------------------------------------------
// One line p3..q3 placed across the first edge of a member (the same line on
// every row of the first run), filtered, and read back.

using Line = std::array<int, 8>;  // p3 p2 p1 p0 q0 q1 q2 q3

template <class T, class Call>
Line filterLine(const Line& in, bool vertical, int runLen, Call call) {
    constexpr int kW = 32;
    std::vector<T> buf(kW * kW, 0);
    T* block = buf.data() + 8 * kW + 8;  // the member's top-left sample
    for (int r = 0; r < 4; ++r)
        for (int i = 0; i < 8; ++i) {
            const int across = i - 4, along = r;
            block[vertical ? along * kW + across : across * kW + along] = static_cast<T>(in[i]);
        }
    EXPECT_EQ(call(block, kW), ZubStatusOk);
    Line out{};
    for (int i = 0; i < 8; ++i) out[i] = block[vertical ? i - 4 : (i - 4) * kW];
    for (int r = 1; r < runLen; ++r)  // the run's other lines agree
        for (int i = 0; i < 8; ++i) EXPECT_EQ(+block[vertical ? r * kW + i - 4 : (i - 4) * kW + r], out[i]);
    return out;
}

// Thresholds with only bS byte 0 (and tc0[0]) set: the first run of the
// external edge.
Thresholds firstRun(int bS, int alpha, int beta, int tc0) {
    Thresholds t;
    t.alpha[0] = alpha;
    t.beta[0] = beta;
    t.alpha[1] = t.beta[1] = 255;  // internal edges must not matter
    t.bS[0] = static_cast<uint8_t>(bS);
    t.tc0[0] = tc0;
    return t;
}

// The line through the luma (or chroma) vertical- and horizontal-edge
// members, 8u and 16u: four results that must each equal the expectation.
std::vector<Line> lineResults(bool luma, const Line& in, const Thresholds& t, int bitDepth) {
    const Kind kinds[2] = {luma ? Kind::LumaVer : Kind::ChromaVer, luma ? Kind::LumaHor : Kind::ChromaHor};
    const Fn16u fns[2] = {
        luma ? zubiFilterDeblockingLumaVerEdge_H264_16u_C1IR : zubiFilterDeblockingChromaVerEdge_H264_16u_C1IR,
        luma ? zubiFilterDeblockingLumaHorEdge_H264_16u_C1IR : zubiFilterDeblockingChromaHorEdge_H264_16u_C1IR};
    const int runLen = luma ? 4 : 2;
    std::vector<Line> r;
    for (int v = 0; v < 2; ++v) {
        r.push_back(filterLine<Zub8u>(in, v == 0, runLen,
                                      [&](Zub8u* b, int step) { return call8u(kinds[v], b, step, t); }));
        r.push_back(filterLine<Zub16u>(in, v == 0, runLen,
                                       [&](Zub16u* b, int step) { return call16u(fns[v], b, step, t, bitDepth); }));
    }
    return r;
}
std::vector<Line> lumaResults(const Line& in, const Thresholds& t, int bd) { return lineResults(true, in, t, bd); }
std::vector<Line> chromaResults(const Line& in, const Thresholds& t, int bd) { return lineResults(false, in, t, bd); }

const Line kRamp = {60, 62, 64, 66, 74, 75, 76, 77};

TEST(DeblockLine, LumaBsBelow4KnownValues) {
    // delta = ((74 - 66) * 4 + (64 - 75) + 4) >> 3 = 3; ap, aq true so tc = 2 + 2;
    // p1 += clip((62 + 70 - 128) >> 1) = 2, q1 += (76 + 70 - 150) >> 1 = -2.
    for (const Line& out : lumaResults(kRamp, firstRun(2, 20, 7, 2), 8))
        EXPECT_EQ(out, (Line{60, 62, 66, 69, 71, 73, 76, 77}));
    // tc0 = 0: tc = 2 limits delta to 2; p1 and q1 are held at tc0 = 0.
    for (const Line& out : lumaResults(kRamp, firstRun(1, 20, 7, 0), 8))
        EXPECT_EQ(out, (Line{60, 62, 64, 68, 72, 75, 76, 77}));
    // beta = 3: |p2 - p0| = 4 fails (ap false) while |q2 - q0| = 2 passes:
    // tc = 1 + 1 limits delta to 2, q1 += clip(-2, +-1).
    for (const Line& out : lumaResults(kRamp, firstRun(3, 20, 3, 1), 8))
        EXPECT_EQ(out, (Line{60, 62, 64, 68, 72, 74, 76, 77}));
    // |p0 - q0| = alpha: the strict test leaves the line alone; one more filters.
    for (const Line& out : lumaResults(kRamp, firstRun(2, 8, 7, 2), 8)) EXPECT_EQ(out, kRamp);
    for (const Line& out : lumaResults(kRamp, firstRun(2, 9, 7, 2), 8)) EXPECT_NE(out, kRamp);
    // |p1 - p0| = beta = 2: no filtering.
    for (const Line& out : lumaResults(kRamp, firstRun(2, 20, 2, 2), 8)) EXPECT_EQ(out, kRamp);
    // bS = 0 on the run: nothing.
    for (const Line& out : lumaResults(kRamp, firstRun(0, 20, 7, 2), 8)) EXPECT_EQ(out, kRamp);
}

TEST(DeblockLine, LumaBs4KnownValues) {
    // alpha = 40: |p0 - q0| = 8 < (40 >> 2) + 2 and ap, aq: the full filter.
    for (const Line& out : lumaResults(kRamp, firstRun(4, 40, 7, 0), 8))
        EXPECT_EQ(out, (Line{60, 64, 67, 68, 71, 73, 75, 77}));
    // alpha = 24: |p0 - q0| = (24 >> 2) + 2 exactly, so only p0 and q0 change:
    // p0 = (2 * 64 + 66 + 75 + 2) >> 2, q0 = (2 * 75 + 74 + 64 + 2) >> 2.
    for (const Line& out : lumaResults(kRamp, firstRun(4, 24, 7, 0), 8))
        EXPECT_EQ(out, (Line{60, 62, 64, 67, 72, 75, 76, 77}));
    // beta = 3: ap false, aq true - p side weak, q side full.
    for (const Line& out : lumaResults(kRamp, firstRun(4, 40, 3, 0), 8))
        EXPECT_EQ(out, (Line{60, 62, 64, 67, 71, 73, 75, 77}));
}

TEST(DeblockLine, ChromaKnownValuesAndSaturation) {
    // tc = tc0 + 1 = 3 lets delta = 3 through; tc0 = 1 limits it to 2.
    for (const Line& out : chromaResults(kRamp, firstRun(2, 20, 7, 2), 8))
        EXPECT_EQ(out, (Line{60, 62, 64, 69, 71, 75, 76, 77}));
    for (const Line& out : chromaResults(kRamp, firstRun(1, 20, 7, 1), 8))
        EXPECT_EQ(out, (Line{60, 62, 64, 68, 72, 75, 76, 77}));
    // Chroma bS = 4: p0 and q0 only, whatever alpha.
    for (const Line& out : chromaResults(kRamp, firstRun(4, 40, 7, 0), 8))
        EXPECT_EQ(out, (Line{60, 62, 64, 67, 72, 75, 76, 77}));
    // delta = (8 + 18 + 4) >> 3 = 3 takes q0 = 2 below zero: saturated to 0.
    const Line low = {0, 0, 18, 0, 2, 0, 0, 0};
    for (const Line& out : chromaResults(low, firstRun(1, 10, 19, 2), 8))
        EXPECT_EQ(out, (Line{0, 0, 18, 3, 0, 0, 0, 0}));
    // The mirror image at the top of 10-bit samples: delta = -22 >> 3 = -3,
    // q0 = 1021 + 3 saturates to 1023.
    const Line high = {1005, 1005, 1005, 1023, 1021, 1023, 1023, 1023};
    for (Fn16u fn : {zubiFilterDeblockingChromaVerEdge_H264_16u_C1IR, zubiFilterDeblockingLumaVerEdge_H264_16u_C1IR}) {
        const Line out = filterLine<Zub16u>(high, true, 2, [&](Zub16u* b, int step) {
            return call16u(fn, b, step, firstRun(1, 10, 19, 2), 10);
        });
        EXPECT_EQ(out[3], 1020);
        EXPECT_EQ(out[4], 1023);
    }
}

// tc is kept to the width of the threshold element: tc0 = 255 (8u) with ap
// and aq gives tc = 1 for luma, tc0 + 1 = 0 for chroma; 65535 likewise for 16u.
TEST(DeblockLine, ClippingValueKeptToElementWidth) {
    const Line in = {70, 70, 70, 70, 90, 90, 90, 90};  // delta = (80 + -20 + 4) >> 3 = 8
    Thresholds t = firstRun(1, 40, 7, 255);
    const Line luma = filterLine<Zub8u>(in, true, 4, [&](Zub8u* b, int s) { return call8u(Kind::LumaVer, b, s, t); });
    EXPECT_EQ(luma[3], 71);  // tc = (255 + 2) mod 256 = 1
    EXPECT_EQ(luma[4], 89);
    EXPECT_EQ(luma[2], 75);  // p1 + clip((70 + 80 - 140) >> 1, +-tc0): tc0 itself is not cut
    const Line chroma =
        filterLine<Zub8u>(in, true, 2, [&](Zub8u* b, int s) { return call8u(Kind::ChromaVer, b, s, t); });
    EXPECT_EQ(chroma, in);  // tc = 0
    t.tc0[0] = 65535;
    const Line luma16 = filterLine<Zub16u>(in, true, 4, [&](Zub16u* b, int s) {
        return call16u(zubiFilterDeblockingLumaVerEdge_H264_16u_C1IR, b, s, t, 10);
    });
    EXPECT_EQ(luma16[3], 71);
    EXPECT_EQ(luma16[4], 89);
}

// ---- which lines of a chroma block are filtered, and how ------------------------
// Every line across every chroma edge (edges 4 apart) reads 64 66 | 74 75, so
// the outcome of a line shows the filter it got: '.' none, 'S' bS = 4
// (67, 72), 'n' bS < 4 with tc = 1 (67, 73), 'N' bS < 4 with tc = 3 (69, 71).

template <class T, class Call>
std::string chromaOutcome(bool vertical, int w, int h, Call call) {
    constexpr int kStep = 24;
    static const int kPattern[4] = {74, 75, 64, 66};  // q0 q1 p1 p0 by position mod 4
    std::vector<T> buf(kStep * 24);
    T* block = buf.data() + 4 * kStep + 4;
    for (int y = -4; y < h + 4; ++y)
        for (int x = -4; x < w + 4; ++x)
            block[y * kStep + x] = static_cast<T>(kPattern[((vertical ? x : y) + 4) % 4]);
    EXPECT_EQ(call(block, kStep), ZubStatusOk);
    std::string out;
    const int edges = (vertical ? w : h) / 4, lines = vertical ? h : w;
    for (int e = 0; e < edges; ++e) {
        if (e) out += '|';
        for (int i = 0; i < lines; ++i) {
            const ptrdiff_t q = vertical ? i * kStep + 4 * e : 4 * e * kStep + i;
            const int p0 = block[q - (vertical ? 1 : kStep)], q0 = block[q];
            out += p0 == 66 && q0 == 74 ? '.' : p0 == 67 && q0 == 72 ? 'S' : p0 == 67 && q0 == 73 ? 'n'
                 : p0 == 69 && q0 == 71 ? 'N' : '?';
        }
    }
    return out;
}

Thresholds chromaCase(std::initializer_list<int> bS, std::initializer_list<int> tc0) {
    Thresholds t;
    t.alpha[0] = t.alpha[1] = 20;
    t.beta[0] = t.beta[1] = 7;
    int i = 0;
    for (int b : bS) t.bS[i++] = static_cast<uint8_t>(b);
    i = 0;
    for (int c : tc0) t.tc0[i++] = c;
    return t;
}

// 8u and 16u give the same outcome string.
std::string outcome8u16u(Kind kind, Fn16u fn16, const Thresholds& t) {
    const bool vertical = isVertical(kind);
    const auto [w, h] = blockSize(kind);
    const std::string a =
        chromaOutcome<Zub8u>(vertical, w, h, [&](Zub8u* b, int step) { return call8u(kind, b, step, t); });
    const std::string b = chromaOutcome<Zub16u>(vertical, w, h,
                                                [&](Zub16u* p, int step) { return call16u(fn16, p, step, t, 9); });
    EXPECT_EQ(a, b);
    return a;
}

TEST(DeblockChroma, HorizontalEdgesTakeBs4FromByte0Only) {
    const Fn16u hor = zubiFilterDeblockingChromaHorEdge_H264_16u_C1IR;
    // bS 4, 0, 0, 0: all eight columns of the top edge strong.
    EXPECT_EQ(outcome8u16u(Kind::ChromaHor, hor, chromaCase({4, 0, 0, 0}, {})), "SSSSSSSS|........");
    // Byte 0 not 4: a byte of 4 gets the bS < 4 filter; the internal edge reads
    // bytes 8..11 (not 4..7) and never filters strongly.
    const Thresholds t = chromaCase({1, 4, 0, 2, 4, 4, 4, 4, 4, 0, 0, 3}, {0, 2, 0, 2, 0, 0, 0, 2});
    EXPECT_EQ(outcome8u16u(Kind::ChromaHor, hor, t), "nnNN..NN|nn....NN");
    // The vertical edges test bS = 4 per row pair, same bytes.
    EXPECT_EQ(outcome8u16u(Kind::ChromaVer, zubiFilterDeblockingChromaVerEdge_H264_16u_C1IR, t), "nnSS..NN|SS....NN");
}

TEST(DeblockChroma, FourTwoTwoEdges) {
    // Horizontal: edge e reads bytes 4e..4e + 3 and is strong as a whole when
    // byte 4e is 4 (the internal edge 2 included).
    const Thresholds h = chromaCase({4, 1, 1, 1, 0, 4, 0, 0, 4, 0, 0, 0, 2, 0, 0, 1},
                                    {0, 0, 0, 0, 0, 2, 0, 0, 0, 0, 0, 0, 0, 0, 0, 2});
    EXPECT_EQ(outcome8u16u(Kind::Chroma422Hor, zubiFilterDeblockingChroma422HorEdge_H264_16u_C1IR, h),
              "SSSSSSSS|..NN....|SSSSSSSS|nn....NN");
    // Vertical: edge k reads bytes 8k..8k + 3, one per four rows, bS = 4 per run.
    const Thresholds v = chromaCase({1, 4, 0, 2, 4, 4, 4, 4, 0, 4, 3, 0}, {0, 0, 0, 2, 0, 0, 2, 0});
    EXPECT_EQ(outcome8u16u(Kind::Chroma422Ver, zubiFilterDeblockingChroma422VerEdge_H264_16u_C1IR, v),
              "nnnnSSSS....NNNN|....SSSSNNNN....");
}

TEST(DeblockChroma, MbaffEdgeOneBsPerRow) {
    const Thresholds t = chromaCase({4, 0, 1, 3, 9, 9, 9, 9}, {0, 0, 0, 2});
    // One edge only: column 4 is left alone.
    EXPECT_EQ(outcome8u16u(Kind::ChromaMbaff, zubiFilterDeblockingChromaVerEdgeMBAFF_H264_16u_C1IR, t), "S.nN|....");
}

// ---- argument checks -------------------------------------------------------------
// A block whose every line would be filtered, so that any write shows.

struct ArgFixture {
    std::vector<Zub8u> buf8 = std::vector<Zub8u>(40 * 40);
    std::vector<Zub16u> buf16 = std::vector<Zub16u>(40 * 40);
    Zub8u alpha8[2] = {40, 40}, beta8[2] = {9, 9}, tc8[16] = {}, bS[16] = {};
    Zub16u alpha16[2] = {40, 40}, beta16[2] = {9, 9}, tc16[16] = {};
    ArgFixture() {
        for (size_t i = 0; i < buf8.size(); ++i) buf8[i] = buf16[i] = static_cast<Zub8u>(i % 3 == 0 ? 60 : 64);
        std::fill(std::begin(bS), std::end(bS), 2);
        std::fill(std::begin(tc8), std::end(tc8), 2);
        std::fill(std::begin(tc16), std::end(tc16), 2);
    }
    Zub8u* b8() { return buf8.data() + 8 * 40 + 8; }
    Zub16u* b16() { return buf16.data() + 8 * 40 + 8; }
    H264DeblockingParams rec8() { return {b8(), 40, alpha8, beta8, tc8, bS, 8}; }
    H264DeblockingParams rec16() { return {b16(), 40, alpha16, beta16, tc16, bS, 10}; }
    bool untouched() const {
        for (size_t i = 0; i < buf8.size(); ++i)
            if (buf8[i] != (i % 3 == 0 ? 60 : 64) || buf16[i] != buf8[i]) return false;
        return true;
    }
};

using Plain8u = ZubStatus (*)(Zub8u*, Zub32s, const Zub8u*, const Zub8u*, const Zub8u*, const Zub8u*);
using Mbaff8u = ZubStatus (*)(Zub8u*, Zub32s, Zub8u, Zub8u, const Zub8u*, const Zub8u*);

TEST(DeblockArgs, PlainMembersTestTheirPointersOnly) {
    for (Plain8u fn : {zubiFilterDeblockingLuma_VerEdge_H264_8u_C1IR, zubiFilterDeblockingLuma_HorEdge_H264_8u_C1IR,
                       zubiFilterDeblockingChroma_VerEdge_H264_8u_C1IR,
                       zubiFilterDeblockingChroma_HorEdge_H264_8u_C1IR}) {
        ArgFixture f;
        EXPECT_EQ(fn(nullptr, 40, f.alpha8, f.beta8, f.tc8, f.bS), ZubStatusNullPointer);
        EXPECT_EQ(fn(f.b8(), 40, nullptr, f.beta8, f.tc8, f.bS), ZubStatusNullPointer);
        EXPECT_EQ(fn(f.b8(), 40, f.alpha8, nullptr, f.tc8, f.bS), ZubStatusNullPointer);
        EXPECT_EQ(fn(f.b8(), 40, f.alpha8, f.beta8, nullptr, f.bS), ZubStatusNullPointer);
        EXPECT_EQ(fn(f.b8(), 40, f.alpha8, f.beta8, f.tc8, nullptr), ZubStatusNullPointer);
        EXPECT_TRUE(f.untouched());
        // The step is not checked: with step 0 every row is row 0.
        EXPECT_EQ(fn(f.b8(), 0, f.alpha8, f.beta8, f.tc8, f.bS), ZubStatusOk);
        EXPECT_EQ(fn(f.b8(), 40, f.alpha8, f.beta8, f.tc8, f.bS), ZubStatusOk);
        EXPECT_FALSE(f.untouched());
    }
}

TEST(DeblockArgs, MbaffMembersReturnEarlyAfterTheNullTests) {
    for (Mbaff8u fn : {zubiFilterDeblockingLuma_VerEdge_MBAFF_H264_8u_C1IR,
                       zubiFilterDeblockingChroma_VerEdge_MBAFF_H264_8u_C1IR}) {
        ArgFixture f;
        EXPECT_EQ(fn(nullptr, 40, 40, 9, f.tc8, f.bS), ZubStatusNullPointer);
        EXPECT_EQ(fn(f.b8(), 40, 0, 9, nullptr, f.bS), ZubStatusNullPointer);  // nulls before alpha = 0
        EXPECT_EQ(fn(f.b8(), 40, 0, 9, f.tc8, nullptr), ZubStatusNullPointer);
        EXPECT_EQ(fn(f.b8(), 40, 0, 9, f.tc8, f.bS), ZubStatusOk);  // alpha = 0
        const Zub8u zero[16] = {0, 0, 0, 0, 4, 4, 4, 4, 4, 4, 4, 4, 4, 4, 4, 4};
        EXPECT_EQ(fn(f.b8(), 40, 40, 9, f.tc8, zero), ZubStatusOk);  // first four bS bytes zero
        EXPECT_TRUE(f.untouched());
        EXPECT_EQ(fn(f.b8(), 40, 40, 9, f.tc8, f.bS), ZubStatusOk);
        EXPECT_FALSE(f.untouched());
    }
}

// Record members: the record, then srcDst, alpha, beta, thresholds, bS.
template <class MakeRec>
void expectRecordNullChecks(Fn16u fn, ArgFixture& f, MakeRec make) {
    EXPECT_EQ(fn(nullptr), ZubStatusNullPointer);
    for (int i = 0; i < 5; ++i) {
        H264DeblockingParams r = make();
        r.srcDstStep = 0;  // a null pointer is reported before a bad step
        if (i == 0) r.srcDst = nullptr;
        if (i == 1) r.alpha = nullptr;
        if (i == 2) r.beta = nullptr;
        if (i == 3) r.thresholds = nullptr;
        if (i == 4) r.bS = nullptr;
        EXPECT_EQ(fn(&r), ZubStatusNullPointer) << i;
    }
    EXPECT_TRUE(f.untouched());
}

TEST(DeblockArgs, RecordMembers8uTestPointersNotTheStep) {
    for (Fn16u fn : {zubiFilterDeblockingChroma422VerEdge_H264_8u_C1IR,
                     zubiFilterDeblockingChroma422HorEdge_H264_8u_C1IR}) {
        ArgFixture f;
        expectRecordNullChecks(fn, f, [&] { return f.rec8(); });
        H264DeblockingParams r = f.rec8();
        r.srcDstStep = -40;  // rows upwards
        r.srcDst = f.b8() + 15 * 40;
        EXPECT_EQ(fn(&r), ZubStatusOk);
        EXPECT_FALSE(f.untouched());
    }
}

TEST(DeblockArgs, Members16uTestPointersThenStep) {
    for (const auto& m : kMembers16u) {
        SCOPED_TRACE(m.name);
        ArgFixture f;
        expectRecordNullChecks(m.fn, f, [&] { return f.rec16(); });
        for (int step : {0, -1, -40}) {
            H264DeblockingParams r = f.rec16();
            r.srcDstStep = step;
            if (m.kind == Kind::ChromaMbaff) {
                // The one member without the step test.  Step -40 filters the
                // rows upwards from the given sample; 0 filters row 0 four times.
                EXPECT_EQ(m.fn(&r), ZubStatusOk);
            } else {
                EXPECT_EQ(m.fn(&r), ZubStatusBadStep);
                EXPECT_TRUE(f.untouched());
            }
        }
        if (m.kind == Kind::LumaMbaff) {
            // The step test comes before the early return for alpha = 0.
            const Zub16u zeroAlpha = 0;
            H264DeblockingParams r = f.rec16();
            r.alpha = &zeroAlpha;
            EXPECT_EQ(m.fn(&r), ZubStatusOk);
            r.srcDstStep = 0;
            EXPECT_EQ(m.fn(&r), ZubStatusBadStep);
            EXPECT_TRUE(f.untouched());
        }
        H264DeblockingParams r = f.rec16();
        EXPECT_EQ(m.fn(&r), ZubStatusOk);
        EXPECT_FALSE(f.untouched());
    }
}

TEST(DeblockArgs, FourTwoTwoMbaffEntriesAreNotImplemented) {
    ArgFixture f;
    const H264DeblockingParams r8 = f.rec8(), r16 = f.rec16();
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
// edges.  Edges on the picture border have bS 0, and the planes have no
// margin, so a read beyond them would show under the sanitizers.

struct MbDeblock {
    Thresholds lumaVer, lumaHor, chromaVer, chromaHor;
};

template <class T>
struct PictureCase {
    int chromaRows;  // 8 (4:2:0) or 16 (4:2:2) per macroblock
    int bitDepth;
    static constexpr int kMbW = 4, kMbH = 3;
    std::vector<T> planes[3];
    std::vector<MbDeblock> mbs;

    PictureCase(int chromaRowsPerMb, int depth, uint32_t seed) : chromaRows(chromaRowsPerMb), bitDepth(depth) {
        std::mt19937 rng(seed);
        auto pick = [&](int lo, int hi) { return std::uniform_int_distribution<int>(lo, hi)(rng); };
        const int scale = 1 << (bitDepth - 8), maxVal = (1 << bitDepth) - 1;
        for (int c = 0; c < 3; ++c) {
            const int w = c ? 8 * kMbW : 16 * kMbW, h = c ? chromaRows * kMbH : 16 * kMbH;
            planes[c].resize(static_cast<size_t>(w) * h);
            std::vector<int> level((w / 4) * (h / 4));
            for (auto& l : level) l = pick(40, 200) * scale;
            for (int y = 0; y < h; ++y)
                for (int x = 0; x < w; ++x) {
                    const int base = level[(y / 4) * (w / 4) + x / 4];
                    planes[c][static_cast<size_t>(y) * w + x] =
                        static_cast<T>(std::clamp(base / 4 + 90 * scale + pick(-3, 3) * scale, 0, maxVal));
                }
        }
        for (int mb = 0; mb < kMbW * kMbH; ++mb) {
            MbDeblock d;
            for (Thresholds* t : {&d.lumaVer, &d.lumaHor, &d.chromaVer, &d.chromaHor}) {
                for (int i = 0; i < 2; ++i) {
                    t->alpha[i] = pick(8, 60) * scale;
                    t->beta[i] = pick(2, 12) * scale;
                }
                for (int i = 0; i < 16; ++i) {
                    t->bS[i] = static_cast<uint8_t>(i < 4 ? pick(0, 4) : pick(0, 3));
                    t->tc0[i] = pick(0, 6) * scale;
                }
            }
            // Chroma edges use the luma bS of their direction.
            std::copy(std::begin(d.lumaVer.bS), std::end(d.lumaVer.bS), d.chromaVer.bS);
            std::copy(std::begin(d.lumaHor.bS), std::end(d.lumaHor.bS), d.chromaHor.bS);
            for (Thresholds* t : {&d.lumaVer, &d.chromaVer})
                if (mb % kMbW == 0) std::fill(t->bS, t->bS + 4, 0);  // left picture edge
            for (Thresholds* t : {&d.lumaHor, &d.chromaHor})
                if (mb < kMbW) std::fill(t->bS, t->bS + 4, 0);  // top picture edge
            mbs.push_back(d);
        }
    }

    // filter(kind, plane, block origin, step, thresholds) is the library or the model.
    template <class Filter>
    void deblock(Filter filter) {
        const Kind cVer = chromaRows == 8 ? Kind::ChromaVer : Kind::Chroma422Ver;
        const Kind cHor = chromaRows == 8 ? Kind::ChromaHor : Kind::Chroma422Hor;
        for (int mb = 0; mb < kMbW * kMbH; ++mb) {
            const int mx = mb % kMbW, my = mb / kMbW;
            T* luma = planes[0].data() + static_cast<size_t>(16 * my) * 16 * kMbW + 16 * mx;
            T* cb = planes[1].data() + static_cast<size_t>(chromaRows * my) * 8 * kMbW + 8 * mx;
            T* cr = planes[2].data() + (cb - planes[1].data());
            const MbDeblock& d = mbs[mb];
            filter(Kind::LumaVer, luma, 16 * kMbW, d.lumaVer);
            filter(cVer, cb, 8 * kMbW, d.chromaVer);
            filter(cVer, cr, 8 * kMbW, d.chromaVer);
            filter(Kind::LumaHor, luma, 16 * kMbW, d.lumaHor);
            filter(cHor, cb, 8 * kMbW, d.chromaHor);
            filter(cHor, cr, 8 * kMbW, d.chromaHor);
        }
    }
};

template <class T, class LibFilter>
void checkPicture(int chromaRows, int bitDepth, uint32_t seed, LibFilter libFilter) {
    PictureCase<T> lib(chromaRows, bitDepth, seed), model = lib;
    const int maxVal = (1 << bitDepth) - 1;
    lib.deblock(libFilter);
    model.deblock([&](Kind k, T* block, int step, const Thresholds& t) {
        modelMember(k, Picture<T>{block, step}, t, maxVal);
    });
    const PictureCase<T> input(chromaRows, bitDepth, seed);
    for (int c = 0; c < 3; ++c) {
        EXPECT_EQ(lib.planes[c], model.planes[c]) << "plane " << c;
        EXPECT_NE(lib.planes[c], input.planes[c]) << "plane " << c << " was filtered";
    }
}

TEST(DeblockPicture, MacroblockByMacroblockEqualsModel) {
    auto lib8u = [](Kind k, Zub8u* block, int step, const Thresholds& t) {
        ASSERT_EQ(call8u(k, block, step, t), ZubStatusOk);
    };
    auto lib16u = [](int bitDepth) {
        return [bitDepth](Kind k, Zub16u* block, int step, const Thresholds& t) {
            for (const auto& m : kMembers16u)
                if (m.kind == k) {
                    ASSERT_EQ(call16u(m.fn, block, step, t, bitDepth), ZubStatusOk);
                }
        };
    };
    for (uint32_t seed = 1; seed <= 20; ++seed) {
        checkPicture<Zub8u>(8, 8, seed, lib8u);
        checkPicture<Zub8u>(16, 8, seed, lib8u);
        checkPicture<Zub16u>(8, 10, seed, lib16u(10));
        checkPicture<Zub16u>(16, 12, seed, lib16u(12));
    }
}

}  // namespace
