// Command line, file input and frame output of the example decoders.
#include "common/cli.h"

#include <cstdlib>
#include <cstring>

namespace zubex {

bool parseCommandLine(int argc, char** argv, const char* program, const char* inputName, Options& opt) {
    bool ok = true;
    for (int i = 1; i < argc && ok; ++i) {
        if (!std::strcmp(argv[i], "-o") && i + 1 < argc) opt.out = argv[++i];
        else if (!std::strcmp(argv[i], "--md5")) opt.md5 = true;
        else if (!std::strcmp(argv[i], "--quiet")) opt.quiet = true;
        else if (!std::strcmp(argv[i], "--frames") && i + 1 < argc) opt.maxFrames = std::strtol(argv[++i], nullptr, 10);
        else if (argv[i][0] == '-' && argv[i][1]) ok = false;
        else if (!opt.in) opt.in = argv[i];
        else ok = false;
    }
    if (ok && opt.in) return true;
    std::fprintf(stderr, "usage: %s %s [-o OUT.yuv|OUT.y4m] [--md5] [--frames N] [--quiet]\n", program, inputName);
    return false;
}

bool readFile(const char* program, const char* path, std::vector<uint8_t>& data) {
    FILE* f = std::fopen(path, "rb");
    if (!f) {
        std::fprintf(stderr, "%s: cannot open %s\n", program, path);
        return false;
    }
    uint8_t buf[65536];
    size_t n;
    while ((n = std::fread(buf, 1, sizeof buf, f)) > 0) data.insert(data.end(), buf, buf + n);
    std::fclose(f);
    return true;
}

FrameOutput::FrameOutput(const char* program, const Options& opt)
    : program_(program), opt_(opt), start_(std::chrono::steady_clock::now()) {}

FrameOutput::~FrameOutput() {
    if (file_) std::fclose(file_);
}

bool FrameOutput::open() {
    if (!opt_.out) return true;
    file_ = std::fopen(opt_.out, "wb");
    if (!file_) {
        std::fprintf(stderr, "%s: cannot create %s\n", program_, opt_.out);
        return false;
    }
    const size_t len = std::strlen(opt_.out);
    y4m_ = len >= 4 && !std::strcmp(opt_.out + len - 4, ".y4m");
    start_ = std::chrono::steady_clock::now();
    return true;
}

bool FrameOutput::write(const Frame& f, const char* y4mChroma, int fpsNum, int fpsDen) {
    const bool summary = !opt_.quiet && !opt_.md5;
    Md5 frameMd5;
    if (file_ && y4m_ && !headerWritten_) {
        std::fprintf(file_, "YUV4MPEG2 W%d H%d F%d:%d Ip A0:0 %s\n", f.width[0], f.height[0], fpsNum, fpsDen,
                     y4mChroma);
        headerWritten_ = true;
    }
    if (file_ && y4m_) std::fputs("FRAME\n", file_);
    for (int p = 0; p < 3; ++p)
        for (int y = 0; y < f.height[p]; ++y) {
            const uint8_t* row = f.plane[p] + static_cast<size_t>(y) * f.stride[p];
            const size_t n = static_cast<size_t>(f.width[p]);
            if (opt_.md5) frameMd5.update(row, n);
            if (summary) whole_.update(row, n);
            if (file_ && std::fwrite(row, 1, n, file_) != n) return false;
        }
    if (opt_.md5) std::printf("%s\n", frameMd5.hexDigest().c_str());
    ++frames_;
    return true;
}

bool FrameOutput::finish() {
    const double secs = std::chrono::duration<double>(std::chrono::steady_clock::now() - start_).count();
    bool ok = true;
    if (file_) {
        ok = std::fclose(file_) == 0;
        file_ = nullptr;
        if (!ok) std::fprintf(stderr, "%s: write error\n", program_);
    }
    if (!opt_.quiet && !opt_.md5)
        std::fprintf(stderr, "%ld frames in %.3f s, %.1f fps, output md5 %s\n", frames_, secs,
                     secs > 0 ? frames_ / secs : 0.0, whole_.hexDigest().c_str());
    return ok;
}

}  // namespace zubex
