#include "brdf/analytic/znRTVelvetyBRDF.h"

#include "brdf/znRTBxDFAttributes.h"

const znRTTypeId znRTVelvetyBRDF::s_typeId("znRTVelvetyBRDF");

void znRTVelvetyBRDF::setup(const znRTBxDFAttributes& attributes, unsigned count)
{
    setSampleCount(count);
    if (const auto* const record = dynamic_cast<const znRTBSDFAttributes*>(&attributes))
        exponent = record->exponentX;
}

znRTColorPacket znRTVelvetyBRDF::evaluate(const znRTVector3fPacket& wo,
                                          const znRTVector3fPacket& wi,
                                          const znRTDifferentialGeometry&,
                                          znFloatType<2>& pdfOut) const
{
    pdfOut = lobeSampling::cosinePdf(wo, wi);
    const znFloatType<2> sine = squareRoot(lobeMath::positive(znFloatType<2>(1.0f) - square(wo.z)));
    return grey(pow(sine, exponent) * lobeMath::invPi, 0.0f, pdfOut);
}
