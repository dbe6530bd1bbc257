#include "driver/viewFraming.h"

#include <algorithm>
#include <cmath>

namespace {

struct Vec
{
    double x, y, z;
};
Vec operator+(Vec a, Vec b)
{
    return {a.x + b.x, a.y + b.y, a.z + b.z};
}
Vec operator-(Vec a, Vec b)
{
    return {a.x - b.x, a.y - b.y, a.z - b.z};
}
Vec operator*(Vec a, double s)
{
    return {a.x * s, a.y * s, a.z * s};
}
double dot(Vec a, Vec b)
{
    return a.x * b.x + a.y * b.y + a.z * b.z;
}
Vec cross(Vec a, Vec b)
{
    return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}
double length(Vec a)
{
    return std::sqrt(dot(a, a));
}
Vec unit(Vec a)
{
    return a * (1.0 / length(a));
}
template <class T>
Vec toVec(const T& v)
{
    return {v[0], v[1], v[2]};
}
osg::Vec3f toFloat(Vec v)
{
    return osg::Vec3f(float(v.x), float(v.y), float(v.z));
}

constexpr Vec defaultDirection{0.55, -1.0, 0.42}; ///< from the scene to the eye
constexpr double margin = 1.06;                   ///< air around the box
constexpr double clipMargin = 1.05;

Vec chooseUp(const ViewRequest& request, Vec forward)
{
    const Vec wanted = request.up ? toVec(*request.up) : Vec{0, 0, 1};
    // A direction that the view looks along cannot be up.
    if (length(cross(forward, wanted)) > 1e-4 * length(wanted))
        return wanted;
    return std::abs(forward.y) < 0.9 ? Vec{0, 1, 0} : Vec{0, 0, 1};
}

} // namespace

FramedView frameScene(const osg::Box& box, const ViewRequest& request)
{
    const Vec low = box.isEmpty() ? Vec{-0.5, -0.5, -0.5} : toVec(box.minimum);
    const Vec high = box.isEmpty() ? Vec{0.5, 0.5, 0.5} : toVec(box.maximum);
    const Vec centre = (low + high) * 0.5;
    // A point has no size of its own; the eye keeps a distance that floats can express.
    const double radius = std::max({0.5 * length(high - low), 1e-5 * length(centre), 1e-6});
    const Vec at = request.at ? toVec(*request.at) : centre;

    const auto eachCorner = [&](auto&& use) {
        for (int i = 0; i < 8; ++i)
            use(Vec{i & 1 ? high.x : low.x, i & 2 ? high.y : low.y, i & 4 ? high.z : low.z});
    };

    Vec eye;
    if (request.eye) {
        eye = toVec(*request.eye);
    } else {
        const Vec back = unit(request.from ? toVec(*request.from) : defaultDirection);
        const Vec right = unit(cross(chooseUp(request, back * -1.0), back));
        const Vec up = cross(back, right);
        const double tanY = std::tan(0.5 * request.fov * 3.14159265358979323846 / 180.0) / margin;
        const double tanX = tanY * std::max(1e-3, double(request.aspect));
        // The nearest point from which a corner is still inside both pairs of frustum planes.
        double distance = 0.0;
        eachCorner([&](Vec corner) {
            const Vec d = corner - at;
            const double aside =
                std::max(std::abs(dot(d, right)) / tanX, std::abs(dot(d, up)) / tanY);
            distance = std::max(distance, aside + dot(d, back));
        });
        eye = at + back * std::max(distance, radius);
    }

    Vec target = at;
    if (length(target - eye) < 1e-9 * radius)
        target = eye + Vec{0, 1, 0} * radius;
    FramedView view;
    view.eye = toFloat(eye);
    view.at = toFloat(target);
    view.up = toFloat(chooseUp(request, unit(target - eye)));

    double farthest = 0.0;
    eachCorner([&](Vec corner) { farthest = std::max(farthest, length(corner - eye)); });
    view.farClip = float(farthest * clipMargin + radius);
    view.nearClip = float(1e-6 * farthest);
    return view;
}

osg::Matrix lookAtMatrix(const FramedView& view)
{
    const Vec back = unit(toVec(view.eye) - toVec(view.at));
    const Vec right = unit(cross(toVec(view.up), back));
    const Vec up = cross(back, right);
    osg::Matrix m;
    const Vec columns[4] = {right, up, back, toVec(view.eye)};
    for (int c = 0; c < 4; ++c) {
        m[c][0] = float(columns[c].x);
        m[c][1] = float(columns[c].y);
        m[c][2] = float(columns[c].z);
    }
    return m;
}
