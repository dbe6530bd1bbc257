#include "material/ownEnvironmentHolders.h"

#include "material/znRTMaterial.h"

#include <mutex>
#include <set>

namespace {

struct Holders
{
    std::mutex lock;
    std::set<znRTMaterial*> materials;
};

/// Outlives all materials.
Holders& holders()
{
    static auto* const all = new Holders;
    return *all;
}

} // namespace

void ownEnvironmentHolders::add(znRTMaterial& material)
{
    const std::lock_guard guard(holders().lock);
    holders().materials.insert(&material);
}

void ownEnvironmentHolders::remove(znRTMaterial& material)
{
    const std::lock_guard guard(holders().lock);
    holders().materials.erase(&material);
}

void ownEnvironmentHolders::forget(const znRTInfiniteAreaLight* light)
{
    const std::lock_guard guard(holders().lock);
    for (znRTMaterial* const material : holders().materials)
        material->forgetEnvironmentLight(light);
}
