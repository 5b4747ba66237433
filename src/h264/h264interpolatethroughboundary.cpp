// Reads of a motion-compensation footprint through the frame boundary.
//
// The footprint (readX, readY, readWidth, readHeight) of the plane at src is
// copied to dst; samples outside the frame take the value of the nearest frame
// sample (edge replication, the reference sample clamping of H.264 clause
// 8.4.2.2, equations 8-228/8-229).  One reader per edge combination, chosen
// once per block through read_data_through_boundary_table_*; rows move with
// whole-row copies and fills.
//
// Codes naming both the left and the right edge (or both top and bottom)
// replicate on one side only, the one given by the sign of readX (readY); the
// far side is read from memory beyond the frame's last column (row), as the
// callers of this interface expect.
#include <cstring>

#include "../common/sample.h"
#include "zubvc.h"

namespace {

enum class HEdge { None, Left, Right };
enum class VEdge { None, Top, Bottom };

template <class T>
inline void fillRun(T* dst, T v, int n) {
    if constexpr (sizeof(T) == 1) {
        if (n > 0) std::memset(dst, v, static_cast<size_t>(n));
    } else {
        memset_16u(dst, v, n);
    }
}

// Builds one buffer row from the frame row `row` with the horizontal rule.
// readX has already been clamped by the caller.
template <class T, HEdge H>
inline void buildRow(T* dst, const T* row, int readX, int readWidth, int frameWidth) {
    if constexpr (H == HEdge::Left) {
        const int out = -readX;
        fillRun(dst, row[0], out);
        zub::copySamples(dst + out, row, readWidth - out);
    } else if constexpr (H == HEdge::Right) {
        const int inside = frameWidth - readX;
        zub::copySamples(dst, row + readX, inside);
        fillRun(dst + inside, row[frameWidth - 1], readWidth - inside);
    } else {
        (void)frameWidth;
        zub::copySamples(dst, row + readX, readWidth);
    }
}

template <class T, HEdge H, VEdge V>
void readThroughBoundary(InterpolationKernelRecord* r) {
    const T* plane = static_cast<const T*>(r->src);
    T* dst = static_cast<T*>(r->dst);
    const ptrdiff_t ss = r->srcStep, ds = r->dstStep;
    const int w = r->readWidth, h = r->readHeight, fw = r->frameWidth, fh = r->frameHeight;
    int x = r->readX, y = r->readY;

    // Clamp a footprint that lies wholly outside so that its last (first)
    // column or row touches the frame.
    if constexpr (H == HEdge::Left) {
        if (w <= -x) x = 1 - w;
    } else if constexpr (H == HEdge::Right) {
        if (x >= fw) x = fw - 1;
    }
    if constexpr (V == VEdge::Top) {
        if (h <= -y) y = 1 - h;
    } else if constexpr (V == VEdge::Bottom) {
        if (y >= fh) y = fh - 1;
    }
    r->readX = x;
    r->readY = y;

    if constexpr (V == VEdge::Top) {
        // Row 0 of the frame, then -y copies of it, then frame rows 1, 2, ...
        const int above = -y;
        buildRow<T, H>(dst, plane, x, w, fw);
        for (int b = 1; b <= above; ++b) zub::copySamples(dst + b * ds, dst, w);
        for (int b = above + 1, fr = 1; b < h; ++b, ++fr) buildRow<T, H>(dst + b * ds, plane + fr * ss, x, w, fw);
    } else if constexpr (V == VEdge::Bottom) {
        // Frame rows y .. fh - 1, then copies of the last row written.
        const int inside = fh - y;
        for (int b = 0; b < inside; ++b) buildRow<T, H>(dst + b * ds, plane + (y + b) * ss, x, w, fw);
        const T* last = dst + (inside - 1) * ds;
        for (int b = inside; b < h; ++b) zub::copySamples(dst + b * ds, last, w);
    } else {
        for (int b = 0; b < h; ++b) buildRow<T, H>(dst + b * ds, plane + (y + b) * ss, x, w, fw);
    }
}

// Two-sided codes: one side, chosen by sign.
template <class T, VEdge V>
void readLeftOrRight(InterpolationKernelRecord* r) {
    if (r->readX < 0)
        readThroughBoundary<T, HEdge::Left, V>(r);
    else
        readThroughBoundary<T, HEdge::Right, V>(r);
}
template <class T, HEdge H>
void readTopOrBottom(InterpolationKernelRecord* r) {
    if (r->readY < 0)
        readThroughBoundary<T, H, VEdge::Top>(r);
    else
        readThroughBoundary<T, H, VEdge::Bottom>(r);
}
template <class T>
void readAnyCorner(InterpolationKernelRecord* r) {
    if (r->readY < 0)
        readLeftOrRight<T, VEdge::Top>(r);
    else
        readLeftOrRight<T, VEdge::Bottom>(r);
}

template <class T>
inline ZubStatus readBlock(const H264BoundaryReader* table, int edgeFlags, InterpolationKernelRecord* r) {
    table[edgeFlags](r);
    return ZubStatusOk;
}

}  // namespace

void memset_16u(Zub16u* pDst, Zub16u value, int count) {
    for (int i = 0; i < count; ++i) pDst[i] = value;
}

#define ZUB_DEFINE_READERS(T, S)                                                                           \
    void read_data_through_boundary_none_##S(InterpolationKernelRecord*) {}                               \
    void read_data_through_boundary_left_##S##_px(InterpolationKernelRecord* r) {                         \
        readThroughBoundary<T, HEdge::Left, VEdge::None>(r);                                               \
    }                                                                                                      \
    void read_data_through_boundary_right_##S##_px(InterpolationKernelRecord* r) {                        \
        readThroughBoundary<T, HEdge::Right, VEdge::None>(r);                                              \
    }                                                                                                      \
    void read_data_through_boundary_left_right_##S##_px(InterpolationKernelRecord* r) {                   \
        readLeftOrRight<T, VEdge::None>(r);                                                                \
    }                                                                                                      \
    void read_data_through_boundary_top_##S##_px(InterpolationKernelRecord* r) {                          \
        readThroughBoundary<T, HEdge::None, VEdge::Top>(r);                                                \
    }                                                                                                      \
    void read_data_through_boundary_top_left_##S##_px(InterpolationKernelRecord* r) {                     \
        readThroughBoundary<T, HEdge::Left, VEdge::Top>(r);                                                \
    }                                                                                                      \
    void read_data_through_boundary_top_right_##S##_px(InterpolationKernelRecord* r) {                    \
        readThroughBoundary<T, HEdge::Right, VEdge::Top>(r);                                               \
    }                                                                                                      \
    void read_data_through_boundary_top_left_right_##S##_px(InterpolationKernelRecord* r) {               \
        readLeftOrRight<T, VEdge::Top>(r);                                                                 \
    }                                                                                                      \
    void read_data_through_boundary_bottom_##S##_px(InterpolationKernelRecord* r) {                       \
        readThroughBoundary<T, HEdge::None, VEdge::Bottom>(r);                                             \
    }                                                                                                      \
    void read_data_through_boundary_bottom_left_##S##_px(InterpolationKernelRecord* r) {                  \
        readThroughBoundary<T, HEdge::Left, VEdge::Bottom>(r);                                             \
    }                                                                                                      \
    void read_data_through_boundary_bottom_right_##S##_px(InterpolationKernelRecord* r) {                 \
        readThroughBoundary<T, HEdge::Right, VEdge::Bottom>(r);                                            \
    }                                                                                                      \
    void read_data_through_boundary_bottom_left_right_##S##_px(InterpolationKernelRecord* r) {            \
        readLeftOrRight<T, VEdge::Bottom>(r);                                                              \
    }                                                                                                      \
    void read_data_through_boundary_top_bottom_##S##_px(InterpolationKernelRecord* r) {                   \
        readTopOrBottom<T, HEdge::None>(r);                                                                \
    }                                                                                                      \
    void read_data_through_boundary_top_bottom_left_##S##_px(InterpolationKernelRecord* r) {              \
        readTopOrBottom<T, HEdge::Left>(r);                                                                \
    }                                                                                                      \
    void read_data_through_boundary_top_bottom_right_##S##_px(InterpolationKernelRecord* r) {             \
        readTopOrBottom<T, HEdge::Right>(r);                                                               \
    }                                                                                                      \
    void read_data_through_boundary_top_bottom_left_right_##S##_px(InterpolationKernelRecord* r) {        \
        readAnyCorner<T>(r);                                                                               \
    }                                                                                                      \
    const H264BoundaryReader read_data_through_boundary_table_##S##_pxmx[16] = {                          \
        read_data_through_boundary_none_##S,                   read_data_through_boundary_left_##S##_px,   \
        read_data_through_boundary_right_##S##_px,             read_data_through_boundary_left_right_##S##_px, \
        read_data_through_boundary_top_##S##_px,               read_data_through_boundary_top_left_##S##_px, \
        read_data_through_boundary_top_right_##S##_px,         read_data_through_boundary_top_left_right_##S##_px, \
        read_data_through_boundary_bottom_##S##_px,            read_data_through_boundary_bottom_left_##S##_px, \
        read_data_through_boundary_bottom_right_##S##_px,      read_data_through_boundary_bottom_left_right_##S##_px, \
        read_data_through_boundary_top_bottom_##S##_px,        read_data_through_boundary_top_bottom_left_##S##_px, \
        read_data_through_boundary_top_bottom_right_##S##_px,  read_data_through_boundary_top_bottom_left_right_##S##_px}; \
    ZubStatus zubiReadDataBlockThroughBoundary_##S(int edgeFlags, InterpolationKernelRecord* pRec) {      \
        return readBlock<T>(read_data_through_boundary_table_##S##_pxmx, edgeFlags, pRec);                \
    }

ZUB_DEFINE_READERS(Zub8u, 8u)
ZUB_DEFINE_READERS(Zub16u, 16u)
