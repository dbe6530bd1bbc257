#pragma once

#include "host/osg/CameraDecorator.h"
