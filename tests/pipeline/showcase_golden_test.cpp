// The showcase scene of the demo, drawn at 320 x 240 in Z-buffer mode and in
// sorted mode, against golden pictures stored as PNG in tests/data. The
// whole road runs: hierarchy, camera, bounds, emission with both lights,
// flat and Gouraud colours, the blend list, clipping at the picture's edges
// and both families of triangle functions. Any change of a single pixel
// word fails the test.
//
// The goldens hold each 5-bit channel c widened to 8 bits as (c << 3) |
// (c >> 2), the demo's PNG form, which maps the 32 levels to 32 distinct
// bytes, so the comparison is exact. They must come out the same from every
// supported compiler and optimisation level: the pictures are the
// cross-compiler check of the engine's arithmetic.
//
// On a mismatch the test writes the picture it drew and a difference picture
// (differing pixels in full red over a dimmed copy of the golden) into
// SPAN3D_TEST_OUTPUT_DIR and names them. To regenerate the goldens on
// purpose, run the test with SPAN3D_UPDATE_GOLDEN=1 in the environment.
#include <gtest/gtest.h>

#include <png.h>
#include <stdlib.h>

#include <filesystem>
#include <string>
#include <vector>

#include "../../demo/showcase_scene.h"
#include "raster/raster.h"

namespace span3d {
namespace {

constexpr int32_t kWidth = 320;
constexpr int32_t kHeight = 240;
constexpr float kPoseAngle = 20.0f;

using Rgb = std::vector<uint8_t>;  // width * height * 3 bytes, rows top down

uint8_t Widen(uint32_t c5) { return (uint8_t)((c5 << 3) | (c5 >> 2)); }

Rgb ToRgb(const std::vector<Pixel15>& pixels)
{
    Rgb out(pixels.size() * 3);
    for (size_t i = 0; i < pixels.size(); ++i) {
        out[3 * i + 0] = Widen((pixels[i] >> 10) & 31u);
        out[3 * i + 1] = Widen((pixels[i] >> 5) & 31u);
        out[3 * i + 2] = Widen(pixels[i] & 31u);
    }
    return out;
}

bool ReadPng(const std::string& path, Rgb* out, int32_t* width, int32_t* height)
{
    png_image image = {};
    image.version = PNG_IMAGE_VERSION;
    if (!png_image_begin_read_from_file(&image, path.c_str())) return false;
    image.format = PNG_FORMAT_RGB;
    out->assign(PNG_IMAGE_SIZE(image), 0);
    *width = (int32_t)image.width;
    *height = (int32_t)image.height;
    const bool ok = png_image_finish_read(&image, nullptr, out->data(), 0, nullptr) != 0;
    png_image_free(&image);
    return ok;
}

bool WritePng(const std::string& path, const Rgb& rgb)
{
    png_image image = {};
    image.version = PNG_IMAGE_VERSION;
    image.width = kWidth;
    image.height = kHeight;
    image.format = PNG_FORMAT_RGB;
    return png_image_write_to_file(&image, path.c_str(), 0, rgb.data(), 0, nullptr) != 0;
}

// Draws the showcase at the test's size in one mode and returns its pixels.
std::vector<Pixel15> DrawShowcase(bool zbuffer)
{
    InitEngine3D();  // as a host does: tables and sort up for the frame, down after it
    std::vector<Pixel15> pixels((size_t)kWidth * kHeight, 0);
    span3d_demo::ShowcaseScene s;
    const bool built = span3d_demo::BuildShowcaseScene(&s, pixels.data(), kWidth, kHeight, kWidth) &&
                       span3d_demo::SetShowcaseDepth(&s, zbuffer);
    EXPECT_TRUE(built);
    if (built) {
        span3d_demo::PoseShowcase(&s, kPoseAngle);
        span3d_demo::RenderShowcaseFrame(&s);
    }
    span3d_demo::DestroyShowcaseScene(&s);
    ReleaseEngine3D();
    return pixels;
}

void CompareWithGolden(bool zbuffer, const char* name)
{
    const Rgb actual = ToRgb(DrawShowcase(zbuffer));
    const std::string golden = std::string(SPAN3D_TEST_DATA_DIR) + "/" + name + ".png";

    const char* update = getenv("SPAN3D_UPDATE_GOLDEN");
    if (update != nullptr && update[0] == '1') {
        std::filesystem::create_directories(SPAN3D_TEST_DATA_DIR);
        ASSERT_TRUE(WritePng(golden, actual)) << "cannot write " << golden;
        std::printf("wrote golden %s\n", golden.c_str());
        return;
    }

    Rgb expected;
    int32_t width = 0, height = 0;
    ASSERT_TRUE(ReadPng(golden, &expected, &width, &height))
        << "cannot read " << golden << " (SPAN3D_UPDATE_GOLDEN=1 writes it)";
    ASSERT_EQ(width, kWidth);
    ASSERT_EQ(height, kHeight);

    int32_t differing = 0;
    Rgb difference(expected.size());
    for (size_t i = 0; i < expected.size(); i += 3) {
        const bool same = actual[i] == expected[i] && actual[i + 1] == expected[i + 1] &&
                          actual[i + 2] == expected[i + 2];
        differing += same ? 0 : 1;
        difference[i + 0] = same ? (uint8_t)(expected[i + 0] / 4) : 255;
        difference[i + 1] = same ? (uint8_t)(expected[i + 1] / 4) : 0;
        difference[i + 2] = same ? (uint8_t)(expected[i + 2] / 4) : 0;
    }
    if (differing == 0) return;

    std::filesystem::create_directories(SPAN3D_TEST_OUTPUT_DIR);
    const std::string base = std::string(SPAN3D_TEST_OUTPUT_DIR) + "/" + name;
    const bool written = WritePng(base + "_actual.png", actual) && WritePng(base + "_diff.png", difference);
    ADD_FAILURE() << differing << " of " << kWidth * kHeight << " pixels differ from " << golden
                  << (written ? "; see " + base + "_actual.png and " + base + "_diff.png"
                              : "; the pictures could not be written to " + base);
}

TEST(ShowcaseGolden, ZBufferMode) { CompareWithGolden(true, "showcase_z"); }

TEST(ShowcaseGolden, SortedMode) { CompareWithGolden(false, "showcase_sorted"); }

}  // namespace
}  // namespace span3d
