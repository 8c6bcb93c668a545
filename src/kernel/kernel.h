// Engine kernel: the vector, matrix, scalar, conversion, memory and text
// routines every other subsystem builds on, and the module-wide lifetime
// state. Internal to the library; nothing here is exported.
//
// Precision. Values are carried in double between operations and rounded to
// float only where a result is stored into a float (a Vector3, a Matrix34, a
// float out-parameter). Routines that hand back a scalar hand it back as a
// double; a caller that stores it into a float rounds at that point.
#pragma once

#include <stdint.h>

#if defined(__x86_64__)
#include <emmintrin.h>
#else
#include <math.h>
#endif

#include "span3d.h"

namespace span3d {

// ---------------------------------------------------------------- lifetime
// Module-wide state outside all objects (owned by kernel/lifetime.cpp).
struct EngineState {
    uint32_t EngineReady;      // 1 between InitEngine3D and ReleaseEngine3D
    Scene*   SceneListHead;    // every Scene from CreateScene, in order of creation
    Scene*   SceneListTail;
    uint32_t LoadInitDone;     // the load-time list has run
};
extern EngineState g_Engine;

// pi/180 and 180/pi, computed at load in single precision from pi rounded to
// a float. Nothing may read them before the library constructor has run.
extern float AngleToRadians;
extern float AngleToDegrees;

// Default-name families. Each has its own counter that starts at 0 at load
// and is never reset.
enum NameFamily : int32_t {
    kNameCamera, kNameOmni, kNameDirect, kNameMaterial, kNameBillboard,
    kNameCube, kNameSphere, kNameHSphere, kNameGrid, kNameCylinder,
    kNameTube, kNameTorus, kNameDisk, kNameRing, kNameFamilyCount
};
// Writes the next default name of a family into dest ("Camera00", ...,
// "Camera09", "Camera10", "Camera100") and advances its counter.
void MakeDefaultName(char* dest, NameFamily family);
// Current counter of a family (tests and generators that must not consume a
// number on failure read it).
int32_t NameCounter(NameFamily family);

// The one empty body behind RemoveVertexInfluence, UpdateMeshPolygonsNormal
// and the rasterizer table's do-nothing entry: a single address for all three.
void NoOpRasterizer(MeshPolygon* polygon, RasterVertex* vertices);

// ---------------------------------------------------------------- vectors
double VectorLength(const Vector3* v);
double VectorInverseLength(const Vector3* v);
void   VectorNormalize(Vector3* v);
int32_t VectorAllAbove(const Vector3* a, const Vector3* b);
double VectorDot(const Vector3* a, const Vector3* b);
void   VectorCross(const Vector3* a, const Vector3* b, Vector3* out);

// ---------------------------------------------------------------- matrices
void MatrixIdentity(Matrix34* m);
void MatrixTransformPoint(const Matrix34* m, Vector3* v);
void MatrixInverseTransformPoint(const Matrix34* m, Vector3* v);
void MatrixFromEuler(Matrix34* m, const Vector3* degrees);
void MatrixRotationX(Matrix34* m, float degrees);
void MatrixRotationY(Matrix34* m, float degrees);
void MatrixRotationZ(Matrix34* m, float degrees);
void MatrixInvertRigid(const Matrix34* in, Matrix34* out);
void MatrixMultiplyRotation(const Matrix34* a, const Matrix34* b, Matrix34* out);
void MatrixToCameraSpace(const Matrix34* world, const Matrix34* camera, Matrix34* out);
void MatrixFromQuaternion(const float q[4], Matrix34* m, int32_t rowOrder);

// ---------------------------------------------------------------- scalars
double ScalarSqrt(float x);
double ScalarInverseSqrt(float x);
double ScalarSin(float x);
double ScalarCos(float x);
double ScalarTan(float x);
double ScalarSinDegrees(float x);
double ScalarCosDegrees(float x);
double ScalarTanDegrees(float x);
double ScalarAtan2(float x, float y);
double ScalarAtan(float x);
double ScalarAsin(float x);
double ScalarAcos(float x);
double ScalarAtan2Degrees(float x, float y);
double ScalarAtanDegrees(float x);
double ScalarAsinDegrees(float x);
double ScalarAcosDegrees(float x);
double ScalarExp(float x);
double ScalarLog(float x);
double ScalarPow(float x, float y);
double ScalarHypot(float a, float b);
double ScalarAbs(float x);

// ---------------------------------------------------------------- conversions
// Round to nearest, ties to even, in one instruction (cvtsd2si); cheap enough
// to call per colour channel. Callers mostly use the low 32 bits. Rounds by
// the SSE unit's mode, which the engine never changes (nearest). A NaN or a
// value beyond the 64-bit range gives INT64_MIN, the processor's "integer
// indefinite".
inline int64_t FloatToInt(double x)
{
#if defined(__x86_64__)
    return _mm_cvtsd_si64(_mm_set_sd(x));
#else
    return llrint(x);
#endif
}

// Float to 32 bits, round to nearest, ties to even (cvtss2si); INT32_MIN for a
// NaN or a value out of range.
inline int32_t RoundToInt(float x)
{
#if defined(__x86_64__)
    return _mm_cvtss_si32(_mm_set_ss(x));
#else
    return static_cast<int32_t>(lrintf(x));
#endif
}

// Toward minus infinity and toward plus infinity (for negatives as well:
// CeilToInt(-1.5f) is -1). INT32_MIN for a NaN or a value out of range.
int32_t FloorToInt(float x);
int32_t CeilToInt(float x);

// ---------------------------------------------------------------- bound tests
// How the pipeline compares a value with a bound: subtract in single
// precision and judge the stored difference by its bit pattern. Below is a
// pattern above 0x80000000 (a negative non-zero difference), above is a
// pattern positive as a signed word; -0.0 is neither, so a value exactly on
// its bound is neither below nor above it. A NaN counts by its sign bit.
inline uint32_t FloatBits(float x) { return __builtin_bit_cast(uint32_t, x); }
inline bool IsBelowBound(float value, float bound)
{
    const float difference = value - bound;
    return FloatBits(difference) > 0x80000000u;
}
inline bool IsAboveBound(float value, float bound)
{
    const float difference = value - bound;
    return static_cast<int32_t>(FloatBits(difference)) > 0;
}

// ---------------------------------------------------------------- memory and text
void*    MemFill8(void* dest, uint32_t value, int32_t count);
void*    MemFill16(void* dest, uint32_t value, uint32_t bytes);
void*    MemFill32(void* dest, uint32_t value, uint32_t bytes);
void*    MemCopy(void* dest, const void* src, uint32_t count);
int32_t  MemCompare(const void* a, const void* b, uint32_t count);
int32_t  MemCompareNoCase(const void* a, const void* b, uint32_t count);
char*    TextCopy(char* dest, const char* src);
char*    TextCopyN(char* dest, const char* src, int32_t count);
int32_t  TextLength(const char* s);
int32_t  TextCompare(const char* a, const char* b);
int32_t  TextCompareNoCase(const char* a, const char* b);
char*    TextAppend(char* dest, const char* src);
char*    IntToText(int32_t value, char* buffer);
char*    UIntToText(uint32_t value, char* buffer);
uint32_t SwapWords(uint32_t* a, uint32_t* b);

}  // namespace span3d
