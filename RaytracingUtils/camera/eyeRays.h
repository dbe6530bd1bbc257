#pragma once

// What the lenses share in generating packets: the walk over a rectangle and the common fields of
// a packet. Inline, since the walk is the frame of every primary ray.

#include "camera/znRTLensShader.h"

/// Interval of the rays of a lens.
struct znRTEyeInterval
{
    znFloatType<2> tMin, tMax;
};

/// Starts the walk of packet i: interval and mask. The rest of a hit means nothing before a lane
/// has hit and is left alone: clearing it would cost as much as making the rays.
inline void beginHit(znRTEyeRayTarget& target, unsigned i, const znRTEyeInterval& interval,
                     int lanes)
{
    target.tMin[i] = interval.tMin;
    target.tMax[i] = interval.tMax;
    target.laneMasks[i] = lanes;
    znRTHitInfoPacket& hit = target.hits.hits[i];
    hit.t = interval.tMax;
    hit.hitMask = 0;
    hit.hitFlags = 0;
}

/// Fields that are the same for every primary ray. The filter stays as the caller set it.
inline void beginRay(znRTRayDifferentialPacket& ray, znIntType<2> x, znIntType<2> y,
                     znIntType<2> type)
{
    const znFloatType<2> one(1.0f);
    ray.type = type;
    ray.pixelX = x;
    ray.pixelY = y;
    ray.weight = znRTVector3fPacket(one, one, one);
    ray.alpha = one;
    ray.monochromatic = znFloatType<2>(0.0f);
    ray.hasDifferentials = 1;
}

/// Walks the packets of a rectangle, row by row from the bottom.
class znRTPacketWalk
{
public:
    znRTPacketWalk(const znRTPixelArea& area_, const znRTPixelOffsets& offsets_,
                   const unsigned char* pixelMask_, unsigned maskStride_)
        : area(area_), offsets(offsets_), pixelMask(pixelMask_), maskStride(maskStride_)
    {
        for (int lane = 0; lane < 4; ++lane) {
            reachX = offsets.x[lane] > reachX ? offsets.x[lane] : reachX;
            reachY = offsets.y[lane] > reachY ? offsets.y[lane] : reachY;
        }
    }

    /// @param rays  generator with emit(packet, x, y, lanes) -> bool (false: nothing was made),
    ///              nextPacket(), and nextRow(); packets come in walking order, so that it can
    ///              advance by addition
    /// @return number of packets made
    template <class Rays>
    unsigned run(Rays& rays) const
    {
        unsigned count = 0;
        for (unsigned y = area.y0; y < area.y1; y += offsets.step, rays.nextRow())
            for (unsigned x = area.x0; x < area.x1; x += offsets.step, rays.nextPacket()) {
                const int lanes = activeLanes(x, y);
                if (lanes == 0 || count == znRTRayPacketBundle::s_maxPackets)
                    continue;
                count += rays.emit(count, x, y, lanes) ? 1 : 0;
            }
        return count;
    }

private:
    int activeLanes(unsigned x, unsigned y) const
    {
        if (!pixelMask && x + reachX < area.x1 && y + reachY < area.y1)
            return 15;
        int lanes = 0;
        for (int lane = 0; lane < 4; ++lane) {
            const unsigned px = x + offsets.x[lane], py = y + offsets.y[lane];
            if (px < area.x1 && py < area.y1 &&
                (!pixelMask || pixelMask[std::size_t(py) * maskStride + px]))
                lanes |= 1 << lane;
        }
        return lanes;
    }

    znRTPixelArea area;
    znRTPixelOffsets offsets;
    const unsigned char* pixelMask;
    unsigned maskStride;
    unsigned reachX = 0, reachY = 0; ///< of the farthest lane
};

/// Lane places of a pattern as packets.
struct znRTLanePlaces
{
    explicit znRTLanePlaces(const znRTPixelOffsets& o)
        : x(int(o.x[0]), int(o.x[1]), int(o.x[2]), int(o.x[3])),
          y(int(o.y[0]), int(o.y[1]), int(o.y[2]), int(o.y[3]))
    {
    }
    znIntType<2> x, y;
};
