#pragma once

// What a scene reader returns, whatever the format: a tree and what was found in it.

#include "host/osg/Material.h"
#include "host/osg/UberLight.h"
#include "scene/sceneQueries.h"

#include <map>
#include <set>
#include <string>
#include <unordered_map>
#include <vector>

namespace io {

/// What looks did to a scene, beside the changes themselves.
struct LookRecord
{
    /// By name, also those that nothing uses: later looks may assign them.
    std::map<std::string, osg::Ref<osg::Material>> materials;
    std::unordered_map<u32, std::string> assignments; ///< rule by id of a node
    std::set<std::string> settings;                   ///< names of those that were set
};

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
    LookRecord looks;
    u64 warnings = 0;  ///< that went to the log while reading
    u64 triangles = 0; ///< of the meshes, shared ones counted once
};

} // namespace io
