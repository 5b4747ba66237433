// MPEG-1/MPEG-2 VLC decoding: one code per call, through tables built by the
// library from the standard's code lists.
#include <benchmark/benchmark.h>

#include <random>
#include <vector>

#include "zubvc.h"
#include "zubvc_tools/bitwriter.h"
#include "zubvc_tools/mpeg2vlc.h"

namespace {

using zubtools::Mpeg2Vlc;

// A stream of codes drawn with the probability 2^-length that an ideal coder
// gives them (short codes are the common ones), and its code count.
struct CodeStream {
    std::vector<uint32_t> words;
    size_t codes = 0;
};

CodeStream makeStream(Mpeg2Vlc t, size_t count) {
    const auto& codes = zubtools::mpeg2VlcCodes(t);
    std::mt19937 rng(static_cast<unsigned>(t) + 3);
    zubtools::BitWriter bw;
    CodeStream s;
    while (s.codes < count) {
        const auto& c = codes[rng() % codes.size()];
        if ((rng() & ((1u << (c.length - 1)) - 1u)) != 0) continue;  // keep with probability 2^(1-length)
        bw.put(c.code, c.length);
        ++s.codes;
    }
    s.words = bw.words();
    return s;
}

void BM_DecodeHuffmanOne(benchmark::State& state, Mpeg2Vlc t) {
    const CodeStream s = makeStream(t, 4096);
    const Zub32s* table = zubtools::mpeg2VlcTable(t);
    for (auto _ : state) {
        const Zub32u* w = s.words.data();
        Zub32u off = 31;
        Zub32s v = 0;
        for (size_t i = 0; i < s.codes; ++i) zubiDecodeHuffmanOne_1u32s(&w, &off, &v, table);
        benchmark::DoNotOptimize(v);
    }
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations() * s.codes));
}

void BM_DecodeHuffmanPair(benchmark::State& state, Mpeg2Vlc t) {
    const CodeStream s = makeStream(t, 4096);
    const Zub32s* table = zubtools::mpeg2VlcTable(t);
    for (auto _ : state) {
        const Zub32u* w = s.words.data();
        Zub32u off = 31;
        Zub8u run = 0;
        Zub16s level = 0;
        for (size_t i = 0; i < s.codes; ++i) zubiDecodeHuffmanPair_1u16s(&w, &off, table, &run, &level);
        benchmark::DoNotOptimize(level);
    }
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations() * s.codes));
}

BENCHMARK_CAPTURE(BM_DecodeHuffmanOne, MbAddressIncrement, Mpeg2Vlc::MbAddressIncrement);
BENCHMARK_CAPTURE(BM_DecodeHuffmanOne, CodedBlockPattern, Mpeg2Vlc::CodedBlockPattern);
BENCHMARK_CAPTURE(BM_DecodeHuffmanOne, MotionCode, Mpeg2Vlc::MotionCode);
BENCHMARK_CAPTURE(BM_DecodeHuffmanOne, DcSizeLuma, Mpeg2Vlc::DcSizeLuma);
BENCHMARK_CAPTURE(BM_DecodeHuffmanPair, DctTableZero, Mpeg2Vlc::DctTableZero);
BENCHMARK_CAPTURE(BM_DecodeHuffmanPair, DctTableOne, Mpeg2Vlc::DctTableOne);

// Building the largest table (table zero, 224 codes, three levels).
void BM_HuffmanRunLevelTableInitAlloc(benchmark::State& state) {
    const auto& src = zubtools::mpeg2VlcSource(Mpeg2Vlc::DctTableZero);
    for (auto _ : state) {
        Zub32s* t = nullptr;
        zubiHuffmanRunLevelTableInitAlloc_32s(src.data(), &t);
        benchmark::DoNotOptimize(t);
        zubiHuffmanTableFree_32s(t);
    }
}
BENCHMARK(BM_HuffmanRunLevelTableInitAlloc);

}  // namespace
