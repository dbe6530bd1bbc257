#pragma once

// Lights, cameras and the environment of a look, and files that it adds to the scene.
//
// Places are given in the scene's world, z up:
//   "position": [x, y, z], "at": [x, y, z], "up": [x, y, z]    looks at a point along its -z
//   "position", "rotation": [x, y, z] degrees, "scale"         turned about x, then y, then z
//   "matrix": 16 numbers, column by column

#include "io/LookFields.h"
#include "io/sceneReader.h"

#include <optional>

namespace io {

class LookObjects
{
public:
    LookObjects(LookFields& fields_, const SceneReadOptions& options_)
        : fields(fields_), options(options_)
    {
    }

    void addAssets(const LookValue& list);
    /// An entry without a type, or of a camera, changes those that have its name.
    void setLights(const LookValue& list);
    void setCameras(const LookValue& list);
    void setEnvironment(const LookValue& object);

private:
    struct Place
    {
        const LookValue* position = nullptr;
        const LookValue* at = nullptr;
        const LookValue* up = nullptr;
        const LookValue* rotation = nullptr;
        const LookValue* scale = nullptr;
        const LookValue* matrix = nullptr;
    };

    std::optional<osg::Matrix> placeOf(const LookValue& object);
    osg::Matrix lookAt(const Place& place);
    osg::Vec3d vector(const LookValue& value);
    const std::vector<LookValue>& entries(const LookValue& list);
    std::string nameOf(const LookValue& object);

    void addAsset(const LookValue& object);
    void warnOfMissingExtent(const osg::FieldContainerPtr& light, const LookValue& object);
    void setLight(const LookValue& object);
    /// @return whether the camera is new
    bool setCamera(const LookValue& object, u32 index);
    void setProfile(const osg::FieldContainerPtr& light, const LookValue& name);
    osg::NodePtr addPlaced(const osg::Matrix& toWorld, const std::string& name, u32 index);

    LookFields& fields;
    const SceneReadOptions& options;
};

} // namespace io
