// NAL unit extraction and RBSP buffers of zubvc-h264dec.
#include "bits.h"

namespace h264dec {

std::vector<NalSpan> splitAnnexB(const uint8_t* data, size_t size) {
    std::vector<NalSpan> nals;
    size_t i = 0, start = SIZE_MAX;
    auto close = [&](size_t end) {
        if (start == SIZE_MAX) return;
        while (end > start && data[end - 1] == 0) --end;
        if (end > start) nals.push_back({data + start, end - start});
    };
    while (i + 2 < size) {
        if (data[i] == 0 && data[i + 1] == 0 && data[i + 2] == 1) {
            close(i);
            i += 3;
            start = i;
        } else {
            ++i;
        }
    }
    close(size);
    return nals;
}

void Rbsp::assign(const uint8_t* nal, size_t size) {
    bytes_.clear();
    int zeros = 0;
    for (size_t i = 1; i < size; ++i) {  // byte 0 is the NAL header
        const uint8_t b = nal[i];
        if (zeros >= 2 && b == 3) {
            zeros = 0;
            continue;
        }
        zeros = b == 0 ? zeros + 1 : 0;
        bytes_.push_back(b);
    }
    bits_ = bytes_.size() * 8;
    stop_ = bits_;
    for (size_t k = bytes_.size(); k-- > 0;) {
        if (bytes_[k]) {
            stop_ = k * 8 + 7 - static_cast<size_t>(__builtin_ctz(bytes_[k]));
            break;
        }
    }
    const size_t dataWords = (bytes_.size() + 3) / 4;
    words_.assign(dataWords * 2 + 64, 0xFFFFFFFFu);
    for (size_t k = 0; k < bytes_.size(); ++k) {
        uint32_t& w = words_[k >> 2];
        const int shift = 24 - 8 * static_cast<int>(k & 3);
        w = (w & ~(0xFFu << shift)) | (uint32_t{bytes_[k]} << shift);
    }
}

}  // namespace h264dec
