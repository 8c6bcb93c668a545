/* A host in plain C99, linked against the shared engine and the shared host
 * support library. It brings the engine up and down twice: a host may restart
 * the engine, and ReleaseEngine3D must leave nothing behind that stops a
 * second InitEngine3D. A third ReleaseEngine3D, with the engine down, must do
 * nothing. Exits 0 when every step gives the documented result. */
#include "span3d.h"

#include <stdio.h>

static int failures = 0;

static void check(int ok, const char* what)
{
    if (!ok) {
        fprintf(stderr, "c99_host: FAILED: %s\n", what);
        ++failures;
    }
}

int main(void)
{
    int round;
    size_t i;
    unsigned char* block;

    /* The engine relies on zero-filled blocks from the host library. */
    block = (unsigned char*)AllocateMemory(256);
    check(block != NULL, "AllocateMemory(256) returns a block");
    if (block != NULL) {
        int zero = 1;
        for (i = 0; i < 256; ++i) zero &= block[i] == 0;
        check(zero, "AllocateMemory fills the block with zeros");
        FreeMemory(block);
    }
    FreeMemory(NULL);

    for (round = 0; round < 2; ++round) {
        check(InitEngine3D() == 0, "InitEngine3D returns 0");
        ReleaseEngine3D();
    }
    ReleaseEngine3D();

    if (failures != 0) return 1;
    printf("c99_host: engine started and stopped twice\n");
    return 0;
}
