// H.264 CAVLC code tables, transcribed from the standard (ITU-T H.264,
// clause 9.2) as printed, and built into multi-level tables.
#include <stdexcept>

#include "zubvc_tools/h264cavlc.h"

namespace zubtools {

namespace {

// Table 9-5: coeff_token by (TrailingOnes, TotalCoeff); columns 0<=nC<2,
// 2<=nC<4, 4<=nC<8, nC == -1, nC == -2 ("" where the column has no code).
// The 8<=nC column is a fixed-length code and needs no table.
struct CoeffTokenRow {
    int trailingOnes, totalCoeff;
    const char* code[5];
};
constexpr CoeffTokenRow kTable9_5[] = {
    {0, 0, {"1", "11", "1111", "01", "1"}},
    {0, 1, {"0001 01", "0010 11", "0011 11", "0001 11", "0001 111"}},
    {1, 1, {"01", "10", "1110", "1", "01"}},
    {0, 2, {"0000 0111", "0001 11", "0010 11", "0001 00", "0001 110"}},
    {1, 2, {"0001 00", "0011 1", "0111 1", "0001 10", "0001 101"}},
    {2, 2, {"001", "011", "1101", "001", "001"}},
    {0, 3, {"0000 0011 1", "0000 111", "0010 00", "0000 11", "0000 0011 1"}},
    {1, 3, {"0000 0110", "0010 10", "0110 0", "0000 011", "0001 100"}},
    {2, 3, {"0000 101", "0010 01", "0111 0", "0000 010", "0001 011"}},
    {3, 3, {"0001 1", "0101", "1100", "0001 01", "0000 1"}},
    {0, 4, {"0000 0001 11", "0000 0111", "0001 111", "0000 10", "0000 0011 0"}},
    {1, 4, {"0000 0011 0", "0001 10", "0101 0", "0000 0011", "0000 0010 1"}},
    {2, 4, {"0000 0101", "0001 01", "0101 1", "0000 0010", "0001 010"}},
    {3, 4, {"0000 11", "0100", "1011", "0000 000", "0000 01"}},
    {0, 5, {"0000 0000 111", "0000 0100", "0001 011", "", "0000 0001 11"}},
    {1, 5, {"0000 0001 10", "0000 110", "0100 0", "", "0000 0001 10"}},
    {2, 5, {"0000 0010 1", "0000 101", "0100 1", "", "0000 0010 0"}},
    {3, 5, {"0000 100", "0011 0", "1010", "", "0001 001"}},
    {0, 6, {"0000 0000 0111 1", "0000 0011 1", "0001 001", "", "0000 0000 111"}},
    {1, 6, {"0000 0000 110", "0000 0110", "0011 10", "", "0000 0000 110"}},
    {2, 6, {"0000 0001 01", "0000 0101", "0011 01", "", "0000 0001 01"}},
    {3, 6, {"0000 0100", "0010 00", "1001", "", "0001 000"}},
    {0, 7, {"0000 0000 0101 1", "0000 0001 111", "0001 000", "", "0000 0000 0111"}},
    {1, 7, {"0000 0000 0111 0", "0000 0011 0", "0010 10", "", "0000 0000 0110"}},
    {2, 7, {"0000 0000 101", "0000 0010 1", "0010 01", "", "0000 0000 101"}},
    {3, 7, {"0000 0010 0", "0001 00", "1000", "", "0000 0001 00"}},
    {0, 8, {"0000 0000 0100 0", "0000 0001 011", "0000 1111", "", "0000 0000 0011 1"}},
    {1, 8, {"0000 0000 0101 0", "0000 0001 110", "0001 110", "", "0000 0000 0101"}},
    {2, 8, {"0000 0000 0110 1", "0000 0001 101", "0001 101", "", "0000 0000 0100"}},
    {3, 8, {"0000 0001 00", "0000 100", "0110 1", "", "0000 0000 100"}},
    {0, 9, {"0000 0000 0011 11", "0000 0000 1111", "0000 1011", "", ""}},
    {1, 9, {"0000 0000 0011 10", "0000 0001 010", "0000 1110", "", ""}},
    {2, 9, {"0000 0000 0100 1", "0000 0001 001", "0001 010", "", ""}},
    {3, 9, {"0000 0000 100", "0000 0010 0", "0011 00", "", ""}},
    {0, 10, {"0000 0000 0010 11", "0000 0000 1011", "0000 0111 1", "", ""}},
    {1, 10, {"0000 0000 0010 10", "0000 0000 1110", "0000 1010", "", ""}},
    {2, 10, {"0000 0000 0011 01", "0000 0000 1101", "0000 1101", "", ""}},
    {3, 10, {"0000 0000 0110 0", "0000 0001 100", "0001 100", "", ""}},
    {0, 11, {"0000 0000 0001 111", "0000 0000 1000", "0000 0101 1", "", ""}},
    {1, 11, {"0000 0000 0001 110", "0000 0000 1010", "0000 0111 0", "", ""}},
    {2, 11, {"0000 0000 0010 01", "0000 0000 1001", "0000 1001", "", ""}},
    {3, 11, {"0000 0000 0011 00", "0000 0001 000", "0000 1100", "", ""}},
    {0, 12, {"0000 0000 0001 011", "0000 0000 0111 1", "0000 0100 0", "", ""}},
    {1, 12, {"0000 0000 0001 010", "0000 0000 0111 0", "0000 0101 0", "", ""}},
    {2, 12, {"0000 0000 0001 101", "0000 0000 0110 1", "0000 0110 1", "", ""}},
    {3, 12, {"0000 0000 0010 00", "0000 0000 1100", "0000 1000", "", ""}},
    {0, 13, {"0000 0000 0000 1111", "0000 0000 0101 1", "0000 0011 01", "", ""}},
    {1, 13, {"0000 0000 0000 001", "0000 0000 0101 0", "0000 0011 1", "", ""}},
    {2, 13, {"0000 0000 0001 001", "0000 0000 0100 1", "0000 0100 1", "", ""}},
    {3, 13, {"0000 0000 0001 100", "0000 0000 0110 0", "0000 0110 0", "", ""}},
    {0, 14, {"0000 0000 0000 1011", "0000 0000 0011 1", "0000 0010 01", "", ""}},
    {1, 14, {"0000 0000 0000 1110", "0000 0000 0010 11", "0000 0011 00", "", ""}},
    {2, 14, {"0000 0000 0000 1101", "0000 0000 0011 0", "0000 0010 11", "", ""}},
    {3, 14, {"0000 0000 0001 000", "0000 0000 0100 0", "0000 0010 10", "", ""}},
    {0, 15, {"0000 0000 0000 0111", "0000 0000 0010 01", "0000 0001 01", "", ""}},
    {1, 15, {"0000 0000 0000 1010", "0000 0000 0010 00", "0000 0010 00", "", ""}},
    {2, 15, {"0000 0000 0000 1001", "0000 0000 0010 10", "0000 0001 11", "", ""}},
    {3, 15, {"0000 0000 0000 1100", "0000 0000 0000 1", "0000 0001 10", "", ""}},
    {0, 16, {"0000 0000 0000 0100", "0000 0000 0001 11", "0000 0000 01", "", ""}},
    {1, 16, {"0000 0000 0000 0110", "0000 0000 0001 10", "0000 0001 00", "", ""}},
    {2, 16, {"0000 0000 0000 0101", "0000 0000 0001 01", "0000 0000 11", "", ""}},
    {3, 16, {"0000 0000 0000 1000", "0000 0000 0001 00", "0000 0000 10", "", ""}},
};

// Tables 9-7 and 9-8: total_zeros of 4x4 blocks, row tzVlcIndex = TotalCoeff
// 1..15, entry total_zeros 0.. .
constexpr const char* kTable9_7_8[15][16] = {
    {"1", "011", "010", "0011", "0010", "0001 1", "0001 0", "0000 11", "0000 10", "0000 011", "0000 010",
     "0000 0011", "0000 0010", "0000 0001 1", "0000 0001 0", "0000 0000 1"},
    {"111", "110", "101", "100", "011", "0101", "0100", "0011", "0010", "0001 1", "0001 0", "0000 11", "0000 10",
     "0000 01", "0000 00"},
    {"0101", "111", "110", "101", "0100", "0011", "100", "011", "0010", "0001 1", "0001 0", "0000 01", "0000 1",
     "0000 00"},
    {"0001 1", "111", "0101", "0100", "110", "101", "100", "0011", "011", "0010", "0001 0", "0000 1", "0000 0"},
    {"0101", "0100", "0011", "111", "110", "101", "100", "011", "0010", "0000 1", "0001", "0000 0"},
    {"0000 01", "0000 1", "111", "110", "101", "100", "011", "010", "0001", "001", "0000 00"},
    {"0000 01", "0000 1", "101", "100", "011", "11", "010", "0001", "001", "0000 00"},
    {"0000 01", "0001", "0000 1", "011", "11", "10", "010", "001", "0000 00"},
    {"0000 01", "0000 00", "0001", "11", "10", "001", "01", "0000 1"},
    {"0000 1", "0000 0", "001", "11", "10", "01", "0001"},
    {"0000", "0001", "001", "010", "1", "011"},
    {"0000", "0001", "01", "1", "001"},
    {"000", "001", "1", "01"},
    {"00", "01", "1"},
    {"0", "1"},
};

// Table 9-9(a): total_zeros of 2x2 chroma DC, row TotalCoeff 1..3.
constexpr const char* kTable9_9a[3][4] = {
    {"1", "01", "001", "000"},
    {"1", "01", "00"},
    {"1", "0"},
};

// Table 9-9(b): total_zeros of 2x4 chroma DC, row TotalCoeff 1..7.
constexpr const char* kTable9_9b[7][8] = {
    {"1", "010", "011", "0010", "0011", "0001", "0000 1", "0000 0"},
    {"000", "01", "001", "100", "101", "110", "111"},
    {"000", "001", "01", "10", "110", "111"},
    {"110", "00", "01", "10", "111"},
    {"00", "01", "10", "11"},
    {"00", "01", "1"},
    {"0", "1"},
};

// Table 9-10: run_before, row zerosLeft 1..6 and > 6, entry run_before 0.. .
constexpr const char* kTable9_10[7][15] = {
    {"1", "0"},
    {"1", "01", "00"},
    {"11", "10", "01", "00"},
    {"11", "10", "01", "001", "000"},
    {"11", "10", "011", "010", "001", "000"},
    {"11", "000", "001", "011", "010", "101", "100"},
    {"111", "110", "101", "100", "011", "010", "001", "0001", "0000 1", "0000 01", "0000 001", "0000 0001",
     "0000 0000 1", "0000 0000 01", "0000 0000 001"},
};

constexpr uint32_t tokenFields(int trailingOnes, int totalCoeff) {
    return (static_cast<uint32_t>(totalCoeff) << 8) | static_cast<uint32_t>(trailingOnes);
}

VlcCode fromString(const char* s, uint32_t fields) {
    return (s && *s) ? vlcCodeFromString(s, fields) : VlcCode{0, 0, fields};
}

// The codes of a row of strings (value = index in the row).
std::vector<VlcCode> rowCodes(const char* const* row, int n) {
    std::vector<VlcCode> codes;
    for (int v = 0; v < n && row[v]; ++v) codes.push_back(vlcCodeFromString(row[v], static_cast<uint32_t>(v)));
    return codes;
}

int coeffTokenColumn(int nC) {
    if (nC == -1) return 3;
    if (nC == -2) return 4;
    if (nC < 0 || nC >= 8) throw std::invalid_argument("coeff_token column");
    return nC < 2 ? 0 : nC < 4 ? 1 : 2;
}

// Widths of the table levels, chosen so that the codes of typical blocks
// decode with one look-up: coeff_token and total_zeros codes up to 8 bits
// (9 for tzVlcIndex 1), run_before up to 3 bits (6 above zerosLeft 6).
struct Storage {
    std::vector<Zub32s> coeffToken[5];
    std::vector<Zub32s> totalZeros[15], totalZerosChromaDc[3], totalZerosChromaDc422[7], runBefore[7];
    H264CavlcTables tables{};

    Storage() {
        for (int col = 0; col < 5; ++col) {
            std::vector<VlcCode> codes;
            for (const CoeffTokenRow& r : kTable9_5)
                if (*r.code[col])
                    codes.push_back(vlcCodeFromString(r.code[col], tokenFields(r.trailingOnes, r.totalCoeff)));
            coeffToken[col] = buildVlcTable(codes, {8});
        }
        for (int i = 0; i < 15; ++i) totalZeros[i] = buildVlcTable(rowCodes(kTable9_7_8[i], 16), {9});
        for (int i = 0; i < 3; ++i) totalZerosChromaDc[i] = buildVlcTable(rowCodes(kTable9_9a[i], 4), {3});
        for (int i = 0; i < 7; ++i) totalZerosChromaDc422[i] = buildVlcTable(rowCodes(kTable9_9b[i], 8), {5});
        for (int i = 0; i < 7; ++i) runBefore[i] = buildVlcTable(rowCodes(kTable9_10[i], 15), {i < 6 ? 3 : 6});

        for (int i = 0; i < 3; ++i) tables.coeffToken[i] = coeffToken[i].data();
        tables.coeffTokenChromaDc = coeffToken[3].data();
        tables.coeffTokenChromaDc422 = coeffToken[4].data();
        for (int i = 1; i < 16; ++i) tables.totalZeros[i] = totalZeros[i - 1].data();
        for (int i = 1; i < 4; ++i) tables.totalZerosChromaDc[i] = totalZerosChromaDc[i - 1].data();
        for (int i = 1; i < 8; ++i) tables.totalZerosChromaDc422[i] = totalZerosChromaDc422[i - 1].data();
        for (int i = 1; i < 16; ++i) tables.runBefore[i] = runBefore[i < 7 ? i - 1 : 6].data();
    }
};

}  // namespace

const H264CavlcTables& h264CavlcTables() {
    static const Storage* storage = new Storage();  // never freed: callers may use it at exit
    return storage->tables;
}

VlcCode h264CoeffTokenCode(int nC, int trailingOnes, int totalCoeff) {
    const uint32_t fields = tokenFields(trailingOnes, totalCoeff);
    if (nC >= 8) {
        // Fixed-length: TotalCoeff - 1 in the high four bits, TrailingOnes in
        // the low two; 000011 codes TotalCoeff 0.
        if (totalCoeff == 0 && trailingOnes == 0) return VlcCode{3, 6, fields};
        if (totalCoeff < 1 || totalCoeff > 16 || trailingOnes < 0 || trailingOnes > 3 || trailingOnes > totalCoeff)
            return VlcCode{0, 0, fields};
        return VlcCode{(static_cast<uint32_t>(totalCoeff - 1) << 2) | static_cast<uint32_t>(trailingOnes), 6, fields};
    }
    const int col = coeffTokenColumn(nC);
    for (const CoeffTokenRow& r : kTable9_5)
        if (r.trailingOnes == trailingOnes && r.totalCoeff == totalCoeff) return fromString(r.code[col], fields);
    return VlcCode{0, 0, fields};
}

VlcCode h264TotalZerosCode(int maxNumCoeff, int totalCoeff, int totalZeros) {
    const uint32_t fields = static_cast<uint32_t>(totalZeros);
    const int tz = totalZeros;
    if (maxNumCoeff == 15 || maxNumCoeff == 16) {
        if (totalCoeff < 1 || totalCoeff > 15 || tz < 0 || tz > 16 - totalCoeff) return VlcCode{0, 0, fields};
        return fromString(kTable9_7_8[totalCoeff - 1][tz], fields);
    }
    if (maxNumCoeff == 4) {
        if (totalCoeff < 1 || totalCoeff > 3 || tz < 0 || tz > 4 - totalCoeff) return VlcCode{0, 0, fields};
        return fromString(kTable9_9a[totalCoeff - 1][tz], fields);
    }
    if (maxNumCoeff == 8) {
        if (totalCoeff < 1 || totalCoeff > 7 || tz < 0 || tz > 8 - totalCoeff) return VlcCode{0, 0, fields};
        return fromString(kTable9_9b[totalCoeff - 1][tz], fields);
    }
    throw std::invalid_argument("total_zeros block size");
}

VlcCode h264RunBeforeCode(int zerosLeft, int runBefore) {
    const uint32_t fields = static_cast<uint32_t>(runBefore);
    if (zerosLeft < 1 || runBefore < 0 || runBefore > 14 || (zerosLeft <= 6 && runBefore > zerosLeft))
        return VlcCode{0, 0, fields};
    return fromString(kTable9_10[zerosLeft < 7 ? zerosLeft - 1 : 6][runBefore], fields);
}

}  // namespace zubtools
