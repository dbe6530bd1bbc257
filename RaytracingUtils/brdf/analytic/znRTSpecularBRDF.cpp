#include "brdf/analytic/znRTSpecularBRDF.h"

const znRTTypeId znRTSpecularBRDF::s_typeId("znRTSpecularBRDF");

void znRTSpecularBRDF::sample(const znRTVector2fPacket&, const znRTVector3fPacket& wo,
                              const znRTDifferentialGeometry&, znRTVector3fPacket& wi,
                              znFloatType<2>& mask) const
{
    lobeSampling::commit({-wo.x, -wo.y, wo.z}, wo.z > znFloatType<2>(0.0f), wi, mask);
}
