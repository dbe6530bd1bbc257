#include "material/znRTDummyMaterial.h"

#include "host/osg/materials/UberMaterial.h"
#include "host/znLog.h"
#include "render/znRTFragment.h"

#include <atomic>

const znRTTypeId znRTDummyMaterial::id("znRTDummyMaterial");

namespace {

void tellOnce()
{
    static std::atomic<bool> isTold{false};
    if (!isTold.exchange(true))
        znLog::warning("Materials do not shade yet: surfaces are opaque, two-sided and black");
}

} // namespace

znRTDummyMaterial::znRTDummyMaterial(const osg::MaterialPtr& material) : znRTMaterial(id, material)
{
    if (material)
        tellOnce();
    readIDColor();
}

void znRTDummyMaterial::readIDColor()
{
    const auto host = osg::UberMaterialPtr::dcast(hostMaterial);
    if (!host)
        return;
    const osg::Vec4f& color = host->getRaytracingAttributes().materialIDColor;
    for (unsigned i = 0; i < 4; ++i)
        materialIDColor[i] = color[i];
}

znRTMaterial* znRTDummyMaterial::getDuplicate() const
{
    return new znRTDummyMaterial(*this);
}

void znRTDummyMaterial::shade(const znRTRayDifferentialPacket& ray, znRTDataBlockPacket& data,
                              znRTFragment& fragment, const znFloatType<2>& mask,
                              znRTShadingState&) const
{
    fragment.updateVectorPasses(ray, data, data.coverage, mask);
    fragment.updateFragmentColor({0.0f, 0.0f, 0.0f, 1.0f}, 1.0f, mask);
}

znRTDummyMaterial* znRTDummyMaterial::getShared()
{
    static znRTDummyMaterial shared{osg::MaterialPtr()};
    return &shared;
}
