#include "light/portalOpenings.h"

#include "light/worldTriangles.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <map>
#include <tuple>

namespace {

/// Cosine between the planes of neighbours up to which they are one piece: 2 degrees.
constexpr float sameplane = 0.9994f;
/// Edges of a piece that are tried as a side of its rectangle.
constexpr std::size_t mostEdges = 64;

struct Triangle
{
    znRTVector3f corners[3];
    znRTVector3f normal; ///< unit
};

using Place = std::tuple<float, float, float>;
using Edge = std::pair<Place, Place>;

Place placeOf(const znRTVector3f& p)
{
    return {p.x, p.y, p.z};
}

/// The same for both directions.
Edge edgeOf(const znRTVector3f& a, const znRTVector3f& b)
{
    return std::minmax(placeOf(a), placeOf(b));
}

std::vector<Triangle> readTriangles(const znRTMesh& mesh)
{
    std::vector<Triangle> triangles;
    forEachWorldTriangle(mesh, [&](const znRTVector3f(&c)[3], const u32(&)[3]) {
        const znRTVector3f across = cross(c[1] - c[0], c[2] - c[0]);
        const float length = across.getLength();
        if (length > 0.0f && std::isfinite(length))
            triangles.push_back({{c[0], c[1], c[2]}, across * (1.0f / length)});
    });
    return triangles;
}

/// Sets of triangles; each is named by its lowest member.
class Pieces
{
public:
    explicit Pieces(std::size_t count) : parent(count)
    {
        for (std::size_t i = 0; i < count; ++i)
            parent[i] = i;
    }
    std::size_t find(std::size_t i)
    {
        while (parent[i] != i)
            i = parent[i] = parent[parent[i]];
        return i;
    }
    void join(std::size_t a, std::size_t b)
    {
        a = find(a);
        b = find(b);
        parent[std::max(a, b)] = std::min(a, b);
    }

private:
    std::vector<std::size_t> parent;
};

/// Extent of points along an axis.
struct Range
{
    float low = std::numeric_limits<float>::max(), high = -std::numeric_limits<float>::max();
    void add(float value)
    {
        low = std::min(low, value);
        high = std::max(high, value);
    }
    float middle() const { return 0.5f * (low + high); }
    float half() const { return 0.5f * (high - low); }
};

znRTPortalOpening around(const std::vector<const Triangle*>& piece, const znRTVector3f& axisU,
                         const znRTVector3f& normal)
{
    const znRTVector3f axisV = cross(normal, axisU);
    Range u, v, n;
    for (const Triangle* triangle : piece)
        for (const znRTVector3f& corner : triangle->corners) {
            u.add(dot(corner, axisU));
            v.add(dot(corner, axisV));
            n.add(dot(corner, normal));
        }
    return {axisU * u.middle() + axisV * v.middle() + normal * n.middle(),
            axisU,
            axisV,
            normal,
            u.half(),
            v.half(),
            1.0f};
}

znRTPortalOpening smallestAround(const std::vector<const Triangle*>& piece)
{
    const znRTVector3f normal = piece.front()->normal;
    znRTPortalOpening smallest;
    float leastArea = std::numeric_limits<float>::max();
    std::size_t tried = 0;
    for (const Triangle* triangle : piece)
        for (int i = 0; i < 3 && tried < mostEdges; ++i, ++tried) {
            const znRTVector3f edge = triangle->corners[(i + 1) % 3] - triangle->corners[i];
            const znRTVector3f along = edge - normal * dot(edge, normal);
            const float length = along.getLength();
            if (!(length > 0.0f))
                continue;
            const znRTPortalOpening found = around(piece, along * (1.0f / length), normal);
            if (found.getArea() < leastArea) {
                leastArea = found.getArea();
                smallest = found;
            }
        }
    return smallest;
}

} // namespace

std::vector<znRTPortalOpening> findOpenings(const znRTMesh& mesh, float strength)
{
    const std::vector<Triangle> triangles = readTriangles(mesh);
    Pieces pieces(triangles.size());
    std::map<Edge, std::size_t> known;
    for (std::size_t i = 0; i < triangles.size(); ++i)
        for (int corner = 0; corner < 3; ++corner) {
            const Triangle& triangle = triangles[i];
            const auto [place, isFirst] = known.emplace(
                edgeOf(triangle.corners[corner], triangle.corners[(corner + 1) % 3]), i);
            const znRTVector3f& other = triangles[place->second].normal;
            if (!isFirst && std::fabs(dot(triangle.normal, other)) > sameplane)
                pieces.join(i, place->second);
        }
    std::map<std::size_t, std::vector<const Triangle*>> members;
    for (std::size_t i = 0; i < triangles.size(); ++i)
        members[pieces.find(i)].push_back(&triangles[i]);
    std::vector<znRTPortalOpening> openings;
    for (const auto& [first, piece] : members) {
        openings.push_back(smallestAround(piece));
        openings.back().strength = strength;
    }
    return openings;
}
