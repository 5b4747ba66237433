// The example decoder on real streams: every frame's MD5 against the list
// made with ffmpeg, and corrupt versions of each stream (truncated, bits
// flipped) that must end in a decoding error or a picture, never a crash.
#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <vector>

#include "decoder.h"
#include "md5.h"

namespace {

// The last eight are x264 streams with headers rewritten by
// tests/data/rewrite_h264.py: pic_order_cnt_type 0, pic_order_cnt_type 1 with
// long-term IDR pictures, memory management control operations 1-4 and 6
// (long-term references), operation 5 with POC types 2 and 0,
// disable_deblocking_filter_idc 2, and non-reference P pictures, in
// nonref_reorder output before the reference picture decoded before them.
const char* const kStreams[] = {"qcif_qp26",      "mandel_slices",     "scroll_mv",     "lowqp_nodeblock",
                                "ffmpeg_testsrc", "ffmpeg_mandel_cqp", "fade_weightp",  "fakeint_frames",
                                "poc_type0",      "poc_type1",         "mmco_longterm", "mmco5_reset",
                                "mmco5_poc0",     "deblock_idc2",      "nonref_poc1",
                                "nonref_reorder"};

std::vector<uint8_t> readFile(const std::string& path) {
    std::ifstream f(path, std::ios::binary);
    return std::vector<uint8_t>(std::istreambuf_iterator<char>(f), std::istreambuf_iterator<char>());
}

std::vector<std::string> readLines(const std::string& path) {
    std::ifstream f(path);
    std::vector<std::string> lines;
    for (std::string s; std::getline(f, s);)
        if (!s.empty()) lines.push_back(s);
    return lines;
}

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

TEST(H264Decoder, Md5OfKnownInputs) {
    h264dec::Md5 empty;
    EXPECT_EQ(empty.hexDigest(), "d41d8cd98f00b204e9800998ecf8427e");
    h264dec::Md5 abc;
    abc.update(reinterpret_cast<const uint8_t*>("abc"), 3);
    EXPECT_EQ(abc.hexDigest(), "900150983cd24fb0d6963f7d28e17f72");
    // 1000 bytes fed in uneven pieces equal one update.
    std::vector<uint8_t> bytes(1000);
    for (size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<uint8_t>(i * 7 + 3);
    h264dec::Md5 whole, pieces;
    whole.update(bytes.data(), bytes.size());
    for (size_t i = 0, n = 1; i < bytes.size(); i += n, n = n * 3 % 97 + 1)
        pieces.update(bytes.data() + i, std::min(n, bytes.size() - i));
    EXPECT_EQ(whole.hexDigest(), pieces.hexDigest());
}

TEST(H264Decoder, StreamsMatchReferenceMd5) {
    for (const char* name : kStreams) {
        const std::string base = std::string(ZUBVC_TEST_DATA) + "/" + name;
        const auto data = readFile(base + ".264");
        const auto expect = readLines(base + ".md5");
        ASSERT_FALSE(data.empty()) << name;
        std::string error;
        const auto got = decode(data, &error);
        EXPECT_EQ(error, "") << name;
        ASSERT_EQ(got.size(), expect.size()) << name;
        for (size_t i = 0; i < got.size(); ++i) EXPECT_EQ(got[i], expect[i]) << name << " frame " << i;
    }
}

TEST(H264Decoder, CorruptStreamsNeverCrash) {
    for (const char* name : kStreams) {
        const auto data = readFile(std::string(ZUBVC_TEST_DATA) + "/" + name + ".264");
        ASSERT_FALSE(data.empty()) << name;
        std::mt19937 rng(12345);
        for (int trial = 0; trial < 60; ++trial) {
            std::vector<uint8_t> bad = data;
            if (trial % 4 == 0) {
                bad.resize(rng() % bad.size());
            } else {
                const int flips = 1 + static_cast<int>(rng() % (trial % 3 == 0 ? 40 : 4));
                for (int k = 0; k < flips; ++k) bad[rng() % bad.size()] ^= static_cast<uint8_t>(1u << (rng() % 8));
            }
            decode(bad);  // must return, with or without an error
        }
    }
}

}  // namespace
