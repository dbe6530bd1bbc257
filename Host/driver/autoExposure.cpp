#include "driver/autoExposure.h"

#include "host/znColor.h"

#include <algorithm>
#include <cmath>

std::optional<double> meterExposure(const io::ImageData& image)
{
    std::vector<double> logs;
    for (u32 y = 0; y < image.height; ++y)
        for (u32 x = 0; x < image.width; ++x) {
            if (image.channels == 4 && image.getValue(x, y, 3) < 0.5)
                continue;
            const auto channel = [&](u32 c) { return float(image.getValue(x, y, c)); };
            const double luminance = znColor::luminance(channel(0), channel(1), channel(2));
            if (luminance > 0.0 && std::isfinite(luminance))
                logs.push_back(std::log2(luminance));
        }
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
