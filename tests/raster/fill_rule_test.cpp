// The fill convention checked two ways: against a slow per-pixel oracle on
// seeded random triangles, and by tiling a square with many triangles and
// counting how often each pixel is drawn.
#include <random>

#include "raster_test_support.h"

namespace span3d::test {
namespace {

using FillRuleTest = ColourTablesSuite;

// ---------------------------------------------------------------- oracle

struct Fixed {
    int64_t X, Y;  // 28.4
};

// Edge function of the directed edge a -> b at p: positive on the inner side
// of a clockwise triangle (y down).
int64_t EdgeFunction(Fixed a, Fixed b, Fixed p)
{
    return (b.X - a.X) * (p.Y - a.Y) - (b.Y - a.Y) * (p.X - a.X);
}

// With y down and clockwise corners, an edge going up (b.Y < a.Y) bounds the
// triangle on the left; a horizontal edge going right is a top edge.
bool OwnsPixelsOnIt(Fixed a, Fixed b)
{
    return b.Y < a.Y || (b.Y == a.Y && b.X > a.X);
}

// A pixel centre (16 x, 16 y) is inside when it is strictly inside every
// edge, or exactly on an edge that is a top or a left edge. Corners that do
// not run clockwise cover nothing.
bool OracleCovers(const Fixed v[3], int32_t x, int32_t y)
{
    const Fixed p{16 * (int64_t)x, 16 * (int64_t)y};
    if (EdgeFunction(v[0], v[1], v[2]) <= 0) return false;
    for (int32_t k = 0; k < 3; ++k) {
        const Fixed a = v[k], b = v[(k + 1) % 3];
        const int64_t e = EdgeFunction(a, b, p);
        if (e < 0 || (e == 0 && !OwnsPixelsOnIt(a, b))) return false;
    }
    return true;
}

// Random 28.4 corners inside a size x size target. Some triangles snap their
// corners to pixel centres or half pixels so that edges run through centres
// and horizontal and vertical edges occur often.
void RandomCorners(std::mt19937& rng, int32_t size, Fixed v[3])
{
    const int32_t snap = std::uniform_int_distribution<int32_t>(0, 3)(rng);
    const int32_t step = snap == 0 ? 1 : snap == 1 ? 4 : snap == 2 ? 8 : 16;
    std::uniform_int_distribution<int32_t> coordinate(0, (size * 16 - 1) / step);
    for (int32_t k = 0; k < 3; ++k) v[k] = Fixed{(int64_t)coordinate(rng) * step, (int64_t)coordinate(rng) * step};
}

TEST_F(FillRuleTest, MatchesEdgeFunctionOracle)
{
    constexpr int32_t kSize = 24, kPitch = 27;
    std::mt19937 rng(20240611);
    int32_t drawnPixels = 0;
    for (int32_t n = 0; n < 400; ++n) {
        Fixed corners[3];
        RandomCorners(rng, kSize, corners);
        // Corners given as floats k / 16 convert back to exactly k.
        auto point = [](Fixed f) { return Point{(float)f.X / 16.0f, (float)f.Y / 16.0f, 0.5f}; };
        // Both orders: one runs clockwise and draws, the other draws nothing
        // (unless the corners are collinear, when neither draws).
        for (bool reversed : {false, true})
        for (bool depthTested : {false, true}) {
            const Fixed v[3] = {corners[reversed ? 2 : 0], corners[1], corners[reversed ? 0 : 2]};
            for (bool backFacing : {false, true}) {
                Canvas canvas(kSize, kSize, kPitch, 0, 0);
                canvas.MakeCurrent();
                Triangle t;
                t.Set(point(v[0]), point(v[1]), point(v[2]), backFacing);
                t.SetColour(0x0001);
                t.SetAlpha(kAlphaAdditive);  // a pixel drawn twice would read 2
                t.Draw(depthTested ? &FlatSolidTriangleZ : &FlatSolidTriangle);
                std::string expected, actual;
                for (int32_t y = 0; y < kSize; ++y) {
                    for (int32_t x = 0; x < kPitch; ++x) {
                        const bool in = x < kSize && OracleCovers(v, x, y);
                        drawnPixels += in;
                        expected += in ? '#' : '.';
                        const uint16_t word = canvas.At(x, y);
                        actual += word == 1 ? '#' : word == 0 ? '.' : '!';
                    }
                    expected += '\n';
                    actual += '\n';
                }
                ASSERT_EQ(actual, expected)
                    << "triangle " << n << ": (" << v[0].X << "," << v[0].Y << ") (" << v[1].X << ","
                    << v[1].Y << ") (" << v[2].X << "," << v[2].Y << ") in 28.4";
            }
        }
    }
    EXPECT_GT(drawnPixels, 10000);  // the sample is not mostly empty
}

// ---------------------------------------------------------------- coverage

// A square of kCells x kCells cells, 4 pixels each, from (0,0) to (32,32).
// Inner grid points move by up to one pixel in 1/16 steps, points on the
// border slide along it, corners stay. Each cell is cut along a random
// diagonal and each triangle is emitted with a random corner order. Additive
// blue 1 on black: every pixel of [0,32) x [0,32) must read exactly 1 and
// nothing outside may change.
TEST_F(FillRuleTest, TiledSquareCoversEachPixelOnce)
{
    constexpr int32_t kCells = 8, kCell = 4, kSize = kCells * kCell, kPitch = 37, kRows = 35;
    for (uint32_t seed : {1u, 2u, 3u, 4u, 5u}) {
        std::mt19937 rng(seed);
        std::uniform_int_distribution<int32_t> jitter(-16, 16);
        Point grid[kCells + 1][kCells + 1];
        for (int32_t j = 0; j <= kCells; ++j) {
            for (int32_t i = 0; i <= kCells; ++i) {
                const bool borderX = i == 0 || i == kCells, borderY = j == 0 || j == kCells;
                const int32_t dx = borderX ? 0 : jitter(rng), dy = borderY ? 0 : jitter(rng);
                grid[j][i] = Point{(float)(i * kCell * 16 + dx) / 16.0f, (float)(j * kCell * 16 + dy) / 16.0f, 0.5f};
            }
        }
        for (bool depthTested : {false, true}) {
            SCOPED_TRACE(depthTested ? "Z" : "plain");
            Canvas canvas(kSize, kRows, kPitch, 0, 0);
            canvas.MakeCurrent();
            int32_t triangles = 0;
            for (int32_t j = 0; j < kCells; ++j) {
                for (int32_t i = 0; i < kCells; ++i) {
                    const Point a = grid[j][i], b = grid[j][i + 1], c = grid[j + 1][i + 1], d = grid[j + 1][i];
                    // Clockwise on the screen: a, b, c, d run right, down, left.
                    Point halves[2][3];
                    if (rng() & 1) {
                        halves[0][0] = a; halves[0][1] = b; halves[0][2] = c;
                        halves[1][0] = a; halves[1][1] = c; halves[1][2] = d;
                    } else {
                        halves[0][0] = a; halves[0][1] = b; halves[0][2] = d;
                        halves[1][0] = b; halves[1][1] = c; halves[1][2] = d;
                    }
                    for (auto& h : halves) {
                        Triangle t;
                        t.Set(h[0], h[1], h[2], (rng() & 1) != 0);
                        t.SetColour(0x0001);
                        t.SetAlpha(kAlphaAdditive);
                        t.Draw(depthTested ? &FlatSolidTriangleZ : &FlatSolidTriangle);
                        ++triangles;
                    }
                }
            }
            ASSERT_EQ(triangles, 2 * kCells * kCells);
            int32_t wrong = 0;
            for (int32_t y = 0; y < kRows; ++y) {
                for (int32_t x = 0; x < kPitch; ++x) {
                    const uint16_t expected = x < kSize && y < kSize ? 1 : 0;
                    if (canvas.At(x, y) != expected) {
                        ++wrong;
                        ADD_FAILURE() << "seed " << seed << " pixel " << x << "," << y << " reads "
                                      << canvas.At(x, y);
                    }
                }
            }
            ASSERT_EQ(wrong, 0);
        }
    }
}

}  // namespace
}  // namespace span3d::test
