// Block motion compensation: ns per block for each block size and position
// (argument: the position 0, 4, 8, 12), one and two references, and the
// half-sample copies and interpolated averages per accuracy.
#include <benchmark/benchmark.h>

#include <random>
#include <vector>

#include "zubvc.h"

namespace {

constexpr int kStep = 64;

struct Buffers {
    std::vector<Zub8u> r1, r2, d;
    std::vector<Zub16s> res;
    Buffers() : r1(kStep * 24), r2(kStep * 24), d(kStep * 24), res(16 * 16) {
        std::mt19937 rng(7);
        for (auto* v : {&r1, &r2, &d})
            for (auto& s : *v) s = static_cast<Zub8u>(rng());
        for (auto& s : res) s = static_cast<Zub16s>(static_cast<int>(rng() % 64) - 32);
    }
};

template <ZubStatus (*F)(const Zub8u*, Zub32s, const Zub16s*, Zub32s, Zub8u*, Zub32s, Zub32s, Zub32s)>
void BM_MC(benchmark::State& state) {
    Buffers b;
    const int type = static_cast<int>(state.range(0));
    for (auto _ : state) {
        benchmark::DoNotOptimize(F(b.r1.data() + 1, kStep, b.res.data(), 32, b.d.data(), kStep, type, 0));
        benchmark::ClobberMemory();
    }
}

template <ZubStatus (*F)(const Zub8u*, Zub32s, Zub32s, const Zub8u*, Zub32s, Zub32s, const Zub16s*, Zub32s, Zub8u*,
                         Zub32s, Zub32s)>
void BM_MCB(benchmark::State& state) {
    Buffers b;
    const int type = static_cast<int>(state.range(0));
    for (auto _ : state) {
        benchmark::DoNotOptimize(
            F(b.r1.data() + 1, kStep, type, b.r2.data() + 3, kStep, 12 - type, b.res.data(), 32, b.d.data(), kStep, 0));
        benchmark::ClobberMemory();
    }
}

// Argument: accuracy 0..3.
template <ZubStatus (*F)(const Zub8u*, Zub32s, Zub8u*, Zub32s, Zub32s, Zub32s)>
void BM_HP(benchmark::State& state) {
    Buffers b;
    const int acc = static_cast<int>(state.range(0));
    for (auto _ : state) {
        benchmark::DoNotOptimize(F(b.r1.data() + 1, kStep, b.d.data(), kStep, acc, 0));
        benchmark::ClobberMemory();
    }
}

#define POSITIONS ->Arg(0)->Arg(4)->Arg(8)->Arg(12)
BENCHMARK(BM_MC<zubiMC16x16_8u_C1>) POSITIONS;
BENCHMARK(BM_MC<zubiMC16x8_8u_C1>) POSITIONS;
BENCHMARK(BM_MC<zubiMC16x4_8u_C1>) POSITIONS;
BENCHMARK(BM_MC<zubiMC8x16_8u_C1>) POSITIONS;
BENCHMARK(BM_MC<zubiMC8x8_8u_C1>) POSITIONS;
BENCHMARK(BM_MC<zubiMC8x4_8u_C1>) POSITIONS;
BENCHMARK(BM_MC<zubiMC4x8_8u_C1>) POSITIONS;
BENCHMARK(BM_MC<zubiMC4x4_8u_C1>) POSITIONS;
BENCHMARK(BM_MC<zubiMC4x2_8u_C1>) POSITIONS;
BENCHMARK(BM_MC<zubiMC2x4_8u_C1>) POSITIONS;
BENCHMARK(BM_MC<zubiMC2x2_8u_C1>) POSITIONS;
BENCHMARK(BM_MC<zubiMC16x8UV_8u_C1>) POSITIONS;
BENCHMARK(BM_MCB<zubiMC16x16B_8u_C1>) POSITIONS;
BENCHMARK(BM_MCB<zubiMC16x8B_8u_C1>) POSITIONS;
BENCHMARK(BM_MCB<zubiMC8x8B_8u_C1>) POSITIONS;
BENCHMARK(BM_MCB<zubiMC8x4B_8u_C1>) POSITIONS;
BENCHMARK(BM_MCB<zubiMC4x4B_8u_C1>) POSITIONS;
BENCHMARK(BM_MCB<zubiMC16x8BUV_8u_C1>) POSITIONS;
#define ACCURACIES ->Arg(0)->Arg(1)->Arg(2)->Arg(3)
BENCHMARK(BM_HP<zubiCopy16x16HP_8u_C1R>) ACCURACIES;
BENCHMARK(BM_HP<zubiCopy8x8HP_8u_C1R>) ACCURACIES;
BENCHMARK(BM_HP<zubiInterpolateAverage16x16_8u_C1IR>) ACCURACIES;
BENCHMARK(BM_HP<zubiInterpolateAverage8x8_8u_C1IR>) ACCURACIES;

}  // namespace
