// H.264 intra prediction: ns per block, every mode with all neighbours.
#include <benchmark/benchmark.h>

#include <random>
#include <vector>

#include "zubvc.h"

namespace {

constexpr int kStep = 64;
constexpr int kAll = ZubIntraAvailTop | ZubIntraAvailLeft | ZubIntraAvailTopLeft | ZubIntraAvailTopRight;

// A small picture area with random samples; the block sits one row and one
// column in, so that all its neighbours exist.
std::vector<Zub8u> area() {
    std::vector<Zub8u> v(kStep * 40);
    std::mt19937 rng(1);
    for (auto& x : v) x = static_cast<Zub8u>(rng());
    return v;
}

template <ZubStatus (*Fn)(Zub8u*, int, int, int)>
void BM_Intra(benchmark::State& state) {
    std::vector<Zub8u> pic = area();
    Zub8u* blk = pic.data() + 8 * kStep + 8;
    const int mode = static_cast<int>(state.range(0));
    for (auto _ : state) {
        benchmark::DoNotOptimize(Fn(blk, kStep, mode, kAll));
        benchmark::ClobberMemory();
    }
}
BENCHMARK(BM_Intra<zubiPredictIntra_4x4_H264_8u_C1IR>)->Name("Intra4x4")->DenseRange(0, 8);
BENCHMARK(BM_Intra<zubiPredictIntra_16x16_H264_8u_C1IR>)->Name("Intra16x16")->DenseRange(0, 3);
BENCHMARK(BM_Intra<zubiPredictIntraChroma8x8_H264_8u_C1IR>)->Name("IntraChroma8x8")->DenseRange(0, 3);
BENCHMARK(BM_Intra<zubiPredictIntra_8x8_H264_8u_C1IR>)->Name("Intra8x8")->DenseRange(0, 8);

BENCHMARK(BM_Intra<zubiPredictIntraChroma8x16_H264_8u_C1IR>)->Name("IntraChroma8x16")->DenseRange(0, 3);

// 16-bit samples of 10 bits.
template <ZubStatus (*Fn)(Zub16u*, int, int, int, int)>
void BM_Intra16u(benchmark::State& state) {
    std::vector<Zub16u> pic(kStep * 40);
    std::mt19937 rng(1);
    for (auto& x : pic) x = static_cast<Zub16u>(rng() & 1023);
    Zub16u* blk = pic.data() + 8 * kStep + 8;
    const int mode = static_cast<int>(state.range(0));
    for (auto _ : state) {
        benchmark::DoNotOptimize(Fn(blk, kStep, mode, kAll, 10));
        benchmark::ClobberMemory();
    }
}
BENCHMARK(BM_Intra16u<zubiPredictIntra_8x8_H264_16u_C1IR>)->Name("Intra8x8_16u")->DenseRange(0, 8);
BENCHMARK(BM_Intra16u<zubiPredictIntra_4x4_H264_16u_C1IR>)->Name("Intra4x4_16u")->DenseRange(0, 8);
BENCHMARK(BM_Intra16u<zubiPredictIntra_16x16_H264_16u_C1IR>)->Name("Intra16x16_16u")->DenseRange(0, 3);
BENCHMARK(BM_Intra16u<zubiPredictIntraChroma8x8_H264_16u_C1IR>)->Name("IntraChroma8x8_16u")->DenseRange(0, 3);
BENCHMARK(BM_Intra16u<zubiPredictIntraChroma8x16_H264_16u_C1IR>)->Name("IntraChroma8x16_16u")->DenseRange(0, 3);

}  // namespace
