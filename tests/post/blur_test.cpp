// Full-screen filters. Images are small; expected words are worked out by
// hand from the halving h(p) = (p >> 1) & 0x3def (h32 with 0x3def3def on two
// pixels a word). Channels are written (r, g, b): 0x3def is (15,15,15),
// 0x1ce7 (7,7,7), 0x0c63 (3,3,3), 0x0421 (1,1,1), 0x18c6 (6,6,6).
#include <random>
#include <vector>

#include <gtest/gtest.h>

#include "post/post.h"

namespace span3d::test {
namespace {

// ---------------------------------------------------------------- FSBlur

// FSBlur on 3 x 3 writes the one pixel (1, 0), from the pixel below (1, 1),
// two below (1, 2) and below right (2, 1):
// h(h(two below) + h(below right)) + ((below >> 1, arithmetic) & 0xbdef).
struct BlurPixelCase {
    const char* Name;
    uint16_t Below, TwoBelow, BelowRight;
    uint16_t Result;
};

const BlurPixelCase kBlurPixelCases[] = {
    {"BelowWeighsHalf", 0x7fff, 0, 0, 0x3def},
    // h(h(white)) = h(0x3def) = 0x1ce7: a quarter, rounded down.
    {"TwoBelowWeighsQuarter", 0, 0x7fff, 0, 0x1ce7}, {"BelowRightWeighsQuarter", 0, 0, 0x7fff, 0x1ce7},
    // 0x3def + h(0x3def + 0x3def = 0x7bde) = 0x3def + 0x3def = 0x7bde (30,30,30).
    {"WhiteLosesTheLowBits", 0x7fff, 0x7fff, 0x7fff, 0x7bde},
    // (16,16,16) = 0x4210 halves without loss: 0x2108 + h(0x4210) = 0x4210.
    {"EvenChannelsSurvive", 0x4210, 0x4210, 0x4210, 0x4210},
    // (1,1,1) below alone: every half is 0.
    {"LowestBitsAreDropped", 0x0421, 0x0421, 0x0421, 0x0000},
    // Bit 15 below: the arithmetic shift brings it back to bit 15 and the
    // mask 0xbdef keeps it; bit 14 (its copy) is cleared.
    {"BitFifteenBelowSurvives", 0x8000, 0, 0, 0x8000},
    // 0xc53f = bit 15 + (17,9,31): shifted 0xe29f, & 0xbdef = 0xa08f
    // (bit 15 + (8,4,15)); plus h(0x208f + 0x208f = 0x411e) = 0x208f.
    {"BitFifteenWithColour", 0xc53f, 0x453f, 0x453f, 0xc11e},
    // Bit 15 two below or below right is lost in h.
    {"BitFifteenElsewhereIsLost", 0, 0x8000, 0x8000, 0x0000},
};

TEST(FSBlurTest, OnePixelFromItsThreeSources)
{
    for (const BlurPixelCase& c : kBlurPixelCases) {
        SCOPED_TRACE(c.Name);
        // Rows: (a, b, c), (d, Below, BelowRight), (e, TwoBelow, f); the
        // corner words are markers that must stay.
        uint16_t image[9] = {0x1111, 0x2222, 0x3333, 0x4444, c.Below, c.BelowRight, 0x5555, c.TwoBelow, 0x6666};
        FSBlur(image, 3, 3);
        const uint16_t expected[9] = {0x1111, c.Result, 0x3333, 0x4444, c.Below, c.BelowRight, 0x5555, c.TwoBelow, 0x6666};
        for (int32_t i = 0; i < 9; ++i) EXPECT_EQ(image[i], expected[i]) << i;
    }
}

// Uniform (17, 9, 31): every written pixel becomes h(c) + h(h(c) + h(c)) =
// (8,4,15) + (8,4,15) = (16,8,30) = 0x411e: unchanged but for the low bits.
// Written are rows 0..height-3 and columns 1..width-2; the first and last
// column and the last two rows stay (0x453f would show any write there).
TEST(FSBlurTest, UniformColourKeepsAllButTheLowBits)
{
    constexpr uint32_t kWidth = 6, kHeight = 5;
    for (uint16_t colour : {(uint16_t)0x4210, (uint16_t)0x453f}) {
        std::vector<uint16_t> image(kWidth * kHeight, colour);
        FSBlur(image.data(), kWidth, kHeight);
        const uint16_t blurred = colour == 0x4210 ? 0x4210 : 0x411e;
        for (uint32_t y = 0; y < kHeight; ++y) {
            for (uint32_t x = 0; x < kWidth; ++x) {
                const bool written = y + 2 < kHeight && x >= 1 && x + 1 < kWidth;
                EXPECT_EQ(image[y * kWidth + x], written ? blurred : colour) << x << "," << y;
            }
        }
    }
}

// A white pixel at (3,5) of a 7 x 8 black image. Each written pixel reads
// only rows below it, so one call sees the old image:
//   call 1: (3,4) takes half of it below: 0x3def; (3,3) two below and (2,4)
//           below right take h(h(white)) = 0x1ce7; (3,5) itself reads black.
//   call 2: (3,3) = half of 0x3def below = 0x1ce7; (3,2) = h(h(0x3def)) +
//           half of 0x1ce7 = 0x0c63 + 0x0c63 = 0x18c6; (2,3) = h(h(0x3def))
//           + half of 0x1ce7 = 0x18c6; (2,2) = h(h(0x1ce7) + h(0x1ce7)) =
//           0x0c63; (3,1) = h(h(0x1ce7)) = 0x0421; (1,3) = h(h(0x1ce7)) =
//           0x0421.
// The brightest pixel climbs from row 5 to row 4 to row 3.
TEST(FSBlurTest, WhitePixelDriftsUpOneRowPerCall)
{
    constexpr uint32_t kWidth = 7, kHeight = 8;
    std::vector<uint16_t> image(kWidth * kHeight, 0);
    auto at = [&](uint32_t x, uint32_t y) -> uint16_t& { return image[y * kWidth + x]; };
    at(3, 5) = 0x7fff;

    FSBlur(image.data(), kWidth, kHeight);
    std::vector<uint16_t> expected(kWidth * kHeight, 0);
    auto want = [&](uint32_t x, uint32_t y) -> uint16_t& { return expected[y * kWidth + x]; };
    want(3, 4) = 0x3def;
    want(3, 3) = 0x1ce7;
    want(2, 4) = 0x1ce7;
    EXPECT_EQ(image, expected);

    FSBlur(image.data(), kWidth, kHeight);
    std::fill(expected.begin(), expected.end(), 0);
    want(3, 3) = 0x1ce7;
    want(3, 2) = 0x18c6;
    want(2, 3) = 0x18c6;
    want(2, 2) = 0x0c63;
    want(3, 1) = 0x0421;
    want(1, 3) = 0x0421;
    EXPECT_EQ(image, expected);
}

TEST(FSBlurTest, TooSmallImagesAreLeftAlone)
{
    for (uint32_t width : {0u, 1u, 2u, 3u}) {
        for (uint32_t height : {0u, 1u, 2u, 3u}) {
            if (width == 3 && height == 3) continue;
            std::vector<uint16_t> image(16, 0x7fff);
            FSBlur(image.data(), width, height);
            EXPECT_EQ(image, std::vector<uint16_t>(16, 0x7fff)) << width << "x" << height;
        }
    }
}

// ---------------------------------------------------------------- FSBlurFast

// A word holds columns 2i (low half) and 2i + 1 (high half).
constexpr uint32_t Pair(uint16_t low, uint16_t high) { return (uint32_t)low | ((uint32_t)high << 16); }

// Inner words of rows 0..height-3 weigh the word below B by 1/2 and, by 1/8
// each, B's left and right neighbours, the old word and the word two rows
// down, then OR B's lowest channel bits and bit 15 back in. On a uniform
// image that is h32(h32(c + c)) + h32(c) | (c & 0x84218421) = c for any c:
// (16,16,16): 8 + 8 = 16; (17,9,31): (8,4,15) + (8,4,15) = (16,8,30), then
// the low bits (1,1,1) OR back in; bit 15 comes back by the OR alone.
// The other words, uniform 0x4210 (16,16,16), whose half is 0x2108:
//   first word, rows 0..h-3: h32(B) + h32(left + right) + h32(vertical) with
//     every term 0x21082108: 0x63186318 (24,24,24), half again as bright;
//   last word, rows 0..h-3: a copy of B;
//   row h-2: first word a copy of the word below, inner words the same sum
//     (the word below standing in for the one two rows down), last word kept;
//   last row: halved, 0x21082108.
TEST(FSBlurFastTest, UniformColourSurvivesInside)
{
    constexpr int32_t kWidth = 8;  // 4 words a row
    constexpr uint32_t kHeight = 5, kWords = kWidth / 2;
    for (uint16_t c : {(uint16_t)0x4210, (uint16_t)0x453f, (uint16_t)0xffff, (uint16_t)0x8000, (uint16_t)0x0421}) {
        SCOPED_TRACE(c);
        std::vector<uint32_t> image(kWords * kHeight, Pair(c, c));
        FSBlurFast(image.data(), kWidth, kHeight);
        for (uint32_t y = 0; y + 2 < kHeight; ++y) {
            for (uint32_t i = 1; i + 1 < kWords; ++i) {
                EXPECT_EQ(image[y * kWords + i], Pair(c, c)) << i << "," << y;
            }
        }
    }
}

// Whole images in and out; an empty input is uniform 0x4210.
struct FastImageCase {
    const char* Name;
    int32_t Width;
    uint32_t Height;
    std::vector<uint32_t> In, Out;
};

constexpr uint32_t kC = Pair(0x4210, 0x4210), kHalf = Pair(0x2108, 0x2108), kFirst = Pair(0x6318, 0x6318);
constexpr uint32_t kWhite = 0x7fff7fff;

const FastImageCase kFastImageCases[] = {
    // The edge words of the uniform image above, 8 x 5 (4 words a row).
    {"EdgeWordsOfAUniformImage", 8, 5, {},
     {kFirst, kC, kC, kC, kFirst, kC, kC, kC, kFirst, kC, kC, kC, kC, kC, kC, kC, kHalf, kHalf, kHalf, kHalf}},
    // The first word of a row sums the vertical halves before any mask. Only
    // the old word S0 = green 3 (0x0060) and the one two rows down S2 = green 1
    // (0x0020) are set: (S2 >> 1) + (S0 >> 1) = 0x10 + 0x30 = 0x40, h32 = 0x20,
    // green 1. Masked halves first would give h32(0x20 + 0) = 0.
    // 6 x 4: row 1's first word reads S[2][0] below and black elsewhere; row 2
    // (height - 2) copies the black word below; the last row halves black.
    // Row 1, first word: B = 0x20, h32(B) = 0x10 & m = 0; left = h32(0x00200020) = 0.
    {"FirstWordSumsUnmaskedHalves", 6, 4, {0x0060, 0, 0, 0, 0, 0, 0x0020, 0, 0, 0, 0, 0},
     {0x0020, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}},
    // The first word's left neighbour of column 0 is column 0 itself. Only
    // pixel (0, 1) is white, 6 x 4:
    //   row 0, word 0: h32(B) = 0x00003def; left = h32(0x7fff7fff) = 0x3def3def,
    //     right = 0, h32(left + right) = 0x1ce71ce7; vertical 0:
    //     0x1ce75ad6, columns 0 and 1 = (22,22,22) and (7,7,7);
    //   row 0, word 1: its pixels 2 and 3 do not neighbour column 0: 0;
    //   row 1, word 0: B and its neighbours black; vertical (0 >> 1) + (white
    //     >> 1) = 0x3fff, h32 = 0x1fff & 0x3def = 0x1def, (7,15,15): the
    //     unmasked half of red spills into green's top bit;
    //   rows 2 and 3 black.
    {"FirstColumnIsItsOwnLeftNeighbour", 6, 4, {0, 0, 0, 0x7fff, 0, 0, 0, 0, 0, 0, 0, 0},
     {0x1ce75ad6, 0, 0, 0x1def, 0, 0, 0, 0, 0, 0, 0, 0}},
    // 6 x 3: row 0 is the only full row, row 1 = height - 2, row 2 the last.
    // Rows: black, white, black.
    //   row 0 word 0: B white: h32(B) = 0x3def3def, h32(left + right) =
    //     h32(0x7bde7bde) = 0x3def3def, vertical 0: 0x7bde7bde (30,30,30);
    //   row 0 word 1: c = 0, e = h32(0x7bde7bde) = 0x3def3def; h32(e) +
    //     h32(B) = 0x1ce7 + 0x3def = 0x5ad6 (22), OR (1,1,1): 0x5ef7 (23);
    //   row 0 word 2: a copy of B;
    //   row 1 word 0: a copy of the black word below; word 1: c = h32(h32(white)
    //     + h32(black)) = 0x1ce7, e = 0, h32(c) + 0 = 0x0c63; word 2 kept white;
    //   row 2: halved black.
    {"RowAboveTheLastUsesTheRowBelowTwice", 6, 3, {0, 0, 0, kWhite, kWhite, kWhite, 0, 0, 0},
     {0x7bde7bde, 0x5ef75ef7, kWhite, 0, 0x0c630c63, kWhite, 0, 0, 0}},
};

TEST(FSBlurFastTest, WholeImages)
{
    for (const FastImageCase& c : kFastImageCases) {
        std::vector<uint32_t> image = c.In.empty() ? std::vector<uint32_t>(c.Out.size(), kC) : c.In;
        FSBlurFast(image.data(), c.Width, c.Height);
        EXPECT_EQ(image, c.Out) << c.Name;
    }
}

// The last row is halved at every call: 31 -> 15 -> 7 -> 3 -> 1 -> 0, and
// bit 15 goes at once.
TEST(FSBlurFastTest, LastRowFadesToBlackInFiveCalls)
{
    const uint32_t steps[] = {0x3def3def, 0x1ce71ce7, 0x0c630c63, 0x04210421, 0};
    std::vector<uint32_t> image(3 * 3, 0xffffffff);
    for (uint32_t expected : steps) {
        FSBlurFast(image.data(), 6, 3);
        for (int32_t i = 6; i < 9; ++i) EXPECT_EQ(image[(size_t)i], expected) << i;
    }
}

// A white pixel at column 4 (word 2, low half), row 4 of an 8 x 7 black image:
//   row 3 word 2: B = 0x00007fff, left(B) = h32(0x7fff0000) = 0x3def0000,
//     e = 0x1ce70000, h32(e) = 0x0c630000, + h32(B) = 0x3def, OR 0x0421:
//     columns 4, 5 = 0x3def, 0x0c63;
//   row 3 word 1: right(B) = h32(0x7fff0000) = 0x3def0000, then as above:
//     column 3 = 0x0c63;
//   row 2 word 2: the pixel two rows down: h32(h32(0x3def)) = 0x0c63;
//   row 4 word 2: the old pixel itself: 0x0c63.
// Over the next calls the brightest pixel keeps climbing a row a call.
TEST(FSBlurFastTest, WhitePixelDriftsUpOneRowPerCall)
{
    constexpr int32_t kWidth = 8;
    constexpr uint32_t kHeight = 7, kWords = kWidth / 2;
    std::vector<uint32_t> image(kWords * kHeight, 0);
    image[4 * kWords + 2] = 0x00007fff;
    FSBlurFast(image.data(), kWidth, kHeight);
    std::vector<uint32_t> expected(kWords * kHeight, 0);
    expected[3 * kWords + 2] = Pair(0x3def, 0x0c63);
    expected[3 * kWords + 1] = Pair(0, 0x0c63);
    expected[2 * kWords + 2] = Pair(0x0c63, 0);
    expected[4 * kWords + 2] = Pair(0x0c63, 0);
    EXPECT_EQ(image, expected);

    // The brightest pixel by channel sum, scanning from the top.
    auto brightestRow = [&]() {
        int32_t best = -1, bestRow = -1;
        for (uint32_t y = 0; y < kHeight; ++y) {
            for (uint32_t i = 0; i < kWords; ++i) {
                for (uint32_t p : {image[y * kWords + i] & 0xffff, image[y * kWords + i] >> 16}) {
                    const int32_t sum = (int32_t)((p >> 10 & 31) + (p >> 5 & 31) + (p & 31));
                    if (sum > best) best = sum, bestRow = (int32_t)y;
                }
            }
        }
        return bestRow;
    };
    EXPECT_EQ(brightestRow(), 3);
    FSBlurFast(image.data(), kWidth, kHeight);
    EXPECT_EQ(brightestRow(), 2);
    FSBlurFast(image.data(), kWidth, kHeight);
    EXPECT_EQ(brightestRow(), 1);
}

TEST(FSBlurFastTest, UnsupportedSizesAreLeftAlone)
{
    struct Size {
        int32_t Width;
        uint32_t Height;
    } const sizes[] = {{4, 5}, {5, 5}, {7, 5}, {0, 5}, {-6, 5}, {6, 2}, {6, 0}};
    for (const Size& size : sizes) {
        std::vector<uint32_t> image(32, 0x7fff7fff);
        FSBlurFast(image.data(), size.Width, size.Height);
        EXPECT_EQ(image, std::vector<uint32_t>(32, 0x7fff7fff)) << size.Width << "x" << size.Height;
    }
}

}  // namespace
}  // namespace span3d::test
