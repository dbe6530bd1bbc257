#pragma once

// Fresnel term from optical constants: indices of refraction and absorption by channel.

#include "brdf/znRTFresnelOP.h"

class znRTFresnelApprox final : public znRTFresnelOP
{
public:
    static const znRTTypeId s_typeId;
    static constexpr unsigned s_tableSize = 21;

    znRTFresnelApprox() : znRTFresnelOP(s_typeId) {}

    void setRefraction(float n, float k, float blend) override;
    /// An artificial conductor: n alone would give f0 and k alone would too, so that together they
    /// lie above it (0.04 becomes 0.065, 0.5 becomes 0.54). O. Gulbrandsen, "Artist Friendly
    /// Metallic Fresnel", JCGT 3(4), 2014, gives the family of such pairs.
    void setReflectance(float f0) override;
    float getApproximateReflectance() const override;
    unsigned getTableIndex() const override { return tableIndex; }
    void setFromTable(unsigned index) override;
    znFloatType<2> schlick(const znFloatType<2>& cosTheta, const znFloatType<2>& f0) const override;
    /// Alpha is 1.
    znRTColorPacket schlickColor(const znFloatType<2>& cosTheta,
                                 const znRTColorPacket& f0) const override;
    znRTColorPacket evaluateColor() const override;
    znFloatType<2> dielectricExact(const znFloatType<2>& cosI,
                                   const znFloatType<2>& cosT) const override;
    /// R. Cook, K. Torrance, "A Reflectance Model for Computer Graphics", ACM TOG 1(1), 1982.
    znFloatType<2> dielectric(const znFloatType<2>& cosTheta) const override;
    znFloatType<2> dielectric(const znFloatType<2>& cosTheta,
                              const znFloatType<2>& n) const override;
    /// Alpha is 1.
    znRTColorPacket dielectricColor(const znFloatType<2>& cosI,
                                    const znFloatType<2>& cosT) const override;
    /// Mean of the channels' constants. The usual approximation for strong absorption: within 0.01
    /// of the complex formula at 60 degrees for the metals of the table.
    znFloatType<2> conductor(const znFloatType<2>& cosTheta) const override;
    /// Alpha is 1.
    znRTColorPacket conductorColor(const znFloatType<2>& cosTheta) const override;
    void setReflectanceColor(const znRTColor&) override {}

    float getRefraction(int channel) const { return refraction[channel]; }
    float getAbsorption(int channel) const { return absorption[channel]; }
    float getBlend() const { return blend; }

private:
    float refraction[3] = {1.0f, 1.0f, 1.0f};
    float absorption[3] = {0.0f, 0.0f, 0.0f};
    float blend = 1.0f;
    /// 0 as well after setReflectance, when the constants are not those of entry 0.
    unsigned tableIndex = 0;
};
