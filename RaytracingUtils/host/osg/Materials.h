#pragma once

// All materials.

#include "host/osg/materials/clothMaterials.h"
#include "host/osg/materials/compositeMaterials.h"
#include "host/osg/materials/environmentMaterials.h"
#include "host/osg/materials/glassMaterials.h"
#include "host/osg/materials/lobeMaterials.h"
#include "host/osg/materials/measuredMaterials.h"
#include "host/osg/materials/metalMaterials.h"
#include "host/osg/materials/paintMaterials.h"
#include "host/osg/materials/tireMaterial.h"
#include "host/osg/materials/utilityMaterials.h"
