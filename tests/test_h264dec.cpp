// The example decoder on real streams: every frame's MD5 against the list
// made with ffmpeg (which also checks the decoder's MD5), and corrupt versions
// of each stream (truncated, bits flipped) that must end in a decoding error
// or a picture, never a crash.
#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <vector>

#include "corrupt_stream.h"
#include "decoder.h"
#include "md5.h"

namespace {

// From poc_type0 on, eight x264 streams with headers rewritten by
// tests/data/rewrite_h264.py: pic_order_cnt_type 0, pic_order_cnt_type 1 with
// long-term IDR pictures, memory management control operations 1-4 and 6
// (long-term references), operation 5 with POC types 2 and 0,
// disable_deblocking_filter_idc 2, and non-reference P pictures, in
// nonref_reorder output before the reference picture decoded before them.
// Then, from tests/data/make_pcm.py: I_PCM and P_Skip macroblocks.  The dct8_
// and cqm_ streams are High profile: the 8x8 transform with flat, default
// and custom scaling matrices, the matrices' fall-back rules, QP 4 and 51.
// The b_ streams have B slices: B-pyramid, implicit weights, spatial and
// temporal direct prediction, 16 references; mono_ are 4:0:0; lossless_
// have transform-bypass macroblocks.
const char* const kStreams[] = {"qcif_qp26",      "mandel_slices",     "scroll_mv",     "lowqp_nodeblock",
                                "ffmpeg_testsrc", "ffmpeg_mandel_cqp", "fade_weightp",  "fakeint_frames",
                                "poc_type0",      "poc_type1",         "mmco_longterm", "mmco5_reset",
                                "mmco5_poc0",     "deblock_idc2",      "nonref_poc1",   "nonref_reorder",
                                "ipcm_skip",      "dct8_flat",         "dct8_jvt",      "dct8_cqmfile",
                                "cqm_fallback",   "dct8_qp4",          "dct8_qp51",     "dct8_odd",
                                "b_pyramid_fade", "b_direct_spatial",  "b_direct_temporal", "b_ref16",
                                "b_dct8",         "b_noweightb",       "mono_b",        "mono_odd",
                                "lossless_b",     "lossless_intra",    "lossless_i8",   "lossless_mono"};

// Decodes a whole stream; returns the per-frame MD5s; error receives the
// decoder's message, if any.
std::vector<std::string> decode(const std::vector<uint8_t>& data, std::string* error = nullptr) {
    std::vector<std::string> md5s;
    h264dec::Decoder dec([&](const h264dec::OutputPicture& pic) {
        h264dec::Md5 m;
        for (int p = 0; p < 3; ++p)
            for (int y = 0; y < pic.height[p]; ++y)
                m.update(pic.plane[p] + static_cast<size_t>(y) * pic.stride[p], static_cast<size_t>(pic.width[p]));
        md5s.push_back(m.hexDigest());
    });
    try {
        for (const auto& nal : h264dec::splitAnnexB(data.data(), data.size())) dec.decodeNal(nal.data, nal.size);
        dec.flush();
    } catch (const h264dec::DecodeError& e) {
        if (error) *error = e.what();
    }
    return md5s;
}

// The stream and its MD5 list, one digest a line.
std::pair<std::vector<uint8_t>, std::vector<std::string>> readStream(const std::string& name) {
    const std::string base = std::string(ZUBVC_TEST_DATA) + "/" + name;
    std::ifstream f(base + ".264", std::ios::binary), m(base + ".md5");
    std::vector<std::string> md5s;
    for (std::string s; m >> s;) md5s.push_back(s);
    return {std::vector<uint8_t>(std::istreambuf_iterator<char>(f), std::istreambuf_iterator<char>()), md5s};
}

TEST(H264Decoder, StreamsMatchReferenceMd5) {
    for (const char* name : kStreams) {
        const auto [data, expect] = readStream(name);
        ASSERT_FALSE(data.empty() || expect.empty()) << name;
        std::string error;
        EXPECT_EQ(decode(data, &error), expect) << name;
        EXPECT_EQ(error, "") << name;
    }
}

// The frame hash: the RFC 1321 test suite, whose 62-byte message needs a
// second padding block, each message fed whole and in uneven pieces.
TEST(H264Decoder, Md5MatchesRfc1321Suite) {
    const std::pair<std::string, const char*> suite[] = {
        {"", "d41d8cd98f00b204e9800998ecf8427e"},
        {"a", "0cc175b9c0f1b6a831c399e269772661"},
        {"abc", "900150983cd24fb0d6963f7d28e17f72"},
        {"message digest", "f96b697d7cb7938d525a2f31aaf161d0"},
        {"abcdefghijklmnopqrstuvwxyz", "c3fcd3d76192e4007dfb496cca67e13b"},
        {"ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789", "d174ab98d277d9f5a5611c2c9f419d9f"},
        {"12345678901234567890123456789012345678901234567890123456789012345678901234567890",
         "57edf4a22be3c955ac49da2e2107b67a"}};
    for (const auto& [msg, digest] : suite)
        for (size_t piece : {msg.size() + 1, size_t{1}, size_t{7}}) {
            h264dec::Md5 m;
            for (size_t at = 0; at < msg.size(); at += piece)
                m.update(reinterpret_cast<const uint8_t*>(msg.data()) + at, std::min(piece, msg.size() - at));
            EXPECT_EQ(m.hexDigest(), digest) << msg.size() << " bytes in pieces of " << piece;
        }
}

TEST(H264Decoder, CorruptStreamsNeverCrash) {
    for (const char* name : kStreams) {
        const auto data = readStream(name).first;
        ASSERT_FALSE(data.empty()) << name;
        std::mt19937 rng(12345);
        for (int trial = 0; trial < 60; ++trial) {
            std::vector<uint8_t> bad = corruptStream(data, trial, rng);
            decode(bad);  // must return, with or without an error
        }
    }
}

}  // namespace
