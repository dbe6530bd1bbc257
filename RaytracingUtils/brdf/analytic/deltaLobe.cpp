#include "brdf/analytic/deltaLobe.h"

void znRTDeltaLobe::setup(const znRTBxDFAttributes&, unsigned count)
{
    setSampleCount(count);
}

znFloatType<2> znRTDeltaLobe::pdf(const znRTVector3fPacket&, const znRTVector3fPacket& wi,
                                  const znRTDifferentialGeometry&) const
{
    return absolute(wi.z);
}

znRTColorPacket znRTDeltaLobe::evaluate(const znRTVector3fPacket&, const znRTVector3fPacket& wi,
                                        const znRTDifferentialGeometry&,
                                        znFloatType<2>& pdfOut) const
{
    pdfOut = absolute(wi.z);
    return grey(1.0f, 1.0f, pdfOut);
}
