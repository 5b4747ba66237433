// Bit reading for zubvc-h264dec: NAL unit extraction with removal of the
// emulation prevention bytes (H.264 clause 7.4.1), and an RBSP reader with
// Exp-Golomb codes (clause 9.1) that shares its word buffer with the
// library's word-cursor decoders.
#ifndef H264DEC_BITS_H
#define H264DEC_BITS_H

#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

namespace h264dec {

struct DecodeError : std::runtime_error {
    explicit DecodeError(const std::string& what) : std::runtime_error(what) {}
};

// One NAL unit located in an Annex B byte stream (start code excluded).
struct NalSpan {
    const uint8_t* data;
    size_t size;
};

// Splits an Annex B byte stream at its start codes (00 00 01, possibly
// preceded by more zeros); trailing zero bytes of a NAL unit are dropped.
std::vector<NalSpan> splitAnnexB(const uint8_t* data, size_t size);

// The RBSP of one NAL unit as native 32-bit words whose most significant byte
// is the earliest byte.  After the data come padding words of all ones, as
// many as there are data words plus 64, so that no reader - ours or the
// library's, which reads as far as the codes lead - leaves the buffer however
// the bits run; every read is checked against the true size afterwards.
class Rbsp {
public:
    // Removes emulation prevention bytes from the payload after the NAL
    // header byte.
    void assign(const uint8_t* nal, size_t size);
    const uint32_t* words() const { return words_.data(); }
    size_t bitCount() const { return bits_; }
    // Position of the rbsp_stop_one_bit (bitCount() when there is none).
    size_t stopBit() const { return stop_; }

private:
    std::vector<uint32_t> words_;
    std::vector<uint8_t> bytes_;
    size_t bits_ = 0;
    size_t stop_ = 0;
};

class BitReader {
public:
    explicit BitReader(const Rbsp& r) : w_(r.words()), end_(r.bitCount()), stop_(r.stopBit()) {}

    uint32_t peek(int n) const {  // 1 <= n <= 32
        const size_t i = pos_ >> 5;
        const uint64_t v = (uint64_t{w_[i]} << 32 | w_[i + 1]) << (pos_ & 31);
        return static_cast<uint32_t>(v >> (64 - n));
    }
    uint32_t u(int n) {
        if (n == 0) return 0;
        const uint32_t v = peek(n);
        pos_ += static_cast<size_t>(n);
        check();
        return v;
    }
    bool flag() { return u(1) != 0; }
    uint32_t ue() {
        const uint32_t bits = peek(32);
        if (bits == 0) throw DecodeError("Exp-Golomb code too long");
        const int lz = __builtin_clz(bits);
        if (lz < 16) {
            const int len = 2 * lz + 1;
            pos_ += static_cast<size_t>(len);
            check();
            return (bits >> (32 - len)) - 1u;
        }
        pos_ += static_cast<size_t>(lz) + 1;
        const uint32_t suffix = u(lz);
        return static_cast<uint32_t>((uint64_t{1} << lz) - 1 + suffix);
    }
    int32_t se() {
        const uint32_t k = ue();
        return (k & 1u) ? static_cast<int32_t>((k >> 1) + 1) : -static_cast<int32_t>(k >> 1);
    }
    // ue(v) that must not exceed maxVal.
    uint32_t ueMax(uint32_t maxVal, const char* what) {
        const uint32_t v = ue();
        if (v > maxVal) throw DecodeError(std::string("value out of range: ") + what);
        return v;
    }
    int32_t seRange(int32_t lo, int32_t hi, const char* what) {
        const int32_t v = se();
        if (v < lo || v > hi) throw DecodeError(std::string("value out of range: ") + what);
        return v;
    }
    bool byteAligned() const { return (pos_ & 7) == 0; }
    void alignByte() { pos_ = (pos_ + 7) & ~size_t{7}; check(); }
    bool moreRbspData() const { return pos_ < stop_; }
    size_t pos() const { return pos_; }

    // Word cursor for the library's decoders, and back.
    const uint32_t* cursorWord() const { return w_ + (pos_ >> 5); }
    uint32_t cursorOffset() const { return 31u - static_cast<uint32_t>(pos_ & 31); }
    void setCursor(const uint32_t* word, uint32_t offset) {
        pos_ = static_cast<size_t>(word - w_) * 32 + (31u - offset);
        check();
    }

private:
    void check() const {
        if (pos_ > end_) throw DecodeError("slice data ends early");
    }
    const uint32_t* w_;
    size_t pos_ = 0;
    size_t end_;
    size_t stop_;
};

}  // namespace h264dec

#endif
