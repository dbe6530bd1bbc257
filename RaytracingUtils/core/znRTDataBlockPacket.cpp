#include "core/znRTDataBlockPacket.h"

#include "core/znRTRayPacket.h"

znMatrix4x4Packet znRTDataBlockPacket::s_worldToViewMatrix{znMatrix4x4::identity()};
znMatrix4x4Packet znRTDataBlockPacket::s_viewToWorldMatrix{znMatrix4x4::identity()};

znRTDataBlockPacket::znRTDataBlockPacket(const znRTHitInfoPacket& hitInfo)
    : hit(hitInfo), bakedIrradiance(0.0f), bakedColor(0.0f)
{
    hasNodeTransforms = 0;
    clearMaterials();
}

void znRTDataBlockPacket::reset(const znFloatType<2>& distance)
{
    hit.reset(distance);
    bakedIrradiance = znRTColorPacket(0.0f);
    bakedColor = znRTColorPacket(0.0f);
    coverage = znFloatType<2>(0.0f);
    volumeEntry = znFloatType<2>(0.0f);
    hasNodeTransforms = 0;
    clearMaterials();
}

void znRTDataBlockPacket::clearMaterials()
{
    materialCount = 0;
    requirements = shadingRequirement::all;
    hasLocalLights = 0;
    for (int lane = 0; lane < 4; ++lane) {
        nodes[lane] = nullptr;
        localLights[lane] = nullptr;
    }
}

u32 znRTDataBlockPacket::addMaterial(znRTMaterial* material, u32 laneBits)
{
    const znFloatType<2> lanes = expandLanes(int(laneBits));
    for (u32 i = 0; i < materialCount; ++i)
        if (materials[i] == material) {
            materialLanes[i] |= lanes;
            return i;
        }
    materials[materialCount] = material;
    materialLanes[materialCount] = lanes;
    materialRequirements[materialCount] = 0;
    return materialCount++;
}

namespace {

/// Moves the offset between two neighbouring rays along to the tangent plane.
/// @param inverseSlope  1 / (direction . normal), 0 for a ray in the plane
znRTVector3fPacket transferOffset(const znRTVector3fPacket& originOffset,
                                  const znRTVector3fPacket& directionOffset,
                                  const znFloatType<2>& t, const znRTVector3fPacket& direction,
                                  const znRTVector3fPacket& normal, znFloatType<2> inverseSlope)
{
    const znRTVector3fPacket offset = originOffset + directionOffset * t;
    return offset - direction * (dot(offset, normal) * inverseSlope);
}

} // namespace

void znRTDataBlockPacket::computeCommonDifferentialData(const znRTRayDifferentialPacket& ray)
{
    getFootprint(ray, dg.dPdx, dg.dPdy);
}

void znRTDataBlockPacket::getFootprint(const znRTRayDifferentialPacket& ray,
                                       znRTVector3fPacket& dPdx, znRTVector3fPacket& dPdy) const
{
    if (!ray.hasDifferentials) {
        dPdx = dPdy = znRTVector3fPacket(0.0f, 0.0f, 0.0f);
        return;
    }
    const znRTVector3fPacket& n = dg.geometricNormal;
    const znFloatType<2> inverseSlope = reciprocalOrZero(dot(ray.direction, n));
    dPdx = transferOffset(ray.rxOrigin - ray.origin, ray.rxDirection - ray.direction, hit.t,
                          ray.direction, n, inverseSlope);
    dPdy = transferOffset(ray.ryOrigin - ray.origin, ray.ryDirection - ray.direction, hit.t,
                          ray.direction, n, inverseSlope);
}

void znRTDataBlockPacket::updateCosIncidence(const znRTRayDifferentialPacket& ray,
                                             const znFloatType<2>& mask)
{
    cosIncidence = select(mask, -dot(ray.direction, dg.shadingNormal), cosIncidence);
}

void znRTDataBlockPacket::selectTextureSet(int set, znRTDifferentialGeometry& out) const
{
    if (set == 0 || !((uvValid >> set) & 1u))
        return;
    const TextureSetDerivatives& derivatives = uvDerivatives[set];
    out.uv = uv[set];
    out.dUVdx = derivatives.dUVdx;
    out.dUVdy = derivatives.dUVdy;
    out.dPdu = derivatives.dPdu;
    out.dPdv = derivatives.dPdv;
}

void znRTDataBlockPacket::setupTriplanarDifferentialGeometry(znRTDifferentialGeometry& out,
                                                             const znFloatType<2>& lanes) const
{
    out = dg;
    if (!anyLane(lanes))
        return;
    out.position.setMasked(objectPosition, lanes);
    out.shadingNormal.setMasked(objectNormal, lanes);
    out.geometricNormal.setMasked(
        znRTVectorMath::transformAsNormal(dg.geometricNormal, nodeToWorld).getNormalized(), lanes);
    out.dPdx.setMasked(znRTVectorMath::transformAsDirection(dg.dPdx, worldToNode), lanes);
    out.dPdy.setMasked(znRTVectorMath::transformAsDirection(dg.dPdy, worldToNode), lanes);
    out.dPdu.setMasked(znRTVectorMath::transformAsDirection(dg.dPdu, worldToNode), lanes);
    out.dPdv.setMasked(znRTVectorMath::transformAsDirection(dg.dPdv, worldToNode), lanes);
}
