#include "io/gltfScene.h"

#include "host/osg/nodeCores.h"
#include "io/gltfAccessors.h"
#include "io/gltfCamerasLights.h"
#include "io/gltfSkins.h"

#include <algorithm>
#include <cmath>
#include <fmt/format.h>

namespace io {

namespace {

/// Matrix or translation, rotation and scale of a node.
osg::Matrix localMatrix(const Json& node)
{
    osg::Matrix m;
    if (const Json* list = member(node, "matrix")) {
        const std::vector<double> values = finiteNumbers(*list, 16, "matrix");
        for (int i = 0; i < 16; ++i)
            m[i / 4][i % 4] = float(values[i]);
        return m;
    }
    const auto t = numbers<3>(node, "translation", {0.0, 0.0, 0.0});
    const auto r = numbers<4>(node, "rotation", {0.0, 0.0, 0.0, 1.0});
    const auto s = numbers<3>(node, "scale", {1.0, 1.0, 1.0});
    osg::Matrix4d exact;
    osg::Vector<double, 4> rotation(r[0], r[1], r[2], r[3]);
    rotation.normalize();
    exact.setTransform({t[0], t[1], t[2]}, rotation, {s[0], s[1], s[2]});
    return osg::Matrix(exact);
}

/// A quarter turn about x: y of the file becomes z, its -z becomes y.
osg::NodeCorePtr turnToZUp()
{
    osg::Matrix m;
    m[1] = {0.0f, 0.0f, 1.0f, 0.0f};
    m[2] = {0.0f, -1.0f, 0.0f, 0.0f};
    const auto turn = osg::Transform::create();
    turn->setMatrix(m);
    return turn;
}

std::string fileNameOf(const std::string& path)
{
    return path.substr(path.find_last_of('/') + 1);
}

} // namespace

GltfScene::GltfScene(GltfDocument& document_)
    : document(document_), textures(document_), materials(document_, textures), meshes(document_)
{
}

SceneFile GltfScene::read()
{
    SceneFile scene;
    scene.root = osg::Node::create(turnToZUp(), fileNameOf(document.getName()));
    scene.variants = materials.getVariants();
    createNodes(scene);
    materials.decodeImagesAhead();
    for (const u64 index : inScene)
        fillNode(scene, index);
    scene.cameras = scene::findCameras(scene.root.get());
    if (instances == 0 && scene.cameras.empty() && scene.lights.empty())
        document.fail("holds nothing that could be shown");
    if (const Json* extras = member(document.getRoot(), "extras"))
        if (const Json* look = member(*extras, "zn"); look && look->is_object())
            scene.look = look->dump();
    scene.triangles = meshes.getTriangleCount();
    scene.warnings = document.getWarningCount();
    return scene;
}

/// The nodes of the default scene, of the first one, or all that nobody has as a child.
std::vector<u64> GltfScene::rootNodes() const
{
    const u64 nodeCount = document.count("nodes");
    std::vector<u64> roots;
    if (document.count("scenes") > 0) {
        const Json& scene = document.element("scenes", wholeNumber(document.getRoot(), "scene", 0));
        for (const Json& node : listOf(scene, "nodes"))
            roots.push_back(node.is_number_unsigned() ? node.get<u64>() : nodeCount);
        return roots;
    }
    std::vector<bool> isChild(nodeCount);
    for (u64 i = 0; i < nodeCount; ++i)
        for (const Json& child : listOf(document.element("nodes", i), "children"))
            if (child.is_number_unsigned() && child.get<u64>() < nodeCount)
                isChild[child.get<u64>()] = true;
    for (u64 i = 0; i < nodeCount; ++i)
        if (!isChild[i])
            roots.push_back(i);
    return roots;
}

void GltfScene::createNodes(SceneFile& scene)
{
    nodes.assign(document.count("nodes"), {});
    struct Waiting
    {
        u64 index;
        osg::NodePtr parent;
    };
    std::vector<Waiting> waiting;
    const auto push = [&](const std::vector<u64>& list, const osg::NodePtr& parent) {
        for (auto index = list.rbegin(); index != list.rend(); ++index)
            waiting.push_back({*index, parent});
    };
    push(rootNodes(), scene.root);
    while (!waiting.empty()) {
        const Waiting next = waiting.back();
        waiting.pop_back();
        if (next.index >= nodes.size()) {
            document.warn("a node that is not there is left out");
            continue;
        }
        if (nodes[next.index])
            document.fail(
                fmt::format("node {} has several parents or is inside itself", next.index));
        const Json& description = document.element("nodes", next.index);
        const osg::Ref<osg::Node> node = createNode(description, next.index);
        next.parent->addChild(node);
        nodes[next.index] = node;
        inScene.push_back(next.index);
        std::vector<u64> children;
        for (const Json& child : listOf(description, "children"))
            children.push_back(child.is_number_unsigned() ? child.get<u64>() : nodes.size());
        push(children, node);
    }
}

osg::Ref<osg::Node> GltfScene::createNode(const Json& description, u64 index)
{
    osg::Matrix matrix;
    try {
        matrix = localMatrix(description);
    } catch (const GltfFault& fault) {
        document.warn(fmt::format("node {} stays where it is: {}", index, fault.what()));
    }
    osg::NodeCorePtr core;
    if (!matrix.isIdentity()) {
        const auto transform = osg::Transform::create();
        transform->setMatrix(matrix);
        core = transform;
    }
    std::string name = text(description, "name");
    if (name.empty())
        name = fmt::format("node{}", index);
    osg::Ref<osg::Node> node = osg::Node::create(core, name);
    if (const Json* visibility = extension(description, "KHR_node_visibility"))
        node->setHidden(!flag(*visibility, "visible", true));
    return node;
}

void GltfScene::fillNode(SceneFile& scene, u64 index)
{
    const Json& description = document.element("nodes", index);
    const auto attempt = [&](const char* what, auto&& add) {
        try {
            add();
        } catch (const GltfFault& fault) {
            document.warn(
                fmt::format("the {} of node {} is left out: {}", what, index, fault.what()));
        }
    };
    attempt("mesh", [&] { addMesh(description, index); });
    attempt("camera", [&] { addCamera(description, index); });
    attempt("light", [&] { addLight(scene, description, index); });
}

void GltfScene::countInstances(u64 count)
{
    instances += count;
    document.getLimits().check(&Limits::instances, instances, document.getName(),
                               "the number of instances");
}

void GltfScene::addMesh(const Json& description, u64 index)
{
    const std::optional<u64> mesh = wholeNumber(description, "mesh");
    if (!mesh)
        return;
    const osg::NodePtr node = nodes[index];
    const std::vector<GltfMeshes::Part>& parts = meshes.get(*mesh, morphWeights(description));
    if (const auto skin = wholeNumber(description, "skin")) {
        std::vector<GltfMeshes::Part> posed;
        for (const GltfMeshes::Part& part : parts)
            posed.push_back({skinned(document, part, *skin, nodes, node), part.primitive});
        addParts(node, posed);
    } else if (const Json* instancing = extension(description, "EXT_mesh_gpu_instancing"))
        addInstances(*instancing, node, parts);
    else
        addParts(node, parts);
}

void GltfScene::addParts(const osg::NodePtr& parent, const std::vector<GltfMeshes::Part>& parts)
{
    countInstances(parts.size());
    for (const GltfMeshes::Part& part : parts) {
        if (!part.geometry->getMaterial())
            part.geometry->setMaterial(materials.get(*part.primitive));
        parent->addChild(osg::Node::create(part.geometry.get(), getName(part.geometry.get())));
    }
}

void GltfScene::addInstances(const Json& instancing, const osg::NodePtr& parent,
                             const std::vector<GltfMeshes::Part>& parts)
{
    const Json* attributes = member(instancing, "attributes");
    if (!attributes)
        throw GltfFault("its instances have no attributes");
    u64 count = 0;
    const auto read = [&](const char* name, u32 components) {
        GltfArray array;
        if (const auto accessor = wholeNumber(*attributes, name)) {
            array = readFloats(document, *accessor, components);
            if (count != 0 && array.size() != count)
                throw GltfFault("its instances have attributes of different length");
            count = array.size();
        }
        return array;
    };
    const GltfArray places = read("TRANSLATION", 3), turns = read("ROTATION", 4);
    const GltfArray sizes = read("SCALE", 3);
    for (u64 i = 0; i < count; ++i) {
        const auto vector = [&](const GltfArray& array, double missing) {
            return array.values.empty() ? osg::Vec3d(missing, missing, missing)
                                        : osg::Vec3d(array[i][0], array[i][1], array[i][2]);
        };
        osg::Vector<double, 4> turn(0.0, 0.0, 0.0, 1.0);
        if (!turns.values.empty())
            turn = {turns[i][0], turns[i][1], turns[i][2], turns[i][3]};
        turn.normalize();
        osg::Matrix4d matrix;
        matrix.setTransform(vector(places, 0.0), turn, vector(sizes, 1.0));
        const auto transform = osg::Transform::create();
        transform->setMatrix(osg::Matrix(matrix));
        const osg::NodePtr instance = osg::Node::create(transform, fmt::format("instance{}", i));
        parent->addChild(instance);
        addParts(instance, parts);
    }
}

void GltfScene::addCamera(const Json& description, u64 index)
{
    const std::optional<u64> number = wholeNumber(description, "camera");
    if (!number)
        return;
    const osg::Ref<osg::UberCamera> camera = readGltfCamera(document, *number);
    if (getName(camera.get()).empty())
        setName(camera.get(), getName(nodes[index]));
    const osg::NodePtr holder = osg::Node::create(camera.get(), getName(camera.get()));
    nodes[index]->addChild(holder);
    camera->setBeacon(holder);
}

void GltfScene::addLight(SceneFile& scene, const Json& description, u64 index)
{
    const Json* reference = extension(description, "KHR_lights_punctual");
    const std::optional<u64> number = reference ? wholeNumber(*reference, "light") : std::nullopt;
    if (!number)
        return;
    const osg::Ref<osg::UberLight> light = readGltfLight(document, *number);
    if (getName(light.get()).empty())
        setName(light.get(), getName(nodes[index]));
    const osg::NodePtr holder = osg::Node::create(light.get(), getName(light.get()));
    nodes[index]->addChild(holder);
    scene.lights.push_back({getName(light.get()), light.get(), holder});
}

} // namespace io
