#include "brdf/analytic/znRTMinnaertBRDF.h"

#include "brdf/znRTBxDFAttributes.h"

const znRTTypeId znRTMinnaertBRDF::s_typeId("znRTMinnaertBRDF");

void znRTMinnaertBRDF::setup(const znRTBxDFAttributes& attributes, unsigned count)
{
    setSampleCount(count);
    if (const auto* const surface = dynamic_cast<const znRTBSDFAttributes*>(&attributes))
        darkening = surface->darkening;
    else if (const auto* const rough = dynamic_cast<const znRTPhongBTDFAttributes*>(&attributes))
        darkening = rough->darkening;
}

znRTColorPacket znRTMinnaertBRDF::evaluate(const znRTVector3fPacket& wo,
                                           const znRTVector3fPacket& wi,
                                           const znRTDifferentialGeometry&,
                                           znFloatType<2>& pdfOut) const
{
    pdfOut = lobeSampling::cosinePdf(wo, wi);
    const znFloatType<2> power =
        pow(lobeMath::positive(wi.z) * lobeMath::positive(wo.z), darkening - 1.0f);
    return grey(minimum(power, 10.0f) * lobeMath::invPi, 0.0f, pdfOut);
}
