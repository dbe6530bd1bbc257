#pragma once

// A small scene for looks, and looks as texts.

#include "gltfReading.h"
#include "support/messageOf.h"

#include "host/osg/Geometry.h"
#include "host/osg/Materials.h"
#include "host/osg/RaytracingLightAttachment.h"
#include "host/osg/Transform.h"
#include "host/osg/UberCamera.h"
#include "host/osg/UberLight.h"
#include "io/looks.h"

#include <gtest/gtest.h>

namespace lookTest {

inline osg::Ref<osg::Geometry> makeTriangle(const osg::MaterialPtr& material)
{
    const osg::Ref<osg::Geometry> geometry = osg::Geometry::create();
    const std::vector<osg::Vec3f> corners = {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}};
    geometry->setPositions(osg::GeoProperty::create(std::span<const osg::Vec3f>(corners)));
    geometry->setTypes({osg::Geometry::triangles});
    geometry->setLengths({3});
    geometry->setMaterial(material);
    return geometry;
}

inline osg::Ref<osg::UPlasticMaterial> makePlastic(const char* name)
{
    const osg::Ref<osg::UPlasticMaterial> material = osg::UPlasticMaterial::create();
    osg::setName(material.get(), name);
    return material;
}

/// /car/body ("lacquer"), /car/wheel and /car/wheel#2 (one core, "rubber"), /ground ("grey"),
/// /lamp with a light of that name below, /eye with a camera.
class LookTest : public testing::Test
{
protected:
    LookTest()
    {
        root = osg::Node::create(nullptr, "root");
        const osg::NodePtr car = osg::Node::create(nullptr, "car");
        body = osg::Node::create(makeTriangle(makePlastic("lacquer").get()).get(), "body");
        const osg::Ref<osg::Geometry> wheel = makeTriangle(makePlastic("rubber").get());
        wheels[0] = osg::Node::create(wheel.get(), "wheel");
        wheels[1] = osg::Node::create(wheel.get(), "wheel");
        ground = osg::Node::create(makeTriangle(makePlastic("grey").get()).get(), "ground");
        root->addChild(car);
        car->addChild(body);
        car->addChild(wheels[0]);
        car->addChild(wheels[1]);
        root->addChild(ground);
        light = osg::UPointLight::create();
        osg::setName(light.get(), "lamp");
        const osg::NodePtr lamp = osg::Node::create(osg::Transform::create(), "lamp");
        lamp->addChild(osg::Node::create(light.get(), "lamp"));
        root->addChild(lamp);
        camera = osg::UberCamera::create();
        const osg::NodePtr eye = osg::Node::create(camera.get(), "eye");
        root->addChild(eye);
        camera->setBeacon(eye);
        scene.root = root;
        scene.cameras = scene::findCameras(root.get());
        scene.lights = io::findLights(root.get());
    }

    void apply(const std::string& look)
    {
        io::applyLookText(scene, look, "a.zn.json", nullptr, {});
    }
    /// The one line that a wrong look gives.
    std::string faultOf(const std::string& look)
    {
        return messageOf([&] { apply(look); });
    }
    void set(const std::string& assignment) { io::applySetting(scene, assignment, {}); }

    static osg::MaterialPtr materialOf(const osg::NodePtr& node)
    {
        return osg::Geometry::Ptr::dcast(node->getCore())->getMaterial();
    }
    static std::string materialName(const osg::NodePtr& node)
    {
        return osg::getName(materialOf(node));
    }
    /// A material of a look, also when nothing shows it.
    template <class T>
    osg::FCPtr<T> made(const char* name)
    {
        const auto found = scene.looks.materials.find(name);
        return found == scene.looks.materials.end() ? osg::FCPtr<T>()
                                                    : osg::FCPtr<T>::dcast(found->second.get());
    }

    osg::Ref<osg::Node> root;
    osg::NodePtr body, wheels[2], ground;
    osg::Ref<osg::UPointLight> light;
    osg::Ref<osg::UberCamera> camera;
    io::SceneFile scene;
};

} // namespace lookTest
