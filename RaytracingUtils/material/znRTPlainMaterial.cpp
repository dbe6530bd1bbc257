#include "material/znRTPlainMaterial.h"

#include "brdf/znRTBxDFAttributes.h"
#include "host/osg/materials/UBRDFMaterial.h"
#include "host/znRTTextureSampler.h"
#include "material/missingParts.h"

#include <algorithm>

const znRTTypeId znRTPlainMaterial::id("znRTPlainMaterial");

namespace {

/// What a glossy lobe may have above a diffuse one so that both do not reflect more than arrives.
znRTVector3f limited(const znRTVector3f& glossy, const znRTVector3f& diffuse)
{
    const auto channel = [](float g, float d) { return std::min(g, std::max(0.0f, 1.0f - d)); };
    return {channel(glossy.x, diffuse.x), channel(glossy.y, diffuse.y),
            channel(glossy.z, diffuse.z)};
}

} // namespace

znRTPlainMaterial::znRTPlainMaterial(const osg::MaterialPtr& material)
    : znRTPhongLobesMaterial(id, material)
{
    znRTPlainMaterial::update();
}

void znRTPlainMaterial::update()
{
    const auto host = osg::UberMaterialPtr::dcast(hostMaterial);
    if (!host)
        return;
    updateFrom(host->getRaytracingAttributes());
    if (const auto lit = osg::UBRDFMaterialPtr::dcast(hostMaterial))
        tellOfMissingParts(missingParts(lit->getRaytracingAttributes()));
}

void znRTPlainMaterial::updateFrom(znRTCommonAttributes& record, const znRTTextureSampler* image)
{
    if (!setRaytracingCommonSettings(record, true))
        return;
    diffuse.set(record.analyticDiffuse, nullptr, image, image && image->isValid(), nullptr);
    glossy.set(limited(record.analyticSpecular, record.analyticDiffuse), nullptr);
    ambient.set({1.0f, 1.0f, 1.0f}, nullptr);
    znRTBSDFAttributes lobes;
    lobes.setExponents(record.analyticShininess, record.analyticShininess);
    setupLobes(lobes);
}
