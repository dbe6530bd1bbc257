#pragma once

// Images of files as containers of the scene.

#include "host/osg/Image.h"
#include "io/ImageData.h"

namespace io {

/// The same pixels, rows turned to run from the bottom to the top.
/// @param image  1 to 4 channels
/// @return null for an image without pixels
osg::Ref<osg::Image> sceneImageOf(ImageData image, const std::string& fileName);
/// The same for rows that run so already.
osg::Ref<osg::Image> sceneImageOfRows(ImageData image, const std::string& fileName);

} // namespace io
