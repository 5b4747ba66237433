// Shared pieces of the libFuzzer targets: a contract check that stops the run
// with a message, and word-cursor streams allocated to the exact word so that
// AddressSanitizer sees any read past the one readable word a word-cursor
// decoder may touch after its data.
#ifndef ZUBVC_FUZZ_H
#define ZUBVC_FUZZ_H

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory>

// A broken contract is a finding: report it and abort, which libFuzzer
// records as a crash with the input that caused it.
#define FUZZ_CHECK(cond, ...)                                                   \
    do {                                                                        \
        if (!(cond)) {                                                          \
            std::fprintf(stderr, "%s:%d: contract broken: %s: ", __FILE__,      \
                         __LINE__, #cond);                                      \
            std::fprintf(stderr, __VA_ARGS__);                                  \
            std::fprintf(stderr, "\n");                                         \
            std::abort();                                                       \
        }                                                                       \
    } while (0)

namespace fuzz {

// A stream for the word cursor: `size` bytes of data packed into native words
// (most significant byte first, the last word's missing bytes zero), then
// `padWords` words of `pad`, then exactly one readable word (`tail`), and
// nothing after it in the allocation.
class WordStream {
public:
    WordStream(const uint8_t* data, size_t size, size_t padWords, uint32_t pad = 0xFFFFFFFFu,
               uint32_t tail = 0xFFFFFFFFu)
        : dataWords_((size + 3) / 4), words_(dataWords_ + padWords + 1),
          buf_(new uint32_t[words_]) {
        for (size_t i = 0; i < words_; ++i) buf_[i] = i < dataWords_ ? 0u : pad;
        for (size_t i = 0; i < size; ++i) buf_[i / 4] |= uint32_t{data[i]} << (24 - 8 * (i % 4));
        buf_[words_ - 1] = tail;
    }
    const uint32_t* words() const { return buf_.get(); }
    uint32_t* words() { return buf_.get(); }
    size_t wordCount() const { return words_; }  // including the readable word
    size_t dataBits() const { return dataWords_ * 32; }
    // Bits before the readable word: where no cursor may ever stand beyond.
    size_t readableBits() const { return (words_ - 1) * 32; }

    // Bit position of a cursor (word pointer, offset 31..0) from the start.
    size_t bitPos(const uint32_t* w, uint32_t offset) const {
        return static_cast<size_t>(w - buf_.get()) * 32 + (31u - (offset & 31u));
    }
    bool inside(const uint32_t* w) const { return w >= buf_.get() && w < buf_.get() + words_; }
    // Bit b of the stream (0 = the first, most significant bit of word 0).
    int bit(size_t b) const { return static_cast<int>((buf_[b / 32] >> (31 - b % 32)) & 1u); }

private:
    size_t dataWords_, words_;
    std::unique_ptr<uint32_t[]> buf_;
};

// The words of `s` from the word holding bit `begin` on, with the bits from
// bit `end` (exclusive) on inverted, ending one word after the word that
// holds bit end - 1, that one included (the readable word): a decoder that
// consumed bits begin .. end - 1 of `s` must give the same result here, may
// read the readable word and nothing further, and must not let the bits
// after `end` change what it decodes.  Bit begin of `s` is bit begin % 32 of
// the copy.
inline WordStream tightCopy(const WordStream& s, size_t begin, size_t end) {
    const size_t first = begin / 32, last = (end > begin ? end - 1 : begin) / 32;
    WordStream t(nullptr, 0, last - first + 1, 0, 0);
    uint32_t* w = t.words();
    for (size_t i = first; i <= last + 1; ++i) {
        const uint32_t src = s.words()[i];
        uint32_t keep = 0;  // bits before `end` in word i
        if (end >= 32 * (i + 1)) keep = 0xFFFFFFFFu;
        else if (end > 32 * i) keep = ~(0xFFFFFFFFu >> (end - 32 * i));
        w[i - first] = (src & keep) | (~src & ~keep);
    }
    return t;
}

}  // namespace fuzz

#endif
