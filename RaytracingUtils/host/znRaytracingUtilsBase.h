#pragma once

// The virtual interface of the ray tracer. An application gets an instance from
// znRaytracingManager and does everything else through it. Operations that are pure here belong to
// the core; the others (settings, roots, denoising) are the host's.
//
// One thread per view calls it, and two views never trace at the same time. The order of the
// virtual operations is part of the binary interface: a change of order, of a signature or of a
// record that both libraries read makes znRaytracingUtilsAbiVersion grow.

#include "host/osg/ChangeList.h"
#include "host/osg/RaytracingSettingsAttachment.h"
#include "host/osg/SurfaceAnalysisAttachment.h"
#include "host/osg/TransformationMatrix.h"
#include "host/osg/Vector.h"
#include "host/pixelFormats.h"
#include "host/raytracingSettingsTable.h"
#include "host/znAligned.h"

#include <string>
#include <vector>

class znGeoSubdivisionList;
class znRTCameraBase;
class znRTRaytracingSettings;
class znRTSampleSet;
class znRaytracerP;
namespace osg {
class Camera;
class RayFileAttachment;
class RaytracingPBARSettings;
class Viewport;
} // namespace osg

/// The core exports this number as the constant znRaytracingUtilsAbi; the manager refuses another.
constexpr u32 znRaytracingUtilsAbiVersion = 1;
using znCreateRaytracingInstanceFunction = class znRaytracingUtilsBase* (*)();

class znRaytracingUtilsBase
{
public:
    // Tiles and buffers of a view.
    virtual ~znRaytracingUtilsBase();
    /// Cuts the whole image; call after each change of size.
    virtual void generateRenderTiles(znRaytracerP* view, u64 tileSize) = 0;
    /// Cuts a region, bounds 0..1 in a full image of the given size in pixels.
    virtual void generateActiveRenderTiles(znRaytracerP* view, float left, float right,
                                           float bottom, float top, u64 fullWidth, u64 fullHeight,
                                           u32 tileSize) = 0;
    /// Clears the buffers of a new image.
    /// @param clearFrameOnly  clears the main frame buffer and nothing else, at any time
    virtual void updateRendertargets(znRaytracerP* view, bool clearFrameOnly) = 0;

    virtual void setActiveViewport(osg::Viewport* viewport);
    virtual osg::Viewport* getActiveViewport() const;
    /// First hit of one ray; @return false, and the outputs stay, when nothing is hit.
    virtual bool getHitPoint(const znRTVector3f& origin, const znRTVector3f& direction,
                             znRTVector3f& position, znRTVector3f& normal, osg::NodePtr& node) = 0;
    /// First hit through a point of the current camera's image, pixels from the lower left.
    virtual bool getHitPoint(float x, float y, znRTVector3f& position, znRTVector3f& normal,
                             osg::NodePtr& node);

    // Scene changes and life cycle.
    virtual bool updateObjects() = 0;
    virtual void initMaterialIcon(osg::NodePtr node) = 0;
    virtual void setMaterialIconRendering(bool on) = 0;
    virtual bool getMaterialIconRendering() = 0;
    virtual void setPhotonMapUpdate(bool on) = 0;
    virtual void clearChangeList();
    /// @param flags  0, or 1 to rebuild all
    virtual void applyChangeList(int flags) = 0;
    virtual void setChangeList(osg::ChangeList* changeList, u32 mask, int flags) = 0;
    virtual void initialize() = 0;
    virtual void destroy(znRaytracerP* view) = 0;
    virtual znRTCameraBase* getCurrentCamera() = 0;

    // Roots and attachments.
    virtual osg::RaytracingSettingsAttachmentPtr getRaytracingSettingsAttachment() const;
    virtual osg::SurfaceAnalysisAttachmentPtr getSurfaceAnalysisAttachment() const;
    virtual znRTRaytracingSettings* getCurrentRaytracingSettings() const;
    virtual void setIsSaving(bool on);
    virtual void setSuperRoot(const osg::NodePtr& node);
    virtual void setRoot(const osg::NodePtr& node);
    virtual osg::NodePtr getSuperRoot() const;
    virtual osg::NodePtr getRoot() const;
    /// Adds geometry and lights at and below a node to the current scene.
    virtual void addNode(const osg::NodePtr& node);
    virtual void deleteNode(const osg::NodePtr& node);

    // Scenes and frames.
    virtual void setAcceleratorType(u32 type) = 0;
    virtual void setCurrentAccelerator(std::string name) = 0;
    virtual void initNewFrame();
    virtual void initGeometries();
    virtual void buildAccelerationStructure(std::vector<osg::NodePtr>& geometries,
                                            std::vector<osg::NodePtr>& lights) = 0;
    virtual void clearAccelerationStructure() = 0;
    virtual void initPhotonMap(u64 width, u64 height) = 0;
    /// @return false when the abort callback stopped the pass
    virtual bool tracePhotons(znRaytracerP* view) = 0;
    virtual void enableOcclusionPass(bool on) = 0;
    virtual bool isInteractiveQualityMode() const;
    virtual bool isFullQualityMode() const;
    /// False before the first update that succeeded and after one that failed.
    virtual bool isActive() = 0;
    virtual void updateSceneplates(znRaytracerP* view, osg::Viewport* viewport,
                                   osg::Camera* camera) = 0;
    virtual void updateMasterCamera(znRaytracerP* view, osg::Camera* camera,
                                    osg::Viewport* viewport) = 0;
    virtual void updateCamera(znRaytracerP* view, osg::Camera* camera, osg::Viewport* viewport) = 0;
    virtual void updateScene(znRaytracerP* view, bool sceneChanged) = 0;
    virtual u64 getGlobalPhotonCount() = 0;
    virtual u64 getCausticPhotonCount() = 0;
    virtual u64 getFinalGatherCount() = 0;

    virtual void resetStatistics() = 0;
    virtual u64 getRayCount() = 0;
    virtual u64 getShadowRayCount() = 0;
    virtual void handleExceptions(znRaytracerP* view) = 0;
    virtual void initTasks(znRaytracerP* view) = 0;
    virtual void terminateTasks(znRaytracerP* view) = 0;
    virtual void clear(znRaytracerP* view) = 0;
    /// One iteration of an image. @return true when the frame was given up
    virtual bool traceImage(znRaytracerP* view, u32 taskCount, bool softwareCopy) = 0;
    virtual void uploadImage(znRaytracerP* view, u32 taskCount, bool force, bool flag) = 0;
    /// Region form: traces what is missing and copies a rectangle, pixels of the output.
    /// @param pixelFormat  a znPixelFormat
    /// @return m_frameOutput of the view, null when there is nothing yet
    virtual void* getFrame(znRaytracerP* view, u32 x, u32 y, u32 width, u32 height, u32 pixelFormat,
                           bool wholeImage, u32 tileSize, u32 flags) = 0;
    /// Entry i of the images receives pass i in the format that the image has.
    virtual void* getFrame(znRaytracerP* view, std::vector<osg::ImagePtr>& images,
                           bool applyToFloat, bool opaque) = 0;
    /// The whole frame with a shared exponent.
    virtual void* getFrame(znRaytracerP* view) = 0;
    virtual void* getSubFrame(znRaytracerP* view, u32 pixelFormat, bool force, u32 flags) = 0;
    /// Masks have one bit per pass. Pointers live until the next call of the same view.
    virtual std::vector<void*> getRenderpassesFrame(znRaytracerP* view, u64 passMask,
                                                    u64 secondMask, u32 x, u32 y, u32 width,
                                                    u32 height, u32 pixelFormat, bool wholeImage,
                                                    u32 tileSize, u32 flags) = 0;
    virtual std::vector<void*> getRenderpassesSubFrame(znRaytracerP* view, u64 passMask,
                                                       u32 pixelFormat, bool force, u32 flags) = 0;

    // Baking mode.
    /// @param color  three floats that replace material colours when materialOverride is on
    virtual void initAmbientOcclusion(bool colorBleeding, bool materialOverride,
                                      const float* color) = 0;
    virtual void reset(bool keep) = 0;
    /// countU countV directions for the baking operations below.
    /// @param fullSphere  uniform over the sphere; otherwise by the cosine over a hemisphere
    /// @return owned by the caller, who gives it back to deleteSampleSet
    virtual const znRTSampleSet* createSampleSet(u32 countU, u32 countV, bool spare,
                                                 bool fullSphere, float spareA, float spareB) = 0;
    virtual void deleteSampleSet(const znRTSampleSet* set) = 0;

    // Settings: the attachment of the root and the mirror change at once; a value outside its range
    // is brought to the nearest end. Lengths are in scene units.
#define ZN_SETTER(type, stem, field, standard, lowest, highest, meaning)                           \
    virtual void set##stem(type value);
#define ZN_GETTER(type, stem, field, standard, lowest, highest, meaning)                           \
    virtual type get##stem() const;
#define ZN_ACCESSORS(type, stem, field, standard, lowest, highest, meaning)                        \
    virtual void set##stem(type value);                                                            \
    virtual type get##stem() const;
    /// Connection of a render cluster; kept for whoever asks, not used here.
    virtual void setClusterServer(void* server);
    ZN_NURBS_SETTINGS(ZN_SETTER, ZN_SETTER)
    ZN_NURBS_SETTINGS(ZN_GETTER, ZN_GETTER)
    virtual void forceNURBSRebuild(bool rayTraced) = 0;
    ZN_SAMPLE_ID_SETTINGS(ZN_ACCESSORS)
    virtual void setUseSoftwareBackground(bool on);
    ZN_DISPLAY_STAGE_SETTINGS(ZN_GETTER)
    virtual void setLensFlareEnabled(bool on);
    ZN_QUALITY_SETTINGS(ZN_ACCESSORS)

    /// Seconds over all threads since the last reset.
    virtual double getTaskRuntime() = 0;
    virtual void resetTaskRuntime() = 0;

    ZN_PHOTON_SETTINGS(ZN_ACCESSORS, ZN_ACCESSORS)
    virtual void setShowDenoisedImage(bool on);
    ZN_DENOISE_SETTINGS(ZN_ACCESSORS)
    /// The host's own filter is chosen.
    virtual bool getCPUDenoiseFilterEnabled() const;
    /// Feeds the view's filter with the frame as it is.
    virtual void updateDataForDenoiseFilter(znRaytracerP* view);
    ZN_DENOISE_THRESHOLD_SETTINGS(ZN_ACCESSORS)
    /// Filters the frame in place and tells whether there was a filter to do so.
    virtual bool runDenoiseFilterAndSaveNow(znRaytracerP* view);
    virtual bool runDenoiseFilter(znRaytracerP* view);
    /// @param pixels  width * height pixels, filtered in place
    virtual bool runDenoiseFilter(ZN_RGBA32F* pixels, u32 width, u32 height);
    ZN_ILLUMINANT_SETTINGS(ZN_ACCESSORS)

    virtual void updatePixelFilter() = 0;
    virtual void setPBARSettings(osg::FCPtr<osg::RaytracingPBARSettings> settings, u64 viewId) = 0;
    virtual void setAmbientOcclusionParameters(u32 spareA, u32 spareB, float minRange,
                                               float maxRange) = 0;
    /// @param results  count values: rgb irradiance, alpha occlusion
    virtual void executeAODirectIllumination(u32 count, osg::TransformationMatrix<float> toWorld,
                                             const osg::Point<float, 3>* points,
                                             const osg::Vector<float, 3>* normals,
                                             osg::Vector<float, 4>* results, bool spareA,
                                             const znRTSampleSet* set, bool spareB,
                                             bool spareC) = 0;
    virtual void executeAOGather(u32 count, osg::TransformationMatrix<float> toWorld,
                                 const osg::Point<float, 3>* points,
                                 const osg::Vector<float, 3>* normals,
                                 osg::Vector<float, 4>* results, osg::Vector<float, 3> baseColor,
                                 bool spareA, const znRTSampleSet* set, bool spareB,
                                 bool spareC) = 0;
    /// Splits triangles of the named geometry where baked values differ.
    /// @param threshold  difference of values along an edge that asks for a split
    virtual void executeRefineGeometry(const std::string& name, int maximumDepth,
                                       znGeoSubdivisionList* list, u32 countU, u32 countV,
                                       float threshold) = 0;
    virtual void buildRayFileKDTree(osg::FCPtr<osg::RayFileAttachment> attachment) = 0;

    ZN_FRAME_SETTINGS(ZN_ACCESSORS)

    /// Copies a rectangle of a frame through the display pipeline.
    virtual void applyImageProcessing(znRaytracerP* view, const ZN_RGBA32F* source,
                                      void* destination, u32 pixelFormat, bool flag, u32 x0, u32 x1,
                                      u32 y0, u32 y1, u32 pass, u32 flags, bool denoised) = 0;
    virtual ZN_RGBA32F getBackgroundColor(int x, int y, bool fullImage) = 0;
    virtual ZN_RGBA32F getForegroundColor(int x, int y, bool fullImage) = 0;
    /// Writes photons of the scene's lights to a text file; the result is the file.
    virtual bool generateRayFile(const char* path, const std::vector<znNodePtr>& nodes, u32 count,
                                 u32 depth, bool flag) = 0;
    virtual void setWireframeMode(bool on) = 0;
    virtual bool getWireframeMode() = 0;
    /// Filters the frame in place by the AI denoiser or what stands for it.
    virtual bool runAIDenoiseFilter(znRaytracerP* view);
    /// @return the filtered copy of the frame until unmapAIDenoisedBuffer, or null
    virtual const ZN_RGBA32F* getAIDenoisedBuffer(znRaytracerP* view);
    virtual void unmapAIDenoisedBuffer();
#undef ZN_SETTER
#undef ZN_GETTER
#undef ZN_ACCESSORS

    // Not virtual.
    void setApplyTonemapping(bool on);
    void setApplyColorCorrection(bool on);
    void* getClusterServer() const;

    /// Still frames feed the denoise filter of their view. Follows the denoise setting.
    static inline bool s_bDenoiseOn = false;
};
