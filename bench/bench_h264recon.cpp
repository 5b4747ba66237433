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

// 8x8 blocks: a few low-frequency levels each, flat or custom matrix (arg 1).
std::vector<Zub32s> sparse8x8(int count, unsigned seed) {
    std::mt19937 rng(seed);
    std::vector<Zub32s> c(static_cast<size_t>(count) * 64, 0);
    for (int b = 0; b < count; ++b)
        for (int k = 0; k < 6; ++k) c[static_cast<size_t>(b) * 64 + rng() % 20] = static_cast<Zub32s>(rng() % 21) - 10;
    return c;
}

std::vector<Zub16s> customScales() {
    std::vector<Zub16s> s(64);
    for (int i = 0; i < 64; ++i) s[i] = static_cast<Zub16s>(20 * (16 + i / 4));
    return s;
}

void BM_TransformQuantInvAddPred8x8(benchmark::State& state) {
    const auto c32 = sparse8x8(64, 3);
    const std::vector<Zub16s> coefs(c32.begin(), c32.end());
    const auto scales = customScales();
    const Zub16s* ls = state.range(0) ? scales.data() : nullptr;
    std::vector<Zub8u> pic(64 * 64, 128);
    for (auto _ : state) {
        for (int b = 0; b < 64; ++b)
            zubiTransformQuantInvAddPred8x8_H264_16s_C1IR(&coefs[static_cast<size_t>(b) * 64],
                                                          &pic[static_cast<size_t>((b / 8) * 8 * 64 + (b % 8) * 8)], 64,
                                                          28, ls);
        benchmark::DoNotOptimize(pic.data());
    }
    state.SetItemsProcessed(state.iterations() * 64);
}
BENCHMARK(BM_TransformQuantInvAddPred8x8)->Arg(0)->Arg(1);

void BM_TransformQuantInvAddPred8x8_32s(benchmark::State& state) {
    const auto coefs = sparse8x8(64, 4);
    std::vector<Zub16u> pic(64 * 64, 512);
    for (auto _ : state) {
        for (int b = 0; b < 64; ++b)
            zubiTransformQuantInvAddPred8x8_H264_32s_C1IR(&coefs[static_cast<size_t>(b) * 64],
                                                          &pic[static_cast<size_t>((b / 8) * 8 * 64 + (b % 8) * 8)], 64,
                                                          40, nullptr, 10);
        benchmark::DoNotOptimize(pic.data());
    }
    state.SetItemsProcessed(state.iterations() * 64);
}
BENCHMARK(BM_TransformQuantInvAddPred8x8_32s);

void BM_ReconstructLumaIntra8x8MB(benchmark::State& state) {
    const auto c32 = sparse8x8(4, 5);
    std::vector<Zub16s> coefs(c32.begin(), c32.end());
    std::vector<Zub8u> pic(32 * 32, 100);
    const Zub8u modes[4] = {2, 0, 1, 4};
    for (auto _ : state) {
        Zub16s* p = coefs.data();
        zubiReconstructLumaIntra8x8MB_H264High_16s8u_C1R(&p, pic.data() + 8 * 32 + 8, 32, modes, 15, 28, nullptr, 99);
        benchmark::DoNotOptimize(pic.data());
    }
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_ReconstructLumaIntra8x8MB);

void BM_TransformBypass(benchmark::State& state) {
    std::vector<Zub16s> r(256);
    std::mt19937 rng(6);
    for (auto& v : r) v = static_cast<Zub16s>(rng() % 21) - 10;
    std::vector<Zub8u> pic(16 * 32, 100);
    const int dir = static_cast<int>(state.range(0));
    for (auto _ : state) {
        zubiTransformBypassAddPred_H264_16s8u_C1IR(r.data(), pic.data(), 32, {16, 16}, dir);
        benchmark::DoNotOptimize(pic.data());
    }
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_TransformBypass)->DenseRange(0, 2);

}  // namespace
