#pragma once

// Makers of tasks, one per integrator, each in the source file of its integrator: the templates
// over fragment and pixel format are instantiated there and nowhere else.

#include "render/znRTRenderTask.h"

znRTRenderTask* createDistributedTask(const znRTRenderTaskKey& key);
/// Shows the layer singlePass of the key.
znRTRenderTask* createDistributedPassesTask(const znRTRenderTaskKey& key);
znRTRenderTask* createLightAnalyzingTask(const znRTRenderTaskKey& key);
znRTRenderTask* createDebugTask(const znRTRenderTaskKey& key);
znRTRenderTask* createIlluminanceTask(const znRTRenderTaskKey& key);
znRTRenderTask* createNormalRenderingTask(const znRTRenderTaskKey& key);
znRTRenderTask* createDiscontinuityTask(const znRTRenderTaskKey& key);
znRTRenderTask* createAmbientOcclusionTask(const znRTRenderTaskKey& key);
znRTRenderTask* createIndirectTask(const znRTRenderTaskKey& key);
znRTRenderTask* createAnalyticTask(const znRTRenderTaskKey& key);
