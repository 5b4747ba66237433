// Bit writer for tests, benchmarks and example encoders: appends bits most
// significant first and hands the result out as bytes or as the native 32-bit
// words that the library's word cursor reads.
#ifndef ZUBVC_TOOLS_BITWRITER_H
#define ZUBVC_TOOLS_BITWRITER_H

#include <cstddef>
#include <cstdint>
#include <vector>

namespace zubtools {

class BitWriter {
public:
    // Appends the low n bits of v (0 <= n <= 32), most significant first.
    void put(uint32_t v, int n);
    void putBit(int b) { put(b ? 1u : 0u, 1); }
    // Exp-Golomb ue(v) and se(v) (H.264 clause 9.1).
    void ue(uint32_t v);
    void se(int32_t v);
    // Pads with zero bits to a byte boundary.
    void alignZero();

    size_t bitCount() const { return bits_; }
    const std::vector<uint8_t>& bytes() const { return bytes_; }
    // The stream as native words whose most significant byte is the earliest
    // stream byte, followed by `padWords` zero words (the word cursor may read
    // one word beyond the data).
    std::vector<uint32_t> words(size_t padWords = 2) const;

private:
    std::vector<uint8_t> bytes_;
    size_t bits_ = 0;
};

// Packs big-endian bytes into native words as the word cursor expects them
// (a byte swap on a little-endian host), then appends `padWords` zero words.
std::vector<uint32_t> bytesToWords(const uint8_t* data, size_t size, size_t padWords = 2);

// Word-cursor position after consuming `bitPos` bits of a stream starting at
// words[0], offset 31.
struct WordPos {
    size_t word;
    uint32_t offset;
};
inline WordPos wordPosAfter(size_t bitPos) {
    return WordPos{bitPos / 32, static_cast<uint32_t>(31 - bitPos % 32)};
}

}  // namespace zubtools

#endif
