#include "render/createTask.h"
#include "render/integratorTasks.h"
#include "render/znRTFragment.h"
#include "render/znRTNormalRenderingIntegrator.h"

znRTRenderTask* createNormalRenderingTask(const znRTRenderTaskKey& key)
{
    return createTask<znRTNormalRenderingIntegrator, znRTFragment>(key);
}
