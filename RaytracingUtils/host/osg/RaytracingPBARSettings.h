#pragma once

// Pictures that a projector throws onto real objects, as one observer sees them.

#include "host/osg/Node.h"

namespace osg {

class RaytracingPBARSettings : public AttachmentContainer
{
    ZN_CONTAINER(RaytracingPBARSettings, AttachmentContainer)
    ZN_FIELD(Vec4f, backgroundColor, BackgroundColor, Vec4f(0, 0, 0, 1), "", 0.0f, 1e6f)
    ZN_LINK(Node, projectorCameraNode, ProjectorCameraNode)
    ZN_LINK(Node, observerCameraNode, ObserverCameraNode)
    ZN_FLAG(stereoObserver, StereoObserver, false)
    ZN_STORED_FIELD(Vec3f, observerLeftEyeOffset, ObserverLeftEyeOffset, Vec3f(-31.5f, 0, 0), "mm",
                    -1e6f, 1e6f)
    ZN_STORED_FIELD(Vec3f, observerRightEyeOffset, ObserverRightEyeOffset, Vec3f(31.5f, 0, 0), "mm",
                    -1e6f, 1e6f)
    ZN_FLAG(useObserverTracking, UseObserverTracking, false)
    ZN_LINK(Node, observerTrackingBeacon, ObserverTrackingBeacon)

    /// In scene units.
    Vec3f getObserverLeftEyeOffset() const;
    Vec3f getObserverRightEyeOffset() const;
};

} // namespace osg
