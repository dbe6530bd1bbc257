#include "material/znRTMaterial.h"

#include "host/osg/Material.h"
#include "host/znRTRaytracingSettings.h"
#include "material/mirrorLight.h"
#include "material/ownEnvironmentHolders.h"
#include "material/shadePipeline.h"
#include "render/znRTMultilayerFragment.h"
#include "texture/structures/projectedBumpTextures.h"
#include "texture/znRTTextureFunctions.h"

#include <algorithm>

int znRTMaterial::s_renderer = 0;
unsigned znRTMaterial::s_maxReflectionDepth = 100;
float znRTMaterial::s_photonRadius = 0.0f;
bool znRTMaterial::s_enableOcclusionPass = false;
const znRTInfiniteAreaLight* znRTMaterial::s_environmentLight = nullptr;
znFloatType<2> znRTMaterial::s_minWeightThreshold(0.0005f);
znFloatType<2> znRTMaterial::s_weightThresholdScale(1.0f);

znRTMaterial::znRTMaterial(const znRTTypeId& typeId, const osg::MaterialPtr& material)
    : znRTNode(typeId), hostMaterial(material), materialId(material ? material->getId() : 0)
{
}

znRTMaterial::~znRTMaterial()
{
    ownEnvironmentHolders::remove(*this);
}

znRTColorPacket znRTMaterial::getMaterialIDColor() const
{
    return {materialIDColor[0], materialIDColor[1], materialIDColor[2], 1.0f};
}

int znRTMaterial::getSideness() const
{
    return znRTRaytracingSettings::s_qualityMode == znRTRaytracingSettings::ambientOcclusion
               ? 3
               : materialState.sideness;
}

namespace {

/// Interpolated normals lean over the rims of what is made of few triangles, away from the viewer
/// or so far that a mirror ray would enter the surface. There no lobe reflects anything: black
/// specks along the outline. Such a normal comes back as far as it has to.
void raiseNormal(const znRTVector3fPacket& d, znRTDifferentialGeometry& dg,
                 const znFloatType<2>& mask)
{
    const znRTVector3fPacket &n = dg.shadingNormal, &geometric = dg.geometricNormal;
    const znFloatType<2> along = dot(d, n);
    const znFloatType<2> height = dot(d, geometric) - along * dot(n, geometric) * 2.0f;
    const znFloatType<2> lanes = mask & (height < znFloatType<2>(0.0f));
    if (!anyLane(lanes))
        return;
    // Along the outline first, as seen by the viewer, so that nothing jumps there.
    constexpr float justInSight = 1e-3f;
    const znFloatType<2> excess = maximum(along + justInSight, 0.0f);
    const znRTVector3fPacket seen = (n - d * excess).getNormalized();
    dg.shadingNormal.setMasked(normalOfMirror(d, mirrorAboveSurface(d, seen, geometric), geometric),
                               lanes);
}

} // namespace

void znRTMaterial::bendNormal(const znRTRayDifferentialPacket& ray, const znRTDataBlockPacket& data,
                              znRTHitSurface& hit, const znFloatType<2>& mask) const
{
    const znRTSurfaceStructure& structure = *surfaceStructure;
    if (structure.perturbs()) {
        const bool isApart =
            structure.is(liesInObject) || readsOwnCoordinates(structure.getTextureAttributes());
        const znRTVector3fPacket normal =
            isApart ? structure.getNormal(ray, data, mask) : structure.getNormalAt(hit.dg, mask);
        const znRTVector3fPacket mirrored =
            mirrorAboveSurface(ray.direction, normal, hit.dg.geometricNormal);
        hit.dg.shadingNormal.setMasked(
            normalOfMirror(ray.direction, mirrored, hit.dg.shadingNormal), mask);
    } else {
        raiseNormal(ray.direction, hit.dg, mask);
    }
    if (structure.is(givesDirections)) {
        hit.dg.tangent.setMasked(structure.getFrame(ray, data, mask).u, mask);
        hit.dg.tangentMask |= mask;
    }
}

znFloatType<2> znRTMaterial::evaluateCutout(const znRTRayPacket&, const znRTDifferentialGeometry&,
                                            const znFloatType<2>& mask) const
{
    return mask;
}

void znRTMaterial::evaluateMaterial(znRTRayDifferentialPacket&, znRTDataBlockPacket&,
                                    znRTSurfaceProperties&, const znFloatType<2>&,
                                    znRTShadingState&, int, EvaluationType) const
{
}

void znRTMaterial::shadeAnalytic(const znRTRayDifferentialPacket& ray, znRTDataBlockPacket& data,
                                 znRTMultilayerFragment& fragment, const znFloatType<2>& mask,
                                 znRTShadingState& state) const
{
    shadeAnalytic(ray, data, static_cast<znRTFragment&>(fragment), mask, state);
}

void znRTMaterial::shade(const znRTRayDifferentialPacket& ray, znRTDataBlockPacket& data,
                         znRTMultilayerFragment& fragment, const znFloatType<2>& mask,
                         znRTShadingState& state) const
{
    shade(ray, data, static_cast<znRTFragment&>(fragment), mask, state);
}

znRTColorPacket znRTMaterial::getTransparency(const znRTRayDifferentialPacket&,
                                              znRTDataBlockPacket&, const znFloatType<2>&,
                                              znRTShadingState&) const
{
    return {0.0f, 0.0f, 0.0f, 1.0f};
}

znRTColorPacket znRTMaterial::getPickedTransparency(const znRTRayDifferentialPacket& ray,
                                                    znRTDataBlockPacket& data,
                                                    const znFloatType<2>& mask,
                                                    znRTShadingState& state) const
{
    return getTransparency(ray, data, mask, state);
}

const znRTMaterial* znRTMaterial::getFirstNonTransparentMaterial(const znRTRayDifferentialPacket&,
                                                                 znRTDataBlockPacket&,
                                                                 const znFloatType<2>&,
                                                                 znRTShadingState&) const
{
    return this;
}

znRTColorPacket znRTMaterial::evaluateEmission(const znRTRayDifferentialPacket&,
                                               znRTDataBlockPacket&, const znFloatType<2>&) const
{
    return znRTColorPacket(0.0f);
}

bool znRTMaterial::updateStaticSettings()
{
    const int renderer = znRTRaytracingSettings::s_renderer;
    const unsigned depth = unsigned(std::clamp(znRTRaytracingSettings::reflectionDepth(), 0, 100));
    // With luminance mapping pictures hold cd/m2, as lamps do: skies and ambient light, which count
    // from white, are brought to the luminance of the display's white.
    const float exposureScale = znRTRaytracingSettings::s_sim2LuminanceMapping
                                    ? znRTRaytracingSettings::s_displayLuminance
                                    : 1.0f;
    const bool changed = renderer != s_renderer || depth != s_maxReflectionDepth ||
                         exposureScale != znRTTextureFunctions::s_exposureScale;
    znRTTextureFunctions::s_exposureScale = exposureScale;
    s_renderer = renderer;
    s_maxReflectionDepth = depth;
    znRTTextureFunctions::s_useHighQualityTextureFiltering =
        znRTRaytracingSettings::s_useHighQualityTextureFiltering;
    znRTTextureFunctions::setSharpness(znRTRaytracingSettings::textureSharpness());
    return changed;
}
