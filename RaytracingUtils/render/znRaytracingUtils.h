#pragma once

// The object through which a host drives the ray tracer. It has no data: what belongs to a view
// stands in its znRaytracerP, what belongs to the process in znRTRenderUtils. It forwards, and it
// drives frames.
//
// One thread per view calls it. Every operation that traces, shades or copies flushes denormals for
// its duration and gives the caller's floating-point control word back.

#include "host/znRaytracingUtilsBase.h"

#include <atomic>

class znRaytracingUtils : public znRaytracingUtilsBase
{
public:
    ~znRaytracingUtils() override;

    // Tiles and buffers.
    void generateRenderTiles(znRaytracerP* view, u64 tileSize) override;
    void generateActiveRenderTiles(znRaytracerP* view, float left, float right, float bottom,
                                   float top, u64 fullWidth, u64 fullHeight, u32 tileSize) override;
    void updateRendertargets(znRaytracerP* view, bool clearFrameOnly) override;

    // Scene changes and life cycle.
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

    // Scenes and frames.
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

    void resetStatistics() override {}
    u64 getRayCount() override { return 0; }
    u64 getShadowRayCount() override { return 0; }
    void handleExceptions(znRaytracerP* view) override;
    void initTasks(znRaytracerP* view) override;
    void terminateTasks(znRaytracerP* view) override;
    void clear(znRaytracerP* view) override;
    bool traceImage(znRaytracerP* view, u32 taskCount, bool softwareCopy) override;
    void uploadImage(znRaytracerP* view, u32 taskCount, bool force, bool flag) override;
    void* getFrame(znRaytracerP* view, u32 x, u32 y, u32 width, u32 height, u32 pixelFormat,
                   bool wholeImage, u32 tileSize, u32 flags) override;
    void* getFrame(znRaytracerP* view, std::vector<osg::ImagePtr>& images, bool applyToFloat,
                   bool opaque) override;
    void* getFrame(znRaytracerP* view) override;
    void* getSubFrame(znRaytracerP* view, u32 pixelFormat, bool force, u32 flags) override;
    std::vector<void*> getRenderpassesFrame(znRaytracerP* view, u64 passMask, u64 secondMask, u32 x,
                                            u32 y, u32 width, u32 height, u32 pixelFormat,
                                            bool wholeImage, u32 tileSize, u32 flags) override;
    std::vector<void*> getRenderpassesSubFrame(znRaytracerP* view, u64 passMask, u32 pixelFormat,
                                               bool force, u32 flags) override;

    // Baking. Sets of directions are made; what takes them is not available yet: one warning, and
    // results stay as they are.
    void initAmbientOcclusion(bool colorBleeding, bool materialOverride,
                              const float* color) override;
    void reset(bool keep) override;
    const znRTSampleSet* createSampleSet(u32 countU, u32 countV, bool spare, bool fullSphere,
                                         float spareA, float spareB) override;
    void deleteSampleSet(const znRTSampleSet* set) override;

    void forceNURBSRebuild(bool rayTraced) override;
    double getTaskRuntime() override;
    void resetTaskRuntime() override;
    void updatePixelFilter() override;
    void setPBARSettings(osg::FCPtr<osg::RaytracingPBARSettings> settings, u64 viewId) override;
    void setAmbientOcclusionParameters(u32 spareA, u32 spareB, float minRange,
                                       float maxRange) override;
    void executeAODirectIllumination(u32 count, osg::TransformationMatrix<float> toWorld,
                                     const osg::Point<float, 3>* points,
                                     const osg::Vector<float, 3>* normals,
                                     osg::Vector<float, 4>* results, bool spareA,
                                     const znRTSampleSet* set, bool spareB, bool spareC) override;
    void executeAOGather(u32 count, osg::TransformationMatrix<float> toWorld,
                         const osg::Point<float, 3>* points, const osg::Vector<float, 3>* normals,
                         osg::Vector<float, 4>* results, osg::Vector<float, 3> baseColor,
                         bool spareA, const znRTSampleSet* set, bool spareB, bool spareC) override;
    void executeRefineGeometry(const std::string& name, int maximumDepth,
                               znGeoSubdivisionList* list, u32 countU, u32 countV,
                               float threshold) override;
    void buildRayFileKDTree(osg::FCPtr<osg::RayFileAttachment> attachment) override;

    void applyImageProcessing(znRaytracerP* view, const ZN_RGBA32F* source, void* destination,
                              u32 pixelFormat, bool flag, u32 x0, u32 x1, u32 y0, u32 y1, u32 pass,
                              u32 flags, bool denoised) override;
    ZN_RGBA32F getBackgroundColor(int x, int y, bool fullImage) override;
    ZN_RGBA32F getForegroundColor(int x, int y, bool fullImage) override;
    bool generateRayFile(const char* path, const std::vector<znNodePtr>& nodes, u32 count,
                         u32 depth, bool flag) override;
    void setWireframeMode(bool on) override;
    bool getWireframeMode() override;

    /// Render time of all threads since the last reset, units of 100 ns.
    static std::atomic<u64> s_taskRuntime;
};

/// What an application finds in the library.
extern "C" znRaytracingUtilsBase* CreateRaytracingInstance();
/// Number of the interface that the library was built with, see znRaytracingUtilsAbiVersion.
extern "C" const u32 znRaytracingUtilsAbi;
