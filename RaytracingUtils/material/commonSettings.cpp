// What all materials take over from their records, and which light counts at the quality of the
// frame.

#include "core/znRTDataBlockPacket.h"
#include "host/osg/materials/UberMaterial.h"
#include "host/znRTRaytracingSettings.h"
#include "light/usableColor.h"
#include "light/znRTLight.h"
#include "material/znRTMaterial.h"

#include "brdf/znRTBxDFAttributes.h"
#include "render/notAvailable.h"
#include "render/znRTRenderUtils.h"

#include <algorithm>

namespace {

using Settings = znRTRaytracingSettings;

/// One value for the frame: the material's own where it may override, else the settings'.
/// @param isVetoed  materials may not override
int selectValue(bool overrides, bool isVetoed, int interactive, int still, int otherwise)
{
    if (!overrides || isVetoed)
        return otherwise;
    return Settings::isStillFrame() ? still : interactive;
}

znRTColor opaque(const znRTVector3f& rgb)
{
    return usableColor(rgb.x, rgb.y, rgb.z);
}

void tellOfRayLights()
{
    static znRTOnceWarning notDone(
        "Photons of ray lights are not traced yet: surfaces that receive them show none.");
    notDone();
}

bool overridesEnvironment(const znRTCommonAttributes& attributes)
{
    return attributes.overrideEnvironment && !Settings::s_ignoreOverrideIBLQuality;
}

} // namespace

void znRTAnalyticShading::set(const znRTCommonAttributes& attributes)
{
    diffuse = opaque(attributes.analyticDiffuse);
    specular = opaque(attributes.analyticSpecular);
    emission = opaque(attributes.analyticEmission);
    shininess = attributes.analyticShininess;
    transparency = attributes.analyticTransparency;
    znRTBRDFAttributes record;
    record.setExponents(shininess, shininess);
    blend.setup(record, 1);
}

bool znRTMaterial::setRaytracingCommonSettings(znRTCommonAttributes& attributes)
{
    commonAttributes = &attributes;
    analytic.set(attributes);
    for (int i = 0; i < 4; ++i)
        materialIDColor[i] = attributes.materialIDColor[i];
    materialState.sideness = attributes.sideness;
    materialState.materialFlagA = attributes.flagA || attributes.receiveRayLightPhotons;
    if (materialState.materialFlagA)
        tellOfRayLights();
    photonTarget = attributes.photonTarget;
    roundedEdges = {attributes.roundedEdgeActive, attributes.roundedEdgeMode,
                    int(attributes.roundedEdgeSamples), attributes.roundedEdgeMaxDepth,
                    attributes.roundedEdgeSmoothing};

    const int lighting = attributes.lightingMode;
    materialState.usesEnvironmentMap = lighting >= 0 && lighting < 4;
    materialState.usesIndirectTerm = lighting == 0 || lighting == 1;
    materialState.usesDirectLights = lighting == 0 || lighting == 2 || lighting == 4;

    const SettingsStamp selected = selectSettings(attributes);
    deriveQuality(selected, overridesEnvironment(attributes));
    updateEnvironmentLight();
    if (selected == cacheStamp && !attributes.settingsDirty)
        return false;
    cacheStamp = selected;
    attributes.settingsDirty = false;
    return true;
}

znRTMaterial::SettingsStamp znRTMaterial::selectSettings(const znRTCommonAttributes& a)
{
    int indirectInteractive, indirectStill, environmentInteractive, environmentStill;
    znRTRenderUtils::getReflectionQualitySettings(indirectInteractive, indirectStill);
    znRTRenderUtils::getEnvironmentQualitySettings(environmentInteractive, environmentStill);
    const bool isStill = Settings::isStillFrame();
    SettingsStamp selected;
    selected.traceDepth =
        selectValue(a.overrideTraceDepth, Settings::s_ignoreOverrideTraceDepth,
                    a.traceDepthInteractive, a.traceDepthStill, int(s_maxReflectionDepth));
    selected.illumination =
        selectValue(a.overrideIllumination, Settings::s_ignoreOverrideIlluminationMode,
                    a.illuminationInteractive, a.illuminationStill, Settings::illuminationMode());
    selected.indirect = selectValue(a.overrideIndirect, Settings::s_ignoreOverrideReflectionQuality,
                                    a.indirectInteractive, a.indirectStill,
                                    isStill ? indirectStill : indirectInteractive);
    selected.environment = selectValue(a.overrideEnvironment, Settings::s_ignoreOverrideIBLQuality,
                                       a.environmentInteractive, a.environmentStill,
                                       isStill ? environmentStill : environmentInteractive);
    return selected;
}

void znRTMaterial::deriveQuality(const SettingsStamp& selected, bool environmentIsOverridden)
{
    const int illumination = selected.illumination;
    znRTMaterialState& state = materialState;
    state.sampleEnvironment = illumination > 1 && selected.environment != 0;
    state.traceIndirect = selected.indirect != 0 && illumination > 2;
    state.traceEnvironmentShadows = illumination == 1 && selected.environment != 0;
    if (state.traceEnvironmentShadows)
        state.sampleEnvironment = false;
    state.useBaking = illumination < 1;
    state.fullLighting = illumination > 1;
    state.environmentQualityOverride = environmentIsOverridden;
}

bool znRTMaterial::isTransparent() const
{
    return commonAttributes && (commonAttributes->transparent || commonAttributes->cutoutActive);
}

bool znRTMaterial::hasTransparencyTexture() const
{
    return commonAttributes && commonAttributes->transparencyActive;
}

bool znRTMaterial::isLightSource() const
{
    if (!commonAttributes || !commonAttributes->incandescenceActive)
        return false;
    const znRTCommonAttributes& a = *commonAttributes;
    const znRTColor light = znRTLight::calculateLightSpectrum(
        a.incandescenceSpectrum, a.incandescenceIntensity, a.incandescenceUnitA,
        a.incandescenceUnitB, a.incandescenceUnitC);
    return luminance(znRTColorPacket(light))[0] > s_leastPower;
}

znRTColorPacket znRTMaterial::useBaking(const znRTColorPacket& a, const znRTColorPacket& b,
                                        const znRTDataBlockPacket& data) const
{
    return materialState.useBaking ? select(data.bakedColor.a, b, a) : a;
}

void znRTMaterial::takeOver(const znRTMaterial& other)
{
    commonAttributes = other.commonAttributes;
    materialState = other.materialState;
    for (int i = 0; i < 4; ++i)
        materialIDColor[i] = other.materialIDColor[i];
    environmentF0 = other.environmentF0;
    environmentFresnelScale = other.environmentFresnelScale;
    occlusionSamplesInteractive = other.occlusionSamplesInteractive;
    occlusionSamplesStill = other.occlusionSamplesStill;
    needsConsistentTangents = other.needsConsistentTangents;
    photonTarget = other.photonTarget;
    roundedEdges = other.roundedEdges;
    version = other.version;
    cacheStamp = other.cacheStamp;
}
