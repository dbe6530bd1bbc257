#pragma once

// The scene as the renderer sees it: geometry nodes, materials, lights, clipping shapes, media and
// image quads, with the passes that keep them up to date. Trees and walks are added by the derived
// classes; rendering threads only read.
//
// Objects are keyed by container ids and passes run in id order, so that equal scenes give equal
// indices. Materials may be asked for, and nodes may enter the lists of lights and media, while
// nodes are updated in parallel; everything else belongs to the thread that prepares the frame,
// under the scene's re-entrant lock.

#include "core/znDynArray.h"
#include "core/znRTBoundingBox.h"
#include "core/znRTBoundingSphere.h"
#include "host/osg/FCPtr.h"
#include "host/znDistribution1D.h"
#include "host/znRTSceneBase.h"

#include <map>
#include <memory>
#include <set>
#include <tbb/concurrent_unordered_map.h>
#include <vector>

class znRTClippingShape;
class znRTDataBlockPacket;
class znRTGeometryNode;
class znRTHitInfoPacket;
class znRTHitInfoPacketBundle;
class znRTImageQuad;
class znRTInfiniteAreaLight;
class znRTLensFlare;
class znRTLight;
class znRTLightBVH;
class znRTLightPortalNode;
class znRTPortalGuide;
class znRTMaterial;
class znRTParticipatingMedia;
class znRTRayDifferentialPacket;
class znRTRayPacket;
class znRTRayPacketBundle;
class znRTSceneLamps;
class znRTSceneLights;

namespace osg {
class Geometry;
}

/// Figures of the last build; MB are bytes / 2^20.
struct znRTSceneFigures
{
    float intersectorMB = 0.0f;
    float geometryMB = 0.0f;
    u64 primitives = 0;
    u64 objects = 0;
};

class znRTAccelerator : public znRTSceneBase
{
public:
    // The order of the virtual operations is part of the interface.
    ~znRTAccelerator() override;
    /// Empties every container.
    void clear() override;
    void initMaterials() override;
    void initNewFrame() override {}
    /// Reads the cores of all nodes that are not valid yet.
    void initGeometries() override;
    bool updateMaterial(const osg::MaterialPtr& material, unsigned int& flags) override;
    bool updateClippingShape(const osg::NodePtr& node, unsigned int& flags) override;
    void updateMaterials() override;
    void updateLights() override;
    void updateGeometryLights() override;
    void updateRayGeometryLights() override;
    void updateLightPortals() override;
    void applyMaterialChanges() override;
    /// Gives a material to the node at an index of the scene node list.
    /// @return true when its tree has to be built again
    bool setMaterial(unsigned int index, const osg::MaterialPtr& material) override;
    /// Compares the material of a node with the scene graph.
    /// @return true when its tree has to be built again
    bool updateObjectMaterial(unsigned int index) override;
    bool updateObject(unsigned int index) override;
    bool reinitObject(unsigned int index) override;
    /// @param id  container id of the scene graph node
    /// @return the geometry node, or null
    virtual znRTGeometryNode* getObject(unsigned long long id);
    u64 getObjectListSize() const override { return geometryNodes.size(); }
    u64 getSceneNodesSize() const override { return sceneNodes.size; }
    /// @param index  in the list of scene nodes; null where there is none
    znRTGeometryNodeBase* getGeometryNodeBase(unsigned long long index) override;
    void addGeometryNode(const osg::NodePtr& node, const osg::NodeCorePtr& core) override;
    bool deleteGeometry(unsigned long long id) override;
    /// One light per environment; one that is there stays as it is.
    void addEnvironmentLight(const osg::MaterialPtr& material) override;
    bool deleteEnvironmentLight(unsigned long long id) override;
    bool deleteEnvironmentLight(const osg::MaterialPtr& material) override;
    virtual znRTLight* getEnvironmentLight(const osg::MaterialPtr& material);
    virtual znRTLight* getEnvironmentLight(unsigned int index);
    /// Lets all environments read their containers and chooses the one in force: that of the
    /// active environment material, else the first that shines. Materials with an environment of
    /// their own learn of its light.
    virtual void updateEnvironmentLights();
    void setHeadlight(const osg::NodePtr& node) override;
    void addLight(const osg::NodePtr& node) override;
    bool deleteLight(unsigned long long id) override;
    bool deleteMaterial(unsigned long long id) override;
    bool deleteClippingShape(unsigned long long id) override;
    void applyImageQuadChanges() override;

protected:
    virtual void setActiveMaterial(const osg::MaterialPtr& material, const osg::NodePtr& node,
                                   const osg::NodeCorePtr& core, znRTGeometryNode* geometry);

public:
    /// Builds what changed of the objects, then the trees over them.
    virtual void build(unsigned int quality) = 0;
    virtual bool optimize(float* result) = 0;
    /// Whether there is something to walk.
    virtual bool isValid() const = 0;

    // Walks. They accept hits strictly between tMin and the t of the hit packet, which the caller
    // has set to the far end; lanes outside the masks stay as they are.

    /// @param masks     lanes of each packet
    /// @param clipping  whether clipping shapes count
    virtual void intersectCO(const znRTRayPacketBundle& rays, const znFloatType<2>* tMin,
                             const znFloatType<2>* tMax, znRTHitInfoPacketBundle& hits,
                             const int* masks, bool clipping) const = 0;
    virtual void intersect(const znRTRayPacket& ray, const znFloatType<2>& tMin,
                           const znFloatType<2>& tMax, znRTHitInfoPacket& hit, int mask,
                           bool clipping) const = 0;
    virtual void intersectShadow(const znRTRayPacket& ray, const znFloatType<2>& tMin,
                                 const znFloatType<2>& tMax, znRTHitInfoPacket& hit, int mask,
                                 bool clipping) const = 0;
    virtual void intersectSelection(const znRTRayPacket& ray, const znFloatType<2>& tMin,
                                    const znFloatType<2>& tMax, znRTHitInfoPacket& hit, int mask,
                                    bool clipping) const = 0;
    /// @param tree  0 all objects, 1 selected, 2 environments, 3 preselected
    virtual void intersectHierarchy(const znRTRayPacket& ray, const znFloatType<2>& tMin,
                                    const znFloatType<2>& tMax, znRTHitInfoPacket& hit, int mask,
                                    bool clipping, unsigned int tree) const = 0;

    /// World position and normals of all lanes; a lane without hit gets position 0 and the normal
    /// (0, 0, 1).
    virtual void getAmbientOcclusionData(znRTDataBlockPacket& data) const = 0;
    /// Fills the block from its hit and groups the lanes by material.
    virtual void getShadingData(const znRTRayDifferentialPacket& ray, znRTDataBlockPacket& data,
                                bool shadow, u32 extraAttributes, u32 extraRequirements) const = 0;
    /// @param spare  not in use
    virtual void getMemoryUsage(float& intersectorMB, float& geometryMB,
                                unsigned long long& primitives, unsigned long long& objects,
                                unsigned long long& spare) const = 0;
    /// Trees are always rebuilt; nothing is ever refitted.
    virtual bool refit(unsigned long long id) = 0;

    // Objects.

    const znDynArray<znRTGeometryNode*>& getSceneNodes() const { return sceneNodes; }
    /// Null beyond the list, and for a node that was deleted since the list was made.
    znRTGeometryNode* getSceneNode(u64 index) const
    {
        return index < sceneNodes.size ? sceneNodes.data[index] : nullptr;
    }
    /// Makes the list of nodes again, in id order; indices of hits change with it.
    void updateGeometryList();
    /// Lets every node compare itself with the scene graph, and builds if one changed.
    /// @return whether one changed
    bool updateObjects();
    /// Brings ray visibility of all nodes up to date.
    void updateVisibilities();

    // Materials.

    /// The material of a host container, shared by all scenes; null gives the fallback material.
    /// Safe on any thread.
    znRTMaterial* createMaterial(const osg::MaterialPtr& material);
    znRTMaterial* getMaterial(const osg::MaterialPtr& material) const;
    znRTMaterial* getMaterial(u32 id) const;
    u64 getMaterialCount() const { return materials.size(); }
    /// Whether a material of the scene has a shading class of its own. Not while objects are built.
    bool hasShadingMaterials() const;
    /// How many scenes use a material.
    static unsigned getMaterialUseCount(u32 id);

    // Lists for shading.

    /// Lights of nodes in the order in which they came, then meshes that emit.
    const znDynArray<znRTLight*>& getLights() const { return lights; }
    /// Area lights as rays see them.
    const znRTSceneLamps& getLamps() const { return *lamps; }
    /// The light that goes with the camera; null without.
    znRTLight* getHeadlight() const;
    const znDynArray<znRTLight*>& getRayLights() const { return rayLights; }
    const znDynArray<znRTLight*>& getRayGeometryLights() const { return rayGeometryLights; }
    const znDynArray<znRTLensFlare*>& getLensFlares() const { return lensFlares; }
    const znDynArray<znRTLightPortalNode*>& getLightPortals() const { return lightPortals; }
    /// The light of the environment in force; null without.
    znRTLight* getEnvironmentLight() const { return environmentLight; }
    /// Tabulates the powers of the lights, for the choice among them.
    /// @param rebuildHierarchy  the set of lights or their places changed
    void updateLightDistribution(bool rebuildHierarchy);
    /// Over getLights, as they were at the last updateLightDistribution.
    const znDistribution1D& getLightDistribution() const { return lightDistribution; }
    /// The same with the environment light as the last one.
    const znDistribution1D& getLightDistributionWithEnv() const { return lightDistributionWithEnv; }
    const znRTLightBVH& getLightHierarchy() const { return *lightHierarchy; }
    /// Over getLightPortals, as they were at the last updateLightPortals.
    const znDistribution1D& getLightPortalDistribution() const { return lightPortalDistribution; }
    /// The openings of all portals, for directions through them.
    const znRTPortalGuide& getPortalGuide() const { return *portalGuide; }
    const znDynArray<znRTClippingShape*>& getClippingShapes() const { return clippingShapes; }
    const znDynArray<znRTParticipatingMedia*>& getParticipatingMedia() const
    {
        return participatingMedia;
    }
    const znDynArray<znRTImageQuad*>& getImageQuads() const { return imageQuads; }
    /// @return null for a node without shape
    znRTClippingShape* getClippingShape(u32 nodeId) const;
    bool hasClippingShapes() const { return clippingShapes.size > 0; }

    // Nodes register themselves for these lists.

    void addGeometryLight(znRTGeometryNode* node);
    void deleteGeometryLight(znRTGeometryNode* node);
    void addRayGeometryLight(znRTGeometryNode* node);
    void deleteRayGeometryLight(znRTGeometryNode* node);
    void addLightPortal(znRTGeometryNode* node);
    void deleteLightPortal(znRTGeometryNode* node);
    void addParticipatingMedia(znRTGeometryNode* node);
    void deleteParticipatingMedia(znRTGeometryNode* node);

    // Bounds of the last build, world space; zero without objects.

    const znRTBoundingBox& getFullBoundingBox() const { return fullBox; }
    const znRTBoundingBox& getPhotonTargetsBoundingBox() const { return photonTargetsBox; }
    const znRTBoundingSphere& getFullBoundingSphere() const { return fullSphere; }
    /// Sphere around the photon targets; without any, around all but surroundings.
    const znRTBoundingSphere& getSceneBoundingSphere() const { return sceneSphere; }
    const znRTSceneFigures& getFigures() const { return figures; }

protected:
    znRTAccelerator();

    /// Walks must not touch what is about to go: derived classes drop their trees.
    virtual void dropTrees() = 0;

    /// Nodes in the order of their indices; owned by geometryNodes.
    znDynArray<znRTGeometryNode*> sceneNodes;
    std::map<u64, znRTGeometryNode*> geometryNodes; ///< by id of the scene graph node; owner
    tbb::concurrent_unordered_map<u32, znRTMaterial*> materials;
    bool objectsChanged = false;

    std::unique_ptr<znRTSceneLights> sceneLights; ///< owner of the lights in the list
    std::unique_ptr<znRTSceneLamps> lamps;        ///< those of the lights that rays see
    u64 headlightId = 0;                          ///< node of the headlight, 0 without
    znDynArray<znRTLight*> lights, rayLights, rayGeometryLights;
    using EnvironmentLights = std::vector<std::unique_ptr<znRTInfiniteAreaLight>>;
    EnvironmentLights environmentLights;
    znRTLight* environmentLight = nullptr;  ///< in force, of the list above
    EnvironmentLights ownEnvironmentLights; ///< that light single materials
    std::set<u32> toldEnvironments;         ///< containers of those that no object has to show
    znDynArray<float> lightPowers; ///< of lights, then of the environment light; per unit^2
    znDistribution1D lightDistribution, lightDistributionWithEnv, lightPortalDistribution;
    std::unique_ptr<znRTLightBVH> lightHierarchy;
    bool hierarchyIsCurrent = false; ///< it was built from the present list
    std::vector<std::unique_ptr<znRTLightPortalNode>> portals; ///< owner of lightPortals
    std::unique_ptr<znRTPortalGuide> portalGuide;
    znDynArray<znRTLensFlare*> lensFlares;
    znDynArray<znRTLightPortalNode*> lightPortals;
    std::map<u32, znRTClippingShape*> clippingShapesByNode;
    znDynArray<znRTClippingShape*> clippingShapes;
    znDynArray<znRTParticipatingMedia*> participatingMedia;
    znDynArray<znRTImageQuad*> imageQuads;
    std::vector<znRTGeometryNode*> emittingNodes, rayEmittingNodes, portalNodes, mediaNodes;

    znRTBoundingBox fullBox, photonTargetsBox;
    znRTBoundingSphere fullSphere, sceneSphere;
    znRTSceneFigures figures;

private:
    /// @return null for kinds that are not rendered and for cores without positions
    znRTGeometryNode* createGeometryNode(const osg::NodeCorePtr& core) const;
    /// Host material of geometry without one; null if the host knows no such kind.
    osg::MaterialPtr getDefaultMaterial();
    void releaseMaterials();
    void listLights();
    void listPortals();
    /// Materials that objects carry are environments of the scene without being told; what neither
    /// is carried any more nor was told goes.
    void findEnvironmentsOfMaterials();
    /// Lights for the environments that single materials have.
    void findOwnEnvironments();
    void eraseEnvironmentLight(EnvironmentLights& list, EnvironmentLights::iterator place);
    /// Blurred images of environments, where some material looks them up.
    void makeFilteredEnvironments();
    void clearEnvironmentLights();
    void setListed(std::vector<znRTGeometryNode*>& list, znRTGeometryNode* node, bool isListed);

    osg::Ref<osg::Material> defaultMaterial;
    /// Guards materials and the lists of nodes while objects are prepared in parallel. The scene's
    /// lock will not do: the thread that builds holds it while it waits for the others.
    std::recursive_mutex registryLock;
};
