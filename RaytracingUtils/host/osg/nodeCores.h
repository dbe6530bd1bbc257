#pragma once

// Cores that shape the tree: groups, transforms, switches and material assignment.

#include "host/osg/Node.h"

namespace osg {

class Group : public NodeCore
{
    ZN_CONTAINER(Group, NodeCore)
};

class Transform : public Group
{
    ZN_CONTAINER(Transform, Group)
    ZN_FIELD(Matrix, matrix, Matrix, Matrix(), "", -std::numeric_limits<double>::infinity(),
             std::numeric_limits<double>::infinity())

    const osg::Matrix* getLocalMatrix() const override { return &getMatrix(); }

protected:
    void changed(u64 mask) override;
};

/// Shows one child.
class Switch : public Group
{
    ZN_CONTAINER(Switch, Group)
    /// Index of the child; -1 shows none, -2 all.
    ZN_FIELD(int, choice, Choice, 0, "", -2, 2147483647.0)
    static constexpr int none = -1, all = -2;
};

/// A material for all geometry below that has none of its own.
class MaterialGroup : public Group
{
    ZN_CONTAINER(MaterialGroup, Group)
    ZN_SLOT(MaterialPtr, material, Material)
};

/// Base of all cores that are drawn with a material.
class MaterialDrawable : public NodeCore
{
    ZN_ABSTRACT_CONTAINER(MaterialDrawable, NodeCore)
    ZN_SLOT(MaterialPtr, material, Material)

    /// Bit 1 set: a shell.
    virtual u32 getGeometryType() const { return 0; }
    /// Box in object space; empty without positions.
    virtual Box getBox() const { return {}; }
};

} // namespace osg
