#include "host/znDistribution1D.h"
#include "host/znPixelfilter.h"
#include "sampling/filterProfiles.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace {

constexpr float smallestSize = 1.0f;
constexpr float largestSize = 32.0f;

/// Product of one profile along both axes. The radii may change at any time: the profile and its
/// inverse hold lengths in units of the radius.
class SeparableFilter : public znPixelfilter
{
public:
    SeparableFilter(float newRadiusX, float newRadiusY, filterProfiles::Profile newProfile)
        : znPixelfilter(newRadiusX, newRadiusY, true), profile(newProfile)
    {
        std::array<float, cells> magnitude;
        for (int i = 0; i < cells; ++i)
            magnitude[i] = std::fabs(profile((float(i) + 0.5f) * (2.0f / cells) - 1.0f));
        inverse.setFunction(magnitude.data(), cells);
    }

    float evaluate(const float& x, const float& y) const override
    {
        return profile(x / radiusX) * profile(y / radiusY);
    }

    void sample(float u, float v, float* dx, float* dy) const override
    {
        *dx = radiusX * invert(u);
        *dy = radiusY * invert(v);
    }

private:
    static constexpr int cells = 512;

    float invert(float u) const
    {
        float pdf;
        int index;
        return 2.0f * inverse.getSample(0.5f * (u + 1.0f), pdf, index) - 1.0f;
    }

    filterProfiles::Profile profile;
    znDistribution1D inverse;
};

} // namespace

znPixelfilter* znPixelfilterFactory::getPixelfilter(int type, float sizeX, float sizeY)
{
    constexpr std::array<filterProfiles::Profile, 7> profiles = {
        filterProfiles::box,           filterProfiles::box,      filterProfiles::triangle,
        filterProfiles::gaussian,      filterProfiles::mitchell, filterProfiles::lanczos,
        filterProfiles::blackmanHarris};
    const bool isKnown = type > none && type < int(profiles.size());
    // NaN ends at the smallest size as well.
    const auto radius = [isKnown](float size) {
        return isKnown ? 0.5f * std::fmin(std::fmax(size, smallestSize), largestSize) : 0.5f;
    };
    auto* filter =
        new SeparableFilter(radius(sizeX), radius(sizeY), profiles[isKnown ? type : int(box)]);
    filter->hasFixedSize = !isKnown;
    return filter;
}
