#include "material/surfaceStructures.h"

#include "host/osg/materials/metalMaterials.h"
#include "host/osg/materials/paintMaterials.h"
#include "texture/structures/brushStructures.h"
#include "texture/structures/carbonStructures.h"
#include "texture/structures/parallaxTextures.h"
#include "texture/structures/spaceStructures.h"
#include "texture/structures/znRTNoise2DStructures.h"
#include "texture/znRTCleanSurface.h"

namespace {

enum BumpMode { plainBump = 0, parallax = 1, parallaxOcclusion = 2 };
enum BrushMode { brushAlongAxis = 0, brushInPlanes = 1, brushInCircles = 2 };

std::unique_ptr<const znRTCarbonTexture> weaveOf(int type)
{
    switch (type) {
    case 1:
        return std::make_unique<znRTCarbon3x1RegularTexture>();
    case 2:
        return std::make_unique<znRTCarbon3x1StaircaseTexture>();
    case 3:
        return std::make_unique<znRTCarbon5x1Texture>();
    default:
        return std::make_unique<znRTCarbon2x2Texture>();
    }
}

} // namespace

znRTStructurePointer cleanStructure()
{
    return std::make_unique<znRTCleanSurface>();
}

znRTStructurePointer imageStructureOf(const znRTBRDFMaterialAttributes& a)
{
    const auto kind = a.bumpKind == znRTBumpTexture::normalMap ? znRTBumpTexture::normalMap
                                                               : znRTBumpTexture::heights;
    const float scale = kind == znRTBumpTexture::heights ? a.bumpScale : 1.0f;
    const float amplitude = a.bumpAmplitude * scale;
    const bool isFlat = a.parallaxDepth == 0.0f;
    const int mode = isFlat ? int(plainBump) : a.bumpMode;
    if (mode == plainBump && amplitude == 0.0f)
        return cleanStructure();
    const znRTTextureSampler& image = *a.bumpSampler;
    const znRTTextureAttributes* const lies = a.bumpAttributes;
    const float depth = a.parallaxDepth;
    const int steps = int(a.parallaxSteps);
    const bool alongAxes =
        readsOwnCoordinates(lies) && lies->mappingType == znRTTextureAttributes::mappingTriplanar;
    if (mode == parallax && alongAxes)
        return std::make_unique<znRTTriplanarParallaxMappingTexture>(image, lies, kind, amplitude,
                                                                     false, depth);
    if (mode == parallax)
        return std::make_unique<znRTParallaxMappingTexture>(image, lies, kind, amplitude, false,
                                                            depth);
    if (mode == parallaxOcclusion && alongAxes)
        return std::make_unique<znRTTriplanarParallaxOcclusionTexture>(image, lies, kind, amplitude,
                                                                       false, depth, steps);
    if (mode == parallaxOcclusion)
        return std::make_unique<znRTParallaxOcclusionTexture>(image, lies, kind, amplitude, false,
                                                              depth, steps);
    return makeBumpTexture(image, lies, kind, amplitude);
}

/// Amounts are tilts whatever the scale: heights are in sizes of the cells.
znRTStructurePointer proceduralStructureOf(const znRTStructureBlock& a)
{
    const float amount = a.structureAmount, scale = a.structureScale, height = amount / scale;
    if (amount == 0.0f)
        return nullptr;
    switch (znRTStructureType(a.structureType)) {
    case znRTStructureType::noise:
        return std::make_unique<znRTSimplex3DStructure>(height, scale, a.structureOctaves);
    case znRTStructureType::sparkle:
        return std::make_unique<znRTSparkle3DStructure>(amount, scale);
    case znRTStructureType::cellularSparkle:
        return std::make_unique<znRTCellularSparkle3DStructure>(amount, scale);
    case znRTStructureType::coordinateNoise:
        return std::make_unique<znRTNoise2DHeightStructure>(height, scale, a.structureOctaves);
    case znRTStructureType::coordinateTilt:
        return std::make_unique<znRTNoise2DStructure>(amount, scale, a.structureOctaves);
    default:
        return nullptr;
    }
}

znRTStructurePointer brushStructureOf(const znRTBrushedMetalBlock& a)
{
    const znRTBrushed3DStructure::Brush brush{
        {a.brushOrigin[0], a.brushOrigin[1], a.brushOrigin[2]},
        {a.brushAxis[0], a.brushAxis[1], a.brushAxis[2]},
        a.brushScale,
        a.structureAmount};
    switch (a.brushMode) {
    case brushInPlanes:
        return std::make_unique<znRTPlanar3DStructure>(brush);
    case brushInCircles:
        return std::make_unique<znRTRadial3DStructure>(brush);
    default:
        return std::make_unique<znRTBrushed3DStructure>(brush);
    }
}

znRTStructurePointer carbonStructureOf(const znRTCarbonBlock& a)
{
    return std::make_unique<znRTCarbon3DStructure>(weaveOf(a.weaveType), 1.0f / a.weaveSize,
                                                   a.strandHeight);
}

znRTStructurePointer carbonStructureOf(const znRTCarbonBlock& a, const osg::Vec2f& repeat)
{
    return std::make_unique<znRTCarbon2DStructure>(
        weaveOf(a.weaveType), znRTVector2f(repeat[0] / a.weaveSize, repeat[1] / a.weaveSize),
        a.strandHeight);
}
