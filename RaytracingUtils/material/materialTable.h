#pragma once

// Which shading class a host material gets.

#include "host/osg/FCPtr.h"

class znRTMaterial;

/// A new shading object for a host material, owned by the caller. Kinds without a class of their
/// own get the dummy.
/// @param material  not null
znRTMaterial* createMaterialObject(const osg::MaterialPtr& material);
