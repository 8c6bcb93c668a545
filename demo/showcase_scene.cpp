// The showcase scene as three pictures: drawn in Z-buffer mode, drawn in
// sorted mode (the same scene with the depth buffer taken away), and a
// contact sheet of eight frames of the hub turning once, each frame reduced
// to half size by a 2 x 2 box filter and tiled four across, two down. The
// animation is timed and its frame rate printed.
#include <chrono>
#include <vector>
#include <cstdio>

#include "showcase.h"
#include "showcase_scene.h"

namespace span3d_demo {
namespace {

constexpr int32_t kWidth = 640;
constexpr int32_t kHeight = 480;
constexpr int32_t kSheetColumns = 4;
constexpr int32_t kSheetRows = 2;
constexpr int32_t kAnimationFrames = kSheetColumns * kSheetRows;
constexpr float kStepDegrees = 360.0f / kAnimationFrames;
// Extra turns drawn after the sheet's, only to time more frames.
constexpr int32_t kTimedTurns = 4;

// The still pose of the two single pictures.
constexpr float kStillAngle = 20.0f;

bool Still(Picture* out, const char* fileName, bool zbuffer)
{
    out->fileName = fileName;
    out->width = kWidth;
    out->height = kHeight;
    out->pitch = kWidth;
    out->pixels.assign((size_t)kWidth * kHeight, 0);
    ShowcaseScene s;
    bool ok = BuildShowcaseScene(&s, out->pixels.data(), kWidth, kHeight, kWidth) &&
              SetShowcaseDepth(&s, zbuffer);
    if (ok) {
        PoseShowcase(&s, kStillAngle);
        RenderShowcaseFrame(&s);
        std::printf("span3d_demo: %s: %d polygons filed, %d top-level meshes visible\n", fileName,
                    s.scene->DrawItemCount, GetSceneNumberOfVisibleMeshes(s.scene));
    }
    DestroyShowcaseScene(&s);
    return ok;
}

// Mean of a 2 x 2 block, channel by channel on the 5-bit values, rounded
// half up: (sum + 2) / 4.
Pixel15 BoxFilter2x2(const Pixel15* p, int32_t pitch)
{
    const uint32_t a = p[0], b = p[1], c = p[pitch], d = p[pitch + 1];
    uint32_t result = 0;
    for (uint32_t shift = 0; shift <= 10; shift += 5) {
        const uint32_t sum = ((a >> shift) & 31) + ((b >> shift) & 31) + ((c >> shift) & 31) +
                             ((d >> shift) & 31);
        result |= ((sum + 2) / 4) << shift;
    }
    return (Pixel15)result;
}

// Reduces the frame into its tile of the sheet.
void PutTile(const Pixel15* frame, Picture* sheet, int32_t tile)
{
    const int32_t tw = kWidth / 2, th = kHeight / 2;
    const int32_t ox = (tile % kSheetColumns) * tw, oy = (tile / kSheetColumns) * th;
    for (int32_t y = 0; y < th; ++y) {
        Pixel15* row = sheet->pixels.data() + (size_t)(oy + y) * sheet->pitch + ox;
        for (int32_t x = 0; x < tw; ++x) row[x] = BoxFilter2x2(frame + (size_t)(2 * y) * kWidth + 2 * x, kWidth);
    }
}

}  // namespace

bool ShowcaseZ(Picture* out) { return Still(out, "showcase.png", true); }

bool ShowcaseSorted(Picture* out) { return Still(out, "showcase_sorted.png", false); }

// The Z-buffer picture after three passes of each full-screen filter, as a
// host would soften a finished frame: FSBlur on 16-bit words, FSBlurFast on
// pairs of pixels at once. Three passes make the difference visible.
namespace {
constexpr int32_t kBlurPasses = 3;

bool Blurred(Picture* out, const char* fileName, bool fast)
{
    if (!Still(out, fileName, true)) return false;
    for (int32_t pass = 0; pass < kBlurPasses; ++pass) {
        if (fast) {
            FSBlurFast(reinterpret_cast<uint32_t*>(out->pixels.data()), out->width, (uint32_t)out->height);
        } else {
            FSBlur(out->pixels.data(), (uint32_t)out->width, (uint32_t)out->height);
        }
    }
    return true;
}
}  // namespace

bool ShowcaseBlur(Picture* out) { return Blurred(out, "showcase_blur.png", false); }

bool ShowcaseBlurFast(Picture* out) { return Blurred(out, "showcase_blur_fast.png", true); }

bool ShowcaseAnimation(Picture* out)
{
    out->fileName = "showcase_anim.png";
    out->width = kWidth / 2 * kSheetColumns;
    out->height = kHeight / 2 * kSheetRows;
    out->pitch = out->width;
    out->pixels.assign((size_t)out->width * out->height, 0);

    std::vector<Pixel15> frame((size_t)kWidth * kHeight);
    ShowcaseScene s;
    if (!BuildShowcaseScene(&s, frame.data(), kWidth, kHeight, kWidth)) {
        DestroyShowcaseScene(&s);
        return false;
    }
    using Clock = std::chrono::steady_clock;
    Clock::duration drawing{};
    int32_t drawn = 0;
    for (int32_t turn = 0; turn < kTimedTurns; ++turn) {
        for (int32_t i = 0; i < kAnimationFrames; ++i) {
            const Clock::time_point start = Clock::now();
            PoseShowcase(&s, (float)i * kStepDegrees);
            RenderShowcaseFrame(&s);
            drawing += Clock::now() - start;
            ++drawn;
            if (turn == 0) PutTile(frame.data(), out, i);
        }
    }
    const double seconds = std::chrono::duration<double>(drawing).count();
    std::printf("span3d_demo: showcase animation: %d frames of %d x %d in %.1f ms, %.1f frames/s "
                "(clear + draw, Z-buffer mode)\n",
                drawn, kWidth, kHeight, seconds * 1000.0, seconds > 0.0 ? drawn / seconds : 0.0);
    DestroyShowcaseScene(&s);
    return true;
}

}  // namespace span3d_demo
