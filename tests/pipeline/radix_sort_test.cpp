// The radix sort: order of floats and integers, stability, the skipped and
// odd passes, the early exit, the signed mode's overlapping halves, draw
// items, and a seeded comparison against std::stable_sort.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "pipeline/pipeline.h"
#include "pipeline_test_support.h"

namespace {

using span3d::g_RadixSort;

using span3d::test::Bits;
using span3d::test::FromBits;

std::vector<uint32_t> Identity(size_t count)
{
    std::vector<uint32_t> indices(count);
    for (size_t i = 0; i < count; ++i) indices[i] = static_cast<uint32_t>(i);
    return indices;
}

class RadixSort : public ::testing::Test {
protected:
    void SetUp() override { InitRadixSort(); }
    void TearDown() override { ReleaseRadixSort(); }
};

// ---------------------------------------------------------------- floats

struct FloatCase {
    const char*           name;
    std::vector<float>    keys;
    std::vector<uint32_t> expected;  // indices after the sort, smallest key first
    uint32_t              passes;    // byte passes that run
};

// Bytes of the keys used below, most significant first:
//   2.0 40000000   1.0 3f800000   0.0 00000000   -0.0 80000000
//  -1.0 bf800000  -2.0 c0000000  -1.25 bfa00000  -1.5 bfc00000
//   3.0 40400000   1e-40 000116c2  -1e-40 800116c2
const FloatCase kFloatCases[] = {
    // Top bytes 3f 80 c0 00 bf all differ, bytes 0 and 1 are all zero: passes
    // 2 and 3 run. The negatives come out reversed by magnitude, -0.0 last.
    {"SignsAndZeros", {1.0f, -0.0f, -2.0f, 0.0f, -1.0f}, {2, 4, 1, 3, 0}, 2},
    // A negative denormal lies below -0.0; a positive one above +0.0.
    {"DenormalsAroundZeros", {0.0f, 1e-40f, -0.0f, -1e-40f}, {3, 2, 0, 1}, 4},
    // Equal positive keys keep their input order.
    {"PositiveTiesStable", {2.0f, 1.0f, 2.0f, 1.0f, 2.0f}, {1, 3, 0, 2, 4}, 2},
    // Equal negative keys are filled from the top of their bucket in the top
    // pass, so they come out in reverse of their input order.
    {"NegativeTiesReversedByTopPass", {-1.0f, 3.0f, -1.0f, -1.0f}, {3, 2, 0, 1}, 2},
    // All keys negative with one top byte (bf): the top pass is skipped like
    // any pass whose byte never varies, so the negatives are never reversed
    // and come out by ascending bits: -1.0, -1.25, -1.5. Intended: the skip
    // rule holds for the top byte as for the others.
    {"OneNegativeTopByteSkipsReversal", {-1.5f, -1.0f, -1.25f}, {1, 2, 0}, 1},
};

TEST_F(RadixSort, FloatOrder)
{
    for (const FloatCase& c : kFloatCases) {
        SCOPED_TRACE(c.name);
        std::vector<uint32_t> indices = Identity(c.keys.size());
        RadixFloatSorter(static_cast<uint32_t>(c.keys.size()), c.keys.data(), indices.data());
        EXPECT_EQ(indices, c.expected);
        EXPECT_EQ(g_RadixSort.PassCount, c.passes);
        EXPECT_EQ(g_RadixSort.SortedEarly, 0u);
    }
}

// ---------------------------------------------------------------- integers

struct LongCase {
    const char*           name;
    std::vector<uint32_t> values;
    uint32_t              isSigned;
    std::vector<uint32_t> expected;
    uint32_t              passes;
};

const LongCase kLongCases[] = {
    {"UnsignedAllOnesLast", {0xffffffffu, 0u, 0x80000000u, 1u}, 0, {1, 3, 2, 0}, 4},
    // Only byte 0 differs: one pass into the scratch, then the copy back
    // into the caller's array.
    {"LowByteOnlyOnePass", {0x12345603u, 0x12345601u, 0x12345602u, 0x12345600u}, 0, {3, 1, 2, 0}, 1},
    // Only the top byte differs: three passes skipped, one odd pass.
    {"TopByteOnlyOnePass", {0x03000000u, 0x01000000u, 0x02000000u}, 0, {1, 2, 0}, 1},
    // Bytes 0 and 3 differ: two passes, the result is in place.
    {"TwoPassesEven", {0x01000002u, 0x01000001u, 0x00000005u}, 0, {2, 1, 0}, 2},
    {"FourPasses", {0x04030201u, 0x01020304u, 0x04030102u, 0x01020403u}, 0, {1, 3, 2, 0}, 4},
    {"UnsignedTiesStable", {7u, 3u, 7u, 3u, 7u}, 0, {1, 3, 0, 2, 4}, 1},
    // isSigned 1 without negatives is plain numeric order.
    {"SignedNonNegativeNumeric", {300u, 5u, 70000u, 0u}, 1, {3, 1, 0, 2}, 3},
    // isSigned 1 with a negative: the top pass starts both halves at
    // Negatives (1). Pass 0 (bytes 02 01 01 03) gives 1 2 0 3 in the scratch;
    // bytes 1 and 2 never vary; the top pass writes back into the caller's
    // array, which still holds 0 1 2 3: index 1 (top byte ff) goes to slot 1,
    // then index 2 overwrites slot 1, 0 goes to slot 2, 3 to slot 3, and slot
    // 0 keeps its 0. No usable order, as the mode promises.
    {"SignedNegativeHalvesOverlap", {0x00000002u, 0xff000001u, 0x00000001u, 0x00000003u}, 1, {0, 2, 0, 3}, 2},
};

TEST_F(RadixSort, LongOrder)
{
    for (const LongCase& c : kLongCases) {
        SCOPED_TRACE(c.name);
        std::vector<uint32_t> indices = Identity(c.values.size());
        RadixLongSorter(static_cast<uint32_t>(c.values.size()), reinterpret_cast<const uint8_t*>(c.values.data()),
                        indices.data(), c.isSigned);
        EXPECT_EQ(indices, c.expected);
        EXPECT_EQ(g_RadixSort.PassCount, c.passes);
        EXPECT_EQ(g_RadixSort.Mode, c.isSigned ? span3d::RadixKeyKind::Signed : span3d::RadixKeyKind::Unsigned);
    }
}

// More negatives than non-negatives: the overlapping halves of the signed
// top pass point past the end (0xff at 5, 0xfe at 4 of a 4-slot array).
// Only the top byte varies, so the one pass goes into the scratch: index 2
// (0xfd) lands in slot 3 and index 3 (0x00, also starting at Negatives = 3)
// overwrites it. The writes beyond slot 3 are dropped; the sanitizer build
// shows that nothing outside either array is touched.
TEST_F(RadixSort, SignedOverrunStaysInsideArrays)
{
    const std::vector<uint32_t> values = {0xff000000u, 0xfe000000u, 0xfd000000u, 0u};
    std::vector<uint32_t> indices = Identity(values.size());
    RadixLongSorter(4, reinterpret_cast<const uint8_t*>(values.data()), indices.data(), 1);
    EXPECT_EQ(indices[3], 3u);
    EXPECT_EQ(g_RadixSort.PassCount, 1u);
}

// ---------------------------------------------------------------- early exit

struct EarlyCase {
    const char*           name;
    std::vector<uint32_t> bits;      // raw 32-bit keys
    int                   kind;      // 0 unsigned, 1 signed, 2 float
    std::vector<uint32_t> indices;   // order handed in
    std::vector<uint32_t> expected;  // order afterwards
    uint32_t              early;     // returned after the sweep
};

const EarlyCase kEarlyCases[] = {
    // Ascending under the present (non-identity) order: nothing moves.
    {"UnsignedAlreadyAscending", {50u, 10u, 30u}, 0, {1, 2, 0}, {1, 2, 0}, 1},
    // Equal keys never count as out of order, so no pass runs even for a
    // permuted order.
    {"AllEqual", {9u, 9u, 9u}, 0, {2, 0, 1}, {2, 0, 1}, 1},
    // The sweep compares as signed: -1 before 1 is in order.
    {"SignedAscending", {0xffffffffu, 1u}, 1, {0, 1}, {0, 1}, 1},
    // ... and as unsigned it is not.
    {"UnsignedDescending", {0xffffffffu, 1u}, 0, {0, 1}, {1, 0}, 0},
    // The sweep compares floats, for which +0.0 before -0.0 is in order, so
    // the passes that would put -0.0 first never run.
    {"FloatZerosEqualInSweep", {0x00000000u, 0x80000000u}, 2, {0, 1}, {0, 1}, 1},
    {"FloatMinusZeroFirstWhenOutOfOrder", {0x00000000u, 0x80000000u, 0xbf800000u}, 2, {0, 1, 2}, {2, 1, 0}, 0},
};

TEST_F(RadixSort, EarlyExit)
{
    for (const EarlyCase& c : kEarlyCases) {
        SCOPED_TRACE(c.name);
        std::vector<uint32_t> indices = c.indices;
        const uint32_t count = static_cast<uint32_t>(c.bits.size());
        if (c.kind == 2) {
            std::vector<float> keys;
            for (uint32_t b : c.bits) keys.push_back(FromBits(b));
            RadixFloatSorter(count, keys.data(), indices.data());
        } else {
            RadixLongSorter(count, reinterpret_cast<const uint8_t*>(c.bits.data()), indices.data(),
                            static_cast<uint32_t>(c.kind));
        }
        EXPECT_EQ(indices, c.expected);
        EXPECT_EQ(g_RadixSort.SortedEarly, c.early);
        if (c.early) {
            EXPECT_EQ(g_RadixSort.PassCount, 0u);
        }
    }
}

// ---------------------------------------------------------------- scratch

TEST_F(RadixSort, ScratchOnlyGrowsAndInitFreesIt)
{
    std::vector<uint32_t> indices(16, 0xdeadbeefu);
    EXPECT_EQ(ResetRadixSort(0, indices.data()), 0u);
    EXPECT_EQ(indices[0], 0xdeadbeefu);
    EXPECT_EQ(g_RadixSort.ScratchSize, 0);

    EXPECT_EQ(ResetRadixSort(10, indices.data()), 10u);
    EXPECT_EQ(std::vector<uint32_t>(indices.begin(), indices.begin() + 10), Identity(10));
    EXPECT_EQ(indices[10], 0xdeadbeefu);
    EXPECT_EQ(g_RadixSort.ScratchSize, 10);
    const uint32_t* scratch = g_RadixSort.Scratch;
    ASSERT_NE(scratch, nullptr);

    EXPECT_EQ(ResetRadixSort(4, indices.data()), 4u);
    EXPECT_EQ(g_RadixSort.ScratchSize, 10);
    EXPECT_EQ(g_RadixSort.Scratch, scratch);

    // Any sort grows it too, even one that returns after the sweep.
    const std::vector<float> keys(12, 1.0f);
    std::vector<uint32_t> order = Identity(12);
    RadixFloatSorter(12, keys.data(), order.data());
    EXPECT_EQ(g_RadixSort.SortedEarly, 1u);
    EXPECT_EQ(g_RadixSort.ScratchSize, 12);

    InitRadixSort();
    EXPECT_EQ(g_RadixSort.Scratch, nullptr);
    EXPECT_EQ(g_RadixSort.ScratchSize, 0);
}

TEST_F(RadixSort, CountZeroLeavesIndicesAndScratch)
{
    uint32_t indices[2] = {5, 9};
    const float floatKey = 1.0f;
    const uint32_t longKey = 1;
    DrawItem item = {};
    RadixFloatSorter(0, &floatKey, indices);
    RadixLongSorter(0, reinterpret_cast<const uint8_t*>(&longKey), indices, 0);
    span3d::SortDrawItems(0, &item, indices);
    EXPECT_EQ(indices[0], 5u);
    EXPECT_EQ(indices[1], 9u);
    EXPECT_EQ(g_RadixSort.Scratch, nullptr);
    EXPECT_EQ(g_RadixSort.PassCount, 0u);
}

// ---------------------------------------------------------------- draw items

struct DrawItemCase {
    const char*           name;
    std::vector<float>    keys;
    std::vector<uint32_t> expected;
    uint32_t              passes;
};

const DrawItemCase kDrawItemCases[] = {
    // Keys are sums of three view depths. Ties keep emission order. 30, 20
    // and 10 share the top byte 41 and differ in byte 2 only: one pass.
    {"ByKeyTiesInEmissionOrder", {30.0f, 10.0f, 20.0f, 10.0f}, {1, 3, 2, 0}, 1},
    // Already ascending still runs its passes: no early exit for draw items.
    {"AscendingStillSorted", {1.0f, 2.0f, 3.0f}, {0, 1, 2}, 2},
    // All keys equal: every pass is skipped, the indices are just reset.
    {"AllEqualOnlyReset", {6.0f, 6.0f, 6.0f}, {0, 1, 2}, 0},
    // A key behind the camera sorts first.
    {"NegativeKeyFirst", {4.0f, -4.0f, 0.5f}, {1, 2, 0}, 2},
};

TEST_F(RadixSort, DrawItemsBySortKey)
{
    for (const DrawItemCase& c : kDrawItemCases) {
        SCOPED_TRACE(c.name);
        std::vector<DrawItem> items(c.keys.size());
        for (size_t i = 0; i < items.size(); ++i) {
            items[i].SortKey = c.keys[i];
            items[i].Flags = static_cast<uint32_t>(i);
        }
        // The sort fills the indices itself: whatever they held is ignored.
        std::vector<uint32_t> indices(c.keys.size(), 0xdeadbeefu);
        span3d::SortDrawItems(static_cast<uint32_t>(items.size()), items.data(), indices.data());
        EXPECT_EQ(indices, c.expected);
        EXPECT_EQ(g_RadixSort.PassCount, c.passes);
        EXPECT_EQ(g_RadixSort.SortedEarly, 0u);
        for (size_t i = 0; i < items.size(); ++i) EXPECT_EQ(items[i].Flags, i);  // items never move
    }
}

// ---------------------------------------------------------------- randomized

// Float keys of every kind: wide and narrow ranges, arbitrary finite bit
// patterns, and a small pool that makes ties, zeros of both signs and
// denormals frequent.
std::vector<float> RandomFloats(std::mt19937& rng, size_t count)
{
    static const float kPool[] = {-2.0f, -1.0f, -0.0f, 0.0f, 1.0f, 2.5f, -1e-40f, 1e-40f, -1e30f, 1e30f};
    std::vector<float> keys(count);
    for (float& k : keys) {
        switch (rng() % 4) {
        case 0: k = std::uniform_real_distribution<float>(-1000.0f, 1000.0f)(rng); break;
        case 1: k = kPool[rng() % (sizeof kPool / sizeof kPool[0])]; break;
        case 2: {
            uint32_t bits = static_cast<uint32_t>(rng());
            if (((bits >> 23) & 0xff) == 0xff) bits &= ~0x40000000u;  // no infinity or NaN
            k = FromBits(bits);
            break;
        }
        default: k = std::uniform_real_distribution<float>(-1.0f, 1.0f)(rng); break;
        }
    }
    return keys;
}

// The order the sort promises for floats of both signs: numeric by bits, so
// -0.0 just below +0.0, equal keys stable from the order handed in, except
// that runs of equal negative keys come out reversed (the top pass fills
// negative buckets from the top).
void ReferenceFloatOrder(const std::vector<float>& keys, std::vector<uint32_t>& order)
{
    auto rank = [&](uint32_t i) {
        const uint32_t b = Bits(keys[i]);
        return (b & 0x80000000u) ? ~b : (b | 0x80000000u);
    };
    std::stable_sort(order.begin(), order.end(), [&](uint32_t a, uint32_t b) { return rank(a) < rank(b); });
    for (size_t i = 0; i < order.size();) {
        size_t j = i + 1;
        while (j < order.size() && rank(order[j]) == rank(order[i])) ++j;
        if (Bits(keys[order[i]]) & 0x80000000u) std::reverse(order.begin() + static_cast<std::ptrdiff_t>(i),
                                                             order.begin() + static_cast<std::ptrdiff_t>(j));
        i = j;
    }
}

TEST_F(RadixSort, FloatsMatchStableSort)
{
    std::mt19937 rng(20240611);
    const std::vector<float> keys = RandomFloats(rng, 4000);
    std::vector<uint32_t> indices(keys.size());
    ResetRadixSort(static_cast<uint32_t>(keys.size()), indices.data());
    RadixFloatSorter(static_cast<uint32_t>(keys.size()), keys.data(), indices.data());

    std::vector<uint32_t> expected = Identity(keys.size());
    ReferenceFloatOrder(keys, expected);
    EXPECT_EQ(indices, expected);
    EXPECT_EQ(g_RadixSort.PassCount, 4u);
}

struct LongRandomCase {
    const char* name;
    uint32_t    mask;      // applied to each random word
    uint32_t    isSigned;
    uint32_t    passes;
};

const LongRandomCase kLongRandomCases[] = {
    {"FullWords", 0xffffffffu, 0, 4},
    {"MiddleBytesFixedTwoPasses", 0xff0000ffu, 0, 2},
    {"LowBitsManyTiesOnePass", 0x0000001fu, 0, 1},
    {"ThreeBytesOddPasses", 0x00ffffffu, 0, 3},
    {"SignedNonNegative", 0x7fffffffu, 1, 4},
};

TEST_F(RadixSort, LongsMatchStableSort)
{
    for (const LongRandomCase& c : kLongRandomCases) {
        SCOPED_TRACE(c.name);
        std::mt19937 rng(1234);
        std::vector<uint32_t> values(3000);
        for (uint32_t& v : values) v = static_cast<uint32_t>(rng()) & c.mask;
        std::vector<uint32_t> indices(values.size());
        ResetRadixSort(static_cast<uint32_t>(values.size()), indices.data());
        RadixLongSorter(static_cast<uint32_t>(values.size()), reinterpret_cast<const uint8_t*>(values.data()),
                        indices.data(), c.isSigned);

        std::vector<uint32_t> expected = Identity(values.size());
        std::stable_sort(expected.begin(), expected.end(), [&](uint32_t a, uint32_t b) {
            return c.isSigned ? static_cast<int32_t>(values[a]) < static_cast<int32_t>(values[b])
                              : values[a] < values[b];
        });
        EXPECT_EQ(indices, expected);
        EXPECT_EQ(g_RadixSort.PassCount, c.passes);
    }
}

// The sorters refine the order already in the indices: sorting by a minor
// key and then by a major one gives the order of the pair.
TEST_F(RadixSort, SecondSortRefinesFirst)
{
    std::mt19937 rng(555);
    std::vector<uint32_t> minor(2000);
    for (uint32_t& v : minor) v = static_cast<uint32_t>(rng());
    std::vector<float> major(minor.size());
    for (float& k : major) k = static_cast<float>(static_cast<int>(rng() % 21) - 10);  // many ties, both signs

    std::vector<uint32_t> indices(minor.size());
    ResetRadixSort(static_cast<uint32_t>(minor.size()), indices.data());
    RadixLongSorter(static_cast<uint32_t>(minor.size()), reinterpret_cast<const uint8_t*>(minor.data()),
                    indices.data(), 0);
    RadixFloatSorter(static_cast<uint32_t>(major.size()), major.data(), indices.data());

    std::vector<uint32_t> expected = Identity(minor.size());
    std::stable_sort(expected.begin(), expected.end(), [&](uint32_t a, uint32_t b) { return minor[a] < minor[b]; });
    ReferenceFloatOrder(major, expected);
    EXPECT_EQ(indices, expected);
}

}  // namespace
