/* Compiled as strict C99: the public header must be plain C.  Also the program
 * that the install test builds against the installed library. */
#include <stdio.h>
#include <string.h>

#include "zubvc.h"

int main(void) {
    const ZubLibraryVersion* v = zubvcGetLibVersion();
    Zub8u src[4] = {1, 2, 3, 4}, dst[4] = {0, 0, 0, 0};
    ZubSize roi = {4, 1};
    if (!v || v->versionMajor != 5 || v->versionMinor != 2 || strcmp(v->targetCode, "px") != 0) return 1;
    if (zubiCopy_8u_C1R(src, 4, dst, 4, roi) != ZubStatusOk || memcmp(src, dst, 4) != 0) return 2;
    printf("%s %s (%s) build %d.%d\n", v->libraryName, v->versionText, v->targetCode, (int)v->buildNumberHigh,
           (int)v->buildNumberLow);
    return 0;
}
