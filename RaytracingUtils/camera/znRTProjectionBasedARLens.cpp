#include "camera/znRTProjectionBasedARLens.h"

#include "core/rayTypes.h"
#include "host/osg/Camera.h"
#include "host/osg/Image.h"
#include "host/osg/RaytracingPBARSettings.h"
#include "render/znRTRenderUtils.h"

const znRTTypeId znRTProjectionBasedARLens::s_typeId("znRTProjectionBasedARLens");

znRTProjectionBasedARLens::znRTProjectionBasedARLens() : znRTLensShader(s_typeId) {}

znRTProjectionBasedARLens::~znRTProjectionBasedARLens() = default;

void znRTProjectionBasedARLens::setPBARSettings(osg::FCPtr<osg::RaytracingPBARSettings> settings,
                                                u64 viewId)
{
    if (!settings) {
        settingsByView.erase(viewId);
        return;
    }
    settingsByView[viewId] = osg::Ref<osg::RaytracingPBARSettings>(settings);
    activeView = viewId;
}

osg::FCPtr<osg::RaytracingPBARSettings> znRTProjectionBasedARLens::getSettings() const
{
    const auto found = settingsByView.find(activeView);
    return found == settingsByView.end() ? osg::FCPtr<osg::RaytracingPBARSettings>()
                                         : found->second.get();
}

namespace {

osg::CameraPtr cameraOf(const osg::NodePtr& node)
{
    return node ? osg::CameraPtr::dcast(node->getCore()) : osg::CameraPtr();
}

} // namespace

void znRTProjectionBasedARLens::updateAttributes(
    osg::Camera* camera, unsigned newMaskStride, unsigned newMaskHeight, unsigned newViewWidth,
    unsigned newViewHeight, float offsetX, float offsetY, unsigned newImageWidth,
    unsigned newImageHeight, float shiftX, float shiftY, const osg::Matrix4d& toWorldProjection,
    const osg::Matrix4d& cameraToWorld, bool leftEye, float newStereoOffset, osg::ImagePtr leftMap,
    osg::ImagePtr rightMap, bool cornerAligned)
{
    const auto update = [&](znRTLensShader& lens, osg::Camera* from,
                            const osg::Matrix4d& projection, const osg::Matrix4d& place) {
        lens.setFrame(frame);
        lens.znRTLensShader::updateAttributes(
            from, newMaskStride, newMaskHeight, newViewWidth, newViewHeight, offsetX, offsetY,
            newImageWidth, newImageHeight, shiftX, shiftY, projection, place, leftEye,
            newStereoOffset, leftMap, rightMap, cornerAligned);
    };
    update(*this, camera, toWorldProjection, cameraToWorld);
    lensRayType = znIntType<2>(int(rayType::camera));
    update(projector, camera, toWorldProjection, cameraToWorld);

    if (const osg::FCPtr<osg::RaytracingPBARSettings> settings = getSettings()) {
        const osg::Vec4f background = settings->getBackgroundColor();
        znRTRenderUtils::s_backgroundColor =
            znRTColorPacket(background[0], background[1], background[2], background[3]);
        updatePBARVisibility(settings->getProjectorCameraNode());
        if (const osg::CameraPtr from = cameraOf(settings->getProjectorCameraNode())) {
            osg::Matrix4d projection = from->getProjection(viewWidth, viewHeight);
            projection.mult(from->getViewing(viewWidth, viewHeight));
            if (projection.invert())
                update(projector, from.get(), projection, from->getToWorld());
        }
        updateObserver(*settings, leftEye);
    } else {
        observerPosition = eyePosition;
    }
    projector.lensRayType = znIntType<2>(int(rayType::projector));
}

void znRTProjectionBasedARLens::updateObserver(const osg::RaytracingPBARSettings& settings,
                                               bool leftEye)
{
    osg::Matrix4d toWorld;
    const osg::NodePtr beacon = settings.getObserverTrackingBeacon();
    const osg::CameraPtr observer = cameraOf(settings.getObserverCameraNode());
    if (settings.getUseObserverTracking() && beacon)
        toWorld = beacon->getToWorldDouble();
    else if (observer)
        toWorld = observer->getToWorld();
    else
        toWorld.setTranslate({eyePosition.x, eyePosition.y, eyePosition.z});

    osg::Vec3f offset(0.0f, 0.0f, 0.0f);
    if (settings.getStereoObserver())
        offset =
            leftEye ? settings.getObserverLeftEyeOffset() : settings.getObserverRightEyeOffset();
    // A degenerate matrix is logged there and gives the origin.
    const osg::Pnt3d eye = toWorld.multFullMatrixPnt({offset[0], offset[1], offset[2]});
    observerPosition = {float(eye[0]), float(eye[1]), float(eye[2])};
}

void znRTProjectionBasedARLens::generateRayPacket(const znFloatType<2>& x, const znFloatType<2>& y,
                                                  znRTRayPacket& packet) const
{
    projector.generateRayPacket(x, y, packet);
}

void znRTProjectionBasedARLens::lookFromObserver(znRTRayDifferentialPacket& ray,
                                                 znRTHitInfoPacket& hit, znFloatType<2>& tMin,
                                                 znFloatType<2>& tMax, int& lanes) const
{
    lanes = int(hit.hitMask);
    if (lanes == 0) {
        tMin = znFloatType<2>(1.0f);
        tMax = znFloatType<2>(0.0f);
    } else {
        ray.setFromAt(znRTVector3fPacket(observerPosition), ray.pointAt(hit.t));
        ray.type = lensRayType;
        ray.rxOrigin = ray.ryOrigin = ray.origin;
        ray.rxDirection = ray.ryDirection = ray.direction;
        tMin = znFloatType<2>(nearClip);
        tMax = znFloatType<2>(farClip);
    }
    hit.t = znFloatType<2>(farClip);
    hit.hitMask = 0;
    hit.hitFlags = 0;
}

unsigned znRTProjectionBasedARLens::trace_eye_rays(unsigned x0, unsigned x1, unsigned y0,
                                                   unsigned y1, znRTRayPacketBundle& rays,
                                                   znRTHitInfoPacketBundle& hits,
                                                   znFloatType<2>* tMin, znFloatType<2>* tMax,
                                                   int* laneMasks, int aaIndex, int aaCount, float,
                                                   const unsigned char*) const
{
    const unsigned count = projector.trace_eye_rays(x0, x1, y0, y1, rays, hits, tMin, tMax,
                                                    laneMasks, aaIndex, aaCount, 1.0f, nullptr);
    rays.coherent = 0;
    for (unsigned i = 0; i < count; ++i) {
        lookFromObserver(rays.rays[i], hits.hits[i], tMin[i], tMax[i], laneMasks[i]);
        if (laneMasks[i])
            znRTRenderUtils::getIntersection(rays.rays[i], tMin[i], tMax[i], hits.hits[i],
                                             laneMasks[i]);
    }
    return count;
}
