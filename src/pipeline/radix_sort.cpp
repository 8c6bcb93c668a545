// The engine's one sort: a least-significant-byte radix sort over an index
// array, four passes of eight bits at most.
//
// Every key is 32 bits read as four bytes, byte 0 the least significant. One
// sweep builds all four histograms; a pass whose byte is the same for every
// key is skipped. Each pass scatters indices stably from a source buffer into
// a destination buffer and the two swap roles, the caller's array being the
// first source and the module's scratch the first destination.
//
// Floats: for non-negative IEEE singles the bit pattern grows with the value,
// so only the negatives need care. Their top bytes (128..255) are placed below
// all non-negative buckets, in reverse bucket order, and filled from the top
// of each bucket downwards; since the lower bytes of a negative float also
// grow with its magnitude, this yields numeric order. -0.0 is the negative
// with the smallest magnitude, so it lands just below +0.0.
#include "pipeline/pipeline.h"

#include <stddef.h>

#include "kernel/kernel.h"

namespace span3d {

RadixSortState g_RadixSort;

namespace {

// A key's four bytes, read as one little-endian word. Values handed to
// RadixLongSorter come as bytes and need not be aligned.
inline uint32_t LoadKey(const uint8_t* at)
{
    uint32_t word;
    __builtin_memcpy(&word, at, sizeof word);
    return word;
}

// The early-exit sweep's test: true when a key is less than the one before
// it in the present order, compared as the key kind reads it.
template <RadixKeyKind kKind>
inline bool KeyBelow(uint32_t key, uint32_t previous)
{
    if constexpr (kKind == RadixKeyKind::Unsigned) {
        return key < previous;
    } else if constexpr (kKind == RadixKeyKind::Signed) {
        return static_cast<int32_t>(key) < static_cast<int32_t>(previous);
    } else {
        // A float compare, not a bit compare: -0.0 equals +0.0 here and a NaN
        // is never less, so such pairs count as in order even though the
        // passes themselves would order them by their bits.
        return __builtin_bit_cast(float, key) < __builtin_bit_cast(float, previous);
    }
}

// Grows the scratch buffer to hold count entries. The old contents are not
// kept: every sort overwrites what it reads. A failed allocation is not
// tested; the next scatter into the buffer faults.
void ReserveScratch(uint32_t count)
{
    RadixSortState& s = g_RadixSort;
    if (static_cast<int64_t>(s.ScratchSize) < static_cast<int64_t>(count)) {
        FreeMemory(s.Scratch);
        s.Scratch = static_cast<uint32_t*>(AllocateMemory(static_cast<size_t>(count) * sizeof(uint32_t)));
        s.ScratchSize = static_cast<int32_t>(count);
    }
}

void ClearHistograms()
{
    MemFill8(g_RadixSort.Histograms, 0, static_cast<int32_t>(sizeof g_RadixSort.Histograms));
}

inline void CountKey(uint32_t key)
{
    RadixSortState& s = g_RadixSort;
    ++s.Histograms[0][key & 0xff];
    ++s.Histograms[1][(key >> 8) & 0xff];
    ++s.Histograms[2][(key >> 16) & 0xff];
    ++s.Histograms[3][key >> 24];
}

// Keys whose top byte is 128 or more: negative floats (-0.0 included) and
// negative two's complement values.
uint32_t CountNegatives()
{
    uint32_t negatives = 0;
    for (uint32_t b = 128; b < 256; ++b) negatives += g_RadixSort.Histograms[3][b];
    return negatives;
}

// True when every key has the same byte at this position: the first
// non-empty bucket holds all of them. With count 0 bucket 0 already matches.
bool PassIsSkipped(const uint32_t* histogram, uint32_t count)
{
    uint32_t b = 0;
    while (b < 255 && histogram[b] == 0) ++b;
    return histogram[b] == count;
}

// Offsets of a plain ascending pass: bucket i starts after buckets 0..i-1.
void AscendingOffsets(const uint32_t* histogram)
{
    uint32_t* offsets = g_RadixSort.Offsets;
    offsets[0] = 0;
    for (uint32_t i = 1; i < 256; ++i) offsets[i] = offsets[i - 1] + histogram[i - 1];
}

// Top byte of a two's complement sort. Both halves start at Negatives: the
// non-negatives rightly, the negatives wrongly, as they should start at 0.
// This is the settled behaviour of the signed mode: with negatives present
// the two halves overwrite each other, positions below Negatives keep what the
// destination held, and more negatives than non-negatives would write past
// position count - 1 (ScatterSignedTop drops those writes). The engine itself sorts only with the unsigned mode; a host must
// pass isSigned 1 only for data without negatives.
void SignedTopOffsets(const uint32_t* histogram)
{
    RadixSortState& s = g_RadixSort;
    s.Offsets[0] = s.Negatives;
    for (uint32_t i = 1; i < 128; ++i) s.Offsets[i] = s.Offsets[i - 1] + histogram[i - 1];
    s.Offsets[128] = s.Negatives;
    for (uint32_t i = 129; i < 256; ++i) s.Offsets[i] = s.Offsets[i - 1] + histogram[i - 1];
}

// Top byte of a float sort. Non-negative buckets 0..127 start after all the
// negatives. Negative buckets are laid out in reverse, 255 (most negative)
// first at 0, and each offset then points just past the end of its bucket,
// because the scatter fills negative buckets from the top down.
void FloatTopOffsets(const uint32_t* histogram)
{
    RadixSortState& s = g_RadixSort;
    s.Offsets[0] = s.Negatives;
    for (uint32_t i = 1; i < 128; ++i) s.Offsets[i] = s.Offsets[i - 1] + histogram[i - 1];
    s.Offsets[255] = 0;
    for (uint32_t i = 254; i >= 128; --i) s.Offsets[i] = s.Offsets[i + 1] + histogram[i + 1];
    for (uint32_t i = 128; i < 256; ++i) s.Offsets[i] += histogram[i];
}

// One stable pass: each index goes to the next free slot of its byte's bucket.
template <uint32_t kStride>
void ScatterAscending(uint32_t count, const uint8_t* keys, uint32_t byte, const uint32_t* source,
                      uint32_t* destination)
{
    uint32_t* offsets = g_RadixSort.Offsets;
    for (uint32_t i = 0; i < count; ++i) {
        const uint32_t index = source[i];
        const uint32_t b = keys[static_cast<size_t>(index) * kStride + byte];
        destination[offsets[b]++] = index;
    }
}

// The top-byte pass of a signed sort. Its overlapping halves (see
// SignedTopOffsets) can run past position count - 1 when negatives
// outnumber the rest; those writes are dropped, so every position inside the
// array receives exactly what the overlapping layout puts there and nothing
// outside the array is touched, be it the caller's memory or the scratch.
template <uint32_t kStride>
void ScatterSignedTop(uint32_t count, const uint8_t* keys, const uint32_t* source, uint32_t* destination)
{
    uint32_t* offsets = g_RadixSort.Offsets;
    for (uint32_t i = 0; i < count; ++i) {
        const uint32_t index = source[i];
        const uint32_t b = keys[static_cast<size_t>(index) * kStride + 3];
        const uint32_t at = offsets[b]++;
        if (at < count) destination[at] = index;
    }
}

// The top-byte pass of a float sort: negative buckets fill from their end
// downwards, which reverses the order of the negatives within each bucket.
template <uint32_t kStride>
void ScatterFloatTop(uint32_t count, const uint8_t* keys, const uint32_t* source, uint32_t* destination)
{
    uint32_t* offsets = g_RadixSort.Offsets;
    for (uint32_t i = 0; i < count; ++i) {
        const uint32_t index = source[i];
        const uint32_t b = keys[static_cast<size_t>(index) * kStride + 3];
        if (b >= 128) {
            destination[--offsets[b]] = index;
        } else {
            destination[offsets[b]++] = index;
        }
    }
}

// The byte passes, once the histograms (and Negatives) are known. keys is the
// first byte of key 0; key i lies kStride bytes after key i - 1.
template <RadixKeyKind kKind, uint32_t kStride>
void RunPasses(uint32_t count, const uint8_t* keys, uint32_t* indices)
{
    RadixSortState& s = g_RadixSort;
    uint32_t* source = indices;
    uint32_t* destination = s.Scratch;
    uint32_t swaps = 0;

    for (uint32_t p = 0; p < 4; ++p) {
        const uint32_t* histogram = s.Histograms[p];
        if (PassIsSkipped(histogram, count)) continue;

        if (p < 3 || kKind == RadixKeyKind::Unsigned) {
            AscendingOffsets(histogram);
        } else if constexpr (kKind == RadixKeyKind::Signed) {
            SignedTopOffsets(histogram);
        } else {
            FloatTopOffsets(histogram);
        }

        if (kKind == RadixKeyKind::Float && p == 3) {
            ScatterFloatTop<kStride>(count, keys, source, destination);
        } else if (kKind == RadixKeyKind::Signed && p == 3) {
            ScatterSignedTop<kStride>(count, keys, source, destination);
        } else {
            ScatterAscending<kStride>(count, keys, p, source, destination);
        }

        uint32_t* swap = source;
        source = destination;
        destination = swap;
        ++swaps;
    }

    s.PassCount = swaps;
    // After an odd number of passes the result lies in the scratch buffer
    // (source now points at it); the scratch itself never changes owner.
    if (swaps & 1) MemCopy(indices, source, count * static_cast<uint32_t>(sizeof(uint32_t)));
}

// The sorters that refine an order already in indices. One sweep counts the
// four bytes of every value, in array order, and checks whether the values
// are already ascending in the order that indices gives: last frame's order
// then costs one sweep and no pass.
template <RadixKeyKind kKind>
void SortWords(uint32_t count, const uint8_t* values, uint32_t* indices)
{
    RadixSortState& s = g_RadixSort;
    ReserveScratch(count);
    ClearHistograms();
    s.Mode = kKind;
    s.PassCount = 0;
    s.SortedEarly = 0;

    bool ordered = true;
    uint32_t previous = 0;
    for (uint32_t i = 0; i < count; ++i) {
        CountKey(LoadKey(values + static_cast<size_t>(i) * 4));
        const uint32_t current = LoadKey(values + static_cast<size_t>(indices[i]) * 4);
        if (i > 0 && KeyBelow<kKind>(current, previous)) ordered = false;
        previous = current;
    }
    if (ordered) {
        s.SortedEarly = 1;
        return;
    }

    s.Negatives = kKind == RadixKeyKind::Unsigned ? 0 : CountNegatives();
    RunPasses<kKind, 4>(count, values, indices);
}

}  // namespace

void SortDrawItems(uint32_t count, DrawItem* items, uint32_t* indices)
{
    static_assert(offsetof(DrawItem, SortKey) == 0, "the sort reads the key at the start of a DrawItem");
    constexpr uint32_t kStride = sizeof(DrawItem);

    RadixSortState& s = g_RadixSort;
    ReserveScratch(count);
    ClearHistograms();
    s.Mode = RadixKeyKind::Float;
    s.PassCount = 0;
    s.SortedEarly = 0;

    const uint8_t* keys = reinterpret_cast<const uint8_t*>(items);
    for (uint32_t i = 0; i < count; ++i) {
        indices[i] = i;
        CountKey(LoadKey(keys + static_cast<size_t>(i) * kStride));
    }
    s.Negatives = CountNegatives();
    RunPasses<RadixKeyKind::Float, kStride>(count, keys, indices);
}

}  // namespace span3d

using namespace span3d;

extern "C" SPAN3D_API void InitRadixSort(void)
{
    FreeMemory(g_RadixSort.Scratch);
    g_RadixSort.Scratch = nullptr;
    g_RadixSort.ScratchSize = 0;
}

extern "C" SPAN3D_API void ReleaseRadixSort(void)
{
    FreeMemory(g_RadixSort.Scratch);
    g_RadixSort.Scratch = nullptr;
    g_RadixSort.ScratchSize = 0;
}

extern "C" SPAN3D_API uint32_t ResetRadixSort(uint32_t count, uint32_t* indices)
{
    ReserveScratch(count);
    if (count < 1) return 0;
    for (uint32_t i = 0; i < count; ++i) indices[i] = i;
    return count;
}

extern "C" SPAN3D_API void RadixLongSorter(uint32_t count, const uint8_t* values, uint32_t* indices,
                                           uint32_t isSigned)
{
    if (isSigned != 0) {
        SortWords<RadixKeyKind::Signed>(count, values, indices);
    } else {
        SortWords<RadixKeyKind::Unsigned>(count, values, indices);
    }
}

extern "C" SPAN3D_API void RadixFloatSorter(uint32_t count, const float* values, uint32_t* indices)
{
    SortWords<RadixKeyKind::Float>(count, reinterpret_cast<const uint8_t*>(values), indices);
}
