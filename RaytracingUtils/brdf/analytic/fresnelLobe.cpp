#include "brdf/analytic/fresnelLobe.h"

#include "brdf/znRTBxDFAttributes.h"

const znRTFresnelOP* znRTFresnelLobe::getFresnel() const
{
    if (useSchlick)
        return &schlick;
    return &approx;
}

znFloatType<2> znRTFresnelLobe::getBlendWeight(const znFloatType<2>& cosTheta) const
{
    return useSchlick ? schlick.conductor(cosTheta) : approx.conductor(cosTheta);
}

znRTColorPacket znRTFresnelLobe::getEnvironmentFresnel(const znFloatType<2>& cosTheta,
                                                       const znRTDifferentialGeometry& dg) const
{
    return fresnelColor<1>(cosTheta, dg);
}

void znRTFresnelLobe::setReflectanceColor(const znRTColor& f0)
{
    useSchlick = true;
    table = ~0u;
    schlick.setReflectanceColor(f0);
}

void znRTFresnelLobe::setupFresnel(const znRTBSDFAttributes& record)
{
    if (record.fresnelTable == table && record.reflectance == reflectance &&
        record.useSchlick == useSchlick)
        return;
    table = record.fresnelTable;
    reflectance = record.reflectance;
    useSchlick = record.useSchlick;
    const auto apply = [&](znRTFresnelOP& term) {
        if (table == znRTBSDFAttributes::noTable)
            term.setReflectance(reflectance);
        else
            term.setFromTable(table);
    };
    apply(approx);
    apply(schlick);
}
