#pragma once

// What all instances of a geometry core hold in common, one record per key: local bounds, the
// primitive list and the stamps that decide who builds. A key is the container id of the core in
// its low 32 bits and a variant in the high ones: instances whose tree would differ (displacement,
// line width) must not share one.
//
// A record lives as long as someone holds it. Acquiring and releasing are safe on any thread; the
// contents are written by the one builder that beginBuild admits and read by everyone once the
// pass has been joined.

#include "accel/znRTTriangle.h"
#include "core/znDynArray.h"
#include "core/znRTBoundingBox.h"

#include <atomic>
#include <mutex>
#include <tbb/task_arena.h>
#include <utility>
#include <vector>

struct znRTSharedGeometry
{
    explicit znRTSharedGeometry(u64 key_) : key(key_) {}

    /// Claims the build of an update pass for the caller.
    /// @param stamp  number of the pass; 0 admits everyone
    /// @return false when another instance has claimed this pass before
    bool beginBuild(u64 stamp) { return buildStamp.exchange(stamp) != stamp || stamp == 0; }
    /// Marks list and tree as out of date: the next beginBuild is let through, whatever its pass.
    void invalidate()
    {
        buildStamp.store(0);
        builtVersion.store(0);
    }

    bool needsBuild() const { return builtVersion.load() == 0; }
    /// Runs a build outside of the passes, unless the record is up to date or another instance
    /// brings it up to date meanwhile.
    template <class Build>
    void rebuild(Build&& build)
    {
        const std::lock_guard lock(rebuildLock);
        // Isolated: while it waits for its subtasks, this thread must not pick up another instance
        // that wants the lock.
        if (needsBuild())
            tbb::this_task_arena::isolate(std::forward<Build>(build));
    }

    const u64 key;
    znRTBoundingBox localVolume; ///< object space
    std::atomic<u64> buildStamp{0};
    /// Fingerprint of the data that list and tree were built from; 0: nothing is built.
    std::atomic<u64> builtVersion{0};

    znDynArray<znRTTriangle> triangles; ///< of meshes, padding included
    u64 triangleCount = 0;              ///< without padding

    std::mutex rebuildLock;

    std::mutex tangentLock;
    u64 tangentVersion = 0;      ///< fingerprint of the data that tangents were made from
    std::vector<float> tangents; ///< triples per vertex, or empty
};

class znRTSharedGeometryTable
{
public:
    /// Finds or makes the record of a key and counts the caller in.
    static znRTSharedGeometry* acquire(u64 key);
    /// Counts the caller out; the last one takes the record along. Null is ignored.
    static void release(znRTSharedGeometry* record);

    static u64 makeKey(u64 coreId, u32 variant) { return coreId | (u64(variant) << 32); }
    /// How many hold a key; 0 for a key without record.
    static unsigned getUseCount(u64 key);
    static u64 getRecordCount();
    /// Drops all records, whoever holds them: for the end of the process only.
    static void clearStatics();
};
