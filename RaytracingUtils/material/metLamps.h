#pragma once

// Lamps that directions about a surface meet. A lobe with a narrow peak finds a wide lamp better by
// its own directions than by points on the lamp, and a surface close to a lamp does, too: both ways
// are taken, each with its balance weight (E. Veach, L. Guibas, "Optimally Combining Sampling
// Techniques for Monte Carlo Rendering", SIGGRAPH 1995).

#include "core/znRTDifferentialGeometry.h"
#include "light/znRTShape.h"

struct LightEvalSample;
class znRTUAreaLight;

class znRTMetLamps
{
public:
    /// They are tested one after the other: where there are more, their draws are the only way.
    static constexpr unsigned capacity = 32;

    /// @param light    one that is met by rays
    /// @param samples  that its own draws make at the point, on average
    /// @param lanes    bits of those that it takes part in
    void add(const znRTUAreaLight& light, float samples, int lanes);
    bool isEmpty() const { return count == 0; }
    unsigned getCount() const { return count; }
    /// Whether one of the lamps is drawn by area.
    bool hasDrawnByArea() const { return drawnByArea; }

    /// What directions meet of one lamp.
    struct Hit
    {
        znFloatType<2> lanes, distance;
        znRTShapePoint point;
    };
    /// @param i           of the lamp
    /// @param origin      of the directions, off the surface
    /// @param wi          unit, world space
    /// @param onlyByArea  a lamp that is drawn otherwise is not met
    /// @return whether any lane meets it
    bool meet(unsigned i, const znRTVector3fPacket& origin, const znRTVector3fPacket& wi,
              const znFloatType<2>& lanes, bool onlyByArea, Hit& hit) const;
    /// What that brings, with the weight beside the lamp's own draws.
    /// @param density  samples that the directions' draws make per steradian
    LightEvalSample sampleOf(unsigned i, const Hit& hit, const znRTDifferentialGeometry& dg,
                             const znRTVector3fPacket& wi, const znFloatType<2>& density) const;

private:
    struct Lamp
    {
        const znRTUAreaLight* light;
        float samples;
        int lanes;
    };
    Lamp lamps[capacity];
    unsigned count = 0;
    bool drawnByArea = false;
};
