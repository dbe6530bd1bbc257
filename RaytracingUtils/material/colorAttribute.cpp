#include "material/colorAttribute.h"

#include "core/shadingRequirements.h"
#include "core/znRTDataBlockPacket.h"
#include "host/znRTMaterialState.h"
#include "material/znRTBRDFMaterial.h"

void znRTColorAttribute::set(const znRTVector3f& color, const osg::Spectrum* spectrum)
{
    uniform = znRTBRDFMaterial::getSpectrum(spectrum, color);
}

void znRTColorAttribute::addRequirements(znRTMaterialState& state) const
{
    texture.addRequirements(state);
    if (hasVertexColors)
        state.materialAttributes |= vertexAttribute::vertexColor;
}

znRTColorPacket znRTColorAttribute::fetchVarying(const znRTDataBlockPacket& data,
                                                 const znFloatType<2>& mask) const
{
    znRTColorPacket color(uniform);
    if (texture.isActive())
        color *= texture.fetch(data, mask);
    if (hasVertexColors)
        color *= data.vertexColor & mask;
    color.a = 1.0f;
    return color;
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
