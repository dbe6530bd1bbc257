#pragma once

// The last step of filling a material's record.

#include "host/osg/materials/UBRDFMaterial.h"

namespace osg {

template <class M, class Record>
void UberMaterial::finishAttributes(const M& material, Record& record, znRTMaterialSlots& slots)
{
    finishCommon(record);

    // The preview shows the colour that the material is mainly seen by.
    if constexpr (requires { record.diffuse; })
        record.analyticDiffuse = record.diffuse;
    else if constexpr (requires { record.baseColor; })
        record.analyticDiffuse = record.baseColor;
    else if constexpr (requires { record.base; })
        record.analyticDiffuse = record.base;
    else if constexpr (requires { record.paintA; })
        record.analyticDiffuse = record.paintA;
    else if constexpr (requires { record.warpColor; })
        record.analyticDiffuse = record.warpColor;
    if constexpr (requires { record.glossy; })
        record.analyticSpecular = record.glossy;
    else if constexpr (requires { record.reflection; })
        record.analyticSpecular = record.reflection;

    if constexpr (std::is_base_of_v<UBRDFMaterial, M>) {
        const UBRDFMaterial& lit = material;
        const ColorComponent& light = lit.getIncandescence();
        record.incandescenceSpectrum =
            light.getSpectrum() && light.getSpectrum()->isUsable() ? light.getSpectrum() : nullptr;
        record.incandescenceIntensity = light.getIntensity();
        record.incandescenceTemperature = light.getTemperature();
        record.incandescenceUnitA = light.getColor()[0];
        record.incandescenceUnitB = light.getColor()[1];
        record.incandescenceUnitC = light.getColor()[2];
        record.incandescenceActive = lit.getIncandescenceActive();
        record.ownEnvironment = bool(lit.getEnvironment());
        bool hasTexture = false;
        slots.assign("incandescence", lit.getIncandescenceTexture(), znTextureUse::color,
                     record.incandescenceSampler, hasTexture, record.incandescenceAttributes);
        record.incandescenceMappingType = record.incandescenceAttributes->mappingType;
        record.incandescenceRepeatU = record.incandescenceAttributes->repeat.x;
        record.incandescenceRepeatV = record.incandescenceAttributes->repeat.y;
        if (record.incandescenceActive)
            record.analyticEmission = znRTVector3f(light.getColor()) * light.getIntensity();
        else
            record.analyticEmission = {};
    }
}

} // namespace osg
