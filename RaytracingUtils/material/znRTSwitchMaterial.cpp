#include "material/znRTSwitchMaterial.h"

#include "accel/sharedMaterials.h"
#include "host/osg/Materials.h"
#include "render/znRTFragment.h"

#include <algorithm>
#include <set>

const znRTTypeId znRTSwitchMaterial::id("znRTSwitchMaterial");

namespace {

/// Materials that a container shows parts of.
std::vector<osg::MaterialPtr> partsOf(const osg::MaterialPtr& material)
{
    if (const auto choice = osg::FCPtr<osg::SwitchMaterial>::dcast(material))
        return choice->getMaterials();
    if (const auto passes = osg::FCPtr<osg::MultiPassMaterial>::dcast(material))
        return passes->getMaterials();
    if (const auto layers = osg::FCPtr<osg::ULayeredMaterial>::dcast(material))
        return layers->getMaterials();
    return {};
}

/// Whether a container is a material, or contains it.
bool leadsTo(const osg::MaterialPtr& from, u32 id)
{
    std::set<u32> visited;
    std::vector<osg::MaterialPtr> waiting{from};
    while (!waiting.empty()) {
        const osg::MaterialPtr material = waiting.back();
        waiting.pop_back();
        if (!material || !visited.insert(material->getId()).second)
            continue;
        if (material->getId() == id)
            return true;
        for (const osg::MaterialPtr& part : partsOf(material))
            waiting.push_back(part);
    }
    return false;
}

} // namespace

znRTSwitchMaterial::znRTSwitchMaterial(const osg::MaterialPtr& material)
    : znRTMaterial(id, material)
{
    // Parts were updated when they were made; other threads may be about to read them.
    readChildren();
    takeOverActive();
}

znRTSwitchMaterial::~znRTSwitchMaterial()
{
    clearMaterials();
}

void znRTSwitchMaterial::addMaterial(const osg::MaterialPtr& material)
{
    const u32 containerId = material ? material->getId() : 0;
    const bool isUsable = material && !(materialId != 0 && leadsTo(material, materialId));
    children.push_back({containerId, isUsable ? sharedMaterials::acquire(material) : nullptr});
}

void znRTSwitchMaterial::clearMaterials()
{
    for (const Child& child : children)
        if (child.material)
            sharedMaterials::release(child.containerId);
    children.clear();
    activeIndex = -1;
}

znRTMaterial* znRTSwitchMaterial::getActiveMaterial() const
{
    return activeIndex >= 0 ? children[std::size_t(activeIndex)].material : nullptr;
}

void znRTSwitchMaterial::readChildren()
{
    const auto host = osg::FCPtr<osg::SwitchMaterial>::dcast(hostMaterial);
    if (!host)
        return;
    // The new parts are acquired before the old ones go: those that stay are not made anew.
    std::vector<Child> before;
    before.swap(children);
    for (const osg::MaterialPtr& material : host->getMaterials())
        addMaterial(material);
    before.swap(children);
    clearMaterials();
    before.swap(children);
    const int choice = host->getChoice();
    const int count = int(children.size());
    activeIndex = count == 0 ? -1 : choice >= 0 && choice < count ? choice : 0;
}

void znRTSwitchMaterial::takeOverActive()
{
    if (const znRTMaterial* const active = getActiveMaterial()) {
        takeOver(*active);
        return;
    }
    commonAttributes = nullptr;
    materialState = znRTMaterialState();
    materialState.shadingRequirements = 0;
    materialState.visibility = 0;
    photonTarget = false;
    needsConsistentTangents = false;
}

void znRTSwitchMaterial::update()
{
    readChildren();
    if (znRTMaterial* const active = getActiveMaterial())
        active->update();
    takeOverActive();
}

znRTMaterial* znRTSwitchMaterial::getDuplicate() const
{
    return new znRTSwitchMaterial(hostMaterial);
}

void znRTSwitchMaterial::updateEnvironmentLight()
{
    if (znRTMaterial* const active = getActiveMaterial())
        active->updateEnvironmentLight();
}

const znRTMaterial* znRTSwitchMaterial::getFirstActiveMaterial() const
{
    const znRTMaterial* const active = getActiveMaterial();
    return active ? active->getFirstActiveMaterial() : this;
}

const znRTMaterial* znRTSwitchMaterial::getFirstNonTransparentMaterial(
    const znRTRayDifferentialPacket& ray, znRTDataBlockPacket& data, const znFloatType<2>& mask,
    znRTShadingState& state) const
{
    const znRTMaterial* const active = getActiveMaterial();
    return active ? active->getFirstNonTransparentMaterial(ray, data, mask, state) : this;
}

// What follows asks the chosen material, or the base when there is none.

#define ZN_FORWARD(result, name, parameters, arguments)                                            \
    result znRTSwitchMaterial::name parameters const                                               \
    {                                                                                              \
        if (const znRTMaterial* const active = getActiveMaterial())                                \
            return active->name arguments;                                                         \
        return znRTMaterial::name arguments;                                                       \
    }

ZN_FORWARD(znRTColorPacket, getMaterialIDColor, (), ())
ZN_FORWARD(int, getSideness, (), ())
ZN_FORWARD(bool, hasTextureProjection, (), ())
ZN_FORWARD(const znRTTextureAttributes*, getTextureAttributeSettings, (), ())
ZN_FORWARD(bool, hasDisplacementTextureProjection, (), ())
ZN_FORWARD(int, getVisibility, (), ())
ZN_FORWARD(bool, allowClipping, (), ())
ZN_FORWARD(float, getPhotonImportance, (), ())
ZN_FORWARD(bool, isTransparent, (), ())
ZN_FORWARD(bool, needsConsistentVertexTangents, (), ())
ZN_FORWARD(bool, isLightSource, (), ())
ZN_FORWARD(bool, isEnvironment, (), ())
ZN_FORWARD(bool, isParticipatingMedia, (), ())
ZN_FORWARD(znFloatType<2>, evaluateCutout,
           (const znRTRayPacket& ray, const znRTDifferentialGeometry& dg,
            const znFloatType<2>& mask),
           (ray, dg, mask))
ZN_FORWARD(znRTColorPacket, getTransparency,
           (const znRTRayDifferentialPacket& ray, znRTDataBlockPacket& data,
            const znFloatType<2>& mask, znRTShadingState& state),
           (ray, data, mask, state))
ZN_FORWARD(znRTColorPacket, getPickedTransparency,
           (const znRTRayDifferentialPacket& ray, znRTDataBlockPacket& data,
            const znFloatType<2>& mask, znRTShadingState& state),
           (ray, data, mask, state))
ZN_FORWARD(znRTColorPacket, evaluateEmission,
           (const znRTRayDifferentialPacket& ray, znRTDataBlockPacket& data,
            const znFloatType<2>& mask),
           (ray, data, mask))
ZN_FORWARD(void, evaluateMaterial,
           (znRTRayDifferentialPacket & ray, znRTDataBlockPacket& data,
            znRTSurfaceProperties& surface, const znFloatType<2>& mask, znRTShadingState& state,
            int group, EvaluationType type),
           (ray, data, surface, mask, state, group, type))
#undef ZN_FORWARD

void znRTSwitchMaterial::shade(const znRTRayDifferentialPacket& ray, znRTDataBlockPacket& data,
                               znRTMultilayerFragment& fragment, const znFloatType<2>& mask,
                               znRTShadingState& state) const
{
    if (const znRTMaterial* const active = getActiveMaterial())
        active->shade(ray, data, fragment, mask, state);
}

void znRTSwitchMaterial::shade(const znRTRayDifferentialPacket& ray, znRTDataBlockPacket& data,
                               znRTFragment& fragment, const znFloatType<2>& mask,
                               znRTShadingState& state) const
{
    if (const znRTMaterial* const active = getActiveMaterial())
        active->shade(ray, data, fragment, mask, state);
}

void znRTSwitchMaterial::shadeAnalytic(const znRTRayDifferentialPacket& ray,
                                       znRTDataBlockPacket& data, znRTMultilayerFragment& fragment,
                                       const znFloatType<2>& mask, znRTShadingState& state) const
{
    if (const znRTMaterial* const active = getActiveMaterial())
        active->shadeAnalytic(ray, data, fragment, mask, state);
}

void znRTSwitchMaterial::shadeAnalytic(const znRTRayDifferentialPacket& ray,
                                       znRTDataBlockPacket& data, znRTFragment& fragment,
                                       const znFloatType<2>& mask, znRTShadingState& state) const
{
    if (const znRTMaterial* const active = getActiveMaterial())
        active->shadeAnalytic(ray, data, fragment, mask, state);
}
