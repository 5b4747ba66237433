// Library frame: version record, aligned allocation through the hooks, copies
// and fills, status order, and the bit-mask and clamp tables.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <tuple>
#include <vector>

#include "zubvc.h"

namespace {

TEST(Version, ConstantRecord) {
    const ZubLibraryVersion* v = zubvcGetLibVersion();
    ASSERT_NE(v, nullptr);
    EXPECT_EQ(v, zubvcGetLibVersion());
    EXPECT_EQ(std::tuple(v->versionMajor, v->versionMinor, v->buildNumberHigh, v->buildNumberLow, i_version,
                         i_min_version), std::tuple(5, 2, 108, 366, 1, 0));
    using S = std::string;
    EXPECT_EQ(std::tuple(S(v->targetCode, 4), S(v->libraryName), S(v->versionText), S(v->buildDateText)),
              std::tuple(S("px\0\0", 4), "libzubvcpx.so.5.2", "5.2", "Jul 11 2007"));
}

// Recording hooks: the raw area is handed out at a chosen misalignment from a
// 32-byte aligned arena, so that every rounding case of the aligner is reached.
struct HookLog {
    std::vector<size_t> sizes;
    std::vector<void*> freed;
    size_t misalign = 0;
    bool fail = false;
    alignas(32) unsigned char arena[256];
    void* raw() { return arena + misalign; }
} * gLog;

class Hooks : public ::testing::Test {
protected:
    void SetUp() override {
        gLog = &log_;
        i_malloc = [](size_t n) -> void* { return gLog->sizes.push_back(n), gLog->fail ? nullptr : gLog->raw(); };
        i_free = [](void* p) { gLog->freed.push_back(p); };
    }
    void TearDown() override { i_malloc = std::malloc, i_free = std::free; }
    HookLog log_;
};

TEST_F(Hooks, AlignedBlockRawWordAndNoCallBelowLengthOne) {
    // The hook is asked for len + 36 on x86-32 (32 plus the raw word); the
    // block is raw + 35 rounded down to 32 there (31 plus the raw word).
    const size_t request = 32 + sizeof(void*), align = 31 + sizeof(void*);
    for (size_t mis = 0; mis < 32; ++mis) {
        log_.misalign = mis;
        Zub8u* p = (mis & 1) ? reinterpret_cast<Zub8u*>(zubsMalloc_8s(100)) : zubsMalloc_8u(100);
        ASSERT_NE(p, nullptr);
        EXPECT_EQ(log_.sizes.back(), 100 + request);
        const auto raw = reinterpret_cast<uintptr_t>(log_.raw()), blk = reinterpret_cast<uintptr_t>(p);
        EXPECT_EQ(blk, (raw + align) & ~uintptr_t{31});
        void* stored;
        std::memcpy(&stored, p - sizeof(void*), sizeof(void*));
        EXPECT_EQ(stored, log_.raw());
        (mis & 2) ? zubiFree(p) : zubsFree(p);
        ASSERT_EQ(log_.freed.size(), mis + 1);
        EXPECT_EQ(log_.freed.back(), log_.raw());
    }
    // No hook for lengths below 1 or null; a failing hook gives null.
    log_ = HookLog{};
    EXPECT_EQ(zubsMalloc_8u(0), nullptr);
    EXPECT_EQ(zubsMalloc_8u(-1), nullptr);
    EXPECT_EQ(zubsMalloc_8s(INT32_MIN), nullptr);
    zubsFree(nullptr);
    zubiFree(nullptr);
    EXPECT_TRUE(log_.sizes.empty() && log_.freed.empty());
    log_.fail = true;
    EXPECT_EQ(zubsMalloc_8u(1), nullptr);
    EXPECT_EQ(log_.sizes, std::vector<size_t>{1 + request});
}

TEST(Allocator, DefaultHooksAreTheCLibrary) {
    Zub8u* p = zubsMalloc_8u(1000);
    ASSERT_NE(p, nullptr);
    EXPECT_EQ(reinterpret_cast<uintptr_t>(p) % 32, 0u);
    std::memset(p, 0xAB, 1000);  // the whole block is usable (ASan checks)
    zubsFree(p);
}

// Copies and zeroing of odd lengths from and to unaligned addresses: exactly
// the elements inside change.
TEST(Copies, OddLengthsAndUnalignedAddresses) {
    std::vector<Zub8u> s8(80);
    std::vector<Zub16s> s16(80), zeros(80);
    for (int i = 0; i < 80; ++i) s8[i] = static_cast<Zub8u>(i * 7 + 3), s16[i] = static_cast<Zub16s>(77 * i - 1000);
    // The first element of dst that differs from src at dOff..dOff + len or from guard elsewhere, or -1.
    auto differs = [](const auto& dst, const auto& src, int dOff, int sOff, int len, int guard) {
        for (int i = 0; i < 80; ++i)
            if (dst[i] != (i >= dOff && i < dOff + len ? src[i - dOff + sOff] : guard)) return i;
        return -1;
    };
    for (int off = 0; off < 4; ++off)
        for (int len : {1, 2, 3, 7, 15, 16, 17, 31, 33, 61}) {
            std::vector<Zub8u> d8(80, 0xEE);
            std::vector<Zub16s> d16(80, 7), z(80, -1);
            ASSERT_EQ(zubsCopy_8u(&s8[off], &d8[3], len), ZubStatusOk);
            ASSERT_EQ(zubsCopy_16s(&s16[off], &d16[1], len), ZubStatusOk);
            ASSERT_EQ(zubsZero_16s(&z[off], len), ZubStatusOk);
            EXPECT_EQ(std::tuple(differs(d8, s8, 3, off, len, 0xEE), differs(d16, s16, 1, off, len, 7),
                                 differs(z, zeros, off, 0, len, -1)), std::tuple(-1, -1, -1))
                << "offset " << off << ", length " << len;
        }
}

TEST(Copies, RegionCopyUsesBothSteps) {
    std::vector<Zub8u> src(7 * 11), dst(5 * 13, 0xEE);
    for (size_t i = 0; i < src.size(); ++i) src[i] = static_cast<Zub8u>(i);
    ASSERT_EQ(zubiCopy_8u_C1R(src.data() + 1, 11, dst.data() + 2, 13, ZubSize{5, 4}), ZubStatusOk);
    for (int y = 0; y < 5; ++y)
        for (int x = 0; x < 13; ++x)
            EXPECT_EQ(dst[y * 13 + x], y < 4 && x >= 2 && x < 7 ? src[1 + y * 11 + x - 2] : 0xEE) << y << "," << x;
}

// Pointers first, then the length or size; nothing is written on an error.
TEST(Copies, CheckOrderNullBeforeSize) {
    constexpr ZubStatus N = ZubStatusNullPointer, S = ZubStatusBadSize;
    Zub8u b[4] = {1, 2, 3, 4}, d[4] = {9, 9, 9, 9};
    Zub16s s16[2] = {1, 2};
    const std::vector<ZubStatus> got = {
        zubsCopy_8u(nullptr, d, 0), zubsCopy_8u(b, nullptr, -1), zubsCopy_8u(b, d, 0), zubsCopy_16s(nullptr, s16, 0),
        zubsCopy_16s(s16, s16, 0), zubsZero_16s(nullptr, -5), zubsZero_16s(s16, 0),
        zubiCopy_8u_C1R(nullptr, 4, d, 4, ZubSize{0, 0}), zubiCopy_8u_C1R(b, 4, nullptr, 4, ZubSize{0, 1}),
        zubiCopy_8u_C1R(b, 4, d, 4, ZubSize{0, 1}), zubiCopy_8u_C1R(b, 4, d, 4, ZubSize{4, 0})};
    EXPECT_EQ(got, (std::vector<ZubStatus>{N, N, S, N, S, N, S, N, N, S, S}));
    EXPECT_TRUE(s16[0] == 1 && std::vector<Zub8u>(d, d + 4) == std::vector<Zub8u>(4, 9));
}

TEST(Tables, BitMaskAndClamp) {
    for (int n = 0; n <= 32; ++n) EXPECT_EQ(ownvc_BitMask[n], n == 32 ? 0xFFFFFFFFu : (1u << n) - 1u) << n;
    for (int i = 0; i < 768; ++i) EXPECT_EQ(ClampTbl[i], i < 256 ? 0 : (i > 511 ? 255 : i - 256)) << i;
}

}  // namespace
