#include "material/znRTLightPortalMaterial.h"

#include "core/rayTypes.h"
#include "host/osg/materials/utilityMaterials.h"
#include "material/letAllPass.h"
#include "render/znRTFragment.h"

const znRTTypeId znRTLightPortalMaterial::id("znRTLightPortalMaterial");

znRTLightPortalMaterial::znRTLightPortalMaterial(const osg::MaterialPtr& material)
    : znRTMaterial(id, material)
{
    znRTLightPortalMaterial::update();
}

void znRTLightPortalMaterial::update()
{
    const auto host = osg::FCPtr<osg::ULightPortalMaterial>::dcast(hostMaterial);
    if (!host)
        return;
    auto& record = host->getRaytracingAttributes();
    setRaytracingCommonSettings(record);
    materialState.sideness = 3;
    materialState.visibility = int(rayType::camera);
    materialState.shadingRequirements = 0;
    materialState.photonImportance = record.strength;
}

void znRTLightPortalMaterial::shade(const znRTRayDifferentialPacket& ray, znRTDataBlockPacket& data,
                                    znRTFragment& fragment, const znFloatType<2>& mask,
                                    znRTShadingState& state) const
{
    if (state.counterD >= s_mostPassed) {
        fragment.updateFragmentColor({0.0f, 0.0f, 0.0f, 1.0f}, 1.0f, mask);
        return;
    }
    letAllPass(ray, data, fragment, mask, state);
}

znRTColorPacket znRTLightPortalMaterial::getTransparency(const znRTRayDifferentialPacket&,
                                                         znRTDataBlockPacket&,
                                                         const znFloatType<2>& mask,
                                                         znRTShadingState&) const
{
    return allPassed(mask);
}
