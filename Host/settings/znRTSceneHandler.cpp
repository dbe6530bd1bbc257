#include "host/znRTSceneHandler.h"

#include "host/osg/ClipPlane.h"
#include "host/osg/UberLight.h"
#include "host/osg/nodeCores.h"
#include "host/znRTSceneBase.h"
#include "settings/ancestry.h"

#include <atomic>
#include <map>
#include <memory>

namespace {

std::map<std::string, znRTSceneBase*>& scenes()
{
    static std::map<std::string, znRTSceneBase*> registry;
    return registry;
}

// Never destroyed: the registry of containers may go first when the process ends.
osg::Ref<osg::Node>& superRoot()
{
    static auto* node = new osg::Ref<osg::Node>;
    return *node;
}

osg::Ref<osg::Node>& root()
{
    static auto* node = new osg::Ref<osg::Node>;
    return *node;
}

osg::Ref<osg::Node>& materialBallRoot()
{
    static auto* node = new osg::Ref<osg::Node>;
    return *node;
}

/// The list of one thread. It is out of force before it goes, with the thread at the latest.
class OwnChangeList
{
public:
    ~OwnChangeList() { destroy(); }
    osg::ChangeList* get() const { return list.get(); }
    void create()
    {
        list = std::make_unique<osg::ChangeList>();
        previous = osg::ChangeList::setCurrent(list.get());
    }
    void destroy()
    {
        if (list && osg::ChangeList::current() == list.get())
            osg::ChangeList::setCurrent(previous);
        previous = nullptr;
        list.reset();
    }

private:
    std::unique_ptr<osg::ChangeList> list;
    osg::ChangeList* previous = nullptr;
};

thread_local OwnChangeList s_changeList;
std::atomic<u64> s_buildTimeStamp{1};

} // namespace

osg::NodePtr znRTSceneHandler::s_materialBallRoot;

// Scenes

bool znRTSceneHandler::addScene(const std::string& name, znRTSceneBase* scene)
{
    return scene && scenes().try_emplace(name, scene).second;
}

bool znRTSceneHandler::deleteScene(const std::string& name)
{
    const auto place = scenes().find(name);
    if (place == scenes().end())
        return false;
    if (s_currentScene == place->second)
        s_currentScene = nullptr;
    scenes().erase(place);
    return true;
}

void znRTSceneHandler::deleteAllScenes()
{
    scenes().clear();
    s_currentScene = nullptr;
}

znRTSceneBase* znRTSceneHandler::getScene(const std::string& name)
{
    const auto place = scenes().find(name);
    return place == scenes().end() ? nullptr : place->second;
}

bool znRTSceneHandler::setCurrentScene(const std::string& name)
{
    znRTSceneBase* scene = getScene(name);
    if (!scene)
        return false;
    s_currentScene = scene;
    return true;
}

// Roots

void znRTSceneHandler::setSuperRoot(const osg::NodePtr& node)
{
    superRoot() = osg::Ref<osg::Node>(node);
}

osg::NodePtr znRTSceneHandler::getSuperRoot()
{
    return superRoot();
}

void znRTSceneHandler::setRoot(const osg::NodePtr& node)
{
    root() = osg::Ref<osg::Node>(node);
}

osg::NodePtr znRTSceneHandler::getRoot()
{
    return root();
}

void znRTSceneHandler::setMaterialBallRoot(const osg::NodePtr& node)
{
    materialBallRoot() = osg::Ref<osg::Node>(node);
    s_materialBallRoot = node;
}

bool znRTSceneHandler::isMaterialPreviewNode(const osg::NodePtr& node)
{
    return s_materialBallRoot && isAtOrBelow(node, s_materialBallRoot);
}

bool znRTSceneHandler::isAuxiliaryNode(const osg::NodePtr& node)
{
    return getSuperRoot() && getSuperRoot() != getRoot() && isAtOrBelow(node, getSuperRoot()) &&
           !isAtOrBelow(node, getRoot()) && !isMaterialPreviewNode(node);
}

// Settings

namespace {

template <class Attachment>
osg::FCPtr<Attachment> attachmentOfRoot()
{
    const osg::NodePtr node = znRTSceneHandler::getRoot();
    if (!node)
        return {};
    osg::FCPtr<Attachment> attachment = Attachment::getAttachment(node);
    if (!attachment) {
        attachment = Attachment::create();
        node->addAttachment(attachment);
    }
    return attachment;
}

} // namespace

osg::RaytracingSettingsAttachmentPtr znRTSceneHandler::getRaytracingSettingsAttachment()
{
    return attachmentOfRoot<osg::RaytracingSettingsAttachment>();
}

osg::SurfaceAnalysisAttachmentPtr znRTSceneHandler::getSurfaceAnalysisAttachment()
{
    return attachmentOfRoot<osg::SurfaceAnalysisAttachment>();
}

// Nodes

void znRTSceneHandler::getGeometries(const osg::NodePtr& from, std::vector<osg::NodePtr>& out)
{
    osg::traverse(from, [&](const osg::NodePtr& node) {
        if (isAuxiliaryNode(node))
            return true; // the root may lie below
        if (osg::isKindOf<osg::MaterialDrawable>(node->getCore()))
            out.push_back(node);
        return true;
    });
}

void znRTSceneHandler::getLightsources(const osg::NodePtr& from, std::vector<osg::NodePtr>& out)
{
    osg::traverse(from, [&](const osg::NodePtr& node) {
        if (!isAuxiliaryNode(node) && osg::isKindOf<osg::UberLight>(node->getCore()))
            out.push_back(node);
        return true;
    });
}

void znRTSceneHandler::addGeometries(const std::vector<osg::NodePtr>& nodes)
{
    if (!s_currentScene)
        return;
    const std::lock_guard<std::recursive_mutex> guard(s_currentScene->getLock());
    for (const osg::NodePtr& node : nodes)
        s_currentScene->addGeometryNode(node, node ? node->getCore() : osg::NodeCorePtr());
}

void znRTSceneHandler::addLightsources(const std::vector<osg::NodePtr>& nodes)
{
    if (!s_currentScene)
        return;
    const std::lock_guard<std::recursive_mutex> guard(s_currentScene->getLock());
    for (const osg::NodePtr& node : nodes) {
        if (node && osg::isKindOf<osg::UHeadLight>(node->getCore()))
            s_currentScene->setHeadlight(node);
        else
            s_currentScene->addLight(node);
    }
}

// Change list of the thread

void znRTSceneHandler::initializeChangeList()
{
    if (!s_changeList.get())
        s_changeList.create();
}

void znRTSceneHandler::destroyChangeList()
{
    s_changeList.destroy();
}

osg::ChangeList* znRTSceneHandler::getChangeList()
{
    return s_changeList.get();
}

void znRTSceneHandler::clearChangeList()
{
    if (osg::ChangeList* list = s_changeList.get())
        list->clear();
}

u64 znRTSceneHandler::updateBuildTimeStamp()
{
    return ++s_buildTimeStamp;
}

u64 znRTSceneHandler::getBuildTimeStamp()
{
    return s_buildTimeStamp;
}

// Forwarding

#define ZN_FORWARD(operation)                                                                      \
    void znRTSceneHandler::operation()                                                             \
    {                                                                                              \
        if (s_currentScene)                                                                        \
            s_currentScene->operation();                                                           \
    }
ZN_FORWARD(initMaterials)
ZN_FORWARD(updateLights)
ZN_FORWARD(updateMaterials)
ZN_FORWARD(updateGeometryLights)
ZN_FORWARD(updateRayGeometryLights)
ZN_FORWARD(updateLightPortals)
#undef ZN_FORWARD
