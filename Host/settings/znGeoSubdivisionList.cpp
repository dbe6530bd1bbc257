#include "host/znGeoSubdivisionList.h"

#include <algorithm>

namespace {

std::array<u32, 2> edge(u32 a, u32 b)
{
    return {std::min(a, b), std::max(a, b)};
}

} // namespace

u32 znGeoSubdivisionList::addVertex(const znGeoSubdivisionVertex& vertex)
{
    vertices.push_back(vertex);
    return u32(vertices.size() - 1);
}

u32 znGeoSubdivisionList::addVertex(u32 a, u32 b, const znGeoSubdivisionVertex& vertex)
{
    const auto [place, isNew] = splits.try_emplace(edge(a, b), noVertex);
    if (isNew)
        place->second = addVertex(vertex);
    return place->second;
}

u32 znGeoSubdivisionList::getVertexID(u32 a, u32 b) const
{
    const auto place = splits.find(edge(a, b));
    return place == splits.end() ? noVertex : place->second;
}

u32 znGeoSubdivisionList::addTriangle(u32 a, u32 b, u32 c)
{
    triangles.push_back({a, b, c});
    removed.push_back(false);
    return u32(triangles.size() - 1);
}

void znGeoSubdivisionList::removeTriangle(u32 index)
{
    if (index < removed.size())
        removed[index] = true;
}

std::vector<znGeoSubdivisionList::Triangle> znGeoSubdivisionList::getTriangles() const
{
    std::vector<Triangle> left;
    for (std::size_t i = 0; i < triangles.size(); ++i)
        if (!removed[i])
            left.push_back(triangles[i]);
    return left;
}

void znGeoSubdivisionList::clear()
{
    *this = {};
}
