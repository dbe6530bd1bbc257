#pragma once

// What lies behind or in front of the rendered scene: a colour, an image, a set of image quads.
// The copy stage composes plates over finished pixels; rays that leave the scene may ask for them
// too. Colours are linear and premultiplied.

#include "core/znIntType.h"
#include "core/znRTColorPacket.h"
#include "host/pixelFormats.h"
#include "host/znAligned.h"
#include "host/znRTNode.h"

class znRTDataBlockPacket;
class znRTRayPacket;

class znRTScenePlate : public znRTNode, public znAlignedBase16
{
public:
    explicit znRTScenePlate(const znRTTypeId& typeId) : znRTNode(typeId) {}

    /// Colour at the pixels of rays.
    virtual znRTColorPacket evaluate(const znRTRayPacket& ray,
                                     const znRTDataBlockPacket& block) const = 0;
    /// Colour at pixels of the view, row 0 at the bottom.
    virtual znRTColorPacket evaluate(const znIntType<2>& x, const znIntType<2>& y) const = 0;

    bool backplateMode = true; ///< false: stands in front
    bool alphaMode = false;    ///< alphaColor takes the place of transparent parts
    ZN_RGBA32F alphaColor{0, 0, 0, 0};
};
