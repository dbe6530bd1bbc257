#pragma once

#include "host/osg/Geometry.h"
