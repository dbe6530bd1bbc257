#include "io/LookObjects.h"

#include "driver/surroundings.h"
#include "driver/viewFraming.h"
#include "host/osg/EnvironmentAttachment.h"
#include "host/osg/LightProfileAttachment.h"
#include "host/osg/Transform.h"
#include "host/osg/UberCamera.h"
#include "io/InputError.h"
#include "io/imageReader.h"
#include "io/lightProfile.h"
#include "system/nearestName.h"

#include <algorithm>
#include <cmath>
#include <fmt/format.h>
#include <numbers>

namespace io {

namespace {

const std::vector<std::string> placeNames = {"position", "at", "up", "rotation", "scale", "matrix"};

/// Turns about x, then y, then z.
osg::Matrix4d rotationOf(const osg::Vec3d& degrees)
{
    osg::Matrix4d result;
    for (int axis = 0; axis < 3; ++axis) {
        const double angle = degrees[axis] * std::numbers::pi / 180.0;
        const int a = (axis + 1) % 3, b = (axis + 2) % 3;
        osg::Matrix4d turn;
        turn[a][a] = turn[b][b] = std::cos(angle);
        turn[a][b] = std::sin(angle);
        turn[b][a] = -turn[a][b];
        result.multLeft(turn);
    }
    return result;
}

/// "/folder/car.step" is called "car".
std::string stemOf(const std::string& file)
{
    const std::string name = file.substr(file.find_last_of("/\\") + 1);
    return name.substr(0, name.rfind('.') == 0 ? name.npos : name.rfind('.'));
}

} // namespace

// Places

osg::Vec3d LookObjects::vector(const LookValue& value)
{
    const std::vector<double> v = fields.numbers(value, 3, "3 numbers");
    // Squares of distances have to stay floats as well.
    for (const double x : v)
        if (std::abs(x) > 1e15)
            fields.document.fail(value, "is too far away");
    return {v[0], v[1], v[2]};
}

osg::Matrix LookObjects::lookAt(const Place& place)
{
    const auto toFloat = [](const osg::Vec3d& v) {
        return osg::Vec3f(float(v[0]), float(v[1]), float(v[2]));
    };
    ViewRequest request;
    request.eye = place.position ? toFloat(vector(*place.position)) : osg::Vec3f(0, 0, 0);
    request.at = toFloat(vector(*place.at));
    if (place.up)
        request.up = toFloat(vector(*place.up));
    if (*request.eye == *request.at)
        fields.document.fail(*place.at, "is where it stands: there is no direction to look into");
    if (request.up && *request.up == osg::Vec3f(0, 0, 0))
        fields.document.fail(*place.up, "is no direction");
    return lookAtMatrix(frameScene(osg::Box(), request));
}

std::optional<osg::Matrix> LookObjects::placeOf(const LookValue& object)
{
    const Place place{object.find("position"), object.find("at"),    object.find("up"),
                      object.find("rotation"), object.find("scale"), object.find("matrix")};
    if (place.matrix) {
        for (const LookValue* other :
             {place.position, place.at, place.up, place.rotation, place.scale})
            if (other)
                fields.document.fail(*other, "cannot stand beside a matrix");
        const std::vector<double> list =
            fields.numbers(*place.matrix, 16, "16 numbers, column by column");
        osg::Matrix matrix;
        for (std::size_t i = 0; i < 16; ++i) {
            if (!std::isfinite(float(list[i])))
                fields.document.fail(*place.matrix, "holds a number larger than a float can be");
            matrix[int(i / 4)][i % 4] = float(list[i]);
        }
        if (osg::Matrix inverse; !matrix.inverse(inverse))
            fields.document.fail(*place.matrix, "has no inverse");
        return matrix;
    }
    if (place.at) {
        for (const LookValue* other : {place.rotation, place.scale})
            if (other)
                fields.document.fail(*other, "cannot stand beside \"at\"");
        return lookAt(place);
    }
    if (place.up)
        fields.document.fail(*place.up, "belongs to \"at\"");
    if (!place.position && !place.rotation && !place.scale)
        return std::nullopt;
    osg::Matrix4d matrix;
    if (place.scale) {
        const osg::Vec3d scale =
            place.scale->isNumber()
                ? osg::Vec3d(place.scale->number, place.scale->number, place.scale->number)
                : vector(*place.scale);
        for (int axis = 0; axis < 3; ++axis) {
            if (!(std::abs(scale[axis]) >= 1e-9 && std::abs(scale[axis]) <= 1e9))
                fields.document.fail(*place.scale, "should lie in [1e-9, 1e9]");
            matrix[axis][axis] = scale[axis];
        }
    }
    if (place.rotation)
        matrix.multLeft(rotationOf(vector(*place.rotation)));
    if (place.position) {
        const osg::Vec3d position = vector(*place.position);
        for (int axis = 0; axis < 3; ++axis)
            matrix[3][std::size_t(axis)] = position[axis];
    }
    return osg::Matrix(matrix);
}

/// A child of the root at a place of the world, whatever the root's own matrix is.
osg::NodePtr LookObjects::addPlaced(const osg::Matrix& toWorld, const std::string& name, u32 index)
{
    const osg::NodePtr root = fields.world.scene.root.get();
    osg::Matrix4d inverse = root->getToWorldDouble();
    if (!inverse.invert())
        inverse.setIdentity();
    const auto transform = osg::Transform::create();
    transform->setMatrix(osg::Matrix(inverse * osg::Matrix4d(toWorld)));
    const osg::NodePtr node = osg::Node::create(transform, name);
    root->insertChild(index, node);
    return node;
}

// What all lists share

const std::vector<LookValue>& LookObjects::entries(const LookValue& list)
{
    if (!list.isArray() || !list.numbers.empty())
        fields.document.fail(list,
                             fmt::format("should be a list of objects, not {}", list.kindName()));
    for (const LookValue& entry : list.values)
        if (!entry.isObject())
            fields.document.fail(entry,
                                 fmt::format("should be an object, not {}", entry.kindName()));
    return list.values;
}

std::string LookObjects::nameOf(const LookValue& object)
{
    const LookValue* const name = object.find("name");
    return name ? fields.text(*name) : "";
}

// Files

void LookObjects::addAssets(const LookValue& list)
{
    for (const LookValue& entry : entries(list))
        addAsset(entry);
}

void LookObjects::addAsset(const LookValue& object)
{
    SceneReadOptions read = options;
    const LookValue* file = nullptr;
    for (const LookValue& member : object.values) {
        if (member.key == "file")
            file = &member;
        else if (member.key == "unit") {
            const std::vector<std::string> names = {"m", "cm", "mm", "in"};
            const double metres[] = {1.0, 0.01, 0.001, 0.0254};
            const auto found = std::find(names.begin(), names.end(), fields.text(member));
            if (found == names.end())
                fields.document.fail(member, fmt::format("there is no unit '{}'{}", member.text,
                                                         perhaps(member.text, names)));
            read.conventions.metresPerUnit = metres[found - names.begin()];
        } else if (member.key == "upAxis") {
            if (fields.text(member) != "y" && member.text != "z")
                fields.document.fail(member, "should be \"y\" or \"z\"");
            read.conventions.upAxis = member.text[0];
        } else if (member.key != "name" && std::find(placeNames.begin(), placeNames.end(),
                                                     member.key) == placeNames.end()) {
            std::vector<std::string> names = placeNames;
            names.insert(names.end(), {"file", "name", "unit", "upAxis"});
            fields.document.fail(member, fmt::format("an asset has no '{}'{}", member.key,
                                                     perhaps(member.key, names)));
        }
    }
    if (!file)
        fields.document.fail(object, "needs a \"file\"");
    const std::string path = fields.openFile(*file).getName();
    SceneFile asset;
    try {
        asset = readScene(path, read);
    } catch (const InputError& error) {
        fields.document.fail(*file, error.what());
    }
    const std::string name = nameOf(object);
    osg::setName(asset.root.get(), name.empty() ? stemOf(file->text) : name);
    SceneFile& scene = fields.world.scene;
    if (const auto matrix = placeOf(object)) {
        // The place comes in front of what the file's own root does.
        osg::Matrix4d toWorld(*matrix);
        toWorld.mult(asset.root->getToWorldDouble());
        const auto transform = osg::Transform::create();
        osg::Matrix4d inverse = scene.root->getToWorldDouble();
        if (!inverse.invert())
            inverse.setIdentity();
        transform->setMatrix(osg::Matrix(inverse * toWorld));
        asset.root->setCore(transform);
    }
    appendScene(scene, asset);
    fields.world.nodes.clear();
}

// Lights

void LookObjects::setProfile(const osg::FieldContainerPtr& light, const LookValue& name)
{
    InputFile file = fields.openFile(name);
    try {
        const osg::Ref<osg::LightProfileAttachment> profile =
            makeLightProfileAttachment(readLightProfile(file));
        osg::AttachmentContainerPtr::dcast(light)->addAttachment(profile.get());
    } catch (const InputError& error) {
        fields.document.fail(name, error.what());
    }
}

/// A light with an extent of 0 is left out of the picture; the other lights shine on.
void LookObjects::warnOfMissingExtent(const osg::FieldContainerPtr& light, const LookValue& object)
{
    for (const char* const name : {"sizeX", "sizeY", "radius"}) {
        const osg::FieldDescription* const field = LookFields::findField(*light, name);
        if (!field || std::get<float>(field->get(*light)) > 0.0f)
            continue;
        const LookValue* const member = object.find(name);
        fields.document.warn(member ? *member : object,
                             fmt::format("a light with a {} of 0 gives no light", name));
        return;
    }
}

void LookObjects::setLight(const LookValue& object)
{
    SceneFile& scene = fields.world.scene;
    const std::string name = nameOf(object);
    std::vector<SceneFile::LightEntry> lights;
    std::vector<std::string> names;
    for (const SceneFile::LightEntry& entry : findLights(scene.root.get())) {
        names.push_back(entry.name);
        if (!name.empty() && entry.name == name)
            lights.push_back(entry);
    }
    const LookValue* const type = object.find("type");
    if (!type && lights.empty())
        fields.document.fail(
            object,
            name.empty()
                ? "needs a \"type\", or the \"name\" of a light to change"
                : fmt::format("there is no light '{}' to change{}; a new one needs a \"type\"",
                              name, perhaps(name, names)));
    const std::optional<osg::Matrix> place = placeOf(object);
    const bool isNew = lights.empty();
    if (isNew) {
        const osg::Ref<osg::FieldContainer> core =
            fields.create(object, osg::UberLight::getClassType());
        osg::setName(core.get(), name.empty() ? "light" : name);
        const osg::NodePtr node =
            addPlaced(place.value_or(osg::Matrix()), osg::getName(core.get()), ~0u);
        const osg::NodePtr holder =
            osg::Node::create(osg::NodeCorePtr::dcast(core.get()), osg::getName(core.get()));
        node->addChild(holder);
        lights.push_back(
            {osg::getName(core.get()), osg::FCPtr<osg::UberLight>::dcast(core.get()), holder});
        fields.world.nodes.clear();
    } else if (type) {
        for (SceneFile::LightEntry& entry : lights) {
            const osg::Ref<osg::FieldContainer> core =
                fields.create(object, osg::UberLight::getClassType());
            osg::setName(core.get(), name);
            entry.node->setCore(osg::NodeCorePtr::dcast(core.get()));
            entry.light = osg::FCPtr<osg::UberLight>::dcast(core.get());
        }
    }
    std::vector<std::string> others = placeNames;
    others.insert(others.end(), {"name", "profile"});
    for (const SceneFile::LightEntry& entry : lights) {
        if (place && !isNew)
            entry.light->setBeacon(addPlaced(*place, name + " place", ~0u));
        fields.setMembers(entry.light, object, others);
        if (const LookValue* const profile = object.find("profile"))
            setProfile(entry.light, *profile);
        warnOfMissingExtent(entry.light, object);
    }
}

void LookObjects::setLights(const LookValue& list)
{
    for (const LookValue& entry : entries(list))
        setLight(entry);
    fields.world.scene.lights = findLights(fields.world.scene.root.get());
}

// Cameras

bool LookObjects::setCamera(const LookValue& object, u32 index)
{
    const std::string name = nameOf(object);
    std::vector<osg::CameraPtr> cameras;
    for (const scene::NamedCamera& entry : scene::findCameras(fields.world.scene.root.get()))
        if (!name.empty() && entry.name == name)
            cameras.push_back(entry.camera);
    const std::optional<osg::Matrix> place = placeOf(object);
    const bool isNew = cameras.empty();
    if (isNew) {
        const osg::Ref<osg::FieldContainer> core =
            fields.create(object, osg::UberCamera::getClassType());
        const std::string called = name.empty() ? "camera" : name;
        osg::setName(core.get(), called);
        const osg::NodePtr node = addPlaced(place.value_or(osg::Matrix()), called, index);
        const osg::NodePtr holder = osg::Node::create(osg::NodeCorePtr::dcast(core.get()), called);
        node->addChild(holder);
        cameras.push_back(osg::CameraPtr::dcast(core.get()));
        cameras.back()->setBeacon(holder);
    }
    std::vector<std::string> others = placeNames;
    others.push_back("name");
    for (const osg::CameraPtr& camera : cameras) {
        if (place && !isNew)
            camera->setBeacon(addPlaced(*place, name + " place", ~0u));
        fields.setMembers(camera, object, others);
    }
    return isNew;
}

void LookObjects::setCameras(const LookValue& list)
{
    // In front of those that the scene has: the first camera is the one that is used.
    u32 index = 0;
    for (const LookValue& entry : entries(list))
        index += setCamera(entry, index) ? 1 : 0;
    fields.world.nodes.clear();
    fields.world.scene.cameras = scene::findCameras(fields.world.scene.root.get());
}

// Environment

void LookObjects::setEnvironment(const LookValue& object)
{
    const osg::NodePtr root = fields.world.scene.root.get();
    osg::Ref<osg::EnvironmentAttachment> attachment =
        osg::EnvironmentAttachment::getAttachment(root);
    if (object.kind == LookValue::Kind::null) {
        root->subAttachment(attachment.get());
        return;
    }
    if (!object.isObject())
        fields.document.fail(object, fmt::format("should be an object, not {}", object.kindName()));
    osg::Ref<osg::FieldContainer> material;
    if (attachment)
        material = osg::FieldContainerPtr(attachment->getMaterial());
    const LookValue* const type = object.find("type");
    const LookValue* const image = object.find("image");
    const auto& base = osg::UEnvironmentMaterial::getClassType();
    const bool isSphere =
        !type || &fields.type(*type, base) == &osg::USphereEnvironmentMaterial::getClassType();
    if (image && isSphere) {
        InputFile file = fields.openFile(*image);
        try {
            material = surroundings::makeImageEnvironment(readImage(file), image->text);
        } catch (const InputError& error) {
            fields.document.fail(*image, error.what());
        }
        if (!material)
            fields.document.fail(*image, "is an image without pixels");
    } else if (type)
        material = fields.create(object, base);
    else if (!material)
        fields.document.fail(object, "needs an \"image\" or a \"type\"");
    if (osg::getName(material.get()).empty())
        osg::setName(material.get(), "environment");
    fields.setMembers(material.get(), object,
                      isSphere && image ? std::vector<std::string>{"turn", "image"}
                                        : std::vector<std::string>{"turn"});
    if (const LookValue* const turn = object.find("turn"))
        surroundings::rotate(*osg::FCPtr<osg::UEnvironmentMaterial>::dcast(material.get()),
                             float(std::remainder(fields.number(*turn), 360.0)));
    if (!attachment) {
        attachment = osg::EnvironmentAttachment::create();
        root->addAttachment(attachment.get());
    }
    attachment->setMaterial(osg::MaterialPtr::dcast(material.get()));
}

} // namespace io
