#include "host/osg/UberCamera.h"

#include "host/osg/UTextureSettings.h"
#include "host/znSceneDataManager.h"

#include <cmath>
#include <numbers>

namespace osg {

ZN_CONTAINER_BODY(UberCamera)

namespace {

/// Perspective frustum of OpenGL from the tangents of its sides.
Matrix4d frustum(double left, double right, double bottom, double top, double near, double far)
{
    Matrix4d m;
    m[0] = {2.0 / (right - left), 0.0, 0.0, 0.0};
    m[1] = {0.0, 2.0 / (top - bottom), 0.0, 0.0};
    m[2] = {(right + left) / (right - left), (top + bottom) / (top - bottom),
            -(far + near) / (far - near), -1.0};
    m[3] = {0.0, 0.0, -2.0 * far * near / (far - near), 0.0};
    return m;
}

Matrix4d orthographicBox(double left, double right, double bottom, double top, double near,
                         double far)
{
    Matrix4d m;
    m[0][0] = 2.0 / (right - left);
    m[1][1] = 2.0 / (top - bottom);
    m[2][2] = -2.0 / (far - near);
    m[3] = {-(right + left) / (right - left), -(top + bottom) / (top - bottom),
            -(far + near) / (far - near), 1.0};
    return m;
}

} // namespace

float UberCamera::getEyeSeparation() const
{
    return getStoredEyeSeparation() * 0.001f * znSceneDataManager::getUnitsPerMetre();
}

TransformationMatrix<double> UberCamera::getProjection(u32 width, u32 height) const
{
    if (getProjectionMode() == projectionMatrix)
        return TransformationMatrix<double>(getProjectionMatrix());

    const double aspect = double(std::max(width, 1u)) / double(std::max(height, 1u));
    const double near = std::max(double(getNear()), 1e-9);
    const double far = std::max(double(getFar()), near * (1.0 + 1e-6));
    const bool isOrthographic = getProjectionMode() == orthographic;

    // Half sizes of the view at distance 1, or anywhere when the rays are parallel.
    double halfHeight, halfWidth;
    if (isOrthographic) {
        halfHeight = 0.5 * getOrthoHeight();
        halfWidth = halfHeight * aspect;
    } else {
        const double half = std::tan(getFov() * std::numbers::pi / 360.0);
        const bool alongWidth =
            getFovAxis() == horizontal || (getFovAxis() == smaller && aspect < 1.0);
        halfWidth = alongWidth ? half : half * aspect;
        halfHeight = alongWidth ? half / aspect : half;
    }
    const double shiftX = 2.0 * getLensShift()[0] * halfWidth;
    const double shiftY = 2.0 * getLensShift()[1] * halfHeight;
    return (isOrthographic ? orthographicBox : frustum)(shiftX - halfWidth, shiftX + halfWidth,
                                                        shiftY - halfHeight, shiftY + halfHeight,
                                                        near, far);
}

} // namespace osg
