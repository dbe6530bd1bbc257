#pragma once

// Which ids the hits of a frame get in its id mattes: hashes of node paths and material names,
// looked up by the number that a hit carries.

#include "host/znAligned.h"

#include <vector>

class znRTAccelerator;
class znRTCryptomatte;

class znRTCryptomatteIds
{
public:
    struct Ids
    {
        u32 object = 0, material = 0;
    };

    /// Names all objects of a scene and enters the names into the matte. Does nothing when neither
    /// has changed. The pieces of a shell are one object; objects without material share a name.
    void update(znRTCryptomatte& matte, const znRTAccelerator& scene);

    /// @param geometryIndex  of a hit
    const Ids& operator[](u32 geometryIndex) const
    {
        return geometryIndex < ids.size() ? ids[geometryIndex] : none;
    }
    /// Of what hit nothing.
    static const Ids none;

private:
    std::vector<Ids> ids;
    const znRTCryptomatte* namedMatte = nullptr;
    const znRTAccelerator* namedScene = nullptr;
    u64 buildTimeStamp = 0;
};
