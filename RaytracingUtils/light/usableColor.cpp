#include "light/usableColor.h"

#include "render/notAvailable.h"

#include <cfloat>

namespace {

float usableChannel(float value)
{
    static znRTOnceWarning unusable(
        "A colour has channels that are negative or no numbers: they count as 0.");
    if (value >= 0.0f && value <= FLT_MAX)
        return value;
    unusable();
    return 0.0f;
}

} // namespace

znRTColor usableColor(float r, float g, float b)
{
    return {usableChannel(r), usableChannel(g), usableChannel(b), 1.0f};
}
