#include "material/znRTBrushedMetalMaterial.h"

#include "brdf/znRTBxDFAttributes.h"
#include "host/osg/materials/metalMaterials.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <utility>

const znRTTypeId znRTBrushedMetalMaterial::id("znRTBrushedMetalMaterial");

namespace {

/// Beyond it a lobe would be as sharp and only noisy.
constexpr float leastRoughness = 1e-3f;

/// What the numbers of a record's model stand for.
enum Model { powerOfHalfVector = 0, facets = 1 };

} // namespace

znRTBrushedMetalMaterial::znRTBrushedMetalMaterial(const osg::MaterialPtr& material)
    : znRTPipelineKind(id, material)
{
    znRTBrushedMetalMaterial::update();
}

void znRTBrushedMetalMaterial::Widths::read(const znRTGlossinessRows& record)
{
    first.set(record.glossinessSampler, record.glossinessActive, record.glossinessAttributes);
    second.set(record.anisotropySampler, record.anisotropyActive, record.anisotropyAttributes);
    roughness = std::max(record.roughness, leastRoughness);
    roughnessV = std::max(record.roughnessV, leastRoughness);
    roughest = 1.0f - record.glossinessMin;
    smoothest = 1.0f - record.glossinessMax;
}

/// Without an image of its own the second axis keeps its proportion to the first.
void znRTBrushedMetalMaterial::Widths::fetch(const znRTDataBlockPacket& data,
                                             const znFloatType<2>& mask, znFloatType<2>& u,
                                             znFloatType<2>& v) const
{
    const auto read = [&](const znRTAttributeTexture& texture) {
        const znFloatType<2> texel = clamp01(texture.fetch(data, mask).r);
        return maximum(texel * (smoothest - roughest) + roughest, leastRoughness);
    };
    u = first.isActive() ? read(first) : znFloatType<2>(roughness);
    v = second.isActive() ? read(second) : minimum(u * (roughnessV / roughness), 1.0f);
}

void znRTBrushedMetalMaterial::update()
{
    const auto* const record = getStaleRecord<osg::UBrushedMetalMaterial>();
    if (!record)
        return;
    diffuse.set(record->diffuse, record->diffuseSpectrum, record->diffuseSampler,
                record->diffuseActive, record->diffuseAttributes);
    glossy.set(record->glossy, record->glossySpectrum, record->glossySampler, record->glossyActive,
               record->glossyAttributes);
    diffuse.useVertexColors(record->vertexColors != 0);
    glossy.useVertexColors(record->vertexColors != 0);
    ambient.set(record->ambient, record->ambientSpectrum);
    coat.read(*record);
    readOcclusion(*record);
    setStructure(*record);
    widths.read(*record);
    const float turn = record->anisotropyAngle * (std::numbers::pi_v<float> / 180.0f);
    cosAngle = std::cos(turn);
    sinAngle = std::sin(turn);
    needsConsistentTangents = true;

    // Of one width in all directions the record's exponents are as sharp as its slopes are small.
    znRTBSDFAttributes lobes;
    const auto exponentOf = [](float r) { return 1.0f / (r * r); };
    lobes.setExponents(exponentOf(widths.roughness), exponentOf(widths.roughnessV));
    lobes.fresnelTable = record->fresnelTable;
    lobes.reflectance = record->reflectance;
    lobes.useSchlick = record->useSchlick;
    if (record->model == powerOfHalfVector)
        glossyLobe = widths.isTextured() ? static_cast<znRTBRDF*>(&texturedPowerLobe)
                                         : static_cast<znRTBRDF*>(&uniformPowerLobe);
    else
        glossyLobe = widths.isTextured() ? static_cast<znRTBRDF*>(&texturedFacetLobe)
                                         : static_cast<znRTBRDF*>(&uniformFacetLobe);
    setupLobes(lobes);
    addMirrorRequirements(record->usesVertexTangents);
    materialState.materialAttributes |= vertexAttribute::bumpDefault;
}

void znRTBrushedMetalMaterial::setupLobes(const znRTBSDFAttributes& lobes)
{
    blend.setLobes(diffuseLobe, *glossyLobe);
    blend.setup(lobes, unsigned(std::max(0, getEnvironmentQuality())));
    blend.setMix(diffuse.getPhotometricValue(), glossy.getPhotometricValue());
    setPlainRequirements();
    for (const znRTColorAttribute* color : {&diffuse, &glossy})
        color->addRequirements(materialState);
    for (const znRTAttributeTexture* texture :
         {&coat.color.getTexture(), &std::as_const(widths).first, &std::as_const(widths).second})
        texture->addRequirements(materialState);
}

void znRTBrushedMetalMaterial::fetchParameters(const znRTRayDifferentialPacket& ray,
                                               const znRTDataBlockPacket& data,
                                               const znFloatType<2>& mask, Hit& hit) const
{
    hit.diffuse = diffuse.fetch(data, mask);
    hit.glossy = glossy.fetch(data, mask);
    hit.ambient = ambient.fetch(data, mask);
    coat.fetch(ray, data, mask, hit);
    fetchShared(data, mask, hit);
    if (!widths.isTextured())
        return;
    znFloatType<2> u, v;
    widths.fetch(data, mask, u, v);
    znRTLobeParameters& block = hit.useLanes()[0];
    const znFloatType<2> one(1.0f);
    block.setExponents(one / (u * u), one / (v * v), mask);
    block.setSlopes(u, v, mask);
}

void znRTBrushedMetalMaterial::buildFrame(Hit& hit) const
{
    const znFloatType<2> all = znFloatType<2>::allLanes();
    znRTDifferentialGeometry& dg = hit.dg;
    // Without strokes and tangents, along the first texture coordinate.
    dg.tangent = select(dg.tangentMask, dg.tangent, dg.dPdu);
    dg.tangentMask |= dg.dPdu.getSquareLength() > znFloatType<2>(0.0f);
    hit.onb = surfaceStructure->getFrameAt(dg, all);
    const znRTVector3fPacket u = hit.onb.u, v = hit.onb.v;
    hit.onb.u = u * cosAngle + v * sinAngle;
    hit.onb.v = v * cosAngle - u * sinAngle;
}

void znRTBrushedMetalMaterial::addLobes(Hit& hit, const znFloatType<2>& lanes) const
{
    coat.addTo(hit, lanes);
    hit.lobes.add(diffuseLobe, hit.onb, hit.diffuse, lanes);
    hit.lobes.add(*glossyLobe, hit.onb, hit.glossy, lanes);
    hit.lobes.mixture = &blend;
}
