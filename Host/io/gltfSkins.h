#pragma once

// Skins of a glTF file: joints, bind matrices and the weights of a primitive's vertices.

#include "host/osg/SkinAttachment.h"
#include "io/gltfMeshes.h"

namespace io {

/// A copy of a part's geometry that is posed by a skin as the joints stand now. The copy shares the
/// part's arrays.
/// @param nodes  of the whole file by number; null where a node is not in the scene
/// @param shown  node that the geometry is put under
/// @throws GltfFault
osg::Ref<osg::Geometry> skinned(GltfDocument& document, const GltfMeshes::Part& part, u64 skin,
                                const std::vector<osg::NodePtr>& nodes, const osg::NodePtr& shown);

} // namespace io
