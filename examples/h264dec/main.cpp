// zubvc-h264dec: decodes an H.264 Annex B byte stream (progressive 4:2:0
// 8-bit, CAVLC, I and P slices) with libzubvcpx.
//
//   zubvc-h264dec IN.264 [-o OUT.yuv|OUT.y4m] [--md5] [--frames N] [--quiet]
//
// --md5 prints one line per output frame, in output order: the MD5 of the
// frame's cropped Y, U and V planes in that order, rows packed.
#include "common/cli.h"
#include "decoder.h"

namespace {

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
    h264dec::Decoder decoder([&](const h264dec::OutputPicture& pic) {
        if (!output.wantsMore()) throw zubex::StopDecoding{};
        const h264dec::Sps* sps = decoderPtr->activeSps();
        if (!output.write(zubex::frameOf(pic), "C420jpeg", sps ? sps->fpsNum : 25, sps ? sps->fpsDen : 1))
            throw h264dec::DecodeError("write error");
    });
    decoderPtr = &decoder;
    return zubex::runDecoder<h264dec::DecodeError>(kProgram, opt.in, output, [&] {
        for (const auto& nal : h264dec::splitAnnexB(data.data(), data.size())) decoder.decodeNal(nal.data, nal.size);
        decoder.flush();
    });
}
