/* libzubvcpx - element types, status codes, version record, allocation hooks,
 * memory helpers and the Exp-Golomb reader.  Included through <zubvc.h>. */
#ifndef ZUBVC_CORE_H
#define ZUBVC_CORE_H

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
#define ZUBVC_EXTERN_C extern "C"
#else
#define ZUBVC_EXTERN_C extern
#endif

#if defined(ZUBVC_BUILDING_LIBRARY)
#define ZUBVC_API ZUBVC_EXTERN_C __attribute__((visibility("default")))
#else
#define ZUBVC_API ZUBVC_EXTERN_C
#endif

/* Element types, named by the suffixes of the function names. */
typedef uint8_t  Zub8u;   /* unsigned 8-bit sample */
typedef int8_t   Zub8s;   /* signed 8-bit value */
typedef uint16_t Zub16u;  /* unsigned 16-bit sample (bit depths above 8) */
typedef int16_t  Zub16s;  /* signed 16-bit coefficient or residual */
typedef uint32_t Zub32u;
typedef int32_t  Zub32s;

/* A region size or a (width, height) pair, always passed by value. */
typedef struct ZubSize { int width; int height; } ZubSize;
/* An (x, y) pair: positions and motion vectors. */
typedef struct ZubPoint { int x; int y; } ZubPoint;

/* Result of every function: 0 success, negative error, positive warning. */
typedef int32_t ZubStatus;

enum {
    ZubStatusOk                          = 0,
    ZubStatusNeighbourSubstitutedWarning = 11,  /* 4x4 intra: missing neighbours taken as 128 */
    ZubStatusOddSizeWarning              = 35,  /* odd width/height: the even part was processed */
    ZubStatusNotImplemented              = -2,  /* entry point only, touches nothing */
    ZubStatusBadArgument                 = -5,  /* word bit offset, fraction or mode outside its set */
    ZubStatusBadSize                     = -6,  /* width, height or length out of range */
    ZubStatusNullPointer                 = -8,
    ZubStatusNoMemory                    = -9,
    ZubStatusDivideByZero                = -10,
    ZubStatusOutOfRange                  = -11, /* QP, count or last index out of range */
    ZubStatusLevelOverflow               = -13, /* quantised level above 2063 in magnitude */
    ZubStatusBadStep                     = -14, /* row step smaller than the row or below 1 */
    ZubStatusContextMismatch             = -17,
    ZubStatusBadOption                   = -22,
    ZubStatusBadResizeFactor             = -23,
    ZubStatusVlcError                    = -74, /* no code word matches the bits at the cursor */
    ZubStatusNeighbourUnavailable        = -117,
    ZubStatusBitstreamError              = -191,
    ZubStatusBadQuantiser                = -192,
    ZubStatusBadBitOffset                = -193 /* byte-cursor bit offset outside 0..7 */
};

/* Version record returned by zubvcGetLibVersion. */
typedef struct ZubLibraryVersion {
    int32_t     versionMajor;
    int32_t     versionMinor;
    int32_t     buildNumberHigh;
    int32_t     buildNumberLow;
    char        targetCode[4];   /* "px", zero-padded */
    const char* libraryName;
    const char* versionText;
    const char* buildDateText;
} ZubLibraryVersion;

/* Returns the library's one constant version record (never null; the same
 * pointer on every call). */
ZUBVC_API const ZubLibraryVersion* zubvcGetLibVersion(void);

/* Allocation hooks.  The library calls i_malloc from zubsMalloc_8u/_8s and
 * i_free from zubsFree; it never changes them and never calls i_calloc or
 * i_realloc.  Set them before the first allocation. */
ZUBVC_API void* (*i_malloc)(size_t size);
ZUBVC_API void* (*i_calloc)(size_t count, size_t size);
ZUBVC_API void* (*i_realloc)(void* ptr, size_t size);
ZUBVC_API void  (*i_free)(void* ptr);
ZUBVC_API int32_t i_version;      /* 1; exported for clients, never read */
ZUBVC_API int32_t i_min_version;  /* 0; exported for clients, never read */

/* Aligned allocation: returns a block aligned to 32 bytes, or null when len < 1
 * (no hook is called then) or when i_malloc fails.  The hook receives
 * len + 32 + sizeof(void*) bytes - len + 36 on x86-32 - and the raw address it
 * returned is stored in the pointer-sized word immediately before the block
 * (a 32-bit word on x86-32, a 64-bit word on x86-64).  The block is the raw
 * address plus 31 + sizeof(void*) rounded down to a multiple of 32 (raw + 35
 * on x86-32), so it starts between sizeof(void*) and sizeof(void*) + 31 bytes
 * after the raw address. */
ZUBVC_API Zub8u* zubsMalloc_8u(int len);
ZUBVC_API Zub8s* zubsMalloc_8s(int len);
/* Release a block of zubsMalloc_8u/_8s through i_free; null is ignored. */
ZUBVC_API void zubsFree(void* ptr);
ZUBVC_API void zubiFree(void* ptr);

/* Copies and fills.  Checks: pointers (-8), then len < 1 (-6).  Overlapping
 * buffers are not supported. */
ZUBVC_API ZubStatus zubsCopy_8u(const Zub8u* pSrc, Zub8u* pDst, int len);
ZUBVC_API ZubStatus zubsCopy_16s(const Zub16s* pSrc, Zub16s* pDst, int len);
ZUBVC_API ZubStatus zubsZero_16s(Zub16s* pDst, int len);
/* Copies roiSize.width bytes of roiSize.height rows; steps in bytes.  Checks:
 * pointers (-8), then width or height < 1 (-6); steps are not checked. */
ZUBVC_API ZubStatus zubiCopy_8u_C1R(const Zub8u* pSrc, int srcStep, Zub8u* pDst,
                                    int dstStep, ZubSize roiSize);

/* Bit mask table of the bit readers: element n = 2^n - 1, n = 0..32. */
ZUBVC_API const Zub32u ownvc_BitMask[33];

/* Saturation table of the H.264 8-bit filters: entry i holds i - 256
 * saturated to 0..255, so ClampTbl[v + 256] saturates any v in -256..511. */
ZUBVC_API const Zub8u ClampTbl[768];

/* Word cursor: (*ppBitStream, *pBitOffset) names the next bit to read, the
 * offset counting 31 (most significant) down to 0 inside a native 32-bit word.
 * A byte stream must be presented as words whose most significant byte is the
 * earliest stream byte; one readable word must follow the data.
 *
 * Decodes one Exp-Golomb code word (H.264 clause 9.1): the code number, or
 * with signedFlag non-zero its se(v) mapping, stored as its low 16 bits.
 * Checks: ppBitStream, pBitOffset, pDst, then *ppBitStream (-8); *pBitOffset
 * outside 0..31 (-5).  There is no end-of-data check; suffixes above 31 bits
 * give an unspecified value. */
ZUBVC_API ZubStatus zubiDecodeExpGolombOne_H264_1u16s(const Zub32u** ppBitStream,
                                                      Zub32u* pBitOffset, Zub16s* pDst,
                                                      Zub8u signedFlag);

#endif
