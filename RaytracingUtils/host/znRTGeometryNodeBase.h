#pragma once

// Base of the renderer's view of one scene graph node with geometry: transforms, visibility and
// overrides, as the scene graph has them. Updates run between frames, on the host's thread or, one
// node per task, in parallel.

#include "host/osg/FCPtr.h"
#include "host/osg/TransformationMatrix.h"
#include "host/znAligned.h"
#include "host/znMatrix4x4.h"
#include "host/znRTNode.h"
#include "host/znRTVector.h"

#include <string>
#include <utility>

namespace osg {
class RaytracingGeoAttachment;
}

class znRTGeometryNodeBase : public znRTNode, public znAlignedBase32
{
public:
    explicit znRTGeometryNodeBase(const znRTTypeId& typeId) : znRTNode(typeId) {}
    ~znRTGeometryNodeBase() override = default;

    /// Takes the node and its geometry core; both may be null. Transforms stay as they are.
    void setNode(const osg::NodePtr& node, const osg::NodeCorePtr& core);
    const osg::NodePtr& getNode() const { return m_node; }
    const osg::NodeCorePtr& getCore() const { return m_core; }
    u32 getNodeId() const { return m_nodeId; }
    /// Container id of the core: what all instances of a geometry share; 0 without core.
    u64 getCoreId() const { return m_coreId; }

    /// Node and core still exist. Handles do not own, so this comes before their use wherever the
    /// scene graph may have changed.
    bool isAlive() const;

    /// @return true when geometry, transform or visibility changed since the last call; always
    ///         true the first time
    virtual bool update();
    /// Takes the node's world transform and its inverse.
    /// @return true when they changed
    virtual bool updateTransformMatrices();
    /// Sets toWorld and, from it, toObject.
    virtual void setTransformMatrix(const osg::TransformationMatrix<float>& toWorld);

    /// Fields of the core that changed since the object was last brought up to date, for whoever
    /// does that next. Unless somebody said so before, all of them.
    void setChangedFields(u64 fields) { m_changedFields = fields; }
    u64 takeChangedFields() { return std::exchange(m_changedFields, ~u64(0)); }

    virtual u64 getCount() const { return 0; }
    virtual u64 getMemoryUsage() const { return 0; }         ///< bytes
    virtual u64 getGeometryMemoryUsage() const { return 0; } ///< bytes, shared by a core's nodes

    const znMatrix4x4& getToWorldMatrix() const { return m_toWorld; }
    const znMatrix4x4& getToObjectMatrix() const { return m_toObject; }
    /// The node's name, "" without one.
    std::string getName() const;

    /// Eyes that see the node: an AND mask over visibility words, in which ray classes have one
    /// bit per eye. 0 hidden (the node or an ancestor is hidden or inactive), -1 both eyes.
    int isVisible() const;

    /// Finds what the scene graph says instead of the material.
    /// @param attachment        out: geometry attachment of the node, else of the core, or null
    /// @param overrideMaterial  out: the attachment's material; with s_overrideMaterialColor a flat
    ///                          material of s_materialColorOverride; else null
    static void getOverrides(const osg::NodePtr& node, const osg::NodeCorePtr& core,
                             osg::RaytracingGeoAttachment*& attachment,
                             osg::MaterialPtr& overrideMaterial);

    /// Turns the switches of an attachment into visibility bits.
    /// @param visible             eye mask of isVisible(); 0 clears every flag
    /// @param value               out: radius of rounded edges, scene units
    /// @param primaryHiddenFlags  out: bits cleared because primary visibility is off
    /// @param visibilityFlags     out: ray classes that may see the node
    /// @param sideness            1 front, 2 back, 3 both: with that side switched off for all
    ///                            (s_showASides, s_showBSides) a one-sided object is not seen
    static void evaluateVisibilityFlags(const osg::NodePtr& node,
                                        const osg::RaytracingGeoAttachment* attachment, int visible,
                                        float& value, int& primaryHiddenFlags, u32& visibilityFlags,
                                        int sideness);

    /// The core in force: the node's own unless a variant replaced it.
    osg::NodeCorePtr getActiveGeometryCore() const;

    /// Whether an ancestor is a shell; the node is then a piece of that object.
    bool hasShellParent() const { return getShellFieldcontainerId() != 0; }
    /// Container id of the nearest shell node above, 0 without one.
    u32 getShellFieldcontainerId() const;
    /// Id of the object that the node belongs to: its shell if any, else the ancestor level steps
    /// up; level 0 and levels above the root give the node itself and the root.
    u32 resolveToObjectNodeId(int level) const;

    static inline bool s_showASides = true;
    static inline bool s_showBSides = true;
    static inline bool s_backplatePresent = false; ///< a backplate covers the view
    static inline bool s_wireframeRenderMode = false;
    static inline bool s_overrideMaterialColor = false;
    static inline znRTVector3f s_materialColorOverride{0.5f, 0.5f, 0.5f};
    static inline bool s_enableColorBleeding = false;

    static void enableMaterialColorOverride(bool on) { s_overrideMaterialColor = on; }
    static void setMaterialColorOverride(const znRTVector3f& color);
    static void enableColorBleeding(bool on) { s_enableColorBleeding = on; }

    /// Bits that each switch of the attachment takes away when it is off.
    enum VisibilityBits : u32 {
        primaryBits = 0x0030000Fu,
        reflectionBits = 0x033C03F3u,
        refractionBits = 0x00303C03u,
        shadowBits = 0x0FF0C003u,
        shadowMaterialBits = 0x0C000000u,
        glossyReflectionBits = 0x00000CF0u,
        photonBits = 0xF0000000u
    };

protected:
    osg::NodePtr m_node;
    osg::NodeCorePtr m_core;
    u32 m_nodeId = 0;
    u64 m_coreId = 0;
    znMatrix4x4 m_toObject = znMatrix4x4::identity();
    znMatrix4x4 m_toWorld = znMatrix4x4::identity();
    float m_roundedEdgeRadius = 0.0f; ///< the value of evaluateVisibilityFlags, scene units

private:
    /// What update() compares.
    struct State
    {
        u64 coreId = 0, geometryStamp = 0;
        int visible = 0;
        bool operator==(const State&) const = default;
    };
    State m_lastState;
    u64 m_changedFields = ~u64(0);
    bool m_wasUpdated = false;
};
