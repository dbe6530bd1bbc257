#pragma once

// From the numbers and images of a glTF material to the fields of a material of the renderer. Lobes
// other than those of the metallic workflow take the width of their facets' slopes: that of a power
// lobe with exponent e is alpha = sqrt(2 / e), alpha being the square of the file's roughness.

#include "host/osg/Material.h"
#include "io/gltfSurface.h"
#include "io/gltfTextures.h"

namespace io {

/// Sets what a material's kind takes from a surface. Fields are set by name, so a kind that lacks
/// one does without. Inside an edit of the material.
void writeSurface(osg::Material& material, const GltfSurface& surface, GltfTextures& textures,
                  bool hasVertexColors);

/// Roughness of a coat from which it has a highlight of its own width instead of a mirror's.
constexpr double roughCoatFrom = 0.1;
bool hasRoughCoat(const GltfSurface& surface, GltfTextures& textures);

/// Share of the light that goes straight through, averaged over the surface.
double meanTransmission(const GltfSurface& surface, GltfTextures& textures);
double meanMetallic(const GltfSurface& surface, GltfTextures& textures);

} // namespace io
