// MPEG-1/MPEG-2 blocks: reconstruction from run-level codes per block at
// typical and high-rate statistics, the inverse DCT per path, and run-level
// encoding per block.
#include <benchmark/benchmark.h>

#include <random>
#include <vector>

#include "zubvc.h"
#include "zubvc_tools/mpeg2vlc.h"

namespace {

using zubtools::Mpeg2Vlc;

constexpr int kBlocks = 512;

// Random levels in raster order: typical (a few small levels at low
// frequencies) or high rate (most positions, larger levels).
std::vector<std::vector<Zub16s>> makeBlocks(bool highRate, bool intra) {
    std::mt19937 rng(highRate ? 7 : 5);
    std::vector<std::vector<Zub16s>> out;
    for (int b = 0; b < kBlocks; ++b) {
        std::vector<Zub16s> blk(64, 0);
        const int count = highRate ? 30 + static_cast<int>(rng() % 34) : 1 + static_cast<int>(rng() % 8);
        for (int n = 0; n < count; ++n) {
            const int k = highRate ? static_cast<int>(rng() % 64) : static_cast<int>(rng() % 12 + rng() % 4 * (rng() % 3));
            const unsigned r = rng() % 100;
            const int mag = highRate ? (r < 30 ? 1 : r < 70 ? 2 + static_cast<int>(rng() % 6) : 8 + static_cast<int>(rng() % 120))
                                     : (r < 70 ? 1 : r < 95 ? 2 + static_cast<int>(rng() % 3) : 5 + static_cast<int>(rng() % 20));
            blk[ownvc_Zigzag[k]] = static_cast<Zub16s>(rng() & 1 ? -mag : mag);
        }
        blk[0] = intra ? static_cast<Zub16s>(100 + rng() % 20) : (blk[0] ? blk[0] : 1);
        out.push_back(blk);
    }
    return out;
}

struct Coded {
    std::vector<uint32_t> words;
};

// The blocks written with the library's encoder (MPEG-2 syntax).
Coded encode(const std::vector<std::vector<Zub16s>>& blocks, bool intra, const std::vector<Zub32s>& scan) {
    Coded c;
    c.words.assign(kBlocks * 64 + 16, 0);
    Zub32u* w = c.words.data();
    Zub32u off = 31;
    Zub16s pred = 110;
    for (const auto& b : blocks) {
        if (intra)
            zubiPutIntraBlock(&w, &off, b.data(), &pred, zubtools::mpeg2VlcEncodeTable(Mpeg2Vlc::DcSizeLuma),
                              zubtools::mpeg2VlcEncodeTable(Mpeg2Vlc::DctTableOne), scan.data(), 2);
        else
            zubiPutNonIntraBlock(&w, &off, b.data(), zubtools::mpeg2VlcEncodeTable(Mpeg2Vlc::DctTableZero),
                                 scan.data(), 2);
    }
    return c;
}

void BM_ReconstructMpeg2(benchmark::State& state) {
    const bool intra = state.range(0), highRate = state.range(1);
    const std::vector<Zub32s> scan(ownvc_Zigzag, ownvc_Zigzag + 64);
    const auto blocks = makeBlocks(highRate, intra);
    const Coded c = encode(blocks, intra, scan);
    const std::vector<Zub16s> weights(64, 16);
    alignas(32) Zub16s dst[64];
    const Zub32s* zero = zubtools::mpeg2VlcTable(Mpeg2Vlc::DctTableZero);
    const Zub32s* one = zubtools::mpeg2VlcTable(Mpeg2Vlc::DctTableOne);
    const Zub32s* dc = zubtools::mpeg2VlcTable(Mpeg2Vlc::DcSizeLuma);
    for (auto _ : state) {
        const Zub32u* w = c.words.data();
        Zub32u off = 31;
        Zub16s pred = 110;
        Zub32s last = 0;
        for (int b = 0; b < kBlocks; ++b) {
            if (intra)
                zubiReconstructDCTBlockIntra_MPEG2_32s(&w, &off, dc, one, scan.data(), 8, weights.data(), &pred, 0,
                                                       dst, &last);
            else
                zubiReconstructDCTBlock_MPEG2_32s(&w, &off, zero, zero, scan.data(), 8, nullptr, dst, &last);
            benchmark::DoNotOptimize(dst);
        }
    }
    state.SetItemsProcessed(state.iterations() * kBlocks);
}
BENCHMARK(BM_ReconstructMpeg2)->ArgNames({"intra", "highRate"})->Args({0, 0})->Args({0, 1})->Args({1, 0})->Args({1, 1});

void BM_ReconstructMpeg1(benchmark::State& state) {
    const bool highRate = state.range(0);
    const std::vector<Zub32s> scan(ownvc_Zigzag, ownvc_Zigzag + 64);
    const auto blocks = makeBlocks(highRate, false);
    Coded c;
    c.words.assign(kBlocks * 64 + 16, 0);
    Zub32u* wr = c.words.data();
    Zub32u woff = 31;
    for (const auto& b : blocks)
        zubiPutNonIntraBlock(&wr, &woff, b.data(), zubtools::mpeg2VlcEncodeTable(Mpeg2Vlc::DctTableZero), scan.data(),
                             1);
    const std::vector<Zub16s> weights(64, 16);
    alignas(32) Zub16s dst[64];
    const Zub32s* zero = zubtools::mpeg2VlcTable(Mpeg2Vlc::DctTableZero);
    for (auto _ : state) {
        const Zub32u* w = c.words.data();
        Zub32u off = 31;
        Zub32s last = 0;
        for (int b = 0; b < kBlocks; ++b) {
            zubiReconstructDCTBlock_MPEG1_32s(&w, &off, zero, zero, scan.data(), 8, weights.data(), dst, &last);
            benchmark::DoNotOptimize(dst);
        }
    }
    state.SetItemsProcessed(state.iterations() * kBlocks);
}
BENCHMARK(BM_ReconstructMpeg1)->ArgNames({"highRate"})->Arg(0)->Arg(1);

// The inverse DCT per path: last index 0 (DC only), 5 (4x4 corner), 63 (full).
void BM_IdctAANTransposed(benchmark::State& state) {
    const int last = static_cast<int>(state.range(0));
    const bool out8 = state.range(1);
    std::mt19937 rng(1);
    std::vector<Zub16s> src(64 * 64, 0);
    for (int b = 0; b < 64; ++b)
        for (int k = 0; k <= last; ++k) {
            const int r = ownvc_Zigzag[k];
            src[64 * b + 8 * (r % 8) + r / 8] = static_cast<Zub16s>(static_cast<int>(rng() % 201) - 100);
        }
    alignas(32) Zub16s d16[64];
    alignas(32) Zub8u d8[64];
    for (auto _ : state) {
        for (int b = 0; b < 64; ++b) {
            if (out8)
                zubiDCT8x8Inv_AANTransposed_16s8u_C1R(&src[64 * b], d8, 8, last);
            else
                zubiDCT8x8Inv_AANTransposed_16s_C1R(&src[64 * b], d16, 16, last);
            benchmark::ClobberMemory();
        }
    }
    state.SetItemsProcessed(state.iterations() * 64);
}
BENCHMARK(BM_IdctAANTransposed)->ArgNames({"last", "out8"})->ArgsProduct({{0, 5, 63}, {0, 1}});

void BM_PutBlock(benchmark::State& state) {
    const bool intra = state.range(0), highRate = state.range(1);
    const std::vector<Zub32s> scan(ownvc_Zigzag, ownvc_Zigzag + 64);
    const auto blocks = makeBlocks(highRate, intra);
    std::vector<uint32_t> buf(kBlocks * 64 + 16, 0);
    for (auto _ : state) {
        Zub32u* w = buf.data();
        Zub32u off = 31;
        Zub16s pred = 110;
        for (const auto& b : blocks) {
            if (intra)
                zubiPutIntraBlock(&w, &off, b.data(), &pred, zubtools::mpeg2VlcEncodeTable(Mpeg2Vlc::DcSizeLuma),
                                  zubtools::mpeg2VlcEncodeTable(Mpeg2Vlc::DctTableOne), scan.data(), 2);
            else
                zubiPutNonIntraBlock(&w, &off, b.data(), zubtools::mpeg2VlcEncodeTable(Mpeg2Vlc::DctTableZero),
                                     scan.data(), 2);
        }
        benchmark::DoNotOptimize(buf.data());
    }
    state.SetItemsProcessed(state.iterations() * kBlocks);
}
BENCHMARK(BM_PutBlock)->ArgNames({"intra", "highRate"})->Args({0, 0})->Args({0, 1})->Args({1, 0})->Args({1, 1});

}  // namespace
