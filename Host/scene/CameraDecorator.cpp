#include "host/osg/CameraDecorator.h"

#include <algorithm>

namespace osg {

ZN_ABSTRACT_CONTAINER_BODY(CameraDecorator)
ZN_CONTAINER_BODY(OffsetCameraDecorator)
ZN_CONTAINER_BODY(MovedCameraDecorator)
ZN_CONTAINER_BODY(TileCameraDecorator)

TransformationMatrix<double> CameraDecorator::getToWorld() const
{
    return getDecoratee() ? getDecoratee()->getToWorld() : Camera::getToWorld();
}

TransformationMatrix<double> CameraDecorator::getViewing(u32 width, u32 height) const
{
    return getDecoratee() ? getDecoratee()->getViewing(width, height)
                          : Camera::getViewing(width, height);
}

TransformationMatrix<double> CameraDecorator::getProjection(u32 width, u32 height) const
{
    return getDecoratee() ? getDecoratee()->getProjection(width, height)
                          : TransformationMatrix<double>();
}

namespace {

/// Moves an image so that pixel centres look at another place.
/// @param offsetX, offsetY  half pixels
TransformationMatrix<double> moved(const TransformationMatrix<double>& projection, float offsetX,
                                   float offsetY, u32 width, u32 height)
{
    // A pixel is two units of clip space over the size.
    TransformationMatrix<double> shift;
    shift[3][0] = -double(offsetX) / std::max(width, 1u);
    shift[3][1] = -double(offsetY) / std::max(height, 1u);
    shift.mult(projection);
    return shift;
}

} // namespace

TransformationMatrix<double> OffsetCameraDecorator::getProjection(u32 width, u32 height) const
{
    return moved(CameraDecorator::getProjection(width, height), getOffsetX(), getOffsetY(), width,
                 height);
}

TransformationMatrix<double> MovedCameraDecorator::getProjection(u32 width, u32 height) const
{
    return moved(CameraDecorator::getProjection(width, height), getOffsetX(), getOffsetY(), width,
                 height);
}

TransformationMatrix<double> TileCameraDecorator::getProjection(u32 width, u32 height) const
{
    const double sizeX = std::max(double(getRight()) - getLeft(), 1e-6);
    const double sizeY = std::max(double(getTop()) - getBottom(), 1e-6);
    const u32 wholeWidth = getFullWidth() ? getFullWidth() : u32(std::lround(width / sizeX));
    const u32 wholeHeight = getFullHeight() ? getFullHeight() : u32(std::lround(height / sizeY));

    // Spread the rectangle over the whole of clip space.
    TransformationMatrix<double> cut;
    cut[0][0] = 1.0 / sizeX;
    cut[1][1] = 1.0 / sizeY;
    cut[3][0] = (1.0 - 2.0 * getLeft()) / sizeX - 1.0;
    cut[3][1] = (1.0 - 2.0 * getBottom()) / sizeY - 1.0;
    cut.mult(CameraDecorator::getProjection(wholeWidth, wholeHeight));
    return cut;
}

UberCameraPtr getUndecorated(const FCHandle& camera)
{
    FCHandle current = camera;
    while (const auto decorator = FCPtr<CameraDecorator>::dcast(current))
        current = decorator->getDecoratee();
    return UberCameraPtr::dcast(current);
}

} // namespace osg
