#pragma once

// Base of the accelerator: one scene's objects as the scene handler and applications drive them.
// All operations run between frames on the host's thread, under the scene's lock; only material
// lookups happen in parallel.

#include "host/osg/FCPtr.h"
#include "host/znAligned.h"

#include <mutex>

class znRTGeometryNodeBase;

class znRTSceneBase : public znAlignedBase64
{
public:
    // The order of the virtual operations is part of the interface.
    virtual ~znRTSceneBase() = default;
    virtual void clear() = 0;
    virtual void initMaterials() = 0;
    virtual void initNewFrame() = 0;
    virtual void initGeometries() = 0;
    /// Reads a material's record anew.
    /// @param flags  out: what changed for the objects that carry it, bits of znRTMaterialChange
    /// @return true when the material is known here
    virtual bool updateMaterial(const osg::MaterialPtr& material, unsigned int& flags) = 0;
    virtual bool updateClippingShape(const osg::NodePtr& node, unsigned int& flags) = 0;
    virtual void updateMaterials() = 0;
    virtual void updateLights() = 0;
    virtual void updateGeometryLights() = 0;
    virtual void updateRayGeometryLights() = 0;
    virtual void updateLightPortals() = 0;
    virtual void applyMaterialChanges() = 0;
    // Of the object with an index in the list of scene nodes; true: its tree has to be built again.
    virtual bool setMaterial(unsigned int index, const osg::MaterialPtr& material) = 0;
    virtual bool updateObjectMaterial(unsigned int index) = 0;
    virtual bool updateObject(unsigned int index) = 0;
    virtual bool reinitObject(unsigned int index) = 0;
    virtual u64 getObjectListSize() const = 0; ///< objects, by node
    virtual u64 getSceneNodesSize() const = 0; ///< length of the list of scene nodes
    /// @param index  in the list of scene nodes
    /// @return null beyond the list and for an entry whose object is gone
    virtual znRTGeometryNodeBase* getGeometryNodeBase(unsigned long long index) = 0;
    virtual void addGeometryNode(const osg::NodePtr& node, const osg::NodeCorePtr& core) = 0;
    // By container id; false when there is no such object.
    virtual bool deleteGeometry(unsigned long long id) = 0;
    virtual void addEnvironmentLight(const osg::MaterialPtr& material) = 0;
    virtual bool deleteEnvironmentLight(unsigned long long id) = 0;
    virtual bool deleteEnvironmentLight(const osg::MaterialPtr& material) = 0;
    virtual void setHeadlight(const osg::NodePtr& node) = 0;
    /// A light that is there already stays as it is.
    virtual void addLight(const osg::NodePtr& node) = 0;
    virtual bool deleteLight(unsigned long long id) = 0;
    virtual bool deleteMaterial(unsigned long long id) = 0;
    virtual bool deleteClippingShape(unsigned long long id) = 0;
    virtual void applyImageQuadChanges() = 0;

    /// The material that the scene graph gives a node: its override if the geometry attachment has
    /// one is not asked here; the core's own material, else that of the nearest assignment above.
    /// @return null when there is none: the caller uses its default material
    static osg::MaterialPtr resolveMaterialAssignment(const osg::NodePtr& node,
                                                      const osg::NodeCorePtr& core);

    /// Compares the objects' materials with the scene graph.
    /// @param id  container id of a node; all objects at and below it are looked at
    /// @return how many objects need their trees built again
    unsigned updateObjectMaterialAssignment(u32 id);
    /// True when the object of the node has a material of its own or by assignment.
    bool verifyObjectMaterial(u32 id);
    /// True when the object's node and core still live and belong together.
    bool verifyObjectData(u32 id);

    /// Re-entrant lock of the scene.
    std::recursive_mutex& getLock() { return lock; }

protected:
    /// @return position in the list of scene nodes, -1 without
    long long findObject(u32 nodeId);

private:
    std::recursive_mutex lock;
};
