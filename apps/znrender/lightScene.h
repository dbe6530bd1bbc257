#pragma once

// The light of a command: what the options put round the scene, or a studio for scenes that bring
// no light of their own, how much of it is followed, and the exposure that fits.

#include "Options.h"
#include "chooseView.h"

#include "host/osg/materials/environmentMaterials.h"

class SceneLight
{
public:
    /// Puts environment and floor into the scene.
    /// @param view  its far end is moved behind the environment
    /// @throws io::InputError of the environment's file
    SceneLight(const Options& options, io::SceneFile& scene, View& view);

    /// Whether the picture shows light rather than a display aid.
    bool isLit() const { return lit; }

    /// Shows the environment, which is hidden at first, where the options want it seen.
    void show() const;
    /// Turns a view that nobody chose to a side of the scene that light of its own comes from: into
    /// the open side of a room rather than onto its outer walls.
    void turnToLight(const Options& options, FrameDriver& driver, View& view) const;
    /// Sets the exposure of a camera that nobody exposed, by a small picture of the scene, makes
    /// the clamp of samples one of exposed values, and shows the environment.
    void expose(const Options& options, FrameDriver& driver, View& view) const;

private:
    void addEnvironment(const osg::Ref<osg::UEnvironmentMaterial>& material, const Options& options,
                        io::SceneFile& scene, View& view);
    void surround(const osg::Ref<osg::UEnvironmentMaterial>& material, io::SceneFile& scene,
                  View& view);
    void addFloor(io::SceneFile& scene);

    osg::Ref<osg::UEnvironmentMaterial> environment; ///< that the options added
    osg::Box box;                                    ///< of the scene as it was
    float reach = 1.0f;                              ///< half of the edge of floor and environment
    bool lit = false;
    bool isLitFromInside = false; ///< by sources of its own, and nothing around it
    bool isKnownLight = false;    ///< the studio: made for an exposure of 0
    bool showsEnvironment = false;
};

/// What the options say of the paths that light takes; the rest stays as the scene has it.
/// A scene of few lights looks at all of them where points are seen.
/// Materials that are already there leave out the light of surroundings where the options say so.
void applyPathOptions(const Options& options, const osg::NodePtr& root,
                      znRaytracingUtilsBase& core);
