#pragma once

// Checks of containers whose fields must fit together before anything reads through them: pixels
// against the described size of an image, indices against the attributes they address.

#include "host/osg/FieldContainer.h"

#include <string>

namespace io {

/// @return what does not fit, as "index 7 of vertex 12 is beyond the 5 positions"; empty if all
/// does
std::string containerFault(const osg::FieldContainerPtr& container);

} // namespace io
