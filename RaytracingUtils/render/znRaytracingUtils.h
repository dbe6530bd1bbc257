#pragma once

// The object through which a host drives the ray tracer. It has no data: what belongs to a view
// stands in its znRaytracerP, what belongs to the process in znRTRenderUtils. It forwards, and it
// drives frames.
//
// One thread per view calls it. Every operation that computes flushes denormals for its duration
// and gives the caller's floating-point control word back.

#include "host/znRaytracingUtilsBase.h"

#include <atomic>

class znRaytracingUtils : public znRaytracingUtilsBase
{
public:
    ~znRaytracingUtils() override;

    // Tiles.
    void generateRenderTiles(znRaytracerP* view, u64 tileSize) override;
    void generateActiveRenderTiles(znRaytracerP* view, float left, float right, float bottom,
                                   float top, u64 fullWidth, u64 fullHeight, u32 tileSize) override;
    void updateRendertargets(znRaytracerP* view, bool clearFrameOnly) override;

    // Scene.
    using znRaytracingUtilsBase::getHitPoint;
    bool getHitPoint(const znRTVector3f& origin, const znRTVector3f& direction,
                     znRTVector3f& position, znRTVector3f& normal, osg::NodePtr& node) override;
    bool updateObjects() override;
    void initMaterialIcon(osg::NodePtr node) override;
    void setMaterialIconRendering(bool on) override;
    bool getMaterialIconRendering() override;
    void setPhotonMapUpdate(bool on) override;
    void applyChangeList(int flags) override;
    void setChangeList(osg::ChangeList* changeList, u32 mask, int flags) override;
    void initialize() override;
    void destroy(znRaytracerP* view) override;
    znRTCameraBase* getCurrentCamera() override;
    void setAcceleratorType(u32 type) override;
    void setCurrentAccelerator(std::string name) override;
    void buildAccelerationStructure(std::vector<osg::NodePtr>& geometries,
                                    std::vector<osg::NodePtr>& lights) override;
    void clearAccelerationStructure() override;
    void initPhotonMap(u64 width, u64 height) override;
    bool tracePhotons(znRaytracerP* view) override;
    void enableOcclusionPass(bool on) override;
    bool isActive() override;
    void updateSceneplates(znRaytracerP* view, osg::Viewport* viewport,
                           osg::Camera* camera) override;
    void updateMasterCamera(znRaytracerP* view, osg::Camera* camera,
                            osg::Viewport* viewport) override;
    void updateCamera(znRaytracerP* view, osg::Camera* camera, osg::Viewport* viewport) override;
    void updateScene(znRaytracerP* view, bool sceneChanged) override;
    u64 getGlobalPhotonCount() override;
    u64 getCausticPhotonCount() override;
    u64 getFinalGatherCount() override;

    // Frames.
    void resetStatistics() override {}
    u64 getRayCount() override { return 0; }
    u64 getShadowRayCount() override { return 0; }
    void handleExceptions(znRaytracerP* view) override;
    void initTasks(znRaytracerP* view) override;
    void terminateTasks(znRaytracerP* view) override;
    void clear(znRaytracerP* view) override;
    bool traceImage(znRaytracerP* view, u32 taskCount, bool softwareCopy) override;

    // Statics of all views.

    /// Render time of all threads since the last reset, units of 100 ns.
    static std::atomic<u64> s_taskRuntime;
};
