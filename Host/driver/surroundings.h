#pragma once

// What stands round a scene that does not bring it: an environment that is seen and gives light,
// and a floor that takes the shadows.

#include "host/osg/Node.h"
#include "host/osg/materials/environmentMaterials.h"
#include "io/ImageData.h"

namespace surroundings {

/// An environment from an image of any kind: 2:1 is latitude-longitude, 4:3 and 3:4 are crosses.
/// Values that are no light (NaN, infinite, below 0) are brought into range.
/// @return null for an image without pixels
osg::Ref<osg::USphereEnvironmentMaterial> makeImageEnvironment(io::ImageData image,
                                                               const std::string& name);

/// Clear sky with a sun.
/// @param azimuth    degrees from north (y) towards east (x)
/// @param elevation  degrees above the horizon
osg::Ref<osg::USkylightMaterial> makeSky(float azimuth, float elevation);

/// Turns what is seen straight ahead to the right.
void rotate(osg::UEnvironmentMaterial& environment, float degrees);

/// A closed surface around a sphere, seen from inside. Environments are infinitely far away: where
/// the surface stands changes nothing but distances.
osg::Ref<osg::Node> makeDome(const osg::MaterialPtr& environment, const osg::Pnt3f& centre,
                             float radius);

/// A floor below a box that shows what is behind it and the shadows on it.
/// @param radius  half of its edge
osg::Ref<osg::Node> makeFloor(const osg::Box& box, float radius);

/// Puts a node that is given in world space below a root, whatever the root's own transform.
void addInWorld(const osg::NodePtr& root, const osg::NodePtr& node);

/// Whether anything in the scene is meant to light it: lights, environments, and surfaces that
/// shine like lamps (10 cd/m2 and more).
bool hasLight(const osg::NodePtr& root);
/// Lights that are on, and surfaces that shine, however little; environments do not count.
u32 countLights(const osg::NodePtr& root);

} // namespace surroundings
