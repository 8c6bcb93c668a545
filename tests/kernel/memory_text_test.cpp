// Memory and text routines: fills and copies against byte-by-byte
// references, and the null, length and sign behaviours that differ from the
// C library on purpose.
#include <gtest/gtest.h>

#include <stdint.h>
#include <string.h>

#include "kernel/kernel.h"

namespace span3d {
namespace {

// ---------------------------------------------------------------- fills and copies

// A 64-byte area starting on an 8-byte boundary, plus guard bytes. Offsets
// 0..7 from its start cover every misalignment of the block routines, and
// counts up to 40 cover short copies, the 8-byte threshold, head, body and
// tail.
struct alignas(8) Arena {
    uint8_t bytes[80];
};

void Pattern(Arena& a, uint8_t seed)
{
    for (int i = 0; i < 80; ++i)
        a.bytes[i] = uint8_t(seed + 7 * i);
}

TEST(MemoryBlocks, Fill8MatchesByteReference)
{
    for (int offset = 0; offset < 8; ++offset) {
        for (int32_t count = -2; count <= 40; ++count) {
            Arena got, want;
            Pattern(got, 3);
            Pattern(want, 3);
            for (int32_t i = 0; i < count; ++i)
                want.bytes[offset + i] = 0xa5;
            void* r = MemFill8(got.bytes + offset, 0x12345a5u, count);
            EXPECT_EQ(r, got.bytes + offset);
            ASSERT_EQ(memcmp(got.bytes, want.bytes, sizeof got.bytes), 0)
                << "offset " << offset << " count " << count;
        }
    }
    EXPECT_EQ(MemFill8(nullptr, 1, 10), nullptr);
}

TEST(MemoryBlocks, CopyMatchesByteReference)
{
    for (int from = 0; from < 8; ++from) {
        for (int to = 0; to < 8; ++to) {
            for (uint32_t count = 0; count <= 40; ++count) {
                Arena src, got, want;
                Pattern(src, 101);
                Pattern(got, 7);
                Pattern(want, 7);
                for (uint32_t i = 0; i < count; ++i)
                    want.bytes[to + i] = src.bytes[from + i];
                void* r = MemCopy(got.bytes + to, src.bytes + from, count);
                EXPECT_EQ(r, got.bytes + to);
                ASSERT_EQ(memcmp(got.bytes, want.bytes, sizeof got.bytes), 0)
                    << "from " << from << " to " << to << " count " << count;
            }
        }
    }
}

TEST(MemoryBlocks, CopyNullsAndForwardOverlap)
{
    uint8_t buf[8] = {1, 2, 3, 4, 5, 6, 7, 8};
    const uint8_t same[8] = {1, 2, 3, 4, 5, 6, 7, 8};
    EXPECT_EQ(MemCopy(buf, nullptr, 8), buf);
    EXPECT_EQ(MemCopy(nullptr, buf, 8), nullptr);
    EXPECT_EQ(MemCopy(buf, same + 1, 0), buf);
    EXPECT_EQ(memcmp(buf, same, 8), 0);

    // Strictly forward: moving a range down over itself works.
    Arena a, want;
    Pattern(a, 9);
    want = a;
    for (int i = 0; i < 50; ++i)
        want.bytes[1 + i] = want.bytes[4 + i];
    MemCopy(a.bytes + 1, a.bytes + 4, 50);
    EXPECT_EQ(memcmp(a.bytes, want.bytes, sizeof a.bytes), 0);
}

TEST(MemoryBlocks, Fill16And32WriteWholeWordsOnly)
{
    uint8_t buf[12];
    memset(buf, 0xee, sizeof buf);
    // 7 bytes: three words, the seventh byte stays. Low 16 bits of the value.
    EXPECT_EQ(MemFill16(buf, 0xabcd1234u, 7), buf);
    const uint8_t want16[12] = {0x34, 0x12, 0x34, 0x12, 0x34, 0x12, 0xee, 0xee, 0xee, 0xee, 0xee, 0xee};
    EXPECT_EQ(memcmp(buf, want16, sizeof buf), 0);

    memset(buf, 0xee, sizeof buf);
    // 11 bytes: two words; odd start address accepted.
    EXPECT_EQ(MemFill32(buf + 1, 0x01020304u, 11), buf + 1);
    const uint8_t want32[12] = {0xee, 4, 3, 2, 1, 4, 3, 2, 1, 0xee, 0xee, 0xee};
    EXPECT_EQ(memcmp(buf, want32, sizeof buf), 0);

    EXPECT_EQ(MemFill16(nullptr, 1, 4), nullptr);
    EXPECT_EQ(MemFill32(nullptr, 1, 4), nullptr);
}

// ---------------------------------------------------------------- compares

TEST(MemoryCompare, EightBitSignedDifferences)
{
    struct Case {
        const char* name;
        const char* a;
        const char* b;
        uint32_t count;
        bool noCase;
        int32_t expected;
    };
    const Case cases[] = {
        {"count 0", "a", "b", 0, false, 0}, {"equal", "abc", "abc", 3, false, 0},
        {"only first bytes", "abX", "abY", 2, false, 0},
        {"0x80 - 0x01 is positive 0x7f", "\x80", "\x01", 1, false, 0x7f},
        {"0x01 - 0x80 is -0x7f", "\x01", "\x80", 1, false, -0x7f}, {"c - a", "xc", "xa", 2, false, 2},
        {"no case: a vs A", "a", "A", 1, true, 0},
        // The difference takes the folded byte of a and the raw byte of b.
        {"no case: a vs B", "a", "B", 1, true, 0x41 - 0x42}, {"no case: B vs a", "B", "a", 1, true, 0x42 - 0x61},
        {"no case: count 0", "a", "z", 0, true, 0},
    };
    for (const Case& c : cases) {
        const int32_t got = c.noCase ? MemCompareNoCase(c.a, c.b, c.count)
                                     : MemCompare(c.a, c.b, c.count);
        EXPECT_EQ(got, c.expected) << c.name;
    }
}

TEST(TextCompare, EmptyAndNullAndEightBitDifference)
{
    struct Case {
        const char* name;
        const char* a;
        const char* b;
        bool noCase;
        int32_t expected;
    };
    const Case cases[] = {
        {"two empty texts differ", "", "", false, 1}, {"empty a", "", "x", false, 1},
        {"null a", nullptr, "x", false, 1}, {"null b", "x", nullptr, false, 1},
        {"Cube Cube", "Cube", "Cube", false, 0},
        // Fifth byte: 0x00 - 0x73, sign-extended from 8 bits.
        {"Cube Cubes", "Cube", "Cubes", false, -115}, {"Cubes Cube", "Cubes", "Cube", false, 115},
        {"empty b", "x", "", false, 'x'}, {"0x80 vs 0x01", "\x80", "\x01", false, 0x7f},
        {"case counts", "cube", "Cube", false, 0x20}, {"no case: equal", "cube", "CUBE", true, 0},
        {"no case: two empty", "", "", true, 1}, {"no case: null b", "a", nullptr, true, 1},
        // Both folded in the difference too: 'A' - 'B'.
        {"no case: a B", "a", "B", true, -1}, {"no case: [ a", "[", "a", true, 0x5b - 0x41},
        {"no case: Cube cubes", "Cube", "cubes", true, -0x53},
    };
    for (const Case& c : cases) {
        const int32_t got = c.noCase ? TextCompareNoCase(c.a, c.b) : TextCompare(c.a, c.b);
        EXPECT_EQ(got, c.expected) << c.name;
    }
}

// ---------------------------------------------------------------- copies and lengths

TEST(TextCopy, ReturnsTheEndAndNullForNull)
{
    char buf[8];
    memset(buf, 'x', sizeof buf);
    EXPECT_EQ(TextCopy(buf, "Cube"), buf + 4);
    EXPECT_STREQ(buf, "Cube");
    EXPECT_EQ(buf[5], 'x');
    EXPECT_EQ(TextCopy(buf, ""), buf);
    EXPECT_EQ(buf[0], '\0');

    memset(buf, 'x', sizeof buf);
    EXPECT_EQ(TextCopy(buf, nullptr), nullptr);
    EXPECT_EQ(buf[0], 'x');
    EXPECT_EQ(TextCopy(nullptr, "Cube"), nullptr);
}

TEST(TextCopy, CopyNStopsAtCountWithoutTerminator)
{
    char buf[8];
    memset(buf, 'x', sizeof buf);
    // Three bytes of "Name" and no end mark.
    EXPECT_EQ(TextCopyN(buf, "Name", 3), buf);
    EXPECT_EQ(memcmp(buf, "Namxxxxx", 8), 0);

    // Up to and including the NUL, no padding after it.
    memset(buf, 'x', sizeof buf);
    TextCopyN(buf, "Name", 7);
    EXPECT_EQ(memcmp(buf, "Name\0xxx", 8), 0);

    memset(buf, 'x', sizeof buf);
    EXPECT_EQ(TextCopyN(buf, "Name", 0), buf);
    EXPECT_EQ(TextCopyN(buf, "Name", -4), buf);
    EXPECT_EQ(TextCopyN(buf, nullptr, 4), buf);
    EXPECT_EQ(buf[0], 'x');
    EXPECT_EQ(TextCopyN(nullptr, "Name", 4), nullptr);
}

TEST(TextCopy, LengthAndAppend)
{
    EXPECT_EQ(TextLength(nullptr), 0);
    EXPECT_EQ(TextLength(""), 0);
    EXPECT_EQ(TextLength("Camera"), 6);

    char buf[16] = "Camera";
    EXPECT_EQ(TextAppend(buf, "0"), buf);
    EXPECT_EQ(TextAppend(buf, "7"), buf);
    EXPECT_STREQ(buf, "Camera07");
    EXPECT_EQ(TextAppend(buf, nullptr), buf);
    EXPECT_STREQ(buf, "Camera07");
    EXPECT_EQ(TextAppend(nullptr, "x"), nullptr);
}

TEST(IntegerText, SignsExtremesAndNull)
{
    struct Case {
        int32_t value;
        const char* text;
    };
    const Case cases[] = {
        {0, "0"}, {7, "7"}, {-7, "-7"}, {10, "10"}, {-100, "-100"},
        {INT32_MAX, "2147483647"},
        // The negation leaves INT32_MIN itself; read unsigned it prints right.
        {INT32_MIN, "-2147483648"},
    };
    for (const Case& c : cases) {
        char buf[16];
        memset(buf, 'x', sizeof buf);
        EXPECT_EQ(IntToText(c.value, buf), buf);
        EXPECT_STREQ(buf, c.text);
        EXPECT_EQ(buf[strlen(c.text) + 1], 'x') << c.text;
    }
    char buf[16];
    EXPECT_EQ(UIntToText(4294967295u, buf), buf);
    EXPECT_STREQ(buf, "4294967295");
    EXPECT_EQ(UIntToText(0, buf), buf);
    EXPECT_STREQ(buf, "0");
    EXPECT_EQ(IntToText(5, nullptr), nullptr);
    EXPECT_EQ(UIntToText(5, nullptr), nullptr);
}

TEST(IntegerText, SwapWordsReturnsFormerB)
{
    uint32_t a = 1, b = 2;
    EXPECT_EQ(SwapWords(&a, &b), 2u);
    EXPECT_EQ(a, 2u);
    EXPECT_EQ(b, 1u);
}

}  // namespace
}  // namespace span3d
