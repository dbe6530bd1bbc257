// Materials of a scene. The process holds one object per host material, which scenes share by
// count; each scene has a table of its own that is read without a lock.

#include "accel/sharedMaterials.h"
#include "accel/znRTAccelerator.h"
#include "geometry/znRTGeometryNode.h"
#include "host/osg/Geometry.h"
#include "host/osg/Material.h"
#include "host/osg/Materials.h"
#include "host/znLog.h"
#include "host/znRTSceneChanges.h"
#include "material/znRTDummyMaterial.h"
#include "render/notAvailable.h"

#include <algorithm>

namespace {

void tellOfDisplacement(const osg::MaterialPtr& material)
{
    static znRTOnceWarning notDone("Materials do not displace yet: surfaces stay smooth.");
    const auto brdf = osg::FCPtr<osg::UBRDFMaterial>::dcast(material);
    if (brdf && brdf->getDisplacementHeight() != 0.0f)
        notDone();
}

} // namespace

znRTMaterial* znRTAccelerator::createMaterial(const osg::MaterialPtr& material)
{
    const u32 id = material ? material->getId() : 0;
    if (znRTMaterial* const known = getMaterial(id))
        return known;
    // Re-entrant: a material that has others below it makes them from its constructor.
    const std::lock_guard registryGuard(registryLock);
    if (znRTMaterial* const known = getMaterial(id))
        return known;
    znRTMaterial* const shared = sharedMaterials::acquire(material);
    materials.emplace(id, shared);
    return shared;
}

znRTMaterial* znRTAccelerator::getMaterial(u32 id) const
{
    const auto found = materials.find(id);
    return found != materials.end() ? found->second : nullptr;
}

znRTMaterial* znRTAccelerator::getMaterial(const osg::MaterialPtr& material) const
{
    return getMaterial(material ? material->getId() : 0);
}

bool znRTAccelerator::hasShadingMaterials() const
{
    return std::any_of(materials.begin(), materials.end(), [](const auto& entry) {
        return entry.second &&
               !entry.second->getFirstActiveMaterial()->isOfType(znRTDummyMaterial::id);
    });
}

unsigned znRTAccelerator::getMaterialUseCount(u32 id)
{
    return sharedMaterials::getUseCount(id);
}

void znRTAccelerator::releaseMaterials()
{
    for (const auto& [id, material] : materials)
        sharedMaterials::release(id);
    materials.clear();
}

bool znRTAccelerator::deleteMaterial(unsigned long long id)
{
    const std::lock_guard lock(getLock());
    znRTMaterial* const material = getMaterial(u32(id));
    if (!material || id == 0)
        return false;
    // Objects that still show it fall back until they are assigned another.
    for (const auto& [nodeId, node] : geometryNodes)
        if (node->getMaterial() == material || node->getActiveMaterial() == material)
            node->setMaterial(createMaterial(nullptr));
    materials.unsafe_erase(u32(id));
    sharedMaterials::release(u32(id));
    return true;
}

osg::MaterialPtr znRTAccelerator::getDefaultMaterial()
{
    if (!defaultMaterial)
        defaultMaterial = osg::MaterialPtr::dcast(
            osg::FieldContainerFactory::the()->createContainer("UPhongMaterial"));
    return defaultMaterial;
}

void znRTAccelerator::setActiveMaterial(const osg::MaterialPtr& material, const osg::NodePtr& node,
                                        const osg::NodeCorePtr& core, znRTGeometryNode* geometry)
{
    if (material) {
        tellOfDisplacement(material);
        geometry->setMaterial(createMaterial(material));
        return;
    }
    const std::lock_guard lock(getLock());
    znLog::warning("Geometry has no material. Attaching Default Material!\n");
    const osg::MaterialPtr substitute = getDefaultMaterial();
    const auto drawable = osg::FCPtr<osg::MaterialDrawable>::dcast(core);
    if (!substitute || !drawable) {
        geometry->setMaterial(createMaterial(nullptr));
        return;
    }
    {
        const osg::EditScope edit(drawable, osg::MaterialDrawable::MaterialFieldMask);
        drawable->setMaterial(substitute); // takes a reference
    }
    setActiveMaterial(substitute, node, core, geometry);
}

void znRTAccelerator::initMaterials()
{
    for (const auto& [id, node] : geometryNodes) {
        const osg::NodeCorePtr core = node->getActiveGeometryCore();
        setActiveMaterial(resolveMaterialAssignment(node->getNode(), core), node->getNode(), core,
                          node);
    }
    updateMaterials();
}

bool znRTAccelerator::updateMaterial(const osg::MaterialPtr& material, unsigned int& flags)
{
    flags = 0;
    znRTMaterial* const known = material ? getMaterial(material) : nullptr;
    if (!known)
        return false;
    const int visibility = known->getVisibility(), sideness = known->getSideness();
    const bool transparent = known->isTransparent();
    const bool isPortal = known->getPhotonImportance() > 0.0f;
    known->update();
    if (visibility != known->getVisibility() || transparent != known->isTransparent() ||
        isPortal != (known->getPhotonImportance() > 0.0f))
        flags |= znMaterialVisibilityChanged;
    if (sideness != known->getSideness())
        flags |= znMaterialSidenessChanged;
    makeFilteredEnvironments();
    return true;
}

void znRTAccelerator::updateMaterials()
{
    for (const auto& [id, material] : materials)
        material->update();
    makeFilteredEnvironments();
}

void znRTAccelerator::applyMaterialChanges()
{
    updateMaterials();
    for (const auto& [id, node] : geometryNodes)
        node->updateVisibilityFlags();
}
