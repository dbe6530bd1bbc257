#include "light/znRTInfiniteHemisphereShape.h"

#include "host/osg/Materials.h"
#include "host/osg/materials/znRTMaterialSlots.h"
#include "light/directionMaps.h"
#include "texture/znRTTextureFunctions.h"

#include <cmath>
#include <cstdio>
#include <new>

const znRTTypeId znRTInfiniteHemisphereShape::id("znRTInfiniteHemisphereShape");

namespace {

float photometricValue(const znRTColor& c)
{
    return 0.2125f * c.r + 0.7154f * c.g + 0.0721f * c.b;
}

void setColor(znRTEnvironmentMap& map, const znRTEnvironmentAttributes& record)
{
    map.setColor(record.useColorCorrection ? &record.colorCorrectionMatrix : nullptr,
                 record.intensity * std::exp2(record.exposure));
}

} // namespace

bool znRTInfiniteHemisphereShape::isValid() const
{
    if (!m_upperHemisphereEnvCDF) {
        std::printf("m_upperHemisphereEnvCDF invalid\n");
        return false;
    }
    if (!m_fullEnvCDF) {
        std::printf("m_fullEnvCDF invalid\n");
        return false;
    }
    return environmentSampler.isValid();
}

unsigned znRTInfiniteHemisphereShape::getSampleCount() const
{
    return m_fullEnvCDF ? unsigned(m_fullEnvCDF->getWidth() * m_fullEnvCDF->getHeight()) : 0u;
}

/// A piece du dv of the square is 2 pi^2 sin(theta) of the sphere, half that for the upper half.
znFloatType<2> znRTInfiniteHemisphereShape::toSolidAngle(const znFloatType<2>& areaPdf,
                                                         const znFloatType<2>& sine,
                                                         bool upperOnly) const
{
    const float pieces = (upperOnly ? 1.0f : 2.0f) * lobeMath::pi * lobeMath::pi;
    return areaPdf * reciprocalOrZero(sine * pieces);
}

znFloatType<2> znRTInfiniteHemisphereShape::sample(const znRTVector2fPacket& u,
                                                   const znFloatType<2>& mask, bool upperOnly,
                                                   znRTVector3fPacket& direction,
                                                   znRTVector2fPacket& uv) const
{
    const znDistribution2D* const table = upperOnly ? m_upperHemisphereEnvCDF : m_fullEnvCDF;
    direction = worldToEnvironment[2];
    uv = {0.0f, 0.0f};
    if (!table)
        return 0.0f;
    znFloatType<2> areaPdf;
    uv = znRTTextureFunctions::remapSample(*table, u, areaPdf, mask);
    if (upperOnly)
        uv.y *= 0.5f;
    znFloatType<2> sine;
    direction = directionAt(uv, sine);
    return toSolidAngle(areaPdf, sine, upperOnly) & mask;
}

znRTVector3fPacket znRTInfiniteHemisphereShape::directionAt(const znRTVector2fPacket& uv,
                                                            znFloatType<2>& sine) const
{
    const znRTVector3fPacket turned[3] = {worldToEnvironment[1], worldToEnvironment[0],
                                          worldToEnvironment[2]};
    return polarToDirection(turned, uv, sine);
}

znRTVector3fPacket znRTInfiniteHemisphereShape::sampleOnGround(const znRTVector2fPacket& u,
                                                               const znFloatType<2>& mask) const
{
    if (!tables || !tables->onGround.isValid())
        return worldToEnvironment[2];
    znFloatType<2> areaPdf;
    znRTVector2fPacket uv = znRTTextureFunctions::remapSample(tables->onGround, u, areaPdf, mask);
    uv.y *= 0.5f;
    znFloatType<2> sine;
    return directionAt(uv, sine);
}

znFloatType<2> znRTInfiniteHemisphereShape::density(const znRTVector3fPacket& direction,
                                                    const znFloatType<2>& mask,
                                                    bool upperOnly) const
{
    return densityAt(direction, getCoordinates(direction), mask, upperOnly);
}

znFloatType<2> znRTInfiniteHemisphereShape::densityAt(const znRTVector3fPacket& direction,
                                                      znRTVector2fPacket uv,
                                                      const znFloatType<2>& mask,
                                                      bool upperOnly) const
{
    const znDistribution2D* const table = upperOnly ? m_upperHemisphereEnvCDF : m_fullEnvCDF;
    if (!table)
        return 0.0f;
    const znRTVector3fPacket local = toEnvironment(direction);
    const znFloatType<2> sine = squareRoot(local.x * local.x + local.y * local.y);
    znFloatType<2> inside = mask;
    if (upperOnly) {
        inside &= uv.y <= znFloatType<2>(0.5f);
        uv.y = uv.y + uv.y;
    }
    return toSolidAngle(znRTTextureFunctions::remapPdf(*table, uv, inside), sine, upperOnly) &
           inside;
}

znRTColorPacket znRTInfiniteHemisphereShape::evaluate(const znRTVector3fPacket& direction,
                                                      const znFloatType<2>& mask) const
{
    return environmentSampler.lookup(getCoordinates(direction), mask);
}

znRTColorPacket znRTInfiniteHemisphereShape::evaluateAt(const znRTVector2fPacket& uv,
                                                        const znFloatType<2>& mask) const
{
    return environmentSampler.lookup(uv, mask);
}

znRTColorPacket znRTInfiniteHemisphereShape::evaluateDrawn(const znRTVector3fPacket&,
                                                           const znRTVector2fPacket& uv,
                                                           const znFloatType<2>& mask) const
{
    return environmentSampler.lookup(uv, mask);
}

znRTColorPacket znRTInfiniteHemisphereShape::evaluateWithPdf(const znRTVector3fPacket& direction,
                                                             const znFloatType<2>& mask,
                                                             znFloatType<2>& pdf) const
{
    const znRTVector2fPacket uv = getCoordinates(direction);
    pdf = densityAt(direction, uv, mask, false);
    return environmentSampler.lookup(uv, mask);
}

znRTColorPacket znRTInfiniteHemisphereShape::evaluateSeen(const znRTVector3fPacket& direction,
                                                          const znFloatType<2>& mask) const
{
    const znRTEnvironmentMap& map = seenMap.isValid() ? seenMap : environmentSampler;
    return map.lookup(getCoordinates(direction), mask);
}

znRTColorPacket znRTInfiniteHemisphereShape::evaluateFiltered(const znRTVector3fPacket& direction,
                                                              const znFloatType<2>& level,
                                                              const znFloatType<2>& mask) const
{
    if (!filtered.isValid())
        return znRTColorPacket(averageColor) & mask;
    return environmentSampler.getCorrected(filtered.lookup(toEnvironment(direction), level, mask),
                                           mask);
}

void znRTInfiniteHemisphereShape::makeFiltered()
{
    if (!filtered.isValid() && shining && environmentSampler.isValid())
        filtered.build(*shining);
}

bool znRTInfiniteHemisphereShape::isEven() const
{
    constexpr float littleLight = 0.05f;
    return tables && tables->peakShare < littleLight;
}

bool znRTInfiniteHemisphereShape::setAttributes(const osg::MaterialPtr& material)
{
    const auto environment = osg::FCPtr<osg::UEnvironmentMaterial>::dcast(material);
    if (!environment)
        return false;
    const znRTEnvironmentAttributes& record = environment->getRaytracingAttributes();
    const auto sphere = osg::FCPtr<osg::USphereEnvironmentMaterial>::dcast(material);
    const osg::ImagePtr image = environment->getImage();
    const Source wanted{image ? image->getId() : 0, image ? image->getData() : nullptr,
                        image ? znRTMaterialSlots::getImageEpoch(image->getId()) : 0,
                        environment->getLayout(), sphere ? sphere->getGamma() : 1.0f};
    std::vector<znRTExtractedPlace> places = extractedPlaces(*environment);
    const bool isNew = wanted != source || places != extracted;
    source = wanted;
    extracted = std::move(places);
    const znRTVector3f& mean = record.averageColor;
    if (extracted.empty() || !record.environmentSampler) {
        remainder.clear();
        seenMap.setSampler(nullptr);
        return setImage(record.environmentSampler, {mean.x, mean.y, mean.z, 1.0f}, record, isNew);
    }
    if (isNew || !remainder.isValid())
        fillExtractedPlaces(*record.environmentSampler, extracted, remainder);
    seenMap.setSampler(record.environmentSampler);
    setColor(seenMap, record);
    const znRTVector4f left = remainder.calculateSphereAverage();
    return setImage(&remainder, {left.x, left.y, left.z, 1.0f}, record, isNew);
}

bool znRTInfiniteHemisphereShape::setImage(const znRTSampler2D* sampler, const znRTColor& mean,
                                           const znRTEnvironmentAttributes& record, bool isNew)
{
    setCommonAttributes(record);
    const bool fits = environmentSampler.setSampler(sampler);
    if (sampler && !fits)
        std::printf("[znRTInfiniteHemisphereShape] Error, conversion failed\n");
    setColor(environmentSampler, record);
    if (isNew || sampler != shining)
        filtered.clear();
    shining = fits ? sampler : nullptr;
    averageColor = environmentSampler.getCorrected(mean);
    averagePower = fits ? photometricValue(averageColor) * 4.0f * 3.1415927f : 0.0f;

    // A factor on all texels leaves the tables as they are; a correction does not.
    const bool isRecoloured = record.useColorCorrection != tableIsCorrected ||
                              (tableIsCorrected && tableCorrection != record.colorCorrectionMatrix);
    if (isNew || isRecoloured || !fits || !m_fullEnvCDF) {
        tableIsCorrected = record.useColorCorrection;
        tableCorrection = record.colorCorrectionMatrix;
        makeTables();
    }
    return fits;
}

void znRTInfiniteHemisphereShape::makeTables()
{
    m_upperHemisphereEnvCDF = m_fullEnvCDF = nullptr;
    if (!environmentSampler.isValid())
        return;
    if (!tables)
        tables.reset(new (std::nothrow) znRTEnvironmentTables);
    if (!tables)
        return;
    tables->calculate(environmentSampler);
    ++tableBuilds;
    m_upperHemisphereEnvCDF = tables->upper.isValid() ? &tables->upper : nullptr;
    m_fullEnvCDF = tables->full.isValid() ? &tables->full : nullptr;
}
