#pragma once

// Values of a material over its surface: uniform, or with an image. A kind fetches its colours and
// numbers through these and never looks at a sampler.

#include "host/znRTVector.h"
#include "material/attributeTexture.h"

namespace osg {
class Spectrum;
}

/// A colour; an image is multiplied with it, and the colours of the vertices where they count.
class znRTColorAttribute
{
public:
    /// @param spectrum  used instead of the colour where it can be; null without
    void set(const znRTVector3f& color, const osg::Spectrum* spectrum);
    /// With an image, see znRTAttributeTexture::set.
    void set(const znRTVector3f& color, const osg::Spectrum* spectrum,
             const znRTTextureSampler* sampler, bool isActive,
             const znRTTextureAttributes* attributes)
    {
        set(color, spectrum);
        texture.set(sampler, isActive, attributes);
    }
    void set(const znRTColor& color) { uniform = color; }
    /// Whether the colours of the vertices are factors; off at first.
    void useVertexColors(bool use) { hasVertexColors = use; }
    const znRTAttributeTexture& getTexture() const { return texture; }
    /// Adds what a shade has to know for image and vertices.
    void addRequirements(znRTMaterialState& state) const;

    /// Colour at the hits; alpha is 1.
    znRTColorPacket fetch(const znRTDataBlockPacket& data, const znFloatType<2>& mask) const
    {
        return texture.isActive() || hasVertexColors ? fetchVarying(data, mask)
                                                     : znRTColorPacket(uniform);
    }
    const znRTColor& getUniform() const { return uniform; }
    /// Luminance of the surface's mean colour.
    float getPhotometricValue() const;
    /// The colour times the image's mean.
    znRTColor getMean() const;

private:
    znRTColorPacket fetchVarying(const znRTDataBlockPacket& data, const znFloatType<2>& mask) const;

    znRTColor uniform{0.0f, 0.0f, 0.0f, 1.0f};
    znRTAttributeTexture texture;
    bool hasVertexColors = false;
};

/// A number; an image, of which the red channel counts, takes its place.
class znRTNumberAttribute
{
public:
    void set(float value) { uniform = value; }
    void set(float value, const znRTTextureSampler* sampler, bool isActive,
             const znRTTextureAttributes* attributes)
    {
        set(value);
        texture.set(sampler, isActive, attributes);
    }
    const znRTAttributeTexture& getTexture() const { return texture; }

    znFloatType<2> fetch(const znRTDataBlockPacket& data, const znFloatType<2>& mask) const
    {
        return texture.isActive() ? texture.fetch(data, mask).r : znFloatType<2>(uniform);
    }
    float getUniform() const { return uniform; }
    float getMean() const { return texture.isActive() ? texture.getMean().r : uniform; }

private:
    float uniform = 0.0f;
    znRTAttributeTexture texture;
};
