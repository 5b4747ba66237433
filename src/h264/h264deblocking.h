// The H.264 deblocking filter (clause 8.7.2), shared by the 8-bit and the
// high-bit-depth members and by the vertical and horizontal edges.
//
// One template over the sample type T (uint8_t or uint16_t) serves both
// sizes; the thresholds alpha, beta and tc0 have the sample's element type
// too.  A line of samples across an edge is reached through a pointer to q0
// and the sample stride across the edge: p_i = q[-(i + 1) * across],
// q_i = q[i * across].  Vertical edges take across = 1 and step along the
// edge by the row step; horizontal edges the other way round.  Nothing here
// checks its arguments: the exported functions do that first.
#ifndef ZUBVC_H264_DEBLOCKING_H
#define ZUBVC_H264_DEBLOCKING_H

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "../common/sample.h"
#include "h264interpolatekernel.h"
#include "zubvc.h"

namespace zub::deblock {

// How an edge chooses the strong (bS = 4) filter.
enum class Strong {
    PerRun,     // each run whose bS byte is 4
    WholeEdge,  // the whole edge when bS byte 0 is 4, else never (chroma HorEdge top edge, 4:2:2 HorEdge)
    Never       // never (chroma 4:2:0 HorEdge internal edge)
};

// Saturation of the filtered p0 and q0 of the bS < 4 filters: through
// ClampTbl for bytes (the value lies in -255..510), to 0..maxVal otherwise.
template <class T>
inline T saturate(int v, int maxVal) {
    if constexpr (sizeof(T) == 1) {
        (void)maxVal;
        return ClampTbl[v + 256];
    } else {
        return static_cast<T>(clip(v, maxVal));
    }
}

// True when the four bS bytes of an edge are all zero.
inline bool edgeIsZero(const Zub8u* bS) {
    uint32_t word;
    std::memcpy(&word, bS, sizeof word);
    return word == 0;
}

// |d| < t as one unsigned comparison (d lies in -(t - 1)..t - 1); t >= 1,
// which filterEdge ensures by passing over edges with alpha or beta zero.
inline bool below(int d, int t) { return static_cast<unsigned>(d + t - 1) < static_cast<unsigned>(2 * t - 1); }
// Written with min and max, which the compiler turns into selects also
// inside vectorised loops.
inline int clampDelta(int v, int t) { return std::min(std::max(v, -t), t); }

// filterSamplesFlag of clause 8.7.2: all three tests are strict.  Evaluated
// without short cuts, so that a line costs one branch.
inline bool filterSamples(int p1, int p0, int q0, int q1, int alpha, int beta) {
    return below(p0 - q0, alpha) & below(p1 - p0, beta) & below(q1 - q0, beta);
}

// The p0/q0 step of the bS < 4 filters: delta clipped to -tc..tc.
template <class T>
inline void deltaStep(T* q, ptrdiff_t x, int p1, int p0, int q0, int q1, int tc, int maxVal) {
    const int delta = clampDelta(((q0 - p0) * 4 + (p1 - q1) + 4) >> 3, tc);
    q[-x] = saturate<T>(p0 + delta, maxVal);
    q[0] = saturate<T>(q0 - delta, maxVal);
}

// Luma, bS < 4 (clause 8.7.2.3).  tc = tc0 + ap + aq is kept to the width of
// T, like the threshold it is formed from.
template <class T>
inline void lumaNormal(T* q, ptrdiff_t x, int alpha, int beta, int tc0, int maxVal) {
    const int p1 = q[-2 * x], p0 = q[-x], q0 = q[0], q1 = q[x];
    if (!filterSamples(p1, p0, q0, q1, alpha, beta)) return;
    const int p2 = q[-3 * x], q2 = q[2 * x];
    const bool ap = below(p2 - p0, beta);
    const bool aq = below(q2 - q0, beta);
    // p1 and q1 take p0 and q0 as they were before the delta step.
    const int avg = (p0 + q0 + 1) >> 1;
    // Written whether or not they change: stores are cheaper than the
    // unpredictable branches on ap and aq.
    const int np1 = p1 + clampDelta((p2 + avg - 2 * p1) >> 1, tc0);
    const int nq1 = q1 + clampDelta((q2 + avg - 2 * q1) >> 1, tc0);
    q[-2 * x] = static_cast<T>(ap ? np1 : p1);
    q[x] = static_cast<T>(aq ? nq1 : q1);
    deltaStep(q, x, p1, p0, q0, q1, static_cast<T>(tc0 + ap + aq), maxVal);
}

// Luma, bS = 4 (clause 8.7.2.4).
template <class T>
inline void lumaStrong(T* q, ptrdiff_t x, int alpha, int beta) {
    const int p1 = q[-2 * x], p0 = q[-x], q0 = q[0], q1 = q[x];
    if (!filterSamples(p1, p0, q0, q1, alpha, beta)) return;
    const int p2 = q[-3 * x], q2 = q[2 * x];
    const bool strong = below(p0 - q0, (alpha >> 2) + 2);
    if (strong && below(p2 - p0, beta)) {
        const int p3 = q[-4 * x];
        q[-x] = static_cast<T>((p2 + 2 * p1 + 2 * p0 + 2 * q0 + q1 + 4) >> 3);
        q[-2 * x] = static_cast<T>((p2 + p1 + p0 + q0 + 2) >> 2);
        q[-3 * x] = static_cast<T>((2 * p3 + 3 * p2 + p1 + p0 + q0 + 4) >> 3);
    } else {
        q[-x] = static_cast<T>((2 * p1 + p0 + q1 + 2) >> 2);
    }
    if (strong && below(q2 - q0, beta)) {
        const int q3 = q[3 * x];
        q[0] = static_cast<T>((p1 + 2 * p0 + 2 * q0 + 2 * q1 + q2 + 4) >> 3);
        q[x] = static_cast<T>((p0 + q0 + q1 + q2 + 2) >> 2);
        q[2 * x] = static_cast<T>((2 * q3 + 3 * q2 + q1 + q0 + p0 + 4) >> 3);
    } else {
        q[0] = static_cast<T>((2 * q1 + q0 + p1 + 2) >> 2);
    }
}

// Chroma, bS < 4: tc = tc0 + 1, kept to the width of T.
template <class T>
inline void chromaNormal(T* q, ptrdiff_t x, int alpha, int beta, int tc0, int maxVal) {
    const int p1 = q[-2 * x], p0 = q[-x], q0 = q[0], q1 = q[x];
    if (!filterSamples(p1, p0, q0, q1, alpha, beta)) return;
    deltaStep(q, x, p1, p0, q0, q1, static_cast<T>(tc0 + 1), maxVal);
}

// Chroma, bS = 4.
template <class T>
inline void chromaStrong(T* q, ptrdiff_t x, int alpha, int beta) {
    const int p1 = q[-2 * x], p0 = q[-x], q0 = q[0], q1 = q[x];
    if (!filterSamples(p1, p0, q0, q1, alpha, beta)) return;
    q[-x] = static_cast<T>((2 * p1 + p0 + q1 + 2) >> 2);
    q[0] = static_cast<T>((2 * q1 + q0 + p1 + 2) >> 2);
}

// The lines of one run.  The run is short (1, 2 or 4 lines), so unrolling it
// removes the loop-exit branch that the predictor misses once per run.
// Lines are addressed as q + i * along, so no pointer beyond the last line is
// ever formed.
template <class T, bool Luma>
inline void strongLines(T* q, ptrdiff_t across, ptrdiff_t along, int n, int alpha, int beta) {
#pragma GCC unroll 4
    for (int i = 0; i < n; ++i) {
        if constexpr (Luma) lumaStrong(q + i * along, across, alpha, beta);
        else chromaStrong(q + i * along, across, alpha, beta);
    }
}

template <class T, bool Luma>
inline void normalLines(T* q, ptrdiff_t across, ptrdiff_t along, int n, int alpha, int beta, int tc0,
                        int maxVal) {
#pragma GCC unroll 4
    for (int i = 0; i < n; ++i) {
        if constexpr (Luma) lumaNormal(q + i * along, across, alpha, beta, tc0, maxVal);
        else chromaNormal(q + i * along, across, alpha, beta, tc0, maxVal);
    }
}

// ---- whole rows --------------------------------------------------------------
// The lines of a horizontal edge lie side by side, so the rows p2..q2 can be
// filtered as rows: the luma bS < 4 filter runs over all N columns in one
// loop without branches, each column's result chosen by its mask, which the
// compiler vectorises.  tc[i] is column i's tc0, negative where the column
// takes no bS < 4 filter (bS 0 or 4).  The filter works on a local copy of
// the rows (r[0] = p2 .. r[5] = q2), so that the loop touches no memory that
// another row may share.  Only 8-bit samples take this way.
// The arithmetic is done in 16-bit values, which doubles the columns of a
// vector: for 8-bit samples every value of the filter lies in -1275..1275.
// (The vectoriser keeps 16-bit lanes only while every operand is cast back
// to that width, hence the casts.)
template <int N>
inline void lumaNormalRows(Zub8u (&r)[6][N], int alpha, int beta, const int* tc) {
    using V = int16_t;
    Zub8u* P1 = r[1];
    Zub8u* P0 = r[2];
    Zub8u* Q0 = r[3];
    Zub8u* Q1 = r[4];
    const V a = static_cast<V>(alpha), b = static_cast<V>(beta);
    // -1 where |d| < t, else 0.
    auto lt = [](V d, V t) { return static_cast<V>(-(static_cast<V>(d < 0 ? -d : d) < t)); };
    ZUB_VECTOR_LOOP
    for (int i = 0; i < N; ++i) {
        const V p2 = r[0][i], p1 = P1[i], p0 = P0[i], q0 = Q0[i], q1 = Q1[i], q2 = r[5][i];
        const V tc0 = static_cast<V>(tc[i]);
        // Masks: -1 where the column is filtered, else 0.
        const V f = static_cast<V>(-(tc0 >= 0) & lt(static_cast<V>(p0 - q0), a) & lt(static_cast<V>(p1 - p0), b) &
                                   lt(static_cast<V>(q1 - q0), b));
        const V ap = static_cast<V>(f & lt(static_cast<V>(p2 - p0), b));
        const V aq = static_cast<V>(f & lt(static_cast<V>(q2 - q0), b));
        const V avg = static_cast<V>((p0 + q0 + 1) >> 1);
        const V dp1 = std::min<V>(std::max<V>(static_cast<V>((p2 + avg - 2 * p1) >> 1), static_cast<V>(-tc0)), tc0);
        const V dq1 = std::min<V>(std::max<V>(static_cast<V>((q2 + avg - 2 * q1) >> 1), static_cast<V>(-tc0)), tc0);
        P1[i] = static_cast<Zub8u>(p1 + (dp1 & ap));
        Q1[i] = static_cast<Zub8u>(q1 + (dq1 & aq));
        // tc = tc0 + ap + aq, kept to a byte like the threshold.
        const V tcv = static_cast<V>(static_cast<Zub8u>(tc0 - ap - aq));
        const V delta =
            std::min<V>(std::max<V>(static_cast<V>(((q0 - p0) * 4 + (p1 - q1) + 4) >> 3), static_cast<V>(-tcv)), tcv);
        const V np0 = std::min<V>(std::max<V>(static_cast<V>(p0 + delta), 0), 255);
        const V nq0 = std::min<V>(std::max<V>(static_cast<V>(q0 - delta), 0), 255);
        P0[i] = static_cast<Zub8u>(p0 + ((np0 - p0) & f));
        Q0[i] = static_cast<Zub8u>(q0 + ((nq0 - q0) & f));
    }
}

// A luma edge of four runs of four lines: the bS = 4 runs line by line, all
// others through lumaNormalRows, the lines being columns (horizontal edge:
// q0 of line i at q + i) or rows (vertical edge: at q + i * step, copied in
// transposed).
template <bool Vertical>
inline void lumaRowEdge(Zub8u* q, ptrdiff_t step, int alpha, int beta, const Zub8u* bS, const Zub8u* tc0) {
    if (edgeIsZero(bS) || alpha == 0 || beta == 0) return;
    const ptrdiff_t across = Vertical ? 1 : step, along = Vertical ? step : 1;
    int tc[16];
    bool normal = false;
    for (int r = 0; r < 4; ++r) {
        const bool strong = bS[r] == 4;
        const int t = bS[r] == 0 || strong ? -1 : tc0[r];
        normal |= t >= 0;
        for (int i = 0; i < 4; ++i) tc[4 * r + i] = t;
        if (strong) strongLines<Zub8u, true>(q + 4 * r * along, across, along, 4, alpha, beta);
    }
    if (!normal) return;
    Zub8u rows[6][16];
    for (int k = 0; k < 6; ++k) {
        if constexpr (Vertical)
            for (int i = 0; i < 16; ++i) rows[k][i] = q[i * step + k - 3];
        else
            std::memcpy(rows[k], q + (k - 3) * step, sizeof rows[k]);
    }
    lumaNormalRows(rows, alpha, beta, tc);
    // Only p1..q1 change.
    for (int k = 1; k < 5; ++k) {
        if constexpr (Vertical)
            for (int i = 0; i < 16; ++i) q[i * step + k - 3] = rows[k][i];
        else
            std::memcpy(q + (k - 3) * step, rows[k], sizeof rows[k]);
    }
}

// One edge of four runs of RunLen lines each.  q: q0 of the first line;
// bS: the edge's four bS bytes; tc0: its four tc0 values.  An edge whose four
// bS bytes are zero is passed over with one 32-bit test; so is one with alpha
// or beta zero, where no line can pass the strict threshold tests.
template <class T, bool Luma, Strong S, int RunLen>
inline void filterEdge(T* q, ptrdiff_t across, ptrdiff_t along, int alpha, int beta, const Zub8u* bS,
                       const T* tc0, int maxVal) {
    if (edgeIsZero(bS) || alpha == 0 || beta == 0) return;
    if constexpr (S == Strong::WholeEdge) {
        if (bS[0] == 4) {
            strongLines<T, Luma>(q, across, along, 4 * RunLen, alpha, beta);
            return;
        }
    }
    for (int r = 0; r < 4; ++r) {
        const int b = bS[r];
        if (b == 0) continue;
        T* line = q + r * RunLen * along;
        if (S == Strong::PerRun && b == 4) strongLines<T, Luma>(line, across, along, RunLen, alpha, beta);
        else normalLines<T, Luma>(line, across, along, RunLen, alpha, beta, tc0[r], maxVal);
    }
}

// ---- the macroblock members, geometry only ---------------------------------
// src: top-left sample; step: row step in samples; pos: the edge's column
// (Vertical) or row.

// Whole rows pay for luma edges of 8-bit samples where the compiler has
// vector registers to map the columns onto (SSE2 on x86-64); on a scalar
// target such as i686 the line-by-line filter, which passes over an
// unfiltered line with one branch, is faster, and so it is for the short
// chroma edges and for 16-bit samples.

template <class T, bool Luma, Strong S, int RunLen, bool Vertical>
inline void edgeAt(T* src, ptrdiff_t step, int pos, int alpha, int beta, const Zub8u* bS, const T* tc0,
                   int maxVal) {
    T* q = Vertical ? src + pos : src + pos * step;
    if constexpr (kVectorUnit && Luma && sizeof(T) == 1 && RunLen == 4)
        lumaRowEdge<Vertical>(q, step, alpha, beta, bS, tc0);
    else if constexpr (Vertical)
        filterEdge<T, Luma, S, RunLen>(q, 1, step, alpha, beta, bS, tc0, maxVal);
    else
        filterEdge<T, Luma, S, RunLen>(q, step, 1, alpha, beta, bS, tc0, maxVal);
}

// Luma: edges at 4e, bS and tc0 of edge e at 4e..4e + 3, bS = 4 per run.
template <class T, bool Vertical>
inline void lumaEdges(T* src, ptrdiff_t step, const T* alpha, const T* beta, const T* tc0, const Zub8u* bS,
                      int maxVal) {
    for (int e = 0; e < 4; ++e)
        edgeAt<T, true, Strong::PerRun, 4, Vertical>(src, step, 4 * e, alpha[e > 0], beta[e > 0], bS + 4 * e,
                                                     tc0 + 4 * e, maxVal);
}

// Chroma vertical edge k (column 4k) reuses the bS bytes of luma edge 2k:
// one byte per row pair (4:2:0, RunLen 2) or per four rows (4:2:2, RunLen 4).
template <class T, int RunLen>
inline void chromaVerEdges(T* src, ptrdiff_t step, const T* alpha, const T* beta, const T* tc0, const Zub8u* bS,
                           int maxVal) {
    for (int k = 0; k < 2; ++k)
        edgeAt<T, false, Strong::PerRun, RunLen, true>(src, step, 4 * k, alpha[k], beta[k], bS + 8 * k,
                                                        tc0 + 4 * k, maxVal);
}

// 4:2:0 chroma horizontal edges: the top edge is filtered strongly as a
// whole when bS byte 0 is 4; the internal edge (bS bytes 8..11) never is.
template <class T>
inline void chromaHorEdges(T* src, ptrdiff_t step, const T* alpha, const T* beta, const T* tc0,
                           const Zub8u* bS, int maxVal) {
    edgeAt<T, false, Strong::WholeEdge, 2, false>(src, step, 0, alpha[0], beta[0], bS, tc0, maxVal);
    edgeAt<T, false, Strong::Never, 2, false>(src, step, 4, alpha[1], beta[1], bS + 8, tc0 + 4, maxVal);
}

// 4:2:2 chroma horizontal edges at rows 4e, each strong as a whole when its
// first bS byte is 4.
template <class T>
inline void chroma422HorEdges(T* src, ptrdiff_t step, const T* alpha, const T* beta, const T* tc0,
                              const Zub8u* bS, int maxVal) {
    for (int e = 0; e < 4; ++e)
        edgeAt<T, false, Strong::WholeEdge, 2, false>(src, step, 4 * e, alpha[e > 0], beta[e > 0], bS + 4 * e,
                                                      tc0 + 4 * e, maxVal);
}

// MBAFF left edge, after the argument checks: alpha and beta are single
// values; alpha = 0 or an all-zero bS word returns at once.  Luma takes one
// bS byte per row pair, chroma one per row.
template <class T, bool Luma>
inline ZubStatus mbaffEdge(T* src, ptrdiff_t step, int alpha, int beta, const T* tc0, const Zub8u* bS,
                           int maxVal) {
    if (alpha == 0 || edgeIsZero(bS)) return ZubStatusOk;
    filterEdge<T, Luma, Strong::PerRun, Luma ? 2 : 1>(src, 1, step, alpha, beta, bS, tc0, maxVal);
    return ZubStatusOk;
}

template <class T>
using MacroblockEdges = void (*)(T*, ptrdiff_t, const T*, const T*, const T*, const Zub8u*, int);

// An 8u member with plain arguments: its five pointers are tested for null,
// nothing else.
template <MacroblockEdges<Zub8u> Edges>
inline ZubStatus filterPlain8u(Zub8u* src, int step, const Zub8u* alpha, const Zub8u* beta, const Zub8u* tc0,
                               const Zub8u* bS) {
    if (!src || !alpha || !beta || !tc0 || !bS) return ZubStatusNullPointer;
    Edges(src, step, alpha, beta, tc0, bS, 255);
    return ZubStatusOk;
}

// Null test of an argument record: the record, then its five pointers.
inline bool recordHasNull(const H264DeblockingParams* p) {
    return !p || !p->srcDst || !p->alpha || !p->beta || !p->thresholds || !p->bS;
}

// Saturation maximum of a record: 255 for bytes; (1 << bitDepth) - 1 for
// 16-bit samples, the unchecked bit depth taken as 0..16 so that the shift
// stays defined.
template <class T>
inline int recordMaxVal(const H264DeblockingParams* p) {
    if constexpr (sizeof(T) == 1) {
        return 255;
    } else {
        const int bd = p->bitDepth < 0 ? 0 : (p->bitDepth > 16 ? 16 : p->bitDepth);
        return (1 << bd) - 1;
    }
}

// An exported member taking the argument record: null tests, the optional
// step test (16u), then the edges.  Element types follow T.
template <class T, MacroblockEdges<T> Edges, bool StepTest>
inline ZubStatus filterRecord(const H264DeblockingParams* p) {
    if (recordHasNull(p)) return ZubStatusNullPointer;
    if (StepTest && p->srcDstStep < 1) return ZubStatusBadStep;
    Edges(static_cast<T*>(p->srcDst), p->srcDstStep, static_cast<const T*>(p->alpha),
          static_cast<const T*>(p->beta), static_cast<const T*>(p->thresholds), p->bS, recordMaxVal<T>(p));
    return ZubStatusOk;
}

}  // namespace zub::deblock

#endif
