// zubvc-mpeg2dec: decodes an MPEG-1 or MPEG-2 video elementary stream with
// libzubvcpx.
//
//   zubvc-mpeg2dec IN.m2v [-o OUT.yuv|OUT.y4m] [--md5] [--frames N] [--quiet]
//
// Pictures go out in display order, cropped to the display size, planes Y, U,
// V; --md5 prints one MD5 per frame over those planes, rows packed.
#include "common/cli.h"
#include "mpeg2dec.h"

namespace {

constexpr const char* kProgram = "zubvc-mpeg2dec";

}  // namespace

int main(int argc, char** argv) {
    zubex::Options opt;
    if (!zubex::parseCommandLine(argc, argv, kProgram, "IN.m2v", opt)) return 2;
    std::vector<uint8_t> data;
    if (!zubex::readFile(kProgram, opt.in, data)) return 1;
    zubex::FrameOutput output(kProgram, opt);
    if (!output.open()) return 1;

    mpeg2dec::Decoder decoder([&](const mpeg2dec::OutputPicture& pic) {
        if (!output.wantsMore()) throw zubex::StopDecoding{};
        if (!output.write(zubex::frameOf(pic), pic.chromaFormat == 2 ? "C422" : "C420mpeg2", pic.fpsNum, pic.fpsDen))
            throw mpeg2dec::DecodeError("write error");
    });
    return zubex::runDecoder<mpeg2dec::DecodeError>(kProgram, opt.in, output,
                                                    [&] { decoder.decode(data.data(), data.size()); });
}
