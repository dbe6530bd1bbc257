#pragma once

#include "host/osg/nodeCores.h"
