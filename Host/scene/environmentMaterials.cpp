#include "host/osg/materials/environmentMaterials.h"

#include "host/osg/EnvironmentAttachment.h"
#include "host/znDaylightUtils.h"
#include "host/znLog.h"
#include "host/znRTEnvironmentImages.h"
#include "scene/finishAttributes.h"

#include <cmath>

namespace osg {

ZN_CONTAINER_BODY(EnvironmentAttachment)
ZN_ABSTRACT_CONTAINER_BODY(UEnvironmentMaterial)
ZN_MATERIAL_BODY(USphereEnvironmentMaterial)
ZN_MATERIAL_BODY(USkylightMaterial)

/// What was made from which image.
struct UEnvironmentMaterial::Samplers
{
    struct Source
    {
        u32 imageId = 0;
        const void* pixels = nullptr;
        u64 size = 0, epoch = 0;
        int layout = 0;
        float gamma = 1.0f;
        bool operator==(const Source&) const = default;
    };
    Source source;
    znRTSampler2D latitudeLongitude;
    znRTSampler3D blurred; ///< made when somebody asks for it
    znRTVector3f average;
    bool isValid = false;
};

UEnvironmentMaterial::UEnvironmentMaterial() = default;
UEnvironmentMaterial::~UEnvironmentMaterial() = default;

UEnvironmentMaterial::Samplers& UEnvironmentMaterial::updateSamplers() const
{
    if (!samplers)
        samplers = std::make_unique<Samplers>();
    Samplers& made = *samplers;
    const ImagePtr source = getImage();
    const Samplers::Source wanted{source ? source->getId() : 0,
                                  source ? source->getData() : nullptr,
                                  source ? source->getSize() : 0,
                                  source ? znRTMaterialSlots::getImageEpoch(source->getId()) : 0,
                                  getLayout(),
                                  getImageGamma()};
    if (wanted == made.source)
        return made;
    made.source = wanted;
    made.blurred.clear();
    made.isValid = znRTEnvironmentImages::prepare(source, getLayout(), getImageGamma(),
                                                  made.latitudeLongitude);
    if (source && source->isValid() && !made.isValid)
        znLog::warning("Environment: the image does not have the form of its layout");
    if (made.isValid)
        made.latitudeLongitude.createMipmaps();
    const znRTVector4f mean =
        made.isValid ? made.latitudeLongitude.calculateSphereAverage() : znRTVector4f();
    made.average = {mean.x, mean.y, mean.z};
    return made;
}

znRTSampler3D* UEnvironmentMaterial::makeBlurSampler()
{
    Samplers& made = updateSamplers();
    if (!made.isValid)
        return nullptr;
    constexpr int slices = 9, height = 64;
    if (!made.blurred.isValid() &&
        !znRTEnvironmentImages::buildStack(made.latitudeLongitude, made.blurred, slices, height))
        return nullptr;
    getRaytracingAttributes().blurSampler = &made.blurred;
    return &made.blurred;
}

} // namespace osg

void znRTEnvironmentBlock::assignFrom(const osg::UEnvironmentMaterial& material,
                                      znRTMaterialSlots& slots)
{
    znRTEnvironmentRows::assignFrom(material, slots);
    auto& samplers = material.updateSamplers();
    environmentSampler = samplers.isValid ? &samplers.latitudeLongitude : nullptr;
    blurSampler = samplers.blurred.isValid() ? &samplers.blurred : nullptr;
    averageColor = samplers.average;
    rotation = znMatrix4x4(material.getRotation());
    colorCorrectionMatrix = znMatrix4x4(material.getColorCorrectionMatrix());
    chunk = material.getChunk().get();
}

void znRTSkylightBlock::assignFrom(const osg::USkylightMaterial& material, znRTMaterialSlots& slots)
{
    znRTSkylightRows::assignFrom(material, slots);
    const znRTVector3f given = material.getSunDirection();
    if (useSunDirection)
        sunDirection = given.getSquareLength() > 1e-20f ? given.getNormalized()
                                                        : znRTVector3f(0.0f, 0.0f, 1.0f);
    else
        sunDirection = znDaylightUtils::getSunDirection(latitude, longitude, year, month, day, time,
                                                        utcOffset, north);
}
