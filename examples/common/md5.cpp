// MD5 as RFC 1321 describes it: 64-byte blocks, four rounds of sixteen steps.
#include "common/md5.h"

#include <cmath>
#include <cstring>

namespace zubex {
namespace {

constexpr int kShift[64] = {7, 12, 17, 22, 7, 12, 17, 22, 7, 12, 17, 22, 7, 12, 17, 22,
                            5, 9,  14, 20, 5, 9,  14, 20, 5, 9,  14, 20, 5, 9,  14, 20,
                            4, 11, 16, 23, 4, 11, 16, 23, 4, 11, 16, 23, 4, 11, 16, 23,
                            6, 10, 15, 21, 6, 10, 15, 21, 6, 10, 15, 21, 6, 10, 15, 21};

// T[i] = floor(2^32 x |sin(i + 1)|) (RFC 1321 section 3.4).
struct SineTable {
    uint32_t t[64];
    SineTable() {
        for (int i = 0; i < 64; ++i) t[i] = static_cast<uint32_t>(std::floor(4294967296.0 * std::fabs(std::sin(i + 1.0))));
    }
};
const SineTable kSine;

uint32_t rotl(uint32_t x, int s) { return (x << s) | (x >> (32 - s)); }

}  // namespace

Md5::Md5() : h_{0x67452301u, 0xefcdab89u, 0x98badcfeu, 0x10325476u} {}

void Md5::block(const uint8_t* p) {
    uint32_t m[16];
    for (int i = 0; i < 16; ++i)
        m[i] = uint32_t{p[4 * i]} | uint32_t{p[4 * i + 1]} << 8 | uint32_t{p[4 * i + 2]} << 16 |
               uint32_t{p[4 * i + 3]} << 24;
    uint32_t a = h_[0], b = h_[1], c = h_[2], d = h_[3];
    for (int i = 0; i < 64; ++i) {
        uint32_t f;
        int g;
        if (i < 16) {
            f = (b & c) | (~b & d);
            g = i;
        } else if (i < 32) {
            f = (d & b) | (~d & c);
            g = (5 * i + 1) & 15;
        } else if (i < 48) {
            f = b ^ c ^ d;
            g = (3 * i + 5) & 15;
        } else {
            f = c ^ (b | ~d);
            g = (7 * i) & 15;
        }
        const uint32_t t = d;
        d = c;
        c = b;
        b = b + rotl(a + f + kSine.t[i] + m[g], kShift[i]);
        a = t;
    }
    h_[0] += a;
    h_[1] += b;
    h_[2] += c;
    h_[3] += d;
}

void Md5::update(const uint8_t* data, size_t size) {
    total_ += size;
    if (bufLen_) {
        const size_t n = size < 64 - bufLen_ ? size : 64 - bufLen_;
        std::memcpy(buf_ + bufLen_, data, n);
        bufLen_ += n;
        data += n;
        size -= n;
        if (bufLen_ < 64) return;
        block(buf_);
        bufLen_ = 0;
    }
    for (; size >= 64; data += 64, size -= 64) block(data);
    std::memcpy(buf_, data, size);
    bufLen_ = size;
}

std::string Md5::hexDigest() {
    const uint64_t bits = total_ * 8;
    const uint8_t pad = 0x80;
    update(&pad, 1);
    const uint8_t zero = 0;
    while (bufLen_ != 56) update(&zero, 1);
    uint8_t len[8];
    for (int i = 0; i < 8; ++i) len[i] = static_cast<uint8_t>(bits >> (8 * i));
    update(len, 8);
    static const char hex[] = "0123456789abcdef";
    std::string s;
    for (uint32_t h : h_)
        for (int i = 0; i < 4; ++i) {
            const uint8_t byte = static_cast<uint8_t>(h >> (8 * i));
            s += hex[byte >> 4];
            s += hex[byte & 15];
        }
    return s;
}

}  // namespace zubex
