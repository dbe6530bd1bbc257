#pragma once

// Four rays with what a walk needs of them. Directions are unit as far as reciprocalSquareRoot
// reaches (5e-7), and invDirection is kept up to date by every constructor and setter: a zero
// component of a direction has an infinite reciprocal with the sign of the zero.

#include "core/rayTypes.h"
#include "core/znRTVector3fPacket.h"
#include "core/znRTVectorMath.h"

#include <ostream>

class znRTIntersector;
class znRTRayFilter;

class znRTRayPacket
{
public:
    znRTVector3fPacket invDirection;
    znRTVector3fPacket origin;
    znRTVector3fPacket direction;
    znIntType<2> type;           ///< word of each lane, see rayTypes.h
    znIntType<2> pixelX, pixelY; ///< pixel of each lane, in render coordinates
    znRTVector3fPacket weight;   ///< of the path that led to the ray, per colour
    znFloatType<2> alpha;        ///< fourth component of the weight
    const znRTRayFilter* auxiliary;
    znFloatType<2> monochromatic; ///< 0: all colours; otherwise number of the one channel, plus 1

    /// Leaves everything but the filter uninitialised.
    znRTRayPacket() : auxiliary(nullptr) {}
    znRTRayPacket(const znRTRayPacket&) = default;
    znRTRayPacket& operator=(const znRTRayPacket&) = default;

    /// Camera rays of both eyes; weight and alpha are 1, the pixel is 0.
    znRTRayPacket(const znRTVector3fPacket& from, const znRTVector3fPacket& towards)
        : znRTRayPacket(from, towards, 0, 0, znRTVector3fPacket(1.0f, 1.0f, 1.0f),
                        int(rayType::camera))
    {
    }
    znRTRayPacket(const znRTVector3fPacket& from, const znRTVector3fPacket& towards, znIntType<2> x,
                  znIntType<2> y, const znRTVector3fPacket& pathWeight, znIntType<2> typeWord,
                  znFloatType<2> pathAlpha = 1.0f)
        : origin(from), direction(towards), type(typeWord), pixelX(x), pixelY(y),
          weight(pathWeight), alpha(pathAlpha), auxiliary(nullptr), monochromatic(0.0f)
    {
        normalize();
    }
    /// @param pathWeight  a colour packet, of which red, green and blue are taken
    template <class Color>
    requires requires(const Color& c) { c.r, c.g, c.b; }
    znRTRayPacket(const znRTVector3fPacket& from, const znRTVector3fPacket& towards, znIntType<2> x,
                  znIntType<2> y, const Color& pathWeight, znIntType<2> typeWord,
                  znFloatType<2> pathAlpha = 1.0f)
        : znRTRayPacket(from, towards, x, y,
                        znRTVector3fPacket(pathWeight.r, pathWeight.g, pathWeight.b), typeWord,
                        pathAlpha)
    {
    }
    znRTRayPacket(znFloatType<2> ox, znFloatType<2> oy, znFloatType<2> oz, znFloatType<2> dx,
                  znFloatType<2> dy, znFloatType<2> dz,
                  znIntType<2> typeWord = int(rayType::camera))
        : znRTRayPacket({ox, oy, oz}, {dx, dy, dz}, 0, 0, znRTVector3fPacket(1.0f, 1.0f, 1.0f),
                        typeWord)
    {
    }
    /// Lane i takes the i-th origin and the i-th direction.
    znRTRayPacket(const znRTVector3f& o0, const znRTVector3f& o1, const znRTVector3f& o2,
                  const znRTVector3f& o3, const znRTVector3f& d0, const znRTVector3f& d1,
                  const znRTVector3f& d2, const znRTVector3f& d3)
        : znRTRayPacket(znRTVector3fPacket(o0, o1, o2, o3), znRTVector3fPacket(d0, d1, d2, d3))
    {
    }
    /// One ray in all lanes; w is not read.
    znRTRayPacket(const znRTVector4f& from, const znRTVector4f& towards)
        : znRTRayPacket(from.x, from.y, from.z, towards.x, towards.y, towards.z)
    {
    }
    /// One ray in all lanes with the direction from one point to another; w is not read.
    znRTRayPacket(const znRTVector4f& from, const znRTVector4f& lookFrom,
                  const znRTVector4f& lookAt)
        : znRTRayPacket(from, lookAt - lookFrom)
    {
    }

    znFloatType<2> getMonochromatic() const { return monochromatic; }
    void setMonochromatic(znFloatType<2> channels) { monochromatic = channels; }

    void setOrigin(const znRTVector3fPacket& from) { origin = from; }
    /// Turns the rays toward points, from the origin as it is.
    void setAt(const znRTVector3fPacket& at) { setOriginDir(origin, at - origin); }
    void setFromAt(const znRTVector3fPacket& from, const znRTVector3fPacket& at)
    {
        setOriginDir(from, at - from);
    }
    void setOriginDir(const znRTVector3fPacket& from, const znRTVector3fPacket& towards)
    {
        origin = from;
        direction = towards;
        normalize();
    }
    /// @param from, towards  four vectors each, one per lane
    void setRays(const znRTVector3f* from, const znRTVector3f* towards)
    {
        setOriginDir({from[0], from[1], from[2], from[3]},
                     {towards[0], towards[1], towards[2], towards[3]});
    }
    void normalize()
    {
        direction.normalize();
        updateInverse();
    }
    /// Rebuilds the reciprocals of the direction as it stands.
    void updateInverse()
    {
        invDirection = {reciprocalOrInfinity(direction.x), reciprocalOrInfinity(direction.y),
                        reciprocalOrInfinity(direction.z)};
    }

    /// Whether on each axis the four directions have one sign; the sign of a zero counts.
    bool isValid() const
    {
        const auto isUniform = [](znFloatType<2> d) {
            const int signs = moveMask(d);
            return signs == 0 || signs == 15;
        };
        return isUniform(direction.x) && isUniform(direction.y) && isUniform(direction.z);
    }

    znRTVector3fPacket pointAt(znFloatType<2> t) const { return origin + direction * t; }

    /// The rays in another frame; directions are not normalized, so distances stay what they are.
    /// Filters do not go along: they have spoken before a ray enters an object's frame.
    znRTRayPacket getTransformedPacket(const znMatrix4x4& matrix) const
    {
        znRTRayPacket result = getTransformedPacketNoInverse(matrix);
        result.updateInverse();
        return result;
    }
    /// As above without the reciprocals.
    znRTRayPacket getTransformedPacketNoInverse(const znMatrix4x4& matrix) const
    {
        znRTRayPacket result;
        result.origin = znRTVectorMath::transformAsLocation(origin, matrix);
        result.direction = znRTVectorMath::transformAsDirection(direction, matrix);
        result.type = type;
        result.pixelX = pixelX;
        result.pixelY = pixelY;
        result.weight = weight;
        result.alpha = alpha;
        result.monochromatic = monochromatic;
        return result;
    }
    /// One lane in another frame, in all lanes of the result. All types are copied; pixel and
    /// weight stay unset.
    znRTRayPacket getTransformedPacket(const znMatrix4x4& matrix, int lane) const
    {
        znRTRayPacket result;
        result.origin = znRTVector3fPacket(origin.getLane(lane).getTransformAsLocation(matrix));
        result.direction =
            znRTVector3fPacket(direction.getLane(lane).getTransformAsDirection(matrix));
        result.type = type;
        result.updateInverse();
        return result;
    }

    /// Lanes of the mask that may see an object: by the ray classes, then by the filter. Defined
    /// with the intersectors.
    int applyFilter(const znRTIntersector* intersector, int mask) const;
    bool applyFilterSingle(const znRTIntersector* intersector, int lane) const;

    /// Debugging aid: whether a lane belongs to the pixel that is being looked at.
    bool isDebugPixel(int lane) const
    {
        return pixelX[lane] == s_debugPixelX && pixelY[lane] == s_debugPixelY;
    }
    bool isDebugPixel(int lane, int lane2) const
    {
        return isDebugPixel(lane) || isDebugPixel(lane2);
    }
    inline static int s_debugPixelX = -1, s_debugPixelY = -1;

    void print(int lane, std::ostream& stream) const
    {
        const znRTVector3f o = origin.getLane(lane), d = direction.getLane(lane);
        stream << "origin: " << o.x << ", " << o.y << ", " << o.z << " direction: " << d.x << ", "
               << d.y << ", " << d.z << " type: " << type[lane] << " pixel: " << pixelX[lane]
               << ", " << pixelY[lane] << std::endl;
    }

    // Statistics for debugging sessions; walks do not touch them and they are not synchronised.
    static void increaseNodeCount() { ++s_nodeCount; }
    static void increaseDynNodeCount() { ++s_dynNodeCount; }
    static void increaseLeafNodeCount() { ++s_leafNodeCount; }
    static void increaseTriangleTestCount() { ++s_triangleTestCount; }
    static void resetTraversalCounts()
    {
        s_nodeCount = s_dynNodeCount = s_leafNodeCount = s_triangleTestCount = 0;
    }
    inline static unsigned long long s_nodeCount = 0, s_dynNodeCount = 0, s_leafNodeCount = 0,
                                     s_triangleTestCount = 0;
};

/// Rays with those through the neighbouring pixels to the right and below (H. Igehy, "Tracing Ray
/// Differentials", SIGGRAPH 1999): their distance at a hit tells how much of a texture a pixel
/// covers.
class znRTRayDifferentialPacket : public znRTRayPacket
{
public:
    znRTVector3fPacket rxOrigin, rxDirection; ///< ray one pixel to the right
    znRTVector3fPacket ryOrigin, ryDirection; ///< ray one pixel on along y
    unsigned hasDifferentials = 0;            ///< 0: the four fields above hold nothing

    using znRTRayPacket::znRTRayPacket;
    znRTRayDifferentialPacket() = default;
    explicit znRTRayDifferentialPacket(const znRTRayPacket& rays) : znRTRayPacket(rays) {}
};
