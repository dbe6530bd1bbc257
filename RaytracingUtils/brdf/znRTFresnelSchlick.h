#pragma once

// Fresnel term by Schlick's formula from one stored reflectance, which it meets exactly at normal
// incidence; the index of refraction serves only to find that reflectance. Colours have alpha 0.

#include "brdf/znRTFresnelOP.h"

class znRTFresnelSchlick final : public znRTFresnelOP
{
public:
    static const znRTTypeId s_typeId;

    znRTFresnelSchlick() : znRTFresnelOP(s_typeId) {}

    /// ((n - 1) / (n + 1))^2; absorption and share are not used.
    void setRefraction(float n, float k, float blend) override;
    void setReflectance(float f0) override;
    float getApproximateReflectance() const override { return reflectance; }
    unsigned getTableIndex() const override { return 0; }
    /// The metal's colour at normal incidence.
    void setFromTable(unsigned index) override;
    znFloatType<2> schlick(const znFloatType<2>& cosTheta, const znFloatType<2>& f0) const override;
    znRTColorPacket schlickColor(const znFloatType<2>& cosTheta,
                                 const znRTColorPacket& f0) const override;
    /// Reflectance at normal incidence.
    znRTColorPacket evaluateColor() const override;
    znFloatType<2> dielectricExact(const znFloatType<2>& cosI,
                                   const znFloatType<2>& cosT) const override;
    znFloatType<2> dielectric(const znFloatType<2>& cosTheta) const override;
    znFloatType<2> dielectric(const znFloatType<2>& cosTheta,
                              const znFloatType<2>& n) const override;
    znRTColorPacket dielectricColor(const znFloatType<2>& cosI,
                                    const znFloatType<2>& cosT) const override;
    znFloatType<2> conductor(const znFloatType<2>& cosTheta) const override;
    znRTColorPacket conductorColor(const znFloatType<2>& cosTheta) const override;
    void setReflectanceColor(const znRTColor& newColor) override;

private:
    float reflectance = 0.04f;
    float color[3] = {0.04f, 0.04f, 0.04f};
    bool hasColor = false;
};
