// How environments become lights of a scene, and which of them is in force.

#include "accel/znRTAccelerator.h"
#include "host/osg/Materials.h"
#include "host/znLog.h"
#include "host/znRTRaytracingSettings.h"
#include "light/znRTInfiniteAreaLight.h"
#include "material/ownEnvironmentHolders.h"
#include "material/znRTMaterial.h"
#include "render/znRTRenderUtils.h"

#include <algorithm>

namespace {

/// Container id of the material that was chosen as environment, 0 without.
u32 chosenEnvironment()
{
    const znRTMaterial* const material = znRTRenderUtils::s_activeEnvironmentMaterial;
    return material ? material->getFirstActiveMaterial()->getMaterialId() : 0;
}

template <class Lights>
auto findLightOf(Lights& lights, const osg::MaterialPtr& material)
{
    return std::find_if(lights.begin(), lights.end(), [&](const auto& light) {
        return light->getEnvironmentMaterial() == material;
    });
}

/// In the order of ids, each once: tables are filled from parallel passes.
std::vector<osg::MaterialPtr> sortedById(std::vector<osg::MaterialPtr> list)
{
    std::sort(list.begin(), list.end(),
              [](const auto& a, const auto& b) { return a->getId() < b->getId(); });
    list.erase(std::unique(list.begin(), list.end()), list.end());
    return list;
}

bool contains(const std::vector<osg::MaterialPtr>& list, const osg::MaterialPtr& material)
{
    return std::find(list.begin(), list.end(), material) != list.end();
}

/// Whether shading by a material looks the environment up.
bool looksUpEnvironment(const znRTMaterial& material)
{
    const znRTMaterialState& state = material.getFirstActiveMaterial()->getState();
    return state.usesEnvironmentMap && !state.sampleEnvironment;
}

} // namespace

void znRTAccelerator::addEnvironmentLight(const osg::MaterialPtr& material)
{
    if (!material) {
        znLog::error("NO ENV MATERIAL");
        return;
    }
    const std::lock_guard lock(getLock());
    toldEnvironments.insert(material->getId());
    if (findLightOf(environmentLights, material) != environmentLights.end())
        return;
    environmentLights.push_back(std::make_unique<znRTInfiniteAreaLight>(material));
    environmentLights.back()->update();
}

void znRTAccelerator::eraseEnvironmentLight(EnvironmentLights& list,
                                            EnvironmentLights::iterator place)
{
    // Nobody may be left with the light that goes.
    const znRTInfiniteAreaLight* const light = place->get();
    if (znRTMaterial::s_environmentLight == light)
        znRTMaterial::s_environmentLight = nullptr;
    if (environmentLight == light)
        environmentLight = nullptr;
    ownEnvironmentHolders::forget(light);
    list.erase(place);
}

bool znRTAccelerator::deleteEnvironmentLight(unsigned long long id)
{
    const std::lock_guard lock(getLock());
    toldEnvironments.erase(u32(id));
    bool isFound = false;
    for (EnvironmentLights* const list : {&environmentLights, &ownEnvironmentLights}) {
        const auto found = std::find_if(list->begin(), list->end(),
                                        [id](const auto& light) { return light->getId() == id; });
        if (found == list->end())
            continue;
        eraseEnvironmentLight(*list, found);
        isFound = true;
    }
    return isFound;
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
    if (!material)
        return nullptr;
    for (EnvironmentLights* const list : {&environmentLights, &ownEnvironmentLights}) {
        const auto found = findLightOf(*list, material);
        if (found != list->end())
            return found->get();
    }
    return nullptr;
}

znRTLight* znRTAccelerator::getEnvironmentLight(unsigned int index)
{
    return index < environmentLights.size() ? environmentLights[index].get() : nullptr;
}

void znRTAccelerator::findEnvironmentsOfMaterials()
{
    std::vector<osg::MaterialPtr> found;
    for (const auto& [id, material] : materials) {
        const znRTMaterial* const shown = material ? material->getFirstActiveMaterial() : nullptr;
        if (shown && osg::isKindOf<osg::UEnvironmentMaterial>(shown->getHostMaterial()))
            found.push_back(shown->getHostMaterial());
    }
    found = sortedById(std::move(found));
    for (std::size_t i = environmentLights.size(); i-- > 0;) {
        const znRTInfiniteAreaLight& light = *environmentLights[i];
        if (!toldEnvironments.count(u32(light.getId())) &&
            !contains(found, light.getEnvironmentMaterial()))
            eraseEnvironmentLight(environmentLights, environmentLights.begin() + std::ptrdiff_t(i));
    }
    for (const osg::MaterialPtr& material : found)
        if (findLightOf(environmentLights, material) == environmentLights.end())
            environmentLights.push_back(std::make_unique<znRTInfiniteAreaLight>(material));
}

void znRTAccelerator::findOwnEnvironments()
{
    std::vector<osg::MaterialPtr> found;
    for (const auto& [id, material] : materials)
        if (const znRTMaterial* const shown =
                material ? material->getFirstActiveMaterial() : nullptr)
            if (const osg::MaterialPtr own = shown->getOwnEnvironment())
                if (findLightOf(environmentLights, own) == environmentLights.end())
                    found.push_back(own);
    found = sortedById(std::move(found));
    for (std::size_t i = ownEnvironmentLights.size(); i-- > 0;)
        if (!contains(found, ownEnvironmentLights[i]->getEnvironmentMaterial()))
            eraseEnvironmentLight(ownEnvironmentLights,
                                  ownEnvironmentLights.begin() + std::ptrdiff_t(i));
    for (const osg::MaterialPtr& material : found)
        if (findLightOf(ownEnvironmentLights, material) == ownEnvironmentLights.end())
            ownEnvironmentLights.push_back(std::make_unique<znRTInfiniteAreaLight>(material));
}

void znRTAccelerator::updateEnvironmentLights()
{
    const std::lock_guard lock(getLock());
    findEnvironmentsOfMaterials();
    findOwnEnvironments();
    const u32 chosen = chosenEnvironment();
    environmentLight = nullptr;
    for (const auto& light : environmentLights) {
        light->update();
        if (!light->isOn())
            continue;
        if (!environmentLight || light->getId() == chosen)
            environmentLight = light.get();
    }
    for (const auto& light : ownEnvironmentLights)
        light->update();
    for (const auto& [id, material] : materials)
        if (material)
            material->updateEnvironmentLight();
    makeFilteredEnvironments();
}

void znRTAccelerator::makeFilteredEnvironments()
{
    // The material of measurements belongs to no scene and follows the settings.
    const bool settingsLookUp = znRTRaytracingSettings::illuminationMode() < 2;
    if (environmentLight &&
        (settingsLookUp || std::any_of(materials.begin(), materials.end(), [](const auto& entry) {
             return entry.second && looksUpEnvironment(*entry.second);
         })))
        static_cast<znRTInfiniteAreaLight*>(environmentLight)->makeFiltered();
    for (const auto& light : ownEnvironmentLights)
        if (std::any_of(materials.begin(), materials.end(), [&](const auto& entry) {
                return entry.second && looksUpEnvironment(*entry.second) &&
                       entry.second->getFirstActiveMaterial()->getEnvironmentLight() == light.get();
            }))
            light->makeFiltered();
}

void znRTAccelerator::clearEnvironmentLights()
{
    while (!environmentLights.empty())
        eraseEnvironmentLight(environmentLights, environmentLights.end() - 1);
    while (!ownEnvironmentLights.empty())
        eraseEnvironmentLight(ownEnvironmentLights, ownEnvironmentLights.end() - 1);
    toldEnvironments.clear();
}
