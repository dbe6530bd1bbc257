#include "camera/znRTCamera.h"
#include "host/znRaytracerP.h"
#include "render/copyStage.h"
#include "render/multiSampleBlock.h"
#include "render/znRTTileTraceTask.h"

void znRTTraceAndCopyTileLoop::bind(znRaytracerP& view)
{
    znRTRenderTask::bind(view);
    postProcessor = currentPostprocessor();
    finishFlags = maskCopyFlags(copyFlags);
    pixelTarget = view.m_frameOutput;
}

void znRTTraceAndCopyTileLoop::traceTile(const znRTRenderTile& tile)
{
    znRTPacketBlock block;
    znRTMultiSampleBlock slots;
    const znRTPixelPipeline pipeline{&postProcessor, camera, finishFlags};
    const int samples = interactiveSamples();
    forEachBlock(tile, znBlockSize, [&](const znRTPixelRectangle& r) {
        slots.trace(block, r, *camera, workingClamp, samples, integrateBlock);
        slots.forEachPixel(r, [&](u32 x, u32 y, __m128 colour) {
            const u32 column = x - gridX0, row = y - gridY0; // huge to the left and below
            if (column >= gridWidth || row >= gridHeight)
                return;
            const __m128 finished = pipeline.finish(colour, int(x), int(y), true);
            storePixel(pixelTarget, u64(row) * gridWidth + column, pipeline.applyProfile(finished));
        });
    });
}
