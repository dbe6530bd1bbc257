#include "material/znRTLuxMaterial.h"

#include "brdf/znRTBxDFAttributes.h"

#include <algorithm>

const znRTTypeId znRTLuxMaterial::id("znRTLuxMaterial");

znRTLuxMaterial::znRTLuxMaterial() : znRTPipelineKind(id, osg::MaterialPtr())
{
    znRTLuxMaterial::update();
}

void znRTLuxMaterial::update()
{
    if (!setRaytracingCommonSettings(record, false))
        return;
    // A record of no kind that the lobe knows: it stays smooth.
    diffuseLobe.setup(znRTBxDFAttributes(), unsigned(std::max(0, getEnvironmentQuality())));
    setPlainRequirements();
}

void znRTLuxMaterial::fetchParameters(const znRTRayDifferentialPacket&, const znRTDataBlockPacket&,
                                      const znFloatType<2>&, Hit& hit) const
{
    hit.diffuse = znRTColorPacket(1.0f);
    hit.transparency = znRTColorPacket(znRTColor(0.0f, 0.0f, 0.0f, 1.0f));
    hit.alpha = 1.0f;
}

void znRTLuxMaterial::addLobes(Hit& hit, const znFloatType<2>& lanes) const
{
    hit.lobes.add(diffuseLobe, hit.onb, hit.diffuse, lanes);
}
