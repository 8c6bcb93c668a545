// Viewports: the two shapes, the scissor rules, the depth buffer's life and
// its clear, the type word, and deletion. Expected values are derived by hand
// in the comments next to them.
#include "object_test_support.h"

namespace {
using span3d::test::Bits;

// A host texture of w x h texels with `pitchBytes` per row.
Texture MakeTexture(Pixel15* pixels, int32_t w, int32_t h, int32_t pitchBytes)
{
    return span3d::test::MakeTexture(w, h, pitchBytes, pixels);
}

// ---------------------------------------------------------------- shapes
struct ShapeCase {
    const char* name;
    int32_t ownPixels, width, height, pitchBytes;
    float expWidth, expHeight, expCentreX, expCentreY;
    uint32_t expAspectBits;
    int32_t expPitch;
    uint32_t expWord;
    float expScissor[4];
};

// AspectTerm = -(Height * 4) / (Width * 3), rounded once to float:
//   4:3 sizes           -> -1.0                     0xbf800000
//   640x400: -1600/1920 = -5/6, float 1.10101..b * 2^-1, 24th bit rounds
//            down       -> 0xbf555555
//   100x100: -400/300 = -4/3, 1.0101..b, rounds up -> 0xbfaaaaab
//   641x481: -1924/1923 = -(1 + 1/1923); 2^23/1923 = 4362.27 -> 4362 = 0x110a
//                       -> 0xbf80110a
// An own buffer doubles Width and Height (so 5x5 is 10x10, aspect -4/3) but
// keeps pitch and scissor at width x height; its word is 4 | 64 = 68.
const ShapeCase kShapes[] = {
    {"view640x480", 0, 640, 480, 1280, 640, 480, 320, 240, 0xbf800000u, 640, 4, {0, 640, 0, 480}},
    {"view640x400", 0, 640, 400, 1280, 640, 400, 320, 200, 0xbf555555u, 640, 4, {0, 640, 0, 400}},
    {"view100x100", 0, 100, 100, 200, 100, 100, 50, 50, 0xbfaaaaabu, 100, 4, {0, 100, 0, 100}},
    {"view641x481_odd", 0, 641, 481, 1282, 641, 481, 320.5f, 240.5f, 0xbf80110au, 641, 4, {0, 641, 0, 481}},
    {"view8x6_wide_pitch", 0, 8, 6, 20, 8, 6, 4, 3, 0xbf800000u, 10, 4, {0, 8, 0, 6}},
    {"view_odd_pitch_bytes", 0, 8, 6, 41, 8, 6, 4, 3, 0xbf800000u, 20, 4, {0, 8, 0, 6}},
    // PitchBytes 0xfffffffe shifts logically: 0x7fffffff, not -1.
    {"view_pitch_logical_shift", 0, 8, 6, -2, 8, 6, 4, 3, 0xbf800000u, 0x7fffffff, 4, {0, 8, 0, 6}},
    // Any ownPixels other than 1 is a view.
    {"view_own_flag_2", 2, 8, 6, 16, 8, 6, 4, 3, 0xbf800000u, 8, 4, {0, 8, 0, 6}},
    {"own320x240", 1, 320, 240, 0, 640, 480, 320, 240, 0xbf800000u, 320, 68, {0, 320, 0, 240}},
    {"own4x3", 1, 4, 3, 0, 8, 6, 4, 3, 0xbf800000u, 4, 68, {0, 4, 0, 3}},
    {"own5x5", 1, 5, 5, 0, 10, 10, 5, 5, 0xbfaaaaabu, 5, 68, {0, 5, 0, 5}},
};

TEST(Viewport, ShapesFromCreateViewport)
{
    static Pixel15 texels[4];
    for (const ShapeCase& c : kShapes) {
        SCOPED_TRACE(c.name);
        Texture tex = MakeTexture(texels, c.width, c.height, c.pitchBytes);
        Viewport* v = CreateViewport(&tex, c.width, c.height, 0, c.ownPixels);
        ASSERT_NE(v, nullptr);
        EXPECT_EQ(v->Width, c.expWidth);
        EXPECT_EQ(v->Height, c.expHeight);
        EXPECT_EQ(v->CentreX, c.expCentreX);
        EXPECT_EQ(v->CentreY, c.expCentreY);
        EXPECT_EQ(Bits(v->AspectTerm), c.expAspectBits);
        EXPECT_EQ(Bits(v->ScaleY), 0xbf800000u);
        EXPECT_EQ(v->PixelPitch, c.expPitch);
        EXPECT_EQ(v->ViewportWord, c.expWord);
        float scissor[4];
        GetViewportScissor(v, scissor);
        EXPECT_EQ(memcmp(scissor, c.expScissor, sizeof scissor), 0);
        EXPECT_EQ(v->DepthBuffer, nullptr);
        if (c.ownPixels == 1) {
            ASSERT_NE(v->Pixels, nullptr);
            EXPECT_NE(v->Pixels, texels);
            // width * height * 8 bytes: room for the doubled size. Touch the
            // first and the last pixel of it (the sanitizer build checks the
            // block really is that long); the block comes zero-filled.
            const int32_t pixels = 2 * c.width * 2 * c.height;
            EXPECT_EQ(v->Pixels[0], 0);
            EXPECT_EQ(v->Pixels[pixels - 1], 0);
            v->Pixels[pixels - 1] = 0x7fff;
        } else {
            EXPECT_EQ(v->Pixels, texels);
        }
        DeleteViewport(v);
    }
}

// ---------------------------------------------------------------- scissor
struct ScissorCase { const char* name; float args[4], exp[4]; };  // minX, maxX, minY, maxY

// Viewport 64 x 48, scissor set to {8, 40, 4, 30} before each call.
const float kNegZero = -0.0f;
const float kInf = __builtin_inff();
const ScissorCase kScissorCases[] = {
    {"maxX_one_above_width_changes_nothing", {1, 65, 2, 3}, {8, 40, 4, 30}},
    {"maxY_one_above_height_changes_nothing", {1, 10, 2, 49}, {8, 40, 4, 30}},
    {"maxX_infinite_changes_nothing", {0, kInf, 0, 10}, {8, 40, 4, 30}},
    {"maxima_equal_to_size_pass", {1, 64, 2, 48}, {1, 64, 2, 48}},
    {"negative_minX_becomes_0", {-5, 20, 1, 10}, {0, 20, 1, 10}},
    {"minX_beyond_width_becomes_width", {70, 10, 1, 10}, {64, 10, 1, 10}},
    {"negative_maxX_becomes_0", {1, -3, 1, 10}, {1, 0, 1, 10}},
    {"minY_beyond_height_becomes_height", {1, 10, 50, 10}, {1, 10, 48, 10}},
    {"negative_minY_becomes_0", {1, 10, -0.5f, 10}, {1, 10, 0, 10}},
    {"negative_maxY_becomes_0", {1, 10, 2, -3}, {1, 10, 2, 0}},
    {"inverted_rectangle_kept", {30, 10, 20, 5}, {30, 10, 20, 5}},
    {"fractions_kept", {0.5f, 63.5f, 0.25f, 47.75f}, {0.5f, 63.5f, 0.25f, 47.75f}},
};

TEST(Viewport, ScissorRules)
{
    static Pixel15 texels[64 * 48];
    Texture tex = MakeTexture(texels, 64, 48, 128);
    Viewport* v = CreateViewport(&tex, 64, 48, 0, 0);
    ASSERT_NE(v, nullptr);
    for (const ScissorCase& c : kScissorCases) {
        SCOPED_TRACE(c.name);
        SetViewportScissor(v, 8, 40, 4, 30);
        SetViewportScissor(v, c.args[0], c.args[1], c.args[2], c.args[3]);
        float out[4] = {-1, -1, -1, -1};
        EXPECT_EQ(GetViewportScissor(v, out), out);
        for (int i = 0; i < 4; ++i)
            EXPECT_EQ(Bits(out[i]), Bits(c.exp[i])) << "index " << i;
    }
    // Negative zero is not negative: it is stored as it came, sign and all.
    SetViewportScissor(v, kNegZero, 10, kNegZero, 10);
    EXPECT_EQ(Bits(v->ScissorMinX), 0x80000000u);
    EXPECT_EQ(Bits(v->ScissorMinY), 0x80000000u);
    DeleteViewport(v);
}

TEST(Viewport, OwnBufferScissorBoundIsTheDoubledSize)
{
    // own 4x3: Width 8, Height 6. The scissor starts at 4 x 3 but may grow to
    // the logical 8 x 6; 9 is rejected.
    Viewport* v = CreateViewport(nullptr, 4, 3, 0, 1);
    ASSERT_NE(v, nullptr);
    SetViewportScissor(v, 0, 8, 0, 6);
    EXPECT_EQ(v->ScissorMaxX, 8.0f);
    EXPECT_EQ(v->ScissorMaxY, 6.0f);
    SetViewportScissor(v, 0, 9, 0, 3);
    EXPECT_EQ(v->ScissorMaxX, 8.0f);
    EXPECT_EQ(v->ScissorMaxY, 6.0f);
    DeleteViewport(v);
}

// ---------------------------------------------------------------- depth state
TEST(Viewport, DepthStateOnTwiceAllocatesOnceAndOffFrees)
{
    static Pixel15 texels[8 * 6];
    Texture tex = MakeTexture(texels, 8, 6, 16);
    Viewport* v = CreateViewport(&tex, 8, 6, 0, 0);
    ASSERT_NE(v, nullptr);

    // Off on a viewport without a buffer: 0, and nothing changes.
    EXPECT_EQ(SetViewportDepthState(v, 0), 0);
    EXPECT_EQ(v->ViewportWord, 4u);
    EXPECT_EQ(v->DepthBuffer, nullptr);

    EXPECT_EQ(SetViewportDepthState(v, 1), 1);
    int32_t* first = v->DepthBuffer;
    ASSERT_NE(first, nullptr);
    EXPECT_EQ(v->ViewportWord, 4u | 8u | 16u);
    // Width * Height = 48 words, cleared to 0; the last one is inside the block.
    EXPECT_EQ(first[0], 0);
    EXPECT_EQ(first[47], 0);

    EXPECT_EQ(SetViewportDepthState(v, 1), 1);
    EXPECT_EQ(v->DepthBuffer, first) << "a second 'on' must not allocate again";
    EXPECT_EQ(v->ViewportWord, 4u | 8u | 16u);

    // Any state but 1 is off.
    EXPECT_EQ(SetViewportDepthState(v, 2), 0);
    EXPECT_EQ(v->DepthBuffer, nullptr);
    EXPECT_EQ(v->ViewportWord, 4u);
    EXPECT_EQ(SetViewportDepthState(v, 0), 0);
    EXPECT_EQ(v->ViewportWord, 4u);
    // Without a buffer a clear writes nothing, whatever the scissor rows.
    ClearViewportDepthBuffer(v, 1);
    SetViewportScissor(v, 0, 8, 2, 6);
    ClearViewportDepthBuffer(v, 1);
    EXPECT_EQ(v->DepthBuffer, nullptr);
    DeleteViewport(v);
}

TEST(Viewport, DepthStateAtCreation)
{
    struct Case { const char* name; int32_t depthState, ownPixels; uint32_t expWord; bool expDepth; };
    const Case cases[] = {
        {"view_depth_1", 1, 0, 4u | 8u | 16u, true},
        {"view_depth_2_is_off", 2, 0, 4u, false},
        {"own_depth_1", 1, 1, 68u | 8u | 16u, true},
        {"own_depth_0", 0, 1, 68u, false},
    };
    static Pixel15 texels[4 * 3];
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        Texture tex = MakeTexture(texels, 4, 3, 8);
        Viewport* v = CreateViewport(&tex, 4, 3, c.depthState, c.ownPixels);
        ASSERT_NE(v, nullptr);
        EXPECT_EQ(v->ViewportWord, c.expWord);
        EXPECT_EQ(v->DepthBuffer != nullptr, c.expDepth);
        if (c.expDepth && c.ownPixels == 1) {
            EXPECT_EQ(v->DepthBuffer[8 * 6 - 1], 0);  // doubled: 8 x 6 words
        }
        DeleteViewport(v);
    }
}

TEST(Viewport, DepthBufferThatCannotBeHadIsReportedOnlyBySetViewportDepthState)
{
    // 2147483647 as a float is 2^31; Width * Height * 4 = 2^64 bytes, which no
    // block can have.
    static Pixel15 texel;
    Texture tex = MakeTexture(&texel, 1, 1, 2);
    Viewport* v = CreateViewport(&tex, 2147483647, 2147483647, 1, 0);
    ASSERT_NE(v, nullptr) << "a failed depth buffer at creation is not reported";
    EXPECT_EQ(v->DepthBuffer, nullptr);
    EXPECT_EQ(v->ViewportWord, 4u);
    EXPECT_EQ(SetViewportDepthState(v, 1), 0);
    EXPECT_EQ(v->DepthBuffer, nullptr);
    EXPECT_EQ(v->ViewportWord, 4u);
    DeleteViewport(v);
}

// ---------------------------------------------------------------- depth clear
// Scissor rows minY..maxY (the columns are 3..5 to show they do not
// matter); words [first, end) receive the value.
struct ClearCase { const char* name; float minY, maxY; int32_t first, end; };

// View 8 x 6 with a pitch of 10 texels: the clear counts rows of Width = 8
// words, never the pitch. The block holds Width * Height = 48 words.
//   count = FloatToInt((maxY - minY) * 8), first = FloatToInt(FloatToInt(minY) * 8)
// FloatToInt rounds to nearest, ties to even.
const ClearCase kClearCases[] = {
    {"all_rows", 0, 6, 0, 48},
    {"rows_2_to_5", 2, 5, 16, 40},                 // count 3*8 = 24 from 2*8
    {"min_1.5", 1.5f, 5, 16, 44},                  // first round(1.5)=2 -> 16, count round(3.5*8) = 28
    {"min_2.5_ties_to_even", 2.5f, 5, 16, 36},     // round(2.5)=2 -> 16, count 2.5*8 = 20
    {"min_0.5", 0.5f, 5, 0, 36},                   // round(0.5)=0, count 4.5*8 = 36
    {"max_4.3", 0, 4.3f, 0, 34},                   // 4.3f*8 = 34.4000015 -> 34
    {"count_16.5_ties_to_even", 0, 2.0625f, 0, 16},  // 2.0625*8 = 16.5 -> 16
    {"count_17.5_ties_to_even", 0, 2.1875f, 0, 18},  // 2.1875*8 = 17.5 -> 18
    {"empty", 3, 3, 0, 0},
    {"inverted_writes_nothing", 4, 2, 0, 0},
    {"last_row", 5, 6, 40, 48},
    // round(3.5) = 4 -> first 32, count round(2.5*8) = 20 would end at 52:
    // the fill stops at the end of the block.
    {"fraction_cut_at_block_end", 3.5f, 6, 32, 48},
    {"starting_past_the_block", 5.5f, 6, 0, 0},    // first round(5.5)=6 -> 48
};

TEST(Viewport, DepthClearWritesExactlyTheRowArithmetic)
{
    const uint32_t kSentinel = 0xdeadbeefu;
    const uint32_t kValue = 0x12345678u;
    static Pixel15 texels[10 * 6];
    Texture tex = MakeTexture(texels, 8, 6, 20);
    Viewport* v = CreateViewport(&tex, 8, 6, 1, 0);
    ASSERT_NE(v, nullptr);
    ASSERT_NE(v->DepthBuffer, nullptr);
    ASSERT_EQ(v->PixelPitch, 10);
    for (const ClearCase& c : kClearCases) {
        SCOPED_TRACE(c.name);
        for (int i = 0; i < 48; ++i)
            v->DepthBuffer[i] = static_cast<int32_t>(kSentinel);
        SetViewportScissor(v, 3, 5, c.minY, c.maxY);
        ASSERT_EQ(v->ScissorMinY, c.minY);
        ClearViewportDepthBuffer(v, kValue);
        for (int i = 0; i < 48; ++i) {
            const uint32_t want = (i >= c.first && i < c.end) ? kValue : kSentinel;
            EXPECT_EQ(static_cast<uint32_t>(v->DepthBuffer[i]), want) << "word " << i;
        }
    }
    DeleteViewport(v);
}

TEST(Viewport, OwnBufferDepthClearCoversDoubledRows)
{
    // own 4 x 3: Width 8, Height 6, pitch 4, scissor rows 0..3. The clear
    // writes (3 - 0) * 8 = 24 words from 0, twice the 3 * 4 words that the
    // scissored pixels use; words 24..47 keep their values.
    Viewport* v = CreateViewport(nullptr, 4, 3, 1, 1);
    ASSERT_NE(v, nullptr);
    ASSERT_NE(v->DepthBuffer, nullptr);
    for (int i = 0; i < 48; ++i)
        v->DepthBuffer[i] = -7;
    ClearViewportDepthBuffer(v, 5);
    for (int i = 0; i < 48; ++i)
        EXPECT_EQ(v->DepthBuffer[i], i < 24 ? 5 : -7) << "word " << i;
    DeleteViewport(v);
}

// ---------------------------------------------------------------- type word
TEST(Viewport, SetViewportTypeSequence)
{
    // Each step: word = (word & ~3) | arg, unless arg & 3 is 0.
    struct Step { uint32_t arg, expWord, expType; };
    const Step steps[] = {
        {0u, 4u, 0u},                       // no type: nothing
        {4u, 4u, 0u},                       // low bits 0: nothing
        {0x80000001u, 0x80000005u, 1u},     // enables and sets type 1
        {2u, 0x80000006u, 2u},              // stays enabled
        {3u, 0x80000007u, 3u},
        {0x101u, 0x80000105u, 1u},          // every other bit is or'ed in too
        {0x80000000u, 0x80000105u, 1u},     // bit 31 alone has no type: nothing
    };
    static Pixel15 texel;
    Texture tex = MakeTexture(&texel, 1, 1, 2);
    Viewport* v = CreateViewport(&tex, 1, 1, 0, 0);
    ASSERT_NE(v, nullptr);
    int n = 0;
    for (const Step& s : steps) {
        SCOPED_TRACE(n++);
        SetViewportType(v, s.arg);
        EXPECT_EQ(v->ViewportWord, s.expWord);
        EXPECT_EQ(GetViewportType(v), s.expType);
    }
    DeleteViewport(v);
}

// ---------------------------------------------------------------- deletion
TEST(Viewport, DeletingAViewLeavesTheTexturePixelsAlone)
{
    // The texels live on the stack: freeing them would abort (or be reported
    // by the sanitizer build), and their words must read back unchanged.
    Pixel15 texels[8 * 6];
    for (int i = 0; i < 48; ++i)
        texels[i] = static_cast<Pixel15>(0x1000 + i);
    Texture tex = MakeTexture(texels, 8, 6, 16);
    Viewport* v = CreateViewport(&tex, 8, 6, 1, 0);
    ASSERT_NE(v, nullptr);
    ASSERT_NE(v->DepthBuffer, nullptr);
    DeleteViewport(v);
    for (int i = 0; i < 48; ++i)
        EXPECT_EQ(texels[i], 0x1000 + i);
    EXPECT_EQ(tex.Pixels, texels);
}

// ---------------------------------------------------------------- null and bad input
TEST(Viewport, NullAndBadInputs)
{
    static Pixel15 texel;
    Texture tex = MakeTexture(&texel, 1, 1, 2);
    struct CreateCase { const char* name; Texture* target; int32_t width, height, ownPixels; };
    const CreateCase refused[] = {
        {"view_without_texture", nullptr, 8, 6, 0},
        {"own_negative_area", nullptr, -4, 4, 1},
        {"own_area_beyond_any_block", &tex, 1 << 30, 1 << 30, 1},  // 2^63 bytes
    };
    for (const CreateCase& c : refused) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(CreateViewport(c.target, c.width, c.height, 1, c.ownPixels), nullptr);
    }

    DeleteViewport(nullptr);
    SetViewportType(nullptr, 0x80000001u);
    EXPECT_EQ(GetViewportType(nullptr), 0u);
    SetViewportCamera(nullptr, nullptr);
    EXPECT_EQ(GetViewportCamera(nullptr), nullptr);
    SetViewportMaterial(nullptr, nullptr);
    SetViewportScissor(nullptr, 0, 1, 0, 1);
    float rect[4] = {9, 9, 9, 9};
    EXPECT_EQ(GetViewportScissor(nullptr, rect), rect);
    EXPECT_EQ(rect[0], 9.0f);
    EXPECT_EQ(SetViewportDepthState(nullptr, 1), 0);
    ClearViewportDepthBuffer(nullptr, 0);

    Viewport* v = CreateViewport(&tex, 1, 1, 0, 0);
    ASSERT_NE(v, nullptr);
    EXPECT_EQ(GetViewportScissor(v, nullptr), nullptr);
    DeleteViewport(v);
}

}  // namespace
