#pragma once

// A trimmed NURBS surface. Positions, normals and indices of the base hold its tessellation.
//
// Control points are homogeneous and premultiplied, (x w, y w, z w, w), or plain with three
// numbers; u runs fastest. Trim curves are stored as (v w, u w, w), again premultiplied. A point is
// kept when a ray in the parameter plane crosses an odd number of curves, so loops need no
// orientation; a surface without loops is untrimmed.

#include "host/osg/Geometry.h"

namespace osg {

/// One curve of a trim loop; its end is the start of the loop's next curve.
struct TrimCurve
{
    u32 degree = 1;
    std::vector<float> knots;
    std::vector<Vec3f> points; ///< (v w, u w, w)
    bool operator==(const TrimCurve&) const = default;
};

class Surface : public Geometry
{
    ZN_CONTAINER(Surface, Geometry)
    ZN_FIELD(u32, dimU, DimU, 3, "", 1, 100) ///< degree in u
    ZN_FIELD(u32, dimV, DimV, 3, "", 1, 100) ///< degree in v
    ZN_SLOT(std::vector<float>, knotsU, KnotsU)
    ZN_SLOT(std::vector<float>, knotsV, KnotsV)
    ZN_SLOT(GeoPropertyPtr, controlPoints, ControlPoints)
    /// How far the tessellation may be from the surface.
    ZN_FIELD(float, tolerance, Tolerance, 0.0001f, "u", 0.0f, 1e6f)

    // All trim curves in flat lists: curves per loop; then per curve its degree, knot count and
    // point count; then the numbers.
    ZN_SLOT(std::vector<u32>, trimLoopSizes, TrimLoopSizes)
    ZN_SLOT(std::vector<u32>, trimCurveSizes, TrimCurveSizes)
    ZN_SLOT(std::vector<float>, trimKnots, TrimKnots)
    ZN_SLOT(std::vector<float>, trimPoints, TrimPoints)

    /// Control points along u and v: knots - degree - 1; 0 for too short knot vectors.
    u32 getCountU() const;
    u32 getCountV() const;

    u32 getTrimLoopCount() const { return u32(getTrimLoopSizes().size()); }
    u32 getTrimCurveCount(u32 loop) const; ///< 0 for loops that are not there
    /// @return a curve without points when there is none at this place
    TrimCurve getTrimCurve(u32 loop, u32 curve) const;
    void addTrimLoop(const std::vector<TrimCurve>& curves);
};

using SurfacePtr = FCPtr<AttachmentContainerPtr, Surface>;

} // namespace osg
