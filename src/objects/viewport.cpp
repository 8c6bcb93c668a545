// Viewports: the drawing targets. A viewport joins a 16-bit pixel buffer, an
// optional 32-bit depth buffer, a clip rectangle (the scissor), a camera and
// the screen constants of the projection. It comes in two shapes:
//
//   - a view of a host Texture: the viewport borrows the texture's pixels and
//     its pitch; Width x Height is the size the host passed;
//   - a buffer of its own: the viewport allocates room for (2 * width) x
//     (2 * height) pixels and frees them. Its logical Width and Height, hence
//     CentreX, CentreY and the focal length, follow the doubled size, while
//     the scissor and the pitch address only the top-left width x height
//     pixels. This is the required shape of such a viewport, not a
//     supersampling scheme: nothing in the library reduces a doubled image.
//
// The depth buffer always belongs to the viewport; Camera and PostMaterial
// are borrowed. Every float below is in pixels.
#include "kernel/kernel.h"
#include "objects/records/records.h"

namespace span3d {
namespace {

// "a below b", the way every bound of the engine is tested: subtract in
// single precision and look at the sign of the difference, so that -0.0 counts
// as not negative and a value equal to its bound passes.
inline bool Below(float a, float b)
{
    const float d = a - b;
    return d < 0.0f;
}

// The scissor rules. A maximum beyond the logical size rejects the whole call;
// otherwise negative values become 0 and a minimum beyond the size becomes the
// size. No rule ties a minimum to its maximum: an inverted rectangle is kept
// as given.
void ApplyScissor(Viewport* v, float minX, float maxX, float minY, float maxY)
{
    if (Below(v->Height, maxY) || Below(v->Width, maxX))
        return;
    if (Below(minX, 0.0f))
        minX = 0.0f;
    else if (Below(v->Width, minX))
        minX = v->Width;
    if (Below(maxX, 0.0f))
        maxX = 0.0f;
    if (Below(minY, 0.0f))
        minY = 0.0f;
    else if (Below(v->Height, minY))
        minY = v->Height;
    if (Below(maxY, 0.0f))
        maxY = 0.0f;
    v->ScissorMinX = minX;
    v->ScissorMaxX = maxX;
    v->ScissorMinY = minY;
    v->ScissorMaxY = maxY;
}

// Entries of the depth buffer: Width * Height, one 32-bit word each. The byte
// count is the product Width * Height * 4 formed in floating point and rounded
// by FloatToInt; in double the product is exact for every size a buffer can
// have. A count that does not fit (FloatToInt yields a negative value for an
// overflow) is returned as -1 and treated as a failed allocation.
int64_t DepthBufferBytes(const Viewport* v)
{
    const int64_t bytes = FloatToInt(static_cast<double>(v->Width) * static_cast<double>(v->Height) * 4.0);
    return bytes < 0 ? -1 : bytes;
}

// The depth clear over the scissored rows:
//   count = FloatToInt((ScissorMaxY - ScissorMinY) * Width) entries
//   first = FloatToInt(FloatToInt(ScissorMinY) * Width)
// The rows are Width entries long here although the rasterizers step
// PixelPitch entries a row; the two agree only where a texture's pitch is its
// width. In an own-buffer viewport Width is twice PixelPitch, so the fill
// covers more of the block than the scissored pixels use; that is intended.
//
// A fractional ScissorMinY rounds differently in the two terms, and an
// inverted row range gives a negative count; either could reach past the end
// of the block. The fill is cut to the block and a negative count writes
// nothing: inside the block the words written are exactly those of the
// formula. With no depth buffer the clear writes nothing at all.
void FillDepthRows(Viewport* v, uint32_t value)
{
    if (v->DepthBuffer == nullptr)
        return;
    const int64_t total = DepthBufferBytes(v) / 4;
    const double rows = static_cast<double>(v->ScissorMaxY) - static_cast<double>(v->ScissorMinY);
    int64_t count = FloatToInt(rows * static_cast<double>(v->Width));
    const int64_t first =
        FloatToInt(static_cast<double>(FloatToInt(v->ScissorMinY)) * static_cast<double>(v->Width));
    if (count <= 0 || first < 0 || first >= total)
        return;
    if (count > total - first)
        count = total - first;
    // MemFill32 takes a 32-bit byte count; a buffer of a gigaword or more is
    // filled in pieces.
    constexpr int64_t kPieceWords = int64_t(1) << 28;
    int32_t* p = v->DepthBuffer + first;
    while (count > 0) {
        const int64_t words = count < kPieceWords ? count : kPieceWords;
        MemFill32(p, value, static_cast<uint32_t>(words * 4));
        p += words;
        count -= words;
    }
}

// Makes the depth buffer (bit 3 clear on entry): allocate, set bits 3 and 4,
// clear the scissored rows to 0. Returns 1, or 0 with DepthBuffer null and the
// bits clear when the block cannot be had.
int32_t MakeDepthBuffer(Viewport* v)
{
    const int64_t bytes = DepthBufferBytes(v);
    v->DepthBuffer = bytes < 0 ? nullptr : static_cast<int32_t*>(AllocateMemory(static_cast<size_t>(bytes)));
    if (v->DepthBuffer == nullptr)
        return 0;
    v->ViewportWord |= ViewportDepthBits;
    FillDepthRows(v, 0);
    return 1;
}

}  // namespace
}  // namespace span3d

using namespace span3d;

extern "C" SPAN3D_API Viewport* CreateViewport(Texture* target, int32_t width, int32_t height, int32_t depthState,
                                               int32_t ownPixels)
{
    const bool ownBuffer = ownPixels == 1;
    // A view needs its texture. Null would only crash on the first read of
    // the texture, so it is refused before anything is allocated.
    if (!ownBuffer && target == nullptr)
        return nullptr;
    // Own buffer: width * height * 8 bytes, room for the doubled size. A
    // negative or unrepresentable product is a failed allocation.
    int64_t pixelBytes = 0;
    if (ownBuffer) {
        const int64_t area = static_cast<int64_t>(width) * static_cast<int64_t>(height);
        if (area < 0 || area > INT64_MAX / 8)
            return nullptr;
        pixelBytes = area * 8;
    }

    Viewport* v = static_cast<Viewport*>(AllocateMemory(sizeof(Viewport)));
    if (v == nullptr)
        return nullptr;
    v->ScaleY = -1.0f;
    v->Camera = nullptr;
    v->PostMaterial = nullptr;
    v->DepthBuffer = nullptr;

    if (!ownBuffer) {
        v->Width = static_cast<float>(width);
        v->Height = static_cast<float>(height);
        v->Pixels = target->Pixels;
        // Bytes to 16-bit entries, a logical shift.
        v->PixelPitch = static_cast<int32_t>(static_cast<uint32_t>(target->PitchBytes) >> 1);
        ApplyScissor(v, 0.0f, v->Width, 0.0f, v->Height);
        v->ViewportWord = ViewportCreatedBit;
    } else {
        v->Pixels = static_cast<Pixel15*>(AllocateMemory(static_cast<size_t>(pixelBytes)));
        if (v->Pixels == nullptr) {
            FreeMemory(v);
            return nullptr;
        }
        v->Width = static_cast<float>(width) * 2.0f;
        v->Height = static_cast<float>(height) * 2.0f;
        v->PixelPitch = width;  // not doubled
        ApplyScissor(v, 0.0f, static_cast<float>(width), 0.0f, static_cast<float>(height));  // not doubled
        v->ViewportWord = ViewportCreatedBit | ViewportOwnsPixels;
    }

    v->CentreX = v->Width * 0.5f;
    v->CentreY = v->Height * 0.5f;
    // -(Height * 4) / (Width * 3), in this order: exactly -1.0 for any 4:3
    // size, so that square pixels need no correction.
    const double h4 = static_cast<double>(v->Height) * 4.0;
    const double w3 = static_cast<double>(v->Width) * 3.0;
    v->AspectTerm = static_cast<float>(-h4 / w3);

    // A depth buffer that cannot be had here is not reported: the viewport
    // comes back without one, bits 3 and 4 clear.
    if (depthState == 1)
        MakeDepthBuffer(v);
    return v;
}

extern "C" SPAN3D_API void DeleteViewport(Viewport* viewport)
{
    if (viewport == nullptr)
        return;
    if (viewport->DepthBuffer != nullptr)
        FreeMemory(viewport->DepthBuffer);
    // A view's pixels are the texture's and stay.
    if ((viewport->ViewportWord & ViewportOwnsPixels) != 0 && viewport->Pixels != nullptr)
        FreeMemory(viewport->Pixels);
    FreeMemory(viewport);
}

extern "C" SPAN3D_API void SetViewportType(Viewport* viewport, uint32_t type)
{
    // Only a type (low two bits not both 0) is taken, and then the whole word
    // is or'ed in: this is how a host sets ViewportEnabled (bit 31), and
    // nothing clears it again.
    if (viewport == nullptr || (type & ViewportTypeMask) == 0)
        return;
    viewport->ViewportWord = (viewport->ViewportWord & ~ViewportTypeMask) | type;
}

extern "C" SPAN3D_API uint32_t GetViewportType(const Viewport* viewport)
{
    return viewport == nullptr ? 0u : viewport->ViewportWord & ViewportTypeMask;
}

extern "C" SPAN3D_API void SetViewportCamera(Viewport* viewport, Camera* camera)
{
    if (viewport != nullptr)
        viewport->Camera = camera;
}

extern "C" SPAN3D_API Camera* GetViewportCamera(const Viewport* viewport)
{
    return viewport == nullptr ? nullptr : viewport->Camera;
}

extern "C" SPAN3D_API void SetViewportMaterial(Viewport* viewport, Material* material)
{
    if (viewport != nullptr)
        viewport->PostMaterial = material;
}

extern "C" SPAN3D_API void SetViewportScissor(Viewport* viewport, float minX, float maxX, float minY, float maxY)
{
    if (viewport != nullptr)
        ApplyScissor(viewport, minX, maxX, minY, maxY);
}

extern "C" SPAN3D_API float* GetViewportScissor(const Viewport* viewport, float* rect)
{
    // ScissorMinX, ScissorMaxX, ScissorMinY, ScissorMaxY lie in this order,
    // one 16-byte run.
    if (viewport != nullptr && rect != nullptr)
        MemCopy(rect, &viewport->ScissorMinX, 4 * sizeof(float));
    return rect;
}

extern "C" SPAN3D_API int32_t SetViewportDepthState(Viewport* viewport, int32_t state)
{
    if (viewport == nullptr)
        return 0;
    if (state == 1) {
        // Bit 3 alone says a buffer exists: asking twice allocates once.
        if ((viewport->ViewportWord & SPAN3D_VIEWPORT_DEPTH) != 0)
            return 1;
        return MakeDepthBuffer(viewport);
    }
    if ((viewport->ViewportWord & SPAN3D_VIEWPORT_DEPTH) != 0) {
        if (viewport->DepthBuffer != nullptr)
            FreeMemory(viewport->DepthBuffer);
        viewport->DepthBuffer = nullptr;
        viewport->ViewportWord &= ~ViewportDepthBits;
    }
    return 0;
}

extern "C" SPAN3D_API void ClearViewportDepthBuffer(Viewport* viewport, uint32_t value)
{
    if (viewport != nullptr)
        FillDepthRows(viewport, value);
}
