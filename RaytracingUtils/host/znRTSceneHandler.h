#pragma once

// Registry of scenes and the door through which changes of the scene graph reach them. All static;
// used by the thread that drives the view. Only the build time stamp is read from other threads.

#include "host/osg/ChangeList.h"
#include "host/osg/RaytracingSettingsAttachment.h"
#include "host/osg/SurfaceAnalysisAttachment.h"
#include "host/znRTRaytracingSettings.h"
#include "host/znRTSceneChanges.h"
#include "host/znRTSurfaceAnalysisSettings.h"

#include <string>

class znRTSceneBase;

class znRTSceneHandler
{
public:
    // Scenes by name. They are not owned.

    /// @return false for null and for a name that is taken
    static bool addScene(const std::string& name, znRTSceneBase* scene);
    /// Takes a scene out of the registry; if it was the current one there is none.
    static bool deleteScene(const std::string& name);
    static void deleteAllScenes();
    static znRTSceneBase* getScene(const std::string& name); ///< null without
    /// @return false when there is no scene of this name; the current one stays
    static bool setCurrentScene(const std::string& name);
    static inline znRTSceneBase* s_currentScene = nullptr;

    // Roots.

    /// The root of everything; the super root contains the root, and nodes that only it contains
    /// are auxiliary. Both are held by reference.
    static void setSuperRoot(const osg::NodePtr& node);
    static osg::NodePtr getSuperRoot();
    static void setRoot(const osg::NodePtr& node);
    static osg::NodePtr getRoot();
    /// Root of the preview scenes, whose names begin with "MaterialBall".
    static void setMaterialBallRoot(const osg::NodePtr& node);
    static osg::NodePtr s_materialBallRoot;
    static bool isMaterialPreviewNode(const osg::NodePtr& node);
    /// Gizmos, symbols of lights and the like: below the super root but not below the root.
    static bool isAuxiliaryNode(const osg::NodePtr& node);

    // Settings.

    /// Attachment of the root; created when it is missing. Null without a root.
    static osg::RaytracingSettingsAttachmentPtr getRaytracingSettingsAttachment();
    static osg::SurfaceAnalysisAttachmentPtr getSurfaceAnalysisAttachment();
    static inline znRTRaytracingSettings s_currentRaytracingSettings;
    static inline znRTSurfaceAnalysisSettings s_currentSurfaceAnalysisSettings;

    // Nodes.

    /// Nodes at and below a root that carry geometry (lights), in tree order, appended to out.
    /// Auxiliary nodes are left out.
    static void getGeometries(const osg::NodePtr& root, std::vector<osg::NodePtr>& out);
    static void getLightsources(const osg::NodePtr& root, std::vector<osg::NodePtr>& out);
    /// Hands nodes to the current scene under its lock.
    static void addGeometries(const std::vector<osg::NodePtr>& nodes);
    static void addLightsources(const std::vector<osg::NodePtr>& nodes);

    // Changes.

    /// Gives the calling thread a change list; a second call does nothing.
    static void initializeChangeList();
    static void destroyChangeList();
    static osg::ChangeList* getChangeList(); ///< null before initializeChangeList
    static void clearChangeList();

    /// Sorts a change list.
    /// @param mask  changes without a bit of it are ignored; 0xffffffff lets all pass
    static void filterChanges(const osg::ChangeList& list, u32 mask, znRTSceneChanges& out);
    /// Takes everything that was destroyed out of the current scene.
    static void deleteNodes(const znRTSceneChanges& changes);
    /// Objects below changed assignments get their materials.
    static void applyMaterialAssignmentChanges(const znRTSceneChanges& changes,
                                               znRTRebuildMap& rebuild);
    /// Changed cores, replaced cores and clip planes; objects that (dis)appear are added or
    /// deleted.
    static void applyChanges(const znRTSceneChanges& changes, znRTRebuildMap& rebuild);
    /// Transforms and visibility: the objects compare themselves with the scene graph.
    /// @return how many changed
    static unsigned applyNodeUpdates(const znRTSceneChanges& changes);
    static void applyMaterialUpdates(const znRTSceneChanges& changes, znRTRebuildMap& rebuild);

    /// A new value for each pass of updates; trees built in a pass carry it.
    static u64 updateBuildTimeStamp();
    static u64 getBuildTimeStamp();

    // Forwarded to the current scene; nothing happens without one.

    static void initMaterials();
    static void updateLights();
    static void updateMaterials();
    static void updateGeometryLights();
    static void updateRayGeometryLights();
    static void updateLightPortals();

    /// The ray tracer allows several scenes to be built at the same time.
    static void setRaytracingLibraryThreadsafe(bool on) { s_raytracingLibraryThreadsafe = on; }
    static inline bool s_raytracingLibraryThreadsafe = false;
    static inline bool s_isSaving = false; ///< an image is rendered to be saved, not shown
    static inline bool s_needsPhotonMapUpdate = false;
};
