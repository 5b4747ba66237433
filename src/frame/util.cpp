// Memory helpers: allocation hooks, the 32-byte aligned allocator, copies and
// fills, and the bit mask table of the bit readers.
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "../common/bitstream.h"
#include "../common/table.h"
#include "zubvc.h"

void* (*i_malloc)(size_t) = std::malloc;
void* (*i_calloc)(size_t, size_t) = std::calloc;
void* (*i_realloc)(void*, size_t) = std::realloc;
void (*i_free)(void*) = std::free;
int32_t i_version = 1;
int32_t i_min_version = 0;

namespace {

// The raw address lives in the pointer-sized word before the block.  The
// hook is asked for 32 bytes plus that word more than the caller wants
// (len + 36 on x86-32), and the block is the raw address plus 31 plus that
// word rounded down to 32 (raw + 35 on x86-32), so it lies 4..35 bytes past
// the raw address there and the requested bytes fit behind it.
constexpr size_t kRequestSlack = 32 + sizeof(void*);
constexpr size_t kAlignSlack = 31 + sizeof(void*);

void* alignedAlloc(int len) {
    if (len < 1) return nullptr;
    void* raw = i_malloc(static_cast<size_t>(len) + kRequestSlack);
    if (!raw) return nullptr;
    uintptr_t block = (reinterpret_cast<uintptr_t>(raw) + kAlignSlack) & ~uintptr_t{31};
    void* p = reinterpret_cast<void*>(block);
    std::memcpy(static_cast<char*>(p) - sizeof(void*), &raw, sizeof(void*));
    return p;
}
}  // namespace

const Zub32u ownvc_BitMask[33] = {ZUB_GEN32(zub::bitMask, 0) ZUB_GEN1(zub::bitMask, 32)};

Zub8u* zubsMalloc_8u(int len) { return static_cast<Zub8u*>(alignedAlloc(len)); }
Zub8s* zubsMalloc_8s(int len) { return static_cast<Zub8s*>(alignedAlloc(len)); }

void zubsFree(void* ptr) {
    if (!ptr) return;
    void* raw;
    std::memcpy(&raw, static_cast<char*>(ptr) - sizeof(void*), sizeof(void*));
    i_free(raw);
}

void zubiFree(void* ptr) { zubsFree(ptr); }

ZubStatus zubsCopy_8u(const Zub8u* pSrc, Zub8u* pDst, int len) {
    if (!pSrc || !pDst) return ZubStatusNullPointer;
    if (len < 1) return ZubStatusBadSize;
    std::memcpy(pDst, pSrc, static_cast<size_t>(len));
    return ZubStatusOk;
}

ZubStatus zubsCopy_16s(const Zub16s* pSrc, Zub16s* pDst, int len) {
    if (!pSrc || !pDst) return ZubStatusNullPointer;
    if (len < 1) return ZubStatusBadSize;
    std::memcpy(pDst, pSrc, static_cast<size_t>(len) * 2);
    return ZubStatusOk;
}

ZubStatus zubsZero_16s(Zub16s* pDst, int len) {
    if (!pDst) return ZubStatusNullPointer;
    if (len < 1) return ZubStatusBadSize;
    std::memset(pDst, 0, static_cast<size_t>(len) * 2);
    return ZubStatusOk;
}

ZubStatus zubiCopy_8u_C1R(const Zub8u* pSrc, int srcStep, Zub8u* pDst, int dstStep, ZubSize roiSize) {
    if (!pSrc || !pDst) return ZubStatusNullPointer;
    if (roiSize.width < 1 || roiSize.height < 1) return ZubStatusBadSize;
    for (int y = 0; y < roiSize.height; ++y) {
        std::memcpy(pDst, pSrc, static_cast<size_t>(roiSize.width));
        pSrc += srcStep;
        pDst += dstStep;
    }
    return ZubStatusOk;
}
