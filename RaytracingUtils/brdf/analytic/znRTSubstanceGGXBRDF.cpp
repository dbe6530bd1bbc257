#include "brdf/analytic/znRTSubstanceGGXBRDF.h"

#include "brdf/znRTBxDFAttributes.h"

const znRTTypeId znRTSubstanceGGXBRDF::s_typeId("znRTSubstanceGGXBRDF");

void znRTSubstanceGGXBRDF::setup(const znRTBxDFAttributes& attributes, unsigned count)
{
    setSampleCount(count);
    const auto* const record = dynamic_cast<const znRTSubstanceAttributes*>(&attributes);
    if (!record)
        return;
    const znRTVector2f alpha = getSlopesOf(record->roughness, record->anisotropyLevel).getLane(0);
    slopes.set(alpha.x, alpha.y, record->anisotropyAngle * 360.0f);
    const znRTVector3f& base = record->baseColor;
    setReflectanceColor(getReflectanceOf(znRTColorPacket(znRTColor(base.x, base.y, base.z)),
                                         record->metallic, record->specularLevel)
                            .getComponent(0));
}

znRTVector2fPacket znRTSubstanceGGXBRDF::getSlopesOf(znFloatType<2> roughness,
                                                     znFloatType<2> anisotropy)
{
    const znFloatType<2> alpha = square(roughness);
    const znFloatType<2> aspect = squareRoot(znFloatType<2>(1.0f) - clamp01(anisotropy) * 0.9f);
    return {alpha * reciprocalOrZero(aspect), alpha * aspect};
}

znRTColorPacket znRTSubstanceGGXBRDF::getReflectanceOf(const znRTColorPacket& baseColor,
                                                       znFloatType<2> metallic,
                                                       znFloatType<2> specularLevel)
{
    const znFloatType<2> plain = specularLevel * 0.08f;
    return {mix(plain, baseColor.r, metallic), mix(plain, baseColor.g, metallic),
            mix(plain, baseColor.b, metallic), 1.0f};
}
