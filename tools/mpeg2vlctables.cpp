#include <array>
#include <stdexcept>

#include "zubvc_tools/mpeg2vlc.h"
#include "zubvc_tools/vlc.h"

namespace zubtools {

namespace {

struct ValueRow {
    const char* bits;
    int value;
};
struct RunLevelRow {
    const char* bits;  // without the sign bit
    int run;
    int level;
};

// ISO/IEC 13818-2 Table B.1, macroblock_address_increment.
constexpr ValueRow kTableB1[] = {
    {"1", 1},             {"011", 2},           {"010", 3},           {"0011", 4},
    {"0010", 5},          {"0001 1", 6},        {"0001 0", 7},        {"0000 111", 8},
    {"0000 110", 9},      {"0000 1011", 10},    {"0000 1010", 11},    {"0000 1001", 12},
    {"0000 1000", 13},    {"0000 0111", 14},    {"0000 0110", 15},    {"0000 0101 11", 16},
    {"0000 0101 10", 17}, {"0000 0101 01", 18}, {"0000 0101 00", 19}, {"0000 0100 11", 20},
    {"0000 0100 10", 21}, {"0000 0100 011", 22}, {"0000 0100 010", 23}, {"0000 0100 001", 24},
    {"0000 0100 000", 25}, {"0000 0011 111", 26}, {"0000 0011 110", 27}, {"0000 0011 101", 28},
    {"0000 0011 100", 29}, {"0000 0011 011", 30}, {"0000 0011 010", 31}, {"0000 0011 001", 32},
    {"0000 0011 000", 33}, {"0000 0001 000", kMbaEscape},
    // ISO/IEC 11172-2 Table B.1: macroblock_stuffing.
    {"0000 0001 111", kMbaStuffing},
};

// Tables B.2 to B.4, macroblock_type in I, P and B pictures.
constexpr ValueRow kTableB2[] = {{"1", kMbIntra}, {"01", kMbQuant | kMbIntra}};
constexpr ValueRow kTableB3[] = {
    {"1", kMbMotionForward | kMbPattern},
    {"01", kMbPattern},
    {"001", kMbMotionForward},
    {"0001 1", kMbIntra},
    {"0001 0", kMbQuant | kMbMotionForward | kMbPattern},
    {"0000 1", kMbQuant | kMbPattern},
    {"0000 01", kMbQuant | kMbIntra},
};
constexpr ValueRow kTableB4[] = {
    {"10", kMbMotionForward | kMbMotionBackward},
    {"11", kMbMotionForward | kMbMotionBackward | kMbPattern},
    {"010", kMbMotionBackward},
    {"011", kMbMotionBackward | kMbPattern},
    {"0010", kMbMotionForward},
    {"0011", kMbMotionForward | kMbPattern},
    {"0001 1", kMbIntra},
    {"0001 0", kMbQuant | kMbMotionForward | kMbMotionBackward | kMbPattern},
    {"0000 11", kMbQuant | kMbMotionForward | kMbPattern},
    {"0000 10", kMbQuant | kMbMotionBackward | kMbPattern},
    {"0000 01", kMbQuant | kMbIntra},
};
// ISO/IEC 11172-2 Table B.2d, macroblock_type in D pictures.
constexpr ValueRow kTableB2d[] = {{"1", kMbIntra}};

// Table B.9, coded_block_pattern.
constexpr ValueRow kTableB9[] = {
    {"111", 60},        {"1101", 4},        {"1100", 8},        {"1011", 16},       {"1010", 32},
    {"1001 1", 12},     {"1001 0", 48},     {"1000 1", 20},     {"1000 0", 40},     {"0111 1", 28},
    {"0111 0", 44},     {"0110 1", 52},     {"0110 0", 56},     {"0101 1", 1},      {"0101 0", 61},
    {"0100 1", 2},      {"0100 0", 62},     {"0011 11", 24},    {"0011 10", 36},    {"0011 01", 3},
    {"0011 00", 63},    {"0010 111", 5},    {"0010 110", 9},    {"0010 101", 17},   {"0010 100", 33},
    {"0010 011", 6},    {"0010 010", 10},   {"0010 001", 18},   {"0010 000", 34},   {"0001 1111", 7},
    {"0001 1110", 11},  {"0001 1101", 19},  {"0001 1100", 35},  {"0001 1011", 13},  {"0001 1010", 49},
    {"0001 1001", 21},  {"0001 1000", 41},  {"0001 0111", 14},  {"0001 0110", 50},  {"0001 0101", 22},
    {"0001 0100", 42},  {"0001 0011", 15},  {"0001 0010", 51},  {"0001 0001", 23},  {"0001 0000", 43},
    {"0000 1111", 25},  {"0000 1110", 37},  {"0000 1101", 26},  {"0000 1100", 38},  {"0000 1011", 29},
    {"0000 1010", 45},  {"0000 1001", 53},  {"0000 1000", 57},  {"0000 0111", 30},  {"0000 0110", 46},
    {"0000 0101", 54},  {"0000 0100", 58},  {"0000 0011 1", 31}, {"0000 0011 0", 47}, {"0000 0010 1", 55},
    {"0000 0010 0", 59}, {"0000 0001 1", 27}, {"0000 0001 0", 39}, {"0000 0000 1", 0},
};

// Table B.10, motion_code: the magnitudes; the sign bit follows (1: negative).
constexpr ValueRow kTableB10[] = {
    {"01", 1},           {"001", 2},          {"0001", 3},         {"0000 11", 4},      {"0000 101", 5},
    {"0000 100", 6},     {"0000 011", 7},     {"0000 0101 1", 8},  {"0000 0101 0", 9},  {"0000 0100 1", 10},
    {"0000 0100 01", 11}, {"0000 0100 00", 12}, {"0000 0011 11", 13}, {"0000 0011 10", 14}, {"0000 0011 01", 15},
    {"0000 0011 00", 16},
};

// Table B.11, dmvector.
constexpr ValueRow kTableB11[] = {{"0", 0}, {"10", 1}, {"11", -1}};

// Tables B.12 and B.13, dct_dc_size_luminance and dct_dc_size_chrominance.
constexpr ValueRow kTableB12[] = {
    {"100", 0},    {"00", 1},      {"01", 2},       {"101", 3},        {"110", 4},         {"1110", 5},
    {"1111 0", 6}, {"1111 10", 7}, {"1111 110", 8}, {"1111 1110", 9}, {"1111 1111 0", 10}, {"1111 1111 1", 11},
};
constexpr ValueRow kTableB13[] = {
    {"00", 0},      {"01", 1},       {"10", 2},         {"110", 3},          {"1110", 4},          {"1111 0", 5},
    {"1111 10", 6}, {"1111 110", 7}, {"1111 1110", 8}, {"1111 1111 0", 9}, {"1111 1111 10", 10}, {"1111 1111 11", 11},
};

// Table B.14, DCT coefficients table zero (the "11" form of run 0, level 1;
// the "1" form of a non-intra block's first coefficient is read by the
// block decoders themselves).
constexpr RunLevelRow kTableB14[] = {
    {"10", kDctEndOfBlock, 0},
    {"11", 0, 1},
    {"011", 1, 1},
    {"0100", 0, 2},
    {"0101", 2, 1},
    {"0010 1", 0, 3},
    {"0011 1", 3, 1},
    {"0011 0", 4, 1},
    {"0001 10", 1, 2},
    {"0001 11", 5, 1},
    {"0001 01", 6, 1},
    {"0001 00", 7, 1},
    {"0000 110", 0, 4},
    {"0000 100", 2, 2},
    {"0000 111", 8, 1},
    {"0000 101", 9, 1},
    {"0000 01", kDctEscape, 0},
    {"0010 0110", 0, 5},
    {"0010 0001", 0, 6},
    {"0010 0101", 1, 3},
    {"0010 0100", 3, 2},
    {"0010 0111", 10, 1},
    {"0010 0011", 11, 1},
    {"0010 0010", 12, 1},
    {"0010 0000", 13, 1},
    {"0000 0010 10", 0, 7},
    {"0000 0011 00", 1, 4},
    {"0000 0010 11", 2, 3},
    {"0000 0011 11", 4, 2},
    {"0000 0010 01", 5, 2},
    {"0000 0011 10", 14, 1},
    {"0000 0011 01", 15, 1},
    {"0000 0010 00", 16, 1},
    {"0000 0001 1101", 0, 8},
    {"0000 0001 1000", 0, 9},
    {"0000 0001 0011", 0, 10},
    {"0000 0001 0000", 0, 11},
    {"0000 0001 1011", 1, 5},
    {"0000 0001 0100", 2, 4},
    {"0000 0001 1100", 3, 3},
    {"0000 0001 0010", 4, 3},
    {"0000 0001 1110", 6, 2},
    {"0000 0001 0101", 7, 2},
    {"0000 0001 0001", 8, 2},
    {"0000 0001 1111", 17, 1},
    {"0000 0001 1010", 18, 1},
    {"0000 0001 1001", 19, 1},
    {"0000 0001 0111", 20, 1},
    {"0000 0001 0110", 21, 1},
    {"0000 0000 1101 0", 0, 12},
    {"0000 0000 1100 1", 0, 13},
    {"0000 0000 1100 0", 0, 14},
    {"0000 0000 1011 1", 0, 15},
    {"0000 0000 1011 0", 1, 6},
    {"0000 0000 1010 1", 1, 7},
    {"0000 0000 1010 0", 2, 5},
    {"0000 0000 1001 1", 3, 4},
    {"0000 0000 1001 0", 5, 3},
    {"0000 0000 1000 1", 9, 2},
    {"0000 0000 1000 0", 10, 2},
    {"0000 0000 1111 1", 22, 1},
    {"0000 0000 1111 0", 23, 1},
    {"0000 0000 1110 1", 24, 1},
    {"0000 0000 1110 0", 25, 1},
    {"0000 0000 1101 1", 26, 1},
    {"0000 0000 0111 11", 0, 16},
    {"0000 0000 0111 10", 0, 17},
    {"0000 0000 0111 01", 0, 18},
    {"0000 0000 0111 00", 0, 19},
    {"0000 0000 0110 11", 0, 20},
    {"0000 0000 0110 10", 0, 21},
    {"0000 0000 0110 01", 0, 22},
    {"0000 0000 0110 00", 0, 23},
    {"0000 0000 0101 11", 0, 24},
    {"0000 0000 0101 10", 0, 25},
    {"0000 0000 0101 01", 0, 26},
    {"0000 0000 0101 00", 0, 27},
    {"0000 0000 0100 11", 0, 28},
    {"0000 0000 0100 10", 0, 29},
    {"0000 0000 0100 01", 0, 30},
    {"0000 0000 0100 00", 0, 31},
    {"0000 0000 0011 000", 0, 32},
    {"0000 0000 0010 111", 0, 33},
    {"0000 0000 0010 110", 0, 34},
    {"0000 0000 0010 101", 0, 35},
    {"0000 0000 0010 100", 0, 36},
    {"0000 0000 0010 011", 0, 37},
    {"0000 0000 0010 010", 0, 38},
    {"0000 0000 0010 001", 0, 39},
    {"0000 0000 0010 000", 0, 40},
    {"0000 0000 0011 111", 1, 8},
    {"0000 0000 0011 110", 1, 9},
    {"0000 0000 0011 101", 1, 10},
    {"0000 0000 0011 100", 1, 11},
    {"0000 0000 0011 011", 1, 12},
    {"0000 0000 0011 010", 1, 13},
    {"0000 0000 0011 001", 1, 14},
    {"0000 0000 0001 0011", 1, 15},
    {"0000 0000 0001 0010", 1, 16},
    {"0000 0000 0001 0001", 1, 17},
    {"0000 0000 0001 0000", 1, 18},
    {"0000 0000 0001 0100", 6, 3},
    {"0000 0000 0001 1010", 11, 2},
    {"0000 0000 0001 1001", 12, 2},
    {"0000 0000 0001 1000", 13, 2},
    {"0000 0000 0001 0111", 14, 2},
    {"0000 0000 0001 0110", 15, 2},
    {"0000 0000 0001 0101", 16, 2},
    {"0000 0000 0001 1111", 27, 1},
    {"0000 0000 0001 1110", 28, 1},
    {"0000 0000 0001 1101", 29, 1},
    {"0000 0000 0001 1100", 30, 1},
    {"0000 0000 0001 1011", 31, 1},
};

// Table B.15, DCT coefficients table one.  Codes of 12 bits and more are those
// of table zero, less the ten pairs that table one codes shorter.
constexpr RunLevelRow kTableB15Short[] = {
    {"0110", kDctEndOfBlock, 0},
    {"10", 0, 1},
    {"010", 1, 1},
    {"110", 0, 2},
    {"0010 1", 2, 1},
    {"0111", 0, 3},
    {"0011 1", 3, 1},
    {"0001 10", 4, 1},
    {"0011 0", 1, 2},
    {"0001 11", 5, 1},
    {"0000 110", 6, 1},
    {"0000 100", 7, 1},
    {"1110 0", 0, 4},
    {"0000 111", 2, 2},
    {"0000 101", 8, 1},
    {"1111 000", 9, 1},
    {"0000 01", kDctEscape, 0},
    {"1110 1", 0, 5},
    {"0001 01", 0, 6},
    {"1111 001", 1, 3},
    {"0010 0110", 3, 2},
    {"1111 010", 10, 1},
    {"0010 0001", 11, 1},
    {"0010 0101", 12, 1},
    {"0010 0100", 13, 1},
    {"0001 00", 0, 7},
    {"0010 0111", 1, 4},
    {"1111 1100", 2, 3},
    {"1111 1101", 4, 2},
    {"0000 0010 0", 5, 2},
    {"0000 0010 1", 14, 1},
    {"0000 0011 1", 15, 1},
    {"0000 0011 01", 16, 1},
    {"1111 011", 0, 8},
    {"1111 100", 0, 9},
    {"0010 0011", 0, 10},
    {"0010 0010", 0, 11},
    {"0010 0000", 1, 5},
    {"0000 0011 00", 2, 4},
    {"1111 1010", 0, 12},
    {"1111 1011", 0, 13},
    {"1111 1110", 0, 14},
    {"1111 1111", 0, 15},
};
// The table-zero rows of 12 bits and more that table one does not reuse.
constexpr int kTableB15Moved[][2] = {{0, 8},  {0, 9},  {0, 10}, {0, 11}, {0, 12},
                                     {0, 13}, {0, 14}, {0, 15}, {1, 5},  {2, 4}};

template <size_t N>
std::vector<Mpeg2Code> valueCodes(const ValueRow (&rows)[N], bool signBit) {
    std::vector<Mpeg2Code> out;
    for (const ValueRow& r : rows) {
        const VlcCode c = vlcCodeFromString(r.bits, 0);
        if (!signBit || r.value == 0) {
            out.push_back(Mpeg2Code{c.code, c.length, 0, r.value});
        } else {
            out.push_back(Mpeg2Code{c.code << 1, c.length + 1, 0, r.value});
            out.push_back(Mpeg2Code{(c.code << 1) | 1u, c.length + 1, 0, -r.value});
        }
    }
    return out;
}

void addRunLevel(std::vector<Mpeg2Code>& out, const RunLevelRow& r) {
    const VlcCode c = vlcCodeFromString(r.bits, 0);
    if (r.run == kDctEndOfBlock || r.run == kDctEscape) {
        out.push_back(Mpeg2Code{c.code, c.length, r.run, 0});
        return;
    }
    out.push_back(Mpeg2Code{c.code << 1, c.length + 1, r.run, r.level});
    out.push_back(Mpeg2Code{(c.code << 1) | 1u, c.length + 1, r.run, -r.level});
}

std::vector<Mpeg2Code> tableZeroCodes() {
    std::vector<Mpeg2Code> out;
    for (const RunLevelRow& r : kTableB14) addRunLevel(out, r);
    return out;
}

std::vector<Mpeg2Code> tableOneCodes() {
    std::vector<Mpeg2Code> out;
    for (const RunLevelRow& r : kTableB15Short) addRunLevel(out, r);
    for (const RunLevelRow& r : kTableB14) {
        if (vlcCodeFromString(r.bits, 0).length < 12) continue;
        bool moved = false;
        for (const auto& m : kTableB15Moved) moved = moved || (m[0] == r.run && m[1] == r.level);
        if (!moved) addRunLevel(out, r);
    }
    return out;
}

std::vector<Mpeg2Code> buildCodes(Mpeg2Vlc t) {
    switch (t) {
        case Mpeg2Vlc::MbAddressIncrement: return valueCodes(kTableB1, false);
        case Mpeg2Vlc::MbTypeI: return valueCodes(kTableB2, false);
        case Mpeg2Vlc::MbTypeP: return valueCodes(kTableB3, false);
        case Mpeg2Vlc::MbTypeB: return valueCodes(kTableB4, false);
        case Mpeg2Vlc::MbTypeD: return valueCodes(kTableB2d, false);
        case Mpeg2Vlc::CodedBlockPattern: return valueCodes(kTableB9, false);
        case Mpeg2Vlc::MotionCode: {
            std::vector<Mpeg2Code> out{Mpeg2Code{1, 1, 0, 0}};
            for (const Mpeg2Code& c : valueCodes(kTableB10, true)) out.push_back(c);
            return out;
        }
        case Mpeg2Vlc::DmVector: return valueCodes(kTableB11, false);
        case Mpeg2Vlc::DcSizeLuma: return valueCodes(kTableB12, false);
        case Mpeg2Vlc::DcSizeChroma: return valueCodes(kTableB13, false);
        case Mpeg2Vlc::DctTableZero: return tableZeroCodes();
        case Mpeg2Vlc::DctTableOne: return tableOneCodes();
    }
    throw std::invalid_argument("unknown MPEG-2 VLC table");
}

// Bits looked up per level.
std::vector<int> levelsOf(Mpeg2Vlc t) {
    switch (t) {
        case Mpeg2Vlc::MbTypeI:
        case Mpeg2Vlc::MbTypeP:
        case Mpeg2Vlc::MbTypeB:
        case Mpeg2Vlc::MbTypeD: return {6};
        case Mpeg2Vlc::DmVector: return {2};
        case Mpeg2Vlc::MbAddressIncrement:
        case Mpeg2Vlc::MotionCode: return {6, 5};
        case Mpeg2Vlc::CodedBlockPattern: return {5, 4};
        case Mpeg2Vlc::DcSizeLuma:
        case Mpeg2Vlc::DcSizeChroma: return {5, 5};
        case Mpeg2Vlc::DctTableZero:
        case Mpeg2Vlc::DctTableOne: return {8, 5, 4};
    }
    throw std::invalid_argument("unknown MPEG-2 VLC table");
}

template <class T, class Make>
const T& cached(Mpeg2Vlc t, Make make) {
    static const std::array<T, kMpeg2VlcCount> all = [&] {
        std::array<T, kMpeg2VlcCount> a{};
        for (int i = 0; i < kMpeg2VlcCount; ++i) a[static_cast<size_t>(i)] = make(static_cast<Mpeg2Vlc>(i));
        return a;
    }();
    return all[static_cast<size_t>(t)];
}

// Every table built once with the library (decode or encode form), freed at
// exit.
struct BuiltTables {
    std::array<Zub32s*, kMpeg2VlcCount> table{};
    explicit BuiltTables(bool encode) {
        for (int i = 0; i < kMpeg2VlcCount; ++i) {
            const Mpeg2Vlc t = static_cast<Mpeg2Vlc>(i);
            const Zub32s* src = mpeg2VlcSource(t).data();
            const bool rl = mpeg2VlcIsRunLevel(t);
            const ZubStatus st = encode ? zubiCreateRLEncodeTable(src, rl ? 1 : 0, &table[i])
                                 : rl   ? zubiHuffmanRunLevelTableInitAlloc_32s(src, &table[i])
                                        : zubiHuffmanTableInitAlloc_32s(src, &table[i]);
            if (st != ZubStatusOk) throw std::runtime_error("building an MPEG-2 VLC table failed");
        }
        encode_ = encode;
    }
    ~BuiltTables() {
        for (Zub32s* t : table) encode_ ? zubiFreeRLEncodeTable(t) : zubiHuffmanTableFree_32s(t);
    }
    BuiltTables(const BuiltTables&) = delete;
    BuiltTables& operator=(const BuiltTables&) = delete;

private:
    bool encode_ = false;
};

}  // namespace

const std::vector<Mpeg2Code>& mpeg2VlcCodes(Mpeg2Vlc t) { return cached<std::vector<Mpeg2Code>>(t, buildCodes); }

std::vector<Zub32s> mpeg2SourceList(const std::vector<Mpeg2Code>& codes, const std::vector<int>& levels,
                                    bool runLevel, Zub32s word0) {
    std::vector<Zub32s> out{word0, static_cast<Zub32s>(levels.size())};
    for (int w : levels) out.push_back(w);
    int longest = 0;
    for (const Mpeg2Code& c : codes) longest = c.length > longest ? c.length : longest;
    for (int length = 1; length <= longest; ++length) {
        const size_t countAt = out.size();
        out.push_back(0);
        for (const Mpeg2Code& c : codes) {
            if (c.length != length) continue;
            ++out[countAt];
            out.push_back(static_cast<Zub32s>(c.code));
            if (runLevel) out.push_back(c.run);
            out.push_back(c.value);
        }
    }
    out.push_back(-1);
    return out;
}

const std::vector<Zub32s>& mpeg2VlcSource(Mpeg2Vlc t) {
    return cached<std::vector<Zub32s>>(t, [](Mpeg2Vlc u) {
        return mpeg2SourceList(mpeg2VlcCodes(u), levelsOf(u), mpeg2VlcIsRunLevel(u), static_cast<Zub32s>(u));
    });
}

const Zub32s* mpeg2VlcTable(Mpeg2Vlc t) {
    static const BuiltTables built(false);
    return built.table[static_cast<size_t>(t)];
}

const Zub32s* mpeg2VlcEncodeTable(Mpeg2Vlc t) {
    static const BuiltTables built(true);
    return built.table[static_cast<size_t>(t)];
}

}  // namespace zubtools
