// How environments become lights of a scene, and which of them is in force.

#include "accel/znRTAccelerator.h"
#include "host/osg/Materials.h"
#include "host/znLog.h"
#include "light/znRTInfiniteAreaLight.h"
#include "material/znRTMaterial.h"
#include "render/znRTRenderUtils.h"

#include <algorithm>

namespace {

/// Container id of the material that was chosen as environment, 0 without.
u32 chosenEnvironment()
{
    const znRTMaterial* const material = znRTRenderUtils::s_activeEnvironmentMaterial;
    return material ? material->getMaterialId() : 0;
}

} // namespace

void znRTAccelerator::addEnvironmentLight(const osg::MaterialPtr& material)
{
    if (!material) {
        znLog::error("NO ENV MATERIAL");
        return;
    }
    const std::lock_guard lock(getLock());
    if (getEnvironmentLight(material))
        return;
    environmentLights.push_back(std::make_unique<znRTInfiniteAreaLight>(material));
    environmentLights.back()->update();
}

bool znRTAccelerator::deleteEnvironmentLight(unsigned long long id)
{
    const std::lock_guard lock(getLock());
    const auto found = std::find_if(environmentLights.begin(), environmentLights.end(),
                                    [id](const auto& light) { return light->getId() == id; });
    if (found == environmentLights.end())
        return false;
    // Nobody may be left with the light that goes.
    if (znRTMaterial::s_environmentLight == found->get())
        znRTMaterial::s_environmentLight = nullptr;
    if (environmentLight == found->get())
        environmentLight = nullptr;
    environmentLights.erase(found);
    return true;
}

bool znRTAccelerator::deleteEnvironmentLight(const osg::MaterialPtr& material)
{
    if (material && deleteEnvironmentLight(static_cast<unsigned long long>(material->getId())))
        return true;
    znLog::error("EnvironmentLightPtr invalid, can not delete it\n");
    return false;
}

znRTLight* znRTAccelerator::getEnvironmentLight(const osg::MaterialPtr& material)
{
    for (const auto& light : environmentLights)
        if (material && light->getEnvironmentMaterial() == material)
            return light.get();
    return nullptr;
}

znRTLight* znRTAccelerator::getEnvironmentLight(unsigned int index)
{
    return index < environmentLights.size() ? environmentLights[index].get() : nullptr;
}

void znRTAccelerator::addEnvironmentsOfMaterials()
{
    std::vector<osg::MaterialPtr> found;
    for (const auto& [id, material] : materials)
        if (material && osg::isKindOf<osg::UEnvironmentMaterial>(material->getHostMaterial()))
            found.push_back(material->getHostMaterial());
    // The table is filled from parallel passes: in the order of ids the scene stays the same.
    std::sort(found.begin(), found.end(),
              [](const auto& a, const auto& b) { return a->getId() < b->getId(); });
    for (const osg::MaterialPtr& material : found)
        addEnvironmentLight(material);
}

void znRTAccelerator::updateEnvironmentLights()
{
    const std::lock_guard lock(getLock());
    addEnvironmentsOfMaterials();
    const u32 chosen = chosenEnvironment();
    environmentLight = nullptr;
    for (const auto& light : environmentLights) {
        light->update();
        if (!light->isOn())
            continue;
        if (!environmentLight || light->getId() == chosen)
            environmentLight = light.get();
    }
}

void znRTAccelerator::clearEnvironmentLights()
{
    while (!environmentLights.empty())
        deleteEnvironmentLight(static_cast<unsigned long long>(environmentLights.back()->getId()));
}
