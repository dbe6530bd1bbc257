#pragma once

// Pictures projected onto real objects, as one observer sees them. A first pass follows the rays of
// the projector to the real surfaces; a second pass looks from the observer at the points found and
// gathers what the observer would see there.

#include "camera/znRTPerspectivePinholeLens.h"

#include <map>

namespace osg {
class RaytracingPBARSettings;
}

class znRTProjectionBasedARLens : public znRTLensShader
{
public:
    static const znRTTypeId s_typeId;

    znRTProjectionBasedARLens();
    ~znRTProjectionBasedARLens() override;

    /// Settings of a view, which becomes the one that is rendered; null forgets the view.
    void setPBARSettings(osg::FCPtr<osg::RaytracingPBARSettings> settings, u64 viewId);
    /// Chooses among the views that have settings.
    void setActiveView(u64 viewId) { activeView = viewId; }

    /// Reads projector and observer from the settings of the active view. Objects become visible
    /// to projector rays (the receivers) or to the observer (virtual objects).
    void updateAttributes(osg::Camera* camera, unsigned newMaskStride, unsigned newMaskHeight,
                          unsigned newViewWidth, unsigned newViewHeight, float offsetX,
                          float offsetY, unsigned newImageWidth, unsigned newImageHeight,
                          float shiftX, float shiftY, const osg::Matrix4d& toWorldProjection,
                          const osg::Matrix4d& cameraToWorld, bool leftEye, float newStereoOffset,
                          osg::ImagePtr leftMap, osg::ImagePtr rightMap,
                          bool cornerAligned) override;
    /// Rays of the projector.
    void generateRayPacket(const znFloatType<2>& x, const znFloatType<2>& y,
                           znRTRayPacket& packet) const override;
    unsigned trace_eye_rays(unsigned x0, unsigned x1, unsigned y0, unsigned y1,
                            znRTRayPacketBundle& rays, znRTHitInfoPacketBundle& hits,
                            znFloatType<2>* tMin, znFloatType<2>* tMax, int* laneMasks, int aaIndex,
                            int aaCount, float differentialScale,
                            const unsigned char* pixelMask) const override;

    znRTPerspectivePinholeLens projector;
    znRTVector3f observerPosition; ///< of the eye in force, world

private:
    osg::FCPtr<osg::RaytracingPBARSettings> getSettings() const;
    void updateObserver(const osg::RaytracingPBARSettings& settings, bool leftEye);
    void lookFromObserver(znRTRayDifferentialPacket& ray, znRTHitInfoPacket& hit,
                          znFloatType<2>& tMin, znFloatType<2>& tMax, int& lanes) const;

    /// Containers by id, so that settings that are gone no longer resolve.
    std::map<u64, osg::Ref<osg::RaytracingPBARSettings>> settingsByView;
    u64 activeView = 0;
};

/// Gives every object of the scene the visibility of its role under a projector; objects without a
/// role are not seen at all.
/// @param projectorNode  node with the attachment that lists the roles; null or without one: no
///                       object changes
void updatePBARVisibility(const osg::NodePtr& projectorNode);
