#include "host/osg/Materials.h"
#include "host/znSceneDataManager.h"
#include "scene/finishAttributes.h"

#include <cmath>
#include <cstring>

float znLengthFactor(const char* unit)
{
    const float perMetre = znSceneDataManager::getUnitsPerMetre();
    return std::strcmp(unit, "mm") == 0 ? perMetre * 0.001f : perMetre;
}

void znAssignColor(const ColorComponent& component, znRTVector3f& color,
                   const osg::Spectrum*& spectrum)
{
    const osg::Vec3f& rgb = component.getColor();
    const float intensity = component.getIntensity();
    const auto channel = [&](int i) {
        const float value = rgb[i] * intensity;
        return std::isfinite(value) ? value : 0.0f;
    };
    color = {channel(0), channel(1), channel(2)};
    const osg::Spectrum* given = component.getSpectrum();
    spectrum = given && given->isUsable() ? given : nullptr;
}

namespace osg {

ZN_ABSTRACT_CONTAINER_BODY(UberMaterial)
ZN_ABSTRACT_CONTAINER_BODY(UBRDFMaterial)

void UberMaterial::changed(u64 mask)
{
    Inherited::changed(mask);
    fillAttributes();
}

void UberMaterial::refreshAttributes()
{
    if (slots.isStale())
        fillAttributes();
}

void UberMaterial::beginFill()
{
    slots.begin(getTriplanar().get());
}

namespace {

/// Colour of full saturation; hues of consecutive ids lie far apart (golden ratio).
Vec4f colorOfId(u32 id)
{
    const double hue = std::fmod(double(id) * 0.61803398874989485, 1.0) * 6.0;
    const auto channel = [hue](double shift) {
        const double h = std::fmod(hue + shift, 6.0);
        return float(std::clamp(std::abs(h - 3.0) - 1.0, 0.0, 1.0));
    };
    return {channel(0.0), channel(4.0), channel(2.0), 1.0f};
}

} // namespace

void UberMaterial::finishCommon(znRTCommonAttributes& record)
{
    record.settingsDirty = true;
    record.rayFile = getRayFile().get();
    if (getMaterialIDColor()[3] == 0.0f)
        record.materialIDColor = colorOfId(getId());
}

ZN_MATERIAL_BODY(UPhongMaterial)
ZN_MATERIAL_BODY(UPlasticMaterial)
ZN_MATERIAL_BODY(UReflectivePlasticMaterial)
ZN_MATERIAL_BODY(UTriplanarMaterial)
ZN_MATERIAL_BODY(UReflectiveTriplanarMaterial)
ZN_MATERIAL_BODY(UVelvetMaterial)
ZN_MATERIAL_BODY(UWovenClothMaterial)
ZN_MATERIAL_BODY(UShadowMaterial)
ZN_MATERIAL_BODY(UGlowMaterial)
ZN_MATERIAL_BODY(UXrayMaterial)
ZN_MATERIAL_BODY(ULightPortalMaterial)
ZN_MATERIAL_BODY(ULayeredMaterial)
ZN_MATERIAL_BODY(ULightMaterial)
ZN_MATERIAL_BODY(UGlassMaterial)
ZN_MATERIAL_BODY(UVolumeScatterMaterial)

} // namespace osg
