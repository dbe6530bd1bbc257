#pragma once

// Base of all lights: what the scene graph says about a light, refreshed by update() between
// frames.

#include "host/osg/FCPtr.h"
#include "host/osg/TransformationMatrix.h"
#include "host/znAligned.h"
#include "host/znRTNode.h"

#include <vector>

class znRTLensFlare;
namespace osg {
class RaytracingLightAttachment;
}

class znRTLightBase : public znRTNode
{
public:
    znRTLightBase(const znRTTypeId& typeId, const osg::NodePtr& node, const osg::NodeCorePtr& core);
    ~znRTLightBase() override = default;

    /// Reads on, visibility, transforms, local lighting and lens flare anew, and tells the flare
    /// where the light stands.
    /// @return true when one of them changed
    virtual bool update();
    /// Whether photons may carry the direct light of this light. Base: the attachment's flag.
    virtual bool getDirectWithPhotons() const;
    /// Base: the attachment's flag.
    virtual bool emitsCausticPhotons() const;

    /// For lights that are bound to the camera.
    void setWorldToLightMatrix(const osg::TransformationMatrix<float>& worldToLight);

    const osg::NodePtr& getNode() const { return m_node; }
    const osg::NodeCorePtr& getCore() const { return m_core; }
    u32 getId() const { return m_id; } ///< of the node, else of the core
    bool isOn() const { return m_isOn; }
    /// Ray classes that see the light, bits as in visibility words.
    u32 getRayVisibility() const { return m_rayVisibility; }
    /// One light-to-world matrix per beacon in force; an empty list leaves the light unused.
    const std::vector<osg::TransformationMatrix<float>>& getTransforms() const
    {
        return m_transforms;
    }
    const osg::TransformationMatrix<float>& getWorldToLightMatrix() const { return m_worldToLight; }
    /// The light reaches only geometry below its own parent.
    bool getLocalLighting() const { return m_localLighting; }
    znRTLensFlare* getLensFlare() const { return m_lensFlare; } ///< null without one; not owned
    /// Attachment of the node, else of the core, or null: defaults hold then.
    osg::RaytracingLightAttachment* getLightAttachment() const { return m_attachment.get().get(); }

protected:
    osg::NodePtr m_node;
    osg::NodeCorePtr m_core;
    u32 m_id = 0;
    bool m_isOn = true;
    bool m_localLighting = false;
    u32 m_rayVisibility = 0xFFFFFFFFu;
    std::vector<osg::TransformationMatrix<float>> m_transforms;
    osg::TransformationMatrix<float> m_worldToLight;
    znRTLensFlare* m_lensFlare = nullptr;
    osg::Ref<osg::RaytracingLightAttachment> m_attachment;
};
