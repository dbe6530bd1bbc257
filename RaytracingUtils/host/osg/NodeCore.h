#pragma once

#include "host/osg/Node.h"
