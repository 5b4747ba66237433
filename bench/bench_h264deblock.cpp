// H.264 deblocking: ns per macroblock (items/s = macroblocks/s).
//
// A 256 x 256 picture (16 x 16 macroblocks) of smooth content with block
// steps, filtered macroblock by macroblock with typical thresholds
// (QP about 28: alpha 20, beta 7, tc0 by bS) and a mix of bS 0..4 (4 only on
// external edges, as for intra macroblocks).  Each iteration first restores
// the picture from a pristine copy, so that every pass filters fresh data;
// BM_DeblockRestoreOnly measures that copy alone.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstring>
#include <random>
#include <vector>

#include "zubvc.h"

namespace {

constexpr int kMbs = 16;                  // macroblocks per row and column
constexpr int kMargin = 16;               // border so every edge has its p side

struct MbParams {
    Zub8u bS[16];
    Zub8u tc0[16];
};

template <class T>
struct Scene {
    int width, height;  // of the plane, with margins
    std::vector<T> pristine, work;
    std::vector<MbParams> mbs;
    T* at(int mbx, int mby, int mbw, int mbh) {
        return work.data() + static_cast<size_t>(kMargin + mby * mbh) * width + kMargin + mbx * mbw;
    }
    void restore() { std::memcpy(work.data(), pristine.data(), pristine.size() * sizeof(T)); }
};

// Plane of mbw x mbh macroblocks: a gradient plus a random level per 4 x 4
// block and a little noise, scaled to the bit depth.
template <class T>
Scene<T> makeScene(int mbw, int mbh, int bitDepth, uint32_t seed) {
    std::mt19937 rng(seed);
    Scene<T> s;
    s.width = kMbs * mbw + 2 * kMargin;
    s.height = kMbs * mbh + 2 * kMargin;
    s.pristine.resize(static_cast<size_t>(s.width) * s.height);
    std::vector<int> level((s.width / 4 + 1) * (s.height / 4 + 1));
    for (auto& l : level) l = static_cast<int>(rng() % 13) - 6;
    const int maxVal = (1 << bitDepth) - 1;
    for (int y = 0; y < s.height; ++y)
        for (int x = 0; x < s.width; ++x) {
            const int v = 60 + (x + 2 * y) / 4 + level[(y / 4) * (s.width / 4 + 1) + x / 4] +
                          static_cast<int>(rng() % 3) - 1;
            s.pristine[static_cast<size_t>(y) * s.width + x] = static_cast<T>(std::clamp(v << (bitDepth - 8), 0, maxVal));
        }
    s.work = s.pristine;
    static const Zub8u kTc0[5] = {0, 1, 1, 2, 0};
    s.mbs.resize(kMbs * kMbs);
    for (auto& mb : s.mbs) {
        const bool intra = rng() % 8 == 0;
        for (int i = 0; i < 16; ++i) {
            Zub8u b = static_cast<Zub8u>(rng() % 4);  // 0..3
            if (intra) b = i < 4 ? 4 : 3;
            mb.bS[i] = b;
            mb.tc0[i] = kTc0[b];
        }
    }
    return s;
}

const Zub8u kAlpha8[2] = {20, 20}, kBeta8[2] = {7, 7};

using Plain8u = ZubStatus (*)(Zub8u*, Zub32s, const Zub8u*, const Zub8u*, const Zub8u*, const Zub8u*);

// 8u members with plain arguments; mbw x mbh is the block one call filters.
template <Plain8u Fn, int Mbw, int Mbh>
void BM_Deblock8u(benchmark::State& state) {
    Scene<Zub8u> s = makeScene<Zub8u>(Mbw, Mbh, 8, 1);
    for (auto _ : state) {
        s.restore();
        for (int mby = 0; mby < kMbs; ++mby)
            for (int mbx = 0; mbx < kMbs; ++mbx) {
                const MbParams& p = s.mbs[mby * kMbs + mbx];
                Fn(s.at(mbx, mby, Mbw, Mbh), s.width, kAlpha8, kBeta8, p.tc0, p.bS);
            }
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * kMbs * kMbs);
}

using Record = ZubStatus (*)(const H264DeblockingParams*);

// 16u members (bit depth 10: thresholds scaled by 4).
template <Record Fn, int Mbw, int Mbh>
void BM_Deblock16u(benchmark::State& state) {
    constexpr int kBitDepth = 10;
    Scene<Zub16u> s = makeScene<Zub16u>(Mbw, Mbh, kBitDepth, 1);
    const Zub16u alpha[2] = {80, 80}, beta[2] = {28, 28};
    std::vector<Zub16u> tc0(s.mbs.size() * 16);
    for (size_t i = 0; i < tc0.size(); ++i) tc0[i] = static_cast<Zub16u>(s.mbs[i / 16].tc0[i % 16] * 4);
    for (auto _ : state) {
        s.restore();
        for (int mby = 0; mby < kMbs; ++mby)
            for (int mbx = 0; mbx < kMbs; ++mbx) {
                const int i = mby * kMbs + mbx;
                const H264DeblockingParams rec{s.at(mbx, mby, Mbw, Mbh), s.width, alpha, beta, &tc0[16 * i],
                                               s.mbs[i].bS, kBitDepth};
                Fn(&rec);
            }
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * kMbs * kMbs);
}

// The restore copy of the luma scene alone, to subtract from the 8u luma
// figures (the 16u copy is twice as large).
void BM_DeblockRestoreOnly(benchmark::State& state) {
    Scene<Zub8u> s = makeScene<Zub8u>(16, 16, 8, 1);
    for (auto _ : state) {
        s.restore();
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * kMbs * kMbs);
}

BENCHMARK(BM_DeblockRestoreOnly);
BENCHMARK(BM_Deblock8u<zubiFilterDeblockingLuma_VerEdge_H264_8u_C1IR, 16, 16>)->Name("BM_DeblockLumaVer8u");
BENCHMARK(BM_Deblock8u<zubiFilterDeblockingLuma_HorEdge_H264_8u_C1IR, 16, 16>)->Name("BM_DeblockLumaHor8u");
BENCHMARK(BM_Deblock8u<zubiFilterDeblockingChroma_VerEdge_H264_8u_C1IR, 8, 8>)->Name("BM_DeblockChromaVer8u");
BENCHMARK(BM_Deblock8u<zubiFilterDeblockingChroma_HorEdge_H264_8u_C1IR, 8, 8>)->Name("BM_DeblockChromaHor8u");
BENCHMARK(BM_Deblock16u<zubiFilterDeblockingLumaVerEdge_H264_16u_C1IR, 16, 16>)->Name("BM_DeblockLumaVer16u");
BENCHMARK(BM_Deblock16u<zubiFilterDeblockingLumaHorEdge_H264_16u_C1IR, 16, 16>)->Name("BM_DeblockLumaHor16u");
BENCHMARK(BM_Deblock16u<zubiFilterDeblockingChromaVerEdge_H264_16u_C1IR, 8, 8>)->Name("BM_DeblockChromaVer16u");
BENCHMARK(BM_Deblock16u<zubiFilterDeblockingChromaHorEdge_H264_16u_C1IR, 8, 8>)->Name("BM_DeblockChromaHor16u");

}  // namespace
