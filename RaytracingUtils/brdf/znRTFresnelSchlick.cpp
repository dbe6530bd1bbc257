#include "brdf/znRTFresnelSchlick.h"

#include "brdf/lobeMath.h"
#include "brdf/opticalConstants.h"

const znRTTypeId znRTFresnelSchlick::s_typeId("znRTFresnelSchlick");

using lobeMath::schlickRise;

void znRTFresnelSchlick::setRefraction(float n, float, float)
{
    const float root = (n - 1.0f) / (n + 1.0f);
    reflectance = std::max(0.0f, root * root);
    hasColor = false;
}

void znRTFresnelSchlick::setReflectance(float f0)
{
    reflectance = lobeMath::held(f0, 1e-6f, 0.999999f);
    hasColor = false;
}

void znRTFresnelSchlick::setFromTable(unsigned index)
{
    const znOpticalConstants& metal = getOpticalConstants(index);
    znRTColor f0;
    for (int channel = 0; channel < 3; ++channel) {
        const float n = metal.n[channel], k2 = metal.k[channel] * metal.k[channel];
        f0[channel] = ((n - 1.0f) * (n - 1.0f) + k2) / ((n + 1.0f) * (n + 1.0f) + k2);
    }
    setReflectanceColor(f0);
}

void znRTFresnelSchlick::setReflectanceColor(const znRTColor& newColor)
{
    for (int channel = 0; channel < 3; ++channel)
        color[channel] = lobeMath::held(newColor[channel], 0.0f, 1.0f);
    reflectance = (color[0] + color[1] + color[2]) * (1.0f / 3.0f);
    hasColor = true;
}

znFloatType<2> znRTFresnelSchlick::schlick(const znFloatType<2>& cosTheta,
                                           const znFloatType<2>& f0) const
{
    return lobeMath::schlick(f0, schlickRise(cosTheta));
}

znRTColorPacket znRTFresnelSchlick::schlickColor(const znFloatType<2>& cosTheta,
                                                 const znRTColorPacket& f0) const
{
    const znFloatType<2> m = schlickRise(cosTheta);
    return {lobeMath::schlick(f0.r, m), lobeMath::schlick(f0.g, m), lobeMath::schlick(f0.b, m),
            0.0f};
}

znRTColorPacket znRTFresnelSchlick::evaluateColor() const
{
    return hasColor ? znRTColorPacket(color[0], color[1], color[2], 0.0f)
                    : znRTColorPacket(reflectance, reflectance, reflectance, 0.0f);
}

znFloatType<2> znRTFresnelSchlick::dielectricExact(const znFloatType<2>& cosI,
                                                   const znFloatType<2>&) const
{
    return lobeMath::schlick(reflectance, schlickRise(cosI));
}

znFloatType<2> znRTFresnelSchlick::dielectric(const znFloatType<2>& cosTheta) const
{
    return lobeMath::schlick(reflectance, schlickRise(cosTheta));
}

znFloatType<2> znRTFresnelSchlick::dielectric(const znFloatType<2>& cosTheta,
                                              const znFloatType<2>& n) const
{
    return lobeMath::schlick(square((n - 1.0f) * reciprocalOrZero(n + 1.0f)),
                             schlickRise(cosTheta));
}

znRTColorPacket znRTFresnelSchlick::dielectricColor(const znFloatType<2>& cosI,
                                                    const znFloatType<2>&) const
{
    return znRTFresnelSchlick::schlickColor(cosI, evaluateColor());
}

znFloatType<2> znRTFresnelSchlick::conductor(const znFloatType<2>& cosTheta) const
{
    return lobeMath::schlick(reflectance, schlickRise(cosTheta));
}

znRTColorPacket znRTFresnelSchlick::conductorColor(const znFloatType<2>& cosTheta) const
{
    return znRTFresnelSchlick::schlickColor(cosTheta, evaluateColor());
}
