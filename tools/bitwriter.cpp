#include "zubvc_tools/bitwriter.h"

namespace zubtools {

void BitWriter::put(uint32_t v, int n) {
    for (int i = n - 1; i >= 0; --i) {
        if ((bits_ & 7) == 0) bytes_.push_back(0);
        if ((v >> i) & 1u) bytes_.back() |= static_cast<uint8_t>(0x80u >> (bits_ & 7));
        ++bits_;
    }
}

void BitWriter::ue(uint32_t v) {
    const uint64_t code = uint64_t{v} + 1;
    int len = 0;
    while ((code >> len) > 1) ++len;
    put(0, len);
    // The code itself, len + 1 bits, may be 33 bits long for v = 2^32 - 1.
    if (len + 1 > 32) {
        put(1, 1);
        put(static_cast<uint32_t>(code), 32);
    } else {
        put(static_cast<uint32_t>(code), len + 1);
    }
}

void BitWriter::se(int32_t v) {
    const int64_t w = v;
    ue(static_cast<uint32_t>(w > 0 ? 2 * w - 1 : -2 * w));
}

void BitWriter::alignZero() {
    while (bits_ & 7) put(0, 1);
}

std::vector<uint32_t> BitWriter::words(size_t padWords) const {
    return bytesToWords(bytes_.data(), bytes_.size(), padWords);
}

std::vector<uint32_t> bytesToWords(const uint8_t* data, size_t size, size_t padWords) {
    std::vector<uint32_t> w((size + 3) / 4 + padWords, 0);
    for (size_t i = 0; i < size; ++i) w[i / 4] |= uint32_t{data[i]} << (24 - 8 * (i % 4));
    return w;
}

}  // namespace zubtools
