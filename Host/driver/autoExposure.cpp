#include "driver/autoExposure.h"

#include "host/znColor.h"

#include <algorithm>
#include <cmath>

namespace {

/// Calls use(luminance) for each covered pixel.
template <class Use>
void forEachCovered(const io::ImageData& image, Use&& use)
{
    for (u32 y = 0; y < image.height; ++y)
        for (u32 x = 0; x < image.width; ++x) {
            if (image.channels == 4 && image.getValue(x, y, 3) < 0.5)
                continue;
            const auto channel = [&](u32 c) { return float(image.getValue(x, y, c)); };
            use(double(znColor::luminance(channel(0), channel(1), channel(2))));
        }
}

bool isLit(double luminance)
{
    return luminance > 0.0 && std::isfinite(luminance);
}

} // namespace

double litShare(const io::ImageData& image)
{
    u64 covered = 0, lit = 0;
    forEachCovered(image, [&](double luminance) {
        ++covered;
        lit += isLit(luminance);
    });
    return covered > 0 ? double(lit) / double(covered) : 0.0;
}

std::optional<double> meterExposure(const io::ImageData& image)
{
    std::vector<double> logs;
    forEachCovered(image, [&](double luminance) {
        if (isLit(luminance))
            logs.push_back(std::log2(luminance));
    });
    if (logs.empty())
        return std::nullopt;
    std::sort(logs.begin(), logs.end());
    const std::size_t left = logs.size() / 20;
    double sum = 0.0;
    for (std::size_t i = left; i < logs.size() - left; ++i)
        sum += logs[i];
    const double stops = std::log2(meterKey) - sum / double(logs.size() - 2 * left);
    if (std::abs(stops) <= meterTolerance)
        return 0.0;
    return std::clamp(std::round(stops * 10.0) / 10.0, -mostStops, mostStops);
}
