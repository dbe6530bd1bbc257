#include "brdf/analytic/znRTPBRDF.h"

#include "brdf/analytic/tableLookup.h"
#include "brdf/znRTBxDFAttributes.h"

const znRTTypeId znRTPBRDF::s_typeId("znRTPBRDF");

namespace {

/// Angle between the azimuths, the short way round: 0..pi. A direction on the normal has no
/// azimuth, and the angle counts as 0.
struct AzimuthDifference
{
    AzimuthDifference(const znRTVector3fPacket& wo, const znRTVector3fPacket& wi)
        : along(wo.x * wi.x + wo.y * wi.y), across(absolute(wo.x * wi.y - wo.y * wi.x))
    {
    }
    znFloatType<2> angle() const { return atan2(across, along); }
    znFloatType<2> cosine() const
    {
        const znFloatType<2> square2 = square(along) + square(across);
        const znFloatType<2> hasAzimuth = square2 > znFloatType<2>(0.0f);
        return select(hasAzimuth, along * reciprocalSquareRoot(square2), 1.0f);
    }

    znFloatType<2> along, across;
};

} // namespace

void znRTPBRDF::setup(const znRTBxDFAttributes& attributes, unsigned count)
{
    setSampleCount(count);
    const auto* const record = dynamic_cast<const znRTPBRDFAttributes*>(&attributes);
    if (!record)
        return;
    constexpr int modeOfAngles = 3;
    table = record->table;
    usesAngles = record->mode == modeOfAngles;
    std::copy_n(record->scale, 3, scale);
    std::copy_n(record->offset, 3, offset);
}

void znRTPBRDF::sample(const znRTVector2fPacket& u, const znRTVector3fPacket& wo,
                       const znRTDifferentialGeometry& dg, znRTVector3fPacket& wi,
                       znFloatType<2>& mask) const
{
    if (table)
        znRTCosineLobe::sample(u, wo, dg, wi, mask);
    else
        znRTBRDF::sample(u, wo, dg, wi, mask);
}

znFloatType<2> znRTPBRDF::pdf(const znRTVector3fPacket& wo, const znRTVector3fPacket& wi,
                              const znRTDifferentialGeometry&) const
{
    return table ? lobeSampling::cosinePdf(wo, wi) : znFloatType<2>(0.0f);
}

znRTColorPacket znRTPBRDF::evaluate(const znRTVector3fPacket& wo, const znRTVector3fPacket& wi,
                                    const znRTDifferentialGeometry& dg,
                                    znFloatType<2>& pdfOut) const
{
    pdfOut = znRTPBRDF::pdf(wo, wi, dg);
    const znFloatType<2> possible = pdfOut > znFloatType<2>(0.0f);
    if (!anyLane(possible))
        return znRTColorPacket(0.0f);
    const AzimuthDifference azimuth(wo, wi);
    const znRTVector3fPacket x = usesAngles
                                     ? znRTVector3fPacket(acos(wi.z), acos(wo.z), azimuth.angle())
                                     : znRTVector3fPacket(wi.z, wo.z, azimuth.cosine());
    const znRTVector3fPacket place(x.x * scale[0] + offset[0], x.y * scale[1] + offset[1],
                                   x.z * scale[2] + offset[2]);
    znRTColorPacket color = readTable(*table, place, possible) * lobeMath::invPi;
    color.a = 1.0f;
    return color & possible;
}
