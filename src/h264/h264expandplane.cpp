// Border expansion of an H.264 reference plane: the edge samples are repeated
// into a border of E samples so that motion vectors may point up to E samples
// outside the picture (the sample clamping of clause 8.4.2.2 made explicit in
// memory).  A field is expanded on its own rows only.
#include <cstddef>
#include <cstring>

#include "zubvc.h"

namespace {

// The rows of one frame or field: row i lies at base + i * pitch, with
// `rows` rows inside the picture, `below` border rows under them and `above`
// over them.
struct RowSet {
    Zub8u* base;
    ptrdiff_t pitch;
    int rows, below, above;
    Zub8u* row(int i) const { return base + static_cast<ptrdiff_t>(i) * pitch; }
};

void expand(const RowSet& f, int width, int e) {
    const Zub8u* last = f.row(f.rows - 1);
    for (int i = 0; i < f.below; ++i) std::memcpy(f.row(f.rows + i), last, static_cast<size_t>(width));
    for (int i = 0; i < f.rows + f.below; ++i) {
        Zub8u* r = f.row(i);
        std::memset(r - e, r[0], static_cast<size_t>(e));
        std::memset(r + width, r[width - 1], static_cast<size_t>(e));
    }
    const Zub8u* first = f.row(0) - e;
    const size_t wide = static_cast<size_t>(width) + 2 * static_cast<size_t>(e);
    for (int i = 1; i <= f.above; ++i) std::memcpy(f.row(-i) - e, first, wide);
}

}  // namespace

ZubStatus zubiExpandPlane_H264_8u_C1R(Zub8u* pPlane, int frameWidth, int frameHeight, int step, int expandPels,
                                      int frameType) {
    if (!pPlane) return ZubStatusNullPointer;
    const int w = frameWidth, h = frameHeight;
    if ((h & 1) || h < 2 || w < 1 || expandPels < 0) return ZubStatusBadSize;
    if (expandPels == 0) return ZubStatusOk;
    const int e = expandPels;
    const ptrdiff_t pitch = step;
    switch (frameType) {
        case ZubPlaneFrame:
            expand({pPlane, pitch, h, e, e}, w, e);
            return ZubStatusOk;
        case ZubPlaneTopField:  // rows 0, 2, ..., H - 2
            expand({pPlane, 2 * pitch, h / 2, (e + 1) >> 1, e >> 1}, w, e);
            return ZubStatusOk;
        case ZubPlaneBottomField:  // rows 1, 3, ..., H - 1
            expand({pPlane + pitch, 2 * pitch, h / 2, e >> 1, (e + 1) >> 1}, w, e);
            return ZubStatusOk;
        default:
            return ZubStatusBadArgument;
    }
}
