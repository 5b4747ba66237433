// zubvc-h264dec: decodes an H.264 Annex B byte stream (progressive 4:2:0
// 8-bit, CAVLC, I and P slices) with libzubvcpx.
//
//   zubvc-h264dec IN.264 [-o OUT.yuv|OUT.y4m] [--md5] [--frames N]
//
// --md5 prints one line per output frame, in output order: the MD5 of the
// frame's cropped Y, U and V planes in that order, rows packed.
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "decoder.h"
#include "md5.h"

namespace {

struct StopDecoding {};

int usage() {
    std::fprintf(stderr, "usage: zubvc-h264dec IN.264 [-o OUT.yuv|OUT.y4m] [--md5] [--frames N] [--quiet]\n");
    return 2;
}

}  // namespace

int main(int argc, char** argv) {
    const char* in = nullptr;
    const char* out = nullptr;
    bool md5 = false, quiet = false;
    long maxFrames = -1;
    for (int i = 1; i < argc; ++i) {
        if (!std::strcmp(argv[i], "-o") && i + 1 < argc) out = argv[++i];
        else if (!std::strcmp(argv[i], "--md5")) md5 = true;
        else if (!std::strcmp(argv[i], "--quiet")) quiet = true;
        else if (!std::strcmp(argv[i], "--frames") && i + 1 < argc) maxFrames = std::strtol(argv[++i], nullptr, 10);
        else if (argv[i][0] == '-' && argv[i][1]) return usage();
        else if (!in) in = argv[i];
        else return usage();
    }
    if (!in) return usage();

    std::vector<uint8_t> data;
    {
        FILE* f = std::fopen(in, "rb");
        if (!f) {
            std::fprintf(stderr, "zubvc-h264dec: cannot open %s\n", in);
            return 1;
        }
        uint8_t buf[65536];
        size_t n;
        while ((n = std::fread(buf, 1, sizeof buf, f)) > 0) data.insert(data.end(), buf, buf + n);
        std::fclose(f);
    }
    FILE* fo = nullptr;
    bool y4m = false;
    if (out) {
        fo = std::fopen(out, "wb");
        if (!fo) {
            std::fprintf(stderr, "zubvc-h264dec: cannot create %s\n", out);
            return 1;
        }
        const size_t len = std::strlen(out);
        y4m = len >= 4 && !std::strcmp(out + len - 4, ".y4m");
    }

    long frames = 0;
    const bool summary = !quiet && !md5;  // frames, speed and the MD5 of the whole output
    h264dec::Md5 whole;
    h264dec::Decoder* decoderPtr = nullptr;
    bool headerWritten = false;
    auto sink = [&](const h264dec::OutputPicture& pic) {
        if (maxFrames >= 0 && frames >= maxFrames) throw StopDecoding{};
        h264dec::Md5 frameMd5;
        if (fo && y4m && !headerWritten) {
            const h264dec::Sps* sps = decoderPtr->activeSps();
            std::fprintf(fo, "YUV4MPEG2 W%d H%d F%d:%d Ip A0:0 C420jpeg\n", pic.width[0], pic.height[0],
                         sps ? sps->fpsNum : 25, sps ? sps->fpsDen : 1);
            headerWritten = true;
        }
        if (fo && y4m) std::fputs("FRAME\n", fo);
        for (int p = 0; p < 3; ++p)
            for (int y = 0; y < pic.height[p]; ++y) {
                const uint8_t* row = pic.plane[p] + static_cast<size_t>(y) * pic.stride[p];
                const size_t n = static_cast<size_t>(pic.width[p]);
                if (md5) frameMd5.update(row, n);
                if (summary) whole.update(row, n);
                if (fo && std::fwrite(row, 1, n, fo) != n) throw h264dec::DecodeError("write error");
            }
        if (md5) std::printf("%s\n", frameMd5.hexDigest().c_str());
        ++frames;
    };

    h264dec::Decoder decoder(sink);
    decoderPtr = &decoder;
    int status = 0;
    const auto t0 = std::chrono::steady_clock::now();
    try {
        for (const auto& nal : h264dec::splitAnnexB(data.data(), data.size())) decoder.decodeNal(nal.data, nal.size);
        decoder.flush();
    } catch (const StopDecoding&) {
    } catch (const h264dec::DecodeError& e) {
        std::fprintf(stderr, "zubvc-h264dec: %s: %s\n", in, e.what());
        status = 1;
    } catch (const std::bad_alloc&) {
        std::fprintf(stderr, "zubvc-h264dec: %s: out of memory\n", in);
        status = 1;
    }
    const double secs = std::chrono::duration<double>(std::chrono::steady_clock::now() - t0).count();
    if (fo && std::fclose(fo) != 0) {
        std::fprintf(stderr, "zubvc-h264dec: write error\n");
        status = 1;
    }
    if (summary)
        std::fprintf(stderr, "%ld frames in %.3f s, %.1f fps, output md5 %s\n", frames, secs,
                     secs > 0 ? frames / secs : 0.0, whole.hexDigest().c_str());
    return status;
}
