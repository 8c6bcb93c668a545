// Shared helpers of the generator tests: ownership of a made mesh, corner and
// flag look-ups, the edge census of closed shapes, and a guard that swaps the
// generators' storage builders for failing ones.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "kernel/kernel.h"
#include "objects/objects.h"
#include "primitives/primitives.h"

namespace span3d::testing {

struct MeshDeleter {
    void operator()(Mesh* mesh) const
    {
        if (mesh != nullptr) DeleteMesh(mesh);
    }
};
using MeshPtr = std::unique_ptr<Mesh, MeshDeleter>;

inline Vector3 Scale(float x, float y, float z) { return Vector3{x, y, z}; }
// The scale of calls whose shape does not depend on it.
inline Vector3 g_Unit = {1.0f, 1.0f, 1.0f};

// A made mesh with the stated counts, for ASSERT_TRUE.
inline ::testing::AssertionResult Made(const Mesh* mesh, int32_t vertices, int32_t polygons)
{
    if (mesh == nullptr) return ::testing::AssertionFailure() << "no mesh";
    if (mesh->VertexCount != vertices || mesh->PolygonCount != polygons)
        return ::testing::AssertionFailure() << mesh->VertexCount << " vertices, " << mesh->PolygonCount
                                             << " polygons; want " << vertices << ", " << polygons;
    return ::testing::AssertionSuccess();
}

// The stored corners of a slot, as (corner 0, corner 1, corner 2).
struct Corners {
    uint32_t c0, c1, c2;
    bool operator==(const Corners&) const = default;
};
inline Corners CornersOf(const Mesh* mesh, int32_t slot)
{
    const MeshPolygon& p = mesh->Polygons[slot];
    return Corners{p.Corner[0], p.Corner[1], p.Corner[2]};
}
inline void PrintTo(const Corners& c, std::ostream* os) { *os << "(" << c.c0 << ", " << c.c1 << ", " << c.c2 << ")"; }

// Texture coordinates of one stored corner.
struct UV {
    float u, v;
    bool operator==(const UV&) const = default;
};
inline UV CoordsOf(const Mesh* mesh, int32_t slot, int32_t corner)
{
    const CornerCoords& c = mesh->Polygons[slot].CornerMap[corner];
    return UV{c.u, c.v};
}
inline void PrintTo(const UV& c, std::ostream* os) { *os << "(" << c.u << ", " << c.v << ")"; }

inline uint32_t EdgeBits(const Mesh* mesh, int32_t slot) { return mesh->Polygons[slot].Flags & SPAN3D_EDGE_MASK; }
inline uint32_t GroupOf(const Mesh* mesh, int32_t slot)
{
    return (mesh->Polygons[slot].Flags & SPAN3D_SMOOTH_GROUP_MASK) >> SPAN3D_SMOOTH_GROUP_SHIFT;
}

inline const Vector3& Position(const Mesh* mesh, int32_t vertex) { return mesh->Vertices[vertex].ModelPosition; }

// One polygon slot as expected: stored corners, the whole Flags word and
// the texture coordinates of CornerMap[0..2].
struct SlotCase {
    int32_t  slot;
    Corners  corners;
    uint32_t flags;
    UV       uv[3];
};

inline void ExpectSlots(const Mesh* mesh, const std::vector<SlotCase>& cases)
{
    for (const SlotCase& c : cases) {
        SCOPED_TRACE(c.slot);
        EXPECT_EQ(CornersOf(mesh, c.slot), c.corners);
        EXPECT_EQ(mesh->Polygons[c.slot].Flags, c.flags);
        for (int32_t k = 0; k < 3; ++k) EXPECT_EQ(CoordsOf(mesh, c.slot, k), c.uv[k]) << "corner " << k;
    }
}

// One vertex as expected, compared to within 4 units in the last place: the
// values that are not exact are given to 8 digits in the tests.
struct VertexCase {
    int32_t index;
    float x, y, z;
};

inline void ExpectVertices(const Mesh* mesh, const std::vector<VertexCase>& cases)
{
    for (const VertexCase& c : cases) {
        SCOPED_TRACE(c.index);
        const Vector3& p = Position(mesh, c.index);
        EXPECT_FLOAT_EQ(p.x, c.x);
        EXPECT_FLOAT_EQ(p.y, c.y);
        EXPECT_FLOAT_EQ(p.z, c.z);
    }
}

inline uint32_t Bits(float value)
{
    uint32_t bits;
    std::memcpy(&bits, &value, sizeof bits);
    return bits;
}

// Every undirected edge of the triangles, with how often it is walked each
// way (the stored corner order 0 -> 1 -> 2 -> 0). A closed surface that
// back-face culling shows without holes walks each edge exactly once each
// way. The result lists the edges that do not, as "a-b:forward/backward"
// with a < b, in ascending order.
inline std::vector<std::string> EdgeRuleBreaks(const Mesh* mesh)
{
    std::map<std::pair<uint32_t, uint32_t>, std::pair<int, int>> walks;
    for (int32_t i = 0; i < mesh->PolygonCount; ++i) {
        const MeshPolygon& p = mesh->Polygons[i];
        for (int k = 0; k < 3; ++k) {
            const uint32_t from = p.Corner[k];
            const uint32_t to = p.Corner[(k + 1) % 3];
            if (from < to) ++walks[{from, to}].first;
            else ++walks[{to, from}].second;
        }
    }
    std::vector<std::string> breaks;
    for (const auto& [edge, count] : walks) {
        if (count.first == 1 && count.second == 1) continue;
        char text[64];
        std::snprintf(text, sizeof text, "%u-%u:%d/%d", edge.first, edge.second, count.first, count.second);
        breaks.emplace_back(text);
    }
    return breaks;
}

// The box must span exactly the extremes of the model vertices: corner 3 of
// the box is (min x, min y, min z) and corner 5 (max x, max y, max z).
inline void ExpectBoxSpansVertices(const Mesh* mesh)
{
    ASSERT_NE(mesh->BoundsMesh, nullptr);
    const Mesh* box = mesh->BoundsMesh;
    ASSERT_EQ(box->VertexCount, 8);
    ASSERT_EQ(box->PolygonCount, 12);
    Vector3 low = Position(mesh, 0);
    Vector3 high = low;
    for (int32_t i = 1; i < mesh->VertexCount; ++i) {
        const Vector3& p = Position(mesh, i);
        low = {std::min(low.x, p.x), std::min(low.y, p.y), std::min(low.z, p.z)};
        high = {std::max(high.x, p.x), std::max(high.y, p.y), std::max(high.z, p.z)};
    }
    const Vector3& boxLow = Position(box, 3);
    const Vector3& boxHigh = Position(box, 5);
    for (const auto& [got, want] : {std::pair{boxLow, low}, std::pair{boxHigh, high}}) {
        EXPECT_EQ(got.x, want.x);
        EXPECT_EQ(got.y, want.y);
        EXPECT_EQ(got.z, want.z);
    }
    EXPECT_EQ(box->RenderFlags, kBoundsMeshFlags);
}

// Swaps the builders that the generators take their storage from, and puts
// the real ones back when it goes out of scope.
class ScopedBuilders {
public:
    ScopedBuilders(Mesh* (*newMesh)(int32_t, int32_t, uint32_t), Mesh* (*newBounds)(Mesh*))
        : saved_(g_Primitives)
    {
        if (newMesh != nullptr) g_Primitives.NewMesh = newMesh;
        if (newBounds != nullptr) g_Primitives.NewBounds = newBounds;
    }
    ~ScopedBuilders() { g_Primitives = saved_; }
    ScopedBuilders(const ScopedBuilders&) = delete;
    ScopedBuilders& operator=(const ScopedBuilders&) = delete;

private:
    PrimitiveState saved_;
};

// The name a family's counter value gives: the stem, "0" below 10, the
// number.
inline std::string ExpectedName(const char* stem, int32_t counter)
{
    char text[48];
    std::snprintf(text, sizeof text, "%s%s%d", stem, counter < 10 ? "0" : "", counter);
    return text;
}

}  // namespace span3d::testing
