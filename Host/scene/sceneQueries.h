#pragma once

// Questions about a whole scene: its cameras, its content, its size.

#include "host/osg/Camera.h"

#include <string>
#include <vector>

namespace scene {

struct NamedCamera
{
    std::string name; ///< of the camera, else of its node; may be empty
    osg::CameraPtr camera;
    osg::NodePtr node; ///< that holds it
};

/// The cameras below a root, in tree order.
std::vector<NamedCamera> findCameras(const osg::NodePtr& root);

/// What a scene holds. Shared cores count once as meshes and each time as instances.
struct Content
{
    u64 nodes = 0;
    u64 instances = 0; ///< nodes with geometry
    u64 meshes = 0;    ///< different geometry cores
    u64 triangles = 0; ///< of all instances
    u64 vertices = 0;  ///< of the meshes
    u64 lights = 0;
    u64 cameras = 0;
    std::vector<std::string> materials; ///< names of different materials, in order of first use
    osg::Box box;                       ///< world space
};

Content countContent(const osg::NodePtr& root);

} // namespace scene
