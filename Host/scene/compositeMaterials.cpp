#include "host/osg/materials/compositeMaterials.h"

#include "host/znSceneDataManager.h"

namespace osg {

ZN_CONTAINER_BODY(SwitchMaterial)
ZN_CONTAINER_BODY(UEnvironmentSwitchMaterial)
ZN_CONTAINER_BODY(MultiPassMaterial)
ZN_CONTAINER_BODY(SimpleMaterial)
ZN_ABSTRACT_CONTAINER_BODY(StateChunk)
ZN_CONTAINER_BODY(MaterialChunk)
ZN_CONTAINER_BODY(TextureChunk)
ZN_CONTAINER_BODY(LineChunk)
ZN_CONTAINER_BODY(PointChunk)
ZN_CONTAINER_BODY(TwoSidedLightingChunk)
ZN_CONTAINER_BODY(ChunkMaterial)

MaterialPtr SwitchMaterial::getChosen() const
{
    const int index = getChoice();
    const bool isThere = index >= 0 && std::size_t(index) < getMaterials().size();
    return isThere ? getMaterials()[std::size_t(index)] : MaterialPtr();
}

namespace {

float inSceneUnits(float metres)
{
    return metres * znSceneDataManager::getUnitsPerMetre();
}
constexpr float usualWidth = 0.001f; // metres

} // namespace

float SimpleMaterial::getLineWidth() const
{
    return inSceneUnits(getStoredLineWidth());
}

float SimpleMaterial::getPointSize() const
{
    return inSceneUnits(getStoredPointSize());
}

float LineChunk::getWidth() const
{
    return inSceneUnits(getStoredWidth());
}

float PointChunk::getSize() const
{
    return inSceneUnits(getStoredSize());
}

float ChunkMaterial::getLineWidth() const
{
    const auto chunk = find<LineChunk>();
    return chunk ? chunk->getWidth() : inSceneUnits(usualWidth);
}

float ChunkMaterial::getPointSize() const
{
    const auto chunk = find<PointChunk>();
    return chunk ? chunk->getSize() : inSceneUnits(usualWidth);
}

} // namespace osg
