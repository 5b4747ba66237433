// Exp-Golomb reading and the memory helpers.
#include <benchmark/benchmark.h>

#include <random>
#include <vector>

#include "zubvc.h"
#include "zubvc_tools/bitwriter.h"

namespace {

// ns per code word: short codes as in macroblock headers, and long ones.
void BM_ExpGolomb(benchmark::State& state) {
    const int maxBits = static_cast<int>(state.range(0));
    std::mt19937 rng(7);
    zubtools::BitWriter bw;
    const int n = 4096;
    for (int i = 0; i < n; ++i) bw.ue(rng() & ((1u << (rng() % maxBits + 1)) - 1u));
    const std::vector<uint32_t> words = bw.words();
    for (auto _ : state) {
        const Zub32u* cur = words.data();
        Zub32u off = 31;
        Zub16s v = 0;
        for (int i = 0; i < n; ++i) zubiDecodeExpGolombOne_H264_1u16s(&cur, &off, &v, 1);
        benchmark::DoNotOptimize(v);
    }
    state.SetItemsProcessed(state.iterations() * n);
}
BENCHMARK(BM_ExpGolomb)->Arg(3)->Arg(12)->Arg(24);

void BM_Copy8u(benchmark::State& state) {
    const int len = static_cast<int>(state.range(0));
    std::vector<Zub8u> a(len + 1, 1), b(len + 1);
    for (auto _ : state) {
        zubsCopy_8u(a.data() + 1, b.data(), len);  // unaligned source
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(state.iterations() * len);
}
BENCHMARK(BM_Copy8u)->Arg(64)->Arg(4096);

void BM_Copy8uC1R(benchmark::State& state) {
    std::vector<Zub8u> a(64 * 64, 1), b(64 * 64);
    for (auto _ : state) {
        zubiCopy_8u_C1R(a.data(), 64, b.data(), 64, ZubSize{16, 16});
        benchmark::ClobberMemory();
    }
}
BENCHMARK(BM_Copy8uC1R);

void BM_Zero16s(benchmark::State& state) {
    std::vector<Zub16s> a(256);
    for (auto _ : state) {
        zubsZero_16s(a.data(), 256);
        benchmark::ClobberMemory();
    }
}
BENCHMARK(BM_Zero16s);

}  // namespace
