#pragma once

// The environment that lights one material alone.

#include "host/osg/FCPtr.h"

class znRTInfiniteAreaLight;

namespace osg {
class Material;
}

/// Light of a material's own environment. A scene owns the light and takes it back before it goes;
/// copies of a material are not known to the scene and start without it, until they are updated.
struct znRTOwnEnvironment
{
    znRTOwnEnvironment() = default;
    znRTOwnEnvironment(const znRTOwnEnvironment& other) : isOwn(other.isOwn) {}
    znRTOwnEnvironment& operator=(const znRTOwnEnvironment&) = delete;

    const znRTInfiniteAreaLight* light = nullptr; ///< null until the scene has made it
    bool isOwn = false;                           ///< the scene's environment does not count
};

/// Follows a container through the choices of switches to an environment.
/// @return null where there is none
osg::MaterialPtr chosenEnvironmentOf(const osg::MaterialPtr& material);
