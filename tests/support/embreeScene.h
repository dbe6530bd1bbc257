#pragma once

// Embree 3 over a test mesh, as the second opinion on hits.

#include "core/znRTRayPacket.h"
#include "support/meshes.h"

#include <algorithm>
#include <embree3/rtcore.h>
#include <limits>

class EmbreeScene
{
public:
    explicit EmbreeScene(const TestMesh& mesh)
        : device(rtcNewDevice("threads=1")), scene(rtcNewScene(device))
    {
        rtcSetSceneFlags(scene, RTC_SCENE_FLAG_ROBUST);
        RTCGeometry geometry = rtcNewGeometry(device, RTC_GEOMETRY_TYPE_TRIANGLE);
        void* const vertices =
            rtcSetNewGeometryBuffer(geometry, RTC_BUFFER_TYPE_VERTEX, 0, RTC_FORMAT_FLOAT3,
                                    3 * sizeof(float), mesh.positions.size() / 3);
        void* const indices =
            rtcSetNewGeometryBuffer(geometry, RTC_BUFFER_TYPE_INDEX, 0, RTC_FORMAT_UINT3,
                                    sizeof(znRTTriangle), mesh.triangles.size());
        std::copy(mesh.positions.begin(), mesh.positions.end(), static_cast<float*>(vertices));
        std::copy(mesh.triangles.begin(), mesh.triangles.end(),
                  static_cast<znRTTriangle*>(indices));
        rtcCommitGeometry(geometry);
        rtcAttachGeometry(scene, geometry);
        rtcReleaseGeometry(geometry);
        rtcCommitScene(scene);
    }
    ~EmbreeScene()
    {
        rtcReleaseScene(scene);
        rtcReleaseDevice(device);
    }
    EmbreeScene(const EmbreeScene&) = delete;
    EmbreeScene& operator=(const EmbreeScene&) = delete;

    struct Hit
    {
        float t;       ///< infinite for a miss
        u32 primitive; ///< in the mesh's order; of no meaning for a miss
    };

    /// Nearest hit of one lane.
    Hit trace(const znRTRayPacket& ray, int lane) const
    {
        RTCIntersectContext context;
        rtcInitIntersectContext(&context);
        RTCRayHit r{};
        r.ray = makeRay(ray, lane);
        r.hit.geomID = r.hit.instID[0] = RTC_INVALID_GEOMETRY_ID;
        rtcIntersect1(scene, &context, &r);
        if (r.hit.geomID == RTC_INVALID_GEOMETRY_ID)
            return {std::numeric_limits<float>::infinity(), 0};
        return {r.ray.tfar, r.hit.primID};
    }
    /// Whether one lane meets anything.
    bool isOccluded(const znRTRayPacket& ray, int lane) const
    {
        RTCIntersectContext context;
        rtcInitIntersectContext(&context);
        RTCRay r = makeRay(ray, lane);
        rtcOccluded1(scene, &context, &r);
        return r.tfar < 0.0f;
    }

private:
    static RTCRay makeRay(const znRTRayPacket& ray, int lane)
    {
        const znRTVector3f o = ray.origin.getLane(lane), d = ray.direction.getLane(lane);
        return {o.x, o.y, o.z, 0, d.x, d.y, d.z, 0, 1e30f, ~0u, 0, 0};
    }

    RTCDevice device;
    RTCScene scene;
};
