#include "brdf/znRTFresnelApprox.h"

#include "brdf/lobeMath.h"
#include "brdf/opticalConstants.h"

const znRTTypeId znRTFresnelApprox::s_typeId("znRTFresnelApprox");

static_assert(std::size(metalTable) == znRTFresnelApprox::s_tableSize);

namespace {

znFloatType<2> dielectricOf(znFloatType<2> n, znFloatType<2> cosI, znFloatType<2> cosT)
{
    const znFloatType<2> r1 = (n * cosI - cosT) * reciprocalOrZero(n * cosI + cosT);
    const znFloatType<2> r2 = (cosI - n * cosT) * reciprocalOrZero(cosI + n * cosT);
    return znFloatType<2>(0.5f) * (square(r1) + square(r2));
}

znFloatType<2> conductorOf(znFloatType<2> n, znFloatType<2> k, znFloatType<2> cosTheta)
{
    const znFloatType<2> s = square(n) + square(k), t = (n + n) * cosTheta, c2 = square(cosTheta);
    const znFloatType<2> across = (s - t + c2) * reciprocalOrZero(s + t + c2);
    const znFloatType<2> along = (s * c2 - t + 1.0f) * reciprocalOrZero(s * c2 + t + 1.0f);
    return znFloatType<2>(0.5f) * (across + along);
}

} // namespace

void znRTFresnelApprox::setRefraction(float n, float k, float newBlend)
{
    std::fill_n(refraction, 3, n);
    std::fill_n(absorption, 3, k);
    blend = newBlend;
}

void znRTFresnelApprox::setReflectance(float f0)
{
    const float f = lobeMath::held(f0, 1e-6f, 0.999999f);
    const float s = std::sqrt(f);
    setRefraction((1.0f + s) / (1.0f - s), 2.0f * std::sqrt(f / (1.0f - f)), 1.0f);
    tableIndex = 0;
}

float znRTFresnelApprox::getApproximateReflectance() const
{
    float sum = 0.0f;
    for (float n : refraction)
        sum += (n - 1.0f) * (n - 1.0f) / ((n + 1.0f) * (n + 1.0f));
    return sum * (1.0f / 3.0f);
}

void znRTFresnelApprox::setFromTable(unsigned index)
{
    const znOpticalConstants& metal = getOpticalConstants(index);
    std::copy_n(metal.n, 3, refraction);
    std::copy_n(metal.k, 3, absorption);
    tableIndex = index < s_tableSize ? index : 0;
    blend = 1.0f;
}

znFloatType<2> znRTFresnelApprox::schlick(const znFloatType<2>& cosTheta,
                                          const znFloatType<2>& f0) const
{
    return lobeMath::schlick(f0, lobeMath::schlickRise(cosTheta));
}

znRTColorPacket znRTFresnelApprox::schlickColor(const znFloatType<2>& cosTheta,
                                                const znRTColorPacket& f0) const
{
    const znFloatType<2> m = lobeMath::schlickRise(cosTheta);
    return {lobeMath::schlick(f0.r, m), lobeMath::schlick(f0.g, m), lobeMath::schlick(f0.b, m),
            1.0f};
}

znRTColorPacket znRTFresnelApprox::evaluateColor() const
{
    return znRTColorPacket(1.0f);
}

znFloatType<2> znRTFresnelApprox::dielectricExact(const znFloatType<2>& cosI,
                                                  const znFloatType<2>& cosT) const
{
    return dielectricOf(refraction[0], cosI, cosT);
}

znFloatType<2> znRTFresnelApprox::dielectric(const znFloatType<2>& cosTheta) const
{
    return znRTFresnelApprox::dielectric(cosTheta, znFloatType<2>(refraction[0]));
}

znFloatType<2> znRTFresnelApprox::dielectric(const znFloatType<2>& cosTheta,
                                             const znFloatType<2>& n) const
{
    const znFloatType<2> one(1.0f);

    // Beyond the critical angle the root is NaN; the select at the end drops it, so those lanes
    // cost no branch.
    const znFloatType<2> gSquared = square(n) + square(cosTheta) - one;
    const znFloatType<2> isTotal = gSquared < znFloatType<2>(0.0f);
    const znFloatType<2> g = squareRoot(gSquared);

    const znFloatType<2> sum = g + cosTheta, difference = g - cosTheta;
    const znFloatType<2> s = difference * reciprocalOrZero(sum);
    const znFloatType<2> p = (cosTheta * sum - one) * reciprocalOrZero(cosTheta * difference + one);
    return select(isTotal, one, znFloatType<2>(0.5f) * square(s) * (one + square(p)));
}

znRTColorPacket znRTFresnelApprox::dielectricColor(const znFloatType<2>& cosI,
                                                   const znFloatType<2>& cosT) const
{
    return {dielectricOf(refraction[0], cosI, cosT), dielectricOf(refraction[1], cosI, cosT),
            dielectricOf(refraction[2], cosI, cosT), 1.0f};
}

znFloatType<2> znRTFresnelApprox::conductor(const znFloatType<2>& cosTheta) const
{
    constexpr float third = 1.0f / 3.0f;
    return conductorOf((refraction[0] + refraction[1] + refraction[2]) * third,
                       (absorption[0] + absorption[1] + absorption[2]) * third, cosTheta);
}

znRTColorPacket znRTFresnelApprox::conductorColor(const znFloatType<2>& cosTheta) const
{
    return {conductorOf(refraction[0], absorption[0], cosTheta),
            conductorOf(refraction[1], absorption[1], cosTheta),
            conductorOf(refraction[2], absorption[2], cosTheta), 1.0f};
}
