// The chamfered cube: a box whose twelve edges and eight corners are rounded
// with a radius of `chamfer`, each rounding in `steps` subdivisions of 90
// degrees. It takes its name from the cube series.
//
// Layout. n = steps, m = n + 1. The vertices fall in a front half (z < 0) and
// a back half (z > 0) of H = 4mn + 4 each; vertex k + H is always vertex k
// with the other z. In each half, 0..3 are the corners of the flat face and
// then come n shells, one per step, of four arcs of m points each around the
// face's corners; A(i, q, p) = 4 + (i - 1) * 4m + q * m + p is point p of arc
// q in shell i. Arc 0 runs from the -x side round the -x+y corner to the +y
// side, arc 1 from +y round +x+y to +x, arc 2 from +x to -y, arc 3 from -y to
// -x, so the arcs follow each other clockwise seen from +z with y up. The
// last shell (i = n) lies in the planes z = -e and z = +e of the cube's sides.
#include "primitives/primitives.h"

#include "objects/objects.h"

using namespace span3d;

namespace {

// Point numbering and polygon slots of one chamfered cube.
struct ChamferLayout {
    int32_t N;     // steps
    int32_t M;     // points per arc, steps + 1
    int32_t Half;  // H, the first vertex of the back half

    int32_t Point(int32_t shell, int32_t arc, int32_t p) const { return 4 + (shell - 1) * 4 * M + arc * M + p; }
};

// Writes the polygons in slot order, advancing the slot.
struct PolygonWriter {
    Mesh*    Target;
    uint32_t Colour;
    int32_t  Slot;

    void Triangle(int32_t a, int32_t b, int32_t c)
    {
        SetMeshTriPolygon(Target, Slot, a, b, c, Colour, 0);
        Slot += 1;
    }
    void Quad(int32_t a, int32_t b, int32_t c, int32_t d)
    {
        SetMeshQuadPolygon(Target, Slot, a, b, c, d, Colour, 0);
        Slot += 2;
    }
};

// One arc: where t starts, which way it runs, and the signs that place it at
// its corner. x = ex + kx * cos t * r, y = ey + ky * sin t * r, where ex, ey
// are +-e; arcs 0 and 2 run t from 180 down to 90, arcs 1 and 3 from 90 up to
// 180.
struct ArcForm {
    float StartT;
    float Direction;  // +1 up, -1 down
    float SignEX;     // the corner: +-e on x
    float SignEY;     //             and on y
    float SignCos;    // -1: x = -e - cos t * r; +1: x = cos t * r + e
    float SignSin;    // -1: y = e - sin t * r;  +1: y = sin t * r - e
};
constexpr ArcForm kArcs[4] = {
    {180.0f, -1.0f, -1.0f, 1.0f, -1.0f, -1.0f},
    {90.0f, 1.0f, 1.0f, 1.0f, 1.0f, -1.0f},
    {180.0f, -1.0f, 1.0f, -1.0f, 1.0f, 1.0f},
    {90.0f, 1.0f, -1.0f, -1.0f, -1.0f, 1.0f},
};

void SetShellVertices(Mesh* mesh, const ChamferLayout& layout, float chamfer, float e, const Vector3* scale)
{
    // g runs from 270 down to 180 by d in a float; s and r are both negative
    // or zero (up to the rounding of the angle constant), so the shell moves
    // from the face (z = -e - chamfer = -S) outward to the side planes.
    const float d = StepOf(90.0f, layout.N);
    float g = 270.0f;
    for (int32_t i = 1; i <= layout.N; ++i) {
        g -= d;
        const double s = SinDegrees(g) * chamfer;
        const double r = CosDegrees(g) * chamfer;
        const double frontZ = -e + s;
        const double backZ = e - s;
        for (int32_t q = 0; q < 4; ++q) {
            const ArcForm& arc = kArcs[q];
            const double ex = arc.SignEX * e;
            const double ey = arc.SignEY * e;
            float t = arc.StartT;
            const float dt = arc.Direction * d;
            for (int32_t p = 0; p < layout.M; ++p) {
                const double cosTerm = CosDegrees(t) * r;
                const double sinTerm = SinDegrees(t) * r;
                // The forms of the arcs, term for term: -e - cos t * r,
                // cos t * r + e, e - sin t * r, sin t * r - e.
                const double x = arc.SignCos < 0.0f ? ex - cosTerm : cosTerm + ex;
                const double y = arc.SignSin < 0.0f ? ey - sinTerm : sinTerm + ey;
                const int32_t k = layout.Point(i, q, p);
                SetScaledVertex(mesh, k, x, y, frontZ, scale);
                SetScaledVertex(mesh, k + layout.Half, x, y, backZ, scale);
                t += dt;
            }
        }
    }
}

}  // namespace

extern "C" SPAN3D_API Mesh* ChCubeCreate(float size, float chamfer, Vector3* scale, int32_t steps,
                                         Material* material)
{
    // The flat width, size - 2 * chamfer, is worked out in single precision and
    // must be strictly positive: a chamfer of exactly size / 2 is refused.
    const float flat = size - 2.0f * chamfer;
    if (!(size > 0.0f) || !(chamfer > 0.0f) || !(flat > 0.0f) || steps < 1) {
        return nullptr;
    }
    const int64_t mn = (static_cast<int64_t>(steps) + 1) * steps;
    Mesh* mesh = NewPrimitiveMesh(mn * 8 + 8, mn * 16 + 12, material);
    if (mesh == nullptr) {
        return nullptr;
    }
    const int32_t n = steps;
    const int32_t m = n + 1;
    const ChamferLayout layout = {n, m, 4 * m * n + 4};
    const int32_t H = layout.Half;
    const float S = size / 2.0f;
    const float e = flat / 2.0f;

    // The flat corners of the front and back faces.
    const float cornerX[4] = {-e, e, e, -e};
    const float cornerY[4] = {e, e, -e, -e};
    for (int32_t k = 0; k < 4; ++k) {
        SetScaledVertex(mesh, k, cornerX[k], cornerY[k], -S, scale);
        SetScaledVertex(mesh, k + H, cornerX[k], cornerY[k], S, scale);
    }
    SetShellVertices(mesh, layout, chamfer, e, scale);

    PolygonWriter out = {mesh, MaterialWord(material), 0};
    auto A = [&layout](int32_t shell, int32_t arc, int32_t p) { return layout.Point(shell, arc, p); };
    // The last shell: its points are L + 4 + q * m + p.
    const int32_t L = (4 * n - 4) * m;

    // The six flat faces, slots 0 to 10, each with a unit square of
    // coordinates. The four sides join the last shells of the two halves
    // between the end of one arc and the start of the next.
    out.Quad(0, 1, 2, 3);  // front
    SetMeshQuadTexCoords(mesh, 0, 0.0f, 0.0f, 1.0f, 0.0f, 1.0f, 1.0f, 0.0f, 1.0f);
    out.Quad(L + 2 * n + 5, L + H + 2 * n + 5, L + H + 2 * n + 6, L + 2 * n + 6);  // +x
    SetMeshQuadTexCoords(mesh, 2, 0.0f, 0.0f, 1.0f, 0.0f, 1.0f, 1.0f, 0.0f, 1.0f);
    out.Quad(H + 3, H + 2, H + 1, H);  // back
    SetMeshQuadTexCoords(mesh, 4, 0.0f, 1.0f, 1.0f, 1.0f, 1.0f, 0.0f, 0.0f, 0.0f);
    out.Quad(L + 4 * n + 7, L + H + 4 * n + 7, L + H + 4, L + 4);  // -x
    SetMeshQuadTexCoords(mesh, 6, 0.0f, 1.0f, 1.0f, 1.0f, 1.0f, 0.0f, 0.0f, 0.0f);
    out.Quad(L + n + 4, L + H + n + 4, L + H + n + 5, L + n + 5);  // +y
    SetMeshQuadTexCoords(mesh, 8, 0.0f, 1.0f, 0.0f, 0.0f, 1.0f, 0.0f, 1.0f, 1.0f);
    out.Quad(L + 3 * n + 6, L + H + 3 * n + 6, L + H + 3 * n + 7, L + 3 * n + 7);  // -y
    SetMeshQuadTexCoords(mesh, 10, 1.0f, 0.0f, 1.0f, 1.0f, 0.0f, 1.0f, 0.0f, 0.0f);

    // From here on no coordinates: the rounded parts keep what the polygon
    // record holds, zeros, and with them the stage bits stay clear.

    // Front: corner fans from the flat corners to the first shell, the edge
    // quads between neighbouring fans, then the bands between shells, each
    // shell's four arcs followed by the four quads that join arc ends.
    for (int32_t j = 0; j < n; ++j) {
        for (int32_t q = 0; q < 4; ++q) out.Triangle(q, A(1, q, j), A(1, q, j + 1));
    }
    for (int32_t q = 0; q < 4; ++q) {
        const int32_t next = (q + 1) & 3;
        out.Quad(q, A(1, q, n), A(1, next, 0), next);
    }
    for (int32_t i = 1; i < n; ++i) {
        for (int32_t j = 0; j < n; ++j) {
            for (int32_t q = 0; q < 4; ++q) {
                out.Quad(A(i, q, j), A(i + 1, q, j), A(i + 1, q, j + 1), A(i, q, j + 1));
            }
        }
        for (int32_t q = 0; q < 4; ++q) {
            const int32_t next = (q + 1) & 3;
            out.Quad(A(i, q, n), A(i + 1, q, n), A(i + 1, next, 0), A(i, next, 0));
        }
    }

    // Back: the same polygons on the back half with every corner order
    // reversed, (a, b, c) as (c, b, a) and (a, b, c, d) as (d, c, b, a), so
    // that they face the other way. A reversed quad is split along its other
    // diagonal.
    for (int32_t j = 0; j < n; ++j) {
        for (int32_t q = 0; q < 4; ++q) out.Triangle(A(1, q, j + 1) + H, A(1, q, j) + H, H + q);
    }
    for (int32_t q = 0; q < 4; ++q) {
        const int32_t next = (q + 1) & 3;
        out.Quad(H + next, A(1, next, 0) + H, A(1, q, n) + H, H + q);
    }
    for (int32_t i = 1; i < n; ++i) {
        for (int32_t j = 0; j < n; ++j) {
            for (int32_t q = 0; q < 4; ++q) {
                out.Quad(A(i, q, j + 1) + H, A(i + 1, q, j + 1) + H, A(i + 1, q, j) + H, A(i, q, j) + H);
            }
        }
        for (int32_t q = 0; q < 4; ++q) {
            const int32_t next = (q + 1) & 3;
            out.Quad(A(i, next, 0) + H, A(i + 1, next, 0) + H, A(i + 1, q, n) + H, A(i, q, n) + H);
        }
    }

    // Side bands along the rounded edges, between the last shells of the two
    // halves, point j to j + 1 of each arc; an arc's last point starts a flat
    // side instead.
    for (int32_t q = 0; q < 4; ++q) {
        for (int32_t j = 0; j < n; ++j) {
            const int32_t c = L + 4 + q * m + j;
            out.Quad(c, c + H, c + H + 1, c + 1);
        }
    }
    return FinishPrimitive(mesh, kNameCube, kFormOrdinary);
}
