#include "host/osg/Camera.h"

namespace osg {

ZN_ABSTRACT_CONTAINER_BODY(Camera)

TransformationMatrix<double> Camera::getToWorld() const
{
    const NodePtr node = getBeacon();
    return node ? node->getToWorldDouble() : TransformationMatrix<double>();
}

TransformationMatrix<double> Camera::getViewing(u32, u32) const
{
    TransformationMatrix<double> viewing = getToWorld();
    if (!viewing.invert())
        viewing.setIdentity();
    return viewing;
}

void Camera::getFromAtUp(Pnt3f& from, Pnt3f& at, Vec3f& up) const
{
    const TransformationMatrix<double> m = getToWorld();
    Vec3d ahead(-m[2][0], -m[2][1], -m[2][2]), upward(m[1][0], m[1][1], m[1][2]);
    ahead.normalize();
    upward.normalize();
    for (int i = 0; i < 3; ++i) {
        from[i] = float(m[3][i]);
        at[i] = float(m[3][i] + ahead[i]);
        up[i] = float(upward[i]);
    }
}

} // namespace osg
