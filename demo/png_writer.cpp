#include "png_writer.h"

#include <png.h>

#include <csetjmp>
#include <cstdio>
#include <vector>

namespace span3d_demo {

namespace {

uint8_t Expand5(uint32_t c) { return static_cast<uint8_t>((c << 3) | (c >> 2)); }

// libpng reports errors by longjmp; keep the objects that need cleaning up
// outside the frame that setjmp saves.
struct PngFile {
    FILE* file = nullptr;
    png_structp png = nullptr;
    png_infop info = nullptr;
    ~PngFile()
    {
        if (png != nullptr) png_destroy_write_struct(&png, info != nullptr ? &info : nullptr);
        if (file != nullptr) std::fclose(file);
    }
};

bool WriteRows(PngFile& out, const std::vector<png_bytep>& rows, int32_t width, int32_t height)
{
    if (setjmp(png_jmpbuf(out.png))) return false;
    png_init_io(out.png, out.file);
    png_set_IHDR(out.png, out.info, static_cast<png_uint_32>(width),
                 static_cast<png_uint_32>(height), 8, PNG_COLOR_TYPE_RGB, PNG_INTERLACE_NONE,
                 PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    png_write_info(out.png, out.info);
    png_write_image(out.png, const_cast<png_bytepp>(rows.data()));
    png_write_end(out.png, nullptr);
    return true;
}

}  // namespace

bool WritePng(const char* path, const Pixel15* pixels, int32_t width, int32_t height,
              int32_t pitch)
{
    if (pixels == nullptr || width <= 0 || height <= 0 || pitch < width) {
        std::fprintf(stderr, "WritePng: bad picture for %s (%d x %d, pitch %d)\n", path,
                     width, height, pitch);
        return false;
    }
    std::vector<uint8_t> rgb(static_cast<size_t>(width) * static_cast<size_t>(height) * 3);
    std::vector<png_bytep> rows(static_cast<size_t>(height));
    for (int32_t y = 0; y < height; ++y) {
        const Pixel15* src = pixels + static_cast<size_t>(y) * static_cast<size_t>(pitch);
        uint8_t* dst = rgb.data() + static_cast<size_t>(y) * static_cast<size_t>(width) * 3;
        rows[static_cast<size_t>(y)] = dst;
        for (int32_t x = 0; x < width; ++x) {
            const uint32_t p = src[x];
            dst[3 * x + 0] = Expand5((p >> 10) & 31u);
            dst[3 * x + 1] = Expand5((p >> 5) & 31u);
            dst[3 * x + 2] = Expand5(p & 31u);
        }
    }

    PngFile out;
    out.file = std::fopen(path, "wb");
    if (out.file == nullptr) {
        std::perror(path);
        return false;
    }
    out.png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    if (out.png != nullptr) out.info = png_create_info_struct(out.png);
    if (out.png == nullptr || out.info == nullptr || !WriteRows(out, rows, width, height)) {
        std::fprintf(stderr, "WritePng: libpng failed to write %s\n", path);
        return false;
    }
    if (std::fflush(out.file) != 0 || std::ferror(out.file) != 0) {
        std::perror(path);
        return false;
    }
    return true;
}

}  // namespace span3d_demo
