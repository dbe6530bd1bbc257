#pragma once

// Bases of the renderer's materials. Each owns a plain record, filled from its fields in one place
// whenever an edit ends; the core reads the record when it updates, never while it shades.

#include "host/osg/Material.h"
#include "host/osg/RayFileAttachment.h"
#include "host/osg/materials/materialRows.h"

#define ZN_COMMON_ROWS(R)                                                                          \
    /* Which light counts. */                                                                      \
    R(CHOICE, (lightingMode, LightingMode, 0, "all", "noDirect", "noIndirect", "environmentOnly",  \
               "directOnly"))                                                                      \
    R(FLAG, (overrideTraceDepth, OverrideTraceDepth, false))                                       \
    R(NUMBER, (int, traceDepthInteractive, TraceDepthInteractive, 2, "", 0, 64))                   \
    R(NUMBER, (int, traceDepthStill, TraceDepthStill, 10, "", 0, 64))                              \
    R(FLAG, (overrideIllumination, OverrideIllumination, false))                                   \
    R(NUMBER, (int, illuminationInteractive, IlluminationInteractive, 2, "", 0, 3))                \
    R(NUMBER, (int, illuminationStill, IlluminationStill, 3, "", 0, 3))                            \
    R(FLAG, (overrideIndirect, OverrideIndirect, false))                                           \
    R(NUMBER, (int, indirectInteractive, IndirectInteractive, 1, "samples", 0, 1024))              \
    R(NUMBER, (int, indirectStill, IndirectStill, 4, "samples", 0, 1024))                          \
    R(FLAG, (overrideEnvironment, OverrideEnvironment, false))                                     \
    R(NUMBER, (int, environmentInteractive, EnvironmentInteractive, 1, "samples", 0, 1024))        \
    R(NUMBER, (int, environmentStill, EnvironmentStill, 4, "samples", 0, 1024))                    \
    R(FLAG, (flagA, FlagA, false))                                                                 \
    /* 1 front, 2 back, 3 both. */                                                                 \
    R(NUMBER, (int, sideness, Sideness, 3, "", 1, 3))                                              \
    R(LENGTH, (lineWidth, LineWidth, 0.001f, "m", 0.0f, 1e6f))                                     \
    R(LENGTH, (pointSize, PointSize, 0.001f, "m", 0.0f, 1e6f))                                     \
    R(FLAG, (receiveRayLightPhotons, ReceiveRayLightPhotons, false))                               \
    R(FLAG, (photonTarget, PhotonTarget, false))                                                   \
    R(FLAG, (roundedEdgeActive, RoundedEdgeActive, false))                                         \
    R(NUMBER, (u32, roundedEdgeSamples, RoundedEdgeSamples, 1, "samples", 1, 64))                  \
    R(CHOICE, (roundedEdgeMode, RoundedEdgeMode, 1, "allGeometry", "sameObject", "sameGeometry",   \
               "sameMaterial"))                                                                    \
    R(NUMBER, (int, roundedEdgeMaxDepth, RoundedEdgeMaxDepth, 1, "", 0, 64))                       \
    R(NUMBER, (float, roundedEdgeSmoothing, RoundedEdgeSmoothing, 1.0f, "", 0.0f, 1.0f))           \
    /* What passes through unchanged: black is opaque. */                                          \
    R(COLOR, (transparencyColor, TransparencyColor, 0.0f, 0.0f, 0.0f))                             \
    R(TEXTURE, (transparency, Transparency, color))                                                \
    R(TEXTURE, (cutout, Cutout, data))                                                             \
    /* Colours of the vertices: factors on the colour of the body, and on its opacity. */          \
    R(CHOICE, (vertexColors, VertexColors, 0, "off", "color", "colorAndOpacity"))                  \
    /* Parameters of the fast preview; transparency and shininess of simple shading. */            \
    R(NUMBER, (float, analyticShininess, AnalyticShininess, 20.0f, "", 1e-3f, 1e6f))               \
    R(NUMBER, (float, analyticTransparency, AnalyticTransparency, 0.0f, "", 0.0f, 1.0f))           \
    /* Alpha 0: a hue from the id. */                                                              \
    R(NUMBER,                                                                                      \
      (osg::Vec4f, materialIDColor, MaterialIDColor, (osg::Vec4f(0, 0, 0, 0)), "", 0.0f, 1.0f))

ZN_MATERIAL_BLOCK(znRTCommonBlock, ZN_COMMON_ROWS)

/// Head of every record.
struct znRTCommonAttributes : znRTCommonBlock
{
    // Preview colours, derived from the container's own.
    znRTVector3f analyticDiffuse{0.8f, 0.8f, 0.8f};
    znRTVector3f analyticSpecular{0.1f, 0.1f, 0.1f};
    znRTVector3f analyticEmission{0.0f, 0.0f, 0.0f};

    // Own light. Units A, B, C are r, g, b of the colour.
    const osg::Spectrum* incandescenceSpectrum = nullptr;
    float incandescenceIntensity = 1.0f;
    float incandescenceTemperature = 0.0f; ///< K, 0 = unused
    float incandescenceUnitA = 1.0f, incandescenceUnitB = 1.0f, incandescenceUnitC = 1.0f;
    bool incandescenceActive = false;
    znRTTextureSampler* incandescenceSampler = nullptr;
    const znRTTextureAttributes* incandescenceAttributes = nullptr;
    int incandescenceMappingType = 0; ///< 0 UV, 1 planar, 2 triplanar
    float incandescenceRepeatU = 1.0f, incandescenceRepeatV = 1.0f;

    osg::RayFileAttachment* rayFile = nullptr; ///< the surface emits measured rays
    bool ownEnvironment = false;               ///< lit by the container's environment

    bool settingsDirty = true; ///< set when the record was filled, cleared by the core
    bool transparent = false;  ///< written by the core
};

namespace osg {

class UberMaterial : public Material
{
    ZN_ABSTRACT_CONTAINER(UberMaterial, Material)
    ZN_COMMON_ROWS(ZN_ROW_FIELD)
    ZN_SLOT(FCPtr<RayFileAttachment>, rayFile, RayFile)
    ZN_SLOT(UTriplanarSettingsPtr, triplanar, Triplanar)

    using BaseRecord = znRTCommonAttributes;

    /// The record, filled anew first if textures or the scene's unit changed meanwhile.
    virtual znRTCommonAttributes& getRaytracingAttributes() = 0;
    /// Fills the record now: something that the material refers to has changed.
    void refill() { fillAttributes(); }

protected:
    virtual void fillAttributes() = 0;
    void changed(u64 mask) override;
    void refreshAttributes();
    void beginFill();
    /// What is not a row of its own: preview colours, incandescence, id colour.
    template <class M, class Record>
    void finishAttributes(const M& material, Record& record, znRTMaterialSlots& slots);
    void finishCommon(znRTCommonAttributes& record);

    znRTMaterialSlots slots;
};

using UberMaterialPtr = FCPtr<AttachmentContainerPtr, UberMaterial>;

} // namespace osg
