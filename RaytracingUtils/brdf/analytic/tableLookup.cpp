#include "brdf/analytic/tableLookup.h"

namespace {

/// Neighbours along one axis, per lane.
struct Axis
{
    Axis(znFloatType<2> place, int count)
    {
        const znFloatType<2> last(float(count - 1));
        const znFloatType<2> x = clamp(place * float(count) - 0.5f, 0.0f, last);
        const znFloatType<2> whole = floor(x);
        fraction = x - whole;
        lower = toInt(whole);
        upper = toInt(minimum(whole + 1.0f, last));
    }

    znIntType<2> lower, upper;
    znFloatType<2> fraction;
};

/// One texel as red, green, blue, alpha.
znFloatType<2> readTexel(const znRTSampler3D& table, int x, int y, int slice)
{
    if (table.pixelType == znRTTextureSampler::typeRGBAFloat)
        return znFloatType<2>::loadUnaligned(
            reinterpret_cast<const float*>(table.getLayerDataFast(0, slice, x, y)));
    const znRTVector4f texel = table.getTexel(0, slice, x, y);
    return {texel.x, texel.y, texel.z, texel.w};
}

znFloatType<2> readLane(const znRTSampler3D& table, const Axis& x, const Axis& y, const Axis& z,
                        int lane)
{
    const znFloatType<2> tx(x.fraction[lane]), ty(y.fraction[lane]), tz(z.fraction[lane]);
    const auto row = [&](int atY, int atZ) {
        return mix(readTexel(table, x.lower[lane], atY, atZ),
                   readTexel(table, x.upper[lane], atY, atZ), tx);
    };
    const auto slice = [&](int atZ) {
        return mix(row(y.lower[lane], atZ), row(y.upper[lane], atZ), ty);
    };
    return mix(slice(z.lower[lane]), slice(z.upper[lane]), tz);
}

} // namespace

znRTColorPacket readTable(const znRTSampler3D& table, const znRTVector3fPacket& p,
                          znFloatType<2> lanes)
{
    znRTColorPacket result(0.0f);
    if (!table.isValid())
        return result;
    const Axis x(p.x, table.width), y(p.y, table.height), z(p.z, table.layerCount);
    const int wanted = moveMask(lanes);
    for (int lane = 0; lane < znFloatType<2>::laneCount; ++lane)
        if (wanted >> lane & 1) {
            const znFloatType<2> texel = readLane(table, x, y, z, lane);
            result.setComponent(lane, znRTColor(texel[0], texel[1], texel[2], texel[3]));
        }
    return result;
}
