#pragma once

// One colour of a material over its surface. Here is where textures enter: a kind fetches its
// colours through this and never looks at a sampler.

#include "core/znRTColorPacket.h"
#include "host/znRTVector.h"

class znRTDataBlockPacket;
namespace osg {
class Spectrum;
}

class znRTColorAttribute
{
public:
    /// @param spectrum   used instead of the colour where it can be; null without
    /// @param isTextured  a texture is in use; it is told once that only its uniform colour shows
    void set(const znRTVector3f& color, const osg::Spectrum* spectrum, bool isTextured);
    void set(const znRTColor& color) { uniform = color; }

    /// Colour at the hits; alpha is 1.
    znRTColorPacket fetch(const znRTDataBlockPacket&, const znFloatType<2>& /*mask*/) const
    {
        return znRTColorPacket(uniform);
    }
    const znRTColor& getUniform() const { return uniform; }
    float getPhotometricValue() const;

private:
    znRTColor uniform{0.0f, 0.0f, 0.0f, 1.0f};
};
