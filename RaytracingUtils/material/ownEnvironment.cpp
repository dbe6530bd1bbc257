#include "material/ownEnvironment.h"

#include "accel/znRTAccelerator.h"
#include "host/osg/Materials.h"
#include "light/znRTInfiniteAreaLight.h"
#include "material/ownEnvironmentHolders.h"
#include "material/znRTMaterial.h"
#include "render/znRTRenderUtils.h"

namespace {

/// Switches in a row; more are a circle.
constexpr int deepestSwitches = 64;

} // namespace

osg::MaterialPtr chosenEnvironmentOf(const osg::MaterialPtr& material)
{
    osg::MaterialPtr current = material;
    for (int i = 0; i < deepestSwitches && current; ++i) {
        if (osg::isKindOf<osg::UEnvironmentMaterial>(current))
            return current;
        const auto choice = osg::FCPtr<osg::SwitchMaterial>::dcast(current);
        if (!choice || choice->getMaterials().empty())
            return {};
        const osg::MaterialPtr chosen = choice->getChosen();
        current = chosen ? chosen : choice->getMaterials().front();
    }
    return {};
}

osg::MaterialPtr znRTMaterial::getOwnEnvironment() const
{
    if (!commonAttributes || !commonAttributes->ownEnvironment)
        return {};
    const auto host = osg::FCPtr<osg::UBRDFMaterial>::dcast(hostMaterial);
    return host ? chosenEnvironmentOf(host->getEnvironment()) : osg::MaterialPtr();
}

void znRTMaterial::updateEnvironmentLight()
{
    const osg::MaterialPtr own = getOwnEnvironment();
    environment.isOwn = bool(own);
    environment.light = nullptr;
    znRTAccelerator* const scene = znRTRenderUtils::s_currentAccelerator;
    if (own && scene)
        environment.light =
            static_cast<const znRTInfiniteAreaLight*>(scene->getEnvironmentLight(own));
    if (environment.light)
        ownEnvironmentHolders::add(*this);
}
