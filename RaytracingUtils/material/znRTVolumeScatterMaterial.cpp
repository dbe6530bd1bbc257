#include "material/znRTVolumeScatterMaterial.h"

#include "core/znRTDataBlockPacket.h"
#include "host/osg/materials/glassMaterials.h"
#include "material/znRTBRDFMaterial.h"
#include "render/notAvailable.h"
#include "render/znRTFragment.h"

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
    znRTThroughput throughput;
    throughput.blend = znFloatType<2>::noLanes();
    throughput.surfaceAlpha = 0.0f;
    throughput.hitLanes = mask;
    fragment.updateToColor(ray, data, znRTColorPacket(0.0f), {1.0f, 1.0f, 1.0f, 0.0f}, state,
                           throughput, mask);
}

znRTColorPacket znRTVolumeScatterMaterial::getTransparency(const znRTRayDifferentialPacket&,
                                                           znRTDataBlockPacket&,
                                                           const znFloatType<2>& mask,
                                                           znRTShadingState&) const
{
    znRTColorPacket passed = znRTColorPacket(1.0f) & mask;
    passed.a = 1.0f;
    return passed;
}
