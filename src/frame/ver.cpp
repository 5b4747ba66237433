// Version record of the library.
#include "zubvc.h"

namespace {
constexpr ZubLibraryVersion kVersion = {
    5, 2, 108, 366, {'p', 'x', 0, 0}, "libzubvcpx.so.5.2", "5.2", "Jul 11 2007",
};
}  // namespace

const ZubLibraryVersion* zubvcGetLibVersion(void) { return &kVersion; }
