#pragma once

#include "host/osg/UberLight.h"
