#pragma once

// The flat material that replaces all others while the colour override is on.

#include "host/osg/FCPtr.h"
#include "host/znRTVector.h"

/// One material for the whole process; it takes on the given colour, linear RGB.
osg::MaterialPtr getOverrideMaterial(const znRTVector3f& color);
