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
#define SPAN3D_STAGE_THIRD      0x2000000u  /**< third texture stage */
#define SPAN3D_STAGE_FOURTH     0x4000000u  /**< fourth texture stage */

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
    MeshPolygon* Polygon;  /**< the polygon to draw, inside Mesh's Polygons */
    uint32_t     Flags;    /**< effective flags of the polygon this frame */
};

/* A sort block is one allocation of N slots: N uint32_t sort indices, then
 * after them N DrawItem records, starting at the next 8-byte boundary so that
 * their pointers are naturally aligned (no gap when N is even). Its owner (a
 * Mesh or a Scene) keeps both pointers. */

/** Where one texture stage of a material reads its texels. */
struct TextureSlot {
    uint32_t Mode;          /**< bits 0-2 mode argument (bit 1: live texture); bits 4-5 texture
                                 mode 16 or 32; bit 30: both sizes are powers of two */
    Pixel15* Pixels;        /**< first texel */
    int32_t  Width;         /**< texels */
    int32_t  Height;        /**< texels */
    int32_t  ShiftOrPitch;  /**< log2(Width) when bit 30 of Mode is set, else the pitch in texels */
    struct Texture* Texture; /**< borrowed */
    uint32_t Reserved;      /**< reserved, kept as the host gave it */
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
    Material*   ScenePrev;         /**< previous material in the scene's list, or null */
    Material*   SceneNext;         /**< next material in the scene's list, or null */
    uint32_t    Reserved;          /**< reserved; part of the record a host hands in */
    TextureSlot Slot[3];           /**< texture stages 0..2; stage 3 overlaps the fields below */
    uint16_t    ColorOp;           /**< where the fourth slot's Mode begins */
    char        Name[30];          /**< NUL-ended; begins inside the fourth slot's Mode */
    uint8_t     SlotTail[sizeof(TextureSlot) - 32]; /**< rest of the fourth slot's span */
    uint32_t    KeepWord;          /**< non-zero spares the material in DeleteScene; no setter */
};

/** A host image, or CreateCheckerTexture's. The engine reads only the named
 *  fields; the reserved words are the host's. */
struct Texture {
    uint32_t Reserved0[7];  /**< the host's */
    Pixel15* Pixels;        /**< first texel (row 0, column 0) */
    uint32_t Reserved1[2];  /**< the host's */
    int32_t  ImageWidth;    /**< texels; written by CreateCheckerTexture, not read by the engine */
    int32_t  ImageHeight;   /**< texels; written by CreateCheckerTexture, not read by the engine */
    int32_t  PitchBytes;    /**< bytes per row */
    uint32_t Reserved2[4];  /**< the host's */
    int32_t  LiveOffset;    /**< byte offset added to Pixels for a live slot */
    int32_t  Width;         /**< texels per row that the engine reads */
    int32_t  Height;        /**< rows that the engine reads */
    uint32_t Reserved3[4];  /**< the host's */
};

/** A mesh: vertices, triangles, transforms and render state. */
struct Mesh {
    Node         Head;              /**< Kind 1 */
    int32_t      Form;              /**< 0 not drawable yet, 1 ordinary, 2 draws nothing, 3 billboard */
    uint32_t     RenderFlags;       /**< RenderFlags layout; 0x7f00027 when new */
    uint32_t     BillboardMode;     /**< low 5 bits: 1, 4, 8 or 16 pick a billboard transform */
    int32_t      VertexCount;       /**< vertices in Vertices */
    int32_t      VertexNormalCount; /**< entries in VertexNormals */
    int32_t      PolygonCount;      /**< polygons in Polygons */
    int32_t      SortCapacity;      /**< own polygons plus those of all mesh descendants */
    int32_t      DrawItemCount;     /**< items the last DrawMesh emitted */
    MeshVertex*  Vertices;          /**< VertexCount vertices; owned */
    Vector3*     VertexNormals;     /**< by NormalIndex, a block of its own; null until normals are computed */
    MeshPolygon* Polygons;          /**< PolygonCount triangles; owned */
    uint32_t*    VertexDoneBits;    /**< bit (i & 31) of word (i >> 5): vertex i transformed this frame */
    uint32_t*    SortIndices;       /**< start of the mesh's sort block, or null while a scene or a
                                         parent mesh holds its slots */
    DrawItem*    DrawItems;         /**< SortCapacity items in the sort block; non-null marks a fixed mesh */
    struct Skeleton* Skeleton;      /**< borrowed, or null */
    uint32_t*    VertexInfluences;  /**< four words per vertex while a skeleton is assigned, else null */
    Vector3      Pivot;             /**< subtracted from light and camera positions in model space */
    Matrix34     ModelMatrix;       /**< orientation and position the host sets; identity when new */
    Matrix34     AnimMatrix;        /**< second transform; identity, no export writes it */
    Matrix34     WorldMatrix;       /**< per frame */
    Matrix34     ViewMatrix;        /**< per frame: WorldMatrix in camera space */
    Mesh*        BoundsMesh;        /**< owned 8-vertex, 12-polygon box from CreateAABB */
    Light**      LightList;         /**< 64 slots filled from the front, ended by the first null */
    Material     DefaultMaterial;   /**< embedded, whole */
    Mesh*        ScenePrev;         /**< previous mesh in the scene's list, or null */
    Mesh*        SceneNext;         /**< next mesh in the scene's list, or null */
    char         Name[32];          /**< NUL-ended */
    struct Viewport* Viewport;      /**< borrowed, for DrawMesh */
    struct Scene* Scene;            /**< the scene that holds it, or null */
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
    float     Near;           /**< near clip distance, view units */
    float     Far;            /**< far clip distance, view units */
    Matrix34  ViewMatrix;     /**< world to camera, per frame; its t column is WorldPosition */
    Camera*   ScenePrev;      /**< previous camera in the scene's list, or null */
    Camera*   SceneNext;      /**< next camera in the scene's list, or null */
    char      Name[32];       /**< NUL-ended */
    uint32_t  KeepWord;       /**< non-zero spares the camera in DeleteScene; no setter */
};

/** Light State bits. The low five bits pick the lighting evaluator. */
#define SPAN3D_LIGHT_ATTENUATE   0x1u         /**< attenuation by distance on */
#define SPAN3D_LIGHT_OMNI        0x2u         /**< set by CreateOmniLight */
#define SPAN3D_LIGHT_DIRECT      0x4u         /**< set by CreateDirectLight */
#define SPAN3D_LIGHT_FACING      0x10u        /**< direct light: only polygons with the light in front */
#define SPAN3D_LIGHT_ON          0x80000000u  /**< the light shines; clear, it is skipped */

/** A light, omni or direct. Its head, up to Target, is the Camera's. */
struct Light {
    Node      Head;            /**< Kind 16 */
    Node      TargetNode;      /**< Kind 32 for a direct light; all zero (not a node) for an omni light */
    uint32_t  State;           /**< SPAN3D_LIGHT_* bits; other bits as the host gave them */
    Vector3   Position;        /**< as the host set it, model units */
    Vector3   WorldPosition;   /**< after the hierarchy, per frame */
    Vector3   Target;          /**< aim point of a direct light, model units */
    Vector3   WorldTarget;     /**< per frame */
    Vector3   LocalPosition;   /**< in the model space of the mesh being lit, per mesh */
    Vector3   LocalDirection;  /**< in the model space of the mesh being lit, per mesh */
    float     Colour[4];       /**< red, green, blue, alpha on 0..1 */
    float     Intensity;       /**< scale of the light's contribution */
    float     NearAttenuation; /**< distance where attenuation begins, model units */
    float     FarAttenuation;  /**< distance where the light has faded out, model units */
    Light*    ScenePrev;       /**< previous light in the scene's list, or null */
    Light*    SceneNext;       /**< next light in the scene's list, or null */
    char      Name[32];        /**< NUL-ended */
    uint32_t  KeepWord;        /**< non-zero spares the light in DeleteScene; no setter */
};

/** A skeleton: a bone store known by its root bone's name. Only the fields
 *  that scenes read are listed here. */
struct Skeleton {
    char      (*BoneNames)[32]; /**< one 32-byte name per bone, index for index; null before the root */
    Skeleton* ScenePrev;        /**< previous skeleton in the scene's list, or null */
    Skeleton* SceneNext;        /**< next skeleton in the scene's list, or null */
};

/** Two floats of a scene's hook table; DefaultHook reads the second. */
typedef struct SceneHookEntry {
    float Values[2];
} SceneHookEntry;

/** The host's scene hook: receives a, index and a rounded table value. */
typedef void (*SceneUserHook)(int32_t a, int32_t index, int32_t value);

/** A scene's own hook routine, DefaultHook: (a, index, scene). */
typedef void (*SceneHook)(int32_t a, int32_t index, Scene* scene);

/** SceneWord bits. */
#define SPAN3D_SCENE_READY 0x1u  /**< clear while the mesh list and sort block change; DrawScene waits */

/** A scene: what DrawScene draws. Lists run in order of assignment through
 *  the members' own ScenePrev and SceneNext, so an object stands in one list
 *  of its type at most. */
struct Scene {
    uint32_t   SceneWord;      /**< SPAN3D_SCENE_READY; clear until the first mesh is assigned */
    Mesh*      Meshes;         /**< head of the mesh list (tops of hierarchies only) */
    Camera*    Cameras;        /**< head of the camera list */
    Light*     Lights;         /**< head of the light list */
    Material*  Materials;      /**< head of the material list */
    Skeleton*  Skeletons;      /**< head of the skeleton list */
    int32_t    VisibleMeshes;  /**< meshes drawn by the last DrawScene; 0 before the first */
    int32_t    ActiveCamera;   /**< index into Cameras, -1 for none */
    uint32_t*  SortIndices;    /**< owned sort block of TotalPolygons slots, or null */
    DrawItem*  DrawItems;      /**< TotalPolygons items inside the sort block */
    int32_t    DrawItemCount;  /**< items of the current frame */
    int32_t    TotalVertices;  /**< sum of VertexCount over the listed meshes */
    int32_t    TotalPolygons;  /**< sum of SortCapacity over the listed meshes: slots in the block */
    struct Viewport* Viewport; /**< borrowed, or null */
    Scene*     ListPrev;       /**< previous scene in the engine's scene list, or null */
    Scene*     ListNext;       /**< next scene in the engine's scene list, or null */
    SceneHook  DefaultHook;    /**< set by CreateScene; calls UserHook when both are set; the engine never calls it */
    SceneUserHook UserHook;    /**< null when new; no export sets it */
    SceneHookEntry* HookTable; /**< owned, null when new; freed by the scene deletes */
};

/** ViewportWord bits. */
#define SPAN3D_VIEWPORT_TYPE_MASK  0x3u        /**< host's type value 1, 2 or 3 */
#define SPAN3D_VIEWPORT_CREATED    0x4u        /**< set at creation, no other use */
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
    float     ScissorMaxX;   /**< clip rectangle: end column (exclusive) */
    float     ScissorMinY;   /**< clip rectangle: first row */
    float     ScissorMaxY;   /**< clip rectangle: end row (exclusive) */
    float     ScaleY;        /**< always -1.0: the sign of projected y */
    float     AspectTerm;    /**< -(Height * 4) / (Width * 3); -1.0 exactly at 4:3 */
    Pixel15*  Pixels;        /**< first pixel; owned only with SPAN3D_VIEWPORT_OWNS_PIXELS, else the Texture's */
    int32_t*  DepthBuffer;   /**< owned; round(2^30 / z) per pixel, larger is nearer; null when none */
    Material* PostMaterial;  /**< borrowed, for DrawViewportPostFX; null when new */
    int32_t   PixelPitch;    /**< entries per row, for pixels and depth alike */
    struct Camera* Camera;   /**< borrowed; null when new */
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

/* ======================================================================
 * Materials
 *
 * Colours are floats on 0..255. A material's first word uses the
 * RenderFlags layout and is ANDed with the mesh's and the polygon's words.
 * Polygons borrow materials: deleting one tells no polygon.
 * ====================================================================== */

/** Allocates a copy of @p templ (owned by the caller, DeleteMaterial frees it); the next default name "MaterialNN" goes into the template, not the copy, even when allocation fails. Null on failure. */
SPAN3D_API Material* CreateMaterial(Material* templ);
/** Frees a material from CreateMaterial; null is accepted. Polygons that still point to it are not told. */
SPAN3D_API void DeleteMaterial(Material* material);
/** Sets side @p side (0 front, 1 back, 2 both) of every polygon to @p material (null: the mesh's DefaultMaterial); @p recurse 1 repeats on mesh children. 0 for a bad side, else 1. */
SPAN3D_API int32_t SetMaterial(Mesh* mesh, Material* material, int32_t side, int32_t recurse);
/** Material of polygon 0: side 0 or 2 front, 1 back; null for another side (borrowed). */
SPAN3D_API Material* GetMaterial(Mesh* mesh, int32_t side);
/** First material named @p name among the polygons' front then back materials, in polygon order, or null (borrowed). */
SPAN3D_API Material* GetMaterialByName(Mesh* mesh, const char* name);
/** Sets side @p side of polygon @p polygon (and of the next one when @p pair is non-zero); null means DefaultMaterial. 1 also for an index out of range (nothing done), 0 for a bad side. */
SPAN3D_API int32_t SetFaceMaterial(Mesh* mesh, int32_t polygon, Material* material, int32_t pair, int32_t side);
/** Material of one polygon's side (0 or 2 front, 1 back), or null for a bad index or side (borrowed). */
SPAN3D_API Material* GetFaceMaterial(Mesh* mesh, int32_t polygon, int32_t side);
/** Every polygon side of @p mesh (not its children) that uses @p material goes back to the mesh's DefaultMaterial. */
SPAN3D_API void RemoveMaterialFromMesh(Material* material, Mesh* mesh);
/** Sets colour @p which (0 ambient, 1 diffuse, 2 emissive) to r, g, b clamped to 0..255 and alpha 255; another which does nothing. */
SPAN3D_API void SetMaterialColor(Material* material, int32_t which, float red, float green, float blue);
/** Pointer to the four floats (r, g, b, a on 0..255) of colour @p which, inside the material; another which gives the material's own address. */
SPAN3D_API float* GetMaterialColor(Material* material, int32_t which);
/** Stores @p op in ColorOp and sets (enable non-zero) or clears the ColorOp bit 0x100; returns the material. */
SPAN3D_API Material* SetMaterialColorOp(Material* material, uint16_t op, int32_t enable);
/** Stores the alpha level clamped to 0..255 and returns the stored value. */
SPAN3D_API int32_t SetMaterialAlphaLevel(Material* material, int32_t level);
/** Alpha level, 0..255. */
SPAN3D_API uint16_t GetMaterialAlphaLevel(Material* material);
/** Stores the alpha mode (0 opaque, 1 additive, 2 blend, 3 subtractive); above 3 stores 0. */
SPAN3D_API void SetMaterialAlphaMode(Material* material, uint32_t mode);
/** Alpha mode, 0..3. */
SPAN3D_API uint16_t GetMaterialAlphaMode(Material* material);
/** BlendBit follows bit 0x40 of @p mode; the render mode bits 0x700000 are replaced only when @p mode has one of them. */
SPAN3D_API void SetMaterialRenderMode(Material* material, int32_t mode);
/** The material's render mode and BlendBit: its first word AND 0x700040. */
SPAN3D_API uint32_t GetMaterialRenderMode(Material* material);
/** Replaces the shade bits (1 none, 3 flat, 7 Gouraud) when @p mode has any bit of 7; 0 does nothing. */
SPAN3D_API void SetMaterialShadeMode(Material* material, int32_t mode);
/** Shade bits: first word AND 7. */
SPAN3D_API uint32_t GetMaterialShadeMode(Material* material);
/** Replaces the cull bits (0x08 both, 0x10 back only, 0x20 front only) when @p mode has any bit of 0x38. */
SPAN3D_API void SetMaterialCullMode(Material* material, int32_t mode);
/** Cull bits: first word AND 0x38. */
SPAN3D_API uint32_t GetMaterialCullMode(Material* material);
/** Copies @p name into Name with no bound (30 bytes fit); returns the end of the copy, null if either pointer is null. */
SPAN3D_API char* SetMaterialName(Material* material, const char* name);
/** Fills slot 0..3 from @p texture (borrowed; null clears the slot) with mode bits @p mode & 7, and sets or clears the slot's stage bit. Slot 3 overwrites ColorOp and Name. Returns the slot, or null for a slot above 3. */
SPAN3D_API TextureSlot* SetMaterialTexture(Material* material, uint32_t slot, Texture* texture, int32_t mode);
/** Pointer to slot 0..3 inside the material, or null above 3. */
SPAN3D_API TextureSlot* GetMaterialTexture(Material* material, uint32_t slot);
/** Sets the texture mode bits 4-5 of a slot to 16 or 32; other modes and slots above 3 do nothing. */
SPAN3D_API void SetMaterialTextureMode(Material* material, uint32_t slot, int32_t mode);
/** A slot's texture mode bits (Mode AND 0x30), 0 for a slot above 3. */
SPAN3D_API uint32_t GetMaterialTextureMode(Material* material, uint32_t slot);
/** With exactly one stage on, clears that stage's slot and bit when @p texture is slot 0's texture; otherwise does nothing. */
SPAN3D_API void RemoveTextureFromMaterial(Texture* texture, Material* material);

/* ======================================================================
 * Cameras
 *
 * Distances in model units, angles in degrees. Camera shares its head,
 * up to Target, with Light.
 * ====================================================================== */

/** Allocates a camera (owned by the caller; DeleteCamera frees it) at @p position aiming at @p target, with roll and fov in degrees and the near distance as given (no checks), far 1e8 and the next default name "CameraNN". Null on failure. */
SPAN3D_API Camera* CreateCamera(Vector3* position, Vector3* target, float roll, float fov, float nearDistance);
/** Frees a camera. It must have been taken out of every scene first. */
SPAN3D_API void DeleteCamera(Camera* camera);
/** Copies @p name into Name with no bound (32 bytes fit); returns the end of the copy, null if either pointer is null. */
SPAN3D_API char* SetCameraName(Camera* camera, const char* name);
/** Sets Position (@p which 0) or Target (any other which), model units; returns the camera. */
SPAN3D_API Camera* SetCameraPosition(Camera* camera, Vector3* value, int32_t which);
/** Position (@p which 0) or Target (any other which) as the host set it, model units. */
SPAN3D_API Vector3 GetCameraPosition(Camera* camera, int32_t which);
/** Sets the roll about the view axis in degrees, unchecked; returns the camera. */
SPAN3D_API Camera* SetCameraRoll(Camera* camera, float roll);
/** Roll, degrees. */
SPAN3D_API float GetCameraRoll(Camera* camera);
/** Sets the field of view in degrees; 0 or less, or above 180, gives 60. */
SPAN3D_API void SetCameraFov(Camera* camera, float fov);
/** Field of view, degrees. */
SPAN3D_API float GetCameraFov(Camera* camera);
/** Sets the near distance if it is at least 10 and not above Far; else ignored. */
SPAN3D_API void SetCameraNear(Camera* camera, float nearDistance);
/** Near distance, model units. */
SPAN3D_API float GetCameraNear(Camera* camera);
/** Sets the far distance unless it is below Near; returns the camera. */
SPAN3D_API Camera* SetCameraFar(Camera* camera, float farDistance);
/** Far distance, model units. */
SPAN3D_API float GetCameraFar(Camera* camera);
/** Computes Focale, in pixels, for @p viewport: CentreX / tan(Fov / 2), the horizontal angle on an exact 4:3 viewport, scaled by height / width (the vertical angle) on any other shape. */
SPAN3D_API void AdjustCameraFocale(Viewport* viewport, Camera* camera);

/* ======================================================================
 * Meshes
 *
 * A growable mesh (CreateMesh(0, 0, c)) takes vertices and triangles one
 * at a time and becomes drawable through ValidateMesh. A fixed mesh (both
 * counts positive) holds its arrays in its own block and is filled by
 * index. Coordinates are model units; colours 0xRRGGBB.
 * ====================================================================== */

/** Allocates a mesh (owned by the caller; DeleteMesh frees it): growable for two counts of 0, fixed for two positive counts, null otherwise or when memory runs out. @p colour (0xRRGGBB) becomes the DefaultMaterial's diffuse colour. */
SPAN3D_API Mesh* CreateMesh(int32_t vertexCount, int32_t polygonCount, uint32_t colour);
/** Makes a mesh drawable: normals, bounds box, active bit, Form 1. Returns the mesh to use from now on (a new one for a growable mesh, whose old pointer is then invalid), or null: a degenerate polygon leaves the old mesh valid; an empty growable mesh or lack of memory deletes it. */
SPAN3D_API Mesh* ValidateMesh(Mesh* mesh);
/** Frees a mesh with its bounds box, normals and sort block (not the separate arrays of a growable mesh never validated, nor VertexInfluences), whatever its TvObject. */
SPAN3D_API void DeleteMesh(Mesh* mesh);
/** Appends a vertex to a growable mesh: 1, or 0 for a fixed mesh (or no memory). */
SPAN3D_API int32_t AddMeshVertex(Mesh* mesh, float x, float y, float z);
/** Sets the model position of vertex @p index: 1, or 0 for a negative index or one above VertexCount. An index equal to VertexCount passes and writes behind the last vertex: do not use it. */
SPAN3D_API int32_t SetMeshVertex(Mesh* mesh, int32_t index, float x, float y, float z);
/** Appends a triangle slot to a growable mesh and fills it as SetMeshTriPolygon (a refused triangle leaves its zeroed slot); 0 for a fixed mesh. */
SPAN3D_API int32_t AddMeshTriPolygon(Mesh* mesh, int32_t a, int32_t b, int32_t c, uint32_t colour, int32_t group);
/** Fills triangle @p index with corners stored as c, b, a, the DefaultMaterial on both sides, all edges on, smoothing group @p group (0..31; 32 and above dropped). @p colour is ignored. 1, or 0 for a bad index or corners. */
SPAN3D_API int32_t SetMeshTriPolygon(Mesh* mesh, int32_t index, int32_t a, int32_t b, int32_t c, uint32_t colour, int32_t group);
/** Fills slots @p index and @p index + 1 with the quad a, b, c, d split along b-d: corners (d, b, a) and (d, c, b), the diagonal's edge off in both. 1, or 0 for bad slots or corners. */
SPAN3D_API int32_t SetMeshQuadPolygon(Mesh* mesh, int32_t index, int32_t a, int32_t b, int32_t c, int32_t d, uint32_t colour, int32_t group);
/** Sets the texture coordinates of triangle @p index for its corners a, b, c as given to SetMeshTriPolygon, and lets all stages through. An index equal to PolygonCount passes and writes behind the last polygon: do not use it. */
SPAN3D_API void SetMeshTriTexCoords(Mesh* mesh, int32_t index, float ua, float va, float ub, float vb, float uc, float vc);
/** Sets the texture coordinates of the quad in slots @p index and @p index + 1 for its corners a, b, c, d, and lets all stages through. */
SPAN3D_API void SetMeshQuadTexCoords(Mesh* mesh, int32_t index, float ua, float va, float ub, float vb, float uc, float vc, float ud, float vd);
/** Textures the mesh's DefaultMaterial from @p texture (borrowed): slot 1 (opacity) for a non-zero @p which, else slot 0 (diffuse), as the only stage; live mode 2, always pitch addressing. Returns the slot written. */
SPAN3D_API TextureSlot* SetTexture(Mesh* mesh, Texture* texture, uint32_t which);
/** Builds the axis-aligned box of @p mesh's model vertices as a new wire mesh of 8 vertices and 12 polygons (RenderFlags 0x300021), to be owned by the mesh as its BoundsMesh. Null when memory runs out. */
SPAN3D_API Mesh* CreateAABB(Mesh* mesh);

/* ======================================================================
 * Viewports
 * ====================================================================== */

/** Creates a drawing target, disabled and without camera; null on failure. ownPixels 1: owns a new
 *  width*height*8-byte buffer, logical size 2*width x 2*height, pitch and scissor width x height,
 *  target ignored. Otherwise: views target's pixels (borrowed, pitch PitchBytes/2) at width x height;
 *  a null target gives null. depthState 1 also makes a depth buffer (a failure there is not reported). */
SPAN3D_API Viewport* CreateViewport(Texture* target, int32_t width, int32_t height, int32_t depthState,
                                   int32_t ownPixels);

/** Frees the viewport, its depth buffer and, if it owns them, its pixels (a texture's are left).
 *  Meshes and scenes that point at it are not told. Null is ignored. */
SPAN3D_API void DeleteViewport(Viewport* viewport);

/** Sets the host's type (1..3, low two bits) and or's every other bit of type into ViewportWord;
 *  pass bit 31 to enable drawing. A type with low bits 0 changes nothing. */
SPAN3D_API void SetViewportType(Viewport* viewport, uint32_t type);

/** The host's type: ViewportWord & 3 (0 before SetViewportType; 0 for null). */
SPAN3D_API uint32_t GetViewportType(const Viewport* viewport);

/** Stores the camera that DrawMesh uses (borrowed; null allowed). */
SPAN3D_API void SetViewportCamera(Viewport* viewport, Camera* camera);

/** The viewport's borrowed camera, or null. */
SPAN3D_API Camera* GetViewportCamera(const Viewport* viewport);

/** Stores the material that DrawViewportPostFX paints (borrowed; null turns the effect off). */
SPAN3D_API void SetViewportMaterial(Viewport* viewport, Material* material);

/** Sets the clip rectangle in pixels (max exclusive). maxX above Width or maxY above Height changes
 *  nothing; negatives become 0, a min above the size becomes the size; min > max is kept. */
SPAN3D_API void SetViewportScissor(Viewport* viewport, float minX, float maxX, float minY, float maxY);

/** Copies minX, maxX, minY, maxY of the scissor into rect[0..3]; returns rect. */
SPAN3D_API float* GetViewportScissor(const Viewport* viewport, float* rect);

/** state 1: makes the depth buffer (Width*Height words, owned, scissored rows cleared to 0) unless
 *  one exists; returns 1, or 0 if it cannot be allocated. Other states free it and return 0.
 *  The rasterizers address depth rows with PixelPitch: depth-test only views whose texture pitch
 *  equals their width (or own-buffer viewports), or the bottom rows run past the block. */
SPAN3D_API int32_t SetViewportDepthState(Viewport* viewport, int32_t state);

/** Fills the scissored rows of the depth buffer with value, rows Width words long (not the pitch);
 *  call before each depth-tested frame. Without a depth buffer it does nothing. */
SPAN3D_API void ClearViewportDepthBuffer(Viewport* viewport, uint32_t value);

/* ======================================================================
 * Mesh attributes
 *
 * Plain accessors read or write one field of one mesh and check none of
 * their arguments. The render-state setters (render, cull and shade mode,
 * hide, show) act on the mesh and then on every node below it, passing
 * through cameras, lights and targets to the meshes under them; a null
 * mesh is ignored by them. "Mesh" there means Kind 1 or 2 (ShowMesh: 1).
 * ====================================================================== */

/** Render mode and stage bits of the mesh's word: RenderFlags AND 0x7f00000. */
SPAN3D_API uint32_t GetMeshRenderMode(Mesh* mesh);
/** Cull bits of the mesh's word (0x08 both, 0x10 back only, 0x20 front only): RenderFlags AND 0x38. */
SPAN3D_API uint32_t GetMeshCullMode(Mesh* mesh);
/** Shade bits of the mesh's word (1 none, 3 flat, 7 Gouraud): RenderFlags AND 7. */
SPAN3D_API uint32_t GetMeshShadeMode(Mesh* mesh);
/** 0x4000 if the mesh is hidden, else 0. */
SPAN3D_API uint32_t IsHiddenMesh(Mesh* mesh);
/** Sets the active bit 0x8000 so the mesh may be drawn and put in a scene (a generator's mesh needs it); returns the mesh. */
SPAN3D_API Mesh* ActivateMesh(Mesh* mesh);
/** Sets the smoothing group (0..31) of polygon @p polygon; an index out of range or another group does nothing. Normals are not rebuilt. */
SPAN3D_API void SetMeshFaceSmoothG(Mesh* mesh, int32_t polygon, int32_t group);
/** Smoothing group 0..31 of polygon @p polygon, or 0 for an index out of range. */
SPAN3D_API int32_t GetMeshFaceSmoothG(Mesh* mesh, int32_t polygon);
/** Sets the viewport DrawMesh draws this mesh into (borrowed; null allowed); children are not changed. */
SPAN3D_API void SetMeshViewport(Mesh* mesh, Viewport* viewport);
/** The mesh's borrowed viewport, or null. */
SPAN3D_API Viewport* GetMeshViewport(Mesh* mesh);
/** The mesh's 64-slot light list (ended by its first null), or null when it holds no light or the mesh is growable. */
SPAN3D_API Light** GetMeshLightList(Mesh* mesh);
/** Sets the rotation of ModelMatrix from Euler angles in degrees; the position stays. */
SPAN3D_API void SetMeshModelOrientation(Mesh* mesh, float rx, float ry, float rz);
/** Sets the position (translation column) of ModelMatrix, model units; the rotation stays. */
SPAN3D_API void SetMeshModelPosition(Mesh* mesh, float x, float y, float z);
/** Position of ModelMatrix, in one static block that the next call overwrites: copy it out. */
SPAN3D_API Vector3* GetMeshModelPosition(Mesh* mesh);
/** Sets the pivot, model units, subtracted from light and camera positions in model space. */
SPAN3D_API void SetMeshPivot(Mesh* mesh, float x, float y, float z);
/** Pointer to the mesh's Pivot field itself (writable). */
SPAN3D_API Vector3* GetMeshPivot(Mesh* mesh);
/** Stores the host's word; non-zero keeps a scene from freeing the mesh. */
SPAN3D_API void SetMeshTvObject(Mesh* mesh, uint32_t value);
/** The host's word. */
SPAN3D_API uint32_t GetMeshTvObject(Mesh* mesh);
/** Pointer to the mesh's embedded DefaultMaterial. */
SPAN3D_API Material* GetMeshDefaultMaterial(Mesh* mesh);
/** Copies @p name into Name with no bound (32 bytes fit); returns the end of the copy, null if either pointer is null. */
SPAN3D_API char* SetMeshName(Mesh* mesh, const char* name);
/** Replaces the low 5 bits of BillboardMode (1, 4, 8 or 16 pick a billboard transform) with those of @p mode; upper bits stay. */
SPAN3D_API void SetMeshBillboardMode(Mesh* mesh, uint32_t mode);
/** Mesh word: exactly 0x100000, 0x300000 or 0x700000 (0x40 aside) lowers the mode and clears the stages; else any stage bit opens all 0x7f00000. BlendBit follows @p mode; the DefaultMaterial takes SetMaterialRenderMode. Whole tree. */
SPAN3D_API void SetMeshRenderMode(Mesh* mesh, int32_t mode);
/** Replaces the cull bits with @p mode AND 0x38 on validated ordinary meshes (Form 1) only; the DefaultMaterial is not changed. Whole tree. */
SPAN3D_API void SetMeshCullMode(Mesh* mesh, int32_t mode);
/** Replaces the shade bits with @p mode AND 7 (0 included) and passes it to SetMaterialShadeMode of the DefaultMaterial (which ignores 0). Whole tree. */
SPAN3D_API void SetMeshShadeMode(Mesh* mesh, int32_t mode);
/** Sets the hidden bit 0x4000 on every mesh (Kind 1 or 2) of the tree. */
SPAN3D_API void HideMesh(Mesh* mesh);
/** Clears the hidden bit on every Kind 1 mesh of the tree; a Kind 2 mesh stays hidden. */
SPAN3D_API void ShowMesh(Mesh* mesh);

/* ======================================================================
 * Hierarchy
 *
 * Meshes, cameras, lights and the target nodes of the last two hang below a
 * node and follow its transform. A target node is passed as the address of
 * the TargetNode inside its object. The draw list of a mesh tree belongs to
 * its top (or to the scene that holds the top) and has one slot per polygon
 * of the whole tree; attaching and detaching re-size it. Call between frames.
 * ====================================================================== */

/** Hangs @p child (detached first from any parent) at the end of @p parent's children; returns 1. A mesh below a mesh leaves its scene (keeping its lights) and gives its sort block up to the top of the tree or the top's scene. The walk up the tree treats every node above as a mesh: do not give mesh children to a mesh that hangs below a camera or light, and never attach a node below itself. */
SPAN3D_API int32_t AttachChildToNode(Node* parent, Node* child);
/** Takes @p child from @p parent's children: 0 if it is not there, else 1. A mesh leaving a mesh becomes a top with a sort block of its own, and the old tree's block shrinks. */
SPAN3D_API int32_t DetachChildFromNode(Node* parent, Node* child);

/* ======================================================================
 * Lights
 *
 * Light colours are 0..1 in the record; SetLightColor and GetLightColor work
 * on 0..255. A light shines on a mesh only while it stands in the mesh's
 * LightList (64 slots). Meshes borrow lights: deleting one tells only the
 * meshes of the scene that holds it.
 * ====================================================================== */

/** Allocates an omni light (owned by the caller; DeleteLight frees it) at @p position with @p colour (r, g, b, a on 0..1, as given), intensity, attenuation distances and State = @p status | 2; named "OmniNN". Null on failure. */
SPAN3D_API Light* CreateOmniLight(Vector3* position, float colour[4], float intensity, float nearDistance, float farDistance, uint32_t status);
/** Allocates a direct light at @p position aiming at @p target with @p colour (0..1, as given), intensity and State = @p status | 4; no attenuation; named "DirectNN". Null on failure. */
SPAN3D_API Light* CreateDirectLight(Vector3* position, Vector3* target, float colour[4], float intensity, uint32_t status);
/** Takes the light out of the first scene that holds it (and off that scene's meshes), detaches it and its target node from their parents, and frees it. Detach its own children first. */
SPAN3D_API void DeleteLight(Light* light);
/** Sets Position (@p which 0) or Target (any other which), model units; returns the light. Same body as SetCameraPosition. */
SPAN3D_API Light* SetLightPosition(Light* light, Vector3* value, int32_t which);
/** Position (@p which 0) or Target, in one static Vector3 that the next call overwrites. */
SPAN3D_API Vector3* GetLightPosition(Light* light, int32_t which);
/** Sets red, green, blue given on 0..255 as 0..1 (clamped) and alpha to 0. */
SPAN3D_API void SetLightColor(Light* light, float red, float green, float blue);
/** Red, green, blue, alpha on 0..255, in four static floats that the next call overwrites. */
SPAN3D_API float* GetLightColor(Light* light);
/** Sets the intensity, unchecked; returns the light. */
SPAN3D_API Light* SetLightIntensity(Light* light, float intensity);
/** Intensity. */
SPAN3D_API float GetLightIntensity(Light* light);
/** Sets the near and far attenuation distances (model units), unchecked; returns the light. */
SPAN3D_API Light* SetLightAttenuation(Light* light, float nearDistance, float farDistance);
/** Near attenuation distance, model units. */
SPAN3D_API float GetLightNearAttenuation(Light* light);
/** Far attenuation distance, model units. */
SPAN3D_API float GetLightFarAttenuation(Light* light);
/** @p on non-zero switches the light on (State bit 31), @p attenuate non-zero turns attenuation on (bit 0); zero clears each. */
SPAN3D_API void SetLightStatus(Light* light, int32_t on, int32_t attenuate);
/** Copies @p name into Name with no bound (32 bytes fit); returns the end of the copy, null if either pointer is null. */
SPAN3D_API char* SetLightName(Light* light, const char* name);
/** Adds the light to the LightList of @p mesh (Kind 1) and of every Kind 1 mesh below it, once each; a full list drops it. A mesh in a scene also puts the light in that scene's list. Returns 0. */
SPAN3D_API int32_t AssignLightToMesh(Light* light, Mesh* mesh);
/** Takes the light from the LightList of @p mesh and of every mesh below it, moving the later lights down. Slot 63 is never rewritten: a light there stays, and removing from a full list leaves the last light in slots 62 and 63. Returns 0. */
SPAN3D_API int32_t RemoveLightFromMesh(Light* light, Mesh* mesh);

/* ======================================================================
 * Scenes
 *
 * A scene lists meshes (tops of hierarchies), cameras, lights, materials and
 * skeletons in order of assignment, owns one sort block with a slot for
 * every polygon of its meshes' trees, and borrows a viewport. Each object
 * stands in one list of its type at most. The engine keeps every scene in
 * its scene list, which the deletes of meshes, cameras and lights search.
 * ====================================================================== */

/** Allocates an empty scene (owned by the caller; DeleteScene or DeleteWholeScene frees it), no active camera, not ready; appends it to the engine's scene list. Null on failure. */
SPAN3D_API Scene* CreateScene(void);
/** Frees the scene's meshes (unless TvObject), lights, materials and cameras (unless KeepWord), in that order, then the scene. Kept members stay alive outside any scene; skeletons and the viewport are left alone. */
SPAN3D_API void DeleteScene(Scene* scene);
/** Frees the scene's materials, cameras, meshes and lights, in that order, whatever their keep words, then the scene. Skeletons and the viewport are left alone. */
SPAN3D_API void DeleteWholeScene(Scene* scene);
/** Adds an active mesh (0x8000) that is in no scene, with its tree, to the scene; the scene's block takes its slots. Bit 0 of @p withLights also gives it every light of the scene. Returns the mesh, or null. Assign only tops of hierarchies. */
SPAN3D_API Mesh* AssignMeshToScene(Scene* scene, Mesh* mesh, uint8_t withLights);
/** Takes the mesh out of this scene and gives it a sort block of its own; bit 0 of @p withLights also takes the scene's lights off its tree. 1, or 0 if the mesh is not in this scene. */
SPAN3D_API int32_t RemoveMeshFromScene(Scene* scene, Mesh* mesh, uint8_t withLights);
/** Appends the camera; the first camera of an empty list becomes active. 0 if any scene holds it already, else 1. */
SPAN3D_API int32_t AssignCameraToScene(Scene* scene, Camera* camera);
/** Takes the camera out: the active camera stays active, and if it is the one removed its successor (or else its predecessor) takes over. Removing the tail of a longer list empties the list: the cameras before it are no longer reached. 1, or 0 if absent. */
SPAN3D_API int32_t RemoveCameraFromScene(Scene* scene, Camera* camera);
/** Takes the camera out of every scene that holds it (active index -1 where it was active, otherwise unchanged); returns the number of scenes, 0 or 1. */
SPAN3D_API int32_t RemoveCameraFromAllScenes(Camera* camera);
/** Appends the light unless this scene holds it; bit 0 of @p toMeshes also adds it to every mesh of the scene. 1, or 0 if present. A light stands in one scene at a time: do not assign it to a second. */
SPAN3D_API int32_t AssignLightToScene(Scene* scene, Light* light, uint8_t toMeshes);
/** Takes the light out of the scene and off all the scene's meshes. 1, or 0 if absent. */
SPAN3D_API int32_t RemoveLightFromScene(Scene* scene, Light* light);
/** Appends the material with no test at all (do not assign one that a list holds); returns 1. */
SPAN3D_API int32_t AssignMaterialToScene(Scene* scene, Material* material);
/** Takes the material out of the scene. 1, or 0 if absent. */
SPAN3D_API int32_t RemoveMaterialFromScene(Scene* scene, Material* material);
/** Appends the skeleton (borrowed). 0 if any scene holds it already, else 1. */
SPAN3D_API int32_t AssignSkeletonToScene(Scene* scene, Skeleton* skeleton);
/** Takes the skeleton out; removing the tail of a longer list empties the list, as for cameras. 1, or 0 if absent. */
SPAN3D_API int32_t RemoveSkeletonFromScene(Scene* scene, Skeleton* skeleton);
/** Makes @p camera active if this scene lists it; null makes no camera active; any other camera changes nothing. */
SPAN3D_API void SetActivedSceneCamera(Scene* scene, Camera* camera);
/** The active camera (borrowed), or null: no active camera, an index the list does not reach, or a null scene. */
SPAN3D_API Camera* GetActivedSceneCamera(Scene* scene);
/** Moves the active index to the next camera, back to 0 after the last (from none: the head's successor's index, 0). Returns the camera that was active (the head when none was); null for an empty list, which it leaves as it is. */
SPAN3D_API Camera* SwitchActivedSceneCamera(Scene* scene);
/** Sets the viewport (borrowed; null clears it). A scene without an active camera adopts the viewport's camera, appending it if no scene holds it. */
SPAN3D_API void SetSceneViewport(Scene* scene, Viewport* viewport);
/** The scene's viewport (borrowed), or null. */
SPAN3D_API Viewport* GetSceneViewport(Scene* scene);
/** Number of meshes in the list, counted by walking it. */
SPAN3D_API int32_t GetSceneNumberOfMeshes(Scene* scene);
/** Number of cameras that the list reaches, counted by walking it. */
SPAN3D_API int32_t GetSceneNumberOfCameras(Scene* scene);
/** Number of lights in the list, counted by walking it. */
SPAN3D_API int32_t GetSceneNumberOfLights(Scene* scene);
/** Meshes that the last DrawScene drew; 0 before the first. */
SPAN3D_API int32_t GetSceneNumberOfVisibleMeshes(Scene* scene);
/** The mesh at @p index in the scene's list (borrowed), or null for a negative index or one past the end. */
SPAN3D_API Mesh* SearchMeshByIndex(Scene* scene, int32_t index);
/** The camera at @p index in the scene's list, or null. */
SPAN3D_API Camera* SearchCameraByIndex(Scene* scene, int32_t index);
/** The light at @p index in the scene's list, or null. */
SPAN3D_API Light* SearchLightByIndex(Scene* scene, int32_t index);
/** The material at @p index in the scene's list, or null. */
SPAN3D_API Material* SearchMaterialByIndex(Scene* scene, int32_t index);
/** The first listed mesh whose Name equals @p name, or null; an empty Name never matches. */
SPAN3D_API Mesh* SearchMeshByName(Scene* scene, const char* name);
/** The first listed camera whose Name equals @p name, or null; an empty Name never matches. */
SPAN3D_API Camera* SearchCameraByName(Scene* scene, const char* name);
/** The first listed light whose Name equals @p name, or null; an empty Name never matches. */
SPAN3D_API Light* SearchLightByName(Scene* scene, const char* name);
/** The first listed material whose Name equals @p name, or null; an empty Name never matches. */
SPAN3D_API Material* SearchMaterialByName(Scene* scene, const char* name);
/** The first listed skeleton whose root bone is named @p name, or null; skeletons without bone names are passed over. */
SPAN3D_API Skeleton* SearchSkeletonByName(Scene* scene, const char* name);

/* @@EXPORTS-OBJECTS@@ */

/* ======================================================================
 * Radix sort
 *
 * One least-significant-byte radix sort over an index array; the keyed items
 * never move. Entry 0 of the index array ends up naming the smallest key, and
 * equal keys keep the order they had in the array given. The scratch buffer
 * and tables are module-wide: one sort at a time, one thread.
 * ====================================================================== */

/** Frees the sort's scratch buffer, if any, and forgets its size; InitEngine3D calls it. */
SPAN3D_API void InitRadixSort(void);

/** Frees the sort's scratch buffer, if any, and forgets its size; ReleaseEngine3D calls it. */
SPAN3D_API void ReleaseRadixSort(void);

/** Grows the scratch to @p count entries and fills @p indices with 0..count-1; returns count, 0 when count is 0. */
SPAN3D_API uint32_t ResetRadixSort(uint32_t count, uint32_t* indices);

/** Refines @p indices into ascending order of @p count 4-byte values at @p values; isSigned 1 only for data with no negatives. */
SPAN3D_API void RadixLongSorter(uint32_t count, const uint8_t* values, uint32_t* indices, uint32_t isSigned);

/** Refines @p indices into ascending numeric order of @p count floats, -0.0 just below +0.0. */
SPAN3D_API void RadixFloatSorter(uint32_t count, const float* values, uint32_t* indices);

/* ======================================================================
 * Normals
 * ====================================================================== */

/** Computes Normal and PlaneD of every polygon of @p mesh from its vertices' model positions. */
SPAN3D_API void CalcMeshPolygonsNormal(Mesh* mesh);

/** Computes Normal and PlaneD of one @p polygon of @p mesh; a degenerate triangle gets a non-finite normal. */
SPAN3D_API void CalcMeshPolygonNormal(Mesh* mesh, MeshPolygon* polygon);

/** Rebuilds VertexNormals, VertexNormalCount and every NormalIndex, sharing normals within smoothing groups; needs the polygon normals. */
SPAN3D_API void CalcMeshVerticesNormal(Mesh* mesh);

/* ======================================================================
 * Primitive generators
 *
 * Each returns a new fixed mesh, owned by the caller (DeleteMesh frees it),
 * or null for a bad argument or when memory runs out; a failure leaves
 * nothing behind and uses no default-name number. Lengths are model units;
 * @p scale multiplies the final x, y, z of every vertex (not checked for
 * null). @p material is handed to CreateMesh as its colour argument, as the
 * low 32 bits of the pointer (bits 0-23 become the DefaultMaterial's diffuse
 * 0xRRGGBB); the polygons use the mesh's DefaultMaterial. A generated mesh
 * has its normals, its bounds box, the next default name of its family and
 * Form 1 (3 for a billboard), but not the active bit: ActivateMesh makes it
 * drawable.
 * ====================================================================== */

/** Square of side @p size (> 0) in the plane z = 0, facing -z, one quad with the unit square of coordinates; Form 3, named "BillboardNN". */
SPAN3D_API Mesh* BillboardCreate(float size, Vector3* scale, Material* material);
/** Cube of side @p size (> 0) centred on the origin: 8 vertices, 6 quads each in its own smoothing group 0..5 and with the unit square of coordinates; named "CubeNN". */
SPAN3D_API Mesh* CubeCreate(float size, Vector3* scale, Material* material);
/** Square of side @p size (> 0) in the plane z = 0 cut into @p rows (>= 1) by @p columns (>= 1) cells, each a quad whose wire edges show the cell; named "GridNN". */
SPAN3D_API Mesh* GridCreate(float size, Vector3* scale, int32_t rows, int32_t columns, Material* material);
/** Disk of @p radius (> 0) in the plane z = 0, a fan of @p segments (>= 4) wedges around the centre whose wire edges show the rim; named "DiskNN". */
SPAN3D_API Mesh* DiskCreate(float radius, Vector3* scale, int32_t segments, Material* material);
/** Flat annulus between @p innerRadius (> 0) and @p outerRadius (> innerRadius) in the plane z = 0, @p segments (>= 4) quads; named "RingNN". */
SPAN3D_API Mesh* RingCreate(float outerRadius, float innerRadius, Vector3* scale, int32_t segments, Material* material);
/** Sphere of @p radius (> 0) around the y axis, @p stacks (>= 4) bands of latitude by @p slices (>= 4): (stacks - 1) * slices + 2 vertices and 2 * (stacks - 1) * slices triangles; named "SphereNN". */
SPAN3D_API Mesh* SphereCreate(float radius, Vector3* scale, int32_t stacks, int32_t slices, Material* material);
/** Upper half sphere of @p radius (> 0), @p stacks (>= 4) by @p slices (>= 4); @p open 0 closes it with a shallow cone to the origin (smoothing group 1), any other value leaves it open; named "HSphereNN". */
SPAN3D_API Mesh* HemisphereCreate(float radius, Vector3* scale, int32_t stacks, int32_t slices, Material* material, int32_t open);
/** Closed cylinder of @p height (unchecked; negative turns it over) along y around the origin with radii @p bottomRadius and @p topRadius (both >= 0, not both 0; one of 0 makes a cone) and @p segments (>= 4) sides; named "CylinderNN". */
SPAN3D_API Mesh* CylinderCreate(float bottomRadius, float topRadius, float height, Vector3* scale, int32_t segments, Material* material);
/** Thick-walled pipe of @p height (> 0) along y with radii @p innerRadius and @p outerRadius (both >= 0, not both 0) and @p segments (>= 4): top and bottom annulus, inner and outer wall; named "TubeNN". Its faces are wound to be seen from inside the wall: with front faces only it shows its far side, so draw it with both sides. */
SPAN3D_API Mesh* TubeCreate(float innerRadius, float outerRadius, float height, Vector3* scale, int32_t segments, Material* material);
/** Torus around the y axis with ring radius @p majorRadius (> 0) and tube radius @p minorRadius (> 0), @p tubeSegments (>= 4) around the tube and @p ringSegments (>= 4) around the ring, no duplicate vertices; named "TorusNN". */
SPAN3D_API Mesh* TorusCreate(float majorRadius, float minorRadius, Vector3* scale, int32_t tubeSegments, int32_t ringSegments, Material* material);
/** Cube of side @p size (> 0) with edges and corners rounded by @p chamfer (> 0, size - 2 * chamfer > 0) in @p steps (>= 1) subdivisions of 90 degrees; takes the next "CubeNN" name of the cube series. */
SPAN3D_API Mesh* ChCubeCreate(float size, float chamfer, Vector3* scale, int32_t steps, Material* material);

/* ======================================================================
 * Aiming
 * ====================================================================== */

/** Writes into @p out a matrix that aims an object: row 2 of the rotation is the unit vector from
 *  @p target to @p position (the opposite sense of a camera's view axis), row 0 is horizontal
 *  (y of 0), translation @p position, no roll. Straight up or down it is a quarter turn about x.
 *  Position equal to target fills the rotation with not-a-numbers. */
SPAN3D_API void CreateLookAtMatrix(const Vector3* position, const Vector3* target, Matrix34* out);

/* ======================================================================
 * Drawing
 *
 * One call draws one frame into a viewport whose ViewportWord has
 * SPAN3D_VIEWPORT_ENABLED. With SPAN3D_VIEWPORT_DEPTH set (Z-buffer mode)
 * opaque polygons are drawn unsorted with the depth test and blended ones
 * after them, back to front, still depth-tested; without
 * it (sorted mode) every polygon is drawn back to front by the sum of its
 * corners' depths, with no depth test. Neither call clears anything: clear
 * the pixels and, in Z-buffer mode, call ClearViewportDepthBuffer(viewport, 0)
 * before each frame. Calls are not re-entrant; change hierarchies and scenes
 * between frames only.
 * ====================================================================== */

/** Draws the scene through its viewport with its active camera. Draws nothing unless the scene is
 *  ready (a mesh assigned), has meshes, cameras, a viewport with SPAN3D_VIEWPORT_ENABLED and an
 *  active camera. Recounts VisibleMeshes (top-level leaf meshes walked, that is not hidden nor boxed out). Meshes that are hidden
 *  or whose box lies wholly outside the view are skipped, but the children of a hidden parent
 *  are drawn. Opaque polygons of equal depth: the one emitted last wins. */
SPAN3D_API void DrawScene(Scene* scene);

/** Draws an active mesh and its mesh children into the mesh's viewport (SetMeshViewport) with
 *  that viewport's camera (SetViewportCamera). Draws nothing for an inactive or hidden mesh (its
 *  children included) or without an enabled viewport and camera. Stores the number of polygons
 *  filed in DrawItemCount, unless it is 0. Use it only on a mesh that holds its own draw list:
 *  not on a mesh in a scene, nor on a mesh below another mesh. Opaque polygons of equal depth:
 *  the one emitted first wins. */
SPAN3D_API void DrawMesh(Mesh* mesh);

/* @@EXPORTS-PIPELINE@@ */

/* ======================================================================
 * Rasterizers
 *
 * Triangle functions draw one screen-space triangle into the target that the
 * frame driver set: vertices are RasterVertex records indexed by the
 * polygon's Corner words, already inside the target (no clipping here).
 * Polygon Flags bit 7 picks the back material and the corner order; corners
 * in that order must run clockwise on the screen (y down), else nothing is
 * drawn. The material's AlphaMode picks opaque, additive, blend or
 * subtractive pixels.
 * ====================================================================== */

/** Fills a triangle with the Pixel15 in the low half of CornerColour[0]; no depth test. */
SPAN3D_API void FlatSolidTriangle(MeshPolygon* polygon, RasterVertex* vertices);
/** As FlatSolidTriangle, but only where 1/z beats the depth buffer; opaque fills also write depth. */
SPAN3D_API void FlatSolidTriangleZ(MeshPolygon* polygon, RasterVertex* vertices);

/** Fills a triangle with the corner colours (CornerColour: 8-bit red 16-23, green 8-15, blue 0-7)
 *  interpolated linearly and dithered to 5 bits a channel by an ordered 4x4 pattern that moves
 *  with each span's right end; no depth test. */
SPAN3D_API void GouraudSolidTriangle(MeshPolygon* polygon, RasterVertex* vertices);
/** As GouraudSolidTriangle, but only where 1/z beats the depth buffer (opaque fills also write
 *  depth), with the dither pattern fixed to the screen. */
SPAN3D_API void GouraudSolidTriangleZ(MeshPolygon* polygon, RasterVertex* vertices);

/* ======================================================================
 * Full-screen filters
 *
 * In-place blurs of any Pixel15 image whose row pitch equals its width; no
 * viewport is involved. Each pixel takes its main weight from the row below,
 * so repeated calls blur the picture and let it drift upward. The two
 * filters differ and do not give the same picture. A buffer smaller than a
 * filter needs is left as it is.
 * ====================================================================== */

/** Blurs width x height pixels (both at least 3): 1/2 the pixel below, 1/4 each the pixels two
 *  below and below right. The first and last column and the last two rows are kept. */
SPAN3D_API void FSBlur(uint16_t* pixels, uint32_t width, uint32_t height);
/** Blurs two pixels a 32-bit word: width even and at least 6, height at least 3, pixels 4-byte
 *  aligned. 1/2 the pixel below and 1/8 each its neighbours left and right, the old pixel and the
 *  one two rows below; keeps the low bit of each channel and bit 15 of the pixel below. The last
 *  row is halved at each call (black after five); the other edges are treated apart. */
SPAN3D_API void FSBlurFast(uint32_t* pixels, int32_t width, uint32_t height);

#ifdef __cplusplus
}
#endif

#endif /* SPAN3D_H */
