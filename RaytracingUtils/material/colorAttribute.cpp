#include "material/colorAttribute.h"

#include "material/znRTBRDFMaterial.h"

void znRTColorAttribute::set(const znRTVector3f& color, const osg::Spectrum* spectrum)
{
    uniform = znRTBRDFMaterial::getSpectrum(spectrum, color);
}

znRTColorPacket znRTColorAttribute::fetchTextured(const znRTDataBlockPacket& data,
                                                  const znFloatType<2>& mask) const
{
    const znRTColorPacket texel = texture.fetch(data, mask);
    return {texel.r * uniform.r, texel.g * uniform.g, texel.b * uniform.b, 1.0f};
}

znRTColor znRTColorAttribute::getMean() const
{
    if (!texture.isActive())
        return uniform;
    const znRTColor mean = texture.getMean();
    return {uniform.r * mean.r, uniform.g * mean.g, uniform.b * mean.b, 1.0f};
}

float znRTColorAttribute::getPhotometricValue() const
{
    return luminance(znRTColorPacket(getMean()))[0];
}
