#pragma once

// Watching the rays of one pixel: what a developer sets to see why the pixel looks as it does. The
// core tells the observer of every ray that is traced for the pixel, whoever sends it: camera,
// integrator, materials, lights. Rays come in the order in which they are traced, parents before
// children; a child starts where its parent hit, which is how a tree is put together again.
//
// An observer is set and taken away between frames. Without one a trace operation pays a test of
// the pointer per packet (per bundle of camera rays).

#include "host/znAligned.h"
#include "host/znRTVector.h"

/// One traced ray and what it met.
struct znRTObservedRay
{
    /// What was asked of the scene.
    enum Query { nearest = 0, shadow = 1, selection = 2 };

    Query query = nearest;
    u32 type = 0; ///< ray type word: classes of rays in pairs of bits
    znRTVector3f origin, direction;
    float tMin = 0.0f, tMax = 0.0f;
    znRTVector3f weight; ///< share of the pixel that the path carries, per colour

    bool isHit = false;
    bool isTransparentHit = false; ///< shadow rays: the material decides how much passes
    float t = 0.0f;                ///< distance of the hit; 0 for opaque hits of shadow rays
    znRTVector3f position;         ///< of the hit; the origin where t is 0
    // Of the nearest hit alone: a shadow ray does not know what stopped it.
    u32 nodeId = 0;                      ///< container id of the node, 0 without
    u32 materialId = 0;                  ///< container id of the material, 0 for the fallback
    const char* materialClass = nullptr; ///< of the core, null without
    u32 primitive = 0;                   ///< number in the object's list of primitives
    float u = 0.0f, v = 0.0f;            ///< barycentric coordinates, weights of vertices 2 and 3
};

class znRTRayObserver
{
public:
    virtual ~znRTRayObserver() = default;

    /// Called while a frame runs, on the worker that has the pixel: by one thread at a time.
    virtual void onRay(const znRTObservedRay& ray) = 0;

    int pixelX = 0, pixelY = 0; ///< pixel of the render; y counts from below

    /// The one that is told; null: none.
    static znRTRayObserver* s_current;
};
