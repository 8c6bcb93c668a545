// Full-screen filters: two in-place blurs of a Pixel15 image whose row pitch
// equals its width. Both read only pixels below and to the right of the one
// they write, so one top-to-bottom pass never reads a pixel it has already
// overwritten (FSBlurFast also reads the word it is about to replace), and
// both take their main weight from the row beneath: repeated calls blur the
// picture and let it drift upward by one row a call.
//
// Sizes that a filter cannot work on (fewer than 3 rows or columns; for
// FSBlurFast an odd width or fewer than 6 columns) leave the buffer as it
// is: the loops would otherwise run past the image.
#include "post/post.h"

namespace span3d {
namespace {

// ---------------------------------------------------------------- FSBlur

// One pixel of FSBlur from the pixel below it, the one two below and the one
// below right: 1/2, 1/4, 1/4. The pixel below is halved with an arithmetic
// shift on 16 bits and the mask 0xbdef, which keeps its bit 15 in place.
inline uint16_t BlurPixel(uint32_t below, uint32_t twoBelow, uint32_t belowRight)
{
    const uint32_t a = HalfPixel(HalfPixel(twoBelow) + HalfPixel(belowRight));
    const uint32_t b = (uint32_t)(uint16_t)((int16_t)below >> 1) & 0xbdef;
    return (uint16_t)(a + b);
}

// ---------------------------------------------------------------- FSBlurFast

// The word below moved by one pixel, halved: its lanes hold the left
// neighbours' values (the low lane from the previous word's high lane) or
// the right neighbours' (the high lane from the next word's low lane).
inline uint32_t HalfLeftOf(uint32_t below, uint32_t belowPrevious)
{
    return HalfPixelPair((below << 16) | (belowPrevious >> 16));
}
inline uint32_t HalfRightOf(uint32_t below, uint32_t belowNext)
{
    return HalfPixelPair((below >> 16) | (belowNext << 16));
}

// An inner word: 1/2 the word below B, 1/8 each B's left and right
// neighbours, the word's old self and `second` (two rows below, or B again
// on the row above the last). The masks drop the lowest bit of each channel
// and bit 15; OR-ing B's own back keeps the picture from darkening by
// rounding.
inline uint32_t BlurInnerWord(uint32_t self, uint32_t second, uint32_t below, uint32_t belowPrevious,
                              uint32_t belowNext)
{
    const uint32_t c = HalfPixelPair(HalfPixelPair(self) + HalfPixelPair(second));
    const uint32_t e = HalfPixelPair(HalfLeftOf(below, belowPrevious) + HalfRightOf(below, belowNext));
    return (HalfPixelPair(c + e) + HalfPixelPair(below)) | (below & kLowBitsPair);
}

// The first word of a row above the last two. The low lane's left neighbour
// is the lane itself (B's low half in both halves). The sum is not the inner
// word's: the neighbours' quarter and the vertical quarter are added without
// the final halving, and the vertical halves are summed before any mask, so
// that a channel's low bit may spill into its lower neighbour before the
// outer mask. The first column comes out brighter than the rest (weights
// 1/2 + 1/2 + 1/2); the engine's left edge has always looked so and is kept.
inline uint32_t BlurFirstWord(uint32_t self, uint32_t twoBelow, uint32_t below, uint32_t belowNext)
{
    const uint32_t left = HalfPixelPair((below << 16) | (below & 0xffff));
    const uint32_t right = HalfRightOf(below, belowNext);
    return HalfPixelPair(below) + HalfPixelPair(left + right) + HalfPixelPair((twoBelow >> 1) + (self >> 1));
}

// The inner words 1 .. n - 2 of one row. The three rows never overlap (each
// is n words long), which lets the compiler run several words at once.
void BlurInnerWords(uint32_t* __restrict row, const uint32_t* __restrict second,
                    const uint32_t* __restrict below, size_t n)
{
    for (size_t i = 1; i + 1 < n; ++i) row[i] = BlurInnerWord(row[i], second[i], below[i], below[i - 1], below[i + 1]);
}

// One row of FSBlur, columns 1 .. width - 2; likewise three distinct rows.
void BlurRow(uint16_t* __restrict row, const uint16_t* __restrict below, const uint16_t* __restrict twoBelow,
             uint32_t width)
{
    for (uint32_t x = 1; x + 1 < width; ++x) row[x] = BlurPixel(below[x], twoBelow[x], below[x + 1]);
}

}  // namespace
}  // namespace span3d

extern "C" SPAN3D_API void FSBlur(uint16_t* pixels, uint32_t width, uint32_t height)
{
    using namespace span3d;
    if (width < 3 || height < 3) return;
    // Rows 0 .. height - 3, columns 1 .. width - 2, left to right: the first
    // and last column and the last two rows stay as they are.
    for (uint32_t y = 0; y + 2 < height; ++y) {
        uint16_t* const row = pixels + (size_t)y * width;
        BlurRow(row, row + width, row + 2 * (size_t)width, width);
    }
}

extern "C" SPAN3D_API void FSBlurFast(uint32_t* pixels, int32_t width, uint32_t height)
{
    using namespace span3d;
    if (width < 6 || (width & 1) != 0 || height < 3) return;
    const size_t n = (size_t)width / 2;  // words a row

    // Rows 0 .. height - 3: the first word, the inner words, and the last
    // word, a plain copy of the word below.
    for (uint32_t y = 0; y + 2 < height; ++y) {
        uint32_t* const row = pixels + (size_t)y * n;
        const uint32_t* const below = row + n;
        const uint32_t* const twoBelow = below + n;
        row[0] = BlurFirstWord(row[0], twoBelow[0], below[0], below[1]);
        BlurInnerWords(row, twoBelow, below, n);
        row[n - 1] = below[n - 1];
    }

    // Row height - 2 has no row two below: its first word copies the word
    // below, its inner words take the word below in place of the one two
    // rows down, and its last word stays as it is.
    uint32_t* const row = pixels + (size_t)(height - 2) * n;
    uint32_t* const last = row + n;
    row[0] = last[0];
    BlurInnerWords(row, last, last, n);

    // The last row fades: every word halved, so any value is black after five
    // calls at most.
    for (size_t i = 0; i < n; ++i) last[i] = HalfPixelPair(last[i]);
}
