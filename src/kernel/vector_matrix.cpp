// Vector3 and Matrix34 routines.
//
// Every component is computed in double and rounded to float once, at the
// store. A component made of three products and a translation is summed as
// ((p1 + p2) + p3) + t, in that order; products of two floats are exact in
// double, so the only roundings are those of the sums and the final store.
// No routine checks its pointers or guards against a zero length.
#include <math.h>

#include "kernel/kernel.h"

namespace span3d {

namespace {

inline double Sum3(double p1, double p2, double p3) { return (p1 + p2) + p3; }

inline double SquaredLength(const Vector3* v)
{
    const double x = v->x, y = v->y, z = v->z;
    return Sum3(x * x, y * y, z * z);
}

inline float F(double x) { return static_cast<float>(x); }

}  // namespace

// ---------------------------------------------------------------- vectors

double VectorLength(const Vector3* v)
{
    return sqrt(SquaredLength(v));
}

double VectorInverseLength(const Vector3* v)
{
    return 1.0 / sqrt(SquaredLength(v));
}

void VectorNormalize(Vector3* v)
{
    const double k = 1.0 / sqrt(SquaredLength(v));
    v->x = F(v->x * k);
    v->y = F(v->y * k);
    v->z = F(v->z * k);
}

// The margin is the float nearest to 0.0001 (0x1.a36e2ep-14), compared with
// the exact difference; a difference of exactly the margin passes.
int32_t VectorAllAbove(const Vector3* a, const Vector3* b)
{
    const double margin = 0.0001f;
    return (double(b->x) - a->x >= margin) && (double(b->y) - a->y >= margin) &&
           (double(b->z) - a->z >= margin);
}

double VectorDot(const Vector3* a, const Vector3* b)
{
    return Sum3(double(a->x) * b->x, double(a->y) * b->y, double(a->z) * b->z);
}

void VectorCross(const Vector3* a, const Vector3* b, Vector3* out)
{
    const double ax = a->x, ay = a->y, az = a->z;
    const double bx = b->x, by = b->y, bz = b->z;
    out->x = F(ay * bz - az * by);
    out->y = F(az * bx - ax * bz);
    out->z = F(ax * by - ay * bx);
}

// ---------------------------------------------------------------- matrices

void MatrixIdentity(Matrix34* m)
{
    for (int i = 0; i < 12; ++i)
        m->m[i] = 0.0f;
    m->m[0] = 1.0f;
    m->m[5] = 1.0f;
    m->m[10] = 1.0f;
}

void MatrixTransformPoint(const Matrix34* m, Vector3* v)
{
    const float* r = m->m;
    const double x = v->x, y = v->y, z = v->z;
    v->x = F(Sum3(r[0] * x, r[1] * y, r[2] * z) + r[3]);
    v->y = F(Sum3(r[4] * x, r[5] * y, r[6] * z) + r[7]);
    v->z = F(Sum3(r[8] * x, r[9] * y, r[10] * z) + r[11]);
}

// Transposed rotation applied to (v - t): the inverse of a rigid transform,
// used to take world points into model space.
void MatrixInverseTransformPoint(const Matrix34* m, Vector3* v)
{
    const float* r = m->m;
    const double x = double(v->x) - r[3];
    const double y = double(v->y) - r[7];
    const double z = double(v->z) - r[11];
    v->x = F(Sum3(r[0] * x, r[4] * y, r[8] * z));
    v->y = F(Sum3(r[1] * x, r[5] * y, r[9] * z));
    v->z = F(Sum3(r[2] * x, r[6] * y, r[10] * z));
}

// Rz(az) * Ry(ay) * Rx(ax), angles in degrees. The translation column keeps
// its value, so an orientation can be set after a position.
void MatrixFromEuler(Matrix34* m, const Vector3* degrees)
{
    const double ax = double(degrees->x) * AngleToRadians;
    const double ay = double(degrees->y) * AngleToRadians;
    const double az = double(degrees->z) * AngleToRadians;
    const double sx = sin(ax), cx = cos(ax);
    const double sy = sin(ay), cy = cos(ay);
    const double sz = sin(az), cz = cos(az);
    float* r = m->m;
    r[0] = F(cy * cz);
    r[1] = F(sx * sy * cz - cx * sz);
    r[2] = F(cx * sy * cz + sx * sz);
    r[4] = F(cy * sz);
    r[5] = F(sx * sy * sz + cx * cz);
    r[6] = F(cx * sy * sz - sx * cz);
    r[8] = F(-sy);
    r[9] = F(sx * cy);
    r[10] = F(cx * cy);
}

// The single-axis rotations, degrees; all keep the translation column.
void MatrixRotationX(Matrix34* m, float degrees)
{
    const double a = double(degrees) * AngleToRadians;
    const double s = sin(a), c = cos(a);
    float* r = m->m;
    r[0] = 1.0f;
    r[1] = r[2] = r[4] = r[8] = 0.0f;
    r[5] = r[10] = F(c);
    r[9] = F(s);
    r[6] = F(-s);
}

void MatrixRotationY(Matrix34* m, float degrees)
{
    const double a = double(degrees) * AngleToRadians;
    const double s = sin(a), c = cos(a);
    float* r = m->m;
    r[5] = 1.0f;
    r[1] = r[4] = r[6] = r[9] = 0.0f;
    r[0] = r[10] = F(c);
    r[2] = F(s);
    r[8] = F(-s);
}

void MatrixRotationZ(Matrix34* m, float degrees)
{
    const double a = double(degrees) * AngleToRadians;
    const double s = sin(a), c = cos(a);
    float* r = m->m;
    r[10] = 1.0f;
    r[2] = r[6] = r[8] = r[9] = 0.0f;
    r[0] = r[5] = F(c);
    r[4] = F(s);
    r[1] = F(-s);
}

// Inverse of a rigid transform: transposed rotation, translation -(R^T t).
// in and out may be the same matrix: everything is read before it is written.
void MatrixInvertRigid(const Matrix34* in, Matrix34* out)
{
    const float* a = in->m;
    const float r0 = a[0], r1 = a[4], r2 = a[8];
    const float r4 = a[1], r5 = a[5], r6 = a[9];
    const float r8 = a[2], r9 = a[6], r10 = a[10];
    const double tx = a[3], ty = a[7], tz = a[11];
    float* o = out->m;
    o[0] = r0; o[1] = r1; o[2] = r2;
    o[4] = r4; o[5] = r5; o[6] = r6;
    o[8] = r8; o[9] = r9; o[10] = r10;
    o[3] = F(-Sum3(r0 * tx, r1 * ty, r2 * tz));
    o[7] = F(-Sum3(r4 * tx, r5 * ty, r6 * tz));
    o[11] = F(-Sum3(r8 * tx, r9 * ty, r10 * tz));
}

// out = b * a on the 3 by 3 part: applying out is applying a, then b. The
// translation column of out is left alone; out must be neither a nor b.
void MatrixMultiplyRotation(const Matrix34* a, const Matrix34* b, Matrix34* out)
{
    const float* A = a->m;
    const float* B = b->m;
    float* o = out->m;
    for (int i = 0; i < 3; ++i) {
        const double bi0 = B[4 * i], bi1 = B[4 * i + 1], bi2 = B[4 * i + 2];
        for (int j = 0; j < 3; ++j)
            o[4 * i + j] = F(Sum3(bi0 * A[j], bi1 * A[4 + j], bi2 * A[8 + j]));
    }
}

// The world matrix of an object seen from a camera whose matrix holds the
// world-to-camera rotation and the camera's position: rotation = camera *
// world, translation = camera rotation * (world position - camera position).
void MatrixToCameraSpace(const Matrix34* world, const Matrix34* camera, Matrix34* out)
{
    MatrixMultiplyRotation(world, camera, out);
    const float* c = camera->m;
    const float* w = world->m;
    const double dx = double(w[3]) - c[3];
    const double dy = double(w[7]) - c[7];
    const double dz = double(w[11]) - c[11];
    float* o = out->m;
    o[3] = F(Sum3(c[0] * dx, c[1] * dy, c[2] * dz));
    o[7] = F(Sum3(c[4] * dx, c[5] * dy, c[6] * dz));
    o[11] = F(Sum3(c[8] * dx, c[9] * dy, c[10] * dz));
}

// Rotation matrix of q = (x, y, z, w), not necessarily of unit length. Most
// of the products are rounded to float as they are made; xs, xx and xy are
// kept at full width, which decides the last bit of m[5], m[10] and the xy
// terms. rowOrder 1 gives the matrix that rotates points as the engine maps
// them (x' = m[0]x + m[1]y + m[2]z), anything else its transpose. The
// translation is cleared, unlike the Euler and single-axis routines.
void MatrixFromQuaternion(const float q[4], Matrix34* m, int32_t rowOrder)
{
    const float x = q[0], y = q[1], z = q[2], w = q[3];
    if (w == 1.0f && x == 0.0f && y == 0.0f && z == 0.0f) {
        MatrixIdentity(m);
        return;
    }
    const double n = ((double(z) * z + double(y) * y) + double(x) * x) + double(w) * w;
    // A zero quaternion takes s = 1: every product below is then 0 and the
    // rotation comes out as the identity.
    const double s = (n == 0.0) ? 1.0 : 2.0 / n;

    const double xs = s * x;
    const float ys = F(s * y);
    const float zs = F(s * z);
    const float wx = F(xs * w);
    const float wy = F(double(ys) * w);
    const float wz = F(double(zs) * w);
    const double xx = xs * x;
    const double xy = double(ys) * x;
    const float xz = F(double(zs) * x);
    const float yy = F(double(ys) * y);
    const float yz = F(double(zs) * y);
    const float zz = F(double(zs) * z);

    float* r = m->m;
    r[0] = F(1.0 - (double(zz) + double(yy)));
    r[5] = F(1.0 - (double(zz) + xx));
    r[10] = F(1.0 - (double(yy) + xx));
    if (rowOrder == 1) {
        r[1] = F(xy - wz);
        r[2] = F(double(xz) + wy);
        r[4] = F(xy + wz);
        r[6] = F(double(yz) - wx);
        r[8] = F(double(xz) - wy);
        r[9] = F(double(yz) + wx);
    } else {
        r[4] = F(xy - wz);
        r[8] = F(double(xz) + wy);
        r[1] = F(xy + wz);
        r[9] = F(double(yz) - wx);
        r[2] = F(double(xz) - wy);
        r[6] = F(double(yz) + wx);
    }
    r[3] = 0.0f;
    r[7] = 0.0f;
    r[11] = 0.0f;
}

}  // namespace span3d
