#pragma once

// Cuts away one side of a plane from all geometry below its node.

#include "host/osg/nodeCores.h"

namespace osg {

class ClipPlane : public Group
{
    ZN_CONTAINER(ClipPlane, Group)
    ZN_FLAG(on, On, true)
    ZN_LINK(Node, beacon, Beacon) ///< its world matrix is the plane's transform
    /// The plane's transform without a beacon, unless it is the identity.
    ZN_FIELD(Matrix, transform, Transform, osg::Matrix(), "",
             -std::numeric_limits<double>::infinity(), std::numeric_limits<double>::infinity())
    /// a x + b y + c z + d = 0; the positive side stays.
    ZN_FIELD(Vec4f, equation, Equation, Vec4f(0, 0, 1, 0), "",
             -std::numeric_limits<double>::infinity(), std::numeric_limits<double>::infinity())
};

} // namespace osg
