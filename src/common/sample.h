// Internal sample helpers shared by the H.264 families: saturation and the
// traits that let one template serve 8-bit and 16-bit (high bit depth) samples.
#ifndef ZUBVC_COMMON_SAMPLE_H
#define ZUBVC_COMMON_SAMPLE_H

#include <cstdint>
#include <cstring>
#include <type_traits>

namespace zub {

// Whether the target has vector registers the compiler maps loops onto
// (SSE2 on x86-64); i686 without SSE2 has none.  Kernels choose the shape of
// their loops by it: narrow lanes and branch-free rows where the loops are
// vectorised, full-width scalar values and early exits where they are not.
#if defined(__SSE2__) || defined(__ARM_NEON) || defined(__ALTIVEC__)
inline constexpr bool kVectorUnit = true;
#else
inline constexpr bool kVectorUnit = false;
#endif

template <class T>
constexpr T clampTo(int v, int lo, int hi) {
    return static_cast<T>(v < lo ? lo : (v > hi ? hi : v));
}

// Saturate to 0..maxVal (maxVal = (1 << bitDepth) - 1).
constexpr int clip(int v, int maxVal) { return v < 0 ? 0 : (v > maxVal ? maxVal : v); }
constexpr uint8_t clip8(int v) { return static_cast<uint8_t>(v < 0 ? 0 : (v > 255 ? 255 : v)); }

// The maximum sample value: fixed 255 for 8-bit samples, (1 << bitDepth) - 1
// for 16-bit ones.  Kernels templated over the sample type take the bit depth
// and ask the traits for the maximum, so the 8-bit instance folds it away.
template <class T> struct SampleTraits;
template <> struct SampleTraits<uint8_t> {
    // Unrounded six-tap intermediates fit 16 bits, which gives vector loops
    // twice the lanes; scalar code is better served by full registers.
    using Wide = std::conditional_t<kVectorUnit, int16_t, int32_t>;
    static constexpr int maxVal(int /*bitDepth*/) { return 255; }
};
template <> struct SampleTraits<uint16_t> {
    using Wide = int32_t;
    // (1 << bitDepth) - 1 for 0..30; an unchecked bit depth outside that is
    // taken modulo 32 so that the shift stays defined (31: no saturation).
    static constexpr int maxVal(int bitDepth) { return static_cast<int>((1u << (bitDepth & 31)) - 1u); }
};

// Fill n samples with v (n < 1: nothing).
template <class T>
inline void fillSamples(T* dst, T v, int n) {
    if constexpr (sizeof(T) == 1) {
        if (n > 0) std::memset(dst, v, static_cast<size_t>(n));
    } else {
        for (int i = 0; i < n; ++i) dst[i] = v;
    }
}

template <class T>
inline void copySamples(T* dst, const T* src, int n) {
    if (n > 0) std::memcpy(dst, src, static_cast<size_t>(n) * sizeof(T));
}

}  // namespace zub

#endif
