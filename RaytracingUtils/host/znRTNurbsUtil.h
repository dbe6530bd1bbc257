#pragma once

// Parameters of the ray traced trimmed surfaces. Filled from the render settings between frames.

class znRTNurbsUtil
{
public:
    enum EGeomType { surface = 0, curve = 1 };

    /// Newton steps until a curve search gives up.
    static constexpr int maxNewtonSteps = 8;
    /// Distance in parameter space below which knots and boxes count as touching.
    static constexpr float epsilon = 1e-6f;

    static znRTNurbsUtil& instance();

    void setNewtonEpsilon(float tolerance) { newtonEpsilon = tolerance; }
    void setIntersectEpsilon(float distance) { intersectEpsilon = distance; }
    void setNormalCriterionThreshold(float threshold, EGeomType type);

    float getNewtonEpsilon() const { return newtonEpsilon; }
    float getIntersectEpsilon() const { return intersectEpsilon; }
    float getNormalCriterionThreshold(EGeomType type) const { return thresholds[type]; }

    float newtonEpsilon = 1e-3f;    ///< relative to the size of a fragment
    float intersectEpsilon = 1e-5f; ///< scene units
    float thresholds[2] = {0.8f, 0.8f};
    int minDepthSurface = 2, maxDepthSurface = 10;
    int minDepthCurve = 2, maxDepthCurve = 12;
    bool usePreclassification = true;
};
