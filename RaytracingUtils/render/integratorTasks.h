#pragma once

// Makers of tasks, one per integrator, each instantiated in a source file of its own.

#include "render/znRTRenderTask.h"

znRTRenderTask* createNormalRenderingTask(const znRTRenderTaskKey& key);
