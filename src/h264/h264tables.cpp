// Constant tables shared by several H.264 families.
#include "../common/sample.h"
#include "../common/table.h"
#include "zubvc.h"

namespace {
constexpr Zub8u clampEntry(int i) { return zub::clip8(i - 256); }
}  // namespace

const Zub8u ClampTbl[768] = {ZUB_GEN256(clampEntry, 0) ZUB_GEN256(clampEntry, 256) ZUB_GEN256(clampEntry, 512)};
