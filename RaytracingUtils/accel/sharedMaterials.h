#pragma once

// One object per host material in the process, shared by scenes and by materials made of others.
// Counted: the last user's release deletes it. Safe on any thread.

#include "host/osg/FCPtr.h"
#include "host/znAligned.h"

class znRTMaterial;

namespace osg {
class Material;
}

namespace sharedMaterials {

/// The object of a container, made if it is not there; null gives the fallback material. One
/// release belongs to each call.
znRTMaterial* acquire(const osg::MaterialPtr& material);
/// @param id  container id, 0 for the fallback material, which stays
void release(u32 id);
unsigned getUseCount(u32 id);

} // namespace sharedMaterials
