// H.264 interpolation: ns per block.
#include <benchmark/benchmark.h>

#include <random>
#include <vector>

#include "zubvc.h"

namespace {

constexpr int kStride = 128;

template <class T>
std::vector<T> randomPlane(int maxv) {
    std::vector<T> v(kStride * 96);
    std::mt19937 rng(1);
    for (auto& s : v) s = static_cast<T>(rng() % (maxv + 1));
    return v;
}

// Args: block size, position index dy * 4 + dx.
void BM_Luma8u(benchmark::State& state) {
    const int n = static_cast<int>(state.range(0)), pos = static_cast<int>(state.range(1));
    auto plane = randomPlane<Zub8u>(255);
    std::vector<Zub8u> dst(16 * 16);
    for (auto _ : state) {
        zubiInterpolateLuma_H264_8u_C1R(&plane[kStride * 20 + 20], kStride, dst.data(), 16, pos & 3, pos >> 2,
                                        ZubSize{n, n});
        benchmark::ClobberMemory();
    }
}
BENCHMARK(BM_Luma8u)->ArgsProduct({{16, 8}, {0, 2, 10, 5, 6}});

void BM_Luma16u(benchmark::State& state) {
    const int n = static_cast<int>(state.range(0)), pos = static_cast<int>(state.range(1));
    auto plane = randomPlane<Zub16u>(1023);
    std::vector<Zub16u> dst(16 * 16);
    H264InterpolationParams_16u p{&plane[kStride * 20 + 20], kStride, dst.data(), 16, pos & 3, pos >> 2, n, n, 10};
    for (auto _ : state) {
        zubiInterpolateLuma_H264_16u_C1R(&p);
        benchmark::ClobberMemory();
    }
}
BENCHMARK(BM_Luma16u)->ArgsProduct({{16, 8}, {0, 2, 10, 5, 6}});

void BM_Chroma8u_8x8(benchmark::State& state) {
    auto plane = randomPlane<Zub8u>(255);
    std::vector<Zub8u> dst(8 * 8);
    for (auto _ : state) {
        zubiInterpolateChroma_H264_8u_C1R(&plane[kStride * 20 + 20], kStride, dst.data(), 8, 3, 5, ZubSize{8, 8});
        benchmark::ClobberMemory();
    }
}
BENCHMARK(BM_Chroma8u_8x8);

void BM_Chroma16u_8x8(benchmark::State& state) {
    auto plane = randomPlane<Zub16u>(1023);
    std::vector<Zub16u> dst(8 * 8);
    H264InterpolationParams_16u p{&plane[kStride * 20 + 20], kStride, dst.data(), 8, 3, 5, 8, 8, 10};
    for (auto _ : state) {
        zubiInterpolateChroma_H264_16u_C1R(&p);
        benchmark::ClobberMemory();
    }
}
BENCHMARK(BM_Chroma16u_8x8);

// Block calls: arg 0 a vector inside the frame, arg 1 one whose footprint
// crosses the top-left corner (read through the boundary first).
void BM_LumaBlock8u_16x16(benchmark::State& state) {
    auto plane = randomPlane<Zub8u>(255);
    std::vector<Zub8u> dst(16 * 16);
    const bool across = state.range(0) != 0;
    H264BlockInterpolationParams p{{plane.data(), nullptr}, kStride, {dst.data(), nullptr}, 16,
                                   {kStride, 96}, {16, 16}, {across ? 0 : 32, across ? 0 : 32}, {-7, -5}, 8};
    for (auto _ : state) {
        zubiInterpolateLumaBlock_H264_8u_P1R(&p);
        benchmark::ClobberMemory();
    }
}
BENCHMARK(BM_LumaBlock8u_16x16)->Arg(0)->Arg(1);

void BM_ChromaBlock8u_8x8(benchmark::State& state) {
    auto u = randomPlane<Zub8u>(255), v = randomPlane<Zub8u>(255);
    std::vector<Zub8u> du(8 * 8), dv(8 * 8);
    const bool across = state.range(0) != 0;
    H264BlockInterpolationParams p{{u.data(), v.data()}, kStride, {du.data(), dv.data()}, 8,
                                   {kStride, 96}, {8, 8}, {across ? 0 : 32, across ? 0 : 32}, {-7, -5}, 8};
    for (auto _ : state) {
        zubiInterpolateChromaBlock_H264_8u_P2R(&p);
        benchmark::ClobberMemory();
    }
}
BENCHMARK(BM_ChromaBlock8u_8x8)->Arg(0)->Arg(1);

void BM_LumaBlock16u_16x16(benchmark::State& state) {
    auto plane = randomPlane<Zub16u>(1023);
    std::vector<Zub16u> dst(16 * 16);
    const bool across = state.range(0) != 0;
    H264BlockInterpolationParams p{{plane.data(), nullptr}, kStride, {dst.data(), nullptr}, 16,
                                   {kStride, 96}, {16, 16}, {across ? 0 : 32, across ? 0 : 32}, {-7, -5}, 10};
    for (auto _ : state) {
        zubiInterpolateLumaBlock_H264_16u_P1R(&p);
        benchmark::ClobberMemory();
    }
}
BENCHMARK(BM_LumaBlock16u_16x16)->Arg(0)->Arg(1);

}  // namespace
