#pragma once

// What a frame's workers run: a task traces tiles, taken from the view's queue or cut from a
// rectangle. A task belongs to one configuration (its key) and is kept over frames as long as that
// does not change. It has no state between tiles besides the buffers it is bound to, so any number
// of workers run it at once.

#include "host/pixelFormats.h"
#include "host/znRTRenderTile.h"

#include <vector>

class znRTCamera;
class znRaytracerP;
struct znRTIntegratorRow;

/// What a task was made for. Two equal keys need one task.
struct znRTRenderTaskKey
{
    u32 integratorSelector = 0xffffffff; ///< render setting that chose the integrator
    u32 qualityMode = 99999999;          ///< s_qualityMode
    u32 renderMode = 99999999;           ///< m_renderMode
    float sampleClamp = 1e23f;           ///< upper limit of a sample's components
    u32 singlePass = 0;                  ///< m_currentPass
    u8 passesEnabled = 0;
    u8 traceAndCopy = 0;
    u32 copyFlags = 0;                   ///< reduced, see reduceCopyFlags
    u32 pixelFormat = ZN_FORMAT_RGBA32F; ///< what a trace-and-copy task stores
    u32 sceneOffers = 0;                 ///< what the scene has for integrators, see getSceneOffers

    /// Pictures of the plates alone do not depend on the integrator's selector.
    bool needsSameTaskAs(const znRTRenderTaskKey& other) const;
};

class znRTRenderTask : public znAlignedBase32, public znRTRenderTaskKey
{
public:
    explicit znRTRenderTask(const znRTRenderTaskKey& key) : znRTRenderTaskKey(key) {}
    virtual ~znRTRenderTask();

    /// Takes tiles from the bound queue until it is empty; stores in each what it cost.
    virtual void runTileList();
    /// The same over the tiles of the grid rectangle, counted by the queue's cursor: row by row, or
    /// in the order of prepareGrid.
    virtual void runTileGrid();
    /// Traces one tile. Allocates nothing; needs some 80 KB of stack besides what shading takes.
    virtual void traceTile(const znRTRenderTile& tile) = 0;

    /// Points the task at the view's buffers, queue and the current camera. Runs before each frame:
    /// the host may have exchanged any of them.
    virtual void bind(znRaytracerP& view);
    /// Runs before the workers of a frame start on its tiles; may bring them into another order.
    virtual void prepareTiles(znRTRenderTile* /*tiles*/, u32 /*count*/) {}

    /// prepareTiles for the grid: several workers may run it then. The rectangle stays from here to
    /// the end of the frame.
    void prepareGrid();

    /// Tile of the grid by its number, clipped to the rectangle.
    znRTRenderTile getGridTile(u32 index) const;
    u32 getGridTileCount() const;

    void* pixelTarget = nullptr; ///< main frame buffer, or the mapped pixel buffer
    /// The last frame went straight into the pixel buffer; the main frame buffer has not seen it.
    bool wroteDisplay = false;
    /// Rectangle of the grid loop and of the trace-and-copy output: x0 <= x < x1.
    u32 gridX0 = 0, gridX1 = 0, gridY0 = 0, gridY1 = 0;
    u32 gridWidth = 1, gridHeight = 1;
    u32 gridTileSize = 16;

    const znRTIntegratorRow* integrator = nullptr; ///< which row of the table it was made from

protected:
    ZN_RGBA32F* target = nullptr; ///< beauty buffer, or null when only pixelTarget counts
    const znRTCamera* camera = nullptr;
    float workingClamp = 1e23f;
    znRTTileQueue* tileQueue = nullptr;

private:
    std::vector<znRTRenderTile> gridTiles; ///< of this frame, as they were prepared
};

/// Copy flags as far as a task depends on them: showing a single layer drops steps, and an output
/// that keeps its alpha never shows backplates.
u32 reduceCopyFlags(u32 copyFlags, u32 singlePass);

/// Brings a view's task up to date: keeps it when its key is unchanged, else makes a new one and
/// sets the plate, tonemapping and occlusion switches that belong to it.
void ensureRenderTask(znRTRenderTask*& task, znRaytracerP& view, u32 copyFlags,
                      u32 pixelFormat = ZN_FORMAT_RGBA32F);
