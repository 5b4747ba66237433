// The MPEG-1/MPEG-2 variable-length code tables that callers of the
// library's VLC functions supply (ISO/IEC 13818-2 Annex B, Tables B.1 to B.4
// and B.9 to B.15, and the D-picture macroblock_type of ISO/IEC 11172-2
// Table B.2d), as source lists for zubiHuffmanTableInitAlloc_32s and
// zubiHuffmanRunLevelTableInitAlloc_32s, as code words for encoders, and as
// built tables.
#ifndef ZUBVC_TOOLS_MPEG2VLC_H
#define ZUBVC_TOOLS_MPEG2VLC_H

#include <cstdint>
#include <vector>

#include "zubvc.h"

namespace zubtools {

enum class Mpeg2Vlc {
    MbAddressIncrement,  // B.1: 1..33, kMbaEscape, kMbaStuffing
    MbTypeI,             // B.2: macroblock_type flags below
    MbTypeP,             // B.3
    MbTypeB,             // B.4
    MbTypeD,             // ISO/IEC 11172-2 B.2d: D pictures (intra only)
    CodedBlockPattern,   // B.9: cbp 0..63 (0 is MPEG-2 only)
    MotionCode,          // B.10: -16..16
    DmVector,            // B.11: -1, 0, 1
    DcSizeLuma,          // B.12: dct_dc_size_luminance 0..11
    DcSizeChroma,        // B.13: dct_dc_size_chrominance 0..11
    DctTableZero,        // B.14: run-level, also ISO/IEC 11172-2 B.5c-f
    DctTableOne,         // B.15: run-level (MPEG-2 intra_vlc_format 1)
};
inline constexpr int kMpeg2VlcCount = 12;

// macroblock_address_increment values beyond 1..33.
inline constexpr Zub32s kMbaEscape = 34;    // adds 33, MPEG-1 and MPEG-2
inline constexpr Zub32s kMbaStuffing = 35;  // macroblock_stuffing, MPEG-1 only
// macroblock_type values: an OR of these flags.
inline constexpr Zub32s kMbIntra = 1;
inline constexpr Zub32s kMbPattern = 2;
inline constexpr Zub32s kMbMotionBackward = 4;
inline constexpr Zub32s kMbMotionForward = 8;
inline constexpr Zub32s kMbQuant = 16;
// Reserved runs of the DCT coefficient tables (the library's convention).
inline constexpr int kDctEndOfBlock = 254;
inline constexpr int kDctEscape = 255;

// True for the two DCT coefficient tables (records of code, run, level).
constexpr bool mpeg2VlcIsRunLevel(Mpeg2Vlc t) { return t == Mpeg2Vlc::DctTableZero || t == Mpeg2Vlc::DctTableOne; }

// One code word: `length` bits right-aligned in `code`.  For the DCT tables
// the sign bit is part of the code (s = 1: negative level); end of block and
// escape carry runs 254 and 255 with level 0.  For the other tables `run` is
// 0 and `value` is the decoded value.
struct Mpeg2Code {
    uint32_t code;
    int length;
    int run;
    int value;  // the level for the DCT tables
};

// Every code word of a table, in the order of the standard's table.
const std::vector<Mpeg2Code>& mpeg2VlcCodes(Mpeg2Vlc t);

// The source list of a table (word 0 holds the table's index in Mpeg2Vlc).
// The DCT tables look up 8, 5 and 4 bits, the others one or two levels.
const std::vector<Zub32s>& mpeg2VlcSource(Mpeg2Vlc t);

// The source list format over any codes: levels gives the bits looked up per
// level, root first.
std::vector<Zub32s> mpeg2SourceList(const std::vector<Mpeg2Code>& codes, const std::vector<int>& levels,
                                    bool runLevel, Zub32s word0 = 0);

// Every table built with the library's builders, once (thread-safe static;
// freed with zubiHuffmanTableFree_32s at exit).
const Zub32s* mpeg2VlcTable(Mpeg2Vlc t);
// Every table's encode table built with zubiCreateRLEncodeTable (kind 1 for
// the DCT tables, 0 for the others), once; freed at exit.
const Zub32s* mpeg2VlcEncodeTable(Mpeg2Vlc t);

}  // namespace zubtools

#endif
