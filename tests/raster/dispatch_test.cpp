// Rasterizer dispatch table, colour tables, and the small arithmetic helpers
// shared by every triangle family.
#include <array>
#include <climits>
#include <cmath>

#include "raster_test_support.h"

namespace span3d::test {
namespace {

// ---------------------------------------------------------------- dispatch

TEST(RasterizerTableTest, ShadeRowsAndEntries)
{
    // Shade values 0, 2, 4, 5, 6 share one row; 1, 3 and 7 have their own.
    const TriangleRasterizer* shared = RasterizerTable[0];
    for (int32_t shade : {2, 4, 5, 6}) EXPECT_EQ(RasterizerTable[shade], shared) << shade;
    for (int32_t shade : {1, 3, 7}) EXPECT_NE(RasterizerTable[shade], shared) << shade;
    EXPECT_NE(RasterizerTable[1], RasterizerTable[3]);
    EXPECT_NE(RasterizerTable[3], RasterizerTable[7]);

    // The twelve populated positions of a row; everything else is the no-op.
    const int32_t populated[] = {2, 3, 6, 7, 14, 15, 30, 31, 46, 47, 78, 79};
    for (int32_t shade = 0; shade < kRasterizerRowCount; ++shade) {
        for (int32_t i = 0; i < kRasterizerRowLength; ++i) {
            const TriangleRasterizer f = RasterizerTable[shade][i];
            ASSERT_NE(f, nullptr) << shade << "/" << i;
            bool isPopulated = false;
            for (int32_t p : populated) isPopulated |= (p == i);
            const bool ownRow = shade == 1 || shade == 3 || shade == 7;
            if (!ownRow || !isPopulated) {
                EXPECT_EQ(f, &NoOpRasterizer) << shade << "/" << i;
            }
            // The flat solid functions sit at 14 and 15 of the none and flat rows only.
            const bool flatSlot = (shade == 1 || shade == 3) && (i == 14 || i == 15);
            EXPECT_EQ(f == &FlatSolidTriangle, flatSlot && i == 14) << shade << "/" << i;
            EXPECT_EQ(f == &FlatSolidTriangleZ, flatSlot && i == 15) << shade << "/" << i;
        }
    }
}

TEST(RasterizerTableTest, IndexFromFlags)
{
    struct Case {
        uint32_t Flags;
        int32_t Index, IndexZ;
    } const cases[] = {
        {0x700e47, 14, 15},   // solid: the flags of a new triangle
        {0x100000, 2, 3},     // dots
        {0x300000, 6, 7},     // wire
        {0xf00000, 30, 31},   // diffuse
        {0x1700000, 46, 47},  // opacity
        {0x2700000, 78, 79},  // third
        {0x1f00000, 62, 63},  // two stages: an empty entry
        {0x080000, 0, 1},     // bit 19 of the flags does not leak into the index
    };
    for (const Case& c : cases) {
        EXPECT_EQ(RasterizerIndex(c.Flags), c.Index) << std::hex << c.Flags;
        EXPECT_EQ(RasterizerIndexZ(c.Flags), c.IndexZ) << std::hex << c.Flags;
    }
}

// Shade values without a row of their own, and unlisted modes, draw nothing.
TEST(RasterizerTableTest, EmptyEntriesDrawNothing)
{
    BuildColourTables();
    Canvas canvas(8, 8, 8, 0x0842);
    canvas.MakeCurrent();
    Triangle t;
    t.Set({1, 1, .5f}, {5, 1, .5f}, {1, 5, .5f});
    t.SetColour(0x7fff);
    for (uint32_t flags : {0x700002u, 0x700005u, 0x1f00003u, 0xb00003u}) {
        t.Polygon.Flags = flags | SPAN3D_BACK_FACE_BIT;
        t.Draw(RasterizerTable[flags & 7][RasterizerIndex(flags)]);
        t.Draw(RasterizerTable[flags & 7][RasterizerIndexZ(flags)]);
    }
    EXPECT_EQ(canvas.Pixels, std::vector<uint16_t>(64, 0x0842));
    ReleaseColourTables();
}

// ---------------------------------------------------------------- helpers

TEST(RasterArithmeticTest, FloorDivMod)
{
    struct Case {
        int32_t N, D, Floor, Mod;
    } const cases[] = {
        {7, 2, 3, 1},     {0, 5, 0, 0},      {-7, 2, -4, 1},  {-8, 2, -4, 0},
        {-1, 1024, -1, 1023}, {-1024, 1024, -1, 0}, {-1008, 1024, -1, 16},
        {INT32_MIN, 16, -134217728, 0}, {INT32_MIN, 3, -715827883, 1},
    };
    for (const Case& c : cases) {
        int32_t q = 0, r = 0;
        FloorDivMod(c.N, c.D, &q, &r);
        EXPECT_EQ(q, c.Floor) << c.N << "/" << c.D;
        EXPECT_EQ(r, c.Mod) << c.N << "/" << c.D;
    }
}

TEST(RasterArithmeticTest, Ceil28_4)
{
    // ceil(v / 16), a true ceiling for negative values too.
    struct Case {
        int32_t V, Ceil;
    } const cases[] = {{0, 0}, {1, 1}, {15, 1}, {16, 1}, {17, 2}, {-1, 0}, {-15, 0}, {-16, -1}, {-17, -1}};
    for (const Case& c : cases) EXPECT_EQ(Ceil28_4(c.V), c.Ceil) << c.V;
}

TEST(RasterArithmeticTest, DepthWord)
{
    EXPECT_EQ(DepthWord(0.5), 1 << 29);
    EXPECT_EQ(DepthWord(1.5), 1610612736);
    // 2^29 + 0.5 and 2^29 + 1.5 round to even.
    EXPECT_EQ(DepthWord(0.5 + std::ldexp(1.0, -31)), 1 << 29);
    EXPECT_EQ(DepthWord(0.5 + 3 * std::ldexp(1.0, -31)), (1 << 29) + 2);
    EXPECT_EQ(DepthWord(-0.25), -(1 << 28));
    // Beyond 32 bits: the integer indefinite value, not the low word.
    EXPECT_EQ(DepthWord(2.0), INT32_MIN);
    EXPECT_EQ(DepthWord(3.0), INT32_MIN);
    EXPECT_EQ(DepthWord(-3.0), INT32_MIN);
    EXPECT_EQ(DepthWord(std::nan("")), INT32_MIN);
    EXPECT_EQ(DepthWord(INFINITY), INT32_MIN);
}

// ---------------------------------------------------------------- colour tables

TEST(ColourTablesTest, BuiltTables)
{
    BuildColourTables();
    const ColourTables& t = g_ColourTables;
    ASSERT_NE(t.AddChannel5, nullptr);
    EXPECT_EQ(t.AddChannel5[31 * 32 + 31], 31);
    EXPECT_EQ(t.AddChannel5[3 * 32 + 4], 7);
    EXPECT_EQ(t.AddChannel5[20 * 32 + 15], 31);
    EXPECT_EQ(t.SubChannel5[0 * 32 + 31], 0);
    EXPECT_EQ(t.SubChannel5[31 * 32 + 0], 31);
    EXPECT_EQ(t.SubChannel5[10 * 32 + 3], 7);
    EXPECT_EQ(t.MulChannel5[31 * 32 + 31], 30);  // 961 >> 5
    EXPECT_EQ(t.MulChannel5[16 * 32 + 16], 8);
    EXPECT_EQ(t.MulChannel5[31 * 32 + 1], 0);
    EXPECT_EQ(t.MulChannel5Green[31 * 32 + 31], 30 << 5);
    EXPECT_EQ(t.MulChannel5Red[31 * 32 + 31], 30 << 10);
    EXPECT_EQ(t.MulChannel5Red[16 * 32 + 16], 8 << 10);
    EXPECT_EQ(t.BlendProduct[255 * 32 + 31], 7905);
    EXPECT_EQ(t.BlendProduct[128 * 32 + 15], 1920);
    EXPECT_EQ(t.BlendProduct[0 * 32 + 31], 0);
    EXPECT_EQ(t.ReciprocalTable[0], 0.0f);
    EXPECT_EQ(t.ReciprocalTable[1], 1.0f);
    EXPECT_EQ(t.ReciprocalTable[3], 1.0f / 3.0f);
    EXPECT_EQ(t.ReciprocalTable[255], 1.0f / 255.0f);
    EXPECT_EQ(t.TablesBuilt, 0u);
    EXPECT_EQ(t.LineTablesReady, 1u);
    ReleaseColourTables();
}

// The line tables against their rule, evaluated here with the C library's
// sqrt and exp, and their stated end points.
TEST(ColourTablesTest, LineTables)
{
    BuildColourTables();
    const ColourTables& t = g_ColourTables;
    EXPECT_EQ(t.LineSlopeGain[0], 181);
    EXPECT_EQ(t.LineSlopeGain[31], 254);
    for (int32_t i = 0; i < 32; ++i) {
        const float s = (float)((i + 0.5) * 0.03125);
        const float s2 = s * s;
        EXPECT_EQ(t.LineSlopeGain[i], (int32_t)std::lrint(256.0 * 0.70710677 * std::sqrt(1.0 + s2))) << i;
    }
    EXPECT_EQ(t.LineFalloff[0], 256);
    for (int32_t i = 0; i < 64; ++i) {
        const double s = (i + 0.5) * 0.03125 * 1.3333333333333333;
        const float s2 = (float)(s * s);
        EXPECT_EQ(t.LineFalloff[i], (int32_t)std::lrint(256.0 / std::exp((double)s2))) << i;
    }
    EXPECT_EQ(t.LineFalloff[59], 1);  // and 0 from 60 on, by the rule
    ReleaseColourTables();
}

// A second build does not free the first blocks: it overwrites the pointers
// with new ones. This test frees the blocks that the second build leaked.
TEST(ColourTablesTest, SecondBuildLosesTheFirstBlocks)
{
    BuildColourTables();
    ColourTables& t = g_ColourTables;
    void* const first[6] = {t.AddChannel5, t.SubChannel5, t.MulChannel5,
                            t.MulChannel5Green, t.MulChannel5Red, t.BlendProduct};
    BuildColourTables();
    void* const second[6] = {t.AddChannel5, t.SubChannel5, t.MulChannel5,
                             t.MulChannel5Green, t.MulChannel5Red, t.BlendProduct};
    for (int32_t i = 0; i < 6; ++i) {
        EXPECT_NE(second[i], nullptr) << i;
        EXPECT_NE(second[i], first[i]) << i;  // the first blocks are still allocated
        FreeMemory(first[i]);
    }
    ReleaseColourTables();
    for (const void* p : {(const void*)t.AddChannel5, (const void*)t.SubChannel5, (const void*)t.MulChannel5,
                          (const void*)t.MulChannel5Green, (const void*)t.MulChannel5Red, (const void*)t.BlendProduct})
        EXPECT_EQ(p, nullptr);
    ReleaseColourTables();  // nothing left: frees nothing
}

TEST(ColourTablesTest, ConstantTablesAndDither)
{
    // Channel5 and ChannelRemainder are held to their rules at compile time.
    // Eight levels, each twice.
    int32_t count[8] = {};
    for (uint8_t d : Dither4x4) {
        ASSERT_LT(d, 8);
        ++count[d];
    }
    for (int32_t level = 0; level < 8; ++level) EXPECT_EQ(count[level], 2) << level;
    EXPECT_EQ(Dither4x4[1 * 4 + 2], 7);  // row y & 3 = 1, column x & 3 = 2
    EXPECT_EQ(Dither4x4[3 * 4 + 0], 7);

    // Round up when the 3-bit fraction exceeds the level; the top never does.
    for (int32_t d = 0; d < 8; ++d) EXPECT_EQ(DitherChannel(255, d), 31u) << d;
    // (t, level, 5-bit): 247 = 30*8+7 stays 30 only at level 7; fraction 0
    // never rounds up; fraction 1 rounds up above level 0 only.
    for (auto [t, d, want] : {std::array<uint32_t, 3>{247, 0, 31}, {247, 7, 30}, {248, 0, 31}, {8, 0, 1}, {9, 0, 2}, {9, 1, 1}, {0, 0, 0}})
        EXPECT_EQ(DitherChannel(t, (int32_t)d), want) << t << "@" << d;
}

}  // namespace
}  // namespace span3d::test
