#include "image/znRTGammaTables.h"

#include <cmath>
#include <map>
#include <mutex>

namespace {

/// Linear values of sRGB ones: IEC 61966-2-1.
double decodeSRGB(double value)
{
    return value <= 0.04045 ? value / 12.92 : std::pow((value + 0.055) / 1.055, 2.4);
}

double decodeMagnitude(double value, float gamma)
{
    if (gamma == 1.0f)
        return value;
    return gamma == 2.2f ? decodeSRGB(value) : std::pow(value, double(gamma));
}

} // namespace

float znRTGammaTables::decode(float value, float gamma)
{
    return std::copysign(float(decodeMagnitude(std::fabs(double(value)), gamma)), value);
}

std::shared_ptr<const znRTGammaTables> znRTGammaTables::get(float gamma)
{
    if (!(gamma > 0.0f) || !std::isfinite(gamma))
        gamma = 1.0f;
    static std::mutex mutex;
    static std::map<float, std::weak_ptr<const znRTGammaTables>> tables;
    const std::lock_guard lock(mutex);
    if (auto known = tables[gamma].lock())
        return known;
    auto made = std::make_shared<znRTGammaTables>();
    made->gamma = gamma;
    made->lut16.resize(65536);
    for (int i = 0; i < 256; ++i)
        made->lut8[i] = float(decodeMagnitude(i / 255.0, gamma));
    for (int i = 0; i < 65536; ++i)
        made->lut16[i] = float(decodeMagnitude(i / 65535.0, gamma));
    tables[gamma] = made;
    return made;
}
