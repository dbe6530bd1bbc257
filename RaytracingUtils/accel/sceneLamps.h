#pragma once

// Area lights as rays see them. Their shapes stand in no tree and nothing is in their shadow: they
// are tested beside the walk, against rays of the classes that see them, and show the side that
// shines. Lights whose surface is a mesh of the scene are seen as that mesh.
//
// A hit on a lamp has a geometry number of its own, above those of all nodes, and belongs to no
// node.

#include "core/znRTHitInfoPacket.h"
#include "host/znAligned.h"

#include <memory>
#include <vector>

class znRTDataBlockPacket;
class znRTLampMaterial;
class znRTRayDifferentialPacket;
class znRTRayPacket;
class znRTUAreaLight;

class znRTSceneLamps
{
public:
    znRTSceneLamps();
    ~znRTSceneLamps();

    /// Lists the lights again that some rays see. Between frames.
    void list(const std::vector<const znRTUAreaLight*>& areaLights);
    void clear();
    bool isEmpty() const { return lamps.empty(); }

    /// Nearest lamp along rays, before what they have hit already.
    /// @param mask  bits of the lanes
    void intersect(const znRTRayPacket& ray, const znFloatType<2>& tMin, znRTHitInfoPacket& hit,
                   int mask) const;
    /// Fills the block in one lane.
    /// @return the material that shows the lamp; null when the lane has hit none, and the block is
    ///         as it was
    znRTLampMaterial* getShadingData(const znRTRayDifferentialPacket& ray,
                                     znRTDataBlockPacket& data, int lane) const;

private:
    struct Lamp
    {
        const znRTUAreaLight* light;
        u32 visibility; ///< classes of rays
        std::unique_ptr<znRTLampMaterial> material;
    };
    std::vector<Lamp> lamps;
};
