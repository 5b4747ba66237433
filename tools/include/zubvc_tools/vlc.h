// Builder of multi-level code tables, the format the library's word-cursor
// decoders walk (H.264 CAVLC, MPEG-1/2 VLC):
//  - entry 0 of a (sub-)table holds the number of bits N looked up there, and
//    entry v + 1 the entry for the looked-up value v (0 <= v < 2^N);
//  - a final entry holds the value fields in bits 8..31 and in its low byte
//    the bits to give back to the stream (N minus the code's remaining
//    length);
//  - a link entry holds the array index of the sub-table's entry 0 in bits
//    8..31 and 0x80 in its low byte;
//  - patterns that start no code word hold the invalid marker 0xF0F1 in bits
//    8..31 and give back nothing.
#ifndef ZUBVC_TOOLS_VLC_H
#define ZUBVC_TOOLS_VLC_H

#include <cstdint>
#include <string_view>
#include <vector>

#include "zubvc.h"

namespace zubtools {

inline constexpr uint32_t kVlcInvalidFields = 0xF0F1;
inline constexpr Zub32s kVlcInvalidEntry = static_cast<Zub32s>(kVlcInvalidFields << 8);

// One code word: its `length` bits right-aligned in `code`, and the value
// fields (0 .. 2^24 - 1, not 0xF0F1) that its final entry carries.
struct VlcCode {
    uint32_t code;
    int length;  // 1..32
    uint32_t fields;
};

// Parses a code written as in the standards' tables, "0000 0111": '0' and
// '1' are bits, spaces are ignored.  Throws std::invalid_argument on any other
// character or on more than 32 bits.
VlcCode vlcCodeFromString(std::string_view bits, uint32_t fields);

// Builds the table of a prefix-free code.  levelBits gives the bits looked up
// at each level, root first (each 1..16); levels beyond the list repeat its
// last width.  A sub-table is never wider than the longest code below its
// link needs.  Patterns that start no code word become invalid entries.
// Throws std::invalid_argument if the codes are not prefix-free, a length or
// width is out of range, or a value does not fit the fields.
std::vector<Zub32s> buildVlcTable(const std::vector<VlcCode>& codes, const std::vector<int>& levelBits);

}  // namespace zubtools

#endif
