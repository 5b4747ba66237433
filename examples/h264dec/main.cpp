// zubvc-h264dec: decodes an H.264 Annex B byte stream (progressive 4:2:0
// 8-bit, CAVLC, I and P slices) with libzubvcpx.
//
//   zubvc-h264dec IN.264 [-o OUT.yuv|OUT.y4m] [--md5] [--frames N] [--quiet]
//
// --md5 prints one line per output frame, in output order: the MD5 of the
// frame's cropped Y, U and V planes in that order, rows packed.
#include <cstdio>
#include <new>

#include "common/cli.h"
#include "decoder.h"

namespace {

struct StopDecoding {};
constexpr const char* kProgram = "zubvc-h264dec";

}  // namespace

int main(int argc, char** argv) {
    zubex::Options opt;
    if (!zubex::parseCommandLine(argc, argv, kProgram, "IN.264", opt)) return 2;
    std::vector<uint8_t> data;
    if (!zubex::readFile(kProgram, opt.in, data)) return 1;
    zubex::FrameOutput output(kProgram, opt);
    if (!output.open()) return 1;

    h264dec::Decoder* decoderPtr = nullptr;
    auto sink = [&](const h264dec::OutputPicture& pic) {
        if (!output.wantsMore()) throw StopDecoding{};
        const h264dec::Sps* sps = decoderPtr->activeSps();
        zubex::Frame f{};
        for (int p = 0; p < 3; ++p) {
            f.plane[p] = pic.plane[p];
            f.stride[p] = pic.stride[p];
            f.width[p] = pic.width[p];
            f.height[p] = pic.height[p];
        }
        if (!output.write(f, "C420jpeg", sps ? sps->fpsNum : 25, sps ? sps->fpsDen : 1))
            throw h264dec::DecodeError("write error");
    };

    h264dec::Decoder decoder(sink);
    decoderPtr = &decoder;
    int status = 0;
    try {
        for (const auto& nal : h264dec::splitAnnexB(data.data(), data.size())) decoder.decodeNal(nal.data, nal.size);
        decoder.flush();
    } catch (const StopDecoding&) {
    } catch (const h264dec::DecodeError& e) {
        std::fprintf(stderr, "%s: %s: %s\n", kProgram, opt.in, e.what());
        status = 1;
    } catch (const std::bad_alloc&) {
        std::fprintf(stderr, "%s: %s: out of memory\n", kProgram, opt.in);
        status = 1;
    }
    if (!output.finish()) status = 1;
    return status;
}
