// CAVLC residual decoding and the inverse DC transforms.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <random>
#include <vector>

#include "zubvc.h"
#include "zubvc_tools/bitwriter.h"
#include "zubvc_tools/h264cavlc.h"
#include "zubvc_tools/h264cavlcwriter.h"

namespace {

const Zub32u kZigzag[16] = {0, 1, 4, 8, 5, 2, 3, 6, 9, 12, 13, 10, 7, 11, 14, 15};

// A stream of 4x4 blocks with their nC.  Rate 0: statistics like QP 26
// (mostly a few small levels at low frequencies, a third of the blocks
// empty); rate 1: high rate (QP ~12: most positions coded, larger levels).
struct Stream {
    std::vector<uint32_t> words;
    std::vector<Zub32u> nC;
};

Stream makeStream(int rate, int blocks) {
    std::mt19937 rng(rate + 1);
    zubtools::BitWriter bw;
    Stream s;
    int prevCount = 0;
    for (int b = 0; b < blocks; ++b) {
        int32_t levels[16] = {};
        int count;
        if (rate == 0) {
            const unsigned r = rng() % 100;
            count = r < 33   ? 0
                    : r < 60 ? 1 + static_cast<int>(rng() % 2)
                    : r < 85 ? 3 + static_cast<int>(rng() % 3)
                             : 6 + static_cast<int>(rng() % 5);
        } else {
            count = 8 + static_cast<int>(rng() % 9);
        }
        // Levels concentrate at low frequencies; magnitudes decay with it.
        for (int k = 0; k < count; ++k) {
            int pos = rate == 0 ? static_cast<int>(std::min<unsigned>(15, (rng() % 6) + (rng() % 6) * (rng() % 3)))
                                : static_cast<int>(rng() % 16);
            while (levels[pos]) pos = (pos + 1) % 16;
            int mag = 1;
            const unsigned r = rng() % 100;
            if (rate == 0)
                mag = r < 60   ? 1
                      : r < 85 ? 2
                      : r < 95 ? 3 + static_cast<int>(rng() % 3)
                               : 6 + static_cast<int>(rng() % 20);
            else
                mag = r < 25   ? 1
                      : r < 50 ? 2 + static_cast<int>(rng() % 3)
                      : r < 85 ? 5 + static_cast<int>(rng() % 20)
                               : 25 + static_cast<int>(rng() % 200);
            levels[pos] = (rng() & 1) ? -mag : mag;
        }
        const Zub32u nC = static_cast<Zub32u>(prevCount);
        s.nC.push_back(nC);
        prevCount = zubtools::writeCavlcBlock(bw, levels, 16, static_cast<int>(nC));
    }
    s.words = bw.words();
    return s;
}

template <class T>
void decodeStream(benchmark::State& state) {
    const int rate = static_cast<int>(state.range(0));
    const int n = 4096;
    const Stream s = makeStream(rate, n);
    const auto& t = zubtools::h264CavlcTables();
    std::vector<T> buf(16 * n);
    for (auto _ : state) {
        const Zub32u* cur = s.words.data();
        Zub32u off = 31;
        T* p = buf.data();
        Zub16s count;
        for (int i = 0; i < n; ++i) {
            if constexpr (sizeof(T) == 2)
                zubiDecodeCAVLCCoeffs_H264_1u16s(&cur, &off, &count, &p, s.nC[i], 16, t.coeffToken, t.totalZeros,
                                                 t.runBefore, kZigzag);
            else
                zubiDecodeCAVLCCoeffs_H264_1u32s(&cur, &off, &count, &p, s.nC[i], 16, t.coeffToken, t.totalZeros,
                                                 t.runBefore, kZigzag);
        }
        benchmark::DoNotOptimize(p);
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * n);
    state.counters["bits/block"] = static_cast<double>(s.words.size() * 32) / n;
}
// ns per 4x4 block: Arg 0 = QP 26-like statistics, Arg 1 = high rate.
void BM_DecodeCAVLC4x4_16s(benchmark::State& state) { decodeStream<Zub16s>(state); }
void BM_DecodeCAVLC4x4_32s(benchmark::State& state) { decodeStream<Zub32s>(state); }
BENCHMARK(BM_DecodeCAVLC4x4_16s)->Arg(0)->Arg(1);
BENCHMARK(BM_DecodeCAVLC4x4_32s)->Arg(0)->Arg(1);

// ns per 2x2 chroma DC block, QP 26-like: mostly empty or one +-1.
void BM_DecodeCAVLCChromaDc(benchmark::State& state) {
    std::mt19937 rng(5);
    zubtools::BitWriter bw;
    const int n = 4096;
    for (int i = 0; i < n; ++i) {
        int32_t levels[4] = {};
        const unsigned r = rng() % 100;
        const int count = r < 40 ? 0 : r < 75 ? 1 : 1 + static_cast<int>(rng() % 4);
        for (int k = 0; k < count; ++k) levels[rng() % 4] = (rng() % 3 ? 1 : 3) * ((rng() & 1) ? -1 : 1);
        zubtools::writeCavlcBlock(bw, levels, 4, -1);
    }
    const auto words = bw.words();
    const auto& t = zubtools::h264CavlcTables();
    std::vector<Zub16s> buf(4 * n);
    for (auto _ : state) {
        const Zub32u* cur = words.data();
        Zub32u off = 31;
        Zub16s* p = buf.data();
        Zub16s count;
        for (int i = 0; i < n; ++i)
            zubiDecodeCAVLCChromaDcCoeffs_H264_1u16s(&cur, &off, &count, &p, t.coeffTokenChromaDc,
                                                     t.totalZerosChromaDc, t.runBefore);
        benchmark::DoNotOptimize(p);
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * n);
}
BENCHMARK(BM_DecodeCAVLCChromaDc);

// ns per call of the DC transforms (QP 28), over 64 different blocks as a
// decoder meets them (written well before they are transformed).
template <class T, int N>
void dcBench(benchmark::State& state, ZubStatus (*fn)(T*, int, const Zub16s*)) {
    std::mt19937 rng(9);
    std::vector<T> c(64 * N);
    for (auto& v : c) v = static_cast<T>(static_cast<int>(rng() % 64) - 32);
    for (auto _ : state) {
        for (int b = 0; b < 64; ++b) fn(c.data() + N * b, 28, nullptr);
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * 64);
}
void BM_InvLumaDC4x4_16s(benchmark::State& s) { dcBench<Zub16s, 16>(s, zubiTransformQuantInvLumaDC4x4_H264_16s_C1I); }
void BM_InvLumaDC4x4_32s(benchmark::State& s) { dcBench<Zub32s, 16>(s, zubiTransformQuantInvLumaDC4x4_H264_32s_C1I); }
void BM_InvChromaDC2x2_16s(benchmark::State& s) {
    dcBench<Zub16s, 4>(s, zubiTransformQuantInvChromaDC2x2_H264_16s_C1I);
}
void BM_InvChromaDC2x4_16s(benchmark::State& s) {
    dcBench<Zub16s, 8>(s, zubiTransformQuantInvChromaDC2x4_H264_16s_C1I);
}
BENCHMARK(BM_InvLumaDC4x4_16s);
BENCHMARK(BM_InvLumaDC4x4_32s);
BENCHMARK(BM_InvChromaDC2x2_16s);
BENCHMARK(BM_InvChromaDC2x4_16s);

}  // namespace
