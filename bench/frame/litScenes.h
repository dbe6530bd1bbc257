#pragma once

// Three fixed scenes for whole lit frames; another renderer builds the same ones from the same
// numbers, so that both pictures can be laid side by side.
//
//   sun      a matt mesh on a matt ground under a sun and a sky of one value
//   cornell  the box with a red and a green wall, two blocks and a lamp below the ceiling
//   glossy   a rough metal mesh and a glass ball on a matt ground under an environment image
//
// Numbers are given y up and go into the scene as (x, -z, y).

#include "../rays/mesh.h"

#include "host/osg/Node.h"
#include "host/osg/UberCamera.h"
#include "io/ImageData.h"

struct LitScene
{
    osg::Ref<osg::Node> root, beacon;
    osg::Ref<osg::UberCamera> camera;
    int bounces; ///< of paths after the first hit
};

/// @param mesh  is scaled to a longest edge of 1 and put on the ground
LitScene makeSunScene(const Mesh& mesh);
LitScene makeCornellScene();
/// @param environment  latitude-longitude, its middle column at +x, to the right of it -y (z up)
LitScene makeGlossyScene(const Mesh& mesh, io::ImageData environment);
