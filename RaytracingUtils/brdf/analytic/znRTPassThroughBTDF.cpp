#include "brdf/analytic/znRTPassThroughBTDF.h"

const znRTTypeId znRTPassThroughBTDF::s_typeId("znRTPassThroughBTDF");

void znRTPassThroughBTDF::setup(const znRTBxDFAttributes& attributes, unsigned count)
{
    znRTDeltaLobe::setup(attributes, count);
    colorFactor = znRTColor();
}

void znRTPassThroughBTDF::sample(const znRTVector2fPacket&, const znRTVector3fPacket& wo,
                                 const znRTDifferentialGeometry&, znRTVector3fPacket& wi,
                                 znFloatType<2>& mask) const
{
    lobeSampling::commit(-wo, znFloatType<2>::allLanes(), wi, mask);
}
