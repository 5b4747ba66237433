/* libzubvcpx - H.264 luma and chroma interpolation and block reads through the frame boundary.  Included through <zubvc.h>.
 *
 * Luma: quarter-sample positions (dx, dy) in 0..3, six-tap half samples
 * (1, -5, 20, 20, -5, 1), quarter samples as rounded averages (H.264 clause
 * 8.4.2.2.1).  Chroma: eighth-sample bilinear weights (clause 8.4.2.2.2).
 * Row steps of _8u functions count bytes, of _16u functions 16-bit samples.
 *
 * Luma kernel index = dy * 4 + dx, named after the sample letters of the
 * standard's Figure 8-4: 0 a b c / d e f g / h i j k / n p q r.
 * Chroma kernel index = (dy != 0) * 2 + (dx != 0): 00, 0x, y0, yx.
 */
#ifndef ZUBVC_H264INTERPOLATE_H
#define ZUBVC_H264INTERPOLATE_H

#include "core.h"

/* The one argument of every interpolation kernel, of the Boundary functions
 * and of the readers through the frame boundary.  src/dst point at Zub8u
 * samples for _8u members and at Zub16u samples for _16u members. */
typedef struct InterpolationKernelRecord {
    const void* src;   /* block's integer sample (readers: plane origin) */
    int srcStep;
    void* dst;
    int dstStep;
    int fracX;         /* chroma eighth-sample fractions 0..7 */
    int fracY;
    int width;         /* block size in samples / rows */
    int height;
    int kernelIndex;   /* table index of the position (Block functions) */
    int readX;         /* frame coordinates of the footprint's top-left sample */
    int readY;
    int readWidth;     /* footprint size */
    int readHeight;
    int frameWidth;    /* reference plane size in samples */
    int frameHeight;
    const void* srcPlane2; /* chroma: origin of the second plane */
    void* dstPlane2;       /* chroma: destination of the second plane */
    int bitDepth;      /* _16u: significant bits of a sample */
} InterpolationKernelRecord;

/* Argument of the _16u C1R, Top and Bottom functions (steps in samples). */
typedef struct H264InterpolationParams_16u {
    const Zub16u* src;
    int srcStep;
    Zub16u* dst;
    int dstStep;
    int dx;
    int dy;
    int width;
    int height;
    int bitDepth;      /* ignored by the chroma functions */
} H264InterpolationParams_16u;

/* Argument of the Block functions.  The plane pointers are Zub8u* for the _8u
 * functions and Zub16u* for the _16u ones; luma uses plane 0 only, chroma the
 * U and V planes.  Motion vectors are in quarter (luma) or eighth (chroma)
 * samples.  bitDepth is read by the _16u luma function only. */
typedef struct H264BlockInterpolationParams {
    const void* srcPlane[2];
    int srcStep;
    void* dstPlane[2];
    int dstStep;
    ZubSize frameSize;
    ZubSize blockSize;
    ZubPoint blockPos;
    ZubPoint motionVector;
    int bitDepth;
} H264BlockInterpolationParams;

/* A kernel of the dispatch tables: checks nothing, writes width x height
 * samples at dst. */
typedef void (*H264InterpolationKernel)(const InterpolationKernelRecord* pRec);
/* A reader through the frame boundary; may rewrite pRec->readX/readY. */
typedef void (*H264BoundaryReader)(InterpolationKernelRecord* pRec);
/* A member of InterpolFnTbl_16u. */
typedef void (*H264Interpolate16uFn)(const Zub16u* pSrc, Zub16u* pDst, int srcStep, int dstStep, int width,
                                     int height, int bitDepth);

/* ---- C1R functions: the whole footprint must be readable ------------------
 * Luma 8u checks: src, dst (-8); (dx | dy) as unsigned > 3 (-5); height & 3 or
 * width & ~28 non-zero (-6).  Widths 0..28 in steps of 4 and any height that
 * is a multiple of 4 are accepted; the H.264 partitions are 4, 8 and 16.
 * Chroma 8u checks: src, dst (-8); (dx | dy) as unsigned > 7 (-5); odd height
 * or width & ~14 non-zero (-6). */
ZUBVC_API ZubStatus zubiInterpolateLuma_H264_8u_C1R(const Zub8u* pSrc, int srcStep, Zub8u* pDst, int dstStep,
                                                    int dx, int dy, ZubSize roiSize);
ZUBVC_API ZubStatus zubiInterpolateChroma_H264_8u_C1R(const Zub8u* pSrc, int srcStep, Zub8u* pDst, int dstStep,
                                                      int dx, int dy, ZubSize roiSize);
/* Luma 16u checks: record, src, dst (-8); srcStep < width or width > dstStep
 * (-14); dx, then dy outside 0..3 (-5); height, then width not 4, 8 or 16
 * (-6); 4x16 and 16x4 (-6).  Results clamp to (1 << bitDepth) - 1; the bit
 * depth is not checked, and one outside 0..30 is taken modulo 32 (31: no
 * clamp, 32: every half or quarter sample 0).
 * Chroma 16u checks: record, src, dst (-8); srcStep or dstStep < 8 (-14); dx,
 * then dy outside 0..7 (-5); height, then width not 2, 4, 8 or 16 (-6).  It
 * always evaluates the four-weight formula, so it reads the column right of
 * the block and the row below it even when dx or dy is 0. */
ZUBVC_API ZubStatus zubiInterpolateLuma_H264_16u_C1R(const H264InterpolationParams_16u* pParams);
ZUBVC_API ZubStatus zubiInterpolateChroma_H264_16u_C1R(const H264InterpolationParams_16u* pParams);

/* ---- Top / Bottom: replicate the picture's first or last row --------------
 * Same arguments and checks as the C1R function of the kind, plus outPixels;
 * src points at the block's top-left sample and the columns of the footprint
 * must be readable.
 * Top: outPixels is the number of the block's rows above the picture's first
 * row.  Luma also takes a negative value (the block starts -outPixels rows
 * inside) and then replicates no more rows than the six-tap margin needs;
 * chroma reads its first row at src + outPixels * srcStep as given.
 * Bottom: outPixels is the number of the block's rows below the picture's last
 * row (zero or negative when the block ends inside). */
ZUBVC_API ZubStatus zubiInterpolateLumaTop_H264_8u_C1R(const Zub8u* pSrc, int srcStep, Zub8u* pDst, int dstStep,
                                                       int dx, int dy, int outPixels, ZubSize roiSize);
ZUBVC_API ZubStatus zubiInterpolateLumaBottom_H264_8u_C1R(const Zub8u* pSrc, int srcStep, Zub8u* pDst,
                                                          int dstStep, int dx, int dy, int outPixels,
                                                          ZubSize roiSize);
ZUBVC_API ZubStatus zubiInterpolateChromaTop_H264_8u_C1R(const Zub8u* pSrc, int srcStep, Zub8u* pDst,
                                                         int dstStep, int dx, int dy, int outPixels,
                                                         ZubSize roiSize);
ZUBVC_API ZubStatus zubiInterpolateChromaBottom_H264_8u_C1R(const Zub8u* pSrc, int srcStep, Zub8u* pDst,
                                                            int dstStep, int dx, int dy, int outPixels,
                                                            ZubSize roiSize);
ZUBVC_API ZubStatus zubiInterpolateLumaTop_H264_16u_C1R(const H264InterpolationParams_16u* pParams, int outPixels);
ZUBVC_API ZubStatus zubiInterpolateLumaBottom_H264_16u_C1R(const H264InterpolationParams_16u* pParams,
                                                           int outPixels);
ZUBVC_API ZubStatus zubiInterpolateChromaTop_H264_16u_C1R(const H264InterpolationParams_16u* pParams,
                                                          int outPixels);
ZUBVC_API ZubStatus zubiInterpolateChromaBottom_H264_16u_C1R(const H264InterpolationParams_16u* pParams,
                                                             int outPixels);

/* ---- Block functions: position and vector inside a frame ------------------
 * Checks: record, srcPlane[0], dstPlane[0] (chroma: all four planes) (-8);
 * luma height & 3 or width & ~28 non-zero, chroma odd height or width & ~14
 * non-zero (-6).  Frame size, position and vector are not checked.  A zero
 * vector copies the block in place without any boundary test; otherwise a
 * footprint that crosses the frame edge is read with edge replication
 * (zubiReadDataBlockThroughBoundary_*) before interpolation. */
ZUBVC_API ZubStatus zubiInterpolateLumaBlock_H264_8u_P1R(const H264BlockInterpolationParams* pParams);
ZUBVC_API ZubStatus zubiInterpolateLumaBlock_H264_16u_P1R(const H264BlockInterpolationParams* pParams);
ZUBVC_API ZubStatus zubiInterpolateChromaBlock_H264_8u_P2R(const H264BlockInterpolationParams* pParams);
ZUBVC_API ZubStatus zubiInterpolateChromaBlock_H264_16u_P2R(const H264BlockInterpolationParams* pParams);

/* Boundary functions: read the footprint through the frame boundary into a
 * local buffer, then run the kernel; src is the plane origin.  Always 0.
 * Blocks taller than 16 rows go in strips of 16, each read through the
 * boundary only where it crosses an edge.  A record the Block functions never
 * make is left alone: a width outside 1..28, a height below 1, a readWidth or
 * readHeight below the block's or more than 5 above it, a kernelIndex outside
 * the table (0..15 luma, 0..3 chroma) or an edgeFlags outside 0..15. */
ZUBVC_API ZubStatus zubiInterpolateBoundaryLumaBlock_H264_8u(int edgeFlags, InterpolationKernelRecord* pRec);
ZUBVC_API ZubStatus zubiInterpolateBoundaryLumaBlock_H264_16u(int edgeFlags, InterpolationKernelRecord* pRec);
ZUBVC_API ZubStatus zubiInterpolateBoundaryChromaBlock_H264_8u(int edgeFlags, InterpolationKernelRecord* pRec);
ZUBVC_API ZubStatus zubiInterpolateBoundaryChromaBlock_H264_16u(int edgeFlags, InterpolationKernelRecord* pRec);

/* ---- Kernels and their tables --------------------------------------------- */
#define ZUBVC_H264_LUMA_KERNELS(T)                                                                     \
    ZUBVC_API void h264_interpolate_luma_type_0_##T##_px(const InterpolationKernelRecord* pRec);     \
    ZUBVC_API void h264_interpolate_luma_type_a_##T##_px(const InterpolationKernelRecord* pRec);     \
    ZUBVC_API void h264_interpolate_luma_type_b_##T##_px(const InterpolationKernelRecord* pRec);     \
    ZUBVC_API void h264_interpolate_luma_type_c_##T##_px(const InterpolationKernelRecord* pRec);     \
    ZUBVC_API void h264_interpolate_luma_type_d_##T##_px(const InterpolationKernelRecord* pRec);     \
    ZUBVC_API void h264_interpolate_luma_type_e_##T##_px(const InterpolationKernelRecord* pRec);     \
    ZUBVC_API void h264_interpolate_luma_type_f_##T##_px(const InterpolationKernelRecord* pRec);     \
    ZUBVC_API void h264_interpolate_luma_type_g_##T##_px(const InterpolationKernelRecord* pRec);     \
    ZUBVC_API void h264_interpolate_luma_type_h_##T##_px(const InterpolationKernelRecord* pRec);     \
    ZUBVC_API void h264_interpolate_luma_type_i_##T##_px(const InterpolationKernelRecord* pRec);     \
    ZUBVC_API void h264_interpolate_luma_type_j_##T##_px(const InterpolationKernelRecord* pRec);     \
    ZUBVC_API void h264_interpolate_luma_type_k_##T##_px(const InterpolationKernelRecord* pRec);     \
    ZUBVC_API void h264_interpolate_luma_type_n_##T##_px(const InterpolationKernelRecord* pRec);     \
    ZUBVC_API void h264_interpolate_luma_type_p_##T##_px(const InterpolationKernelRecord* pRec);     \
    ZUBVC_API void h264_interpolate_luma_type_q_##T##_px(const InterpolationKernelRecord* pRec);     \
    ZUBVC_API void h264_interpolate_luma_type_r_##T##_px(const InterpolationKernelRecord* pRec);     \
    ZUBVC_API void h264_interpolate_chroma_type_00_##T##_px(const InterpolationKernelRecord* pRec);  \
    ZUBVC_API void h264_interpolate_chroma_type_0x_##T##_px(const InterpolationKernelRecord* pRec);  \
    ZUBVC_API void h264_interpolate_chroma_type_y0_##T##_px(const InterpolationKernelRecord* pRec);  \
    ZUBVC_API void h264_interpolate_chroma_type_yx_##T##_px(const InterpolationKernelRecord* pRec);
ZUBVC_H264_LUMA_KERNELS(8u)
ZUBVC_H264_LUMA_KERNELS(16u)
#undef ZUBVC_H264_LUMA_KERNELS

/* Luma tables indexed by dy * 4 + dx; chroma by (dy != 0) * 2 + (dx != 0). */
ZUBVC_API const H264InterpolationKernel h264_interpolate_luma_type_table_8u_pxmx[16];
ZUBVC_API const H264InterpolationKernel h264_interpolate_luma_type_table_16u_pxmx[16];
ZUBVC_API const H264InterpolationKernel h264_interpolate_chroma_type_table_8u_pxmx[4];
ZUBVC_API const H264InterpolationKernel h264_interpolate_chroma_type_table_16u_pxmx[4];

/* dst = (dst + src + 1) >> 1 over width x height samples, in place. */
ZUBVC_API void h264_interpolate_luma_get_average_8u_px(Zub8u* pDst, int dstStep, const Zub8u* pSrc, int srcStep,
                                                       int width, int height);
ZUBVC_API void h264_interpolate_luma_get_average_16u_px(Zub16u* pDst, int dstStep, const Zub16u* pSrc,
                                                        int srcStep, int width, int height);

/* 16-bit luma positions of zubiInterpolateLuma_H264_16u_C1R, named
 * _zubInterpolate_H<dx>V<dy>_16u and indexed dx * 4 + dy (dx major). */
#define ZUBVC_H264_16U_FN(n)                                                                               \
    ZUBVC_API void _zubInterpolate_##n##_16u(const Zub16u* pSrc, Zub16u* pDst, int srcStep, int dstStep, \
                                             int width, int height, int bitDepth);
ZUBVC_H264_16U_FN(H00V00) ZUBVC_H264_16U_FN(H00V01) ZUBVC_H264_16U_FN(H00V02) ZUBVC_H264_16U_FN(H00V03)
ZUBVC_H264_16U_FN(H01V00) ZUBVC_H264_16U_FN(H01V01) ZUBVC_H264_16U_FN(H01V02) ZUBVC_H264_16U_FN(H01V03)
ZUBVC_H264_16U_FN(H02V00) ZUBVC_H264_16U_FN(H02V01) ZUBVC_H264_16U_FN(H02V02) ZUBVC_H264_16U_FN(H02V03)
ZUBVC_H264_16U_FN(H03V00) ZUBVC_H264_16U_FN(H03V01) ZUBVC_H264_16U_FN(H03V02) ZUBVC_H264_16U_FN(H03V03)
/* Horizontal (b) and vertical (h) half samples, clamped to bitDepth. */
ZUBVC_H264_16U_FN(H2) ZUBVC_H264_16U_FN(V2)
#undef ZUBVC_H264_16U_FN
/* dst = (src + dst + 1) >> 1; width a multiple of 4. */
ZUBVC_API void _zubInterpolate_Avg_16u(const Zub16u* pSrc, Zub16u* pDst, int srcStep, int dstStep, int width,
                                       int height);
ZUBVC_API const H264Interpolate16uFn InterpolFnTbl_16u[16];

/* ---- Reads through the frame boundary --------------------------------------
 * edgeFlags: 1 left (readX < 0), 2 right (frameWidth < readX + readWidth),
 * 4 top (readY < 0), 8 bottom (frameHeight < readY + readHeight).  The reader
 * edgeFlags copies the footprint (readX, readY, readWidth, readHeight) of the
 * plane at src (origin, step srcStep) to dst (step dstStep), replicating the
 * edge samples outside the frame.  Codes with both left and right (3, 7, 11,
 * 15) or both top and bottom (12..15) replicate on one side only, chosen by the
 * sign of readX / readY, and read the far side from memory beyond the frame.
 * No argument is checked; the result is always 0. */
ZUBVC_API ZubStatus zubiReadDataBlockThroughBoundary_8u(int edgeFlags, InterpolationKernelRecord* pRec);
ZUBVC_API ZubStatus zubiReadDataBlockThroughBoundary_16u(int edgeFlags, InterpolationKernelRecord* pRec);
/* Stores value count times (nothing for count < 1). */
ZUBVC_API void memset_16u(Zub16u* pDst, Zub16u value, int count);

#define ZUBVC_H264_READERS(T)                                                                                  \
    ZUBVC_API void read_data_through_boundary_none_##T(InterpolationKernelRecord* pRec);                      \
    ZUBVC_API void read_data_through_boundary_left_##T##_px(InterpolationKernelRecord* pRec);                 \
    ZUBVC_API void read_data_through_boundary_right_##T##_px(InterpolationKernelRecord* pRec);                \
    ZUBVC_API void read_data_through_boundary_left_right_##T##_px(InterpolationKernelRecord* pRec);           \
    ZUBVC_API void read_data_through_boundary_top_##T##_px(InterpolationKernelRecord* pRec);                  \
    ZUBVC_API void read_data_through_boundary_top_left_##T##_px(InterpolationKernelRecord* pRec);             \
    ZUBVC_API void read_data_through_boundary_top_right_##T##_px(InterpolationKernelRecord* pRec);            \
    ZUBVC_API void read_data_through_boundary_top_left_right_##T##_px(InterpolationKernelRecord* pRec);       \
    ZUBVC_API void read_data_through_boundary_bottom_##T##_px(InterpolationKernelRecord* pRec);               \
    ZUBVC_API void read_data_through_boundary_bottom_left_##T##_px(InterpolationKernelRecord* pRec);          \
    ZUBVC_API void read_data_through_boundary_bottom_right_##T##_px(InterpolationKernelRecord* pRec);         \
    ZUBVC_API void read_data_through_boundary_bottom_left_right_##T##_px(InterpolationKernelRecord* pRec);    \
    ZUBVC_API void read_data_through_boundary_top_bottom_##T##_px(InterpolationKernelRecord* pRec);           \
    ZUBVC_API void read_data_through_boundary_top_bottom_left_##T##_px(InterpolationKernelRecord* pRec);      \
    ZUBVC_API void read_data_through_boundary_top_bottom_right_##T##_px(InterpolationKernelRecord* pRec);     \
    ZUBVC_API void read_data_through_boundary_top_bottom_left_right_##T##_px(InterpolationKernelRecord* pRec);
ZUBVC_H264_READERS(8u)
ZUBVC_H264_READERS(16u)
#undef ZUBVC_H264_READERS

ZUBVC_API const H264BoundaryReader read_data_through_boundary_table_8u_pxmx[16];
ZUBVC_API const H264BoundaryReader read_data_through_boundary_table_16u_pxmx[16];

#endif
