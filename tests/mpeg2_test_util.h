// Shared by the MPEG-1/2 block tests: random run-level blocks and a model
// writer of their codes (ISO/IEC 11172-2 and 13818-2), independent of the
// library's encoder.
#ifndef ZUBVC_TESTS_MPEG2_TEST_UTIL_H
#define ZUBVC_TESTS_MPEG2_TEST_UTIL_H

#include <cstdlib>
#include <map>
#include <random>
#include <utility>
#include <vector>

#include "zubvc_tools/bitwriter.h"
#include "zubvc_tools/mpeg2vlc.h"

namespace mpeg2test {

struct RunLevel {
    int run;
    int level;
};

// (run, level) -> code of a DCT table, sign included.
inline const std::map<std::pair<int, int>, zubtools::Mpeg2Code>& codeMap(zubtools::Mpeg2Vlc t) {
    static std::map<std::pair<int, int>, zubtools::Mpeg2Code> maps[2];
    auto& m = maps[t == zubtools::Mpeg2Vlc::DctTableOne];
    if (m.empty())
        for (const auto& c : zubtools::mpeg2VlcCodes(t)) m[{c.run, c.value}] = c;
    return m;
}

// Writes one coefficient: the table's code, the "1s" form of a non-intra
// block's first coefficient, or an escape of MPEG-1 (levels -255..255) or
// MPEG-2 (-2047..2047).
inline void putCoefficient(zubtools::BitWriter& bw, zubtools::Mpeg2Vlc table, RunLevel rl, bool mpeg1,
                           bool firstNonIntra) {
    if (firstNonIntra && rl.run == 0 && std::abs(rl.level) == 1) {
        bw.put(rl.level < 0 ? 3u : 2u, 2);
        return;
    }
    const auto& m = codeMap(table);
    const auto it = m.find({rl.run, rl.level});
    if (it != m.end()) {
        bw.put(it->second.code, it->second.length);
        return;
    }
    bw.put(1, 6);  // escape, 0000 01
    bw.put(static_cast<uint32_t>(rl.run), 6);
    if (!mpeg1) {
        bw.put(static_cast<uint32_t>(rl.level) & 0xFFFu, 12);
    } else if (rl.level >= -127 && rl.level <= 127) {
        bw.put(static_cast<uint32_t>(rl.level) & 0xFFu, 8);
    } else if (rl.level > 0) {
        bw.put(0x00, 8);
        bw.put(static_cast<uint32_t>(rl.level), 8);
    } else {
        bw.put(0x80, 8);
        bw.put(static_cast<uint32_t>(rl.level + 256), 8);
    }
}

inline void putEndOfBlock(zubtools::BitWriter& bw, zubtools::Mpeg2Vlc table) {
    if (table == zubtools::Mpeg2Vlc::DctTableOne)
        bw.put(0x6, 4);
    else
        bw.put(0x2, 2);
}

// dct_dc_size and dct_dc_differential of an intra DC differential d.
inline void putDcDifferential(zubtools::BitWriter& bw, bool luma, int d) {
    int size = 0;
    while ((std::abs(d) >> size) != 0) ++size;
    for (const auto& c : zubtools::mpeg2VlcCodes(luma ? zubtools::Mpeg2Vlc::DcSizeLuma : zubtools::Mpeg2Vlc::DcSizeChroma))
        if (c.value == size) bw.put(c.code, c.length);
    if (size > 0) bw.put(static_cast<uint32_t>(d >= 0 ? d : d + (1 << size) - 1), size);
}

// A random list of coefficients that fits the block (intra: scan positions
// 1..63, non-intra 0..63).  Level magnitudes from the table's range mostly,
// up to maxLevel sometimes (escapes); highRate packs the block.
inline std::vector<RunLevel> randomBlock(std::mt19937& rng, bool intra, int maxLevel, bool highRate) {
    std::vector<RunLevel> out;
    int i = intra ? 0 : -1;
    const int count = highRate ? 10 + static_cast<int>(rng() % 50) : static_cast<int>(rng() % 12);
    for (int n = 0; n < count; ++n) {
        const int room = 63 - i - 1;
        if (room < 0) break;
        int run = highRate ? static_cast<int>(rng() % 3) : static_cast<int>(rng() % 8);
        if (rng() % 16 == 0) run = static_cast<int>(rng() % 64);
        if (run > room) run = static_cast<int>(rng() % (room + 1));
        const unsigned r = rng() % 100;
        int mag = r < 50 ? 1 : r < 80 ? 2 + static_cast<int>(rng() % 4) : r < 95 ? 1 + static_cast<int>(rng() % 40)
                                                                             : 1 + static_cast<int>(rng() % maxLevel);
        out.push_back({run, (rng() & 1) ? -mag : mag});
        i += run + 1;
    }
    return out;
}

}  // namespace mpeg2test

#endif
