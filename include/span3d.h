/**
 * @file span3d.h
 * @brief span3d: a real-time software 3D engine that renders lit, textured
 *        triangle meshes into 16-bit 1-5-5-5 pixels.
 *
 * The public interface is C and compiles as C99 and as C++. Every object is a
 * plain record allocated through the host support library (span3d_host.h) and
 * handled by pointer; records keep a fixed field order so that hosts in any
 * language can mirror them. Failures are reported by result alone: null or 0
 * on failure. One thread at a time drives the engine.
 *
 * Units: coordinates are floats in model units; material colours are 0..255,
 * light colours 0..1; angles are degrees.
 */
#ifndef SPAN3D_H
#define SPAN3D_H

#include <stddef.h>
#include <stdint.h>

#include "span3d_host.h"

#if defined(SPAN3D_BUILD)
#  define SPAN3D_API __attribute__((visibility("default")))
#else
#  define SPAN3D_API
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* ======================================================================
 * Shared types
 * ====================================================================== */

/** A point or direction: three 32-bit floats. */
typedef struct Vector3 {
    float x, y, z;
} Vector3;

/** A rigid transform in three rows of (r0, r1, r2, t): m[0..3] row 0,
 *  m[4..7] row 1, m[8..11] row 2. A point maps as rotation * p + t. */
typedef struct Matrix34 {
    float m[12];
} Matrix34;

/** A pixel or texel: bits 0-4 blue, 5-9 green, 10-14 red, bit 15 unused.
 *  The texel 0x8000 is the colour key of the opacity stage. */
typedef uint16_t Pixel15;

/* Records defined below or by their own families. */
typedef struct Node Node;
typedef struct Mesh Mesh;
typedef struct MeshVertex MeshVertex;
typedef struct MeshPolygon MeshPolygon;
typedef struct DrawItem DrawItem;
typedef struct Material Material;
typedef struct TextureSlot TextureSlot;
typedef struct Texture Texture;
typedef struct Camera Camera;
typedef struct Light Light;
typedef struct Scene Scene;
typedef struct Viewport Viewport;
typedef struct Skeleton Skeleton;
typedef struct Bone Bone;

/* ======================================================================
 * Records
 * ====================================================================== */

/** Common head of Mesh, Camera and Light, and of the aim-point nodes inside
 *  Camera and Light. Only Kind & 63 is meaningful. */
struct Node {
    uint32_t Kind;        /**< low 6 bits: 1 mesh, 2 mesh variant, 4 camera, 8 camera target,
                               16 light, 32 light target; 0 is not a node */
    Node*    Parent;      /**< parent in the hierarchy, or null */
    Node**   Children;    /**< exactly ChildCount pointers in a block of their own, or null */
    int32_t  ChildCount;  /**< number of children */
};

/** Kind values (read as Kind & SPAN3D_KIND_MASK). */
#define SPAN3D_KIND_MASK          63u
#define SPAN3D_KIND_MESH          1u
#define SPAN3D_KIND_MESH_VARIANT  2u
#define SPAN3D_KIND_CAMERA        4u
#define SPAN3D_KIND_CAMERA_TARGET 8u
#define SPAN3D_KIND_LIGHT         16u
#define SPAN3D_KIND_LIGHT_TARGET  32u

/** RenderFlags: one layout for a mesh's RenderFlags, a material's
 *  MaterialFlags and a polygon's Flags. Rendering ANDs the three. */
#define SPAN3D_SHADE_MASK       0x7u        /**< 1 none, 3 flat, 7 Gouraud */
#define SPAN3D_SHADE_NONE       0x1u
#define SPAN3D_SHADE_FLAT       0x3u
#define SPAN3D_SHADE_GOURAUD    0x7u
#define SPAN3D_CULL_MASK        0x38u
#define SPAN3D_CULL_BOTH        0x08u       /**< draw both sides; on a material it overrides the mesh */
#define SPAN3D_CULL_BACK_ONLY   0x10u       /**< draw back faces only */
#define SPAN3D_CULL_FRONT_ONLY  0x20u       /**< draw front faces only */
#define SPAN3D_BLEND_BIT        0x40u       /**< polygon blends (blend list, smooth wire lines) */
#define SPAN3D_BACK_FACE_BIT    0x80u       /**< polygon: back side faces the camera this frame */
#define SPAN3D_COLOR_OP_BIT     0x100u      /**< material: ColorOp on */
#define SPAN3D_EDGE_MASK        0xe00u      /**< polygon: edges 0-1 (0x200), 1-2 (0x400), 2-0 (0x800) */
#define SPAN3D_EDGE_01          0x200u
#define SPAN3D_EDGE_12          0x400u
#define SPAN3D_EDGE_20          0x800u
#define SPAN3D_SMOOTH_GROUP_MASK 0x1f000u   /**< polygon: smoothing group 0..31 in bits 12-16 */
#define SPAN3D_SMOOTH_GROUP_SHIFT 12
#define SPAN3D_MESH_HIDDEN      0x4000u     /**< mesh: set by HideMesh */
#define SPAN3D_MESH_ACTIVE      0x8000u     /**< mesh: may be drawn and put in a scene */
#define SPAN3D_MESH_BOUNDS_OUT  0x20000u    /**< mesh, per frame: whole box beyond one clip plane */
#define SPAN3D_MESH_BOUNDS_CUT  0x80000u    /**< mesh, per frame: box crosses near or far */
#define SPAN3D_RENDER_MODE_MASK 0x700000u
#define SPAN3D_RENDER_DOTS      0x100000u
#define SPAN3D_RENDER_WIRE      0x300000u
#define SPAN3D_RENDER_SOLID     0x700000u
#define SPAN3D_STAGE_MASK       0x7800000u
#define SPAN3D_STAGE_DIFFUSE    0x800000u   /**< diffuse texture */
#define SPAN3D_STAGE_OPACITY    0x1000000u  /**< opacity texture (texel 0x8000 is the key) */
#define SPAN3D_STAGE_THIRD      0x2000000u
#define SPAN3D_STAGE_FOURTH     0x4000000u

/** Outcode bits of a vertex, relative to the view volume. */
#define SPAN3D_OUT_NEAR   0x10u
#define SPAN3D_OUT_FAR    0x20u
#define SPAN3D_OUT_LEFT   0x40u
#define SPAN3D_OUT_RIGHT  0x80u
#define SPAN3D_OUT_TOP    0x100u
#define SPAN3D_OUT_BOTTOM 0x200u

/** One vertex of a mesh. Rasterizers read the same layout as RasterVertex. */
struct MeshVertex {
    uint32_t Outcode;        /**< clip bits of this frame */
    Vector3  ModelPosition;  /**< as given to SetMeshVertex, model units */
    Vector3  ViewPosition;   /**< camera space, this frame */
    Vector3  ScreenPosition; /**< screen x, screen y (pixels) and 1 / view z */
};

/** The vertex record that triangle functions read (same layout as MeshVertex). */
typedef MeshVertex RasterVertex;

/** Texture coordinates of one polygon corner. */
typedef struct CornerCoords {
    float u, v;        /**< as the host set them */
    float envU, envV;  /**< generated environment coordinates */
} CornerCoords;

/** One triangle of a mesh. Corner k of CornerMap, NormalIndex and
 *  CornerColour belongs to vertex Corner[k]. */
struct MeshPolygon {
    uint32_t     Flags;           /**< RenderFlags layout: shade, blend, back face, edges, group, mode, stages */
    Vector3      Normal;          /**< unit normal in model space */
    float        PlaneD;          /**< minus Normal . centroid of the corners */
    uint32_t     Corner[3];       /**< vertex indices, stored in reverse of the order given */
    uint32_t     NormalIndex[3];  /**< index into the mesh's VertexNormals per corner */
    CornerCoords CornerMap[3];    /**< texture coordinates per corner */
    Material*    FrontMaterial;   /**< borrowed; the mesh's DefaultMaterial by default */
    Material*    BackMaterial;    /**< borrowed; likewise */
    uint32_t     CornerColour[3]; /**< shaded colour per corner, per frame: flat, a Pixel15 in the
                                       low half; Gouraud, 8-bit red 16-23, green 8-15, blue 0-7 */
};

/** One polygon filed for drawing this frame. */
struct DrawItem {
    float        SortKey;  /**< sum (not average) of the corners' view z; larger is further */
    struct Mesh* Mesh;     /**< owner of Polygon */
    MeshPolygon* Polygon;
    uint32_t     Flags;    /**< effective flags of the polygon this frame */
};

/** A sort block is one allocation of N slots: N uint32_t sort indices, then
 *  directly after them N DrawItem records. Its owner (a Mesh or a Scene)
 *  keeps both pointers. */

/** Where one texture stage of a material reads its texels. */
struct TextureSlot {
    uint32_t Mode;          /**< bits 0-2 mode argument (bit 1: live texture); bits 4-5 texture
                                 mode 16 or 32; bit 30: both sizes are powers of two */
    Pixel15* Pixels;        /**< first texel */
    int32_t  Width;         /**< texels */
    int32_t  Height;        /**< texels */
    int32_t  ShiftOrPitch;  /**< log2(Width) when bit 30 of Mode is set, else the pitch in texels */
    struct Texture* Texture;       /**< borrowed */
    uint32_t Reserved;
};

/** A material: colours, alpha and texture stages. Hosts hand whole records to
 *  CreateMaterial, so the order and the reserved words are interface.
 *
 *  The record holds three whole TextureSlot records. A fourth slot, taken at
 *  the same stride, covers exactly ColorOp, Name and SlotTail and stops
 *  short of KeepWord: writing slot 3 overwrites ColorOp and the name, and a
 *  later name change writes into the slot. Do not use slot 3 on a material
 *  whose name or ColorOp matters. */
struct Material {
    uint32_t    MaterialFlags;     /**< RenderFlags layout: shade, cull, blend, ColorOp on, mode, stages */
    float       AmbientColour[4];  /**< r, g, b, a on 0..255; added to the lit colour */
    float       DiffuseColour[4];  /**< r, g, b, a on 0..255; multiplied by the sum of the lights */
    float       EmissiveColour[4]; /**< r, g, b, a on 0..255; added to the lit colour */
    uint16_t    AlphaLevel;        /**< 0..255, for AlphaMode 2 */
    uint16_t    AlphaMode;         /**< 0 opaque, 1 additive, 2 blend by AlphaLevel, 3 subtractive */
    Material*   ScenePrev;         /**< scene list links */
    Material*   SceneNext;
    uint32_t    Reserved;
    TextureSlot Slot[3];           /**< texture stages 0..2; stage 3 overlaps the fields below */
    uint16_t    ColorOp;           /**< where the fourth slot's Mode begins */
    char        Name[30];          /**< NUL-ended; begins inside the fourth slot's Mode */
    uint8_t     SlotTail[sizeof(TextureSlot) - 32]; /**< rest of the fourth slot's span */
    uint32_t    KeepWord;          /**< non-zero spares the material in DeleteScene; no setter */
};

/** A host image, or CreateCheckerTexture's. The engine reads only the named
 *  fields; the reserved words are the host's. */
struct Texture {
    uint32_t Reserved0[7];
    Pixel15* Pixels;        /**< first texel */
    uint32_t Reserved1[2];
    int32_t  ImageWidth;    /**< written by CreateCheckerTexture, not read by the engine */
    int32_t  ImageHeight;
    int32_t  PitchBytes;    /**< bytes per row */
    uint32_t Reserved2[4];
    int32_t  LiveOffset;    /**< byte offset added to Pixels for a live slot */
    int32_t  Width;         /**< the sizes the engine reads */
    int32_t  Height;
    uint32_t Reserved3[4];
};

/** The default material every mesh embeds, and the record CreateMaterial copies. */

/** A mesh: vertices, triangles, transforms and render state. */
struct Mesh {
    Node         Head;              /**< Kind 1 */
    int32_t      Form;              /**< 0 not drawable yet, 1 ordinary, 2 draws nothing, 3 billboard */
    uint32_t     RenderFlags;       /**< RenderFlags layout; 0x7f00027 when new */
    uint32_t     BillboardMode;     /**< low 5 bits: 1, 4, 8 or 16 pick a billboard transform */
    int32_t      VertexCount;
    int32_t      VertexNormalCount; /**< entries in VertexNormals */
    int32_t      PolygonCount;
    int32_t      SortCapacity;      /**< own polygons plus those of all mesh descendants */
    int32_t      DrawItemCount;     /**< items the last DrawMesh emitted */
    MeshVertex*  Vertices;
    Vector3*     VertexNormals;     /**< by NormalIndex; null until normals are computed */
    MeshPolygon* Polygons;
    uint32_t*    VertexDoneBits;    /**< bit (i & 31) of word (i >> 5): vertex i transformed this frame */
    uint32_t*    SortIndices;       /**< start of the mesh's sort block, or null while a scene or a
                                         parent mesh holds its slots */
    DrawItem*    DrawItems;         /**< SortCapacity items in the sort block; non-null marks a fixed mesh */
    struct Skeleton* Skeleton;          /**< borrowed, or null */
    uint32_t*    VertexInfluences;  /**< four words per vertex while a skeleton is assigned */
    Vector3      Pivot;             /**< subtracted from light and camera positions in model space */
    Matrix34     ModelMatrix;       /**< orientation and position the host sets */
    Matrix34     AnimMatrix;        /**< second transform, identity */
    Matrix34     WorldMatrix;       /**< per frame */
    Matrix34     ViewMatrix;        /**< per frame: WorldMatrix in camera space */
    Mesh*        BoundsMesh;        /**< owned 8-vertex, 12-polygon box from CreateAABB */
    Light**      LightList;         /**< 64 slots filled from the front, ended by the first null */
    Material     DefaultMaterial;   /**< embedded, whole */
    Mesh*        ScenePrev;         /**< scene list links */
    Mesh*        SceneNext;
    char         Name[32];          /**< NUL-ended */
    struct Viewport* Viewport;          /**< borrowed, for DrawMesh */
    struct Scene* Scene;             /**< the scene that holds it, or null */
    uint32_t     TvObject;          /**< host's word; non-zero keeps the scene from freeing the mesh */
};

/** A camera: position, aim point, roll, field of view, near and far. Its head
 *  is shared with Light. */
struct Camera {
    Node      Head;           /**< Kind 4 */
    Node      TargetNode;     /**< Kind 8: the aim point as a hierarchy member */
    uint32_t  State;          /**< bit 31: DeleteCamera searches the scenes */
    Vector3   Position;       /**< as the host set it */
    Vector3   WorldPosition;  /**< after the hierarchy, per frame */
    Vector3   Target;         /**< aim point as the host set it */
    Vector3   WorldTarget;    /**< per frame */
    Vector3   Direction;      /**< unit vector from WorldPosition to WorldTarget, per frame */
    float     Roll;           /**< degrees about the view axis */
    float     Fov;            /**< degrees */
    float     Focale;         /**< focal length in pixels, per frame */
    float     Near;
    float     Far;
    Matrix34  ViewMatrix;     /**< world to camera, per frame */
    Camera*   ScenePrev;
    Camera*   SceneNext;
    char      Name[32];
    uint32_t  KeepWord;       /**< non-zero spares the camera in DeleteScene; no setter */
};

/** ViewportWord bits. */
#define SPAN3D_VIEWPORT_TYPE_MASK  0x3u        /**< host's type value 1, 2 or 3 */
#define SPAN3D_VIEWPORT_CREATED    0x4u
#define SPAN3D_VIEWPORT_DEPTH      0x8u        /**< a depth buffer exists: depth-tested drawing */
#define SPAN3D_VIEWPORT_DEPTH_ALT  0x10u       /**< set and cleared with SPAN3D_VIEWPORT_DEPTH */
#define SPAN3D_VIEWPORT_OWNS_PIXELS 0x40u      /**< the viewport frees Pixels */
#define SPAN3D_VIEWPORT_ENABLED    0x80000000u /**< DrawScene and DrawMesh draw only when set */

/** A drawing target: pixels, optional depth, clip rectangle, camera and the
 *  screen constants of the projection. */
struct Viewport {
    uint32_t  ViewportWord;  /**< flags above */
    float     Width;         /**< logical width, pixels */
    float     Height;        /**< logical height, pixels */
    float     CentreX;       /**< Width * 0.5 */
    float     CentreY;       /**< Height * 0.5 */
    float     ScissorMinX;   /**< clip rectangle: first column */
    float     ScissorMaxX;   /**< end column */
    float     ScissorMinY;   /**< first row */
    float     ScissorMaxY;   /**< end row */
    float     ScaleY;        /**< always -1.0: the sign of projected y */
    float     AspectTerm;    /**< -(Height * 4) / (Width * 3); -1.0 exactly at 4:3 */
    Pixel15*  Pixels;        /**< first pixel of the colour buffer */
    int32_t*  DepthBuffer;   /**< round(2^30 / z) per pixel, larger is nearer; null when none */
    Material* PostMaterial;  /**< borrowed, for DrawViewportPostFX */
    int32_t   PixelPitch;    /**< entries per row, for pixels and depth alike */
    struct Camera* Camera;        /**< borrowed */
};

/** A triangle function: draws one polygon whose corners are RasterVertex
 *  records indexed by the polygon's Corner words. */
typedef void (*TriangleRasterizer)(MeshPolygon* polygon, RasterVertex* vertices);


/* ======================================================================
 * Engine lifetime
 * ====================================================================== */

/** Brings the engine up: starts the radix sort and builds the colour tables.
 *  Call once before drawing. Always returns 0. A second call rebuilds. */
SPAN3D_API int32_t InitEngine3D(void);

/** Takes the engine down: frees the sort scratch and the colour tables and
 *  forgets the scene list. Deletes no object; does nothing unless ready. */
SPAN3D_API void ReleaseEngine3D(void);

/** Accepted for compatibility; ignores its arguments and returns 1. */
SPAN3D_API int32_t AddMeshQuadPolygon(Mesh* mesh, int32_t a, int32_t b, int32_t c, int32_t d);
/** Accepted for compatibility; ignores its arguments and returns 1. */
SPAN3D_API int32_t AssignVertexInfluence(Mesh* mesh, int32_t vertex, Bone* bone, float weight);
/** Accepted for compatibility; ignores its arguments and returns 1. */
SPAN3D_API int32_t CheckWeightedVertices(Mesh* mesh);
/** Accepted for compatibility; ignores its arguments and does nothing. */
SPAN3D_API void RemoveVertexInfluence(Mesh* mesh, int32_t vertex);
/** Accepted for compatibility; ignores its arguments and does nothing. */
SPAN3D_API void UpdateMeshPolygonsNormal(Mesh* mesh);

/* @@EXPORTS-OBJECTS@@ */

/* @@EXPORTS-RASTER@@ */

#ifdef __cplusplus
}
#endif

#endif /* SPAN3D_H */
