// H.264 weighted prediction at 16x16 (ns per block) and expansion of a
// 1280x720 reference plane with a 32-sample border (ns per plane).
#include <benchmark/benchmark.h>

#include <random>
#include <vector>

#include "zubvc.h"

namespace {

constexpr int kStep = 32;
constexpr ZubSize k16{16, 16};

template <class T>
std::vector<T> samples(unsigned seed, int maxVal) {
    std::vector<T> v(kStep * 16);
    std::mt19937 rng(seed);
    for (auto& x : v) x = static_cast<T>(rng() % static_cast<unsigned>(maxVal + 1));
    return v;
}

// Runs `call` on fresh 16x16 sources each iteration set.
template <class T, class F>
void run(benchmark::State& state, int maxVal, F call) {
    std::vector<T> a = samples<T>(1, maxVal), b = samples<T>(2, maxVal), d = samples<T>(3, maxVal);
    for (auto _ : state) {
        benchmark::DoNotOptimize(call(a.data(), b.data(), d.data()));
        benchmark::ClobberMemory();
    }
}

void BM_InterpolateBlock_P2P1R(benchmark::State& s) {
    run<Zub8u>(s, 255, [](auto a, auto b, auto d) { return zubiInterpolateBlock_H264_8u_P2P1R(a, b, d, k16.width, k16.height, kStep); });
}
void BM_InterpolateBlock_P3P1R(benchmark::State& s) {
    run<Zub8u>(s, 255, [](auto a, auto b, auto d) {
        return zubiInterpolateBlock_H264_8u_P3P1R(a, b, d, k16.width, k16.height, kStep, kStep, kStep);
    });
}
void BM_WeightedAverage_C1IR(benchmark::State& s) {
    run<Zub8u>(s, 255, [](auto a, auto, auto d) { return zubiWeightedAverage_H264_8u_C1IR(a, d, kStep, 1, 1, 1, 0, k16); });
}
void BM_UniDirWeightBlock_C1R(benchmark::State& s) {
    run<Zub8u>(s, 255, [](auto, auto, auto d) { return zubiUniDirWeightBlock_H264_8u_C1R(d, kStep, 5, 32, 0, k16); });
}
void BM_UniDirWeightBlock_C1IR(benchmark::State& s) {
    run<Zub8u>(s, 255, [](auto, auto, auto d) { return zubiUniDirWeightBlock_H264_8u_C1IR(d, kStep, 5, 32, 0, k16); });
}
void BM_BiDirWeightBlock_P2P1R(benchmark::State& s) {
    run<Zub8u>(s, 255, [](auto a, auto b, auto d) {
        return zubiBiDirWeightBlock_H264_8u_P2P1R(a, b, d, kStep, kStep, 5, 40, 3, 24, -2, k16);
    });
}
void BM_BiDirWeightBlock_P3P1R(benchmark::State& s) {
    run<Zub8u>(s, 255, [](auto a, auto b, auto d) {
        return zubiBiDirWeightBlock_H264_8u_P3P1R(a, b, d, kStep, kStep, kStep, 5, 40, 3, 24, -2, k16);
    });
}
void BM_BiDirWeightBlockImplicit_P2P1R(benchmark::State& s) {
    run<Zub8u>(s, 255, [](auto a, auto b, auto d) {
        return zubiBiDirWeightBlockImplicit_H264_8u_P2P1R(a, b, d, kStep, kStep, 40, 24, k16);
    });
}
void BM_BiDirWeightBlockImplicit_P3P1R(benchmark::State& s) {
    run<Zub8u>(s, 255, [](auto a, auto b, auto d) {
        return zubiBiDirWeightBlockImplicit_H264_8u_P3P1R(a, b, d, kStep, kStep, kStep, 40, 24, k16);
    });
}
H264BidirParams_16u record(const Zub16u* a, const Zub16u* b, Zub16u* d) {
    return {a, kStep, b, kStep, d, kStep, 16, 16, 10};
}
void BM_Bidir_16u(benchmark::State& s) {
    run<Zub16u>(s, 1023, [](auto a, auto b, auto d) {
        const H264BidirParams_16u r = record(a, b, d);
        return zubiBidir_H264_16u_P2P1R(&r);
    });
}
void BM_BidirWeight_16u(benchmark::State& s) {
    run<Zub16u>(s, 1023, [](auto a, auto b, auto d) {
        const H264BidirParams_16u r = record(a, b, d);
        return zubiBidirWeight_H264_16u_P2P1R(&r, 5, 40, 12, 24, -8);
    });
}
void BM_BidirWeightImplicit_16u(benchmark::State& s) {
    run<Zub16u>(s, 1023, [](auto a, auto b, auto d) {
        const H264BidirParams_16u r = record(a, b, d);
        return zubiBidirWeightImplicit_H264_16u_P2P1R(&r, 40, 24);
    });
}
void BM_UnidirWeight_16u(benchmark::State& s) {
    run<Zub16u>(s, 1023, [](auto, auto, auto d) { return zubiUnidirWeight_H264_16u_IP2P1R(d, kStep, 5, 32, 0, k16, 10); });
}
BENCHMARK(BM_InterpolateBlock_P2P1R);
BENCHMARK(BM_InterpolateBlock_P3P1R);
BENCHMARK(BM_WeightedAverage_C1IR);
BENCHMARK(BM_UniDirWeightBlock_C1R);
BENCHMARK(BM_UniDirWeightBlock_C1IR);
BENCHMARK(BM_BiDirWeightBlock_P2P1R);
BENCHMARK(BM_BiDirWeightBlock_P3P1R);
BENCHMARK(BM_BiDirWeightBlockImplicit_P2P1R);
BENCHMARK(BM_BiDirWeightBlockImplicit_P3P1R);
BENCHMARK(BM_Bidir_16u);
BENCHMARK(BM_BidirWeight_16u);
BENCHMARK(BM_BidirWeightImplicit_16u);
BENCHMARK(BM_UnidirWeight_16u);

// A 1280x720 frame (or one field of it) with a 32-sample border on every side.
void BM_ExpandPlane(benchmark::State& state) {
    constexpr int w = 1280, h = 720, e = 32, step = w + 2 * e;
    std::vector<Zub8u> mem(static_cast<size_t>(step) * (h + 2 * e), 77);
    Zub8u* plane = mem.data() + e * step + e;
    const int type = static_cast<int>(state.range(0));
    for (auto _ : state) {
        benchmark::DoNotOptimize(zubiExpandPlane_H264_8u_C1R(plane, w, h, step, e, type));
        benchmark::ClobberMemory();
    }
}
BENCHMARK(BM_ExpandPlane)->DenseRange(0, 2);

}  // namespace
