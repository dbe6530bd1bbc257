// Values of fields that nobody set. A scene file stores only what differs from them, so a default
// that changes is a change of every picture that was ever made without the field.

#include "host/osg/FieldContainer.h"

#include <gtest/gtest.h>

namespace {

struct Row
{
    const char* field;
    std::vector<float> value; ///< one number, or one per component
};

struct NumbersOf
{
    std::vector<float> operator()(bool v) const { return {float(v)}; }
    std::vector<float> operator()(int v) const { return {float(v)}; }
    std::vector<float> operator()(u32 v) const { return {float(v)}; }
    std::vector<float> operator()(float v) const { return {v}; }
    template <int N>
    std::vector<float> operator()(const osg::Vector<float, N>& v) const
    {
        return {v.values, v.values + N};
    }
    std::vector<float> operator()(const ColorComponent& v) const
    {
        return {v.color[0], v.color[1], v.color[2], v.intensity, v.temperature};
    }
    template <class T>
    std::vector<float> operator()(const T&) const
    {
        return {};
    }
};

void expectDefaults(const char* typeName, const std::vector<Row>& rows)
{
    const osg::FieldContainerType* type = osg::FieldContainerFactory::the()->findType(typeName);
    ASSERT_NE(type, nullptr) << typeName;
    for (const Row& row : rows) {
        const osg::FieldDescription* field = type->findField(row.field);
        ASSERT_NE(field, nullptr) << typeName << "." << row.field;
        EXPECT_EQ(std::visit(NumbersOf(), field->defaultValue), row.value)
            << typeName << "." << row.field;
    }
}

TEST(FieldDefaults, OfNodesAndGeometryStay)
{
    expectDefaults("Node", {{"active", {1}}, {"flags", {0}}, {"lock", {0}}});
    expectDefaults("ClipPlane", {{"on", {1}}, {"equation", {0, 0, 1, 0}}});
    expectDefaults("Spectrum", {{"useSpectrum", {0}}});
    expectDefaults("SkinAttachment", {{"enabled", {0}}});
    expectDefaults("RaytracingGeoAttachment", {{"primaryVisibility", {1}},
                                               {"visibleInReflections", {1}},
                                               {"visibleInRefractions", {1}},
                                               {"castShadows", {1}},
                                               {"castShadowsOnShadowMaterial", {1}},
                                               {"visibleInGlossyReflections", {1}},
                                               {"visibleInPhotons", {1}},
                                               {"doubleSided", {1}},
                                               {"roundedEdgeRadius", {0}},
                                               {"ambientOcclusionColor", {1, 1, 1}},
                                               {"photonTarget", {0}},
                                               {"noClipping", {0}}});
}

TEST(FieldDefaults, OfCamerasStay)
{
    expectDefaults("UberCamera", {{"near", {0.001f}},
                                  {"far", {10000}},
                                  {"projectionMode", {0}},
                                  {"fov", {45}},
                                  {"fovAxis", {0}},
                                  {"orthoHeight", {2}},
                                  {"lensShift", {0, 0}},
                                  {"filterType", {1}},
                                  {"filterSizeX", {1}},
                                  {"filterSizeY", {1}},
                                  {"isLeftEye", {1}},
                                  {"eyeSeparation", {63}}});
    expectDefaults("TonemappingSettings", {{"blendMode", {0}},
                                           {"blendAmount", {1}},
                                           {"vignetteRadius", {0.9f}},
                                           {"vignetteRoundness", {1}},
                                           {"vignetteFeather", {0.3f}},
                                           {"stereoEyeSeparation", {63}},
                                           {"stereoLayout", {1}},
                                           {"stereoPolarMergeAngle", {60}},
                                           {"useTonemapping", {1}},
                                           {"tonemapperType", {0}},
                                           {"exposure", {0}},
                                           {"whitepoint", {1}},
                                           {"burn", {0.5f}},
                                           {"contrast", {1}},
                                           {"saturation", {1}},
                                           {"whiteBalanceTemperature", {6500}},
                                           {"whiteBalanceTint", {0}},
                                           {"useColorCorrection", {0}},
                                           {"lift", {0, 0, 0, 0}},
                                           {"gamma", {1, 1, 1, 1}},
                                           {"gain", {1, 1, 1, 1}},
                                           {"colorProfile", {1}},
                                           {"displayGamma", {2.2f}},
                                           {"correctBackplate", {0}},
                                           {"correctFrontplate", {0}},
                                           {"tonemapFloatImages", {0}}});
    expectDefaults("FogSettings", {{"fogEnableDistance", {0}},
                                   {"fogEnableHeight", {0}},
                                   {"fogFalloffDistance", {1}},
                                   {"fogFalloffHeight", {1}},
                                   {"fogDensityDistance", {1}},
                                   {"fogDensityHeight", {1}},
                                   {"fogRangeDistance", {0, 100}},
                                   {"fogRangeHeight", {0, 100}},
                                   {"fogColorDistance", {0.7f, 0.75f, 0.8f}},
                                   {"fogColorHeight", {0.7f, 0.75f, 0.8f}},
                                   {"fogNoiseDistance", {0}},
                                   {"fogNoiseHeight", {0}},
                                   {"fogNoiseSizeDistance", {1}},
                                   {"fogNoiseSizeHeight", {1}},
                                   {"fogNoiseOffsetDistance", {0, 0, 0}},
                                   {"fogNoiseOffsetHeight", {0, 0, 0}},
                                   {"fogBlendHeight", {1}}});
}

TEST(FieldDefaults, OfLightsStay)
{
    expectDefaults("UHeadLight", {{"intensity", {1}},
                                  {"diffuse", {1, 1, 1, 1, 0}},
                                  {"glossy", {1, 1, 1, 1, 0}},
                                  {"localLighting", {0}},
                                  {"attenuationType", {2}}});
    expectDefaults("USpotLight", {{"on", {1}},
                                  {"attenuationType", {2}},
                                  {"constantAttenuation", {0}},
                                  {"linearAttenuation", {0}},
                                  {"quadraticAttenuation", {1}},
                                  {"coneAngle", {30}},
                                  {"penumbraAngle", {5}}});
    const std::vector<Row> area{
        {"attenuationType", {2}},    {"visibleInReflections", {1}}, {"primaryVisibility", {1}},
        {"interactiveQuality", {1}}, {"stillQuality", {4}},         {"useConeAngle", {0}},
        {"coneAngle", {90}},         {"penumbraAngle", {0}},        {"emissionTextureActive", {0}}};
    for (const char* type : {"UDiskLight", "URectangularLight", "USphericalLight"})
        expectDefaults(type, area);
    expectDefaults("UDiskLight", {{"sizeX", {0.5f}}, {"sizeY", {0.5f}}});
    expectDefaults("USphericalLight", {{"radius", {0.5f}}});
    expectDefaults("RaytracingLightAttachment", {{"shadowIntensity", {1}},
                                                 {"groundShadowIntensity", {1}},
                                                 {"importanceMultiplier", {1}},
                                                 {"castShadowOnShadowMaterial", {1}},
                                                 {"illuminateShadowMaterial", {0}},
                                                 {"directWithPhotons", {0}},
                                                 {"emitCausticPhotons", {1}}});
    expectDefaults(
        "LightProfileAttachment",
        {{"useLightProfile", {0}}, {"photometricType", {3}}, {"useProfileIntensity", {0}}});
    expectDefaults("RayFileAttachment", {{"spectralInformation", {0}},
                                         {"useRandomSampling", {0}},
                                         {"directEvaluationRadius", {10}},
                                         {"directEvaluationCone", {10}},
                                         {"directEvaluationOffset", {0}}});
}

TEST(FieldDefaults, OfRenderSettingsStay)
{
    expectDefaults("RaytracingSettingsAttachment", {{"interactiveQualityMode", {2}},
                                                    {"stillFrameQualityMode", {3}},
                                                    {"interactiveQuality", {1}},
                                                    {"stillFrameQuality", {4}},
                                                    {"environmentInteractiveQuality", {1}},
                                                    {"environmentStillQuality", {4}},
                                                    {"interactiveReflectionDepth", {4}},
                                                    {"stillFrameReflectionDepth", {10}},
                                                    {"imageSamples", {128}},
                                                    {"interactiveImageSamples", {1}},
                                                    {"stillFrameSupersampling", {1}},
                                                    {"adaptiveAAThresholdQuality", {2}},
                                                    {"adaptiveAASamples", {0}},
                                                    {"renderTimeInSeconds", {60}},
                                                    {"raytracingRenderRegion", {0, 0, 1, 1}},
                                                    {"brdfMode", {1}},
                                                    {"illuminant", {0}},
                                                    {"spectralRaytracing", {0}},
                                                    {"lightEvaluationThreshold", {0.0005f}},
                                                    {"lightOptimizationMode", {1}},
                                                    {"clamping", {0}},
                                                    {"reflectionClampValue", {100}},
                                                    {"useHighQualityTextureFiltering", {1}},
                                                    {"interactiveTextureSharpness", {1}},
                                                    {"stillFrameTextureSharpness", {1}},
                                                    {"photonMode", {0}},
                                                    {"photonTraceDepth", {10}},
                                                    {"photonLookupCount", {60}},
                                                    {"photonUseAutomaticRadius", {1}},
                                                    {"indirectPhotonRadius", {0.1f}},
                                                    {"finalGatherRadius", {0}},
                                                    {"interactivePhotonCount", {200000}},
                                                    {"stillFramePhotonCount", {2000000}},
                                                    {"interactiveFinalGatherQuality", {1}},
                                                    {"stillFrameFinalGatherQuality", {16}},
                                                    {"nurbsMode", {1}},
                                                    {"nurbsEpsilon", {1e-5f}},
                                                    {"nurbsNewtonEpsilon", {1e-3f}},
                                                    {"nurbsUsePreclassification", {1}},
                                                    {"nurbsMinDepthSurface", {2}},
                                                    {"nurbsMaxDepthSurface", {10}},
                                                    {"nurbsMinDepthCurve", {2}},
                                                    {"nurbsMaxDepthCurve", {12}},
                                                    {"nurbsThresholdSurface", {0.8f}},
                                                    {"nurbsThresholdCurve", {0.8f}},
                                                    {"denoiseFilter", {0}},
                                                    {"denoiseFilterThreshold", {0.5f}},
                                                    {"applyTonemapping", {1}},
                                                    {"applyColorCorrection", {1}},
                                                    {"displayLuminance", {100}},
                                                    {"renderer", {0}}});
    expectDefaults("RenderOptions", {{"showASides", {1}},
                                     {"showBSides", {1}},
                                     {"selectionWireframe", {1}},
                                     {"preselectionWireframe", {0}},
                                     {"wireframeAlwaysInFront", {0}},
                                     {"wireframeOnMaterial", {0}},
                                     {"selectionOpacity", {0.25f}},
                                     {"lineWidth", {1}},
                                     {"gridSubdivisions", {10}}});
}

TEST(FieldDefaults, OfMaterialsStay)
{
    expectDefaults("UPhongMaterial", {{"diffuse", {0.8f, 0.8f, 0.8f, 1, 0}},
                                      {"glossy", {0.04f, 0.04f, 0.04f, 1, 0}},
                                      {"roughness", {0.1f}},
                                      {"ambient", {0.8f, 0.8f, 0.8f, 1, 0}},
                                      {"sideness", {3}},
                                      {"lightingMode", {0}},
                                      {"overrideTraceDepth", {0}},
                                      {"traceDepthInteractive", {2}},
                                      {"traceDepthStill", {10}},
                                      {"illuminationInteractive", {2}},
                                      {"illuminationStill", {3}},
                                      {"indirectInteractive", {1}},
                                      {"indirectStill", {4}},
                                      {"environmentInteractive", {1}},
                                      {"environmentStill", {4}},
                                      {"occlusionColor", {0, 0, 0, 1}},
                                      // Looked up as bright as sampled, which knows neither.
                                      {"environmentF0", {1}},
                                      {"environmentFresnelScale", {0}},
                                      {"parallaxDepth", {0.01f}},
                                      {"parallaxSteps", {32}},
                                      {"displacementHeight", {0}},
                                      {"displacementRange", {0, 1}},
                                      {"roundedEdgeActive", {0}},
                                      {"roundedEdgeMode", {1}},
                                      {"translucencyMode", {0}},
                                      {"indexInside", {1.4f}},
                                      {"incandescenceActive", {0}}});
    expectDefaults("UMetallicPaintMaterial", {{"base", {0.1f, 0.1f, 0.12f, 1, 0}},
                                              {"flake", {0.8f, 0.8f, 0.8f, 1, 0}},
                                              {"flakeSize", {0.2f}},
                                              {"flakeDensity", {0.5f}},
                                              {"clearcoatReflectance", {0.04f}},
                                              {"fresnelTable", {255}}});
    expectDefaults("UGlassMaterial", {{"ior", {1.5f}},
                                      {"dispersion", {0}},
                                      {"finish", {0}},
                                      {"colouredShadow", {1}},
                                      {"useIor", {1}},
                                      {"depthLimit", {10}},
                                      {"attenuationDistance", {0}}});
    expectDefaults("USubstanceMaterial", {{"baseColor", {0.8f, 0.8f, 0.8f, 1, 0}},
                                          {"metallic", {0}},
                                          {"roughness", {0.5f}},
                                          {"specularLevel", {0.5f}},
                                          {"ambientOcclusion", {1}},
                                          {"opacity", {1}},
                                          {"normalFormat", {0}}});
    expectDefaults("USkylightMaterial", {{"turbidity", {3}},
                                         {"groundColor", {0.2f, 0.2f, 0.2f}},
                                         {"horizonBlur", {0.1f}},
                                         {"isSampled", {1}},
                                         {"exposure", {0}},
                                         {"intensity", {1}},
                                         {"gamma", {1}}});
    expectDefaults("UTextureSettings", {{"isActive", {0}},
                                        {"gamma", {2.2f}},
                                        {"repeat", {1, 1}},
                                        {"maxAnisotropy", {8}},
                                        {"mipmaps", {1}},
                                        {"mappingType", {0}},
                                        {"uvSet", {0}}});
}

} // namespace
