// H.264 luma and chroma interpolation: the public functions.  They check their
// arguments, fill an InterpolationKernelRecord and call the kernel of the
// fractional position through the exported tables; the Top/Bottom, Block and
// Boundary members first build an edge-replicated copy of the footprint in a
// local buffer when it runs over the picture's edge.
#include <cstddef>
#include <cstring>

#include "../common/sample.h"
#include "h264interpolate.h"
#include "zubvc.h"

namespace {

using zub::h264::kLumaMarginBefore;
using zub::h264::kLumaMarginExtra;
using zub::h264::kMaxBlockWidth;
using zub::h264::kStripHeight;

// Local footprint buffer: a strip of 16 block rows plus the six-tap margin,
// rows of up to 28 + 5 samples rounded up to 16.
constexpr int kBufStep = 48;
constexpr int kBufRows = kStripHeight + kLumaMarginExtra;

template <class T> struct Family;
template <> struct Family<Zub8u> {
    static const H264InterpolationKernel* luma() { return h264_interpolate_luma_type_table_8u_pxmx; }
    static const H264InterpolationKernel* chroma() { return h264_interpolate_chroma_type_table_8u_pxmx; }
    static void read(int flags, InterpolationKernelRecord* r) { zubiReadDataBlockThroughBoundary_8u(flags, r); }
};
template <> struct Family<Zub16u> {
    static const H264InterpolationKernel* luma() { return h264_interpolate_luma_type_table_16u_pxmx; }
    static const H264InterpolationKernel* chroma() { return h264_interpolate_chroma_type_table_16u_pxmx; }
    static void read(int flags, InterpolationKernelRecord* r) { zubiReadDataBlockThroughBoundary_16u(flags, r); }
};

inline int lumaIndex(int dx, int dy) { return dy * 4 + dx; }
inline int chromaIndex(int dx, int dy) { return (dy != 0) * 2 + (dx != 0); }

InterpolationKernelRecord makeRecord(const void* src, int srcStep, void* dst, int dstStep, int width, int height) {
    InterpolationKernelRecord r{};
    r.src = src;
    r.srcStep = srcStep;
    r.dst = dst;
    r.dstStep = dstStep;
    r.width = width;
    r.height = height;
    return r;
}

// ---- Top / Bottom ----------------------------------------------------------
//
// The footprint of the block is a sequence of source rows in which the
// picture's first or last row repeats; rowAt(b) gives the source row of
// footprint row b at the block's first column.  The rows are copied into the
// local buffer a strip of at most 16 block rows at a time and the kernel runs
// on the buffer.
struct Footprint {
    int extraCols;   // footprint columns beyond the block's, from mX columns left of it
    int extraRows;   // footprint rows beyond the block's rows
    int mX, mY;      // leading margin: columns, rows
};

inline Footprint lumaFootprint(int dx, int dy) {
    return {dx ? kLumaMarginExtra : 0, dy ? kLumaMarginExtra : 0, dx ? kLumaMarginBefore : 0,
            dy ? kLumaMarginBefore : 0};
}
// Four extra columns are copied for a horizontal fraction although the
// bilinear filter needs one.
inline Footprint chromaFootprint(int dx, int dy) { return {dx ? 4 : 0, dy ? 1 : 0, 0, 0}; }

// Footprint row b repeats row F while b < repeat, then advances from F.
struct RepeatThenAdvance {
    std::ptrdiff_t first;  // offset of F from src, in samples
    int repeat;
    std::ptrdiff_t step;
    std::ptrdiff_t operator()(int b) const { return first + (b < repeat ? 0 : b - repeat) * step; }
};
// Footprint row b advances from F up to row F + last, which then repeats.
struct AdvanceThenRepeat {
    std::ptrdiff_t first;
    int last;
    std::ptrdiff_t step;
    std::ptrdiff_t operator()(int b) const { return first + (b < last ? b : last) * step; }
};

inline int clampInt(int v, int lo, int hi) { return v < lo ? lo : (v > hi ? hi : v); }

template <class T, class RowAt>
void interpolateFromRows(const T* src, const RowAt& rowAt, const Footprint& fp, InterpolationKernelRecord rec,
                         H264InterpolationKernel kernel) {
    alignas(64) T buf[kBufRows * kBufStep];
    T* const dst = static_cast<T*>(rec.dst);
    const std::ptrdiff_t ds = rec.dstStep;
    const int height = rec.height;
    const int readWidth = rec.width + fp.extraCols;
    for (int y0 = 0; y0 < height; y0 += kStripHeight) {
        const int n = height - y0 < kStripHeight ? height - y0 : kStripHeight;
        for (int b = 0; b < n + fp.extraRows; ++b)
            zub::copySamples(buf + b * kBufStep, src + rowAt(y0 + b) - fp.mX, readWidth);
        rec.src = buf + fp.mY * kBufStep + fp.mX;
        rec.srcStep = kBufStep;
        rec.dst = dst + y0 * ds;
        rec.height = n;
        kernel(&rec);
    }
}

// Luma Top: outPixels block rows lie above the picture's first row.
template <class T>
void lumaTop(const T* src, std::ptrdiff_t ss, int dx, int dy, int outPixels, const InterpolationKernelRecord& rec,
             H264InterpolationKernel kernel) {
    Footprint fp = lumaFootprint(dx, dy);
    const int readHeight = rec.height + fp.extraRows;
    const int firstRow = outPixels >= 0 ? outPixels : -(-outPixels < fp.mY ? -outPixels : fp.mY);
    const int repeat = clampInt(readHeight < outPixels + fp.mY ? readHeight : outPixels + fp.mY, 0, readHeight);
    interpolateFromRows(src, RepeatThenAdvance{firstRow * ss, repeat, ss}, fp, rec, kernel);
}

// Luma Bottom: outPixels block rows lie below the picture's last row.
template <class T>
void lumaBottom(const T* src, std::ptrdiff_t ss, int dx, int dy, int outPixels,
                const InterpolationKernelRecord& rec, H264InterpolationKernel kernel) {
    Footprint fp = lumaFootprint(dx, dy);
    const int height = rec.height;
    const int readHeight = height + fp.extraRows;
    const int back = outPixels >= height ? (outPixels - height + 1 > fp.mY ? outPixels - height + 1 : fp.mY) : fp.mY;
    const int n = readHeight - ((dy ? 3 : 0) + outPixels);
    interpolateFromRows(src, AdvanceThenRepeat{-back * ss, n >= 2 ? n - 1 : 0, ss}, fp, rec, kernel);
}

template <class T>
void chromaTop(const T* src, std::ptrdiff_t ss, int dx, int dy, int outPixels, const InterpolationKernelRecord& rec,
               H264InterpolationKernel kernel) {
    Footprint fp = chromaFootprint(dx, dy);
    const int readHeight = rec.height + fp.extraRows;
    const int repeat = clampInt(readHeight < outPixels ? readHeight : outPixels, 0, readHeight);
    interpolateFromRows(src, RepeatThenAdvance{outPixels * ss, repeat, ss}, fp, rec, kernel);
}

template <class T>
void chromaBottom(const T* src, std::ptrdiff_t ss, int dx, int dy, int outPixels,
                  const InterpolationKernelRecord& rec, H264InterpolationKernel kernel) {
    Footprint fp = chromaFootprint(dx, dy);
    const int height = rec.height;
    const int back = outPixels >= height ? outPixels - height + 1 : 0;
    const int advance = height - outPixels >= 2 ? height - outPixels - 1 : 0;
    interpolateFromRows(src, AdvanceThenRepeat{-back * ss, advance, ss}, fp, rec, kernel);
}

// ---- Boundary ----------------------------------------------------------------

inline int edgeFlagsOf(const InterpolationKernelRecord& r) {
    return (r.readX < 0 ? 1 : 0) | (r.frameWidth < r.readX + r.readWidth ? 2 : 0) | (r.readY < 0 ? 4 : 0) |
           (r.frameHeight < r.readY + r.readHeight ? 8 : 0);
}

// One plane: r->src is the plane origin, r->dst the block's destination.
template <class T, bool Luma>
void boundaryPlane(int edgeFlags, InterpolationKernelRecord* r) {
    const int ki = r->kernelIndex;
    const H264InterpolationKernel kernel = Luma ? Family<T>::luma()[ki] : Family<T>::chroma()[ki];
    const int mX = Luma && (ki & 3) ? kLumaMarginBefore : 0;
    const int mY = Luma && (ki & 12) ? kLumaMarginBefore : 0;
    alignas(64) T buf[kBufRows * kBufStep];

    auto readAndRun = [&](int flags, InterpolationKernelRecord* s) {
        void* const dst = s->dst;
        const int dstStep = s->dstStep;
        const int step = (s->readWidth + 15) & ~15;
        s->dst = buf;
        s->dstStep = step;
        Family<T>::read(flags, s);
        s->src = buf + mY * step + mX;
        s->srcStep = step;
        s->dst = dst;
        s->dstStep = dstStep;
        kernel(s);
    };

    if (r->height <= kStripHeight) {
        readAndRun(edgeFlags, r);
        return;
    }
    // Blocks taller than a macroblock: strips of 16 rows, each read through
    // the boundary only where it crosses the frame edge.  A footprint that
    // crosses both the top and the bottom edge replicates the top side only
    // (its readY is negative) and reads the rows below the frame from memory,
    // so no strip of it replicates the bottom row.
    const InterpolationKernelRecord whole = *r;
    const T* const plane = static_cast<const T*>(whole.src);
    const int keep = (edgeFlags & 12) == 12 && whole.readY < 0 ? ~8 : ~0;
    for (int y0 = 0; y0 < whole.height; y0 += kStripHeight) {
        InterpolationKernelRecord s = whole;
        s.height = whole.height - y0 < kStripHeight ? whole.height - y0 : kStripHeight;
        s.readY = whole.readY + y0;
        s.readHeight = s.height + (whole.readHeight - whole.height);
        s.dst = static_cast<T*>(whole.dst) + y0 * static_cast<std::ptrdiff_t>(whole.dstStep);
        const int flags = edgeFlagsOf(s) & keep;
        if (flags == 0) {
            s.src = plane + static_cast<std::ptrdiff_t>(s.readY + mY) * s.srcStep + s.readX + mX;
            kernel(&s);
        } else {
            readAndRun(flags, &s);
        }
    }
}

// Records outside these limits never come from the Block functions (block
// width 1..28, a footprint of at most the six-tap margin more than the block,
// a kernel index and an edge code of the tables); they are left alone rather
// than overrun the local buffer or the tables.
template <bool Luma>
inline bool boundaryRecordOk(int edgeFlags, const InterpolationKernelRecord* r) {
    return r->width > 0 && r->height > 0 && r->width <= kMaxBlockWidth && r->readWidth >= r->width &&
           r->readWidth <= r->width + kLumaMarginExtra && r->readHeight >= r->height &&
           r->readHeight - kLumaMarginExtra <= r->height && r->kernelIndex >= 0 &&
           r->kernelIndex < (Luma ? 16 : 4) && (edgeFlags & ~15) == 0;
}

template <class T>
void boundaryChroma(int edgeFlags, InterpolationKernelRecord* r) {
    // The first plane's pass rewrites src, srcStep and the reader may move
    // readX/readY: the second plane starts from the caller's record.
    InterpolationKernelRecord second = *r;
    second.src = r->srcPlane2;
    second.dst = r->dstPlane2;
    boundaryPlane<T, false>(edgeFlags, r);
    boundaryPlane<T, false>(edgeFlags, &second);
}

// ---- Block -------------------------------------------------------------------

template <class T>
inline const T* at(const void* plane, std::ptrdiff_t step, int x, int y) {
    return static_cast<const T*>(plane) + y * step + x;
}

template <class T>
ZubStatus lumaBlockFn(const H264BlockInterpolationParams* p, int bitDepth) {
    const int w = p->blockSize.width, h = p->blockSize.height;
    if ((h & 3) != 0 || (w & ~28) != 0) return ZubStatusBadSize;
    const std::ptrdiff_t ss = p->srcStep;
    InterpolationKernelRecord rec = makeRecord(nullptr, p->srcStep, p->dstPlane[0], p->dstStep, w, h);
    rec.bitDepth = bitDepth;
    const int mvx = p->motionVector.x, mvy = p->motionVector.y;
    const int px = p->blockPos.x, py = p->blockPos.y;
    const H264InterpolationKernel* table = Family<T>::luma();
    if ((mvx | mvy) == 0) {
        rec.src = at<T>(p->srcPlane[0], ss, px, py);
        table[0](&rec);
        return ZubStatusOk;
    }
    const int fx = mvx & 3, fy = mvy & 3;
    const int ix = px + (mvx >> 2), iy = py + (mvy >> 2);  // arithmetic shift: floor
    rec.kernelIndex = lumaIndex(fx, fy);
    rec.readX = ix - (fx ? kLumaMarginBefore : 0);
    rec.readY = iy - (fy ? kLumaMarginBefore : 0);
    rec.readWidth = w + (fx ? kLumaMarginExtra : 0);
    rec.readHeight = h + (fy ? kLumaMarginExtra : 0);
    rec.frameWidth = p->frameSize.width;
    rec.frameHeight = p->frameSize.height;
    const int flags = edgeFlagsOf(rec);
    if (flags == 0) {
        rec.src = at<T>(p->srcPlane[0], ss, ix, iy);
        table[rec.kernelIndex](&rec);
        return ZubStatusOk;
    }
    rec.src = p->srcPlane[0];
    if constexpr (sizeof(T) == 1)
        return zubiInterpolateBoundaryLumaBlock_H264_8u(flags, &rec);
    else
        return zubiInterpolateBoundaryLumaBlock_H264_16u(flags, &rec);
}

template <class T>
ZubStatus chromaBlockFn(const H264BlockInterpolationParams* p) {
    if (!p->srcPlane[1] || !p->dstPlane[1]) return ZubStatusNullPointer;
    const int w = p->blockSize.width, h = p->blockSize.height;
    if ((h & 1) != 0 || (w & ~14) != 0) return ZubStatusBadSize;
    const std::ptrdiff_t ss = p->srcStep;
    InterpolationKernelRecord rec = makeRecord(nullptr, p->srcStep, p->dstPlane[0], p->dstStep, w, h);
    const int mvx = p->motionVector.x, mvy = p->motionVector.y;
    const int px = p->blockPos.x, py = p->blockPos.y;
    const H264InterpolationKernel* table = Family<T>::chroma();
    if ((mvx | mvy) == 0) {
        rec.src = at<T>(p->srcPlane[0], ss, px, py);
        table[0](&rec);
        rec.src = at<T>(p->srcPlane[1], ss, px, py);
        rec.dst = p->dstPlane[1];
        table[0](&rec);
        return ZubStatusOk;
    }
    const int fx = mvx & 7, fy = mvy & 7;
    const int ix = px + (mvx >> 3), iy = py + (mvy >> 3);
    rec.fracX = fx;
    rec.fracY = fy;
    rec.kernelIndex = chromaIndex(fx, fy);
    rec.readX = ix;
    rec.readY = iy;
    rec.readWidth = w + (fx ? 1 : 0);
    rec.readHeight = h + (fy ? 1 : 0);
    rec.frameWidth = p->frameSize.width;
    rec.frameHeight = p->frameSize.height;
    const int flags = edgeFlagsOf(rec);
    const H264InterpolationKernel kernel = table[rec.kernelIndex];
    if (flags == 0) {
        rec.src = at<T>(p->srcPlane[0], ss, ix, iy);
        kernel(&rec);
        rec.src = at<T>(p->srcPlane[1], ss, ix, iy);
        rec.dst = p->dstPlane[1];
        kernel(&rec);
        return ZubStatusOk;
    }
    rec.src = p->srcPlane[0];
    rec.srcPlane2 = p->srcPlane[1];
    rec.dstPlane2 = p->dstPlane[1];
    if constexpr (sizeof(T) == 1)
        return zubiInterpolateBoundaryChromaBlock_H264_8u(flags, &rec);
    else
        return zubiInterpolateBoundaryChromaBlock_H264_16u(flags, &rec);
}

// ---- checks shared by C1R and Top/Bottom -----------------------------------

ZubStatus checkLuma8u(const Zub8u* src, const Zub8u* dst, int dx, int dy, ZubSize roi) {
    if (!src || !dst) return ZubStatusNullPointer;
    if (static_cast<unsigned>(dx | dy) > 3u) return ZubStatusBadArgument;
    if ((roi.height & 3) != 0 || (roi.width & ~28) != 0) return ZubStatusBadSize;
    return ZubStatusOk;
}
ZubStatus checkChroma8u(const Zub8u* src, const Zub8u* dst, int dx, int dy, ZubSize roi) {
    if (!src || !dst) return ZubStatusNullPointer;
    if (static_cast<unsigned>(dx | dy) > 7u) return ZubStatusBadArgument;
    if ((roi.height & 1) != 0 || (roi.width & ~14) != 0) return ZubStatusBadSize;
    return ZubStatusOk;
}
inline bool in4816(int v) { return v == 4 || v == 8 || v == 16; }
ZubStatus checkLuma16u(const H264InterpolationParams_16u* p) {
    if (!p || !p->src || !p->dst) return ZubStatusNullPointer;
    if (p->srcStep < p->width || p->width > p->dstStep) return ZubStatusBadStep;
    if (p->dx < 0 || p->dx > 3 || p->dy < 0 || p->dy > 3) return ZubStatusBadArgument;
    if (!in4816(p->height) || !in4816(p->width) || p->width + p->height == 20) return ZubStatusBadSize;
    return ZubStatusOk;
}
ZubStatus checkChroma16u(const H264InterpolationParams_16u* p) {
    if (!p || !p->src || !p->dst) return ZubStatusNullPointer;
    if (p->srcStep < 8 || p->dstStep < 8) return ZubStatusBadStep;
    if (p->dx < 0 || p->dx > 7 || p->dy < 0 || p->dy > 7) return ZubStatusBadArgument;
    const auto ok = [](int v) { return v == 2 || v == 4 || v == 8 || v == 16; };
    if (!ok(p->height) || !ok(p->width)) return ZubStatusBadSize;
    return ZubStatusOk;
}

InterpolationKernelRecord record16u(const H264InterpolationParams_16u* p) {
    InterpolationKernelRecord r = makeRecord(p->src, p->srcStep, p->dst, p->dstStep, p->width, p->height);
    r.fracX = p->dx;
    r.fracY = p->dy;
    r.bitDepth = p->bitDepth;
    return r;
}

}  // namespace

// ---- C1R ---------------------------------------------------------------------

ZubStatus zubiInterpolateLuma_H264_8u_C1R(const Zub8u* pSrc, int srcStep, Zub8u* pDst, int dstStep, int dx, int dy,
                                          ZubSize roiSize) {
    if (ZubStatus st = checkLuma8u(pSrc, pDst, dx, dy, roiSize)) return st;
    const InterpolationKernelRecord r = makeRecord(pSrc, srcStep, pDst, dstStep, roiSize.width, roiSize.height);
    h264_interpolate_luma_type_table_8u_pxmx[lumaIndex(dx, dy)](&r);
    return ZubStatusOk;
}

ZubStatus zubiInterpolateChroma_H264_8u_C1R(const Zub8u* pSrc, int srcStep, Zub8u* pDst, int dstStep, int dx,
                                            int dy, ZubSize roiSize) {
    if (ZubStatus st = checkChroma8u(pSrc, pDst, dx, dy, roiSize)) return st;
    InterpolationKernelRecord r = makeRecord(pSrc, srcStep, pDst, dstStep, roiSize.width, roiSize.height);
    r.fracX = dx;
    r.fracY = dy;
    h264_interpolate_chroma_type_table_8u_pxmx[chromaIndex(dx, dy)](&r);
    return ZubStatusOk;
}

ZubStatus zubiInterpolateLuma_H264_16u_C1R(const H264InterpolationParams_16u* p) {
    if (ZubStatus st = checkLuma16u(p)) return st;
    InterpolFnTbl_16u[p->dx * 4 + p->dy](p->src, p->dst, p->srcStep, p->dstStep, p->width, p->height, p->bitDepth);
    return ZubStatusOk;
}

ZubStatus zubiInterpolateChroma_H264_16u_C1R(const H264InterpolationParams_16u* p) {
    if (ZubStatus st = checkChroma16u(p)) return st;
    zub::h264::interpolateChromaAllWeights16u(p->src, p->srcStep, p->dst, p->dstStep, p->dx, p->dy, p->width,
                                              p->height);
    return ZubStatusOk;
}

// ---- Top / Bottom --------------------------------------------------------------
//
// The 16-bit chroma members interpolate the copy with the kernel of the
// fraction's kind rather than with the four-weight evaluation of the C1R
// function: the values are the same, and the copy holds no column right of
// (or row below) the footprint for a zero fraction to read.

ZubStatus zubiInterpolateLumaTop_H264_8u_C1R(const Zub8u* pSrc, int srcStep, Zub8u* pDst, int dstStep, int dx,
                                             int dy, int outPixels, ZubSize roiSize) {
    if (ZubStatus st = checkLuma8u(pSrc, pDst, dx, dy, roiSize)) return st;
    lumaTop(pSrc, srcStep, dx, dy, outPixels, makeRecord(pSrc, srcStep, pDst, dstStep, roiSize.width, roiSize.height),
            h264_interpolate_luma_type_table_8u_pxmx[lumaIndex(dx, dy)]);
    return ZubStatusOk;
}

ZubStatus zubiInterpolateLumaBottom_H264_8u_C1R(const Zub8u* pSrc, int srcStep, Zub8u* pDst, int dstStep, int dx,
                                                int dy, int outPixels, ZubSize roiSize) {
    if (ZubStatus st = checkLuma8u(pSrc, pDst, dx, dy, roiSize)) return st;
    lumaBottom(pSrc, srcStep, dx, dy, outPixels,
               makeRecord(pSrc, srcStep, pDst, dstStep, roiSize.width, roiSize.height),
               h264_interpolate_luma_type_table_8u_pxmx[lumaIndex(dx, dy)]);
    return ZubStatusOk;
}

ZubStatus zubiInterpolateChromaTop_H264_8u_C1R(const Zub8u* pSrc, int srcStep, Zub8u* pDst, int dstStep, int dx,
                                               int dy, int outPixels, ZubSize roiSize) {
    if (ZubStatus st = checkChroma8u(pSrc, pDst, dx, dy, roiSize)) return st;
    InterpolationKernelRecord r = makeRecord(pSrc, srcStep, pDst, dstStep, roiSize.width, roiSize.height);
    r.fracX = dx;
    r.fracY = dy;
    chromaTop(pSrc, srcStep, dx, dy, outPixels, r, h264_interpolate_chroma_type_table_8u_pxmx[chromaIndex(dx, dy)]);
    return ZubStatusOk;
}

ZubStatus zubiInterpolateChromaBottom_H264_8u_C1R(const Zub8u* pSrc, int srcStep, Zub8u* pDst, int dstStep, int dx,
                                                  int dy, int outPixels, ZubSize roiSize) {
    if (ZubStatus st = checkChroma8u(pSrc, pDst, dx, dy, roiSize)) return st;
    InterpolationKernelRecord r = makeRecord(pSrc, srcStep, pDst, dstStep, roiSize.width, roiSize.height);
    r.fracX = dx;
    r.fracY = dy;
    chromaBottom(pSrc, srcStep, dx, dy, outPixels, r,
                 h264_interpolate_chroma_type_table_8u_pxmx[chromaIndex(dx, dy)]);
    return ZubStatusOk;
}

ZubStatus zubiInterpolateLumaTop_H264_16u_C1R(const H264InterpolationParams_16u* p, int outPixels) {
    if (ZubStatus st = checkLuma16u(p)) return st;
    lumaTop(p->src, p->srcStep, p->dx, p->dy, outPixels, record16u(p),
            h264_interpolate_luma_type_table_16u_pxmx[lumaIndex(p->dx, p->dy)]);
    return ZubStatusOk;
}

ZubStatus zubiInterpolateLumaBottom_H264_16u_C1R(const H264InterpolationParams_16u* p, int outPixels) {
    if (ZubStatus st = checkLuma16u(p)) return st;
    lumaBottom(p->src, p->srcStep, p->dx, p->dy, outPixels, record16u(p),
               h264_interpolate_luma_type_table_16u_pxmx[lumaIndex(p->dx, p->dy)]);
    return ZubStatusOk;
}

ZubStatus zubiInterpolateChromaTop_H264_16u_C1R(const H264InterpolationParams_16u* p, int outPixels) {
    if (ZubStatus st = checkChroma16u(p)) return st;
    chromaTop(p->src, p->srcStep, p->dx, p->dy, outPixels, record16u(p),
              h264_interpolate_chroma_type_table_16u_pxmx[chromaIndex(p->dx, p->dy)]);
    return ZubStatusOk;
}

ZubStatus zubiInterpolateChromaBottom_H264_16u_C1R(const H264InterpolationParams_16u* p, int outPixels) {
    if (ZubStatus st = checkChroma16u(p)) return st;
    chromaBottom(p->src, p->srcStep, p->dx, p->dy, outPixels, record16u(p),
                 h264_interpolate_chroma_type_table_16u_pxmx[chromaIndex(p->dx, p->dy)]);
    return ZubStatusOk;
}

// ---- Block and Boundary --------------------------------------------------------

ZubStatus zubiInterpolateLumaBlock_H264_8u_P1R(const H264BlockInterpolationParams* p) {
    if (!p || !p->srcPlane[0] || !p->dstPlane[0]) return ZubStatusNullPointer;
    return lumaBlockFn<Zub8u>(p, 8);
}
ZubStatus zubiInterpolateLumaBlock_H264_16u_P1R(const H264BlockInterpolationParams* p) {
    if (!p || !p->srcPlane[0] || !p->dstPlane[0]) return ZubStatusNullPointer;
    return lumaBlockFn<Zub16u>(p, p->bitDepth);
}
ZubStatus zubiInterpolateChromaBlock_H264_8u_P2R(const H264BlockInterpolationParams* p) {
    if (!p || !p->srcPlane[0] || !p->dstPlane[0]) return ZubStatusNullPointer;
    return chromaBlockFn<Zub8u>(p);
}
ZubStatus zubiInterpolateChromaBlock_H264_16u_P2R(const H264BlockInterpolationParams* p) {
    if (!p || !p->srcPlane[0] || !p->dstPlane[0]) return ZubStatusNullPointer;
    return chromaBlockFn<Zub16u>(p);
}

ZubStatus zubiInterpolateBoundaryLumaBlock_H264_8u(int edgeFlags, InterpolationKernelRecord* pRec) {
    if (boundaryRecordOk<true>(edgeFlags, pRec)) boundaryPlane<Zub8u, true>(edgeFlags, pRec);
    return ZubStatusOk;
}
ZubStatus zubiInterpolateBoundaryLumaBlock_H264_16u(int edgeFlags, InterpolationKernelRecord* pRec) {
    if (boundaryRecordOk<true>(edgeFlags, pRec)) boundaryPlane<Zub16u, true>(edgeFlags, pRec);
    return ZubStatusOk;
}
ZubStatus zubiInterpolateBoundaryChromaBlock_H264_8u(int edgeFlags, InterpolationKernelRecord* pRec) {
    if (boundaryRecordOk<false>(edgeFlags, pRec)) boundaryChroma<Zub8u>(edgeFlags, pRec);
    return ZubStatusOk;
}
ZubStatus zubiInterpolateBoundaryChromaBlock_H264_16u(int edgeFlags, InterpolationKernelRecord* pRec) {
    if (boundaryRecordOk<false>(edgeFlags, pRec)) boundaryChroma<Zub16u>(edgeFlags, pRec);
    return ZubStatusOk;
}
