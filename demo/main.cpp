// span3d_demo: drives the engine as a host does and writes what it draws.
//
//   span3d_demo OUTPUT_DIR
//
// Each showcase is one function that brings its own objects up, draws one
// picture with the engine and hands back the pixels with the file name to
// write them under; main starts the engine once, runs every showcase, writes
// each picture into OUTPUT_DIR as a PNG and stops the engine.
#include <cstdio>
#include <filesystem>
#include <string>
#include <system_error>
#include <vector>

#include "png_writer.h"
#include "showcase.h"
#include "span3d.h"

namespace {

using span3d_demo::Picture;
using span3d_demo::Showcase;
using span3d_demo::ShowcaseAnimation;
using span3d_demo::ShowcaseBlur;
using span3d_demo::ShowcaseBlurFast;
using span3d_demo::ShowcaseSorted;
using span3d_demo::ShowcaseZ;
using span3d_demo::TestCard;

// The showcases in the order they run. New ones are added here.
const std::vector<Showcase>& Showcases()
{
    static const std::vector<Showcase> list = {TestCard, ShowcaseZ, ShowcaseSorted,
                                                ShowcaseAnimation, ShowcaseBlur,
                                                ShowcaseBlurFast};
    return list;
}

}  // namespace

int main(int argc, char** argv)
{
    if (argc != 2) {
        std::fprintf(stderr, "usage: %s OUTPUT_DIR\n", argc > 0 ? argv[0] : "span3d_demo");
        return 2;
    }
    const std::filesystem::path outDir = argv[1];
    std::error_code error;
    std::filesystem::create_directories(outDir, error);
    if (error) {
        std::fprintf(stderr, "span3d_demo: cannot create %s: %s\n", outDir.c_str(),
                     error.message().c_str());
        return 1;
    }

    const int32_t init = InitEngine3D();
    std::printf("span3d_demo: InitEngine3D() = %d\n", init);
    if (init != 0) return 1;

    int failures = 0;
    int written = 0;
    for (Showcase showcase : Showcases()) {
        Picture picture;
        if (!showcase(&picture)) {
            std::fprintf(stderr, "span3d_demo: a showcase failed (%s)\n",
                         picture.fileName.empty() ? "unnamed" : picture.fileName.c_str());
            ++failures;
            continue;
        }
        const std::filesystem::path file = outDir / picture.fileName;
        if (!span3d_demo::WritePng(file.c_str(), picture.pixels.data(), picture.width,
                                   picture.height, picture.pitch)) {
            ++failures;
            continue;
        }
        std::printf("span3d_demo: wrote %s (%d x %d)\n", file.c_str(), picture.width,
                    picture.height);
        ++written;
    }

    ReleaseEngine3D();
    std::printf("span3d_demo: ReleaseEngine3D(); %d picture(s) written to %s\n", written,
                outDir.c_str());
    return failures == 0 ? 0 : 1;
}
