// MD5 (RFC 1321) for the per-frame hashes of the example decoders.
#ifndef ZUBVC_EXAMPLES_COMMON_MD5_H
#define ZUBVC_EXAMPLES_COMMON_MD5_H

#include <cstddef>
#include <cstdint>
#include <string>

namespace zubex {

class Md5 {
public:
    Md5();
    void update(const uint8_t* data, size_t size);
    // Finishes the hash; returns 32 lowercase hex digits.
    std::string hexDigest();

private:
    void block(const uint8_t* p);
    uint32_t h_[4];
    uint8_t buf_[64];
    size_t bufLen_ = 0;
    uint64_t total_ = 0;
};

}  // namespace zubex

#endif
