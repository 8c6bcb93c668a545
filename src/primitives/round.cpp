// Round primitives: sphere, hemisphere, cylinder (and its two cones), tube
// and torus.
//
// As in flat_box.cpp, polygons are given in SetMeshTriPolygon /
// SetMeshQuadPolygon corner order; the mesh stores a triangle (a, b, c) as
// (c, b, a), so the fan edge bit 0x200 marks the edge from c to b.
#include "primitives/primitives.h"

#include "objects/objects.h"

using namespace span3d;

namespace {

// What the sphere and the hemisphere have in common: a north pole, rings of
// latitude stepping down from 90 degrees, and optionally a last vertex B
// closed off by a bottom fan.
struct DomeShape {
    float   LatitudeSpan;  // 180 for the sphere, 90 for the hemisphere
    bool    HasBase;       // bottom fan to the vertex B
    bool    BaseIsPole;    // B at -radius (sphere) or at the origin (hemisphere)
    int32_t BaseGroup;     // smoothing group of the bottom fan
};

Mesh* CreateDome(float radius, const Vector3* scale, int32_t stacks, int32_t slices,
                 const Material* material, const DomeShape& shape, NameFamily family)
{
    if (!(radius > 0.0f) || stacks < 4 || slices < 4) {
        return nullptr;
    }
    const int64_t ringVertices = (static_cast<int64_t>(stacks) - 1) * slices;
    // Top fan and stacks - 2 bands of quads; the bottom fan when closed.
    const int64_t polygons = shape.HasBase ? ringVertices * 2
                                           : (2 * static_cast<int64_t>(stacks) - 3) * slices;
    Mesh* mesh = NewPrimitiveMesh(ringVertices + (shape.HasBase ? 2 : 1), polygons, material);
    if (mesh == nullptr) {
        return nullptr;
    }
    const uint32_t colour = MaterialWord(material);

    // Vertex 0 is the north pole; ring i (1 .. stacks - 1) starts at vertex
    // 1 + (i - 1) * slices, at the latitude f reached by subtracting the step
    // i times from 90.
    SetMeshVertex(mesh, 0, 0.0f, radius * scale->y, 0.0f);
    const float latitudeStep = StepOf(shape.LatitudeSpan, stacks);
    const float angleStep = StepOf(360.0f, slices);
    float latitude = 90.0f;
    int32_t vertex = 1;
    for (int32_t i = 1; i < stacks; ++i) {
        latitude -= latitudeStep;
        const double cosF = CosDegrees(latitude);
        const double sinF = SinDegrees(latitude);
        float angle = 0.0f;
        for (int32_t j = 0; j < slices; ++j) {
            const double cosA = CosDegrees(angle);
            const double sinA = SinDegrees(angle);
            SetMeshVertex(mesh, vertex++, static_cast<float>(cosA * scale->x * cosF * radius),
                          static_cast<float>(sinF * radius * scale->y),
                          static_cast<float>(sinA * scale->z * cosF * radius));
            angle += angleStep;
        }
    }
    const int32_t base = vertex;  // B, when there is one
    if (shape.HasBase) {
        SetMeshVertex(mesh, base, 0.0f, shape.BaseIsPole ? -radius * scale->y : 0.0f, 0.0f);
    }

    const float du = StepOf(1.0f, slices);
    const float dv = StepOf(1.0f, stacks);
    int32_t slot = 0;

    // Top fan (0, j + 1, j); the closing triangle (0, 1, slices) swaps its
    // two rim coordinates.
    float u = 0.0f;
    for (int32_t j = 1; j < slices; ++j) {
        SetMeshTriPolygon(mesh, slot, 0, j + 1, j, colour, 0);
        SetMeshTriTexCoords(mesh, slot, u, 0.0f, u + du, dv, u, dv);
        ++slot;
        u += du;
    }
    SetMeshTriPolygon(mesh, slot, 0, 1, slices, colour, 0);
    SetMeshTriTexCoords(mesh, slot, u, 0.0f, u, dv, u + du, dv);
    ++slot;

    // Bands between ring r (first vertex T) and ring r + 1, v running down
    // the sphere from dv; after the last band v is the lower edge of it.
    float v = dv;
    for (int32_t r = 1; r <= stacks - 2; ++r) {
        const int32_t t = 1 + (r - 1) * slices;
        u = 0.0f;
        for (int32_t j = 0; j < slices; ++j) {
            if (j < slices - 1) {
                SetMeshQuadPolygon(mesh, slot, t + j, t + j + 1, t + slices + j + 1, t + slices + j, colour, 0);
            } else {
                SetMeshQuadPolygon(mesh, slot, t + slices - 1, t, t + slices, t + 2 * slices - 1, colour, 0);
            }
            SetMeshQuadTexCoords(mesh, slot, u, v, u + du, v, u + du, v + dv, u, v + dv);
            slot += 2;
            u += du;
        }
        v += dv;
    }

    if (shape.HasBase) {
        // Bottom fan (B, j, j + 1) over the last ring F .. B - 1. Its regular
        // triangles give u + du to j and u to j + 1, mirrored against the
        // top fan; that assignment is settled and stays. The closing triangle
        // (B, B - 1, F) has them the other way round again.
        const float w = v + dv;
        const int32_t first = base - slices;
        u = 0.0f;
        for (int32_t j = first; j <= base - 2; ++j) {
            SetMeshTriPolygon(mesh, slot, base, j, j + 1, colour, shape.BaseGroup);
            SetMeshTriTexCoords(mesh, slot, u, w, u + du, v, u, v);
            ++slot;
            u += du;
        }
        SetMeshTriPolygon(mesh, slot, base, base - 1, first, colour, shape.BaseGroup);
        SetMeshTriTexCoords(mesh, slot, u, w, u, v, u + du, v);
    }
    return FinishPrimitive(mesh, family, kFormOrdinary);
}

// One ring of a cylinder or tube: vertices first .. first + count - 1 at
// radius r and height y, angle j * (360 / count) accumulated.
void SetRing(Mesh* mesh, int32_t first, int32_t count, float r, float y, const Vector3* scale)
{
    const float step = StepOf(360.0f, count);
    float angle = 0.0f;
    for (int32_t j = 0; j < count; ++j) {
        SetScaledVertex(mesh, first + j, CosDegrees(angle) * r, y, SinDegrees(angle) * r, scale);
        angle += step;
    }
}

// A fan triangle whose wire drawing shows only its stored edge from corner 0
// to corner 1 (0x200).
void SetFanTriangle(Mesh* mesh, int32_t slot, int32_t a, int32_t b, int32_t c, uint32_t colour, int32_t group,
                    float ua, float va, float ub, float vb, float uc, float vc)
{
    SetMeshTriPolygon(mesh, slot, a, b, c, colour, group);
    SetMeshTriTexCoords(mesh, slot, ua, va, ub, vb, uc, vc);
    SetEdgeBits(mesh, slot, SPAN3D_EDGE_01);
}

// Cone with its apex up (top radius 0): apex 0, base ring 1 .. n at -h,
// base centre B = n + 1.
void FillConeApexUp(Mesh* mesh, float bottomRadius, float h, const Vector3* scale, int32_t n, uint32_t colour)
{
    const int32_t base = n + 1;
    SetMeshVertex(mesh, 0, 0.0f, h * scale->y, 0.0f);
    SetRing(mesh, 1, n, bottomRadius, -h, scale);
    SetMeshVertex(mesh, base, 0.0f, -h * scale->y, 0.0f);

    const float du = StepOf(1.0f, n);
    int32_t slot = 0;
    // Side fan (0, j + 1, j), stored (j, j + 1, 0): 0x200 is the rim edge.
    float u = 0.0f;
    for (int32_t j = 1; j < n; ++j) {
        SetFanTriangle(mesh, slot++, 0, j + 1, j, colour, 0, u, 0.0f, u, 1.0f, u + du, 1.0f);
        u += du;
    }
    SetFanTriangle(mesh, slot++, 0, 1, n, colour, 0, u, 0.0f, u, 1.0f, u + du, 1.0f);
    // Base fan (B, j, j + 1), stored (j + 1, j, B): 0x200 is again the rim.
    u = 0.0f;
    for (int32_t j = 1; j < n; ++j) {
        SetFanTriangle(mesh, slot++, base, j, j + 1, colour, 1, u, 0.0f, u, 1.0f, u + du, 1.0f);
        u += du;
    }
    SetFanTriangle(mesh, slot, base, n, 1, colour, 1, u, 0.0f, u, 1.0f, u + du, 1.0f);
}

// Apex down (bottom radius 0): top centre 0, top ring 1 .. n at +h, apex
// B = n + 1. These fans are given in another corner order than the others,
// so the 0x200 bit lands on a spoke (centre or apex to the ring) rather than
// on the rim, except in the closing side triangle (B, n, 1), whose 0x200 edge
// is the rim from 1 to n. The corner orders and the bit are as designed; the
// tests pin the result.
void FillConeApexDown(Mesh* mesh, float topRadius, float h, const Vector3* scale, int32_t n, uint32_t colour)
{
    const int32_t apex = n + 1;
    SetMeshVertex(mesh, 0, 0.0f, h * scale->y, 0.0f);
    SetRing(mesh, 1, n, topRadius, h, scale);
    SetMeshVertex(mesh, apex, 0.0f, -h * scale->y, 0.0f);

    const float du = StepOf(1.0f, n);
    int32_t slot = 0;
    float u = 0.0f;
    for (int32_t j = 1; j < n; ++j) {
        SetFanTriangle(mesh, slot++, j + 1, j, 0, colour, 0, u + du, 1.0f, u, 1.0f, u, 0.0f);
        u += du;
    }
    SetFanTriangle(mesh, slot++, 1, n, 0, colour, 0, u, 1.0f, u + du, 1.0f, u, 0.0f);
    u = 0.0f;
    for (int32_t j = 1; j < n; ++j) {
        SetFanTriangle(mesh, slot++, j, j + 1, apex, colour, 1, u, 1.0f, u + du, 1.0f, u, 0.0f);
        u += du;
    }
    SetFanTriangle(mesh, slot, apex, n, 1, colour, 1, u, 0.0f, u, 1.0f, u + du, 1.0f);
}

// Both radii above 0: top centre 0, top ring 1 .. n at +h, bottom ring
// n + 1 .. 2n at -h, bottom centre B = 2n + 1.
void FillCylinder(Mesh* mesh, float bottomRadius, float topRadius, float h, const Vector3* scale, int32_t n,
                  uint32_t colour)
{
    const int32_t base = 2 * n + 1;
    SetMeshVertex(mesh, 0, 0.0f, h * scale->y, 0.0f);
    SetRing(mesh, 1, n, topRadius, h, scale);
    SetRing(mesh, n + 1, n, bottomRadius, -h, scale);
    SetMeshVertex(mesh, base, 0.0f, -h * scale->y, 0.0f);

    const float du = StepOf(1.0f, n);
    int32_t slot = 0;
    // Top fan, group 0.
    float u = 0.0f;
    for (int32_t j = 1; j < n; ++j) {
        SetFanTriangle(mesh, slot++, 0, j + 1, j, colour, 0, u, 0.0f, u + du, 1.0f, u, 1.0f);
        u += du;
    }
    SetFanTriangle(mesh, slot++, 0, 1, n, colour, 0, u, 0.0f, u, 1.0f, u + du, 1.0f);
    // Side quads, group 1; they keep the quad's own edge bits.
    u = 0.0f;
    for (int32_t j = 1; j <= n; ++j) {
        if (j < n) {
            SetMeshQuadPolygon(mesh, slot, j, j + 1, n + j + 1, n + j, colour, 1);
        } else {
            SetMeshQuadPolygon(mesh, slot, n, 1, n + 1, 2 * n, colour, 1);
        }
        SetMeshQuadTexCoords(mesh, slot, u, 0.0f, u + du, 0.0f, u + du, 1.0f, u, 1.0f);
        slot += 2;
        u += du;
    }
    // Bottom fan, group 2.
    u = 0.0f;
    for (int32_t j = 1; j < n; ++j) {
        SetFanTriangle(mesh, slot++, base, n + j, n + j + 1, colour, 2, u, 0.0f, u, 1.0f, u + du, 1.0f);
        u += du;
    }
    SetFanTriangle(mesh, slot, base, 2 * n, n + 1, colour, 2, u, 0.0f, u, 1.0f, u + du, 1.0f);
}

}  // namespace

extern "C" SPAN3D_API Mesh* SphereCreate(float radius, Vector3* scale, int32_t stacks, int32_t slices,
                                         Material* material)
{
    const DomeShape sphere = {180.0f, true, true, 0};
    return CreateDome(radius, scale, stacks, slices, material, sphere, kNameSphere);
}

extern "C" SPAN3D_API Mesh* HemisphereCreate(float radius, Vector3* scale, int32_t stacks, int32_t slices,
                                             Material* material, int32_t open)
{
    // Closed, the base vertex sits at the origin under the lowest ring, one
    // latitude step above it, so the underside is a shallow cone in its own
    // smoothing group.
    const DomeShape hemisphere = {90.0f, open == 0, false, 1};
    return CreateDome(radius, scale, stacks, slices, material, hemisphere, kNameHSphere);
}

extern "C" SPAN3D_API Mesh* CylinderCreate(float bottomRadius, float topRadius, float height, Vector3* scale,
                                           int32_t segments, Material* material)
{
    // The height is not checked: a negative one turns the cylinder upside
    // down (and with it the facing of every polygon).
    if (!(bottomRadius >= 0.0f) || !(topRadius >= 0.0f) || segments < 4 ||
        (bottomRadius == 0.0f && topRadius == 0.0f)) {
        return nullptr;
    }
    const int64_t n = segments;
    const bool cone = topRadius == 0.0f || bottomRadius == 0.0f;
    Mesh* mesh = cone ? NewPrimitiveMesh(n + 2, n * 2, material) : NewPrimitiveMesh((n + 1) * 2, n * 4, material);
    if (mesh == nullptr) {
        return nullptr;
    }
    const uint32_t colour = MaterialWord(material);
    const float h = height / 2.0f;
    if (topRadius == 0.0f) {
        FillConeApexUp(mesh, bottomRadius, h, scale, segments, colour);
    } else if (bottomRadius == 0.0f) {
        FillConeApexDown(mesh, topRadius, h, scale, segments, colour);
    } else {
        FillCylinder(mesh, bottomRadius, topRadius, h, scale, segments, colour);
    }
    return FinishPrimitive(mesh, kNameCylinder, kFormOrdinary);
}

extern "C" SPAN3D_API Mesh* TubeCreate(float innerRadius, float outerRadius, float height, Vector3* scale,
                                       int32_t segments, Material* material)
{
    // An inner radius of 0 is accepted: the inner rings collapse to a point.
    // The radii are not ordered against each other.
    if (!(innerRadius >= 0.0f) || !(outerRadius >= 0.0f) || (innerRadius == 0.0f && outerRadius == 0.0f) ||
        segments <= 3 || !(height > 0.0f)) {
        return nullptr;
    }
    const int64_t n64 = segments;
    Mesh* mesh = NewPrimitiveMesh(n64 * 4, n64 * 8, material);
    if (mesh == nullptr) {
        return nullptr;
    }
    const uint32_t colour = MaterialWord(material);
    const int32_t n = segments;
    const float h = height / 2.0f;
    // Rings: outer top 0 .. n-1, inner top n .. 2n-1, outer bottom
    // 2n .. 3n-1, inner bottom 3n .. 4n-1.
    SetRing(mesh, 0, n, outerRadius, h, scale);
    SetRing(mesh, n, n, innerRadius, h, scale);
    SetRing(mesh, 2 * n, n, outerRadius, -h, scale);
    SetRing(mesh, 3 * n, n, innerRadius, -h, scale);

    // Each band is n quads (a + j, a + j + 1, b + j + 1, b + j) between the
    // rings that start at a and b, the last closing on the rings' first
    // vertices. vFirst is the v of the band's first two corners; the closing
    // quad puts u = 1 where the others have u + du. With the rings turning
    // the same way as the cylinder's, these corner orders wind every band
    // the other way from the cylinder's faces: a tube's front faces look
    // into its wall. The lists are kept as they are; hosts draw tubes with
    // both sides.
    struct Band { int32_t A, B, Group; float VFirst; };
    const Band bands[4] = {
        {0, n, 0, 1.0f},          // top annulus
        {3 * n, 2 * n, 0, 0.0f},  // bottom annulus
        {n, 3 * n, 1, 0.0f},      // inner wall
        {2 * n, 0, 1, 1.0f},      // outer wall
    };
    const float du = StepOf(1.0f, n);
    int32_t slot = 0;
    for (const Band& band : bands) {
        const float v0 = band.VFirst;
        const float v1 = 1.0f - band.VFirst;
        float u = 0.0f;
        for (int32_t j = 0; j < n; ++j) {
            const int32_t next = j < n - 1 ? j + 1 : 0;
            SetMeshQuadPolygon(mesh, slot, band.A + j, band.A + next, band.B + next, band.B + j, colour, band.Group);
            const float u1 = j < n - 1 ? u + du : 1.0f;
            SetMeshQuadTexCoords(mesh, slot, u, v0, u1, v0, u1, v1, u, v1);
            slot += 2;
            u += du;
        }
    }
    return FinishPrimitive(mesh, kNameTube, kFormOrdinary);
}

extern "C" SPAN3D_API Mesh* TorusCreate(float majorRadius, float minorRadius, Vector3* scale,
                                        int32_t tubeSegments, int32_t ringSegments, Material* material)
{
    if (!(majorRadius > 0.0f) || !(minorRadius > 0.0f) || tubeSegments < 4 || ringSegments < 4) {
        return nullptr;
    }
    const int64_t cells = static_cast<int64_t>(tubeSegments) * ringSegments;
    Mesh* mesh = NewPrimitiveMesh(cells, cells * 2, material);
    if (mesh == nullptr) {
        return nullptr;
    }
    const uint32_t colour = MaterialWord(material);
    const int32_t tubeCount = tubeSegments;  // T: vertices around the tube
    const int32_t ringCount = ringSegments;  // R: tube sections around the ring

    // Section a at angle A around the y axis, vertex b of it at angle B around
    // the tube; d is the distance from the y axis.
    const float stepA = StepOf(360.0f, ringCount);
    const float stepB = StepOf(360.0f, tubeCount);
    float angleA = 0.0f;
    for (int32_t a = 0; a < ringCount; ++a) {
        const double cosA = CosDegrees(angleA);
        const double sinA = SinDegrees(angleA);
        float angleB = 0.0f;
        for (int32_t b = 0; b < tubeCount; ++b) {
            const double d = CosDegrees(angleB) * minorRadius + majorRadius;
            SetMeshVertex(mesh, a * tubeCount + b, static_cast<float>(d * cosA * scale->x),
                          static_cast<float>(SinDegrees(angleB) * minorRadius * scale->y),
                          static_cast<float>(sinA * d * scale->z));
            angleB += stepB;
        }
        angleA += stepA;
    }

    // Cell (a, b): p, its neighbour pb along the tube, pa on the next section
    // and pab diagonally across, each wrapping to the first row or section.
    // (p, pab, pa) is stored (pa, pab, p) and keeps 0x200 (pa-pab) and 0x800
    // (p-pa); (p, pb, pab) is stored (pab, pb, p) and keeps 0x200 (pab-pb)
    // and 0x400 (pb-p): the cell's four sides, never the diagonal p-pab.
    for (int32_t a = 0; a < ringCount; ++a) {
        for (int32_t b = 0; b < tubeCount; ++b) {
            const int32_t p = a * tubeCount + b;
            const int32_t pb = b == tubeCount - 1 ? a * tubeCount : p + 1;
            const int32_t pa = a == ringCount - 1 ? b : p + tubeCount;
            const int32_t pab = pb - p + pa;
            SetMeshTriPolygon(mesh, 2 * p, p, pab, pa, colour, 0);
            SetEdgeBits(mesh, 2 * p, SPAN3D_EDGE_01 | SPAN3D_EDGE_20);
            SetMeshTriPolygon(mesh, 2 * p + 1, p, pb, pab, colour, 0);
            SetEdgeBits(mesh, 2 * p + 1, SPAN3D_EDGE_01 | SPAN3D_EDGE_12);
        }
    }

    // Second pass, coordinates: u grows with a by 1/R from 0, v falls with b
    // by 1/T from 1. The last section and the last row reuse the first ones'
    // vertices, but their coordinates run on to u near 1 and v near 0.
    const float du = StepOf(1.0f, ringCount);
    const float dv = StepOf(1.0f, tubeCount);
    float u = 0.0f;
    for (int32_t a = 0; a < ringCount; ++a) {
        float v = 1.0f;
        for (int32_t b = 0; b < tubeCount; ++b) {
            const int32_t p = a * tubeCount + b;
            SetMeshTriTexCoords(mesh, 2 * p, u, v, u + du, v - dv, u + du, v);
            SetMeshTriTexCoords(mesh, 2 * p + 1, u, v, u, v - dv, u + du, v - dv);
            v -= dv;
        }
        u += du;
    }
    return FinishPrimitive(mesh, kNameTorus, kFormOrdinary);
}
