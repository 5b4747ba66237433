// The deblocking filter of a decoded picture (H.264 clause 8.7): boundary
// strengths, alpha, beta and tC0 per edge; the filtering itself is the
// library's.
#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "decoder.h"
#include "state.h"
#include "zubvc.h"

namespace h264dec {

namespace {

// Table 8-16: alpha' and beta' by indexA / indexB.
const uint8_t kAlpha[52] = {0,  0,  0,  0,  0,  0,  0,  0,  0,  0,  0,   0,   0,   0,   0,   0,   4,   4,
                            5,  6,  7,  8,  9,  10, 12, 13, 15, 17, 20,  22,  25,  28,  32,  36,  40,  45,
                            50, 56, 63, 71, 80, 90, 101, 113, 127, 144, 162, 182, 203, 226, 255, 255};
const uint8_t kBeta[52] = {0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,  0,  0,  0,  0,  0,  2,  2,  2,  3,  3,  3,  3,  4,  4,  4,
                           6, 6, 7, 7, 8, 8, 9, 9, 10, 10, 11, 11, 12, 12, 13, 13, 14, 14, 15, 15, 16, 16, 17, 17, 18, 18};
// Table 8-17: tC0' by indexA for bS = 1, 2, 3.
constexpr uint8_t kTc0[52][3] = {
    {0, 0, 0}, {0, 0, 0}, {0, 0, 0}, {0, 0, 0}, {0, 0, 0}, {0, 0, 0},   {0, 0, 0},   {0, 0, 0},   {0, 0, 0},
    {0, 0, 0}, {0, 0, 0}, {0, 0, 0}, {0, 0, 0}, {0, 0, 0}, {0, 0, 0},   {0, 0, 0},   {0, 0, 0},   {0, 0, 1},
    {0, 0, 1}, {0, 0, 1}, {0, 0, 1}, {0, 1, 1}, {0, 1, 1}, {1, 1, 1},   {1, 1, 1},   {1, 1, 1},   {1, 1, 1},
    {1, 1, 2}, {1, 1, 2}, {1, 1, 2}, {1, 1, 2}, {1, 2, 3}, {1, 2, 3},   {2, 2, 3},   {2, 2, 4},   {2, 3, 4},
    {2, 3, 4}, {3, 3, 5}, {3, 4, 6}, {3, 4, 6}, {4, 5, 7}, {4, 5, 8},   {4, 6, 9},   {5, 7, 10},  {6, 8, 11},
    {6, 8, 13}, {7, 10, 14}, {8, 11, 16}, {9, 12, 18}, {10, 13, 20}, {11, 15, 23}, {13, 17, 25}};

// tC0 by indexA and bS 0..4, zero where no tC0 applies (bS 0 and 4), so
// that a strength indexes its row without a test.
constexpr auto kTc0ByBs = [] {
    std::array<std::array<uint8_t, 5>, 52> t{};
    for (int i = 0; i < 52; ++i)
        for (int b = 1; b <= 3; ++b) t[i][b] = kTc0[i][b - 1];
    return t;
}();

struct EdgeParams {
    Zub8u alpha[2], beta[2];
};

}  // namespace

void Decoder::deblockPicture() {
    SliceState& s = *st_;
    Frame& f = *cur_;
    const int w = s.wMbs, s4 = s.stride4();
    const int chromaOff[2] = {pps_->chromaQpIndexOffset, pps_->secondChromaQpIndexOffset};
    auto qpOf = [&](size_t mb) { return s.kind[mb] == MbIPCM ? 0 : static_cast<int>(s.qp[mb]); };
    auto isIntra = [&](size_t mb) { return s.kind[mb] != MbInter; };

    const int16_t* mv = s.mv.data();
    const uint32_t* serial = s.refSerial.data();
    const int16_t* mv1 = s.mv1.data();
    const uint32_t* serial1 = s.refSerial1.data();
    // |d| >= 4 in either component, as one unsigned range test each.
    auto far = [](const int16_t* a, const int16_t* b) {
        return (static_cast<unsigned>(a[0] - b[0] + 3) > 6u) | (static_cast<unsigned>(a[1] - b[1] + 3) > 6u);
    };
    // bS 1 or 0 between two inter 4x4 blocks without coefficients: different
    // reference pictures or numbers of vectors, or vectors of the same picture
    // four quarter samples apart (clause 8.7.2.1; serial 0: list unused).
    auto motionBs = [&](size_t bp, size_t bq) -> Zub8u {
        if (!(serial1[bp] | serial1[bq]))
            return static_cast<Zub8u>((serial[bp] != serial[bq]) | far(mv + 2 * bp, mv + 2 * bq));
        const uint32_t p0 = serial[bp], p1 = serial1[bp], q0 = serial[bq], q1 = serial1[bq];
        if (!((p0 == q0 && p1 == q1) || (p0 == q1 && p1 == q0))) return 1;
        const int16_t *mp0 = mv + 2 * bp, *mp1 = mv1 + 2 * bp, *mq0 = mv + 2 * bq, *mq1 = mv1 + 2 * bq;
        if (!p0 || !p1) return far(p0 ? mp0 : mp1, q0 ? mq0 : mq1);  // one vector each, of one picture
        if (p0 != p1) return p0 == q0 ? far(mp0, mq0) || far(mp1, mq1) : far(mp0, mq1) || far(mp1, mq0);
        return (far(mp0, mq0) || far(mp1, mq1)) && (far(mp0, mq1) || far(mp1, mq0));
    };
    // Both vector components of a block as one word, for equality tests.
    auto mvWord = [&](const int16_t* v2, size_t b) {
        uint32_t v;
        std::memcpy(&v, v2 + 2 * b, sizeof v);
        return v;
    };

    // Per macroblock: its sixteen blocks share one reference and vector.
    std::vector<uint8_t> uniform(static_cast<size_t>(w) * s.hMbs, 0);

    for (int my = 0; my < s.hMbs; ++my)
        for (int mx = 0; mx < w; ++mx) {
            const size_t mb = static_cast<size_t>(my) * w + mx;
            if (s.sliceNum[mb] < 0) continue;
            const auto& sp = s.slices[static_cast<size_t>(s.sliceNum[mb])];
            if (sp.disableDeblocking == 1) continue;
            const bool left = mx > 0 && s.sliceNum[mb - 1] >= 0 &&
                              (sp.disableDeblocking != 2 || s.sliceNum[mb - 1] == s.sliceNum[mb]);
            const bool top = my > 0 && s.sliceNum[mb - w] >= 0 &&
                             (sp.disableDeblocking != 2 || s.sliceNum[mb - w] == s.sliceNum[mb]);
            const size_t blk0 = static_cast<size_t>(my) * 4 * s4 + static_cast<size_t>(mx) * 4;
            const uint8_t* nz = &s.nnz[mb * 24];
            alignas(4) Zub8u bsV[16], bsH[16];
            if (isIntra(mb)) {
                for (int i = 0; i < 4; ++i) {
                    bsV[i] = left ? 4 : 0;
                    bsH[i] = top ? 4 : 0;
                }
                std::fill(bsV + 4, bsV + 16, Zub8u{3});
                std::fill(bsH + 4, bsH + 16, Zub8u{3});
            } else {
                // Internal edges (clause 8.7.2.1): 2 with coefficients on either
                // side, else the motion test, which a macroblock whose blocks
                // share one motion (P_Skip, 16x16) passes everywhere.
                const uint32_t s0 = serial[blk0], m0 = mvWord(mv, blk0);
                const uint32_t s1 = serial1[blk0], m1 = mvWord(mv1, blk0);
                uint32_t diff = 0;
                for (int k = 0; k < 4 && diff == 0; ++k) {
                    const size_t r = blk0 + static_cast<size_t>(k) * s4;
                    diff = (serial[r] ^ s0) | (serial[r + 1] ^ s0) | (serial[r + 2] ^ s0) | (serial[r + 3] ^ s0) |
                           (mvWord(mv, r) ^ m0) | (mvWord(mv, r + 1) ^ m0) | (mvWord(mv, r + 2) ^ m0) |
                           (mvWord(mv, r + 3) ^ m0);
                    if (s1 | serial1[r] | serial1[r + 1] | serial1[r + 2] | serial1[r + 3])  // list 1 (B slices)
                        for (int c = 0; c < 4; ++c) diff |= (serial1[r + c] ^ s1) | (mvWord(mv1, r + c) ^ m1);
                }
                uniform[mb] = diff == 0;
                uint64_t nzWords[2];
                std::memcpy(nzWords, nz, 16);
                if (diff == 0 && (nzWords[0] | nzWords[1]) == 0) {
                    std::fill(bsV + 4, bsV + 16, Zub8u{0});
                    std::fill(bsH + 4, bsH + 16, Zub8u{0});
                } else if (diff == 0) {
                    for (int e = 1; e < 4; ++e)
                        for (int k = 0; k < 4; ++k) {
                            bsV[4 * e + k] = (nz[k * 4 + e] | nz[k * 4 + e - 1]) ? 2 : 0;
                            bsH[4 * e + k] = (nz[e * 4 + k] | nz[(e - 1) * 4 + k]) ? 2 : 0;
                        }
                } else {
                    for (int e = 1; e < 4; ++e)
                        for (int k = 0; k < 4; ++k) {
                            const size_t bq = blk0 + static_cast<size_t>(k) * s4 + e;
                            bsV[4 * e + k] = (nz[k * 4 + e] | nz[k * 4 + e - 1]) ? 2 : motionBs(bq - 1, bq);
                            const size_t hq = blk0 + static_cast<size_t>(e) * s4 + k;
                            bsH[4 * e + k] = (nz[e * 4 + k] | nz[(e - 1) * 4 + k]) ? 2 : motionBs(hq - s4, hq);
                        }
                }
                // Macroblock edges: 4 next to an intra macroblock; between two
                // macroblocks of one motion each, one motion test serves the
                // edge.
                if (!left) {
                    std::fill(bsV, bsV + 4, Zub8u{0});
                } else if (isIntra(mb - 1)) {
                    std::fill(bsV, bsV + 4, Zub8u{4});
                } else {
                    const uint8_t* nzl = &s.nnz[(mb - 1) * 24];
                    const bool both = uniform[mb] && uniform[mb - 1];
                    const Zub8u one = both ? motionBs(blk0 - 1, blk0) : Zub8u{0};
                    for (int k = 0; k < 4; ++k) {
                        const size_t bq = blk0 + static_cast<size_t>(k) * s4;
                        bsV[k] = (nz[k * 4] | nzl[k * 4 + 3]) ? 2 : both ? one : motionBs(bq - 1, bq);
                    }
                }
                if (!top) {
                    std::fill(bsH, bsH + 4, Zub8u{0});
                } else if (isIntra(mb - w)) {
                    std::fill(bsH, bsH + 4, Zub8u{4});
                } else {
                    const uint8_t* nzt = &s.nnz[(mb - w) * 24];
                    const bool both = uniform[mb] && uniform[mb - w];
                    const Zub8u one = both ? motionBs(blk0 - s4, blk0) : Zub8u{0};
                    for (int k = 0; k < 4; ++k) {
                        const size_t hq = blk0 + static_cast<size_t>(k);
                        bsH[k] = (nz[k] | nzt[12 + k]) ? 2 : both ? one : motionBs(hq - s4, hq);
                    }
                }
            }
            if (s.t8x8[mb])  // the 8x8 transform leaves the luma edges 4 and 12 unfiltered
                for (int e : {1, 3}) {
                    std::fill_n(bsV + 4 * e, 4, Zub8u{0});
                    std::fill_n(bsH + 4 * e, 4, Zub8u{0});
                }
            const int qpq = qpOf(mb);
            const int qpLeft = left ? qpOf(mb - 1) : qpq, qpTop = top ? qpOf(mb - w) : qpq;

            // Luma.
            auto lumaParams = [&](int qpav, int qpInt, const Zub8u* bs, EdgeParams& ep, Zub8u tc0[16]) {
                const int idxA[2] = {std::clamp(qpav + sp.alphaOffset, 0, 51), std::clamp(qpInt + sp.alphaOffset, 0, 51)};
                const int idxB[2] = {std::clamp(qpav + sp.betaOffset, 0, 51), std::clamp(qpInt + sp.betaOffset, 0, 51)};
                for (int i = 0; i < 2; ++i) {
                    ep.alpha[i] = kAlpha[idxA[i]];
                    ep.beta[i] = kBeta[idxB[i]];
                }
                for (int i = 0; i < 16; ++i) tc0[i] = kTc0ByBs[idxA[i >= 4]][bs[i]];
            };
            uint64_t words[4];
            std::memcpy(words, bsV, 16);
            std::memcpy(words + 2, bsH, 16);
            const bool anyV = (words[0] | words[1]) != 0, anyH = (words[2] | words[3]) != 0;
            if (!anyV && !anyH) continue;
            uint8_t* y = f.plane[0] + static_cast<size_t>(my) * 16 * f.stride[0] + mx * 16;
            EdgeParams ep;
            Zub8u tc0[16];
            if (anyV) {
                lumaParams((qpLeft + qpq + 1) >> 1, qpq, bsV, ep, tc0);
                zubiFilterDeblockingLuma_VerEdge_H264_8u_C1IR(y, f.stride[0], ep.alpha, ep.beta, tc0, bsV);
            }
            if (anyH) {
                lumaParams((qpTop + qpq + 1) >> 1, qpq, bsH, ep, tc0);
                zubiFilterDeblockingLuma_HorEdge_H264_8u_C1IR(y, f.stride[0], ep.alpha, ep.beta, tc0, bsH);
            }

            // Chroma: QPc of each macroblock, averaged across the edge.  With
            // one offset for both components their parameters are the same.
            const bool sameOffsets = chromaOff[0] == chromaOff[1];
            EdgeParams epV{}, epH{};
            Zub8u tcV[8] = {}, tcH[8] = {};
            for (int c = 0; c < (sps_->chromaFormat ? 2 : 0); ++c) {  // no chroma in 4:0:0
                auto qpc = [&](int qpy) { return chromaQp(std::clamp(qpy + chromaOff[c], 0, 51)); };
                uint8_t* u = f.plane[1 + c] + static_cast<size_t>(my) * 8 * f.stride[1 + c] + mx * 8;
                auto chromaParams = [&](int qpav, int qpInt, const Zub8u* bs, EdgeParams& e, Zub8u t[8]) {
                    const int idxA[2] = {std::clamp(qpav + sp.alphaOffset, 0, 51),
                                         std::clamp(qpInt + sp.alphaOffset, 0, 51)};
                    const int idxB[2] = {std::clamp(qpav + sp.betaOffset, 0, 51),
                                         std::clamp(qpInt + sp.betaOffset, 0, 51)};
                    for (int i = 0; i < 2; ++i) {
                        e.alpha[i] = kAlpha[idxA[i]];
                        e.beta[i] = kBeta[idxB[i]];
                    }
                    // Chroma edge k uses the strengths of luma edge 2k.
                    for (int k = 0; k < 2; ++k)
                        for (int i = 0; i < 4; ++i) t[4 * k + i] = kTc0ByBs[idxA[k]][bs[8 * k + i]];
                };
                const int cq = qpc(qpq);
                if (anyV) {
                    if (c == 0 || !sameOffsets) chromaParams((qpc(qpLeft) + cq + 1) >> 1, cq, bsV, epV, tcV);
                    zubiFilterDeblockingChroma_VerEdge_H264_8u_C1IR(u, f.stride[1 + c], epV.alpha, epV.beta, tcV, bsV);
                }
                if (anyH) {
                    if (c == 0 || !sameOffsets) chromaParams((qpc(qpTop) + cq + 1) >> 1, cq, bsH, epH, tcH);
                    zubiFilterDeblockingChroma_HorEdge_H264_8u_C1IR(u, f.stride[1 + c], epH.alpha, epH.beta, tcH, bsH);
                }
            }
        }
}

}  // namespace h264dec
