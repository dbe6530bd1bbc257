#include "brdf/analytic/znRTDiffuseASBRDF.h"

#include "brdf/znRTBxDFAttributes.h"
#include "brdf/znRTLobeParameters.h"
#include "host/znRTRaytracingSettings.h"

const znRTTypeId znRTDiffuseASBRDF::s_typeId("znRTDiffuseASBRDF");

namespace {

/// Share of light that crosses the layer at an angle.
znFloatType<2> crossing(znFloatType<2> cosTheta, float scale)
{
    const znFloatType<2> missing = znFloatType<2>(1.0f) - lobeMath::positive(cosTheta) * scale;
    return lobeMath::positive(znFloatType<2>(1.0f) - lobeMath::fifthPower(missing));
}

} // namespace

void znRTDiffuseASBRDF::setup(const znRTBxDFAttributes& attributes, unsigned count)
{
    setSampleCount(count);
    const auto* const record = dynamic_cast<const znRTBSDFAttributes*>(&attributes);
    if (!record)
        return;
    const bool conserving = znRTRaytracingSettings::useEnergyConservingFresnel();
    // The classic form has no plain share: all of the diffuse light crosses the layer.
    const float share = conserving ? lobeMath::held(record->diffuseShare, 0.0f, 1.0f) : 1.0f;
    const float newReflectance = lobeMath::held(record->reflectance, 0.0f, 1.0f);
    if (newReflectance == reflectance && share == diffuseShare && conserving == energyConserving)
        return;
    reflectance = newReflectance;
    diffuseShare = share;
    energyConserving = conserving;
    scale = conserving ? 1.0f : 0.5f;
    layeredFactor =
        conserving ? 21.0f * share / (20.0f * lobeMath::pi) : 28.0f / (23.0f * lobeMath::pi);
    layeredWeight = (1.0f - reflectance) * layeredFactor;
    plainValue = (1.0f - share) * lobeMath::invPi;
}

znRTColorPacket znRTDiffuseASBRDF::evaluate(const znRTVector3fPacket& wo,
                                            const znRTVector3fPacket& wi,
                                            const znRTDifferentialGeometry& dg,
                                            znFloatType<2>& pdfOut) const
{
    pdfOut = lobeSampling::cosinePdf(wo, wi);
    znFloatType<2> weight(layeredWeight);
    if (const znRTLobeParameters* const block = dg.parameters) {
        // The share belongs into the lanes' weight as well: without it the layered and the plain
        // part together return up to 1.46 of the light.
        const znFloatType<2> ofLane =
            lobeMath::positive((znFloatType<2>(1.0f) - block->reflectance) * layeredFactor);
        weight = select(block->reflectanceMask, ofLane, weight);
    }
    const znFloatType<2> layered = weight * crossing(wi.z, scale) * crossing(wo.z, scale);
    return grey(layered + plainValue, 1.0f, pdfOut);
}
