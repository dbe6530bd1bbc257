#include "camera/distortionMap.h"

#include "host/znRTTextureSampler.h"

#include <algorithm>
#include <cmath>

namespace {

/// @param z  out: 0 where the map holds no ray
znRTVector3f texelOf(const znRTSampler2D& map, int x, int y)
{
    const znRTVector4f texel = map.getTexel(0, 0, x, y);
    // A sampler spreads the first of two channels over red, green and blue.
    const bool hasTwoChannels = znRTTextureSampler::getChannelCount(map.pixelType) == 2;
    const float second = hasTwoChannels ? texel.w : texel.y;
    const bool isOpaque = hasTwoChannels || texel.w > 0.0f;
    const bool hasRay = isOpaque && (texel.x != 0.0f || second != 0.0f);
    return {texel.x, second, hasRay ? 1.0f : 0.0f};
}

/// @return false: no ray
bool lookUp(const znRTSampler2D& map, const znRTVector2f& place, znRTVector2f& deflected)
{
    const int lastX = map.width - 1, lastY = map.height - 1;
    const float x = std::clamp(place.x * float(map.width) - 0.5f, 0.0f, float(lastX));
    const float y = std::clamp(place.y * float(map.height) - 0.5f, 0.0f, float(lastY));
    const int x0 = int(x), y0 = int(y);
    const float fx = x - float(x0), fy = y - float(y0);
    const znRTVector3f nearest =
        texelOf(map, std::min(int(x + 0.5f), lastX), std::min(int(y + 0.5f), lastY));
    if (nearest.z == 0.0f)
        return false;

    znRTVector3f sum;
    for (int j = 0; j < 2; ++j)
        for (int i = 0; i < 2; ++i) {
            const znRTVector3f texel =
                texelOf(map, std::min(x0 + i, lastX), std::min(y0 + j, lastY));
            // A hole beside the texel must not pull the place toward (0, 0).
            const float weight = (i ? fx : 1.0f - fx) * (j ? fy : 1.0f - fy);
            sum = sum + (texel.z > 0.0f ? texel : nearest) * weight;
        }
    deflected = {sum.x, sum.y};
    return true;
}

} // namespace

znRTVector2fPacket lookUpDeflection(const znRTSampler2D& map, const znRTVector2fPacket& place,
                                    znFloatType<2>& isOn)
{
    znRTVector2fPacket result(0.0f, 0.0f);
    int lanes = 0;
    for (int lane = 0; lane < znFloatType<2>::laneCount; ++lane) {
        znRTVector2f deflected;
        if (!lookUp(map, place.getLane(lane), deflected))
            continue;
        result.setLane(lane, deflected);
        lanes |= 1 << lane;
    }
    isOn = expandLanes(lanes);
    return result;
}
