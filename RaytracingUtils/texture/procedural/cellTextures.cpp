#include "texture/procedural/cellTextures.h"

#include "texture/procedural/cellularNoise.h"

const znRTTypeId znRTCellular3DTexture::id("znRTCellular3DTexture");
const znRTTypeId znRTCellularId3DTexture::id("znRTCellularId3DTexture");
const znRTTypeId znRTSparkle3DTextureV2::id("znRTSparkle3DTextureV2");

znRTColorPacket znRTCellular3DTexture::evaluate(const znRTVector3fPacket& p,
                                                const znFloatType<2>& mask) const
{
    const znFloatType<2> distance = nearestCell(p).distance;
    return znRTColorPacket(distance, distance, distance, 1.0f) & mask;
}

znRTColorPacket znRTCellularId3DTexture::evaluate(const znRTVector3fPacket& p,
                                                  const znFloatType<2>& mask) const
{
    const znFloatType<2> number = unitNumber(nearestCell(p).id);
    return znRTColorPacket(number, number, number, 1.0f) & mask;
}

znRTColorPacket znRTSparkle3DTextureV2::evaluate(const znRTVector3fPacket& p,
                                                 const znFloatType<2>& mask) const
{
    const znIntType<2> hash = hashCell(cellOf(p));
    const znRTVector3fPacket direction = unitVector(hash);
    return znRTColorPacket(direction.x, direction.y, direction.z,
                           unitNumber(nextHash(nextHash(hash)))) &
           mask;
}
