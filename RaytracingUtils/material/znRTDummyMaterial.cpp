#include "material/znRTDummyMaterial.h"

#include "host/osg/materials/UberMaterial.h"
#include "render/znRTFragment.h"

const znRTTypeId znRTDummyMaterial::id("znRTDummyMaterial");

znRTDummyMaterial::znRTDummyMaterial(const osg::MaterialPtr& material) : znRTMaterial(id, material)
{
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
