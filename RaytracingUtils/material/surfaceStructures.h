#pragma once

// The structure of a surface by what its record asks for: the cheapest class that shows it. An
// image comes before a computed pattern, and a pattern that is the kind's own comes last.

#include "host/osg/materials/UBRDFMaterial.h"
#include "texture/znRTSurfaceStructure.h"

#include <memory>

struct znRTBrushedMetalBlock;
struct znRTCarbonBlock;

/// What the number of a record's procedural structure stands for.
enum class znRTStructureType {
    none = 0,
    noise = 1,
    sparkle = 2,
    cellularSparkle = 3,
    coordinateNoise = 4, ///< heights over the texture coordinates
    coordinateTilt = 5   ///< normals tilted over the texture coordinates
};

using znRTStructurePointer = std::unique_ptr<znRTSurfaceStructure>;

/// @param attributes  with an active bump
znRTStructurePointer imageStructureOf(const znRTBRDFMaterialAttributes& attributes);
/// Null for no structure.
znRTStructurePointer proceduralStructureOf(const znRTStructureBlock& attributes);
znRTStructurePointer brushStructureOf(const znRTBrushedMetalBlock& attributes);
znRTStructurePointer carbonStructureOf(const znRTCarbonBlock& attributes);
/// Along texture coordinates that count in scene units.
znRTStructurePointer carbonStructureOf(const znRTCarbonBlock& attributes, const osg::Vec2f& repeat);
znRTStructurePointer cleanStructure();

/// Never null.
template <class Record>
znRTStructurePointer structureOf(const Record& record)
{
    if (record.bumpActive)
        return imageStructureOf(record);
    if constexpr (requires { record.structureType; })
        if (znRTStructurePointer structure = proceduralStructureOf(record))
            return structure;
    if constexpr (requires { record.brushMode; })
        return record.usesVertexTangents ? cleanStructure() : brushStructureOf(record);
    else if constexpr (requires {
                           record.strandHeight;
                           record.repeat;
                       })
        return carbonStructureOf(record, record.repeat);
    else if constexpr (requires { record.strandHeight; })
        return carbonStructureOf(record);
    else
        return cleanStructure();
}
