// H.264 residual reconstruction: one 4x4 block, and whole inter macroblocks.
#include <benchmark/benchmark.h>

#include <random>
#include <vector>

#include "zubvc.h"

namespace {

// Blocks with a few low-frequency levels, as typical residuals carry.
std::vector<Zub16s> sparseBlocks(int count, unsigned seed) {
    std::mt19937 rng(seed);
    std::vector<Zub16s> c(static_cast<size_t>(count) * 16, 0);
    for (int b = 0; b < count; ++b)
        for (int k = 0; k < 4; ++k) c[static_cast<size_t>(b) * 16 + rng() % 6] = static_cast<Zub16s>(rng() % 21) - 10;
    return c;
}

void BM_TransformQuantInvAddPred4x4(benchmark::State& state) {
    const auto coefs = sparseBlocks(256, 1);
    std::vector<Zub8u> pic(64 * 64, 128);
    for (auto _ : state) {
        for (int b = 0; b < 256; ++b)
            zubiTransformQuantInvAddPred4x4_H264_16s_C1IR(&coefs[static_cast<size_t>(b) * 16], nullptr,
                                                          &pic[static_cast<size_t>((b / 16) * 4 * 64 + (b % 16) * 4)],
                                                          64, 28);
        benchmark::DoNotOptimize(pic.data());
    }
    state.SetItemsProcessed(state.iterations() * 256);
}
BENCHMARK(BM_TransformQuantInvAddPred4x4);

void BM_ReconstructLumaInter4x4MB(benchmark::State& state) {
    auto coefs = sparseBlocks(16, 2);
    std::vector<Zub8u> pic(16 * 32, 100);
    const Zub32u cbp = static_cast<Zub32u>(state.range(0));
    for (auto _ : state) {
        Zub16s* p = coefs.data();
        zubiReconstructLumaInter4x4MB_H264_16s8u_C1R(&p, pic.data(), 32, cbp, 28);
        benchmark::DoNotOptimize(pic.data());
    }
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_ReconstructLumaInter4x4MB)->Arg(0x000F)->Arg(0xFFFF);

}  // namespace
