#include "light/filteredEnvironment.h"

#include "host/znRTEnvironmentImages.h"
#include "texture/znRTTextureFunctions.h"

namespace {

constexpr int slices = 9, height = 64;

} // namespace

bool znRTFilteredEnvironment::build(const znRTSampler2D& image)
{
    return znRTEnvironmentImages::buildStack(image, stack, slices, height);
}

znRTColorPacket znRTFilteredEnvironment::lookup(const znRTVector3fPacket& direction,
                                                const znFloatType<2>& level,
                                                const znFloatType<2>& mask) const
{
    if (!isValid())
        return znRTColorPacket(0.0f);
    return znRTTextureFunctions::environmentLookup(stack, direction, level, false, mask);
}

znFloatType<2> znRTFilteredEnvironment::getExponent(const znFloatType<2>& level)
{
    const znFloatType<2> x = clamp01(level) * 16.0f, whole = floor(x);
    return exp2(whole) * (x - whole + 1.0f);
}
