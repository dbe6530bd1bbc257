#pragma once

// A rectangle of pixels: the unit of work that render tasks take from the queue of a frame.

#include "host/znAligned.h"

#include <atomic>

struct znRTRenderTile
{
    u32 x = 0;    ///< left edge, render pixels
    u32 y = 0;    ///< lower edge, render pixels (row 0 is the bottom of the image)
    u32 time = 0; ///< low 32 bits of the clock ticks that the tile last cost
    u16 width = 0;
    u16 height = 0;
};

/// The work of a running frame. Workers claim tiles by counting `next` up; whoever wants the frame
/// to end moves it past `count`.
struct znRTTileQueue
{
    znRTRenderTile* tiles = nullptr; ///< not owned: one of the view's lists
    u32 count = 0;
    std::atomic<u32> next{0};
    u32 finished = 0;

    void close()
    {
        next.store(count + 1, std::memory_order_release);
        finished = count + 1;
    }
    void clear()
    {
        tiles = nullptr;
        count = 0;
        next.store(0, std::memory_order_release);
        finished = 0;
    }
};
