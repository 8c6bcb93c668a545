/**
 * @file span3d_host.h
 * @brief The host support library: the only three services the span3d engine
 *        takes from its host. Compiles as C99 and as C++.
 *
 * The engine makes no operating-system call of its own. Every byte it uses
 * comes from AllocateMemory and goes back through FreeMemory.
 */
#ifndef SPAN3D_HOST_H
#define SPAN3D_HOST_H

#include <stddef.h>
#include <stdint.h>

#if defined(SPAN3D_HOST_BUILD)
#  define SPAN3D_HOST_API __attribute__((visibility("default")))
#else
#  define SPAN3D_HOST_API
#endif

#ifdef __cplusplus
extern "C" {
#endif

/** Returns a block of @p size bytes, zero-filled, or null when memory runs out.
 *  The engine relies on the zero fill: many record fields are never written
 *  before they are first read. */
SPAN3D_HOST_API void* AllocateMemory(size_t size);

/** Releases a block from AllocateMemory. Null is accepted and ignored. */
SPAN3D_HOST_API void FreeMemory(void* block);

/** A processor identification word. The engine calls it once per
 *  InitEngine3D and takes no decision on it. */
SPAN3D_HOST_API int32_t ProcessorGetType(void);

#ifdef __cplusplus
}
#endif

#endif /* SPAN3D_HOST_H */
