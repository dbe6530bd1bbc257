#pragma once

// Short ways to ask a lobe in a test, without textures.

#include "brdf/lobeCases.h"

namespace lobeProbe {

using reference::Vector;

inline const znRTDifferentialGeometry dg{};

/// @param degrees  polar angle
/// @param azimuth  radians
inline Vector direction(double degrees, double azimuth = 0.7)
{
    return Vector::polar(degrees * reference::pi / 180.0, azimuth);
}

inline znRTColorPacket valueOf(const znRTBRDF& lobe, const Vector& wo, const Vector& wi)
{
    return lobe.evaluate(lanesOf(wo), lanesOf(wi), dg);
}

inline float redOf(const znRTBRDF& lobe, const Vector& wo, const Vector& wi)
{
    return valueOf(lobe, wo, wi).r[0];
}

/// A record with a perfect mirror as Fresnel term.
inline znRTBSDFAttributes exponents(float u, float v)
{
    znRTBSDFAttributes record;
    record.setExponents(u, v);
    record.useSchlick = true;
    record.reflectance = 1.0f;
    return record;
}

/// Slopes of a GGX lobe, and a perfect mirror as Fresnel term.
inline znRTBSDFAttributes slopes(float x, float y, float degrees = 0.0f)
{
    znRTBSDFAttributes record = exponents(50.0f, 50.0f);
    record.setSlopes(x, y);
    record.anisotropyAngle = degrees;
    return record;
}

/// Light that leaves the surface of all that comes from the whole hemisphere.
inline double albedo(const znRTBRDF& lobe, const Vector& wo)
{
    constexpr int rows = 180, columns = 360;
    constexpr double dTheta = 0.5 * reference::pi / rows, dPhi = 2.0 * reference::pi / columns;
    double sum = 0.0;
    for (int row = 0; row < rows; ++row)
        for (int column = 0; column < columns; ++column) {
            const double theta = (row + 0.5) * dTheta;
            sum += redOf(lobe, wo, Vector::polar(theta, (column + 0.5) * dPhi)) * std::sin(theta) *
                   std::cos(theta) * dTheta * dPhi;
        }
    return sum;
}

} // namespace lobeProbe
