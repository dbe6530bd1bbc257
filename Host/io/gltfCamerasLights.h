#pragma once

// Cameras and punctual lights of a glTF file (KHR_lights_punctual).

#include "host/osg/UberCamera.h"
#include "host/osg/UberLight.h"
#include "io/gltfDocument.h"

namespace io {

/// @throws GltfFault
osg::Ref<osg::UberCamera> readGltfCamera(const GltfDocument& document, u64 camera);

/// Intensities are kept as they are: candela for points and spots, lux for directional lights.
/// @throws GltfFault
osg::Ref<osg::UberLight> readGltfLight(const GltfDocument& document, u64 light);

} // namespace io
