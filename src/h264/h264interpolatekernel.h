// Loop hint of the H.264 interpolation kernels.
//
// Kernels for fixed block widths (4, 8, 16) have inner loops of a constant,
// small trip count.  Left alone, the compiler unrolls such loops completely
// and then fails to vectorise the straight-line code; keeping the loop rolled
// lets the loop vectoriser map a row of 4 or 8 samples onto one short vector.
#ifndef ZUBVC_H264_H264INTERPOLATEKERNEL_H
#define ZUBVC_H264_H264INTERPOLATEKERNEL_H

#if defined(__GNUC__)
#define ZUB_VECTOR_LOOP _Pragma("GCC unroll 1")
#else
#define ZUB_VECTOR_LOOP
#endif

#endif
