#pragma once

// Running a list of tiles: the calling thread and its children take them from one counter.

#include "host/znAligned.h"

class znRTRenderTask;
class znRaytracerP;
struct znRTRenderTile;

/// Whether a frame can go straight into the memory that the display reads. Still frames are sums,
/// and what is composed, denoised or post-processed on the processor comes too late for it; tasks
/// for layers and for finished pixels write elsewhere.
bool canTraceDirectly(const znRaytracerP& view, bool softwareCopy);

/// The view, its tasks, its buffers and the camera are there.
bool isReadyToTrace(const znRaytracerP& view);

/// A child of the frame's root task: takes tiles until there are none.
class znRTTraceImageTask
{
public:
    znRTTraceImageTask(znRTRenderTask& renderTask_, u32 affinity_, bool grid_)
        : renderTask(&renderTask_), affinity(affinity_), grid(grid_)
    {
    }
    void operator()() const;

private:
    znRTRenderTask* renderTask;
    u32 affinity; ///< number of the worker, from 1; the calling thread is 0
    bool grid;
};

/// Traces tiles with the view's task, which has to be up to date, and waits for all of them.
/// @param taskCount  threads, the calling one included; 0 counts as 1
/// @return true when the host gave the frame up before its first tile
/// @throws what a worker threw, after all have ended
bool runTiles(znRaytracerP& view, znRTRenderTile* tiles, u32 count, u32 taskCount);
