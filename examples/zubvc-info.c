/* zubvc-info: prints the library's version record and measures its Exp-Golomb
 * reader on a stream of random codes that it writes itself. */
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <time.h>

#include "zubvc.h"

enum { kCodes = 200000, kRounds = 20 };

typedef struct {
    uint32_t* words;
    size_t nbits;
} Writer;

static void put(Writer* w, uint32_t v, int n) {
    for (int i = n - 1; i >= 0; --i, ++w->nbits)
        if ((v >> i) & 1u) w->words[w->nbits / 32] |= 0x80000000u >> (w->nbits % 32);
}

static void putUe(Writer* w, uint32_t v) {
    int len = 0;
    while (((v + 1) >> len) > 1) ++len;
    put(w, 0, len);
    put(w, v + 1, len + 1);
}

static double now(void) {
    struct timespec t;
    clock_gettime(CLOCK_MONOTONIC, &t);
    return (double)t.tv_sec + 1e-9 * (double)t.tv_nsec;
}

int main(void) {
    const ZubLibraryVersion* v = zubvcGetLibVersion();
    printf("library      %s\n", v->libraryName);
    printf("version      %d.%d (%s), build %d.%d, %s\n", (int)v->versionMajor, (int)v->versionMinor, v->versionText,
           (int)v->buildNumberHigh, (int)v->buildNumberLow, v->buildDateText);
    printf("target       %s\n", v->targetCode);

    /* Code numbers with the skewed statistics of real syntax elements. */
    uint32_t* values = malloc(sizeof(uint32_t) * kCodes);
    Writer w = {calloc(kCodes * 2 + 2, sizeof(uint32_t)), 0};
    if (!values || !w.words) return 1;
    srand(1);
    for (int i = 0; i < kCodes; ++i) {
        int bits = rand() % 12;
        values[i] = (uint32_t)rand() & ((1u << bits) - 1u);
        putUe(&w, values[i]);
    }

    double best = 1e30;
    for (int r = 0; r < kRounds; ++r) {
        const Zub32u* cur = w.words;
        Zub32u off = 31;
        double t0 = now();
        for (int i = 0; i < kCodes; ++i) {
            Zub16s d;
            zubiDecodeExpGolombOne_H264_1u16s(&cur, &off, &d, 0);
            if ((uint16_t)d != (uint16_t)values[i]) {
                fprintf(stderr, "mismatch at code %d: %d, expected %u\n", i, d, values[i]);
                return 1;
            }
        }
        double t = now() - t0;
        if (t < best) best = t;
    }
    printf("exp-golomb   %d codes (%.1f bits each) decoded and verified: %.1f ns/code, %.0f Mcodes/s\n", kCodes,
           (double)w.nbits / kCodes, 1e9 * best / kCodes, kCodes / best / 1e6);
    free(values);
    free(w.words);
    return 0;
}
