// Geometry pipeline: what the files of src/pipeline share with each other and
// with the rest of the engine. The exported pipeline functions are declared in
// include/span3d.h; this header holds the internal routines and the
// module-wide state records, one section per family.
//
// All state here is module-wide and single-threaded: one frame, one sort, one
// mesh rebuild at a time.
#pragma once

#include <stdint.h>

#include "span3d.h"

namespace span3d {

// ================================================================ radix sort
// (owned by pipeline/radix_sort.cpp)

// How the last byte pass reads the top byte of a key.
enum class RadixKeyKind : uint32_t {
    Unsigned = 0,  // plain 32-bit unsigned order
    Signed   = 1,  // two's complement; only correct without negatives (see RadixLongSorter)
    Float    = 2,  // IEEE single: negatives reversed, -0.0 just below +0.0
};

// The sort's tables and scratch buffer. Only the histograms are cleared
// between sorts; the scratch survives and never shrinks, so the steady state
// allocates nothing. All counts and positions are plain integers.
struct RadixSortState {
    uint32_t     Histograms[4][256];  // count of each byte value at byte 0 (least significant) to 3
    uint32_t     Offsets[256];        // next write position per byte value in the current pass
    uint32_t     Negatives;           // keys whose top byte is 128 or more (float and signed sorts)
    uint32_t*    Scratch;             // the sort's own index buffer, from AllocateMemory, or null
    int32_t      ScratchSize;         // capacity of Scratch in entries; only grows
    RadixKeyKind Mode;                // key kind of the last sort
    uint32_t     PassCount;           // byte passes the last sort ran, 0 to 4 (skipped ones not counted)
    uint32_t     SortedEarly;         // 1 when the last sort found its input in order after the first sweep
};
extern RadixSortState g_RadixSort;

// Sorts count draw items by SortKey (a float, ascending) into indices, which
// it first fills with 0 to count - 1 itself. Always sorts: there is no early
// exit for keys already in order, unlike RadixFloatSorter. Equal keys keep
// emission order, except equal negative keys when the top-byte pass runs:
// that pass fills negative buckets from the top and reverses them.
void SortDrawItems(uint32_t count, DrawItem* items, uint32_t* indices);

}  // namespace span3d
