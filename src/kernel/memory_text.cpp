// Byte, word and text primitives used in place of the C library. Their null
// tolerance differs from routine to routine and several results differ from
// the C functions they resemble (TextCopy returns the end, TextCompare calls
// two empty texts different, differences are taken in 8 bits); callers rely
// on each of these as documented per routine.
//
// None of these may become a call into the C library: the optimisers would
// happily turn the loops below back into memcpy / memset / strlen calls, so
// every routine is marked to keep its loops as loops.
#include "kernel/kernel.h"

#if defined(__clang__)
#define SPAN3D_OWN_LOOPS __attribute__((no_builtin))
#elif defined(__GNUC__)
#define SPAN3D_OWN_LOOPS __attribute__((optimize("no-tree-loop-distribute-patterns")))
#else
#define SPAN3D_OWN_LOOPS
#endif

namespace span3d {

namespace {

// Word types that may alias any object and sit at any address (fills and
// copies work on untyped memory).
typedef uint16_t Word16 __attribute__((may_alias, aligned(1)));
typedef uint32_t Word32 __attribute__((may_alias, aligned(1)));
typedef uint64_t Word64 __attribute__((may_alias, aligned(1)));

// Lower-case ASCII letters to capitals; every other byte stays.
inline uint8_t Fold(uint8_t c) { return (c >= 0x61 && c <= 0x7a) ? uint8_t(c - 0x20) : c; }

// The difference of two bytes taken in 8 bits and sign-extended: 0x80 - 0x01
// is 0x7f, positive, and 0x00 - 0x73 is -115.
inline int32_t ByteDifference(uint8_t a, uint8_t b) { return int32_t(int8_t(uint8_t(a - b))); }

}  // namespace

// ---------------------------------------------------------------- fills

// Fills count bytes with the low byte of value: bytes up to an 8-byte
// boundary of dest, then the byte replicated into one 64-bit word stored
// whole, then the tail. Short fills (below 8) go byte by byte.
SPAN3D_OWN_LOOPS void* MemFill8(void* dest, uint32_t value, int32_t count)
{
    if (dest == nullptr || count <= 0)
        return dest;
    uint8_t* p = static_cast<uint8_t*>(dest);
    const uint8_t byte = uint8_t(value);
    uint32_t left = uint32_t(count);
    if (left >= 8) {
        while ((reinterpret_cast<uintptr_t>(p) & 7) != 0) {
            *p++ = byte;
            --left;
        }
        const uint64_t pattern = uint64_t(byte) * 0x0101010101010101ull;
        for (; left >= 8; left -= 8, p += 8)
            *reinterpret_cast<Word64*>(p) = pattern;
    }
    for (; left != 0; --left)
        *p++ = byte;
    return dest;
}

// bytes / 2 words of the low 16 bits of value; an odd last byte stays as it was.
SPAN3D_OWN_LOOPS void* MemFill16(void* dest, uint32_t value, uint32_t bytes)
{
    if (dest == nullptr)
        return dest;
    Word16* p = static_cast<Word16*>(dest);
    const uint16_t word = uint16_t(value);
    for (uint32_t n = bytes >> 1; n != 0; --n)
        *p++ = word;
    return dest;
}

// bytes / 4 words of value; 1 to 3 trailing bytes stay as they were.
SPAN3D_OWN_LOOPS void* MemFill32(void* dest, uint32_t value, uint32_t bytes)
{
    if (dest == nullptr)
        return dest;
    Word32* p = static_cast<Word32*>(dest);
    for (uint32_t n = bytes >> 2; n != 0; --n)
        *p++ = value;
    return dest;
}

// ---------------------------------------------------------------- copies

// Strictly forward with no overlap handling: a copy to a lower address of an
// overlapping range works (each 8-byte round is read before it is written), a
// copy to a higher one does not. Bytes up to an 8-byte boundary of dest, then
// 8 bytes a round, then the tail. count is compared with 8 as a signed number
// and then used unsigned, so a "negative" count is a huge copy: not a
// supported input.
SPAN3D_OWN_LOOPS void* MemCopy(void* dest, const void* src, uint32_t count)
{
    if (dest == nullptr || src == nullptr || count == 0)
        return dest;
    uint8_t* d = static_cast<uint8_t*>(dest);
    const uint8_t* s = static_cast<const uint8_t*>(src);
    uint32_t left = count;
    if (int32_t(count) >= 8) {
        while ((reinterpret_cast<uintptr_t>(d) & 7) != 0) {
            *d++ = *s++;
            --left;
        }
        for (; left >= 8; left -= 8, d += 8, s += 8)
            *reinterpret_cast<Word64*>(d) = *reinterpret_cast<const Word64*>(s);
    }
    for (; left != 0; --left)
        *d++ = *s++;
    return dest;
}

// ---------------------------------------------------------------- compares

// 0 if the count bytes are equal, else the 8-bit difference of the first
// differing pair, sign-extended. No null test.
SPAN3D_OWN_LOOPS int32_t MemCompare(const void* a, const void* b, uint32_t count)
{
    const uint8_t* p = static_cast<const uint8_t*>(a);
    const uint8_t* q = static_cast<const uint8_t*>(b);
    for (uint32_t i = 0; i < count; ++i)
        if (p[i] != q[i])
            return ByteDifference(p[i], q[i]);
    return 0;
}

// As MemCompare with both bytes folded for the test, but the difference is
// the folded byte of a minus the RAW byte of b: 'B' against 'a' is
// 0x42 - 0x61 = -31, 'a' against 'B' is 0x41 - 0x42 = -1.
SPAN3D_OWN_LOOPS int32_t MemCompareNoCase(const void* a, const void* b, uint32_t count)
{
    const uint8_t* p = static_cast<const uint8_t*>(a);
    const uint8_t* q = static_cast<const uint8_t*>(b);
    for (uint32_t i = 0; i < count; ++i) {
        const uint8_t fa = Fold(p[i]);
        if (fa != Fold(q[i]))
            return ByteDifference(fa, q[i]);
    }
    return 0;
}

// ---------------------------------------------------------------- text

// Copies src with its NUL and returns the address of that NUL in dest, ready
// for appending. Null (and nothing copied) if either pointer is null.
SPAN3D_OWN_LOOPS char* TextCopy(char* dest, const char* src)
{
    if (dest == nullptr || src == nullptr)
        return nullptr;
    while ((*dest = *src++) != '\0')
        ++dest;
    return dest;
}

// Up to count bytes of src, its NUL included if it comes within count. No
// terminator when count runs out first and no padding after the NUL.
SPAN3D_OWN_LOOPS char* TextCopyN(char* dest, const char* src, int32_t count)
{
    if (dest == nullptr || src == nullptr || count <= 0)
        return dest;
    for (int32_t i = 0; i < count; ++i)
        if ((dest[i] = src[i]) == '\0')
            break;
    return dest;
}

// Bytes before the NUL; 0 for null.
SPAN3D_OWN_LOOPS int32_t TextLength(const char* s)
{
    if (s == nullptr)
        return 0;
    int32_t n = 0;
    while (s[n] != '\0')
        ++n;
    return n;
}

// 0 if equal, else the 8-bit difference of the first differing bytes,
// sign-extended. 1 if either is null or a is empty, whatever b is: an empty
// name matches nothing, not even another empty name, so a search by name
// never finds an unnamed object.
SPAN3D_OWN_LOOPS int32_t TextCompare(const char* a, const char* b)
{
    if (a == nullptr || b == nullptr || *a == '\0')
        return 1;
    for (;;) {
        const uint8_t ca = uint8_t(*a++);
        const uint8_t cb = uint8_t(*b++);
        if (ca != cb)
            return ByteDifference(ca, cb);
        if (ca == 0)
            return 0;
    }
}

// As TextCompare on folded bytes, in the test and in the difference alike.
SPAN3D_OWN_LOOPS int32_t TextCompareNoCase(const char* a, const char* b)
{
    if (a == nullptr || b == nullptr || *a == '\0')
        return 1;
    for (;;) {
        const uint8_t fa = Fold(uint8_t(*a++));
        const uint8_t fb = Fold(uint8_t(*b++));
        if (fa != fb)
            return ByteDifference(fa, fb);
        if (fa == 0)
            return 0;
    }
}

// src behind the text in dest; returns dest. A null dest has length 0 and the
// copy into it does nothing, so the result is simply null.
char* TextAppend(char* dest, const char* src)
{
    TextCopy(dest == nullptr ? dest : dest + TextLength(dest), src);
    return dest;
}

// Decimal text of value, a minus sign first when negative. The magnitude is
// taken as unsigned, so -2147483648 prints in full. The caller gives room for
// 12 bytes. Does nothing for a null buffer.
char* UIntToText(uint32_t value, char* buffer)
{
    if (buffer == nullptr)
        return buffer;
    char digits[16];
    int32_t n = 0;
    do {
        digits[n++] = char('0' + value % 10u);
        value /= 10u;
    } while (value != 0);
    char* p = buffer;
    while (n > 0)
        *p++ = digits[--n];
    *p = '\0';
    return buffer;
}

char* IntToText(int32_t value, char* buffer)
{
    if (buffer == nullptr)
        return buffer;
    uint32_t magnitude = uint32_t(value);
    char* p = buffer;
    if (value < 0) {
        *p++ = '-';
        magnitude = 0u - magnitude;
    }
    UIntToText(magnitude, p);
    return buffer;
}

// Exchanges the two words and returns the former *b. No null test.
uint32_t SwapWords(uint32_t* a, uint32_t* b)
{
    const uint32_t former = *b;
    *b = *a;
    *a = former;
    return former;
}

}  // namespace span3d
