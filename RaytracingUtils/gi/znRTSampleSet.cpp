#include "gi/znRTSampleSet.h"

#include "gi/radicalInverse.h"

#include <algorithm>
#include <array>

namespace {

constexpr int binCount = 8;

struct SquarePoint
{
    float u, v;
};

SquarePoint pointOf(u64 index, float step)
{
    return {float(index) * step + step / 2.0f,
            fractionToFloat(LarcherPillichshammerRI(u32(index), 0u))};
}

/// Two halves in u, four quarters in v; a point on a boundary belongs to the upper bin.
int binOf(const SquarePoint& point)
{
    const int quarter = point.v < 0.25f ? 0 : point.v < 0.5f ? 1 : point.v < 0.75f ? 2 : 3;
    return (point.u >= 0.5f ? 4 : 0) + quarter;
}

/// Calls for each point in the order in which packets take them: groups of four indices, the
/// last one first.
template <class Visit>
void forEachPoint(u64 count, float step, Visit visit)
{
    for (u64 group = 0; group < count; group += 4)
        for (u64 index : {group + 3, group + 2, group + 1, group})
            visit(pointOf(index, step));
}

} // namespace

znRTSampleSet::znRTSampleSet(u32 countU, u32 countV, bool, bool fullSphere, float, float)
    : flags(fullSphere ? 0 : 1)
{
    const u64 count = u64(countU) * countV;
    if (fullSphere && count > 0)
        weight = 0.5f / float(count);
    samples.reserve(count, false);
    laneMasks.reserve(count, false);
    if (laneMasks.capacity < count)
        samples.clear();
    if (count < 4 || samples.capacity < count)
        return;
    sortIntoBins(count - count % 4, 1.0f / float(count + 1));
    for (Sample& sample : samples) {
        if (fullSphere)
            mapToSphere(sample);
        else
            mapToHemisphere(sample);
        sample.invX = reciprocalOrInfinity(sample.x);
        sample.invY = reciprocalOrInfinity(sample.y);
        sample.invZ = reciprocalOrInfinity(sample.z);
    }
}

/// Leaves each packet's points of the square in its x and y. There are never more packets than
/// points, so the capacity holds them.
void znRTSampleSet::sortIntoBins(u64 pointCount, float step)
{
    std::array<u64, binCount> points{}, first{};
    forEachPoint(pointCount, step, [&](const SquarePoint& p) { ++points[std::size_t(binOf(p))]; });
    for (int bin = 0; bin < binCount; ++bin) {
        first[std::size_t(bin)] = samples.size;
        samples.size += (points[std::size_t(bin)] + 3) / 4;
    }
    laneMasks.size = samples.size;
    std::fill(samples.begin(), samples.end(), Sample{0.0f, 0.0f, 0.0f, 0.0f, 0.0f, 0.0f});
    std::fill(laneMasks.begin(), laneMasks.end(), u8(0));

    std::array<u64, binCount> placed{};
    forEachPoint(pointCount, step, [&](const SquarePoint& p) {
        const auto bin = std::size_t(binOf(p));
        const u64 packet = first[bin] + placed[bin] / 4;
        const int lane = int(placed[bin]++ % 4);
        samples[packet].x.set(lane, p.u);
        samples[packet].y.set(lane, p.v);
        laneMasks[packet] |= u8(1 << lane);
    });
}

/// Equal areas: z is uniform (Archimedes).
void znRTSampleSet::mapToSphere(Sample& sample) const
{
    const znFloatType<2> u = sample.x, v = sample.y, one(1.0f), twoPi(6.2831855f);
    znFloatType<2> sine, cosine;
    sincos(twoPi * v, sine, cosine);
    const znFloatType<2> z = one - (u + u);
    const znFloatType<2> radius = squareRoot(one - z * z);
    sample.x = radius * cosine;
    sample.y = radius * sine;
    sample.z = z;
}

/// P. Shirley, K. Chiu, "A Low Distortion Map Between Disk and Square", 1997, lifted to the
/// hemisphere: a uniform disk below is a cosine density above.
void znRTSampleSet::mapToHemisphere(Sample& sample) const
{
    const znFloatType<2> one(1.0f), zero(0.0f), quarterPi(0.7853982f), halfPi(1.5707964f);
    const znFloatType<2> a = sample.x + sample.x - one, b = sample.y + sample.y - one;
    const znFloatType<2> isSteep = a * a < b * b;
    const znFloatType<2> radius = select(isSteep, b, a);
    // The centre has no angle and needs none: any will do for radius 0.
    const znFloatType<2> isOffCentre = radius != zero;
    const znFloatType<2> ratio = isOffCentre & (select(isSteep, a, b) / radius);
    const znFloatType<2> angle = select(isSteep, quarterPi * ratio, halfPi - quarterPi * ratio);
    znFloatType<2> sine, cosine;
    sincos(angle, sine, cosine);
    sample.x = radius * sine;
    sample.y = radius * cosine;
    sample.z = squareRoot(maximum(one - sample.x * sample.x - sample.y * sample.y, zero));
}

void znRTSampleSet::getSample(u64 index, znFloatType<2>& x, znFloatType<2>& y,
                              znFloatType<2>& z) const
{
    const Sample& sample = samples[index];
    x = sample.x;
    y = sample.y;
    z = sample.z;
}

void znRTSampleSet::getSample(u64 index, znFloatType<2>& x, znFloatType<2>& y, znFloatType<2>& z,
                              znFloatType<2>& invX, znFloatType<2>& invY,
                              znFloatType<2>& invZ) const
{
    getSample(index, x, y, z);
    invX = samples[index].invX;
    invY = samples[index].invY;
    invZ = samples[index].invZ;
}

void znRTSampleSet::getSample(u64 index, znRTVector3fPacket& direction,
                              znRTVector3fPacket& inverse) const
{
    getSample(index, direction.x, direction.y, direction.z, inverse.x, inverse.y, inverse.z);
}
