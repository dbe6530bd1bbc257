#include "accel/znRTTriangleIntersector.h"

#include "accel/walk/leafTests.h"

namespace {
template <int Sides>
znRTTriangleGroup load(const float* positions, const znDynArray<znRTTriangle>& triangles, u32 first,
                       u32 count)
{
    return loadIndexed<Sides>(positions, triangles.data + first, count);
}
} // namespace

template <int Sideness>
void znRTPlainTriangleIntersector<Sideness>::intersect(const znRTRayPacket& ray,
                                                       znRTHitInfoPacket& hit,
                                                       const znFloatType<2>& tMin, int laneMask,
                                                       u32 first, u32 count) const
{
    if (count == 0)
        return;
    const znRTTriangleGroup group = load<Sideness>(positions, *triangles, first, count);
    znRTTriangleTest<Sideness, false> test(ray.origin, ray.direction, tMin, *this, hit);
    test.run(group, laneMask, first);
}

template <int Sideness>
void znRTPlainTriangleIntersector<Sideness>::intersect(const znRTRayPacket& ray,
                                                       znRTHitInfoPacket& hit, int lane,
                                                       const znFloatType<2>& tMin, u32 first,
                                                       u32 count) const
{
    intersect(ray, hit, tMin, 1 << lane, first, count);
}

template <int Sideness>
void znRTPlainTriangleIntersector<Sideness>::intersectShadow(const znRTRayPacket& ray,
                                                             znRTHitInfoPacket& hit,
                                                             const znFloatType<2>& tMin,
                                                             int laneMask, u32 first,
                                                             u32 count) const
{
    if (count == 0)
        return;
    const znRTTriangleGroup group = load<Sideness>(positions, *triangles, first, count);
    znRTTriangleTest<Sideness, true> test(ray.origin, ray.direction, tMin, *this, hit);
    test.run(group, laneMask, first);
}

template <int Sideness>
void znRTPlainTriangleIntersector<Sideness>::intersectShadow(const znRTRayPacket& ray,
                                                             znRTHitInfoPacket& hit, int lane,
                                                             const znFloatType<2>& tMin, u32 first,
                                                             u32 count) const
{
    intersectShadow(ray, hit, tMin, 1 << lane, first, count);
}

template class znRTPlainTriangleIntersector<1>;
template class znRTPlainTriangleIntersector<2>;
template class znRTPlainTriangleIntersector<3>;
