#pragma once

// A view onto a scene that brings no camera of its own.

#include "host/osg/Node.h"

#include <optional>

/// What is known of a view; the rest is chosen.
struct ViewRequest
{
    std::optional<osg::Vec3f> eye; ///< world space, z up
    std::optional<osg::Vec3f> at;
    std::optional<osg::Vec3f> up;
    std::optional<osg::Vec3f> from; ///< direction from the scene to an eye that is chosen
    float fov = 35.0f;              ///< vertical, degrees
    float aspect = 1.0f;            ///< width over height
};

struct FramedView
{
    osg::Vec3f eye, at, up;
    float nearClip = 0.0f, farClip = 0.0f; ///< distances that enclose the scene
};

/// Completes a view. Without an eye the camera stands in front of the scene (negative y), a little
/// to the right and above, or where it is told to, just far enough for the whole box to be seen;
/// without a target it looks at the middle of the box; without an upward direction z is up, or y
/// when looking along z.
FramedView frameScene(const osg::Box& box, const ViewRequest& request);

/// Camera to world of a view: x right, y up, -z towards the target.
osg::Matrix lookAtMatrix(const FramedView& view);
