/* The host support library: zero-filled blocks from the C heap and a
 * processor word. Kept in its own shared library so that a host can replace
 * it with its own allocator without relinking the engine. */
#include "span3d_host.h"

#include <stdlib.h>

void* AllocateMemory(size_t size)
{
    /* calloc gives the zero fill the engine depends on. A zero-byte request
     * still yields a distinct block, so callers can free what they get. */
    return calloc(1, size ? size : 1);
}

void FreeMemory(void* block)
{
    free(block);
}

int32_t ProcessorGetType(void)
{
    /* The engine has no processor-dependent path; report a fixed class
     * (a 64-bit processor with SSE2, the baseline of this build). */
    return 6;
}
