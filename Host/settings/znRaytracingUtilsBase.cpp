#include "host/znRaytracingUtilsBase.h"

#include "host/osg/Viewport.h"
#include "host/znRTCameraBase.h"
#include "host/znRTRaytracingSettings.h"
#include "host/znRTSceneBase.h"
#include "host/znRTSceneHandler.h"

namespace {

void* s_clusterServer = nullptr;

/// The scene that additions and deletions go to, or null.
znRTSceneBase* currentScene()
{
    return znRTSceneHandler::s_currentScene;
}

} // namespace

znRaytracingUtilsBase::~znRaytracingUtilsBase() = default;

// Views

void znRaytracingUtilsBase::setActiveViewport(osg::Viewport* viewport)
{
    znRTRaytracingSettings::s_viewport = viewport ? viewport->getId() : 0;
}

osg::Viewport* znRaytracingUtilsBase::getActiveViewport() const
{
    const u32 id = znRTRaytracingSettings::s_viewport;
    return osg::FCPtr<osg::Viewport>::dcast(osg::FieldContainerFactory::the()->getContainer(id))
        .get();
}

bool znRaytracingUtilsBase::getHitPoint(float x, float y, znRTVector3f& position,
                                        znRTVector3f& normal, osg::NodePtr& node)
{
    const znRTCameraBase* camera = getCurrentCamera();
    if (!camera || !camera->camera || camera->viewWidth == 0 || camera->viewHeight == 0)
        return false;
    const double ndcX = 2.0 * x / camera->viewWidth - 1.0;
    const double ndcY = 2.0 * y / camera->viewHeight - 1.0;
    const osg::TransformationMatrix<double>& toWorld = camera->toWorldProjection;
    const osg::Point<double, 3> from = toWorld.multFullMatrixPnt({ndcX, ndcY, -1.0});
    const osg::Point<double, 3> to = toWorld.multFullMatrixPnt({ndcX, ndcY, 1.0});
    const znRTVector3f origin{float(from[0]), float(from[1]), float(from[2])};
    const znRTVector3f direction{float(to[0] - from[0]), float(to[1] - from[1]),
                                 float(to[2] - from[2])};
    if (!(direction.getSquareLength() > 0.0f))
        return false;
    return getHitPoint(origin, direction, position, normal, node);
}

// Scene

void znRaytracingUtilsBase::clearChangeList()
{
    znRTSceneHandler::clearChangeList();
}

osg::RaytracingSettingsAttachmentPtr znRaytracingUtilsBase::getRaytracingSettingsAttachment() const
{
    return znRTSceneHandler::getRaytracingSettingsAttachment();
}

osg::SurfaceAnalysisAttachmentPtr znRaytracingUtilsBase::getSurfaceAnalysisAttachment() const
{
    return znRTSceneHandler::getSurfaceAnalysisAttachment();
}

znRTRaytracingSettings* znRaytracingUtilsBase::getCurrentRaytracingSettings() const
{
    return &znRTSceneHandler::s_currentRaytracingSettings;
}

void znRaytracingUtilsBase::setIsSaving(bool on)
{
    znRTSceneHandler::s_isSaving = on;
}

void znRaytracingUtilsBase::setSuperRoot(const osg::NodePtr& node)
{
    znRTSceneHandler::setSuperRoot(node);
}

void znRaytracingUtilsBase::setRoot(const osg::NodePtr& node)
{
    znRTSceneHandler::setRoot(node);
}

osg::NodePtr znRaytracingUtilsBase::getSuperRoot() const
{
    return znRTSceneHandler::getSuperRoot();
}

osg::NodePtr znRaytracingUtilsBase::getRoot() const
{
    return znRTSceneHandler::getRoot();
}

void znRaytracingUtilsBase::addNode(const osg::NodePtr& node)
{
    std::vector<osg::NodePtr> geometries, lights;
    znRTSceneHandler::getGeometries(node, geometries);
    znRTSceneHandler::getLightsources(node, lights);
    znRTSceneHandler::addGeometries(geometries);
    znRTSceneHandler::addLightsources(lights);
}

void znRaytracingUtilsBase::deleteNode(const osg::NodePtr& node)
{
    znRTSceneBase* scene = currentScene();
    if (!scene)
        return;
    const std::lock_guard<std::recursive_mutex> guard(scene->getLock());
    osg::traverse(node, [&](const osg::NodePtr& each) {
        scene->deleteGeometry(each->getId());
        scene->deleteLight(each->getId());
        scene->deleteClippingShape(each->getId());
        return true;
    });
}

void znRaytracingUtilsBase::initNewFrame()
{
    if (currentScene())
        currentScene()->initNewFrame();
}

void znRaytracingUtilsBase::initGeometries()
{
    if (currentScene())
        currentScene()->initGeometries();
}

bool znRaytracingUtilsBase::isInteractiveQualityMode() const
{
    return znRTRaytracingSettings::s_qualityMode == znRTRaytracingSettings::interactive;
}

bool znRaytracingUtilsBase::isFullQualityMode() const
{
    return znRTRaytracingSettings::s_qualityMode == znRTRaytracingSettings::stillFrame;
}

void znRaytracingUtilsBase::setClusterServer(void* server)
{
    s_clusterServer = server;
}

void* znRaytracingUtilsBase::getClusterServer() const
{
    return s_clusterServer;
}
