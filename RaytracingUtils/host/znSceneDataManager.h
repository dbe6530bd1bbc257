#pragma once

// The scenes of the process and what belongs to each as a whole.

#include "host/osg/Node.h"
#include "host/osg/RenderOptions.h"

/// One scene. Ids of selected and preselected nodes are kept by number, so that they may vanish.
class znSceneData : public osg::AttachmentContainer
{
    ZN_CONTAINER(znSceneData, osg::AttachmentContainer)
    ZN_FIELD(float, unitsPerMetre, UnitsPerMetre, 1.0f, "1/m", 1e-6f, 1e9f) ///< 1000 for mm
    ZN_SLOT(osg::FCPtr<osg::RenderOptions>, renderOptions, RenderOptions)
    ZN_SLOT(osg::NodePtr, root, Root)
    ZN_SLOT(std::vector<u32>, selectedNodes, SelectedNodes)
    ZN_SLOT(std::vector<u32>, preselectedNodes, PreselectedNodes)

    /// Comes with render options of its own.
    znSceneData() { setRenderOptions(osg::RenderOptions::create()); }
};

class znSceneDataManager
{
public:
    static znSceneDataManager* the();

    /// Scene 0 is there from the start; others are created when they are asked for.
    static znSceneData* getSceneData(u32 index = 0);
    /// Scene units per metre of scene 0.
    static float getUnitsPerMetre() { return getSceneData(0)->getUnitsPerMetre(); }
};
