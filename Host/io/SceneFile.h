#pragma once

// What a scene reader returns, whatever the format: a tree and what was found in it.

#include "host/osg/UberLight.h"
#include "scene/sceneQueries.h"

#include <string>
#include <vector>

namespace io {

struct SceneFile
{
    struct LightEntry
    {
        std::string name;
        osg::FCPtr<osg::UberLight> light;
        osg::NodePtr node;
    };

    osg::Ref<osg::Node> root; ///< z up, metres; owns everything below
    std::vector<scene::NamedCamera> cameras;
    std::vector<LightEntry> lights;
    std::vector<std::string> variants; ///< the choices of all switch materials, by number
    std::string look;                  ///< JSON of a look block in the file, "" without
    u64 warnings = 0;                  ///< that went to the log while reading
    u64 triangles = 0;                 ///< of the meshes, shared ones counted once
};

} // namespace io
