// Re-entrancy: eight threads at once each decode a different committed stream
// with the example decoder's core and call primitives of every family on
// buffers of their own (reading one shared stream), several times over; every
// result must equal the one of a single-threaded run.  Run under
// ThreadSanitizer by `make test-tsan`, which must report nothing.
#include <gtest/gtest.h>

#include <cstring>
#include <fstream>
#include <iterator>
#include <string>
#include <thread>
#include <vector>

#include "decoder.h"
#include "md5.h"
#include "zubvc.h"
#include "zubvc_tools/h264cavlc.h"

namespace {

const char* const kThreadStreams[] = {"qcif_qp26",  "mandel_slices", "scroll_mv",   "ffmpeg_testsrc",
                                      "fade_weightp", "poc_type1",   "mmco5_reset", "ipcm_skip"};
constexpr int kThreads = 8;

std::vector<uint8_t> readFile(const std::string& name) {
    std::ifstream f(std::string(ZUBVC_TEST_DATA) + "/" + name + ".264", std::ios::binary);
    return {std::istreambuf_iterator<char>(f), std::istreambuf_iterator<char>()};
}

// The MD5 of every output frame of the stream, in order, and the decoder's
// error message if any.
std::string decodeDigest(const std::vector<uint8_t>& data) {
    h264dec::Md5 all;
    h264dec::Decoder dec([&](const h264dec::OutputPicture& pic) {
        for (int p = 0; p < 3; ++p)
            for (int y = 0; y < pic.height[p]; ++y)
                all.update(pic.plane[p] + static_cast<size_t>(y) * pic.stride[p], static_cast<size_t>(pic.width[p]));
    });
    try {
        for (const auto& nal : h264dec::splitAnnexB(data.data(), data.size())) dec.decodeNal(nal.data, nal.size);
        dec.flush();
    } catch (const h264dec::DecodeError& e) {
        return std::string("error: ") + e.what();
    }
    return all.hexDigest();
}

// Primitives of each family on buffers of the caller's own, the bitstream
// readers on the shared `words`; returns the digest of everything they wrote
// and returned.
std::string primitiveDigest(const std::vector<uint32_t>& words, unsigned seed) {
    h264dec::Md5 md5;
    auto add = [&](const void* p, size_t n) { md5.update(static_cast<const uint8_t*>(p), n); };
    uint8_t plane[64 * 64];
    for (int i = 0; i < 64 * 64; ++i) plane[i] = static_cast<uint8_t>((i * 7 + seed * 31) ^ (i >> 6));

    // Exp-Golomb and CAVLC blocks read one after the other from the stream.
    const Zub32u* w = words.data();
    Zub32u off = 31 - seed % 32;
    for (int i = 0; i < 200 && w < words.data() + words.size() / 2; ++i) {
        Zub16s v = 0;
        ZubStatus st = zubiDecodeExpGolombOne_H264_1u16s(&w, &off, &v, static_cast<Zub8u>(i & 1));
        add(&st, sizeof st);
        add(&v, sizeof v);
    }
    const zubtools::H264CavlcTables& t = zubtools::h264CavlcTables();
    static const Zub32u kZigzag[16] = {0, 1, 4, 8, 5, 2, 3, 6, 9, 12, 13, 10, 7, 11, 14, 15};
    Zub16s coeffs[16 * 64] = {};
    Zub16s* c = coeffs;
    for (int i = 0; i < 64 && w < words.data() + words.size() / 2; ++i) {
        Zub16s n = 0;
        ZubStatus st = zubiDecodeCAVLCCoeffs_H264_1u16s(&w, &off, &n, &c, static_cast<Zub32u>(i % 9), 16,
                                                        t.coeffToken, t.totalZeros, t.runBefore, kZigzag);
        add(&st, sizeof st);
        if (st != ZubStatusOk) {  // step over a bit and go on
            off = off ? off - 1 : 31;
            if (off == 31) ++w;
        }
    }
    add(coeffs, sizeof coeffs);

    // Transforms, prediction, interpolation, weighting, deblocking, copies.
    Zub16s dc[16];
    for (int i = 0; i < 16; ++i) dc[i] = static_cast<Zub16s>(coeffs[i] + i);
    ZubStatus st = zubiTransformQuantInvLumaDC4x4_H264_16s_C1I(dc, static_cast<int>(seed % 52), nullptr);
    add(&st, sizeof st);
    add(dc, sizeof dc);
    st = zubiTransformQuantInvAddPred4x4_H264_16s_C1IR(coeffs, nullptr, plane + 64 * 20 + 20, 64, 28);
    add(&st, sizeof st);
    st = zubiPredictIntra_16x16_H264_8u_C1IR(plane + 64 * 17 + 17, 64, ZubIntra16x16Plane,
                                             ZubIntraAvailTop | ZubIntraAvailLeft | ZubIntraAvailTopLeft);
    add(&st, sizeof st);
    uint8_t pred[16 * 16], pred2[16 * 16];
    st = zubiInterpolateLuma_H264_8u_C1R(plane + 64 * 8 + 8, 64, pred, 16, static_cast<int>(seed % 4),
                                         static_cast<int>(seed / 4 % 4), ZubSize{16, 16});
    add(&st, sizeof st);
    st = zubiInterpolateChroma_H264_8u_C1R(plane + 64 * 30 + 30, 64, pred2, 16, static_cast<int>(seed % 8), 3,
                                           ZubSize{8, 8});
    add(&st, sizeof st);
    st = zubiBiDirWeightBlockImplicit_H264_8u_P2P1R(pred, pred2, pred, 16, 16, 40, 24, ZubSize{8, 8});
    add(&st, sizeof st);
    add(pred, sizeof pred);
    const Zub8u alpha[2] = {40, 50}, beta[2] = {9, 12}, tc0[16] = {1, 2, 3, 4, 1, 2, 3, 4, 0, 1, 2, 3, 4, 3, 2, 1};
    const Zub8u bS[16] = {4, 4, 4, 4, 2, 1, 2, 0, 1, 1, 2, 2, 0, 3, 3, 1};
    st = zubiFilterDeblockingLuma_VerEdge_H264_8u_C1IR(plane + 64 * 24 + 24, 64, alpha, beta, tc0, bS);
    add(&st, sizeof st);
    st = zubiFilterDeblockingLuma_HorEdge_H264_8u_C1IR(plane + 64 * 24 + 24, 64, alpha, beta, tc0, bS);
    add(&st, sizeof st);
    Zub8u* block = zubsMalloc_8u(256);
    st = zubiCopy_8u_C1R(plane + 64 * 24 + 24, 64, block, 16, ZubSize{16, 16});
    add(&st, sizeof st);
    add(block, 256);
    zubsFree(block);
    add(plane, sizeof plane);
    return md5.hexDigest();
}

TEST(Threads, EightThreadsDecodeStreamsAndCallPrimitives) {
    std::vector<std::vector<uint8_t>> streams;
    std::vector<std::string> expectDecode, expectPrimitives;
    // The shared input of the bit readers: the first stream's bytes as words.
    const std::vector<uint8_t> first = readFile(kThreadStreams[0]);
    std::vector<uint32_t> words((first.size() + 3) / 4 + 2, 0);
    for (size_t i = 0; i < first.size(); ++i) words[i / 4] |= uint32_t{first[i]} << (24 - 8 * (i % 4));
    for (int t = 0; t < kThreads; ++t) {
        streams.push_back(readFile(kThreadStreams[t]));
        ASSERT_FALSE(streams.back().empty()) << kThreadStreams[t];
        expectDecode.push_back(decodeDigest(streams.back()));
        ASSERT_EQ(expectDecode.back().size(), 32u) << kThreadStreams[t] << ": " << expectDecode.back();
        expectPrimitives.push_back(primitiveDigest(words, static_cast<unsigned>(t)));
    }

    std::vector<std::string> gotDecode(kThreads), gotPrimitives(kThreads);
    std::vector<int> mismatches(kThreads, 0);
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t)
        threads.emplace_back([&, t] {
            for (int round = 0; round < 3; ++round) {
                gotDecode[t] = decodeDigest(streams[t]);
                gotPrimitives[t] = primitiveDigest(words, static_cast<unsigned>(t));
                mismatches[t] += gotDecode[t] != expectDecode[t] || gotPrimitives[t] != expectPrimitives[t];
            }
        });
    for (std::thread& th : threads) th.join();
    for (int t = 0; t < kThreads; ++t) {
        EXPECT_EQ(mismatches[t], 0) << kThreadStreams[t];
        EXPECT_EQ(gotDecode[t], expectDecode[t]) << kThreadStreams[t];
        EXPECT_EQ(gotPrimitives[t], expectPrimitives[t]) << "thread " << t;
    }
}

}  // namespace
