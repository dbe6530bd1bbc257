#pragma once

// Unevenness of a solid material: noise that is cut through, flakes in a grid, and flakes between
// scattered points.

#include "texture/structures/znRTSpatialStructure.h"

/// Heights by noise of several octaves. Octaves fade before a pixel covers their cells.
class znRTSimplex3DStructure : public znRTSpatialStructure
{
public:
    static const znRTTypeId id;

    /// @param newHeight  where the noise is 1, scene units of the object
    /// @param newScale   cells of the first octave per scene unit
    znRTSimplex3DStructure(float newHeight, float newScale, float newOctaves);

protected:
    znRTVector3fPacket tiltAt(const Place& place, const znFloatType<2>& mask) const override;

private:
    float height, scale, octaves;
    float finest; ///< frequency of the last octave over that of the first
};

/// Each cube of a grid tilts the normal its own way. From afar, where a pixel covers many cubes,
/// the tilt fades as that of a mean of so many.
class znRTSparkle3DStructure : public znRTSpatialStructure
{
public:
    static const znRTTypeId id;

    /// @param newAmount  tangent of the largest tilt
    /// @param newScale   cubes per scene unit
    znRTSparkle3DStructure(float newAmount, float newScale)
        : znRTSparkle3DStructure(id, newAmount, newScale)
    {
    }

protected:
    znRTSparkle3DStructure(const znRTTypeId& typeId, float newAmount, float newScale)
        : znRTSpatialStructure(typeId, bendsNormals), amount(newAmount), scale(newScale)
    {
    }

    znRTVector3fPacket tiltAt(const Place& place, const znFloatType<2>& mask) const override;
    /// Unit vector of the cell around a place, in cells.
    virtual znRTVector3fPacket vectorAt(const znRTVector3fPacket& p) const;

private:
    float amount, scale;
};

/// The same for the cells of scattered points: flakes of many shapes.
class znRTCellularSparkle3DStructure : public znRTSparkle3DStructure
{
public:
    static const znRTTypeId id;

    znRTCellularSparkle3DStructure(float newAmount, float newScale)
        : znRTSparkle3DStructure(id, newAmount, newScale)
    {
    }

protected:
    znRTVector3fPacket vectorAt(const znRTVector3fPacket& p) const override;
};
