// Compile-time generation of exported constant tables.
//
// A table defined by a formula is written as a C array (so that it exports
// under its plain name) whose initialiser repeats a constexpr generator over
// the indices:
//     constexpr Zub8u qp6(int i) { return i / 6; }
//     const Zub8u h264_qp6[90] = { ZUB_GEN64(qp6, 0) ZUB_GEN16(qp6, 64) ... };
#ifndef ZUBVC_COMMON_TABLE_H
#define ZUBVC_COMMON_TABLE_H

#define ZUB_GEN1(f, b) f(b),
#define ZUB_GEN2(f, b) ZUB_GEN1(f, b) ZUB_GEN1(f, (b) + 1)
#define ZUB_GEN4(f, b) ZUB_GEN2(f, b) ZUB_GEN2(f, (b) + 2)
#define ZUB_GEN8(f, b) ZUB_GEN4(f, b) ZUB_GEN4(f, (b) + 4)
#define ZUB_GEN16(f, b) ZUB_GEN8(f, b) ZUB_GEN8(f, (b) + 8)
#define ZUB_GEN32(f, b) ZUB_GEN16(f, b) ZUB_GEN16(f, (b) + 16)
#define ZUB_GEN64(f, b) ZUB_GEN32(f, b) ZUB_GEN32(f, (b) + 32)
#define ZUB_GEN128(f, b) ZUB_GEN64(f, b) ZUB_GEN64(f, (b) + 64)
#define ZUB_GEN256(f, b) ZUB_GEN128(f, b) ZUB_GEN128(f, (b) + 128)

#endif
