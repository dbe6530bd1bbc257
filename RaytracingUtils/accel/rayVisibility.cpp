// Which lanes of a packet may see an object, asked at each leaf of a tree over objects.

#include "accel/znRTIntersector.h"
#include "core/znRTRayFilter.h"
#include "core/znRTRayPacket.h"

int znRTRayPacket::applyFilter(const znRTIntersector* intersector, int mask) const
{
    const znIntType<2> common = type & znIntType<2>(int(intersector->getVisibilityFlags()));
    mask &= ~moveMask(common == znIntType<2>(0));
    return mask != 0 && auxiliary ? auxiliary->filter(intersector, mask) : mask;
}

bool znRTRayPacket::applyFilterSingle(const znRTIntersector* intersector, int lane) const
{
    if ((u32(type[lane]) & intersector->getVisibilityFlags()) == 0)
        return false;
    return !auxiliary || auxiliary->filterSingle(intersector, lane);
}
