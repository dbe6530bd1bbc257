#include "accel/sharedMaterials.h"

#include "host/osg/Material.h"
#include "material/materialTable.h"
#include "material/znRTDummyMaterial.h"

#include <map>
#include <mutex>

namespace {

struct Counted
{
    znRTMaterial* material = nullptr;
    unsigned useCount = 0;
};

std::mutex s_globalLock;

/// By container id.
std::map<u32, Counted> s_globalMaterialList;

} // namespace

znRTMaterial* sharedMaterials::acquire(const osg::MaterialPtr& material)
{
    const u32 id = material ? material->getId() : 0;
    {
        const std::lock_guard guard(s_globalLock);
        const auto found = s_globalMaterialList.find(id);
        if (found != s_globalMaterialList.end()) {
            ++found->second.useCount;
            return found->second.material;
        }
    }
    // Outside of the lock: a material made of others acquires them from its constructor.
    znRTMaterial* const created =
        material ? createMaterialObject(material) : znRTDummyMaterial::getShared();
    znRTMaterial* surplus = nullptr;
    znRTMaterial* shared;
    {
        const std::lock_guard guard(s_globalLock);
        // Somebody may have been faster; that object is the one to share.
        Counted& entry = s_globalMaterialList[id];
        if (entry.material && entry.material != created)
            surplus = created;
        else
            entry.material = created;
        ++entry.useCount;
        shared = entry.material;
    }
    delete surplus;
    return shared;
}

void sharedMaterials::release(u32 id)
{
    znRTMaterial* last = nullptr;
    {
        const std::lock_guard guard(s_globalLock);
        const auto found = s_globalMaterialList.find(id);
        if (found == s_globalMaterialList.end() || --found->second.useCount > 0)
            return;
        // The fallback material belongs to the process.
        if (id != 0)
            last = found->second.material;
        s_globalMaterialList.erase(found);
    }
    // Outside of the lock: it may release others.
    delete last;
}

unsigned sharedMaterials::getUseCount(u32 id)
{
    const std::lock_guard guard(s_globalLock);
    const auto found = s_globalMaterialList.find(id);
    return found != s_globalMaterialList.end() ? found->second.useCount : 0;
}
