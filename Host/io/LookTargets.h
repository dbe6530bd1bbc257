#pragma once

// Single values set by address, "PATH.FIELD", in looks and on command lines:
//
//   /car/door.visible              a node; * and ** match several (see scene/PathPattern.h)
//   /car/door.matrix               its core, or the light or camera that it holds
//   /car/door.castShadows          how rays treat it
//   /car/door.material             a material for it and what is below, by name
//   /car/door.material.roughness   a field of what it has; the material may be shared
//   materials.NAME.FIELD, lights.NAME.FIELD, cameras.NAME.FIELD
//   environment.FIELD, settings.FIELD

#include "io/LookFields.h"

#include <string_view>

namespace io {

class LookTargets
{
public:
    explicit LookTargets(LookFields& fields_) : fields(fields_) {}

    void set(const std::string& address, const LookValue& value);
    void setSetting(const std::string& name, const LookValue& value);

private:
    using Containers = std::vector<osg::FieldContainerPtr>;

    void setNodes(const std::string& address, const LookValue& value);
    void setNode(const osg::NodePtr& node, const std::string& chain, const LookValue& value);
    void assign(const std::string& path, const LookValue& value);
    void setNamed(const std::string& rest, const char* kind,
                  const std::map<std::string, Containers>& byName, const LookValue& value);
    std::map<std::string, Containers> named(const std::string& kind);
    void setChain(const Containers& candidates, const std::string& chain, const LookValue& value,
                  const std::vector<std::string>& others = {});
    osg::FieldContainerPtr step(const osg::FieldContainerPtr& from, const std::string& name,
                                const LookValue& where);

    LookFields& fields;
};

} // namespace io
