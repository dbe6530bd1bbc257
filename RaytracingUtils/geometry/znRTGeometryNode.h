#pragma once

// The renderer's view of one scene graph node with geometry: transform, material, visibility and
// the intersector that a tree over objects holds for it.
//
// Life: initialize reads the core, then transform and material are set, getIntersector builds. All
// of this happens between frames, in the host's thread or one node per task; while a frame runs,
// nodes are read only.

#include "accel/sharedGeometry.h"
#include "accel/znRTIntersector.h"
#include "core/znDynArray.h"
#include "core/znRTBoundingBox.h"
#include "core/znRTDataBlockPacket.h"
#include "host/znRTDisplacementSettings.h"
#include "host/znRTGeometryNodeBase.h"

#include <memory>

class znRTAccelerator;
class znRTClippingShape;
class znRTLight;
class znRTMaterial;
class znRTRayDifferentialPacket;

class znRTGeometryNode : public znRTGeometryNodeBase
{
public:
    // The order of the virtual operations is part of the interface.
    ~znRTGeometryNode() override;
    /// Reads the core. The node is valid afterwards if it has what its kind needs.
    virtual void initGeometry() = 0;
    /// Drops everything read from the core and reads it again.
    virtual void reinit();
    bool update() override;
    /// Takes over changed fields of the core.
    /// @param mask  field mask of the change
    /// @return true when the tree has to be built again
    virtual bool updateGeometry(const unsigned long long& mask);
    /// Sets the number that hits carry, through node, intersector and leaf.
    virtual void updateGeometryIndex(int index);
    virtual void initIntersector(int index) { getIntersector(index); }
    /// Derives ray visibility, sides, transparency and clipping from material and attachments.
    virtual void updateVisibilityFlags();
    /// Takes over whether the node is shown.
    /// @return false when hidden
    virtual bool updateVisibility();
    /// Builds list and tree again if they are out of date, once for all nodes that share them.
    virtual void rebuild();
    bool updateTransformMatrices() override;
    virtual void setSelected(bool isSelected, bool isPreselected);
    virtual void setLocked(bool isLocked) { locked = isLocked; }
    /// @return true when the core's data is not what the node read
    virtual bool verifyData() { return false; }
    u64 getCount() const override;
    u64 getMemoryUsage() const override;
    u64 getGeometryMemoryUsage() const override { return 0; }
    virtual u64 getIntersectorMemoryUsage() const;
    void setTransformMatrix(const osg::TransformationMatrix<float>& toWorld) override;
    virtual void updateWorldVolume();
    /// Collects the clipping shapes of all ancestors.
    virtual void updateConnectedList(const znRTAccelerator& accelerator);
    virtual void initialize(const osg::NodePtr& node, const osg::NodeCorePtr& core);
    /// Chooses the leaf test.
    /// @param sideness  1 front, 2 back, 3 both
    virtual void updateIntersector(int sideness, bool transparent) = 0;
    /// The intersector with its tree, made when there is none.
    virtual znRTIntersector* getIntersector(int index) = 0;
    virtual void setMaterial(znRTMaterial* newMaterial);
    /// World position and normals of one lane, for baking.
    virtual void getAmbientOcclusionData(znRTDataBlockPacket& data, int lane) const = 0;
    /// Fills the block for four hits on this node.
    /// @param requirements  computed quantities (shadingRequirements.h)
    /// @param attributes    vertex attributes likewise
    virtual void getShadingDataFull(const znRTRayDifferentialPacket& ray, znRTDataBlockPacket& data,
                                    u32 requirements, u32 attributes) const = 0;
    /// Fills one lane.
    virtual void getShadingData(const znRTRayDifferentialPacket& ray, znRTDataBlockPacket& data,
                                int lane, u32 requirements, u32 attributes) const = 0;
    /// Derivatives of position and texture coordinates by the surface parameters.
    virtual void computeDifferentials(znRTDataBlockPacket& data, int lane) const = 0;
    virtual void computeDifferentials(znRTDataBlockPacket& data) const = 0;
    /// Derivatives of the shading normal.
    virtual void computeNormalDifferentials(znRTDataBlockPacket& data, int lane) const = 0;
    virtual void computeNormalDifferentials(znRTDataBlockPacket& data) const = 0;
    virtual znRTVector2fPacket getUVs(unsigned int set, znRTHitInfoPacket& hit) const = 0;
    /// Opacity left after the material's mask is applied; here as it came.
    virtual znFloatType<2> evaluateCutout(const znRTRayPacket& ray, const znRTHitInfoPacket& hit,
                                          const znFloatType<2>& opacity,
                                          const znFloatType<2>& mask) const;
    virtual void checkGeometryLight();
    virtual void checkLightPortal();
    virtual void checkParticipatingMedia();
    /// Fills some lanes, with one look at what they share where the node knows how.
    /// @param laneBits  lanes with a hit on this node
    virtual void getShadingDataLanes(const znRTRayDifferentialPacket& ray,
                                     znRTDataBlockPacket& data, int laneBits, u32 requirements,
                                     u32 attributes) const;

    /// Visibility of a node in the mode in which a projector's attachment decides.
    /// @param a  virtual object, @param b  receiver of the projection, @param c  shadow only
    void setPBARVisibility(bool a, bool b, bool c);
    /// @param allocate  makes settings where there are none, and deletes them without displacement
    /// @return whether the material displaces this geometry
    bool getDisplacement(znRTDisplacementSettings*& settings, bool allocate) const;
    void initDisplacement() { getDisplacement(displacementSettings, true); }
    /// Replaces the intersector by a new one with the same sides, transparency and index.
    void recreateIntersector();

    /// Marks list and tree as out of date, for all nodes that share them.
    void invalidateTree();
    /// The scene whose lists the node registers in.
    void setScene(znRTAccelerator* newScene) { scene = newScene; }
    void setValid(bool isValidNow) { valid = isValidNow; }

    bool isShown() const { return visible != 0; }
    bool isValid() const { return valid; }
    /// Shown, valid, and with primitives to hit.
    bool isTraceable() const;
    bool hasWireframeSelection() const { return selected; }
    bool hasWireframePreselection() const { return preselected; }
    bool hasAnyWireframeSelection() const { return selected || preselected; }
    bool isPhotonTarget() const;
    bool isClipped() const { return clipped; }
    void setNoClipping(bool on) { noClipping = on; }
    const znDynArray<const znRTClippingShape*>& getClippingShapes() const { return clippingShapes; }
    const znDynArray<const znRTLight*>& getLocalLights() const { return localLights; }
    znDynArray<const znRTLight*>& getLocalLights() { return localLights; }
    /// Bits of ray types that see the node; those for a view with a backplate while one is there.
    u32 getActiveVisibilityFlags() const
    {
        return s_backplatePresent ? backplateVisibilityFlags : visibilityFlags;
    }
    u32 getVisibilityFlags() const { return visibilityFlags; }
    u32 getBackplateVisibilityFlags() const { return backplateVisibilityFlags; }
    int getPrimaryHiddenFlags() const { return primaryHiddenFlags; }
    int getGeometryIndex() const { return geometryIndex; }
    float getRoundedEdgeRadius() const { return m_roundedEdgeRadius; }

    znRTMaterial* getMaterial() const { return material; }
    /// What hits see: the material unless an override replaces it.
    znRTMaterial* getActiveMaterial() const { return activeMaterial; }
    znRTMaterial* getSelectionMaterial() const { return selectionMaterial; }

    /// Key under which trees and lists are shared, 0 before the core was read.
    u64 getSharingKey() const { return sharedVolume ? sharedVolume->key : 0; }
    znRTSharedGeometry* getSharedVolume() const { return sharedVolume; }
    const znRTBoundingBox& getWorldVolume() const { return worldVolume; }
    /// The intersector as it is; null before the first build.
    znRTIntersector* getCurrentIntersector() const { return intersector; }
    /// False when points can go from world to object space unchanged.
    bool hasTransform() const { return transformed; }
    /// Per-object colour of ambient occlusion.
    const znRTVector3f& getAmbientOcclusionColor() const { return ambientOcclusionColor; }

    /// While set, every node is hidden.
    static inline bool s_hideAll = false;

protected:
    explicit znRTGeometryNode(const znRTTypeId& typeId);

    /// Takes a new intersector over; the one before is deleted.
    void setIntersector(znRTIntersector* newIntersector);
    /// Gives up list and tree of one core and takes those of another.
    void setSharingKey(u64 key);
    virtual znRTIntersector* createIntersector() = 0;
    /// Body of getIntersector of all kinds.
    znRTIntersector* getOrCreateIntersector(int index);
    void updateBackplateFlags();
    /// Leaves all lists of the scene.
    void unregister();

    int visible = 0; ///< eye mask: 0 hidden, -1 both eyes
    u32 visibilityFlags = 0, backplateVisibilityFlags = 0;
    int primaryHiddenFlags = 0;
    bool changedFlag = false; ///< of the transform; a shell copies it to its children
    bool valid = false;       ///< the geometry was read and has primitives
    bool selected = false, preselected = false;
    bool isGeometryLight = false, isRayGeometryLight = false, isLightPortal = false;
    bool isParticipatingMedia = false; ///< registered in the list of that name, as the three above
    bool clipped = false, noClipping = false;
    znRTSharedGeometry* sharedVolume = nullptr; ///< counted
    znRTBoundingBox worldVolume;
    znRTIntersector* intersector = nullptr;                   ///< owned
    znRTDisplacementSettings* displacementSettings = nullptr; ///< owned, or null
    znDynArray<const znRTLight*> localLights;
    znDynArray<const znRTClippingShape*> clippingShapes;
    znRTMaterial* selectionMaterial = nullptr;
    znRTMaterial* material = nullptr;
    znRTMaterial* activeMaterial = nullptr;

    znRTAccelerator* scene = nullptr;
    int geometryIndex = -1;
    bool locked = false;
    bool transformed = false;
    bool photonTarget = false;
    znRTVector3f ambientOcclusionColor{1.0f, 1.0f, 1.0f};
};
