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
    if (std::getenv("DEBLOCK_COV"))
        printf("lines %ld filt %ld strongFull %ld weak4 %ld aEq %ld bEq %ld apEq %ld sEq %ld sat %ld\n", gCov.lines,
               gCov.filtered, gCov.strongFull, gCov.weakBs4, gCov.alphaEq, gCov.betaEq, gCov.apEq, gCov.strongEq,
               gCov.saturated);
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
        checkAgainstModel<Zub8u>(m.kind, 8, 4000, seed++, [&](Zub8u* src, int step, const Thresholds& t) {
            return call8u(m.kind, src, step, t);
        });
    }
}

TEST(Deblock16u, EveryMemberMatchesModelAtBitDepths8To14) {
    uint32_t seed = 200;
    for (const auto& m : kMembers16u)
        for (int bd = 8; bd <= 14; ++bd) {
            SCOPED_TRACE(std::string(m.name) + " bit depth " + std::to_string(bd));
            checkAgainstModel<Zub16u>(m.kind, bd, 800, seed++, [&](Zub16u* src, int step, const Thresholds& t) {
                return call16u(m.fn, src, step, t, bd);
            });
        }
}

}  // namespace
