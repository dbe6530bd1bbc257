#pragma once

// The render state of the process and the door through which shading reaches the scene: trace
// operations, lights, plates, photon maps. All static. Everything here changes between frames only
// and on the thread that drives the view; a running frame reads it without locks. The exceptions
// are the caches per thread.

#include "core/znDynArray.h"
#include "core/znRTBoundingBox.h"
#include "core/znRTBoundingSphere.h"
#include "core/znRTColorPacket.h"
#include "host/osg/ChangeList.h"
#include "host/osg/FCPtr.h"
#include "host/pixelFormats.h"
#include "host/znRTSceneChanges.h"

#include <atomic>
#include <set>
#include <string>
#include <tbb/enumerable_thread_specific.h>
#include <vector>

class znDistribution1D;
class znRTAccelerator;
class znRTCamera;
class znRTClippingShape;
class znRTDataBlockPacket;
class znRTGeometryNode;
class znRTLensFlare;
class znRTLight;
class znRTLightBVH;
class znRTLightPortalNode;
class znRTPortalGuide;
class znRTMaterial;
class znRTNode;
class znRTParticipatingMedia;
class znRTSPPhotonMap;
class znRTScenePlate;
class znRTShadingState;
class znRaytracerP;
class znRTHitInfoPacket;
class znRTHitInfoPacketBundle;
class znRTRayDifferentialPacket;
class znRTRayPacket;
class znRTRayPacketBundle;
struct LightEvalSample;
struct znRTSceneStatistics;
struct znRTVector3f;
struct znRTVector4f;

class znRTRenderUtils
{
public:
    /// Name of the scene that Initialize registers.
    static constexpr const char* defaultScene = "Default";

    // Tracing. Hit distances must hold the end of each ray's interval on entry, hit masks 0; lanes
    // outside the mask stay untouched. Clipping shapes count whenever the scene has some.

    /// @param laneMasks  bits of active lanes, one word per packet of the bundle
    static void getIntersection(const znRTRayPacketBundle& rays, const znFloatType<2>* tMin,
                                const znFloatType<2>* tMax, znRTHitInfoPacketBundle& hits,
                                const int* laneMasks);
    /// @param mask  bits of active lanes
    static void getIntersection(const znRTRayPacket& ray, const znFloatType<2>& tMin,
                                const znFloatType<2>& tMax, znRTHitInfoPacket& hit, int mask);
    /// @param tree  0 all objects, 1 selected, 2 environments, 3 preselected objects
    static void getIntersection(const znRTRayPacket& ray, const znFloatType<2>& tMin,
                                const znFloatType<2>& tMax, znRTHitInfoPacket& hit, int mask,
                                unsigned tree);
    /// Any hit will do. An opaque one sets the lane's bit and distance 0; a transparent one also
    /// sets the lane's bit in hitFlags and leaves the rest to the caller.
    static void getShadowIntersection(const znRTRayPacket& ray, const znFloatType<2>& tMin,
                                      const znFloatType<2>& tMax, znRTHitInfoPacket& hit, int mask);
    /// Selected objects only.
    static void getSelectionIntersection(const znRTRayPacket& ray, const znFloatType<2>& tMin,
                                         const znFloatType<2>& tMax, znRTHitInfoPacket& hit,
                                         int mask);
    /// Fills the block from its hit and groups the lanes by material.
    /// @param shadow             requirements of shadow rays instead of camera rays
    /// @param extraAttributes    vertex attributes to fetch besides those of the materials
    /// @param extraRequirements  computed quantities likewise
    static void getShadingData(const znRTRayDifferentialPacket& ray, znRTDataBlockPacket& block,
                               bool shadow, u32 extraAttributes = 0, u32 extraRequirements = 0);
    /// Position and normals for baking, of all lanes.
    static void getAmbientOcclusionData(znRTDataBlockPacket& block);

    // Life cycle.

    /// Makes scene "Default", camera and start values; safe to call again.
    static void Initialize();
    /// Ends everything that Initialize began; all scenes go.
    static void Destroy();
    /// Empties the current scene.
    static void clear();
    /// False until a scene update succeeded, and after one failed.
    static bool isActive() { return s_isActive; }
    static void setActive(bool active) { s_isActive = active; }

    // Scenes by name. A registered scene is owned by the registry.

    static void addAccelerator(znRTAccelerator* accelerator, const std::string& name);
    static bool deleteAccelerator(const std::string& name);
    static void deleteAllAccelerators();
    static znRTAccelerator* getAccelerator(const std::string& name);
    /// @return false when there is no scene of this name; the current one stays
    static bool setCurrentAccelerator(const std::string& name);
    /// Replaces the current scene, which is deleted, under the name that it had.
    static void setAccelerator(znRTAccelerator* accelerator);
    static znRTAccelerator* getCurrentAccelerator() { return s_currentAccelerator; }

    // Scene updates.

    /// Brings the current scene up to date with what happened in the scene graph. An exception on
    /// the way is logged and leaves isActive false.
    /// @param mask   records of the list without a bit of it are ignored
    /// @param flags  1: rebuild all
    static void setChangeList(osg::ChangeList* changeList, u32 mask, int flags);
    /// Adds nodes of geometry and light to an empty scene and builds it.
    static void buildAccelerationStructure(std::vector<osg::NodePtr>& geometries,
                                           std::vector<osg::NodePtr>& lights);
    static void rebuild(std::vector<osg::NodePtr>& geometries, std::vector<osg::NodePtr>& lights);
    /// Drops all objects and reads the scene graph again.
    static void rebuildEverything();
    /// Rebuilds all hierarchies of the current scene from its objects.
    static void rebuildAll();
    /// Rebuilds the hierarchies of some objects in parallel; that of the scene stays as it is.
    static void rebuildNodes(const znRTRebuildMap& nodes);
    /// Nodes that carry geometry or light at and below created ones, each once.
    static void getCreatedNodes(const std::set<u32>& created, std::vector<osg::NodePtr>& geometries,
                                std::vector<osg::NodePtr>& lights);
    static void createNodes(const std::vector<osg::NodePtr>& geometries,
                            const std::vector<osg::NodePtr>& lights);
    /// Lets each object compare itself with the scene graph.
    /// @return true when one had changed; false without a scene
    static bool updateObjects();
    static void updateEnvironment();
    static void updateEnvironmentLight();
    static void updateVisibilities();
    static void updateLocalLights();
    /// @param rebuildHierarchy  the set of lights or their places changed
    static void updateLightDistribution(bool rebuildHierarchy);
    /// Draws of light sampling for a number of lights: half the square root, 1 to 16.
    static int countLightEvaluations(u64 lights);
    static void updateClippingShapes();
    static void updateParticipatingMedia();
    static void updatePixelFilter();
    /// @return change bits: those of selection and side flags
    static u32 updateRenderOptions();
    /// @param selected  container ids of nodes
    static void setSelection(const std::set<u32>& selected, const std::set<u32>& preselected);
    static void setMaterialIconRendering(bool on) { s_materialIconRendering = on; }
    static bool getMaterialIconRendering() { return s_materialIconRendering; }
    static void initMaterialIcon(osg::NodePtr node);
    static void setWireframeMode(bool on);
    static bool getWireframeMode() { return s_wireframeMode; }
    /// Surfaces become tessellated or exact at the next update.
    static void forceNURBSRebuild(bool rayTraced);
    static void enableOcclusionPass(bool on);
    static void setActiveEnvironment(osg::NodePtr node, znRTMaterial* material);
    static void setRange(float minDistance, float maxDistance);

    // Photons.

    static void initPhotonMap(int width, int height);
    static void deletePhotonMap();
    static void setPhotonMapUpdate(bool on) { s_photonMapUpdateEnable = on; }
    static void requestPhotonMapRefresh();
    static znRTSPPhotonMap* getPhotonMap() { return s_currentPhotonMap; }
    /// @param mode  0 rebuild, -1 as the map needs
    /// @return false when the host stopped the pass
    static bool updatePhotonMap(znRaytracerP* view, u32 iteration, int mode);

    // What shading asks for.

    static znRTCamera* getCamera() { return s_camera; }
    static znRTScenePlate* getBackground();
    static znRTScenePlate* getForeground();
    /// Plates are owned by the caller; null takes the plate away.
    static void setBackground(znRTScenePlate* plate);
    static void setForeground(znRTScenePlate* plate);
    /// Colour of the plate at a pixel, premultiplied; transparent black without a plate.
    /// @param fullImage  pixel counts in the full image instead of this view
    static ZN_RGBA32F getBackgroundColor(int x, int y, bool fullImage);
    static ZN_RGBA32F getForegroundColor(int x, int y, bool fullImage);

    static const znDynArray<znRTLight*>& getLights();
    static const znDynArray<znRTLight*>& getRayLights();
    static const znDynArray<znRTLight*>& getRayGeometryLights();
    static const znDynArray<znRTLensFlare*>& getLensFlares();
    static const znDynArray<znRTLightPortalNode*>& getLightPortals();
    static const znDynArray<znRTClippingShape*>& getClippingShapes();
    static const znRTLightBVH* getLightHierarchy();
    static const znDistribution1D* getLightDistribution();
    static const znDistribution1D* getLightDistributionWithEnv();
    static const znDistribution1D* getLightPortalDistribution();
    /// Null without openings.
    static const znRTPortalGuide* getPortalGuide();
    static znRTLight* getEnvironmentLight();
    /// Null without fog.
    static znRTParticipatingMedia* getAtmosphere() { return s_atmosphere; }
    static const znDynArray<znRTParticipatingMedia*>& getParticipatingMedia();
    static znRTMaterial* getLuxMaterial() { return s_luxMaterial; }
    static const znRTBoundingBox& getFullBoundingBox();
    static const znRTBoundingBox& getPhotonTargetsBoundingBox();
    static const znRTBoundingSphere& getFullBoundingSphere();
    static const znRTBoundingSphere& getSceneBoundingSphere();
    static znRTGeometryNode* getSceneNode(u32 geometryIndex);
    /// Indirect quality of interactive and of still frames.
    static void getReflectionQualitySettings(int& interactive, int& still);
    static void getEnvironmentQualitySettings(int& interactive, int& still);

    /// Lays selection tint and wireframe over a finished colour in the hit lanes.
    static void getWireframeSelectionColor(znRTColorPacket& colour,
                                           const znRTRayDifferentialPacket& ray,
                                           const znRTDataBlockPacket& block, int hitMask,
                                           znRTShadingState& state);
    /// First hit of one ray.
    /// @param direction  any length
    /// @return false when nothing is hit; the outputs then keep their values
    static bool getHitPoint(const znRTVector3f& origin, const znRTVector3f& direction,
                            znRTVector3f& position, znRTVector3f& normal, osg::NodePtr& node);
    static void getMemoryUsage(float& intersectorMB, float& geometryMB, u64& primitives,
                               u64& objects, u64& spare);
    static void fillStatistics(znRTSceneStatistics& statistics);

    // Working memory of the calling thread.

    /// Scratch floats for the evaluation of the largest surface, see s_nurbsCacheSize.
    static float* getNURBSCache();
    /// Room for samples of lights and for one weight each; contents are undefined. Both arrays hold
    /// as many elements and only grow.
    /// @param n         samples that must fit
    /// @param capacity  out: samples that do fit; 0 when memory ran out
    static void getLightEvaluationCache(int n, LightEvalSample*& samples, znFloatType<2>*& weights,
                                        int& capacity);
    /// Gives the memory of all threads back; none of them may be shading.
    static void clearLightEvaluationCache();

    static znRTAccelerator* s_currentAccelerator;
    static znRTCamera* s_camera;
    static znRTColorPacket s_backgroundColor;                         ///< where nothing is hit
    static std::vector<znRTScenePlate*> s_backgrounds, s_foregrounds; ///< the last one counts
    static osg::NodePtr s_activeEnvironment;
    static znRTMaterial* s_activeEnvironmentMaterial;
    static znRTSPPhotonMap *s_currentPhotonMap, *s_interactivePhotonMap, *s_stillFramePhotonMap;
    static bool s_isActive;
    static bool s_forceRebuild; ///< the next update reads the whole scene graph
    static bool s_photonMapUpdateEnable;
    static bool s_wireframeMode;
    static bool s_pbarMode;
    static bool s_materialIconRendering;
    static float s_minDistance, s_maxDistance; ///< range of ambient occlusion, scene units
    static int s_maxLightEvaluations;          ///< draws of light sampling, 1 to 16
    /// One list per thread, see getLightEvaluationCache.
    static tbb::enumerable_thread_specific<znDynArray<LightEvalSample>> s_lightEvaluationCache;
    static tbb::enumerable_thread_specific<znDynArray<znFloatType<2>>> s_lightWeightCache;
    static znRTParticipatingMedia* s_atmosphere; ///< set by the camera
    static znRTMaterial* s_luxMaterial;
    static int s_nurbsMode;                   ///< 0 tessellated, 1 exact
    static std::atomic<u64> s_nurbsCacheSize; ///< bytes
};
