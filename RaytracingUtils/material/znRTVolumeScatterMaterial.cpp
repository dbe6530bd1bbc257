#include "material/znRTVolumeScatterMaterial.h"

#include "core/znRTDataBlockPacket.h"
#include "host/osg/materials/glassMaterials.h"
#include "material/letAllPass.h"
#include "material/znRTBRDFMaterial.h"
#include "render/notAvailable.h"

const znRTTypeId znRTVolumeScatterMaterial::id("znRTVolumeScatterMaterial");

znRTVolumeScatterMaterial::znRTVolumeScatterMaterial(const osg::MaterialPtr& material)
    : znRTMaterial(id, material)
{
    znRTVolumeScatterMaterial::update();
}

void znRTVolumeScatterMaterial::update()
{
    static znRTOnceWarning noMedium("Volumes do not scatter yet: nothing is seen of them.");
    const auto host = osg::FCPtr<osg::UVolumeScatterMaterial>::dcast(hostMaterial);
    if (!host)
        return;
    noMedium();
    auto& record = host->getRaytracingAttributes();
    setRaytracingCommonSettings(record);
    record.transparent = true;
    attenuationCoefficient = record.attenuationCoefficient;
    scatterCoefficient = record.scatterCoefficient;
    anisotropy = record.anisotropy;
    attenuationComponent = znRTBRDFMaterial::getSpectrum(record.attenuationComponentSpectrum,
                                                         record.attenuationComponent);
    scatterComponent =
        znRTBRDFMaterial::getSpectrum(record.scatterComponentSpectrum, record.scatterComponent);
    interactiveQuality = record.interactiveQuality;
}

void znRTVolumeScatterMaterial::shade(const znRTRayDifferentialPacket& ray,
                                      znRTDataBlockPacket& data, znRTFragment& fragment,
                                      const znFloatType<2>& mask, znRTShadingState& state) const
{
    const znFloatType<2> enters = mask & data.dg.frontFacing;
    data.volumeEntry = select(enters, data.hit.t, data.volumeEntry);
    data.volumeExit = select(andNot(enters, mask), data.hit.t, data.volumeExit);
    letAllPass(ray, data, fragment, mask, state);
}

znRTColorPacket znRTVolumeScatterMaterial::getTransparency(const znRTRayDifferentialPacket&,
                                                           znRTDataBlockPacket&,
                                                           const znFloatType<2>& mask,
                                                           znRTShadingState&) const
{
    return allPassed(mask);
}
