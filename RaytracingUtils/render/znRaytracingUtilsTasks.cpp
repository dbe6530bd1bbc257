// The root tasks of a view: made once, ended when the view goes or something went wrong.

#include "host/znRaytracerP.h"
#include "host/znRaytracingManager.h"
#include "render/copyStage.h"
#include "render/znRTPhotonRootTask.h"
#include "render/znRTRenderTask.h"
#include "render/znRTRenderUtils.h"
#include "render/znRTTaskContext.h"
#include "render/znRaytracingUtils.h"

#include <array>

namespace {

/// How long running children get to see that they are to stop, seconds.
constexpr double patience = 0.01;

using RootTaskMember = znRTRootTask* znRaytracerP::*;

constexpr std::array<RootTaskMember, 7> rootTasks = {
    &znRaytracerP::m_traceRootTask,         &znRaytracerP::m_photonTraceTask,
    &znRaytracerP::m_relaxPhotonsTask,      &znRaytracerP::m_relaxRadiancePhotonsTask,
    &znRaytracerP::m_calcPhotonRadiusTask,  &znRaytracerP::m_calcRadiancePhotonRadiusTask,
    &znRaytracerP::m_radiancePreprocessTask};

bool hasRootTask(const znRaytracerP& view)
{
    for (const RootTaskMember member : rootTasks)
        if (view.*member)
            return true;
    return false;
}

} // namespace

void znRaytracingUtils::initTasks(znRaytracerP* view)
{
    if (!view->m_taskContext)
        view->m_taskContext = new znRTTaskContext;
    for (const RootTaskMember member : rootTasks) {
        if (view->*member)
            continue;
        const bool isPhotonRoot = member == &znRaytracerP::m_photonTraceTask;
        view->*member = isPhotonRoot ? new znRTPhotonRootTask(*view->m_taskContext)
                                     : new znRTRootTask(*view->m_taskContext);
    }
    view->m_taskContext->reset();
}

void znRaytracingUtils::terminateTasks(znRaytracerP* view)
{
    if (!hasRootTask(*view))
        return;
    view->m_taskContext->cancel();
    for (const RootTaskMember member : rootTasks) {
        znRTRootTask*& task = view->*member;
        if (!task)
            continue;
        // Workers leave at the next tile once the queue is closed. The root waits for them in any
        // case, for they stand on the buffers of the view.
        if (!task->waitUntilIdle(patience))
            view->m_tileQueue.close();
        delete task;
        task = nullptr;
    }
    delete view->m_taskContext;
    view->m_taskContext = nullptr;
}

void znRaytracingUtils::clear(znRaytracerP* view)
{
    delete view->m_renderTask;
    view->m_renderTask = nullptr;
    view->m_tileQueue.clear();
    view->m_allTiles.clear();
    view->m_activeTiles.clear();
    forgetIterations();
}

void znRaytracingUtils::handleExceptions(znRaytracerP* view)
{
    if (!view)
        return;
    view->m_tileQueue.close();
    znRaytracingUtilsBase* const managed = znRaytracingManager::getRaytracingUtils();
    znRaytracingUtilsBase& instance = managed ? *managed : *this;
    instance.terminateTasks(view);
    znRTRenderUtils::s_currentPhotonMap = nullptr;
    delete view->m_taskContext; // left behind when there was no root task
    view->m_taskContext = nullptr;
    instance.initTasks(view);
}
