#include "light/lightCone.h"

#include <algorithm>
#include <cmath>
#include <numbers>

void znRTLightCone::set(float coneAngle, float penumbraAngle)
{
    constexpr double radians = std::numbers::pi / 180.0;
    const double penumbra = std::max(penumbraAngle, s_leastPenumbra);
    const auto cosine = [](double degrees) {
        return std::max(std::cos(std::min(degrees, 180.0) * radians), 0.0);
    };
    const double outer = cosine(double(coneAngle) + penumbra), inner = cosine(coneAngle);
    outerCos = float(outer);
    innerCos = float(inner);
    const double outerAngle = 2.0 * std::numbers::pi * (1.0 - outer);
    const double innerAngle = 2.0 * std::numbers::pi * (1.0 - inner);
    solidAngle = float(0.5 * (outerAngle - innerAngle) + innerAngle);
}
