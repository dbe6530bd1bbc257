// What happens to scene, camera, plates and photons before an image.

#include "accel/znRTAccelerator.h"
#include "camera/znRTCamera.h"
#include "camera/znRTProjectionBasedARLens.h"
#include "core/znRTFloatControl.h"
#include "host/osg/RaytracingPBARSettings.h"
#include "host/osg/Viewport.h"
#include "host/znRTRaytracingSettings.h"
#include "host/znRTSceneHandler.h"
#include "host/znRaytracerP.h"
#include "material/znRTMaterial.h"
#include "render/notAvailable.h"
#include "render/photonRefresh.h"
#include "render/znRTRenderUtils.h"
#include "render/znRaytracingUtils.h"

namespace {

void updateMaterialsAndLights()
{
    znRTSceneHandler::updateLights();
    znRTRenderUtils::updateEnvironment();
    znRTSceneHandler::updateMaterials();
    if (znRTRenderUtils::s_luxMaterial) // belongs to no scene
        znRTRenderUtils::s_luxMaterial->update();
    znRTRenderUtils::updateVisibilities();
    znRTSceneHandler::updateGeometryLights();
    znRTSceneHandler::updateLightPortals();
    if (znRTRenderUtils::getCurrentAccelerator())
        znRTRenderUtils::updateLightDistribution(true);
}

/// Brings the camera up to date and copies what the view wants to know of it.
void takeCamera(znRaytracerP& view, osg::Camera* camera)
{
    znRTCamera* const current = znRTRenderUtils::getCamera();
    if (!current)
        return;
    const int modeBefore = znRTRaytracingSettings::s_qualityMode;
    current->update(camera, view.m_renderWidth, view.m_renderHeight, view.m_outputWidth,
                    view.m_outputHeight, view.m_iteration);
    view.m_fullImageWidth = current->fullImageWidth;
    view.m_fullImageHeight = current->fullImageHeight;
    view.m_viewBounds = {current->viewLeft, current->viewRight, current->viewBottom,
                         current->viewTop};
    // The camera decides between interactive and still frames, after the scene was updated with
    // the values of the mode before.
    if (znRTRaytracingSettings::s_qualityMode != modeBefore) {
        znRTMaterial::updateStaticSettings();
        updateMaterialsAndLights();
    }
}

} // namespace

void znRaytracingUtils::updateScene(znRaytracerP* view, bool sceneChanged)
{
    const znRTFloatControl flushDenormals;
    znRTMaterial::updateStaticSettings();
    if (view->m_iteration != 0 && !sceneChanged)
        return;
    if (sceneChanged) {
        znRTRenderUtils::updateObjects();
        updateMaterialsAndLights();
    }
    znRTRenderUtils::fillStatistics(view->m_statistics);
}

void znRaytracingUtils::updateCamera(znRaytracerP* view, osg::Camera* camera, osg::Viewport*)
{
    takeCamera(*view, camera);
}

void znRaytracingUtils::updateMasterCamera(znRaytracerP* view, osg::Camera* camera, osg::Viewport*)
{
    takeCamera(*view, camera);
    if (znRTCamera* const current = znRTRenderUtils::getCamera())
        current->rowStride = current->fullImageStride;
}

void znRaytracingUtils::setPBARSettings(osg::FCPtr<osg::RaytracingPBARSettings> settings,
                                        u64 viewId)
{
    znRTCamera* const current = znRTRenderUtils::getCamera();
    if (!current)
        return;
    znRTLensShader* lens = current->getLensShader();
    const bool isProjector = lens && lens->isOfType(znRTProjectionBasedARLens::s_typeId);
    znRTRenderUtils::s_pbarMode = bool(settings);
    if (!settings) {
        if (isProjector) // the next update makes the lens of the camera
            current->setLensShader(nullptr);
        return;
    }
    if (!isProjector) {
        lens = new znRTProjectionBasedARLens;
        current->setLensShader(lens);
    }
    static_cast<znRTProjectionBasedARLens*>(lens)->setPBARSettings(settings, viewId);
}

void znRaytracingUtils::updateSceneplates(znRaytracerP*, osg::Viewport* viewport, osg::Camera*)
{
    // Plates that were set on the render state stay, and the copy stage composes them.
    static znRTOnceWarning notDrawn("Backgrounds and scene plates of viewports are not drawn yet.");
    if (viewport && (viewport->getBackground() || !viewport->getForegrounds().empty() ||
                     !viewport->getSceneplates().empty()))
        notDrawn();
}

bool znRaytracingUtils::tracePhotons(znRaytracerP* view)
{
    using Settings = znRTRaytracingSettings;
    if (view->m_continueAccumulation && !view->m_photonMapDirty)
        return true;
    view->m_photonMapDirty = 0;
    const bool isInteractive = Settings::s_qualityMode == Settings::interactive;
    znRTRenderUtils::s_currentPhotonMap = isInteractive ? znRTRenderUtils::s_interactivePhotonMap
                                                        : znRTRenderUtils::s_stillFramePhotonMap;
    znRTPhotonState state;
    state.photonMode = Settings::s_photonMode;
    state.traceDepth = Settings::s_photonTraceDepth;
    state.gatherQuality = Settings::s_stillFrameFinalGatherQuality;
    state.iteration = view->m_iteration;
    state.stillFrame = Settings::s_qualityMode == Settings::stillFrame;
    const znRTPhotonDecision decision = decidePhotonRefresh(state);
    if (decision.action != znRTPhotonDecision::updateMap)
        return true;
    return znRTRenderUtils::updatePhotonMap(view, decision.iteration, decision.mode);
}

u64 znRaytracingUtils::getGlobalPhotonCount()
{
    return 0; // without a map
}

u64 znRaytracingUtils::getCausticPhotonCount()
{
    return 0;
}

u64 znRaytracingUtils::getFinalGatherCount()
{
    return 0;
}
