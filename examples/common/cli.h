// Command line, input and output shared by the example decoders:
//
//   PROGRAM IN [-o OUT.yuv|OUT.y4m] [--md5] [--frames N] [--quiet]
//
// Output is in display order, cropped, planes Y, U, V with rows packed (.yuv)
// or in YUV4MPEG2 (.y4m).  --md5 prints one line per frame: the MD5 of its
// three planes in that order.  Without --md5 or --quiet a summary (frames,
// speed and the MD5 of the whole output) goes to stderr.
#ifndef ZUBVC_EXAMPLES_COMMON_CLI_H
#define ZUBVC_EXAMPLES_COMMON_CLI_H

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <new>
#include <string>
#include <vector>

#include "common/md5.h"

namespace zubex {

struct Options {
    const char* in = nullptr;
    const char* out = nullptr;
    bool md5 = false;
    bool quiet = false;
    long maxFrames = -1;  // -1: all
};

// Parses argv; on a bad command line prints the usage line of `program`
// (whose input is described by `inputName`) and returns false.
bool parseCommandLine(int argc, char** argv, const char* program, const char* inputName, Options& opt);

// Reads a whole file; on failure prints "PROGRAM: cannot open PATH".
bool readFile(const char* program, const char* path, std::vector<uint8_t>& data);

// One output picture: three planes, each with its own size and stride.
struct Frame {
    const uint8_t* plane[3];
    int stride[3];
    int width[3];
    int height[3];
};

// Writes frames to the output file, prints per-frame MD5s and the summary.
class FrameOutput {
public:
    FrameOutput(const char* program, const Options& opt);
    ~FrameOutput();
    // Creates the output file, if any; prints "PROGRAM: cannot create PATH".
    bool open();
    // False once --frames N pictures have been written.
    bool wantsMore() const { return opt_.maxFrames < 0 || frames_ < opt_.maxFrames; }
    // Writes one frame; `y4mChroma` is the YUV4MPEG2 colour-space tag and
    // fpsNum/fpsDen the rate of its header (both used by the first frame of a
    // .y4m output only).  False on a write error.
    bool write(const Frame& f, const char* y4mChroma, int fpsNum, int fpsDen);
    // Closes the output and prints the summary; false on a write error
    // (message printed).
    bool finish();
    long frames() const { return frames_; }

private:
    const char* program_;
    Options opt_;
    FILE* file_ = nullptr;
    bool y4m_ = false;
    bool headerWritten_ = false;
    long frames_ = 0;
    Md5 whole_;
    std::chrono::steady_clock::time_point start_;
};

// Thrown by a frame sink once --frames N pictures are out.
struct StopDecoding {};

// The planes of a decoder's output picture (fields plane, stride, width and
// height, three each).
template <class Picture>
Frame frameOf(const Picture& pic) {
    Frame f{};
    for (int p = 0; p < 3; ++p) {
        f.plane[p] = pic.plane[p];
        f.stride[p] = pic.stride[p];
        f.width[p] = pic.width[p];
        f.height[p] = pic.height[p];
    }
    return f;
}

// Runs decode(), reports the decoder's Error and memory exhaustion as
// "PROGRAM: IN: message", finishes the output and returns the exit status.
template <class Error, class Decode>
int runDecoder(const char* program, const char* in, FrameOutput& output, Decode decode) {
    int status = 0;
    try {
        decode();
    } catch (const StopDecoding&) {
    } catch (const Error& e) {
        std::fprintf(stderr, "%s: %s: %s\n", program, in, e.what());
        status = 1;
    } catch (const std::bad_alloc&) {
        std::fprintf(stderr, "%s: %s: out of memory\n", program, in);
        status = 1;
    }
    if (!output.finish()) status = 1;
    return status;
}

}  // namespace zubex

#endif
