#pragma once

// The viewport whose image settings are in force.

namespace osg {
class Viewport;
}

/// The viewport that the host declared active, or null.
const osg::Viewport* activeViewport();
