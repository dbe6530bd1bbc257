#pragma once

// Ray type words. A ray's word and an object's visibility word are ANDed lane by lane: the lane can
// hit the object when the result is not zero. Bits come in pairs, one pair per class of rays; the
// even bit of a pair belongs to the left eye, the odd bit to the right one, so that an object may
// be shown to one eye only. Rays that belong to both eyes carry both bits of their pair and follow
// the right-eye rules.

#include "host/znAligned.h"

namespace rayType {

// Flags: never part of an object's visibility.
constexpr u32 stochasticBounce = 0x3; ///< diffuse or glossy bounce of a stochastic path
constexpr u32 passThrough = 0x300000; ///< continues behind a transparent surface
constexpr u32 passThroughLeft = 0x100000;
constexpr u32 passThroughRight = 0x200000;

// Classes.
constexpr u32 camera = 0xC;
constexpr u32 cameraLeft = 0x4;
constexpr u32 cameraRight = 0x8;
constexpr u32 diffuseScatter = 0x30; ///< diffuse and subsurface bounces
constexpr u32 glossyReflection = 0xC0;
constexpr u32 mirrorReflection = 0x300;   ///< and straight transmission
constexpr u32 glossyTransmission = 0xC00; ///< and diffuse transmission
constexpr u32 specularRefraction = 0x3000;
constexpr u32 lightShadow = 0xC000;
constexpr u32 stochasticTransmission = 0x30000;
constexpr u32 stochasticReflection = 0xC0000;
constexpr u32 environmentShadow = 0xC00000;     ///< and ambient occlusion
constexpr u32 reflectedShadow = 0x3000000;      ///< shadow ray from a point seen in a reflection
constexpr u32 shadowMaterialShadow = 0xC000000; ///< shadow ray from a shadow-catching surface
constexpr u32 photon = 0x30000000;
constexpr u32 projector = 0xC0000000;

// Halves of all pairs.
constexpr u32 leftEye = 0x55555555;
constexpr u32 rightEye = 0xAAAAAAAA;

/// Rays whose hits see the emission of light sources: camera, mirror and specular rays. Diffuse and
/// glossy rays get it by sampling the lights.
constexpr u32 seesEmission = 0xF330C;
/// Rays that count as seen in a reflection when a shadow ray starts at their hit.
constexpr u32 seenInReflection = 0xC03F0;
/// What materials let through unless they narrow it: everything but the flags.
constexpr u32 defaultVisibility = 0xFFCFFFFC;

// What the visibility switches of an object take away.
constexpr u32 primarySwitch = 0x0030000F;
constexpr u32 reflectionsSwitch = 0x033C03F3;
constexpr u32 refractionsSwitch = 0x00303C03;
constexpr u32 shadowsSwitch = 0x0FF0C003;
constexpr u32 shadowMaterialSwitch = 0x0C000000;
constexpr u32 glossySwitch = 0x00000CF0;
constexpr u32 photonsSwitch = 0xF0000000;
/// Camera and refraction rays see a backplate instead of the environment's own surface.
constexpr u32 hiddenByBackplate = 0x300C;

/// Half of all pairs that a ray belongs to.
constexpr u32 eyeHalf(u32 type)
{
    return (type & ~passThrough & rightEye) ? rightEye : leftEye;
}

/// Word of a ray spawned at the hit of another.
/// @param rayClass  one of the classes above
/// @param flags     stochasticBounce bits to keep, or 0
constexpr u32 child(u32 parent, u32 rayClass, u32 flags = 0)
{
    return (rayClass & eyeHalf(parent)) | flags;
}

/// Word of the ray that goes on behind a transparent surface.
constexpr u32 behindSurface(u32 type)
{
    return type | (eyeHalf(type) == rightEye ? passThroughRight : passThroughLeft);
}

} // namespace rayType
