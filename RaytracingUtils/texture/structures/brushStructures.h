#pragma once

// Brushed metal: strokes that run one way over an object, as scratches in its normals and as the
// direction of its highlights. Frames have u along the strokes.

#include "texture/structures/znRTSpatialStructure.h"

/// Strokes along an axis. Base of the other patterns.
class znRTBrushed3DStructure : public znRTSpatialStructure
{
public:
    static const znRTTypeId id;

    struct Brush
    {
        znRTVector3f origin{0.0f, 0.0f, 0.0f}; ///< scene units of the object
        znRTVector3f axis{0.0f, 0.0f, 1.0f};   ///< any length above 0; 0 counts as z
        float scale = 1.0f;                    ///< scratches per scene unit
        float amount = 0.1f;                   ///< tangent of the scratches' tilt
    };

    explicit znRTBrushed3DStructure(const Brush& newBrush) : znRTBrushed3DStructure(id, newBrush) {}

protected:
    znRTBrushed3DStructure(const znRTTypeId& typeId, const Brush& newBrush);

    znRTVector3fPacket tiltAt(const Place& place, const znFloatType<2>& mask) const override;
    znRTVector3fPacket directionAt(const Place& place, const znFloatType<2>& mask) const override;
    /// A place as the scratches have it: the first coordinate along the strokes, the others across.
    virtual znRTVector3fPacket coordinatesOf(const znRTVector3fPacket& position) const;

    /// The axis, unit, and two directions that make a right-handed frame with it.
    const znRTVector3f& getAxis() const { return axis; }
    const znRTVector3f& getOrigin() const { return brush.origin; }
    /// Part of a position along the axis, from the origin.
    znFloatType<2> alongAxis(const znRTVector3fPacket& position) const;
    /// The rest of it.
    znRTVector3fPacket offAxis(const znRTVector3fPacket& position) const;

    Brush brush;
    znRTVector3f axis, sideA, sideB;
};

/// Strokes in planes across an axis, as a belt leaves them that runs around the object.
class znRTPlanar3DStructure : public znRTBrushed3DStructure
{
public:
    static const znRTTypeId id;

    explicit znRTPlanar3DStructure(const Brush& newBrush) : znRTBrushed3DStructure(id, newBrush) {}

protected:
    znRTVector3fPacket directionAt(const Place& place, const znFloatType<2>& mask) const override;
    znRTVector3fPacket coordinatesOf(const znRTVector3fPacket& position) const override;
};

/// Circles about an axis through the origin, as turning on a lathe leaves them.
class znRTRadial3DStructure : public znRTBrushed3DStructure
{
public:
    static const znRTTypeId id;

    explicit znRTRadial3DStructure(const Brush& newBrush) : znRTBrushed3DStructure(id, newBrush) {}

protected:
    znRTVector3fPacket directionAt(const Place& place, const znFloatType<2>& mask) const override;
    znRTVector3fPacket coordinatesOf(const znRTVector3fPacket& position) const override;
};
