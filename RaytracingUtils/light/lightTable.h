#pragma once

// Which light object stands for which kind of node core.

#include "host/osg/FCPtr.h"

class znRTLight;

/// @return a new light, owned by the caller; null for a node whose core is no light, or a kind that
///         has no object
znRTLight* createLight(const osg::NodePtr& node);
