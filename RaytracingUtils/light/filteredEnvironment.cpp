#include "light/filteredEnvironment.h"

#include "host/znRTEnvironmentImages.h"
#include "light/polarImage.h"

namespace {

constexpr int slices = 9, height = 64;

} // namespace

bool znRTFilteredEnvironment::build(const znRTSampler2D& image)
{
    return znRTEnvironmentImages::buildStack(image, stack, slices, height);
}

znRTColorPacket znRTFilteredEnvironment::lookup(const znRTVector2fPacket& uv,
                                                const znFloatType<2>& level,
                                                const znFloatType<2>& mask) const
{
    if (!isValid())
        return znRTColorPacket(0.0f);
    const znFloatType<2> place = clamp01(level) * float(slices - 1);
    const znFloatType<2> slice = minimum(floor(place), float(slices - 2));
    const znRTPolarPlaces places(uv, stack.width, stack.height);
    return places.read(stack, toInt(slice), place - slice, mask);
}

znFloatType<2> znRTFilteredEnvironment::getExponent(const znFloatType<2>& level)
{
    const znFloatType<2> x = clamp01(level) * 16.0f, whole = floor(x);
    return exp2(whole) * (x - whole + 1.0f);
}
