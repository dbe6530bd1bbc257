#pragma once

// What lights at infinity share: photons that cover the scene, and the power that comes with them.

#include "core/znRTBoundingSphere.h"
#include "core/znRTColorPacket.h"
#include "core/znRTVector2fPacket.h"
#include "core/znRTVector3fPacket.h"

namespace parallelLight {

/// What photons are aimed at: the sphere of the photon targets, or of everything without such.
const znRTBoundingSphere& getTarget();

/// Power of light of an intensity on the disk that covers the scene: pi r^2 times the intensity.
float getPower(float intensity);

/// Starts photons on the disk that covers the scene, just outside of it.
/// @param direction           in which they travel; all three are unit and orthogonal
/// @param pdf                 1 / (pi r^2); 0 in lanes off the mask and in an empty scene
void samplePosition(const znRTVector3fPacket& direction, const znRTVector3fPacket& tangent,
                    const znRTVector3fPacket& bitangent, const znRTVector2fPacket& u,
                    const znFloatType<2>& mask, znRTVector3fPacket& position, znFloatType<2>& pdf);

} // namespace parallelLight
