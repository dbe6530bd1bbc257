#pragma once

// Names of the values that a numbered field may take. Render settings are plain numbers for the
// core; here their modes have names as well.

#include "host/osg/FieldContainer.h"

#include <vector>

/// @return names of the values from 0 on; empty for fields that are no choice
std::vector<const char*> getFieldChoices(const osg::FieldContainerType& type,
                                         const osg::FieldDescription& field);
