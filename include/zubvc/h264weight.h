/* libzubvcpx - H.264 weighted and bi-directional prediction, plane expansion.
 * Included through <zubvc.h>.
 *
 * Names: logWD is log2 of the weight denominator, w1/w2 the weights, o1/o2
 * the offsets, s1/s2 co-located samples of the two predictions (H.264 clause
 * 8.4.2.3).  Every sum is formed in signed 32-bit arithmetic (wrapping, as
 * the hardware does, if arguments far outside the ranges of H.264 push it
 * beyond 32 bits) and shifted arithmetically.  Shift counts are taken modulo
 * 32; H.264 limits logWD to 0..7.
 *
 * Size rule S16: width and height each one of 2, 4, 8, 16, else
 * ZubStatusBadSize (-6).  Row steps of the 8u functions count bytes, those of
 * the 16u functions samples.  Nothing is written when a check fails. */
#ifndef ZUBVC_H264WEIGHT_H
#define ZUBVC_H264WEIGHT_H

#include "core.h"

/* Argument record of the 16u bi-directional functions.  Results saturate to
 * 0 .. (1 << bitDepth) - 1. */
typedef struct H264BidirParams_16u {
    const Zub16u* src1;
    Zub32s src1Step; /* samples */
    const Zub16u* src2;
    Zub32s src2Step;
    Zub16u* dst;
    Zub32s dstStep;
    Zub32s width;
    Zub32s height;
    Zub32s bitDepth;
} H264BidirParams_16u;

/* dst = (s1 + s2 + 1) >> 1 over width x height samples, one step for the
 * two sources and the destination.  Checks: pointers (-8); width or height,
 * compared as unsigned, outside 2..16 (-6): every size 2..16 is accepted,
 * odd ones too, and a negative one is refused. */
ZUBVC_API ZubStatus zubiInterpolateBlock_H264_8u_P2P1R(const Zub8u* pSrc1, const Zub8u* pSrc2, Zub8u* pDst,
                                                       int width, int height, int step);
/* As the P2P1R function with a step per plane. */
ZUBVC_API ZubStatus zubiInterpolateBlock_H264_8u_P3P1R(const Zub8u* pSrc1, const Zub8u* pSrc2, Zub8u* pDst,
                                                       int width, int height, int src1Step, int src2Step,
                                                       int dstStep);

/* s2 = ClampTbl[((s1 w1 + r + s2 w2) >> logWD) + offset + 256], written over
 * pSrc2Dst, with r = 1 << (logWD - 1) for logWD >= 1, else 0.  The table is
 * defined for pre-saturation values -256..511; values beyond are saturated
 * to that range before the lookup, so they too give 0 or 255.
 * Checks: pointers (-8); step < width (-14); S16, height first (-6). */
ZUBVC_API ZubStatus zubiWeightedAverage_H264_8u_C1IR(const Zub8u* pSrc1, Zub8u* pSrc2Dst, int step, int w1,
                                                     int w2, int logWD, int offset, ZubSize roiSize);

/* Explicit uni-directional weighting in place (H.264 clause 8.4.2.3.2):
 * clamp0..255(((s w + r) >> logWD) + o), r as above (no rounding at
 * logWD 0).  Checks: pointer (-8); step < width (-14); S16 (-6). */
ZUBVC_API ZubStatus zubiUniDirWeightBlock_H264_8u_C1R(Zub8u* pSrcDst, int step, int logWD, int w, int o,
                                                      ZubSize roiSize);
/* The same function under its in-place name. */
ZUBVC_API ZubStatus zubiUniDirWeightBlock_H264_8u_C1IR(Zub8u* pSrcDst, int step, int logWD, int w, int o,
                                                       ZubSize roiSize);

/* Explicit bi-directional weighting (H.264 clause 8.4.2.3.2):
 * clamp0..255(((s1 w1 + s2 w2 + (1 << logWD)) >> (logWD + 1)) + ((o1 + o2 + 1) >> 1)).
 * P2P1R: one step for both sources.  Checks: pointers (-8); srcStep, then
 * dstStep < width (-14); S16 (-6). */
ZUBVC_API ZubStatus zubiBiDirWeightBlock_H264_8u_P2P1R(const Zub8u* pSrc1, const Zub8u* pSrc2, Zub8u* pDst,
                                                       int srcStep, int dstStep, int logWD, int w1, int o1,
                                                       int w2, int o2, ZubSize roiSize);
/* Checks: pointers (-8); src1Step, src2Step, dstStep < width (-14); S16. */
ZUBVC_API ZubStatus zubiBiDirWeightBlock_H264_8u_P3P1R(const Zub8u* pSrc1, const Zub8u* pSrc2, Zub8u* pDst,
                                                       int src1Step, int src2Step, int dstStep, int logWD,
                                                       int w1, int o1, int w2, int o2, ZubSize roiSize);

/* Implicit bi-directional weighting (logWD 5, offsets 0):
 * clamp0..255((s1 w1 + s2 w2 + 32) >> 6).
 * P2P1R checks: pointers (-8); srcStep, then dstStep < width (-14); S16. */
ZUBVC_API ZubStatus zubiBiDirWeightBlockImplicit_H264_8u_P2P1R(const Zub8u* pSrc1, const Zub8u* pSrc2,
                                                               Zub8u* pDst, int srcStep, int dstStep, int w1,
                                                               int w2, ZubSize roiSize);
/* P3P1R checks the pointers only (-8): no step and no size test; a width or
 * height below 1 writes nothing and returns 0, and widths above 16 work. */
ZUBVC_API ZubStatus zubiBiDirWeightBlockImplicit_H264_8u_P3P1R(const Zub8u* pSrc1, const Zub8u* pSrc2,
                                                               Zub8u* pDst, int src1Step, int src2Step,
                                                               int dstStep, int w1, int w2, ZubSize roiSize);

/* 16-bit samples, steps in samples, results saturated to
 * 0 .. (1 << bitDepth) - 1 (bitDepth 1..16; the maximum is formed as
 * (1 << (bitDepth mod 32)) - 1 in unsigned arithmetic).
 *
 * (s1 + s2 + 1) >> 1.  Checks: pParams, src1, src2, dst (-8); width, then
 * height outside 2..16 (-6); steps are not checked. */
ZUBVC_API ZubStatus zubiBidir_H264_16u_P2P1R(const H264BidirParams_16u* pParams);
/* Explicit weighting as the 8u P2P1R function.  Checks: pParams, src1, src2,
 * dst (-8); src1Step, src2Step, dstStep < width (-14); S16 (-6). */
ZUBVC_API ZubStatus zubiBidirWeight_H264_16u_P2P1R(const H264BidirParams_16u* pParams, int logWD, int w1,
                                                   int o1, int w2, int o2);
/* Implicit weighting (s1 w1 + s2 w2 + 32) >> 6; checks as above. */
ZUBVC_API ZubStatus zubiBidirWeightImplicit_H264_16u_P2P1R(const H264BidirParams_16u* pParams, int w1,
                                                           int w2);
/* Uni-directional weighting in place, as the 8u function.  Checks: pointer
 * (-8); step < width (-14); S16 (-6). */
ZUBVC_API ZubStatus zubiUnidirWeight_H264_16u_IP2P1R(Zub16u* pSrcDst, int step, int logWD, int w, int o,
                                                     ZubSize roiSize, int bitDepth);

/* Frame types of zubiExpandPlane_H264_8u_C1R. */
enum {
    ZubPlaneFrame       = 0,
    ZubPlaneTopField    = 1, /* the even rows */
    ZubPlaneBottomField = 2  /* the odd rows */
};

/* Repeats the edge samples of a reference plane into a border of expandPels
 * samples on every side, so that motion vectors may point outside it.
 * pPlane addresses sample (0,0); the memory must hold expandPels samples left
 * and right of every row and expandPels rows above and below, at the same step
 * (bytes).  For a field only the rows of that parity are read and written
 * (the border rows of the field: (E + 1) / 2 below and E / 2 above for the
 * top field, the reverse for the bottom one).  Corners take the corner samples.
 * Checks: pPlane null (-8); frameHeight odd or below 2, frameWidth below 1,
 * or expandPels negative (-6); expandPels 0 returns 0 at once,
 * before the frame type is looked at; frameType not 0, 1 or 2 (-5).  The step
 * is not checked. */
ZUBVC_API ZubStatus zubiExpandPlane_H264_8u_C1R(Zub8u* pPlane, int frameWidth, int frameHeight, int step,
                                                int expandPels, int frameType);

#endif
