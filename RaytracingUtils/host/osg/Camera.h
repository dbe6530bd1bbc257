#pragma once

// Cameras. A camera looks along -z of its beacon's world matrix, with y up; without a beacon it
// stands at the origin. Projections map to the cube [-1, 1] of OpenGL: x right, y up, z far.

#include "host/osg/Node.h"

namespace osg {

/// A camera is a node core, so that it may stand in the tree; its place is the beacon's.
class Camera : public NodeCore
{
    ZN_ABSTRACT_CONTAINER(Camera, NodeCore)
    ZN_FIELD(float, near, Near, 0.001f, "u", 0.0f, 1e12f)
    ZN_FIELD(float, far, Far, 10000.0f, "u", 0.0f, 1e12f)
    ZN_LINK(Node, beacon, Beacon)

    /// Camera to world.
    virtual TransformationMatrix<double> getToWorld() const;
    /// World to camera. The size of the view is that in pixels, as for the projection.
    virtual TransformationMatrix<double> getViewing(u32 width, u32 height) const;
    /// Camera to clip space for a view of the given size in pixels; 0 counts as 1.
    virtual TransformationMatrix<double> getProjection(u32 width, u32 height) const = 0;
    /// Position, a point one unit ahead and the direction of up, in world space.
    void getFromAtUp(Pnt3f& from, Pnt3f& at, Vec3f& up) const;
};

using CameraPtr = FCPtr<AttachmentContainerPtr, Camera>;

} // namespace osg
