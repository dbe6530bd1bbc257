#pragma once

// Everything shading knows about four hit points. The accelerator copies the hit into the head and
// lets the geometry fill what the materials' requirement masks ask for (shadingRequirements.h);
// fields behind an unset requirement are undefined. Lives on a worker's stack.

#include "core/shadingRequirements.h"
#include "core/znDynArray.h"
#include "core/znMatrix4x4Packet.h"
#include "core/znRTColorPacket.h"
#include "core/znRTDifferentialGeometry.h"
#include "core/znRTHitInfoPacket.h"

class znRTGeometryNode;
class znRTLight;
class znRTMaterial;
class znRTRayDifferentialPacket;

class znRTDataBlockPacket : public znAlignedBase16
{
public:
    static constexpr int maxTextureSets = 8;
    static constexpr int maxMaterials = 4; ///< one per lane at most

    /// Nothing is initialised: for callers that follow with reset() or set().
    znRTDataBlockPacket() = default;
    /// An empty block without hits whose hit distances are the given value.
    explicit znRTDataBlockPacket(float distance) { reset(znFloatType<2>(distance)); }
    explicit znRTDataBlockPacket(const znFloatType<2>& distance) { reset(distance); }
    /// Takes the hit over and clears the baked values and the material table.
    explicit znRTDataBlockPacket(const znRTHitInfoPacket& hitInfo);

    void reset(float distance) { reset(znFloatType<2>(distance)); }
    void reset(const znFloatType<2>& distance);
    /// Replaces the hit alone; all else stays as the previous packet left it.
    void set(const znRTHitInfoPacket& hitInfo) { hit = hitInfo; }

    /// Empties the table of materials and lanes, before a hit's lanes are entered again.
    void clearMaterials();
    /// Enters lanes of a material.
    /// @return place in the table; materials keep the order of their first lane
    u32 addMaterial(znRTMaterial* material, u32 laneBits);

    /// Matrices of each hit lane from its node; identity in the other lanes, and in all when
    /// hasNodeTransforms is 0.
    void computeMatrices();
    /// Footprint of the pixel on the tangent plane, dPdx and dPdy; zero where the ray has no
    /// differentials. H. Igehy, "Tracing Ray Differentials", SIGGRAPH 1999, eq. 10.
    void computeCommonDifferentialData(const znRTRayDifferentialPacket& ray);
    void getFootprint(const znRTRayDifferentialPacket& ray, znRTVector3fPacket& dPdx,
                      znRTVector3fPacket& dPdy) const;
    /// Node matrices, position and unit normal in object space, for materials that asked for any of
    /// them. The accelerator leaves this to whoever shades.
    void computeShadingData(const znRTRayDifferentialPacket& ray);

    /// Keeps position and normals, so that shading may negate or perturb them for a while.
    void saveSurface() { base = dg; }
    void restoreSurface() { static_cast<znRTSurfacePoint&>(dg) = base; }

    /// Recomputes cosIncidence from the shading normal in the lanes of mask.
    void updateCosIncidence(const znRTRayDifferentialPacket& ray, const znFloatType<2>& mask);

    /// Container id of the object that each hit lane belongs to; 0 in lanes without hit.
    /// @param level  0 for the node itself, n for its n-th ancestor; a shell hides what is inside
    znIntType<2> resolveToNodeId(int level) const;

    /// Neighbourhood for projections that stick to the object: position, normals and footprint in
    /// object space in the lanes of objectLanes, in world space in the others.
    void setupTriplanarDifferentialGeometry(znRTDifferentialGeometry& out) const
    {
        setupTriplanarDifferentialGeometry(out, objectLanes);
    }
    /// The same, in object space in lanes of the caller's.
    void setupTriplanarDifferentialGeometry(znRTDifferentialGeometry& out,
                                            const znFloatType<2>& lanes) const;
    /// Puts a further set of texture coordinates in force: coordinates, footprint and derivatives.
    /// Surfaces without the set keep what they have.
    void selectTextureSet(int set, znRTDifferentialGeometry& out) const;

    znRTVector3fPacket& position() { return dg.position; }
    const znRTVector3fPacket& position() const { return dg.position; }
    znRTVector3fPacket& shadingNormal() { return dg.shadingNormal; }
    const znRTVector3fPacket& shadingNormal() const { return dg.shadingNormal; }
    znRTVector3fPacket& geometricNormal() { return dg.geometricNormal; }
    const znRTVector3fPacket& geometricNormal() const { return dg.geometricNormal; }

    znRTHitInfoPacket hit;

    // Zero is what a surface without baked data needs: unoccluded, and no lane marked.
    znRTColorPacket bakedIrradiance; ///< rgb: interpolated irradiance; alpha: vertex occlusion
    znRTColorPacket bakedColor;      ///< rgb: interpolated colour; alpha: mask of baked lanes

    znRTDifferentialGeometry dg;
    znRTSurfacePoint base; ///< copy that restoreSurface brings back

    znRTVector3fPacket facedNormal; ///< unit shading normal as stored: outward, not turned
    znRTVector3fPacket objectPosition;
    znRTVector3fPacket objectNormal; ///< unit, object space
    znFloatType<2> objectLanes;      ///< mask: projections work in object space
    znFloatType<2> cosIncidence;     ///< between shadingNormal and the direction back along the ray

    znMatrix4x4Packet nodeToWorld, worldToNode;
    znFloatType<2> coverage; ///< above 0 where a surface counts
    znFloatType<2> b0;       ///< barycentric of the first vertex, 1 - u - v

    znRTVector2fPacket uv[maxTextureSets];
    /// Footprints and derivatives of the sets behind the first, see selectTextureSet; filled where
    /// dUVdx and dPdu are.
    struct TextureSetDerivatives
    {
        znRTVector2fPacket dUVdx, dUVdy;
        znRTVector3fPacket dPdu, dPdv;
    };
    TextureSetDerivatives uvDerivatives[maxTextureSets];
    u32 uvValid;           ///< bit per texture set that was filled
    u32 hasNodeTransforms; ///< not 0 when a hit node has a transform

    znRTColorPacket vertexColor;
    znFloatType<2> ambientOcclusion[3];     ///< per-object occlusion values of the node
    znRTVector3fPacket edgeVertices[3];     ///< world space, of the primitive that was hit
    znFloatType<2> layerMask;               ///< above 0 where the first layer of a stack was hit
    znFloatType<2> volumeEntry, volumeExit; ///< distances along the ray inside a closed body

    u32 materialCount;
    u32 hasLocalLights;
    u32 requirements; ///< of all materials together; everything until the accelerator says
    znRTMaterial* materials[maxMaterials];
    u32 materialRequirements[maxMaterials];
    znFloatType<2> materialLanes[maxMaterials]; ///< mask per material; the masks are disjoint

    znRTGeometryNode* nodes[4];                         ///< per lane; null without hit
    const znDynArray<const znRTLight*>* localLights[4]; ///< per lane; null: all lights

    static znMatrix4x4Packet s_worldToViewMatrix; ///< published by the camera
    static znMatrix4x4Packet s_viewToWorldMatrix;
};
