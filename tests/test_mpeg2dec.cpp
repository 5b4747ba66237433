// The example MPEG-1/MPEG-2 decoder on real streams (tests/data, made by
// make_mpeg2_streams.sh with ffmpeg): every frame's Y, U and V against
// ffmpeg's decode by PSNR, once with the library's inverse DCT and once with
// a double-precision one (which shows that everything else is exact), and
// corrupt versions of each stream that must end in an error or a picture,
// never a crash.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <vector>

#include "corrupt_stream.h"
#include "mpeg2dec.h"
#include "zubvc_tools/mpeg2vlc.h"

namespace {

const char* const kStreams[] = {"mpeg1_testsrc.m1v",  "mpeg2_mandel_b.m2v",  "mpeg2_intravlc.m2v", "mpeg2_altscan.m2v",
                                "mpeg2_nonlinear.m2v", "mpeg2_field_tff.m2v", "mpeg2_field_bff.m2v", "mpeg2_422.m2v",
                                "mpeg2_matrices.m2v",  "mpeg2_dc9.m2v",       "mpeg2_dc10.m2v",     "mpeg2_dc11.m2v",
                                "mpeg2_q1.m2v",        "mpeg2_oddsize.m2v"};

std::vector<uint8_t> readFile(const std::string& path) {
    std::ifstream f(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(f), std::istreambuf_iterator<char>()};
}

// The reference frames, stored gzip-compressed.
std::vector<uint8_t> readReference(const std::string& stream) {
    const std::string path = std::string(ZUBVC_TEST_DATA) + "/" + stream.substr(0, stream.rfind('.')) + ".yuv.gz";
    std::vector<uint8_t> out;
    FILE* p = popen(("gzip -dc '" + path + "'").c_str(), "r");
    if (!p) return out;
    uint8_t buf[65536];
    size_t n;
    while ((n = std::fread(buf, 1, sizeof buf, p)) > 0) out.insert(out.end(), buf, buf + n);
    pclose(p);
    return out;
}

// ISO/IEC 13818-2 Annex A: the separable inverse DCT in double precision,
// rounded to the nearest integer and saturated to -256..255; intra samples
// are then limited to 0..255.  The source is transposed (8 x horizontal
// frequency + vertical frequency), as the library's transforms take it.
template <class T, int Lo>
ZubStatus exactIdct(const Zub16s* src, T* dst, Zub32s step, Zub32s) {
    static const auto basis = [] {
        std::array<double, 64> c{};
        for (int x = 0; x < 8; ++x)
            for (int u = 0; u < 8; ++u)
                c[x * 8 + u] = (u ? 1.0 : std::sqrt(0.5)) / 2 * std::cos((2 * x + 1) * u * M_PI / 16);
        return c;
    }();
    for (int y = 0; y < 8; ++y)
        for (int x = 0; x < 8; ++x) {
            double s = 0;
            for (int u = 0; u < 8; ++u)
                for (int v = 0; v < 8; ++v) s += basis[x * 8 + u] * basis[y * 8 + v] * src[8 * u + v];
            long r = std::lround(s);
            r = r < -256 ? -256 : r > 255 ? 255 : r;
            r = r < Lo ? Lo : r;
            reinterpret_cast<T*>(reinterpret_cast<uint8_t*>(dst) + y * step)[x] = static_cast<T>(r);
        }
    return ZubStatusOk;
}

struct Psnr {
    double worst = 1e9, sum = 0;
    int count = 0, frames = 0;
    std::string error;
};

double psnr(const uint8_t* a, int stride, const uint8_t* b, int w, int h) {
    double se = 0;
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x) {
            const double d = a[y * stride + x] - b[y * w + x];
            se += d * d;
        }
    return se == 0 ? 99.0 : 10 * std::log10(255.0 * 255.0 * w * h / se);
}

// Decodes the stream and compares every plane of every frame with the
// reference; a frame beyond the reference counts as 0 dB.
Psnr compare(const std::string& stream, const mpeg2dec::IdctFunctions& idct) {
    const auto data = readFile(std::string(ZUBVC_TEST_DATA) + "/" + stream);
    const auto ref = readReference(stream);
    Psnr r;
    size_t at = 0;
    mpeg2dec::Decoder dec(
        [&](const mpeg2dec::OutputPicture& pic) {
            ++r.frames;
            for (int p = 0; p < 3; ++p) {
                const size_t n = static_cast<size_t>(pic.width[p]) * pic.height[p];
                const double v =
                    at + n <= ref.size() ? psnr(pic.plane[p], pic.stride[p], ref.data() + at, pic.width[p], pic.height[p])
                                         : 0.0;
                at += n;
                r.worst = std::min(r.worst, v);
                r.sum += v;
                ++r.count;
            }
        },
        idct);
    try {
        dec.decode(data.data(), data.size());
    } catch (const mpeg2dec::DecodeError& e) {
        r.error = e.what();
    }
    if (at != ref.size() || data.empty()) r.worst = 0;
    return r;
}

TEST(Mpeg2Decoder, StreamsMatchReferenceWithLibraryIdct) {
    for (const char* name : kStreams) {
        const Psnr r = compare(name, mpeg2dec::Decoder::libraryIdct());
        EXPECT_EQ(r.error, "") << name;
        EXPECT_GE(r.worst, 40.0) << name << " (frames: " << r.frames << ")";
        EXPECT_GE(r.sum / std::max(r.count, 1), 45.0) << name;
    }
}

TEST(Mpeg2Decoder, StreamsMatchReferenceWithExactIdct) {
    const mpeg2dec::IdctFunctions exact{exactIdct<Zub8u, 0>, exactIdct<Zub16s, -256>};
    for (const char* name : kStreams) {
        const Psnr r = compare(name, exact);
        EXPECT_EQ(r.error, "") << name;
        EXPECT_GE(r.worst, 56.0) << name << " (frames: " << r.frames << ")";
    }
}

// The stream bit at position pos of big-endian words.
int bitAt(const uint32_t* w, size_t pos) { return static_cast<int>(w[pos / 32] >> (31 - pos % 32)) & 1; }

// Re-encodes one traced block: its levels are read back from the stream with
// the library's decoders (escapes by hand), written with the run-level
// encoder, and the bits written must be the stream's bits of the block.
// Returns an empty string or what went wrong.
std::string roundTrip(const mpeg2dec::BlockTrace& t) {
    using zubtools::Mpeg2Vlc;
    const Zub32u* w = t.words + t.startBit / 32;
    Zub32u off = static_cast<Zub32u>(31 - t.startBit % 32);
    auto read = [&](int n) {
        Zub32u v = 0;
        for (int k = 0; k < n; ++k) {
            v = v << 1 | ((*w >> off) & 1u);
            if (off-- == 0) off = 31, ++w;
        }
        return static_cast<int>(v);
    };
    Zub16s levels[64] = {};
    Zub32s scan[64];
    for (int k = 0; k < 64; ++k) scan[k] = k;
    const Mpeg2Vlc table = t.intra && t.intraVlcFormat ? Mpeg2Vlc::DctTableOne : Mpeg2Vlc::DctTableZero;
    const Mpeg2Vlc dcTable = t.component ? Mpeg2Vlc::DcSizeChroma : Mpeg2Vlc::DcSizeLuma;
    const int pred = t.mpeg1 ? t.dcPredictor / 8 : t.dcPredictor;
    int i = 0;
    auto escape = [&](int& run, int& level) {
        run = read(6);
        if (!t.mpeg1) {
            level = read(12);
            if (level & 0x800) level -= 4096;
            return;
        }
        const int l = read(8);
        if (l & 0x7F) level = static_cast<int8_t>(l);
        else level = l == 0 ? read(8) : read(8) - 256;
    };
    if (t.intra) {
        Zub32s size = 0;
        if (zubiDecodeHuffmanOne_1u32s(&w, &off, &size, zubtools::mpeg2VlcTable(dcTable)) != ZubStatusOk)
            return "bad dc size";
        int d = size ? read(size) : 0;
        if (size && !(d >> (size - 1))) d += 1 - (1 << size);
        levels[0] = static_cast<Zub16s>(pred + d);
    } else if ((*w >> off) & 1u) {
        read(1);
        levels[0] = static_cast<Zub16s>(read(1) ? -1 : 1);
        i = 0;
    } else {
        i = -1;
    }
    for (bool first = !t.intra && i < 0;; first = false) {
        Zub8u run8 = 0;
        Zub16s lv = 0;
        if (zubiDecodeHuffmanPair_1u16s(&w, &off, zubtools::mpeg2VlcTable(table), &run8, &lv) != ZubStatusOk)
            return "bad code";
        int run = run8, level = lv;
        if (run == 254) break;
        if (run == 255) escape(run, level);
        i += run + 1;
        if (first) i = run;
        if (i > 63) return "run past the block";
        levels[i] = static_cast<Zub16s>(level);
    }
    const size_t endBit = static_cast<size_t>(w - t.words) * 32 + (31 - off);
    if (endBit != t.endBit) return "block length differs from the decoder's";

    std::vector<Zub32u> buf(96, 0);
    Zub32u* out = buf.data();
    Zub32u outOff = 31;
    Zub16s dcPred = static_cast<Zub16s>(pred);
    const ZubStatus st =
        t.intra ? zubiPutIntraBlock(&out, &outOff, levels, &dcPred, zubtools::mpeg2VlcEncodeTable(dcTable),
                                    zubtools::mpeg2VlcEncodeTable(table), scan, t.mpeg1 ? 1 : 2)
                : zubiPutNonIntraBlock(&out, &outOff, levels, zubtools::mpeg2VlcEncodeTable(table), scan,
                                       t.mpeg1 ? 1 : 2);
    if (st != ZubStatusOk) return "encoder status " + std::to_string(st);
    const size_t written = static_cast<size_t>(out - buf.data()) * 32 + (31 - outOff);
    if (written != t.endBit - t.startBit) return "encoded length differs";
    for (size_t k = 0; k < written; ++k)
        if (bitAt(buf.data(), k) != bitAt(t.words, t.startBit + k)) return "bits differ";
    return "";
}

TEST(Mpeg2Decoder, EveryBlockReencodesToTheStreamBits) {
    for (const char* name : kStreams) {
        const auto data = readFile(std::string(ZUBVC_TEST_DATA) + "/" + name);
        long blocks[2] = {}, failures = 0;
        mpeg2dec::Decoder dec([](const mpeg2dec::OutputPicture&) {});
        dec.setBlockTrace([&](const mpeg2dec::BlockTrace& t) {
            ++blocks[t.intra];
            const std::string why = roundTrip(t);
            if (!why.empty() && ++failures <= 3)
                ADD_FAILURE() << name << ": block at bit " << t.startBit << (t.intra ? " (intra)" : "") << ": " << why;
        });
        dec.decode(data.data(), data.size());
        EXPECT_EQ(failures, 0) << name;
        EXPECT_GT(blocks[1], 0) << name;
        EXPECT_GT(blocks[0] + blocks[1], 400) << name;
    }
}

TEST(Mpeg2Decoder, CorruptStreamsNeverCrash) {
    for (const char* name : kStreams) {
        const auto data = readFile(std::string(ZUBVC_TEST_DATA) + "/" + name);
        ASSERT_FALSE(data.empty()) << name;
        std::mt19937 rng(54321);
        for (int trial = 0; trial < 24; ++trial) {
            std::vector<uint8_t> bad = corruptStream(data, trial, rng);
            int frames = 0;
            mpeg2dec::Decoder dec([&](const mpeg2dec::OutputPicture&) { ++frames; });
            try {
                dec.decode(bad.data(), bad.size());
            } catch (const mpeg2dec::DecodeError&) {
            }
        }
    }
}

}  // namespace
