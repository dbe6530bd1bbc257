#pragma once

// Assignment of materials by rules. A rule names nodes by patterns of their paths, materials by
// patterns of their names, or both. A node that fits takes in all geometry below it; among the
// rules that reach a geometry the last one wins.

#include "io/LookFields.h"
#include "scene/PathPattern.h"

namespace io {

class LookRules
{
public:
    explicit LookRules(LookFields& fields_) : fields(fields_) {}

    /// Applies the "assign" list of a look.
    void apply(const LookValue& list);

private:
    struct Rule
    {
        const LookValue* where;
        std::vector<scene::PathPattern> nodes, named;
        osg::MaterialPtr material;
        bool hasMatched = false;
    };
    struct Use
    {
        osg::NodePtr node;
        int rule; ///< -1: keeps its material
    };

    void read(const LookValue& entry);
    std::vector<scene::PathPattern> patterns(const LookValue& value);
    std::vector<Use> match();
    void assign(const std::vector<Use>& uses);
    void share(const std::vector<Use>& usesOfCore);

    LookFields& fields;
    std::vector<Rule> rules;
};

} // namespace io
