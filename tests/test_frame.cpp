// Library frame: version record, aligned allocation through the hooks, copies
// and fills, status order.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <vector>

#include "zubvc.h"

namespace {

TEST(Version, ConstantRecord) {
    const ZubLibraryVersion* v = zubvcGetLibVersion();
    ASSERT_NE(v, nullptr);
    EXPECT_EQ(v, zubvcGetLibVersion());
    EXPECT_EQ(v->versionMajor, 5);
    EXPECT_EQ(v->versionMinor, 2);
    EXPECT_EQ(v->buildNumberHigh, 108);
    EXPECT_EQ(v->buildNumberLow, 366);
    EXPECT_EQ(std::memcmp(v->targetCode, "px\0\0", 4), 0);
    EXPECT_STREQ(v->libraryName, "libzubvcpx.so.5.2");
    EXPECT_STREQ(v->versionText, "5.2");
    EXPECT_STREQ(v->buildDateText, "Jul 11 2007");
    EXPECT_EQ(i_version, 1);
    EXPECT_EQ(i_min_version, 0);
}

// Recording hooks: they hand out raw areas at a chosen misalignment so that
// every rounding case of the aligner is reached.
struct HookLog {
    std::vector<size_t> mallocSizes;
    std::vector<void*> freed;
    size_t misalign = 0;
    std::vector<std::vector<unsigned char>> arenas;
    void* lastRaw = nullptr;
    bool fail = false;
};
HookLog* gLog = nullptr;

void* logMalloc(size_t n) {
    gLog->mallocSizes.push_back(n);
    if (gLog->fail) return nullptr;
    gLog->arenas.emplace_back(n + 64);
    auto base = reinterpret_cast<uintptr_t>(gLog->arenas.back().data());
    uintptr_t raw = ((base + 31) & ~uintptr_t{31}) + gLog->misalign;
    gLog->lastRaw = reinterpret_cast<void*>(raw);
    return gLog->lastRaw;
}
void logFree(void* p) { gLog->freed.push_back(p); }

class Hooks : public ::testing::Test {
protected:
    void SetUp() override {
        saved_ = {i_malloc, i_free};
        gLog = &log_;
        i_malloc = logMalloc;
        i_free = logFree;
    }
    void TearDown() override {
        i_malloc = saved_.first;
        i_free = saved_.second;
        gLog = nullptr;
    }
    HookLog log_;
    std::pair<void* (*)(size_t), void (*)(void*)> saved_;
};

TEST_F(Hooks, AlignedBlockAndRawWordForEveryMisalignment) {
    const size_t slack = 31 + sizeof(void*);  // 36 on x86-32
    for (size_t mis = 0; mis < 32; ++mis) {
        log_.misalign = mis;
        Zub8u* p = (mis & 1) ? reinterpret_cast<Zub8u*>(zubsMalloc_8s(100)) : zubsMalloc_8u(100);
        ASSERT_NE(p, nullptr);
        EXPECT_EQ(log_.mallocSizes.back(), 100 + slack);
        auto raw = reinterpret_cast<uintptr_t>(log_.lastRaw);
        auto blk = reinterpret_cast<uintptr_t>(p);
        EXPECT_EQ(blk % 32, 0u);
        EXPECT_GE(blk - raw, sizeof(void*));
        EXPECT_LE(blk - raw, slack);
        // The requested bytes fit inside the raw area.
        EXPECT_LE(blk + 100, raw + 100 + slack);
        void* stored;
        std::memcpy(&stored, p - sizeof(void*), sizeof(void*));
        EXPECT_EQ(stored, log_.lastRaw);
        (mis & 2) ? zubiFree(p) : zubsFree(p);
        ASSERT_EQ(log_.freed.size(), mis + 1);
        EXPECT_EQ(log_.freed.back(), log_.lastRaw);
    }
}

TEST_F(Hooks, NonPositiveLengthsAndNullsCallNoHook) {
    EXPECT_EQ(zubsMalloc_8u(0), nullptr);
    EXPECT_EQ(zubsMalloc_8u(-1), nullptr);
    EXPECT_EQ(zubsMalloc_8s(INT32_MIN), nullptr);
    zubsFree(nullptr);
    zubiFree(nullptr);
    EXPECT_TRUE(log_.mallocSizes.empty());
    EXPECT_TRUE(log_.freed.empty());
    log_.fail = true;
    EXPECT_EQ(zubsMalloc_8u(1), nullptr);
    EXPECT_EQ(log_.mallocSizes.size(), 1u);
}

TEST(Allocator, DefaultHooksAreTheCLibrary) {
    Zub8u* p = zubsMalloc_8u(1000);
    ASSERT_NE(p, nullptr);
    EXPECT_EQ(reinterpret_cast<uintptr_t>(p) % 32, 0u);
    std::memset(p, 0xAB, 1000);  // the whole block is usable (ASan checks)
    zubsFree(p);
}

TEST(Copies, OddLengthsAndUnalignedAddresses) {
    std::vector<Zub8u> src(80), dst(80);
    for (size_t i = 0; i < src.size(); ++i) src[i] = static_cast<Zub8u>(i * 7 + 3);
    for (int off = 0; off < 4; ++off) {
        for (int len : {1, 3, 7, 33, 61}) {
            std::fill(dst.begin(), dst.end(), 0xEE);
            ASSERT_EQ(zubsCopy_8u(src.data() + off, dst.data() + 3, len), ZubStatusOk);
            EXPECT_EQ(dst[2], 0xEE);
            EXPECT_EQ(std::memcmp(dst.data() + 3, src.data() + off, len), 0);
            EXPECT_EQ(dst[3 + len], 0xEE);
        }
    }
    std::vector<Zub16s> s16(40), d16(40, 7);
    for (size_t i = 0; i < s16.size(); ++i) s16[i] = static_cast<Zub16s>(-1000 + 77 * i);
    ASSERT_EQ(zubsCopy_16s(s16.data() + 1, d16.data(), 37), ZubStatusOk);
    EXPECT_EQ(std::memcmp(d16.data(), s16.data() + 1, 37 * 2), 0);
    EXPECT_EQ(d16[37], 7);

    // Zeroing starts at an address that is not a multiple of 4 and ends in a
    // partial run: every element inside is cleared, nothing around it.
    for (int start = 0; start < 3; ++start) {
        for (int len : {1, 2, 15, 16, 17, 31}) {
            std::vector<Zub16s> z(40, -1);
            ASSERT_EQ(zubsZero_16s(z.data() + start, len), ZubStatusOk);
            for (int i = 0; i < 40; ++i) EXPECT_EQ(z[i], (i >= start && i < start + len) ? 0 : -1) << i;
        }
    }
}

TEST(Copies, RegionCopyUsesBothSteps) {
    std::vector<Zub8u> src(7 * 11), dst(5 * 13, 0xEE);
    for (size_t i = 0; i < src.size(); ++i) src[i] = static_cast<Zub8u>(i);
    ASSERT_EQ(zubiCopy_8u_C1R(src.data() + 1, 11, dst.data() + 2, 13, ZubSize{5, 4}), ZubStatusOk);
    for (int y = 0; y < 5; ++y)
        for (int x = 0; x < 13; ++x) {
            const bool inside = y < 4 && x >= 2 && x < 7;
            EXPECT_EQ(dst[y * 13 + x], inside ? src[1 + y * 11 + (x - 2)] : 0xEE) << y << "," << x;
        }
}

TEST(Copies, CheckOrderNullBeforeSize) {
    Zub8u b[4] = {1, 2, 3, 4}, d[4] = {9, 9, 9, 9};
    Zub16s s16[2] = {1, 2};
    EXPECT_EQ(zubsCopy_8u(nullptr, d, 0), ZubStatusNullPointer);
    EXPECT_EQ(zubsCopy_8u(b, nullptr, -1), ZubStatusNullPointer);
    EXPECT_EQ(zubsCopy_8u(b, d, 0), ZubStatusBadSize);
    EXPECT_EQ(zubsCopy_16s(nullptr, s16, 0), ZubStatusNullPointer);
    EXPECT_EQ(zubsCopy_16s(s16, s16, 0), ZubStatusBadSize);
    EXPECT_EQ(zubsZero_16s(nullptr, -5), ZubStatusNullPointer);
    EXPECT_EQ(zubsZero_16s(s16, 0), ZubStatusBadSize);
    EXPECT_EQ(zubiCopy_8u_C1R(nullptr, 4, d, 4, ZubSize{0, 0}), ZubStatusNullPointer);
    EXPECT_EQ(zubiCopy_8u_C1R(b, 4, nullptr, 4, ZubSize{0, 1}), ZubStatusNullPointer);
    EXPECT_EQ(zubiCopy_8u_C1R(b, 4, d, 4, ZubSize{0, 1}), ZubStatusBadSize);
    EXPECT_EQ(zubiCopy_8u_C1R(b, 4, d, 4, ZubSize{4, 0}), ZubStatusBadSize);
    EXPECT_EQ(s16[0], 1);
    for (Zub8u v : d) EXPECT_EQ(v, 9);
}

TEST(BitMask, Entries) {
    EXPECT_EQ(ownvc_BitMask[0], 0u);
    for (int n = 1; n < 32; ++n) EXPECT_EQ(ownvc_BitMask[n], (1u << n) - 1u) << n;
    EXPECT_EQ(ownvc_BitMask[32], 0xFFFFFFFFu);
}

}  // namespace

namespace {
TEST(ClampTable, SaturatesEveryIndex) {
    for (int i = 0; i < 768; ++i) EXPECT_EQ(ClampTbl[i], i < 256 ? 0 : (i > 511 ? 255 : i - 256)) << i;
}
}  // namespace
