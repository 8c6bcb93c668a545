// Vector3 and Matrix34 routines.
#include <gtest/gtest.h>

#include <math.h>
#include <string.h>

#include "kernel/kernel.h"

namespace span3d {
namespace {

// 2^30 and 2^-30: a sum of the two needs 61 bits, so in double the small one
// vanishes unless the large ones cancel first. That makes the summation
// order visible.
constexpr float kBig = 1073741824.0f;
constexpr float kTiny = 1.0f / 1073741824.0f;

Matrix34 Filled(float v)
{
    Matrix34 m;
    for (float& e : m.m)
        e = v;
    return m;
}

// Rotation rows given by hand, translation t.
Matrix34 Make(const float (&r)[9], float tx, float ty, float tz)
{
    Matrix34 m = {{r[0], r[1], r[2], tx, r[3], r[4], r[5], ty, r[6], r[7], r[8], tz}};
    return m;
}

// Exact when tol is 0.
void ExpectPoint(const Vector3& p, float x, float y, float z, float tol = 0.0f)
{
    EXPECT_NEAR(p.x, x, tol);
    EXPECT_NEAR(p.y, y, tol);
    EXPECT_NEAR(p.z, z, tol);
}

void ExpectRotationNear(const Matrix34& got, const Matrix34& want, float tol, const char* what)
{
    for (int i : {0, 1, 2, 4, 5, 6, 8, 9, 10})
        EXPECT_NEAR(got.m[i], want.m[i], tol) << what << " m[" << i << "]";
}

// ---------------------------------------------------------------- vectors

TEST(Vectors, AllAboveNeedsTheMarginOnEveryAxis)
{
    struct Case {
        const char* name;
        Vector3 a, b;
        int32_t expected;
    };
    const Case cases[] = {
        {"equal", {1, 2, 3}, {1, 2, 3}, 0}, {"zero below one", {0, 0, 0}, {1, 1, 1}, 1},
        {"reversed", {1, 1, 1}, {0, 0, 0}, 0}, {"z short", {0, 0, 0}, {1, 1, 0}, 0},
        {"x short", {0, 0, 0}, {0, 1, 1}, 0},
        // The margin itself, 0.0001f, passes: "at least".
        {"exactly the margin", {0, 0, 0}, {0.0001f, 0.0001f, 0.0001f}, 1},
        {"just under", {0, 0, 0}, {0.0001f, 0.0001f, 0.0000999f}, 0},
        {"negative side", {-5, -5, -5}, {-4.5f, -4.5f, -4.5f}, 1},
    };
    for (const Case& c : cases)
        EXPECT_EQ(VectorAllAbove(&c.a, &c.b), c.expected) << c.name;
}

TEST(Vectors, LengthsDotCross)
{
    const Vector3 v = {3, 4, 12};
    EXPECT_EQ(VectorLength(&v), 13.0);
    EXPECT_EQ(VectorInverseLength(&v), 1.0 / 13.0);

    Vector3 n = {3, 0, 4};
    VectorNormalize(&n);
    ExpectPoint(n, 0.6f, 0.0f, 0.8f);
    // No guard: a zero vector turns into NaNs (0 * inf).
    Vector3 zero = {0, 0, 0};
    VectorNormalize(&zero);
    EXPECT_TRUE(isnan(zero.x));

    // (p1 + p2) + p3: the huge terms cancel first and 2^-30 survives.
    const Vector3 big = {kBig, -kBig, kTiny};
    const Vector3 ones = {1, 1, 1};
    EXPECT_EQ(VectorDot(&big, &ones), double(kTiny));

    const Vector3 x = {1, 0, 0}, y = {0, 1, 0};
    Vector3 out;
    VectorCross(&x, &y, &out);
    ExpectPoint(out, 0.0f, 0.0f, 1.0f);
    // (2, 3, 4) x (5, 6, 7) = (3*7 - 4*6, 4*5 - 2*7, 2*6 - 3*5) = (-3, 6, -3)
    const Vector3 a = {2, 3, 4}, b = {5, 6, 7};
    VectorCross(&a, &b, &out);
    ExpectPoint(out, -3.0f, 6.0f, -3.0f);
}

// ---------------------------------------------------------------- point transforms

TEST(Matrices, TransformPointSumsInOrderThenTranslation)
{
    // Row 0 is (1, 1, 1 | t): x' = ((x + y) + z) + t.
    Matrix34 m = Make({1, 1, 1, 0, 1, 0, 0, 0, 1}, 0, 0, 0);
    Vector3 p = {kBig, -kBig, kTiny};
    MatrixTransformPoint(&m, &p);
    EXPECT_EQ(p.x, kTiny);

    // The translation comes last: added to 2^30 first it would be lost.
    m.m[3] = kTiny;
    p = {kBig, -kBig, 0};
    MatrixTransformPoint(&m, &p);
    EXPECT_EQ(p.x, kTiny);

    // In place: every output row reads the original point.
    const Matrix34 swap = Make({0, 1, 0, 0, 0, 1, 1, 0, 0}, 10, 20, 30);
    p = {1, 2, 3};
    MatrixTransformPoint(&swap, &p);
    ExpectPoint(p, 12.0f, 23.0f, 31.0f);
    MatrixInverseTransformPoint(&swap, &p);
    ExpectPoint(p, 1.0f, 2.0f, 3.0f);
}

TEST(Matrices, IdentityClearsEverything)
{
    Matrix34 m = Filled(9.0f);
    MatrixIdentity(&m);
    for (int i = 0; i < 12; ++i)
        EXPECT_EQ(m.m[i], (i == 0 || i == 5 || i == 10) ? 1.0f : 0.0f) << i;
}

// ---------------------------------------------------------------- rotations

TEST(Matrices, RotationsKeepTranslationQuaternionClearsIt)
{
    struct Case {
        const char* name;
        void (*apply)(Matrix34*);
        bool keepsTranslation;
    };
    const Case cases[] = {
        {"euler", [](Matrix34* m) { const Vector3 d = {10, 20, 30}; MatrixFromEuler(m, &d); }, true},
        {"rotation x", [](Matrix34* m) { MatrixRotationX(m, 33.0f); }, true},
        {"rotation y", [](Matrix34* m) { MatrixRotationY(m, 33.0f); }, true},
        {"rotation z", [](Matrix34* m) { MatrixRotationZ(m, 33.0f); }, true},
        {"quaternion", [](Matrix34* m) { const float q[4] = {0.1f, 0.2f, 0.3f, 0.9f}; MatrixFromQuaternion(q, m, 1); }, false},
        {"quaternion identity", [](Matrix34* m) { const float q[4] = {0, 0, 0, 1}; MatrixFromQuaternion(q, m, 1); }, false},
    };
    for (const Case& c : cases) {
        Matrix34 m = Filled(5.0f);
        m.m[3] = 1.0f, m.m[7] = 2.0f, m.m[11] = 3.0f;
        c.apply(&m);
        for (int r = 0; r < 3; ++r)
            EXPECT_EQ(m.m[4 * r + 3], c.keepsTranslation ? float(r + 1) : 0.0f) << c.name << " row " << r;
        for (int i : {0, 1, 2, 4, 5, 6, 8, 9, 10})
            EXPECT_NE(m.m[i], 5.0f) << c.name << " left m[" << i << "]";
    }
}

TEST(Matrices, QuarterTurnsMoveTheAxes)
{
    // x: y -> z; y: z -> x; z: x -> y (right-handed, angles in degrees).
    Matrix34 m = Filled(0.0f);
    Vector3 p;
    MatrixRotationX(&m, 90.0f);
    p = {0, 1, 0};
    MatrixTransformPoint(&m, &p);
    ExpectPoint(p, 0.0f, 0.0f, 1.0f, 1e-7f);

    MatrixRotationY(&m, 90.0f);
    p = {0, 0, 1};
    MatrixTransformPoint(&m, &p);
    ExpectPoint(p, 1, 0, 0, 1e-7f);

    MatrixRotationZ(&m, 90.0f);
    p = {1, 0, 0};
    MatrixTransformPoint(&m, &p);
    ExpectPoint(p, 0, 1, 0, 1e-7f);
}

TEST(Matrices, EulerIsZTimesYTimesX)
{
    // With two angles zero every Euler entry collapses to the single-axis
    // one exactly (products with 0 and 1 are exact).
    const struct {
        Vector3 degrees;
        void (*single)(Matrix34*, float);
        float angle;
    } axes[] = {
        {{37, 0, 0}, MatrixRotationX, 37}, {{0, -52, 0}, MatrixRotationY, -52}, {{0, 0, 123}, MatrixRotationZ, 123},
    };
    for (const auto& a : axes) {
        Matrix34 euler = Filled(0.0f), single = Filled(0.0f);
        MatrixFromEuler(&euler, &a.degrees);
        a.single(&single, a.angle);
        for (int i = 0; i < 12; ++i)
            EXPECT_EQ(euler.m[i], single.m[i]) << "angle " << a.angle << " m[" << i << "]";
    }

    // All three: compare with the product Rz * Ry * Rx.
    const Vector3 d = {30, 40, 50};
    Matrix34 rx = Filled(0), ry = Filled(0), rz = Filled(0), yx = Filled(0), zyx = Filled(0),
             euler = Filled(0);
    MatrixRotationX(&rx, d.x);
    MatrixRotationY(&ry, d.y);
    MatrixRotationZ(&rz, d.z);
    MatrixMultiplyRotation(&rx, &ry, &yx);
    MatrixMultiplyRotation(&yx, &rz, &zyx);
    MatrixFromEuler(&euler, &d);
    ExpectRotationNear(euler, zyx, 2e-7f, "euler");
}

// ---------------------------------------------------------------- products

TEST(Matrices, MultiplyRotationIsBTimesA)
{
    // out[i][j] = sum_k b[i][k] a[k][j]. By hand:
    //   row 0 of b (2, 0, 1): 2 * (1, 2, 3) + (7, 8, 10) = (9, 12, 16)
    //   row 1 of b (1, 3, 0): (1, 2, 3) + 3 * (4, 5, 6) = (13, 17, 21)
    //   row 2 of b (0, 1, 4): (4, 5, 6) + 4 * (7, 8, 10) = (32, 37, 46)
    const Matrix34 a = Make({1, 2, 3, 4, 5, 6, 7, 8, 10}, 0, 0, 0);
    const Matrix34 b = Make({2, 0, 1, 1, 3, 0, 0, 1, 4}, 0, 0, 0);
    Matrix34 out = Filled(-1.0f);
    out.m[3] = 5;
    out.m[7] = 6;
    out.m[11] = 7;
    MatrixMultiplyRotation(&a, &b, &out);
    const Matrix34 want = Make({9, 12, 16, 13, 17, 21, 32, 37, 46}, 5, 6, 7);
    for (int i = 0; i < 12; ++i)
        EXPECT_EQ(out.m[i], want.m[i]) << "m[" << i << "]";

    // Applying out is applying a, then b: a quarter turn about z takes x to
    // y, then one about x takes y to z.
    const Matrix34 turnZ = Make({0, -1, 0, 1, 0, 0, 0, 0, 1}, 0, 0, 0);
    const Matrix34 turnX = Make({1, 0, 0, 0, 0, -1, 0, 1, 0}, 0, 0, 0);
    Matrix34 both = Filled(0.0f);
    MatrixMultiplyRotation(&turnZ, &turnX, &both);
    Vector3 p = {1, 0, 0};
    MatrixTransformPoint(&both, &p);
    ExpectPoint(p, 0.0f, 0.0f, 1.0f);
}

TEST(Matrices, ToCameraSpace)
{
    // Camera at (1, 2, 3) whose rotation takes world x to camera -y and world
    // y to camera x; the object sits at (10, 20, 30), unrotated.
    //   rotation = camera * identity = camera
    //   translation = camera * ((10, 20, 30) - (1, 2, 3)) = camera * (9, 18, 27)
    //               = (18, -9, 27)
    const Matrix34 world = Make({1, 0, 0, 0, 1, 0, 0, 0, 1}, 10, 20, 30);
    const Matrix34 camera = Make({0, 1, 0, -1, 0, 0, 0, 0, 1}, 1, 2, 3);
    Matrix34 out = Filled(-1.0f);
    MatrixToCameraSpace(&world, &camera, &out);
    const Matrix34 want = Make({0, 1, 0, -1, 0, 0, 0, 0, 1}, 18, -9, 27);
    for (int i = 0; i < 12; ++i)
        EXPECT_EQ(out.m[i], want.m[i]) << "m[" << i << "]";
}

TEST(Matrices, InvertRigidRoundTrip)
{
    Matrix34 m = Filled(0.0f);
    const Vector3 d = {30, -40, 75};
    MatrixFromEuler(&m, &d);
    m.m[3] = 4.0f;
    m.m[7] = -5.0f;
    m.m[11] = 6.5f;

    Matrix34 inv = Filled(0.0f);
    MatrixInvertRigid(&m, &inv);
    for (int r = 0; r < 3; ++r)
        for (int c = 0; c < 3; ++c)
            EXPECT_EQ(inv.m[4 * r + c], m.m[4 * c + r]) << "transpose " << r << c;

    const Vector3 points[] = {{0, 0, 0}, {1, 2, 3}, {-7.5f, 0.25f, 100}};
    for (const Vector3& p0 : points) {
        Vector3 p = p0;
        MatrixTransformPoint(&m, &p);
        MatrixTransformPoint(&inv, &p);
        ExpectPoint(p, p0.x, p0.y, p0.z, 1e-4f);
        // MatrixInverseTransformPoint does the same with the forward matrix.
        Vector3 q = p0;
        MatrixTransformPoint(&m, &q);
        MatrixInverseTransformPoint(&m, &q);
        ExpectPoint(q, p0.x, p0.y, p0.z, 1e-4f);
    }

    // In place gives the same matrix.
    Matrix34 self = m;
    MatrixInvertRigid(&self, &self);
    EXPECT_EQ(memcmp(&self, &inv, sizeof self), 0);
}

// ---------------------------------------------------------------- quaternions

TEST(Matrices, QuaternionSpecialCases)
{
    struct Case {
        const char* name;
        float q[4];
    };
    // (0,0,0,1) takes the identity short cut; signed zeros count as zeros.
    // (0,0,0,0) has n = 0, s = 1: all products vanish, leaving 1 - 0.
    const Case cases[] = {
        {"unit", {0, 0, 0, 1}}, {"signed zeros", {-0.0f, 0, -0.0f, 1}}, {"zero", {0, 0, 0, 0}},
    };
    for (const Case& c : cases) {
        for (int32_t rowOrder : {0, 1}) {
            Matrix34 m = Filled(3.0f);
            MatrixFromQuaternion(c.q, &m, rowOrder);
            for (int i = 0; i < 12; ++i)
                EXPECT_EQ(m.m[i], (i == 0 || i == 5 || i == 10) ? 1.0f : 0.0f)
                    << c.name << " rowOrder " << rowOrder << " m[" << i << "]";
        }
    }
}

TEST(Matrices, QuaternionRowOrderTransposes)
{
    // Half of a quarter turn about z: sin 45, cos 45. rowOrder 1 maps x to y.
    const float h = 0.70710678f;
    const float qz[4] = {0, 0, h, h};
    Matrix34 m = Filled(0.0f);
    MatrixFromQuaternion(qz, &m, 1);
    Vector3 p = {1, 0, 0};
    MatrixTransformPoint(&m, &p);
    ExpectPoint(p, 0, 1, 0, 1e-7f);

    // Not unit length: (0, 0, 2, 0) is a half turn about z; n = 4, s = 0.5,
    // zs = 1, zz = 2, so m[0] = m[5] = 1 - 2 = -1 and m[10] = 1, exactly.
    const float half[4] = {0, 0, 2, 0};
    MatrixFromQuaternion(half, &m, 1);
    EXPECT_EQ(m.m[0], -1.0f);
    EXPECT_EQ(m.m[5], -1.0f);
    EXPECT_EQ(m.m[10], 1.0f);

    // Any rowOrder but 1 gives the transpose, bit for bit, with the same
    // diagonal.
    const float q[4] = {0.3f, -0.5f, 0.7f, 0.4f};
    Matrix34 rows = Filled(0.0f), other = Filled(0.0f);
    MatrixFromQuaternion(q, &rows, 1);
    for (int32_t rowOrder : {0, 2, -1}) {
        MatrixFromQuaternion(q, &other, rowOrder);
        for (int r = 0; r < 3; ++r)
            for (int c = 0; c < 3; ++c)
                EXPECT_EQ(other.m[4 * r + c], rows.m[4 * c + r]) << rowOrder << ": " << r << c;
    }

    // Against the textbook matrix of the normalised quaternion.
    const double n = sqrt(0.3 * 0.3 + 0.5 * 0.5 + 0.7 * 0.7 + 0.4 * 0.4);
    const double x = 0.3 / n, y = -0.5 / n, z = 0.7 / n, w = 0.4 / n;
    const float want[9] = {
        float(1 - 2 * (y * y + z * z)), float(2 * (x * y - w * z)), float(2 * (x * z + w * y)),
        float(2 * (x * y + w * z)), float(1 - 2 * (x * x + z * z)), float(2 * (y * z - w * x)),
        float(2 * (x * z - w * y)), float(2 * (y * z + w * x)), float(1 - 2 * (x * x + y * y)),
    };
    ExpectRotationNear(rows, Make(want, 0, 0, 0), 1e-6f, "textbook");
}

}  // namespace
}  // namespace span3d
