#pragma once

// A root, a change list and a scene that writes down what it is asked to do.

#include "host/osg/Geometry.h"
#include "host/osg/Materials.h"
#include "host/znRTGeometryNodeBase.h"
#include "host/znRTSceneBase.h"
#include "host/znRTSceneHandler.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

class PlainObject : public znRTGeometryNodeBase
{
public:
    static inline const znRTTypeId typeId{"PlainObject"};
    PlainObject(const osg::NodePtr& node, const osg::NodeCorePtr& core)
        : znRTGeometryNodeBase(typeId)
    {
        setNode(node, core);
    }
};

/// Objects are kept in the order of addition; calls are noted as "operation id".
class RecordingScene : public znRTSceneBase
{
public:
    void clear() override { objects.clear(); }
    void initMaterials() override { note("initMaterials"); }
    void initNewFrame() override { note("initNewFrame"); }
    void initGeometries() override { note("initGeometries"); }
    bool updateMaterial(const osg::MaterialPtr& material, unsigned int& flags) override
    {
        note("updateMaterial", material->getId());
        flags = materialFlags;
        return true;
    }
    bool updateClippingShape(const osg::NodePtr& node, unsigned int&) override
    {
        note("updateClippingShape", node->getId());
        return true;
    }
    void updateMaterials() override { note("updateMaterials"); }
    void updateLights() override { note("updateLights"); }
    void updateGeometryLights() override { note("updateGeometryLights"); }
    void updateRayGeometryLights() override { note("updateRayGeometryLights"); }
    void updateLightPortals() override { note("updateLightPortals"); }
    void applyMaterialChanges() override { note("applyMaterialChanges"); }
    bool setMaterial(unsigned int, const osg::MaterialPtr&) override { return false; }
    bool updateObjectMaterial(unsigned int index) override
    {
        note("updateObjectMaterial", objects[index]->getNodeId());
        return asksForRebuild;
    }
    bool updateObject(unsigned int index) override
    {
        note("updateObject", objects[index]->getNodeId());
        return asksForRebuild;
    }
    bool reinitObject(unsigned int index) override
    {
        note("reinitObject", objects[index]->getNodeId());
        return asksForRebuild;
    }
    u64 getObjectListSize() const override { return objects.size(); }
    u64 getSceneNodesSize() const override { return objects.size(); }
    znRTGeometryNodeBase* getGeometryNodeBase(unsigned long long index) override
    {
        return index < objects.size() ? objects[index].get() : nullptr;
    }
    void addGeometryNode(const osg::NodePtr& node, const osg::NodeCorePtr& core) override
    {
        note("addGeometryNode", node->getId());
        objects.push_back(std::make_unique<PlainObject>(node, core));
    }
    bool deleteGeometry(unsigned long long id) override
    {
        note("deleteGeometry", u32(id));
        return std::erase_if(objects, [&](const auto& o) { return o->getNodeId() == id; }) > 0;
    }
    void addEnvironmentLight(const osg::MaterialPtr&) override {}
    bool deleteEnvironmentLight(unsigned long long id) override
    {
        note("deleteEnvironmentLight", u32(id));
        return false;
    }
    bool deleteEnvironmentLight(const osg::MaterialPtr&) override { return false; }
    void setHeadlight(const osg::NodePtr& node) override { note("setHeadlight", node->getId()); }
    void addLight(const osg::NodePtr& node) override { note("addLight", node->getId()); }
    bool deleteLight(unsigned long long id) override
    {
        note("deleteLight", u32(id));
        return false;
    }
    bool deleteMaterial(unsigned long long id) override
    {
        note("deleteMaterial", u32(id));
        return false;
    }
    bool deleteClippingShape(unsigned long long id) override
    {
        note("deleteClippingShape", u32(id));
        return false;
    }
    void applyImageQuadChanges() override { note("applyImageQuadChanges"); }

    bool wasAsked(const std::string& operation, u32 id = 0) const
    {
        return std::find(calls.begin(), calls.end(), operation + " " + std::to_string(id)) !=
               calls.end();
    }

    std::vector<std::string> calls;
    bool asksForRebuild = false;
    unsigned materialFlags = 0;

private:
    void note(const std::string& operation, u32 id = 0)
    {
        calls.push_back(operation + " " + std::to_string(id));
    }
    std::vector<std::unique_ptr<PlainObject>> objects;
};

/// root - group - { one, two }, both with a triangle of their own.
class SceneFixture : public testing::Test
{
protected:
    SceneFixture()
    {
        znRTSceneHandler::setRoot(root.get());
        znRTSceneHandler::addScene("Test", &scene);
        znRTSceneHandler::setCurrentScene("Test");
        root->addChild(group.get());
        group->addChild(one.get());
        group->addChild(two.get());
        znRTSceneHandler::addGeometries({one.get(), two.get()});
        scene.calls.clear();
        znRTSceneHandler::initializeChangeList();
        znRTSceneHandler::clearChangeList();
    }
    ~SceneFixture() override
    {
        znRTSceneHandler::destroyChangeList();
        znRTSceneHandler::deleteAllScenes();
        znRTSceneHandler::setRoot({});
    }

    static osg::GeometryPtr makeTriangle()
    {
        osg::GeometryPtr core = osg::Geometry::create();
        core->setPositions(osg::GeoProperty::create({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}));
        core->setTypes({osg::Geometry::triangles});
        core->setLengths({3});
        core->setMaterial(osg::UPhongMaterial::create());
        return core;
    }
    static osg::Ref<osg::Node> makeNode(const osg::NodeCorePtr& core)
    {
        return osg::Ref<osg::Node>(osg::Node::create(core));
    }

    /// What happened since the list was cleared.
    znRTSceneChanges filter(u32 mask = 0xffffffffu)
    {
        znRTSceneChanges changes;
        znRTSceneHandler::filterChanges(*znRTSceneHandler::getChangeList(), mask, changes);
        return changes;
    }

    RecordingScene scene;
    osg::GeometryPtr triangleOne = makeTriangle(), triangleTwo = makeTriangle();
    osg::FCPtr<osg::Transform> transform = osg::Transform::create();
    osg::Ref<osg::Node> root = makeNode(osg::Group::create()), group = makeNode(transform);
    osg::Ref<osg::Node> one = makeNode(triangleOne), two = makeNode(triangleTwo);
};
