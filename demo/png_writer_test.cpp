// Writes a 3x2 picture with a row pitch of 4 and reads it back through
// libpng. Expected bytes by hand from c8 = (c << 3) | (c >> 2):
//   0x7FFF  r=g=b=31            -> (255, 255, 255)
//   0x0000                      -> (0, 0, 0)
//   0x7C00  r=31                -> (255, 0, 0)
//   0x03E0  g=31                -> (0, 255, 0)
//   0x001F  b=31                -> (0, 0, 255)
//   0xC028  bit 15, r=16, g=1, b=8
//           r: 128|4 = 132, g: 8|0 = 8, b: 64|2 = 66 -> (132, 8, 66)
// The fourth word of each row is padding and must not appear.
#include <png.h>

#include <cstdio>
#include <cstring>
#include <vector>

#include "png_writer.h"

int main(int argc, char** argv)
{
    if (argc != 2) {
        std::fprintf(stderr, "usage: %s OUTPUT.png\n", argv[0]);
        return 2;
    }
    const char* path = argv[1];
    const Pixel15 picture[2 * 4] = {
        0x7FFF, 0x0000, 0x7C00, 0x1234,
        0x03E0, 0x001F, 0xC028, 0xFFFF,
    };
    const uint8_t expected[2 * 3 * 3] = {
        255, 255, 255,   0, 0, 0,     255, 0, 0,
        0, 255, 0,       0, 0, 255,   132, 8, 66,
    };

    int failures = 0;
    if (span3d_demo::WritePng(path, picture, 3, 2, 2)) {
        std::fprintf(stderr, "FAILED: a pitch below the width is accepted\n");
        ++failures;
    }
    if (!span3d_demo::WritePng(path, picture, 3, 2, 4)) {
        std::fprintf(stderr, "FAILED: WritePng returned false\n");
        return 1;
    }

    png_image image;
    std::memset(&image, 0, sizeof image);
    image.version = PNG_IMAGE_VERSION;
    if (!png_image_begin_read_from_file(&image, path)) {
        std::fprintf(stderr, "FAILED: libpng cannot read %s: %s\n", path, image.message);
        return 1;
    }
    if (image.width != 3 || image.height != 2 || image.format != PNG_FORMAT_RGB) {
        std::fprintf(stderr, "FAILED: header %ux%u format %u, expected 3x2 RGB\n",
                     image.width, image.height, image.format);
        png_image_free(&image);
        return 1;
    }
    std::vector<uint8_t> rgb(PNG_IMAGE_SIZE(image));
    if (!png_image_finish_read(&image, nullptr, rgb.data(), 0, nullptr)) {
        std::fprintf(stderr, "FAILED: libpng cannot decode %s: %s\n", path, image.message);
        return 1;
    }
    for (size_t i = 0; i < sizeof expected; ++i) {
        if (rgb[i] != expected[i]) {
            std::fprintf(stderr, "FAILED: pixel %zu channel %zu is %u, expected %u\n", i / 3,
                         i % 3, rgb[i], expected[i]);
            ++failures;
        }
    }
    if (failures != 0) return 1;
    std::printf("png_writer: 3x2 picture with pitch 4 read back exactly\n");
    return 0;
}
