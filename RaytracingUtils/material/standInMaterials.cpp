#include "material/standInMaterials.h"

#include "host/osg/Materials.h"

#include <algorithm>

const znRTTypeId znRTMatteStandIn::id("znRTMatteStandIn");
const znRTTypeId znRTCoatedStandIn::id("znRTCoatedStandIn");
const znRTTypeId znRTMetalStandIn::id("znRTMetalStandIn");

namespace {

const znRTVector3f black(0.0f, 0.0f, 0.0f);

znRTVector3f half(const znRTVector3f& a, const znRTVector3f& b)
{
    return {0.5f * (a.x + b.x), 0.5f * (a.y + b.y), 0.5f * (a.z + b.z)};
}

/// As much of a gloss as the body leaves. Colours that are factors of maps may both be white.
znRTVector3f besides(const znRTVector3f& body, const znRTVector3f& gloss)
{
    const auto left = [](float b, float g) { return std::min(g, std::max(0.0f, 1.0f - b)); };
    return {left(body.x, gloss.x), left(body.y, gloss.y), left(body.z, gloss.z)};
}

/// The colour of the body, under the name that the kind has for it.
template <class Record>
void readBody(const Record& record, znRTColorAttribute& color)
{
    if constexpr (requires { record.diffuse; })
        color.set(record.diffuse, record.diffuseSpectrum, record.diffuseSampler,
                  record.diffuseActive, record.diffuseAttributes);
    else if constexpr (requires { record.base; })
        color.set(record.base, record.baseSpectrum, record.baseSampler, record.baseActive,
                  record.baseAttributes);
    else if constexpr (requires { record.paintA; })
        color.set(record.paintA, record.paintASpectrum, record.paintASampler, record.paintAActive,
                  record.paintAAttributes);
    else
        color.set(half(record.warpColor, record.weftColor), nullptr);
}

/// What shines above it: a gloss, flakes, or nothing.
template <class Record>
void readGloss(const Record& record, znRTColorAttribute& color)
{
    if constexpr (requires { record.glossy; })
        color.set(record.glossy, record.glossySpectrum, record.glossySampler, record.glossyActive,
                  record.glossyAttributes);
    else if constexpr (requires { record.flakeDensity; })
        color.set(record.flake, nullptr);
    else if constexpr (requires { record.specular; })
        color.set(besides(record.diffuse, record.specular), nullptr, record.specularSampler,
                  record.specularActive, record.specularAttributes);
    else
        color.set(black, nullptr);
}

/// Flakes reflect by how many there are, in the width of their tilt; the body shows between them.
template <class Record>
znRTBSDFAttributes glossOf(const Record& record)
{
    znRTBSDFAttributes lobes = plasticLayerOf(record);
    if constexpr (requires { record.flakeRoughness; }) {
        const float exponent = znPhongExponent(record.flakeRoughness);
        lobes.setExponents(exponent, exponent);
        lobes.fresnelTable = znRTBSDFAttributes::noTable;
        lobes.reflectance = record.flakeDensity * record.flakeReflectance;
    }
    return lobes;
}

} // namespace

znRTMatteStandIn::znRTMatteStandIn(const osg::MaterialPtr& material)
    : znRTPhongLobesMaterial(id, material)
{
    znRTMatteStandIn::update();
}

void znRTMatteStandIn::update()
{
    const auto readAs = [this](auto host) {
        if (!host)
            return;
        auto& record = host->getRaytracingAttributes();
        if (!setRaytracingCommonSettings(record, true))
            return;
        readShared(record);
        readBody(record, diffuse);
        glossy.set(black, nullptr);
        setupLobes(znRTBSDFAttributes());
    };
    readAs(osg::FCPtr<osg::UVelvetMaterial>::dcast(hostMaterial));
    readAs(osg::FCPtr<osg::UWovenClothMaterial>::dcast(hostMaterial));
}

znRTCoatedStandIn::znRTCoatedStandIn(const osg::MaterialPtr& material)
    : znRTReflectivePlasticMaterial(id, material)
{
    znRTCoatedStandIn::update();
}

template <class Host>
bool znRTCoatedStandIn::readAs()
{
    const auto host = osg::FCPtr<Host>::dcast(hostMaterial);
    if (!host)
        return false;
    auto& record = host->getRaytracingAttributes();
    if (!setRaytracingCommonSettings(record, true))
        return true;
    readShared(record);
    readBody(record, diffuse);
    readGloss(record, glossy);
    if constexpr (requires { record.clearcoatReflectance; })
        readCoat(record);
    finish(glossOf(record), record.usesVertexTangents);
    return true;
}

void znRTCoatedStandIn::update()
{
    using namespace osg;
    (void)(readAs<UMetallicPaintMaterial>() || readAs<UUnicolorPaintMaterial>() ||
           readAs<UFlipflopMaterial>() || readAs<UCarbonMaterial>() ||
           readAs<UCarbonMaterial2D>() || readAs<UTireMaterial>() || readAs<USVBRDFMaterial>() ||
           readAs<UMeasuredCarpaintMaterial>() || readAs<UMeasuredCarpaint2Material>());
}

znRTMetalStandIn::znRTMetalStandIn(const osg::MaterialPtr& material)
    : znRTChromeMaterial(id, material)
{
    znRTMetalStandIn::update();
}

void znRTMetalStandIn::update()
{
    const auto lined = osg::FCPtr<osg::ULineChromeMaterial>::dcast(hostMaterial);
    if (!lined)
        return;
    auto& record = lined->getRaytracingAttributes();
    if (!readCommon(record))
        return;
    color.set(record.reflection, record.reflectionSpectrum, record.reflectionSampler,
              record.reflectionActive, record.reflectionAttributes);
    readMetal(record, sharpestExponent);
}
