#pragma once

// Cuts the interval of a ray before it meets the objects that the shape is connected to. Shapes
// work in world space; they change between frames only.

#include "core/znRTVector3fPacket.h"
#include "host/znRTNode.h"

class znRTClippingShape : public znRTNode
{
public:
    using znRTNode::znRTNode;

    // The order of the virtual operations is part of the interface.
    ~znRTClippingShape() override = default;
    /// Reads the scene graph's settings.
    virtual void update() = 0;
    /// Takes over a new place of the shape.
    virtual void updateTransform() = 0;
    /// Narrows [t0, t1] to the part that is kept; t0Out above t1Out means that nothing is.
    virtual void clipRay(const znRTVector3f& origin, const znRTVector3f& direction, float t0,
                         float t1, float& t0Out, float& t1Out) const = 0;
    /// The same per lane; outputs may be the inputs.
    virtual void clipPacket(const znRTVector3fPacket& origin, const znRTVector3fPacket& direction,
                            const znFloatType<2>& t0, const znFloatType<2>& t1,
                            znFloatType<2>& t0Out, znFloatType<2>& t1Out) const = 0;
};
