#pragma once

// What a material wants to find in the shading block. Geometry fills only what was asked for;
// fields behind an unset bit are undefined. Masks of several materials are combined by OR.

#include "host/znAligned.h"

/// Computed quantities. Position, the three normals in world space, cosine of incidence and the
/// first texture coordinate set are always there.
namespace shadingRequirement {
constexpr u32 spawnData = 1;     ///< node matrices, object position and normal: rays may start here
constexpr u32 footprint = 2;     ///< dPdx, dPdy, dUVdx, dUVdy, and what spawnData brings
constexpr u32 edgeData = 4;      ///< vertices of the primitive: wireframe, grid
constexpr u32 derivatives = 8;   ///< dPdu, dPdv, dNdu, dNdv, dNdx, dNdy
constexpr u32 shadingFrame = 16; ///< the vertex tangent, where there is one
/// What computeShadingData works for.
constexpr u32 objectSpace = spawnData | footprint;
constexpr u32 surfaceDefault = spawnData | footprint | shadingFrame;
constexpr u32 all = 31;
} // namespace shadingRequirement

/// Vertex attributes to fetch.
namespace vertexAttribute {
constexpr u32 positionAndNormal = 1;
constexpr u32 textureCoordinates = 2;  ///< all sets
constexpr u32 vertexColor = 4;         ///< the colours as they are; white without
constexpr u32 bakedColor = 0x40;       ///< baked colour and the mark of the lanes that have one
constexpr u32 bakedIrradiance = 0x100; ///< vertex occlusion and baked irradiance
constexpr u32 textureTangents = 0x400; ///< dPdu, dPdv, for bump
constexpr u32 vertexTangents = 0x800;  ///< vertex tangent, dUVdx, dUVdy, for bump
constexpr u32 bumpDefault = textureTangents | vertexTangents;
} // namespace vertexAttribute
