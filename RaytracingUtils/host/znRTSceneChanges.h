#pragma once

// A change list, sorted by what it means for rendering.

#include "host/osg/FCPtr.h"
#include "host/znAligned.h"

#include <map>
#include <set>
#include <vector>

class znRTGeometryNodeBase;

/// Kinds of changes. What can change light lies in znLightChanges.
enum znRTChangeFlags : u32 {
    znChangeNodesCreated = 0x0001,
    znChangeNodesDestroyed = 0x0002,
    znChangeTransforms = 0x0004,
    znChangeGeometry = 0x0008,
    znChangeVisibility = 0x0010, ///< side flags, visibility, geometry attachments
    znChangeCamera = 0x0020,
    znChangeSettings = 0x0040,
    znChangeLights = 0x0080, ///< attributes of lights
    znChangeSelection = 0x0100,
    znChangeLightsCreated = 0x0200, ///< or destroyed
    znChangeMaterialAssignment = 0x0400,
    znChangeMaterials = 0x0800,
    znChangeEnvironment = 0x1000,
    znChangeLightAttachments = 0x2000, ///< and ray files
    znChangeClipping = 0x4000,         ///< and participating media
    znChangeImages = 0x8000,           ///< and plates

    znLightChanges = 0x7e9f
};

/// What updateMaterial reports about the objects that carry the material.
enum znRTMaterialChange : unsigned int {
    znMaterialVisibilityChanged = 1,
    znMaterialSidenessChanged = 2,
    znMaterialDisplacementChanged = 4
};

/// Nodes whose trees have to be built again, by container id.
using znRTRebuildMap = std::map<u64, znRTGeometryNodeBase*>;

/// Ids occur once and in ascending order. An id that was destroyed stands in destroyed alone.
/// Containers outside the current root are left out; destroyed ones cannot be told apart any more
/// and are all listed.
struct znRTSceneChanges
{
    std::set<u32> created;    ///< nodes
    std::set<u32> destroyed;  ///< containers of any kind
    std::set<u32> nodes;      ///< nodes with other changes than those of the sets below
    std::set<u32> structure;  ///< nodes whose core was replaced
    std::map<u32, u64> cores; ///< geometry cores with their field masks
    std::set<u32> transforms; ///< nodes at whose subtrees transforms changed
    std::set<u32>
        visibility; ///< nodes at whose subtrees visibility or geometry attachments changed
    std::set<u32> materials;
    std::set<u32> materialAssignments; ///< nodes below which assignment changed
    std::set<u32> lights;              ///< nodes of lights
    std::set<u32> environments;        ///< environment materials
    std::set<u32> clipPlanes;          ///< nodes
    std::set<u32> media;               ///< materials of participating media
    std::set<u32> plates;
    std::set<u32> selected, preselected; ///< filled while the selection changed
    bool settings = false;
    u32 flags = 0; ///< of znRTChangeFlags

    bool empty() const { return flags == 0 && destroyed.empty() && created.empty(); }
};
