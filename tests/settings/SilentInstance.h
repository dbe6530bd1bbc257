#pragma once

// An instance whose core does nothing: what the host's part of the interface is tested on.

#include "host/znRaytracingUtilsBase.h"

class SilentInstance : public znRaytracingUtilsBase
{
public:
    using znRaytracingUtilsBase::getHitPoint;
    using View = znRaytracerP*;
    using Nodes = std::vector<osg::NodePtr>;

    void generateRenderTiles(View, u64) override {}
    void generateActiveRenderTiles(View, float, float, float, float, u64, u64, u32) override {}
    void updateRendertargets(View, bool) override {}
    bool getHitPoint(const znRTVector3f& origin, const znRTVector3f& direction, znRTVector3f&,
                     znRTVector3f&, osg::NodePtr&) override
    {
        lastOrigin = origin;
        lastDirection = direction;
        return true;
    }
    bool updateObjects() override { return false; }
    void initMaterialIcon(osg::NodePtr) override {}
    void setMaterialIconRendering(bool) override {}
    bool getMaterialIconRendering() override { return false; }
    void setPhotonMapUpdate(bool) override {}
    void applyChangeList(int) override {}
    void setChangeList(osg::ChangeList*, u32, int) override {}
    void initialize() override {}
    void destroy(View) override {}
    znRTCameraBase* getCurrentCamera() override { return camera; }
    void setAcceleratorType(u32) override {}
    void setCurrentAccelerator(std::string) override {}
    void buildAccelerationStructure(Nodes&, Nodes&) override {}
    void clearAccelerationStructure() override {}
    void initPhotonMap(u64, u64) override {}
    bool tracePhotons(View) override { return true; }
    void enableOcclusionPass(bool) override {}
    bool isActive() override { return false; }
    void updateSceneplates(View, osg::Viewport*, osg::Camera*) override {}
    void updateMasterCamera(View, osg::Camera*, osg::Viewport*) override {}
    void updateCamera(View, osg::Camera*, osg::Viewport*) override {}
    void updateScene(View, bool) override {}
    u64 getGlobalPhotonCount() override { return 0; }
    u64 getCausticPhotonCount() override { return 0; }
    u64 getFinalGatherCount() override { return 0; }
    void resetStatistics() override {}
    u64 getRayCount() override { return 0; }
    u64 getShadowRayCount() override { return 0; }
    void handleExceptions(View) override {}
    void initTasks(View) override {}
    void terminateTasks(View) override {}
    void clear(View) override {}
    bool traceImage(View, u32, bool) override { return false; }
    void uploadImage(View, u32, bool, bool) override {}
    void* getFrame(View, u32, u32, u32, u32, u32, bool, u32, u32) override { return nullptr; }
    void* getFrame(View, std::vector<osg::ImagePtr>&, bool, bool) override { return nullptr; }
    void* getFrame(View) override { return nullptr; }
    void* getSubFrame(View, u32, bool, u32) override { return nullptr; }
    std::vector<void*> getRenderpassesFrame(View, u64, u64, u32, u32, u32, u32, u32, bool, u32,
                                            u32) override
    {
        return {};
    }
    std::vector<void*> getRenderpassesSubFrame(View, u64, u32, bool, u32) override { return {}; }
    void initAmbientOcclusion(bool, bool, const float*) override {}
    void reset(bool) override {}
    const znRTSampleSet* createSampleSet(u32, u32, bool, bool, float, float) override
    {
        return nullptr;
    }
    void deleteSampleSet(const znRTSampleSet*) override {}
    void forceNURBSRebuild(bool) override {}
    double getTaskRuntime() override { return 0.0; }
    void resetTaskRuntime() override {}
    void updatePixelFilter() override {}
    void setPBARSettings(osg::FCPtr<osg::RaytracingPBARSettings>, u64) override {}
    void setAmbientOcclusionParameters(u32, u32, float, float) override {}
    void executeAODirectIllumination(u32, osg::TransformationMatrix<float>,
                                     const osg::Point<float, 3>*, const osg::Vector<float, 3>*,
                                     osg::Vector<float, 4>*, bool, const znRTSampleSet*, bool,
                                     bool) override
    {
    }
    void executeAOGather(u32, osg::TransformationMatrix<float>, const osg::Point<float, 3>*,
                         const osg::Vector<float, 3>*, osg::Vector<float, 4>*,
                         osg::Vector<float, 3>, bool, const znRTSampleSet*, bool, bool) override
    {
    }
    void executeRefineGeometry(const std::string&, int, znGeoSubdivisionList*, u32, u32,
                               float) override
    {
    }
    void buildRayFileKDTree(osg::FCPtr<osg::RayFileAttachment>) override {}
    void applyImageProcessing(View, const ZN_RGBA32F*, void*, u32, bool, u32, u32, u32, u32, u32,
                              u32, bool) override
    {
    }
    ZN_RGBA32F getBackgroundColor(int, int, bool) override { return {}; }
    ZN_RGBA32F getForegroundColor(int, int, bool) override { return {}; }
    bool generateRayFile(const char*, const std::vector<znNodePtr>&, u32, u32, bool) override
    {
        return false;
    }
    void setWireframeMode(bool) override {}
    bool getWireframeMode() override { return false; }

    znRTCameraBase* camera = nullptr;
    znRTVector3f lastOrigin, lastDirection;
};
