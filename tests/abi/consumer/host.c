/* Smallest useful host: one service of the host library, engine up and down. */
#include <span3d.h>

#include <stdio.h>

int main(void)
{
    void* block = AllocateMemory(64);
    if (block == NULL) return 1;
    FreeMemory(block);
    if (InitEngine3D() != 0) return 1;
    ReleaseEngine3D();
    puts("consumer: ok");
    return 0;
}
