#include "host/osg/Surface.h"

#include "host/osg/Material.h"

#include <numeric>

namespace osg {

ZN_CONTAINER_BODY(Surface)

namespace {

u32 controlCount(std::size_t knots, u32 degree)
{
    return knots > std::size_t(degree) + 1 ? u32(knots - degree - 1) : 0;
}

/// Entries per curve in the list of sizes: degree, knots, points.
constexpr std::size_t sizesPerCurve = 3;

} // namespace

u32 Surface::getCountU() const
{
    return controlCount(getKnotsU().size(), getDimU());
}

u32 Surface::getCountV() const
{
    return controlCount(getKnotsV().size(), getDimV());
}

u32 Surface::getTrimCurveCount(u32 loop) const
{
    return loop < getTrimLoopCount() ? getTrimLoopSizes()[loop] : 0;
}

TrimCurve Surface::getTrimCurve(u32 loop, u32 curve) const
{
    if (curve >= getTrimCurveCount(loop))
        return {};
    const std::vector<u32>& loops = getTrimLoopSizes();
    const std::vector<u32>& sizes = getTrimCurveSizes();
    const std::size_t index =
        std::accumulate(loops.begin(), loops.begin() + loop, std::size_t(0)) + curve;
    if ((index + 1) * sizesPerCurve > sizes.size())
        return {};
    std::size_t firstKnot = 0, firstPoint = 0;
    for (std::size_t i = 0; i < index; ++i) {
        firstKnot += sizes[i * sizesPerCurve + 1];
        firstPoint += sizes[i * sizesPerCurve + 2];
    }
    const std::size_t knots = sizes[index * sizesPerCurve + 1];
    const std::size_t points = sizes[index * sizesPerCurve + 2];
    if (firstKnot + knots > getTrimKnots().size() ||
        3 * (firstPoint + points) > getTrimPoints().size())
        return {};

    TrimCurve result;
    result.degree = sizes[index * sizesPerCurve];
    const auto knot = getTrimKnots().begin() + std::ptrdiff_t(firstKnot);
    result.knots.assign(knot, knot + std::ptrdiff_t(knots));
    const float* point = getTrimPoints().data() + 3 * firstPoint;
    for (std::size_t i = 0; i < points; ++i, point += 3)
        result.points.emplace_back(point[0], point[1], point[2]);
    return result;
}

void Surface::addTrimLoop(const std::vector<TrimCurve>& curves)
{
    std::vector<u32> loops = getTrimLoopSizes(), sizes = getTrimCurveSizes();
    std::vector<float> knots = getTrimKnots(), points = getTrimPoints();
    loops.push_back(u32(curves.size()));
    for (const TrimCurve& curve : curves) {
        sizes.insert(sizes.end(),
                     {curve.degree, u32(curve.knots.size()), u32(curve.points.size())});
        knots.insert(knots.end(), curve.knots.begin(), curve.knots.end());
        for (const Vec3f& point : curve.points)
            points.insert(points.end(), point.values, point.values + 3);
    }
    const EditScope edit{SurfacePtr(this)};
    setTrimLoopSizes(loops);
    setTrimCurveSizes(sizes);
    setTrimKnots(knots);
    setTrimPoints(points);
}

} // namespace osg
