// Damaged copies of a test stream for the decoders' never-crash tests: every
// fourth trial cuts the stream at a random length, the others flip 1 to 4
// bits (1 to 40 on every third trial) at random positions.
#ifndef ZUBVC_TESTS_CORRUPT_STREAM_H
#define ZUBVC_TESTS_CORRUPT_STREAM_H

#include <cstdint>
#include <random>
#include <vector>

inline std::vector<uint8_t> corruptStream(const std::vector<uint8_t>& data, int trial, std::mt19937& rng) {
    std::vector<uint8_t> bad = data;
    if (trial % 4 == 0) {
        bad.resize(rng() % bad.size());
    } else {
        const int flips = 1 + static_cast<int>(rng() % (trial % 3 == 0 ? 40 : 4));
        for (int k = 0; k < flips; ++k) bad[rng() % bad.size()] ^= static_cast<uint8_t>(1u << (rng() % 8));
    }
    return bad;
}

#endif
